// The walk along the efficient places of two sums under polyhedral gauges, from face to face.
// Internal.
//
// At a corner the directions of the rays through it, both ways, and of all rays of the sites that
// lie there, are the only ones along which a criterion can bend. So the rises h_1 and h_2 along
// them tell for which t the corner is an optimum of f_t = (1 - t) f_1 + t f_2: those with
// (1 - t) h_1 + t h_2 >= 0 for all. At an end of this interval the directions in which f_t is level
// span all optima of f_t: one an edge, two a polygon, each a face of the arrangement, since a sum
// of convex functions is level only where each of them is linear.
#ifndef PLANLOC_OPTIMUM_EFFICIENT_CHAIN_WALK_H_
#define PLANLOC_OPTIMUM_EFFICIENT_CHAIN_WALK_H_

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "planloc/optimum/efficient/edge_loads.h"
#include "planloc/optimum/efficient/ray_arrangement.h"

namespace planloc::detail {

// All optima of one f_t on which the criteria differ.
struct chain_face {
  std::vector<efficient_corner> corners;  // two from the walk's corner on, or a polygon
  double t;
};

class chain_walk {
 public:
  // `start` is an optimum of f_1/2, or thought to be one (see `at_optimum_of_sum`). The walk begins
  // at a corner of all these optima.
  chain_walk(ray_arrangement& arrangement, const exact_xy& start);

  // Whether the corner is an optimum of f_1/2.
  bool at_optimum_of_sum();
  // The next face towards the optima of a criterion, 0 or 1. The walk goes on to a corner with the
  // least value of it. Nothing if there is none: the walk has arrived.
  std::optional<chain_face> advance(std::size_t criterion);
  // The corners of the optima of f_t for all t of an interval: the walk's corner and what has the
  // same values.
  std::vector<efficient_corner> level_corners();
  // Whether the corner is the optimum for one t alone.
  bool between_two_faces();

 private:
  struct direction {
    std::uint32_t heading;
    ray_line line;
    std::array<bounded, 2> rise;
    std::array<std::optional<mpq_class>, 2> exact;
  };
  struct outlook {
    direction* steepest = nullptr;     // of those that fall, the one that is tight first
    std::vector<std::uint32_t> tight;  // the headings in which the same f_t is level
  };

  // ----- Where the walk is -----

  void locate();
  void locate(std::uint32_t site);
  void settle();
  void look_around();
  std::uint32_t edge_of(std::uint32_t site, std::uint32_t heading) const;
  efficient_corner corner();
  double value(std::size_t criterion);

  // ----- What rises -----

  const mpq_class& exact(direction& d, std::size_t criterion);
  int sign(direction& d, std::size_t criterion);
  // Of h_1(a) h_2(b) - h_1(b) h_2(a).
  int turn(direction& a, direction& b);
  outlook look_to(std::size_t criterion);
  std::vector<std::uint32_t> level_headings();
  double parameter(direction& d);

  // ----- Steps -----

  direction& at_heading(std::uint32_t heading);
  void go(std::uint32_t heading);
  void leave(std::uint32_t heading);
  void arrive();
  // The headings are those of the two sides at the walk's corner, which it comes back to.
  std::vector<efficient_corner> walk_round(std::uint32_t right, std::uint32_t left);
  std::uint32_t next_side(std::uint32_t came_along);

  ray_arrangement* arrangement_;
  edge_loads loads_;
  rung_place at_;
  std::vector<std::int32_t> tie_;      // by site
  std::vector<std::uint32_t> tied_;    // sites
  std::vector<std::uint32_t> edge_;    // by site, of those that are not tied
  std::vector<direction> directions_;  // counterclockwise
  std::vector<ray_line> met_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EFFICIENT_CHAIN_WALK_H_
