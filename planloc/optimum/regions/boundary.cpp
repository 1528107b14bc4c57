#include "planloc/optimum/regions/boundary.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "planloc/optimum/exact/exact_sign.h"
#include "planloc/optimum/regions/ring_check.h"

namespace planloc::detail {

// A place with doubles around it: equal to it, or next to each other.
class enclosed_place {
 public:
  explicit enclosed_place(const xy& p) : near(p), low(p), high(p), a_(p), b_(p) {}
  explicit enclosed_place(const exact_xy& p) : near(to_nearest(p)), exact_(p) {
    enclose({cmp(p.x, near.x), cmp(p.y, near.y)});
  }
  // Amid two places.
  enclosed_place(const xy& a, const xy& b) : near{(a.x + b.x) / 2, (a.y + b.y) / 2}, a_(a), b_(b) {
    if (halved(a.x + b.x) && halved(a.y + b.y)) {
      enclose({sign(lost(a.x, b.x)), sign(lost(a.y, b.y))});
    } else {
      *this = enclosed_place(at());
    }
  }

  exact_xy at() const {
    if (exact_) return *exact_;
    return {(mpq_class(a_.x) + b_.x) / 2, (mpq_class(a_.y) + b_.y) / 2};
  }

  xy near, low, high;

 private:
  struct signs {
    int x, y;
  };

  // What `near` lacks.
  void enclose(const signs& rest) {
    constexpr double kInfinite = std::numeric_limits<double>::infinity();
    const auto low_of = [](double d, int s) { return s < 0 ? std::nextafter(d, -kInfinite) : d; };
    const auto high_of = [](double d, int s) { return s > 0 ? std::nextafter(d, kInfinite) : d; };
    low = {low_of(near.x, rest.x), low_of(near.y, rest.y)};
    high = {high_of(near.x, rest.x), high_of(near.y, rest.y)};
  }

  // Whether a half of it has all its bits.
  static bool halved(double sum) { return sum == 0 || std::fabs(sum) > 0x1p-960; }
  static int sign(double d) { return d > 0 ? 1 : d < 0 ? -1 : 0; }
  // The rounding error of a sum (Knuth 1969).
  static double lost(double a, double b) {
    const double sum = a + b;
    const double part = sum - a;
    return (a - (sum - part)) + (b - part);
  }

  xy a_{0, 0}, b_{0, 0};
  std::optional<exact_xy> exact_;  // else it lies amid a_ and b_
};

namespace {

// On which side of the line through a and b a place lies. Corners that sides share are common.
int turn_of(const xy& a, const xy& b, const xy& p) {
  return p == a || p == b ? 0 : turn_sign(a, b, p);
}
int turn_of(const xy& a, const xy& b, const enclosed_place& p) {
  if (p.low == p.high) return turn_of(a, b, p.near);
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
  const exact_xy at = p.at();
  return sgn(mpq_class((b.x - ax) * (at.y - ay) - (b.y - ay) * (at.x - ax)));
}

// Which polygons hold a place, told side by side.
class place_in_polygons {
 public:
  // The place is known to lie on a side, if one is given.
  place_in_polygons(const enclosed_place& at, const boundary::side* side) : at_(at), side_(side) {}

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
    const int turn = &s == side_ ? 0 : turn_of(s.a, s.b, at_);
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
  const enclosed_place& at_;
  const boundary::side* side_;
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

bool boundary::permits(const exact_xy& at) const { return permits(enclosed_place(at), nullptr); }

bool boundary::permits(const enclosed_place& at, const side* on) const {
  place_in_polygons where(at, on);
  near({-std::numeric_limits<double>::infinity(), at.low.y}, at.high,
       [&](const side& s) { where.look(s); });
  const auto [allowed, forbidden] = where.held(allowed_);
  return (whole_plane_ || allowed) && !forbidden;
}

// The places between the corners of a side where another one crosses or ends.
std::vector<exact_xy> boundary::splits(const side& s) const {
  std::vector<exact_xy> at;
  const xy low{std::min(s.a.x, s.b.x), std::min(s.a.y, s.b.y)};
  const xy high{std::max(s.a.x, s.b.x), std::max(s.a.y, s.b.y)};
  const auto between = [&](const xy& p) {
    return low.x <= p.x && p.x <= high.x && low.y <= p.y && p.y <= high.y && p != s.a && p != s.b;
  };
  near(low, high, [&](const side& other) {
    const int of_a = turn_of(s.a, s.b, other.a);
    const int of_b = turn_of(s.a, s.b, other.b);
    if (of_a == 0 && between(other.a)) at.push_back(to_exact(other.a));
    if (of_a * of_b >= 0) return;
    if (turn_of(other.a, other.b, s.a) * turn_of(other.a, other.b, s.b) >= 0) return;
    const exact_xy a = to_exact(s.a);
    const exact_xy c = to_exact(other.a);
    const exact_xy u{s.b.x - a.x, s.b.y - a.y};
    const exact_xy v{other.b.x - c.x, other.b.y - c.y};
    const mpq_class t = cross(exact_xy{c.x - a.x, c.y - a.y}, v) / cross(u, v);
    at.push_back({a.x + t * u.x, a.y + t * u.y});
  });
  return at;
}

std::vector<boundary::piece> boundary::permitted(const side& s) const {
  std::vector<exact_xy> at = splits(s);
  std::vector<piece> result;
  if (at.empty()) {
    if (permits(enclosed_place(s.a, s.b), &s)) return {{to_exact(s.a), to_exact(s.b)}};
    for (const xy& end : {s.a, s.b}) {
      if (permits(enclosed_place(end), &s)) result.push_back({to_exact(end), to_exact(end)});
    }
    return result;
  }
  at.push_back(to_exact(s.a));
  at.push_back(to_exact(s.b));
  const auto earlier = [&](const exact_xy& p, const exact_xy& q) {
    const int x = s.a.x < s.b.x ? cmp(p.x, q.x) : s.a.x > s.b.x ? cmp(q.x, p.x) : 0;
    return x != 0 ? x < 0 : s.a.y < s.b.y ? p.y < q.y : p.y > q.y;
  };
  std::sort(at.begin(), at.end(), earlier);
  at.erase(std::unique(at.begin(), at.end()), at.end());
  bool last = false;  // of the parts
  for (std::size_t k = 0; k < at.size(); ++k) {
    bool next = false;
    if (k + 1 < at.size()) {
      const exact_xy sum{at[k].x + at[k + 1].x, at[k].y + at[k + 1].y};
      next = permits(enclosed_place(exact_xy{sum.x / 2, sum.y / 2}), &s);
    }
    if (last) result.back().to = at[k];
    if (next && !last) result.push_back({at[k], at[k + 1]});
    if (!next && !last && permits(enclosed_place(at[k]), &s)) result.push_back({at[k], at[k]});
    last = next;
  }
  return result;
}

}  // namespace planloc::detail
