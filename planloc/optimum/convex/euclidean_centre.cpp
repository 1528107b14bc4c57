#include "planloc/optimum/convex/euclidean_centre.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <numeric>

#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kChunk = 64;
constexpr std::size_t kLeastSample = 64;
constexpr std::size_t kSampled = 64;  // one site in so many
// The share of the sample that is as far as the sites that join it.
constexpr std::size_t kFarShare = 16;
constexpr int kMostPasses = 40;
constexpr int kMostPivots = 400;
// Of the value. A site that is no farther than this is on the circle.
constexpr double kOnCircle = 0x1p-50;
constexpr double kClosed = 1e-13;
constexpr double kUlp = 0x1p-52;
constexpr double kProofMargin = 3e-12;  // what intervals prove may stay behind doubles

double squared(const xy& u) { return u.x * u.x + u.y * u.y; }
double length(const xy& u) { return std::sqrt(squared(u)); }
double cross(const xy& a, const xy& b) { return a.x * b.y - a.y * b.x; }

// What a + b loses, exactly (Knuth 1969).
double rounding_of(double a, double b) {
  const double sum = a + b;
  const double of_b = sum - a;
  return (a - (sum - of_b)) + (b - of_b);
}

struct weighted_place {
  xy at;
  double weight;
  std::uint32_t site;
};

struct circle_centre {
  xy at{0, 0};
  double value = 0;  // the largest weighted distance of what determines it
};

double largest(const circle_centre& c, std::span<const weighted_place> sites) {
  double most = 0;
  for (const weighted_place& s : sites)
    most = std::max(most, s.weight * length({s.at.x - c.at.x, s.at.y - c.at.y}));
  return most;
}

circle_centre centre_of(const weighted_place& a, const weighted_place& b) {
  const double share = b.weight / (a.weight + b.weight);
  return {{a.at.x + share * (b.at.x - a.at.x), a.at.y + share * (b.at.y - a.at.y)}, 0};
}

// The nearer place of equal weighted distances: |y|^2 = s / w^2 counted from each of the sites is
// linear in y and s but for one quadratic equation.
circle_centre centre_of(const weighted_place& a, const weighted_place& b, const weighted_place& c) {
  const xy u{b.at.x - a.at.x, b.at.y - a.at.y};
  const xy v{c.at.x - a.at.x, c.at.y - a.at.y};
  const double area = 2 * cross(u, v);
  const auto solve = [&](double right_u, double right_v) {
    return xy{(right_u * v.y - right_v * u.y) / area, (right_v * u.x - right_u * v.x) / area};
  };
  xy y = solve(squared(u), squared(v));
  if (a.weight != b.weight || a.weight != c.weight) {
    const double unit = 1 / (a.weight * a.weight);
    const double ratio_b = 1 - (a.weight / b.weight) * (a.weight / b.weight);
    const double ratio_c = 1 - (a.weight / c.weight) * (a.weight / c.weight);
    const xy r = solve(unit * ratio_b, unit * ratio_c);
    const double linear = unit - 2 * (y.x * r.x + y.y * r.y);
    const double rest = linear * linear - 4 * squared(r) * squared(y);
    const double s = 2 * squared(y) / (linear + std::sqrt(std::max(rest, 0.0)));
    y = {y.x + s * r.x, y.y + s * r.y};
  }
  return {{a.at.x + y.x, a.at.y + y.y}, 0};
}

// Sites side by side, counted from a base.
struct site_set {
  std::vector<double> x, y, square_weight;
  std::vector<std::uint32_t> site;

  std::size_t size() const { return site.size(); }
  void reserve(std::size_t n) {
    x.reserve(n);
    y.reserve(n);
    square_weight.reserve(n);
    site.reserve(n);
  }
  void add(const xy& at, double squared_weight, std::uint32_t number) {
    x.push_back(at.x);
    y.push_back(at.y);
    square_weight.push_back(squared_weight);
    site.push_back(number);
  }
};

using chunk_values = std::array<double, kChunk>;

