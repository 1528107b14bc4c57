#include "planloc/optimum/convex/exact_cuts.h"

#include <algorithm>

namespace planloc::detail {

namespace {

using triple = std::array<mpq_class, 3>;

constexpr std::size_t kSides = 4;
constexpr int kWider = 1024;

triple cross(const triple& a, const triple& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

mpq_class dot(const triple& a, const triple& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

mpq_class quotient(const mpz_class& numerator, const mpz_class& denominator) {
  mpq_class q(numerator, denominator);
  q.canonicalize();
  return q;
}

mpq_class rounded(const mpq_class& q, unsigned bits) { return mpq_class(mpf_class(q, bits)); }

}  // namespace

exact_cuts::exact_cuts(const exact_xy& centre, const mpq_class& half_width)
    : centre_(centre), half_width_(half_width), rows_(kSides), exact_(kSides) {
  set_sides();
}

void exact_cuts::set_sides() {
  exact_[0] = {{1, 0, 0}, centre_.x - half_width_};
  exact_[1] = {{-1, 0, 0}, -centre_.x - half_width_};
  exact_[2] = {{0, 1, 0}, centre_.y - half_width_};
  exact_[3] = {{0, -1, 0}, -centre_.y - half_width_};
  std::copy_n(exact_.begin(), kSides, rows_.begin());
}

void exact_cuts::add_pieces_at(const exact_place& place, const exact_xy& u) {
  const mpq_class value = place.exact_value();
  const std::size_t before = rows_.size();
  for (const exact_xy& v : {u, exact_xy{1, 0}, exact_xy{-1, 0}, exact_xy{0, 1}, exact_xy{0, -1}}) {
    add_piece(place, value, v);
  }
  if (rows_.size() == before) start_again();
}

void exact_cuts::add_piece(const exact_place& place, const mpq_class& value, const exact_xy& u) {
  const exact_slope s = place.slope(place.choose(u));
  row r{{quotient(-s.x, s.denominator), quotient(-s.y, s.denominator), 1}, value};
  r.right += r.normal[0] * place.at().x + r.normal[1] * place.at().y;
  const auto same = [&](const row& other) {
    return other.right == r.right && other.normal == r.normal;
  };
  if (std::any_of(exact_.begin() + kSides, exact_.end(), same)) return;
  rows_.push_back(rounded_row(r));
  exact_.push_back(std::move(r));
  if (rows_.size() == kSides + 1) start();
}

exact_cuts::row exact_cuts::rounded_row(const row& r) const {
  return {{rounded(r.normal[0], bits_), rounded(r.normal[1], bits_), 1}, rounded(r.right, bits_)};
}

// From the first piece: slope + multiplier of the sides == 0.
void exact_cuts::start() {
  const triple& normal = rows_[kSides].normal;
  basis_ = {kSides, sgn(normal[0]) <= 0 ? 0U : 1U, sgn(normal[1]) <= 0 ? 2U : 3U};
  locate();
}

// Where all pieces in force are known, f itself is least, unless a side of the square holds the
// minimiser back, or it is one of the rounded rows only.
void exact_cuts::start_again() {
  if (std::any_of(basis_.begin(), basis_.end(), [](std::size_t k) { return k < kSides; })) {
    half_width_ *= kWider;
    set_sides();
  } else {
    bits_ *= 2;
    for (std::size_t k = kSides; k < rows_.size(); ++k) rows_[k] = rounded_row(exact_[k]);
  }
  start();
}

void exact_cuts::locate() {
  const triple& a = rows_[basis_[0]].normal;
  const triple& b = rows_[basis_[1]].normal;
  const triple& c = rows_[basis_[2]].normal;
  inverse_ = {cross(b, c), cross(c, a), cross(a, b)};
  const mpq_class determinant = dot(a, inverse_[0]);
  vertex_ = {0, 0, 0};
  for (std::size_t k = 0; k < 3; ++k) {
    for (std::size_t j = 0; j < 3; ++j) {
      inverse_[k][j] /= determinant;
      vertex_[j] += inverse_[k][j] * rows_[basis_[k]].right;
    }
  }
}

mpq_class exact_cuts::slack(const row& r) const { return dot(r.normal, vertex_) - r.right; }

// The dual simplex method; the first of equals leaves (Bland 1977).
void exact_cuts::pivot(std::size_t entering) {
  const triple& normal = rows_[entering].normal;
  std::size_t leaving = 3;
  mpq_class least;
  for (std::size_t k = 0; k < 3; ++k) {
    const mpq_class share = dot(normal, inverse_[k]);
    if (sgn(share) <= 0) continue;
    const mpq_class ratio = inverse_[k][2] / share;
    if (leaving != 3 && (ratio > least || (ratio == least && basis_[k] > basis_[leaving])))
      continue;
    leaving = k;
    least = ratio;
  }
  basis_[leaving] = entering;  // there is one: the square is not empty
  locate();
}

std::optional<exact_xy> exact_cuts::minimiser(const std::function<bool()>& must_end) {
  while (!must_end()) {
    std::size_t violated = 0;
    while (violated < rows_.size() && sgn(slack(rows_[violated])) >= 0) ++violated;
    if (violated == rows_.size()) return exact_vertex();
    pivot(violated);
  }
  return {};
}

exact_xy exact_cuts::exact_vertex() const {
  std::array<triple, 3> inverse;
  for (std::size_t k = 0; k < 3; ++k) {
    inverse[k] = cross(exact_[basis_[(k + 1) % 3]].normal, exact_[basis_[(k + 2) % 3]].normal);
  }
  const mpq_class determinant = dot(exact_[basis_[0]].normal, inverse[0]);
  if (sgn(determinant) == 0) return {vertex_[0], vertex_[1]};
  exact_xy at{0, 0};
  for (std::size_t k = 0; k < 3; ++k) {
    at.x += inverse[k][0] * exact_[basis_[k]].right;
    at.y += inverse[k][1] * exact_[basis_[k]].right;
  }
  return {at.x / determinant, at.y / determinant};
}

}  // namespace planloc::detail
