#include "planloc/optimum/convex/cut_model.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace planloc::detail {

namespace {

using triple = std::array<double, 3>;

constexpr std::size_t kSides = 4;
constexpr int kMostPivots = 200;
// Of the terms of a determinant: below, doubles lose too much in one refinement.
constexpr double kNearlySingular = 0x1p-32;
constexpr int kMostRefinements = 6;
constexpr double kLeastShare = 1e-14;
constexpr double kSlack = 1e-15;
constexpr double kRounding = 0x1p-51;

template <class Real>
std::array<Real, 3> cross(const std::array<Real, 3>& a, const std::array<Real, 3>& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

template <class Real>
Real dot(const std::array<Real, 3>& a, const std::array<Real, 3>& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

triple rounded(const std::array<long double, 3>& a) {
  return {static_cast<double>(a[0]), static_cast<double>(a[1]), static_cast<double>(a[2])};
}

}  // namespace

cut_model::cut_model(const evaluation& first, const xy& centre, double half_width)
    : middle_(centre), half_width_(half_width), centre_(centre), scale_(first.value) {
  rows_ = {{{1, 0, 0}, 0, {}}, {{-1, 0, 0}, 0, {}}, {{0, 1, 0}, 0, {}}, {{0, -1, 0}, 0, {}}};
  set_sides();
  add(first);
  basis_ = {kSides, first.slope.x >= 0 ? 0U : 1U, first.slope.y >= 0 ? 2U : 3U};
  locate();
}

void cut_model::set_right(row& r) const {
  const xy offset{centre_.x - r.cut.at.x, centre_.y - r.cut.at.y};
  const double rise_x = r.cut.slope.x * offset.x;
  const double rise_y = r.cut.slope.y * offset.y;
  // Lowered by its roundings: a cut from far away, where f is huge, says little here, and nothing
  // wrong.
  const double size = std::fabs(r.cut.value) + std::fabs(rise_x) + std::fabs(rise_y);
  r.right = r.cut.value + (rise_x + rise_y) - kRounding * size;
}

void cut_model::set_sides() {
  for (std::size_t k = 0; k < kSides; ++k) {
    const triple& n = rows_[k].normal;
    rows_[k].right = n[0] * (middle_.x - centre_.x) + n[1] * (middle_.y - centre_.y) - half_width_;
  }
}

void cut_model::add(const evaluation& e) {
  rows_.push_back({{-e.slope.x, -e.slope.y, 1}, 0, e});
  set_right(rows_.back());
  scale_ = std::min(scale_, std::fabs(e.value));
}

void cut_model::widen(double factor) {
  half_width_ *= factor;
  set_sides();
  locate();
}

void cut_model::recentre(const xy& centre) {
  centre_ = centre;
  set_sides();
  for (std::size_t r = kSides; r < rows_.size(); ++r) set_right(rows_[r]);
  locate();
}

double cut_model::slack(const row& r) const {
  return dot(r.normal, triple{offset_.x, offset_.y, bound_}) - r.right;
}

namespace {

template <class Real>
struct inverse_of {
  std::array<std::array<Real, 3>, 3> columns;
  Real determinant;

  explicit inverse_of(const std::array<triple, 3>& rows) {
    std::array<std::array<Real, 3>, 3> n;
    for (std::size_t k = 0; k < 3; ++k) std::copy_n(rows[k].begin(), 3, n[k].begin());
    columns = {cross(n[1], n[2]), cross(n[2], n[0]), cross(n[0], n[1])};
    determinant = dot(n[0], columns[0]);
    for (auto& c : columns) {
      for (Real& entry : c) entry /= determinant;
    }
  }
};

// The determinant if none of its terms took off.
double sum_of_terms(const std::array<triple, 3>& n) {
  double sum = 0;
  for (std::size_t j = 0; j < 3; ++j) {
    const std::size_t k = (j + 1) % 3;
    const std::size_t l = (j + 2) % 3;
    sum += std::fabs(n[0][j]) * (std::fabs(n[1][k] * n[2][l]) + std::fabs(n[1][l] * n[2][k]));
  }
  return sum;
}

}  // namespace

// Near the end, and where a ball is nearly a polygon, the slopes are nearly in a line.
bool cut_model::invert() {
  const std::array<triple, 3> rows{rows_[basis_[0]].normal, rows_[basis_[1]].normal,
                                   rows_[basis_[2]].normal};
  const inverse_of<double> inverse(rows);
  inverse_ = inverse.columns;
  if (std::fabs(inverse.determinant) > kNearlySingular * sum_of_terms(rows)) return true;
  const inverse_of<long double> wide(rows);
  for (std::size_t k = 0; k < 3; ++k) std::copy_n(wide.columns[k].begin(), 3, inverse_[k].begin());
  return false;
}

void cut_model::locate() {
  const int refinements = invert() ? 1 : kMostRefinements;
  const auto refine = [&](triple& solution, auto rest_of, auto correct) {
    solution = {0, 0, 0};
    double last = std::numeric_limits<double>::infinity();
    for (int step = 0; step <= refinements; ++step) {
      const triple rest = rest_of(solution);
      const double left = std::fabs(rest[0]) + std::fabs(rest[1]) + std::fabs(rest[2]);
      if (!(left < last)) return;
      last = left;
      correct(solution, rest);
    }
  };
  refine(
      multiplier_,
      [this](const triple& shares) {
        std::array<long double, 3> sum{0, 0, 1};
        for (std::size_t k = 0; k < 3; ++k) {
          for (std::size_t j = 0; j < 3; ++j)
            sum[j] -= static_cast<long double>(rows_[basis_[k]].normal[j]) * shares[k];
        }
        return rounded(sum);
      },
      [this](triple& shares, const triple& rest) {
        for (std::size_t k = 0; k < 3; ++k) shares[k] += dot(inverse_[k], rest);
      });
  triple at;
  refine(
      at,
      [this](const triple& z) {
        std::array<long double, 3> sum{};
        for (std::size_t k = 0; k < 3; ++k) {
          const row& r = rows_[basis_[k]];
          sum[k] = r.right;
          for (std::size_t j = 0; j < 3; ++j)
            sum[k] -= static_cast<long double>(r.normal[j]) * z[j];
        }
        return rounded(sum);
      },
      [this](triple& z, const triple& rest) {
        for (std::size_t k = 0; k < 3; ++k) {
          for (std::size_t j = 0; j < 3; ++j) z[j] += inverse_[k][j] * rest[k];
        }
      });
  offset_ = {at[0], at[1]};
  bound_ = at[2];
}

xy cut_model::minimiser() const { return {centre_.x + offset_.x, centre_.y + offset_.y}; }

// Whatever the shares, as long as none is negative and they add up to 1.
cut_model::bound_parts cut_model::parts_of(const triple& share) const {
  xy rest{0, 0};
  double value = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    if (share[k] == 0) continue;
    const row& r = rows_[basis_[k]];
    value += share[k] * r.right;
    rest.x += share[k] * r.normal[0];
    rest.y += share[k] * r.normal[1];
  }
  // What is left of the slopes falls towards one side in each coordinate.
  const auto fall = [this](double left, double middle, double centre) {
    const double to_side =
        left > 0 ? middle + half_width_ - centre : centre - (middle - half_width_);
    return std::fabs(left) * std::max(to_side, 0.0);
  };
  return {value, std::fabs(rest.x) + std::fabs(rest.y),
          fall(rest.x, middle_.x, centre_.x) + fall(rest.y, middle_.y, centre_.y)};
}

double cut_model::bound_of(const triple& share) const {
  const bound_parts parts = parts_of(share);
  return parts.value - parts.fall;
}

// The multipliers of the basis, or where roundings have made one of them useless those of two cuts
// whose slopes cancel best.
cut_model::triple cut_model::best_shares() const {
  triple best{0, 0, 0};
  double total = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    if (basis_[k] >= kSides) total += best[k] = std::max(multiplier_[k], 0.0);
  }
  for (double& share : best) share /= total;
  double most = bound_of(best);
  for (std::size_t k = 0; k < 3; ++k) {
    const std::size_t i = (k + 1) % 3;
    const std::size_t j = (k + 2) % 3;
    if (basis_[i] < kSides || basis_[j] < kSides) continue;
    const triple& a = rows_[basis_[i]].normal;
    const triple& b = rows_[basis_[j]].normal;
    const xy step{a[0] - b[0], a[1] - b[1]};
    const double of_a = -(b[0] * step.x + b[1] * step.y) / (step.x * step.x + step.y * step.y);
    if (!(of_a >= 0 && of_a <= 1)) continue;
    triple shares{0, 0, 0};
    shares[i] = of_a;
    shares[j] = 1 - of_a;
    const double bound = bound_of(shares);
    if (!(bound > most)) continue;
    best = shares;
    most = bound;
  }
  return best;
}

