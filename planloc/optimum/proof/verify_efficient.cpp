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

using shares = std::array<mpz_class, 2>;  // of f_1 and f_2 in an f_t, times a positive number

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

int compare(const efficient_place& a, const efficient_place& b, std::size_t criterion) {
  return cmp(mpz_class(a.values.numerator[criterion] * b.values.denominator),
             mpz_class(b.values.numerator[criterion] * a.values.denominator));
}

class chain_check {
 public:
  chain_check(const bicriteria_problem& p, const efficient_chain& c) : chain_(c), places_(p) {}

  void run();

 private:
  using piece = std::vector<const efficient_place*>;

  [[noreturn]] void refuse_piece(const char* reason) const {
    refuse("piece " + std::to_string(current_) + ": " + reason);
  }
  const efficient_place& place_of(const efficient_corner& c);
  piece corners_of(const efficient_piece& p);
  void check_shape(const piece& corners) const;
  void check_whole(const piece& corners, const shares& s) const;
  shares check_face(const piece& corners, const efficient_piece& p) const;
  void check_level(const piece& level) const;
  void check_end(const piece& level, std::size_t criterion) const;
  void check_border(const piece& level, const piece& face, int side) const;
  void check_curve() const;

  const efficient_chain& chain_;
  efficient_places places_;
  std::map<std::array<std::uint32_t, 4>, efficient_place> known_;
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
    const fractions<2>& f = place.values;
    if (!stands_for(c.value1, round_quotient(f.numerator[0], f.denominator)) ||
        !stands_for(c.value2, round_quotient(f.numerator[1], f.denominator)))
      refuse_piece("a value is not that of the corner");
    corners.push_back(&place);
  }
  return corners;
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

// All optima of the weighted sum: at each corner it is level into the piece and rises everywhere
// else, since between two neighbouring bends it is linear. The optima are convex, so none lies
// outside.
void chain_check::check_whole(const piece& corners, const shares& s) const {
  for (std::size_t j = 0; j < corners.size(); ++j) {
    if (corners[j]->bends.empty()) refuse_piece("a corner lies inside of a cell");
    for (const bend& b : corners[j]->bends) {
      const int rises = sgn(mpz_class(s[0] * b.rise[0] + s[1] * b.rise[1]));
      if (rises < 0) refuse_piece("a corner is not an optimum");
      if ((rises == 0) != points_in(corners, j, b.direction))
        refuse_piece(rises == 0 ? "not all of the optima" : "a corner is not an optimum");
    }
  }
}

// The share of f_2 in the f_t that is level between the corners is to that of f_1 as f_1 rises to
// how f_2 falls.
shares chain_check::check_face(const piece& corners, const efficient_piece& p) const {
  const efficient_place* low = corners[0];
  const efficient_place* high = corners[0];
  for (const efficient_place* c : corners) {
    if (compare(*c, *low, 0) < 0) low = c;
    if (compare(*c, *high, 0) > 0) high = c;
  }
  const auto difference = [](const efficient_place& a, const efficient_place& b, std::size_t k) {
    return mpz_class(a.values.numerator[k] * b.values.denominator -
                     b.values.numerator[k] * a.values.denominator);
  };
  shares s{difference(*low, *high, 1), difference(*high, *low, 0)};
  if (sgn(s[0]) <= 0 || sgn(s[1]) <= 0)
    refuse_piece("one criterion does not fall as the other rises");
  const mpz_class common = gcd(s[0], s[1]);
  s[0] /= common;
  s[1] /= common;
  if (p.t_low != p.t_high || !stands_for(p.t_low, round_quotient(s[1], mpz_class(s[0] + s[1]))))
    refuse_piece("t is not that of the values");
  check_whole(corners, s);
  return s;
}

void chain_check::check_level(const piece& level) const {
  for (const efficient_place* c : level) {
    if (compare(*c, *level[0], 0) != 0 || compare(*c, *level[0], 1) != 0)
      refuse_piece("the criteria are not constant");
  }
}

void chain_check::check_end(const piece& level, std::size_t criterion) const {
  for (const efficient_place* c : level) {
    for (const bend& b : c->bends) {
      if (sgn(b.rise[criterion]) < 0) refuse_piece("the chain goes on from here");
    }
  }
}

// The level piece is where the face ends: all of its corners with the greatest, for side 1, or the
// least value of f_1, for -1.
void chain_check::check_border(const piece& level, const piece& face, int side) const {
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
  }
  std::optional<shares> last;
  for (current_ = 1; current_ < all.size(); current_ += 2) {
    shares s = check_face(corners[current_], all[current_]);
    if (last && s[1] * (*last)[0] <= (*last)[1] * s[0]) refuse_piece("t does not rise");
    last = std::move(s);
  }
  for (current_ = 0; current_ < all.size(); current_ += 2) {
    const bool first = current_ == 0;
    const bool final = current_ + 1 == all.size();
    check_level(corners[current_]);
    if (first) check_end(corners[current_], 0);
    if (final) check_end(corners[current_], 1);
    if (first && final) check_whole(corners[current_], {1, 1});
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
