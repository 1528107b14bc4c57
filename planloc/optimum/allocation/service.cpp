#include "planloc/optimum/allocation/service.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace planloc::detail {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kOutwards = 1 + 1e-12;  // far more than roundings

}  // namespace

service::service(const near_sites& sites, std::vector<xy> places)
    : sites_(&sites),
      places_(std::move(places)),
      links_(sites.size()),
      changed_(places_.size(), 1),
      reach_(sites.size(), 0),
      sum_of_(sites.blocks.size()),
      reach_of_(sites.blocks.size()),
      second_of_(sites.blocks.size(), 0) {
  for (std::size_t i = 0; i < links_.size(); ++i) rank(i);
  for (std::size_t b = 0; b < sum_of_.size(); ++b) sum_up(b);
  add_up();
}

void service::rank(std::size_t slot) {
  link& l = links_[slot];
  l = {0, 0, kInfinity, kInfinity};
  for (std::uint32_t k = 0; k < places_.size(); ++k) {
    if (sites_->at_least(slot, places_[k]) >= l.to_second) continue;
    const double d = sites_->distance(slot, places_[k]);
    if (d < l.to_first) {
      l = {k, l.first, d, l.to_first};
    } else if (d < l.to_second) {
      l.second = k;
      l.to_second = d;
    }
  }
}

void service::find_second(std::size_t slot) {
  link& l = links_[slot];
  l.to_second = kInfinity;
  for (std::uint32_t k = 0; k < places_.size(); ++k) {
    if (k == l.first || sites_->at_least(slot, places_[k]) >= l.to_second) continue;
    const double d = sites_->distance(slot, places_[k]);
    if (!(d < l.to_second)) continue;
    l.second = k;
    l.to_second = d;
  }
}

void service::sum_up(std::size_t block) {
  double sum = 0;
  double reach = 0;
  double second = 0;
  for (const std::uint32_t i : sites_->blocks[block]) {
    sum += links_[i].to_first;
    reach = std::max(reach, links_[i].to_second / sites_->slope[i]);
    if (!sites_->scale.empty()) second = std::max(second, links_[i].to_second / sites_->scale[i]);
  }
  sum_of_[block] = sum;
  reach_of_[block] = reach;
  second_of_[block] = second;
}

void service::add_up() {
  value_ = 0;
  for (const double sum : sum_of_) value_ += sum;
  farthest_second_ = *std::max_element(second_of_.begin(), second_of_.end()) * kOutwards;
}

void service::change(std::uint32_t slot, std::uint32_t facility, double distance) {
  const link before = links_[slot];
  update(slot, facility, distance);
  if (reach_[slot] == 0) touched_.push_back(slot);
  reach_[slot] = std::max({reach_[slot], before.to_second, links_[slot].to_second});
}

void service::forget_touched() {
  for (const std::uint32_t slot : touched_) reach_[slot] = 0;
  touched_.clear();
}

void service::update(std::uint32_t slot, std::uint32_t facility, double distance) {
  link& l = links_[slot];
  if (l.first == facility) {
    if (distance <= l.to_second) {
      l.to_first = distance;
      return;
    }
    rank(slot);
  } else if (distance < l.to_first) {
    l = {facility, l.first, distance, l.to_first};
    changed_[l.second] = 1;
  } else if (distance <= l.to_second) {
    l.second = facility;
    l.to_second = distance;
    return;
  } else {
    return find_second(slot);
  }
  changed_[facility] = changed_[l.first] = 1;
}

void service::move(std::uint32_t facility, const xy& to) {
  const xy from = std::exchange(places_[facility], to);
  for (std::size_t b = 0; b < reach_of_.size(); ++b) {
    if (std::min(sites_->blocks.away(b, from), sites_->blocks.away(b, to)) > reach_of_[b]) continue;
    bool stays = true;
    for (const std::uint32_t i : sites_->blocks[b]) {
      const link& l = links_[i];
      const bool served = l.first == facility || l.second == facility;
      if (!served && sites_->at_least(i, to) >= l.to_second) continue;
      const double d = sites_->distance(i, to);
      if (!served && !(d < l.to_second)) continue;
      change(i, facility, d);
      stays = false;
    }
    if (!stays) sum_up(b);
  }
  add_up();
}

void service::drop(std::uint32_t facility) {
  places_[facility] = {kInfinity, kInfinity};
  for (std::uint32_t i = 0; i < links_.size(); ++i)
    if (links_[i].first == facility || links_[i].second == facility) change(i, facility, kInfinity);
  for (std::size_t b = 0; b < sum_of_.size(); ++b) sum_up(b);
  add_up();
}

std::span<const std::uint32_t> service::served_by(std::uint32_t facility) {
  served_.clear();
  for (std::size_t b = 0; b < reach_of_.size(); ++b) {
    if (sites_->blocks.away(b, places_[facility]) > reach_of_[b]) continue;
    for (const std::uint32_t i : sites_->blocks[b])
      if (links_[i].first == facility) served_.push_back(i);
  }
  return served_;
}

}  // namespace planloc::detail
