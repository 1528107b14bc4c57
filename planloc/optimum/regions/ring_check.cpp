#include "planloc/optimum/regions/ring_check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "planloc/optimum/exact/exact_sign.h"
#include "planloc/optimum/input_check.h"

namespace planloc::detail {

namespace {

std::string at(const xy& p) { return " at (" + number_text(p.x) + ", " + number_text(p.y) + ")"; }

bool in_box(const xy& p, const xy& a, const xy& b) {
  return std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) && std::min(a.y, b.y) <= p.y &&
         p.y <= std::max(a.y, b.y);
}

// REQUIRES: the lines cross.
xy crossing(const xy& a, const xy& b, const xy& c, const xy& d) {
  const mpq_class ux = mpq_class(b.x) - a.x;
  const mpq_class uy = mpq_class(b.y) - a.y;
  const mpq_class vx = mpq_class(d.x) - c.x;
  const mpq_class vy = mpq_class(d.y) - c.y;
  const mpq_class t =
      ((mpq_class(c.x) - a.x) * vy - (mpq_class(c.y) - a.y) * vx) / mpq_class(ux * vy - uy * vx);
  return {mpq_class(a.x + t * ux).get_d(), mpq_class(a.y + t * uy).get_d()};
}

// Up to this many stand in one row, and the first fault is told.
constexpr double kFewSides = 64;
// Of the height of a row: how far beyond it a side is looked at, for roundings.
constexpr double kDoubt = 0x1p-7;

class simple_check {
 public:
  explicit simple_check(ring corners) : corner_(std::move(corners)) {}

  // In rows or columns of equal width, those that fewer sides cross: in each a sweep along it.
  std::string fault() {
    const std::array<extent, 2> whole{extent_of(&xy::x), extent_of(&xy::y)};
    const auto share = [&](std::size_t a) {
      double length = 0;
      for (std::size_t i = 0; i < corner_.size(); ++i) {
        const extent e = extent_of(i, kAxes[a]);
        length += (e.high - e.low) / (whole[a].high - whole[a].low);
      }
      return length;
    };
    const auto sides = static_cast<double>(corner_.size());
    const double count = sides < kFewSides ? 1 : std::floor(std::sqrt(sides)) + 1;
    const std::size_t across = count > 1 && share(0) < share(1) ? 0 : 1;
    return fault_in_rows(
        {kAxes[across], kAxes[1 - across], whole[across], whole[1 - across], count});
  }

 private:
  struct extent {
    double low, high;
  };
  using axis = double xy::*;
  struct rows {
    axis across, along;
    extent whole_across, whole_along;
    double count;
  };
  static constexpr std::array<axis, 2> kAxes{&xy::x, &xy::y};

  extent extent_of(axis along) const {
    const auto [low, high] =
        std::minmax_element(corner_.begin(), corner_.end(),
                            [along](const xy& a, const xy& b) { return a.*along < b.*along; });
    return {(*low).*along, (*high).*along};
  }
  // Of the side that begins at a corner.
  extent extent_of(std::size_t i, axis along) const {
    const auto [low, high] = std::minmax(corner_[i].*along, next(i).*along);
    return {low, high};
  }

  // Of a side and a row: where along the row the side can be. Relative to the low ends of both
  // extents.
  extent extent_in_row(std::size_t i, std::size_t r, const rows& in) const {
    const xy& a = corner_[i];
    const xy& b = next(i);
    const double from = a.*in.along - in.whole_along.low;
    const double to = b.*in.along - in.whole_along.low;
    const double begin = a.*in.across - in.whole_across.low;
    const double length = (b.*in.across - in.whole_across.low) - begin;
    const double height = (in.whole_across.high - in.whole_across.low) / in.count;
    const auto at = [&](double c) {
      const double share = (c - begin) / length;
      return share > 0 ? share < 1 ? from + share * (to - from) : to : from;
    };
    const bool flat = !(std::fabs(length) > height);
    const double row = static_cast<double>(r);
    const double first = flat ? from : at((row - kDoubt) * height);
    const double last = flat ? to : at((row + 1 + kDoubt) * height);
    const double doubt = 0x1p-48 * (in.whole_along.high - in.whole_along.low);
    return {std::min(first, last) - doubt, std::max(first, last) + doubt};
  }

