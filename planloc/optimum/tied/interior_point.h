// A primal-dual interior-point method for tied facilities under polyhedral gauges (Mehrotra 1992).
// Internal.
//
// minimise sum of w t subject to t >= normal_e . (x_first - x_second - at) for each edge e of each
// term. The slacks s, and multipliers m with sum m = w for each term, stay positive; the slope of a
// term is the sum of m_e normal_e, inside the polar of its unit ball. Only the places are coupled,
// so each step solves equations of two numbers a facility.
#ifndef PLANLOC_OPTIMUM_TIED_INTERIOR_POINT_H_
#define PLANLOC_OPTIMUM_TIED_INTERIOR_POINT_H_

#include <vector>

#include "planloc/optimum/tied/normal_equations.h"
#include "planloc/optimum/tied/part_terms.h"

namespace planloc::detail {

class interior_point {
 public:
  explicit interior_point(const part_terms& terms);

  // False if the step was as good as none.
  bool step();

  // The sum of slacks times multipliers, and of the terms: in the units of the terms.
  double gap() const { return gap_; }
  double value() const { return value_; }
  // The largest rest of a facility's slopes.
  double rest() const { return rest_; }
  const std::vector<xy>& places() const { return places_; }
  std::span<const double> slacks(std::size_t term) const {
    return {slack_.data() + first_[term], first_[term + 1] - first_[term]};
  }
  std::span<const double> multipliers(std::size_t term) const {
    return {multiplier_.data() + first_[term], first_[term + 1] - first_[term]};
  }

 private:
  // Of a term: counted from the edge with the largest ratio of multiplier to slack, so that nothing
  // cancels where one edge is in force.
  struct pivot {
    std::uint32_t edge;
    double ratios;   // their sum
    xy ratio_slope;  // the sum of ratio times normal, counted from the pivot's
  };
  struct step_lengths {
    double slack = 1;
    double multiplier = 1;
  };

  void start(double target);
  void measure();
  void assemble();
  std::vector<double> right_side(double target, bool corrected) const;
  double complement(std::size_t e, double target, bool corrected) const;
  void spread(std::span<const double> move, double target, bool corrected);
  step_lengths longest_step() const;
  double gap_after(const step_lengths& a) const;

  const part_terms& terms_;
  normal_equations equations_;
  std::vector<xy> places_;
  std::vector<std::uint32_t> first_;  // of each term, in the arrays below
  std::vector<double> slack_, multiplier_, slack_step_, multiplier_step_;
  std::vector<pivot> pivots_;
  std::vector<double> slopes_;  // two a facility: what is left over
  double gap_ = 0;
  double value_ = 0;
  double rest_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_INTERIOR_POINT_H_
