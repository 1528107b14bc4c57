#include "planloc/optimum/proof/interval_place.h"

#include <cstdint>
#include <utility>

#include "planloc/optimum/proof/split_at_jumps.h"

namespace planloc::detail {

namespace {

struct rounded_sum {
  double sum;
  double rest;  // what the rounding lost, exactly (Knuth 1969)
};
rounded_sum two_sum(double a, double b) {
  const double sum = a + b;
  const double b_part = sum - a;
  return {sum, (a - (sum - b_part)) + (b - b_part)};
}

// base + offset - site, exact where doubles can tell it: near a site the direction hangs on it.
interval difference(double base, double site, const interval& offset) {
  const auto [near, lost] = two_sum(base, -site);
  const auto [sum, lost_again] = two_sum(near, offset.low);
  const interval open = offset.low == offset.high ? 0 : interval(offset.high) - offset.low;
  return interval(sum) + (interval(lost) + interval(lost_again) + interval(0, open.high));
}

constexpr std::size_t kFewRuns = 8;

}  // namespace

coordinate::coordinate(mpq_class at)
    : at_(std::move(at)), near_(at_.get_d()), rest_(enclosed(at_ - near_)) {}

interval coordinate::from(double site) const {
  const interval d = difference(near_, site, rest_);
  // Where all digits of `near_` cancel, and most of the rest do.
  return d.high - d.low <= 0x1p-48 * magnitude(d).low ? d : enclosed(at_ - site);
}

interval_place::interval_place(const problem& p, const fraction_pair& at)
    : problem_(p), x_(at.x), y_(at.y) {
  if (p.runs().size() > kFewRuns) lambda_ = listed_weights(p);
}

interval interval_place::value() const {
  const std::size_t n = problem_.sites().size();
  const std::span<const order_run> runs = problem_.runs();
  if (runs.size() == 1) {
    adjacent_sum sum;
    const interval l(runs[0].weight);
    for (std::size_t i = 0; i < n; ++i) sum.add(l * distance(i));
    return sum.total();
  }
  std::vector<double> low(n);
  std::vector<double> high(n);
  for (std::size_t i = 0; i < n; ++i) {
    const interval d = distance(i);
    low[i] = d.low;
    high[i] = d.high;
  }
  // The k-th smallest of numbers that grow grows.
  split_at_jumps(low, runs);
  split_at_jumps(high, runs);
  adjacent_sum least;
  adjacent_sum most;
  std::size_t k = 0;
  for (const order_run& run : runs) {
    const std::size_t end = k + run.count;
    const interval l(run.weight);
    for (; run.weight != 0 && k < end; ++k) {
      least.add(l * interval(run.weight > 0 ? low[k] : high[k]));
      most.add(l * interval(run.weight > 0 ? high[k] : low[k]));
    }
    k = end;
  }
  return {least.total().low, most.total().high};
}

namespace {

// By site: one more than the number of its kink, or 0. Empty if there are none.
std::vector<std::uint32_t> kinks_by_site(const affine_piece& piece, std::size_t sites) {
  std::vector<std::uint32_t> number(piece.kinks.empty() ? 0 : sites);
  for (std::size_t k = 0; k < piece.kinks.size(); ++k)
    number[piece.kinks[k].site] = static_cast<std::uint32_t>(k + 1);
  return number;
}

}  // namespace

interval_place::affine interval_place::seen(const affine_piece& piece, const xy& base) const {
  adjacent_sum value;
  adjacent_sum x;
  adjacent_sum y;
  const std::vector<std::uint32_t> kinks = kinks_by_site(piece, problem_.sites().size());
  for (std::size_t i = 0; i < problem_.sites().size(); ++i) {
    const double l = weight_of(piece, i);
    if (l == 0) continue;
    const gauge& g = problem_.gauge_of(i);
    const site& s = problem_.sites()[i];
    interval_pair slope;
    if (g.kind() == gauge::shape::polyhedral) {
      slope = edge_normal(g, piece.edge[i]);
    } else if (!kinks.empty() && kinks[i] != 0) {
      slope = in_polar(g, piece.kinks[kinks[i] - 1].slope);
    } else {
      slope = tangent(g, {difference(base.x, s.x, piece.taken_at.x),
                          difference(base.y, s.y, piece.taken_at.y)});
    }
    const interval w = interval(l) * interval(s.weight);
    value.add(w * dot(slope, offset(i)));
    x.add(w * slope.x);
    y.add(w * slope.y);
  }
  return {value.total(), {x.total(), y.total()}};
}

interval_place::growth interval_place::far_away(const affine_piece& piece) const {
  adjacent_sum pull;
  adjacent_sum back;
  std::vector<double> radius;
  for (const gauge& g : problem_.gauges()) radius.push_back(ball_radius(g));
  for (std::size_t i = 0; i < problem_.sites().size(); ++i) {
    const double l = weight_of(piece, i);
    if (l == 0) continue;
    const gauge& g = problem_.gauge_of(i);
    const interval w = interval(l) * interval(problem_.sites()[i].weight);
    const interval_pair u = offset(i);
    pull.add(w / interval(radius[problem_.sites()[i].gauge]));
    back.add(w * gauge_value(g, {-u.x, -u.y}));
  }
  return {pull.total(), back.total()};
}

}  // namespace planloc::detail
