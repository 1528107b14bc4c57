#include "planloc/optimum/proof/leaf_walk.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>
#include <tuple>

namespace planloc::detail {

namespace {

// The lines through a triangle, and in one certificate all that may be such lines and their
// crossings: far more than searches leave, so that one that was made up cannot keep `verify` busy
// for ever.
constexpr std::size_t kMostLines = 1000;
constexpr std::size_t kSteps = 500000;
constexpr std::size_t kStepsATriangle = 6000;

straight_line line(const mpq_class& a, const mpq_class& b, const mpq_class& c) {
  const mpq_class lead = sgn(a) != 0 ? a : b;
  return {a / lead, b / lead, c / lead};
}

bool has_both_sides(const corners& t, const straight_line& l) {
  bool less = false;
  bool more = false;
  for (const xy& c : t) {
    const int side = sgn(mpq_class(l.a * c.x + l.b * c.y - l.c));
    less = less || side < 0;
    more = more || side > 0;
  }
  return less && more;
}

}  // namespace

// Those that may meet the triangle: it is neither surely on one side of their line nor behind them.
std::vector<std::size_t> leaf_walk::rays_on(const triangle_state& t, std::uint32_t site) const {
  std::array<interval_pair, 3> corner;
  for (std::size_t m = 0; m < 3; ++m) corner[m] = sites_.offset(site, exactly(t.at[m]));
  const std::span<const xy> rays = sites_.owner().gauge_of(site).vertices();
  std::vector<std::size_t> result;
  for (std::size_t k = 0; k < rays.size(); ++k) {
    const interval_pair v = exactly(rays[k]);
    int left = 0;
    int right = 0;
    int behind = 0;
    for (const interval_pair& u : corner) {
      const interval side = v.x * u.y - v.y * u.x;
      left += side.low > 0 ? 1 : 0;
      right += side.high < 0 ? 1 : 0;
      behind += dot(v, u).high < 0 ? 1 : 0;
    }
    if (left < 3 && right < 3 && behind < 3) result.push_back(k);
  }
  return result;
}

// The edges of a site's gauge that may be in force on the triangle, as planes: on the way from a
// corner they change where a ray is crossed.
std::vector<leaf_walk::edge_plane> leaf_walk::planes_on(
    const triangle_state& t, std::uint32_t site, const std::vector<std::size_t>& rays) const {
  const std::size_t n = sites_.edges(site);
  std::set<std::size_t> edges;
  sites_.visit_likely_edges(site, exactly(t.at[0]), [&](std::size_t e) { edges.insert(e); });
  for (const std::size_t k : rays) {
    edges.insert(k);
    edges.insert((k + n - 1) % n);
  }
  std::vector<edge_plane> result;
  for (const std::size_t e : edges) {
    edge_plane& p = result.emplace_back(edge_plane{site, e, {}});
    const interval_pair normal = sites_.weighted_normal(site, e);
    for (std::size_t m = 0; m < 3; ++m)
      p.value[m] = dot(normal, sites_.offset(site, exactly(t.at[m])));
  }
  return result;
}

straight_line leaf_walk::line_of_ray(std::uint32_t site, std::size_t ray) const {
  const xy& v = sites_.owner().gauge_of(site).vertices()[ray];
  const fraction_pair to_base = sites_.exact_offset(site, {0, 0});
  return line(-v.y, v.x, v.y * to_base.x - v.x * to_base.y);
}

// Where two planes are equal; nothing if that is nowhere or everywhere.
std::optional<straight_line> leaf_walk::line_between(const edge_plane& p,
                                                     const edge_plane& q) const {
  const auto function_of = [this](const edge_plane& s) {
    const double w = sites_.owner().sites()[s.site].weight;
    const fraction_pair& n = sites_.exact_normal(s.site, s.edge);
    affine_function f{{n.x * w, n.y * w}, 0};
    f.at_origin = dot(f.slope, sites_.exact_offset(s.site, {0, 0}));
    return f;
  };
  const affine_function f = function_of(p);
  const affine_function g = function_of(q);
  const mpq_class a = f.slope.x - g.slope.x;
  const mpq_class b = f.slope.y - g.slope.y;
  if (sgn(a) == 0 && sgn(b) == 0) return std::nullopt;
  return line(a, b, g.at_origin - f.at_origin);
}

// The lines through the triangle on which a distance can break, or on which the order of two sites
// can change.
std::set<straight_line> leaf_walk::lines_on(const triangle_state& t) {
  std::set<straight_line> lines;
  const auto add = [&](straight_line l) {
    spend(1);
    if (has_both_sides(t.at, l)) lines.insert(std::move(l));
    if (lines.size() > kMostLines) refuse_many_lines();
  };
  const auto add_rays = [&](std::uint32_t site) {
    const std::vector<std::size_t> rays = rays_on(t, site);
    for (const std::size_t k : rays) add(line_of_ray(site, k));
    return rays;
  };
  const auto surely_apart = [](const edge_plane& p, const edge_plane& q) {
    int sides = 0;
    for (std::size_t m = 0; m < 3; ++m) {
      sides += p.value[m].low > q.value[m].high ? 1 : 0;
      sides -= p.value[m].high < q.value[m].low ? 1 : 0;
    }
    return sides == 3 || sides == -3;
  };
  for (const seen_site& d : t.decided) add_rays(d.site);
  // By site, of those that are one to the problem the first.
  std::vector<std::vector<edge_plane>> all;
  for (const seen_site& seen : t.undecided) {
    if (std::any_of(all.begin(), all.end(), [&](const auto& other) {
          return same_term(sites_.owner(), other[0].site, seen.site);
        }))
      continue;
    std::vector<edge_plane> own = planes_on(t, seen.site, add_rays(seen.site));
    for (const edge_plane& p : own) {
      for (const auto& other : all) {
        for (const edge_plane& q : other) {
          if (surely_apart(p, q)) continue;
          std::optional<straight_line> l = line_between(p, q);
          if (l) add(std::move(*l));
        }
      }
    }
    all.push_back(std::move(own));
  }
  return lines;
}

// Whether f is at least what the walk is after, or more, at places of one triangle.
class place_check {
 public:
  place_check(const leaf_walk& walk, const triangle_state& t, bool strictly)
      : walk_(walk), triangle_(t), strictly_(strictly), linear_(walk.sites_) {
    for (const leaf_walk::linear_site& s : walk.linear_) linear_.add(s.site, s.edge, s.lambda);
    for (const seen_site& s : t.undecided) open_.push_back(s.site);
    distance_.resize(open_.size());
  }

