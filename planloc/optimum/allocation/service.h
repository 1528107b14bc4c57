// Which facility serves which site, and which one would if that were dropped: kept up to date while
// facilities move. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_SERVICE_H_
#define PLANLOC_OPTIMUM_ALLOCATION_SERVICE_H_

#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/allocation/near_sites.h"

namespace planloc::detail {

// Two facilities at least. Sites are slots of the table; all places count from its base. A move
// costs little more than the sites around its two ends.
class service {
 public:
  struct link {
    std::uint32_t first, second;  // the nearest and the next facility
    double to_first, to_second;
  };

  service(const near_sites& sites, std::vector<xy> places);

  std::span<const xy> places() const { return places_; }
  std::span<const link> links() const { return links_; }
  // A sum that depends on the links alone, not on how they came about.
  double value() const { return value_; }

  // No site's second is farther than this in terms of its scale. REQUIRES: there are scales.
  double farthest_second() const { return farthest_second_; }

  void move(std::uint32_t facility, const xy& to);
  // It serves nothing any more. REQUIRES: two others.
  void drop(std::uint32_t facility);

  // Calls use(slot, distance) for the slots that would have a facility at a place as their first or
  // second.
  template <class Use>
  void each_near(const xy& at, Use use) const {
    for (std::size_t b = 0; b < reach_of_.size(); ++b) {
      if (sites_->blocks.away(b, at) > reach_of_[b]) continue;
      for (const std::uint32_t i : sites_->blocks[b]) {
        const double most = links_[i].to_second;
        if (sites_->at_least(i, at) >= most) continue;
        const double d = sites_->distance(i, at);
        if (d < most) use(i, d);
      }
    }
  }

  // Slots whose links are no longer those when `forget_touched` was called last, and the farthest
  // that the second facility of such a slot was since, or is.
  std::span<const std::uint32_t> touched() const { return touched_; }
  double reach(std::uint32_t slot) const { return reach_[slot]; }
  void forget_touched();

  // Facilities whose sites are no longer those for which `settle` was called last.
  bool changed(std::uint32_t facility) const { return changed_[facility]; }
  void settle(std::uint32_t facility) { changed_[facility] = false; }
  // The slots that a facility serves, in no order; valid until the next call.
  std::span<const std::uint32_t> served_by(std::uint32_t facility);

 private:
  void rank(std::size_t slot);
  void find_second(std::size_t slot);
  void change(std::uint32_t slot, std::uint32_t facility, double distance);
  void update(std::uint32_t slot, std::uint32_t facility, double distance);
  void sum_up(std::size_t block);
  void add_up();

  const near_sites* sites_;
  std::vector<xy> places_;
  std::vector<link> links_;
  std::vector<char> changed_;
  std::vector<std::uint32_t> touched_;
  std::vector<double> reach_;  // by slot; 0 where it is not touched
  // By block of sites: what it adds to the value; how far around it, in the maximum norm, a place
  // can be that is a site's first or second; and how far in terms of scales.
  std::vector<double> sum_of_, reach_of_, second_of_;
  std::vector<std::uint32_t> served_;
  double value_ = 0;
  double farthest_second_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_SERVICE_H_
