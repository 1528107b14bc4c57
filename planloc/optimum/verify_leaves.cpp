#include "planloc/optimum/verify_leaves.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <tuple>

namespace planloc::detail {

namespace {

using reason = branch_certificate::reason;
using corners = std::array<xy, 3>;

struct straight_line {
  mpq_class a, b, c;  // a x + b y == c, the first coefficient that is not 0 is 1

  friend bool operator<(const straight_line& l, const straight_line& m) {
    return std::tie(l.a, l.b, l.c) < std::tie(m.a, m.b, m.c);
  }
};

straight_line line(const mpq_class& a, const mpq_class& b, const mpq_class& c) {
  const mpq_class lead = sgn(a) != 0 ? a : b;
  return {a / lead, b / lead, c / lead};
}

// What holds on a triangle, inherited by its halves.
struct triangle_state {
  struct weighted_site {
    std::uint32_t site;
    double lambda;
  };

  corners at;
  std::vector<weighted_site> decided;
  std::vector<std::uint32_t> undecided;
  std::vector<order_run> runs;
  interval sum_at_base;  // of the sites that are linear here and decided
  interval_pair slope;
};

// Walks the triangles of a certificate and sees to it that f is nowhere less than `least`.
class leaf_walk {
 public:
  leaf_walk(const verified_sites& sites, const std::vector<reason>& reasons, mpq_class least)
      : sites_(sites), reasons_(reasons), least_(std::move(least)) {}

  void walk(const corners& root);
  void end() const {
    if (next_ != reasons_.size()) refuse("there are more reasons than triangles");
  }

 private:
  static constexpr std::size_t kPoints = 4;
  static constexpr int kMostHalvings = 8;
  static constexpr double kInwards = 0x1p-7;

  struct site_on_triangle {
    std::uint32_t site;
    std::array<interval, 3> value;                         // at the corners
    std::array<std::array<interval, 3>, kPoints> tangent;  // by place where it is taken
    std::array<double, kPoints> height;                    // at those places
    double lower, upper;
    std::uint32_t first_run = 0, last_run = 0;
  };
  struct linear_site {
    std::uint32_t site;
    double lambda;
    std::size_t edge;
  };
  using rows = std::array<std::array<interval, 3>, kPoints>;

  void visit(triangle_state t);
  void prove_by_bound(triangle_state t, int halvings);
  void look(triangle_state& t, double inwards = 0);
  site_on_triangle view(const triangle_state& t, std::uint32_t site) const;
  void decide(triangle_state& t);
  void keep(triangle_state& t, const site_on_triangle& v, double lambda);
  double bound(const triangle_state& t);
  rows rest(const triangle_state& t) const;
  interval sorted_bounds(const triangle_state& t) const;
  void add_steps(const triangle_state& t, rows& r) const;

  void check_exactly(const triangle_state& t) const;
  std::vector<std::size_t> edges_on(const triangle_state& t, std::uint32_t site) const;
  std::set<straight_line> lines_on(const triangle_state& t) const;
  std::vector<fraction_pair> places_on(const corners& t,
                                       const std::set<straight_line>& lines) const;