  bool surely(const interval_pair& at) {
    const double low = value(at).low;
    return strictly_ ? low > walk_.least_in_doubles_ : low >= walk_.least_in_doubles_;
  }

  interval value(const interval_pair& at) {
    const verified_sites& sites = walk_.sites_;
    interval value = triangle_.sum_at_base + dot(triangle_.slope, at);
    for (const seen_site& s : triangle_.decided)
      value = value + s.lambda * sites.distance(s.site, at);
    // The k-th smallest of numbers that grow grows.
    for (std::size_t k = 0; k < open_.size(); ++k) distance_[k] = sites.distance(open_[k], at);
    std::vector<double> low, high;
    for (const interval& d : distance_) {
      low.push_back(d.low);
      high.push_back(d.high);
    }
    std::sort(low.begin(), low.end());
    std::sort(high.begin(), high.end());
    std::size_t k = 0;
    for (const order_run& r : triangle_.runs) {
      for (const std::size_t end = k + r.count; k < end; ++k)
        value = value + interval(r.weight) * interval(low[k], high[k]);
    }
    return value;
  }

  bool exactly(const fraction_pair& at) const {
    fraction_loads loads = linear_;
    const interval_pair near{around(at.x), around(at.y)};
    for (const seen_site& s : triangle_.decided)
      loads.add(s.site, walk_.sites_.active_edge(s.site, at, near), s.lambda.low);
    add_in_order(walk_.sites_, open_, triangle_.runs, at, loads);
    const int sign = cmp(loads.value(at), walk_.least_);
    return sign >= (strictly_ ? 1 : 0) || (walk_.where_ && !walk_.where_->permits(at));
  }

 private:
  const leaf_walk& walk_;
  const triangle_state& triangle_;
  bool strictly_;
  fraction_loads linear_;
  std::vector<std::uint32_t> open_;
  std::vector<interval> distance_;
};

namespace {

struct rounded_line {
  straight_line exact;
  interval a, b, c;

  explicit rounded_line(straight_line l)
      : exact(std::move(l)), a(around(exact.a)), b(around(exact.b)), c(around(exact.c)) {}

  bool passes(const fraction_pair& at, const interval_pair& near) const {
    const interval side = a * near.x + b * near.y - c;
    return side.low <= 0 && side.high >= 0 &&
           sgn(mpq_class(exact.a * at.x + exact.b * at.y - exact.c)) == 0;
  }
};

// A triangle as three half-planes: a x + b y >= c.
class half_planes {
 public:
  explicit half_planes(const corners& t) {
    for (std::size_t m = 0; m < 3; ++m) {
      const fraction_pair a = in_fractions(t[m]);
      const fraction_pair b = in_fractions(t[(m + 1) % 3]);
      const fraction_pair inside = in_fractions(t[(m + 2) % 3]);
      straight_line l{a.y - b.y, b.x - a.x, (a.y - b.y) * a.x + (b.x - a.x) * a.y};
      const int side = sgn(mpq_class(l.a * inside.x + l.b * inside.y - l.c));
      flat_ = flat_ || side == 0;
      if (side < 0) l = {-l.a, -l.b, -l.c};
      side_.emplace_back(std::move(l));
    }
  }

  bool flat() const { return flat_; }
  const std::vector<rounded_line>& sides() const { return side_; }
  bool surely_outside(const interval_pair& at) const {
    return std::any_of(side_.begin(), side_.end(), [&](const rounded_line& l) {
      return (l.a * at.x + l.b * at.y - l.c).high < 0;
    });
  }
  bool outside(const fraction_pair& at) const {
    return std::any_of(side_.begin(), side_.end(), [&](const rounded_line& l) {
      return sgn(mpq_class(l.exact.a * at.x + l.exact.b * at.y - l.exact.c)) < 0;
    });
  }

