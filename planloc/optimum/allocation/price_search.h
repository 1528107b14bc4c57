// The least of the priced problem of one facility, sum over i of min(0, d_i(x) - price_i) where no
// triple has a price (site_prices.h): which sites would gain the most together if a facility came.
// Branch and bound over rectangles. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_PRICE_SEARCH_H_
#define PLANLOC_OPTIMUM_ALLOCATION_PRICE_SEARCH_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "planloc/foundation/geometry/xy.h"
#include "planloc/optimum/allocation/site_prices.h"
#include "planloc/optimum/evaluate.h"

namespace planloc::detail {

// A rectangle, counted from the table's base.
struct price_cell {
  xy low{-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
  xy high{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};

  bool contains(const xy& at) const {
    return low.x <= at.x && at.x <= high.x && low.y <= at.y && at.y <= high.y;
  }
};

class price_search {
 public:
  // Distances and prices are by slot.
  explicit price_search(const distance_table& table);

  // A bound below the least value in a cell, within twice the tolerance of it, and half of it away
  // from what could only just be shown; none if `expired` ended the search, or it took far more
  // cells than it should. `known` is a value that is taken somewhere in it.
  std::optional<double> run(const site_prices& prices, const price_cell& where, double known,
                            double tolerance, const std::function<bool()>& expired);

  // The best place that the last search met in each part of the plane, with its value.
  struct met {
    xy at;
    double value;
  };
  std::span<const met> places() const { return places_; }
  std::size_t cells() const { return cells_; }

 private:
  struct priced_site {
    std::uint32_t slot;
    double price;
    double radius;       // in the maximum norm: it gains nowhere beyond
    bool open;           // whether it gains in a part of the cell only, or may do so
    std::uint32_t knot;  // kLoose: none
    std::uint32_t bit;   // in the sets of the knot
  };
  static constexpr std::uint32_t kLoose = UINT32_MAX;
  // What a site adds to the priced sum: at the cell's centre, then at its corners.
  using five = std::array<double, 5>;
  // Of one or more sites those that one choice serves; prices less penalties.
  struct choice {
    std::vector<std::uint32_t> slots;
    double prices;
  };
  struct rectangle {
    xy centre;
    xy half;
  };
  struct view {
    double bound;
    double at_centre;
    std::size_t open;  // sites of no knot
    xy rise;           // how far tangents rise together along each half side
  };

  double widest(const gauge_block& b) const;
  double radius_of(std::uint32_t slot, double price) const;
  std::optional<rectangle> region();
  void gather(const site_prices& prices);
  void divide(const rectangle& cell, const xy& rise, std::size_t begin);
  void visit(const rectangle& cell, std::size_t begin, std::size_t end);
  bool is_smallest(const rectangle& cell) const;
  view look(const rectangle& cell, std::size_t begin, std::size_t end);
  std::optional<five> gain_in(priced_site& s, const rectangle& cell, xy& rise) const;
  std::size_t end_of_knot(std::size_t begin, std::size_t end) const;
  five least_of_knot(std::size_t begin);
  std::vector<choice> choices_of_knot(std::size_t begin, std::size_t end) const;
  bool close(const rectangle& cell, std::size_t begin);
  std::optional<double> least_sum(const rectangle& cell, double prices);
  void meet(const xy& at, double value);

  const distance_table& table_;
  const site_prices* prices_ = nullptr;
  price_cell where_;
  std::vector<double> reach_;   // of each block: |x|, |y| <= reach * gauge((x, y))
  std::vector<double> widest_;  // of each block: gauge((x, y)) <= widest if |x|, |y| <= 1
  // Along the walk: the sites that can gain in a cell, first knot after knot.
  std::vector<priced_site> stack_;
  std::vector<five> terms_;            // scratch
  std::vector<std::uint32_t> chosen_;  // scratch
  std::vector<met> places_;
  met* here_ = nullptr;
  double least_ = 0;
  double bound_ = 0;
  double tolerance_ = 0;
  double smallest_ = 0;  // half side that is halved
  bool ended_ = false;
  const std::function<bool()>* expired_ = nullptr;
  std::size_t cells_ = 0;
  std::size_t most_cells_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_PRICE_SEARCH_H_
