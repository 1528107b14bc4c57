// What a branch and bound aims at, and how long it may last. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_SEARCH_GOAL_H_
#define PLANLOC_OPTIMUM_GENERAL_SEARCH_GOAL_H_

#include <chrono>
#include <cstddef>

#include "planloc/optimum/general/best_place.h"
#include "planloc/optimum/minimise.h"

namespace planloc::detail {

class search_goal {
 public:
  // All are kept by reference. The time begins.
  search_goal(const problem& p, const minimise_options& options, const value_roundings& roundings);

  // Of a problem without exact optimum, so that intervals prove that it is solved.
  double smooth_aim(double value) const;
  // How far below the value nothing more is looked for, after so many cells.
  double tolerance(double value, std::size_t cells) const;
  // Whether the search takes so long that it may aim at more than roundings.
  bool at_length(std::size_t cells) const;

  // What may be left open of an optimum whose value is small beside the terms.
  double left_open() const;
  // Whether the gap is that of an optimum; `rounded`: roundings of f kept it from closing, or it is
  // far away.
  bool solved(const solution& s, bool rounded) const;
  // Whether the gap is within what was asked for.
  bool within_options(const solution& s) const;

  double seconds() const;
  bool time_is_up() const;

 private:
  double aim_at_length(std::size_t cells) const;

  const problem& problem_;
  const minimise_options& options_;
  const value_roundings& roundings_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_SEARCH_GOAL_H_
