#include "planloc/foundation/geometry/closed_chain.h"

#include <cstddef>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/geometry/exact_orientation.h"

namespace planloc::detail {
namespace {

bool goes_up(const xy& a, const xy& b) { return a.y < b.y || (a.y == b.y && a.x < b.x); }

// A chain whose turns are all to the left and that goes upward only once is the boundary of a
// convex polygon: the directions of its edges turn by a full circle.
// REQUIRES: finite corners.
bool is_strictly_convex(closed_chain chain) {
  const std::size_t k = chain.size();
  if (k < 3) return false;
  int begins_to_rise = 0;
  bool rose = goes_up(chain[k - 1], chain[0]);
  for (std::size_t i = 0; i < k; ++i) {
    const xy& b = chain[behind(chain, i)];
    const xy& c = chain[i + 2 < k ? i + 2 : i + 2 - k];
    if (exact_orientation(chain[i], b, c) <= 0) return false;
    const bool rises = goes_up(chain[i], b);
    if (rises && !rose) ++begins_to_rise;
    rose = rises;
  }
  return begins_to_rise == 1;
}

int plain_orientation(const xy& a, const xy& b, const xy& c) {
  const double cross = plain_cross(a, b, c);
  return static_cast<int>(cross > 0.0) - static_cast<int>(cross < 0.0);
}

template <class Orientation>
bool some_edges_cross(closed_chain chain, Orientation orientation) {
  for (std::size_t i = 0; i < chain.size(); ++i) {
    const xy& a = chain[i];
    const xy& b = chain[behind(chain, i)];
    for (std::size_t j = i + 1; j < chain.size(); ++j) {
      const xy& c = chain[j];
      const xy& d = chain[behind(chain, j)];
      if (orientation(a, b, c) * orientation(a, b, d) < 0 &&
          orientation(c, d, a) * orientation(c, d, b) < 0) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace

double signed_area(closed_chain chain) {
  if (chain.empty()) return 0.0;
  const xy o = chain[0];
  double sum = 0.0;
  for (std::size_t i = 0; i < chain.size(); ++i) {
    const xy& a = chain[i];
    const xy& b = chain[behind(chain, i)];
    sum += (a.x - o.x) * (b.y - o.y) - (b.x - o.x) * (a.y - o.y);
  }
  return sum / 2.0;
}

bool crosses_itself(closed_chain chain) {
  if (!all_finite(chain)) return some_edges_cross(chain, plain_orientation);
  if (is_strictly_convex(chain)) return false;
  return some_edges_cross(
      chain, [](const xy& a, const xy& b, const xy& c) { return exact_orientation(a, b, c); });
}

void check_chain(closed_chain chain, bool for_simplicity, bool for_weakly_simple) {
  if ((!for_simplicity && !for_weakly_simple) || !crosses_itself(chain)) return;
  if (for_simplicity) error_handler(1, "POLYGON: POLYGON is not simple");
  if (for_weakly_simple) error_handler(1, "POLYGON: POLYGON is not weakly simple");
}

int side_of(closed_chain chain, const xy& p) {
  side_counter counter(p);
  for (std::size_t i = 0; i < chain.size(); ++i) {
    const xy& b = chain[behind(chain, i)];
    counter.pass(chain[i], b, plain_cross(chain[i], b, p));
  }
  return counter.side();
}

}  // namespace planloc::detail
