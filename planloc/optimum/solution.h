// What a search gives back: the place, its value, a lower bound on every place's value, and what
// proves the bound. `verify` (verify.h) recomputes the bound from the certificate and the problem
// alone.
#ifndef PLANLOC_OPTIMUM_SOLUTION_H_
#define PLANLOC_OPTIMUM_SOLUTION_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "planloc/optimum/problem.h"

namespace planloc {

// Of the value: the gap up to which a convex problem under gauges that are not polyhedral counts as
// solved.
inline constexpr double kOptimalGap = 1e-11;

enum class solution_status : std::uint8_t {
  optimal,     // polyhedral gauges: the gap is 0; others: at most 1e-11 of the value, 1e-10 where f
               // is not convex, or what the rounding of f leaves open: less than 1e-10 of the sum
               // of the terms' magnitudes amid the sites. `verify` sees to it
  within_gap,  // the gap is at most the one that was asked for, or, with gauges that are not
               // polyhedral, doubles cannot narrow it further
  unbounded,   // the value falls without end along `direction_certificate::direction`
  infeasible,  // no place is permitted; the regions alone are the proof
  stopped,     // a limit or the stop token ended the search: value and bound are what it had
  far_away     // as `optimal`, but of gauges that are not polyhedral, at a place so far off that f
               // hardly changes beyond it: nothing as good was found nearer, mostly since f has no
               // least value. Coordinates beyond 1e100 are in `exact` alone (`point`: +-1e100)
};

// A place as fractions, "p/q" or "p" each in lowest terms. The optimum of a polyhedral problem is
// the crossing of two lines and seldom a pair of doubles.
struct exact_point {
  std::string x;
  std::string y;

  bool empty() const { return x.empty(); }
};

// All places with the least value, where a convex polyhedral problem was solved to the end: a
// vertex, an edge or a polygon by the number of corners. Not known if there is no corner and not
// the whole plane: always so where regions forbid the best places of the plane, or where these are
// more than one and there are regions: what they leave of such a set need not be convex.
struct optimal_set {
  // Counterclockwise. Each coordinate is the nearest double of the exact one.
  std::vector<xy> corners;
  bool whole_plane = false;  // all order weights are 0
};

// An affine function nowhere above a convex f. Site i gets the order weight of rank[i], and its
// distance is replaced by a linear piece: edge edge[i] of a polyhedral gauge, else the tangent at
// `taken_at`, or the slope that `kinks` gives: for sites that lie there, and for those whose
// tangent hangs on the last digits of the place (lp with a large p).
struct affine_piece {
  struct kink {
    std::uint32_t site;
    xy slope;  // of the gauge, without weights; at most 1 in the dual norm, up to rounding
  };

  double multiplier = 0;
  xy taken_at{0, 0};                // counted from convex_certificate::base
  std::vector<std::uint32_t> edge;  // one a site; empty if no gauge is polyhedral
  std::vector<std::uint32_t> rank;  // one a site, from 0; empty if all order weights are equal
  std::vector<kink> kinks;
};

// Convex problems: at most three affine functions below f whose slopes, taken `multiplier` times,
// add up to 0; so the same sum of their values is the bound. Polyhedral gauges: the multipliers are
// rounded; `verify` finds the exact ones, which the slopes determine. Other gauges: the slopes add
// up to 0 but for roundings, and the bound is less by what the rest can do on the places that are
// no worse.
struct convex_certificate {
  std::vector<affine_piece> pieces;
  xy base{0, 0};
};

// Coordinates (a, b) of the places a * along + b * across: with them a parallelogram is a square.
struct skewed_axes {
  xy along{1, 0};
  xy across{0, 1};

  friend bool operator==(const skewed_axes&, const skewed_axes&) = default;
};

// Problems that need not be convex: a square that holds an optimum, halved into triangles until
// each of them holds nothing better. All of it is meant in the coordinates of `axes`, by which the
// square is as thin as the unit balls are.
// The two triangles are the halves along the diagonal of direction (-1, 1); a triangle is halved
// from the right angle to the middle of the longest side. So the
// reasons alone, in the order of a walk that visits a triangle before its halves, stand for all
// triangles, and they cover the square whatever the reasons are.
//
// Outside of the square f is greater than at `base`: f falls behind the recession function (the
// same problem with all sites at one place) by no more than a constant, and `outside` proves in the
// same way that this function is large enough on the sides of the square of half side 1. It is
// empty where that function is 0, or small, in some direction: then it is nowhere negative, and the
// square is so large that from any place outside some way back to its border is nowhere up. If
// `to_infinity`, `outside` stands for all places outside, base + kInside * half / t * y with y on
// the sides of the square of half side 1 and 0 <= t <= 1, halved along y or t; f is nowhere less
// than the bound there. With forbidden regions the square holds them, and f is above the bound
// outside, or no way back is up; with an allowed region the square holds that, and `outside` is
// empty.
//
// No cells at all: the sums of the last k order weights are not negative, so neither is f; or all
// sites lie at one place and `outside` proves that the recession function, which f is there, is not
// negative; or all sites have one gauge and lie at one place, and f is that gauge times a number
// that is not negative; or all sites have one gauge and one weight and the order weights add up to
// 0: then f is at least the least of these sums times the largest distance of two sites.
struct branch_certificate {
  // The square stands off the base, by these parts of its half side in x and y, lest many halvings
  // meet in the base, near which the optimum often is. So all places up to `kInside` * half from
  // the base, in either coordinate, lie in the square.
  static constexpr double kShiftX = 21.0 / 64;
  static constexpr double kShiftY = 13.0 / 64;
  static constexpr double kInside = 1 - kShiftX;

  enum class reason : std::uint8_t {
    halved,
    bound,     // a convex function less a convex one, or sorted bounds of the distances
    exact,     // every crossing of lines on which f can break, and of sides of regions
    forbidden  // nothing may be built there
  };
  xy base{0, 0};
  double half = 0;              // of the side of the square
  skewed_axes axes;             // those of the plane if `to_infinity`
  std::vector<reason> outside;  // the sides: right, top, left, bottom
  bool to_infinity = false;     // what `outside` stands for
  std::vector<reason> cells;
};

// Convex problems with regions, where the places with the least values are not permitted.
// `outside` is not permitted either, and f is at most the bound there. So a permitted place with a
// value below the bound is not alone: f is below the bound on all of the way there from `outside`,
// which enters the permitted places through a side of a polygon. But on the permitted parts of all
// sides the largest of `pieces`, affine functions nowhere above f, is nowhere below the bound.
struct boundary_certificate {
  exact_point outside;
  std::vector<affine_piece> pieces;  // multipliers do not count
  xy base{0, 0};                     // as convex_certificate::base
};

// The value falls without end along this direction.
struct direction_certificate {
  xy direction{0, 0};
};

using certificate = std::variant<std::monostate, convex_certificate, branch_certificate,
                                 direction_certificate, boundary_certificate>;

struct search_counters {
  std::size_t evaluations = 0;  // of all sites
  std::size_t cells = 0;        // of the branch and bound
  double seconds = 0;
};

struct solution {
  solution_status status = solution_status::stopped;
  xy point{0, 0};
  double value = 0;
  double lower_bound = 0;
  // Where `point` is the rounding of the place that the proof speaks of; empty if it is that place.
  exact_point exact;
  optimal_set optima;
  certificate proof;
  search_counters counters;

  double gap() const { return value - lower_bound; }
};

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_SOLUTION_H_