template <std::size_t Size>
double largest_of(const double* values) {
  if constexpr (Size == 1) {
    return *values;
  } else {
    std::array<double, Size / 2> most;
    for (std::size_t k = 0; k < Size / 2; ++k) {
      most[k] = values[k] > values[k + Size / 2] ? values[k] : values[k + Size / 2];
    }
    return largest_of<Size / 2>(most.data());
  }
}

// By halves: a loop with one maximum would wait for itself.
double largest(const chunk_values& values) { return largest_of<kChunk>(values.data()); }

class centre_search {
 public:
  explicit centre_search(const problem& p) : problem_(p), sites_(p.sites()) {}

  // False if passes or pivots do not end.
  bool run();
  solution result() const;
  // A position counted from the base is off by at most kUlp times its length, which is at most
  // value / weight and the centre's own.
  bool closed() const {
    const double of_positions = kUlp * heaviest_ * length(centre_.at);
    return value() - bound_ + of_positions <= kClosed * value();
  }
  std::size_t passes() const { return passes_; }
  void close();

 private:
  double value() const { return centre_.value; }
  void choose_base(std::size_t step);
  double far_value() const;
  bool solve();
  bool pivot(const weighted_place& entering);
  void gather(double least);
  weighted_place member(std::size_t k) const {
    const std::uint32_t i = set_.site[k];
    return {{set_.x[k], set_.y[k]}, sites_[i].weight, i};
  }

  const problem& problem_;
  std::span<const site> sites_;
  xy base_{0, 0};
  site_set set_;
  std::array<weighted_place, 3> basis_{};
  std::size_t basis_size_ = 0;
  circle_centre centre_;
  std::array<double, 3> share_{};
  double bound_ = 0;
  double heaviest_ = 0;
  std::size_t passes_ = 0;
};

// On a grid that is fine beside the sample's extent: sites close together far from the origin lose
// nothing.
void centre_search::choose_base(std::size_t step) {
  const xy first{sites_[0].x, sites_[0].y};
  double extent_x = 0;
  double extent_y = 0;
  for (std::size_t i = 0; i < sites_.size(); i += step) {
    extent_x = std::max(extent_x, std::fabs(sites_[i].x - first.x));
    extent_y = std::max(extent_y, std::fabs(sites_[i].y - first.y));
  }
  const double extent = std::max(extent_x, extent_y);
  const double grain = extent > 0 ? std::ldexp(1, std::ilogb(extent) - 6) : 0;
  const auto coarse = [&](double c) { return grain > 0 ? std::nearbyint(c / grain) * grain : c; };
  base_ = {coarse(first.x), coarse(first.y)};
}

// A value that a small share of the set is above.
double centre_search::far_value() const {
  std::vector<double> distance;
  const std::size_t step = 1 + set_.size() / 512;
  for (std::size_t k = 0; k < set_.size(); k += step) {
    distance.push_back(squared({set_.x[k] - centre_.at.x, set_.y[k] - centre_.at.y}) *
                       set_.square_weight[k]);
  }
  const auto far = distance.begin() + static_cast<std::ptrdiff_t>(distance.size() / kFarShare);
  std::nth_element(distance.begin(), far, distance.end(), std::greater<>());
  return std::sqrt(*far);
}

// The centre of the basis and one site more: of those of two and three sites with the new one
// among them, the one that is least for all.
bool centre_search::pivot(const weighted_place& entering) {
  std::array<weighted_place, 4> all{};
  std::copy_n(basis_.begin(), basis_size_, all.begin());
  all[basis_size_] = entering;
  const std::span<const weighted_place> of_all(all.data(), basis_size_ + 1);
  circle_centre best{{0, 0}, std::numeric_limits<double>::infinity()};
  std::array<weighted_place, 3> basis{};
  std::size_t size = 0;
  const auto consider = [&](circle_centre c, std::initializer_list<std::size_t> members) {
    if (!std::isfinite(c.at.x + c.at.y)) return;  // three in a line: two of them are enough
    c.value = largest(c, of_all);
    if (!(c.value < best.value)) return;
    best = c;
    size = 0;
    for (const std::size_t m : members) basis[size++] = all[m];
    basis[size++] = entering;
  };
  for (std::size_t i = 0; i < basis_size_; ++i) consider(centre_of(all[i], entering), {i});
  for (std::size_t i = 0; i < basis_size_; ++i) {
    for (std::size_t j = 0; j < i; ++j) consider(centre_of(entering, all[i], all[j]), {i, j});
  }
  if (!(best.value > centre_.value)) return false;
  centre_ = best;
  basis_ = basis;
  basis_size_ = size;
  return true;
}

