// The Euclidean sum: Weiszfeld's iteration and the test of a facility for optimality.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/planar_sites.h"

namespace planloc {
namespace {

using detail::planar_sites;
using detail::plane_xy;

// Nearer facilities are tested for optimality.
constexpr double kNearDistance = 0.1;
// Facilities nearer than this to the tested one do not pull at it.
constexpr double kSkipDistance = 0.001;

// Notices that an iteration has come back to a point where it was before, and so never ends by
// itself (Brent, 1980): rounding can leave a few points that follow each other for ever.
class cycle_watch {
 public:
  bool returned(const plane_xy& p) {
    if (p.x == mark_.x && p.y == mark_.y) return true;
    if (--until_next_mark_ == 0) {
      mark_ = p;
      until_next_mark_ = distance_ *= 2;
    }
    return false;
  }

 private:
  plane_xy mark_{std::numeric_limits<double>::quiet_NaN(), 0.0};
  long distance_ = 1;
  long until_next_mark_ = 1;
};

// Whether `own` weight at (x, y) outweighs the pull of the others.
bool outweighs(const planar_sites& others, double x, double y, double own) {
  double rx = 0.0;
  double ry = 0.0;
  for (std::size_t i = 0; i < others.size(); ++i) {
    const double d = detail::euclidean_distance(x, y, others.x[i], others.y[i]);
    if (d > kSkipDistance) {
      rx += (x - others.x[i]) * others.w[i] / d;
      ry += (y - others.y[i]) * others.w[i] / d;
    }
  }
  return !(own * own < rx * rx + ry * ry);
}

}  // namespace

double facilities::l2_sum(double eps) { return l2_sum(0, eps, true); }

double facilities::l2_sum(int k, double eps, bool clear) {
  if (clear) opt.clear();
  const planar_sites sites(*this, k);
  const planar_sites others(*this, 0);
  std::vector<bool> seen(sites.size(), false);
  plane_xy next = detail::centre_of_gravity(sites);
  cycle_watch watch;
  for (;;) {
    const plane_xy old = next;
    double sx = 0.0;
    double sy = 0.0;
    double s = 0.0;
    for (std::size_t i = 0; i < sites.size(); ++i) {
      const double d = detail::euclidean_distance(old.x, old.y, sites.x[i], sites.y[i]);
      if (d < kNearDistance && !seen[i]) {
        seen[i] = true;
        if (outweighs(others, sites.x[i], sites.y[i], sites.w[i])) {
          opt.append(contents(get_item(static_cast<int>(i))));
          opt.tail().weight(0) = k;
          return result_value(2, k);
        }
      }
      sx += sites.w[i] * sites.x[i] / d;
      sy += sites.w[i] * sites.y[i] / d;
      s += sites.w[i] / d;
    }
    next = {sx / s, sy / s};
    const double step = detail::euclidean_distance(next.x, next.y, old.x, old.y);
    // The last two would go on for ever: a point that is not a number stays none.
    if (step < eps || std::isnan(step) || watch.returned(next)) break;
  }
  opt.append(detail::labelled(next, k));
  return result_value(2, k);
}

int facilities::l2_optimal(const planloc::location& a, int k) const {
  // Weight 0 of the others, whatever k is: intended.
  return outweighs(planar_sites(*this, 0), a[0], a[1], a.weight(k)) ? 1 : 0;
}

int facilities::l2_optimal(const planloc::location& a) const { return l2_optimal(a, 0); }

}  // namespace planloc
