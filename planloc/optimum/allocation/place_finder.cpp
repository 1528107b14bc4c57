#include "planloc/optimum/allocation/place_finder.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "planloc/optimum/convex/cut_model.h"

namespace planloc::detail {

namespace {

constexpr double kGap = 1e-8;  // of the value
constexpr int kMostSteps = 60;
constexpr int kMostShorter = 8;
constexpr int kMostCuts = 60;

}  // namespace

place_finder::place_finder(const distance_table& table) : table_(table) {
  for (const gauge_block& b : table.blocks) {
    euclidean_ = euclidean_ && (b.begin == b.end || b.kind == gauge::shape::euclidean);
  }
}

placed place_finder::operator()(std::span<const std::uint32_t> slots, const xy& start) {
  if (slots.size() == 1) return {{table_.x[slots[0]], table_.y[slots[0]]}, 0};
  return euclidean_ ? newton(slots, start) : cutting_planes(slots, start);
}

// ----- Euclidean -----

// The sum and its derivatives without the sites that lie at the place itself.
struct place_finder::euclidean_step {
  double value = 0;
  double here = 0;  // the weight of the sites at the place
  xy slope{0, 0};
  double xx = 0;
  double xy_ = 0;
  double yy = 0;
  double pull = 0;  // sum of weight / distance
  std::size_t nearest = 0;
  double nearest_square = std::numeric_limits<double>::infinity();

