#include "planloc/optimum/proof/far_order.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>

namespace planloc::detail {

namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();

// Whether the norm of conjugate exponent, or of the gauge itself, which has the same value on the
// axes and under the Euclidean one, is at most so much at u. Not told elsewhere.
bool norm_at_most(const gauge& smooth, const fraction_pair& u, const mpq_class& most) {
  if (smooth.kind() == gauge::shape::euclidean) return dot(u, u) <= most * most;
  return (sgn(u.x) == 0 || sgn(u.y) == 0) && abs(u.x + u.y) <= most;
}

// Whether a's gauge times its weight is known to be nowhere less than b's.
bool nowhere_below(const gauge& a, const mpq_class& of_a, const gauge& b, const mpq_class& of_b) {
  const bool a_smooth = a.kind() != gauge::shape::polyhedral;
  const bool b_smooth = b.kind() != gauge::shape::polyhedral;
  if (a_smooth && b_smooth) {
    const auto exponent = [](const gauge& g) {
      return g.kind() == gauge::shape::euclidean ? 2 : g.p();
    };
    return of_a >= of_b && exponent(a) <= exponent(b);
  }
  if (&a == &b) return of_a >= of_b;
  std::vector<fraction_pair> corners;  // of a's unit ball
  for (const xy& v : a.vertices()) corners.push_back({mpq_class(v.x), mpq_class(v.y)});
  const mpq_class most = of_a / of_b;
  const auto corner_within = [&](const fraction_pair& v) {
    if (b_smooth) return norm_at_most(b, v, most);
    for (std::size_t j = 0; j < b.vertices().size(); ++j) {
      if (dot(exact_edge_normal(b, j), v) > most) return false;
    }
    return true;
  };
  if (!a_smooth) return std::all_of(corners.begin(), corners.end(), corner_within);
  for (std::size_t j = 0; j < b.vertices().size(); ++j) {
    if (!norm_at_most(a, exact_edge_normal(b, j), most)) return false;
  }
  return true;
}

}  // namespace

far_order::far_order(const problem& p) : lambda_(listed_weights(p)) {
  lambda_before_.emplace_back();
  for (const double l : lambda_) lambda_before_.push_back(lambda_before_.back() + l);
  std::map<std::pair<std::uint32_t, double>, std::vector<std::uint32_t>> all;
  for (std::uint32_t i = 0; i < p.sites().size(); ++i)
    all[{p.sites()[i].gauge, p.sites()[i].weight}].push_back(i);
  for (auto& [name, sites] : all) {
    order_.push_back(kinds_.size());
    std::map<std::pair<double, double>, std::uint32_t> first_at;
    std::vector<std::uint32_t> names;
    for (const std::uint32_t i : sites)
      names.push_back(first_at.try_emplace({p.sites()[i].x, p.sites()[i].y}, i).first->second);
    kinds_.push_back({name.first, name.second, std::move(sites), std::move(names), {}, {}, {}});
  }
  const auto compare = [&](bool weighted) {
    std::vector<std::vector<bool>> result;
    for (const alike_sites& k : kinds_) {
      std::vector<bool>& row = result.emplace_back();
      for (const alike_sites& l : kinds_) {
        row.push_back(nowhere_below(p.gauges()[k.gauge], weighted ? k.weight : 1,
                                    p.gauges()[l.gauge], weighted ? l.weight : 1));
      }
    }
    return result;
  };
  above_ = compare(true);
  gauge_above_ = compare(false);
}

interval far_order::growth_apart(std::size_t k, std::size_t l) const {
  const alike_sites& a = kinds_[k];
  const alike_sites& b = kinds_[l];
  interval d = a.gauge == b.gauge ? (interval(a.weight) - interval(b.weight)) * a.growth
                                  : weighted_growth(a) - weighted_growth(b);
  if (above_[k][l]) d = {std::max(d.low, 0.0), std::max(d.high, 0.0)};
  if (above_[l][k]) d = {std::min(d.low, 0.0), std::min(d.high, 0.0)};
  return d;
}

std::vector<far_order::group> far_order::groups(const interval& scale) {
  std::sort(order_.begin(), order_.end(), [&](std::size_t k, std::size_t l) {
    const interval a = weighted_growth(kinds_[k]);
    const interval b = weighted_growth(kinds_[l]);
    return std::pair(a.low + a.high, k) < std::pair(b.low + b.high, l);
  });
  const auto farther = [&](std::size_t k, std::size_t l) {
    const interval more = growth_apart(order_[k], order_[l]) * scale +
                          interval(at(k).lower.front()) - interval(at(l).higher.back());
    return more.low > 0;
  };
  std::vector<group> result;
  std::size_t rank = 0;
  for (std::size_t k = 0; k < order_.size(); ++k) {
    bool apart = true;  // all from here on from all before
    for (std::size_t j = k; j < order_.size() && apart; ++j) {
      for (std::size_t i = 0; i < k && apart; ++i) apart = farther(j, i);
    }
    if (apart) result.push_back({k, k, rank, rank});
    rank += at(k).sites.size();
    result.back().last = k + 1;
    result.back().end = rank;
  }
  return result;
}

// ----- Growth -----

far_order::factors far_order::factors_of(const std::vector<group>& all) const {
  std::map<std::uint32_t, std::pair<std::size_t, mpq_class>> by_gauge;
  for (const group& g : all) {
    const alike_sites& k = at(g.first);
    auto& [kind, factor] = by_gauge[k.gauge];
    kind = order_[g.first];
    factor += (lambda_before_[g.end] - lambda_before_[g.rank]) * k.weight;
  }
  factors result;
  for (auto& [gauge, f] : by_gauge) {
    if (sgn(f.second) != 0) result.push_back(std::move(f));
  }
  return result;
}

