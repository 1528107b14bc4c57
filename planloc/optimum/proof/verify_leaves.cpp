#include "planloc/optimum/proof/verify_leaves.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "planloc/optimum/proof/far_places.h"
#include "planloc/optimum/proof/leaf_walk.h"

namespace planloc::detail {

namespace {

// ----- The square -----

void check_axes(const branch_certificate& c) {
  check_place(c.axes.along, "an axis");
  check_place(c.axes.across, "an axis");
  if (sgn(mpq_class(c.axes.along.x) * c.axes.across.y -
          mpq_class(c.axes.along.y) * c.axes.across.x) == 0)
    refuse("the axes are no two directions");
  if (c.to_infinity && c.axes != skewed_axes{})
    refuse("places far away count in the axes of the plane");
}

// Refuses a place that is no pair of doubles.
xy place_in(const skewed_axes& axes, const fraction_pair& of) {
  const mpq_class x = of.x * axes.along.x + of.y * axes.across.x;
  const mpq_class y = of.x * axes.along.y + of.y * axes.across.y;
  const xy at{x.get_d(), y.get_d()};
  if (mpq_class(at.x) != x || mpq_class(at.y) != y) refuse("the square has too many digits");
  return at;
}

bool within(const branch_certificate& c, const fraction_pair& at) {
  const fraction_pair of = coordinates(c.axes, at);
  const mpq_class half(c.half);
  return abs(of.x - half * branch_certificate::kShiftX) <= half &&
         abs(of.y - half * branch_certificate::kShiftY) <= half;
}

// ----- Outside of the square -----

bool tail_sums_not_negative(const problem& p) {
  const std::vector<double> lambda = listed_weights(p);
  mpq_class tail;
  for (std::size_t k = lambda.size(); k-- > 0;) {
    tail += mpq_class(lambda[k]);
    if (sgn(tail) < 0) return false;
  }
  return true;
}

// That the ordered median of the gauges is nowhere less than this on the sides of the unit square,
// in the axes.
void check_sides(const verified_sites& gauges, const branch_certificate& c,
                 const mpq_class& least) {
  if (std::count(c.outside.begin(), c.outside.end(), reason::exact) > 0)
    refuse("a side of the square is no triangle");
  leaf_walk sides(gauges, c.outside, least);
  const std::array<xy, 4> square{place_in(c.axes, {1, -1}), place_in(c.axes, {1, 1}),
                                 place_in(c.axes, {-1, 1}), place_in(c.axes, {-1, -1})};
  for (std::size_t k = 0; k < 4; ++k)
    sides.walk({square[k], square[(k + 1) % 4], square[(k + 1) % 4]});
  sides.end();
}

// f(x) is at least the recession function at x - base less the sum of |lambda| times the most by
// which a distance differs from its gauge at x - base, both sorted.
void check_growth(const problem& p, const branch_certificate& c, const mpq_class& least) {
  const verified_sites sites(p, c.base);
  const interval_pair origin = exactly({0, 0});
  std::vector<interval> at_base;
  std::vector<double> apart;
  const problem centred = at_one_place(p);
  const verified_sites gauges(centred, {0, 0});
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const interval_pair u = sites.offset(i, origin);
    at_base.push_back(sites.distance(i, origin));
    apart.push_back(larger(gauges.distance(i, u), gauges.distance(i, {-u.x, -u.y})).high);
  }
  // What is no better than the base is no better than the bound, but with regions.
  interval needed = larger(larger(ordered_sum(p, at_base), interval(0)), around(least));
  std::vector<double> size = listed_weights(p);
  for (double& l : size) l = std::fabs(l);
  std::sort(size.begin(), size.end());
  std::sort(apart.begin(), apart.end());
  for (std::size_t k = 0; k < size.size(); ++k)
    needed = needed + interval(size[k]) * interval(apart[k]);
  if (!std::isfinite(needed.high)) refuse("the distances are too large");
  check_sides(gauges, c, mpq_class(needed.high) / reach(c));
}

// Sites at one place: f is the recession function, moved there.
void check_cone(const problem& p, const branch_certificate& c, const mpq_class& least) {
  const site& first = p.sites()[0];
  for (const site& s : p.sites()) {
    if (s.x != first.x || s.y != first.y) refuse("the sites do not lie at one place");
  }
  if (sgn(least) > 0) refuse("f is 0 at the sites, but the bound is more");
  const problem centred = at_one_place(p);
  check_sides(verified_sites(centred, {0, 0}), c, 0);
}

bool sites_alike(const problem& p) {
  const site& first = p.sites()[0];
  return std::all_of(p.sites().begin(), p.sites().end(), [&](const site& s) {
    return s.gauge == first.gauge && s.weight == first.weight;
  });
}

// Whether f is one gauge times a number that is not negative: the ordered sum of the weights.
bool is_multiple_of_gauge(const problem& p) {
  const site& first = p.sites()[0];
  std::vector<double> weights;
  for (const site& s : p.sites()) {
    if (s.x != first.x || s.y != first.y || s.gauge != first.gauge) return false;
    weights.push_back(s.weight);
  }
  std::sort(weights.begin(), weights.end());
  mpq_class sum;
  for (std::size_t k = 0; k < weights.size(); ++k)
    sum += mpq_class(p.lambda(k)) * mpq_class(weights[k]);
  return sgn(sum) >= 0;
}

// f is the sum of the steps between sorted distances, each times the sum of the order weights from
// there on. If these are nowhere negative, neither is f. If all sites have one gauge and one weight
// and the order weights add up to 0, all steps together are at most the largest distance of two
// sites, so that f is at least that times the least such sum.
void check_steps(const problem& p, const mpq_class& least) {
  if (tail_sums_not_negative(p)) {
    if (sgn(least) > 0) refuse("f is not negative, but the bound is more");
    return;
  }
  mpq_class tail;
  mpq_class least_tail;
  const std::vector<double> lambda = listed_weights(p);
  for (std::size_t k = lambda.size(); k-- > 0;) {
    tail += mpq_class(lambda[k]);
    least_tail = std::min(least_tail, tail);
  }
  if (is_multiple_of_gauge(p)) {
    if (sgn(least) > 0) refuse("f is 0 at the sites, but the bound is more");
    return;
  }
  if (!sites_alike(p) || sgn(tail) != 0) refuse("triangles without a reason");
  const verified_sites sites(p, {0, 0});
  double most = 0;
  for (const site& s : p.sites()) {
    for (std::size_t i = 0; i < p.sites().size(); ++i) {
      const site& q = p.sites()[i];
      if (s.x == q.x && s.y == q.y) continue;  // 0, which no interval around it tells
      most = std::max(most, sites.distance(i, exactly({s.x, s.y})).high);
    }
  }
  if (!std::isfinite(most) || least > least_tail * mpq_class(most))
    refuse("steps between distances do not prove the bound");
}

void check_square(const problem& p, const branch_certificate& c, const mpq_class& least) {
  check_axes(c);
  if (c.cells.empty()) {
    if (c.outside.empty()) {
      check_steps(p, least);
    } else {
      check_cone(p, c, least);
    }
    return;
  }
  check_place(c.base, "the base of the square");
  if (!(c.half >= 1 / kMostInClaim) || !(c.half <= kMostInClaim)) refuse("no square");
  if (p.where().allowed) {
    if (!c.outside.empty()) refuse("places outside of the square are not allowed anyway");
  } else if (c.to_infinity) {
    check_far(p, c, least);
  } else if (c.outside.empty()) {
    if (!p.polyhedral()) refuse("nothing is said of places outside of the square");
    check_sectors(p, c);
  } else {
    check_growth(p, c, least);
  }
  const verified_sites sites(p, c.base);
  std::optional<walked_regions> where;
  if (!p.where().whole_plane()) {
    where.emplace(p, c.base);
    if (!where->all_corners([&](const fraction_pair& at) { return within(c, at); }))
      refuse("the square does not hold the regions");
  }
  const auto corner = [&c](int along, int across) {
    const mpq_class half(c.half);
    return place_in(c.axes, {half * (branch_certificate::kShiftX + along),
                             half * (branch_certificate::kShiftY + across)});
  };
  leaf_walk cells(sites, c.cells, least, where ? &*where : nullptr);
  cells.walk({corner(-1, -1), corner(1, -1), corner(-1, 1)});
  cells.walk({corner(1, 1), corner(-1, 1), corner(1, -1)});
  cells.end();
}

// ----- The value -----

// f of the place; `size` is the sum of the terms' magnitudes.
struct proved_value {
  interval value;
  std::optional<mpq_class> exact;
  double size = 0;
  bool far_away = false;
  double rounding = 0x1p-44;  // of the size

