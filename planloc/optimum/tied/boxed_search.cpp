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

constexpr std::size_t kFirstSample = 50;
constexpr std::size_t kNextSample = 5;   // as large
constexpr double kRadiusOfSample = 0.5;  // over the root of its size
constexpr std::size_t kLeastShrink = 4;
constexpr double kGapOfSample = 1e-3;
constexpr std::size_t kMostSteps = 40;

// To begin with in a box around places that are good: of the value.
double gap_in(double radius) { return std::min(kMostGap, kGapInBox * radius); }

}  // namespace

boxed_search::boxed_search(const part_terms& terms, bool in_boxes)
    : terms_(terms), in_boxes_(in_boxes) {
  begin(terms.means(), kInfinity, 1);
}

boxed_search::boxed_search(const part_terms& terms, std::vector<xy> places, double radius)
    : terms_(terms) {
  begin(std::move(places), radius, gap_in(radius));
}

void boxed_search::begin(std::vector<xy> places, double radius, double gap) {
  radius_ = radius < kNoBox ? radius : kInfinity;
  middle_ = places;
  last_move_ = kInfinity;
  near_terms near = radius_ < kInfinity ? near_terms(terms_, places, radius_) : near_terms(terms_);
  if (near.terms.empty()) near = near_terms(terms_);
  method_.emplace(std::move(near), std::move(places), gap);
}

bool boxed_search::step() {
  const bool moved = method_->step();
  if (!in_boxes_) return moved;
  if (away() > kMargin * radius_) {
    begin(method_->places(), kWider * radius_, gap_in(kWider * radius_));
    return true;
  }
  const double radius = kMovesInRadius * std::max(method_->moved(), last_move_);
  last_move_ = method_->moved();
  if (radius > kLeastRadius && radius < kWorthNarrowing * std::min(radius_, kNoBox)) {
    method_->narrow(radius);
    middle_ = method_->places();
    radius_ = radius;
  }
  return moved;
}

// The largest difference of a coordinate from the middle of the box.
double boxed_search::away() const {
  double most = 0;
  for (std::size_t j = 0; j < middle_.size(); ++j) {
    const xy& at = method_->places()[j];
    most = std::max({most, std::fabs(at.x - middle_[j].x), std::fabs(at.y - middle_[j].y)});
  }
  return most;
}

std::optional<sampled_places> places_from_samples(const part_terms& terms, std::size_t& rounds) {
  const std::size_t sites = terms.terms.size() / terms.facilities;
  std::optional<sampled_places> found;
  for (std::size_t size = kFirstSample; kLeastShrink * size <= sites; size *= kNextSample) {
    const part_terms sample = terms.sample(sites / size);
    boxed_search search =
        found ? boxed_search(sample, found->places, found->radius) : boxed_search(sample, true);
    for (std::size_t k = 0; k < kMostSteps && search.step(); ++k) {
      ++rounds;
      if (search.share() <= kGapOfSample) break;
    }
    found = {search.method().places(), kRadiusOfSample / std::sqrt(static_cast<double>(size))};
  }
  return found;
}

}  // namespace planloc::detail
