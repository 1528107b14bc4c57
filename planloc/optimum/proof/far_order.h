// The least ordered sum of distances on a box of places that reaches to infinity, in intervals.
// Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_FAR_ORDER_H_
#define PLANLOC_OPTIMUM_PROOF_FAR_ORDER_H_

#include <gmpxx.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "planloc/optimum/proof/far_choices.h"
#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

// Sites of one gauge and one weight. Their distance at base + scale * y is scale * weight * the
// gauge of y and an excess of each.
struct alike_sites {
  std::uint32_t gauge;
  double weight;
  std::vector<std::uint32_t> sites;
  std::vector<std::uint32_t> names;  // of each the first of them at its place
  // On the box at hand:
  interval growth;                    // the gauge of y
  std::vector<double> lower, higher;  // bounds of the excesses, each sorted
};

// Sites that are alike move together where the scale grows, and those of which all of one kind are
// farther than all of another fall apart into groups with order weights of their own. The growth of
// all groups is a sum of gauges with factors in fractions: it is not negative if these are 0, if
// intervals say so, if each step from group to group counts with a sum of order weights that is not
// negative, or if each negative factor has its match at a gauge that is nowhere less. In a group of
// two kinds the difference of their growths is between bounds, and the sum, of which the excesses'
// bounds are kept, is linear in it but where two sites tie.
class far_order {
 public:
  explicit far_order(const problem& p);

  std::vector<alike_sites>& kinds() { return kinds_; }
  // Of the kinds as they are. `scale` may be infinite above.
  double least(const interval& scale);
  // The same by the orders that are possible, where each group is of one kind: by site what its
  // distance exceeds that of the base by, at places up to `s` and `t` from some place.
  double least_by_choices(const interval& scale, std::span<const far_excess> excess,
                          const interval& s, const interval& t);

 private:
  struct group {
    std::size_t first, last;  // in order_
    std::size_t rank, end;
  };
  using factors = std::vector<std::pair<std::size_t, mpq_class>>;  // by a kind that has the gauge

  const alike_sites& at(std::size_t k) const { return kinds_[order_[k]]; }
  interval weighted_growth(const alike_sites& k) const { return interval(k.weight) * k.growth; }
  interval growth_apart(std::size_t k, std::size_t l) const;
  std::vector<group> groups(const interval& scale);
  factors factors_of(const std::vector<group>& all) const;
  bool matched(factors f) const;
  interval steps_of(const std::vector<group>& all) const;
  double least_growth(const std::vector<group>& all) const;
  interval grown(const std::vector<group>& all, const interval& scale) const;
  double least_of(const group& g, const interval& scale) const;
  double least_by_bounds(const group& g, const interval& scale) const;
  double least_of_two(const group& g, const interval& scale) const;
  double sum_at(const group& g, const interval& shift) const;
  double weighed(std::size_t rank, std::vector<double> lower, std::vector<double> higher) const;

  std::vector<double> lambda_;
  std::vector<mpq_class> lambda_before_;  // summed up
  std::vector<alike_sites> kinds_;
  std::vector<std::vector<bool>> above_, gauge_above_;
  std::vector<std::size_t> order_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_FAR_ORDER_H_
