#include "planloc/optimum/general/exact_close.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <tuple>

namespace planloc::detail {

exact_line normalised(exact_xy normal, mpq_class right) {
  const mpq_class lead = sgn(normal.x) != 0 ? normal.x : normal.y;
  return {{normal.x / lead, normal.y / lead}, right / lead};
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

std::size_t lines_worth_a_close(double side, double extent, std::size_t far_away) {
  if (side > 2 * extent) return far_away;
  return side > extent * 0x1p-16 ? 20 : side > extent * 0x1p-26 ? 64 : 400;
}

namespace {

// Of the terms' magnitudes: more than the roundings of a side that is decided in doubles.
constexpr double kSideDoubt = 1e-13;
// Candidates for one line that is wanted: many lines of a lattice are the same.
constexpr std::size_t kCandidatesPerLine = 64;
// Of lines that are told apart by where they cross the border: what that is off by at most, the
// weight of the second crossing, and by what two lines of one place differ at most.
constexpr double kKeyDoubt = 1e-8;
constexpr double kKeyFactor = 0.6180339887;
constexpr double kKeySpread = 1e-7;

bool before(const exact_line& a, const exact_line& b) {
  return std::tie(a.normal.x, a.normal.y, a.right) < std::tie(b.normal.x, b.normal.y, b.right);
}

// Whether the corners are surely on one side, given what a side is off by at most.
bool surely_one_side(const exact_closer::sides& side, double doubt) {
  return std::min({side[0], side[1], side[2]}) > doubt ||
         std::max({side[0], side[1], side[2]}) < -doubt;
}

bool surely_both_sides(const exact_closer::sides& side, double doubt) {
  return std::min({side[0], side[1], side[2]}) < -doubt &&
         std::max({side[0], side[1], side[2]}) > doubt;
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
    : problem_(p), table_(table), edges_(table), same_as_(table.size()), marked_(table.size()) {
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
  return exact_place(problem_, table_, edges_, absolute(at)).exact_value();
}

// A line through the cell that f may break on, as the corners' sides of it: values of an affine
// function that is 0 on the line.
void exact_closer::add(const sides& side, double doubt, const exact_closer::source& from) {
  const bool sure = surely_both_sides(side, doubt);
  candidates_.push_back({from, doubt, sure});
  if (!sure) return;
  for (const double s : side) {
    if (!(std::fabs(s) > doubt)) return;
  }
  // Where it crosses the border: of one line the same but for roundings.
  double key = 0;
  double factor = 1;
  for (std::size_t m = 0; m < 3; ++m) {
    const double a = side[m];
    const double b = side[(m + 1) % 3];
    if ((a < 0) == (b < 0)) continue;
    if (doubt > kKeyDoubt * std::fabs(a - b)) return;
    key += factor * (static_cast<double>(m) + a / (a - b));
    factor = kKeyFactor;
  }
  keys_.push_back(key);
}

// Whether there surely are more distinct lines than that.
bool exact_closer::surely_more(std::size_t limit) {
  if (keys_.size() <= limit) return false;
  std::sort(keys_.begin(), keys_.end());
  std::size_t kept = 1;
  for (std::size_t k = 1; k < keys_.size(); ++k) {
    if (keys_[k] - keys_[k - 1] > kKeySpread) keys_[kept++] = keys_[k];
  }
  keys_.resize(kept);
  return kept > limit;
}

bool exact_closer::add_ray(const cell& c, std::uint32_t slot, std::uint32_t edge) {
  const xy& direction = table_.edges[edge].from;
  sides side{};
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
  if (surely_one_side(side, doubt) || std::max({ahead[0], ahead[1], ahead[2]}) < -doubt)
    return false;
  add(side, doubt, {slot, edge, slot, edge});
  return true;
}

// The pieces of a site in force somewhere on the cell, and maybe a few more.
void exact_closer::add_pieces(const cell& c, const placed_site& s) {
  const std::uint32_t slot = s.slot;
  const gauge_block& b = table_.blocks[table_.block_of[slot]];
  edge_numbers_.assign(s.edge.begin(), s.edge.end());
  for (std::uint32_t j = 0; j < b.edges; ++j) {
    if (!add_ray(c, slot, b.first_edge + j)) continue;
    edge_numbers_.push_back(j);
    edge_numbers_.push_back(j == 0 ? b.edges - 1 : j - 1);
  }
  std::sort(edge_numbers_.begin(), edge_numbers_.end());
  edge_numbers_.erase(std::unique(edge_numbers_.begin(), edge_numbers_.end()), edge_numbers_.end());
  for (const std::uint32_t j : edge_numbers_) {
    piece p{slot, b.first_edge + j, {}, 0};
    const xy& n = table_.edges[p.edge].normal;
    const double w = table_.weight[slot];
    for (std::size_t m = 0; m < 3; ++m) {
      const xy u{c.corners[m].x - table_.x[slot], c.corners[m].y - table_.y[slot]};
      p.value[m] = w * (n.x * u.x + n.y * u.y);
      p.size = std::max(p.size, std::fabs(p.value[m]));
    }
    // Values can be near 0 by cancellation: the slope counts as well.
    p.size += w * (std::fabs(n.x) + std::fabs(n.y)) *
              (std::fabs(table_.x[slot]) + std::fabs(table_.y[slot]) + std::fabs(c.corners[0].x) +
               std::fabs(c.corners[0].y));
    pieces_.push_back(p);
  }
}

exact_line exact_closer::line_of(const source& from) {
  const exact_xy a = position(from.slot);
  if (from.slot == from.other) {
    const xy& direction = table_.edges[from.edge].from;
    const exact_xy normal{mpq_class(-direction.y), mpq_class(direction.x)};
    return {normal, dot(normal, a)};
  }
  const exact_xy& ne = edges_.normal(from.edge);
  const exact_xy& nf = edges_.normal(from.other_edge);
  const double wa = table_.weight[from.slot];
  const double wb = table_.weight[from.other];
  return {{ne.x * wa - nf.x * wb, ne.y * wa - nf.y * wb},
          dot(ne, a) * wa - dot(nf, position(from.other)) * wb};
}

// Collects the sources of the lines; false if there surely are more than `limit` of them.
bool exact_closer::collect(const cell& c, std::size_t limit) {
  candidates_.clear();
  keys_.clear();
  pieces_.clear();
  const std::size_t at_once = 2 * limit;
  for (const decided_site& d : c.decided) {
    add_pieces(c, d.site);
    pieces_.clear();
    if (keys_.size() > at_once && surely_more(limit)) return false;
  }
  for (const placed_site& s : undecided_) {
    const std::size_t before = pieces_.size();
    add_pieces(c, s);
    for (std::size_t i = before; i < pieces_.size(); ++i) {
      for (std::size_t k = 0; k < before; ++k) {
        const piece& p = pieces_[i];
        const piece& q = pieces_[k];
        const sides side{p.value[0] - q.value[0], p.value[1] - q.value[1], p.value[2] - q.value[2]};
        const double doubt = kSideDoubt * (std::max(p.size, q.size) + p.size + q.size);
        if (!surely_one_side(side, doubt)) add(side, doubt, {p.slot, p.edge, q.slot, q.edge});
      }
      if (keys_.size() > at_once && surely_more(limit)) return false;
    }
  }
  return !surely_more(limit);
}

// The undecided sites, of equal ones the first; false if there are more than `limit`.
bool exact_closer::find_undecided(const cell& c, std::size_t limit) {
  ++mark_;
  undecided_.clear();
  for (const placed_site& s : c.undecided) {
    const std::uint32_t first = same_as_[s.slot];
    if (marked_[first] == mark_) continue;
    marked_[first] = mark_;
    if (undecided_.size() == limit) return false;
    undecided_.push_back({first, s.edge});
  }
  return true;
}

exact_closer::break_line::break_line(exact_line l)
    : normal(to_nearest(l.normal)), right(l.right.get_d()), doubt(0), exact(std::move(l)) {}

exact_closer::break_line exact_closer::rounded_line(const candidate& k) const {
  const auto& [slot, edge, other, other_edge] = k.from;
  const xy a{table_.x[slot], table_.y[slot]};
  if (slot == other) {
    const xy& direction = table_.edges[edge].from;
    const xy normal{-direction.y, direction.x};
    return {normal, normal.x * a.x + normal.y * a.y, k.doubt, k.from};
  }
  const xy& ne = table_.edges[edge].normal;
  const xy& nf = table_.edges[other_edge].normal;
  const double wa = table_.weight[slot];
  const double wb = table_.weight[other];
  return {{ne.x * wa - nf.x * wb, ne.y * wa - nf.y * wb},
          (ne.x * a.x + ne.y * a.y) * wa - (nf.x * table_.x[other] + nf.y * table_.y[other]) * wb,
          k.doubt,
          k.from};
}

const exact_line& exact_closer::exact(break_line& l) {
  if (const source* const from = std::get_if<source>(&l.exact)) l.exact = line_of(source(*from));
  return std::get<exact_line>(l.exact);
}

// Of the candidates, those that cross the triangle.
std::optional<std::vector<exact_line>> exact_closer::distinct_lines(const triangle& t,
                                                                    std::size_t limit) {
  std::vector<exact_line> found;
  const auto shorten = [&] {
    std::sort(found.begin(), found.end(), before);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found.size() <= limit;
  };
  std::size_t checked = 0;
  for (const candidate& k : candidates_) {
    exact_line l = line_of(k.from);
    if (sgn(l.normal.x) == 0 && sgn(l.normal.y) == 0) continue;
    l = normalised(std::move(l.normal), std::move(l.right));
    if (!k.sure && !crosses_inside(t, l)) continue;
    found.push_back(std::move(l));
    if (found.size() - checked <= 2 * limit) continue;
    if (!shorten()) return {};
    checked = found.size();
  }
  if (!shorten()) return {};
  return found;
}

std::optional<std::vector<exact_closer::break_line>> exact_closer::lines(const cell& c,
                                                                         std::size_t limit) {
  if (!find_undecided(c, limit) || c.decided.size() > kCandidatesPerLine * limit) return {};
  if (!collect(c, limit)) return {};
  std::vector<break_line> found;
  if (candidates_.size() <= limit) {
    for (const candidate& k : candidates_) found.push_back(rounded_line(k));
    return found;
  }
  std::optional<std::vector<exact_line>> distinct = distinct_lines(c.corners, limit);
  if (!distinct) return {};
  for (exact_line& l : *distinct) found.emplace_back(std::move(l));
  return found;
}

namespace {

// Whether the crossing of two lines is surely outside of a triangle with these corners, or, inside,
// not promising. Lines under a sine of less than kLeastSine are not judged, nor those whose
// crossing may be off by more than kCrossingDoubt of the places.
bool surely_idle(const exact_closer::break_line& a, const exact_closer::break_line& b,
                 const triangle& t, const std::function<bool(const xy&)>& promising) {
  constexpr double kLeastSine = 1e-5;
  constexpr double kCrossingDoubt = 1e-8;
  const double area = a.normal.x * b.normal.y - a.normal.y * b.normal.x;
  const double size_a = std::fabs(a.normal.x) + std::fabs(a.normal.y);
  const double size_b = std::fabs(b.normal.x) + std::fabs(b.normal.y);
  if (!(std::fabs(area) > kLeastSine * size_a * size_b)) return false;
  const xy at{(a.right * b.normal.y - b.right * a.normal.y) / area,
              (a.normal.x * b.right - b.normal.x * a.right) / area};
  const double off_by = (a.doubt * size_b + b.doubt * size_a) / std::fabs(area);
  const double turn = (t[1].x - t[0].x) * (t[2].y - t[0].y) - (t[1].y - t[0].y) * (t[2].x - t[0].x);
  for (std::size_t m = 0; m < 3; ++m) {
    const xy& p = t[m];
    const xy edge{t[(m + 1) % 3].x - p.x, t[(m + 1) % 3].y - p.y};
    const double far = std::fabs(p.x) + std::fabs(p.y) + std::fabs(at.x) + std::fabs(at.y);
    if (off_by > kCrossingDoubt * far) return false;
    const double side = edge.x * (at.y - p.y) - edge.y * (at.x - p.x);
    const double doubt = 2 * kCrossingDoubt * (std::fabs(edge.x) + std::fabs(edge.y)) * far;
    if ((turn > 0 ? side : -side) < -doubt) return true;
  }
  return !promising(at);
}

}  // namespace

std::vector<exact_xy> exact_closer::vertices(const triangle& t, std::vector<break_line> lines,
                                             const std::function<bool(const xy&)>& promising) {
  const std::array<exact_xy, 3> corners{to_exact(t[0]), to_exact(t[1]), to_exact(t[2])};
  std::vector<exact_xy> found(corners.begin(), corners.end());
  const exact_xy u{corners[1].x - corners[0].x, corners[1].y - corners[0].y};
  const exact_xy v{corners[2].x - corners[0].x, corners[2].y - corners[0].y};
  const int turn = sgn(cross(u, v));
  const std::size_t inside = lines.size();
  for (std::size_t m = 0; m < 3; ++m) {
    const exact_xy& a = corners[m];
    const exact_xy& b = corners[(m + 1) % 3];
    const exact_xy normal{a.y - b.y, b.x - a.x};
    lines.emplace_back(exact_line{normal, dot(normal, a)});
  }
  for (std::size_t i = 0; i < inside; ++i) {
    for (std::size_t k = i + 1; k < lines.size(); ++k) {
      if (surely_idle(lines[i], lines[k], t, promising)) continue;
      std::optional<exact_xy> at = crossing(exact(lines[i]), exact(lines[k]));
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
