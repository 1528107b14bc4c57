#include "tools/planloc/deliver.h"

#include <filesystem>
#include <memory>

#include "tools/planloc/errors.h"
#include "tools/planloc/geo_output.h"
#include "tools/planloc/output_file.h"

namespace planloc::tool {

namespace {

bool is_table(const std::string& file) { return std::filesystem::path(file).extension() == ".csv"; }

}  // namespace

void check_outputs(const output_options& options) {
  if (!options.output.empty() && !is_table(options.output) && !is_geographic(options.output)) {
    fail_usage("--output " + options.output +
               ": expected a name that ends in .geojson, .gpkg or .csv, or -");
  }
  if (!options.picture.empty()) check_picture_name(options.picture);
}

void deliver(const output_options& options, const std::string& report, const site_plane& sites,
             const std::function<map_scene()>& scene, const std::function<std::string()>& csv,
             const trade_off_curve& curve) {
  const bool table = is_table(options.output);
  const bool layers = !options.output.empty() && !table;
  if (table) write_whole(options.output, csv());
  const bool drawn = options.show || !options.picture.empty();
  std::unique_ptr<surface> picture;
  std::string title;
  if (layers || drawn) {
    const map_scene made = scene();
    title = made.title;
    if (drawn) picture = draw_map(made, sites.unit(), curve);
    if (!options.picture.empty()) save_picture(options.picture, *picture);
    if (layers) write_geographic(options.output, made, sites);
  }
  if (options.output != "-") write_standard_output(report);
  if (options.show) put_on_screen(*picture, title);
}

}  // namespace planloc::tool
