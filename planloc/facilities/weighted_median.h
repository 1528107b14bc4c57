// The weighted median of sites on a line: the place or places at which the sum of weighted
// distances is least. `facilities::l1_sum` is one in each coordinate.
//
//   weighted_median m(sites);                 // sorts and joins the sites
//   const double half = 0.5 * m.total();
//   m.find(half);
//   m.site().coordinate;                      // a median
//   if (!m.passes(half)) m.next(has_weight);  // a tie: all places up to the next site are medians
//
// Cost: n log n for the sort. REQUIRES: no negative weight. A walk that finds no site to stop at
// ends with the report of the list, "dlist::get_item: index out of range".
#ifndef PLANLOC_FACILITIES_WEIGHTED_MEDIAN_H_
#define PLANLOC_FACILITIES_WEIGHTED_MEDIAN_H_

#include <cstddef>
#include <optional>
#include <vector>

namespace planloc {

struct line_site {
  double coordinate;
  double weight;
  int number;  // the caller's; of joined sites, that of the one that the sort put first
};

// The median, in time n and without a sort, where it is the only one and rounding cannot change
// that, whatever the order in which weights are added. Nothing where that is not certain: ties,
// weights or coordinates that are not finite, a median at 0 (of either sign).
std::optional<double> clear_median(const std::vector<double>& coordinates,
                                   const std::vector<double>& weights);

class weighted_median {
 public:
  // Sorts by the exchanges of `list::sort`, then joins sites with exactly the same coordinate,
  // their weights added in sorted order.
  explicit weighted_median(std::vector<line_site> sites);

  // The sum of the weights in sorted order.
  double total() const { return total_; }

  // Goes to the first site at which the weights from the left, its own included, reach `half`.
  void find(double half);
  // Whether they are then above `half`: the site is the only median.
  bool passes(double half) const { return half < reached_; }

  const line_site& site() const { return sites_[at_]; }

  // Move by at least one site, to one where stop(site) is true.
  template <class Stop>
  void next(Stop stop) {
    do {
      move_to(at_ + 1);
    } while (!stop(site()));
  }
  template <class Stop>
  void previous(Stop stop) {
    do {
      move_to(at_ - 1);
    } while (!stop(site()));
  }

 private:
  void move_to(std::size_t at);

  std::vector<line_site> sites_;
  double total_ = 0.0;
  double reached_ = 0.0;
  std::size_t at_ = 0;
};

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_WEIGHTED_MEDIAN_H_