double cut_model::bound() const { return bound_of(best_shares()); }

bool cut_model::pivot(std::size_t entering) {
  const triple& normal = rows_[entering].normal;
  triple share{};
  double least = std::numeric_limits<double>::infinity();
  for (std::size_t k = 0; k < 3; ++k) {
    // A share of a side counts in units of the slope, that of a cut in units of 1.
    const double unit =
        basis_[k] < kSides ? std::max(std::fabs(normal[0]), std::fabs(normal[1])) : 1;
    share[k] = dot(normal, inverse_[k]);
    if (!(share[k] > kLeastShare * unit)) share[k] = 0;
    if (share[k] > 0)
      least = std::min(least, (std::max(multiplier_[k], 0.0) + kSlack * unit) / share[k]);
  }
  // Of the rows that may leave within the slack, the one that leaves the best basis (Harris 1973).
  std::size_t leaving = 3;
  for (std::size_t k = 0; k < 3; ++k) {
    if (share[k] == 0 || multiplier_[k] > least * share[k]) continue;
    if (leaving == 3 || share[k] > share[leaving]) leaving = k;
  }
  if (leaving == 3) return false;
  basis_[leaving] = entering;
  locate();
  return std::isfinite(bound_);
}

void cut_model::solve() {
  const double tolerance = 1e-15 * scale_;
  for (int pivots = 0; pivots < kMostPivots; ++pivots) {
    std::size_t worst = rows_.size();
    double most = -tolerance;
    for (std::size_t r = 0; r < rows_.size(); ++r) {
      const double s = slack(rows_[r]);
      if (s < most && std::find(basis_.begin(), basis_.end(), r) == basis_.end()) {
        most = s;
        worst = r;
      }
    }
    if (worst == rows_.size()) return;
    const auto basis = basis_;
    if (pivot(worst)) continue;
    basis_ = basis;
    locate();
    return;
  }
}

