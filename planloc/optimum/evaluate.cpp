#include "planloc/optimum/evaluate.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "planloc/optimum/twin.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kChunk = lp_norm::kChunk;
// Above this many jumps of the order weights the distances are sorted.
constexpr std::size_t kJumpsToSplit = 12;

double norm_lp(const xy& u, double p) {
  const double large = std::max(std::fabs(u.x), std::fabs(u.y));
  if (large == 0) return 0;
  return large * std::pow(1 + std::pow(std::min(std::fabs(u.x), std::fabs(u.y)) / large, p), 1 / p);
}

// Sums chunks of terms one by one and the chunks with their rounding errors (Neumaier 1974).
class chunked_sum {
 public:
  void add(double chunk) {
    const double next = total_ + chunk;
    lost_ +=
        std::fabs(total_) >= std::fabs(chunk) ? (total_ - next) + chunk : (chunk - next) + total_;
    total_ = next;
  }
  double value() const { return total_ + lost_; }

 private:
  double total_ = 0;
  double lost_ = 0;
};

}  // namespace

evaluator::evaluator(const problem& p, const distance_table& table) : problem_(p), table_(table) {
  make_scratch();
}

bool evaluator::has_edges() const {
  return std::any_of(problem_.gauges().begin(), problem_.gauges().end(),
                     [](const gauge& g) { return g.kind() == gauge::shape::polyhedral; });
}

void evaluator::make_scratch() {
  distance_.resize(table_.size());
  const std::span<const order_run> runs = problem_.runs();
  // Where few sites count, their edges are found when they are asked for.
  std::size_t counting = 0;
  for (const order_run& r : runs) counting += r.weight != 0 ? r.count : 0;
  if (counting > table_.size() / 8) {
    const bool edges = has_edges();
    edge_.resize(edges ? table_.size() : 0);
    // Not beside edges and ranks, which already take as much memory as a search may.
    slope_x_.resize(problem_.polyhedral() || (edges && runs.size() > 1) ? 0 : table_.size());
    slope_y_.resize(slope_x_.size());
  }
  if (runs.size() == 1) return;
  order_.resize(table_.size());
  for (std::uint32_t slot = 0; slot < order_.size(); ++slot) order_[slot].slot = slot;
}

void evaluator::release() {
  distance_ = std::vector<double>();
  edge_ = std::vector<std::uint32_t>();
  slope_x_ = std::vector<double>();
  slope_y_ = std::vector<double>();
  order_ = std::vector<ranked>();
}

// The slope of a slot's distance at the place that was evaluated last.
xy evaluator::slope_of(std::size_t slot, const xy& at) const {
  const gauge_block& b = table_.blocks[table_.block_of[slot]];
  const bool polyhedral = b.kind == gauge::shape::polyhedral;
  if (polyhedral ? edge_.empty() : slope_x_.empty()) return table_.piece(slot, at).slope;
  if (!polyhedral) return {slope_x_[slot], slope_y_[slot]};
  const xy& n = table_.edges[b.first_edge + edge_[slot]].normal;
  return {table_.weight[slot] * n.x, table_.weight[slot] * n.y};
}

evaluation evaluator::operator()(const xy& at) {
  ++count_;
  if (distance_.empty()) make_scratch();
  table_.distances(at, distance_, edge_, {slope_x_, slope_y_});
  const std::span<const order_run> runs = problem_.runs();
  if (runs.size() == 1) {
    evaluation e = sum_all(at, runs[0].weight);
    if (!problem_.polyhedral()) use_kinks(e.slope);
    return e;
  }
  for (ranked& r : order_) r.distance = distance_[r.slot];
  split_at_jumps();
  chunked_sum value;
  chunked_sum slope_x;
  chunked_sum slope_y;
  auto next = order_.cbegin();
  for (const order_run& run : runs) {
    const auto end = next + static_cast<std::ptrdiff_t>(run.count);
    if (run.weight == 0) {
      next = end;
      continue;
    }
    while (next != end) {
      double v = 0;
      double sx = 0;
      double sy = 0;
      const auto stop = next + std::min<std::ptrdiff_t>(kChunk, end - next);
      for (; next != stop; ++next) {
        const xy slope = slope_of(next->slot, at);
        v += next->distance;
        sx += slope.x;
        sy += slope.y;
      }
      value.add(run.weight * v);
      slope_x.add(run.weight * sx);
      slope_y.add(run.weight * sy);
    }
  }
  evaluation e{at, value.value(), {slope_x.value(), slope_y.value()}};
  if (!problem_.polyhedral()) use_kinks(e.slope);
  return e;
}

