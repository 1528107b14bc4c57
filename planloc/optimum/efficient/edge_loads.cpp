#include "planloc/optimum/efficient/edge_loads.h"

#include <algorithm>
#include <cmath>

namespace planloc::detail {

namespace {

// A normal, a product with it and the sum of two such each have errors of a few times
// kDoubleDoubleError relative to the steepness; so has every change of the running sums.
constexpr double kChangeError = 64 * kDoubleDoubleError;
// What underflow may take.
constexpr double kLeastError = 0x1p-800;

double_double from(double d) { return {d, 0}; }

double_double_xy normal_of(const xy& a, const xy& b) {
  const double_double area = exact_product(a.x, b.y) - exact_product(a.y, b.x);
  return {exact_difference(b.y, a.y) / area, exact_difference(a.x, b.x) / area};
}

// How far `normal_of` may be off for thin cones, relative to it.
double loss(const xy& a, const xy& b) {
  const double area = (exact_product(a.x, b.y) - exact_product(a.y, b.x)).hi;
  return 1 + (std::fabs(a.x * b.y) + std::fabs(a.y * b.x)) / std::fabs(area);
}

double_double dot(const double_double_xy& a, const double_double_xy& b) {
  return a.x * b.x + a.y * b.y;
}

double_double_xy pair_of(const xy& v) { return {from(v.x), from(v.y)}; }

double size_of(const xy& v) { return std::fabs(v.x) + std::fabs(v.y); }

}  // namespace

edge_loads::edge_loads(const ray_arrangement& arrangement)
    : arrangement_(arrangement), exact_normal_(arrangement.rays()) {
  const bicriteria_problem& p = arrangement.problem();
  std::vector<double> steepest;  // by gauge
  for (const gauge& g : p.gauges()) {
    const std::span<const xy> v = g.vertices();
    double most = 0;
    for (std::size_t j = 0; j < v.size(); ++j) {
      const xy& next = v[j + 1 == v.size() ? 0 : j + 1];
      normal_.push_back(normal_of(v[j], next));
      const double_double_xy& n = normal_.back();
      most = std::max(most, (std::fabs(n.x.hi) + std::fabs(n.y.hi)) * loss(v[j], next));
    }
    steepest.push_back(most);
  }
  int least = 1000;
  for (const bicriteria_site& s : p.sites()) {
    for (const double w : {s.weight1, s.weight2}) {
      if (w > 0) least = std::min(least, std::ilogb(w));
    }
    sides_[0].steepness += s.weight1 * steepest[s.gauge];
    sides_[1].steepness += s.weight2 * steepest[s.gauge];
  }
  exponent_ = least - 52;
  for (side& s : sides_) s.load.resize(arrangement.rays());
  late_.reserve(p.sites().size());
}

void edge_loads::change(std::uint32_t site, std::uint32_t edge, int sign) {
  changes_ += 1;
  const double_double_xy& n = normal_[edge];
  const bicriteria_site& there = arrangement_.problem().sites()[site];
  const xy& base = arrangement_.base();
  const double_double at_site =
      dot(n, {exact_difference(there.x, base.x), exact_difference(there.y, base.y)});
  for (std::size_t k = 0; k < 2; ++k) {
    const double w = arrangement_.problem().weight(k, site);
    if (w == 0) continue;
    side& s = sides_[k];
    const double_double factor = from(sign * w);
    s.slope = {s.slope.x + factor * n.x, s.slope.y + factor * n.y};
    s.at_base = s.at_base - factor * at_site;
    s.exact_slope.reset();
  }
  late_.push_back({site, edge, sign});
}

void edge_loads::add_up() {
  mpz_class term;
  for (const changed& c : late_) {
    for (std::size_t k = 0; k < 2; ++k) {
      const double w = arrangement_.problem().weight(k, c.site);
      if (w == 0) continue;
      int exponent = 0;
      term = static_cast<long>(std::ldexp(std::frexp(w, &exponent), 53));
      term <<= static_cast<unsigned>(exponent - 53 - exponent_);
      mpz_class& load = sides_[k].load[c.edge];
      if (c.sign > 0) {
        load += term;
      } else {
        load -= term;
      }
    }
  }
  late_.clear();
}

const exact_xy& edge_loads::normal(std::uint32_t edge) {
  if (!exact_normal_[edge]) {
    const std::uint32_t g = arrangement_.gauge_of_ray(edge);
    const std::uint32_t next =
        edge + 1 == arrangement_.first_ray(g + 1) ? arrangement_.first_ray(g) : edge + 1;
    const exact_xy a = to_exact(arrangement_.direction(edge));
    const exact_xy b = to_exact(arrangement_.direction(next));
    const mpq_class area = cross(a, b);
    exact_normal_[edge] = exact_xy{(b.y - a.y) / area, (a.x - b.x) / area};
  }
  return *exact_normal_[edge];
}

bounded edge_loads::rise(std::size_t criterion, const xy& v) const {
  const side& s = sides_[criterion];
  return {dot(s.slope, pair_of(v)),
          kChangeError * changes_ * s.steepness * size_of(v) + kLeastError};
}

mpq_class edge_loads::exact_rise(std::size_t criterion, const exact_xy& v) {
  side& s = sides_[criterion];
  if (!s.exact_slope) {
    add_up();
    s.exact_slope = exact_xy{};
    for (std::uint32_t e = 0; e < s.load.size(); ++e) {
      if (sgn(s.load[e]) == 0) continue;
      const exact_xy& n = normal(e);
      s.exact_slope->x += s.load[e] * n.x;
      s.exact_slope->y += s.load[e] * n.y;
    }
  }
  mpq_class result = dot(*s.exact_slope, v);
  if (exponent_ < 0) {
    mpq_div_2exp(result.get_mpq_t(), result.get_mpq_t(), static_cast<mp_bitcnt_t>(-exponent_));
  } else {
    mpq_mul_2exp(result.get_mpq_t(), result.get_mpq_t(), static_cast<mp_bitcnt_t>(exponent_));
  }
  return result;
}

double_double edge_loads::rise_of(std::size_t criterion, std::uint32_t site, std::uint32_t edge,
                                  const xy& v) const {
  return from(arrangement_.problem().weight(criterion, site)) * dot(normal_[edge], pair_of(v));
}

mpq_class edge_loads::exact_rise_of(std::size_t criterion, std::uint32_t site, std::uint32_t edge,
                                    const exact_xy& v) {
  return dot(normal(edge), v) * arrangement_.problem().weight(criterion, site);
}

double_double_xy edge_loads::from_base(const rung_place& at) const {
  const xy& base = arrangement_.base();
  return {at.pair().x - from(base.x), at.pair().y - from(base.y)};
}

bounded edge_loads::value(std::size_t criterion, const rung_place& at) const {
  const side& s = sides_[criterion];
  const double_double_xy u = from_base(at);
  const double reach = std::fabs(u.x.hi) + std::fabs(u.y.hi) + 2 * arrangement_.extent();
  return {dot(s.slope, u) + s.at_base,
          s.steepness * (kChangeError * changes_ * reach + 2 * at.error())};
}

double_double edge_loads::value_of(std::size_t criterion, std::uint32_t site, std::uint32_t edge,
                                   const rung_place& at) const {
  const bicriteria_site& s = arrangement_.problem().sites()[site];
  const double_double_xy u{at.pair().x - from(s.x), at.pair().y - from(s.y)};
  return from(arrangement_.problem().weight(criterion, site)) * dot(normal_[edge], u);
}

}  // namespace planloc::detail
