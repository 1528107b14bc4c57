// The Euclidean sum: Weiszfeld's iteration and the test of a facility for optimality.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/planar_sites.h"
#include "planloc/facilities/wide_vectors.h"

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

constexpr std::size_t kBlock = 64;

struct quotients {
  double d[kBlock];
  double x[kBlock];
  double y[kBlock];
  double w[kBlock];
};

// Distances from p, and the terms of the sums, of kBlock sites. Whether one of them is near.
PLANLOC_WIDE_VECTORS
bool divide(const plane_xy& p, const double* x, const double* y, const double* w, quotients& q) {
  for (std::size_t t = 0; t < kBlock; ++t) {
    const double dx = p.x - x[t];
    const double dy = p.y - y[t];
    const double d = std::sqrt(dx * dx + dy * dy);
    q.d[t] = d;
    q.x[t] = w[t] * x[t] / d;
    q.y[t] = w[t] * y[t] / d;
    q.w[t] = w[t] / d;
  }
  double nearest = q.d[0];
  for (std::size_t t = 1; t < kBlock; ++t) nearest = q.d[t] < nearest ? q.d[t] : nearest;
  return nearest < kNearDistance;
}

// Weiszfeld's iteration. Each step works on blocks of facilities of a fixed size, so that the
// compiler makes vector instructions of the roots and divisions, and adds up the quotients one by
// one in the order of the facilities.
class weiszfeld {
 public:
  weiszfeld(const list<location>& locations, int k)
      : locations_(locations), k_(k), sites_(locations, k), seen_(sites_.size(), false) {}

  plane_xy start() const { return detail::centre_of_gravity(sites_); }

  // The next iterate, or the number of an optimal facility that is near p.
  std::optional<std::size_t> step(const plane_xy& p, plane_xy& next) {
    double sx = 0.0;
    double sy = 0.0;
    double s = 0.0;
    for (std::size_t start = 0; start < sites_.size(); start += kBlock) {
      const std::size_t count = std::min(kBlock, sites_.size() - start);
      quotients q;
      if (divide_from(p, start, count, q)) {
        for (std::size_t t = 0; t < count; ++t) {
          if (q.d[t] < kNearDistance && is_optimal(start + t)) return start + t;
        }
      }
      for (std::size_t t = 0; t < count; ++t) {
        sx += q.x[t];
        sy += q.y[t];
        s += q.w[t];
      }
    }
    next = {sx / s, sy / s};
    return std::nullopt;
  }

 private:
  bool divide_from(const plane_xy& p, std::size_t start, std::size_t count, quotients& q) const {
    const double* const x = sites_.x.data() + start;
    const double* const y = sites_.y.data() + start;
    const double* const w = sites_.w.data() + start;
    if (count == kBlock) return divide(p, x, y, w, q);
    // What fills up the last block is not added, so it may be anything.
    double last[3][kBlock] = {};
    std::copy(x, x + count, last[0]);
    std::copy(y, y + count, last[1]);
    std::copy(w, w + count, last[2]);
    return divide(p, last[0], last[1], last[2], q);
  }

  // Once for each facility.
  bool is_optimal(std::size_t i) {
    if (seen_[i]) return false;
    seen_[i] = true;
    if (k_ != 0 && !others_) others_.emplace(locations_, 0);
    return outweighs(k_ == 0 ? sites_ : *others_, sites_.x[i], sites_.y[i], sites_.w[i]);
  }

  const list<location>& locations_;
  int k_;
  planar_sites sites_;
  std::optional<planar_sites> others_;  // with weight 0, made when the first one is near
  std::vector<bool> seen_;
};

}  // namespace

double facilities::l2_sum(double eps) { return l2_sum(0, eps, true); }

double facilities::l2_sum(int k, double eps, bool clear) {
  if (clear) opt.clear();
  weiszfeld iteration(*this, k);
  plane_xy next = iteration.start();
  cycle_watch watch;
  for (;;) {
    const plane_xy old = next;
    if (const std::optional<std::size_t> optimal = iteration.step(old, next)) {
      opt.append(contents(get_item(static_cast<int>(*optimal))));
      opt.tail().weight(0) = k;
      return result_value(2, k);
    }
    const double length = detail::euclidean_distance(next.x, next.y, old.x, old.y);
    // The last two would go on for ever: a point that is not a number stays none.
    if (length < eps || std::isnan(length) || watch.returned(next)) break;
  }
  opt.append(detail::labelled(next, k));
  return result_value(2, k);
}

int facilities::l2_optimal(const planloc::location& a, int k) const {
  // Weight 0 of the others, whatever k is: intended, kept as callers know it.
  return outweighs(planar_sites(*this, 0), a[0], a[1], a.weight(k)) ? 1 : 0;
}

int facilities::l2_optimal(const planloc::location& a) const { return l2_optimal(a, 0); }

}  // namespace planloc
