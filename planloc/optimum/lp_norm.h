// The lp norm of many vectors at once, with its first and second derivatives, in doubles.
// Internal to the searches: what is claimed of a result is decided elsewhere.
#ifndef PLANLOC_OPTIMUM_LP_NORM_H_
#define PLANLOC_OPTIMUM_LP_NORM_H_

#include <array>
#include <cstddef>

namespace planloc::detail {

// Real p with 1 < p < infinity. With t the ratio of the smaller coordinate to the larger one, all
// is made from t^(p-1) and (1 + t^p)^(1/p), so each vector costs two powers. A vector of a call has
// the same results whatever stands beside it.
class lp_norm {
 public:
  // The most vectors a call.
  static constexpr std::size_t kChunk = 64;
  using chunk = std::array<double, kChunk>;

  lp_norm() = default;
  explicit lp_norm(double p);

  // Vectors as x[k], y[k], k < size.
  struct vectors {
    const double* x;
    const double* y;
    std::size_t size;
  };
  struct gradients {
    double* x;
    double* y;
  };
  // The Hessian is singular: the norm grows evenly along the vector. Unbounded for p < 2 where a
  // coordinate is 0, and where both are, not a number.
  struct hessians {
    double* xx;
    double* xy;
    double* yy;
  };

  // Whether the slope at a vector hangs on its last digits: p is large, and the vector points to a
  // corner of the unit ball, which is nearly a square.
  bool at_corner(double x, double y) const;

  void values(const vectors& u, double* norm) const;
  // At the origin the gradient is 0.
  void slopes(const vectors& u, double* norm, const gradients& g) const;
  void expand(const vectors& u, double* norm, const gradients& g, const hessians& h) const;

 private:
  struct parts;
  parts split(const vectors& u) const;
  void powers_by_roots(const chunk& t, std::size_t size, chunk& result) const;
  void powers_by_logarithms(const chunk& t, std::size_t size, chunk& result) const;
  void root(const chunk& s, std::size_t size, chunk& result) const;

  static constexpr std::size_t kTerms = 24;

  double p_ = 0;
  int half_powers_ = 0;                  // 2 (p - 1), where that is a small whole number
  std::array<double, kTerms> series_{};  // of root()
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_LP_NORM_H_
