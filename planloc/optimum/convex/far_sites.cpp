#include "planloc/optimum/convex/far_sites.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <utility>

#include "planloc/optimum/convex/cut_model.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kFewSites = 128;
// Those that are looked at first: so many, or one in so many.
constexpr std::size_t kFirstFar = 64;
constexpr std::size_t kFirstShare = 128;
constexpr std::size_t kFewFar = 24;
// To these relative gaps the centres of fewer and fewer sites are found.
constexpr std::array kGaps{1e-2, 1e-4, 1e-7, 1e-7, 1e-7, 1e-7};
constexpr int kMostRounds = 60;
constexpr std::size_t kLanes = 8;
// Above this relative gap the next place is half way to the best one.
constexpr double kHalfWayGap = 1e-3;
// Of the value and of the box, and of the sites' extent: what is left for roundings.
constexpr double kMargin = 1e-9;
constexpr double kMarginOfExtent = 1e-12;
constexpr double kProofMargin = 3e-12;  // of the value: what proofs by intervals lose

// The slot with the largest distance of [begin, end). Without a branch a slot.
std::uint32_t farthest_of(std::span<const double> distance, std::size_t begin, std::size_t end) {
  std::array<double, kLanes> most{};
  std::size_t k = begin;
  for (; k + kLanes <= end; k += kLanes) {
    for (std::size_t j = 0; j < kLanes; ++j)
      most[j] = distance[k + j] > most[j] ? distance[k + j] : most[j];
  }
  double largest = *std::max_element(most.begin(), most.end());
  for (; k < end; ++k) largest = std::max(largest, distance[k]);
  for (k = begin; k + 1 < end && distance[k] != largest;) ++k;
  return static_cast<std::uint32_t>(k);
}

// The farthest slots of as many stretches, as the l1 norm tells.
std::vector<std::uint32_t> farthest_slots(const distance_table& t) {
  const std::size_t n = t.size();
  std::vector<double> distance(n);
  for (std::size_t k = 0; k < n; ++k)
    distance[k] = t.weight[k] * (std::fabs(t.x[k]) + std::fabs(t.y[k]));
  const std::size_t count = std::max(kFirstFar, n / kFirstShare);
  std::vector<std::uint32_t> slots;
  for (std::size_t k = 0; k < count; ++k)
    slots.push_back(farthest_of(distance, k * n / count, (k + 1) * n / count));
  return slots;
}

// Each site's distance lies below the largest one, so the tangents of whatever sites are looked at
// are cuts for the whole problem.
class far_search {
 public:
  explicit far_search(const problem& p)
      : problem_(p),
        all_(p),
        extent_(2 * largest_coordinate()),
        rounding_(rounding()),
        looked_at_(farthest_slots(all_)),
        some_(all_.only(looked_at_)),
        best_(farthest(some_, {0, 0})),
        model_(best_, best_.at, extent_) {}

  std::optional<far_sites> run();

 private:
  double largest_coordinate() const;
  double rounding() const;
  place_box level_box() const;
  evaluation farthest(const distance_table& t, const xy& at);
  bool close_gap(double relative_gap);
  std::vector<std::uint32_t> far_slots(const place_box& b) const;
  far_sites found(std::span<const std::uint32_t> slots, const place_box& b) const;

  const problem& problem_;
  distance_table all_;
  double extent_;
  double rounding_;  // a bound of what the roundings of positions do to a distance
  std::vector<double> distance_;
  std::uint32_t farthest_ = 0;  // slot of the table that was evaluated last
  std::vector<std::uint32_t> looked_at_;
  distance_table some_;  // those slots
  evaluation best_;
  cut_model model_;
};

double far_search::largest_coordinate() const {
  xy most{0, 0};
  for (std::size_t slot = 0; slot < all_.size(); ++slot) {
    const xy at{std::fabs(all_.x[slot]), std::fabs(all_.y[slot])};
    most = {at.x > most.x ? at.x : most.x, at.y > most.y ? at.y : most.y};
  }
  return std::max(most.x, most.y);
}

evaluation far_search::farthest(const distance_table& t, const xy& at) {
  distance_.resize(t.size());
  t.distances(at, distance_, {});
  farthest_ = farthest_of(distance_, 0, t.size());
  return {at, distance_[farthest_], t.piece(farthest_, at).slope};
}

// The centre of the sites that are looked at.
bool far_search::close_gap(double relative_gap) {
  for (int round = 0; round < kMostRounds; ++round) {
    model_.solve();
    const double gap = best_.value - model_.bound();
    if (gap <= relative_gap * best_.value) return !model_.near_border(best_.at);
    xy at = model_.minimiser();
    if (gap > kHalfWayGap * best_.value) {
      at = {at.x + (best_.at.x - at.x) / 2, at.y + (best_.at.y - at.y) / 2};
    }
    const evaluation e = farthest(some_, at);
    model_.add(e);
    if (e.value >= best_.value) continue;
    best_ = e;
    model_.recentre(at);
  }
  return false;
}

// The steepest slope of a gauge in each coordinate; an lp norm is at most the sum of them.
xy steepest(const distance_table& t, const gauge_block& block) {
  if (block.kind != gauge::shape::polyhedral) return {1, 1};
  xy most{0, 0};
  for (std::uint32_t e = block.first_edge; e < block.first_edge + block.edges; ++e) {
    most = {std::max(most.x, std::fabs(t.edges[e].normal.x)),
            std::max(most.y, std::fabs(t.edges[e].normal.y))};
  }
  return most;
}

