// Coordinates that exact geometry is likely to get wrong, and their exact values as fractions.
#ifndef PLANLOC_TESTS_FOUNDATION_RAT_CASES_H_
#define PLANLOC_TESTS_FOUNDATION_RAT_CASES_H_

#include <gmpxx.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "planloc/foundation/geometry/point.h"

namespace planloc::rat_cases {

using Random = std::mt19937_64;
using Coordinate = std::function<double(Random&)>;

struct fractions {
  explicit fractions(const point& p) : x(p.xcoord()), y(p.ycoord()) {}
  fractions(mpq_class px, mpq_class py) : x(std::move(px)), y(std::move(py)) {}
  mpq_class x;
  mpq_class y;
};

inline fractions operator-(const fractions& p, const fractions& q) {
  return {p.x - q.x, p.y - q.y};
}
inline mpq_class cross(const fractions& u, const fractions& v) { return u.x * v.y - u.y * v.x; }
inline mpq_class dot(const fractions& u, const fractions& v) { return u.x * v.x + u.y * v.y; }

inline int pick(Random& random, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(random);
}
inline double real(Random& random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}

// Reals of size 10 * 2^exponent.
inline Coordinate reals(int exponent) {
  return [=](Random& r) { return std::ldexp(real(r, -10.0, 10.0), exponent); };
}
// Multiples of 2^exponent: full of equal points, parallels and points on lines.
inline Coordinate lattice(int exponent) {
  return [=](Random& r) { return std::ldexp(pick(r, -3, 3), exponent); };
}
// Any exponent from the list for each coordinate on its own.
inline Coordinate mixed(std::vector<int> exponents) {
  return [=](Random& r) {
    const auto i = static_cast<std::size_t>(pick(r, 0, static_cast<int>(exponents.size()) - 1));
    return std::ldexp(pick(r, 0, 3) == 0 ? pick(r, -3, 3) : real(r, -2.0, 2.0), exponents[i]);
  };
}

// d moved by up to two units in the last place.
inline double nudge(Random& random, double d) {
  for (int steps = pick(random, -2, 2); steps != 0; steps += steps < 0 ? 1 : -1) {
    d = std::nextafter(d, steps * std::numeric_limits<double>::infinity());
  }
  return d;
}
// A point next to the line through p and q, or on it.
inline point near_line(Random& random, const point& p, const point& q) {
  const double t = real(random, -1.0, 2.0);
  return point(nudge(random, p.xcoord() + t * (q.xcoord() - p.xcoord())),
               nudge(random, p.ycoord() + t * (q.ycoord() - p.ycoord())));
}

// The double nearest to v, ties to even, found by comparing the exact distances of its neighbours.
// REQUIRES: |v| is not above the largest double.
inline double nearest_double(const mpq_class& v) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const auto is_even = [](double d) { return std::bit_cast<std::uint64_t>(d) % 2 == 0; };
  const double start = v.get_d();  // cut off towards 0
  double best = start;
  for (const double d : {std::nextafter(start, -kInfinity), std::nextafter(start, kInfinity)}) {
    if (std::isinf(d)) continue;
    const int farther = cmp(abs(v - mpq_class(d)), abs(v - mpq_class(best)));
    if (farther < 0 || (farther == 0 && is_even(d))) best = d;
  }
  return best;
}

}  // namespace planloc::rat_cases

#endif  // PLANLOC_TESTS_FOUNDATION_RAT_CASES_H_
