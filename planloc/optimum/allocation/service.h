// Which facility serves which site, and which one would if that were dropped: kept up to date while
// facilities move. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_SERVICE_H_
#define PLANLOC_OPTIMUM_ALLOCATION_SERVICE_H_

#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/evaluate.h"

namespace planloc::detail {

// Two facilities at least. Sites are slots of the table; all places count from its base.
class service {
 public:
  struct link {
    std::uint32_t first, second;  // the nearest and the next facility
    double to_first, to_second;
  };

  service(const distance_table& table, std::vector<xy> places);

  std::span<const xy> places() const { return places_; }
  std::span<const link> links() const { return links_; }
  double value() const { return value_; }

  // `distance` holds those of all slots from the new place, if they are known.
  void move(std::uint32_t facility, const xy& to, std::span<const double> distance = {});

  // Slots whose links are no longer those when `forget_touched` was called last, and the farthest
  // that the second facility of such a slot was since, or is.
  std::span<const std::uint32_t> touched() const { return touched_; }
  double reach(std::uint32_t slot) const { return reach_[slot]; }
  void forget_touched();

  // Facilities whose sites are no longer those for which `settle` was called last.
  bool changed(std::uint32_t facility) const { return changed_[facility]; }
  void settle(std::uint32_t facility) { changed_[facility] = false; }
  // The slots that a facility serves; valid until the next call.
  std::span<const std::uint32_t> served_by(std::uint32_t facility);

 private:
  void rank(std::size_t slot);
  void find_second(std::size_t slot);
  void change(std::size_t slot, std::uint32_t facility, double distance);
  void update(std::size_t slot, std::uint32_t facility, double distance);

  const distance_table* table_;
  std::vector<xy> places_;
  std::vector<double> distance_;  // of each slot a row, of each facility a column
  std::vector<link> links_;
  std::vector<char> changed_;
  std::vector<std::uint32_t> touched_;
  std::vector<double> reach_;  // by slot; 0 where it is not touched
  std::vector<double> scratch_;
  std::vector<std::uint32_t> served_;
  double value_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_SERVICE_H_