// At a site with a smooth gauge any slope in the polar of its ball will do: the one that brings the
// whole slope nearest to 0 along its own direction. It is 0 where the site is the optimum.
void evaluator::use_kinks(xy& slope) {
  kinks_.clear();
  if (*std::min_element(distance_.begin(), distance_.end()) != 0) return;
  find_kinks();
  for (affine_piece::kink& k : kinks_) {
    const gauge_block& b = table_.blocks[table_.block_of[k.site]];
    const double reach = k.slope.x * table_.weight[k.site];
    k.slope = {0, 0};
    const double norm = b.kind == gauge::shape::euclidean ? std::sqrt(dot(slope, slope))
                                                          : norm_lp(slope, b.p / (b.p - 1));
    if (norm == 0) continue;
    const double step = std::max(norm, reach);
    k.slope = {-slope.x / step, -slope.y / step};
    const double left = norm <= reach ? 0 : 1 - reach / norm;
    slope = {slope.x * left, slope.y * left};
  }
}

// The smooth sites at the place, each with its order weight for a slope.
void evaluator::find_kinks() {
  const auto here = [this](std::size_t slot) {
    return distance_[slot] == 0 &&
           table_.blocks[table_.block_of[slot]].kind != gauge::shape::polyhedral;
  };
  std::size_t count = 0;
  for (std::size_t slot = 0; slot < distance_.size(); ++slot) count += here(slot) ? 1 : 0;
  kinks_.reserve(count);
  std::size_t k = 0;
  for (const order_run& run : problem_.runs()) {
    for (const std::size_t end = k + run.count; k < end; ++k) {
      const auto slot = order_.empty() ? static_cast<std::uint32_t>(k) : order_[k].slot;
      if (here(slot)) kinks_.push_back({slot, {run.weight, 0}});
    }
  }
  // The order within a run is left over from earlier places.
  std::sort(kinks_.begin(), kinks_.end(),
            [](const auto& a, const auto& b) { return a.site < b.site; });
}

// By site: the kinks, and the slopes that intervals could not tell from the place.
std::vector<affine_piece::kink> evaluator::given_slopes(const xy& at) {
  std::vector<affine_piece::kink> given = std::exchange(kinks_, {});
  const auto each_corner = [&](auto use) {
    for (const gauge_block& b : table_.blocks) {
      if (b.kind != gauge::shape::lp) continue;
      for (std::uint32_t slot = b.begin; slot < b.end; ++slot) {
        if (distance_[slot] != 0 && b.norm.at_corner(at.x - table_.x[slot], at.y - table_.y[slot]))
          use(slot);
      }
    }
  };
  std::size_t corners = 0;
  each_corner([&](std::uint32_t) { ++corners; });
  given.reserve(given.size() + corners);
  each_corner([&](std::uint32_t slot) {
    const xy slope = slope_of(slot, at);
    const double w = table_.weight[slot];
    given.push_back({slot, {slope.x / w, slope.y / w}});
  });
  for (affine_piece::kink& k : given) k.site = table_.site[k.site];
  return given;
}

affine_piece evaluator::piece_at(const xy& at) {
  (*this)(at);
  affine_piece result;
  result.taken_at = at;
  if (has_edges()) result.edge.resize(table_.size());
  for (const gauge_block& b : table_.blocks) {
    if (b.kind != gauge::shape::polyhedral) continue;
    for (std::uint32_t slot = b.begin; slot < b.end; ++slot)
      result.edge[table_.site[slot]] = edge_.empty() ? table_.piece(slot, at).edge : edge_[slot];
  }
  result.kinks = given_slopes(at);
  if (order_.empty()) return result;
  // Kinks of most sites take the memory of their slopes, until the next evaluation.
  std::vector<ranked> order = std::move(order_);
  if (result.kinks.size() > table_.size() / 2) release();
  result.rank.resize(order.size());
  for (std::uint32_t k = 0; k < order.size(); ++k) result.rank[table_.site[order[k].slot]] = k;
  if (!distance_.empty()) order_ = std::move(order);
  return result;
}

