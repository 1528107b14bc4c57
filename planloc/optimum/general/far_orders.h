// The least ordered sum of excesses on a box of places far away, as the least over all orders that
// the sites may have there. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_FAR_ORDERS_H_
#define PLANLOC_OPTIMUM_GENERAL_FAR_ORDERS_H_

#include <cstddef>
#include <vector>

#include "planloc/optimum/general/far_view.h"

namespace planloc::detail {

class far_orders {
 public:
  struct candidate {
    far_view::changes excess;
    xy site;
  };

  // Kept by reference: the order weights. Excesses that differ by no more than the caution may be
  // in either order.
  far_orders(const std::vector<double>& lambda, const far_box& b, double caution)
      : lambda_(lambda),
        half_s_((b.s.high - b.s.low) / 2),
        wide_t_(b.t.high - b.t.low),
        caution_(caution) {}

  // The sites of a class: all are farther than those added before. Of one kind.
  void add(std::vector<candidate> sites);
  // Minus infinity if there are too many orders.
  double least();

 private:
  static constexpr std::size_t kMostOrders = 64;
  static constexpr std::size_t kMostSteps = 4096;

  struct rank_range {
    std::size_t begin, end;
  };

  void place(std::size_t rank, std::size_t from);
  void weigh();

  const std::vector<double>& lambda_;
  double half_s_;
  double wide_t_;
  double caution_;
  std::vector<candidate> sites_;     // class by class
  std::vector<rank_range> classes_;  // of each rank
  std::vector<char> follows_;        // by site: the one before is alike
  std::vector<char> placed_;
  std::vector<double> weight_;
  std::size_t orders_ = 0;
  std::size_t steps_ = 0;
  double least_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_FAR_ORDERS_H_
