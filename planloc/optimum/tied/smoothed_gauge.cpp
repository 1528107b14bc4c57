#include "planloc/optimum/tied/smoothed_gauge.h"

#include <algorithm>
#include <array>
#include <limits>

#include "planloc/optimum/twin.h"

namespace planloc::detail {

smoothed_value smoothed_euclidean_sum(const weighted_sites& sites, const xy& place, double width) {
  twin value{}, gx{}, gy{}, xx{}, xy_{}, yy{};
  const std::size_t n = sites.x.size();
  for (std::size_t k = 0; k < n; k += 2) {
    const bool last = k + 1 == n;  // stands beside itself, with weight 0
    const std::size_t other = last ? k : k + 1;
    const twin x = place.x - twin{sites.x[k], sites.x[other]};
    const twin y = place.y - twin{sites.y[k], sites.y[other]};
    const twin square = x * x + y * y + width * width;
    const twin inverse = 1 / root(square);
    const twin pull = twin{sites.weight[k], last ? 0 : sites.weight[other]} * inverse;
    const twin dx = x * inverse;
    const twin dy = y * inverse;
    value += pull * square;
    gx += pull * x;
    gy += pull * y;
    xx += pull * (1 - dx * dx);
    xy_ -= pull * dx * dy;
    yy += pull * (1 - dy * dy);
  }
  return {total(value), {total(gx), total(gy)}, {total(xx), total(xy_), total(yy)}};
}

smoothed_value smoothed_lp(const xy& u, double p, double width) {
  const double a = std::hypot(u.x, width);
  const double b = std::hypot(u.y, width);
  const double large = std::max(a, b);
  const double norm = large * std::pow(std::pow(a / large, p) + std::pow(b / large, p), 1 / p);
  const double ra = a / norm;
  const double rb = b / norm;
  const double slope_a = std::pow(ra, p - 1);
  const double slope_b = std::pow(rb, p - 1);
  // Of a and b along x and y.
  const double ax = u.x / a;
  const double by = u.y / b;
  const double q = (p - 1) / norm;
  const double aa = q * (slope_a / ra - slope_a * slope_a);
  const double bb = q * (slope_b / rb - slope_b * slope_b);
  const double ab = -q * slope_a * slope_b;
  const double bend_a = (width / a) * (width / a) / a;
  const double bend_b = (width / b) * (width / b) / b;
  return {norm,
          {slope_a * ax, slope_b * by},
          {aa * ax * ax + slope_a * bend_a, ab * ax * by, bb * by * by + slope_b * bend_b}};
}

smoothed_value smoothed_polyhedral(const xy& u, std::span<const xy> normals, double width) {
  double most = -std::numeric_limits<double>::infinity();
  xy steepest{0, 0};
  for (const xy& n : normals) {
    const double d = n.x * u.x + n.y * u.y;
    if (d > most) {
      most = d;
      steepest = n;
    }
  }
  const auto behind = [&](const xy& n) { return most - (n.x * u.x + n.y * u.y); };
  // The least slack, at which the shares width / slack add up to 1: Newton's method from below.
  double least = width;
  for (int round = 0; round < 60; ++round) {
    double excess = -1;
    double steepness = 0;
    for (const xy& n : normals) {
      const double slack = least + behind(n);
      excess += width / slack;
      steepness += width / slack / slack;
    }
    if (!(excess > 1e-15)) break;
    least += excess / steepness;
  }
  // Slopes are counted from the steepest one, so that nothing cancels where one edge is in force.
  smoothed_value v{most + least, steepest, {}};
  double ratios = 0;
  xy mean{0, 0};
  symmetric_2x2& h = v.curvature;
  for (const xy& n : normals) {
    const double slack = least + behind(n);
    const double share = width / slack;
    const double ratio = share / slack;
    const xy d{n.x - steepest.x, n.y - steepest.y};
    v.value -= width * std::log(slack);
    v.slope = {v.slope.x + share * d.x, v.slope.y + share * d.y};
    ratios += ratio;
    mean = {mean.x + ratio * d.x, mean.y + ratio * d.y};
    h = {h.xx + ratio * d.x * d.x, h.xy + ratio * d.x * d.y, h.yy + ratio * d.y * d.y};
  }
  h = {h.xx - mean.x * mean.x / ratios, h.xy - mean.x * mean.y / ratios,
       h.yy - mean.y * mean.y / ratios};
  return v;
}

smoothed_value smoothed_linf(const xy& u, double width) {
  constexpr std::array<xy, 4> kNormals{xy{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
  return smoothed_polyhedral(u, kNormals, width);
}

xy slope_of_gauge(const gauge& g, const xy& u) {
  const double x = std::fabs(u.x);
  const double y = std::fabs(u.y);
  if (x * x + y * y == 0) return {0, 0};
  if (g.kind() == gauge::shape::euclidean) {
    const double norm = std::sqrt(x * x + y * y);
    return {u.x / norm, u.y / norm};
  }
  const double p = g.p();
  const double ratio = std::min(x, y) / std::max(x, y);
  const double of_larger = std::pow(1 + std::pow(ratio, p), (1 - p) / p);
  const double of_smaller = of_larger * std::pow(ratio, p - 1);
  return {std::copysign(x >= y ? of_larger : of_smaller, u.x),
          std::copysign(x >= y ? of_smaller : of_larger, u.y)};
}

double dual_norm(const gauge& g, const xy& slope) {
  if (g.kind() == gauge::shape::polyhedral) {
    double most = 0;
    for (const xy& v : g.vertices()) most = std::max(most, slope.x * v.x + slope.y * v.y);
    return most;
  }
  const double x = std::fabs(slope.x);
  const double y = std::fabs(slope.y);
  if (g.kind() == gauge::shape::euclidean) return std::sqrt(x * x + y * y);
  const double large = std::max(x, y);
  if (large == 0) return 0;
  const double q = g.p() / (g.p() - 1);
  return large * std::pow(1 + std::pow(std::min(x, y) / large, q), 1 / q);
}

}  // namespace planloc::detail
