// Planes that are taken where those so far leave a triangle open, for gauges without edges.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "planloc/optimum/proof/leaf_walk.h"

namespace planloc::detail {

namespace {

constexpr int kMostCuts = 32;
// Of what a bound is short of: by how much more a plane makes it worth while to go on, though it
// is too low itself where it is taken.
constexpr double kClosing = 0.1;
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
  for (std::size_t in = 0; in < undecided_.size(); ++in) {
    if ((set >> in & 1) == 0) continue;
    for (std::size_t out = 0; out < undecided_.size(); ++out) {
      if ((set >> out & 1) != 0) continue;
      if (undecided_[out].lower > undecided_[in].upper) return false;
      if (out < in &&
          same_term(sites_.owner(), undecided_[in].seen.site, undecided_[out].seen.site))
        return false;
    }
  }
  return true;
}

// What each site weighs in a plane that is taken at a place where `c` tells the farthest sites, and
// its slope there. With the drops put back the order weights rise, so that any order of the sites
// is a minorant; so a site of rank k has the order weight of that rank but for the drops about
// which rank and set disagree.
std::vector<leaf_walk::weighed_site> leaf_walk::weighed_at(const triangle_state& t,
                                                           const cut_place& place,
                                                           const std::vector<drop>& drops,
                                                           const choice& c, orders o) const {
  const xy& at = place.at;
  const auto slope_of = [&](std::uint32_t site) {
    return sites_.polyhedral(site) ? sites_.weighted_normal(site, sites_.likely_edge(site, at))
                                   : sites_.slope(site, at);
  };
  std::vector<weighed_site> all;
  for (std::size_t k = 0; k < decided_.size(); ++k)
    all.push_back({&decided_[k], t.decided[k].lambda, slope_of(t.decided[k].site)});
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
      const ranked& at_rank = order[rank];
      interval weight(r.weight);
      for (std::size_t d = 0; d < drops.size(); ++d) {
        const bool behind = rank >= drops[d].first_rank;
        const bool farthest = (c[d] >> at_rank.k & 1) != 0;
        if (behind && !farthest) weight = weight + drops[d].size;
        if (!behind && farthest) weight = weight - drops[d].size;
      }
      all.push_back({&undecided_[at_rank.k], weight, at_rank.slope});
    }
  }
  if (o != orders::in_force) mix_orders(t, place, o == orders::mixed_on_side, all);
  join_twins(all);
  return all;
}

// By rank of the undecided sites: the order weights with the drops put back, from 0.
std::vector<interval> leaf_walk::rising_weights(const triangle_state& t) {
  std::vector<interval> rising;
  interval up;
  for (std::size_t r = 0; r < t.runs.size(); ++r) {
    if (r > 0 && t.runs[r].weight > t.runs[r - 1].weight)
      up = up + (interval(t.runs[r].weight) - interval(t.runs[r - 1].weight));
    rising.insert(rising.end(), t.runs[r].count, up);
  }
  return rising;
}

// Two sites of neighbouring ranks may each take some of the rise between these: a mixture of both
// orders. Where the order may change on the triangle, the share is taken that makes the slope of
// all the least, or, `on_side`, along the side of the place; sites that change places meet their
// next neighbours. `all` ends with the undecided sites by rank.
void leaf_walk::mix_orders(const triangle_state& t, const cut_place& place, bool on_side,
                           std::vector<weighed_site>& all) const {
  const auto zero = std::find(place.shares.begin(), place.shares.end(), 0.0);
  const auto corner = static_cast<std::size_t>(zero - place.shares.begin());
  const xy& a = t.at[(corner + 1) % 3];
  const xy& b = t.at[(corner + 2) % 3];
  const xy side{b.x - a.x, b.y - a.y};
  const auto middle = [&](const interval_pair& i) {
    const xy slope{(i.x.low + i.x.high) / 2, (i.y.low + i.y.high) / 2};
    return on_side ? xy{dot(slope, side), 0} : slope;
  };
  xy sum = middle(t.slope);
  for (const weighed_site& s : all) {
    const xy slope = middle(s.slope);
    sum = {sum.x + s.weight.low * slope.x, sum.y + s.weight.low * slope.y};
  }
  std::vector<interval> rising = rising_weights(t);
  const std::size_t first = all.size() - rising.size();
  const auto mix = [&](std::size_t k) {
    weighed_site& near = all[first + k];
    weighed_site& far = all[first + k + 1];
    const double rise = (rising[k + 1] - rising[k]).low;
    const auto ahead = [&](const xy& place_there) {
      const auto height = [&](const weighed_site& s) {
        return dot(s.slope, sites_.offset(s.of->seen.site, exactly(place_there)));
      };
      return (height(far) - height(near)).low > 0;
    };
    if (!(rise > 0) || std::all_of(t.at.begin(), t.at.end(), ahead)) return;
    const xy of_near = middle(near.slope);
    const xy of_far = middle(far.slope);
    const xy apart{of_far.x - of_near.x, of_far.y - of_near.y};
    // Sites at the place itself, which have no slope there, come to weigh the same.
    const bool at_place = of_near == xy{0, 0} && of_far == of_near;
    const double to_share = at_place ? (far.weight.low - near.weight.low) / (2 * rise)
                                     : dot(sum, apart) / (rise * dot(apart, apart));
    const double share = std::min(to_share, 1.0);
    if (!(share > 0)) return;
    const double taken = rise * share;
    sum = {sum.x - taken * apart.x, sum.y - taken * apart.y};
    near.weight = near.weight + interval(taken);
    far.weight = far.weight - interval(taken);
    rising[k] = rising[k] + interval(taken);
    rising[k + 1] = rising[k + 1] - interval(taken);
    if (share < 1) return;
    std::swap(near, far);
    std::swap(rising[k], rising[k + 1]);
  };
  for (std::size_t k = 0; k + 1 < rising.size(); ++k) mix(k);
  for (std::size_t k = rising.size(); k > 1; --k) mix(k - 2);
}

