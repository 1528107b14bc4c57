// Unit balls for the tests of the gauges.
#ifndef PLANLOC_TESTS_MODEL_GAUGE_SAMPLES_H_
#define PLANLOC_TESTS_MODEL_GAUGE_SAMPLES_H_

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <sstream>
#include <string>
#include <vector>

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

  // A convex polygon of n vertices, counterclockwise, with the origin well inside: points on an
  // ellipse about a centre near the origin.
  std::vector<point> ball(int n) {
    for (;;) {
      const point centre = somewhere(0.3);
      const double width = uniform(0.7, 2.0);
      std::vector<double> angles;
      for (int i = 0; i < n; ++i) angles.push_back(uniform(0.0, 2 * std::numbers::pi));
      std::sort(angles.begin(), angles.end());
      std::vector<point> v;
      for (double alpha : angles) {
        v.push_back(centre.translate(width * std::cos(alpha), std::sin(alpha)));
      }
      bool good = true;
      for (std::size_t i = 0; i < v.size(); ++i) {
        if (cross(v[i], v[(i + 1) % v.size()]) < 0.01) good = false;
      }
      if (good) return v;
    }
  }

 private:
  std::mt19937 random_;
};

template <class T>
list<T> to_list(const std::vector<T>& entries) {
  list<T> result;
  for (const T& x : entries) result.append(x);
  return result;
}

// The gauge with the unit ball v in its polar form: the largest value at d over all linear
// functions that are 1 on an edge.
inline double polar_form(const std::vector<point>& v, const point& d) {
  double largest = 0.0;
  for (std::size_t i = 0; i < v.size(); ++i) {
    const point& a = v[i];
    const point& b = v[(i + 1) % v.size()];
    const point normal(b.ycoord() - a.ycoord(), a.xcoord() - b.xcoord(), cross(a, b));
    largest = std::max(largest, dot(normal, d));
  }
  return largest;
}

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
