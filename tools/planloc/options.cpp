#include "tools/planloc/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <map>
#include <thread>

#include "tools/planloc/errors.h"
#include "tools/planloc/numbers.h"

namespace planloc::tool {

void add_site_options(CLI::App& command, site_source& source) {
  command
      .add_option("SITES", source.path,
                  "The sites: CSV, GeoJSON, GeoPackage, Shapefile, PG:..., or - for standard input")
      ->required();
  command.add_option("--layer", source.layer, "The layer of a source with several");
  CLI::Option* x = command.add_option("--x", source.x, "Column of x or longitude (x or lon)");
  CLI::Option* y = command.add_option("--y", source.y, "Column of y or latitude (y or lat)");
  x->needs(y);
  y->needs(x);
  command.add_option("--name", source.name, "Column of names (name)");
  CLI::Option* lonlat = command.add_flag("--lonlat", source.lonlat, "Coordinates are degrees");
  command.add_flag("--planar", source.planar, "Coordinates are planar, whatever they seem to be")
      ->excludes(lonlat);
  command.add_flag("--drop-zero", source.drop_zero, "Leave rows of weight 0 out");
}

void add_weight_option(CLI::App& command, site_source& source) {
  command.add_option("--weight", source.weights, "Column of weights (weight; 1 without it)")
      ->expected(1);
}

void add_gauge_options(CLI::App& command, gauge_options& options, site_source& source) {
  command.add_option("--gauge", options.gauge,
                     std::string("Distance: ") + kGaugeNames + " (euclid)");
  command.add_option("--gauge-column", source.gauge,
                     "Column of each site's gauge in the gauge file, counted from 0 (gauge)");
}

gauge_choice gauge_options::choice(site_source& source) const {
  gauge_choice chosen = parse_gauges(gauge);
  if (!chosen.from_file && !source.gauge.empty()) {
    fail_usage("--gauge-column needs a gauge file: " + gauge + " is one gauge for all sites");
  }
  source.gauge_numbers = chosen.from_file;
  source.gauges = chosen.gauges.size();
  return chosen;
}

void add_objective_options(CLI::App& command, objective_options& options) {
  CLI::Option* name =
      command.add_option("--objective", options.name, std::string(kObjectiveNames) + " (median)");
  command
      .add_option(
          "--order-weights", options.order_weights,
          "In its place, the order weights, smallest distance first: --order-weights=-1,0,1")
      ->excludes(name);
}

objective objective_options::choice() const {
  return order_weights.empty() ? parse_objective(name) : parse_order_weights(order_weights);
}

void take_from_to(CLI::Option& option, double low, double high) {
  option.check([low, high](const std::string& text) -> std::string {
    double value = 0;
    if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high) return {};
    return "Value " + text + " not in range " + rounded(low) + " to " + rounded(high);
  });
}

void add_search_options(CLI::App& command, search_options& options) {
  take_from_to(
      *command.add_option("--time-limit", options.seconds, "Seconds for the search (no limit)"), 0);
  take_from_to(
      *command.add_option("--gap", options.gap,
                          "End when the gap is below this part of the value (0: at the end)"),
      0, 1e9);
  command.add_option("--threads", options.threads, "Threads of the search (all processors)")
      ->check(CLI::Range(1, 4096));
  command.add_option("--seed", options.seed,
                     "Seed of searches that draw numbers; the certified one draws none");
}

minimise_options search_options::choice() const {
  minimise_options chosen;
  chosen.relative_gap = gap.value_or(0);
  chosen.seconds = seconds;
  chosen.threads =
      threads > 0 ? threads : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  return chosen;
}

void add_format_option(CLI::App& command, report_format& format) {
  const std::map<std::string, report_format> names = {
      {"text", report_format::text}, {"json", report_format::json}, {"csv", report_format::csv}};
  const auto take = [&format, names](const std::string& name) {
    const auto found = names.find(name);
    if (found == names.end()) {
      throw CLI::ValidationError("--format", in_quotes(name) + ": expected text, json or csv");
    }
    format = found->second;
  };
  command.add_option_function<std::string>("--format", take, "text, json or csv (text)")
      ->type_name("FORMAT");
}

void add_output_options(CLI::App& command, output_options& options) {
  command.add_option(
      "--output", options.output,
      "Write the sites with their figures, places and areas: .geojson, .gpkg or .csv; - "
      "is GeoJSON on standard output, in place of the report");
  command.add_option("--picture", options.picture, "Draw a map: .svg, .pdf or .png");
  command.add_flag("--show", options.show, "Show the map on the screen until it is closed");
}

void add_example(CLI::App& command, const std::string& example) {
  command.footer("\nExample:\n  " + example + "\n");
}

}  // namespace planloc::tool