// The centre of the set.
bool centre_search::solve() {
  for (int pivots = 0; pivots < kMostPivots; ++pivots) {
    double most = value() * value() * (1 + kOnCircle);
    std::size_t farthest = set_.size();
    chunk_values values{};
    for (std::size_t begin = 0; begin < set_.size(); begin += kChunk) {
      const std::size_t size = std::min(kChunk, set_.size() - begin);
      const double* x = set_.x.data() + begin;
      const double* y = set_.y.data() + begin;
      const double* w = set_.square_weight.data() + begin;
      if (size < kChunk) values.fill(0);
      for (std::size_t k = 0; k < size; ++k) {
        const double ux = x[k] - centre_.at.x;
        const double uy = y[k] - centre_.at.y;
        values[k] = (ux * ux + uy * uy) * w[k];
      }
      if (!(largest(values) > most)) continue;
      const auto at = std::max_element(values.begin(), values.end());
      most = *at;
      farthest = begin + static_cast<std::size_t>(at - values.begin());
    }
    if (farthest == set_.size()) return true;
    if (pivot(member(farthest))) continue;
    // Roundings hold the pivots back: `closed` decides whether that does.
    centre_.value = std::sqrt(most);
    return true;
  }
  return false;
}

// All sites with a value above `least` into the set, beside the basis.
void centre_search::gather(double least) {
  ++passes_;
  set_ = {};
  set_.reserve(sites_.size() / kFarShare + kChunk);
  const double limit = least * least;
  chunk_values values{};
  chunk_values weight{};
  std::array<std::size_t, kChunk> hits;
  double heaviest = 0;
  for (std::size_t begin = 0; begin < sites_.size(); begin += kChunk) {
    const std::size_t size = std::min(kChunk, sites_.size() - begin);
    const site* s = sites_.data() + begin;
    if (size < kChunk) values.fill(0);
    for (std::size_t k = 0; k < size; ++k) {
      const double ux = (s[k].x - base_.x) - centre_.at.x;
      const double uy = (s[k].y - base_.y) - centre_.at.y;
      values[k] = ux * ux + uy * uy;
      weight[k] = s[k].weight;
    }
    for (std::size_t k = 0; k < kChunk; ++k) values[k] *= weight[k] * weight[k];
    heaviest = std::max(heaviest, largest(weight));
    if (!(largest(values) > limit)) continue;
    std::size_t count = 0;
    for (std::size_t k = 0; k < kChunk; ++k) {
      hits[count] = k;
      count += values[k] > limit ? 1 : 0;
    }
    for (std::size_t h = 0; h < count; ++h) {
      const std::size_t k = hits[h];
      set_.add({s[k].x - base_.x, s[k].y - base_.y}, s[k].weight * s[k].weight,
               static_cast<std::uint32_t>(begin + k));
    }
  }
  heaviest_ = heaviest;
}

bool centre_search::run() {
  const std::size_t n = sites_.size();
  const std::size_t sample = std::max(kLeastSample, n / kSampled);
  const std::size_t step = std::max<std::size_t>(1, n / sample);
  choose_base(step);
  set_.reserve(n / step + 1);
  for (std::size_t i = 0; i < n; i += step) {
    const site& s = sites_[i];
    set_.add({s.x - base_.x, s.y - base_.y}, s.weight * s.weight, static_cast<std::uint32_t>(i));
    heaviest_ = std::max(heaviest_, s.weight);
  }
  basis_[0] = member(0);
  basis_size_ = 1;
  centre_ = {basis_[0].at, 0};
  if (!solve()) return false;
  if (step == 1) {  // which were all
    ++passes_;
    return true;
  }
  double least = far_value();
  while (passes_ < kMostPasses) {
    least = std::min(least, value() * (1 - kClosed));
    const circle_centre before = centre_;
    gather(least);
    if (!solve()) return false;
    // No other site's distance grows faster than by its weight.
    const double moved =
        heaviest_ * length({centre_.at.x - before.at.x, centre_.at.y - before.at.y});
    if (least + moved <= value()) return true;
    least = value() - moved;
  }
  return false;
}

