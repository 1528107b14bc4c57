#include "planloc/optimum/general/exact_close.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <tuple>

namespace planloc::detail {

namespace {

// Of the terms' magnitudes: more than the roundings of a side that is decided in doubles.
constexpr double kSideDoubt = 1e-13;
// Candidates for one line that is wanted: many lines of a lattice are the same.
constexpr std::size_t kCandidatesPerLine = 64;

exact_line normalised(exact_xy normal, mpq_class right) {
  const mpq_class lead = sgn(normal.x) != 0 ? normal.x : normal.y;
  return {{normal.x / lead, normal.y / lead}, right / lead};
}

bool before(const exact_line& a, const exact_line& b) {
  return std::tie(a.normal.x, a.normal.y, a.right) < std::tie(b.normal.x, b.normal.y, b.right);
}

// Whether the corners are surely on one side, given what a side is off by at most.
bool surely_one_side(const std::array<double, 3>& side, double doubt) {
  return std::min({side[0], side[1], side[2]}) > doubt ||
         std::max({side[0], side[1], side[2]}) < -doubt;
}

bool surely_both_sides(const std::array<double, 3>& side, double doubt) {
  return std::min({side[0], side[1], side[2]}) < -doubt &&
         std::max({side[0], side[1], side[2]}) > doubt;
}

bool crosses_inside(const triangle& t, const exact_line& l) {
  bool below = false;
  bool above = false;
  for (const xy& c : t) {
    const int s = sgn(mpq_class(l.normal.x * c.x + l.normal.y * c.y - l.right));
    below = below || s < 0;
    above = above || s > 0;
  }
  return below && above;
}

std::optional<exact_xy> crossing(const exact_line& a, const exact_line& b) {
  const mpq_class area = cross(a.normal, b.normal);
  if (sgn(area) == 0) return {};
  return exact_xy{(a.right * b.normal.y - b.right * a.normal.y) / area,
                  (a.normal.x * b.right - b.normal.x * a.right) / area};
}

bool holds(const std::array<exact_xy, 3>& t, int turn, const exact_xy& at) {
  for (std::size_t m = 0; m < 3; ++m) {
    const exact_xy& a = t[m];
    const exact_xy& b = t[(m + 1) % 3];
    const exact_xy edge{b.x - a.x, b.y - a.y};
    if (sgn(cross(edge, exact_xy{at.x - a.x, at.y - a.y})) * turn < 0) return false;
  }
  return true;
}

}  // namespace

exact_closer::exact_closer(const problem& p, const distance_table& table)
    : problem_(p), table_(table), edges_(table), same_as_(table.size()) {
  std::map<std::tuple<double, double, double, std::uint32_t>, std::uint32_t> first;
  for (std::uint32_t slot = 0; slot < table.size(); ++slot) {
    const site& s = p.sites()[table.site[slot]];
    same_as_[slot] = first.try_emplace({s.x, s.y, s.weight, s.gauge}, slot).first->second;
  }
}

exact_xy exact_closer::position(std::uint32_t slot) const {
  const site& s = problem_.sites()[table_.site[slot]];
  return {mpq_class(s.x) - table_.base.x, mpq_class(s.y) - table_.base.y};
}

exact_xy exact_closer::absolute(const exact_xy& at) const {
  return {at.x + table_.base.x, at.y + table_.base.y};
}

mpq_class exact_closer::value(const exact_xy& at) {
  const exact_place place(problem_, table_, edges_, absolute(at));
  const piece_choice c = place.choose({1, 0});
  std::vector<double> lambda;
  for (const order_run& r : problem_.runs()) lambda.insert(lambda.end(), r.count, r.weight);
  mpq_class sum;
  for (std::size_t slot = 0; slot < table_.size(); ++slot) {
    const double l = lambda[c.rank.empty() ? 0 : c.rank[slot]];
    if (l != 0) sum += place.distance(slot) * l;
  }
  return sum;
}

void exact_closer::add_ray(const cell& c, std::uint32_t slot, const xy& direction,
                           std::vector<exact_line>& lines, bool& crosses) {
  std::array<double, 3> side{};
  std::array<double, 3> ahead{};
  double size = 0;
  for (std::size_t m = 0; m < 3; ++m) {
    const xy u{c.corners[m].x - table_.x[slot], c.corners[m].y - table_.y[slot]};
    side[m] = direction.x * u.y - direction.y * u.x;
    ahead[m] = direction.x * u.x + direction.y * u.y;
    size = std::max({size, std::fabs(c.corners[m].x), std::fabs(c.corners[m].y)});
  }
  size += std::max(std::fabs(table_.x[slot]), std::fabs(table_.y[slot]));
  const double doubt = kSideDoubt * size * (std::fabs(direction.x) + std::fabs(direction.y));
  if (surely_one_side(side, doubt) || std::max({ahead[0], ahead[1], ahead[2]}) < -doubt) return;
  const exact_xy normal{mpq_class(-direction.y), mpq_class(direction.x)};
  exact_line l = normalised(normal, dot(normal, position(slot)));
  crosses = true;
  if (surely_both_sides(side, doubt) || crosses_inside(c.corners, l)) lines.push_back(std::move(l));
}

exact_closer::pieces exact_closer::pieces_on(const cell& c, std::uint32_t slot,
                                             std::vector<exact_line>& lines) {
  const gauge_block& b = table_.blocks[table_.block_of[slot]];
  pieces result{slot, {}};
  for (const xy& corner : c.corners) {
    const xy u{corner.x - table_.x[slot], corner.y - table_.y[slot]};
    result.edges.push_back(table_.active_edge(b, u));
  }
  for (std::uint32_t j = 0; j < b.edges; ++j) {
    bool crosses = false;
    add_ray(c, slot, table_.edges[b.first_edge + j].from, lines, crosses);
    if (!crosses) continue;
    result.edges.push_back(j);
    result.edges.push_back(j == 0 ? b.edges - 1 : j - 1);
  }
  std::sort(result.edges.begin(), result.edges.end());
  result.edges.erase(std::unique(result.edges.begin(), result.edges.end()), result.edges.end());
  return result;
}

void exact_closer::add_bisectors(const cell& c, const pieces& a, const pieces& b,
                                 std::vector<exact_line>& lines) {
  const auto normal_of = [&](const pieces& s, std::uint32_t e) {
    return table_.blocks[table_.block_of[s.slot]].first_edge + e;
  };
  const auto plane = [&](const pieces& s, std::uint32_t e, const xy& at) {
    const xy& n = table_.edges[normal_of(s, e)].normal;
    return table_.weight[s.slot] *
           (n.x * (at.x - table_.x[s.slot]) + n.y * (at.y - table_.y[s.slot]));
  };
  for (const std::uint32_t e : a.edges) {
    for (const std::uint32_t f : b.edges) {
      std::array<double, 3> side{};
      double size = 0;
      for (std::size_t m = 0; m < 3; ++m) {
        const double da = plane(a, e, c.corners[m]);
        const double db = plane(b, f, c.corners[m]);
        side[m] = da - db;
        size = std::max({size, std::fabs(da), std::fabs(db)});
      }
      // Planes can be near 0 by cancellation: their slopes count as well.
      const auto reach = [&](const pieces& s, std::uint32_t edge) {
        const xy& n = table_.edges[normal_of(s, edge)].normal;
        return table_.weight[s.slot] * (std::fabs(n.x) + std::fabs(n.y)) *
               (std::fabs(table_.x[s.slot]) + std::fabs(table_.y[s.slot]) +
                std::fabs(c.corners[0].x) + std::fabs(c.corners[0].y));
      };
      size += reach(a, e) + reach(b, f);
      if (surely_one_side(side, kSideDoubt * size)) continue;
      const exact_xy& ne = edges_.normal(normal_of(a, e));
      const exact_xy& nf = edges_.normal(normal_of(b, f));
      const double wa = table_.weight[a.slot];
      const double wb = table_.weight[b.slot];
      exact_xy normal{ne.x * wa - nf.x * wb, ne.y * wa - nf.y * wb};
      if (sgn(normal.x) == 0 && sgn(normal.y) == 0) continue;
      mpq_class right = dot(ne, position(a.slot)) * wa - dot(nf, position(b.slot)) * wb;
      exact_line l = normalised(std::move(normal), std::move(right));
      if (surely_both_sides(side, kSideDoubt * size) || crosses_inside(c.corners, l))
        lines.push_back(std::move(l));
    }
  }
}

std::optional<std::vector<exact_line>> exact_closer::lines(const cell& c, std::size_t limit) {
  std::vector<std::uint32_t> undecided;
  for (const std::uint32_t slot : c.undecided) undecided.push_back(same_as_[slot]);
  std::sort(undecided.begin(), undecided.end());
  undecided.erase(std::unique(undecided.begin(), undecided.end()), undecided.end());
  if (undecided.size() > limit || c.decided.size() > kCandidatesPerLine * limit) return {};
  std::vector<exact_line> found;
  const auto shorten = [&] {
    std::sort(found.begin(), found.end(), before);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found.size() <= limit;
  };
  std::size_t checked = 0;
  const auto too_many = [&] {
    if (found.size() - checked <= 2 * limit) return false;
    if (!shorten()) return true;
    checked = found.size();
    return false;
  };
  for (const decided_site& d : c.decided) {
    pieces_on(c, d.slot, found);
    if (too_many()) return {};
  }
  std::vector<pieces> all;
  for (const std::uint32_t slot : undecided) {
    all.push_back(pieces_on(c, slot, found));
    if (too_many()) return {};
  }
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      add_bisectors(c, all[i], all[k], found);
      if (too_many()) return {};
    }
  }
  if (!shorten()) return {};
  return found;
}

