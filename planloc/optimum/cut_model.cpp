#include "planloc/optimum/cut_model.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace planloc::detail {

namespace {

using triple = std::array<double, 3>;

constexpr std::size_t kSides = 4;
constexpr int kMostPivots = 200;
constexpr double kLeastShare = 1e-12;

triple cross(const triple& a, const triple& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const triple& a, const triple& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

}  // namespace

cut_model::cut_model(const evaluation& first, const xy& centre, double half_width)
    : middle_(centre), half_width_(half_width), centre_(centre), scale_(0) {
  rows_ = {{{1, 0, 0}, 0, {}}, {{-1, 0, 0}, 0, {}}, {{0, 1, 0}, 0, {}}, {{0, -1, 0}, 0, {}}};
  set_sides();
  add(first);
  basis_ = {kSides, first.slope.x >= 0 ? 0U : 1U, first.slope.y >= 0 ? 2U : 3U};
  locate();
}

void cut_model::set_right(row& r) const {
  const xy offset{centre_.x - r.cut.at.x, centre_.y - r.cut.at.y};
  r.right = r.cut.value + (r.cut.slope.x * offset.x + r.cut.slope.y * offset.y);
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
  scale_ = std::max(scale_, std::fabs(e.value));
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
  return dot(r.normal, {at_.x - centre_.x, at_.y - centre_.y, bound_}) - r.right;
}

void cut_model::locate() {
  const triple& a = rows_[basis_[0]].normal;
  const triple& b = rows_[basis_[1]].normal;
  const triple& c = rows_[basis_[2]].normal;
  inverse_ = {cross(b, c), cross(c, a), cross(a, b)};
  const double determinant = dot(a, inverse_[0]);
  triple z{0, 0, 0};
  for (std::size_t k = 0; k < 3; ++k) {
    for (double& entry : inverse_[k]) entry /= determinant;
    for (std::size_t j = 0; j < 3; ++j) z[j] += inverse_[k][j] * rows_[basis_[k]].right;
    multiplier_[k] = inverse_[k][2];
  }
  at_ = {centre_.x + z[0], centre_.y + z[1]};
  bound_ = z[2];
}

bool cut_model::pivot(std::size_t entering) {
  const triple& normal = rows_[entering].normal;
  std::size_t leaving = 3;
  double least = std::numeric_limits<double>::infinity();
  for (std::size_t k = 0; k < 3; ++k) {
    const double share = dot(normal, inverse_[k]);
    // A share of a side counts in units of the slope, that of a cut in units of 1.
    const double unit =
        basis_[k] < kSides ? std::max(std::fabs(normal[0]), std::fabs(normal[1])) : 1;
    if (!(share > kLeastShare * unit)) continue;
    const double ratio = std::max(multiplier_[k], 0.0) / share;
    if (ratio < least) {
      least = ratio;
      leaving = k;
    }
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

bool cut_model::at_border() const {
  for (std::size_t k = 0; k < 3; ++k) {
    if (basis_[k] < kSides && multiplier_[k] > 0) return true;
  }
  return false;
}

std::vector<cut_model::support> cut_model::supports() const {
  std::vector<support> result;
  for (std::size_t k = 0; k < 3; ++k) {
    if (basis_[k] >= kSides) result.push_back({rows_[basis_[k]].cut.at, multiplier_[k]});
  }
  return result;
}

}  // namespace planloc::detail