  double doubt() const { return rounding * size; }
};

// Of the terms amid the sites: by how much the value of a place far away may be rounded.
constexpr double kDoubtFarAway = 0x1p-40;

double size_of_terms(const problem& p);

proved_value value_of(const problem& p, const fraction_pair& at) {
  if (abs(at.x) > kMostInClaim || abs(at.y) > kMostInClaim) {
    const interval far = value_far_away(p, at);
    if (!std::isfinite(far.low) || !std::isfinite(far.high)) refuse("the distances are too large");
    return {far, std::nullopt, size_of_terms(p), true, kDoubtFarAway};
  }
  // Positions count from the place: its fractions need not be doubles.
  const xy base{at.x.get_d(), at.y.get_d()};
  const fraction_pair rest{at.x - base.x, at.y - base.y};
  const verified_sites sites(p, base);
  const interval_pair near{around(rest.x), around(rest.y)};
  proved_value v;
  double steepest = 0;
  for (const order_run& r : p.runs()) steepest = std::max(steepest, std::fabs(r.weight));
  std::vector<interval> rounded;
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    rounded.push_back(sites.distance(i, near));
    v.size += steepest * rounded.back().high;
  }
  v.value = ordered_sum(p, std::move(rounded));
  if (!std::isfinite(v.size)) refuse("the distances are too large");
  if (!p.polyhedral()) {
    const interval far = value_far_away(p, at);
    v.far_away = std::isfinite(far.high);
    v.value = {std::max(v.value.low, far.low), std::min(v.value.high, far.high)};
    return v;
  }
  v.exact = ordered_sum(sites, rest);
  v.value = around(*v.exact);
  return v;
}

