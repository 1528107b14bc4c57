#include "planloc/foundation/geometry/collinear_chains.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "planloc/foundation/geometry/exact_orientation.h"

namespace planloc::detail {
namespace {

bool is_finite(const xy& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

// A segment, its ends in lexicographic order, with approximate keys of its line. Lines that are
// equal have keys that differ by less than the tolerances below.
struct keyed {
  xy_segment s;
  std::size_t number;
  double direction;
  double offset;
};

// Above this, differences and sums of coordinates could overflow.
constexpr double kLarge = 0x1p1000;

// The share of y in the direction, in -1..1, and the distance from the origin to the line along a
// fixed norm of the direction. Every operation is right to a factor 1 + 2^-53; so, with `size` the
// largest coordinate, the direction is right to 2^-50 and the offset to 2^-48 * size, with room.
constexpr double kDirectionTolerance = 0x1p-48;
constexpr double kOffsetTolerance = 0x1p-46;

double size_of(const xy_segment& s) {
  return std::max({std::fabs(s.a.x), std::fabs(s.a.y), std::fabs(s.b.x), std::fabs(s.b.y)});
}

// The offset is that of the line times `scale`.
keyed with_keys(const xy_segment& s, std::size_t number, double scale) {
  const double own = size_of(s) > kLarge ? scale : 1.0;
  const double dx = s.b.x * own - s.a.x * own;
  const double dy = s.b.y * own - s.a.y * own;
  const double norm = dx + std::fabs(dy);
  const double ux = dx / norm;
  const double uy = dy / norm;
  return {s, number, uy, ux * (s.a.y * scale) - uy * (s.a.x * scale)};
}

// Along the lines: -1 or 1 if the line of s comes before or behind that of t, 0 for one line.
int compare_lines(const xy_segment& s, const xy_segment& t) {
  const int turn = exact_turn(s.a, s.b, t.a, t.b);
  return turn != 0 ? -turn : exact_orientation(s.a, s.b, t.a);
}

using range = std::span<keyed>;

// Calls visit(run) for every longest run of neighbours with same(previous, next).
template <class Same, class Visit>
void for_each_run(range all, Same same, Visit visit) {
  for (std::size_t first = 0; first < all.size();) {
    std::size_t end = first + 1;
    while (end < all.size() && same(all[end - 1], all[end])) ++end;
    visit(all.subspan(first, end - first));
    first = end;
  }
}

class chain_builder {
 public:
  // REQUIRES: all segments of `line` lie on one line, or are one point.
  void add_line(range line) {
    std::sort(line.begin(), line.end(), [](const keyed& p, const keyed& q) {
      if (p.s.a != q.s.a) return lexicographic(p.s.a, q.s.a);
      return p.number < q.number;
    });
    for (std::size_t first = 0; first < line.size();) {
      std::size_t end = first + 1;
      xy high = line[first].s.b;
      for (; end < line.size() && !lexicographic(high, line[end].s.a); ++end) {
        if (lexicographic(high, line[end].s.b)) high = line[end].s.b;
      }
      add_chain(line.subspan(first, end - first), high);
      first = end;
    }
  }

  chain_set take() { return std::move(result_); }

 private:
  void add_chain(range segments, const xy& high) {
    const std::size_t first = result_.members.size();
    for (const keyed& k : segments) result_.members.push_back(k.number);
    result_.chains.push_back({{segments.front().s.a, high}, first, result_.members.size()});
    if (segments.size() > 1) add_contacts(segments);
  }

  // At a point p the segments that contain it number (sources up to p) - (targets before p).
  void add_contacts(range segments) {
    targets_.clear();
    for (const keyed& k : segments) targets_.push_back(k.s.b);
    std::sort(targets_.begin(), targets_.end(), lexicographic);
    const auto consider = [&](const xy& p) {
      const auto sources =
          std::upper_bound(segments.begin(), segments.end(), p,
                           [](const xy& q, const keyed& k) { return lexicographic(q, k.s.a); }) -
          segments.begin();
      const auto targets =
          std::lower_bound(targets_.begin(), targets_.end(), p, lexicographic) - targets_.begin();
      if (sources - targets > 1) result_.contacts.push_back(p);
    };
    for (const keyed& k : segments) consider(k.s.a);
    for (const xy& p : targets_) consider(p);
  }

  chain_set result_;
  std::vector<xy> targets_;
};

// Sorts segments of nearly the same line exactly and adds line by line.
void add_bundle(range bundle, chain_builder& builder) {
  if (bundle.size() > 1) {
    std::sort(bundle.begin(), bundle.end(),
              [](const keyed& p, const keyed& q) { return compare_lines(p.s, q.s) < 0; });
  }
  for_each_run(
      bundle, [](const keyed& p, const keyed& q) { return compare_lines(p.s, q.s) == 0; },
      [&](range line) { builder.add_line(line); });
}

}  // namespace

chain_set merge_collinear(std::span<const xy_segment> segments) {
  double size = 0.0;
  for (const xy_segment& s : segments) {
    if (is_finite(s.a) && is_finite(s.b)) size = std::max(size, size_of(s));
  }
  const double scale = size > kLarge ? 0x1p-60 : 1.0;
  std::vector<keyed> lines;
  std::vector<keyed> points;
  lines.reserve(segments.size());
  for (std::size_t i = 0; i < segments.size(); ++i) {
    xy_segment s = segments[i];
    if (!is_finite(s.a) || !is_finite(s.b)) continue;
    if (lexicographic(s.b, s.a)) std::swap(s.a, s.b);
    if (s.a == s.b) {
      points.push_back({s, i, 0.0, 0.0});
    } else {
      lines.push_back(with_keys(s, i, scale));
    }
  }

  chain_builder builder;
  std::sort(lines.begin(), lines.end(),
            [](const keyed& p, const keyed& q) { return p.direction < q.direction; });
  const auto same_direction = [](const keyed& p, const keyed& q) {
    return q.direction - p.direction <= kDirectionTolerance;
  };
  const auto same_offset = [tolerance = kOffsetTolerance * scale * size](const keyed& p,
                                                                         const keyed& q) {
    return q.offset - p.offset <= tolerance;
  };
  for_each_run(lines, same_direction, [&](range parallels) {
    if (parallels.size() > 1) {
      std::sort(parallels.begin(), parallels.end(),
                [](const keyed& p, const keyed& q) { return p.offset < q.offset; });
    }
    for_each_run(parallels, same_offset, [&](range bundle) { add_bundle(bundle, builder); });
  });
  std::sort(points.begin(), points.end(),
            [](const keyed& p, const keyed& q) { return lexicographic(p.s.a, q.s.a); });
  for_each_run(
      points, [](const keyed& p, const keyed& q) { return p.s.a == q.s.a; },
      [&](range same) { builder.add_line(same); });
  return builder.take();
}

}  // namespace planloc::detail
