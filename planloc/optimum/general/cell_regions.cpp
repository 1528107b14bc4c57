#include "planloc/optimum/general/cell_regions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "planloc/optimum/exact/exact_sign.h"
#include "planloc/optimum/general/thin_axes.h"

namespace planloc::detail {

namespace {

// Cells with more sides, or with more that doubles do not tell from such, are halved before they
// are looked at closely.
constexpr std::size_t kMostSides = 16;
constexpr std::size_t kMostLikely = 32;

double below(double d) { return std::nextafter(d, -std::numeric_limits<double>::infinity()); }
double above(double d) { return std::nextafter(d, std::numeric_limits<double>::infinity()); }

// Whether a segment lies beyond an edge of the triangle, told in doubles: all coordinates are off
// by a few units in the last place of the largest one at most.
bool surely_apart(const triangle& t, const xy& a, const xy& b) {
  double most = 0;
  for (const xy& p : {t[0], t[1], t[2], a, b})
    most = std::max({most, std::fabs(p.x), std::fabs(p.y)});
  for (std::size_t m = 0; m < 3; ++m) {
    const xy& c = t[m];
    const xy e{t[(m + 1) % 3].x - c.x, t[(m + 1) % 3].y - c.y};
    const auto side = [&](const xy& p) { return e.x * (p.y - c.y) - e.y * (p.x - c.x); };
    const double doubt = 0x1p-46 * most * (std::fabs(e.x) + std::fabs(e.y));
    const double inner = side(t[(m + 2) % 3]);
    const double at_a = inner > 0 ? side(a) : -side(a);
    const double at_b = inner > 0 ? side(b) : -side(b);
    if (std::fabs(inner) > doubt && at_a < -doubt && at_b < -doubt) return true;
  }
  return false;
}

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

  // What a segment has in common with it, in shares of the way from a to b; clipped by one edge
  // after the other (Cyrus and Beck 1978).
  struct shares {
    mpq_class from, to;
  };
  std::optional<shares> common(const exact_xy& a, const exact_xy& b) const {
    shares s{0, 1};
    for (std::size_t m = 0; m < 3; ++m) {
      const mpq_class at_a = side(m, a);
      const mpq_class at_b = side(m, b);
      if (sgn(at_a) < 0 && sgn(at_b) < 0) return {};
      if (sgn(at_a) >= 0 && sgn(at_b) >= 0) continue;
      const mpq_class share = at_a / (at_a - at_b);
      if (sgn(at_a) < 0) {
        s.from = std::max(s.from, share);
      } else {
        s.to = std::min(s.to, share);
      }
    }
    if (s.from > s.to) return {};
    return s;
  }
  bool meets(const exact_xy& a, const exact_xy& b) const { return common(a, b).has_value(); }

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

double cell_regions::farthest(const skewed_axes& axes) const {
  double most = 0;
  for (const boundary::side& s : sides_.sides())
    most = std::max(most, reach_in(axes, {s.a.x - rounded_base_.x, s.a.y - rounded_base_.y}));
  return most * (1 + 0x1p-20);
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

bool cell_regions::may_meet(const triangle& t, const boundary::side& s) const {
  const xy a{s.a.x - rounded_base_.x, s.a.y - rounded_base_.y};
  const xy b{s.b.x - rounded_base_.x, s.b.y - rounded_base_.y};
  return !surely_apart(t, a, b);
}

bool cell_regions::meets(const triangle& t, const exact_triangle& exact,
                         const boundary::side& s) const {
  return may_meet(t, s) && exact.meets(relative(to_exact(s.a)), relative(to_exact(s.b)));
}

std::optional<std::vector<const boundary::side*>> cell_regions::few_sides(
    const triangle& t, const exact_triangle& exact) const {
  std::vector<const boundary::side*> sides;
  near(t, [&](const boundary::side& s) {
    if (sides.size() <= kMostLikely && may_meet(t, s)) sides.push_back(&s);
  });
  if (sides.size() > kMostLikely) return {};
  std::erase_if(sides, [&](const boundary::side* s) { return !meets(t, exact, *s); });
  if (sides.size() > kMostSides) return {};
  return sides;
}

// Permitted places that are not all of the triangle have an end in it, on a permitted part of a
// side.
bool cell_regions::nothing_permitted(const triangle& t) {
  if (permits(to_exact(t[0]))) return false;
  const exact_triangle exact(t);
  const auto sides = few_sides(t, exact);
  if (!sides) return false;
  for (const boundary::side* s : *sides) {
    for (const boundary::piece& p : permitted_parts(*s)) {
      if (exact.meets(relative(p.from), relative(p.to))) return false;
    }
  }
  return true;
}

const boundary::side* cell_regions::only_line(const triangle& t) const {
  const boundary::side* only = nullptr;
  bool several = false;
  std::optional<exact_triangle> exact;
  near(t, [&](const boundary::side& s) {
    if (several) return;
    if (!exact) exact.emplace(t);
    if (!meets(t, *exact, s)) return;
    if (only == nullptr) only = &s;
    several = turn_sign(only->a, only->b, s.a) != 0 || turn_sign(only->a, only->b, s.b) != 0;
  });
  return several ? nullptr : only;
}

// Beyond the line the triangle has no side, so one corner there tells of all places.
std::optional<corner_values> cell_regions::cut(const triangle& t) const {
  const boundary::side* s = only_line(t);
  if (s == nullptr) return {};
  const exact_xy a = relative(to_exact(s->a));
  const exact_xy u{mpq_class(s->b.x) - s->a.x, mpq_class(s->b.y) - s->a.y};
  corner_values turn{};
  for (std::size_t m = 0; m < 3; ++m)
    turn[m] = mpq_class(cross(u, {t[m].x - a.x, t[m].y - a.y})).get_d();
  for (std::size_t m = 0; m < 3; ++m) {
    if (turn[m] == 0 || permits(to_exact(t[m]))) continue;
    if (turn[m] > 0) turn = {-turn[0], -turn[1], -turn[2]};
    return turn;
  }
  return {};
}

const std::vector<boundary::piece>& cell_regions::permitted_parts(const boundary::side& s) {
  auto& parts = permitted_[static_cast<std::size_t>(&s - sides_.sides().data())];
  if (!parts) parts = sides_.permitted(s);
  return *parts;
}

std::vector<exact_xy> cell_regions::places_on_sides(const triangle& t) {
  if (!crossed(t)) return {};
  const exact_triangle exact(t);
  const auto sides = few_sides(t, exact);
  if (!sides) return {};
  std::vector<exact_xy> places;
  for (const boundary::side* s : *sides) {
    for (const boundary::piece& p : permitted_parts(*s)) {
      const exact_xy a = relative(p.from);
      const exact_xy b = relative(p.to);
      const auto common = exact.common(a, b);
      if (!common) continue;
      const mpq_class share = (common->from + common->to) / 2;
      places.push_back({a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)});
    }
  }
  return places;
}

std::optional<std::vector<exact_line>> cell_regions::lines(const triangle& t,
                                                           std::size_t limit) const {
  const exact_triangle exact(t);
  std::vector<exact_line> found;
  near(t, [&](const boundary::side& s) {
    if (found.size() > limit || !meets(t, exact, s)) return;
    const exact_xy a = relative(to_exact(s.a));
    const exact_xy b = relative(to_exact(s.b));
    const exact_xy normal{a.y - b.y, b.x - a.x};
    exact_line l = normalised(normal, dot(normal, a));
    if (crosses_inside(t, l) && std::find(found.begin(), found.end(), l) == found.end())
      found.push_back(std::move(l));
  });
  if (found.size() > limit) return {};
  return found;
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
