// A bare pair of coordinates for inner loops; point.h is the type for users.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_XY_H_
#define PLANLOC_FOUNDATION_GEOMETRY_XY_H_

namespace planloc::detail {

struct xy {
  double x;
  double y;

  friend bool operator==(const xy&, const xy&) = default;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_XY_H_
