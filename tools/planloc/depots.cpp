// planloc depots: several new facilities, each site with its nearest one.
#include <CLI/CLI.hpp>
#include <memory>

#include "planloc/certified.h"
#include "tools/planloc/command.h"
#include "tools/planloc/deliver.h"
#include "tools/planloc/depots_report.h"
#include "tools/planloc/errors.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/options.h"
#include "tools/planloc/progress.h"
#include "tools/planloc/tied_depots.h"

namespace planloc::tool {

namespace {

struct depots_options {
  site_source source;
  gauge_options gauge;
  search_options search;
  std::size_t count = 0;
  std::string existing;
  std::vector<std::string> shares;
  std::string flow;
  std::size_t starts = 8;
  bool bound = false;
  report_format format = report_format::text;
  output_options output;
};

const char* name_of(allocation_status s) {
  switch (s) {
    case allocation_status::optimal:
      return "optimal";
    case allocation_status::within_gap:
      return "within_gap";
    case allocation_status::searched:
      return "searched";
    default:
      return "stopped";
  }
}

// In the coordinates of the sites.
site_table read_existing(const depots_options& options, const site_table& sites) {
  site_source source;
  source.path = options.existing;
  source.x = options.source.x;
  source.y = options.source.y;
  source.name = options.source.name;
  source.lonlat = options.source.lonlat;
  source.planar = options.source.planar;
  source.unweighted = true;
  site_table existing = read_sites(source);
  if (existing.lonlat != sites.lonlat) {
    fail_data(existing.source +
              (sites.lonlat ? ": planar coordinates, and the sites are in degrees"
                            : ": degrees, and the sites are planar") +
              ": --lonlat or --planar says what both are");
  }
  if (!existing.lonlat && !existing.reference_system.empty() && !sites.reference_system.empty() &&
      existing.reference_system != sites.reference_system) {
    fail_data(existing.source + ": another reference system than that of the sites");
  }
  return existing;
}

void add_existing(const depots_options& options, depots_report& report) {
  if (options.existing.empty()) return;
  const site_table table = read_existing(options, report.sites.table());
  report.existing = report.sites.to_plane(table.places);
  report.existing_names = table.names;
  report.existing_names.resize(table.size());
}

allocation search(const depots_options& options, const allocation_problem& question) {
  allocate_options how;
  how.seed = options.search.seed;
  how.starts = options.starts;
  how.seconds = options.search.seconds;
  how.threads = options.search.threads;
  how.lower_bound = options.bound;
  how.relative_gap = options.search.gap.value_or(how.relative_gap);
  progress_line line;
  if (line.wanted()) {
    how.progress = [&](const allocation_progress& now) {
      line.show("value " + rounded(now.value, 8) + " after " + std::to_string(now.starts) +
                " starts");
    };
  }
  return allocate(question, how);
}

std::string formatted(const depots_report& report, report_format format) {
  if (format == report_format::json) return depots_json(report);
  if (format == report_format::csv) return depots_csv(report);
  return depots_text(report);
}

const char* name_of(solution_status s) {
  if (s == solution_status::optimal) return "optimal";
  return s == solution_status::within_gap ? "within_gap" : "stopped";
}

void hand_over(const depots_options& options, const depots_report& report) {
  deliver(
      options.output, formatted(report, options.format), report.sites,
      [&] { return scene_of(report); }, [&] { return depots_csv(report); });
}

exit_status run_tied(depots_options& options) {
  const std::size_t depots = options.shares.size();
  if (options.count != 0 && options.count != depots) {
    fail_usage("--new " + std::to_string(options.count) + ": --share names " +
               std::to_string(depots) + " columns, one for each new depot");
  }
  if (!options.existing.empty()) fail_usage("--existing and --share exclude each other");
  const gauge_choice gauges = options.gauge.choice(options.source);
  options.source.weights = options.shares;
  options.source.weights_option = "--share";
  options.source.zero_weights = true;
  const site_plane sites(read_sites(options.source));
  std::vector<tie> ties;
  if (!options.flow.empty()) ties = read_flows(options.flow, depots);
  std::vector<tied_site> places;
  std::vector<double> weights;
  for (std::size_t i = 0; i < sites.size(); ++i) {
    places.push_back({sites.places()[i].x, sites.places()[i].y, sites.table().gauge[i]});
  }
  for (const std::vector<double>& column : sites.table().weights) {
    weights.insert(weights.end(), column.begin(), column.end());
  }
  tied_options how;
  how.seconds = options.search.seconds;
  how.relative_gap = options.search.gap.value_or(0);
  const tied_solution answer = minimise(
      tied_problem(depots, std::move(places), gauges.gauges, std::move(weights), std::move(ties)),
      how);
  depots_report report{
      .sites = sites, .gauge = gauges, .flows = !options.flow.empty(), .tied = true};
  report.status = name_of(answer.status);
  report.points = answer.points;
  report.value = answer.value;
  report.lower_bound = answer.status == solution_status::optimal && all_polyhedral(gauges)
                           ? answer.value
                           : answer.lower_bound;
  hand_over(options, report);
  return exit_status::answered;
}

exit_status run_depots(depots_options& options) {
  check_outputs(options.output);
  if (!options.shares.empty()) return run_tied(options);
  if (options.count == 0) fail_usage("--new: expected the number of new depots, from 1");
  const gauge_choice gauges = options.gauge.choice(options.source);
  const site_plane sites(read_sites(options.source));
  depots_report report{.sites = sites, .gauge = gauges};
  add_existing(options, report);
  const allocation_problem question(sites.problem_sites(), gauges.gauges, options.count,
                                    report.existing);
  const allocation answer = search(options, question);
  report.status = name_of(answer.status);
  report.points = answer.points;
  report.assignment = answer.assignment;
  report.value = answer.value;
  report.lower_bound = answer.lower_bound;
  hand_over(options, report);
  return exit_status::answered;
}

}  // namespace

void add_depots(CLI::App& app, command& run) {
  CLI::App& c =
      *app.add_subcommand("depots", "Several new facilities: each site goes to its nearest");
  const auto options = std::make_shared<depots_options>();
  add_site_options(c, options->source);
  add_weight_option(c, options->source);
  c.add_option("--new", options->count, "How many new depots")->check(CLI::Range(1, 1000000));
  c.add_option("--existing", options->existing,
               "Depots that exist and serve too: a file like that of the sites");
  CLI::Option* share =
      c.add_option("--share", options->shares,
                   "Tied depots: for each a column of weights, separated by commas")
          ->delimiter(',');
  c.add_option("--flow", options->flow, "Flows between tied depots: N rows of N numbers")
      ->needs(share);
  add_gauge_options(c, options->gauge, options->source);
  add_search_options(c, options->search);
  c.add_option("--starts", options->starts, "Starts of the search (8)")
      ->check(CLI::Range(1, 1000000));
  c.add_flag("--bound", options->bound, "Look for a lower bound, which takes longer");
  add_format_option(c, options->format);
  add_output_options(c, options->output);
  add_example(c, "planloc depots towns.csv --weight population --new 8 --time-limit 10");
  c.callback([options, &run] { run = [options] { return run_depots(*options); }; });
}

}  // namespace planloc::tool
