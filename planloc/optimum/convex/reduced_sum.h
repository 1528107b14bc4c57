// A weighted sum of polyhedral distances where the search has come down to a small box: the sites
// that are linear on it are one affine function, so an evaluation costs what the others cost.
// Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_REDUCED_SUM_H_
#define PLANLOC_OPTIMUM_CONVEX_REDUCED_SUM_H_

#include <algorithm>
#include <memory>

#include "planloc/optimum/evaluate.h"

namespace planloc::detail {

struct place_box {
  xy low, high;

  bool holds(const xy& at) const {
    return low.x <= at.x && at.x <= high.x && low.y <= at.y && at.y <= high.y;
  }
  double size() const { return std::max(high.x - low.x, high.y - low.y); }
};

class reduced_sum {
 public:
  // Of no use, and then does nothing, unless the gauges are polyhedral, the order weights equal and
  // the sites more than few.
  reduced_sum(const problem& p, const distance_table& table, evaluator& all, std::size_t few);

  bool useful() const { return useful_; }
  // f and a subgradient; places outside the box are evaluated with all sites.
  evaluation operator()(const xy& at);
  // The search stays within `b` from now on.
  void narrow(const place_box& b);

 private:
  const distance_table& sites() const { return rest_ ? rest_->table : table_; }

  struct remainder {
    remainder(const problem& p, distance_table t) : table(std::move(t)), evaluate(p, table) {}

    distance_table table;
    evaluator evaluate;
  };

  const problem& problem_;
  const distance_table& table_;
  evaluator& all_;
  std::size_t few_;
  bool useful_;
  double last_size_;
  place_box box_{};
  evaluation fixed_{};               // the affine function: value and slope at a place
  std::unique_ptr<remainder> rest_;  // the sites that are left; all if there is none
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_REDUCED_SUM_H_
