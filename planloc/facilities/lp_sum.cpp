// The sum of lp distances: Weiszfeld's iteration on smoothed distances.
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/half_powers.h"
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

// For some sites at a time: t^(p / 2) and t^(1 - p / 2) of the smoothed squares t of their
// differences in both coordinates, one behind the other.
class smoothed_powers {
 public:
  explicit smoothed_powers(int p) : p_(p) {}

  void clear() { size_ = 0; }
  bool is_full() const { return size_ == kMost; }
  void append(double tx, double ty) {
    squares_[size_++] = tx;
    squares_[size_++] = ty;
  }
  void compute() {
    if (p_ == 3) return detail::half_powers(size_, squares_.data(), inner_.data(), rest_.data());
    const double half_p = p_ / 2.0;
    for (std::size_t i = 0; i < size_; ++i) {
      inner_[i] = std::pow(squares_[i], half_p);
      rest_[i] = std::pow(squares_[i], 1.0 - half_p);
    }
  }
  double inner(std::size_t i) const { return inner_[i]; }
  double rest(std::size_t i) const { return rest_[i]; }

 private:
  static constexpr std::size_t kMost = 256;

  int p_;
  std::size_t size_ = 0;
  std::array<double, kMost> squares_;
  std::array<double, kMost> inner_;
  std::array<double, kMost> rest_;
};

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
  const double outer = 1.0 - 1.0 / p;
  smoothed_powers powers(p);
  double numerator[2] = {0.0, 0.0};
  double denominator[2] = {0.0, 0.0};
  for (list_item block = first(); block;) {
    list_item it = block;
    powers.clear();
    for (; it && !powers.is_full(); it = succ(it)) {
      const planloc::location& a = contents(it);
      const double difference[2] = {a[0] - x[0], a[1] - x[1]};
      powers.append(difference[0] * difference[0] + delta, difference[1] * difference[1] + delta);
    }
    powers.compute();
    std::size_t i = 0;
    for (; block != it; block = succ(block), i += 2) {
      const planloc::location& a = contents(block);
      const double both = std::pow(powers.inner(i) + powers.inner(i + 1), outer);
      const double w = a.weight(k);
      for (std::size_t c = 0; c < 2; ++c) {
        const double r = both * powers.rest(i + c);
        numerator[c] += w * a[static_cast<int>(c)] / r;
        denominator[c] += w / r;
      }
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
