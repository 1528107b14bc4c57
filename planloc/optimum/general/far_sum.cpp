#include "planloc/optimum/general/far_sum.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <span>

#include "planloc/optimum/general/far_orders.h"

namespace planloc::detail {

namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();
// Of magnitudes: for differences in doubles that are checked in intervals.
constexpr double kRounding = 0x1p-47;
// Of the largest excesses: those that differ by less may be in either order, whatever doubles say.
constexpr double kCaution = 0x1p-42;
// Pairs of sites at which the ordered sum of two kinds bends.
constexpr std::size_t kMostKinks = 2000;

struct scaled_gauge {
  const gauge& g;
  mpq_class weight;
};

double exponent(const gauge& g) { return g.kind() == gauge::shape::lp ? g.p() : 2; }

// Whether g is at most `most` at u: decided exactly, but for lp gauges off the axes.
bool at_most(const gauge& g, const mpq_class& x, const mpq_class& y, const mpq_class& most) {
  if (g.kind() == gauge::shape::euclidean) return x * x + y * y <= most * most;
  if (g.kind() == gauge::shape::lp) return (sgn(x) == 0 || sgn(y) == 0) && abs(x) + abs(y) <= most;
  const std::span<const xy> v = g.vertices();
  for (std::size_t j = 0; j < v.size(); ++j) {
    const mpq_class px(v[j].x), py(v[j].y);
    const xy& next = v[(j + 1) % v.size()];
    if ((next.x - px) * (y - most * py) < (next.y - py) * (x - most * px)) return false;
  }
  return true;
}

// The same of the dual norm of a smooth gauge.
bool dual_at_most(const gauge& g, const mpq_class& x, const mpq_class& y, const mpq_class& most) {
  if (g.kind() == gauge::shape::euclidean) return x * x + y * y <= most * most;
  return (sgn(x) == 0 || sgn(y) == 0) && abs(x) + abs(y) <= most;
}

// Whether the one is surely nowhere less than the other.
bool covers(const scaled_gauge& a, const scaled_gauge& b) {
  if (&a.g == &b.g) return a.weight >= b.weight;
  if (a.g.kind() == gauge::shape::polyhedral) {
    const auto v = a.g.vertices();
    return std::all_of(v.begin(), v.end(), [&](const xy& u) {
      return at_most(b.g, b.weight * u.x, b.weight * u.y, a.weight);
    });
  }
  if (b.g.kind() != gauge::shape::polyhedral)
    return exponent(a.g) <= exponent(b.g) && a.weight >= b.weight;
  const auto v = b.g.vertices();
  for (std::size_t j = 0; j < v.size(); ++j) {
    const xy& next = v[(j + 1) % v.size()];
    const mpq_class x = mpq_class(next.y) - v[j].y;
    const mpq_class y = v[j].x - mpq_class(next.x);
    if (!dual_at_most(a.g, b.weight * x, b.weight * y, a.weight * (x * v[j].x + y * v[j].y)))
      return false;
  }
  return true;
}

}  // namespace

far_sum::far_sum(const problem& p, const distance_table& table, const far_view& view)
    : view_(view) {
  sum_before_.emplace_back();
  for (const order_run& r : p.runs()) lambda_.insert(lambda_.end(), r.count, r.weight);
  for (const double l : lambda_) sum_before_.push_back(sum_before_.back() + l);
  const auto& kinds = view.kinds();
  for (const far_kind& k : kinds)
    caution_ = std::max(caution_, kCaution * k.weight * view.extent());
  const auto gauge_of = [&](const far_kind& k) -> const gauge& {
    return p.gauge_of(table.site[k.slots[0]]);
  };
  for (const far_kind& k : kinds) {
    std::vector<char>& row = covers_.emplace_back();
    std::vector<char>& gauges = gauge_covers_.emplace_back();
    for (const far_kind& l : kinds) {
      row.push_back(covers({gauge_of(k), k.weight}, {gauge_of(l), l.weight}) ? 1 : 0);
      gauges.push_back(covers({gauge_of(k), 1}, {gauge_of(l), 1}) ? 1 : 0);
    }
  }
  order_.resize(kinds.size());
  std::iota(order_.begin(), order_.end(), std::size_t{0});
}

double far_sum::least(const far_box& b) {
  near_ = view_.reach() / b.t.high;
  far_ = b.t.low > 0 ? view_.reach() / b.t.low : kInfinite;
  find_classes();
  add_up_growths();
  grown_ = least_growth();
  grown_ *= grown_ >= 0 ? near_ : far_;
  double sum = grown_;
  for (const kind_class& c : classes_) sum += sum_of_class(c);
  return std::isnan(sum) ? -kInfinite : sum;
}

