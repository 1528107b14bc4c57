// Several new facilities at once that exchange goods with each other: the multifacility Weber
// problem.
//
//   using namespace planloc;
//   const tied_problem p(2, {{.x = 0, .y = 0}, {.x = 4, .y = 0}, {.x = 1, .y = 3}}, {gauge::l1()},
//                        {1, 0, 2,    // weights of facility 0, one a site
//                         0, 3, 1},   // of facility 1
//                        {{.first = 0, .second = 1, .weight = 0.5}});
//   const tied_solution s = minimise(p);
//   const verification v = verify(p, s);
//
// With the sites a_i, the facilities x_j, and a gauge for each site and each tie:
//   f(x) = sum of weight_ji * gauge_i(x_j - a_i) over facilities j and sites i
//        + sum of weight_t * gauge_t(x_first - x_second) over ties t.
// f is convex. Every double in a problem means its exact value. Facilities, sites, gauges and ties
// are counted from 0.
//
// For one facility, or several of which each site uses the nearest alone, see minimise.h.
#ifndef PLANLOC_OPTIMUM_TIED_FACILITIES_H_
#define PLANLOC_OPTIMUM_TIED_FACILITIES_H_

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <stop_token>
#include <vector>

#include "planloc/optimum/problem.h"
#include "planloc/optimum/solution.h"
#include "planloc/optimum/verify.h"

namespace planloc {

struct tied_site {
  double x = 0;
  double y = 0;
  std::uint32_t gauge = 0;  // which of the problem's gauges
};

// weight * gauge(x_first - x_second).
struct tie {
  std::uint32_t first = 0;
  std::uint32_t second = 1;
  double weight = 1;        // 0 or positive
  std::uint32_t gauge = 0;  // which of the problem's gauges
};

class tied_problem {
 public:
  // `weights` has one row a facility and one column a site, row by row; each is 0 or positive. Any
  // number of ties may join a pair; their terms add up.
  //
  // Throws `bad_problem` if there is no facility or no site, a coordinate is above 1e36 in
  // magnitude, a weight is not 0 and not from 1e-36 to 1e36, the sites are neither at one place nor
  // 1e-36 apart, the number of weights does not fit, a gauge is not among `gauges`, or a tie joins
  // a facility that does not exist or one with itself.
  tied_problem(std::size_t facilities, std::vector<tied_site> sites, std::vector<gauge> gauges,
               std::vector<double> weights, std::vector<tie> ties);

  std::size_t facilities() const { return facilities_; }
  std::span<const tied_site> sites() const { return sites_; }
  std::span<const gauge> gauges() const { return gauges_; }
  std::span<const tie> ties() const { return ties_; }
  double weight(std::size_t facility, std::size_t site) const {
    return weights_[facility * sites_.size() + site];
  }
  std::span<const double> weights() const { return weights_; }

  // Whether every gauge that counts, with a weight above 0, is polyhedral.
  bool polyhedral() const { return polyhedral_; }

  // f in doubles, to a few units in the last place. REQUIRES: one place a facility.
  double value(std::span<const xy> places) const;

 private:
  std::size_t facilities_;
  std::vector<tied_site> sites_;
  std::vector<gauge> gauges_;
  std::vector<double> weights_;
  std::vector<tie> ties_;
  bool polyhedral_ = true;
};

// A slope of every term of f, without its weight and inside the polar of its unit ball, such that
// the slopes, taken `weight` times, cancel for each facility. Then
//   f(x) >= - sum of weight_ji * slope_ji . a_i   everywhere.
// The slope of a term of a facility and a site is that of the edge in force, under other gauges the
// tangent at the point, unless `bends` gives it.
//
// Where the status is `optimal` and all gauges are polyhedral the slopes cancel exactly. Else they
// cancel but for roundings, and the bound is less by what the rest can do.
struct tied_certificate {
  struct slope {
    xy rounded{0, 0};
    exact_point exact;  // empty if `rounded` is it
  };
  struct bend {
    std::uint32_t facility;
    std::uint32_t site;
    slope at;
  };

  std::vector<std::uint32_t> edge;  // facilities times sites, as the weights; 0 where not used
  std::vector<bend> bends;
  std::vector<slope> ties;  // one a tie
};

struct tied_counters {
  std::size_t rounds = 0;  // cuts of a network, or steps of Newton's method
  double seconds = 0;
};

// Of the value: the gap up to which a tied problem under gauges that are not polyhedral counts as
// solved.
inline constexpr double kOptimalTiedGap = 1e-9;

struct tied_solution {
  // `optimal`: polyhedral gauges: the gap is 0. Others: it is at most 1e-9 of the value.
  // `within_gap`: it is what was asked for, or doubles cannot narrow it further. `stopped`.
  solution_status status = solution_status::stopped;
  // One a facility. Facilities that no tie of positive weight joins, over others or none, to any
  // site of positive weight may lie anywhere: they are put at site 0.
  std::vector<xy> points;
  // Where points are the roundings of the places that the proof speaks of: one a facility, each
  // empty if its point is the place. Empty if all are.
  std::vector<exact_point> exact;
  double value = 0;
  double lower_bound = 0;
  tied_certificate proof;
  tied_counters counters;

  double gap() const { return value - lower_bound; }
};

// Throws `bad_problem` if a number here is not from 0 up.
struct tied_options {
  // The search ends when value - bound <= max(absolute_gap, relative_gap * value). With 0 for both
  // it ends where the gap is closed: as far as `optimal` promises.
  double relative_gap = 0;
  double absolute_gap = 0;
  double seconds = std::numeric_limits<double>::infinity();
  std::stop_token stop;
};

// Where all distances are l1, or all l-infinity: each coordinate by halving the range of its values
// at minimum cuts of a network of the facilities (Picard and Ratliff 1978), exactly. Other
// polyhedral gauges: a primal-dual interior-point method (Mehrotra 1992) in boxes that shrink
// around its places; the crossing that it comes near to, and the slopes, are then found in
// fractions. Others: Newton's method on smoothed distances; facilities that coincide with each
// other or with a site are put there.
tied_solution minimise(const tied_problem& p, const tied_options& options = {});

// As for one facility (verify.h): recomputes value and bound from the problem and the certificate
// alone, in fractions where the status is `optimal` and all gauges are polyhedral, else in
// intervals.
verification verify(const tied_problem& p, const tied_solution& s);

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_TIED_FACILITIES_H_
