#include "planloc/optimum/convex/snap.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace planloc::detail {

namespace {

// Two lines that meet under less than this sine count as one.
constexpr double kLeastSine = 1e-7;
// Slopes that differ by less than this share of themselves are told apart by fractions.
constexpr double kLeastDifference = 0x1p-26;
constexpr std::size_t kMostTied = 32;
// Above this many jumps of the order weights the distances are sorted.
constexpr std::size_t kJumpsToSplit = 12;

exact_xy absolute(const distance_table& t, const xy& at) {
  return {mpq_class(t.base.x) + at.x, mpq_class(t.base.y) + at.y};
}

double length(const xy& v) { return std::sqrt(v.x * v.x + v.y * v.y); }

// Where two weighted edges tell the same distance. Without divisions: the normal is `scale` times
// the difference of the slopes.
struct scaled_line {
  exact_xy normal;
  exact_xy of_first, of_second;  // the two slopes times `scale`
  mpq_class scale;
};

scaled_line bisector(const distance_table& t, exact_edges& edges, std::uint32_t slot,
                     std::uint32_t edge, std::uint32_t other, std::uint32_t other_edge) {
  const exact_edges::dyadic_edge& a = edges.dyadic(edge);
  const exact_edges::dyadic_edge& b = edges.dyadic(other_edge);
  const mpq_class of_a = t.weight[slot] * b.area;
  const mpq_class of_b = t.weight[other] * a.area;
  const exact_xy na{of_a * a.x, of_a * a.y};
  const exact_xy nb{of_b * b.x, of_b * b.y};
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
    std::sort(lines_.begin(), lines_.end(),
              [](const break_line& a, const break_line& b) { return a.distance < b.distance; });
    return std::move(lines_);
  }

 private:
  std::uint32_t first_edge(std::uint32_t slot) const {
    return table_.blocks[table_.block_of[slot]].first_edge;
  }

  void add_ray(std::uint32_t slot, std::uint32_t edge) {
    const xy& v = table_.edges[edge].from;
    const xy u{near_.x - table_.x[slot], near_.y - table_.y[slot]};
    const double area = std::fabs(v.x * u.y - v.y * u.x);
    if (area > 2 * reach_ * (std::fabs(v.x) + std::fabs(v.y))) return;  // surely too far
    const double size = length(v);
    if (!(area <= reach_ * size)) return;
    lines_.push_back({slot, edge, slot, edge, {-v.y / size, v.x / size}, area / size});
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
      const xy rounded = to_nearest(line.normal);
      const double scaled = length(rounded);
      if (scaled == 0) return;
      unit = {rounded.x / scaled, rounded.y / scaled};
      size = scaled / line.scale.get_d();
    }
    const double distance = std::fabs(distance_[s] - distance_[t]) / size;
    if (distance <= reach_) lines_.push_back({s, es, t, et, unit, distance});
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
    std::vector<ranked> tied;  // by difference
    for (auto it = begin; it != end; ++it) {
      const double difference = std::fabs(it->first - at_jump);
      if (difference <= most) tied.emplace_back(difference, it->second);
    }
    std::sort(tied.begin(), tied.end());
    for (const ranked& r : tied) add_rays(r.second);
    for (std::size_t k = 1; k < tied.size() && k < kMostTied; ++k) {
      add_bisector(tied[k].second, tied[0].second);
    }
  }

  const problem& problem_;
  const distance_table& table_;
  exact_edges& edges_;
  xy near_;
  double reach_;
  std::vector<double> distance_;  // of each slot
  std::vector<std::uint32_t> edge_;
  std::vector<break_line> lines_;
};

// Where a . x == a_right and b . x == b_right. REQUIRES: not parallel.
exact_xy crossing(const exact_xy& a, const mpq_class& a_right, const exact_xy& b,
                  const mpq_class& b_right) {
  const mpq_class area = cross(a, b);
  return {(a_right * b.y - b_right * a.y) / area, (a.x * b_right - b.x * a_right) / area};
}

}  // namespace

break_lines::break_lines(const problem& p, const distance_table& table, exact_edges& edges,
                         const xy& near, double reach)
    : problem_(p),
      table_(table),
      edges_(edges),
      near_(absolute(table, near)),
      lines_(line_collector(p, table, edges, near, reach).collect()) {}

break_lines::exact_line break_lines::exact(const break_line& l) const {
  const auto position = [this](std::uint32_t slot) {
    const site& s = problem_.sites()[table_.site[slot]];
    return to_exact({s.x, s.y});
  };
  if (l.is_ray()) {
    const xy& v = table_.edges[l.edge].from;
    const exact_xy normal{mpq_class(-v.y), mpq_class(v.x)};
    return {normal, dot(normal, position(l.slot))};
  }
  const scaled_line b = bisector(table_, edges_, l.slot, l.edge, l.other, l.other_edge);
  return {b.normal, dot(b.of_first, position(l.slot)) - dot(b.of_second, position(l.other))};
}

break_lines::snapped break_lines::snap(double reach) const {
  if (lines_.empty() || lines_[0].distance > reach) return {near_, 0};
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
    const mpq_class step = (a.right - dot(a.normal, near_)) / dot(a.normal, a.normal);
    return {{near_.x + step * a.normal.x, near_.y + step * a.normal.y}, 1};
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
    exact_xy at = crossing(normal, right, other.normal, other.right);
    if (std::find(result.begin(), result.end(), at) == result.end())
      result.push_back(std::move(at));
  }
  return result;
}

}  // namespace planloc::detail
