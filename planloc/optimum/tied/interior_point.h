// A primal-dual interior-point method for tied facilities under polyhedral gauges (Mehrotra 1992).
// Internal.
//
// minimise sum of w t, and of the terms that are straight, subject to t >= normal_e . (x_first -
// x_second - at) for each edge e of each near term. The slacks s, and multipliers m with sum m = w
// for each term, stay positive; the slope of a term is the sum of m_e normal_e, inside the polar of
// its unit ball. Only the places are coupled, so each step solves equations of two numbers a
// facility.
#ifndef PLANLOC_OPTIMUM_TIED_INTERIOR_POINT_H_
#define PLANLOC_OPTIMUM_TIED_INTERIOR_POINT_H_

#include <vector>

#include "planloc/optimum/tied/near_terms.h"
#include "planloc/optimum/tied/normal_equations.h"

namespace planloc::detail {

class interior_point {
 public:
  // REQUIRES: a term. From places so good that the first gap is about this share of the value. The
  // products of slack and multiplier aim at numbers in proportion to this power of their term's
  // weight: with 0 facilities that little holds go far astray on the way, with 1 all come near
  // their places at once, in more steps.
  interior_point(near_terms terms, std::vector<xy> places, double gap, double power);

  // The slacks and multipliers of ties from another search, where their edges are the same.
  void take_ties(const interior_point& from);

  // False if the step was as good as none.
  bool step();
  // Leaves out what cannot matter where no coordinate differs by `radius` from the present places,
  // if something is left.
  void narrow(double radius);

  const near_terms& terms() const { return terms_; }

  // The sum of slacks times multipliers, and what the multipliers make of the terms: in the units
  // of the terms.
  double gap() const { return gap_; }
  double value() const { return value_; }
  // The largest change of a coordinate in the last step.
  double moved() const { return moved_; }
  // The largest number of the slopes that do not cancel.
  double rest() const;
  const std::vector<xy>& places() const { return places_; }
  double slack(std::size_t term, std::size_t edge) const { return slack_[entry(term, edge)]; }
  double multiplier(std::size_t term, std::size_t edge) const {
    return multiplier_[entry(term, edge)];
  }

 private:
  // Terms with as many edges, of sites of one facility or of ties. Their numbers stand edge by
  // edge, so that the same steps are done for many terms at once.
  struct block {
    std::uint32_t begin, count, edges;
    std::size_t at;
  };
  struct step_lengths {
    double slack = 1;
    double multiplier = 1;
  };

  std::size_t entry(std::size_t term, std::size_t edge) const {
    return first_[term] + edge * blocks_[block_of_[term]].count;
  }
  const part_term& term(std::size_t k) const { return terms_.terms[k].term; }
  xy offset(std::size_t k) const { return part_terms::offset(term(k), places_); }
  void make_blocks();
  void copy_terms();
  void start(double unit);
  void find_pivots(const block& b);
  void add_curvature(const block& b, std::vector<double>& right);
  std::vector<double> assemble();
  double gap_ratio_of_predictor(std::span<const double> move);
  std::vector<double> right_side(double target);
  step_lengths spread(std::span<const double> move, double target);
  void advance(const step_lengths& a);
  void moves_of(const block& b, std::span<const double> move, double* x, double* y) const;
  void add_slopes(const block& b, const double* x, const double* y, std::vector<double>& to) const;

  near_terms terms_;
  normal_equations equations_;
  std::vector<xy> places_;
  std::vector<block> blocks_;
  std::vector<std::uint32_t> block_of_;
  std::vector<std::size_t> first_;  // of each term: where its first edge's numbers stand
  std::vector<double> normal_x_, normal_y_;
  std::vector<double> slack_, multiplier_, inverse_, slack_step_, multiplier_step_;
  // Of each term. Slopes are counted from the pivot, the edge with the largest ratio of multiplier
  // to slack, so that nothing cancels where one edge is in force.
  std::vector<std::uint32_t> pivot_;
  std::vector<double> weight_;
  double power_;
  std::vector<double> aim_;                // the weight to that power
  double aims_ = 0;                        // the sum over all products
  std::vector<double> pivot_x_, pivot_y_;  // its normal
  std::vector<double> ratios_;             // the sum of the ratios
  std::vector<double> ratio_x_, ratio_y_;  // the sum of ratio times normal, from the pivot's
  std::vector<double> complement_;
  std::vector<double> slopes_;  // two a facility: what is left over
  double gap_ = 0;
  double value_ = 0;
  double moved_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_INTERIOR_POINT_H_
