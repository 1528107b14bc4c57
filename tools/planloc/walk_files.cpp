// planloc walk-files: the files of a run of cellwalk.
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "tools/planloc/command.h"
#include "tools/planloc/gauge_file.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/options.h"
#include "tools/planloc/output_file.h"
#include "tools/planloc/site_plane.h"

namespace planloc::tool {

namespace {

struct walk_options {
  site_source source;
  gauge_options gauge;
  objective_options objective;
  std::string folder;
};

// The sites with a margin, in the shape of cellwalk's window.
std::string frame_text(const std::vector<xy>& places) {
  constexpr double kWindowShape = 650.0 / 500.0;
  constexpr double kMargin = 1.2;
  const auto [left, right] = std::minmax_element(
      places.begin(), places.end(), [](const xy& a, const xy& b) { return a.x < b.x; });
  const auto [low, high] = std::minmax_element(places.begin(), places.end(),
                                               [](const xy& a, const xy& b) { return a.y < b.y; });
  double width = kMargin * std::max(right->x - left->x, (high->y - low->y) * kWindowShape);
  if (width == 0) width = 2;
  const double x = (left->x + right->x) / 2;
  const double y = (low->y + high->y) / 2;
  return exact(x - width / 2) + " " + exact(x + width / 2) + " " +
         exact(y - width / kWindowShape / 2) + " 0\n";
}

std::string location_text(const site_plane& sites) {
  std::string text = "begin {location}[2,1]\n";
  for (std::size_t i = 0; i < sites.size(); ++i) {
    std::string name = sites.label(i);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == ']' || c == '\n' || c == '\r'; }, ' ');
    text += exact(sites.places()[i].x) + " " + exact(sites.places()[i].y) + " " +
            exact(sites.table().weights[0][i]) + " {" + std::to_string(sites.table().gauge[i]) +
            "} [" + name + "]\n";
  }
  return text + "end {location}\n";
}

std::string parameter_text(const site_plane& sites, const std::vector<std::vector<xy>>& balls,
                           const objective& goal) {
  std::string text;
  for (const order_run& run : goal.lambda.runs(sites.size())) {
    for (std::size_t k = 0; k < run.count; ++k)
      text += (text.empty() ? "" : " ") + exact(run.weight);
  }
  text += "\n";
  for (std::size_t i = 0; i < sites.size(); ++i) {
    const double weight = sites.table().weights[0][i];
    for (const xy& row : polar_of(balls[sites.table().gauge[i]])) {
      text += exact(weight * row.x) + " " + exact(weight * row.y) + "\n";
    }
  }
  return text;
}

void make_folder(const std::string& folder) {
  struct stat s {};
  if (::stat(folder.c_str(), &s) == 0 && S_ISDIR(s.st_mode)) return;
  if (::mkdir(folder.c_str(), 0777) != 0) {
    fail_data(folder + ": cannot be made: " + std::strerror(errno));
  }
}

exit_status run_walk_files(walk_options& options) {
  const objective goal = options.objective.choice();
  const gauge_choice gauges = options.gauge.choice(options.source);
  if (!all_polyhedral(gauges)) {
    fail_usage("gauge " + in_quotes(gauges.name) +
               " is round: cellwalk takes polygons, as octagon, regular:N or a gauge file");
  }
  const site_plane sites(read_sites(options.source));
  check_fits(goal, sites.size());
  std::vector<std::vector<xy>> balls;
  for (const gauge& g : gauges.gauges) balls.emplace_back(g.vertices().begin(), g.vertices().end());

  make_folder(options.folder);
  const std::string in = options.folder + "/";
  write_whole(in + "frame.txt", frame_text(sites.places()));
  write_whole(in + "sites.loc", location_text(sites));
  write_whole(in + "gauges.gauge", write_gauge_text(balls, {}));
  write_whole(in + "objective.par", parameter_text(sites, balls, goal));
  if (sites.projection() != nullptr)
    warn("coordinates in kilometres: " + sites.projection()->description());
  write_standard_output("cellwalk -d " + in + "frame.txt -l " + in + "sites.loc -g " + in +
                        "gauges.gauge -p " + in + "objective.par -o " + in + "log.txt -s " + in +
                        "page.ps\n");
  return exit_status::answered;
}

}  // namespace

void add_walk_files(CLI::App& app, command& run) {
  CLI::App& c = *app.add_subcommand("walk-files", "Write the files of a run of cellwalk");
  const auto options = std::make_shared<walk_options>();
  add_site_options(c, options->source);
  c.add_option("GAUGES", options->gauge.gauge,
               "The gauge: l1, linf, octagon, regular:N, speed:..., or a gauge file")
      ->required();
  c.add_option("--gauge-column", options->source.gauge,
               "Column of each site's gauge in the gauge file, counted from 0 (gauge)");
  add_weight_option(c, options->source);
  add_objective_options(c, options->objective);
  c.add_option("--save", options->folder, "The folder for the files")->required();
  add_example(c, "planloc walk-files towns.csv octagon --objective centre --save run");
  c.callback([options, &run] { run = [options] { return run_walk_files(*options); }; });
}

}  // namespace planloc::tool