 private:
  std::vector<rounded_line> side_;
  bool flat_ = false;
};

// Of lines that surely cross.
std::optional<interval_pair> sure_crossing(const rounded_line& l, const rounded_line& m) {
  const interval area = l.a * m.b - l.b * m.a;
  if (area.low <= 0 && area.high >= 0) return std::nullopt;
  const interval x = l.c * m.b - l.b * m.c;
  const interval y = l.a * m.c - l.c * m.a;
  return area.low > 0 ? interval_pair{x / area, y / area} : interval_pair{-x / -area, -y / -area};
}

std::optional<fraction_pair> crossing(const straight_line& l, const straight_line& m) {
  const mpq_class area = l.a * m.b - l.b * m.a;
  if (sgn(area) == 0) return std::nullopt;
  return fraction_pair{(l.c * m.b - l.b * m.c) / area, (l.a * m.c - l.c * m.a) / area};
}

}  // namespace

// The lines of the sides of regions that cross the triangle.
void leaf_walk::add_sides(const corners& t, std::set<straight_line>& lines) const {
  for (const walked_regions::segment& side : where_->sides_in(t)) {
    const mpq_class a = side.a.y - side.b.y;
    const mpq_class b = side.b.x - side.a.x;
    straight_line l = line(a, b, a * side.a.x + b * side.a.y);
    if (has_both_sides(t, l)) lines.insert(std::move(l));
  }
}

void leaf_walk::spend(std::size_t steps) {
  spent_ += steps;
  if (spent_ > kSteps + kStepsATriangle * reasons_.size()) refuse_many_lines();
}

void leaf_walk::refuse_many_lines() const {
  refuse("triangle " + std::to_string(name_) + ": too many lines cross it");
}

void leaf_walk::check_exactly(const triangle_state& t) {
  if (!sites_.owner().polyhedral()) refuse("exact triangles need polyhedral gauges");
  if (!exceeds_at_crossings(t, false))
    refuse("triangle " + std::to_string(name_) + ": one of its places has a lower value");
}

// Whether f is surely less than the walk is after at a corner or at the centroid.
bool leaf_walk::surely_less(const triangle_state& t) const {
  place_check check(*this, t, true);
  std::array<xy, kPoints> places{
      xy{(t.at[0].x + t.at[1].x + t.at[2].x) / 3, (t.at[0].y + t.at[1].y + t.at[2].y) / 3}, t.at[0],
      t.at[1], t.at[2]};
  return std::any_of(places.begin(), places.end(), [&](const xy& at) {
    const double high = check.value(exactly(at)).high;
    return high < least_in_doubles_ && mpq_class(high) < least_ &&
           (where_ == nullptr || where_->permits(in_fractions(at)));
  });
}

// At the corners and at all crossings of two lines, or of a line and a side. In intervals, and
// without loss where they cannot tell; of lines that meet in a place without loss once.
bool leaf_walk::exceeds_at_crossings(const triangle_state& t, bool strictly) {
  const half_planes area(t.at);
  if (area.flat()) refuse("triangle " + std::to_string(name_) + ": it has no area");
  place_check check(*this, t, strictly);
  for (const xy& c : t.at) {
    if (!check.surely(exactly(c)) && !check.exactly(in_fractions(c))) return false;
  }
  std::vector<rounded_line> all;
  std::set<straight_line> breaks = lines_on(t);
  if (where_ != nullptr) {
    add_sides(t.at, breaks);
    for (const fraction_pair& c : where_->corners_in(t.at)) {
      if (!check.exactly(c)) return false;
    }
  }
  for (const straight_line& l : breaks) all.emplace_back(l);
  const std::size_t lines = all.size();
  all.insert(all.end(), area.sides().begin(), area.sides().end());
  spend(lines * all.size() / 2);
  // By pair of lines: that they meet in a place that was checked without loss.
  std::vector<bool> met(lines * all.size());
  for (std::size_t i = 0; i < lines; ++i) {
    for (std::size_t k = i + 1; k < all.size(); ++k) {
      const auto near = sure_crossing(all[i], all[k]);
      if (near && (area.surely_outside(*near) || check.surely(*near))) continue;
      if (met[i * all.size() + k]) continue;
      const auto at = crossing(all[i].exact, all[k].exact);
      if (!at || area.outside(*at)) continue;
      if (!check.exactly(*at)) return false;
      const interval_pair rounded{around(at->x), around(at->y)};
      std::vector<std::size_t> through;
      for (std::size_t l = i; l < all.size(); ++l) {
        if (!all[l].passes(*at, rounded)) continue;
        for (const std::size_t other : through) {
          if (other < lines) met[other * all.size() + l] = true;
        }
        through.push_back(l);
      }
    }
  }
  return true;
}

}  // namespace planloc::detail
