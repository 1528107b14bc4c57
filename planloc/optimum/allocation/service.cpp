#include "planloc/optimum/allocation/service.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace planloc::detail {

service::service(const distance_table& table, std::vector<xy> places)
    : table_(&table),
      places_(std::move(places)),
      distance_(table.size() * places_.size()),
      links_(table.size()),
      changed_(places_.size(), 1),
      reach_(table.size(), 0),
      scratch_(table.size()) {
  for (std::size_t k = 0; k < places_.size(); ++k) {
    table.distances(places_[k], scratch_, {});
    for (std::size_t i = 0; i < scratch_.size(); ++i) {
      distance_[i * places_.size() + k] = scratch_[i];
    }
  }
  for (std::size_t i = 0; i < links_.size(); ++i) {
    rank(i);
    value_ += links_[i].to_first;
  }
}

void service::rank(std::size_t slot) {
  const double* d = distance_.data() + slot * places_.size();
  std::uint32_t first = 0;
  for (std::uint32_t k = 1; k < places_.size(); ++k) {
    if (d[k] < d[first]) first = k;
  }
  links_[slot].first = first;
  links_[slot].to_first = d[first];
  find_second(slot);
}

void service::find_second(std::size_t slot) {
  const double* d = distance_.data() + slot * places_.size();
  link& l = links_[slot];
  l.to_second = std::numeric_limits<double>::infinity();
  for (std::uint32_t k = 0; k < places_.size(); ++k) {
    if (k == l.first || !(d[k] < l.to_second)) continue;
    l.second = k;
    l.to_second = d[k];
  }
}

void service::change(std::size_t slot, std::uint32_t facility, double distance) {
  const link before = links_[slot];
  update(slot, facility, distance);
  const link& now = links_[slot];
  if (now.first == before.first && now.second == before.second && now.to_first == before.to_first &&
      now.to_second == before.to_second)
    return;
  if (reach_[slot] == 0) touched_.push_back(static_cast<std::uint32_t>(slot));
  reach_[slot] = std::max({reach_[slot], before.to_second, now.to_second});
}

void service::forget_touched() {
  for (const std::uint32_t slot : touched_) reach_[slot] = 0;
  touched_.clear();
}

void service::update(std::size_t slot, std::uint32_t facility, double distance) {
  distance_[slot * places_.size() + facility] = distance;
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
  } else if (l.second == facility) {
    return find_second(slot);
  } else {
    return;
  }
  changed_[facility] = changed_[l.first] = 1;
}

void service::move(std::uint32_t facility, const xy& to, std::span<const double> distance) {
  places_[facility] = to;
  if (distance.empty()) {
    table_->distances(to, scratch_, {});
    distance = scratch_;
  }
  value_ = 0;
  for (std::size_t i = 0; i < links_.size(); ++i) {
    change(i, facility, distance[i]);
    value_ += links_[i].to_first;
  }
}

std::span<const std::uint32_t> service::served_by(std::uint32_t facility) {
  served_.clear();
  for (std::uint32_t i = 0; i < links_.size(); ++i) {
    if (links_[i].first == facility) served_.push_back(i);
  }
  return served_;
}

}  // namespace planloc::detail
