#include "planloc/optimum/verify.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "planloc/optimum/farthest_point.h"
#include "planloc/optimum/proof/verify_parts.h"

namespace planloc {

namespace detail {

void check_finite(double value, double lower_bound) {
  if (!std::isfinite(value)) refuse("the value is not finite");
  if (!std::isfinite(lower_bound)) refuse("the lower bound is not finite");
}

void check_place(const xy& at, const std::string& name) {
  if (!std::isfinite(at.x) || !std::isfinite(at.y)) refuse(name + " is not finite");
  if (std::max(std::fabs(at.x), std::fabs(at.y)) > kMostInClaim) refuse(name + " is too large");
}

void check_gap(double value, double lower_bound, double most) {
  if (!(value - lower_bound <= most)) refuse("called optimal, but the gap is larger than that");
}

std::vector<double> listed_weights(const problem& p) {
  std::vector<double> lambda;
  for (const order_run& r : p.runs()) lambda.insert(lambda.end(), r.count, r.weight);
  return lambda;
}

namespace {

fraction_pair any_fractions_of(const exact_point& exact, const std::string& name) {
  fraction_pair at;
  if (at.x.set_str(exact.x, 10) != 0 || at.y.set_str(exact.y, 10) != 0 ||
      sgn(at.x.get_den()) == 0 || sgn(at.y.get_den()) == 0) {
    refuse(name + " is not a pair of fractions");
  }
  at.x.canonicalize();
  at.y.canonicalize();
  return at;
}

bool is_rounding(double d, const mpq_class& q) {
  return mpq_class(std::nextafter(d, -INFINITY)) <= q &&
         q <= mpq_class(std::nextafter(d, INFINITY));
}

}  // namespace

fraction_pair fractions_of(const exact_point& exact, const std::string& name) {
  fraction_pair at = any_fractions_of(exact, name);
  if (abs(at.x) > kMostInClaim || abs(at.y) > kMostInClaim) refuse(name + " is too large");
  return at;
}

fraction_pair exact_place_of(const xy& point, const exact_point& exact) {
  check_place(point, "the point");
  if (exact.empty()) return {mpq_class(point.x), mpq_class(point.y)};
  const fraction_pair at = fractions_of(exact, "the exact point");
  if (!is_rounding(point.x, at.x) || !is_rounding(point.y, at.y))
    refuse("the point is no rounding of the exact one");
  return at;
}

fraction_pair place_of(const solution& s) {
  if (s.exact.empty()) return exact_place_of(s.point, s.exact);
  check_place(s.point, "the point");
  const fraction_pair at = any_fractions_of(s.exact, "the exact point");
  const auto told_as = [](double d, const mpq_class& q) {
    return abs(q) > kFarthestPoint ? d == sgn(q) * kFarthestPoint : is_rounding(d, q);
  };
  if (!told_as(s.point.x, at.x) || !told_as(s.point.y, at.y))
    refuse("the point does not stand for the exact one");
  return at;
}

namespace {

void check_ranks(const problem& p, const affine_piece& piece, const std::string& name) {
  if (p.runs().size() == 1 && piece.rank.empty()) return;
  if (piece.rank.size() != p.sites().size()) refuse(name + ": one rank a site is needed");
  std::vector<bool> taken(piece.rank.size());
  for (std::size_t i = 0; i < piece.rank.size(); ++i) {
    if (piece.rank[i] >= taken.size() || taken[piece.rank[i]]) {
      refuse(name + ": the ranks are no order: site " + std::to_string(i));
    }
    taken[piece.rank[i]] = true;
  }
}

}  // namespace

void check_pieces(const problem& p, std::span<const affine_piece> pieces) {
  const bool edges = std::any_of(p.gauges().begin(), p.gauges().end(), [](const gauge& g) {
    return g.kind() == gauge::shape::polyhedral;
  });
  if (!p.convex()) refuse("a certificate of convex problems, but f is not convex");
  for (std::size_t k = 0; k < pieces.size(); ++k) {
    const affine_piece& piece = pieces[k];
    check_ranks(p, piece, piece_name(k));
    if (piece.edge.size() != p.sites().size() && (edges || !piece.edge.empty())) {
      refuse(piece_name(k) + ": one edge a site is needed");
    }
    for (const affine_piece::kink& q : piece.kinks) {
      if (q.site < p.sites().size() && std::isfinite(q.slope.x) && std::isfinite(q.slope.y))
        continue;
      refuse(piece_name(k) + ": no slope for site " + std::to_string(q.site));
    }
    for (std::size_t i = 0; i < piece.edge.size(); ++i) {
      const gauge& g = p.gauge_of(i);
      if (g.kind() == gauge::shape::polyhedral && piece.edge[i] >= g.vertices().size()) {
        refuse(piece_name(k) + ": the gauge of site " + std::to_string(i) + " has no edge " +
               std::to_string(piece.edge[i]));
      }
    }
  }
}

namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();

void check_infinite(const solution& s, double all) {
  if (s.value != all || s.lower_bound != all)
    refuse("called infeasible or unbounded, but value or bound is not the infinite one");
}

verification verify_unbounded(const problem& p, const solution& s) {
  check_infinite(s, -kInfinite);
  const auto* c = std::get_if<direction_certificate>(&s.proof);
  if (c == nullptr) refuse("called unbounded, but without a direction");
  if (p.where().allowed) refuse("a direction, but places far away are not allowed");
  return verify_direction(p, *c);
}

verification verify_place(const problem& p, const solution& s) {
  const bool far_away = s.status == solution_status::far_away;
  if (far_away && !std::holds_alternative<branch_certificate>(s.proof))
    refuse("called far away, but by no certificate that tells");
  const bool claims_no_bound = s.status != solution_status::optimal && !far_away &&
                               s.lower_bound == -kInfinite &&
                               std::holds_alternative<std::monostate>(s.proof);
  check_finite(s.value, claims_no_bound ? 0 : s.lower_bound);
  check_permitted(p, place_of(s));
  if (claims_no_bound) return verify_without_bound(p, s);
  if (const auto* c = std::get_if<boundary_certificate>(&s.proof)) return verify_boundary(p, s, *c);
  if (const auto* c = std::get_if<branch_certificate>(&s.proof)) return verify_leaves(p, s, *c);
  if (const auto* c = std::get_if<convex_certificate>(&s.proof)) {
    if (c->pieces.empty() || c->pieces.size() > 3) refuse("one to three pieces are needed");
    check_pieces(p, c->pieces);
    return p.polyhedral() && s.status == solution_status::optimal ? verify_fractions(p, s, *c)
                                                                  : verify_intervals(p, s, *c);
  }
  if (std::holds_alternative<direction_certificate>(s.proof))
    refuse("a direction, but not unbounded");
  refuse("no certificate");
}

}  // namespace

}  // namespace detail

verification verify(const problem& p, const solution& s) {
  try {
    if (s.status == solution_status::unbounded) return detail::verify_unbounded(p, s);
    if (s.status != solution_status::infeasible) return detail::verify_place(p, s);
    detail::check_infinite(s, detail::kInfinite);
    return detail::verify_infeasible(p);
  } catch (detail::refusal& r) {
    verification v;
    v.reason = std::move(r.reason);
    return v;
  }
}

}  // namespace planloc
