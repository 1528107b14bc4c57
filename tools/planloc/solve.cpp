// planloc solve: the best place for one new facility, with a proof.
#include <CLI/CLI.hpp>
#include <memory>

#include "tools/planloc/certificate.h"
#include "tools/planloc/command.h"
#include "tools/planloc/deliver.h"
#include "tools/planloc/errors.h"
#include "tools/planloc/options.h"
#include "tools/planloc/output_file.h"
#include "tools/planloc/progress.h"
#include "tools/planloc/regions_input.h"
#include "tools/planloc/report.h"

namespace planloc::tool {

namespace {

struct solve_options {
  site_source source;
  gauge_options gauge;
  objective_options objective;
  search_options search;
  report_format format = report_format::text;
  output_options output;
  bool rays = false;
  std::string allow, forbid;
  std::string certificate;
};

std::string formatted(const solve_report& report, report_format format) {
  if (format == report_format::json) return report_json(report);
  if (format == report_format::csv) return report_csv(report);
  return report_text(report);
}

problem question_of(const solve_options& options, const site_plane& sites,
                    const gauge_choice& gauges, const objective& goal) {
  regions where = read_regions(options.allow, options.forbid, sites);
  try {
    return {sites.problem_sites(), gauges.gauges, goal.lambda, std::move(where)};
  } catch (const bad_problem& e) {
    fail_data(region_fault(e.what(), options.allow, options.forbid));
  }
}

exit_status run_solve(solve_options& options) {
  check_outputs(options.output);
  const objective goal = options.objective.choice();
  const gauge_choice gauges = options.gauge.choice(options.source);
  const site_plane sites(read_sites(options.source));
  check_fits(goal, sites.size());
  const problem question = question_of(options, sites, gauges, goal);

  minimise_options search = options.search.choice();
  solution answer;
  {
    progress_line line;
    if (line.wanted()) search.progress = [&](const search_progress& now) { line.show(now); };
    answer = minimise(question, search);
  }
  const solve_report report = make_report(sites, question, answer, goal.name, gauges);
  if (!options.certificate.empty()) {
    write_whole(options.certificate, certificate_text({.source = options.source,
                                                       .objective = goal.name,
                                                       .gauge = gauges.name,
                                                       .sites = sites.size(),
                                                       .gauges = gauges.gauges,
                                                       .lambda = goal.lambda.runs(sites.size()),
                                                       .where = question.where(),
                                                       .answer = answer}));
  }
  const auto scene = [&] {
    map_scene made = scene_of(report);
    if (options.rays) add_rays(made, report);
    return made;
  };
  deliver(options.output, formatted(report, options.format), sites, scene,
          [&] { return report_csv(report); });
  return report.status == "stopped" ? exit_status::stopped : exit_status::answered;
}

}  // namespace

void add_solve(CLI::App& app, command& run) {
  CLI::App& c = *app.add_subcommand("solve", "The best place for one new facility, with a proof");
  const auto options = std::make_shared<solve_options>();
  add_site_options(c, options->source);
  add_weight_option(c, options->source);
  add_gauge_options(c, options->gauge, options->source);
  add_objective_options(c, options->objective);
  c.add_option("--allow", options->allow, "Polygons: build nowhere else");
  c.add_option("--forbid", options->forbid, "Polygons: build nowhere inside");
  c.add_option("--certificate", options->certificate, "Write the proof, for planloc verify");
  add_search_options(c, options->search);
  add_format_option(c, options->format);
  add_output_options(c, options->output);
  c.add_flag("--rays", options->rays, "Draw the directions of the gauges as well");
  add_example(c, "planloc solve towns.csv --weight population --gauge octagon --objective centre");
  c.callback([options, &run] { run = [options] { return run_solve(*options); }; });
}

}  // namespace planloc::tool
