#include "planloc/foundation/geometry/crossing_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "planloc/foundation/geometry/meet.h"

namespace planloc::detail {
namespace {

struct box {
  xy low;
  xy high;
};

// A chain and a box around its part in the region looked at.
struct part {
  box extent;
  std::uint32_t chain;
};

constexpr std::size_t kSmall = 16;  // so few parts are tested pair by pair

class searcher {
 public:
  searcher(const std::vector<chain>& chains, crossing_receiver& receiver)
      : chains_(chains), receiver_(receiver) {}

  std::size_t run() {
    for (std::size_t i = 0; i < chains_.size(); ++i) {
      const xy_segment& s = chains_[i].hull;
      parts_.push_back({{{s.a.x, std::min(s.a.y, s.b.y)}, {s.b.x, std::max(s.a.y, s.b.y)}},
                        static_cast<std::uint32_t>(i)});
    }
    split(0);
    flush();
    return tested_;
  }

 private:
  // Searches the parts from `first` on, and removes them.
  void split(std::size_t first) {
    const std::size_t count = parts_.size() - first;
    if (count <= kSmall || !halve(first)) {
      test_all(first);
      parts_.resize(first);
    }
  }

  bool halve(std::size_t first);
  void test_all(std::size_t first);
  void flush() {
    receiver_.receive(found_);
    found_.clear();
  }

  const std::vector<chain>& chains_;
  crossing_receiver& receiver_;
  std::vector<part> parts_;  // a stack of regions
  std::vector<crossing> found_;
  std::size_t tested_ = 0;
};

bool overlap(const box& p, const box& q) {
  return p.low.x <= q.high.x && q.low.x <= p.high.x && p.low.y <= q.high.y && q.low.y <= p.high.y;
}

void searcher::test_all(std::size_t first) {
  for (std::size_t i = first; i < parts_.size(); ++i) {
    for (std::size_t j = i + 1; j < parts_.size(); ++j) {
      if (!overlap(parts_[i].extent, parts_[j].extent)) continue;
      ++tested_;
      const std::uint32_t c = parts_[i].chain;
      const std::uint32_t d = parts_[j].chain;
      if (const std::optional<xy> p = meet(chains_[c].hull, chains_[d].hull)) {
        found_.push_back({c, d, *p});
        if (found_.size() == 4096) flush();
      }
    }
  }
}

// The coordinate numbered `axis`.
double along(const xy& p, int axis) { return axis == 0 ? p.x : p.y; }
double& along(xy& p, int axis) { return axis == 0 ? p.x : p.y; }

struct divider {
  int axis;
  double cut;
};

// The middle of a sample of the parts.
double middle_along(std::span<const part> parts, int axis) {
  constexpr std::size_t kSamples = 31;
  std::array<double, kSamples> middles{};
  const std::size_t samples = std::min(parts.size(), kSamples);
  for (std::size_t k = 0; k < samples; ++k) {
    const box& b = parts[k * parts.size() / samples].extent;
    middles[k] = 0.5 * along(b.low, axis) + 0.5 * along(b.high, axis);
  }
  const auto middle = middles.begin() + samples / 2;
  std::nth_element(middles.begin(), middle, middles.begin() + samples);
  return *middle;
}

// The axis with fewer parts on both sides; nothing if a half would keep nearly all of them or
// nearly all would be in both.
std::optional<divider> best_divider(std::span<const part> parts) {
  std::optional<divider> best;
  std::size_t fewest = parts.size() * 17 / 10;
  for (int axis = 0; axis < 2; ++axis) {
    const double cut = middle_along(parts, axis);
    std::size_t low = 0;
    std::size_t high = 0;
    for (const part& p : parts) {
      low += along(p.extent.low, axis) <= cut;
      high += along(p.extent.high, axis) >= cut;
    }
    if (low + high >= fewest || std::max(low, high) > parts.size() * 17 / 20) continue;
    fewest = low + high;
    best = divider{axis, cut};
  }
  return best;
}

// The two pieces of `whole` on either side of the line at `cut` across `axis`, where both cross it.
// Each is bounded by where the segment crosses the line. That place is a + (b - a) f with f the
// quotient of two differences, right to four roundings of its size and one of the sum.
void cut_part(const part& whole, const xy_segment& s, int axis, double cut, part& low, part& high) {
  low = high = whole;
  along(low.extent.high, axis) = cut;
  along(high.extent.low, axis) = cut;
  const int other = 1 - axis;
  const double length = along(s.b, axis) - along(s.a, axis);
  const double rise = along(s.b, other) - along(s.a, other);
  const double step = rise * ((cut - along(s.a, axis)) / length);
  const double place = along(s.a, other) + step;
  const double error = 0x1p-50 * (std::fabs(along(s.a, other)) + std::fabs(step)) + 0x1p-1022;
  if (!std::isfinite(place) || !std::isfinite(error)) return;
  part& first = (rise < 0.0) == (length < 0.0) ? low : high;
  part& second = &first == &low ? high : low;
  double& top = along(first.extent.high, other);
  top = std::min(top, place + error);
  double& bottom = along(second.extent.low, other);
  bottom = std::max(bottom, place - error);
}

// Divides the region by a line through the middle of its parts, along the axis that cuts fewer of
// them, and searches both halves; false if neither axis gains anything.
bool searcher::halve(std::size_t first) {
  const std::size_t end = parts_.size();
  const std::optional<divider> best = best_divider(std::span(parts_).subspan(first));
  if (!best) return false;
  const auto [axis, cut] = *best;

  // The upper half goes behind the region, the lower one takes its place later.
  std::size_t kept = first;
  for (std::size_t i = first; i < end; ++i) {
    const part whole = parts_[i];
    const bool is_low = along(whole.extent.low, axis) <= cut;
    const bool is_high = along(whole.extent.high, axis) >= cut;
    if (is_low && is_high) {
      part low;
      part high;
      cut_part(whole, chains_[whole.chain].hull, axis, cut, low, high);
      parts_[kept++] = low;
      parts_.push_back(high);
    } else if (is_low) {
      parts_[kept++] = whole;
    } else {
      parts_.push_back(whole);
    }
  }
  split(end);
  parts_.resize(kept);
  split(first);
  return true;
}

}  // namespace

std::size_t search_crossings(const std::vector<chain>& chains, crossing_receiver& receiver) {
  return searcher(chains, receiver).run();
}

}  // namespace planloc::detail
