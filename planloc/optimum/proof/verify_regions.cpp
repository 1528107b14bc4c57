#include "planloc/optimum/proof/verify_regions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <set>

#include "planloc/optimum/proof/gauge_interval.h"

namespace planloc::detail {

verified_regions::verified_regions(const regions& r) : whole_plane_(!r.allowed) {
  if (r.allowed) add(*r.allowed, true);
  add(r.forbidden, false);
  sort_into_columns();
}

void verified_regions::add(const region& polygons, bool allowed) {
  for (std::size_t k = 0; k < polygons.size(); ++k) {
    polygon p{sides_.size(), 0, allowed, k};
    for (const ring& corners : polygons[k]) {
      for (std::size_t c = 0; c < corners.size(); ++c) {
        const xy& a = corners[c];
        const xy& b = corners[(c + 1) % corners.size()];
        if (a != b) sides_.push_back({a, b});
      }
    }
    p.end = sides_.size();
    polygons_.push_back(p);
  }
}

// Grows with x.
std::size_t verified_regions::column(double x) const {
  const double c = (x - left_) * columns_per_x_;
  if (!(c > 0)) return 0;
  return c < static_cast<double>(begin_.size() - 2) ? static_cast<std::size_t>(c)
                                                    : begin_.size() - 2;
}

void verified_regions::sort_into_columns() {
  const auto columns = static_cast<std::size_t>(std::sqrt(static_cast<double>(sides_.size()))) + 1;
  begin_.assign(columns + 1, 0);
  if (sides_.empty()) return;
  const auto [left, right] = std::minmax_element(
      sides_.begin(), sides_.end(), [](const side& s, const side& t) { return s.a.x < t.a.x; });
  left_ = left->a.x;
  columns_per_x_ = static_cast<double>(columns) / (right->a.x - left_);
  const auto each = [this](auto visit) {
    for (std::uint32_t k = 0; k < sides_.size(); ++k) {
      const side& s = sides_[k];
      const std::size_t last = column(std::max(s.a.x, s.b.x));
      for (std::size_t c = column(std::min(s.a.x, s.b.x)); c <= last; ++c) visit(c, k);
    }
  };
  each([this](std::size_t c, std::uint32_t) { ++begin_[c + 1]; });
  std::partial_sum(begin_.begin(), begin_.end(), begin_.begin());
  in_column_.resize(begin_.back());
  std::vector<std::uint32_t> next(begin_.begin(), begin_.end() - 1);
  each([&](std::size_t c, std::uint32_t k) { in_column_[next[c]++] = k; });
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

// By the number of sides above the place, of those that may be.
verified_regions::place verified_regions::place_in(std::span<const std::uint32_t> sides,
                                                   const fraction_pair& at) const {
  const interval x = enclosed(at.x);
  const interval y = enclosed(at.y);
  bool odd = false;
  for (const std::uint32_t k : sides) {
    const auto [a, b] = sides_[k];
    const xy& left = a.x < b.x ? a : b;
    const xy& right = a.x < b.x ? b : a;
    if (left.x > x.high || right.x < x.low || std::max(a.y, b.y) < y.low) continue;
    if (left.x < x.low && right.x > x.high && std::min(a.y, b.y) > y.high) {
      odd = !odd;
      continue;
    }
    if (!between(left.x, at.x, right.x)) continue;
    const int above = sgn(turn(left, right, at));
    if (above == 0 && between(std::min(a.y, b.y), at.y, std::max(a.y, b.y))) return place::border;
    if (above < 0 && left.x <= at.x && at.x < right.x) odd = !odd;
  }
  return odd ? place::inside : place::outside;
}

// Its first coordinate, cut to a double, lies between those of the ends of a side if it does.
bool verified_regions::permits(const fraction_pair& at) const {
  bool allowed = whole_plane_;
  std::span<const std::uint32_t> near = in_column(column(at.x.get_d()));
  while (!near.empty()) {
    const auto p = std::upper_bound(polygons_.begin(), polygons_.end(), near.front(),
                                    [](std::uint32_t k, const polygon& q) { return k < q.end; });
    const auto end = std::lower_bound(near.begin(), near.end(), p->end);
    const auto count = static_cast<std::size_t>(end - near.begin());
    const place where = place_in(near.first(count), at);
    near = near.subspan(count);
    if (p->allowed) {
      allowed = allowed || where != place::outside;
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
  const auto apart = [](double p, double q, double r, double s) {
    return std::max(p, q) < std::min(r, s) || std::max(r, s) < std::min(p, q);
  };
  std::set<mpq_class> shares{0, 1};
  const auto split_at = [&](const side& other) {
    const auto [c, d] = other;
    if (apart(a.x, b.x, c.x, d.x) || apart(a.y, b.y, c.y, d.y)) return;
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
    if (sgn(of_c) * sgn(of_d) >= 0) return;
    const mpq_class of_a = turn(c, d, exactly_at(a));
    const mpq_class of_b = turn(c, d, exactly_at(b));
    if (sgn(of_a) * sgn(of_b) < 0) add(of_a / (of_a - of_b));
  };
  const std::size_t last = column(std::max(a.x, b.x));
  for (std::size_t c = column(std::min(a.x, b.x)); c <= last; ++c) {
    for (const std::uint32_t k : in_column(c)) split_at(sides_[k]);
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
