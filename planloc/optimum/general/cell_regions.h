// Regions as the branch and bound over triangles asks about them. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_CELL_REGIONS_H_
#define PLANLOC_OPTIMUM_GENERAL_CELL_REGIONS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "planloc/optimum/general/exact_close.h"
#include "planloc/optimum/general/triangle_cell.h"
#include "planloc/optimum/regions/boundary.h"

namespace planloc::detail {

// Places are relative to a base. All but `nothing_permitted` and
// `places_on_sides` may be called from several threads.
class cell_regions {
 public:
  cell_regions(const regions& r, const xy& base);

  bool permits(const exact_xy& at) const;
  // A corner of a permitted part of a side; none if there is no such part.
  std::optional<exact_xy> some_place() const;
  // Of the corners, in either coordinate of the axes.
  double farthest(const skewed_axes& axes) const;

  // Whether sides may cross the triangle.
  bool crossed(const triangle& t) const;
  // Whether it is known that no place of the triangle is permitted.
  bool nothing_permitted(const triangle& t);

  // Where all sides that cross the triangle lie on one line and nothing beyond it is permitted: how
  // far the corners are on this side of the line.
  std::optional<corner_values> cut(const triangle& t) const;
  // Permitted places of the triangle on sides, one of each part of a side that has any; none where
  // there are many sides.
  std::vector<exact_xy> places_on_sides(const triangle& t);

  // The distinct lines of the sides that cross the triangle; nothing if there are more than
  // `limit`.
  std::optional<std::vector<exact_line>> lines(const triangle& t, std::size_t limit) const;
  // Adds the corners of polygons in the triangle.
  void add_corners(const triangle& t, std::vector<exact_xy>& places) const;

 private:
  struct exact_triangle;

  // In doubles: false if they surely do not.
  bool may_meet(const triangle& t, const boundary::side& s) const;
  bool meets(const triangle& t, const exact_triangle& exact, const boundary::side& s) const;
  // The sides that meet the triangle, unless they are many.
  std::optional<std::vector<const boundary::side*>> few_sides(const triangle& t,
                                                              const exact_triangle& exact) const;
  // One of them, if all lie on its line.
  const boundary::side* only_line(const triangle& t) const;
  const std::vector<boundary::piece>& permitted_parts(const boundary::side& s);
  template <class Visit>
  void near(const triangle& t, Visit visit) const;
  exact_xy relative(const exact_xy& at) const { return {at.x - base_.x, at.y - base_.y}; }

  boundary sides_;
  exact_xy base_;
  xy rounded_base_;
  std::vector<std::optional<std::vector<boundary::piece>>> permitted_;  // by side, once asked for
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_CELL_REGIONS_H_
