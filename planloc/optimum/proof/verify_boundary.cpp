#include <algorithm>
#include <cmath>
#include <optional>

#include "planloc/optimum/proof/interval_place.h"
#include "planloc/optimum/proof/verify_regions.h"

namespace planloc::detail {

namespace {

// A function on a segment.
struct line {
  mpq_class begin, end;

  // `rest` and `gone` times the values at the ends.
  mpq_class mixed(const mpq_class& rest, const mpq_class& gone) const {
    return rest * begin + gone * end;
  }
};

// The least value of the largest of the lines: from both ends to where the lines in force meet,
// until no other one is above. Numbers may be long, so quotients are taken at the end only.
mpq_class least_of_largest(const std::vector<line>& lines) {
  const auto in_force = [&](const mpq_class& rest, const mpq_class& gone) {
    const line* best = &lines[0];
    mpq_class most = best->mixed(rest, gone);
    for (const line& l : lines) {
      mpq_class v = l.mixed(rest, gone);
      if (v <= most) continue;
      most = std::move(v);
      best = &l;
    }
    return best;
  };
  const line* falling = in_force(1, 0);
  if (falling->end >= falling->begin) return falling->begin;
  const line* rising = in_force(0, 1);
  if (rising->begin >= rising->end) return rising->end;
  for (;;) {
    const mpq_class gone = falling->begin - rising->begin;
    const mpq_class rest = rising->end - falling->end;
    const line* other = in_force(rest, gone);
    const mpq_class value = falling->mixed(rest, gone);
    if (other->mixed(rest, gone) <= value) return value / (rest + gone);
    (other->end < other->begin ? falling : rising) = other;
  }
}

// How many functions are picked for a side.
constexpr std::size_t kMostTelling = 8;

// A function in doubles, by the way from the place.
struct likely_function {
  double at_place;
  xy slope;

  double at(const xy& u) const { return at_place + (slope.x * u.x + slope.y * u.y); }
};

class boundary_check {
 public:
  boundary_check(const problem& p, const boundary_certificate& c, const fraction_pair& place)
      : where_(p.where()), place_(place), near_{enclosed(place.x), enclosed(place.y)} {
    const interval_place here(p, place);
    for (const affine_piece& piece : c.pieces) {
      rounded_.push_back(here.seen(piece, c.base));
      const interval_place::affine& f = rounded_.back();
      likely_.push_back({amid(f.value), {amid(f.slope.x), amid(f.slope.y)}});
    }
    if (!p.polyhedral()) return;
    const std::vector<double> lambda = listed_weights(p);
    for (const affine_piece& piece : c.pieces) exact_.push_back(exact_function(p, lambda, piece));
    scale();
  }

  const verified_regions& where() const { return where_; }

  // What is proved of all sides where building is permitted, as far as it is below `most`.
  mpq_class bound(const mpq_class& most) const {
    mpq_class least = most;
    for (std::size_t k = 0; k < where_.sides().size(); ++k) {
      const auto [a, b] = where_.sides()[k];
      if (surely_above(a, b, rounded_up(least))) continue;
      const fraction_pair from{mpq_class(a.x), mpq_class(a.y)};
      const fraction_pair to{mpq_class(b.x), mpq_class(b.y)};
      if (rounded_bound(telling_most(from, to), from, to) >= least) continue;
      const fraction_pair u{to.x - from.x, to.y - from.y};
      for (const verified_regions::part& p : where_.permitted_parts(k)) {
        const fraction_pair begin{from.x + p.from * u.x, from.y + p.from * u.y};
        const fraction_pair end{from.x + p.to * u.x, from.y + p.to * u.y};
        least = std::min(least, bound_between(begin, end, least));
      }
    }
    return least;
  }

 private:
  // So that values at places have short denominators: under many gauges those of the sums are long,
  // and each operation would look for their common divisors again.
  void scale() {
    for (const affine_function& f : exact_) {
      for (const mpq_class* q : {&f.at_origin, &f.slope.x, &f.slope.y})
        scale_ = lcm(scale_, q->get_den());
    }
    for (affine_function& f : exact_) {
      for (mpq_class* q : {&f.at_origin, &f.slope.x, &f.slope.y}) *q *= scale_;
    }
  }

  static double amid(const interval& i) { return i.low + (i.high - i.low) / 2; }

  // Whether one function is above a value at both ends: most sides are far away.
  bool surely_above(const xy& a, const xy& b, double value) const {
    const xy to_a{a.x - amid(near_.x), a.y - amid(near_.y)};
    const xy to_b{b.x - amid(near_.x), b.y - amid(near_.y)};
    const auto low_at = [this](const interval_place::affine& f, const xy& at) {
      const interval_pair u{interval(at.x) - near_.x, interval(at.y) - near_.y};
      return (f.value + dot(f.slope, u)).low;
    };
    for (std::size_t k = 0; k < rounded_.size(); ++k) {
      if (!(likely_[k].at(to_a) > value && likely_[k].at(to_b) > value)) continue;
      if (low_at(rounded_[k], a) > value && low_at(rounded_[k], b) > value) return true;
    }
    return false;
  }

