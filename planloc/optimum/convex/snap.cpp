#include "planloc/optimum/convex/snap.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace planloc::detail {

namespace {

// Two lines that meet under less than this sine count as one.
constexpr double kLeastSine = 1e-7;
// Slopes that differ by less than this share of themselves are told apart by fractions.
constexpr double kLeastDifference = 0x1p-26;
constexpr std::size_t kMostTied = 32;
constexpr std::size_t kMostParallel = 4;
// From this many lines on, those that are there twice are left out.
constexpr std::size_t kManyLines = 1024;
// Above this many jumps of the order weights the distances are sorted.
constexpr std::size_t kJumpsToSplit = 12;

double length(const xy& v) { return std::sqrt(v.x * v.x + v.y * v.y); }

// Where two weighted edges tell the same distance. Without divisions: the normal is `scale` times
// the difference of the slopes.
struct scaled_line {
  dyadic_xy normal;
  dyadic_xy of_first, of_second;  // the two slopes times `scale`
  dyadic scale;
};

scaled_line bisector(const distance_table& t, exact_edges& edges, std::uint32_t slot,
                     std::uint32_t edge, std::uint32_t other, std::uint32_t other_edge) {
  const exact_edges::dyadic_edge& a = edges.dyadic_of(edge);
  const exact_edges::dyadic_edge& b = edges.dyadic_of(other_edge);
  const dyadic of_a = t.weight[slot] * b.area;
  const dyadic of_b = t.weight[other] * a.area;
  const dyadic_xy na{of_a * a.x, of_a * a.y};
  const dyadic_xy nb{of_b * b.x, of_b * b.y};
  return {{na.x - nb.x, na.y - nb.y}, na, nb, a.area * b.area};
}

class line_collector {
 public:
  line_collector(const problem& p, const distance_table& t, exact_edges& edges, const xy& near,
                 double reach)
      : problem_(p), table_(t), edges_(edges), near_(near), reach_(reach) {}

  std::vector<break_line> collect() {
    const bool one_run = problem_.runs().size() == 1;
    distance_.resize(table_.size());
    edge_.resize(table_.size());
    table_.distances(near_, distance_, edge_);
    if (one_run) {
      for (std::uint32_t slot = 0; slot < table_.size(); ++slot) add_rays(slot);
    } else {
      add_lines_by_rank();
    }
    sort_lines();
    return std::move(lines_);
  }

 private:
  std::uint32_t first_edge(std::uint32_t slot) const {
    return table_.blocks[table_.block_of[slot]].first_edge;
  }

  void sort_lines() {
    std::sort(lines_.begin(), lines_.end(), [](const break_line& a, const break_line& b) {
      return std::tie(a.distance, a.unit.x, a.unit.y, a.slot) <
             std::tie(b.distance, b.unit.x, b.unit.y, b.slot);
    });
  }

  // Tens of thousands of sites at few places have few lines.
  void add(const break_line& line) {
    if (lines_.size() == most_lines_) {
      sort_lines();
      const auto same = [](const break_line& a, const break_line& b) {
        return a.distance == b.distance && a.unit == b.unit;
      };
      lines_.erase(std::unique(lines_.begin(), lines_.end(), same), lines_.end());
      most_lines_ = std::max(most_lines_, 2 * lines_.size());
    }
    lines_.push_back(line);
  }

  void add_ray(std::uint32_t slot, std::uint32_t edge) {
    const xy& v = table_.edges[edge].from;
    const xy u{near_.x - table_.x[slot], near_.y - table_.y[slot]};
    const double area = std::fabs(v.x * u.y - v.y * u.x);
    if (area > 2 * reach_ * (std::fabs(v.x) + std::fabs(v.y))) return;  // surely too far
    const double size = length(v);
    if (!(area <= reach_ * size)) return;
    add({slot, edge, slot, edge, {-v.y / size, v.x / size}, area / size});
  }

  void add_rays(std::uint32_t slot) {
    const gauge_block& b = table_.blocks[table_.block_of[slot]];
    if (std::max(std::fabs(near_.x - table_.x[slot]), std::fabs(near_.y - table_.y[slot])) <=
        reach_) {
      for (std::uint32_t j = 0; j < b.edges; ++j) add_ray(slot, b.first_edge + j);
      return;
    }
    const std::uint32_t e = edge_[slot];
    add_ray(slot, b.first_edge + e);
    add_ray(slot, b.first_edge + (e + 1 == b.edges ? 0 : e + 1));
  }

