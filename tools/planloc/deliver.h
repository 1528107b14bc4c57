// Hands an answer over: the report to the standard output, the files that were asked for.
#ifndef PLANLOC_TOOLS_PLANLOC_DELIVER_H_
#define PLANLOC_TOOLS_PLANLOC_DELIVER_H_

#include <functional>
#include <string>

#include "tools/planloc/map_features.h"
#include "tools/planloc/options.h"
#include "tools/planloc/picture.h"

namespace planloc::tool {

// Before anything is read: errors of usage in the names of the outputs.
void check_outputs(const output_options& options);

// The files first, so that a report on the standard output means that all was written. `scene` and
// `csv` are made if they are wanted.
void deliver(const output_options& options, const std::string& report, const site_plane& sites,
             const std::function<map_scene()>& scene, const std::function<std::string()>& csv,
             const trade_off_curve& curve = {});

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_DELIVER_H_
