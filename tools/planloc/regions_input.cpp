#include "tools/planloc/regions_input.h"

#include "tools/planloc/errors.h"
#include "tools/planloc/geodata.h"
#include "tools/planloc/sites_columns.h"

namespace planloc::tool {

namespace {

ring ring_of(const OGRLinearRing& corners, const std::string& place, const site_plane& sites) {
  std::vector<xy> points;
  for (const OGRPoint& p : corners) {
    points.push_back({p.getX(), p.getY()});
    if (sites.table().lonlat) check_degrees(place, points.back());
  }
  // Exactly as it was closed in the file.
  if (points.size() > 1 && points.front() == points.back()) points.pop_back();
  return sites.to_plane(points);
}

region_polygon polygon_of(const OGRPolygon& polygon, const std::string& place,
                          const site_plane& sites) {
  region_polygon rings;
  for (const OGRLinearRing* corners : polygon) rings.push_back(ring_of(*corners, place, sites));
  return rings;
}

region read_region(const std::string& file, const site_plane& sites) {
  const vector_source data(file, file, nullptr, {});
  OGRLayer& layer = data.layer("");
  region result;
  for (OGRFeatureUniquePtr f(layer.GetNextFeature()); f; f.reset(layer.GetNextFeature())) {
    const std::string place = file + ": feature " + std::to_string(f->GetFID());
    const OGRGeometry* geometry = f->GetGeometryRef();
    const auto kind = geometry == nullptr ? wkbNone : wkbFlatten(geometry->getGeometryType());
    if (kind == wkbPolygon) {
      result.push_back(polygon_of(*geometry->toPolygon(), place, sites));
    } else if (kind == wkbMultiPolygon) {
      for (const OGRPolygon* p : geometry->toMultiPolygon()) {
        result.push_back(polygon_of(*p, place, sites));
      }
    } else {
      fail_data(place + ": " +
                (geometry == nullptr
                     ? std::string("no geometry")
                     : std::string("the geometry is a ") + geometry->getGeometryName()) +
                ": expected polygons");
    }
  }
  data.check_read();
  if (result.empty()) fail_data(file + ": no polygon");
  return result;
}

}  // namespace

std::string region_fault(const std::string& message, const std::string& allow,
                         const std::string& forbid) {
  if (message.find("allowed polygon") != std::string::npos) return allow + ": " + message;
  if (message.find("forbidden polygon") != std::string::npos) return forbid + ": " + message;
  return message;
}

regions read_regions(const std::string& allow, const std::string& forbid, const site_plane& sites) {
  regions where;
  if (!allow.empty()) where.allowed = read_region(allow, sites);
  if (!forbid.empty()) where.forbidden = read_region(forbid, sites);
  return where;
}

}  // namespace planloc::tool
