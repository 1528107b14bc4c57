// planloc gauge: writes gauge files.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "tools/planloc/command.h"
#include "tools/planloc/gauge_file.h"
#include "tools/planloc/gauges.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/options.h"
#include "tools/planloc/output_file.h"
#include "tools/planloc/picture.h"
#include "tools/planloc/sites.h"

namespace planloc::tool {

namespace {

using ball = std::vector<xy>;

struct gauge_command_options {
  std::vector<std::string> words;
  std::string output = "-";
  std::string picture;
  bool show = false;
};

// Of a name or a file.
std::vector<ball> balls_of(const std::string& text) {
  const gauge_choice choice = parse_gauges(text);
  std::vector<ball> balls;
  for (const gauge& g : choice.gauges) {
    if (g.kind() != gauge::shape::polyhedral) {
      fail_usage("gauge " + in_quotes(text) + " is round: a gauge file holds polygons");
    }
    balls.emplace_back(g.vertices().begin(), g.vertices().end());
  }
  return balls;
}

xy turned(const xy& v, double degrees) {
  const double quarter = std::remainder(degrees, 360) / 90;
  double c = std::cos(degrees * std::numbers::pi / 180);
  double s = std::sin(degrees * std::numbers::pi / 180);
  if (quarter == std::round(quarter)) {  // without the roundings of cosine and sine
    c = std::round(c);
    s = std::round(s);
  }
  return {c * v.x - s * v.y + 0.0, s * v.x + c * v.y + 0.0};
}

std::vector<ball> rotated(const std::string& file, const std::string& angle) {
  const std::optional<double> degrees = parse_number(angle);
  if (!degrees) fail_usage("gauge rotate: " + in_quotes(angle) + ": expected an angle in degrees");
  std::vector<ball> balls = balls_of(file);
  for (ball& b : balls) {
    for (xy& v : b) v = turned(v, *degrees);
  }
  return balls;
}

std::vector<ball> polars(const std::string& file) {
  std::vector<ball> balls;
  for (const ball& b : balls_of(file)) balls.push_back(polar_of(b));
  return balls;
}

// The directions of both gauges, at length 1.
ball merged(const std::string& first, const std::string& second) {
  constexpr double kSameDirection = 1e-12;
  ball directions;
  for (const std::string& text : {first, second}) {
    const std::vector<ball> balls = balls_of(text);
    if (balls.size() != 1) {
      fail_data(text + ": " + std::to_string(balls.size()) + " gauges: merge takes one of each");
    }
    for (const xy& v : balls[0]) {
      const double length = std::hypot(v.x, v.y);
      const xy u{v.x / length, v.y / length};
      const bool known = std::any_of(directions.begin(), directions.end(), [&](const xy& d) {
        return std::hypot(d.x - u.x, d.y - u.y) <= kSameDirection;
      });
      if (!known) directions.push_back(u);
    }
  }
  return hull_of(directions);
}

ball hull_of_points(const std::string& file) {
  site_source source;
  source.path = file;
  source.planar = true;
  source.unweighted = true;
  const site_table points = read_sites(source);
  const ball hull = hull_of(points.places);
  try {
    static_cast<void>(gauge::polyhedral(hull));
  } catch (const bad_problem&) {
    fail_data(file + ": the hull of the points does not hold the origin strictly inside");
  }
  return hull;
}

// For sites with gauges of their own, which have numbers from 0.
std::vector<ball> listed(const std::vector<std::string>& words) {
  std::vector<ball> balls;
  for (std::size_t k = 1; k < words.size(); ++k) {
    for (ball& b : balls_of(words[k])) balls.push_back(std::move(b));
  }
  if (balls.empty()) fail_usage("gauge list: expected gauges or gauge files behind it");
  return balls;
}

std::vector<ball> made_by(const std::vector<std::string>& words) {
  const auto is = [&](const char* name, std::size_t count) {
    if (words[0] != name) return false;
    if (words.size() != count + 1) {
      fail_usage("gauge " + words[0] + ": expected " + std::to_string(count) +
                 (count == 1 ? " argument" : " arguments") + " behind it");
    }
    return true;
  };
  if (is("polar", 1)) return polars(words[1]);
  if (is("rotate", 2)) return rotated(words[1], words[2]);
  if (is("merge", 2)) return {merged(words[1], words[2])};
  if (is("hull", 1)) return {hull_of_points(words[1])};
  if (words[0] == "list") return listed(words);
  if (words.size() != 1) {
    fail_usage("gauge " + in_quotes(words[0]) +
               ": not polar, rotate, merge, hull or list, and behind " +
               "a gauge nothing is expected");
  }
  return balls_of(words[0]);
}

exit_status run_gauge(const gauge_command_options& options) {
  if (!options.picture.empty()) check_picture_name(options.picture);
  const std::vector<ball> balls = made_by(options.words);
  std::string made = "planloc gauge";
  for (const std::string& w : options.words) made += " " + w;
  const std::unique_ptr<surface> picture =
      options.show || !options.picture.empty() ? draw_balls(balls, made) : nullptr;
  if (!options.picture.empty()) save_picture(options.picture, *picture);
  write_whole(options.output, write_gauge_text(balls, {made}));
  if (options.show) put_on_screen(*picture, made);
  return exit_status::answered;
}

}  // namespace

void add_gauge(CLI::App& app, command& run) {
  CLI::App& c = *app.add_subcommand("gauge", "Write a gauge file");
  const auto options = std::make_shared<gauge_command_options>();
  c.add_option(
       "GAUGE", options->words,
       "l1, linf, octagon, regular:N, speed:E=60,NE=90,..., polar FILE, rotate FILE DEGREES "
       "(counterclockwise), merge A B (the directions of both, at length 1), list A B ... (one "
       "file of "
       "several gauges, numbered from 0), or hull POINTS; for FILE, A and B names will do as well")
      ->required();
  c.add_option("--output", options->output, "The file to write (standard output)");
  c.add_option("--picture", options->picture,
               "Draw the balls and their polars: .svg, .pdf or .png");
  c.add_flag("--show", options->show, "Show that picture on the screen until it is closed");
  add_example(c, "planloc gauge speed:E=90,N=60,W=90,S=60 --output roads.gauge");
  c.callback([options, &run] { run = [options] { return run_gauge(*options); }; });
}

}  // namespace planloc::tool
