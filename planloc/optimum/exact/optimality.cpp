#include "planloc/optimum/exact/optimality.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "planloc/foundation/numeric/round_quotient.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kMostRounded = 12;  // probes before fractions decide

using rounded_slope = exact_place::rounded_slope;

// Whether the origin is surely inside the triangle, and then its barycentric coordinates.
bool surely_around_origin(const std::array<rounded_slope, 3>& s, std::array<double, 3>& share) {
  int sign = 0;
  double total = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    const rounded_slope& a = s[(k + 1) % 3];
    const rounded_slope& b = s[(k + 2) % 3];
    const double cross = a.slope.x * b.slope.y - a.slope.y * b.slope.x;
    const double doubt =
        2 * (a.error * (std::fabs(b.slope.x) + std::fabs(b.slope.y) + 2 * b.error) +
             b.error * (std::fabs(a.slope.x) + std::fabs(a.slope.y))) +
        0x1p-50 * (std::fabs(a.slope.x * b.slope.y) + std::fabs(a.slope.y * b.slope.x));
    if (!(std::fabs(cross) > doubt)) return false;
    const int this_sign = cross > 0 ? 1 : -1;
    if (sign == 0) sign = this_sign;
    if (this_sign != sign) return false;
    share[k] = cross;
    total += cross;
  }
  for (double& v : share) v /= total;
  return true;
}

struct origin_test {
  std::vector<std::pair<std::size_t, double>> support;  // slope and multiplier
  exact_xy separating;                                  // slope . separating < 0 for all
};

// The cross and dot product but for the positive denominators.
mpz_class cross(const exact_slope& a, const exact_slope& b) { return a.x * b.y - a.y * b.x; }
mpz_class dot(const exact_slope& a, const exact_slope& b) { return a.x * b.x + a.y * b.y; }

bool is_zero(const exact_slope& s) { return sgn(s.x) == 0 && sgn(s.y) == 0; }

double share_of(const mpz_class& part, const mpz_class& total) {
  return round_quotient(part, total);
}

// The multipliers that make two opposite slopes cancel.
origin_test balanced(const std::vector<exact_slope>& s, std::size_t a, std::size_t b) {
  const mpz_class of_a = (abs(s[b].x) + abs(s[b].y)) * s[a].denominator;
  const mpz_class of_b = (abs(s[a].x) + abs(s[a].y)) * s[b].denominator;
  const mpz_class total = of_a + of_b;
  return {{{a, share_of(of_a, total)}, {b, share_of(of_b, total)}}, {}};
}

// A direction in which all slopes fall; they lie within less than half a turn, a the rightmost and
// b the leftmost.
exact_xy falling_direction(const std::vector<exact_slope>& s, std::size_t a, std::size_t b) {
  const auto unit = [](const exact_slope& v) {
    const mpz_class size = abs(v.x) + abs(v.y);
    return xy{round_quotient(v.x, size), round_quotient(v.y, size)};
  };
  // Rounded where that will do, since every later number grows with it.
  const xy ua = unit(s[a]);
  const xy ub = unit(s[b]);
  const exact_xy rounded = to_exact({-(ua.x + ub.x), -(ua.y + ub.y)});
  if (dot_sign(s[a], rounded) < 0 && dot_sign(s[b], rounded) < 0) return rounded;
  if (sgn(cross(s[a], s[b])) == 0) {
    const exact_xy ta = s[a].turned_left();
    return {-ta.y, ta.x};  // turned on, to the opposite
  }
  const exact_xy ta = s[a].turned_left();  // rises with b, level with a
  const exact_xy tb = s[b].turned_left();  // falls with a, level with b
  return {tb.x - ta.x, tb.y - ta.y};
}

origin_test locate_origin(const std::vector<exact_slope>& s) {
  const std::size_t n = s.size();
  for (std::size_t a = 0; a < n; ++a) {
    if (is_zero(s[a])) return {{{a, 1}}, {}};
  }
  for (std::size_t a = 0; a < n; ++a) {
    for (std::size_t b = a + 1; b < n; ++b) {
      if (sgn(cross(s[a], s[b])) == 0 && sgn(dot(s[a], s[b])) < 0) return balanced(s, a, b);
    }
  }
  for (std::size_t a = 0; a < n; ++a) {
    for (std::size_t b = a + 1; b < n; ++b) {
      const mpz_class ab = cross(s[a], s[b]);
      for (std::size_t c = b + 1; c < n && sgn(ab) != 0; ++c) {
        const mpz_class bc = cross(s[b], s[c]);
        const mpz_class ca = cross(s[c], s[a]);
        if (sgn(bc) != sgn(ab) || sgn(ca) != sgn(ab)) continue;
        const mpz_class of_a = bc * s[a].denominator;
        const mpz_class of_b = ca * s[b].denominator;
        const mpz_class of_c = ab * s[c].denominator;
        const mpz_class total = of_a + of_b + of_c;
        return {
            {{a, share_of(of_a, total)}, {b, share_of(of_b, total)}, {c, share_of(of_c, total)}},
            {}};
      }
    }
  }
  std::size_t right = 0;
  std::size_t left = 0;
  for (std::size_t k = 1; k < n; ++k) {
    if (sgn(cross(s[right], s[k])) < 0) right = k;
    if (sgn(cross(s[left], s[k])) > 0) left = k;
  }
  return {{}, falling_direction(s, right, left)};
}