double far_sum::least_of_orders(const far_box& b) {
  far_orders orders(lambda_, b, caution_);
  for (const kind_class& c : classes_) {
    if (c.last - c.first > 1) return -kInfinite;
    const far_kind& k = kind(c.first);
    std::vector<far_orders::candidate> sites;
    for (const std::uint32_t slot : k.slots)
      sites.push_back({view_.changes_of(k, slot, b), view_.position(slot)});
    orders.add(std::move(sites));
  }
  const double sum = grown_ + orders.least();
  return std::isnan(sum) ? -kInfinite : sum;
}

// ----- Classes -----

// By how much the weighted gauge of one kind exceeds that of another.
low_high far_sum::growth_apart(std::size_t k, std::size_t l) const {
  const far_kind& a = view_.kinds()[k];
  const far_kind& b = view_.kinds()[l];
  if (a.block == b.block) {
    const double more = a.weight - b.weight;
    return more < 0 ? low_high{more * a.growth.high, more * a.growth.low}
                    : low_high{more * a.growth.low, more * a.growth.high};
  }
  const double caution = kRounding * (a.weight * a.growth.high + b.weight * b.growth.high);
  low_high d{a.weight * a.growth.low - b.weight * b.growth.high - caution,
             a.weight * a.growth.high - b.weight * b.growth.low + caution};
  if (covers_[k][l] != 0) d.low = std::max(d.low, 0.0);
  if (covers_[l][k] != 0) d.high = std::min(d.high, 0.0);
  return d;
}

low_high far_sum::distance_apart(std::size_t k, std::size_t l) const {
  const low_high d = growth_apart(k, l);
  return {d.low < 0 ? d.low * far_ : d.low * near_, d.high > 0 ? d.high * far_ : d.high * near_};
}

void far_sum::find_classes() {
  const auto& kinds = view_.kinds();
  std::sort(order_.begin(), order_.end(), [&](std::size_t k, std::size_t l) {
    const double a = kinds[k].weight * (kinds[k].growth.low + kinds[k].growth.high);
    const double b = kinds[l].weight * (kinds[l].growth.low + kinds[l].growth.high);
    return a < b || (a == b && k < l);
  });
  const auto surely_farther = [&](std::size_t k, std::size_t l) {
    return distance_apart(order_[k], order_[l]).low + kind(k).low.front() >
           kind(l).high.back() + caution_;
  };
  // From the farthest on: a class begins where no kind from there on needs one before.
  classes_.clear();
  std::size_t end = lambda_.size();
  std::size_t needed = order_.size();
  for (std::size_t last = order_.size(), k = last, rank = end; k-- > 0;) {
    rank -= kind(k).slots.size();
    std::size_t before = 0;
    while (before < k && surely_farther(k, before)) ++before;
    needed = std::min(needed, before);
    if (needed < k) continue;
    classes_.push_back({k, last, rank, end});
    last = needed = k;
    end = rank;
  }
  std::reverse(classes_.begin(), classes_.end());
}

// ----- Growth of all classes together -----

void far_sum::add_up_growths() {
  growths_.clear();
  for (const kind_class& c : classes_) {
    const far_kind& of = kind(c.first);
    const mpq_class factor = (sum_before_[c.end] - sum_before_[c.rank]) * of.weight;
    const auto same = std::find_if(growths_.begin(), growths_.end(), [&](const share& s) {
      return view_.kinds()[s.kind].block == of.block;
    });
    if (same == growths_.end()) {
      growths_.push_back({order_[c.first], factor});
    } else {
      same->factor += factor;
    }
  }
  std::erase_if(growths_, [](const share& s) { return sgn(s.factor) == 0; });
}

double far_sum::least_growth() const {
  if (growths_.empty()) return 0;
  double sum = 0;
  double size = 0;
  for (const share& s : growths_) {
    const low_high& g = view_.kinds()[s.kind].growth;
    const double factor = s.factor.get_d();
    sum += factor * (factor > 0 ? g.low : g.high);
    size += std::fabs(factor) * g.high;
  }
  const double least = std::max(sum - kRounding * size, growth_by_steps());
  return least < 0 && growths_cancel() ? 0 : least;
}

// Classes in their order grow by steps, each of which counts for all classes from there on.
double far_sum::growth_by_steps() const {
  double sum = 0;
  for (std::size_t j = 0; j < classes_.size(); ++j) {
    const mpq_class tail = sum_before_.back() - sum_before_[classes_[j].rank];
    if (sgn(tail) < 0) return -kInfinite;
    const std::size_t k = order_[classes_[j].first];
    const double step = j == 0 ? view_.kinds()[k].weight * view_.kinds()[k].growth.low
                               : growth_apart(k, order_[classes_[j - 1].first]).low;
    sum += tail.get_d() * step;
  }
  return sum - kRounding * std::fabs(sum);
}

