// A facility's place and what it counts: coordinates of any dimension and a separate vector of
// weights, one for each criterion. It has no name; `facilities` keeps the names beside its
// locations. The geometry works on `point`: see `to_point` and `from_point`.
//
// Failures are reported through MaviError with exit status 1 (see reporter.h); the comments below
// give code and text.
#ifndef PLANLOC_MODEL_LOCATION_H_
#define PLANLOC_MODEL_LOCATION_H_

#include <initializer_list>
#include <istream>
#include <ostream>
#include <type_traits>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/line.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/numeric/vector.h"
#include "planloc/model/loc_vector.h"

namespace planloc {

class location {
 public:
  // All coordinates and weights 0.0.
  location(int dim, int nweights);

  // location(2.0, 1.0, x, y, w): both counts, truncated to int, then the coordinates, then the
  // weights, as numbers of any type. Missing ones are 0.0, surplus ones are not read. Two ints
  // alone pick the constructor above.
  template <class... Numbers>
  requires(std::is_arithmetic_v<Numbers>&&...)
      location(double dim, double nweights, Numbers... values)
      : location(static_cast<int>(dim), static_cast<int>(nweights)) {
    fill({static_cast<double>(values)...});
  }

  // The copy of a location without coordinates or without weights is empty, with neither: a
  // location without weights loses its coordinates when it is put into a list.
  location(const location& other);
  // Nothing if both are equal already.
  location& operator=(const location& other);
  ~location() = default;

  // ----- Access -----

  int dim() const { return coordinates_.dim(); }
  int nweights() const { return weight_values_.dim(); }
  Loc_Vector coords() const { return coordinates_; }
  Loc_Vector weights() const { return weight_values_; }

  // Coordinate i, from 0. "Index out of range.": 1207, for a constant location 1208.
  double& operator[](int i) { return coordinates_[checked(i, dim(), 1207)]; }
  double operator[](int i) const { return coordinates_[checked(i, dim(), 1208)]; }
  // Weight i, from 0. "Index out of range.": 1209, for a constant location 1210.
  double& weight(int i) { return weight_values_[checked(i, nweights(), 1209)]; }
  double weight(int i) const { return weight_values_[checked(i, nweights(), 1210)]; }

  // ----- Size and direction -----

  // The p-norm of the coordinates for p >= 1, the maximum norm for p = -1.
  // 1201 "Bad p-Norm argument in location::norm(int p)." for any other p.
  double norm(int p) const;

  // The angle between both, seen from the origin, in radians in 0..pi. The cosine is not clamped:
  // rounding can take it above 1 and the result to not-a-number.
  // 1202 "Zero length location in location::r_angle()."
  double r_angle(const location& other) const;
  double degrees(const location& other) const;

  // ----- Geometry -----

  // 1203 "Conversion to only possible for dimension 2."; 1207 without weights.
  point to_point() const;
  // 1204 "Coversion to empty vector impossible." for dimension 0.
  vector to_vector() const;
  // From this point to the other; reports as `to_point`.
  segment to_segment(const location& other) const;
  // Dimension 2, one weight of value 1.0.
  static location from_point(const point& p);

  // The frame turned by 45 degrees, in which rectilinear distances are maximum distances: (x, y)
  // becomes ((x + y) / 2, (y - x) / 2), and back. In place; other coordinates and weights stay.
  // 1207 below two coordinates.
  void to_turned_frame();
  void from_turned_frame();

  // ----- Arithmetic on the coordinates -----

  // 1205 "Incompatible dimension.", 1206 "Incompatible number of weights." unless equal.
  void check_dim(const location& other) const;
  void check_weights(const location& other) const;

  double operator*(const location& other) const;  // dot product; 1205
  // The results have the weights of this location; those of `other` play no part. 1205.
  location operator+(const location& other) const;
  location operator-(const location& other) const;
  location operator*(double f) const;
  location operator/(double f) const;  // 1211 "Division by zero."
  location operator-() const;          // all weights 0.0

  // ----- Comparison -----

  bool operator==(const location& other) const = default;  // coordinates and weights

  // By coordinate 0, then coordinate 1; always false unless this dimension is 2.
  bool operator<(const location& other) const;
  bool operator>(const location& other) const;

  // ----- Streams -----

  // Reads into the coordinates, then the weights; the sizes are those that the location has.
  friend std::istream& operator>>(std::istream& in, location& a);

  // Writes points and polygons, as text. Weight 0 of a location is the number of its polygon; the
  // vertices of a polygon are neighbours in L, and a number that stands alone is a single point.
  // 1212 "Can't happen: L in location::WriteAsPolygonList is not a polygon list?" for a location
  // without weights; one that follows on another with weights ends with 1210.
  static void WriteAsPolygonList(std::ostream& out, const list<location>& L);

 private:
  void fill(std::initializer_list<double> values);

  static int checked(int i, int size, int code) {
    if (i < 0 || i >= size) report_index(code);
    return i;
  }
  static void report_index(int code);

  Loc_Vector coordinates_;
  Loc_Vector weight_values_;
};

// "x y  w ": every number followed by a blank, and one more between coordinates and weights.
std::ostream& operator<<(std::ostream& out, const location& a);

// Turns every location of L.
void to_turned_frame(list<location>& L);
void from_turned_frame(list<location>& L);

// The line of all points equally far from a and b, through the two points in which the circles
// about both with radius |a - b| meet. REQUIRES: a and b differ.
line bisector(const location& a, const location& b);

// Which coordinate `compare_coordinate` looks at. Set it before a sort; there is one for each
// thread, so two sorts of a thread must not overlap.
extern constinit thread_local int sort_coordinate;

// For sorting a list<location>: -1, 0 or 1 as coordinate `sort_coordinate` of a is smaller than,
// equal to or larger than that of b.
int compare_coordinate(const location& a, const location& b);

}  // namespace planloc

#endif  // PLANLOC_MODEL_LOCATION_H_
