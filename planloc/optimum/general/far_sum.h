// The least ordered sum of distances on a box that reaches to infinity. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_FAR_SUM_H_
#define PLANLOC_OPTIMUM_GENERAL_FAR_SUM_H_

#include <gmpxx.h>

#include <cstddef>
#include <utility>
#include <vector>

#include "planloc/optimum/general/far_view.h"

namespace planloc::detail {

// Kinds that grow so differently that all sites of one are farther than all of the other fall apart
// into classes, each with its own order weights. What the classes grow by together must not fall
// without end; it is added up by gauges, without loss, so that it is known to cancel. Within a
// class the difference of two kinds' growths may be anything between bounds, infinite ones
// included; the ordered sum is piecewise linear in it.
class far_sum {
 public:
  far_sum(const problem& p, const distance_table& table, const far_view& view);

  // A lower bound of f on the box that the view looked at last; minus infinity if none is known.
  double least(const far_box& b);
  // The same from the orders that are possible, if each class is of one kind, for the box that was
  // asked about last: off by the square of its size where there is one order.
  double least_of_orders(const far_box& b);

 private:
  struct kind_class {
    std::size_t first, last;  // in order_
    std::size_t rank, end;    // of the sites
  };
  struct share {  // of what all classes grow by
    std::size_t kind;
    mpq_class factor;
  };

  const far_kind& kind(std::size_t k) const { return view_.kinds()[order_[k]]; }
  low_high growth_apart(std::size_t k, std::size_t l) const;
  low_high distance_apart(std::size_t k, std::size_t l) const;
  void find_classes();
  void add_up_growths();
  double least_growth() const;
  double growth_by_steps() const;
  bool growths_cancel() const;
  double sum_of_class(const kind_class& c);
  double sum_of_bounds(const kind_class& c);
  double sum_of_two(const kind_class& c);
  bool find_kinks(const kind_class& c, const low_high& apart);
  double sum_shifted(const kind_class& c, double shift);
  double weighted(std::size_t rank);

  const far_view& view_;
  double caution_ = 0;
  std::vector<double> lambda_;
  std::vector<mpq_class> sum_before_;  // of the order weights
  // By kind: whether the one's weighted gauge, or its gauge, is nowhere less than the other's.
  std::vector<std::vector<char>> covers_, gauge_covers_;
  // Of the box at hand.
  double near_ = 0, far_ = 0;  // reach / t
  double grown_ = 0;           // of all classes together, at least
  std::vector<std::size_t> order_;
  std::vector<kind_class> classes_;
  std::vector<share> growths_;
  std::vector<double> low_, high_, shifts_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_FAR_SUM_H_