// Whether each negative share is made up for by positive ones of gauges that are nowhere less.
bool far_sum::growths_cancel() const {
  std::vector<mpq_class> left;
  for (const share& s : growths_) left.push_back(s.factor);
  for (std::size_t k = 0; k < left.size(); ++k) {
    for (std::size_t j = 0; j < left.size() && sgn(left[k]) < 0; ++j) {
      if (sgn(left[j]) <= 0 || gauge_covers_[growths_[j].kind][growths_[k].kind] == 0) continue;
      const mpq_class taken = std::min(left[j], mpq_class(-left[k]));
      left[j] -= taken;
      left[k] += taken;
    }
    if (sgn(left[k]) < 0) return false;
  }
  return true;
}

// ----- Ordered sums of classes, less the growth of their first kinds -----

double far_sum::weighted(std::size_t rank) {
  double sum = 0;
  for (std::size_t k = 0; k < low_.size(); ++k) {
    const double l = lambda_[rank + k];
    if (l != 0) sum += l * (l > 0 ? low_[k] : high_[k]);
  }
  return sum;
}

double far_sum::sum_of_class(const kind_class& c) {
  const double sum = sum_of_bounds(c);
  return c.last - c.first == 2 ? std::max(sum, sum_of_two(c)) : sum;
}

double far_sum::sum_of_bounds(const kind_class& c) {
  low_.clear();
  high_.clear();
  for (std::size_t k = c.first; k < c.last; ++k) {
    const low_high apart =
        k == c.first ? low_high{0, 0} : distance_apart(order_[k], order_[c.first]);
    for (const double e : kind(k).low) low_.push_back(e + apart.low);
    for (const double e : kind(k).high) high_.push_back(e + apart.high);
  }
  std::sort(low_.begin(), low_.end());
  std::sort(high_.begin(), high_.end());
  const double sum = weighted(c.rank);
  return std::isnan(sum) ? -kInfinite : sum;
}

double far_sum::sum_shifted(const kind_class& c, double shift) {
  const auto merge = [shift](const std::vector<double>& one, const std::vector<double>& other,
                             std::vector<double>& all) {
    all.clear();
    std::size_t k = 0;
    for (const double e : other) {
      while (k < one.size() && one[k] < e + shift) all.push_back(one[k++]);
      all.push_back(e + shift);
    }
    all.insert(all.end(), one.begin() + static_cast<std::ptrdiff_t>(k), one.end());
  };
  merge(kind(c.first).low, kind(c.first + 1).low, low_);
  merge(kind(c.first).high, kind(c.first + 1).high, high_);
  return weighted(c.rank);
}

// Two sites of the kinds tie at rank i + j and the next, i sites of the one and j of the other
// being nearer: there the sum bends if the order weights differ. False if there are too many.
bool far_sum::find_kinks(const kind_class& c, const low_high& apart) {
  const auto jumps = [&](std::size_t rank, double sign) {
    return std::max(0.0, sign * lambda_[rank]) != std::max(0.0, sign * lambda_[rank + 1]);
  };
  shifts_.clear();
  const auto add = [&](const std::vector<double>& one, const std::vector<double>& other,
                       double sign) {
    for (std::size_t i = 0; i < one.size(); ++i) {
      for (std::size_t j = 0; j < other.size(); ++j) {
        const double shift = one[i] - other[j];
        if (jumps(c.rank + i + j, sign) && shift > apart.low && shift < apart.high)
          shifts_.push_back(shift);
        if (shifts_.size() > kMostKinks) return false;
      }
    }
    return true;
  };
  return add(kind(c.first).low, kind(c.first + 1).low, 1) &&
         add(kind(c.first).high, kind(c.first + 1).high, -1);
}

// Linear between kinks, so least at one of them or at an end. Towards an infinite end the farther
// or the nearer ranks move, all with the second kind.
double far_sum::sum_of_two(const kind_class& c) {
  const low_high apart = distance_apart(order_[c.first + 1], order_[c.first]);
  if (!find_kinks(c, apart)) return -kInfinite;
  const std::size_t moving = kind(c.first + 1).slots.size();
  if (std::isinf(apart.high) && sum_before_[c.end] < sum_before_[c.end - moving]) return -kInfinite;
  if (std::isinf(apart.low) && sum_before_[c.rank + moving] > sum_before_[c.rank])
    return -kInfinite;
  if (std::isfinite(apart.low)) shifts_.push_back(apart.low);
  if (std::isfinite(apart.high)) shifts_.push_back(apart.high);
  shifts_.push_back(std::clamp(0.0, apart.low, apart.high));
  double least = kInfinite;
  for (const double shift : shifts_) least = std::min(least, sum_shifted(c, shift));
  return least;
}

}  // namespace planloc::detail