  // Whether a place at sites is the optimum.
  bool held() const { return here > 0 && std::hypot(slope.x, slope.y) <= here; }
  // Weiszfeld's (1937) step, at a site that of Vardi and Zhang (2000): never worse.
  xy safe() const {
    const double share = 1 - here / std::max(std::hypot(slope.x, slope.y), here);
    return {-slope.x / pull * share, -slope.y / pull * share};
  }
  double det() const { return xx * yy - xy_ * xy_; }
  // Else all sites lie on a line through the place, or nearly so.
  bool bends() const { return det() > 1e-12 * pull * pull; }
  xy newton() const {
    if (here > 0 || !bends()) return safe();
    const double det = this->det();
    return {(xy_ * slope.y - yy * slope.x) / det, (xy_ * slope.x - xx * slope.y) / det};
  }
};

place_finder::euclidean_step place_finder::step_at(const xy& at) const {
  euclidean_step s;
  for (std::size_t k = 0; k < sites_.size(); ++k) {
    const double dx = at.x - sites_[k].x;
    const double dy = at.y - sites_[k].y;
    const double square = dx * dx + dy * dy;
    if (square < s.nearest_square) {
      s.nearest_square = square;
      s.nearest = k;
    }
    if (square == 0) {
      s.here += sites_[k].weight;
      continue;
    }
    const double distance = std::sqrt(square);
    const double r = sites_[k].weight / distance;
    s.value += sites_[k].weight * distance;
    s.slope.x += r * dx;
    s.slope.y += r * dy;
    s.pull += r;
    const double cubed = r / square;
    s.xx += cubed * dy * dy;
    s.yy += cubed * dx * dx;
    s.xy_ -= cubed * dx * dy;
  }
  return s;
}

// The weighted median of the sites on a line, which Weiszfeld's steps near ever more slowly.
xy place_finder::median_on_line() {
  const weighted_site& a = sites_.front();
  const weighted_site& b =
      *std::max_element(sites_.begin(), sites_.end(), [&](const auto& p, const auto& q) {
        return std::hypot(p.x - a.x, p.y - a.y) < std::hypot(q.x - a.x, q.y - a.y);
      });
  const xy along{b.x - a.x, b.y - a.y};
  std::sort(sites_.begin(), sites_.end(), [&](const auto& p, const auto& q) {
    return p.x * along.x + p.y * along.y < q.x * along.x + q.y * along.y;
  });
  double left = 0;
  for (const auto& s : sites_) left += s.weight / 2;
  for (const auto& s : sites_) {
    left -= s.weight;
    if (left <= 0) return {s.x, s.y};
  }
  return {sites_.back().x, sites_.back().y};
}

// Newton's steps, shorter ones where they go too far (past a site near the optimum, where
// Weiszfeld's crawl), and Weiszfeld's where those fail. A site that the steps make for is tried
// itself: the sum has a kink there, which derivatives elsewhere do not show.
placed place_finder::newton(std::span<const std::uint32_t> slots, const xy& start) {
  sites_.clear();
  for (const std::uint32_t s : slots) {
    sites_.push_back({table_.x[s], table_.y[s], table_.weight[s]});
  }
  xy at = start;
  euclidean_step now = step_at(at);
  std::size_t tried = sites_.size();
  for (int k = 0; k < kMostSteps; ++k) {
    if (now.held() || now.pull == 0) break;
    if (now.here == 0 && !now.bends()) {
      const xy median = median_on_line();
      tried = sites_.size();  // their order is another one
      const euclidean_step there = step_at(median);
      if (there.value < now.value) {
        at = median;
        now = there;
        continue;
      }
    }
    xy by = now.newton();
    const double fall = -(by.x * now.slope.x + by.y * now.slope.y);
    if (fall <= kGap * 1e-2 * now.value) break;
    if (now.here == 0 && now.nearest != tried &&
        by.x * by.x + by.y * by.y > now.nearest_square / 4) {
      tried = now.nearest;
      const xy site_at{sites_[tried].x, sites_[tried].y};
      const euclidean_step there = step_at(site_at);
      if (there.held()) return {site_at, there.value};
    }
    euclidean_step next = step_at({at.x + by.x, at.y + by.y});
    for (int shorter = 0; shorter < kMostShorter && !(next.value < now.value); ++shorter) {
      by = {by.x / 4, by.y / 4};
      next = step_at({at.x + by.x, at.y + by.y});
    }
    if (!(next.value < now.value)) {
      by = now.safe();
      next = step_at({at.x + by.x, at.y + by.y});
      if (!(next.value < now.value)) break;
    }
    at = {at.x + by.x, at.y + by.y};
    now = next;
  }
  return {at, now.value};
}

// ----- Any distance -----

evaluation sum_of_distances(const distance_table& table, std::span<const std::uint32_t> slots,
                            const xy& at) {
  evaluation e{at, 0, {0, 0}};
  for (const std::uint32_t s : slots) {
    const distance_table::linear_piece piece = table.piece(s, at);
    e.value += piece.distance;
    e.slope.x += piece.slope.x;
    e.slope.y += piece.slope.y;
  }
  // At a site with a smooth gauge any slope in the polar of its ball will do.
  for (const std::uint32_t s : slots) {
    const gauge_block& b = table.blocks[table.block_of[s]];
    if (b.kind == gauge::shape::polyhedral || table.x[s] != at.x || table.y[s] != at.y) continue;
    const double norm = b.kind == gauge::shape::euclidean ? std::hypot(e.slope.x, e.slope.y)
                                                          : gauge::lp(b.p / (b.p - 1))(e.slope);
    const double left = norm <= table.weight[s] ? 0 : 1 - table.weight[s] / norm;
    e.slope = {left * e.slope.x, left * e.slope.y};
  }
  return e;
}

placed place_finder::cutting_planes(std::span<const std::uint32_t> slots, const xy& start) const {
  xy nearest = start;
  double least = std::numeric_limits<double>::infinity();
  double reach = 0;
  for (const std::uint32_t s : slots) {
    const double away =
        std::max(std::fabs(table_.x[s] - start.x), std::fabs(table_.y[s] - start.y));
    reach = std::max(reach, away);
    if (away >= least) continue;
    least = away;
    nearest = {table_.x[s], table_.y[s]};
  }
  if (reach == 0) return {start, 0};
  evaluation best = sum_of_distances(table_, slots, start);
  cut_model model(best, start, reach);
  const auto take = [&](const evaluation& e) {
    model.add(e);
    if (e.value >= best.value) return;
    best = e;
    model.recentre(e.at);
  };
  if (nearest != start) take(sum_of_distances(table_, slots, nearest));
  for (int k = 0; k < kMostCuts; ++k) {
    model.solve();
    const double gap = best.value - model.bound();
    if (gap <= kGap * best.value) {
      if (!model.near_border(best.at)) break;
      model.widen(8);
      continue;
    }
    const xy at = model.minimiser();
    take(sum_of_distances(table_, slots, at));
  }
  return {best.at, best.value};
}

}  // namespace planloc::detail
