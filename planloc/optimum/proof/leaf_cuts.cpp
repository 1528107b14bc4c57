// Planes that are taken where those so far leave a triangle open, for gauges without edges.
#include <algorithm>
#include <bit>
#include <limits>
#include <vector>

#include "planloc/optimum/proof/leaf_walk.h"

namespace planloc::detail {

namespace {

constexpr int kMostCuts = 32;
// Sites that are not decided among which all sets are looked at, and ways to take sets.
constexpr std::size_t kMostToChooseFrom = 10;
constexpr std::size_t kMostChoices = 24;

double at_place(const std::array<interval, 3>& plane, const std::array<double, 3>& shares) {
  return plane[0].low * shares[0] + plane[1].low * shares[1] + plane[2].low * shares[2];
}

using plane_rows = std::array<std::array<interval, 3>, 4>;

double highest_at(const plane_rows& planes, const std::array<double, 3>& shares) {
  double most = -std::numeric_limits<double>::infinity();
  for (const auto& plane : planes) most = std::max(most, at_place(plane, shares));
  return most;
}

// Of the planes that are not needed the one that is lowest at a place. A mixture needs three at
// most.
std::size_t place_for_another(const plane_rows& planes, std::uint32_t needed,
                              const std::array<double, 3>& shares) {
  std::size_t lowest = planes.size();
  for (std::size_t j = 0; j < planes.size(); ++j) {
    if ((needed >> j & 1) != 0) continue;
    if (lowest == planes.size() || at_place(planes[j], shares) < at_place(planes[lowest], shares))
      lowest = j;
  }
  return lowest;
}

// Where the largest of four planes is about least, as shares of the corners: tried are the corners
// and the places on the sides and inside where planes are equal. Any place will do for a proof.
std::array<double, 3> low_place(const plane_rows& planes) {
  std::array<double, 3> best{1, 0, 0};
  double least = std::numeric_limits<double>::infinity();
  const auto offer = [&](double a, double b) {
    if (!(a >= 0 && b >= 0 && a + b <= 1)) return;
    const std::array<double, 3> shares{1 - a - b, a, b};
    const double high = highest_at(planes, shares);
    if (high < least) {
      least = high;
      best = shares;
    }
  };
  offer(0, 0);
  offer(1, 0);
  offer(0, 1);
  // value + rise . (a, b) of the difference of two planes.
  const auto apart = [&](std::size_t i, std::size_t k) {
    std::array<double, 3> d{};
    for (std::size_t m = 0; m < 3; ++m) d[m] = planes[i][m].low - planes[k][m].low;
    return std::array<double, 3>{d[0], d[1] - d[0], d[2] - d[0]};
  };
  for (std::size_t i = 1; i < planes.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      const auto [v, a, b] = apart(i, k);
      offer(-v / a, 0);
      offer(0, -v / b);
      const double across = (v + b) / (b - a);
      offer(across, 1 - across);
      for (std::size_t l = 0; l < k; ++l) {
        const auto [w, c, d] = apart(i, l);
        const double area = a * d - b * c;
        offer((b * w - d * v) / area, (c * v - a * w) / area);
      }
    }
  }
  return best;
}

}  // namespace

// Where the order weights fall, f takes off the sum of the farthest distances times the drop. Each
// set that may be the farthest at a place of the triangle counts as a case, whatever the order is
// before it and behind it.
bool leaf_walk::list_choices(const triangle_state& t, std::vector<drop>& drops,
                             std::vector<choice>& choices) const {
  choices = {choice{}};
  std::size_t beyond = undecided_.size();
  for (std::size_t r = 1; r < t.runs.size(); ++r) {
    beyond -= t.runs[r - 1].count;
    if (t.runs[r].weight >= t.runs[r - 1].weight) continue;
    if (undecided_.size() > kMostToChooseFrom) return false;
    drops.push_back(
        {undecided_.size() - beyond, interval(t.runs[r - 1].weight) - interval(t.runs[r].weight)});
    std::vector<choice> longer;
    for (std::uint32_t set = 0; set < 1U << undecided_.size(); ++set) {
      if (static_cast<std::size_t>(std::popcount(set)) != beyond || !may_be_farthest(set)) continue;
      for (const choice& c : choices) {
        if (!c.empty() && (set & ~c.back()) != 0) continue;
        longer.push_back(c);
        longer.back().push_back(set);
      }
    }
    if (longer.size() > kMostChoices) return false;
    choices = std::move(longer);
  }
  return true;
}