namespace {

struct rounded_line {
  xy normal;
  double right;
};

// Whether the crossing of two lines is surely outside of a triangle with these corners, or, inside,
// not promising. Lines under a sine of less than kLeastSine are not judged; the crossing of others
// is off by less than kCrossingDoubt of the places.
bool surely_idle(const rounded_line& a, const rounded_line& b, const triangle& t,
                 const std::function<bool(const xy&)>& promising) {
  constexpr double kLeastSine = 1e-5;
  constexpr double kCrossingDoubt = 1e-8;
  const double area = a.normal.x * b.normal.y - a.normal.y * b.normal.x;
  const double size = (std::fabs(a.normal.x) + std::fabs(a.normal.y)) *
                      (std::fabs(b.normal.x) + std::fabs(b.normal.y));
  if (!(std::fabs(area) > kLeastSine * size)) return false;
  const xy at{(a.right * b.normal.y - b.right * a.normal.y) / area,
              (a.normal.x * b.right - b.normal.x * a.right) / area};
  const double turn = (t[1].x - t[0].x) * (t[2].y - t[0].y) - (t[1].y - t[0].y) * (t[2].x - t[0].x);
  for (std::size_t m = 0; m < 3; ++m) {
    const xy& p = t[m];
    const xy edge{t[(m + 1) % 3].x - p.x, t[(m + 1) % 3].y - p.y};
    const double side = edge.x * (at.y - p.y) - edge.y * (at.x - p.x);
    const double doubt = kCrossingDoubt * (std::fabs(edge.x) + std::fabs(edge.y)) *
                         (std::fabs(p.x) + std::fabs(p.y) + std::fabs(at.x) + std::fabs(at.y));
    if ((turn > 0 ? side : -side) < -doubt) return true;
  }
  return !promising(at);
}

}  // namespace

