// The sum of lp distances: Weiszfeld's iteration on smoothed distances.
#include <cmath>
#include <cstddef>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/lp_candidates.h"
#include "planloc/facilities/planar_sites.h"

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
  planloc::location next =
      detail::labelled(detail::centre_of_gravity(detail::planar_sites(*this, k)), 0.0);
  planloc::location old = next;
  int count = 0;
  do {
    old = next;
    next = lp_step(old, p, delta, k);
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
  const double half_p = p / 2.0;
  const double outer = 1.0 - 1.0 / p;
  double numerator[2] = {0.0, 0.0};
  double denominator[2] = {0.0, 0.0};
  for (const planloc::location& a : *this) {
    const double difference[2] = {a[0] - x[0], a[1] - x[1]};
    const double t1 = std::pow(difference[0] * difference[0] + delta, half_p);
    const double t2 = std::pow(difference[1] * difference[1] + delta, half_p);
    const double both = std::pow(t1 + t2, outer);
    const double w = a.weight(k);
    for (int c = 0; c < 2; ++c) {
      const double t3 = std::pow(difference[c] * difference[c] + delta, 1.0 - half_p);
      const double r = both * t3;
      numerator[c] += w * a[c] / r;
      denominator[c] += w / r;
    }
  }
  return detail::labelled({numerator[0] / denominator[0], numerator[1] / denominator[1]}, 0.0);
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
