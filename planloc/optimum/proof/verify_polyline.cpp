#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "planloc/optimum/efficient_polyline.h"
#include "planloc/optimum/proof/interval_place.h"

namespace planloc {

namespace detail {

namespace {

constexpr double kRounding = 0x1p-44;
constexpr double kLeastRange = 1e-4;

using factors = std::array<double, 2>;
using values = std::array<double, 2>;  // not below the exact ones

class polyline_check {
 public:
  polyline_check(const bicriteria_problem& p, const efficient_polyline& l)
      : line_(l), criterion_{p.criterion(0), p.criterion(1)} {}

  // The proved distance.
  double run();

 private:
  void check_points();
  void check_cuts() const;
  void check_bound(std::size_t k) const;
  std::array<interval_place, 2> seen_from(const xy& at) const;
  double proved_bound(const polyline_bound& b, const xy& at) const;
  void find_ranges();
  double bound_along(const factors& f) const;
  double distance() const;

  const efficient_polyline& line_;
  std::array<problem, 2> criterion_;
  std::vector<values> values_;
  values range_{};
};

std::array<interval_place, 2> polyline_check::seen_from(const xy& at) const {
  const fraction_pair place{mpq_class(at.x), mpq_class(at.y)};
  return {interval_place(criterion_[0], place), interval_place(criterion_[1], place)};
}

void polyline_check::check_points() {
  if (line_.points.empty()) refuse("no point");
  for (std::size_t k = 0; k < line_.points.size(); ++k) {
    const std::string name = "point " + std::to_string(k);
    const polyline_point& p = line_.points[k];
    check_place(p.at, name);
    const std::array<interval_place, 2> place = seen_from(p.at);
    values& v = values_.emplace_back();
    for (std::size_t c = 0; c < 2; ++c) {
      const interval exact = place[c].value();
      const double stated = c == 0 ? p.value1 : p.value2;
      const double rounding = kRounding * exact.high;
      if (!(stated >= exact.low - rounding && stated <= exact.high + rounding))
        refuse(name + ": a value is not that of the place");
      v[c] = exact.high;
    }
    if (k > 0 && !(v[0] > values_[k - 1][0] && v[1] < values_[k - 1][1]))
      refuse(name + ": not more of the first criterion and less of the second");
  }
}

void polyline_check::check_cuts() const {
  for (const polyline_cut& c : line_.cuts) {
    check_pieces(criterion_[0], {&c.first, 1});
    check_pieces(criterion_[1], {&c.second, 1});
    for (const affine_piece* piece : {&c.first, &c.second}) {
      check_place({piece->taken_at.x + line_.base.x, piece->taken_at.y + line_.base.y}, "a cut");
    }
  }
}

// With the sum of the cuts as c + rest . (x - at): places so far away that the weighted sum is
// above its value at `at` need no bound, the others lose what the rest can do.
double polyline_check::proved_bound(const polyline_bound& b, const xy& at) const {
  const std::array<interval_place, 2> place = seen_from(at);
  const factors factor{b.factor1, b.factor2};
  interval total = 0;
  interval level = 0;
  interval_pair rest{0, 0};
  for (const auto& [cut, multiplier] : b.shares) {
    total = total + interval(multiplier);
    for (std::size_t k = 0; k < 2; ++k) {
      if (factor[k] == 0) continue;
      const affine_piece& piece = k == 0 ? line_.cuts[cut].first : line_.cuts[cut].second;
      const interval share = interval(multiplier) * interval(factor[k]);
      const interval_place::affine a = place[k].seen(piece, line_.base);
      level = level + share * a.value;
      rest = {rest.x + share * a.slope.x, rest.y + share * a.slope.y};
    }
  }
  if (!(total.low > 0)) return 0;
  interval here = 0;
  interval pull = 0;
  interval back = 0;
  const polyline_cut& any = line_.cuts[b.shares[0].first];
  for (std::size_t k = 0; k < 2; ++k) {
    if (factor[k] == 0) continue;
    const interval_place::growth far = place[k].far_away(k == 0 ? any.first : any.second);
    here = here + interval(factor[k]) * place[k].value();
    pull = pull + interval(factor[k]) * far.pull;
    back = back + interval(factor[k]) * far.back;
  }
  if (!(pull.low > 0)) return 0;  // factors below the least numbers
  const double reach = ((here + back) / pull).high;
  const interval steep = sqrt(square(rest.x) + square(rest.y)) / total;
  const double bound = below((level / total).low - above(steep.high * reach));
  return std::isnan(bound) ? 0 : std::min(here.low, bound);
}

void polyline_check::check_bound(std::size_t k) const {
  const polyline_bound& b = line_.bounds[k];
  const std::string name = "bound " + std::to_string(k);
  const auto factor_holds = [](double f) { return f >= 0 && std::isfinite(f); };
  if (!factor_holds(b.factor1) || !factor_holds(b.factor2) || !std::isfinite(b.bound) ||
      b.factor1 + b.factor2 == 0)
    refuse(name + ": factors or bound are not numbers from 0 up");
  for (const auto& [cut, multiplier] : b.shares) {
    if (cut >= line_.cuts.size()) refuse(name + ": a cut that does not exist");
    if (!(multiplier >= 0) || !std::isfinite(multiplier))
      refuse(name + ": a multiplier is negative");
  }
  if (b.bound <= 0) return;  // no value is below 0
  if (b.shares.empty()) refuse(name + ": no cut");
  const auto best =
      std::min_element(line_.points.begin(), line_.points.end(), [&](const auto& p, const auto& q) {
        return b.factor1 * p.value1 + b.factor2 * p.value2 <
               b.factor1 * q.value1 + b.factor2 * q.value2;
      });
  if (!(b.bound <= proved_bound(b, best->at)))
    refuse(name + " is above the one that its cuts prove");
}

void polyline_check::find_ranges() {
  for (std::size_t k = 0; k < 2; ++k) {
    const double first = values_.front()[k];
    const double last = values_.back()[k];
    range_[k] = std::max(std::fabs(last - first), kLeastRange * std::min(first, last));
    if (range_[k] == 0) range_[k] = 1;
  }
}

// A lower bound of f . (f_1, f_2) from the two neighbouring bounds: a mixture of their factors that
// is at most f in both, since no value is below 0. The mixture need not be the best one.
double polyline_check::bound_along(const factors& f) const {
  const auto next = std::find_if(line_.bounds.begin(), line_.bounds.end(), [&](const auto& b) {
    return b.factor2 * f[0] >= b.factor1 * f[1];
  });
  const polyline_bound& b = next == line_.bounds.end() ? line_.bounds.back() : *next;
  const polyline_bound& a = next == line_.bounds.begin() ? b : *std::prev(next);
  const double area = a.factor1 * b.factor2 - a.factor2 * b.factor1;
  double of_a = (f[0] * b.factor2 - f[1] * b.factor1) / area;
  double of_b = (a.factor1 * f[1] - a.factor2 * f[0]) / area;
  if (!(area > 0 && of_a > 0)) of_a = 0;
  if (!(area > 0 && of_b > 0)) of_b = 0;
  if (of_a == 0 && of_b == 0) of_b = 1;
  const interval mixed1 = interval(of_a) * a.factor1 + interval(of_b) * b.factor1;
  const interval mixed2 = interval(of_a) * a.factor2 + interval(of_b) * b.factor2;
  double fit = std::numeric_limits<double>::infinity();
  if (mixed1.high > 0) fit = std::min(fit, (interval(f[0]) / interval(mixed1.high)).low);
  if (mixed2.high > 0) fit = std::min(fit, (interval(f[1]) / interval(mixed2.high)).low);
  if (!(fit > 0) || !std::isfinite(fit)) return 0;
  return (interval(fit) * (interval(of_a) * a.bound + interval(of_b) * b.bound)).low;
}

double polyline_check::distance() const {
  double most = 0;
  const auto demand = [&](const factors& f, const values& v) {
    const interval value = interval(f[0]) * v[0] + interval(f[1]) * v[1];
    const interval unit = interval(f[0]) * range_[0] + interval(f[1]) * range_[1];
    const double bound = bound_along(f);
    if (value.high <= bound) return;
    if (!(unit.low > 0)) refuse("points are nearer to each other than doubles can weigh");
    const interval missing = value - interval(bound);
    most = std::max(most, (interval(missing.high) / unit).high);
  };
  demand({1, 0}, values_.front());
  demand({0, 1}, values_.back());
  // Any weighting proves something of a segment; that on which its ends agree proves most. With
  // rounded ones the worse end counts.
  for (std::size_t k = 0; k + 1 < values_.size(); ++k) {
    const values& v = values_[k];
    const values& w = values_[k + 1];
    const factors f{v[1] - w[1], w[0] - v[0]};
    demand(f, v);
    demand(f, w);
  }
  return most;
}

double polyline_check::run() {
  check_points();
  check_cuts();
  if (line_.bounds.empty()) refuse("no bound");
  for (std::size_t k = 0; k < line_.bounds.size(); ++k) {
    check_bound(k);
    if (k == 0) continue;
    const polyline_bound& a = line_.bounds[k - 1];
    const polyline_bound& b = line_.bounds[k];
    if (!(a.factor1 * b.factor2 > a.factor2 * b.factor1))
      refuse("bound " + std::to_string(k) + " does not turn towards the second criterion");
  }
  find_ranges();
  return distance();
}

}  // namespace

}  // namespace detail

polyline_verification verify(const bicriteria_problem& p, const efficient_polyline& l) {
  polyline_verification v;
  try {
    v.distance = detail::polyline_check(p, l).run();
    if (!(v.distance <= l.distance)) detail::refuse("the distance is more than the stated one");
    v.accepted = true;
  } catch (detail::refusal& r) {
    v.reason = std::move(r.reason);
  }
  return v;
}

}  // namespace planloc
