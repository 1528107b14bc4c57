#include "planloc/optimum/convex/snap.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace planloc::detail {

namespace {

// Two lines that meet under less than this sine count as one.
constexpr double kLeastSine = 1e-7;
constexpr std::size_t kMostTied = 32;
// Above this many jumps of the order weights the distances are sorted.
constexpr std::size_t kJumpsToSplit = 12;

exact_xy absolute(const distance_table& t, const xy& at) {
  return {mpq_class(t.base.x) + at.x, mpq_class(t.base.y) + at.y};
}

double length(const xy& v) { return std::sqrt(v.x * v.x + v.y * v.y); }

class line_collector {
 public:
  line_collector(const problem& p, const distance_table& t, exact_edges& edges, const xy& near,
                 double reach)
      : problem_(p),
        table_(t),
        edges_(edges),
        near_(near),
        exact_near_(absolute(t, near)),
        reach_(reach) {}

  std::vector<break_line> collect() {
    const bool one_run = problem_.runs().size() == 1;
    std::vector<double> distance(table_.size());
    edge_.resize(table_.size());
    table_.distances(near_, distance, edge_);
    if (one_run) {
      for (std::uint32_t slot = 0; slot < table_.size(); ++slot) add_rays(slot);
    } else {
      add_lines_by_rank(distance);
    }
    std::sort(lines_.begin(), lines_.end(),
              [](const break_line& a, const break_line& b) { return a.distance < b.distance; });
    return std::move(lines_);
  }

 private:
  exact_xy position(std::uint32_t slot) const {
    const site& s = problem_.sites()[table_.site[slot]];
    return to_exact({s.x, s.y});
  }

  void add_ray(std::uint32_t slot, const xy& v) {
    const xy u{near_.x - table_.x[slot], near_.y - table_.y[slot]};
    const double area = std::fabs(v.x * u.y - v.y * u.x);
    if (area > 2 * reach_ * (std::fabs(v.x) + std::fabs(v.y))) return;  // surely too far
    const double size = length(v);
    const double distance = area / size;
    if (!(distance <= reach_)) return;
    const exact_xy normal{mpq_class(-v.y), mpq_class(v.x)};
    const exact_xy a = position(slot);
    lines_.push_back({normal, dot(normal, a), {-v.y / size, v.x / size}, distance});
  }

  void add_rays(std::uint32_t slot) {
    const gauge_block& b = table_.blocks[table_.block_of[slot]];
    if (std::max(std::fabs(near_.x - table_.x[slot]), std::fabs(near_.y - table_.y[slot])) <=
        reach_) {
      for (std::uint32_t j = 0; j < b.edges; ++j)
        add_ray(slot, table_.edges[b.first_edge + j].from);
      return;
    }
    const std::uint32_t e = edge_[slot];
    const std::uint32_t next = e + 1 == b.edges ? 0 : e + 1;
    add_ray(slot, table_.edges[b.first_edge + e].from);
    add_ray(slot, table_.edges[b.first_edge + next].from);
  }

  void add_bisector(std::uint32_t s, std::uint32_t t) {
    const auto weighted_normal = [&](std::uint32_t slot) {
      const gauge_block& b = table_.blocks[table_.block_of[slot]];
      const exact_xy& n = edges_.normal(b.first_edge + edge_[slot]);
      return exact_xy{n.x * table_.weight[slot], n.y * table_.weight[slot]};
    };
    const exact_xy ns = weighted_normal(s);
    const exact_xy nt = weighted_normal(t);
    const exact_xy normal{ns.x - nt.x, ns.y - nt.y};
    const xy rounded = to_nearest(normal);
    const double size = length(rounded);
    if (size == 0) return;
    const mpq_class right = dot(ns, position(s)) - dot(nt, position(t));
    const double distance = std::fabs(mpq_class(dot(normal, exact_near_) - right).get_d()) / size;
    if (distance <= reach_)
      lines_.push_back({normal, right, {rounded.x / size, rounded.y / size}, distance});
  }

  using ranked = std::pair<double, std::uint32_t>;  // distance and slot

  // Rays of sites whose order weight is surely 0 do not count.
  void add_lines_by_rank(const std::vector<double>& distance) {
    std::vector<ranked> order(distance.size());
    for (std::uint32_t slot = 0; slot < order.size(); ++slot) order[slot] = {distance[slot], slot};
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
  exact_xy exact_near_;
  double reach_;
  std::vector<std::uint32_t> edge_;  // of each slot
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
    : near_(absolute(table, near)),
      lines_(line_collector(p, table, edges, near, reach).collect()) {}

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
  const exact_xy& a = first.normal;
  if (second == nullptr) {
    const mpq_class step = (first.right - dot(a, near_)) / dot(a, a);
    return {{near_.x + step * a.x, near_.y + step * a.y}, 1};
  }
  return {crossing(a, first.right, second->normal, second->right), 2};
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
    exact_xy at = crossing(normal, right, l.normal, l.right);
    if (std::find(result.begin(), result.end(), at) == result.end())
      result.push_back(std::move(at));
  }
  return result;
}

}  // namespace planloc::detail
