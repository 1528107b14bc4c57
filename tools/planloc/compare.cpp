// planloc compare: the efficient places of two weightings of the same sites.
#include <CLI/CLI.hpp>
#include <memory>

#include "tools/planloc/command.h"
#include "tools/planloc/compare_report.h"
#include "tools/planloc/deliver.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/options.h"

namespace planloc::tool {

namespace {

struct compare_options {
  site_source source;
  gauge_options gauge;
  double gap = 1e-3;
  double seconds = std::numeric_limits<double>::infinity();
  report_format format = report_format::text;
  output_options output;
};

std::string formatted(const compare_report& report, report_format format) {
  if (format == report_format::json) return compare_json(report);
  if (format == report_format::csv) return compare_csv(report);
  return compare_text(report);
}

// Exactly under polygons; a polyline within the gap under round gauges.
void search(const compare_options& options, const bicriteria_problem& question,
            compare_report& report) {
  if (question.polyhedral()) {
    efficient_options limits;
    limits.seconds = options.seconds;
    report.take(efficient_set(question, limits));
    return;
  }
  polyline_options limits;
  limits.seconds = options.seconds;
  report.take(approximate_efficient_set(question, options.gap, limits));
}

exit_status run_compare(compare_options& options) {
  check_outputs(options.output);
  if (options.source.weights.size() != 2) {
    fail_usage("--weights: expected two columns separated by a comma, as in population,income");
  }
  const gauge_choice gauges = options.gauge.choice(options.source);
  options.source.zero_weights = true;
  options.source.weights_option = "--weights";
  const site_plane sites(read_sites(options.source));
  std::vector<bicriteria_site> weighted;
  for (std::size_t i = 0; i < sites.size(); ++i) {
    const site_table& t = sites.table();
    weighted.push_back(
        {sites.places()[i].x, sites.places()[i].y, t.weights[0][i], t.weights[1][i], t.gauge[i]});
  }
  compare_report report{.sites = sites, .weights = options.source.weights, .gauge = gauges.name};
  search(options, bicriteria_problem(std::move(weighted), gauges.gauges), report);
  trade_off_curve curve{.first = report.weights[0], .second = report.weights[1]};
  for (const compare_corner& v : report.curve) curve.corners.push_back({v.value1, v.value2});
  deliver(
      options.output, formatted(report, options.format), sites, [&] { return scene_of(report); },
      [&] { return compare_csv(report); }, curve);
  return report.status == "stopped" ? exit_status::stopped : exit_status::answered;
}

}  // namespace

void add_compare(CLI::App& app, command& run) {
  CLI::App& c = *app.add_subcommand("compare", "The efficient places of two weightings");
  const auto options = std::make_shared<compare_options>();
  add_site_options(c, options->source);
  c.add_option("--weights", options->source.weights, "Two columns of weights: population,income")
      ->required()
      ->delimiter(',');
  add_gauge_options(c, options->gauge, options->source);
  take_from_to(*c.add_option("--time-limit", options->seconds, "Seconds for the search"), 0);
  take_from_to(*c.add_option("--gap", options->gap,
                             "Under round gauges: the distance of the polyline from the best "
                             "values, as a part of their ranges (0.001)"),
               1e-9, 1);
  add_format_option(c, options->format);
  add_output_options(c, options->output);
  add_example(c, "planloc compare towns.csv --weights population,income --gauge octagon");
  c.callback([options, &run] { run = [options] { return run_compare(*options); }; });
}

}  // namespace planloc::tool
