// What ends a search among candidates: the selection of those with the least sum of gauge
// distances.
#ifndef PLANLOC_FACILITIES_BEST_CANDIDATES_H_
#define PLANLOC_FACILITIES_BEST_CANDIDATES_H_

#include "planloc/facilities/flat_gauged_sites.h"

namespace planloc::detail {

enum class standing { worse, tied, better };

// Compares candidates, one after the other, with the least value so far.
class best_candidates {
 public:
  best_candidates(const flat_gauged_sites& sites, const plane_xy& x0, double best)
      : sites_(&sites), x0_(x0), slope_(sites.gradient(x0.x, x0.y)), best_(best) {}

  // The least value so far, the one given at the beginning included.
  double best() const { return best_; }

  // Where c stands. One on the ascending side of x0, by the gradient there, is worse than all; a
  // better one takes the place of all before it.
  standing offer(const plane_xy& c) {
    // The sum has the order of the dot product of `vector`.
    const double ascent = slope_.y * (c.y - x0_.y) + slope_.x * (c.x - x0_.x);
    if (ascent > 0.0) return standing::worse;
    const double v = sites_->value(c.x, c.y);
    if (v == best_) return standing::tied;
    if (!(v < best_)) return standing::worse;
    best_ = v;
    return standing::better;
  }

 private:
  const flat_gauged_sites* sites_;
  plane_xy x0_;
  plane_xy slope_;
  double best_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_BEST_CANDIDATES_H_
