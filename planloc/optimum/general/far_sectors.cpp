#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "planloc/optimum/general/exact_close.h"
#include "planloc/optimum/general/recession.h"
#include "planloc/optimum/general/thin_axes.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kMostPairs = 100000;  // of edges of sites that differ
constexpr std::size_t kMostSteps = 2000000;
constexpr double kCaution = 1 + 0x1p-20;

// How the distances of some sites grow far from them: all have one gauge and one weight.
struct growing {
  std::uint32_t block;
  double weight;
  double apart = 0;  // the most by which the distance of x and its growth towards x differ
};

std::vector<growing> kinds_of_growth(const problem& p, const distance_table& table) {
  std::map<std::pair<std::uint32_t, double>, double> found;
  for (std::uint32_t slot = 0; slot < table.size(); ++slot) {
    const xy u{table.x[slot], table.y[slot]};
    const gauge& g = p.gauge_of(table.site[slot]);
    double& apart = found[{table.block_of[slot], table.weight[slot]}];
    apart = std::max(apart, table.weight[slot] * std::max(g(u), g({-u.x, -u.y})));
  }
  std::vector<growing> result;
  for (const auto& [kind, apart] : found) result.push_back({kind.first, kind.second, apart});
  return result;
}

bool in_upper_half(const exact_xy& u) { return sgn(u.y) > 0 || (sgn(u.y) == 0 && sgn(u.x) > 0); }

bool by_angle(const exact_xy& a, const exact_xy& b) {
  if (in_upper_half(a) != in_upper_half(b)) return in_upper_half(a);
  return sgn(cross(a, b)) > 0;
}

double size(const exact_xy& u) { return std::fabs(u.x.get_d()) + std::fabs(u.y.get_d()); }

class far_sectors {
 public:
  far_sectors(const problem& p, const distance_table& table, const skewed_axes& axes)
      : problem_(p),
        table_(table),
        axes_(axes),
        edges_(table),
        kinds_(kinds_of_growth(p, table)),
        extent_(table.extent()) {}

  recession test() {
    recession result;
    if (!find_directions()) return result;
    const problem origin = recession_problem(problem_);
    const distance_table gauges(origin);
    exact_closer exact(origin, gauges);
    for (const exact_xy& u : directions_) {
      if (sgn(exact.value(u)) >= 0) continue;
      result.direction = to_nearest(u);
      if (surely_falls(origin, gauges, result.direction)) result.kind = growth::falls;
      return result;
    }
    result.kind = growth::levels;
    result.half = kCaution * half();
    if (!(result.half > 0)) result.half = 1;
    return result;
  }

 private:
  // In the axes, in either coordinate.
  double largest(const exact_xy& u) const {
    const exact_xy along = to_exact(axes_.along);
    const exact_xy across = to_exact(axes_.across);
    const mpq_class area = cross(along, across);
    return std::max(std::fabs(mpq_class(cross(u, across) / area).get_d()),
                    std::fabs(mpq_class(cross(along, u) / area).get_d()));
  }
  const gauge_block& block_of(const growing& g) const { return table_.blocks[g.block]; }
  exact_xy ray(const gauge_block& b, std::uint32_t edge) const {
    return to_exact(table_.edges[b.first_edge + edge % b.edges].from);
  }
  bool in_cone(const gauge_block& b, std::uint32_t edge, const exact_xy& u) const {
    return sgn(cross(ray(b, edge), u)) >= 0 && sgn(cross(u, ray(b, edge + 1))) >= 0;
  }

