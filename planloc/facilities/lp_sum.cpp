// The sum of lp distances: Weiszfeld's iteration on smoothed distances.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "planloc/facilities/bulk_powers.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/lp_candidates.h"
#include "planloc/facilities/planar_sites.h"
#include "planloc/facilities/wide_vectors.h"

namespace planloc {
namespace {

// The norm of a - b. `difference` is a location of dimension 2 that the call may write to, so that
// the planar case needs no memory.
double norm_of_difference(const location& a, const location& b, int p, location& difference) {
  if (a.dim() != 2 || b.dim() != 2) return (a - b).norm(p);
  difference[0] = a[0] - b[0];
  difference[1] = a[1] - b[1];
  return difference.norm(p);
}

double signed_power(double t, double exponent) {
  return (t >= 0.0 ? 1.0 : -1.0) * std::pow(std::fabs(t), exponent);
}

constexpr std::size_t kBlock = 128;

// The terms of both coordinates' quotients.
PLANLOC_WIDE_VECTORS
void divide(std::size_t n, const double* coordinate, const double* w, const double* both,
            const double* rest, double* numerators, double* denominators) {
  for (std::size_t i = 0; i < n; ++i) {
    const double r = both[i] * rest[i];
    numerators[i] = w[i] * coordinate[i] / r;
    denominators[i] = w[i] / r;
  }
}

// The sums of a step from x. Powers and quotients are found for kBlock sites at a time, so that the
// compiler makes vector instructions of them, and added up one by one in the order of the sites.
class step_sums {
 public:
  step_sums(int p, double delta, const detail::plane_xy& x) : p_(p), delta_(delta), x_(x) {}

  // The next n <= kBlock sites.
  void add(std::size_t n, const double* x, const double* y, const double* w) {
    for (std::size_t i = 0; i < n; ++i) {
      const double dx = x[i] - x_.x;
      const double dy = y[i] - x_.y;
      squares_[i] = dx * dx + delta_;
      squares_[n + i] = dy * dy + delta_;
    }
    compute_powers(n);
    double* const inner = inner_.data();
    double* const rest = rest_.data();
    divide(n, x, w, both_.data(), rest, inner, squares_.data());
    divide(n, y, w, both_.data(), rest + n, inner + n, squares_.data() + n);
    for (std::size_t i = 0; i < n; ++i) {
      numerator_.x += inner[i];
      numerator_.y += inner[n + i];
      denominator_.x += squares_[i];
      denominator_.y += squares_[n + i];
    }
  }

  detail::plane_xy quotient() const {
    return {numerator_.x / denominator_.x, numerator_.y / denominator_.y};
  }

 private:
  // t^(p / 2) and t^(1 - p / 2) of the squares t, and what both coordinates have in common.
  void compute_powers(std::size_t n) {
    if (p_ == 3) {
      using enum detail::bulk_exponent;
      detail::bulk_powers(kThreeHalves, 2 * n, squares_.data(), inner_.data());
      detail::bulk_powers(kMinusHalf, 2 * n, squares_.data(), rest_.data());
      for (std::size_t i = 0; i < n; ++i) sums_[i] = inner_[i] + inner_[n + i];
      return detail::bulk_powers(kTwoThirds, n, sums_.data(), both_.data());
    }
    const double half_p = p_ / 2.0;
    for (std::size_t i = 0; i < 2 * n; ++i) {
      inner_[i] = std::pow(squares_[i], half_p);
      rest_[i] = std::pow(squares_[i], 1.0 - half_p);
    }
    const double outer = 1.0 - 1.0 / p_;
    for (std::size_t i = 0; i < n; ++i) both_[i] = std::pow(inner_[i] + inner_[n + i], outer);
  }

  int p_;
  double delta_;
  detail::plane_xy x_;
  detail::plane_xy numerator_{0.0, 0.0};
  detail::plane_xy denominator_{0.0, 0.0};
  // Of both coordinates, one behind the other.
  std::array<double, 2 * kBlock> squares_;
  std::array<double, 2 * kBlock> inner_;
  std::array<double, 2 * kBlock> rest_;
  std::array<double, kBlock> sums_;
  std::array<double, kBlock> both_;
};

location step_over(const detail::planar_sites& sites, const location& x, int p, double delta) {
  step_sums sums(p, delta, {x[0], x[1]});
  for (std::size_t i = 0; i < sites.size(); i += kBlock) {
    sums.add(std::min(kBlock, sites.size() - i), &sites.x[i], &sites.y[i], &sites.w[i]);
  }
  return detail::labelled(sums.quotient(), 0.0);
}

// Most tests are left out, where they surely fail. All of them are made where more than planar
// coordinates count.
std::vector<bool> candidates(const facilities& F, int p, int k) {
  for (const location& a : F) {
    if (a.dim() != 2) return std::vector<bool>(static_cast<std::size_t>(F.size()), true);
  }
  return detail::lp_candidates(detail::planar_sites(F, k), p);
}

}  // namespace

double facilities::lp_sum(int p, double tol, double delta, int maxit, int k, bool clear) {
  if (clear) opt.clear();
  const std::vector<bool> may_be_optimal = candidates(*this, p, k);
  std::size_t number = 0;
  for (list_item it = first(); it; it = succ(it)) {
    if (may_be_optimal[number++] && lp_optimal(it, p, k)) {
      opt.append(contents(it));
      opt.tail().weight(0) = k;
      return result_value(p, k);
    }
  }
  const detail::planar_sites sites(*this, k);
  planloc::location next = detail::labelled(detail::centre_of_gravity(sites), 0.0);
  planloc::location old = next;
  int count = 0;
  do {
    old = next;
    next = step_over(sites, old, p, delta);
    ++count;
  } while (count != maxit && !((next - old).norm(p) < tol));

  next.weight(0) = k;
  if (count != maxit) {
    opt.append(next);
    return result_value(p, k);
  }
  old.weight(0) = k;
  const double value = objective(p, next, k);
  const double old_value = objective(p, old, k);
  if (old_value >= value) {
    opt.append(next);
    return value;
  }
  opt.append(old);
  return old_value;
}

location facilities::lp_step(planloc::location x, int p, double delta, int k) const {
  return step_over(detail::planar_sites(*this, k), x, p, delta);
}

int facilities::lp_optimal(list_item item, int p, int k) const {
  const planloc::location& a = contents(item);
  planloc::location difference(2, 1);
  double sx = 0.0;
  double sy = 0.0;
  for (list_item it = first(); it; it = succ(it)) {
    if (it == item) continue;
    const planloc::location& b = contents(it);
    const double w = b.weight(k);
    const double r = std::pow(norm_of_difference(a, b, p, difference), p - 1.0);
    sx += signed_power(a[0] - b[0], p - 1.0) * w / r;
    sy += signed_power(a[1] - b[1], p - 1.0) * w / r;
  }
  const double dual = p / (p - 1.0);
  const double total =
      std::pow(std::pow(std::fabs(sx), dual) + std::pow(std::fabs(sy), dual), (p - 1.0) / p);
  return total <= a.weight(k) ? 1 : 0;
}

}  // namespace planloc
