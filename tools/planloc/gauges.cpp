#include "tools/planloc/gauges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>

#include "planloc/planloc.h"
#include "tools/planloc/errors.h"
#include "tools/planloc/gauge_file.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/output_file.h"

namespace planloc::tool {

namespace {

constexpr std::string_view kSpeeds = "speed:";

constexpr std::array<std::string_view, 16> kCompass = {"E",  "ENE", "NE", "NNE", "N",  "NNW",
                                                       "NW", "WNW", "W",  "WSW", "SW", "SSW",
                                                       "S",  "SSE", "SE", "ESE"};

std::optional<std::size_t> compass_number(std::string_view name) {
  for (std::size_t k = 0; k < kCompass.size(); ++k) {
    if (kCompass[k] == name) return k;
  }
  return std::nullopt;
}

[[noreturn]] void fail_form(std::string_view text, const std::string& expected) {
  fail_usage("gauge " + in_quotes(text) + ": expected " + expected);
}

double lp_of(std::string_view text, std::string_view argument) {
  if (argument == "inf" || argument == "infinity") return HUGE_VAL;
  const std::optional<double> p = parse_number(argument);
  if (!p || *p < 1) fail_form(text, "lp:P with P from 1, as in lp:1.5");
  return *p;
}

gauge ball_of_name(std::string_view text, const std::vector<xy>& ball) {
  try {
    return gauge::polyhedral(ball);
  } catch (const bad_problem& e) {
    fail_usage("gauge " + in_quotes(text) + ": " + e.what());
  }
}

std::optional<gauge> named(std::string_view text) {
  if (text == "l1") return gauge::l1();
  if (text == "linf") return gauge::linf();
  if (text == "euclid" || text == "euclidean" || text == "l2") return gauge::euclidean();
  if (text == "octagon") return gauge::polyhedral(regular_ball(8));
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const std::string_view argument = text.substr(colon + 1);
  if (text.starts_with("lp:")) return gauge::lp(lp_of(text, argument));
  if (text.starts_with("regular:")) {
    constexpr std::size_t kMostCorners = 10000;
    const std::optional<std::size_t> n = parse_count(argument);
    if (!n || *n < 3 || *n > kMostCorners) fail_form(text, "regular:N with N from 3 to 10000");
    return ball_of_name(text, regular_ball(*n));
  }
  if (text.starts_with(kSpeeds)) return ball_of_name(text, speed_ball(argument));
  return std::nullopt;
}

// As the first line of what `planloc gauge` wrote tells.
bool made_of_speeds(std::string_view gauge_file) {
  const std::string_view first = gauge_file.substr(0, gauge_file.find('\n'));
  return first.starts_with(std::string(kMadeBy) + " ") && first.find(kSpeeds) != first.npos;
}

}  // namespace

std::string gauge_choice::measured(const std::string& unit) const {
  if (travel_time) return "time";
  return from_file || unit.empty() ? "distance" : "distance (" + unit + ")";
}

xy unit_direction(std::size_t k, std::size_t n) {
  const std::size_t octant = 8 * k / n % 8;
  const std::size_t rest = 8 * k % n;
  const bool odd = octant % 2 == 1;
  const double share = static_cast<double>(odd ? n - rest : rest) / static_cast<double>(n);
  double c = std::cos(share * std::numbers::pi / 4);
  double s = std::sin(share * std::numbers::pi / 4);
  if (share == 1) c = s = std::sqrt(0.5);
  const std::array<xy, 8> turned = {
      {{c, s}, {s, c}, {-s, c}, {-c, s}, {-c, -s}, {-s, -c}, {s, -c}, {c, -s}}};
  return {turned[octant].x + 0.0, turned[octant].y + 0.0};  // no -0
}

std::vector<xy> regular_ball(std::size_t n) {
  std::vector<xy> ball;
  for (std::size_t k = 0; k < n; ++k) ball.push_back(unit_direction(k, n));
  return ball;
}

std::vector<xy> hull_of(const std::vector<xy>& points) {
  list<point> all;
  for (const xy& p : points) all.append(point(p.x, p.y));
  std::vector<xy> corners;
  for (const point& p : CONVEX_HULL(all)) corners.push_back({p.xcoord(), p.ycoord()});
  return corners;
}

std::vector<xy> polar_of(const std::vector<xy>& ball) {
  std::vector<xy> polar;
  for (std::size_t j = 0; j < ball.size(); ++j) {
    const xy& u = ball[j];
    const xy& v = ball[(j + 1) % ball.size()];
    const double area = u.x * v.y - u.y * v.x;
    polar.push_back({(v.y - u.y) / area + 0.0, (u.x - v.x) / area + 0.0});
  }
  return polar;
}

std::vector<xy> speed_ball(std::string_view text) {
  constexpr const char* kExpected =
      "speed:DIRECTION=SPEED,... with directions E, NE, N, NW, W, SW, S, SE (or ENE, NNE, ...) and "
      "speeds above 0";
  std::vector<xy> reached;
  std::array<bool, kCompass.size()> given{};
  for (const std::string_view part : split(text, ',')) {
    const std::size_t equals = part.find('=');
    if (equals == std::string_view::npos) fail_form(part, kExpected);
    const std::optional<std::size_t> k = compass_number(trimmed(part.substr(0, equals)));
    const std::optional<double> speed = parse_number(part.substr(equals + 1));
    if (!k || !speed || *speed <= 0) fail_form(part, kExpected);
    if (given[*k])
      fail_usage("gauge: the speed to the " + std::string(kCompass[*k]) + " is given twice");
    given[*k] = true;
    const xy u = unit_direction(*k, kCompass.size());
    reached.push_back({u.x * *speed, u.y * *speed});
  }
  const std::vector<xy> ball = hull_of(reached);
  if (ball.size() < 3) {
    fail_usage("gauge: speeds to the " + std::to_string(reached.size()) +
               " directions given leave no way back: give at least three that surround the start");
  }
  return ball;
}

std::vector<std::vector<xy>> read_gauge_file(const std::string& file) {
  const gauge_file content = read_gauge_text(read_whole(file));
  if (!content.findings.empty()) {
    const finding& f = content.findings.front();
    fail_data(file + ":" + std::to_string(f.line) + ":" + std::to_string(f.column) + ": " +
              f.message);
  }
  std::vector<std::vector<xy>> balls;
  for (const ball_text& b : content.balls) {
    try {
      static_cast<void>(gauge::polyhedral(b.vertices));
    } catch (const bad_problem& e) {
      fail_data(file + ":" + std::to_string(b.line) + ": gauge " + std::to_string(balls.size()) +
                ": " + std::string(e.what()).substr(std::string_view("gauge: ").size()));
    }
    balls.push_back(b.vertices);
  }
  return balls;
}

bool all_polyhedral(const gauge_choice& choice) {
  return std::all_of(choice.gauges.begin(), choice.gauges.end(),
                     [](const gauge& g) { return g.kind() == gauge::shape::polyhedral; });
}

gauge_choice parse_gauges(std::string_view text) {
  gauge_choice choice{.name = std::string(text)};
  if (const std::optional<gauge> g = named(text)) {
    choice.gauges.push_back(*g);
    choice.travel_time = text.starts_with(kSpeeds);
    return choice;
  }
  if (!file_exists(choice.name)) {
    fail_data("gauge " + in_quotes(text) + ": no such file, and no name of a gauge: expected " +
              kGaugeNames);
  }
  choice.from_file = true;
  choice.travel_time = made_of_speeds(read_whole(choice.name));
  for (const std::vector<xy>& ball : read_gauge_file(choice.name)) {
    choice.gauges.push_back(gauge::polyhedral(ball));
  }
  return choice;
}

std::vector<xy> ball_outline(const gauge& g) {
  if (g.kind() == gauge::shape::polyhedral) return {g.vertices().begin(), g.vertices().end()};
  constexpr std::size_t kCorners = 144;
  std::vector<xy> outline;
  for (std::size_t k = 0; k < kCorners; ++k) {
    const xy u = unit_direction(k, kCorners);
    const double length = g(u);
    outline.push_back({u.x / length, u.y / length});
  }
  return outline;
}

}  // namespace planloc::tool
