#include "planloc/optimum/proof/pair_choices.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace planloc::detail {

namespace {

constexpr std::size_t kMostOpen = 6;
constexpr std::size_t kTangents = 6;
constexpr double kRounding = 0x1p-52;  // twice that of one operation

// A sum of tangents of some sites, from each of the points.
struct tangent_sums {
  std::array<rectangle_values, kTangents> value{};
  std::array<double, kTangents> magnitude{};
  std::size_t terms = 0;

  void add(const tangent_sums& other) {
    for (std::size_t t = 0; t < kTangents; ++t) {
      for (std::size_t c = 0; c < 4; ++c) value[t][c] += other.value[t][c];
      magnitude[t] += other.magnitude[t];
    }
    terms += other.terms;
  }

  // A mixture rounds each value a few times.
  double bound() const {
    const auto roundings = static_cast<double>(terms + 32);
    std::array<rectangle_values, kTangents> safe = value;
    for (std::size_t t = 0; t < kTangents; ++t)
      for (double& v : safe[t]) v -= roundings * kRounding * magnitude[t];
    return largest_least(safe);
  }
};

class choices {
 public:
  choices(const corner_tangents& tangents, const std::array<facility_range, 2>& ranges,
          std::span<const interval> existing)
      : tangents_(tangents), ranges_(ranges) {
    for (std::uint32_t i = 0; i < existing.size(); ++i) sort(i, existing[i]);
    for (std::size_t j = 0; j < 2; ++j) {
      for (std::size_t set = 0; set < std::size_t{1} << open_.size(); ++set) {
        tangent_sums sum = sure_[j];
        for (std::size_t k = 0; k < open_.size(); ++k)
          if ((set >> k & 1) != 0) sum.add(open_[k].sums[j]);
        bounds_[j].push_back(sum.bound());
      }
    }
  }

  double least() const { return least_from(0, {0, 0}, interval(of_existing_)).low; }

 private:
  struct open_site {
    std::array<bool, 2> served;  // maybe, by either
    bool by_existing;
    interval existing;
    std::array<tangent_sums, 2> sums;
  };

  // A distance is convex, so nowhere above the largest of its values at the corners.
  interval range(std::uint32_t i, const rectangle& r) const {
    const rectangle_values low = tangents_.at_corners(i, r, r.middle()).value;
    double high = 0;
    for (const double x : {r.left, r.right})
      for (const double y : {r.low, r.high})
        high = std::max(high, tangents_.sites().distance(i, {interval(x), interval(y)}).high);
    return {std::max(0.0, least_of(low)), high};
  }

  tangent_sums sums_of(std::uint32_t i, const facility_range& f) const {
    const rectangle& r = f.where;
    const std::array<xy, kTangents> points = {xy{r.left, r.low}, {r.right, r.low}, {r.left, r.high},
                                              {r.right, r.high}, r.middle(),       f.place};
    tangent_sums s;
    s.terms = 1;
    for (std::size_t t = 0; t < kTangents; ++t) {
      const corner_tangents::tangent own = tangents_.at_corners(i, r, points[t]);
      s.value[t] = own.value;
      s.magnitude[t] = own.magnitude;
    }
    return s;
  }

  // What roundings of a site's place may come to in its distance.
  double doubt_of(std::uint32_t i, const interval& existing) const {
    constexpr double kDoubt = 0x1p-46;
    const double near = tangents_.near_distance(i, {0, 0});
    return kDoubt * (std::isfinite(existing.high) ? std::max(near, existing.high) : near);
  }

  // Of two that are nowhere farther than each other either may serve. Where another one may be
  // nearer, but by no more than roundings, the bound is less by these: it need not stay open.
  void sort(std::uint32_t i, const interval& existing) {
    const interval x = range(i, ranges_[0].where);
    const interval y = range(i, ranges_[1].where);
    const double doubt = doubt_of(i, existing);
    const bool not_second = x.high <= below(y.low + doubt);
    open_site o{{not_second || !(y.high <= below(x.low + doubt)), !not_second}, true, existing, {}};
    if (existing.high <= below(std::min(x.low, y.low) + doubt)) {
      of_existing_ = below(of_existing_ + std::min({existing.low, x.low, y.low}));
      return;
    }
    o.by_existing = !(std::min(x.high, y.high) <= below(existing.low + doubt));
    for (std::size_t j = 0; j < 2; ++j)
      if (o.served[j]) o.sums[j] = sums_of(i, ranges_[j]);
    if (!o.by_existing || o.served[0] != o.served[1])
      of_existing_ = below(of_existing_ - 2 * doubt);
    if (!o.by_existing && o.served[0] != o.served[1]) {
      sure_[o.served[0] ? 0 : 1].add(o.sums[o.served[0] ? 0 : 1]);
    } else {
      if (open_.size() == kMostOpen) refuse("a pair leaves too many sites open");
      open_.push_back(o);
    }
  }

  interval least_from(std::size_t open, const std::array<std::size_t, 2>& sets,
                      const interval& existing) const {
    if (open == open_.size())
      return interval(bounds_[0][sets[0]]) + interval(bounds_[1][sets[1]]) + existing;
    const open_site& o = open_[open];
    interval least(std::numeric_limits<double>::infinity());
    const auto take = [&](const interval& i) {
      if (!(i.low >= least.low)) least = i;
    };
    for (std::size_t j = 0; j < 2; ++j) {
      if (!o.served[j]) continue;
      std::array<std::size_t, 2> with = sets;
      with[j] |= std::size_t{1} << open;
      take(least_from(open + 1, with, existing));
    }
    if (o.by_existing) take(least_from(open + 1, sets, existing + o.existing));
    return least;
  }

  const corner_tangents& tangents_;
  const std::array<facility_range, 2>& ranges_;
  std::array<tangent_sums, 2> sure_;
  std::vector<open_site> open_;
  double of_existing_ = 0;                     // at least, where nobody else serves; less doubts
  std::array<std::vector<double>, 2> bounds_;  // by sets of open sites
};

}  // namespace

double least_choice(const corner_tangents& tangents, const std::array<facility_range, 2>& ranges,
                    std::span<const interval> existing) {
  return choices(tangents, ranges, existing).least();
}

}  // namespace planloc::detail
