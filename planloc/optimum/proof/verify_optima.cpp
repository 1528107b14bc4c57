#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

namespace {

constexpr int kMostSteps = 200;

bool is_nearest(double d, const mpq_class& q) {
  const auto half_way_to = [d](double next) -> mpq_class {
    return (mpq_class(d) + mpq_class(next)) / 2;
  };
  const double infinity = std::numeric_limits<double>::infinity();
  return half_way_to(std::nextafter(d, -infinity)) <= q &&
         q <= half_way_to(std::nextafter(d, infinity));
}

bool is_nearest(const xy& c, const fraction_pair& at) {
  return is_nearest(c.x, at.x) && is_nearest(c.y, at.y);
}

fraction_pair along(const fraction_pair& from, const mpq_class& t, const fraction_pair& u) {
  return {from.x + t * u.x, from.y + t * u.y};
}

fraction_pair difference(const fraction_pair& a, const fraction_pair& b) {
  return {a.x - b.x, a.y - b.y};
}

mpq_class cross(const fraction_pair& a, const fraction_pair& b) { return a.x * b.y - a.y * b.x; }

// The set on which a convex polyhedral f has its least value. Places are absolute.
class least_set {
 public:
  least_set(const problem& p, const mpq_class& least)
      : sites_(p, {0, 0}), all_(p.sites().size()), least_(least) {
    std::iota(all_.begin(), all_.end(), 0U);
  }

  // The set lies on the line through the optimum along u.
  bool is_on_line(const optimal_set& claimed, const fraction_pair& optimum,
                  const fraction_pair& u) const {
    if (claimed.corners.empty() || claimed.corners.size() > 2) return false;
    double far = 0;
    for (const xy& c : claimed.corners)
      far = std::max({far, std::fabs(c.x - optimum.x.get_d()), std::fabs(c.y - optimum.y.get_d())});
    const double size = std::max(std::fabs(u.x.get_d()), std::fabs(u.y.get_d()));
    const double start = far > 0 ? 1.001 * far / size : 1;
    const auto one = end_of(optimum, u, start);
    const auto other = end_of(optimum, {-u.x, -u.y}, start);
    if (!one || !other) return false;
    const bool same = one->at.x == other->at.x && one->at.y == other->at.y;
    if (claimed.corners.size() != (same ? 1 : 2)) return false;
    const xy& first = claimed.corners.front();
    const xy& last = claimed.corners.back();
    return (is_nearest(first, one->at) && is_nearest(last, other->at)) ||
           (is_nearest(first, other->at) && is_nearest(last, one->at));
  }

  // Level sets end where functions that touch f cross a line through the middle from both sides. If
  // they are level along the same line, in one place, the set lies on it. The middle itself, of
  // rounded corners, seldom does.
  bool is_segment(const optimal_set& claimed) const {
    const xy& a = claimed.corners[0];
    const xy& b = claimed.corners[1];
    const fraction_pair middle{(mpq_class(a.x) + mpq_class(b.x)) / 2,
                               (mpq_class(a.y) + mpq_class(b.y)) / 2};
    const fraction_pair across{mpq_class(a.y) - mpq_class(b.y), mpq_class(b.x) - mpq_class(a.x)};
    const auto left = end_of(middle, across, 1);
    const auto right = end_of(middle, {-across.x, -across.y}, 1);
    if (!left || !right || left->at.x != right->at.x || left->at.y != right->at.y) return false;
    const fraction_pair& slope = left->beyond.slope;
    if (sgn(cross(slope, right->beyond.slope)) != 0 || sgn(dot(slope, right->beyond.slope)) >= 0)
      return false;
    return is_on_line(claimed, left->at, {-slope.y, slope.x});
  }

  // Through the middle of each claimed side a ray from inside finds the line of a true side. The
  // set lies within these lines; it reaches their crossings if f is least there.
  bool is_polygon(const optimal_set& claimed) const {
    const std::vector<xy>& c = claimed.corners;
    if (c.size() < 3) return false;
    fraction_pair inside;
    for (const xy& at : c) {
      inside.x += mpq_class(at.x) / static_cast<double>(c.size());
      inside.y += mpq_class(at.y) / static_cast<double>(c.size());
    }
    if (value(inside) != least_) return false;
    std::vector<affine_function> sides;
    for (std::size_t k = 0; k < c.size(); ++k) {
      const xy& next = c[(k + 1) % c.size()];
      const fraction_pair middle{(mpq_class(c[k].x) + mpq_class(next.x)) / 2,
                                 (mpq_class(c[k].y) + mpq_class(next.y)) / 2};
      const auto end = end_of(inside, difference(middle, inside), 1.001);
      if (!end) return false;
      sides.push_back(end->beyond);
    }
    return corners_fit(c, sides);
  }

