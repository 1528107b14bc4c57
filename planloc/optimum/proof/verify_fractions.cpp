#include "planloc/optimum/proof/verify_parts.h"

#include <gmpxx.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <utility>

#include "planloc/optimum/proof/place_of_contact.h"

namespace planloc::detail {

double rounded_up(const mpq_class& q) {
  const double d = q.get_d();  // towards 0
  if (std::isinf(d)) return d > 0 ? d : -std::numeric_limits<double>::max();
  return mpq_class(d) < q ? std::nextafter(d, std::numeric_limits<double>::infinity()) : d;
}

double rounded_down(const mpq_class& q) { return -rounded_up(mpq_class(-q)); }

mpq_class sum_of(std::span<const mpq_class> terms) {
  if (terms.empty()) return 0;
  if (terms.size() == 1) return terms[0];
  return sum_of(terms.first(terms.size() / 2)) + sum_of(terms.subspan(terms.size() / 2));
}

fraction_pair exact_edge_normal(const gauge& g, std::size_t j) {
  const std::span<const xy> v = g.vertices();
  const mpq_class ax(v[j].x), ay(v[j].y);
  const mpq_class bx(v[(j + 1) % v.size()].x), by(v[(j + 1) % v.size()].y);
  const mpq_class area = ax * by - ay * bx;
  return {(by - ay) / area, (ax - bx) / area};
}

std::vector<std::vector<fraction_pair>> edge_normals(std::span<const gauge> gauges) {
  std::vector<std::vector<fraction_pair>> all;
  for (const gauge& g : gauges) {
    std::vector<fraction_pair>& normals = all.emplace_back();
    for (std::size_t j = 0; j < g.vertices().size(); ++j)
      normals.push_back(exact_edge_normal(g, j));
  }
  return all;
}

bool stands_for(double d, const mpq_class& q) {
  return std::isfinite(d) && abs(mpq_class(q - d)) <= abs(q) * mpq_class(0x1p-44);
}

// f without loss.
mpq_class exact_value(const problem& p, const normal_table& normals, const fraction_pair& at) {
  std::vector<mpq_class> d(p.sites().size());
  for (std::size_t i = 0; i < d.size(); ++i) {
    const site& s = p.sites()[i];
    const mpq_class ux = at.x - s.x;
    const mpq_class uy = at.y - s.y;
    for (const fraction_pair& n : normals[s.gauge])
      d[i] = std::max(d[i], mpq_class(n.x * ux + n.y * uy));
    d[i] *= s.weight;
  }
  if (p.runs().size() > 1) std::sort(d.begin(), d.end());
  std::size_t k = 0;
  for (const order_run& r : p.runs()) {
    for (const std::size_t end = k + r.count; k < end; ++k) d[k] *= r.weight;
  }
  return sum_of(d);
}

affine_function exact_function(const problem& p, const std::vector<double>& lambda,
                               const affine_piece& piece) {
  // Sites with the same edge of the same gauge share its denominator.
  struct load {
    mpq_class weight, x, y;
  };
  std::map<std::pair<std::uint32_t, std::uint32_t>, load> loads;
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const site& s = p.sites()[i];
    const double l = lambda[piece.rank.empty() ? 0 : piece.rank[i]];
    if (l == 0) continue;
    const mpq_class w = mpq_class(l) * s.weight;
    load& total = loads[{s.gauge, piece.edge[i]}];
    total.weight += w;
    total.x += w * s.x;
    total.y += w * s.y;
  }
  std::vector<mpq_class> x, y, at_origin;
  for (const auto& [key, total] : loads) {
    const fraction_pair n = exact_edge_normal(p.gauges()[key.first], key.second);
    x.emplace_back(total.weight * n.x);
    y.emplace_back(total.weight * n.y);
    at_origin.emplace_back(-(total.x * n.x + total.y * n.y));
  }
  return {{sum_of(x), sum_of(y)}, sum_of(at_origin)};
}

