// Sites with two weights each, and so two objectives f_1 and f_2: what efficient_set.h and
// efficient_polyline.h solve.
#ifndef PLANLOC_OPTIMUM_BICRITERIA_PROBLEM_H_
#define PLANLOC_OPTIMUM_BICRITERIA_PROBLEM_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/problem.h"

namespace planloc {

struct bicriteria_site {
  double x = 0;
  double y = 0;
  double weight1 = 1;  // not negative; at most one of the two is 0
  double weight2 = 1;
  std::uint32_t gauge = 0;  // which of the problem's gauges
};

// Criterion k, counted from 0, is f_(k+1)(x) = the ordered median of the distances weight_(k+1) *
// gauge(x - site): the plain sum unless order weights are given.
class bicriteria_problem {
 public:
  // Throws `bad_problem` as `problem` does, and if a weight is neither 0 nor from 1e-36 to 1e36,
  // both weights of a site are 0, or order weights do not rise from 0 or more.
  bicriteria_problem(std::vector<bicriteria_site> sites, std::vector<gauge> gauges,
                     const order_weights& first = order_weights::median(),
                     const order_weights& second = order_weights::median());

  std::span<const bicriteria_site> sites() const { return sites_; }
  std::span<const gauge> gauges() const { return gauges_; }
  const gauge& gauge_of(std::size_t i) const { return gauges_[sites_[i].gauge]; }
  double weight(std::size_t criterion, std::size_t i) const {
    return criterion == 0 ? sites_[i].weight1 : sites_[i].weight2;
  }
  // Whether every gauge that a site uses is polyhedral.
  bool polyhedral() const { return polyhedral_; }
  std::span<const order_run> runs(std::size_t criterion) const { return runs_[criterion]; }
  // Whether all order weights of both criteria are 1.
  bool plain_sums() const;

  // Criterion 0 or 1 alone, on the sites that it knows: those with a weight in it, in order. The
  // others have the distance 0, so they take the first order weights. Throws if there is none.
  problem criterion(std::size_t k) const;

  // f_1 and f_2 in doubles, to a few units in the last place.
  std::array<double, 2> values(xy at) const;

 private:
  std::vector<bicriteria_site> sites_;
  std::vector<gauge> gauges_;
  std::array<std::vector<order_run>, 2> runs_;
  bool polyhedral_ = false;
};

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_BICRITERIA_PROBLEM_H_