  void add_bisector(std::uint32_t s, std::uint32_t t) {
    const std::uint32_t es = first_edge(s) + edge_[s];
    const std::uint32_t et = first_edge(t) + edge_[t];
    const xy& ns = table_.edges[es].normal;
    const xy& nt = table_.edges[et].normal;
    const xy normal{table_.weight[s] * ns.x - table_.weight[t] * nt.x,
                    table_.weight[s] * ns.y - table_.weight[t] * nt.y};
    double size = length(normal);
    xy unit{normal.x / size, normal.y / size};
    if (!(size > kLeastDifference * table_.weight[s] * length(ns))) {
      const scaled_line line = bisector(table_, edges_, s, es, t, et);
      const xy rounded = to_nearest(value_of(line.normal));
      const double scaled = length(rounded);
      if (scaled == 0) return;
      unit = {rounded.x / scaled, rounded.y / scaled};
      size = scaled / line.scale.value().get_d();
    }
    const double distance = std::fabs(distance_[s] - distance_[t]) / size;
    if (distance <= reach_) add({s, es, t, et, unit, distance});
  }

  using ranked = std::pair<double, std::uint32_t>;  // distance and slot

  // Rays of sites whose order weight is surely 0 do not count.
  void add_lines_by_rank() {
    std::vector<ranked> order(distance_.size());
    for (std::uint32_t slot = 0; slot < order.size(); ++slot) order[slot] = {distance_[slot], slot};
    const std::span<const order_run> runs = problem_.runs();
    const bool sorted = runs.size() > kJumpsToSplit;
    if (sorted) std::sort(order.begin(), order.end());
    const auto place = [&](std::size_t rank) {
      return order.begin() + static_cast<std::ptrdiff_t>(rank);
    };
    // From the largest distances down: few of them have most of the weight as a rule.
    std::size_t end = order.size();
    for (std::size_t r = runs.size() - 1; r > 0; --r) {
      const std::size_t jump = end - runs[r].count;
      if (!sorted) std::nth_element(order.begin(), place(jump), place(end));
      if (runs[r].weight != 0) add_rays_of({place(jump), place(end)});
      add_bisectors_at(order, sorted, place(jump)->first);
      end = jump;
    }
    if (runs[0].weight != 0) add_rays_of({order.begin(), place(end)});
  }

  void add_rays_of(std::span<const ranked> slots) {
    for (const ranked& r : slots) add_rays(r.second);
  }

  // Of the slots whose distances reach the one at a jump, all with the first of them, which stands
  // there.
  void add_bisectors_at(std::span<const ranked> order, bool sorted, double at_jump) {
    const double most = 4 * reach_ * table_.steepest;
    auto begin = order.begin();
    auto end = order.end();
    if (sorted) {
      begin = std::lower_bound(begin, end, ranked{at_jump - most, 0});
      end = std::upper_bound(begin, end, ranked{at_jump + most, ~0U});
    }
    std::vector<ranked> tied;  // by difference, the nearest ones
    for (auto it = begin; it != end; ++it) {
      const double difference = std::fabs(it->first - at_jump);
      if (difference > most) continue;
      add_rays(it->second);
      tied.emplace_back(difference, it->second);
      if (tied.size() == kManyLines) keep_nearest(tied);
    }
    keep_nearest(tied);
    for (std::size_t k = 1; k < tied.size(); ++k) add_bisector(tied[k].second, tied[0].second);
  }