// With the ranks at the place as fixed order, f(x) >= sum of lambda d_i(x), and gauge(x - a) >=
// gauge(x - place) - gauge(a - place), where gauge(u) >= |u| / the ball's half width.
double evaluator::level_radius(const evaluation& e) {
  (*this)(e.at);
  double pull = 0;
  double back = 0;
  std::size_t k = 0;
  for (const order_run& run : problem_.runs()) {
    for (const std::size_t end = k + run.count; k < end; ++k) {
      if (run.weight == 0) continue;
      const std::size_t slot = order_.empty() ? k : order_[k].slot;
      const gauge_block& b = table_.blocks[table_.block_of[slot]];
      const double w = run.weight * table_.weight[slot];
      if (b.kind != gauge::shape::polyhedral) {
        pull += w;
        back += run.weight * distance_[slot];
        continue;
      }
      double half_width = 0;
      for (std::uint32_t j = b.first_edge; j < b.first_edge + b.edges; ++j) {
        const xy& v = table_.edges[j].from;
        half_width = std::max({half_width, std::fabs(v.x), std::fabs(v.y)});
      }
      pull += w / half_width;
      const xy u{table_.x[slot] - e.at.x, table_.y[slot] - e.at.y};
      back += w * dot(table_.edges[b.first_edge + table_.active_edge(b, u)].normal, u);
    }
  }
  // Beside an optimum of 0 roundings may take the sum below it.
  return pull > 0 ? std::max(e.value + back, 0.0) / pull * (1 + 1e-9) : 1;
}

// Of the slots of one chunk.
evaluation evaluator::sum_of(const gauge_block& b, std::size_t begin, std::size_t end,
                             const xy& at) const {
  evaluation e{at, 0, {0, 0}};
  if (b.kind != gauge::shape::polyhedral || edge_.empty()) {
    for (std::size_t k = begin; k < end; ++k) {
      const xy slope = slope_of(k, at);
      e.value += distance_[k];
      e.slope = {e.slope.x + slope.x, e.slope.y + slope.y};
    }
    return e;
  }
  // Every second slot in the same sums, lest each waits for the one before.
  const ball_edge* edges = table_.edges.data() + b.first_edge;
  twin value{};
  std::array<twin, 2> slope{};
  for (std::size_t k = begin; k < end; ++k) {
    const xy& n = edges[edge_[k]].normal;
    slope[k % 2] += table_.weight[k] * twin{n.x, n.y};
    value[k % 2] += distance_[k];
  }
  slope[0] += slope[1];
  return {at, total(value), {slope[0][0], slope[0][1]}};
}

evaluation evaluator::sum_all(const xy& at, double lambda) const {
  chunked_sum value;
  chunked_sum slope_x;
  chunked_sum slope_y;
  for (const gauge_block& b : table_.blocks) {
    for (std::size_t begin = b.begin; begin < b.end; begin += kChunk) {
      const evaluation e = sum_of(b, begin, std::min<std::size_t>(begin + kChunk, b.end), at);
      value.add(e.value);
      slope_x.add(e.slope.x);
      slope_y.add(e.slope.y);
    }
  }
  return {at, lambda * value.value(), {lambda * slope_x.value(), lambda * slope_y.value()}};
}

void evaluator::split_at_jumps() {
  // Ties by the slot, so that a place has one piece whenever it is asked for.
  const auto nearer = [](const ranked& a, const ranked& b) {
    return a.distance < b.distance || (a.distance == b.distance && a.slot < b.slot);
  };
  const std::span<const order_run> runs = problem_.runs();
  if (runs.size() - 1 > kJumpsToSplit) {
    std::sort(order_.begin(), order_.end(), nearer);
    return;
  }
  auto end = order_.end();
  for (std::size_t r = runs.size() - 1; r > 0; --r) {
    const auto jump = end - static_cast<std::ptrdiff_t>(runs[r].count);
    if (runs[r].count == 1) {
      std::iter_swap(jump, std::max_element(order_.begin(), end, nearer));
    } else {
      std::nth_element(order_.begin(), jump, end, nearer);
    }
    end = jump;
  }
}

}  // namespace planloc::detail