double far_search::rounding() const {
  double most = 0;
  for (const gauge_block& block : all_.blocks) {
    const auto weights = all_.weight.begin();
    const xy steep = steepest(all_, block);
    most = std::max(
        most, (steep.x + steep.y) * *std::max_element(weights + block.begin, weights + block.end));
  }
  return most * kMarginOfExtent * extent_;
}

// The slots of sites that can be the farthest ones somewhere in the box. `distance_` is that of the
// best place.
std::vector<std::uint32_t> far_search::far_slots(const place_box& b) const {
  const xy reach{std::max(b.high.x - best_.at.x, best_.at.x - b.low.x),
                 std::max(b.high.y - best_.at.y, best_.at.y - b.low.y)};
  const double least = model_.bound() * (1 - kMargin) - rounding_;
  std::vector<std::uint32_t> slots;
  for (const gauge_block& block : all_.blocks) {
    const xy steep = steepest(all_, block);
    const double rise = steep.x * reach.x + steep.y * reach.y;
    for (std::uint32_t slot = block.begin; slot < block.end; ++slot) {
      if (distance_[slot] + all_.weight[slot] * rise >= least) slots.push_back(slot);
    }
  }
  return slots;
}

// Holds all places that are no worse than the best.
place_box far_search::level_box() const {
  const place_box level = model_.level_box(best_.value * (1 + kMargin) + rounding_);
  const double margin = kMargin * level.size() + kMarginOfExtent * extent_;
  return {{level.low.x - margin, level.low.y - margin},
          {level.high.x + margin, level.high.y + margin}};
}

far_sites far_search::found(std::span<const std::uint32_t> slots, const place_box& b) const {
  std::vector<std::uint32_t> numbers;
  std::vector<site> sites;
  for (const std::uint32_t slot : slots) {
    numbers.push_back(all_.site[slot]);
    sites.push_back(problem_.sites()[numbers.back()]);
  }
  std::vector<double> lambda(sites.size(), 0.0);
  lambda.back() = problem_.runs().back().weight;
  const auto gauges = problem_.gauges();
  return {problem(std::move(sites), {gauges.begin(), gauges.end()}, order_weights(lambda)),
          std::move(numbers),
          {{all_.base.x + b.low.x, all_.base.y + b.low.y},
           {all_.base.x + b.high.x, all_.base.y + b.high.y}}};
}

std::optional<far_sites> far_search::run() {
  for (std::size_t k = 0; k < kGaps.size(); ++k) {
    if (!close_gap(kGaps[k]) || !(model_.bound() > 0)) return {};
    // With all sites: from now on the search stays where no place is surely worse than this one.
    best_ = farthest(all_, best_.at);
    model_.add(best_);
    const place_box b = level_box();
    const std::vector<std::uint32_t> slots = far_slots(b);
    if (slots.size() <= kFewFar || (k + 1 == kGaps.size() && slots.size() <= all_.size() / 2))
      return found(slots, b);
    if (slots.size() <= looked_at_.size()) {
      looked_at_ = slots;
    } else {
      const auto at = std::lower_bound(looked_at_.begin(), looked_at_.end(), farthest_);
      if (at == looked_at_.end() || *at != farthest_) looked_at_.insert(at, farthest_);
    }
    some_ = all_.only(looked_at_);
  }
  return {};
}

}  // namespace

std::optional<far_sites> find_far_sites(const problem& p) {
  const auto runs = p.runs();
  if (runs.size() != 2 || runs[0].weight != 0 || runs[1].count != 1 || p.sites().size() < kFewSites)
    return {};
  return far_search(p).run();
}

bool far_sites::hold(const solution& s) const {
  return holds_optima.holds(s.point) &&
         std::all_of(s.optima.corners.begin(), s.optima.corners.end(),
                     [this](const xy& c) { return holds_optima.holds(c); });
}

solution far_sites::expand(const problem& whole, solution s) const {
  const auto n = static_cast<std::uint32_t>(whole.sites().size());
  std::vector<std::uint32_t> others(n);  // ranks of the sites that are left out
  for (const std::uint32_t i : site) others[i] = n;
  std::uint32_t rank = 0;
  for (std::uint32_t& r : others) {
    if (r != n) r = rank++;
  }
  for (affine_piece& piece : std::get<convex_certificate>(s.proof).pieces) {
    std::vector<std::uint32_t> ranks = others;
    std::vector<std::uint32_t> edges(piece.edge.empty() ? 0 : n);
    for (std::size_t k = 0; k < site.size(); ++k) {
      ranks[site[k]] = rank + piece.rank[k];
      if (!piece.edge.empty()) edges[site[k]] = piece.edge[k];
    }
    for (affine_piece::kink& k : piece.kinks) k.site = site[k.site];
    piece.rank = std::move(ranks);
    piece.edge = std::move(edges);
  }
  // Exact for the far sites alone; with the others the proof is one of intervals.
  if (centre.polyhedral() && !whole.polyhedral())
    s.lower_bound = std::min(s.lower_bound, s.value * (1 - kProofMargin));
  return s;
}

}  // namespace planloc::detail