  const verified_sites& sites_;
  const std::vector<reason>& reasons_;
  mpq_class least_;
  std::size_t next_ = 0;
  std::size_t name_ = 0;             // of the triangle at hand
  std::vector<linear_site> linear_;  // along the walk from the root
  // Of the triangle at hand.
  std::array<xy, kPoints> points_{};
  std::vector<site_on_triangle> undecided_, decided_;
};

interval_pair exactly(const xy& at) { return {interval(at.x), interval(at.y)}; }

// ----- Walk -----

void leaf_walk::walk(const corners& root) {
  triangle_state t;
  t.at = root;
  const problem& p = sites_.owner();
  t.undecided.resize(p.sites().size());
  std::iota(t.undecided.begin(), t.undecided.end(), 0U);
  t.runs.assign(p.runs().begin(), p.runs().end());
  visit(std::move(t));
}

xy middle_of(const xy& a, const xy& b) {
  const xy m{a.x + (b.x - a.x) / 2, a.y + (b.y - a.y) / 2};
  if (mpq_class(a.x) + mpq_class(b.x) != 2 * mpq_class(m.x) ||
      mpq_class(a.y) + mpq_class(b.y) != 2 * mpq_class(m.y)) {
    refuse("triangles too small to be halved exactly");
  }
  return m;
}

std::pair<triangle_state, triangle_state> halves_of(triangle_state t) {
  triangle_state other = t;
  if (t.at[1] == t.at[2]) {
    const xy m = middle_of(t.at[0], t.at[1]);
    other.at = {t.at[1], m, m};
    t.at = {t.at[0], m, m};
  } else {
    const xy m = middle_of(t.at[1], t.at[2]);
    other.at = {m, t.at[2], t.at[0]};
    t.at = {m, t.at[0], t.at[1]};
  }
  return {std::move(t), std::move(other)};
}

void leaf_walk::visit(triangle_state t) {
  if (next_ == reasons_.size()) refuse("triangles without a reason");
  name_ = next_;
  const reason why = reasons_[next_++];
  if (why == reason::bound) return prove_by_bound(std::move(t), 0);
  const std::size_t linear_above = linear_.size();
  look(t);
  if (why == reason::exact) {
    check_exactly(t);
  } else if (why == reason::halved) {
    auto [one, other] = halves_of(std::move(t));
    visit(std::move(one));
    visit(std::move(other));
  } else {
    refuse("triangle " + std::to_string(name_) + ": no such reason");
  }
  linear_.resize(linear_above);
}

// Where several sites tie at a corner, planes may be chosen otherwise than the search did, and be
// worse: others, taken off the corners, or its halves may then still prove what the triangle does
// not.
void leaf_walk::prove_by_bound(triangle_state t, int halvings) {
  const std::size_t linear_above = linear_.size();
  const auto proved = [&] { return mpq_class(bound(t)) >= least_; };
  look(t);
  bool done = proved();
  if (!done) {
    look(t, kInwards);
    done = proved();
  }
  if (!done) {
    if (halvings == kMostHalvings)
      refuse("triangle " + std::to_string(name_) + ": its bound is too low");
    auto [one, other] = halves_of(std::move(t));
    prove_by_bound(std::move(one), halvings + 1);
    prove_by_bound(std::move(other), halvings + 1);
  }
  linear_.resize(linear_above);
}

// ----- Sites on a triangle -----

leaf_walk::site_on_triangle leaf_walk::view(const triangle_state& t, std::uint32_t site) const {
  site_on_triangle v{};
  v.site = site;
  v.upper = 0;
  v.lower = 0;
  for (std::size_t m = 0; m < 3; ++m) {
    v.value[m] = sites_.distance(site, exactly(t.at[m]));
    v.upper = std::max(v.upper, v.value[m].high);
  }
  for (std::size_t j = 0; j < kPoints; ++j) {
    const interval_pair slope = sites_.slope(site, points_[j]);
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t m = 0; m < 3; ++m) {
      v.tangent[j][m] = dot(slope, sites_.offset(site, exactly(t.at[m])));
      least = std::min(least, v.tangent[j][m].low);
    }
    v.lower = std::max(v.lower, least);
    v.height[j] = dot(slope, sites_.offset(site, exactly(points_[j]))).low;
  }
  return v;
}

// Tangents are taken at the centroid and the corners, or, where sites may tie there, somewhat off.
void leaf_walk::look(triangle_state& t, double inwards) {
  points_ = {xy{(t.at[0].x + t.at[1].x + t.at[2].x) / 3, (t.at[0].y + t.at[1].y + t.at[2].y) / 3},
             t.at[0], t.at[1], t.at[2]};
  const xy middle = points_[0];
  for (std::size_t m = 1; m < kPoints; ++m) {
    points_[m].x += inwards * (middle.x - points_[m].x);
    points_[m].y += inwards * (middle.y - points_[m].y);
  }
  points_[0].x += inwards * (t.at[0].x - middle.x);
  points_[0].y += inwards * (t.at[0].y - middle.y);
  undecided_.clear();
  decided_.clear();
  for (const std::uint32_t i : t.undecided) undecided_.push_back(view(t, i));
  const auto before = std::move(t.decided);
  t.decided.clear();
  for (const auto& d : before) keep(t, view(t, d.site), d.lambda);
  decide(t);
}

// A site has at least as many others below it as have their largest value below its least one, and
// correspondingly above.
void leaf_walk::decide(triangle_state& t) {
  if (undecided_.empty()) return;
  std::vector<double> lower, upper;
  for (const site_on_triangle& v : undecided_) {
    lower.push_back(v.lower);
    upper.push_back(v.upper);
  }
  std::sort(lower.begin(), lower.end());
  std::sort(upper.begin(), upper.end());
  const auto run_at = [&](std::size_t rank) {
    std::uint32_t r = 0;
    while (rank >= t.runs[r].count) rank -= t.runs[r++].count;
    return r;
  };
  std::vector<order_run> left = t.runs;
  std::vector<site_on_triangle> open;
  t.undecided.clear();
  for (site_on_triangle& v : undecided_) {
    const auto below_it = std::lower_bound(upper.begin(), upper.end(), v.lower) - upper.begin();
    const auto above_it = lower.end() - std::upper_bound(lower.begin(), lower.end(), v.upper);
    v.first_run = run_at(static_cast<std::size_t>(below_it));
    v.last_run = run_at(lower.size() - 1 - static_cast<std::size_t>(above_it));
    if (v.first_run == v.last_run) {
      --left[v.first_run].count;
      keep(t, v, t.runs[v.first_run].weight);
      continue;
    }
    t.undecided.push_back(v.site);
    open.push_back(v);
    // f rises with a distance whose order weights are not negative: the tangent stands for it.
    bool rises = true;
    bool falls = true;
    for (std::uint32_t r = v.first_run; r <= v.last_run; ++r) {
      rises = rises && t.runs[r].weight >= 0;
      falls = falls && t.runs[r].weight <= 0;
    }
    if (!rises && !falls) continue;
    site_on_triangle& w = open.back();
    if (rises) w.value = w.tangent[0];
    w.tangent.fill(w.value);
    w.height = {(w.value[0].low + w.value[1].low + w.value[2].low) / 3, w.value[0].low,
                w.value[1].low, w.value[2].low};
  }
  undecided_ = std::move(open);
  t.runs.clear();
  for (const order_run& r : left) {
    if (r.count == 0) continue;
    if (!t.runs.empty() && t.runs.back().weight == r.weight) {
      t.runs.back().count += r.count;
    } else {
      t.runs.push_back(r);
    }
  }
}

void leaf_walk::keep(triangle_state& t, const site_on_triangle& v, double lambda) {
  if (lambda == 0) return;
  if (sites_.polyhedral(v.site)) {
    const std::size_t edge = sites_.likely_edge(v.site, points_[0]);
    if (std::all_of(t.at.begin(), t.at.end(),
                    [&](const xy& c) { return sites_.in_cone(v.site, edge, c); })) {
      const interval_pair n = sites_.weighted_normal(v.site, edge);
      const interval l(lambda);
      t.sum_at_base = t.sum_at_base + l * dot(n, sites_.offset(v.site, exactly({0, 0})));
      t.slope = {t.slope.x + l * n.x, t.slope.y + l * n.y};
      linear_.push_back({v.site, lambda, edge});
      return;
    }
  }
  t.decided.push_back({v.site, lambda});
  decided_.push_back(v);
}

// ----- Bound in intervals -----

leaf_walk::rows leaf_walk::rest(const triangle_state& t) const {
  rows r;
  for (std::size_t m = 0; m < 3; ++m) {
    const interval linear = t.sum_at_base + dot(t.slope, exactly(t.at[m]));
    for (auto& row : r) row[m] = linear;
  }
  for (std::size_t k = 0; k < decided_.size(); ++k) {
    const interval l(t.decided[k].lambda);
    for (std::size_t j = 0; j < kPoints; ++j) {
      for (std::size_t m = 0; m < 3; ++m)
        r[j][m] = r[j][m] + l * (l.low > 0 ? decided_[k].tangent[j][m] : decided_[k].value[m]);
    }
  }
  return r;
}

interval leaf_walk::sorted_bounds(const triangle_state& t) const {
  std::vector<double> lower, upper;
  for (const site_on_triangle& v : undecided_) {
    lower.push_back(v.lower);
    upper.push_back(v.upper);
  }
  std::sort(lower.begin(), lower.end());
  std::sort(upper.begin(), upper.end());
  interval sum;
  std::size_t k = 0;
  for (const order_run& r : t.runs) {
    for (const std::size_t end = k + r.count; k < end; ++k)
      sum = sum + interval(r.weight) * interval(r.weight >= 0 ? lower[k] : upper[k]);
  }
  return sum;
}

// f is a sum of order weights that rise, times sorted distances, less another such sum. Any order
// of the sites gives a minorant of the first; the second is convex, so that its values at the
// corners, where sorted bounds hold, bound it from above.
void leaf_walk::add_steps(const triangle_state& t, rows& r) const {
  std::vector<interval> rising, falling;
  interval up;
  double last = 0;
  for (const order_run& run : t.runs) {
    if (run.weight > last) up = up + (interval(run.weight) - interval(last));
    last = run.weight;
    // Exact steps keep exact sums of equal ends; otherwise the larger end is a valid step for both.
    const interval step(up.high);
    rising.insert(rising.end(), run.count, step);
    falling.insert(falling.end(), run.count, step - interval(run.weight));
    up = step;
  }
  std::vector<std::size_t> order(undecided_.size());
  std::iota(order.begin(), order.end(), 0U);
  for (std::size_t j = 0; j < kPoints; ++j) {
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      return undecided_[a].height[j] < undecided_[b].height[j];
    });
    for (std::size_t k = 0; k < order.size(); ++k) {
      for (std::size_t m = 0; m < 3; ++m)
        r[j][m] = r[j][m] + rising[k] * undecided_[order[k]].tangent[j][m];
    }
  }
  for (std::size_t m = 0; m < 3; ++m) {
    std::vector<double> high;
    for (const site_on_triangle& v : undecided_) high.push_back(v.value[m].high);
    std::sort(high.begin(), high.end());
    interval concave;
    for (std::size_t k = 0; k < high.size(); ++k)
      concave = concave + falling[k] * interval(high[k]);
    for (auto& row : r) row[m] = row[m] - interval(concave.high);
  }
}