void leaf_walk::join_twins(std::vector<weighed_site>& all) const {
  std::vector<weighed_site> joined;
  for (const weighed_site& s : all) {
    const std::uint32_t site = s.of->seen.site;
    const auto twin = std::find_if(joined.begin(), joined.end(), [&](const weighed_site& other) {
      return has_twin_[site] && are_twins(other.of->seen.site, site);
    });
    if (twin == joined.end()) {
      joined.push_back(s);
    } else {
      twin->weight = twin->weight + share_of_twin(site, twin->of->seen.site, s.weight);
    }
  }
  all = std::move(joined);
}

namespace {

interval hull(const interval& a, const interval& b) {
  return {std::min(a.low, b.low), std::max(a.high, b.high)};
}

// a^e for any e; a > 0 or e >= 0.
interval any_power(const interval& a, const interval& e) {
  if (e.low >= 0 && e.high <= 0) return 1;
  return e.low >= 0 ? power(a, e) : interval(1) / power(a, -e);
}

}  // namespace

leaf_walk::cut_place leaf_walk::place_of(const corners& t, std::array<double, 3> shares) {
  cut_place place{shares, {0, 0}, 0};
  interval total, x, y;
  for (std::size_t m = 0; m < 3; ++m) {
    const double share = std::max(0.0, shares[m]);
    place.at = {place.at.x + share * t[m].x, place.at.y + share * t[m].y};
    total = total + interval(share);
    x = x + interval(share) * interval(t[m].x);
    y = y + interval(share) * interval(t[m].y);
  }
  place.off =
      (magnitude(interval(place.at.x) - x / total) + magnitude(interval(place.at.y) - y / total))
          .high;
  return place;
}

// The second derivative of an lp norm N at u is (p - 1) (|u.x u.y| / N^2)^(p - 2) / N^3 times v
// v^T. Here it is bounded on the triangle and the way from there to the place.
std::optional<leaf_walk::bent_site> leaf_walk::bent_on(const triangle_state& t,
                                                       const cut_place& place,
                                                       const weighed_site& s) const {
  const std::uint32_t site = s.of->seen.site;
  if (sites_.polyhedral(site)) return {};
  const interval w(sites_.owner().sites()[site].weight);
  interval norm = interval(s.of->lower, s.of->upper) / w;
  norm = {(interval(norm.low) - interval(place.off)).low,
          (interval(norm.high) + interval(place.off)).high};
  if (!(norm.low > 0)) return {};
  bent_site b;
  b.offset = b.from[3] = sites_.offset(site, exactly(place.at));
  for (std::size_t m = 0; m < 3; ++m) {
    const interval_pair& u = b.from[m] = sites_.offset(site, exactly(t.at[m]));
    b.offset = {hull(b.offset.x, u.x), hull(b.offset.y, u.y)};
  }
  b.factor = s.weight * w / (norm * square(norm));
  const gauge& g = sites_.owner().gauge_of(site);
  if (g.kind() == gauge::shape::lp) {
    const interval exponent = interval(g.p()) - interval(2);
    interval ratio = magnitude(b.offset.x) * magnitude(b.offset.y) / square(norm);
    ratio = {std::max(0.0, ratio.low), std::min(1.0, ratio.high)};  // as no ratio is more
    if (exponent.low < 0 && !(ratio.low > 0)) return {};
    b.factor = b.factor * (interval(g.p()) - interval(1)) * any_power(ratio, exponent);
  }
  if (!std::isfinite(b.factor.low) || !std::isfinite(b.factor.high)) return {};
  return b;
}

