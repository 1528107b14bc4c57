// Affine functions below a convex f, with the choices that make them, and the least value of the
// largest of them on segments. Internal.
#ifndef PLANLOC_OPTIMUM_REGIONS_CUT_POOL_H_
#define PLANLOC_OPTIMUM_REGIONS_CUT_POOL_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

// A value and a slope.
struct affine_sum {
  double value = 0;
  xy slope{0, 0};
};

// Adds up what `term(block, slot, sum)` adds to `sum` for all slots: few terms in doubles, their
// sums in more digits, so that the roundings do not grow with the number of sites.
template <class Term>
affine_sum sum_in_chunks(const distance_table& table, Term term) {
  constexpr std::uint32_t kChunk = 64;
  long double value = 0;
  long double slope_x = 0;
  long double slope_y = 0;
  for (const gauge_block& b : table.blocks) {
    for (std::uint32_t begin = b.begin; begin < b.end; begin += kChunk) {
      affine_sum sum;
      for (std::uint32_t slot = begin; slot < std::min(begin + kChunk, b.end); ++slot)
        term(b, slot, sum);
      value += sum.value;
      slope_x += sum.slope.x;
      slope_y += sum.slope.y;
    }
  }
  return {static_cast<double>(value), {static_cast<double>(slope_x), static_cast<double>(slope_y)}};
}

// Numbers of functions, of many only those that were of use last: where most pieces of a shore tie,
// each has a function of its own, which tells nothing of the others.
class recent_cuts {
 public:
  void add(std::size_t k);
  // It was of use, if it is among them.
  void touch(std::size_t k);
  std::span<const std::size_t> numbers() const { return number_; }

 private:
  std::vector<std::size_t> number_;
  std::vector<std::size_t> last_use_;
  std::size_t uses_ = 0;
};

// Places are relative to the table's base.
class cut_pool {
 public:
  cut_pool(const problem& p, const distance_table& table);

  // Value and slope are worked out from the piece, with `at` as the place that they count from.
  // The result is the number of the function.
  std::size_t add(affine_piece piece, const xy& at);
  // Value and slope are known. REQUIRES: they are sums as those of `sum_in_chunks`.
  std::size_t add(affine_piece piece, const evaluation& e);
  double value(std::size_t k) const { return cuts_[k].value; }
  double value_at(std::size_t k, const xy& at) const {
    const cut& c = cuts_[k];
    return c.value + (c.slope.x * (at.x - c.at.x) + c.slope.y * (at.y - c.at.y));
  }

  struct minimum {
    double bound;  // the value, less its roundings
    double value;
    double share;                 // of the way from a to b, from 0 to 1
    std::size_t falling, rising;  // the functions that meet there
  };
  struct segment {
    xy a, b;

    xy at(double share) const { return {a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)}; }
  };
  // The two functions that told most of a segment so far.
  struct known {
    std::size_t falling = 0;
    std::size_t rising = 0;
  };
  // Of the largest on a segment of the functions that were of use last, and of those known of it.
  minimum least(const segment& s, const known& own);
  // The same of those that are kept alone.
  minimum least_of_kept(const segment& s);

  // Keeps a function for `kept`.
  void keep(std::size_t k);
  std::vector<affine_piece> kept() const;

 private:
  struct cut {
    xy at;
    double value;
    xy slope;
    affine_piece piece;
    bool kept = false;
  };

  minimum least_of(std::span<const std::size_t> cuts, const segment& s) const;
  minimum rounded_down(const segment& s, minimum m) const;
  double doubt(const cut& c, const xy& at) const;

  const distance_table& table_;
  double size_ = 0;     // at least the sum of the magnitudes that a value at the base is made of
  xy steepness_{0, 0};  // the same of a slope
  std::vector<double> lambda_;  // by rank
  std::vector<cut> cuts_;
  recent_cuts recent_, recently_kept_;
  std::vector<std::size_t> kept_;      // numbers of functions
  std::vector<std::size_t> compared_;  // of one segment
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_REGIONS_CUT_POOL_H_
