#include "planloc/facilities/lp_candidates.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

#include "planloc/facilities/bulk_powers.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kFewSites = 16;
constexpr std::size_t kMostSites = 100000;
constexpr int kMostPower = 32;
constexpr int kMostTangents = 60;
// A tangent has to take off one candidate, and one in so many. It takes a sixth of the powers of
// the test of one.
constexpr std::size_t kFewTaken = 10;
// With at most kMostSites sites and kMostPower as p, what `lp_optimal` finds is off by less than
// 2e-11 of the weights, and values and slopes here by less than that of weights times extent.
constexpr double kSlopeMargin = 1e-8;
constexpr double kValueMargin = 1e-9;
// Powers of distances stay well within the range of doubles.
constexpr double kLargest = 1e250;
constexpr double kSmallest = 1e-290;

double power(double t, int e) {
  double result = 1;
  for (; e > 0; e /= 2, t *= t) {
    if (e % 2 == 1) result *= t;
  }
  return result;
}

struct extents {
  double widest = 0;  // of the coordinates' differences
  double finest = 0;  // no two different coordinates are nearer
  double weights = 0;
  bool ordinary = false;  // whether the bounds above hold
};

extents extents_of(const planar_sites& s, int p) {
  extents e;
  double least = std::numeric_limits<double>::infinity();
  for (const std::vector<double>* c : {&s.x, &s.y}) {
    const auto [low, high] = std::minmax_element(c->begin(), c->end());
    e.widest = std::max(e.widest, *high - *low);
    for (const double v : *c) least = std::min(least, v == 0 ? least : std::fabs(v));
  }
  e.finest = least * std::numeric_limits<double>::epsilon() / 2;
  e.weights = std::accumulate(s.w.begin(), s.w.end(), 0.0);
  const bool weighed = std::all_of(s.w.begin(), s.w.end(), [](double w) { return w >= 0; });
  const double span = std::max(e.widest, 1.0);
  e.ordinary = weighed && e.weights > kSmallest && e.weights < kLargest && e.widest > 0 &&
               power(span, p) < kLargest / span && power(std::min(e.finest, 1.0), p) > kSmallest;
  return e;
}

// The sum of the distances at a place, and a subgradient.
struct tangent {
  plane_xy at{0, 0};
  double value = 0;
  plane_xy slope{0, 0};

  double at_place(double x, double y) const {
    return value + slope.x * (x - at.x) + slope.y * (y - at.y);
  }
};

// Some sites at a time, seen from a place: the differences to the power p - 1, with their signs,
// their sum to the power p, and the distance over that sum.
struct seen_sites {
  static constexpr std::size_t kMost = 128;

  void look(const planar_sites& s, std::size_t first, std::size_t n, const plane_xy& at, int p) {
    for (std::size_t i = 0; i < n; ++i) {
      const double ux = at.x - s.x[first + i];
      const double uy = at.y - s.y[first + i];
      const double px = p == 3 ? ux * ux : power(std::fabs(ux), p - 1);
      const double py = p == 3 ? uy * uy : power(std::fabs(uy), p - 1);
      sum[i] = px * std::fabs(ux) + py * std::fabs(uy);
      x[i] = std::copysign(px, ux);
      y[i] = std::copysign(py, uy);
    }
    if (p == 3) {
      inverse_cube_roots(n, sum.data(), share.data());
      for (std::size_t i = 0; i < n; ++i) share[i] *= share[i];
    } else {
      for (std::size_t i = 0; i < n; ++i) share[i] = std::pow(sum[i], 1.0 / p) / sum[i];
    }
  }

  std::array<double, kMost> x, y, sum, share;
};

tangent tangent_at(const planar_sites& s, const plane_xy& at, int p) {
  tangent t{at};
  seen_sites seen;
  for (std::size_t first = 0; first < s.size(); first += seen_sites::kMost) {
    const std::size_t n = std::min(seen_sites::kMost, s.size() - first);
    seen.look(s, first, n, at, p);
    for (std::size_t i = 0; i < n; ++i) {
      if (!(seen.sum[i] > 0)) continue;  // 0 is a slope there
      const double share = s.w[first + i] * seen.share[i];
      t.value += share * seen.sum[i];
      t.slope.x += share * seen.x[i];
      t.slope.y += share * seen.y[i];
    }
  }
  return t;
}

}  // namespace

// With f the sum, g the slope of the others at a site a of weight w, and any place z:
// f(z) >= f(a) + g (z - a) + w |z - a|, so the dual norm of g, which `lp_optimal` compares with w,
// is at least w + (f(a) - f(z)) / |z - a|. Tangents bound f(a) from below. Each is taken amid the
// candidates that are left, so it cuts off a good part of them.
std::vector<bool> lp_candidates(const planar_sites& s, int p) {
  std::vector<bool> result(s.size(), true);
  if (s.size() < kFewSites || s.size() > kMostSites || p < 2 || p > kMostPower) return result;
  const extents e = extents_of(s, p);
  if (!e.ordinary) return result;
  std::vector<std::size_t> left(s.size());
  std::iota(left.begin(), left.end(), std::size_t{0});
  std::vector<double> bound(s.size(), 0.0);  // of f at each site
  tangent best{{0, 0}, std::numeric_limits<double>::infinity()};
  for (int round = 0; round < kMostTangents && !left.empty(); ++round) {
    plane_xy middle{0, 0};
    for (const std::size_t i : left) {
      middle.x += s.x[i] / static_cast<double>(left.size());
      middle.y += s.y[i] / static_cast<double>(left.size());
    }
    const tangent t = tangent_at(s, middle, p);
    if (t.value < best.value) best = t;
    const std::size_t before = left.size();
    std::erase_if(left, [&](std::size_t i) {
      bound[i] = std::max(bound[i], t.at_place(s.x[i], s.y[i]));
      // At least the distance.
      const double apart = std::fabs(s.x[i] - best.at.x) + std::fabs(s.y[i] - best.at.y);
      result[i] =
          !(bound[i] - best.value > e.weights * (kSlopeMargin * apart + kValueMargin * e.widest));
      return !result[i];
    });
    if (before - left.size() <= before / kFewTaken) break;
  }
  return result;
}

}  // namespace planloc::detail
