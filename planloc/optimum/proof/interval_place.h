// An ordered median, and affine functions below it, seen from one place in intervals. Internal to
// `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_INTERVAL_PLACE_H_
#define PLANLOC_OPTIMUM_PROOF_INTERVAL_PLACE_H_

#include <gmpxx.h>

#include <cstddef>
#include <vector>

#include "planloc/optimum/proof/gauge_interval.h"
#include "planloc/optimum/proof/verify_parts.h"

namespace planloc::detail {

// A coordinate less those of sites, with their last bits or nearly so.
class coordinate {
 public:
  explicit coordinate(mpq_class at);

  interval from(double site) const;

 private:
  mpq_class at_;
  double near_;
  interval rest_;
};

class interval_place {
 public:
  interval_place(const problem& p, const fraction_pair& at);

  // f at the place.
  interval value() const;

  // A piece as an affine function: its value at the place and its slope. `base` is the one of the
  // piece's certificate.
  struct affine {
    interval value;
    interval_pair slope;
  };
  affine seen(const affine_piece& piece, const xy& base) const;

  // With the ranks of a piece as fixed order, f(x) >= sum of lambda w gauge(x - a) >= sum of lambda
  // w (gauge(x - place) - gauge(a - place)), and gauge(u) >= |u| / radius of the ball: so f(x) >=
  // pull |x - place| - back.
  struct growth {
    interval pull;
    interval back;
  };
  growth far_away(const affine_piece& piece) const;

 private:
  double weight_of(const affine_piece& piece, std::size_t i) const {
    const std::size_t k = piece.rank.empty() ? 0 : piece.rank[i];
    return lambda_.empty() ? problem_.lambda(k) : lambda_[k];
  }
  interval_pair offset(std::size_t i) const {  // place - site
    return {x_.from(problem_.sites()[i].x), y_.from(problem_.sites()[i].y)};
  }
  interval distance(std::size_t i) const {
    return gauge_value(problem_.gauge_of(i), offset(i)) * problem_.sites()[i].weight;
  }

  const problem& problem_;
  std::vector<double> lambda_;  // empty where few order weights differ
  coordinate x_, y_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_INTERVAL_PLACE_H_
