// planloc classic: a solver with stated steps, and beside it what is proved.
#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <sstream>

#include "tools/planloc/apart.h"
#include "tools/planloc/classic_methods.h"
#include "tools/planloc/command.h"
#include "tools/planloc/json_text.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/options.h"
#include "tools/planloc/output_file.h"
#include "tools/planloc/text_page.h"
#include "tools/planloc/tied_depots.h"

namespace planloc::tool {

namespace {

struct classic_options {
  std::string method;
  bool list = false;
  site_source source;
  gauge_options gauge{.gauge = "octagon"};
  std::string flow;
  int p = 2;
  double eps = 0.1;
  double seconds = 60;
  report_format format = report_format::text;
};

struct classic_report {
  const classic_method& method;
  const site_plane& sites;
  std::optional<classic_result> result = {};
  std::string ending = {};  // how it ended without a result
  std::optional<double> certified = {};

  // How much the value is above the certified one, of that; negative below it.
  std::optional<double> lost() const {
    if (!result || !certified || *certified == 0) return std::nullopt;
    return (result->value - *certified) / *certified;
  }
};

std::string list_text() {
  text_table table({"method", "minimises", "labels of its places"}, 3);
  for (const classic_method& m : classic_methods()) table.add({m.name, m.minimises, m.labels});
  return table.text();
}

const classic_method& method_named(const std::string& name) {
  for (const classic_method& m : classic_methods()) {
    if (name == m.name) return m;
  }
  fail_usage("classic: no method " + in_quotes(name) + ": planloc classic --list has all of them");
}

// "value\nx y label\n..." and back, exactly.
std::string packed(const classic_result& r) {
  std::string text = exact(r.value) + "\n";
  for (const labelled_place& p : r.places) {
    text += exact(p.at.x) + " " + exact(p.at.y) + " " + exact(p.label) + "\n";
  }
  return text;
}

double any_number(const std::string& text) {
  return std::strtod(text.c_str(), nullptr);  // not finite ones, too
}

classic_result unpacked(const std::string& text) {
  std::istringstream in(text);
  std::string word;
  in >> word;
  classic_result r{.value = any_number(word)};
  for (std::string x, y, label; in >> x >> y >> label;) {
    r.places.push_back({{any_number(x), any_number(y)}, any_number(label)});
  }
  return r;
}

void run_method(const classic_question& question, double seconds, classic_report& report) {
  const apart_result run = run_apart([&] { return packed(report.method.run(question)); }, seconds);
  if (run.done) {
    report.result = unpacked(run.content);
    return;
  }
  const std::string words(trimmed(run.words));
  report.ending = run.timed_out
                      ? "it did not end within " + rounded(seconds) + " seconds"
                      : "it ended without a result: " +
                            (words.empty() ? "status " + std::to_string(run.status) : words);
}

bool finite(const xy& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

std::string classic_text(const classic_report& r) {
  std::string text = headed_line("Method", std::string(r.method.name) + ": " + r.method.minimises);
  if (!r.result) {
    text += headed_line("Value", "none: " + r.ending);
  } else {
    text += headed_line("Value", rounded(r.result->value, 10));
  }
  if (r.certified) {
    text += headed_line("Certified", rounded(*r.certified, 10) + " is the least there is");
    if (const auto lost = r.lost()) {
      text += headed_line("Lost", rounded(100 * *lost, 3) + " %" +
                                      (*lost < -1e-9 ? ": a value that no place has" : ""));
    }
  } else {
    text += headed_line("Certified", "there is no certified problem of this kind");
  }
  text += headed_line("Labels", r.method.labels) + projection_line(r.sites);
  if (!r.result) return text;
  text_table table({"label", "place"}, 2);
  for (const labelled_place& p : r.result->places) {
    table.add({rounded(p.label),
               finite(p.at) ? place_text(r.sites.to_input(p.at)) + ", " + r.sites.describe(p.at)
                            : "not a number"});
  }
  return text + "\n" + table.text();
}

std::string classic_json(const classic_report& r) {
  json_tree j = {{"schema", "planloc.classic/1"}, {"method", r.method.name}};
  j["status"] = r.result ? "done" : "failed";
  j["value"] = r.result ? json_tree(r.result->value) : json_tree();
  j["certified"] = or_null(r.certified);
  j["lost"] = or_null(r.lost());
  j["message"] = text_or_null(r.ending);
  j["places"] = json_tree::array();
  if (r.result) {
    for (const labelled_place& p : r.result->places) {
      j["places"].push_back(
          {{"point", finite(p.at) ? pair_of(r.sites.to_input(p.at)) : json_tree()},
           {"label", p.label}});
    }
  }
  j["projection"] = projection_of(r.sites);
  return text_of(j, 1);
}

void check_weights(const classic_options& options, const classic_method& method) {
  const std::size_t given = std::max<std::size_t>(options.source.weights.size(), 1);
  const bool right = method.takes == classic_method::weights::any ||
                     given == (method.takes == classic_method::weights::two ? 2 : 1);
  if (right) return;
  fail_usage(std::string("classic ") + method.name + ": expected " +
             (method.takes == classic_method::weights::two ? "two columns, --weights a,b"
                                                           : "one column of weights"));
}

exit_status run_classic(classic_options& options) {
  if (options.list) {
    write_standard_output(list_text());
    return exit_status::answered;
  }
  if (options.method.empty()) fail_usage("classic: expected a method: --list has all of them");
  const classic_method& method = method_named(options.method);
  if (options.source.path.empty()) fail_usage("classic: expected a file of sites");
  check_weights(options, method);
  gauge_choice gauges;
  if (method.takes_gauges) {
    gauges = options.gauge.choice(options.source);
    if (!all_polyhedral(gauges)) fail_usage(std::string(method.name) + " takes polygons");
  }
  if (options.source.weights.size() > 1) options.source.weights_option = "--weights";
  options.source.zero_weights = options.source.weights.size() > 1;
  const site_plane sites(read_sites(options.source));
  classic_question question{
      .sites = sites, .gauges = gauges.gauges, .ties = {}, .p = options.p, .eps = options.eps};
  if (!options.flow.empty()) {
    question.ties = read_flows(options.flow, sites.table().weights.size());
  }
  classic_report report{.method = method, .sites = sites};
  run_method(question, options.seconds, report);
  report.certified = method.certified(question);
  write_standard_output(options.format == report_format::json ? classic_json(report)
                                                              : classic_text(report));
  return exit_status::answered;
}

}  // namespace

void add_classic(CLI::App& app, command& run) {
  CLI::App& c = *app.add_subcommand("classic", "A solver with stated steps, and what it lost");
  const auto options = std::make_shared<classic_options>();
  c.add_option("METHOD", options->method, "Its name: --list tells all");
  add_site_options(c, options->source);
  c.get_option("SITES")->required(false);
  c.add_flag("--list", options->list, "The table of what there is");
  c.add_option("--weight,--weights", options->source.weights,
               "Columns of weights, separated by commas (weight)")
      ->delimiter(',');
  add_gauge_options(c, options->gauge, options->source);
  c.add_option("--flow", options->flow, "Flows between several facilities: N rows of N numbers");
  take_from_to(*c.add_option("--p", options->p, "Of the lp norm (2)"), 1, 1000);
  take_from_to(*c.add_option("--eps", options->eps,
                             "Of N_lp_sum: the share of the flows that it accepts (0.1)"),
               0);
  take_from_to(*c.add_option("--time-limit", options->seconds, "Seconds for the method (60)"),
               1e-3);
  add_format_option(c, options->format);
  add_example(c, "planloc classic l2_max towns.csv --weight population");
  c.callback([options, &run] { run = [options] { return run_classic(*options); }; });
}

}  // namespace planloc::tool