// The square, cut off by one line after the other (Sutherland and Hodgman 1974).
place_box cut_model::level_box(double value) const {
  const double left = middle_.x - half_width_ - centre_.x;
  const double right = middle_.x + half_width_ - centre_.x;
  const double low = middle_.y - half_width_ - centre_.y;
  const double high = middle_.y + half_width_ - centre_.y;
  std::vector<xy> corners{{left, low}, {right, low}, {right, high}, {left, high}};
  std::vector<xy> kept;
  for (std::size_t r = kSides; r < rows_.size(); ++r) {
    // By how much the cut is above the value.
    const auto excess = [&](const xy& p) {
      return rows_[r].right - rows_[r].normal[0] * p.x - rows_[r].normal[1] * p.y - value;
    };
    kept.clear();
    for (std::size_t k = 0; k < corners.size(); ++k) {
      const xy& a = corners[k];
      const xy& b = corners[k + 1 == corners.size() ? 0 : k + 1];
      const double at_a = excess(a);
      const double at_b = excess(b);
      if (at_a <= 0) kept.push_back(a);
      if ((at_a <= 0) == (at_b <= 0)) continue;
      const double share = at_a / (at_a - at_b);
      kept.push_back({a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)});
    }
    if (kept.empty()) continue;  // all roundings
    std::swap(corners, kept);
  }
  place_box b{corners[0], corners[0]};
  for (const xy& c : corners) {
    b.low = {std::min(b.low.x, c.x), std::min(b.low.y, c.y)};
    b.high = {std::max(b.high.x, c.x), std::max(b.high.y, c.y)};
  }
  return {{centre_.x + b.low.x, centre_.y + b.low.y}, {centre_.x + b.high.x, centre_.y + b.high.y}};
}

bool cut_model::near_border(const xy& at) const {
  return std::max(std::fabs(at.x - middle_.x), std::fabs(at.y - middle_.y)) > 0.9 * half_width_;
}

std::vector<cut_model::support> cut_model::supports() const {
  std::vector<support> result;
  const triple shares = best_shares();
  for (std::size_t k = 0; k < 3; ++k) {
    if (basis_[k] >= kSides) result.push_back({rows_[basis_[k]].cut.at, shares[k]});
  }
  return result;
}

}  // namespace planloc::detail