std::vector<exact_xy> exact_closer::vertices(const triangle& t,
                                             const std::vector<exact_line>& lines,
                                             const std::function<bool(const xy&)>& promising) {
  const std::array<exact_xy, 3> corners{to_exact(t[0]), to_exact(t[1]), to_exact(t[2])};
  std::vector<exact_xy> found(corners.begin(), corners.end());
  const exact_xy u{corners[1].x - corners[0].x, corners[1].y - corners[0].y};
  const exact_xy v{corners[2].x - corners[0].x, corners[2].y - corners[0].y};
  const int turn = sgn(cross(u, v));
  std::vector<exact_line> all = lines;
  for (std::size_t m = 0; m < 3; ++m) {
    const exact_xy& a = corners[m];
    const exact_xy& b = corners[(m + 1) % 3];
    const exact_xy normal{a.y - b.y, b.x - a.x};
    all.push_back(normalised(normal, dot(normal, a)));
  }
  std::vector<rounded_line> rounded;
  for (const exact_line& l : all) rounded.push_back({to_nearest(l.normal), l.right.get_d()});
  for (std::size_t i = 0; i < lines.size(); ++i) {
    for (std::size_t k = i + 1; k < all.size(); ++k) {
      if (surely_idle(rounded[i], rounded[k], t, promising)) continue;
      std::optional<exact_xy> at = crossing(all[i], all[k]);
      if (at && holds(corners, turn, *at)) found.push_back(std::move(*at));
    }
  }
  std::sort(found.begin(), found.end(), [](const exact_xy& a, const exact_xy& b) {
    return std::tie(a.x, a.y) < std::tie(b.x, b.y);
  });
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

}  // namespace planloc::detail