// Directions, and the slopes of f in them. Choices of pieces take memory for every tied site, so
// they are made again where they are needed again.
struct probes {
  // Room for `first` directions and some more: fractions are copied where a vector grows.
  probes(const exact_place& p, std::size_t first) : place(p) { directions.reserve(first + 4); }

  rounded_slope rounded(std::size_t k) const {
    return place.slope_in_doubles(place.choose(directions[k]));
  }
  exact_slope exact(std::size_t k) const { return place.slope(place.choose(directions[k])); }
  optimality supported_by(std::span<const std::pair<std::size_t, double>> shares) {
    optimality result;
    result.support.reserve(shares.size());
    for (const auto& [k, share] : shares)
      result.support.push_back({share, std::move(directions[k])});
    return result;
  }

  const exact_place& place;
  std::vector<exact_xy> directions;
};

// Away from the point of the convex hull that is nearest to the origin, if the origin is outside.
// Inside a side of the hull it is the side's normal, not the difference of two long slopes that may
// be nearly opposite.
xy away_from_hull(const std::vector<rounded_slope>& s) {
  xy best{0, 0};
  double least = std::numeric_limits<double>::infinity();
  const auto try_point = [&](double distance, const xy& direction) {
    if (distance >= least) return;
    least = distance;
    best = direction;
  };
  for (std::size_t a = 0; a < s.size(); ++a) {
    const xy& from = s[a].slope;
    try_point(std::sqrt(dot(from, from)), {-from.x, -from.y});
    for (std::size_t b = 0; b < a; ++b) {
      const xy step{s[b].slope.x - from.x, s[b].slope.y - from.y};
      const double along = -dot(from, step);
      const double length = dot(step, step);
      if (!(along > 0 && along < length)) continue;
      const xy turned{-step.y, step.x};
      const double side = dot(turned, from);
      try_point(std::fabs(side) / std::sqrt(length), side > 0 ? xy{-turned.x, -turned.y} : turned);
    }
  }
  return best;
}

// Three of the slopes, the last among them, that are surely around the origin.
std::vector<std::pair<std::size_t, double>> sure_support(const std::vector<rounded_slope>& s) {
  const std::size_t last = s.size() - 1;
  std::array<double, 3> share{};
  for (std::size_t a = 0; a < last; ++a) {
    for (std::size_t b = a + 1; b < last; ++b) {
      if (surely_around_origin({s[a], s[b], s[last]}, share))
        return {{a, share[0]}, {b, share[1]}, {last, share[2]}};
    }
  }
  return {};
}

bool surely_falls(const rounded_slope& s, const xy& u) {
  const double rounding = 0x1p-50 * (std::fabs(s.slope.x) + std::fabs(s.slope.y));
  return dot(s.slope, u) < -2 * s.error - rounding;
}

// The test as far as doubles can tell: empty if they cannot.
std::optional<optimality> test_in_doubles(probes& found) {
  std::vector<rounded_slope> slopes;
  std::vector<std::pair<std::size_t, double>> support;
  const auto add_slope = [&] {
    slopes.push_back(found.rounded(slopes.size()));
    support = sure_support(slopes);
    return !support.empty();
  };
  while (slopes.size() < found.directions.size()) {
    if (add_slope()) return found.supported_by(support);
  }
  while (found.directions.size() < kMostRounded) {
    const xy away = away_from_hull(slopes);
    const double size = std::fabs(away.x) + std::fabs(away.y);
    if (!(size > 0)) return {};
    const xy u{away.x / size, away.y / size};
    for (const rounded_slope& s : slopes) {
      if (!surely_falls(s, u)) return {};
    }
    found.directions.push_back(to_exact(u));
    if (add_slope()) return found.supported_by(support);
    if (surely_falls(slopes.back(), u)) {
      optimality result;
      result.descent = found.directions.back();
      return result;
    }
  }
  return {};
}

}  // namespace

optimality test_optimality(const exact_place& place, const std::vector<xy>& first) {
  probes found(place, first.size());
  for (const xy& u : first) {
    if (u.x != 0 || u.y != 0) found.directions.push_back(to_exact(u));
  }
  if (found.directions.empty()) found.directions.push_back({1, 0});
  if (std::optional<optimality> sure = test_in_doubles(found)) return std::move(*sure);
  std::vector<exact_slope> slopes;
  for (std::size_t k = 0; k < found.directions.size(); ++k) slopes.push_back(found.exact(k));
  for (;;) {
    const origin_test t = locate_origin(slopes);
    if (!t.support.empty()) return found.supported_by(t.support);
    found.directions.push_back(t.separating);
    slopes.push_back(found.exact(slopes.size()));
    if (dot_sign(slopes.back(), t.separating) < 0) {
      optimality result;
      result.descent = t.separating;
      return result;
    }
  }
}

}  // namespace planloc::detail