  // Terms of one edge and weight have parallel lines: those of one place are all the same one.
  void keep_nearest(std::vector<ranked>& tied) const {
    const auto kind = [this](const ranked& r) {
      return std::pair(first_edge(r.second) + edge_[r.second], table_.weight[r.second]);
    };
    std::sort(tied.begin(), tied.end(), [&](const ranked& a, const ranked& b) {
      return std::pair(kind(a), a) < std::pair(kind(b), b);
    });
    std::size_t kept = 0;
    for (std::size_t k = 0, of_kind = 0; k < tied.size(); ++k) {
      const bool same_kind = k > 0 && kind(tied[k]) == kind(tied[k - 1]);
      if (!same_kind) of_kind = 0;
      if (of_kind == kMostParallel || (same_kind && tied[k].first == tied[kept - 1].first))
        continue;
      ++of_kind;
      tied[kept++] = tied[k];
    }
    tied.resize(kept);
    std::sort(tied.begin(), tied.end());
    tied.resize(std::min(kept, kMostTied));
  }

  const problem& problem_;
  const distance_table& table_;
  exact_edges& edges_;
  xy near_;
  double reach_;
  std::vector<double> distance_;  // of each slot
  std::vector<std::uint32_t> edge_;
  std::vector<break_line> lines_;
  std::size_t most_lines_ = kManyLines;
};

mpq_class quotient(const mpq_class& a, const mpq_class& b) { return a / b; }

// Where a . x == a_right and b . x == b_right. REQUIRES: not parallel.
template <class Number>
exact_xy crossing(const exact_pair<Number>& a, const Number& a_right, const exact_pair<Number>& b,
                  const Number& b_right) {
  const Number area = cross(a, b);
  return {quotient(Number(a_right * b.y - b_right * a.y), area),
          quotient(Number(a.x * b_right - b.x * a_right), area)};
}

}  // namespace

break_lines::break_lines(const problem& p, const distance_table& table, exact_edges& edges,
                         const xy& near, double reach)
    : problem_(p),
      table_(table),
      edges_(edges),
      near_{dyadic(table.base.x) + near.x, dyadic(table.base.y) + near.y},
      lines_(line_collector(p, table, edges, near, reach).collect()) {}

break_lines::exact_line break_lines::exact(const break_line& l) const {
  const auto position = [this](std::uint32_t slot) {
    const site& s = problem_.sites()[table_.site[slot]];
    return dyadic_xy{s.x, s.y};
  };
  if (l.is_ray()) {
    const xy& v = table_.edges[l.edge].from;
    const dyadic_xy normal{-v.y, v.x};
    return {normal, dot(normal, position(l.slot))};
  }
  const scaled_line b = bisector(table_, edges_, l.slot, l.edge, l.other, l.other_edge);
  return {b.normal, dot(b.of_first, position(l.slot)) - dot(b.of_second, position(l.other))};
}

break_lines::snapped break_lines::snap(double reach) const {
  if (lines_.empty() || lines_[0].distance > reach) return {value_of(near_), 0};
  const break_line& first = lines_[0];
  const break_line* second = nullptr;
  double best = 0;
  for (const break_line& l : lines_) {
    if (l.distance > reach) break;
    const double sine = std::fabs(l.unit.x * first.unit.y - l.unit.y * first.unit.x);
    if (sine < kLeastSine || sine <= best) continue;
    best = sine;
    second = &l;
  }
  const exact_line a = exact(first);
  if (second == nullptr) {
    const mpq_class step = quotient(a.right - dot(a.normal, near_), dot(a.normal, a.normal));
    const exact_xy normal = value_of(a.normal);
    const exact_xy near = value_of(near_);
    return {{near.x + step * normal.x, near.y + step * normal.y}, 1};
  }
  const exact_line b = exact(*second);
  return {crossing(a.normal, a.right, b.normal, b.right), 2};
}

std::vector<exact_xy> break_lines::crossings(const exact_xy& from, const exact_xy& direction,
                                             double reach) const {
  const exact_xy normal{-direction.y, direction.x};
  const mpq_class right = dot(normal, from);
  const xy rounded = to_nearest(direction);
  std::vector<exact_xy> result;
  for (const break_line& l : lines_) {
    if (l.distance > reach || result.size() == kMostTied) break;
    const double sine = std::fabs(l.unit.x * rounded.x + l.unit.y * rounded.y) / length(rounded);
    if (sine < kLeastSine) continue;
    const exact_line other = exact(l);
    exact_xy at = crossing(normal, right, value_of(other.normal), other.right.value());
    if (std::find(result.begin(), result.end(), at) == result.end())
      result.push_back(std::move(at));
  }
  return result;
}

}  // namespace planloc::detail
