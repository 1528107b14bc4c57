#include "planloc/optimum/proof/verify_regions.h"

#include <algorithm>
#include <limits>
#include <set>

namespace planloc::detail {

verified_regions::verified_regions(const regions& r) : whole_plane_(!r.allowed) {
  if (r.allowed) add(*r.allowed, true);
  add(r.forbidden, false);
}

void verified_regions::add(const region& polygons, bool allowed) {
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  for (std::size_t k = 0; k < polygons.size(); ++k) {
    polygon p{sides_.size(), 0, {{kInfinite, kInfinite}, {-kInfinite, -kInfinite}}, allowed, k};
    for (const ring& corners : polygons[k]) {
      for (std::size_t c = 0; c < corners.size(); ++c) {
        const xy& a = corners[c];
        const xy& b = corners[(c + 1) % corners.size()];
        if (a != b) sides_.push_back({a, b});
        p.bounds.low = {std::min(p.bounds.low.x, a.x), std::min(p.bounds.low.y, a.y)};
        p.bounds.high = {std::max(p.bounds.high.x, a.x), std::max(p.bounds.high.y, a.y)};
      }
    }
    p.end = sides_.size();
    polygons_.push_back(p);
  }
}

namespace {

// The cross product (b - a) x (p - a).
mpq_class turn(const xy& a, const xy& b, const fraction_pair& p) {
  const mpq_class ax(a.x);
  const mpq_class ay(a.y);
  return (b.x - ax) * (p.y - ay) - (b.y - ay) * (p.x - ax);
}

fraction_pair exactly_at(const xy& p) { return {mpq_class(p.x), mpq_class(p.y)}; }

// Of numbers with a given order of two doubles.
bool between(double a, const mpq_class& q, double b) { return a <= q && q <= b; }

}  // namespace

// By the number of sides above the place.
verified_regions::place verified_regions::place_in(const polygon& p,
                                                   const fraction_pair& at) const {
  if (!between(p.bounds.low.x, at.x, p.bounds.high.x) ||
      !between(p.bounds.low.y, at.y, p.bounds.high.y)) {
    return place::outside;
  }
  bool odd = false;
  for (std::size_t k = p.begin; k < p.end; ++k) {
    const auto [a, b] = sides_[k];
    const xy& left = a.x < b.x ? a : b;
    const xy& right = a.x < b.x ? b : a;
    if (!between(left.x, at.x, right.x)) continue;
    const int above = sgn(turn(left, right, at));
    if (above == 0 && between(std::min(a.y, b.y), at.y, std::max(a.y, b.y))) return place::border;
    if (above < 0 && left.x <= at.x && at.x < right.x) odd = !odd;
  }
  return odd ? place::inside : place::outside;
}

bool verified_regions::permits(const fraction_pair& at) const {
  bool allowed = whole_plane_;
  for (const polygon& p : polygons_) {
    if (p.allowed && allowed) continue;
    const place where = place_in(p, at);
    if (p.allowed) {
      allowed = where != place::outside;
    } else if (where == place::inside) {
      return false;
    }
  }
  return allowed;
}

std::string verified_regions::name(std::size_t number) const {
  const auto owner = std::find_if(polygons_.begin(), polygons_.end(),
                                  [number](const polygon& p) { return number < p.end; });
  return "side " + std::to_string(number - owner->begin) + " of " +
         (owner->allowed ? "allowed" : "forbidden") + " polygon " + std::to_string(owner->number);
}

std::vector<verified_regions::part> verified_regions::permitted_parts(std::size_t number) const {
  const xy a = sides_[number].a;
  const xy b = sides_[number].b;
  const mpq_class ux = mpq_class(b.x) - a.x;
  const mpq_class uy = mpq_class(b.y) - a.y;
  const mpq_class square = ux * ux + uy * uy;
  const box own{{std::min(a.x, b.x), std::min(a.y, b.y)}, {std::max(a.x, b.x), std::max(a.y, b.y)}};
  const auto meets = [&](const xy& low, const xy& high) {
    return low.x <= own.high.x && own.low.x <= high.x && low.y <= own.high.y && own.low.y <= high.y;
  };
  std::set<mpq_class> shares{0, 1};
  for (const polygon& p : polygons_) {
    if (!meets(p.bounds.low, p.bounds.high)) continue;
    for (std::size_t k = p.begin; k < p.end; ++k) {
      const auto [c, d] = sides_[k];
      if (!meets({std::min(c.x, d.x), std::min(c.y, d.y)},
                 {std::max(c.x, d.x), std::max(c.y, d.y)})) {
        continue;
      }
      const mpq_class of_c = turn(a, b, exactly_at(c));
      const mpq_class of_d = turn(a, b, exactly_at(d));
      const auto add = [&](const mpq_class& t) {
        if (sgn(t) > 0 && t < 1) shares.insert(t);
      };
      const auto share_of = [&](const xy& q) {
        return mpq_class(((q.x - mpq_class(a.x)) * ux + (q.y - mpq_class(a.y)) * uy) / square);
      };
      if (sgn(of_c) == 0) add(share_of(c));
      if (sgn(of_d) == 0) add(share_of(d));
      if (sgn(of_c) * sgn(of_d) >= 0) continue;
      const mpq_class of_a = turn(c, d, exactly_at(a));
      const mpq_class of_b = turn(c, d, exactly_at(b));
      if (sgn(of_a) * sgn(of_b) < 0) add(of_a / (of_a - of_b));
    }
  }
  const auto permitted = [&](const mpq_class& t) { return permits({a.x + t * ux, a.y + t * uy}); };
  std::vector<part> parts;
  for (auto t = shares.begin(); t != shares.end(); ++t) {
    if (permitted(*t)) parts.push_back({*t, *t});
    const auto next = std::next(t);
    if (next != shares.end() && permitted((*t + *next) / 2)) parts.push_back({*t, *next});
  }
  return parts;
}

void check_permitted(const problem& p, const fraction_pair& at) {
  if (p.where().whole_plane()) return;
  if (!verified_regions(p.where()).permits(at)) refuse("the place is not permitted");
}

// Permitted places that are not the whole plane have an end, which is on a side.
verification verify_infeasible(const problem& p) {
  const verified_regions where(p.where());
  if (!p.where().allowed) refuse("called infeasible, but far away all is permitted");
  for (std::size_t k = 0; k < where.sides().size(); ++k) {
    if (!where.permitted_parts(k).empty())
      refuse("called infeasible, but not all of " + where.name(k) + " is forbidden");
  }
  verification v;
  v.accepted = true;
  v.value = v.lower_bound = std::numeric_limits<double>::infinity();
  return v;
}

}  // namespace planloc::detail
