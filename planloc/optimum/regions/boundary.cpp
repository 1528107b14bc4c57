#include "planloc/optimum/regions/boundary.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "planloc/optimum/exact/exact_sign.h"
#include "planloc/optimum/regions/ring_check.h"

namespace planloc::detail {

namespace {

// A place with doubles around it: equal to it, or next to each other.
struct enclosed_place {
  explicit enclosed_place(const exact_xy& p) : at(p), near(to_nearest(p)) {
    low = {below(p.x, near.x), below(p.y, near.y)};
    high = {low.x == near.x && p.x == near.x ? near.x : above(low.x),
            low.y == near.y && p.y == near.y ? near.y : above(low.y)};
  }

  static double below(const mpq_class& q, double d) {
    return q < d ? std::nextafter(d, -std::numeric_limits<double>::infinity()) : d;
  }
  static double above(double d) {
    return std::nextafter(d, std::numeric_limits<double>::infinity());
  }

  const exact_xy& at;
  xy near, low, high;
};

// On which side of the line through a and b a place lies.
int turn_sign(const xy& a, const xy& b, const enclosed_place& p) {
  if (p.low == p.high) return detail::turn_sign(a, b, p.near);
  // As certain_cross_sign, with a place that is off by half a unit in its last place.
  const xy u = rounded_difference(a, b);
  const xy v = rounded_difference(a, p.near);
  const double m = u.x * v.y;
  const double n = u.y * v.x;
  const double off = 0x1p-52 * (std::fabs(u.x * p.near.y) + std::fabs(u.y * p.near.x));
  const double doubt = 0x1p-50 * (std::fabs(m) + std::fabs(n)) + off + 0x1p-1000;
  if (m - n > doubt) return 1;
  if (n - m > doubt) return -1;
  const mpq_class ax(a.x);
  const mpq_class ay(a.y);
  return sgn(mpq_class((b.x - ax) * (p.at.y - ay) - (b.y - ay) * (p.at.x - ax)));
}

// Which polygons hold a place, told side by side.
class place_in_polygons {
 public:
  explicit place_in_polygons(const exact_xy& at) : at_(at) {}

  const enclosed_place& place() const { return at_; }

  void look(const boundary::side& s) {
    const bool a_below = !(s.a.y > at_.low.y);
    const bool b_below = !(s.b.y > at_.low.y);
    if (!(std::min(s.a.x, s.b.x) <= at_.high.x)) return;
    const bool level = std::min(s.a.y, s.b.y) <= at_.low.y && std::max(s.a.y, s.b.y) >= at_.high.y;
    const bool beside = std::max(s.a.x, s.b.x) >= at_.low.x;
    if (!level) return;
    if (!beside) {
      if (a_below != b_below) crossed_.push_back(s.polygon);
      return;
    }
    const int turn = turn_sign(s.a, s.b, at_);
    if (turn == 0 && std::max(s.a.x, s.b.x) >= at_.high.x && std::min(s.a.x, s.b.x) <= at_.low.x) {
      on_.push_back(s.polygon);
    } else if (a_below != b_below && (turn < 0) == a_below) {
      crossed_.push_back(s.polygon);
    }
  }

  // Whether one of the first polygons holds it, or has it on a ring; whether one of the others
  // holds it.
  std::pair<bool, bool> held(std::uint32_t first) {
    std::sort(crossed_.begin(), crossed_.end());
    bool allowed = false;
    bool forbidden = false;
    for (const std::uint32_t p : on_) allowed = allowed || p < first;
    for (std::size_t k = 0; k < crossed_.size();) {
      const std::uint32_t polygon = crossed_[k];
      bool odd = false;
      for (; k < crossed_.size() && crossed_[k] == polygon; ++k) odd = !odd;
      if (!odd || std::find(on_.begin(), on_.end(), polygon) != on_.end()) continue;
      (polygon < first ? allowed : forbidden) = true;
    }
    return {allowed, forbidden};
  }