double least_of(const std::array<interval, 3>& a) {
  return std::min({a[0].low, a[1].low, a[2].low});
}

// A lower bound of the least value of the largest of four planes: that of one of their mixtures.
// The shares come from doubles; their sum is made up for in intervals.
double least_of_planes(const std::array<std::array<interval, 3>, 4>& r) {
  double best = -std::numeric_limits<double>::infinity();
  const auto mix = [&](const std::array<double, 4>& share) {
    interval total;
    std::array<interval, 3> sum{};
    for (std::size_t j = 0; j < 4; ++j) {
      if (!(share[j] >= 0)) return;
      if (share[j] == 0) continue;
      total = total + interval(share[j]);
      for (std::size_t m = 0; m < 3; ++m) sum[m] = sum[m] + interval(share[j]) * r[j][m];
    }
    if (!(total.low > 0) || !(total.high < 2)) return;
    for (interval& s : sum) s = s / total;
    best = std::max(best, least_of(sum));
  };
  const auto d = [&](std::size_t j, std::size_t m, std::size_t n) {
    return r[j][m].low - r[j][n].low;
  };
  for (std::size_t i = 0; i < 4; ++i) {
    best = std::max(best, least_of(r[i]));
    for (std::size_t k = i + 1; k < 4; ++k) {
      for (std::size_t m = 0; m < 3; ++m) {
        std::array<double, 4> share{};
        const std::size_t n = (m + 1) % 3;
        share[i] = d(k, m, n) / (d(k, m, n) - d(i, m, n));
        share[k] = 1 - share[i];
        mix(share);
      }
    }
    // The three other planes than i: shares by Cramer's rule make all corners equal.
    std::array<std::size_t, 3> o{(i + 1) % 4, (i + 2) % 4, (i + 3) % 4};
    std::array<double, 4> share{};
    double total = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      const std::size_t a = o[(k + 1) % 3];
      const std::size_t b = o[(k + 2) % 3];
      share[o[k]] = d(a, 0, 1) * d(b, 0, 2) - d(a, 0, 2) * d(b, 0, 1);
      total += share[o[k]];
    }
    for (double& s : share) s /= total;
    mix(share);
  }
  return best;
}

