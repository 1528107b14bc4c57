#include "planloc/optimum/general/best_place.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>
#include <utility>

namespace planloc::detail {

namespace {

constexpr std::size_t kSitesTried = 16;
// Places of the grid in each coordinate, and halvings of the steps from the best.
constexpr int kGridPlaces = 33;
constexpr int kFinerSteps = 24;
// Steps towards a value of 0 from a better place, and how far from amid the sites they may lead, in
// extents: where f levels off far away slopes vanish, so that a step may end anywhere.
constexpr int kStepsToZero = 40;
constexpr double kStepExtents = 16;

// Of sums, in units of the terms' size. Polyhedral gauges are solved exactly, so that only speed
// suffers from caution; others end where roundings do, of some ten operations a term.
double rounding_of_sums(const problem& p) {
  const auto sites = static_cast<double>(p.sites().size());
  return 0x1p-53 * (p.polyhedral() ? 256 + 16 * sites : 48 + 4 * sites);
}

xy middle_of(std::span<const site> sites) {
  const auto middle = [&](double site::*of) {
    const auto [low, high] = std::minmax_element(
        sites.begin(), sites.end(), [of](const site& a, const site& b) { return a.*of < b.*of; });
    return (*low).*of + ((*high).*of - (*low).*of) / 2;
  };
  return {middle(&site::x), middle(&site::y)};
}

// The sum of all terms' magnitudes amid the sites.
double size_of_terms(const problem& p, const xy& amid) {
  double steepest = 0;
  for (const order_run& r : p.runs()) steepest = std::max(steepest, std::fabs(r.weight));
  double sum = 0;
  for (std::size_t i = 0; i < p.sites().size(); ++i) sum += steepest * p.distance(i, amid);
  return sum;
}

}  // namespace

double value_roundings::more_at(const xy& at) const {
  const double far = std::max(std::fabs(at.x), std::fabs(at.y));
  return far > extent ? of_value * (far / extent - 1) : 0;
}

value_roundings roundings_of(const problem& p, const distance_table& table) {
  const double of_sums = rounding_of_sums(p);
  const double extent = table.extent();
  return {extent > 0 ? extent : 1, of_sums,
          p.polyhedral() ? 0 : of_sums * size_of_terms(p, table.base),
          size_of_terms(p, middle_of(p.sites()))};
}

best_place::best_place(const problem& p, const distance_table& table, const cell_regions* where,
                       const value_roundings& roundings)
    : problem_(p), table_(table), where_(where), roundings_(roundings) {}

void best_place::offer(const exact_xy& at, double value) {
  if (value + roundings_.more_at(to_nearest(at)) >= value_ + doubt()) return;
  if (where_ != nullptr && !where_->permits(at)) return;
  at_ = at;
  value_ = value;
  far_away_ = false;
  exact_.reset();
}

void best_place::offer_far(const exact_xy& at, double value) {
  if (value >= value_ || (where_ != nullptr && !where_->permits(at))) return;
  at_ = at;
  value_ = value;
  far_away_ = true;
  exact_.reset();
}

void best_place::take(exact_xy at, mpq_class value) {
  at_ = std::move(at);
  value_ = value.get_d();
  exact_ = std::move(value);
}

void best_place::make_exact(exact_closer& closer) {
  if (exact_) return;
  exact_ = closer.value(at_);
  value_ = exact_->get_d();
}

void best_place::try_sites() {
  evaluator evaluate(problem_, table_);
  const std::size_t step = (table_.size() + kSitesTried - 1) / kSitesTried;
  for (std::size_t slot = 0; slot < table_.size(); slot += step) {
    const site& s = problem_.sites()[table_.site[slot]];
    const exact_xy at{mpq_class(s.x) - table_.base.x, mpq_class(s.y) - table_.base.y};
    offer(at, evaluate({table_.x[slot], table_.y[slot]}).value);
  }
}

void best_place::try_grid(double half, const std::function<bool()>& done) {
  evaluator evaluate(problem_, table_);
  const auto along = [half](int k) { return (2.0 * k / (kGridPlaces - 1) - 1) * half; };
  for (int j = 0; j < kGridPlaces; ++j) {
    for (int k = 0; k < kGridPlaces; ++k) {
      if (done()) return;
      const xy at{along(j), along(k)};
      offer(to_exact(at), evaluate(at).value);
    }
  }
}

void best_place::walk_down(double half, const std::function<bool()>& done) {
  evaluator evaluate(problem_, table_);
  double step = 2 * half / (kGridPlaces - 1);
  for (int finer = 0; finer < kFinerSteps; step /= 2, ++finer) {
    for (int tries = 0, k = 0; k < 8 && tries < 64; ++tries) {
      if (done()) return;
      const xy from = to_nearest(at_);
      const double angle = k * std::numbers::pi / 4;
      const xy to{from.x + step * std::cos(angle), from.y + step * std::sin(angle)};
      const double before = value_;
      offer(to_exact(to), evaluate(to).value);
      k = value_ < before ? 0 : k + 1;
    }
  }
}

// Where a value of 0 is taken on along a curve, halving triangles would follow all of the curve.
// The step length is Polyak's (1969) for this least value.
void best_place::step_to_zero(const std::function<bool()>& done) {
  if (value_ > stepped_from_ / 2) return;
  stepped_from_ = value_;
  evaluator evaluate(problem_, table_);
  xy at{at_.x.get_d(), at_.y.get_d()};
  for (int i = 0; i < kStepsToZero && !done(); ++i) {
    const double far = kStepExtents * roundings_.extent;  // steps along tiny slopes may overflow
    if (!(std::fabs(at.x) <= far && std::fabs(at.y) <= far)) return;
    const evaluation e = evaluate(at);
    offer({at.x, at.y}, e.value);
    const double steep = e.slope.x * e.slope.x + e.slope.y * e.slope.y;
    if (steep == 0) return;
    at = {at.x - e.value / steep * e.slope.x, at.y - e.value / steep * e.slope.y};
  }
}

}  // namespace planloc::detail