namespace {

// About the direction of the least second derivative, of which `bent` tells the parts.
template <class Bent>
interval_pair least_bent_direction(const std::vector<Bent>& bent) {
  double xx = 0;
  double cross = 0;
  double yy = 0;
  for (const Bent& b : bent) {
    const double k = b.factor.low + b.factor.high;
    const double x = b.offset.x.low + b.offset.x.high;
    const double y = b.offset.y.low + b.offset.y.high;
    xx += k * y * y;
    cross -= k * x * y;
    yy += k * x * x;
  }
  const double most = std::atan2(2 * cross, xx - yy) / 2;
  if (!std::isfinite(most)) return {1, 0};
  return {-std::sin(most), std::cos(most)};
}

// Let H be any sum of second derivatives, e a vector and n the one turned from it. If n H n > 0 and
// (e H e + l |e|^4) (n H n) >= (e H n)^2, then H + l e e^T has no negative eigenvalue. Finds such
// l.
template <class Bent>
std::optional<interval> lift_along(const interval_pair& e, const std::vector<Bent>& bent) {
  interval ee, en, nn;
  for (const Bent& b : bent) {
    const auto along = [&](const interval_pair& u) { return dot(e, {-u.y, u.x}); };
    const auto across = [&](const interval_pair& u) { return dot(e, u); };
    interval of_e = along(b.from[0]);
    interval of_n = across(b.from[0]);
    for (const interval_pair& u : b.from) {  // linear between these
      of_e = hull(of_e, along(u));
      of_n = hull(of_n, across(u));
    }
    ee = ee + b.factor * square(of_e);
    en = en + b.factor * (of_e * of_n);
    nn = nn + b.factor * square(of_n);
  }
  if (!(nn.low > 0)) return {};
  const interval size = square(e.x) + square(e.y);
  const interval needed =
      (interval(square(en).high) / interval(nn.low) - interval(ee.low)) / square(size);
  return interval(std::max(0.0, needed.high));
}

}  // namespace

// The distances that have a second derivative are taken together. With the square of a coordinate,
// which makes up for the least bent direction, their sum is convex on the triangle: so its tangent,
// less the interpolation of the square, is nowhere above it. Far below all where that is of no use.
std::array<interval, 3> leaf_walk::taken_together(const triangle_state& t, const cut_place& place,
                                                  const std::vector<weighed_site>& all) const {
  std::array<interval, 3> sum;
  std::vector<bent_site> bent;
  bool useful = false;
  for (const weighed_site& s : all) {
    const std::optional<bent_site> b = bent_on(t, place, s);
    for (std::size_t m = 0; m < 3; ++m) {
      const interval tangent = dot(s.slope, sites_.offset(s.of->seen.site, exactly(t.at[m])));
      sum[m] = sum[m] + (b ? s.weight * tangent
                           : least_product(s.weight, tangent, s.of->seen.corner[m].value));
    }
    useful = useful || (b && s.weight.low < 0);
    if (b) bent.push_back(*b);
  }
  const interval_pair e = useful ? least_bent_direction(bent) : interval_pair{1, 0};
  const std::optional<interval> lift = useful ? lift_along(e, bent) : std::nullopt;
  for (std::size_t m = 0; m < 3; ++m) {
    const interval off = dot(e, {interval(t.at[m].x) - interval(place.at.x),
                                 interval(t.at[m].y) - interval(place.at.y)});
    sum[m] = lift ? sum[m] - *lift * square(off) / interval(2)
                  : interval(-std::numeric_limits<double>::infinity());
  }
  return sum;
}

// Nowhere above f where the sites weigh so: each by itself, or those together that can be,
// whichever is higher at the place.
std::array<interval, 3> leaf_walk::plane_at(const triangle_state& t, const cut_place& place,
                                            const std::vector<weighed_site>& all) const {
  std::array<interval, 3> sum;
  for (const weighed_site& s : all) {
    for (std::size_t m = 0; m < 3; ++m) {
      const interval tangent = dot(s.slope, sites_.offset(s.of->seen.site, exactly(t.at[m])));
      sum[m] = sum[m] + least_product(s.weight, tangent, s.of->seen.corner[m].value);
    }
  }
  const std::array<interval, 3> together = taken_together(t, place, all);
  if (at_place(together, place.shares) > at_place(sum, place.shares)) sum = together;
  for (std::size_t m = 0; m < 3; ++m)
    sum[m] = sum[m] + t.sum_at_base + dot(t.slope, exactly(t.at[m]));
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
      const cut_place place = place_of(t.at, low_place(planes));
      const double before = best.least;
      double height = -std::numeric_limits<double>::infinity();
      for (const orders o : {orders::in_force, orders::mixed, orders::mixed_on_side}) {
        if (o == orders::mixed_on_side && !place.on_side()) continue;
        const std::array<interval, 3> plane = plane_at(t, place, weighed_at(t, place, drops, c, o));
        rows with = planes;
        with[place_for_another(planes, best.planes, place.shares)] = plane;
        const mixture better = best_mixture(with);
        if (reaches(better.least)) return true;
        height = std::max(height, at_place(plane, place.shares));
        if (o != orders::in_force && better.least <= best.least) continue;
        planes = with;
        best = better;
      }
      const double open = least_in_doubles_ - before;
      const bool closing = best.least - before > kClosing * open;
      if (height < least_in_doubles_ && !closing) return false;
    }
    return false;
  });
}

}  // namespace planloc::detail
