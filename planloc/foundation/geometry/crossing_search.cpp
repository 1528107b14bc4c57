#include "planloc/foundation/geometry/crossing_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "planloc/foundation/geometry/meet.h"

namespace planloc::detail {
namespace {

struct box {
  xy low;
  xy high;
};

bool overlap(const box& p, const box& q) {
  return p.low.x <= q.high.x && q.low.x <= p.high.x && p.low.y <= q.high.y && q.low.y <= p.high.y;
}

// A chain and a box around its part in the region looked at.
struct part {
  box extent;
  std::uint32_t chain;
};

// The coordinate numbered `axis`.
double along(const xy& p, int axis) { return axis == 0 ? p.x : p.y; }
double& along(xy& p, int axis) { return axis == 0 ? p.x : p.y; }

struct interval {
  double low;
  double high;
};

// Where the segment is at `cut` across `axis`, safely: within the interval.
// REQUIRES: its ends differ along the axis.
//
// The place is a + (b - a) f with f the quotient of two differences, right to four roundings of the
// product and one of the sum, that is to 6 * 2^-53 of |a| + |product|, and to the least denormal
// numbers. An overflow gives all of the line.
interval place_at(const xy_segment& s, int axis, double cut) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const int other = 1 - axis;
  const double base = along(s.a, other);
  const double rise = along(s.b, other) - base;
  const double step = rise * ((cut - along(s.a, axis)) / (along(s.b, axis) - along(s.a, axis)));
  const double place = base + step;
  const double error = 0x1p-50 * (std::fabs(base) + std::fabs(step)) + 0x1p-1022;
  if (!std::isfinite(place) || !std::isfinite(error)) return {-kInfinity, kInfinity};
  return {place - error, place + error};
}

// The y values of the segment at x. REQUIRES: it reaches x.
interval height_at(const xy_segment& s, double x) {
  if (s.a.x == s.b.x) return {std::min(s.a.y, s.b.y), std::max(s.a.y, s.b.y)};
  if (x == s.a.x) return {s.a.y, s.a.y};
  if (x == s.b.x) return {s.b.y, s.b.y};
  return place_at(s, 0, x);
}

// The two pieces of `whole` on either side of the line at `cut` across `axis`, where both reach it.
std::pair<part, part> cut_part(const part& whole, const xy_segment& s, int axis, double cut) {
  part low = whole;
  part high = whole;
  along(low.extent.high, axis) = cut;
  along(high.extent.low, axis) = cut;
  if (along(s.a, axis) == along(s.b, axis)) return {low, high};
  const int other = 1 - axis;
  const interval place = place_at(s, axis, cut);
  const bool rises =
      (along(s.b, other) < along(s.a, other)) == (along(s.b, axis) < along(s.a, axis));
  double& top = along((rises ? low : high).extent.high, other);
  top = std::min(top, place.high);
  double& bottom = along((rises ? high : low).extent.low, other);
  bottom = std::max(bottom, place.low);
  return {low, high};
}

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

// The axis along which fewer parts lie on both sides of the middle; nothing if a half would keep
// nearly all of them or if more than a multiple of sqrt(m) of the m parts would be doubled. The sum
// of what all levels double is then a multiple of the number of parts, as the terms
// (m / 2^k) sqrt(2^k / m) form a geometric series from the smallest regions up.
std::optional<divider> best_divider(std::span<const part> parts) {
  const auto size = static_cast<double>(parts.size());
  auto fewest = static_cast<std::size_t>(size + 2.5 * std::sqrt(size));
  std::optional<divider> best;
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

// A part that reaches from one side of a strip to the other, with its heights there.
struct rung {
  part p;
  interval left;
  interval right;
};

// Certainly above `low` in all of the strip.
bool is_above(const rung& high, const rung& low) {
  return high.left.low > low.left.high && high.right.low > low.right.high;
}

// What a strip holds: `ladder`, parts across it that certainly miss each other, from the bottom up;
// `others` across it, each of which meets one of the ladder as far as heights can tell; and `inner`
// parts, which end inside.
struct strip {
  interval range;
  std::vector<rung> ladder;
  std::vector<rung> others;
  std::vector<part> inner;
};

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
    search(0);
    flush();
    return tested_;
  }

 private:
  // All of these search the parts from `first` on, and remove them.
  void search(std::size_t first);
  void halve(std::size_t first, const divider& d);
  void sieve(std::size_t first);
  void test_all(std::size_t first);
  void test_touching(std::vector<part>& parts);

