// Newton's equations for the places of tied facilities: one 2 x 2 block a pair, solved by block
// elimination without differences (Grassmann, Taksar and Heyman 1985): what the sites hold is kept
// apart from the ties, so that it is not lost where ties are heavier by orders of magnitude.
// Internal.
#ifndef PLANLOC_OPTIMUM_TIED_NORMAL_EQUATIONS_H_
#define PLANLOC_OPTIMUM_TIED_NORMAL_EQUATIONS_H_

#include <algorithm>
#include <span>
#include <vector>

#include "planloc/optimum/tied/part_terms.h"

namespace planloc::detail {

struct symmetric_2x2 {
  double xx = 0;
  double xy = 0;
  double yy = 0;
};

class normal_equations {
 public:
  explicit normal_equations(std::size_t facilities)
      : size_(facilities), sites_(size_), ties_(size_ * size_), inverse_(size_) {}

  void clear() {
    std::fill(sites_.begin(), sites_.end(), block{});
    std::fill(ties_.begin(), ties_.end(), block{});
  }
  // Adds the curvature of a term.
  void add(const part_term& t, const symmetric_2x2& h);
  void factor();
  // The solution for a right side, two numbers a facility.
  std::vector<double> solve(std::span<const double> right) const;

 private:
  struct block {
    double xx = 0;
    double xy = 0;
    double yx = 0;
    double yy = 0;
  };

  friend block operator*(const block& a, const block& b) {
    return {a.xx * b.xx + a.xy * b.yx, a.xx * b.xy + a.xy * b.yy,  //
            a.yx * b.xx + a.yy * b.yx, a.yx * b.xy + a.yy * b.yy};
  }
  friend block transposed(const block& a) { return {a.xx, a.yx, a.xy, a.yy}; }
  static void add(block& a, const block& b) {
    a = {a.xx + b.xx, a.xy + b.xy, a.yx + b.yx, a.yy + b.yy};
  }
  static void add_product(double* to, const block& a, const double* v) {
    to[0] += a.xx * v[0] + a.xy * v[1];
    to[1] += a.yx * v[0] + a.yy * v[1];
  }
  static block inverse(const block& d);

  std::size_t size_;
  // The matrix has a block -tie beside the diagonal, and on it the sum of the site block and the
  // ties of its row.
  std::vector<block> sites_;
  std::vector<block> ties_;  // the lower triangle, row by row
  // After the elimination of a column: the sites' blocks, the ties of later rows to it, the same
  // times the inverse of its diagonal block, and that inverse.
  std::vector<block> rest_, factor_, left_, inverse_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_NORMAL_EQUATIONS_H_