  bool find_directions() {
    std::size_t pairs = 0;
    for (const growing& g : kinds_) {
      for (const growing& h : kinds_)
        pairs += &g < &h && g.block != h.block ? block_of(g).edges * block_of(h).edges : 0;
    }
    if (pairs > kMostPairs) return false;
    for (const gauge_block& b : table_.blocks) {
      for (std::uint32_t e = 0; e < b.edges; ++e) directions_.push_back(ray(b, e));
    }
    for (const growing& g : kinds_) {
      for (const growing& h : kinds_) {
        if (&g < &h && g.block != h.block) add_equal_growth(g, h);
      }
    }
    std::sort(directions_.begin(), directions_.end(), by_angle);
    const auto same = [](const exact_xy& a, const exact_xy& b) {
      return !by_angle(a, b) && !by_angle(b, a);
    };
    directions_.erase(std::unique(directions_.begin(), directions_.end(), same), directions_.end());
    return directions_.size() * kinds_.size() * kinds_.size() <= kMostSteps;
  }

  void add_equal_growth(const growing& g, const growing& h) {
    const gauge_block& b = block_of(g);
    const gauge_block& c = block_of(h);
    for (std::uint32_t e = 0; e < b.edges; ++e) {
      for (std::uint32_t f = 0; f < c.edges; ++f) {
        const exact_xy& m = edges_.normal(b.first_edge + e);
        const exact_xy& n = edges_.normal(c.first_edge + f);
        exact_xy u{n.y * h.weight - m.y * g.weight, m.x * g.weight - n.x * h.weight};
        if (sgn(u.x) == 0 && sgn(u.y) == 0) continue;
        for (int side = 0; side < 2; ++side) {
          if (in_cone(b, e, u) && in_cone(c, f, u)) directions_.push_back(u);
          u = {-u.x, -u.y};
        }
      }
    }
  }

  // How far along u, in units of u, all is settled between u and its neighbour v: see test_sectors.
  double reach(const exact_xy& u, const exact_xy& v) {
    double most = 0;
    const int side = sgn(cross(u, v));
    for (const gauge_block& b : table_.blocks) {
      if (b.edges == 0) continue;
      std::uint32_t right = 0;
      while (!(in_cone(b, right, u) && sgn(cross(ray(b, right), u)) > 0)) ++right;
      std::uint32_t left = right + 1;
      if (sgn(cross(u, ray(b, left))) == 0) ++left;
      const exact_xy near = ray(b, side > 0 ? left : right);
      const exact_xy far = ray(b, side > 0 ? right : left);
      const double over = std::max(0.0, side * cross(v, far).get_d());
      most = std::max({most, extent_ * size(near) / std::fabs(cross(u, near).get_d()),
                       extent_ * (size(far) + size(u) * over / std::fabs(cross(u, v).get_d())) /
                           std::fabs(cross(u, far).get_d())});
    }
    std::vector<std::pair<mpq_class, double>> grown;
    for (const growing& g : kinds_) {
      const gauge_block& b = block_of(g);
      std::uint32_t e = 0;
      while (!in_cone(b, e, u)) ++e;
      grown.emplace_back(dot(edges_.normal(b.first_edge + e), u) * g.weight, g.apart);
    }
    for (const auto& [slow, apart] : grown) {
      for (const auto& [fast, other_apart] : grown) {
        if (slow < fast)
          most = std::max(most, (apart + other_apart) / mpq_class(fast - slow).get_d());
      }
    }
    return most;
  }

  double half() {
    double most = 0;
    for (std::size_t k = 0; k < directions_.size(); ++k) {
      const exact_xy& u = directions_[k];
      const exact_xy& v = directions_[(k + 1) % directions_.size()];
      most = std::max(most, reach(u, v) * largest(u) + reach(v, u) * largest(v));
    }
    return most;
  }

  const problem& problem_;
  const distance_table& table_;
  const skewed_axes& axes_;
  exact_edges edges_;
  std::vector<growing> kinds_;
  std::vector<exact_xy> directions_;
  double extent_;
};

}  // namespace

recession test_sectors(const problem& p, const distance_table& table, const skewed_axes& axes) {
  return p.polyhedral() ? far_sectors(p, table, axes).test() : recession{};
}

}  // namespace planloc::detail
