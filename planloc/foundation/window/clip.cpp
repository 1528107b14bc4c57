#include "planloc/foundation/window/clip.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace planloc::detail {

namespace {

constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool is_number(xy p) { return !std::isnan(p.x) && !std::isnan(p.y); }

xy finite(xy p) {
  return {std::clamp(p.x, -kLargest, kLargest), std::clamp(p.y, -kLargest, kLargest)};
}

box finite(const box& b) {
  const xy low = finite(xy{b.xmin, b.ymin});
  const xy high = finite(xy{b.xmax, b.ymax});
  return {low.x, high.x, low.y, high.y};
}

bool is_box(const box& b) { return b.xmin <= b.xmax && b.ymin <= b.ymax; }

// All differences are taken of quarters: that of two finite doubles may be infinite, that of their
// quarters is not.
xy quarter_difference(xy p, xy q) { return {q.x / 4 - p.x / 4, q.y / 4 - p.y / 4}; }

// One end of the part of p + t d that lies in the box. `edge` is the coordinate of the side that
// set it, exactly, on the axis that `on_x` tells; no side has set it yet if `at_side` is false.
struct Cut {
  double t;
  bool at_side = false;
  bool on_x = false;
  double edge = 0;
};

class Parametric {
 public:
  Parametric(const box& b, xy p, xy d, double t_from, double t_to)
      : b_(b), p_(p), d_(d), from_{t_from}, to_{t_to} {}

  // Liang and Barsky (1984): false if nothing is left.
  bool cut() {
    return cut_axis(true, p_.x, d_.x, b_.xmin, b_.xmax) &&
           cut_axis(false, p_.y, d_.y, b_.ymin, b_.ymax) && from_.t <= to_.t;
  }

  xy from(xy uncut) const { return at(from_, uncut); }
  xy to(xy uncut) const { return at(to_, uncut); }

 private:
  bool cut_axis(bool on_x, double p, double d, double low, double high) {
    if (d == 0) return low <= p && p <= high;
    double enter = low;
    double leave = high;
    if (d < 0) std::swap(enter, leave);
    const double t_enter = (enter / 4 - p / 4) / d;
    const double t_leave = (leave / 4 - p / 4) / d;
    if (t_enter > from_.t) from_ = {t_enter, true, on_x, enter};
    if (t_leave < to_.t) to_ = {t_leave, true, on_x, leave};
    return true;
  }

  xy at(const Cut& c, xy uncut) const {
    if (!c.at_side) return uncut;
    if (c.on_x) {
      const double y = 4 * (p_.y / 4 + c.t * d_.y);
      return {c.edge, std::clamp(y, b_.ymin, b_.ymax)};
    }
    const double x = 4 * (p_.x / 4 + c.t * d_.x);
    return {std::clamp(x, b_.xmin, b_.xmax), c.edge};
  }

  box b_;
  xy p_;
  xy d_;
  Cut from_;
  Cut to_;
};

double distance_from(const box& b, xy p) {
  return std::max(
      {b.xmin / 4 - p.x / 4, p.x / 4 - b.xmax / 4, b.ymin / 4 - p.y / 4, p.y / 4 - b.ymax / 4});
}

std::optional<span> clip_unbounded(const box& any, xy p, xy q, double t_from) {
  if (!is_number(p) || !is_number(q)) return std::nullopt;
  const box b = finite(any);
  if (!is_box(b)) return std::nullopt;
  p = finite(p);
  q = finite(q);
  xy d = quarter_difference(p, q);
  const double largest = std::max(std::fabs(d.x), std::fabs(d.y));
  if (largest == 0) return clip_segment(b, p, p);
  // With 1 as the larger of the two steps, that axis always gives a finite parameter.
  d = {d.x / largest, d.y / largest};
  Parametric part(b, p, d, t_from, kInfinity);
  if (!part.cut()) return std::nullopt;
  return span{part.from(p), part.to(p)};
}

// Sutherland and Hodgman's step: the side of the box is at `edge` on the axis `axis`, and the part
// with sign * coordinate <= sign * edge is kept.
std::vector<xy> clip_side(const std::vector<xy>& vertices, double xy::*axis, double edge,
                          int sign) {
  double xy::*const other = axis == &xy::x ? &xy::y : &xy::x;
  const auto kept = [&](xy p) { return sign * p.*axis <= sign * edge; };
  std::vector<xy> result;
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    const xy p = vertices[i];
    const xy q = vertices[i + 1 < vertices.size() ? i + 1 : 0];
    if (kept(p)) result.push_back(p);
    if (kept(p) == kept(q)) continue;
    // From the kept end, which is the nearer one: the other may be so far off that a difference to
    // it has no digit left for this end of the edge.
    const xy near = kept(p) ? p : q;
    const xy far = kept(p) ? q : p;
    const double t = (edge / 4 - near.*axis / 4) / (far.*axis / 4 - near.*axis / 4);
    xy crossing{};
    crossing.*axis = edge;
    crossing.*other = std::lerp(near.*other, far.*other, t);
    result.push_back(crossing);
  }
  return result;
}

}  // namespace

std::optional<span> clip_segment(const box& any, xy from, xy to) {
  if (!is_number(from) || !is_number(to)) return std::nullopt;
  const box b = finite(any);
  if (!is_box(b)) return std::nullopt;
  from = finite(from);
  to = finite(to);
  // Measured from the end nearer to the box, whose digits are the ones that are seen.
  const bool turned = distance_from(b, to) < distance_from(b, from);
  if (turned) std::swap(from, to);
  Parametric part(b, from, quarter_difference(from, to), 0, 1);
  if (!part.cut()) return std::nullopt;
  span result{part.from(from), part.to(to)};
  if (turned) std::swap(result.from, result.to);
  return result;
}

std::optional<span> clip_ray(const box& b, xy source, xy through) {
  return clip_unbounded(b, source, through, 0);
}

std::optional<span> clip_line(const box& b, xy p, xy q) {
  return clip_unbounded(b, p, q, -kInfinity);
}

std::vector<xy> clip_polygon(const box& any, std::vector<xy> vertices) {
  const box b = finite(any);
  if (!is_box(b)) return {};
  for (xy& p : vertices) {
    if (!is_number(p)) return {};
    p = finite(p);
  }
  vertices = clip_side(vertices, &xy::x, b.xmax, 1);
  vertices = clip_side(vertices, &xy::x, b.xmin, -1);
  vertices = clip_side(vertices, &xy::y, b.ymax, 1);
  return clip_side(vertices, &xy::y, b.ymin, -1);
}

}  // namespace planloc::detail