  // The functions that the least value of the largest on a segment most likely hangs on: of many
  // pieces each may tell of one side alone. Any choice proves a bound.
  std::vector<std::size_t> telling_most(const fraction_pair& a, const fraction_pair& b) const {
    const xy from{mpq_class(a.x - place_.x).get_d(), mpq_class(a.y - place_.y).get_d()};
    const xy to{mpq_class(b.x - place_.x).get_d(), mpq_class(b.y - place_.y).get_d()};
    const auto in_force = [this](const xy& at) {
      std::size_t best = 0;
      for (std::size_t k = 1; k < likely_.size(); ++k)
        if (likely_[k].at(at) > likely_[best].at(at)) best = k;
      return best;
    };
    std::vector<std::size_t> telling{in_force(from), in_force(to)};
    std::size_t falling = telling[0];
    std::size_t rising = telling[1];
    while (telling.size() <= kMostTelling) {
      const double gone = likely_[falling].at(from) - likely_[rising].at(from);
      const double rest = likely_[rising].at(to) - likely_[falling].at(to);
      const double share = gone / (gone + rest);
      if (!(share > 0 && share < 1)) break;
      const std::size_t other =
          in_force({from.x + share * (to.x - from.x), from.y + share * (to.y - from.y)});
      if (other == falling || other == rising) break;
      telling.push_back(other);
      (likely_[other].at(to) < likely_[other].at(from) ? falling : rising) = other;
    }
    return telling;
  }

  mpq_class rounded_bound(const std::vector<std::size_t>& telling, const fraction_pair& a,
                          const fraction_pair& b) const {
    std::vector<line> lines;
    for (const std::size_t k : telling)
      lines.push_back({lowest(rounded_[k], a), lowest(rounded_[k], b)});
    return least_of_largest(lines);
  }
  // In intervals, and where they do not reach `enough` in fractions: of those that tell most, then
  // of all.
  mpq_class bound_between(const fraction_pair& a, const fraction_pair& b,
                          const mpq_class& enough) const {
    const std::vector<std::size_t> telling = telling_most(a, b);
    mpq_class bound = rounded_bound(telling, a, b);
    if (bound >= enough || exact_.empty()) return bound;
    std::vector<line> lines;
    for (const std::size_t k : telling) lines.push_back({value(exact_[k], a), value(exact_[k], b)});
    bound = least_of_largest(lines) / scale_;
    if (bound >= enough) return bound;
    lines.clear();
    for (const affine_function& f : exact_) lines.push_back({value(f, a), value(f, b)});
    return least_of_largest(lines) / scale_;
  }

  mpq_class lowest(const interval_place::affine& f, const fraction_pair& at) const {
    const interval_pair u{enclosed(at.x - place_.x), enclosed(at.y - place_.y)};
    const double low = (f.value + dot(f.slope, u)).low;
    if (!std::isfinite(low)) refuse("the pieces are too steep");
    return low;
  }
  static mpq_class value(const affine_function& f, const fraction_pair& at) {
    return f.at_origin + f.slope.x * at.x + f.slope.y * at.y;
  }

  verified_regions where_;
  fraction_pair place_;
  interval_pair near_;  // holds it
  std::vector<interval_place::affine> rounded_;
  std::vector<likely_function> likely_;  // the same in doubles
  std::vector<affine_function> exact_;   // times `scale_`
  mpz_class scale_ = 1;
};

}  // namespace

verification verify_boundary(const problem& p, const solution& s, const boundary_certificate& c) {
  if (c.pieces.empty()) refuse("no pieces");
  check_pieces(p, c.pieces);
  const fraction_pair at = exact_place_of(s.point, s.exact);
  const fraction_pair outside = fractions_of(c.outside, "the place outside");
  const boundary_check check(p, c, at);
  if (check.where().permits(outside)) refuse("the place outside is permitted");
  interval value;
  std::optional<mpq_class> exact;
  mpq_class at_outside;
  if (p.polyhedral()) {
    const normal_table normals = edge_normals(p.gauges());
    exact = exact_value(p, normals, at);
    value = {rounded_down(*exact), rounded_up(*exact)};
    at_outside = exact_value(p, normals, outside);
    if (!stands_for(s.value, *exact)) refuse("the value is not that of the point");
  } else {
    value = interval_place(p, at).value();
    at_outside = interval_place(p, outside).value().high;
    const double rounding = rounding_of(value.high);
    if (!(s.value >= value.low - rounding && s.value <= value.high + rounding))
      refuse("the value is not that of the point");
  }
  const mpq_class most = exact ? *exact : mpq_class(value.low);
  const mpq_class bound = check.bound(most);
  if (at_outside > bound) refuse("f is above the bound at the place outside");
  const bool optimal = s.status == solution_status::optimal;
  if (optimal && exact) {
    if (bound != *exact) refuse("called optimal, but the gap is not 0");
    if (!stands_for(s.lower_bound, bound))
      refuse("the lower bound is not the one that the certificate proves");
  } else if (s.lower_bound > bound) {
    refuse("the lower bound is above the one that the certificate proves");
  } else if (optimal) {
    check_gap(s.value, s.lower_bound, kOptimalGap * value.high + rounding_of(value.high));
  }
  verification v;
  v.accepted = true;
  v.value = value.high;
  v.lower_bound = rounded_down(bound);
  v.gap = exact ? rounded_up(mpq_class(*exact - bound))
                : (interval(v.value) - interval(v.lower_bound)).high;
  return v;
}

}  // namespace planloc::detail
