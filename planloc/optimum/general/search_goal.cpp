#include "planloc/optimum/general/search_goal.h"

#include <algorithm>
#include <cmath>

namespace planloc::detail {

namespace {

// Of the value: the gap at which a problem without exact optimum counts as solved, and the one that
// the search aims at.
constexpr double kSmoothGap = 1e-10;
constexpr double kSmoothAim = 5e-11;
// Of the sum of the terms' magnitudes: what the rounding of f may leave open of an optimum.
constexpr double kRoundedGap = 5e-11;
// A search for a value of about 0 that has seen so many cells aims at more than roundings: twice
// that after each further so many, up to half of what may be left open.
constexpr std::size_t kCellsToTheAim = 5000;
constexpr std::size_t kCellsToTwice = 500;
// Of a gap that is asked for: what the search aims at, less a little of the value, so that
// roundings do not spoil it.
constexpr double kAimed = 1 - 0x1p-30;
constexpr double kRoundingsOfValue = 0x1p-50;

}  // namespace

search_goal::search_goal(const problem& p, const minimise_options& options,
                         const value_roundings& roundings)
    : problem_(p), options_(options), roundings_(roundings) {}

double search_goal::smooth_aim(double value) const { return kSmoothAim * std::fabs(value); }

double search_goal::tolerance(double value, std::size_t cells) const {
  const double size = std::fabs(value);
  const double asked = std::max(options_.absolute_gap, options_.relative_gap * size);
  const double aimed = std::max(kAimed * asked - kRoundingsOfValue * size, 0.0);
  if (problem_.polyhedral()) return aimed;
  return std::max({aimed, smooth_aim(value), roundings_.of_value, aim_at_length(cells)});
}

bool search_goal::at_length(std::size_t cells) const { return cells >= kCellsToTheAim; }

double search_goal::aim_at_length(std::size_t cells) const {
  if (!problem_.where().whole_plane() || !at_length(cells)) return 0;
  const double twice = static_cast<double>(cells - kCellsToTheAim) / kCellsToTwice;
  return std::min(roundings_.of_value * std::exp2(twice), left_open() / 2);
}

double search_goal::left_open() const { return kRoundedGap * roundings_.terms; }

bool search_goal::solved(const solution& s, bool rounded) const {
  if (problem_.polyhedral()) return s.gap() <= 0;
  const double open =
      rounded && problem_.where().whole_plane() ? left_open() : 2 * roundings_.of_value;
  return s.gap() <= std::max(kSmoothGap * std::fabs(s.value), open);
}

bool search_goal::within_options(const solution& s) const {
  return s.gap() <= std::max(options_.absolute_gap, options_.relative_gap * std::fabs(s.value));
}

double search_goal::seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

bool search_goal::time_is_up() const {
  return options_.stop.stop_requested() || seconds() > options_.seconds;
}

}  // namespace planloc::detail