// Of sites that are one to the problem the first ones are taken.
bool leaf_walk::may_be_farthest(std::uint32_t set) const {
  const std::span<const site> sites = sites_.owner().sites();
  for (std::size_t in = 0; in < undecided_.size(); ++in) {
    if ((set >> in & 1) == 0) continue;
    const site& s = sites[undecided_[in].seen.site];
    for (std::size_t out = 0; out < undecided_.size(); ++out) {
      if ((set >> out & 1) != 0) continue;
      if (undecided_[out].lower > undecided_[in].upper) return false;
      const site& q = sites[undecided_[out].seen.site];
      if (out < in && s.x == q.x && s.y == q.y && s.weight == q.weight && s.gauge == q.gauge)
        return false;
    }
  }
  return true;
}

// A plane nowhere above f where `c` tells the farthest sites. With the drops put back the order
// weights rise, so that any order of the sites is a minorant; so a site of rank k has the order
// weight of that rank but for the drops about which rank and set disagree.
std::array<interval, 3> leaf_walk::plane_at(const triangle_state& t, const xy& at,
                                            const std::vector<drop>& drops, const choice& c) const {
  std::array<interval, 3> sum;
  for (std::size_t m = 0; m < 3; ++m) sum[m] = t.sum_at_base + dot(t.slope, exactly(t.at[m]));
  const auto slope_of = [&](std::uint32_t site) {
    return sites_.polyhedral(site) ? sites_.weighted_normal(site, sites_.likely_edge(site, at))
                                   : sites_.slope(site, at);
  };
  const auto add = [&](const interval& weight, const seen_site& seen, const interval_pair& slope) {
    for (std::size_t m = 0; m < 3; ++m) {
      const interval tangent = dot(slope, sites_.offset(seen.site, exactly(t.at[m])));
      sum[m] = sum[m] + least_product(weight, tangent, seen.corner[m].value);
    }
  };
  for (const seen_site& seen : t.decided) add(seen.lambda, seen, slope_of(seen.site));
  struct ranked {
    double height;
    std::size_t k;
    interval_pair slope;
  };
  std::vector<ranked> order;
  for (std::size_t k = 0; k < undecided_.size(); ++k) {
    const std::uint32_t site = undecided_[k].seen.site;
    const interval_pair slope = slope_of(site);
    order.push_back({dot(slope, sites_.offset(site, exactly(at))).low, k, slope});
  }
  std::sort(order.begin(), order.end(),
            [](const ranked& a, const ranked& b) { return a.height < b.height; });
  std::size_t rank = 0;
  for (const order_run& r : t.runs) {
    for (const std::size_t end = rank + r.count; rank < end; ++rank) {
      const ranked& o = order[rank];
      interval weight(r.weight);
      for (std::size_t d = 0; d < drops.size(); ++d) {
        const bool behind = rank >= drops[d].first_rank;
        const bool farthest = (c[d] >> o.k & 1) != 0;
        if (behind && !farthest) weight = weight + drops[d].size;
        if (!behind && farthest) weight = weight - drops[d].size;
      }
      add(weight, undecided_[o.k].seen, o.slope);
    }
  }
  return sum;
}

// Cutting planes (Kelley 1960), for each case of the farthest sites by itself.
bool leaf_walk::cuts_prove(const triangle_state& t, const rows& first) const {
  std::vector<drop> drops;
  std::vector<choice> choices;
  if (!list_choices(t, drops, choices)) return false;
  return std::all_of(choices.begin(), choices.end(), [&](const choice& c) {
    rows planes = first;
    mixture best = best_mixture(planes);
    for (int cut = 0; cut < kMostCuts; ++cut) {
      const std::array<double, 3> shares = low_place(planes);
      xy at{0, 0};
      for (std::size_t m = 0; m < 3; ++m)
        at = {at.x + shares[m] * t.at[m].x, at.y + shares[m] * t.at[m].y};
      const std::array<interval, 3> plane = plane_at(t, at, drops, c);
      planes[place_for_another(planes, best.planes, shares)] = plane;
      best = best_mixture(planes);
      if (reaches(best.least)) return true;
      if (at_place(plane, shares) < least_in_doubles_) return false;
    }
    return false;
  });
}

}  // namespace planloc::detail
