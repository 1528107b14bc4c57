// Prices of slots and of triples of slots, from which a lower bound comes. Internal.
//
// A facility at x that serves the slots C gains sum over C of (price_i - d_i(x)), less the price of
// each triple of which it serves two or three. Triples that share slots make a knot: which of its
// slots are best served is found by trying all sets.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_SITE_PRICES_H_
#define PLANLOC_OPTIMUM_ALLOCATION_SITE_PRICES_H_

#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/location_allocation.h"

namespace planloc::detail {

constexpr std::size_t kMostInKnot = 8;  // slots

class site_prices {
 public:
  struct knot {
    std::vector<std::uint32_t> slots;  // at most kMostInKnot
    std::vector<double> penalty;       // of each set of them
  };

  // REQUIRES: triples that share slots link at most kMostInKnot of them. Triples of price 0 link
  // none.
  explicit site_prices(std::vector<double> of_slot, std::vector<priced_triple> triples = {});

  std::size_t size() const { return of_slot_.size(); }
  double operator[](std::size_t slot) const { return of_slot_[slot]; }
  std::span<const double> of_slots() const { return of_slot_; }
  std::span<const priced_triple> triples() const { return triples_; }
  std::span<const knot> knots() const { return knots_; }
  // What a bound starts from.
  double sum() const { return sum_; }
  double sum_of_slots() const { return sum_of_slots_; }

  // The slots that a facility at a place serves to gain the most, in order.
  std::vector<std::uint32_t> gaining(const distance_table& table, const xy& at) const;

 private:
  std::vector<double> of_slot_;
  std::vector<priced_triple> triples_;
  std::vector<knot> knots_;
  std::vector<char> knotted_;  // by slot
  double sum_of_slots_ = 0;
  double sum_ = 0;
};

// How many of a triple's slots are among some.
// REQUIRES: `slots` in order.
std::size_t shared(const priced_triple& t, std::span<const std::uint32_t> slots);

// The slots that triples link, as sets in order.
std::vector<std::vector<std::uint32_t>> linked_slots(std::span<const priced_triple> triples);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_SITE_PRICES_H_