namespace {

mpq_class cross(const fraction_pair& a, const fraction_pair& b) { return a.x * b.y - a.y * b.x; }

// The multipliers that the slopes determine.
std::vector<mpq_class> exact_multipliers(const std::vector<affine_function>& f) {
  const auto zero = [](const fraction_pair& s) { return sgn(s.x) == 0 && sgn(s.y) == 0; };
  if (f.size() == 1) {
    if (!zero(f[0].slope)) refuse("the slope of the only piece is not 0");
    return {1};
  }
  const fraction_pair& a = f[0].slope;
  const fraction_pair& b = f[1].slope;
  if (f.size() == 2) {
    if (zero(a) || zero(b) || sgn(cross(a, b)) != 0 || sgn(mpq_class(a.x * b.x + a.y * b.y)) > 0) {
      refuse("the slopes of the two pieces are not opposite");
    }
    const mpq_class size_a = abs(a.x) + abs(a.y);
    const mpq_class size_b = abs(b.x) + abs(b.y);
    return {size_b / (size_a + size_b), size_a / (size_a + size_b)};
  }
  const fraction_pair& c = f[2].slope;
  const std::array<mpq_class, 3> share{cross(b, c), cross(c, a), cross(a, b)};
  const mpq_class total = share[0] + share[1] + share[2];
  for (const mpq_class& s : share) {
    if (sgn(s) == 0 || sgn(s) != sgn(total))
      refuse("the slopes of the three pieces do not surround 0");
  }
  return {share[0] / total, share[1] / total, share[2] / total};
}

constexpr double kMultiplierRounding = 1e-6;

[[noreturn]] void refuse_multiplier(std::size_t k) {
  refuse(piece_name(k) + ": its multiplier is not the one that the slopes determine");
}

[[noreturn]] void refuse_value() { refuse("the value is not that of the point"); }

[[noreturn]] void refuse_bound() {
  refuse("the lower bound is not the one that the certificate proves");
}

// The first piece, if the slopes of all cancel.
affine_function first_that_cancels(const problem& p, const convex_certificate& c) {
  const std::vector<double> lambda = listed_weights(p);
  std::vector<affine_function> f;
  for (const affine_piece& piece : c.pieces) f.push_back(exact_function(p, lambda, piece));
  const std::vector<mpq_class> mu = exact_multipliers(f);
  for (std::size_t k = 0; k < f.size(); ++k) {
    if (!(std::fabs(c.pieces[k].multiplier - mu[k].get_d()) <= kMultiplierRounding))
      refuse_multiplier(k);
  }
  return std::move(f[0]);
}

// Whether three slopes surely surround 0, with multipliers that the certificate's stand for.
bool surely_cancel(const convex_certificate& c, const place_of_contact& place) {
  if (c.pieces.size() != 3) return false;
  std::array<interval_pair, 3> slope;
  for (std::size_t k = 0; k < 3; ++k) slope[k] = place.slope(c.pieces[k]);
  std::array<interval, 3> share;
  for (std::size_t k = 0; k < 3; ++k) share[k] = cross(slope[(k + 1) % 3], slope[(k + 2) % 3]);
  if (share[0].high < 0) {
    for (interval& s : share) s = -s;
  }
  for (const interval& s : share) {
    if (!(s.low > 0)) return false;
  }
  const interval total = share[0] + share[1] + share[2];
  for (std::size_t k = 0; k < 3; ++k) {
    const interval off = magnitude(interval(c.pieces[k].multiplier) - share[k] / total);
    if (off.low > kMultiplierRounding) refuse_multiplier(k);
    if (!(off.high <= kMultiplierRounding)) return false;
  }
  return true;
}

// Whether a double stands for the number that the interval holds; nothing if it depends on it.
std::optional<bool> stands_for_held(double d, const interval& held) {
  const bool fits_low = stands_for(d, mpq_class(held.low));
  const bool fits_high = stands_for(d, mpq_class(held.high));
  if (fits_low && fits_high) return true;
  if (d < held.low ? !fits_low : d > held.high && !fits_high) return false;
  return std::nullopt;
}

// Nothing if intervals cannot tell whether the slopes cancel and the claims fit.
std::optional<verification> verify_rounded(const problem& p, const solution& s,
                                           const convex_certificate& c, const fraction_pair& at,
                                           const place_of_contact& place) {
  if (!surely_cancel(c, place)) return std::nullopt;
  const interval value = place.value(c.pieces[0]);
  if (!std::isfinite(value.low) || !std::isfinite(value.high)) return std::nullopt;
  const std::optional<bool> value_fits = stands_for_held(s.value, value);
  if (value_fits == false) refuse_value();
  const std::optional<bool> bound_fits = stands_for_held(s.lower_bound, value);
  if (bound_fits == false) refuse_bound();
  if (!value_fits || !bound_fits) return std::nullopt;
  verification v;
  v.value = value.high;
  v.lower_bound = value.low;
  v.accepted = true;
  v.optima_proved = p.where().whole_plane() && optima_proved(p, s.optima, at, 0, 3, {});
  return v;
}

}  // namespace

// Where all pieces touch f and their slopes cancel, the value of the place is the bound.
verification verify_fractions(const problem& p, const solution& s, const convex_certificate& c) {
  const fraction_pair at = exact_place_of(s.point, s.exact);
  const place_of_contact place(p, at);
  for (std::size_t k = 0; k < c.pieces.size(); ++k) {
    if (!place.touched_by(c.pieces[k]))
      refuse("called optimal, but " + piece_name(k) + " is below the value of the place");
  }
  if (!place.has_few_edges(c.pieces[0])) {
    if (std::optional<verification> v = verify_rounded(p, s, c, at, place)) return *v;
  }
  const affine_function first = first_that_cancels(p, c);
  const mpq_class value = first.at_origin + first.slope.x * at.x + first.slope.y * at.y;
  if (!stands_for(s.value, value)) refuse_value();
  if (!stands_for(s.lower_bound, value)) refuse_bound();
  verification v;
  v.value = rounded_up(value);
  v.lower_bound = rounded_down(value);
  v.accepted = true;
  v.optima_proved = p.where().whole_plane() &&
                    optima_proved(p, s.optima, at, value, c.pieces.size(), first.slope);
  return v;
}

}  // namespace planloc::detail
