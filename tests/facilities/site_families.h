// Problems to try a planar solver on: random ones, and the degenerate ones that solvers stumble
// over.
#ifndef PLANLOC_TESTS_FACILITIES_SITE_FAMILIES_H_
#define PLANLOC_TESTS_FACILITIES_SITE_FAMILIES_H_

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <sstream>
#include <utility>
#include <vector>

#include "planloc/facilities/facilities.h"

namespace planloc {

inline location site(double x, double y, double w) { return location(2.0, 1.0, x, y, w); }
inline location site(double x, double y, double w0, double w1) {
  return location(2.0, 2.0, x, y, w0, w1);
}

inline facilities sites_of(const std::vector<location>& locations) {
  facilities F;
  for (const location& a : locations) F.append(a);
  return F;
}

inline std::vector<location> results_of(const facilities& F) {
  return {F.opt.begin(), F.opt.end()};
}

// The eight provincial capitals of Andalusia (longitude, latitude).
inline facilities capitals() {
  return sites_of({site(-6.28333333333333, 36.5333333333333, 1),
                   site(-4.77888888888889, 37.8847222222222, 1), site(-3.5975, 37.1758333333333, 1),
                   site(-6.96305555555556, 37.2638888888889, 1),
                   site(-3.76666666666667, 37.7666666666667, 1), site(-4.42, 36.7194444444444, 1),
                   site(-5.99638888888889, 37.3830555555556, 1), site(-2.4675, 36.84, 1)});
}

// Weights are multiples of 1/8, so that their sums are exact. Every location has two of them,
// drawn apart; with `zero_weights` each is 0.0 now and then, and the first location's never.
struct site_family {
  const char* name;
  double x, y;    // the middle
  double spread;  // half the side of the square
  double grid;    // coordinates are multiples of it from the middle; 0.0 for any
  bool collinear;
  int largest;  // number of sites, from 1
};

inline const std::vector<site_family>& site_families() {
  static const std::vector<site_family> families = {
      {"random", 0, 0, 50, 0, false, 12},
      {"lattice", 0, 0, 2, 1, false, 12},
      {"collinear", 1, -3, 10, 0, true, 9},
      {"collinear lattice", 0, 0, 3, 1, true, 9},
      {"map in metres", 372846.25, 4131602.5, 900, 0, false, 10},
      {"map on a grid", 372846.25, 4131602.5, 2, 0.5, false, 10},
      {"one or two", 5, 7, 10, 0, false, 2},
      {"duplicates", 3, -2, 1, 1, false, 6}};
  return families;
}

inline facilities random_sites(std::mt19937& random, const site_family& family, bool zero_weights) {
  std::uniform_int_distribution<int> count(1, family.largest);
  std::uniform_real_distribution<double> u(-family.spread, family.spread);
  std::uniform_int_distribution<int> eighths(zero_weights ? 0 : 1, 24);
  std::uniform_int_distribution<int> unit(zero_weights ? 0 : 1, 2);
  const auto offset = [&] {
    return family.grid > 0.0 ? family.grid * std::round(u(random) / family.grid) : u(random);
  };
  // Half of the problems have small whole weights, which tie.
  const bool whole = random() % 2 == 0;
  const auto weight = [&] { return whole ? unit(random) : eighths(random) / 8.0; };
  facilities F;
  for (int i = count(random); i > 0; --i) {
    const double dx = offset();
    const double dy = family.collinear ? 2.0 * dx : offset();
    F.append(site(family.x + dx, family.y + dy, F.empty() ? std::max(1.0, weight()) : weight(),
                  F.empty() ? std::max(1.0, weight()) : weight()));
  }
  return F;
}

// `times` problems of every family, with up to `largest` sites if that is given.
inline void for_random_sites(int times, bool zero_weights,
                             const std::function<void(facilities&, const site_family&)>& check,
                             int largest = 0) {
  std::mt19937 random(11);
  for (site_family family : site_families()) {
    if (largest > 0) family.largest = largest;
    for (int i = 0; i < times; ++i) {
      facilities F = random_sites(random, family, zero_weights);
      check(F, family);
    }
  }
}

// The same problem with `count` sites without weight behind the first one, out of the way: they
// move the others to different places in a solver's arrays and change no sum.
inline facilities padded(const facilities& F, int count) {
  facilities result;
  for (const location& a : F) {
    result.append(a);
    for (; count > 0; --count) result.append(site(a[0] + 1e4, a[1], 0.0, 0.0));
  }
  return result;
}

// What the failed check was about.
inline std::string shown(const facilities& F, const char* family = "") {
  std::ostringstream out;
  out.precision(17);
  out << family << '\n';
  F.print(out);
  return out.str();
}

// The least value of a convex function over the square about (x, y), by golden sections inside
// golden sections, in more digits than the solvers have.
inline long double least_value(const std::function<long double(long double, long double)>& f,
                               double x, double y, double spread) {
  const long double ratio = (std::sqrt(5.0L) - 1) / 2;
  const auto least_on = [&](const auto& g, long double middle) {
    long double a = middle - spread;
    long double b = middle + spread;
    long double u = b - ratio * (b - a);
    long double v = a + ratio * (b - a);
    long double gu = g(u);
    long double gv = g(v);
    for (int i = 0; i < 60; ++i) {
      if (gu < gv) {
        b = std::exchange(v, u);
        gv = std::exchange(gu, g(u = b - ratio * (b - a)));
      } else {
        a = std::exchange(u, v);
        gu = std::exchange(gv, g(v = a + ratio * (b - a)));
      }
    }
    return std::min(gu, gv);
  };
  return least_on(
      [&](long double s) { return least_on([&](long double t) { return f(s, t); }, y); }, x);
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_SITE_FAMILIES_H_
