#include "planloc/optimum/proof/leaf_walk.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <optional>
#include <string>

namespace planloc::detail {

namespace {

// Triangles of a certificate that may need more than their bound: one in hundreds does, so that
// those of one that was made up cannot keep `verify` busy for ever.
constexpr std::size_t kMostHalved = 1000;
constexpr std::size_t kHalvedATriangle = 4;

// Of the largest value of a distance: along a thin ball each tangent falls far below the distance
// somewhere, but not all of them at one place.
constexpr double kSteep = 1.0 / 32;

}  // namespace

// ----- Walk -----

void leaf_walk::walk(const corners& root) {
  triangle_state t;
  t.at = root;
  const problem& p = sites_.owner();
  for (std::uint32_t i = 0; i < p.sites().size(); ++i) {
    seen_site& seen = t.undecided.emplace_back();
    seen.site = i;
    for (std::size_t m = 0; m < 3; ++m) seen.corner[m] = view_from(i, root[m]);
  }
  t.runs.assign(p.runs().begin(), p.runs().end());
  visit(std::move(t));
}

seen_site::view leaf_walk::view_from(std::uint32_t site, const xy& at) const {
  return {sites_.distance(site, exactly(at)), sites_.slope(site, at)};
}

namespace {

// Nothing if it is no pair of doubles.
std::optional<xy> middle_of(const xy& a, const xy& b) {
  const xy m{a.x + (b.x - a.x) / 2, a.y + (b.y - a.y) / 2};
  if (mpq_class(a.x) + mpq_class(b.x) != 2 * mpq_class(m.x) ||
      mpq_class(a.y) + mpq_class(b.y) != 2 * mpq_class(m.y)) {
    return std::nullopt;
  }
  return m;
}

std::optional<xy> middle_of_longest(const corners& t) {
  return t[1] == t[2] ? middle_of(t[0], t[1]) : middle_of(t[1], t[2]);
}

}  // namespace

std::pair<triangle_state, triangle_state> leaf_walk::halves_of(triangle_state t) const {
  const corners at = t.at;
  const bool segment = at[1] == at[2];
  const std::optional<xy> middle = middle_of_longest(at);
  if (!middle) refuse("triangles too small to be halved exactly");
  const xy m = *middle;
  triangle_state other = t;
  t.at = segment ? corners{at[0], m, m} : corners{m, at[0], at[1]};
  other.at = segment ? corners{at[1], m, m} : corners{m, at[2], at[0]};
  const auto share = [&](std::vector<seen_site>& of_one, std::vector<seen_site>& of_other) {
    for (std::size_t k = 0; k < of_one.size(); ++k) {
      const seen_site::view from_m = view_from(of_one[k].site, m);
      const auto [a, b, c] = of_one[k].corner;
      if (segment) {
        of_one[k].corner = {a, from_m, from_m};
        of_other[k].corner = {b, from_m, from_m};
      } else {
        of_one[k].corner = {from_m, a, b};
        of_other[k].corner = {from_m, c, a};
      }
    }
  };
  share(t.decided, other.decided);
  share(t.undecided, other.undecided);
  return {std::move(t), std::move(other)};
}

void leaf_walk::visit(triangle_state t) {
  if (next_ == reasons_.size()) refuse("triangles without a reason");
  name_ = next_;
  const reason why = reasons_[next_++];
  if (why == reason::bound) return prove_by_bound(std::move(t), 0);
  if (why == reason::forbidden) {
    if (where_ == nullptr || where_->some_permitted(t.at))
      refuse("triangle " + std::to_string(name_) + ": not all of it is forbidden");
    return;
  }
  const std::size_t linear_above = linear_.size();
  look(t);
  if (why == reason::exact) {
    check_exactly(t);
  } else if (why == reason::halved) {
    auto [one, other] = halves_of(std::move(t));
    visit(std::move(one));
    visit(std::move(other));
  } else {
    refuse("triangle " + std::to_string(name_) + ": no such reason");
  }
  linear_.resize(linear_above);
}

// Where several sites tie at a corner, planes may be chosen otherwise than the search did, and be
// worse: others, taken off the corners, its halves, or all crossings of a small part may then still
// prove what the triangle does not. A bound is above an optimum, so no crossing may be one.
void leaf_walk::prove_by_bound(triangle_state t, int halvings) {
  const std::size_t linear_above = linear_.size();
  std::optional<std::optional<side_values>> permitted;  // once asked for
  const auto proved_on_part = [&] {
    if (where_ == nullptr) return false;
    if (!permitted) permitted = where_->cut(t.at);
    rows planes;
    return *permitted && bound_proves(t, planes, &**permitted);
  };
  bool done = false;
  for (const aim a : {aim::nothing, aim::middle, aim::next_corner, aim::last_corner}) {
    look(t, a);
    rows planes;
    done = bound_proves(t, planes) || proved_on_part() ||
           (a == aim::nothing && !sites_.owner().polyhedral() && cuts_prove(t, planes));
    if (done) break;
  }
  const auto too_low = [this] {
    refuse("triangle " + std::to_string(name_) + ": its bound is too low");
  };
  if (!done && (++halved_ > kMostHalved + kHalvedATriangle * reasons_.size() || surely_less(t)))
    too_low();
  if (!done && (halvings == kMostHalvings || !middle_of_longest(t.at))) {
    if (t.at[1] == t.at[2] || !sites_.owner().polyhedral() ||
        t.decided.size() + t.undecided.size() > kMostOpen || !exceeds_at_crossings(t, true))
      too_low();
  } else if (!done) {
    auto [one, other] = halves_of(std::move(t));
    prove_by_bound(std::move(one), halvings + 1);
    prove_by_bound(std::move(other), halvings + 1);
  }
  linear_.resize(linear_above);
}

// ----- Sites on a triangle -----

// A smooth distance has one slope at a corner, unless the site lies there.
bool leaf_walk::has_one_slope(std::uint32_t site, const interval_pair& offset) const {
  const auto holds_zero = [](const interval& i) { return i.low <= 0 && i.high >= 0; };
  return !sites_.polyhedral(site) && !(holds_zero(offset.x) && holds_zero(offset.y));
}

leaf_walk::site_on_triangle leaf_walk::look_at(const triangle_state& t, const seen_site& seen,
                                               aim a) const {
  site_on_triangle v{};
  v.seen = seen;
  std::array<interval_pair, 3> offset;
  for (std::size_t m = 0; m < 3; ++m) {
    offset[m] = sites_.offset(seen.site, exactly(t.at[m]));
    v.value[m] = seen.corner[m].value;
    v.upper = std::max(v.upper, v.value[m].high);
  }
  for (std::size_t j = 0; j < kPoints; ++j) {
    const bool at_corner = j > 0 && (a == aim::nothing || has_one_slope(seen.site, offset[j - 1]));
    interval_pair slope;
    if (at_corner) {
      slope = seen.corner[j - 1].slope;
    } else if (j == 0 && sites_.polyhedral(seen.site)) {
      v.edge = sites_.likely_edge(seen.site, points_[0]);
      slope = sites_.weighted_normal(seen.site, v.edge);
    } else {
      slope = sites_.slope(seen.site, points_[j]);
    }
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t m = 0; m < 3; ++m) {
      v.tangent[j][m] = dot(slope, offset[m]);
      least = std::min(least, v.tangent[j][m].low);
    }
    v.lower = std::max(v.lower, least);
    v.height[j] = at_corner ? v.tangent[j][j - 1].low
                            : dot(slope, sites_.offset(seen.site, exactly(points_[j]))).low;
  }
  if (v.lower < kSteep * v.upper) v.lower = std::max(v.lower, least_of_planes(v.tangent));
  return v;
}