 private:
  struct border {
    fraction_pair at;
    affine_function beyond;  // nowhere above f, above the least value from `at` on
  };

  affine_function touching(const fraction_pair& at) const {
    fraction_loads loads(sites_);
    add_in_order(sites_, all_, sites_.owner().runs(), at, loads);
    return loads.sum();
  }
  mpq_class value(const fraction_pair& at) const { return value_at(touching(at), at); }

  // The last place with the least value on the line of a ray: Newton's method from outside, where
  // any function that touches f rises along the ray.
  std::optional<border> end_of(const fraction_pair& from, const fraction_pair& u,
                               double start) const {
    mpq_class t(start);
    std::optional<affine_function> beyond;
    for (int step = 0; step < kMostSteps; ++step) {
      const fraction_pair at = along(from, t, u);
      affine_function f = touching(at);
      const mpq_class excess = value_at(f, at) - least_;
      if (sgn(excess) == 0) {
        if (beyond) return border{at, *std::move(beyond)};
        t *= 2;
        continue;
      }
      const mpq_class rise = dot(f.slope, u);
      if (sgn(rise) <= 0) return std::nullopt;  // the ray misses the set
      t -= excess / rise;
      beyond = std::move(f);
    }
    return std::nullopt;
  }

  bool corners_fit(const std::vector<xy>& claimed,
                   const std::vector<affine_function>& sides) const {
    std::vector<fraction_pair> exact;
    for (std::size_t k = 0; k < sides.size(); ++k) {
      const affine_function& f = sides[(k + sides.size() - 1) % sides.size()];
      const affine_function& g = sides[k];
      const mpq_class area = cross(f.slope, g.slope);
      if (sgn(area) <= 0) return false;  // not to the left
      const mpq_class a = least_ - f.at_origin;
      const mpq_class b = least_ - g.at_origin;
      const fraction_pair at{(a * g.slope.y - b * f.slope.y) / area,
                             (f.slope.x * b - g.slope.x * a) / area};
      if (!is_nearest(claimed[k], at) || value(at) != least_) return false;
      exact.push_back(at);
    }
    std::size_t turns_up = 0;  // once around
    for (std::size_t k = 0; k < exact.size(); ++k) {
      const fraction_pair& a = exact[k];
      const fraction_pair& b = exact[(k + 1) % exact.size()];
      const fraction_pair& c = exact[(k + 2) % exact.size()];
      if (sgn(cross(difference(b, a), difference(c, b))) <= 0) return false;
      turns_up += a.y >= b.y && b.y < c.y ? 1 : 0;
    }
    return turns_up == 1;
  }

  verified_sites sites_;
  std::vector<std::uint32_t> all_;
  mpq_class least_;
};

}  // namespace

// Where the set has any place, each piece with a multiplier has the least value: three pieces leave
// a point, two a line.
bool optima_proved(const problem& p, const optimal_set& claimed, const fraction_pair& optimum,
                   const mpq_class& least, std::size_t pieces, const fraction_pair& slope) {
  if (p.runs().size() == 1 && p.runs()[0].weight == 0) return claimed.whole_plane;
  if (claimed.whole_plane) return false;
  for (const xy& c : claimed.corners) {
    if (!(std::fabs(c.x) <= kMostInClaim) || !(std::fabs(c.y) <= kMostInClaim)) return false;
  }
  if (pieces == 3) return claimed.corners.size() == 1 && is_nearest(claimed.corners[0], optimum);
  const least_set set(p, least);
  if (pieces == 2) return set.is_on_line(claimed, optimum, {-slope.y, slope.x});
  return claimed.corners.size() == 2 ? set.is_segment(claimed) : set.is_polygon(claimed);
}

}  // namespace planloc::detail
