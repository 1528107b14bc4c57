// The least value of a polyhedral problem by brute force: f is linear in the cells of the
// arrangement of all lines on which a distance or the order of two distances changes, so a bounded
// f has its least value in a crossing of two of them, or, where all are parallel, anywhere on one.
#ifndef PLANLOC_TESTS_OPTIMUM_ARRANGEMENT_H_
#define PLANLOC_TESTS_OPTIMUM_ARRANGEMENT_H_

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "planloc/optimum/problem.h"

namespace planloc {

struct test_line {
  double a, b, c;  // a x + b y == c
};

inline std::vector<test_line> break_lines(const problem& p) {
  std::vector<test_line> lines;
  struct piece {
    double a, b, c;
  };
  std::vector<std::vector<piece>> pieces;
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const site& s = p.sites()[i];
    const std::span<const xy> v = p.gauge_of(i).vertices();
    auto& own = pieces.emplace_back();
    for (std::size_t j = 0; j < v.size(); ++j) {
      const xy a = v[j];
      const xy b = v[(j + 1) % v.size()];
      lines.push_back({-a.y, a.x, -a.y * s.x + a.x * s.y});
      const double area = a.x * b.y - a.y * b.x;
      const xy n{s.weight * (b.y - a.y) / area, s.weight * (a.x - b.x) / area};
      own.push_back({n.x, n.y, n.x * s.x + n.y * s.y});
    }
  }
  if (p.runs().size() == 1) return lines;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      for (const piece& f : pieces[i]) {
        for (const piece& g : pieces[k]) lines.push_back({f.a - g.a, f.b - g.b, f.c - g.c});
      }
    }
  }
  return lines;
}

struct arrangement_optima {
  double value = std::numeric_limits<double>::infinity();
  std::vector<xy> places;  // crossings with this value, up to `tie` of it
};

inline arrangement_optima optima_of_arrangement(const problem& p, double tie = 1e-11) {
  const std::vector<test_line> lines = break_lines(p);
  arrangement_optima best;
  std::vector<std::pair<double, xy>> near;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      const test_line& f = lines[i];
      const test_line& g = lines[k];
      const double area = f.a * g.b - f.b * g.a;
      const double sizes = (std::fabs(f.a) + std::fabs(f.b)) * (std::fabs(g.a) + std::fabs(g.b));
      if (!(std::fabs(area) > 1e-9 * sizes)) continue;
      const xy at{(f.c * g.b - f.b * g.c) / area, (f.a * g.c - f.c * g.a) / area};
      const double value = p.value(at);
      if (value > best.value + tie * (1 + std::fabs(best.value))) continue;
      best.value = std::min(best.value, value);
      near.emplace_back(value, at);
    }
  }
  for (const auto& [value, at] : near) {
    if (value <= best.value + tie * (1 + std::fabs(best.value))) best.places.push_back(at);
  }
  return best;
}

inline double least_value_of_arrangement(const problem& p) {
  return optima_of_arrangement(p).value;
}

// How far a place lies outside a convex set given by its corners counterclockwise.
inline double outside(const std::vector<xy>& corners, const xy& at) {
  double most = 0;
  for (std::size_t k = 0; k < corners.size(); ++k) {
    const xy& a = corners[k];
    const xy& b = corners[(k + 1) % corners.size()];
    const xy edge{b.x - a.x, b.y - a.y};
    const double length = std::hypot(edge.x, edge.y);
    const xy u{at.x - a.x, at.y - a.y};
    most =
        std::max(most, length == 0 ? std::hypot(u.x, u.y) : (u.x * edge.y - u.y * edge.x) / length);
    if (corners.size() == 2) most = std::max(most, -(u.x * edge.x + u.y * edge.y) / length);
  }
  return most;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_OPTIMUM_ARRANGEMENT_H_
