// planloc verify: checks a certificate of `planloc solve` against the sites alone.
#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>

#include "tools/planloc/certificate.h"
#include "tools/planloc/command.h"
#include "tools/planloc/json_text.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/options.h"
#include "tools/planloc/output_file.h"
#include "tools/planloc/site_plane.h"
#include "tools/planloc/text_page.h"

namespace planloc::tool {

namespace {

struct verify_options {
  std::string sites;
  std::string certificate;
  bool as_json = false;
};

double relative_gap(const verification& v) { return v.gap == 0 ? 0 : v.gap / std::fabs(v.value); }

std::string verdict_text(const certificate_file& c, const site_plane& sites,
                         const verification& v) {
  std::string text =
      headed_line("Question", c.objective + " of the weighted distances from " +
                                  counted(sites.size(), "site") + ", gauge " + c.gauge);
  if (!v.accepted) {
    return text + headed_line("Refused", v.reason) +
           "The sites have to be those that the certificate was made for, with the same weights.\n";
  }
  if (c.answer.status == solution_status::unbounded) {
    return text +
           headed_line("Accepted",
                       "the value falls without end along the direction " +
                           place_text(std::get<direction_certificate>(c.answer.proof).direction));
  }
  if (c.answer.status == solution_status::infeasible) {
    return text + headed_line("Accepted", "no place is allowed");
  }
  return text +
         headed_line("Accepted", place_text(sites.to_input(c.answer.point)) + ", " +
                                     sites.describe(c.answer.point)) +
         headed_line(
             "Proved",
             "value at most " + exact(v.value) + ", every place at least " + exact(v.lower_bound) +
                 (v.gap == 0 ? "; the gap is 0"
                             : "; a gap of " + rounded(relative_gap(v), 3) + " of the value"));
}

std::string verdict_json(const verification& v) {
  const json_tree j = {{"schema", "planloc.verify/1"},
                       {"accepted", v.accepted},
                       {"reason", text_or_null(v.reason)},
                       {"value", v.accepted ? json_tree(v.value) : json_tree()},
                       {"lower_bound", v.accepted ? json_tree(v.lower_bound) : json_tree()},
                       {"gap", v.accepted ? json_tree(relative_gap(v)) : json_tree()}};
  return text_of(j, 1);
}

exit_status run_verify(const verify_options& options) {
  certificate_file c = read_certificate(options.certificate, read_whole(options.certificate));
  c.source.path = options.sites;
  const site_plane sites(read_sites(c.source));
  if (sites.size() != c.sites) {
    fail_data(options.sites + ": " + counted(sites.size(), "site") + ": the certificate is for " +
              std::to_string(c.sites));
  }
  std::vector<double> lambda;
  for (const order_run& r : c.lambda) {
    if (r.count > c.sites - lambda.size())
      fail_data(options.certificate + ": too many order weights");
    lambda.insert(lambda.end(), r.count, r.weight);
  }
  const problem question(sites.problem_sites(), c.gauges, order_weights(std::move(lambda)),
                         c.where);
  const verification v = verify(question, c.answer);
  write_standard_output(options.as_json ? verdict_json(v) : verdict_text(c, sites, v));
  return v.accepted ? exit_status::answered : exit_status::bad_data;
}

}  // namespace

void add_verify(CLI::App& app, command& run) {
  CLI::App& c = *app.add_subcommand("verify", "Check a certificate of solve against the sites");
  const auto options = std::make_shared<verify_options>();
  c.add_option("SITES", options->sites, "The sites, as they were given to solve")->required();
  c.add_option("CERTIFICATE", options->certificate, "The file of solve --certificate")->required();
  c.add_flag("--json", options->as_json, "The verdict as JSON");
  add_example(c, "planloc verify towns.csv centre.certificate");
  c.callback([options, &run] { run = [options] { return run_verify(*options); }; });
}

}  // namespace planloc::tool