double leaf_walk::bound(const triangle_state& t) {
  rows r = rest(t);
  if (undecided_.empty()) return least_of_planes(r);
  const double by_sorting = (interval(least_of_planes(r)) + sorted_bounds(t)).low;
  add_steps(t, r);
  return std::max(by_sorting, least_of_planes(r));
}

// ----- Exactly -----

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

// ----- Outside of the square -----

mpq_class sum_of_weights(const problem& p) {
  mpq_class sum;
  for (const double l : listed_weights(p)) sum += mpq_class(l);
  return sum;
}

bool tail_sums_not_negative(const problem& p) {
  const std::vector<double> lambda = listed_weights(p);
  mpq_class tail;
  for (std::size_t k = lambda.size(); k-- > 0;) {
    tail += mpq_class(lambda[k]);
    if (sgn(tail) < 0) return false;
  }
  return true;
}

bool same_distances(const problem& p) {
  const site& first = p.sites()[0];
  return std::all_of(p.sites().begin(), p.sites().end(), [&](const site& s) {
    return s.gauge == first.gauge && s.weight == first.weight;
  });
}

// In polar coordinates of the rays, the square must hold all places up to D / s^2 along each of two
// neighbouring rays, D being the largest distance of a site from the base and s the least sine
// between neighbouring rays: farther out a step back along a ray changes all gauges alike.
void check_repetition(const problem& p, const branch_certificate& c) {
  mpq_class far;
  for (const site& s : p.sites()) {
    const mpq_class d =
        abs(mpq_class(mpq_class(s.x) - c.base.x)) + abs(mpq_class(mpq_class(s.y) - c.base.y));
    far = std::max(far, d);
  }
  const std::span<const xy> v = p.gauge_of(0).vertices();
  for (std::size_t j = 0; j < v.size(); ++j) {
    const fraction_pair a{mpq_class(v[j].x), mpq_class(v[j].y)};
    const fraction_pair b{mpq_class(v[(j + 1) % v.size()].x), mpq_class(v[(j + 1) % v.size()].y)};
    const mpq_class cross = a.x * b.y - a.y * b.x;
    if (cross * cross * c.half < 2 * far * dot(a, a) * dot(b, b)) refuse("the square is too small");
  }
}

