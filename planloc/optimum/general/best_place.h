// The best place that a search over triangles has seen, and cheap ways to a better one. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_BEST_PLACE_H_
#define PLANLOC_OPTIMUM_GENERAL_BEST_PLACE_H_

#include <gmpxx.h>

#include <functional>
#include <limits>
#include <optional>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/general/cell_regions.h"
#include "planloc/optimum/general/exact_close.h"

namespace planloc::detail {

// How far roundings can move values of f. Places are relative to the table's base.
struct value_roundings {
  double extent;    // of the sites, in either coordinate
  double of_sums;   // in units of the terms' size
  double of_value;  // of one amid the sites; 0 where it can be exact
  double terms;     // the sum of the terms' magnitudes at the middle of the sites

  // How much more they can do at a place than amid the sites.
  double more_at(const xy& at) const;
};
value_roundings roundings_of(const problem& p, const distance_table& table);

class best_place {
 public:
  // All are kept by reference; `where` is null if all of the plane is permitted.
  best_place(const problem& p, const distance_table& table, const cell_regions* where,
             const value_roundings& roundings);

  const exact_xy& at() const { return at_; }
  double value() const { return value_; }  // infinity before the first offer
  // Whether the value was told by what distances differ, for the place is far away.
  bool far_away() const { return far_away_; }
  // How much more than amid the sites roundings can do to the value.
  double doubt() const { return far_away_ ? 0 : roundings_.more_at(to_nearest(at_)); }
  const std::optional<mpq_class>& exact() const { return exact_; }

  // Takes the place if it is permitted and surely better.
  void offer(const exact_xy& at, double value);
  // The same of a place far away of which no more than this value is known.
  void offer_far(const exact_xy& at, double value);
  // Takes the place, of which it is known that it is both.
  void take(exact_xy at, mpq_class value);
  void make_exact(exact_closer& closer);

  // Offers some of the sites.
  void try_sites();
  // Offers the places of a grid over the square of half side `half`, until `done`.
  void try_grid(double half, const std::function<bool()>& done);
  // Walks from the best place, with steps that shrink from those of that grid on, until `done`.
  void walk_down(double half, const std::function<bool()>& done);
  // Where gauges are smooth and f is nowhere negative: steps towards a value of 0, until `done`, if
  // much was gained since the last time.
  void step_to_zero(const std::function<bool()>& done);

 private:
  const problem& problem_;
  const distance_table& table_;
  const cell_regions* where_;
  const value_roundings& roundings_;
  exact_xy at_{0, 0};
  double value_ = std::numeric_limits<double>::infinity();
  bool far_away_ = false;
  std::optional<mpq_class> exact_;
  double stepped_from_ = std::numeric_limits<double>::infinity();  // a value, to zero
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_BEST_PLACE_H_
