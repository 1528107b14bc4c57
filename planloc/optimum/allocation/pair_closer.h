// A bound for a pair of rectangles on which nearly all sites have one facility that is nearest.
// Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_PAIR_CLOSER_H_
#define PLANLOC_OPTIMUM_ALLOCATION_PAIR_CLOSER_H_

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "planloc/foundation/geometry/xy.h"
#include "planloc/optimum/allocation/local_search.h"
#include "planloc/optimum/allocation/place_finder.h"

namespace planloc::detail {

// Scratch for bounds. The sum of the least distances is the least of the sums over all choices of a
// facility for each of the open sites, the others being decided. With a choice, the sum of each
// facility is convex; it is bounded by mixtures of its tangents at the middle and the corners of
// the rectangle, and at a place where it is about least.
class pair_closer {
 public:
  // The distances from the nearest existing facility by slot, if there is one.
  pair_closer(const allocation_ground& ground, std::span<const double> nearest_existing);

  struct closed {
    double bound;
    std::array<xy, 2> places;
  };
  // None if too many sites are open.
  std::optional<closed> operator()(const xy_box& x, const xy_box& y, double rounding);

 private:
  static constexpr std::size_t kPoints = 6;  // of tangents
  struct plane {
    double value = 0;
    xy slope{0, 0};

    void add(const distance_table::linear_piece& p) {
      value += p.distance;
      slope = {slope.x + p.slope.x, slope.y + p.slope.y};
    }
    void add(const plane& p) {
      value += p.value;
      slope = {slope.x + p.slope.x, slope.y + p.slope.y};
    }
  };
  using planes = std::array<plane, kPoints>;
  // Bits of those who may serve a site.
  enum : unsigned { kFirst = 1, kSecond = 2, kExisting = 4 };
  struct open_site {
    std::uint32_t slot;
    unsigned servers;
    std::array<planes, 2> tangents = {};
  };
  struct side {
    std::array<xy, kPoints> points;                    // the corners, the middle, the place
    std::vector<distance_table::linear_piece> pieces;  // kPoints a slot, the last one not set
    double steepness = 0;                              // sum of the magnitudes of slopes
    std::vector<std::uint32_t> served = {};
    planes sum = {};
    std::vector<double> bounds = {};  // by sets of open sites
  };

  void view(side& s, const xy_box& where) const;
  unsigned servers_of(std::uint32_t slot) const;
  bool sort_sites();
  void add_place(std::size_t which);
  xy place_of(std::span<const std::uint32_t> slots, const xy& middle);
  std::optional<xy> way_off_site(std::span<const std::uint32_t> slots, const xy& at) const;
  xy nearest_on_line(std::span<const std::uint32_t> slots, const xy& from) const;
  void bound_all(std::size_t which);
  double least_choice(std::size_t open, std::array<std::size_t, 2> sets, double existing) const;

  const allocation_ground& ground_;
  std::span<const double> nearest_existing_;
  double extent_;
  place_finder find_place_;
  std::array<side, 2> sides_;
  std::vector<open_site> open_;
  double of_existing_ = 0;  // sites that they surely serve
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_PAIR_CLOSER_H_
