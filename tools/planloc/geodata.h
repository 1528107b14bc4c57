// GDAL behind the few operations that the tool needs of it. Only files that include this header
// know GDAL.
#ifndef PLANLOC_TOOLS_PLANLOC_GEODATA_H_
#define PLANLOC_TOOLS_PLANLOC_GEODATA_H_

#include <gdal_priv.h>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

#include <memory>
#include <string>
#include <vector>

#include "planloc/certified.h"

namespace planloc::tool {

// Keeps GDAL's own messages from the error stream: they come back in ours. With `all_drivers`,
// registers them, which takes longer than a small problem.
void start_gdal(bool all_drivers);

// An open source of layers. Errors of data name `shown`.
class vector_source {
 public:
  // `driver` is the only one that is asked; null asks all.
  vector_source(const std::string& name, const std::string& shown, const char* driver,
                std::vector<const char*> options);

  // By name, or the only one.
  OGRLayer& layer(const std::string& name) const;
  // Fails if reading ended with an error.
  void check_read() const;

 private:
  struct closer {
    void operator()(GDALDataset* d) const { GDALClose(d); }
  };
  std::string shown_;
  std::unique_ptr<GDALDataset, closer> data_;
};

// The place of a point, or of the only point of several; messages begin with `place`.
xy point_of(const OGRGeometry* geometry, const std::string& place);

std::string wkt_of(const OGRSpatialReference& system);
std::string unit_of(const OGRSpatialReference& system);  // of a projected one

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_GEODATA_H_
