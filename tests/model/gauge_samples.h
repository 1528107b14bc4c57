// Unit balls for the tests of the gauges.
#ifndef PLANLOC_TESTS_MODEL_GAUGE_SAMPLES_H_
#define PLANLOC_TESTS_MODEL_GAUGE_SAMPLES_H_

#include <cmath>
#include <numbers>
#include <random>
#include <sstream>
#include <string>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/model/cones.h"
#include "tests/model/model_testing.h"

namespace planloc {

inline const point kZero(0, 0);

// The points whose coordinates stand in a row of numbers.
inline list<point> points(const std::string& row) {
  std::istringstream in(row);
  return detail::read_line<point>(in);
}

inline const list<point> kDiamond = points("1 0  0 1  -1 0  0 -1");

inline double cross(const point& a, const point& b) {
  return a.xcoord() * b.ycoord() - a.ycoord() * b.xcoord();
}

inline double dot(const point& a, const point& b) {
  return a.xcoord() * b.xcoord() + a.ycoord() * b.ycoord();
}

class BallSource {
 public:
  explicit BallSource(unsigned seed) : random_(seed) {}

  double uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random_);
  }
  point somewhere(double size) { return point(uniform(-size, size), uniform(-size, size)); }

  // A convex polygon of n vertices on an ellipse, counterclockwise, with the origin well inside.
  list<point> ball(int n) {
    const double width = uniform(0.7, 2.0);
    const double first = uniform(0.0, 2 * std::numbers::pi);
    list<point> v;
    for (int i = 0; i < n; ++i) {
      const double alpha = first + (i + uniform(0.0, 0.4)) / n * 2 * std::numbers::pi;
      v.append(point(width * std::cos(alpha), std::sin(alpha)));
    }
    return v;
  }

 private:
  std::mt19937 random_;
};

// The endings that both gauges have, for a gauge of 4 vertices: 11 consecutive codes from `first`.
template <class Gauge>
void expect_common_endings(const Gauge& g, const std::string& name, int first) {
  const std::string cone = name + ": Conenumber is not correct";
  const location o = at(0, 0);
  bool interior = false;
  expect_endings({
      {first, cone, [&] { g.cone_vertices(kZero, 0); }},
      {first + 1, cone, [&] { g.cone_vertices(o, 5); }},
      {first + 2, cone, [&] { g.cone_segments(kZero, 5); }},
      {first + 3, cone, [&] { g.cone_segments(o, 0); }},
      {first + 4, cone, [&] { g.in_cone(kZero, 5, kZero, interior); }},
      {first + 4, cone, [&] { Gauge().distance(o, at(1, 1)); }},
      {first + 4, cone, [&] { g.distance(kZero, point(std::nan(""), 0)); }},
      {first + 5, cone, [&] { g.in_cone(o, 0, o, interior); }},
      {first + 6, cone, [&] { g.points_in_cone(kZero, 5, {}); }},
      {first + 7, cone, [&] { g.points_in_cone(o, 0, {}); }},
      {first + 8, name + ":max i must be 0 or 1", [&] { g.max(kZero, 2); }},
      {first + 9, name + ":mini i must be 0 or 1", [&] { g.mini(o, -1); }},
      {first + 10, name + ":max_diff i must be 0 or 1", [&] { g.max_diff(2); }},
  });
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_MODEL_GAUGE_SAMPLES_H_
