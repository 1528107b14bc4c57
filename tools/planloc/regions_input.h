// Where a facility may be built, from layers of polygons.
#ifndef PLANLOC_TOOLS_PLANLOC_REGIONS_INPUT_H_
#define PLANLOC_TOOLS_PLANLOC_REGIONS_INPUT_H_

#include <string>

#include "planloc/certified.h"
#include "tools/planloc/site_plane.h"

namespace planloc::tool {

// Files of polygons in the coordinates of the sites, whatever reference system
// it implies; no name: none. The result is in the plane. Errors of data name file and feature.
regions read_regions(const std::string& allow, const std::string& forbid, const site_plane& sites);

// What the layer says of a polygon, with the file that it is from.
std::string region_fault(const std::string& message, const std::string& allow,
                         const std::string& forbid);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_REGIONS_INPUT_H_
