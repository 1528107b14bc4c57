#include "planloc/optimum/proof/verify_prices.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

namespace {

constexpr int kMostDepth = 100;
constexpr double kRounding = 0x1p-50;
constexpr double kOutwards = 1 + 0x1p-40;

struct rectangle {
  double left, right, low, high;
};

// A number c with |x| <= c * gauge(u) and |y| <= c * gauge(u) for u = (x, y).
double half_width(const gauge& g) {
  if (g.kind() != gauge::shape::polyhedral) return 1;
  double most = 0;
  for (const xy& v : g.vertices()) most = std::max({most, std::fabs(v.x), std::fabs(v.y)});
  return most;
}

class price_walk {
 public:
  price_walk(const allocation_problem& p, std::vector<double> prices, double least)
      : sites_(p.single(), {0, 0}), prices_(std::move(prices)), least_(least) {}

  void run() {
    rectangle all{INFINITY, -INFINITY, INFINITY, -INFINITY};
    for (std::uint32_t i = 0; i < prices_.size(); ++i) {
      if (!(prices_[i] > 0)) continue;
      open_.push_back(i);
      const site& s = problem().sites()[i];
      const double r = prices_[i] / s.weight * half_width(problem().gauge_of(i)) * kOutwards;
      all = {std::min(all.left, below(s.x - r)), std::max(all.right, above(s.x + r)),
             std::min(all.low, below(s.y - r)), std::max(all.high, above(s.y + r))};
    }
    if (!open_.empty()) visit(all, 0, 0);
  }

 private:
  const planloc::problem& problem() const { return sites_.owner(); }

  // The sites from `begin` on are those that can gain in the rectangle.
  void visit(const rectangle& r, std::size_t begin, int depth) {
    const std::size_t end = open_.size();
    if (bound(r, begin, end) < least_) {
      if (depth == kMostDepth) refuse("the prices do not prove the lower bound");
      const double x = r.left + (r.right - r.left) / 2;
      const double y = r.low + (r.high - r.low) / 2;
      const std::size_t kept = end;
      visit({r.left, x, r.low, y}, kept, depth + 1);
      visit({x, r.right, r.low, y}, kept, depth + 1);
      visit({r.left, x, y, r.high}, kept, depth + 1);
      visit({x, r.right, y, r.high}, kept, depth + 1);
    }
    open_.resize(end);
  }

  // Below the priced sum on the rectangle: each distance is replaced by a tangent from near the
  // middle; what comes out is concave and least at a corner. All terms have one sign, so their sum
  // is off by as many roundings as there are terms at most.
  double bound(const rectangle& r, std::size_t begin, std::size_t end) {
    const xy middle{r.left + (r.right - r.left) / 2, r.low + (r.high - r.low) / 2};
    std::array<double, 4> sum{};
    double at_middle = 0;
    for (std::size_t k = begin; k < end; ++k) {
      const std::uint32_t i = open_[k];
      const std::array<double, 4> gain = gains(i, r, middle);
      if (*std::min_element(gain.begin(), gain.end()) >= 0) continue;
      open_.push_back(i);
      for (std::size_t c = 0; c < 4; ++c) sum[c] += std::min(0.0, gain[c]);
      at_middle += std::min(0.0, problem().distance(i, middle) - prices_[i]);
    }
    if (at_middle < least_ * (1 + 0x1p-40)) refuse("the prices do not prove the lower bound");
    const auto terms = static_cast<double>(open_.size() - end);
    return *std::min_element(sum.begin(), sum.end()) * (1 + (terms + 1) * kRounding);
  }

  // The tangent less the price at the corners, rounded down. Each product and difference is within
  // a unit in its last place, and the slope within its interval.
  std::array<double, 4> gains(std::uint32_t i, const rectangle& r, const xy& middle) const {
    const interval_pair slope = sites_.slope(i, middle);
    const site& s = problem().sites()[i];
    const std::array<double, 2> dx{r.left - s.x, r.right - s.x};
    const std::array<double, 2> dy{r.low - s.y, r.high - s.y};
    const double away_x = std::max(std::fabs(dx[0]), std::fabs(dx[1]));
    const double away_y = std::max(std::fabs(dy[0]), std::fabs(dy[1]));
    const double size = std::fabs(slope.x.low) * away_x + std::fabs(slope.y.low) * away_y;
    const double loss = (slope.x.high - slope.x.low) * away_x +
                        (slope.y.high - slope.y.low) * away_y + 4 * kRounding * (size + prices_[i]);
    std::array<double, 4> gain;
    for (std::size_t c = 0; c < 4; ++c) {
      gain[c] = slope.x.low * dx[c & 1] + slope.y.low * dy[c >> 1] - prices_[i] - loss;
    }
    return gain;
  }

  verified_sites sites_;
  std::vector<double> prices_;
  double least_;
  std::vector<std::uint32_t> open_;  // along the walk
};

}  // namespace

void prove_prices(const allocation_problem& p, const std::vector<double>& prices, double claimed) {
  if (prices.size() != p.sites().size()) refuse("one price a site is needed");
  const verified_sites sites(p.single(), {0, 0});
  std::vector<double> capped = prices;
  interval sum(0);
  for (std::size_t i = 0; i < prices.size(); ++i) {
    if (!std::isfinite(prices[i]))
      refuse("the price of site " + std::to_string(i) + " is not finite");
    for (const xy& e : p.existing()) {
      capped[i] = std::min(capped[i], sites.distance(i, {interval(e.x), interval(e.y)}).low);
    }
    sum = sum + interval(capped[i]);
  }
  const interval least = (interval(claimed) - sum) / interval(static_cast<double>(p.count()));
  if (!(least.high <= 0)) refuse("the prices do not prove the lower bound");
  price_walk(p, std::move(capped), least.high).run();
}

}  // namespace planloc::detail
