#include "tools/planloc/geo_output.h"

#include <filesystem>
#include <map>
#include <set>

#include "tools/planloc/errors.h"
#include "tools/planloc/geodata.h"
#include "tools/planloc/output_file.h"

namespace planloc::tool {

namespace {

bool is_package(const std::string& file) {
  return std::filesystem::path(file).extension() == ".gpkg";
}

bool is_json(const std::string& file) {
  const std::filesystem::path ending = std::filesystem::path(file).extension();
  return file == "-" || ending == ".geojson" || ending == ".json";
}

OGRLinearRing* new_ring(const std::vector<xy>& corners) {
  auto* ring = new OGRLinearRing();
  for (const xy& c : corners) ring->addPoint(c.x, c.y);
  ring->closeRings();
  return ring;
}

// Rings in any order: GDAL finds out which are holes of which.
std::unique_ptr<OGRGeometry> area_of(const std::vector<std::vector<xy>>& rings) {
  std::vector<OGRGeometry*> polygons;
  for (const std::vector<xy>& r : rings) {
    auto* polygon = new OGRPolygon();
    polygon->addRingDirectly(new_ring(r));
    polygons.push_back(polygon);
  }
  int valid = 0;
  std::unique_ptr<OGRGeometry> all(OGRGeometryFactory::organizePolygons(
      polygons.data(), static_cast<int>(polygons.size()), &valid, nullptr));
  return all;
}

std::unique_ptr<OGRGeometry> geometry_of(const map_feature& f, const site_plane& sites) {
  std::vector<std::vector<xy>> rings;
  for (const std::vector<xy>& r : f.rings) rings.push_back(sites.to_input(r));
  if (rings.empty()) return nullptr;
  const std::vector<xy>& first = rings.front();
  if (first.size() == 1) return std::make_unique<OGRPoint>(first[0].x, first[0].y);
  if (first.size() > 2) return area_of(rings);
  auto line = std::make_unique<OGRLineString>();
  for (const xy& c : first) line->addPoint(c.x, c.y);
  return line;
}

class layer_writer {
 public:
  layer_writer(const std::string& name, bool package, const site_plane& sites)
      : package_(package), sites_(sites) {
    start_gdal(true);
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(package ? "GPKG" : "GeoJSON");
    if (driver == nullptr) fail_data("GDAL has no driver for this kind of file");
    data_.reset(driver->Create(name.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    check(data_ != nullptr);
    const std::string& wkt = sites.table().reference_system;
    known_ = !wkt.empty() && system_.importFromWkt(wkt.c_str()) == OGRERR_NONE;
    if (!known_ && sites.table().lonlat) known_ = system_.importFromEPSG(4326) == OGRERR_NONE;
    system_.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  }

  void write(const std::vector<map_feature>& features) {
    std::map<std::string, std::vector<const map_feature*>> layers;
    for (const map_feature& f : features) {
      layers[package_ ? name_of(f.layer) : "planloc"].push_back(&f);
    }
    for (const auto& [name, members] : layers) write_layer(name, members);
    data_.reset();  // which writes what is left
    check(CPLGetLastErrorType() < CE_Failure);
  }

 private:
  struct closer {
    void operator()(GDALDataset* d) const { GDALClose(d); }
  };

  static void check(bool good) {
    if (!good) fail_data(std::string("the layers cannot be written: ") + CPLGetLastErrorMsg());
  }

  void write_layer(const std::string& name, const std::vector<const map_feature*>& members) {
    OGRLayer* layer =
        data_->CreateLayer(name.c_str(), known_ ? &system_ : nullptr, wkbUnknown, nullptr);
    check(layer != nullptr);
    const auto add_field = [&](const char* field, OGRFieldType type) {
      OGRFieldDefn definition(field, type);
      check(layer->CreateField(&definition) == OGRERR_NONE);
    };
    add_field("layer", OFTString);
    add_field("name", OFTString);
    const std::set<std::string> whole = {"rank", "depot", "new"};
    std::set<std::string> numbers;
    for (const map_feature* f : members) {
      for (const auto& [key, value] : f->numbers) {
        if (numbers.insert(key).second) {
          add_field(key, whole.contains(key) ? OFTInteger : OFTReal);
        }
      }
    }
    check(layer->StartTransaction() == OGRERR_NONE);
    for (const map_feature* f : members) write_feature(*layer, *f);
    check(layer->CommitTransaction() == OGRERR_NONE);
  }

  void write_feature(OGRLayer& layer, const map_feature& f) {
    const OGRFeatureUniquePtr out(OGRFeature::CreateFeature(layer.GetLayerDefn()));
    out->SetField("layer", name_of(f.layer));
    if (!f.name.empty()) out->SetField("name", f.name.c_str());
    for (const auto& [key, value] : f.numbers) out->SetField(key, value);
    if (std::unique_ptr<OGRGeometry> geometry = geometry_of(f, sites_)) {
      out->SetGeometryDirectly(geometry.release());
    }
    check(layer.CreateFeature(out.get()) == OGRERR_NONE);
  }

  bool package_;
  const site_plane& sites_;
  std::unique_ptr<GDALDataset, closer> data_;
  OGRSpatialReference system_;
  bool known_ = false;
};

}  // namespace

bool is_geographic(const std::string& file) { return is_json(file) || is_package(file); }

void write_geographic(const std::string& file, const map_scene& scene, const site_plane& sites) {
  if (!is_geographic(file)) fail_usage(file + ": expected a name that ends in .geojson or .gpkg");
  // In memory first: a full disk is then met by our own writing, which leaves nothing behind.
  const std::string memory =
      std::string("/vsimem/planloc/output") + (is_package(file) ? ".gpkg" : ".geojson");
  CPLErrorReset();
  layer_writer(memory, is_package(file), sites).write(scene.features);
  vsi_l_offset size = 0;
  const std::unique_ptr<GByte, void (*)(void*)> bytes(
      VSIGetMemFileBuffer(memory.c_str(), &size, TRUE), VSIFree);
  if (!bytes) fail_data(file + ": nothing was written");
  write_whole(file, {reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(size)});
}

}  // namespace planloc::tool
