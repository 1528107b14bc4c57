#include "planloc/optimum/proof/corner_tangents.h"

#include <algorithm>
#include <cmath>

namespace planloc::detail {

double least_of(const rectangle_values& v) { return *std::min_element(v.begin(), v.end()); }

rectangle_values best_mixture(const rectangle_values& a, const rectangle_values& b) {
  rectangle_values best = a;
  for (std::size_t k = 0; k < 4; ++k) {
    for (std::size_t l = 0; l < k; ++l) {
      const double apart = (a[k] - a[l]) - (b[k] - b[l]);
      const double share = apart == 0 ? 1 : std::clamp((a[k] - a[l]) / apart, 0.0, 1.0);
      rectangle_values mixed;
      for (std::size_t c = 0; c < 4; ++c) mixed[c] = (1 - share) * a[c] + share * b[c];
      if (least_of(mixed) > least_of(best)) best = mixed;
    }
  }
  return least_of(b) > least_of(best) ? b : best;
}

namespace {

// The mixture of two that has the same slope across: along x for 0, along y for 1.
rectangle_values level_along(std::size_t axis, const rectangle_values& a,
                             const rectangle_values& b) {
  const std::size_t end = axis == 0 ? 1 : 2;
  const double rise_a = a[end] - a[0];
  const double rise_b = b[end] - b[0];
  const double share = rise_a / (rise_a - rise_b);
  rectangle_values mixed;
  for (std::size_t c = 0; c < 4; ++c) mixed[c] = (1 - share) * a[c] + share * b[c];
  return mixed;
}

}  // namespace

// Where no two do best, some three do that are level together: two mixtures of pairs that are level
// along x, one rising and one falling along y.
double largest_least(std::span<const rectangle_values> planes) {
  double best = least_of(planes[0]);
  std::vector<rectangle_values> level;
  for (const rectangle_values& a : planes) {
    if (a[1] == a[0]) level.push_back(a);
    for (const rectangle_values& b : planes) {
      best = std::max(best, least_of(best_mixture(a, b)));
      if (a[1] - a[0] > 0 && b[1] - b[0] < 0) level.push_back(level_along(0, a, b));
    }
  }
  for (const rectangle_values& a : level) {
    for (const rectangle_values& b : level)
      if (a[2] - a[0] > 0 && b[2] - b[0] < 0) best = std::max(best, least_of(level_along(1, a, b)));
  }
  return best;
}

double half_width(const gauge& g) {
  if (g.kind() != gauge::shape::polyhedral) return 1;
  double most = 0;
  for (const xy& v : g.vertices()) most = std::max({most, std::fabs(v.x), std::fabs(v.y)});
  return most;
}

corner_tangents::corner_tangents(const problem& p, const xy& base) : sites_(p, base) {
  for (std::uint32_t i = 0; i < p.sites().size(); ++i) {
    const interval_pair away = sites_.offset(i, {interval(0), interval(0)});
    position_.push_back({{-away.x.high, -away.y.high},
                         above(std::max(away.x.high - away.x.low, away.y.high - away.y.low))});
  }
}

double corner_tangents::near_distance(std::uint32_t site, const xy& at) const {
  const problem& p = sites_.owner();
  const xy& from = position_[site].at;
  return p.sites()[site].weight * p.gauge_of(site)({at.x - from.x, at.y - from.y});
}

// With u = 2^-53, `about` the sum of the sizes of the value's two products and `spread` what the
// widths of slope and position may cost: dx, dy, the products and their sum are off by 3 u `about`,
// `spread` by 7 u of itself, and taking the loss, then a number of size `size`, off rounds twice by
// u (about + spread + size). All this is less than the 32 u that are taken off, with what is of
// second order.
corner_tangents::tangent corner_tangents::at_corners(std::uint32_t site, const rectangle& r,
                                                     const xy& touches, double size) const {
  constexpr double kRoundings = 0x1p-48;
  const interval_pair slope = sites_.slope(site, touches);
  const auto& [at, width] = position_[site];
  const std::array<double, 2> dx{r.left - at.x, r.right - at.x};
  const std::array<double, 2> dy{r.low - at.y, r.high - at.y};
  const double away_x = std::max(std::fabs(dx[0]), std::fabs(dx[1])) + width;
  const double away_y = std::max(std::fabs(dy[0]), std::fabs(dy[1])) + width;
  const double about = std::fabs(slope.x.low) * away_x + std::fabs(slope.y.low) * away_y;
  const double spread = (slope.x.high - slope.x.low) * away_x +
                        (slope.y.high - slope.y.low) * away_y +
                        (std::fabs(slope.x.low) + std::fabs(slope.y.low)) * width;
  const double loss = spread + kRoundings * (about + spread + size);
  tangent t;
  t.magnitude = about + loss;
  for (std::size_t c = 0; c < 4; ++c)
    t.value[c] = slope.x.low * dx[c & 1] + slope.y.low * dy[c >> 1] - loss;
  return t;
}

}  // namespace planloc::detail
