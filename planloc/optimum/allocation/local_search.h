// One start of the search for several facilities: drawn sites, then descents from shaken places.
// Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_LOCAL_SEARCH_H_
#define PLANLOC_OPTIMUM_ALLOCATION_LOCAL_SEARCH_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <utility>
#include <vector>

#include "planloc/optimum/allocation/candidate_places.h"
#include "planloc/optimum/allocation/near_sites.h"
#include "planloc/optimum/allocation/place_finder.h"
#include "planloc/optimum/allocation/service.h"
#include "planloc/optimum/location_allocation.h"

namespace planloc::detail {

// What all starts share, and only read.
class allocation_ground {
 public:
  explicit allocation_ground(const allocation_problem& p);

  xy place_of(std::size_t slot) const { return {table.x[slot], table.y[slot]}; }
  // In the problem's coordinates; at a site its very own.
  xy absolute(const xy& place) const;

  const allocation_problem& problem;
  distance_table table;
  near_sites sites;
  candidate_places at_sites;  // by slot
  std::vector<xy> existing;   // counted from the table's base
};

class local_search {
 public:
  // An interchange puts a facility at one of the candidates. Asks `expired` now and then, and
  // ends when it says so.
  local_search(const allocation_ground& ground, const candidate_places& candidates,
               std::uint64_t seed, std::function<bool()> expired);

  // Places of all facilities, the new ones first.
  std::vector<xy> best_places() const { return {best_->places().begin(), best_->places().end()}; }
  double best_value() const { return best_->value(); }
  const allocation_counters& counters() const { return counters_; }

  // From drawn sites down to where neither alternation nor an interchange helps.
  void start();
  // The same from given places of the new facilities.
  void start_from(std::vector<xy> places);
  // Descends from the best of its own places and others: of both together, those are dropped one by
  // one that cost the least.
  void merge(std::span<const xy> others);
  // Throws some facilities elsewhere and descends, the next time more of them unless that helped.
  void shake();

 private:
  std::uint64_t below(std::uint64_t n) { return random_() % n; }
  double uniform() { return static_cast<double>(random_() >> 11) * 0x1p-53; }
  std::vector<xy> draw_places();
  void throw_near(std::size_t reach);
  std::vector<xy> best_of_both(std::span<const xy> others) const;
  void descend_from(std::vector<xy> places);
  void descend();
  bool alternate();
  bool interchange();
  void price();
  void ask(std::size_t k);
  bool exchange(std::size_t k, double least_gain);

  const allocation_ground& ground_;
  const candidate_places& candidates_;
  std::size_t count_;  // of the new facilities
  std::mt19937_64 random_;
  std::function<bool()> expired_;
  place_finder find_place_;
  std::optional<service> now_, best_;
  std::size_t reach_ = 1;
  std::vector<double> loss_;    // of each facility, if it were dropped
  std::uint32_t cheapest_ = 0;  // of the new ones
  std::vector<double> spared_;  // scratch of ask(): 0 for each facility
  std::vector<std::uint32_t> spared_at_;
  std::vector<std::pair<double, std::uint32_t>> near_facilities_, near_candidates_;  // scratch
  // What a candidate would gain beside all facilities, and in place of the best one near it; the
  // gain is infinite where that is not known.
  struct offer {
    double gain, in_place;
    std::uint32_t of;
  };
  std::vector<offer> offers_, best_offers_;
  allocation_counters counters_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_LOCAL_SEARCH_H_