// f(x) is at least the recession function at x - base less the sum of |lambda| times the most by
// which a distance differs from its gauge at x - base, both sorted.
void check_growth(const problem& p, const branch_certificate& c) {
  const verified_sites sites(p, c.base);
  const interval_pair origin = exactly({0, 0});
  std::vector<interval> at_base;
  std::vector<double> apart;
  const problem centred = at_one_place(p);
  const verified_sites gauges(centred, {0, 0});
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const interval_pair u = sites.offset(i, origin);
    at_base.push_back(sites.distance(i, origin));
    apart.push_back(larger(gauges.distance(i, u), gauges.distance(i, {-u.x, -u.y})).high);
  }
  interval needed = larger(ordered_sum(p, at_base), interval(0));
  std::vector<double> size = listed_weights(p);
  for (double& l : size) l = std::fabs(l);
  std::sort(size.begin(), size.end());
  std::sort(apart.begin(), apart.end());
  for (std::size_t k = 0; k < size.size(); ++k)
    needed = needed + interval(size[k]) * interval(apart[k]);
  if (!std::isfinite(needed.high)) refuse("the distances are too large");
  if (std::count(c.outside.begin(), c.outside.end(), reason::exact) > 0)
    refuse("a side of the square is no triangle");
  leaf_walk sides(gauges, c.outside, mpq_class(needed.high) / c.half);
  const std::array<xy, 4> square{xy{1, -1}, xy{1, 1}, xy{-1, 1}, xy{-1, -1}};
  for (std::size_t k = 0; k < 4; ++k)
    sides.walk({square[k], square[(k + 1) % 4], square[(k + 1) % 4]});
  sides.end();
}