 private:
  enclosed_place at_;
  std::vector<std::uint32_t> crossed_;  // by the ray to the left, once a side
  std::vector<std::uint32_t> on_;
};

}  // namespace

boundary::boundary(const regions& r) : whole_plane_(!r.allowed) {
  std::uint32_t polygon = 0;
  const auto add = [&](const region& polygons) {
    for (const region_polygon& rings : polygons) {
      for (const ring& given : rings) {
        const ring corners = distinct_corners(given);
        for (std::size_t k = 0; k < corners.size(); ++k)
          sides_.push_back({corners[k], corners[k + 1 == corners.size() ? 0 : k + 1], polygon});
      }
      ++polygon;
    }
  };
  if (r.allowed) add(*r.allowed);
  allowed_ = polygon;
  add(r.forbidden);
  sort_into_rows();
}

std::size_t boundary::row(double y) const {
  const double r = (y - bottom_) * rows_per_y_;
  if (!(r > 0)) return 0;
  return std::min(static_cast<std::size_t>(std::min(r, 1e9)), begin_.size() - 2);
}

void boundary::sort_into_rows() {
  if (sides_.empty()) return;
  bottom_ = std::numeric_limits<double>::infinity();
  top_ = -bottom_;
  for (const side& s : sides_) {
    bottom_ = std::min(bottom_, s.a.y);  // every corner is the first of a side
    top_ = std::max(top_, s.a.y);
  }
  const auto rows = static_cast<std::size_t>(4 * std::sqrt(static_cast<double>(sides_.size()))) + 1;
  begin_.assign(rows + 1, 0);
  rows_per_y_ = static_cast<double>(rows) / (top_ - bottom_);
  const auto each = [this](auto visit) {
    for (std::uint32_t k = 0; k < sides_.size(); ++k) {
      const side& s = sides_[k];
      const std::size_t last = row(std::max(s.a.y, s.b.y));
      for (std::size_t r = row(std::min(s.a.y, s.b.y)); r <= last; ++r) visit(r, k);
    }
  };
  each([this](std::size_t r, std::uint32_t) { ++begin_[r + 1]; });
  for (std::size_t r = 0; r < rows; ++r) begin_[r + 1] += begin_[r];
  in_row_.resize(begin_.back());
  std::vector<std::uint32_t> next(begin_.begin(), begin_.end() - 1);
  each([&](std::size_t r, std::uint32_t k) { in_row_[next[r]++] = k; });
}

bool boundary::permits(const exact_xy& at) const {
  place_in_polygons where(at);
  const enclosed_place& p = where.place();
  near({-std::numeric_limits<double>::infinity(), p.low.y}, p.high,
       [&](const side& s) { where.look(s); });
  const auto [allowed, forbidden] = where.held(allowed_);
  return (whole_plane_ || allowed) && !forbidden;
}

// The corners of a side, and between them all places where another one crosses or ends, in order.
std::vector<exact_xy> boundary::splits(const side& s) const {
  std::vector<exact_xy> at{to_exact(s.a), to_exact(s.b)};
  const exact_xy u{at[1].x - at[0].x, at[1].y - at[0].y};
  const xy low{std::min(s.a.x, s.b.x), std::min(s.a.y, s.b.y)};
  const xy high{std::max(s.a.x, s.b.x), std::max(s.a.y, s.b.y)};
  const auto on_side = [&](const xy& p) {
    return low.x <= p.x && p.x <= high.x && low.y <= p.y && p.y <= high.y;
  };
  near(low, high, [&](const side& other) {
    const int of_a = detail::turn_sign(s.a, s.b, other.a);
    const int of_b = detail::turn_sign(s.a, s.b, other.b);
    if (of_a == 0 && on_side(other.a)) at.push_back(to_exact(other.a));
    if (of_a * of_b >= 0) return;
    if (detail::turn_sign(other.a, other.b, s.a) * detail::turn_sign(other.a, other.b, s.b) >= 0)
      return;
    const exact_xy c = to_exact(other.a);
    const exact_xy v{other.b.x - c.x, other.b.y - c.y};
    const mpq_class t = cross(exact_xy{c.x - at[0].x, c.y - at[0].y}, v) / cross(u, v);
    at.push_back({at[0].x + t * u.x, at[0].y + t * u.y});
  });
  const auto earlier = [&](const exact_xy& p, const exact_xy& q) {
    const int x = cmp(p.x, q.x) * sgn(u.x);
    return x != 0 ? x < 0 : cmp(p.y, q.y) * sgn(u.y) < 0;
  };
  std::sort(at.begin(), at.end(), earlier);
  at.erase(std::unique(at.begin(), at.end()), at.end());
  return at;
}

std::vector<boundary::piece> boundary::permitted(const side& s) const {
  const std::vector<exact_xy> at = splits(s);
  std::vector<piece> result;
  bool last = false;  // of the parts
  for (std::size_t k = 0; k < at.size(); ++k) {
    bool next = false;
    if (k + 1 < at.size()) {
      const exact_xy sum{at[k].x + at[k + 1].x, at[k].y + at[k + 1].y};
      next = permits({sum.x / 2, sum.y / 2});
    }
    if (last) result.back().to = at[k];
    if (next && !last) result.push_back({at[k], at[k + 1]});
    if (!next && !last && permits(at[k])) result.push_back({at[k], at[k]});
    last = next;
  }
  return result;
}

}  // namespace planloc::detail