// The shares of the basis that take the slopes to 0, and the bound that they give: the rest of the
// slopes counts on the places that are no worse.
void centre_search::close() {
  // The heaviest first: from its piece `verify` finds the places that are no worse.
  for (std::size_t k = 1; k < basis_size_; ++k) {
    if (basis_[k].weight > basis_[0].weight) std::swap(basis_[0], basis_[k]);
  }
  std::array<xy, 3> slope{};
  std::array<double, 3> distance{};
  for (std::size_t k = 0; k < basis_size_; ++k) {
    const xy u{centre_.at.x - basis_[k].at.x, centre_.at.y - basis_[k].at.y};
    const double norm = length(u);
    const double w = basis_[k].weight;
    slope[k] = {w * u.x / norm, w * u.y / norm};
    distance[k] = w * norm;
  }
  if (basis_size_ == 2) {
    share_ = {basis_[1].weight, basis_[0].weight, 0};
  } else {
    for (std::size_t k = 0; k < 3; ++k) share_[k] = cross(slope[(k + 1) % 3], slope[(k + 2) % 3]);
    if (share_[0] + share_[1] + share_[2] < 0) {
      for (double& s : share_) s = -s;
    }
    for (double& s : share_) s = std::max(s, 0.0);
  }
  const double total = share_[0] + share_[1] + share_[2];
  xy rest{0, 0};
  bound_ = 0;
  for (std::size_t k = 0; k < basis_size_; ++k) {
    share_[k] /= total;
    bound_ += share_[k] * distance[k];
    rest = {rest.x + share_[k] * slope[k].x, rest.y + share_[k] * slope[k].y};
  }
  bound_ -= length(rest) * 2 * value() / basis_[0].weight;
}

solution centre_search::result() const {
  const double lambda = problem_.runs().back().weight;
  solution s;
  s.status = solution_status::optimal;
  convex_certificate c;
  c.base = base_;
  std::vector<std::uint32_t> rank(sites_.size());
  std::iota(rank.begin(), rank.end(), 0U);
  for (std::size_t k = 0; k < basis_size_; ++k) {
    if (!(share_[k] > 0)) continue;
    affine_piece& piece = c.pieces.emplace_back();
    piece.multiplier = share_[k];
    piece.taken_at = centre_.at;
    piece.rank = rank;
    std::swap(piece.rank[basis_[k].site], piece.rank.back());
  }
  s.proof = std::move(c);
  s.value = lambda * value();
  s.lower_bound = lambda * (bound_ - kProofMargin * value());
  const xy near{base_.x + centre_.at.x, base_.y + centre_.at.y};
  const xy lost{rounding_of(base_.x, centre_.at.x), rounding_of(base_.y, centre_.at.y)};
  s.point = near;
  if (heaviest_ * length(lost) > kOnCircle * value()) {
    const exact_xy at{mpq_class(base_.x) + centre_.at.x, mpq_class(base_.y) + centre_.at.y};
    s.point = to_nearest(at);
    if (to_exact(s.point) != at) s.exact = to_text(at);
  }
  return s;
}

bool is_euclidean_centre(const problem& p) {
  const std::span<const order_run> runs = p.runs();
  return runs.size() == 2 && runs[0].weight == 0 && runs[1].weight > 0 && runs[1].count == 1 &&
         std::all_of(p.gauges().begin(), p.gauges().end(),
                     [](const gauge& g) { return g.kind() == gauge::shape::euclidean; });
}

}  // namespace

std::optional<solution> euclidean_centre(const problem& p, const minimise_options& options) {
  if (!is_euclidean_centre(p) || options.stop.stop_requested() || !(options.seconds > 0)) return {};
  const auto start = std::chrono::steady_clock::now();
  centre_search search(p);
  if (!search.run()) return {};
  search.close();
  if (!search.closed()) return {};
  solution s = search.result();
  if (options.progress) options.progress({s.value, s.lower_bound, 0});
  s.counters.evaluations = search.passes();
  s.counters.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return s;
}

}  // namespace planloc::detail
