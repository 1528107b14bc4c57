#include "planloc/optimum/general/cell_regions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace planloc::detail {

namespace {

// Cells with more sides are halved before they are looked at closely.
constexpr std::size_t kMostSides = 16;

double below(double d) { return std::nextafter(d, -std::numeric_limits<double>::infinity()); }
double above(double d) { return std::nextafter(d, std::numeric_limits<double>::infinity()); }

}  // namespace

// A triangle with area, its corners counterclockwise.
struct cell_regions::exact_triangle {
  explicit exact_triangle(const triangle& t)
      : corner{to_exact(t[0]), to_exact(t[1]), to_exact(t[2])} {
    const exact_xy u{corner[1].x - corner[0].x, corner[1].y - corner[0].y};
    const exact_xy v{corner[2].x - corner[0].x, corner[2].y - corner[0].y};
    if (sgn(cross(u, v)) < 0) std::swap(corner[1], corner[2]);
  }

  // At least 0 on the inner side of an edge.
  mpq_class side(std::size_t m, const exact_xy& at) const {
    const exact_xy& a = corner[m];
    const exact_xy& b = corner[(m + 1) % 3];
    return cross(exact_xy{b.x - a.x, b.y - a.y}, exact_xy{at.x - a.x, at.y - a.y});
  }

  // Whether a segment meets it; clipped by one edge after the other (Cyrus and Beck 1978).
  bool meets(const exact_xy& a, const exact_xy& b) const {
    mpq_class from = 0;
    mpq_class to = 1;
    for (std::size_t m = 0; m < 3; ++m) {
      const mpq_class at_a = side(m, a);
      const mpq_class at_b = side(m, b);
      if (sgn(at_a) < 0 && sgn(at_b) < 0) return false;
      if (sgn(at_a) >= 0 && sgn(at_b) >= 0) continue;
      const mpq_class share = at_a / (at_a - at_b);
      if (sgn(at_a) < 0) {
        from = std::max(from, share);
      } else {
        to = std::min(to, share);
      }
    }
    return from <= to;
  }

  std::array<exact_xy, 3> corner;
};

cell_regions::cell_regions(const regions& r, const xy& base)
    : sides_(r), base_(to_exact(base)), rounded_base_(base), permitted_(sides_.sides().size()) {}

bool cell_regions::permits(const exact_xy& at) const {
  return sides_.permits({at.x + base_.x, at.y + base_.y});
}

std::optional<exact_xy> cell_regions::some_place() const {
  for (const boundary::side& s : sides_.sides()) {
    const std::vector<boundary::piece> parts = sides_.permitted(s);
    if (!parts.empty()) return relative(parts.front().from);
  }
  return {};
}

double cell_regions::farthest() const {
  double most = 0;
  for (const boundary::side& s : sides_.sides()) {
    most = std::max({most, std::fabs(s.a.x - rounded_base_.x), std::fabs(s.a.y - rounded_base_.y)});
  }
  return most * (1 + 0x1p-50);
}

template <class Visit>
void cell_regions::near(const triangle& t, Visit visit) const {
  const auto [left, right] = std::minmax({t[0].x, t[1].x, t[2].x});
  const auto [low, high] = std::minmax({t[0].y, t[1].y, t[2].y});
  sides_.near({below(left + rounded_base_.x), below(low + rounded_base_.y)},
              {above(right + rounded_base_.x), above(high + rounded_base_.y)}, visit);
}

bool cell_regions::crossed(const triangle& t) const {
  bool any = false;
  near(t, [&](const boundary::side&) { any = true; });
  return any;
}

// Permitted places that are not all of the triangle have an end in it, on a permitted part of a
// side.
bool cell_regions::nothing_permitted(const triangle& t) {
  std::vector<const boundary::side*> sides;
  near(t, [&](const boundary::side& s) { sides.push_back(&s); });
  if (sides.size() > kMostSides || permits(to_exact(t[0]))) return false;
  const exact_triangle exact(t);
  for (const boundary::side* s : sides) {
    if (!exact.meets(relative(to_exact(s->a)), relative(to_exact(s->b)))) continue;
    auto& parts = permitted_[static_cast<std::size_t>(s - sides_.sides().data())];
    if (!parts) parts = sides_.permitted(*s);
    for (const boundary::piece& p : *parts) {
      if (exact.meets(relative(p.from), relative(p.to))) return false;
    }
  }
  return true;
}

bool cell_regions::add_lines(const triangle& t, std::size_t limit,
                             std::vector<exact_line>& lines) const {
  const exact_triangle exact(t);
  std::vector<exact_line> found;
  near(t, [&](const boundary::side& s) {
    if (found.size() > limit) return;
    const exact_xy a = relative(to_exact(s.a));
    const exact_xy b = relative(to_exact(s.b));
    if (!exact.meets(a, b)) return;
    const exact_xy normal{a.y - b.y, b.x - a.x};
    exact_line l = normalised(normal, dot(normal, a));
    if (crosses_inside(t, l) && std::find(lines.begin(), lines.end(), l) == lines.end() &&
        std::find(found.begin(), found.end(), l) == found.end()) {
      found.push_back(std::move(l));
    }
  });
  if (found.size() > limit) return false;
  lines.insert(lines.end(), found.begin(), found.end());
  return true;
}

void cell_regions::add_corners(const triangle& t, std::vector<exact_xy>& places) const {
  const exact_triangle exact(t);
  near(t, [&](const boundary::side& s) {
    exact_xy a = relative(to_exact(s.a));
    if (sgn(exact.side(0, a)) >= 0 && sgn(exact.side(1, a)) >= 0 && sgn(exact.side(2, a)) >= 0)
      places.push_back(std::move(a));
  });
}

}  // namespace planloc::detail
