// Options that subcommands share. The texts of the command line end up here as they are; a
// subcommand turns them into what they mean when it runs.
#ifndef PLANLOC_TOOLS_PLANLOC_OPTIONS_H_
#define PLANLOC_TOOLS_PLANLOC_OPTIONS_H_

#include <limits>
#include <optional>
#include <string>

#include "planloc/certified.h"
#include "tools/planloc/gauges.h"
#include "tools/planloc/objective.h"
#include "tools/planloc/sites.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace planloc::tool {

// SITES and where its columns are, without the weights.
void add_site_options(CLI::App& command, site_source& source);
void add_weight_option(CLI::App& command, site_source& source);

struct gauge_options {
  std::string gauge = "euclid";

  gauge_choice choice(site_source& source) const;  // tells the source how many gauges there are
};
void add_gauge_options(CLI::App& command, gauge_options& options, site_source& source);

struct objective_options {
  std::string name = "median";
  std::string order_weights;

  objective choice() const;
};
void add_objective_options(CLI::App& command, objective_options& options);

// Takes numbers from low to high, and not NaN, which CLI11's own checks let pass.
void take_from_to(CLI::Option& option, double low,
                  double high = std::numeric_limits<double>::infinity());

struct search_options {
  double seconds = std::numeric_limits<double>::infinity();
  std::optional<double> gap;
  int threads = 0;  // 0: as many as there are processors
  unsigned seed = 1;

  minimise_options choice() const;
};
void add_search_options(CLI::App& command, search_options& options);

enum class report_format { text, json, csv };
void add_format_option(CLI::App& command, report_format& format);

struct output_options {
  std::string output;   // geographic file or CSV; empty: none
  std::string picture;  // empty: none
  bool show = false;
};
void add_output_options(CLI::App& command, output_options& options);

// Behind the options of the command's help.
void add_example(CLI::App& command, const std::string& example);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_OPTIONS_H_
