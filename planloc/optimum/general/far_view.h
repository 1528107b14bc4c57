// What is known of the sites' distances far away, on a box of places that reaches to infinity.
// Internal.
//
// The places of a box are base + reach / t * y, with y on a side of the square of half side 1 and
// 0 <= t <= 1, so t = 0 stands for infinity. There the distance of a site is reach / t times the
// weighted gauge of y, which all sites of a kind have in common, and an excess, which comes near a
// limit.
#ifndef PLANLOC_OPTIMUM_GENERAL_FAR_VIEW_H_
#define PLANLOC_OPTIMUM_GENERAL_FAR_VIEW_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "planloc/optimum/evaluate.h"

namespace planloc::detail {

struct low_high {
  double low, high;
};

struct far_box {
  int side;    // right, top, left, bottom
  low_high s;  // the coordinate of y along the side
  low_high t;
};

// The sites of one gauge and one weight.
struct far_kind {
  std::uint32_t block;
  double weight;
  std::vector<std::uint32_t> slots;
  // On the box at hand:
  low_high growth{};                  // the gauge of y, without the weight
  std::vector<double> low{}, high{};  // bounds of the sites' excesses, each sorted
};

class far_view {
 public:
  far_view(const problem& p, const distance_table& table, double reach);

  // Some number of halvings in t changes as much as one along a side: the ratio of widths.
  double slower() const { return slower_; }
  double reach() const { return reach_; }
  double extent() const { return extent_; }
  const std::vector<far_kind>& kinds() const { return kinds_; }
  xy position(std::uint32_t slot) const { return {table_.x[slot], table_.y[slot]}; }

  void look(const far_box& b);

  // Of a site's excess: what it is at the middle of the box's side where t is least, and how it
  // changes with s and t on the box, if that is known to have bounds.
  struct changes {
    low_high on_box, at_place, by_s, by_t;
    bool known = true;
  };
  changes changes_of(const far_kind& k, std::uint32_t slot, const far_box& b) const;

 private:
  low_high growth_of(const far_kind& k, const far_box& b) const;
  low_high excess(const far_kind& k, std::uint32_t slot, const far_box& b) const;
  low_high euclidean_excess(const xy& a, const far_box& b) const;
  low_high lp_excess(const gauge& g, const xy& a, const far_box& b) const;
  // The most and the least of the slopes that the gauge has on a rectangle, along -a.
  low_high along_slopes(const far_kind& k, const low_high& x, const low_high& y, const xy& a) const;

  const problem& problem_;
  const distance_table& table_;
  double reach_;
  double extent_;
  double slower_ = 1;
  std::vector<far_kind> kinds_;
};

// At most so many kinds are told apart far away.
inline constexpr std::size_t kMostFarKinds = 32;

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_FAR_VIEW_H_