// Tangents are taken at the centroid and the corners, or, where sites may tie there, somewhat off.
void leaf_walk::look(triangle_state& t, aim a) {
  points_ = {xy{(t.at[0].x + t.at[1].x + t.at[2].x) / 3, (t.at[0].y + t.at[1].y + t.at[2].y) / 3},
             t.at[0], t.at[1], t.at[2]};
  if (a != aim::nothing) {
    const std::array<xy, kPoints> from = points_;
    const auto move = [&](std::size_t point, std::size_t to) {
      points_[point].x += kOff * (from[to].x - from[point].x);
      points_[point].y += kOff * (from[to].y - from[point].y);
    };
    move(0, 1);
    for (std::size_t m = 1; m < kPoints; ++m)
      move(m, a == aim::middle ? 0 : a == aim::next_corner ? m % 3 + 1 : (m + 1) % 3 + 1);
  }
  undecided_.clear();
  decided_.clear();
  for (const seen_site& seen : t.undecided) undecided_.push_back(look_at(t, seen, a));
  const auto before = std::move(t.decided);
  t.decided.clear();
  for (const seen_site& seen : before) keep(t, look_at(t, seen, a), seen.lambda);
  decide(t);
}

leaf_walk::sorted_limits leaf_walk::limits_of_undecided() const {
  sorted_limits all;
  for (const site_on_triangle& v : undecided_) {
    all.lower.push_back(v.lower);
    all.upper.push_back(v.upper);
  }
  std::sort(all.lower.begin(), all.lower.end());
  std::sort(all.upper.begin(), all.upper.end());
  return all;
}

