// Axes in which thin unit balls are about round: triangles that are halved in them take the balls'
// shape. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_THIN_AXES_H_
#define PLANLOC_OPTIMUM_GENERAL_THIN_AXES_H_

#include "planloc/optimum/distance_table.h"
#include "planloc/optimum/general/triangle_cell.h"
#include "planloc/optimum/solution.h"

namespace planloc::detail {

// By the sum of all distances of a polyhedral problem: one axis is about where it grows least, the
// other one as much shorter as it grows faster across. Those of the plane where the balls are not
// thin. Few digits, so that triangles can be halved often.
skewed_axes thin_axes(const problem& p, const distance_table& table);

inline xy place_in(const skewed_axes& axes, const xy& of) {
  return {of.x * axes.along.x + of.y * axes.across.x, of.x * axes.along.y + of.y * axes.across.y};
}
// The larger coordinate of a place or a difference, in magnitude.
double reach_in(const skewed_axes& axes, const xy& at);
// Of the sites; 1 if there is none.
double extent_in(const skewed_axes& axes, const distance_table& table);
double side_in(const skewed_axes& axes, const triangle& t);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_THIN_AXES_H_
