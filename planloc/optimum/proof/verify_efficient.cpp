#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <optional>

#include "planloc/foundation/numeric/round_quotient.h"
#include "planloc/optimum/proof/efficient_place.h"

namespace planloc {

namespace detail {

namespace {

// Relative, of values and of t.
constexpr double kRounding = 0x1p-44;

// Of f_1 and f_2 in an f_t, times a positive number.
using exact_shares = std::array<mpz_class, 2>;
using shares = std::array<interval, 2>;

mpq_class cross(const fraction_pair& o, const fraction_pair& a, const fraction_pair& b) {
  return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

bool same(const fraction_pair& a, const fraction_pair& b) { return a.x == b.x && a.y == b.y; }

bool near(double d, const mpq_class& q) {
  return std::isfinite(d) &&
         mpq_class(std::nextafter(d, -std::numeric_limits<double>::infinity())) <= q &&
         q <= mpq_class(std::nextafter(d, std::numeric_limits<double>::infinity()));
}

bool stands_for(double d, double exact) {
  return std::isfinite(d) && std::fabs(d - exact) <= kRounding * std::fabs(exact);
}

bool surely_stands_for(double d, const interval& exact) {
  const double off = std::max(std::fabs(d - exact.low), std::fabs(d - exact.high));
  return off <= 0.99 * kRounding * magnitude(exact).low;
}

shares rounded(const exact_shares& s) {
  const mpz_class sum = s[0] + s[1];
  const auto part = [&](const mpz_class& share) {
    const double d = round_quotient(share, sum);
    return widened(d, d);
  };
  return {part(s[0]), part(s[1])};
}

class chain_check {
 public:
  chain_check(const bicriteria_problem& p, const efficient_chain& c) : chain_(c), places_(p) {}

  void run();

 private:
  using piece = std::vector<const efficient_place*>;
  // An f_t that is level on a piece.
  struct weighting {
    shares near{};
    std::optional<exact_shares> exact = {};  // where they are known
    const piece* level_on = nullptr;
    bool linear = false;  // both criteria are linear on the piece, an edge
  };

  [[noreturn]] void refuse_piece(const char* reason) const {
    refuse("piece " + std::to_string(current_) + ": " + reason);
  }
  const efficient_place& place_of(const efficient_corner& c);
  piece corners_of(const efficient_piece& p);
  void check_shape(const piece& corners) const;
  int rise_of(const weighting& w, const efficient_place& place, std::size_t k);
  void check_whole(const piece& corners, const weighting& w);
  weighting check_face(const piece& corners, const efficient_piece& p);
  std::optional<shares> shares_by_rises(const piece& corners);
  exact_shares shares_by_values(const piece& corners);
  void check_order(const weighting& before, const weighting& after);
  void check_level(const piece& level);
  void check_end(const piece& level, std::size_t criterion);
  void check_border(const piece& level, const piece& face, int side);
  void check_curve() const;

  int compare(const efficient_place& a, const efficient_place& b, std::size_t criterion);
  void check_value(double claimed, const efficient_place& place, std::size_t criterion);
  const exact_efficient_place& exactly(const efficient_place& place);

  const efficient_chain& chain_;
  efficient_places places_;
  std::map<std::array<std::uint32_t, 4>, efficient_place> known_;
  std::map<const efficient_place*, exact_efficient_place> exactly_known_;
  std::vector<bool> linear_;  // by piece: an edge along which both criteria are linear
  std::size_t current_ = 0;
};

const efficient_place& chain_check::place_of(const efficient_corner& c) {
  const std::array<std::uint32_t, 4> key{c.lines[0].site, c.lines[0].vertex, c.lines[1].site,
                                         c.lines[1].vertex};
  auto found = known_.find(key);
  if (found == known_.end())
    found = known_.emplace(key, places_.look(places_.crossing(c.lines))).first;
  return found->second;
}

chain_check::piece chain_check::corners_of(const efficient_piece& p) {
  piece corners;
  for (const efficient_corner& c : p.corners) {
    const efficient_place& place = place_of(c);
    if (!near(c.at.x, place.at.x) || !near(c.at.y, place.at.y))
      refuse_piece("a corner is not where its lines cross");
    check_value(c.value1, place, 0);
    check_value(c.value2, place, 1);
    corners.push_back(&place);
  }
  return corners;
}

const exact_efficient_place& chain_check::exactly(const efficient_place& place) {
  auto found = exactly_known_.find(&place);
  if (found == exactly_known_.end())
    found = exactly_known_.emplace(&place, places_.look_exactly(place)).first;
  return found->second;
}

void chain_check::check_value(double claimed, const efficient_place& place, std::size_t criterion) {
  if (surely_stands_for(claimed, place.values[criterion])) return;
  const fractions<2>& f = exactly(place).values;
  if (!stands_for(claimed, round_quotient(f.numerator[criterion], f.denominator)))
    refuse_piece("a value is not that of the corner");
}

int chain_check::compare(const efficient_place& a, const efficient_place& b,
                         std::size_t criterion) {
  if (&a == &b) return 0;
  if (a.values[criterion].high < b.values[criterion].low) return -1;
  if (a.values[criterion].low > b.values[criterion].high) return 1;
  const fractions<2>& f = exactly(a).values;
  const fractions<2>& g = exactly(b).values;
  return cmp(mpz_class(f.numerator[criterion] * g.denominator),
             mpz_class(g.numerator[criterion] * f.denominator));
}

void chain_check::check_shape(const piece& corners) const {
  const std::size_t m = corners.size();
  if (m == 0) refuse_piece("no corner");
  if (m == 2 && same(corners[0]->at, corners[1]->at)) refuse_piece("an edge without length");
  for (std::size_t j = 0; m > 2 && j < m; ++j) {
    // Left turns all the way, seen from the first corner too, so once around.
    const fraction_pair& a = corners[j]->at;
    const fraction_pair& b = corners[(j + 1) % m]->at;
    if (sgn(cross(a, b, corners[(j + 2) % m]->at)) <= 0 ||
        (j >= 1 && j + 1 < m && sgn(cross(corners[0]->at, a, b)) <= 0) ||
        (j >= 2 && sgn(cross(corners[0]->at, corners[1]->at, a)) <= 0))
      refuse_piece("not a convex polygon counterclockwise");
  }
}

// Whether a direction from corner j points into the piece or along its border.
bool points_in(const std::vector<const efficient_place*>& corners, std::size_t j, const xy& d) {
  const std::size_t m = corners.size();
  if (m == 1) return false;
  const fraction_pair& at = corners[j]->at;
  const fraction_pair ahead{at.x + d.x, at.y + d.y};
  const fraction_pair& next = corners[(j + 1) % m]->at;
  if (m == 2) {
    return sgn(cross(at, next, ahead)) == 0 &&
           sgn(mpq_class((next.x - at.x) * d.x + (next.y - at.y) * d.y)) > 0;
  }
  const fraction_pair& previous = corners[(j + m - 1) % m]->at;
  return sgn(cross(at, next, ahead)) >= 0 && sgn(cross(at, ahead, previous)) >= 0;
}

int chain_check::rise_of(const weighting& w, const efficient_place& place, std::size_t k) {
  const bend& b = place.bends[k];
  const interval rise = w.near[0] * b.rise[0] + w.near[1] * b.rise[1];
  if (rise.low > 0) return 1;
  if (rise.high < 0) return -1;
  const exact_shares s = w.exact ? *w.exact : shares_by_values(*w.level_on);
  const std::array<mpz_class, 2>& exact = exactly(place).rises[k];
  return sgn(mpz_class(s[0] * exact[0] + s[1] * exact[1]));
}

// All optima of the weighted sum: at each corner it is level into the piece and rises everywhere
// else, since between two neighbouring bends it is linear. The optima are convex, so none lies
// outside.
void chain_check::check_whole(const piece& corners, const weighting& w) {
  for (std::size_t j = 0; j < corners.size(); ++j) {
    if (corners[j]->bends.empty()) refuse_piece("a corner lies inside of a cell");
    for (std::size_t k = 0; k < corners[j]->bends.size(); ++k) {
      const bool inwards = points_in(corners, j, corners[j]->bends[k].direction);
      if (inwards && w.linear) continue;
      const int rises = rise_of(w, *corners[j], k);
      if (rises < 0) refuse_piece("a corner is not an optimum");
      if ((rises == 0) != inwards)
        refuse_piece(rises == 0 ? "not all of the optima" : "a corner is not an optimum");
    }
  }
}

// The share of f_2 in the f_t that is level between the corners is to that of f_1 as f_1 rises to
// how f_2 falls: from corner to corner, or, where both are linear, from one corner on.
exact_shares chain_check::shares_by_values(const piece& corners) {
  const efficient_place* low = corners[0];
  const efficient_place* high = corners[0];
  for (const efficient_place* c : corners) {
    if (compare(*c, *low, 0) < 0) low = c;
    if (compare(*c, *high, 0) > 0) high = c;
  }
  const auto difference = [this](const efficient_place& a, const efficient_place& b,
                                 std::size_t k) {
    const fractions<2>& f = exactly(a).values;
    const fractions<2>& g = exactly(b).values;
    return mpz_class(f.numerator[k] * g.denominator - g.numerator[k] * f.denominator);
  };
  exact_shares s{difference(*low, *high, 1), difference(*high, *low, 0)};
  if (sgn(s[0]) <= 0 || sgn(s[1]) <= 0)
    refuse_piece("one criterion does not fall as the other rises");
  const mpz_class common = gcd(s[0], s[1]);
  s[0] /= common;
  s[1] /= common;
  return s;
}

std::optional<shares> chain_check::shares_by_rises(const piece& corners) {
  if (!linear_[current_]) return {};
  for (const bend& b : corners[0]->bends) {
    if (!points_in(corners, 0, b.direction)) continue;
    const double sign = b.rise[0].low > 0 ? 1 : -1;
    const shares s{-b.rise[1] * sign, b.rise[0] * sign};
    if (s[0].low > 0 && s[1].low > 0) return s;
  }
  return {};
}

chain_check::weighting chain_check::check_face(const piece& corners, const efficient_piece& p) {
  weighting w;
  w.level_on = &corners;
  if (const std::optional<shares> s = shares_by_rises(corners)) {
    w.near = *s;
    w.linear = true;
  } else {
    w.exact = shares_by_values(corners);
    w.near = rounded(*w.exact);
  }
  const auto is_t = [&](double t) {
    if (surely_stands_for(t, w.near[1] / (w.near[0] + w.near[1]))) return true;
    if (!w.exact) w.exact = shares_by_values(corners);
    return stands_for(t, round_quotient((*w.exact)[1], mpz_class((*w.exact)[0] + (*w.exact)[1])));
  };
  if (p.t_low != p.t_high || !is_t(p.t_low)) refuse_piece("t is not that of the values");
  check_whole(corners, w);
  return w;
}

void chain_check::check_order(const weighting& before, const weighting& after) {
  const interval rise = after.near[1] * before.near[0] - before.near[1] * after.near[0];
  if (rise.low > 0) return;
  const exact_shares s = before.exact ? *before.exact : shares_by_values(*before.level_on);
  const exact_shares t = after.exact ? *after.exact : shares_by_values(*after.level_on);
  if (t[1] * s[0] <= s[1] * t[0]) refuse_piece("t does not rise");
}

void chain_check::check_level(const piece& level) {
  for (const efficient_place* c : level) {
    if (compare(*c, *level[0], 0) != 0 || compare(*c, *level[0], 1) != 0)
      refuse_piece("the criteria are not constant");
  }
}

void chain_check::check_end(const piece& level, std::size_t criterion) {
  for (const efficient_place* c : level) {
    for (std::size_t k = 0; k < c->bends.size(); ++k) {
      if (c->bends[k].rise[criterion].low >= 0) continue;
      if (sgn(exactly(*c).rises[k][criterion]) < 0) refuse_piece("the chain goes on from here");
    }
  }
}

// The level piece is where the face ends: all of its corners with the greatest, for side 1, or the
// least value of f_1, for -1.
void chain_check::check_border(const piece& level, const piece& face, int side) {
  std::size_t shared = 0;
  for (const efficient_place* c : face) {
    const int order = compare(*c, *level[0], 0) * side;
    if (order > 0) refuse_piece("not the end of its neighbour");
    if (order < 0) continue;
    ++shared;
    bool found = false;
    for (const efficient_place* l : level) found = found || same(l->at, c->at);
    if (!found) refuse_piece("a corner that both neighbours have is left out");
  }
  if (shared != level.size()) refuse_piece("a corner that is not in both neighbours");
}

void chain_check::check_curve() const {
  if (chain_.curve.size() != chain_.pieces.size() / 2 + 1)
    refuse("the curve has not one place a piece with an interval of t");
  for (std::size_t k = 0; k < chain_.curve.size(); ++k) {
    const trade_off& c = chain_.curve[k];
    const efficient_piece& p = chain_.pieces[2 * k];
    if (c.value1 != p.corners[0].value1 || c.value2 != p.corners[0].value2 || c.t_low != p.t_low ||
        c.t_high != p.t_high)
      refuse("place " + std::to_string(k) + " of the curve is not that of its piece");
  }
}

void chain_check::run() {
  const std::vector<efficient_piece>& all = chain_.pieces;
  if (chain_.status != efficient_status::complete) refuse("not a complete chain");
  if (all.size() % 2 == 0) refuse("pieces are missing: their number is even");
  std::vector<piece> corners;
  for (current_ = 0; current_ < all.size(); ++current_) {
    corners.push_back(corners_of(all[current_]));
    check_shape(corners.back());
    const piece& p = corners.back();
    linear_.push_back(p.size() == 2 && places_.linear_between(p[0]->at, p[1]->at));
  }
  std::optional<weighting> last;
  for (current_ = 1; current_ < all.size(); current_ += 2) {
    weighting w = check_face(corners[current_], all[current_]);
    if (last) check_order(*last, w);
    last = std::move(w);
  }
  for (current_ = 0; current_ < all.size(); current_ += 2) {
    const bool first = current_ == 0;
    const bool final = current_ + 1 == all.size();
    check_level(corners[current_]);
    if (first) check_end(corners[current_], 0);
    if (final) check_end(corners[current_], 1);
    if (first && final) check_whole(corners[current_], {{1, 1}, exact_shares{1, 1}});
    if (!first) check_border(corners[current_], corners[current_ - 1], 1);
    if (!final) check_border(corners[current_], corners[current_ + 1], -1);
    if (all[current_].t_low != (first ? 0 : all[current_ - 1].t_high) ||
        all[current_].t_high != (final ? 1 : all[current_ + 1].t_low))
      refuse_piece("its interval of t is not the one between its neighbours");
  }
  check_curve();
}

}  // namespace

}  // namespace detail

efficient_verification verify(const bicriteria_problem& p, const efficient_chain& c) {
  efficient_verification v;
  try {
    if (!p.polyhedral() || !p.plain_sums())
      detail::refuse("a chain of plain sums under polyhedral gauges, but the problem is another");
    detail::chain_check(p, c).run();
    v.accepted = true;
  } catch (detail::refusal& r) {
    v.reason = std::move(r.reason);
  }
  return v;
}

}  // namespace planloc
