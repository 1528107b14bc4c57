// Answers as layers of a geographic file.
#ifndef PLANLOC_TOOLS_PLANLOC_GEO_OUTPUT_H_
#define PLANLOC_TOOLS_PLANLOC_GEO_OUTPUT_H_

#include <string>

#include "tools/planloc/map_features.h"

namespace planloc::tool {

// By the ending of its name: .geojson or .json (one collection; `layer` tells what a feature is),
// or .gpkg (a layer for each kind); `-` is GeoJSON on the standard output. In the coordinates of
// the input. An error of usage for another ending, of data if it cannot be written.
void write_geographic(const std::string& file, const map_scene& scene, const site_plane& sites);

// Whether the ending is one of those.
bool is_geographic(const std::string& file);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_GEO_OUTPUT_H_