  std::string fault_in_rows(const rows& in) const {
    struct entry {
      std::size_t side;
      extent along;
    };
    const double whole = in.whole_across.high - in.whole_across.low;
    const auto row = [&](double c) {
      const double r = (c - in.whole_across.low) / whole * in.count;
      return r > 0 ? static_cast<std::size_t>(std::min(r, in.count - 1)) : 0;
    };
    std::vector<std::vector<entry>> in_row(static_cast<std::size_t>(in.count));
    for (std::size_t i = 0; i < corner_.size(); ++i) {
      const extent e = extent_of(i, in.across);
      const std::size_t last = row(e.high);
      for (std::size_t r = row(e.low); r <= last; ++r)
        in_row[r].push_back({i, extent_in_row(i, r, in)});
    }
    for (std::vector<entry>& order : in_row) {
      std::sort(order.begin(), order.end(), [](const entry& a, const entry& b) {
        return std::pair(a.along.low, a.side) < std::pair(b.along.low, b.side);
      });
      for (std::size_t m = 0; m < order.size(); ++m) {
        for (std::size_t n = m + 1; n < order.size(); ++n) {
          if (order[n].along.low > order[m].along.high) break;
          if (std::string f = fault_of(order[m].side, order[n].side); !f.empty()) return f;
        }
      }
    }
    return {};
  }

  const xy& next(std::size_t i) const { return corner_[i + 1 == corner_.size() ? 0 : i + 1]; }
  const xy& last(std::size_t i) const { return corner_[i == 0 ? corner_.size() - 1 : i - 1]; }

  // Of the sides that begin at two corners.
  std::string fault_of(std::size_t i, std::size_t k) const {
    const xy& a = corner_[i];
    const xy& b = next(i);
    const xy& c = corner_[k];
    const xy& d = next(k);
    if (std::max(a.y, b.y) < std::min(c.y, d.y) || std::max(c.y, d.y) < std::min(a.y, b.y) ||
        std::max(a.x, b.x) < std::min(c.x, d.x) || std::max(c.x, d.x) < std::min(a.x, b.x))
      return {};
    const int sc = turn_sign(a, b, c);
    const int sd = turn_sign(a, b, d);
    if (sc * sd > 0) return {};
    if (sc == 0 && sd == 0) return overlap(a, b, c, d);
    if (a == c) return passes_cross(i, k) ? "crosses itself" + at(a) : std::string();
    if (sc == 0 && c != b && in_box(c, a, b) && enters(k, a, b)) return "crosses itself" + at(c);
    const int sa = turn_sign(c, d, a);
    if (sa == 0 && a != d && in_box(a, c, d) && enters(i, c, d)) return "crosses itself" + at(a);
    if (sc * sd == 0 || sa * turn_sign(c, d, b) >= 0) return {};
    return "crosses itself" + at(crossing(a, b, c, d));
  }

  // Whether two sides on one line share more than a place.
  static std::string overlap(const xy& a, const xy& b, const xy& c, const xy& d) {
    const auto ends = [](const xy& p, const xy& q) {
      return lexicographic(p, q) ? std::pair(p, q) : std::pair(q, p);
    };
    const auto [low, high] = ends(a, b);
    const auto [from, to] = ends(c, d);
    const xy& begin = lexicographic(low, from) ? from : low;
    const xy& end = lexicographic(high, to) ? high : to;
    return lexicographic(begin, end) ? "runs along itself" + at(begin) : std::string();
  }

  // Whether the ring passes from one side of a side through corner k, inside it, to the other.
  bool enters(std::size_t k, const xy& a, const xy& b) const {
    return turn_sign(a, b, last(k)) * turn_sign(a, b, next(k)) < 0;
  }

  // Whether the direction of p lies in the sector that opens left of that of a and ends at that of
  // b, seen from a corner. REQUIRES: three different directions.
  static bool in_sector(const xy& from, const xy& a, const xy& b, const xy& p) {
    const bool left_of_a = turn_sign(from, a, p) > 0;
    const bool right_of_b = turn_sign(from, b, p) < 0;
    const int turn = turn_sign(from, a, b);
    const bool narrow = turn > 0;
    if (turn == 0) return left_of_a;
    return narrow ? left_of_a && right_of_b : left_of_a || right_of_b;
  }

  bool passes_cross(std::size_t i, std::size_t k) const {
    const xy& v = corner_[i];
    return in_sector(v, last(i), next(i), last(k)) != in_sector(v, last(i), next(i), next(k));
  }

  ring corner_;
};

}  // namespace

ring distinct_corners(const ring& r) {
  ring corners;
  for (const xy& c : r) {
    if (corners.empty() || corners.back() != c) corners.push_back(c);
  }
  while (corners.size() > 1 && corners.back() == corners.front()) corners.pop_back();
  return corners;
}

std::string ring_fault(const ring& r) {
  ring corners = distinct_corners(r);
  if (corners.size() < 3) {
    return "has " + std::to_string(corners.size()) + " different corners: at least 3 are needed";
  }
  return simple_check(std::move(corners)).fault();
}

}  // namespace planloc::detail