bool far_order::matched(factors f) const {
  for (auto& [low_kind, missing] : f) {
    for (auto& [high_kind, left] : f) {
      if (sgn(missing) >= 0) break;
      if (sgn(left) <= 0 || !gauge_above_[high_kind][low_kind]) continue;
      const mpq_class taken = std::min(left, mpq_class(-missing));
      left -= taken;
      missing += taken;
    }
    if (sgn(missing) < 0) return false;
  }
  return true;
}

interval far_order::steps_of(const std::vector<group>& all) const {
  interval sum;
  for (std::size_t j = 0; j < all.size(); ++j) {
    const mpq_class tail = lambda_before_.back() - lambda_before_[all[j].rank];
    if (sgn(tail) < 0) return {-kInfinite, kInfinite};
    const interval step = j == 0 ? weighted_growth(at(0))
                                 : growth_apart(order_[all[j].first], order_[all[j - 1].first]);
    sum = sum + enclosed(tail) * step;
  }
  return sum;
}

double far_order::least_growth(const std::vector<group>& all) const {
  const factors f = factors_of(all);
  interval sum;
  for (const auto& [kind, factor] : f) sum = sum + enclosed(factor) * kinds_[kind].growth;
  if (is_zero(sum) && f.empty()) return 0;
  const double least = std::max(sum.low, steps_of(all).low);
  return least < 0 && matched(f) ? 0 : least;
}

// ----- Groups -----

double far_order::weighed(std::size_t rank, std::vector<double> lower,
                          std::vector<double> higher) const {
  std::sort(lower.begin(), lower.end());
  std::sort(higher.begin(), higher.end());
  interval sum;
  for (std::size_t k = 0; k < lower.size(); ++k) {
    const double l = lambda_[rank + k];
    if (l != 0) sum = sum + interval(l) * interval(l > 0 ? lower[k] : higher[k]);
  }
  return sum.low;
}

// With bounds of each distance.
double far_order::least_by_bounds(const group& g, const interval& scale) const {
  std::vector<double> lower, higher;
  for (std::size_t k = g.first; k < g.last; ++k) {
    const interval apart =
        k == g.first ? interval(0) : growth_apart(order_[k], order_[g.first]) * scale;
    for (const double e : at(k).lower) lower.push_back((interval(e) + apart).low);
    for (const double e : at(k).higher) higher.push_back((interval(e) + apart).high);
  }
  return weighed(g.rank, std::move(lower), std::move(higher));
}

double far_order::sum_at(const group& g, const interval& shift) const {
  std::vector<double> lower = at(g.first).lower;
  std::vector<double> higher = at(g.first).higher;
  for (const double e : at(g.first + 1).lower) lower.push_back((interval(e) + shift).low);
  for (const double e : at(g.first + 1).higher) higher.push_back((interval(e) + shift).high);
  return weighed(g.rank, std::move(lower), std::move(higher));
}

double far_order::least_of_two(const group& g, const interval& scale) const {
  const interval apart = growth_apart(order_[g.first + 1], order_[g.first]) * scale;
  const std::size_t moving = at(g.first + 1).sites.size();
  // Towards an infinite end all of the second kind move beyond, or before, the first.
  if (std::isinf(apart.high) && lambda_before_[g.end] < lambda_before_[g.end - moving])
    return -kInfinite;
  if (std::isinf(apart.low) && lambda_before_[g.rank + moving] > lambda_before_[g.rank])
    return -kInfinite;
  double least = kInfinite;
  const auto look = [&](const interval& shift) { least = std::min(least, sum_at(g, shift)); };
  if (std::isfinite(apart.low)) look(apart.low);
  if (std::isfinite(apart.high)) look(apart.high);
  look(std::clamp(0.0, apart.low, apart.high));
  const auto part = [](double l, bool positive) {
    return positive ? std::max(l, 0.0) : std::min(l, 0.0);
  };
  for (const bool positive : {true, false}) {
    const std::vector<double>& one = positive ? at(g.first).lower : at(g.first).higher;
    const std::vector<double>& other = positive ? at(g.first + 1).lower : at(g.first + 1).higher;
    for (std::size_t i = 0; i < one.size(); ++i) {
      for (std::size_t j = 0; j < other.size(); ++j) {
        // They tie as numbers i + j and i + j + 1 of the group.
        const std::size_t rank = g.rank + i + j;
        if (part(lambda_[rank], positive) == part(lambda_[rank + 1], positive)) continue;
        const interval tie = interval(one[i]) - interval(other[j]);
        if (tie.high >= apart.low && tie.low <= apart.high) look(tie);
      }
    }
  }
  return least;
}

double far_order::least_of(const group& g, const interval& scale) const {
  const double least = least_by_bounds(g, scale);
  return g.last - g.first == 2 ? std::max(least, least_of_two(g, scale)) : least;
}

interval far_order::grown(const std::vector<group>& all, const interval& scale) const {
  const double growth = least_growth(all);
  return growth == 0 ? interval(0)
                     : interval(growth) * interval(growth > 0 ? scale.low : scale.high);
}

double far_order::least_by_choices(const interval& scale, std::span<const far_excess> excess,
                                   const interval& s, const interval& t) {
  const std::vector<group> all = groups(scale);
  std::vector<far_choices::site_group> choices;
  for (const group& g : all) {
    if (g.last - g.first > 1) return -kInfinite;
    choices.push_back({at(g.first).sites, at(g.first).names});
  }
  return (grown(all, scale) + interval(far_choices(lambda_, excess, s, t).least(choices))).low;
}

double far_order::least(const interval& scale) {
  const std::vector<group> all = groups(scale);
  interval sum = grown(all, scale);
  for (const group& g : all) sum = sum + interval(least_of(g, scale));
  return sum.low;
}

}  // namespace planloc::detail
