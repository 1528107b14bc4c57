#include "planloc/optimum/proof/leaf_walk.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <tuple>

namespace planloc::detail {

namespace {

straight_line line(const mpq_class& a, const mpq_class& b, const mpq_class& c) {
  const mpq_class lead = sgn(a) != 0 ? a : b;
  return {a / lead, b / lead, c / lead};
}

}  // namespace

// All edges but those that another one surely beats everywhere on the triangle.
std::vector<std::size_t> leaf_walk::edges_on(const triangle_state& t, std::uint32_t site) const {
  const std::size_t n = sites_.edges(site);
  std::vector<std::array<interval, 3>> value(n);
  for (std::size_t e = 0; e < n; ++e) {
    for (std::size_t m = 0; m < 3; ++m)
      value[e][m] = dot(sites_.weighted_normal(site, e), sites_.offset(site, exactly(t.at[m])));
  }
  std::vector<std::size_t> result;
  for (std::size_t e = 0; e < n; ++e) {
    const bool beaten = std::any_of(value.begin(), value.end(), [&](const auto& other) {
      return other[0].low > value[e][0].high && other[1].low > value[e][1].high &&
             other[2].low > value[e][2].high;
    });
    if (!beaten) result.push_back(e);
  }
  return result;
}

namespace {

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

// The lines through the triangle on which a distance can break, where the planes of two of its
// edges are equal, or on which the order of two sites can change.
std::set<straight_line> leaf_walk::lines_on(const triangle_state& t) const {
  struct plane {
    std::uint32_t site;
    fraction_pair slope;
    mpq_class right;  // slope . position
    std::array<interval, 3> value;
  };
  std::set<straight_line> lines;
  const auto separate = [&](const plane& p, const plane& q) {
    int sides = 0;
    for (std::size_t m = 0; m < 3; ++m) {
      sides += p.value[m].low > q.value[m].high ? 1 : 0;
      sides -= p.value[m].high < q.value[m].low ? 1 : 0;
    }
    if (sides == 3 || sides == -3) return;
    const mpq_class a = p.slope.x - q.slope.x;
    const mpq_class b = p.slope.y - q.slope.y;
    if (sgn(a) == 0 && sgn(b) == 0) return;
    straight_line l = line(a, b, p.right - q.right);
    if (has_both_sides(t.at, l)) lines.insert(std::move(l));
  };
  const auto planes_of = [&](std::uint32_t site) {
    std::vector<plane> result;
    const double w = sites_.owner().sites()[site].weight;
    const fraction_pair to_base = sites_.exact_offset(site, {0, 0});
    for (const std::size_t e : edges_on(t, site)) {
      plane p{
          site, {sites_.exact_normal(site, e).x * w, sites_.exact_normal(site, e).y * w}, {}, {}};
      p.right = -dot(p.slope, to_base);
      for (std::size_t m = 0; m < 3; ++m)
        p.value[m] = dot(sites_.weighted_normal(site, e), sites_.offset(site, exactly(t.at[m])));
      result.push_back(std::move(p));
    }
    for (std::size_t k = 0; k < result.size(); ++k) {
      for (std::size_t l = 0; l < k; ++l) separate(result[k], result[l]);
    }
    return result;
  };
  for (const auto& d : t.decided) planes_of(d.site);
  std::vector<plane> all;
  for (const std::uint32_t i : t.undecided) {
    for (plane& p : planes_of(i)) {
      for (const plane& q : all) {
        if (q.site != i) separate(p, q);
      }
      all.push_back(std::move(p));
    }
  }
  return lines;
}

std::vector<fraction_pair> leaf_walk::places_on(const corners& t,
                                                const std::set<straight_line>& lines) const {
  std::array<fraction_pair, 3> at;
  for (std::size_t m = 0; m < 3; ++m) at[m] = {mpq_class(t[m].x), mpq_class(t[m].y)};
  const auto turn = [](const fraction_pair& a, const fraction_pair& b, const fraction_pair& c) {
    return sgn(mpq_class((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x)));
  };
  const int sense = turn(at[0], at[1], at[2]);
  if (sense == 0) refuse("triangle " + std::to_string(name_) + ": it has no area");
  std::vector<straight_line> all(lines.begin(), lines.end());
  for (std::size_t m = 0; m < 3; ++m) {
    const fraction_pair& a = at[m];
    const fraction_pair& b = at[(m + 1) % 3];
    all.push_back(line(a.y - b.y, b.x - a.x, (a.y - b.y) * a.x + (b.x - a.x) * a.y));
  }
  const auto earlier = [](const fraction_pair& a, const fraction_pair& b) {
    return std::tie(a.x, a.y) < std::tie(b.x, b.y);
  };
  std::set<fraction_pair, decltype(earlier)> places(at.begin(), at.end(), earlier);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    for (std::size_t k = i + 1; k < all.size(); ++k) {
      const straight_line& l = all[i];
      const straight_line& m = all[k];
      const mpq_class area = l.a * m.b - l.b * m.a;
      if (sgn(area) == 0) continue;
      fraction_pair c{(l.c * m.b - l.b * m.c) / area, (l.a * m.c - l.c * m.a) / area};
      if (turn(at[0], at[1], c) * sense >= 0 && turn(at[1], at[2], c) * sense >= 0 &&
          turn(at[2], at[0], c) * sense >= 0) {
        places.insert(std::move(c));
      }
    }
  }
  return {places.begin(), places.end()};
}

void leaf_walk::check_exactly(const triangle_state& t) const {
  const problem& p = sites_.owner();
  if (!p.polyhedral()) refuse("exact triangles need polyhedral gauges");
  struct load {
    mpq_class weight, x, y;
  };
  std::map<std::pair<std::uint32_t, std::size_t>, load> loads;
  for (const linear_site& s : linear_) {
    const mpq_class w = mpq_class(s.lambda) * p.sites()[s.site].weight;
    const fraction_pair to_base = sites_.exact_offset(s.site, {0, 0});
    load& l = loads[{p.sites()[s.site].gauge, s.edge}];
    l.weight += w;
    l.x += w * to_base.x;
    l.y += w * to_base.y;
  }
  fraction_pair slope;
  mpq_class at_base;
  std::vector<std::size_t> example(p.gauges().size());
  for (std::size_t i = 0; i < p.sites().size(); ++i) example[p.sites()[i].gauge] = i;
  for (const auto& [key, l] : loads) {
    const fraction_pair& n = sites_.exact_normal(example[key.first], key.second);
    slope.x += l.weight * n.x;
    slope.y += l.weight * n.y;
    at_base += l.x * n.x + l.y * n.y;
  }
  for (const fraction_pair& at : places_on(t.at, lines_on(t))) {
    mpq_class value = at_base + dot(slope, at);
    for (const auto& d : t.decided) value += sites_.distance(d.site, at) * d.lambda;
    std::vector<mpq_class> open;
    for (const std::uint32_t i : t.undecided) open.push_back(sites_.distance(i, at));
    std::sort(open.begin(), open.end());
    std::size_t k = 0;
    for (const order_run& r : t.runs) {
      for (const std::size_t end = k + r.count; k < end; ++k) value += open[k] * r.weight;
    }
    if (value < least_)
      refuse("triangle " + std::to_string(name_) + ": one of its places has a lower value");
  }
}

}  // namespace planloc::detail
