// The sites' distances at places far from them, in intervals. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_FAR_PLACES_H_
#define PLANLOC_OPTIMUM_PROOF_FAR_PLACES_H_

#include <cstdint>
#include <vector>

#include "planloc/optimum/proof/far_axis.h"
#include "planloc/optimum/proof/far_order.h"

namespace planloc::detail {

// The places base + reach / t * y, with y on a side of the square of half side 1.
struct far_part {
  int side;    // right, top, left, bottom
  interval s;  // the coordinate of y along the side
  interval t;  // from 0 to 1
};

class far_places {
 public:
  // All sites are nearer to the base than `reach`, in either coordinate. Kept by reference: p.
  far_places(const problem& p, const fraction_pair& base, const mpq_class& reach);

  // A halving in t changes as much as one in s where its width is so many times that one.
  double slower() const { return slower_; }
  // A lower bound of f on the part.
  double least(const far_part& b);
  // Another one, for the part that `least` was asked about last: it is off by the square of the
  // part's size where the order of the sites is known.
  double least_by_slopes(const far_part& b);
  // Whether f is known to be nowhere less, near an axis and under one norm of which slopes leap
  // there.
  bool nowhere_below_near_axis(const far_part& b, double least) {
    return axis_.nowhere_below(least, b.side, b.s, scale(b));
  }

 private:
  static constexpr double kMostParts = 16;

  static interval_pair directions(const far_part& b);
  interval scale(const far_part& b) const;
  interval along_slopes(std::uint32_t gauge, const interval_pair& u, const interval_pair& a) const;
  interval excess(std::size_t i, const far_part& b) const;
  interval lp_excess(std::size_t i, const far_part& b) const;
  far_excess slopes_of_excess(std::size_t i, const far_part& b, double s) const;

  const problem& problem_;
  far_order order_;
  interval reach_;
  std::vector<interval_pair> from_base_;
  far_axis axis_;
  std::vector<std::vector<interval_pair>> normals_;  // by gauge
  std::vector<interval> on_part_;                    // by site: its excess on the last part
  double slower_ = 1;
};

// Holds f at a place, also where the roundings of the distances are more than what they differ by;
// the whole line if the place is not far from the sites.
interval value_far_away(const problem& p, const fraction_pair& at);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_FAR_PLACES_H_