// f rises with a distance whose order weights are not negative: the tangent stands for it, if that
// leaves the possible order weights of all sites as they are or none is negative. It falls with one
// whose order weights are not positive: the values at the corners stand for it.
void leaf_walk::substitute(const triangle_state& t, const sorted_limits& all, site_on_triangle& v) {
  const auto rises_with = [](const order_run& r) { return r.weight >= 0; };
  const auto keeps_ranks = [&](double low, double bound) {
    std::size_t rank = 0;
    for (std::size_t r = 0; r + 1 < t.runs.size() && low < bound; ++r) {
      rank += t.runs[r].count;
      if (bound > all.upper[rank - 1] && low <= all.upper[rank - 1]) return false;
      if (bound >= all.lower[rank] && low < all.lower[rank]) return false;
    }
    return true;
  };
  const std::span<const order_run> own =
      std::span(t.runs).subspan(v.first_run, v.last_run + 1 - v.first_run);
  const bool rises = std::all_of(own.begin(), own.end(), rises_with) &&
                     (std::all_of(t.runs.begin(), t.runs.end(), rises_with) ||
                      keeps_ranks(least_of(v.tangent[0]), v.lower));
  const bool falls =
      std::all_of(own.begin(), own.end(), [](const order_run& r) { return r.weight <= 0; });
  if (!rises && !falls) return;
  if (rises) v.value = v.tangent[0];
  v.tangent.fill(v.value);
  v.height = {(v.value[0].low + v.value[1].low + v.value[2].low) / 3, v.value[0].low,
              v.value[1].low, v.value[2].low};
}

// A site has at least as many others below it as have their largest value below its least one, and
// correspondingly above.
void leaf_walk::decide(triangle_state& t) {
  if (undecided_.empty()) return;
  const sorted_limits all = limits_of_undecided();
  const auto& [lower, upper] = all;
  const auto run_at = [&](std::size_t rank) {
    std::uint32_t r = 0;
    while (rank >= t.runs[r].count) rank -= t.runs[r++].count;
    return r;
  };
  std::vector<order_run> left = t.runs;
  std::vector<site_on_triangle> open;
  t.undecided.clear();
  for (site_on_triangle& v : undecided_) {
    const auto below_it = std::lower_bound(upper.begin(), upper.end(), v.lower) - upper.begin();
    const auto above_it = lower.end() - std::upper_bound(lower.begin(), lower.end(), v.upper);
    v.first_run = run_at(static_cast<std::size_t>(below_it));
    v.last_run = run_at(lower.size() - 1 - static_cast<std::size_t>(above_it));
    if (v.first_run == v.last_run) {
      --left[v.first_run].count;
      keep(t, v, t.runs[v.first_run].weight);
      continue;
    }
    t.undecided.push_back(v.seen);
    open.push_back(v);
    substitute(t, all, open.back());
  }
  undecided_ = std::move(open);
  t.runs.clear();
  for (const order_run& r : left) {
    if (r.count == 0) continue;
    if (!t.runs.empty() && t.runs.back().weight == r.weight) {
      t.runs.back().count += r.count;
    } else {
      t.runs.push_back(r);
    }
  }
}

std::vector<bool> leaf_walk::sites_with_twins(const problem& p) {
  std::vector<bool> has_twin(p.sites().size(), false);
  std::map<std::tuple<std::uint32_t, double, double>, std::size_t> first;
  for (std::size_t i = 0; i < has_twin.size(); ++i) {
    const site& s = p.sites()[i];
    if (p.gauge_of(i).kind() == gauge::shape::polyhedral) continue;
    const auto [other, alone] = first.try_emplace({s.gauge, s.x, s.y}, i);
    if (!alone) has_twin[i] = has_twin[other->second] = true;
  }
  return has_twin;
}

bool leaf_walk::are_twins(std::uint32_t a, std::uint32_t b) const {
  const site& s = sites_.owner().sites()[a];
  const site& q = sites_.owner().sites()[b];
  return s.gauge == q.gauge && s.x == q.x && s.y == q.y;
}

// What stands for the weight of a twin's distance with the distance of the other.
interval leaf_walk::share_of_twin(std::uint32_t twin, std::uint32_t of,
                                  const interval& weight) const {
  const double of_twin = sites_.owner().sites()[twin].weight;
  const double of_other = sites_.owner().sites()[of].weight;
  return of_twin == of_other ? weight : weight * interval(of_twin) / interval(of_other);
}

// The sum of distances from one place under one smooth gauge is bent as the sum of their weights
// says, whatever the signs of the parts. So they count as one.
bool leaf_walk::keep_with_twin(triangle_state& t, std::uint32_t i, const interval& lambda) const {
  for (seen_site& kept : t.decided) {
    if (!are_twins(kept.site, i)) continue;
    kept.lambda = kept.lambda + share_of_twin(i, kept.site, lambda);
    return true;
  }
  return false;
}

void leaf_walk::keep(triangle_state& t, const site_on_triangle& v, const interval& lambda) {
  if (is_zero(lambda)) return;
  const std::uint32_t site = v.seen.site;
  if (sites_.polyhedral(site) && std::all_of(t.at.begin(), t.at.end(), [&](const xy& c) {
        return sites_.in_cone(site, v.edge, c);
      })) {
    const interval_pair n = sites_.weighted_normal(site, v.edge);
    t.sum_at_base = t.sum_at_base + lambda * dot(n, sites_.offset(site, exactly({0, 0})));
    t.slope = {t.slope.x + lambda * n.x, t.slope.y + lambda * n.y};
    linear_.push_back({site, lambda.low, v.edge});
    return;
  }
  if (has_twin_[site] && keep_with_twin(t, site, lambda)) return;
  t.decided.push_back(v.seen);
  t.decided.back().lambda = lambda;
  decided_.push_back(v);
}

}  // namespace planloc::detail
