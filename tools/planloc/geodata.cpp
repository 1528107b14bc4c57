#include "tools/planloc/geodata.h"

#include <cmath>
#include <filesystem>

#include "tools/planloc/errors.h"
#include "tools/planloc/numbers.h"

namespace planloc::tool {

void start_gdal(bool all_drivers) {
  CPLSetErrorHandler(CPLQuietErrorHandler);
  if (all_drivers) {
    GDALAllRegister();
  } else {
    RegisterOGRCSV();
  }
}

vector_source::vector_source(const std::string& name, const std::string& shown, const char* driver,
                             std::vector<const char*> options)
    : shown_(shown) {
  start_gdal(driver == nullptr);
  std::error_code fault;
  const std::filesystem::path path(name);
  if (std::filesystem::is_directory(path, fault) && path.extension() != ".gdb") {
    fail_data(shown + ": is a directory: expected a file of sites");
  }
  options.push_back(nullptr);
  const char* const drivers[] = {driver, nullptr};
  CPLErrorReset();
  data_.reset(GDALDataset::Open(name.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY,
                                driver != nullptr ? drivers : nullptr, options.data(), nullptr));
  if (data_) return;
  const std::string reason = CPLGetLastErrorMsg();
  const bool missing = name.find(':') == std::string::npos && name.rfind("/vsi", 0) != 0 &&
                       !std::filesystem::exists(path, fault);
  if (missing) fail_data(shown + ": no such file");
  fail_data(shown +
            ": cannot be read as CSV, GeoJSON, GeoPackage, Shapefile or any other source of "
            "points" +
            (reason.empty() ? "" : ": " + reason));
}

OGRLayer& vector_source::layer(const std::string& name) const {
  if (!name.empty()) {
    if (OGRLayer* layer = data_->GetLayerByName(name.c_str())) return *layer;
  } else if (data_->GetLayerCount() == 1) {
    return *data_->GetLayer(0);
  }
  std::string names;
  for (int i = 0; i < data_->GetLayerCount(); ++i) {
    names += (i > 0 ? ", " : "") + std::string(data_->GetLayer(i)->GetName());
  }
  if (names.empty()) fail_data(shown_ + ": no layer");
  if (!name.empty())
    fail_data(shown_ + ": no layer " + in_quotes(name) + ": the layers are " + names);
  fail_data(shown_ + ": several layers: choose one with --layer: " + names);
}

void vector_source::check_read() const {
  if (CPLGetLastErrorType() < CE_Failure) return;
  fail_data(shown_ + ": cannot be read to the end: " + CPLGetLastErrorMsg());
}

xy point_of(const OGRGeometry* geometry, const std::string& place) {
  const auto kind = geometry == nullptr ? wkbNone : wkbFlatten(geometry->getGeometryType());
  const OGRPoint* p = nullptr;
  if (kind == wkbPoint) p = geometry->toPoint();
  if (kind == wkbMultiPoint && geometry->toMultiPoint()->getNumGeometries() == 1) {
    p = geometry->toMultiPoint()->getGeometryRef(0);
  }
  if (p == nullptr) {
    fail_data(place + ": " +
              (kind == wkbNone ? std::string("no geometry")
                               : std::string("the geometry is a ") + geometry->getGeometryName()) +
              ": expected a point for each site");
  }
  if (p->IsEmpty() || !std::isfinite(p->getX()) || !std::isfinite(p->getY())) {
    fail_data(place + ": the point is empty: expected two finite coordinates");
  }
  return {p->getX(), p->getY()};
}

std::string wkt_of(const OGRSpatialReference& system) {
  char* text = nullptr;
  system.exportToWkt(&text);
  const std::string wkt = text == nullptr ? "" : text;
  CPLFree(text);
  return wkt;
}

std::string unit_of(const OGRSpatialReference& system) {
  const char* name = nullptr;
  const double metres = system.GetLinearUnits(&name);
  if (metres == 1) return "m";
  if (metres == 1000) return "km";
  return name == nullptr ? "" : name;
}

}  // namespace planloc::tool