// Of the value, or of the terms amid the sites where these are larger and cancel: the most that
// `optimal` leaves open under gauges that are not polyhedral.
constexpr double kMostGap = 1e-10;

double size_of_terms(const problem& p) {
  const auto middle = [&p](auto of) {
    const auto [low, high] =
        std::minmax_element(p.sites().begin(), p.sites().end(),
                            [&of](const site& a, const site& b) { return of(a) < of(b); });
    return of(*low) + (of(*high) - of(*low)) / 2;
  };
  const xy amid{middle([](const site& s) { return s.x; }),
                middle([](const site& s) { return s.y; })};
  return value_of(p, fraction_pair{mpq_class(amid.x), mpq_class(amid.y)}).size;
}

// Refuses a value that is not that of the point.
proved_value value_of(const problem& p, const solution& s) {
  proved_value v = value_of(p, place_of(s));
  const bool called_far_away = s.status == solution_status::far_away;
  if (called_far_away && !v.far_away) refuse("called far away, but the place is not");
  const double doubt = called_far_away ? kDoubtFarAway * size_of_terms(p) : v.doubt();
  if (!(s.value >= v.value.low - doubt && s.value <= v.value.high + doubt))
    refuse("the value is not that of the point");
  return v;
}

// Amid sites that all lie at one place there are no terms: then those at the place count.
double size_for_gap(const problem& p, const proved_value& v) {
  const double amid = size_of_terms(p);
  return amid > 0 ? amid : v.size;
}

}  // namespace

verification verify_leaves(const problem& p, const solution& s, const branch_certificate& c) {
  const proved_value v = value_of(p, s);
  if (!std::isfinite(s.lower_bound)) refuse("the bound is not finite");
  const bool to_the_end = s.status == solution_status::optimal && v.exact;
  if (to_the_end && !(std::fabs(s.lower_bound - s.value) <= v.doubt()))
    refuse("called optimal, but the gap is not 0");
  const mpq_class least = to_the_end ? *v.exact : mpq_class(s.lower_bound);
  check_square(p, c, least);
  verification result;
  result.accepted = true;
  result.value = v.value.high;
  result.lower_bound = rounded_down(least);
  result.gap = v.exact ? rounded_up(mpq_class(*v.exact - least))
                       : (interval(v.value.high) - interval(s.lower_bound)).high;
  const bool closed = s.status == solution_status::optimal || s.status == solution_status::far_away;
  if (closed && !v.exact &&
      !(result.gap <= above(kMostGap * std::max(std::fabs(result.value), size_for_gap(p, v))))) {
    refuse("called optimal, but the gap is not closed");
  }
  return result;
}

verification verify_without_bound(const problem& p, const solution& s) {
  verification result;
  result.accepted = true;
  result.value = value_of(p, s).value.high;
  result.lower_bound = -std::numeric_limits<double>::infinity();
  result.gap = std::numeric_limits<double>::infinity();
  return result;
}

verification verify_direction(const problem& p, const direction_certificate& c) {
  check_place(c.direction, "the direction");
  const problem centred = at_one_place(p);
  const proved_value v = value_of(centred, {mpq_class(c.direction.x), mpq_class(c.direction.y)});
  if (v.exact ? sgn(*v.exact) >= 0 : v.value.high >= 0)
    refuse("f does not fall along the direction");
  verification result;
  result.accepted = true;
  result.value = result.lower_bound = -std::numeric_limits<double>::infinity();
  return result;
}

}  // namespace planloc::detail
