#include "planloc/optimum/tied/boxed_search.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace planloc::detail {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Of the last two moves: what the next ones may come to together.
constexpr double kMovesInRadius = 5;
constexpr double kWorthNarrowing = 0.4;
constexpr double kLeastRadius = 1e-10;
constexpr double kMargin = 0.9;
constexpr double kWider = 2;
// Positions differ by up to about 1.
constexpr double kNoBox = 0.5;
constexpr double kGapInBox = 1;  // of its radius
constexpr double kMostGap = 0.3;
constexpr double kPowerInBoxes = 0.5;

constexpr std::size_t kLeastSample = 25;  // sites
constexpr std::size_t kNextSample = 5;    // as large
constexpr double kRadiusOfSample = 0.5;   // over the root of its size
constexpr std::size_t kLastSample = 4;    // one site in so many
constexpr std::size_t kMostSteps = 40;

// To begin with in a box around places that are good: of the value.
double gap_in(double radius) { return std::min(kMostGap, kGapInBox * radius); }

}  // namespace

boxed_search::boxed_search(const part_terms& terms, bool in_boxes)
    : terms_(terms), in_boxes_(in_boxes) {
  begin(terms.means(), kInfinity, 1);
}

boxed_search::boxed_search(const part_terms& terms, const interior_point& of_sample, double radius)
    : terms_(terms) {
  begin(of_sample.places(), radius, gap_in(radius));
  method_->take_ties(of_sample);
}

void boxed_search::begin(std::vector<xy> places, double radius, double gap) {
  const double r = radius < kNoBox ? radius : kInfinity;
  near_terms near = r < kInfinity ? near_terms(terms_, places, r) : near_terms(terms_);
  if (near.terms.empty()) near = near_terms(terms_);
  method_.emplace(std::move(near), std::move(places), gap, in_boxes_ ? kPowerInBoxes : 1);
  low_.assign(terms_.facilities, {-kInfinity, -kInfinity});
  high_.assign(terms_.facilities, {kInfinity, kInfinity});
  last_move_ = kInfinity;
  enter_box(r);
}

// Around the present places.
void boxed_search::enter_box(double radius) {
  radius_ = radius;
  const double r = kMargin * radius;
  for (std::size_t j = 0; j < low_.size(); ++j) {
    const xy& at = method_->places()[j];
    low_[j] = {std::max(low_[j].x, at.x - r), std::max(low_[j].y, at.y - r)};
    high_[j] = {std::min(high_[j].x, at.x + r), std::min(high_[j].y, at.y + r)};
  }
}

bool boxed_search::step() {
  const bool moved = method_->step();
  if (!in_boxes_) return moved;
  if (outside()) {
    begin_wider();
    return true;
  }
  const double radius = kMovesInRadius * std::max(method_->moved(), last_move_);
  last_move_ = method_->moved();
  if (radius > kLeastRadius && radius < kWorthNarrowing * std::min(radius_, kNoBox)) {
    method_->narrow(radius);
    enter_box(radius);
  }
  return moved;
}

void boxed_search::begin_wider() {
  const interior_point before = std::move(*method_);
  begin(before.places(), kWider * radius_, gap_in(kWider * radius_));
  method_->take_ties(before);
}

// Whether the places leave the box, or want to where nothing in it bends the terms that way.
bool boxed_search::outside() const {
  if (radius_ < kInfinity && method_->rest() * radius_ > method_->gap()) return true;
  for (std::size_t j = 0; j < low_.size(); ++j) {
    const xy& at = method_->places()[j];
    if (at.x < low_[j].x || at.x > high_[j].x || at.y < low_[j].y || at.y > high_[j].y) return true;
  }
  return false;
}

boxed_search search_from_samples(const part_terms& terms, std::size_t& rounds) {
  const std::size_t sites = terms.terms.size() / terms.facilities;
  std::optional<interior_point> sampled;
  double radius = kInfinity;
  std::size_t every = kLastSample;
  while (every * kNextSample * kLeastSample <= sites) every *= kNextSample;
  for (; every >= kLastSample && every * kLeastSample <= sites; every /= kNextSample) {
    const std::size_t size = sites / every;
    const part_terms sample = terms.sample(every);
    boxed_search search =
        sampled ? boxed_search(sample, *sampled, radius) : boxed_search(sample, true);
    radius = kRadiusOfSample / std::sqrt(static_cast<double>(size));
    for (std::size_t k = 0; k < kMostSteps && search.step(); ++k) {
      ++rounds;
      if (search.share() <= gap_in(radius)) break;
    }
    sampled = std::move(search).method();
  }
  return sampled ? boxed_search(terms, *sampled, radius) : boxed_search(terms, true);
}

}  // namespace planloc::detail