void check_square(const problem& p, const branch_certificate& c, const mpq_class& least) {
  if (c.cells.empty()) {
    if (!tail_sums_not_negative(p)) refuse("triangles without a reason");
    if (sgn(least) > 0) refuse("f is not negative, but the bound is more");
    return;
  }
  if (!std::isfinite(c.base.x) || !std::isfinite(c.base.y) || !std::isfinite(c.half) ||
      !(c.half > 0)) {
    refuse("no square");
  }
  if (c.outside.empty()) {
    if (!p.polyhedral()) refuse("nothing is said of places outside of the square");
    if (same_distances(p) && sgn(sum_of_weights(p)) == 0) {
      check_repetition(p, c);
    } else {
      check_lines(p, c);
    }
  } else {
    check_growth(p, c);
  }
  const verified_sites sites(p, c.base);
  leaf_walk cells(sites, c.cells, least);
  const double h = c.half;
  cells.walk({xy{-h, -h}, xy{h, -h}, xy{-h, h}});
  cells.walk({xy{h, h}, xy{-h, h}, xy{h, -h}});
  cells.end();
}

// ----- The value -----

// f of the place; `size` is the sum of the terms' magnitudes.
struct proved_value {
  interval value;
  std::optional<mpq_class> exact;
  double size = 0;
};

proved_value value_of(const problem& p, const fraction_pair& at) {
  const verified_sites sites(p, {0, 0});
  const interval_pair near{around(at.x), around(at.y)};
  proved_value v;
  double steepest = 0;
  for (const order_run& r : p.runs()) steepest = std::max(steepest, std::fabs(r.weight));
  std::vector<interval> rounded;
  std::vector<mpq_class> exact;
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    rounded.push_back(sites.distance(i, near));
    v.size += steepest * rounded.back().high;
    if (p.polyhedral()) exact.push_back(sites.distance(i, at));
  }
  v.value = ordered_sum(p, std::move(rounded));
  if (!p.polyhedral()) return v;
  v.exact = ordered_sum(p, std::move(exact));
  v.value = around(*v.exact);
  return v;
}

}  // namespace

verification verify_leaves(const problem& p, const solution& s, const branch_certificate& c) {
  const proved_value v = value_of(p, exact_place_of(s));
  const double doubt = 0x1p-44 * v.size;
  if (!(s.value >= v.value.low - doubt && s.value <= v.value.high + doubt))
    refuse("the value is not that of the point");
  if (!std::isfinite(s.lower_bound)) refuse("the bound is not finite");
  const bool to_the_end = s.status == solution_status::optimal && v.exact;
  if (to_the_end && !(std::fabs(s.lower_bound - s.value) <= doubt))
    refuse("called optimal, but the gap is not 0");
  const mpq_class least = to_the_end ? *v.exact : mpq_class(s.lower_bound);
  check_square(p, c, least);
  verification result;
  result.accepted = true;
  result.value = v.value.high;
  result.lower_bound = rounded_down(least);
  result.gap = v.exact ? rounded_up(mpq_class(*v.exact - least))
                       : (interval(v.value.high) - interval(s.lower_bound)).high;
  return result;
}

verification verify_direction(const problem& p, const direction_certificate& c) {
  if (!std::isfinite(c.direction.x) || !std::isfinite(c.direction.y))
    refuse("the direction is not finite");
  const problem centred = at_one_place(p);
  const proved_value v = value_of(centred, {mpq_class(c.direction.x), mpq_class(c.direction.y)});
  if (v.exact ? sgn(*v.exact) >= 0 : v.value.high >= 0)
    refuse("f does not fall along the direction");
  verification result;
  result.accepted = true;
  result.value = result.lower_bound = -std::numeric_limits<double>::infinity();
  return result;
}

}  // namespace planloc::detail
