#include "planloc/optimum/general/thin_axes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace planloc::detail {

namespace {

// Of the ratio of the axes, in powers of two: less is not worth while; where they are slanted, more
// leaves too few digits.
constexpr int kLeastThin = 2;
constexpr int kMostThin = 60;
constexpr int kMostThinAndSlanted = 26;
// Digits of the slant beyond that ratio.
constexpr int kDigits = 2;
// Gauges whose long directions are tried.
constexpr std::size_t kMostTried = 16;

// How fast all distances together grow along a line, by gauge.
class growth_of_all {
 public:
  explicit growth_of_all(const distance_table& table) : table_(table) {
    for (const gauge_block& b : table.blocks) {
      double sum = 0;
      for (std::uint32_t slot = b.begin; slot < b.end; ++slot) sum += table.weight[slot];
      weight_.push_back(sum);
    }
  }

  double operator()(const xy& u) const {
    double sum = 0;
    for (std::size_t k = 0; k < weight_.size(); ++k) {
      const gauge_block& b = table_.blocks[k];
      if (weight_[k] == 0) continue;
      for (const xy& v : {u, xy{-u.x, -u.y}})
        sum += weight_[k] * dot(table_.edges[b.first_edge + table_.active_edge(b, v)].normal, v);
    }
    return sum;
  }

  // The farthest places of the balls in which that is steepest.
  std::vector<xy> long_directions() const {
    struct steep {
      double slope;
      xy longest;
    };
    std::vector<steep> all;
    for (std::size_t k = 0; k < weight_.size(); ++k) {
      const gauge_block& b = table_.blocks[k];
      steep s{0, {1, 0}};
      double most = 0;
      for (std::uint32_t e = b.first_edge; e < b.first_edge + b.edges; ++e) {
        const ball_edge& edge = table_.edges[e];
        s.slope = std::max(s.slope, weight_[k] * std::hypot(edge.normal.x, edge.normal.y));
        const double size = std::hypot(edge.from.x, edge.from.y);
        if (size > most) s.longest = {edge.from.x / size, edge.from.y / size};
        most = std::max(most, size);
      }
      if (weight_[k] > 0) all.push_back(s);
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const steep& a, const steep& b) { return a.slope > b.slope; });
    std::vector<xy> result;
    for (std::size_t k = 0; k < std::min(all.size(), kMostTried); ++k)
      result.push_back(all[k].longest);
    return result;
  }

 private:
  const distance_table& table_;
  std::vector<double> weight_;  // by gauge, of all its sites
};

}  // namespace

skewed_axes thin_axes(const problem& p, const distance_table& table) {
  if (!p.polyhedral()) return {};
  const growth_of_all growth(table);
  xy best{1, 0};
  double least = std::numeric_limits<double>::infinity();
  for (const xy& u : growth.long_directions()) {
    const double slope = growth(u);
    if (slope < least) best = u;
    least = std::min(least, slope);
  }
  const double ratio = growth({-best.y, best.x}) / least;
  if (!(ratio >= std::ldexp(1, kLeastThin)) || !std::isfinite(ratio)) return {};
  const bool flat = std::fabs(best.x) >= std::fabs(best.y);
  const double slant = flat ? best.y / best.x : best.x / best.y;
  int thin = std::min(std::ilogb(ratio), kMostThin);
  double rounded = std::ldexp(std::nearbyint(std::ldexp(slant, thin + kDigits)), -thin - kDigits);
  if (rounded != 0 && thin > kMostThinAndSlanted) {
    thin = kMostThinAndSlanted;
    rounded = std::ldexp(std::nearbyint(std::ldexp(slant, thin + kDigits)), -thin - kDigits);
  }
  const double width = std::ldexp(1, -thin);
  return flat ? skewed_axes{{1, rounded}, {0, width}} : skewed_axes{{rounded, 1}, {width, 0}};
}

double reach_in(const skewed_axes& axes, const xy& at) {
  const xy& u = axes.along;
  const xy& v = axes.across;
  const double area = u.x * v.y - u.y * v.x;
  return std::max(std::fabs((at.x * v.y - at.y * v.x) / area),
                  std::fabs((at.y * u.x - at.x * u.y) / area));
}

double extent_in(const skewed_axes& axes, const distance_table& table) {
  double most = 0;
  for (std::size_t k = 0; k < table.size(); ++k)
    most = std::max(most, reach_in(axes, {table.x[k], table.y[k]}));
  return most > 0 ? most : 1;
}

double side_in(const skewed_axes& axes, const triangle& t) {
  double side = 0;
  for (const xy& at : t) side = std::max(side, reach_in(axes, {at.x - t[0].x, at.y - t[0].y}));
  return side;
}

}  // namespace planloc::detail
