#include "planloc/optimum/proof/walked_regions.h"

#include <algorithm>

namespace planloc::detail {

namespace {

using exact_corners = std::array<fraction_pair, 3>;

exact_corners exactly(const std::array<xy, 3>& t) {
  exact_corners result;
  for (std::size_t m = 0; m < 3; ++m) result[m] = {mpq_class(t[m].x), mpq_class(t[m].y)};
  return result;
}

int turn(const fraction_pair& a, const fraction_pair& b, const fraction_pair& c) {
  return sgn(mpq_class((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x)));
}

bool holds(const exact_corners& t, const fraction_pair& at) {
  const std::array<int, 3> side{turn(t[0], t[1], at), turn(t[1], t[2], at), turn(t[2], t[0], at)};
  return *std::min_element(side.begin(), side.end()) >= 0 ||
         *std::max_element(side.begin(), side.end()) <= 0;
}

// Whether a segment has a place in common with a triangle: an end inside, or a crossing with one
// of the triangle's sides.
bool meets(const exact_corners& t, const fraction_pair& a, const fraction_pair& b) {
  if (holds(t, a) || holds(t, b)) return true;
  for (std::size_t m = 0; m < 3; ++m) {
    const fraction_pair& c = t[m];
    const fraction_pair& d = t[(m + 1) % 3];
    if (turn(a, b, c) * turn(a, b, d) <= 0 && turn(c, d, a) * turn(c, d, b) < 0) return true;
  }
  return false;
}

// Whether both ends of a segment are surely beyond the same side of the triangle's box.
bool apart(const std::array<xy, 3>& t, const fraction_pair& a, const fraction_pair& b) {
  const auto [left, right] = std::minmax({t[0].x, t[1].x, t[2].x});
  const auto [low, high] = std::minmax({t[0].y, t[1].y, t[2].y});
  return (a.x < left && b.x < left) || (a.x > right && b.x > right) || (a.y < low && b.y < low) ||
         (a.y > high && b.y > high);
}

}  // namespace

walked_regions::walked_regions(const problem& p, const xy& base)
    : where_(p.where()), base_{mpq_class(base.x), mpq_class(base.y)} {
  for (const verified_regions::side& s : where_.sides()) {
    sides_.push_back({{s.a.x - base_.x, s.a.y - base_.y}, {s.b.x - base_.x, s.b.y - base_.y}});
  }
  parts_.resize(sides_.size());
}

bool walked_regions::permits(const fraction_pair& at) const {
  return where_.permits({at.x + base_.x, at.y + base_.y});
}

std::vector<std::size_t> walked_regions::numbers_in(const std::array<xy, 3>& t) const {
  const exact_corners exact = exactly(t);
  std::vector<std::size_t> result;
  for (std::size_t k = 0; k < sides_.size(); ++k) {
    if (apart(t, sides_[k].a, sides_[k].b) || !meets(exact, sides_[k].a, sides_[k].b)) continue;
    result.push_back(k);
  }
  return result;
}

std::vector<walked_regions::segment> walked_regions::sides_in(const std::array<xy, 3>& t) const {
  std::vector<segment> result;
  for (const std::size_t k : numbers_in(t)) result.push_back(sides_[k]);
  return result;
}

std::vector<fraction_pair> walked_regions::corners_in(const std::array<xy, 3>& t) const {
  const exact_corners exact = exactly(t);
  std::vector<fraction_pair> result;
  for (const std::size_t k : numbers_in(t)) {
    for (const fraction_pair& c : {sides_[k].a, sides_[k].b}) {
      if (holds(exact, c)) result.push_back(c);
    }
  }
  return result;
}

const std::vector<walked_regions::segment>& walked_regions::permitted_parts(std::size_t side) {
  if (!parts_[side]) {
    const fraction_pair& a = sides_[side].a;
    const fraction_pair& b = sides_[side].b;
    const auto at = [&](const mpq_class& share) {
      return fraction_pair{a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)};
    };
    parts_[side].emplace();
    for (const verified_regions::part& p : where_.permitted_parts(side))
      parts_[side]->push_back({at(p.from), at(p.to)});
  }
  return *parts_[side];
}

// Either a corner is permitted, or the permitted places of the triangle have an end in it, which is
// on a side.
bool walked_regions::some_permitted(const std::array<xy, 3>& t) {
  const exact_corners exact = exactly(t);
  if (permits(exact[0])) return true;
  for (const std::size_t k : numbers_in(t)) {
    for (const segment& part : permitted_parts(k)) {
      if (meets(exact, part.a, part.b)) return true;
    }
  }
  return false;
}

// A part of the triangle without sides is permitted as a whole or not at all; so is the corner of
// it.
std::optional<std::array<mpq_class, 3>> walked_regions::cut(const std::array<xy, 3>& t) const {
  const std::vector<std::size_t> met = numbers_in(t);
  if (met.empty()) return {};
  const segment& s = sides_[met[0]];
  for (const std::size_t k : met) {
    if (turn(s.a, s.b, sides_[k].a) != 0 || turn(s.a, s.b, sides_[k].b) != 0) return {};
  }
  const exact_corners exact = exactly(t);
  std::array<mpq_class, 3> side;
  for (std::size_t m = 0; m < 3; ++m) {
    side[m] = (s.b.x - s.a.x) * (exact[m].y - s.a.y) - (s.b.y - s.a.y) * (exact[m].x - s.a.x);
  }
  for (std::size_t m = 0; m < 3; ++m) {
    if (sgn(side[m]) == 0 || permits(exact[m])) continue;
    if (sgn(side[m]) > 0) {
      for (mpq_class& d : side) d = -d;
    }
    return side;
  }
  return {};
}

}  // namespace planloc::detail