  bool is_dense(std::span<const part> parts) const;
  bool seem_to_cross(const part& p, const part& q) const;
  strip strip_of(std::span<const part> parts) const;
  void climb(strip& s) const;
  void test_ladder(const strip& s);
  template <class HeightLeft, class HeightRight>
  void test_rungs(const std::vector<rung>& ladder, const part& p, const interval& left,
                  const interval& right, HeightLeft height_left, HeightRight height_right);
  std::optional<double> middle_end(const strip& s) const;
  const xy_segment& segment_of(const part& p) const { return chains_[p.chain].hull; }

  void test(const part& p, const part& q) {
    ++tested_;
    if (const std::optional<xy> at = meet(segment_of(p), segment_of(q))) {
      found_.push_back({p.chain, q.chain, *at});
      if (found_.size() == 4096) flush();
    }
  }

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

// Regions that a line parts well are halved, like a tree of boxes. Where long parts lie side by
// side no line does, and the sieve takes those that miss each other out in one go.
void searcher::search(std::size_t first) {
  const std::size_t count = parts_.size() - first;
  const auto region = [&] { return std::span(parts_).subspan(first); };
  if (count <= 16) return test_all(first);
  if (const std::optional<divider> d = best_divider(region())) return halve(first, *d);
  if (count <= 64 || is_dense(region())) return test_all(first);
  sieve(first);
}

void searcher::test_all(std::size_t first) {
  for (std::size_t i = first; i < parts_.size(); ++i) {
    for (std::size_t j = i + 1; j < parts_.size(); ++j) {
      if (overlap(parts_[i].extent, parts_[j].extent)) test(parts_[i], parts_[j]);
    }
  }
  parts_.resize(first);
}

void searcher::halve(std::size_t first, const divider& d) {
  // The upper half goes behind the region, the lower one takes its place.
  const std::size_t end = parts_.size();
  std::size_t kept = first;
  for (std::size_t i = first; i < end; ++i) {
    const part whole = parts_[i];
    const bool is_low = along(whole.extent.low, d.axis) <= d.cut;
    const bool is_high = along(whole.extent.high, d.axis) >= d.cut;
    if (is_low && is_high) {
      const auto [low, high] = cut_part(whole, segment_of(whole), d.axis, d.cut);
      parts_[kept++] = low;
      parts_.push_back(high);
    } else if (is_low) {
      parts_[kept++] = whole;
    } else {
      parts_.push_back(whole);
    }
  }
  search(end);
  parts_.resize(kept);
  search(first);
}

// ----- Strips -----

bool searcher::seem_to_cross(const part& p, const part& q) const {
  if (!overlap(p.extent, q.extent)) return false;
  const double x1 = std::max(p.extent.low.x, q.extent.low.x);
  const double x2 = std::min(p.extent.high.x, q.extent.high.x);
  const auto is_below = [this](const part& r, const part& s, double x) {
    return height_at(segment_of(r), x).low < height_at(segment_of(s), x).low;
  };
  return is_below(p, q, x1) != is_below(p, q, x2);
}

// Whether one pair in eight crosses, by a sample: then testing all pairs is the fastest way.
bool searcher::is_dense(std::span<const part> parts) const {
  constexpr int kSamples = 64;
  std::uint64_t state = 1;
  const auto draw = [&]() -> const part& {
    state = state * 6364136223846793005U + 1442695040888963407U;
    return parts[(state >> 33) % parts.size()];
  };
  int hits = 0;
  for (int k = 0; k < kSamples; ++k) {
    const part& p = draw();
    hits += seem_to_cross(p, draw());
  }
  return hits >= kSamples / 8;
}

// Divides a strip and searches both halves, after the parts across it that miss each other have
// been tested against the rest and dropped. A part stays only if it ends inside or meets one of
// those, so that the work is n log^2 n and a multiple of the number of meetings.
// Method: I. J. Balaban (1995).
void searcher::sieve(std::size_t first) {
  strip s = strip_of(std::span(parts_).subspan(first));
  climb(s);
  test_ladder(s);
  const std::optional<double> cut = middle_end(s);
  if (!cut) {
    while (!s.others.empty()) {
      climb(s);
      test_ladder(s);
    }
    parts_.resize(first);
    test_touching(s.inner);
    return;
  }
  parts_.resize(first);
  for (const rung& r : s.others) parts_.push_back(r.p);
  parts_.insert(parts_.end(), s.inner.begin(), s.inner.end());
  s = {};
  halve(first, {0, *cut});
}

strip searcher::strip_of(std::span<const part> parts) const {
  strip s{{parts.front().extent.low.x, parts.front().extent.high.x}, {}, {}, {}};
  for (const part& p : parts) {
    s.range.low = std::min(s.range.low, p.extent.low.x);
    s.range.high = std::max(s.range.high, p.extent.high.x);
  }
  for (const part& p : parts) {
    if (p.extent.low.x > s.range.low || p.extent.high.x < s.range.high) {
      s.inner.push_back(p);
    } else {
      s.others.push_back(
          {p, height_at(segment_of(p), s.range.low), height_at(segment_of(p), s.range.high)});
    }
  }
  return s;
}

// Makes a new ladder of the others.
void searcher::climb(strip& s) const {
  std::sort(s.others.begin(), s.others.end(), [](const rung& p, const rung& q) {
    if (p.left.low != q.left.low) return p.left.low < q.left.low;
    if (p.right.low != q.right.low) return p.right.low < q.right.low;
    return p.p.chain < q.p.chain;
  });
  s.ladder.clear();
  std::size_t kept = 0;
  for (const rung& r : s.others) {
    if (s.ladder.empty() || is_above(r, s.ladder.back())) {
      s.ladder.push_back(r);
    } else {
      s.others[kept++] = r;
    }
  }
  s.others.resize(kept);
}

void searcher::test_ladder(const strip& s) {
  for (const rung& r : s.others) {
    test_rungs(
        s.ladder, r.p, r.left, r.right, [](const rung& q) { return q.left; },
        [](const rung& q) { return q.right; });
  }
  for (const part& p : s.inner) {
    const auto height = [this](double x) {
      return [this, x](const rung& q) { return height_at(segment_of(q.p), x); };
    };
    test_rungs(s.ladder, p, height_at(segment_of(p), p.extent.low.x),
               height_at(segment_of(p), p.extent.high.x), height(p.extent.low.x),
               height(p.extent.high.x));
  }
}

// Tests p, from height `left` to height `right`, against the rungs that are not certainly below it
// or above it at both. The ladder is ordered exactly; heights are intervals, so that a search by
// them need not be monotone, but a rung certainly below p has only such rungs beneath it, and what
// the search steps over is right.
template <class HeightLeft, class HeightRight>
void searcher::test_rungs(const std::vector<rung>& ladder, const part& p, const interval& left,
                          const interval& right, HeightLeft height_left, HeightRight height_right) {
  const auto first_not_below = [&ladder](double y, auto height) {
    return std::partition_point(ladder.begin(), ladder.end(),
                                [&](const rung& q) { return height(q).high < y; });
  };
  const auto first_above = [&ladder](double y, auto height) {
    return std::partition_point(ladder.begin(), ladder.end(),
                                [&](const rung& q) { return height(q).low <= y; });
  };
  const auto from =
      std::min(first_not_below(left.low, height_left), first_not_below(right.low, height_right));
  const auto to =
      std::max(first_above(left.high, height_left), first_above(right.high, height_right));
  for (auto q = from; q < to; ++q) {
    if (overlap(q->p.extent, p.extent)) test(q->p, p);
  }
}

// The middle of the ends of the inner parts strictly inside the strip, if there is one.
std::optional<double> searcher::middle_end(const strip& s) const {
  std::vector<double> ends;
  for (const part& p : s.inner) {
    for (const double x : {p.extent.low.x, p.extent.high.x}) {
      if (s.range.low < x && x < s.range.high) ends.push_back(x);
    }
  }
  if (ends.empty()) return std::nullopt;
  const auto middle = ends.begin() + static_cast<std::ptrdiff_t>(ends.size() / 2);
  std::nth_element(ends.begin(), middle, ends.end());
  return *middle;
}

// Parts that only touch a side of a strip, each with its extent there: on either side those whose
// heights overlap.
void searcher::test_touching(std::vector<part>& parts) {
  std::sort(parts.begin(), parts.end(), [](const part& p, const part& q) {
    if (p.extent.low.x != q.extent.low.x) return p.extent.low.x < q.extent.low.x;
    return p.extent.low.y < q.extent.low.y;
  });
  for (auto p = parts.begin(); p != parts.end(); ++p) {
    for (auto q = p + 1; q != parts.end() && q->extent.low.x == p->extent.low.x &&
                         q->extent.low.y <= p->extent.high.y;
         ++q) {
      test(*p, *q);
    }
  }
}

}  // namespace

std::size_t search_crossings(const std::vector<chain>& chains, crossing_receiver& receiver) {
  return searcher(chains, receiver).run();
}

}  // namespace planloc::detail
