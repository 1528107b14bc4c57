// The sum of weighted Euclidean and lp distances with its derivatives, in doubles, fast. Internal
// to the searches: what is claimed of a result is decided elsewhere.
#ifndef PLANLOC_OPTIMUM_CONVEX_SMOOTH_SUM_H_
#define PLANLOC_OPTIMUM_CONVEX_SMOOTH_SUM_H_

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "planloc/optimum/lp_norm.h"
#include "planloc/optimum/problem.h"

namespace planloc::detail {

// A sum at a place with its first and second derivatives.
struct expansion {
  xy at{0, 0};
  double value = 0;
  xy slope{0, 0};
  double xx = 0, xy_ = 0, yy = 0;
  double steepness = 0;  // the length of the slope, or a bound of it
  // The sum of weight / distance^2, distances without weights; infinite unless all are Euclidean.
  double bend = 0;
};

// Reads the sites of the problem where they are, unless they have several gauges: no memory for
// each. Places are relative to `base`, so that close sites far from the origin lose nothing; no
// site's relative position is rounded.
class smooth_sum {
 public:
  // Every gauge that a site uses is Euclidean or lp.
  explicit smooth_sum(const problem& p);

  const xy& base() const { return base_; }
  double weights() const { return weights_; }    // of all sites
  double lightest() const { return lightest_; }  // of the weights
  const xy& mean() const { return mean_; }       // weighted

  // Of a site under an lp distance with p below 1.5. Straight above or beside it second derivatives
  // grow without end; near there its slope across is pull * |offset|^power, in the direction of the
  // offset.
  struct near_axis {
    double offset = 0;
    double power = 1;  // p - 1
    double pull = 0;   // 0 if there is none
  };
  // The nearest ones in x and in y, of each `step`-th site.
  std::array<near_axis, 2> near_axes(const xy& at, std::size_t step = 1) const;

  // Of each `step`-th site.
  expansion expand(const xy& at, std::size_t step = 1) const;

 private:
  struct block {  // sites with one gauge
    bool euclidean;
    lp_norm norm;
    double p;
    std::span<const site> sites;
  };

  void find_blocks(const problem& p);
  void find_mean();

  xy base_;
  double weights_ = 0;
  double lightest_ = 0;
  xy mean_{0, 0};
  std::vector<site> sorted_;  // by gauge, where there are several
  std::vector<block> blocks_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_SMOOTH_SUM_H_
