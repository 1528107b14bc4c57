#include <algorithm>
#include <cmath>
#include <limits>

#include "planloc/optimum/location_allocation.h"
#include "planloc/optimum/proof/corner_tangents.h"
#include "planloc/optimum/proof/verify_leaves.h"
#include "planloc/optimum/proof/verify_pairs.h"
#include "planloc/optimum/proof/verify_prices.h"

namespace planloc {

namespace {

using detail::interval;
using detail::interval_pair;
using detail::refuse;

// Relative: what the roundings of a distance, and of a sum of them in extended precision, can do.
constexpr double kRounding = 0x1p-44;
constexpr double kOutwards = 1 + 0x1p-40;  // far more than a few roundings

class allocation_checker {
 public:
  allocation_checker(const allocation_problem& p, const allocation& a)
      : problem_(p), answer_(a), sites_(p.single(), {0, 0}) {
    facilities_ = a.points;
    facilities_.insert(facilities_.end(), p.existing().begin(), p.existing().end());
    for (const gauge& g : p.single().gauges()) reach_.push_back(detail::half_width(g) * kOutwards);
  }

  allocation_check run() const {
    detail::check_finite(answer_.value, answer_.lower_bound.value_or(0));
    check_shape();
    allocation_check c;
    const interval value = value_of_points();
    if (!(answer_.value >= value.low * (1 - kRounding) &&
          answer_.value <= value.high * (1 + kRounding))) {
      refuse("the value is not that of the points");
    }
    c.value = value.high;
    if (answer_.lower_bound) c.lower_bound = bound(value);
    check_status(c);
    c.accepted = true;
    return c;
  }

 private:
  void check_shape() const {
    if (answer_.points.size() != problem_.count()) {
      refuse(std::to_string(problem_.count()) + " points are needed");
    }
    for (const xy& at : answer_.points) check_place(at, "a point");
    if (answer_.assignment.size() != problem_.sites().size()) {
      refuse("one facility a site is needed");
    }
    for (std::size_t i = 0; i < answer_.assignment.size(); ++i) {
      if (answer_.assignment[i] < facilities_.size()) continue;
      refuse("site " + std::to_string(i) + " is assigned to facility " +
             std::to_string(answer_.assignment[i]) + ", which does not exist");
    }
  }

  interval distance(std::size_t site, const xy& from) const {
    const auto& s = problem_.sites()[site];
    if (from == xy{s.x, s.y}) return 0;
    return sites_.distance(site, {interval(from.x), interval(from.y)});
  }

  // Below the distance, in the time that it takes to pass a facility over.
  double at_least(std::size_t i, const xy& from) const {
    const auto& s = problem_.sites()[i];
    return s.weight * std::max(std::fabs(from.x - s.x), std::fabs(from.y - s.y)) / reach_[s.gauge];
  }

  interval value_of_points() const {
    interval sum(0);
    for (std::size_t i = 0; i < answer_.assignment.size(); ++i) {
      const interval own = distance(i, facilities_[answer_.assignment[i]]);
      interval least = own;
      for (const xy& f : facilities_) {
        if (at_least(i, f) >= least.high) continue;
        const interval d = distance(i, f);
        least = {std::min(least.low, d.low), std::min(least.high, d.high)};
      }
      if (own.low > least.high * (1 + kRounding)) {
        refuse("site " + std::to_string(i) + " has a nearer facility than its own");
      }
      sum = sum + least;
    }
    return sum;
  }

  double bound(const interval& value) const {
    double proved = 0;
    if (problem_.count() == 0) {
      proved = value.low;
    } else if (answer_.one_facility) {
      proved = bound_of_one();
    } else if (answer_.pairs && *answer_.lower_bound > 0) {
      detail::prove_pairs(problem_, *answer_.pairs, *answer_.lower_bound);
      proved = *answer_.lower_bound;
    } else if (!answer_.cases.empty() && *answer_.lower_bound > 0) {
      detail::prove_cases(problem_, answer_.cases, *answer_.lower_bound);
      proved = *answer_.lower_bound;
    } else if (!answer_.prices.empty() && *answer_.lower_bound > 0) {
      detail::prove_prices(problem_, answer_.prices, answer_.triples, *answer_.lower_bound);
      proved = *answer_.lower_bound;
    }
    if (!(*answer_.lower_bound <= proved * (1 + kRounding))) {
      refuse("the lower bound is above the one that is proved");
    }
    return proved;
  }

  double bound_of_one() const {
    if (problem_.count() != 1 || !problem_.existing().empty()) {
      refuse("the solution of one new facility proves nothing of several");
    }
    const verification v = verify(problem_.single(), *answer_.one_facility);
    if (!v.accepted) refuse(v.reason);
    if (answer_.status == allocation_status::optimal &&
        answer_.one_facility->status != solution_status::optimal)
      refuse("called optimal, but the one facility is not");
    return v.lower_bound;
  }

  void check_status(const allocation_check& c) const {
    const bool claims = answer_.status == allocation_status::optimal ||
                        answer_.status == allocation_status::within_gap;
    if (claims && !c.lower_bound) refuse("an optimum is claimed without a bound");
    if (answer_.status == allocation_status::optimal && c.value - *c.lower_bound > 1e-9 * c.value) {
      refuse("the optimum that is claimed is not proved");
    }
  }

  const allocation_problem& problem_;
  const allocation& answer_;
  detail::verified_sites sites_;
  std::vector<xy> facilities_;
  std::vector<double> reach_;  // of each gauge: |x|, |y| <= reach * gauge((x, y))
};

}  // namespace

allocation_check verify(const allocation_problem& p, const allocation& a) {
  try {
    return allocation_checker(p, a).run();
  } catch (const detail::refusal& r) {
    allocation_check c;
    c.reason = r.reason;
    return c;
  }
}

}  // namespace planloc
