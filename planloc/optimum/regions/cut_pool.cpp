#include "planloc/optimum/regions/cut_pool.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

namespace planloc::detail {

namespace {

// Of the magnitudes that a value on a segment is made of: more than its roundings, with sums in
// doubles of as many terms as a chunk has.
constexpr double kRounding = 0x1p-46;
// Functions that a segment is compared with.
constexpr std::size_t kMostRecent = 64;
// Above this many runs of order weights, terms are sorted.
constexpr std::size_t kRunsToSplit = 12;

// The largest sum of terms, each with another of the order weights, which rise.
double largest_sum(std::vector<double> terms, std::span<const order_run> runs) {
  if (runs.size() > kRunsToSplit) std::sort(terms.begin(), terms.end());
  double sum = 0;
  auto end = terms.end();
  for (std::size_t r = runs.size(); r-- > 0 && runs[r].weight != 0;) {
    const auto begin = end - static_cast<std::ptrdiff_t>(runs[r].count);
    if (r > 0 && runs.size() <= kRunsToSplit) std::nth_element(terms.begin(), begin, end);
    sum += runs[r].weight * std::accumulate(begin, end, 0.0);
    end = begin;
  }
  return sum;
}

// The largest slopes of a gauge in x and in y, either way.
xy steepest(const distance_table& t, const gauge_block& b) {
  if (b.kind != gauge::shape::polyhedral) return {1, 1};
  xy most{0, 0};
  for (std::uint32_t j = b.first_edge; j < b.first_edge + b.edges; ++j) {
    const xy& n = t.edges[j].normal;
    most = {std::max(most.x, std::fabs(n.x)), std::max(most.y, std::fabs(n.y))};
  }
  return most;
}

}  // namespace

void recent_cuts::add(std::size_t k) {
  if (number_.size() < kMostRecent) {
    number_.push_back(k);
    last_use_.push_back(++uses_);
    return;
  }
  const auto oldest = std::min_element(last_use_.begin(), last_use_.end());
  number_[static_cast<std::size_t>(oldest - last_use_.begin())] = k;
  *oldest = ++uses_;
}

void recent_cuts::touch(std::size_t k) {
  const auto at = std::find(number_.begin(), number_.end(), k);
  if (at != number_.end()) last_use_[static_cast<std::size_t>(at - number_.begin())] = ++uses_;
}

cut_pool::cut_pool(const problem& p, const distance_table& table) : table_(table) {
  for (const order_run& r : p.runs()) lambda_.insert(lambda_.end(), r.count, r.weight);
  std::vector<double> x(table.size());
  std::vector<double> y(table.size());
  std::vector<double> size(table.size());
  for (const gauge_block& b : table.blocks) {
    const xy steep = steepest(table, b);
    for (std::uint32_t slot = b.begin; slot < b.end; ++slot) {
      x[slot] = table.weight[slot] * steep.x;
      y[slot] = table.weight[slot] * steep.y;
      size[slot] = x[slot] * std::fabs(table.x[slot]) + y[slot] * std::fabs(table.y[slot]);
    }
  }
  steepness_ = {largest_sum(std::move(x), p.runs()), largest_sum(std::move(y), p.runs())};
  size_ = largest_sum(std::move(size), p.runs());
}

std::size_t cut_pool::add(affine_piece piece, const xy& at) {
  std::vector<const affine_piece::kink*> kink(piece.kinks.empty() ? 0 : table_.size());
  for (const affine_piece::kink& k : piece.kinks) kink[k.site] = &k;
  const bool ranked = !piece.rank.empty();
  const auto slope_of = [&](const gauge_block& b, std::uint32_t slot, std::uint32_t i) {
    const double w = table_.weight[slot];
    if (b.kind == gauge::shape::polyhedral) {
      const xy& n = table_.edges[b.first_edge + piece.edge[i]].normal;
      return xy{w * n.x, w * n.y};
    }
    if (!kink.empty() && kink[i] != nullptr) return xy{w * kink[i]->slope.x, w * kink[i]->slope.y};
    return table_.piece(slot, piece.taken_at).slope;
  };
  const affine_sum sum =
      sum_in_chunks(table_, [&](const gauge_block& b, std::uint32_t slot, affine_sum& s) {
        const std::uint32_t i = table_.site[slot];
        const double l = lambda_[ranked ? piece.rank[i] : 0];
        if (l == 0) return;
        const xy slope = slope_of(b, slot, i);
        s.value += l * (slope.x * (at.x - table_.x[slot]) + slope.y * (at.y - table_.y[slot]));
        s.slope.x += l * slope.x;
        s.slope.y += l * slope.y;
      });
  return add(std::move(piece), {at, sum.value, sum.slope});
}

std::size_t cut_pool::add(affine_piece piece, const evaluation& e) {
  const std::size_t k = cuts_.size();
  cuts_.push_back({e.at, e.value, e.slope, std::move(piece)});
  recent_.add(k);
  return k;
}

double cut_pool::doubt(const cut& c, const xy& at) const {
  return kRounding * (size_ + steepness_.x * std::max(std::fabs(c.at.x), std::fabs(at.x)) +
                      steepness_.y * std::max(std::fabs(c.at.y), std::fabs(at.y)));
}

// Left of the meeting place the falling function is no less than there, right of it the other one;
// unless their slopes are so small that roundings may have turned them.
cut_pool::minimum cut_pool::rounded_down(const segment& s, minimum m) const {
  const xy u{s.b.x - s.a.x, s.b.y - s.a.y};
  const xy at = s.at(m.share);
  const double flat =
      2 * kRounding * (steepness_.x * std::fabs(u.x) + steepness_.y * std::fabs(u.y));
  double off = 0;
  for (const std::size_t k : {m.falling, m.rising}) {
    const cut& c = cuts_[k];
    const bool steep = std::fabs(c.slope.x * u.x + c.slope.y * u.y) > flat;
    off = std::max(off, doubt(c, at) + (steep ? 0 : flat));
  }
  m.bound = m.value - off;
  return m;
}

cut_pool::minimum cut_pool::least(const segment& s, const known& own) {
  const std::span<const std::size_t> recent = recent_.numbers();
  compared_.assign(recent.begin(), recent.end());
  if (cuts_.size() > recent.size()) compared_.insert(compared_.end(), {own.falling, own.rising});
  const minimum m = least_of(compared_, s);
  recent_.touch(m.falling);
  recent_.touch(m.rising);
  return m;
}

cut_pool::minimum cut_pool::least_of_kept(const segment& s) {
  const minimum m = least_of(recently_kept_.numbers(), s);
  recently_kept_.touch(m.falling);
  recently_kept_.touch(m.rising);
  return m;
}

// From both ends: the functions in force there, then what is in force where they meet.
cut_pool::minimum cut_pool::least_of(std::span<const std::size_t> cuts, const segment& s) const {
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  if (cuts.empty()) return {-kInfinite, -kInfinite, 0, 0, 0};
  const auto in_force = [&](const xy& at) {
    std::size_t best = cuts[0];
    double most = -kInfinite;
    for (const std::size_t k : cuts) {
      const double v = value_at(k, at);
      if (v > most) {
        most = v;
        best = k;
      }
    }
    return std::pair(best, most);
  };
  auto [falling, at_a] = in_force(s.a);
  if (!(value_at(falling, s.b) < at_a)) return rounded_down(s, {0, at_a, 0, falling, falling});
  auto [rising, at_b] = in_force(s.b);
  if (!(value_at(rising, s.a) < at_b)) return rounded_down(s, {0, at_b, 1, rising, rising});
  for (std::size_t round = 0;; ++round) {
    const double fa = value_at(falling, s.a);
    const double fb = value_at(falling, s.b);
    const double ra = value_at(rising, s.a);
    const double rb = value_at(rising, s.b);
    const double share = std::clamp((fa - ra) / ((fa - ra) + (rb - fb)), 0.0, 1.0);
    const double meet = fa + share * (fb - fa);
    const auto [other, value] = in_force(s.at(share));
    if (other == falling || other == rising || !(value > meet + doubt(cuts_[other], s.at(share))) ||
        round == cuts.size()) {
      return rounded_down(s, {0, meet, share, falling, rising});
    }
    (value_at(other, s.b) < value_at(other, s.a) ? falling : rising) = other;
  }
}

void cut_pool::keep(std::size_t k) {
  if (std::exchange(cuts_[k].kept, true)) return;
  kept_.push_back(k);
  recently_kept_.add(k);
}

std::vector<affine_piece> cut_pool::kept() const {
  std::vector<affine_piece> result;
  for (const std::size_t k : kept_) result.push_back(cuts_[k].piece);
  return result;
}

}  // namespace planloc::detail
