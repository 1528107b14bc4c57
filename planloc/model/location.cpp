#include "planloc/model/location.h"

#include <cmath>
#include <numbers>

#include "planloc/foundation/geometry/circle.h"
#include "planloc/model/reporter.h"

namespace planloc {
namespace {

// Without weights a location copies as an empty one, coordinates included: intended, as to_point
// and lists of locations behave accordingly.
bool copies_empty(const location& a) { return a.dim() < 1 || a.nweights() < 1; }

void write_coordinates(std::ostream& out, const location& a) {
  for (int i = 0; i < a.dim(); ++i) out << a[i] << " ";
  out << std::endl;
}

bool same_polygon_follows(const list<location>& L, list_item it) {
  const list_item next = L.succ(it);
  return next && L[next].weight(0) == L[it].weight(0);
}

}  // namespace

location::location(int dim, int nweights) : coordinates_(dim), weight_values_(nweights) {}

void location::fill(std::initializer_list<double> values) {
  int i = 0;
  for (const double value : values) {
    if (i >= dim() + nweights()) return;
    (i < dim() ? coordinates_[i] : weight_values_[i - dim()]) = value;
    ++i;
  }
}

location::location(const location& other)
    : coordinates_(copies_empty(other) ? Loc_Vector(0) : other.coordinates_),
      weight_values_(copies_empty(other) ? Loc_Vector(0) : other.weight_values_) {}

location& location::operator=(const location& other) {
  // Equality by value: a -0.0 in the way of a 0.0 stays. Intended, kept as callers know it.
  if (*this == other) return *this;
  coordinates_ = other.coordinates_;
  weight_values_ = other.weight_values_;
  return *this;
}

// ----- Access -----

void location::report_index(int code) { MaviError("Index out of range.", code, 1, true); }

// ----- Size and direction -----

double location::norm(int p) const {
  if (p < 1 && p != -1) {
    MaviError("Bad p-Norm argument in location::norm(int p).", 1201, 1, true);
  }
  return coordinates_.norm(p);
}

double location::r_angle(const location& other) const {
  const double length = norm(2);
  const double other_length = other.norm(2);
  if (length == 0.0 || other_length == 0.0) {
    MaviError("Zero length location in location::r_angle().", 1202, 1, true);
  }
  return std::acos(*this * other / (other_length * length));
}

double location::degrees(const location& other) const {
  return 180.0 * r_angle(other) / std::numbers::pi;
}

// ----- Geometry -----

point location::to_point() const {
  if (dim() != 2) MaviError("Conversion to only possible for dimension 2.", 1203, 1, true);
  // The coordinates are those of a copy of this location, which are none without weights.
  const int copied = copies_empty(*this) ? 0 : dim();
  return point(coordinates_[checked(0, copied, 1207)], coordinates_[checked(1, copied, 1207)]);
}

vector location::to_vector() const {
  if (dim() == 0) MaviError("Coversion to empty vector impossible.", 1204, 1, true);
  vector v(dim());
  for (int i = 0; i < dim(); ++i) v[i] = coordinates_[i];
  return v;
}

segment location::to_segment(const location& other) const {
  return segment(to_point(), other.to_point());
}

location location::from_point(const point& p) {
  return location(2.0, 1.0, p.xcoord(), p.ycoord(), 1.0);
}

void location::to_turned_frame() {
  location& a = *this;
  const double x = a[0];
  const double y = a[1];
  a[0] = (x + y) * 0.5;
  a[1] = (y - x) * 0.5;
}

void location::from_turned_frame() {
  location& a = *this;
  const double x = a[0];
  const double y = a[1];
  a[0] = x - y;
  a[1] = x + y;
}

// ----- Arithmetic on the coordinates -----

void location::check_dim(const location& other) const {
  if (dim() != other.dim()) MaviError("Incompatible dimension.", 1205, 1, true);
}

void location::check_weights(const location& other) const {
  if (nweights() != other.nweights()) MaviError("Incompatible number of weights.", 1206, 1, true);
}

double location::operator*(const location& other) const {
  check_dim(other);
  return coordinates_ * other.coordinates_;
}

location location::operator+(const location& other) const {
  check_dim(other);
  location sum(*this);
  sum.coordinates_ += other.coordinates_;
  return sum;
}

location location::operator-(const location& other) const {
  check_dim(other);
  location difference(*this);
  difference.coordinates_ -= other.coordinates_;
  return difference;
}

location location::operator*(double f) const {
  location product(*this);
  product.coordinates_ *= f;
  return product;
}

location location::operator/(double f) const {
  if (f == 0.0) MaviError("Division by zero.", 1211, 1, true);
  location quotient(*this);
  quotient.coordinates_ /= f;
  return quotient;
}

// The weights of the zero location, not the negated ones: intended, kept as callers know it.
location location::operator-() const { return location(dim(), nweights()) - *this; }

// ----- Comparison -----

bool location::operator<(const location& other) const {
  if (dim() != 2) return false;
  const location& a = *this;
  return a[0] < other[0] || (a[0] == other[0] && a[1] < other[1]);
}

bool location::operator>(const location& other) const {
  if (dim() != 2) return false;
  const location& a = *this;
  return a[0] > other[0] || (a[0] == other[0] && a[1] > other[1]);
}

// ----- Streams -----

std::istream& operator>>(std::istream& in, location& a) {
  for (int i = 0; i < a.dim(); ++i) in >> a.coordinates_[i];
  for (int i = 0; i < a.nweights(); ++i) in >> a.weight_values_[i];
  return in;
}

std::ostream& operator<<(std::ostream& out, const location& a) {
  for (int i = 0; i < a.dim(); ++i) out << a[i] << " ";
  out << " ";
  for (int i = 0; i < a.nweights(); ++i) out << a.weight(i) << " ";
  return out;
}

void location::WriteAsPolygonList(std::ostream& out, const list<location>& L) {
  out << "begin{polygonlist}" << std::endl;
  for (list_item it = L.first(); it; it = L.succ(it)) {
    if (L[it].nweights() == 0) {
      MaviError("Can't happen: L in location::WriteAsPolygonList is not a polygon list?", 1212, 1,
                true);
    }
    if (!same_polygon_follows(L, it)) {
      write_coordinates(out, L[it]);
      continue;
    }
    out << "begin{polygon}" << std::endl;
    write_coordinates(out, L[it]);
    while (same_polygon_follows(L, it)) {
      it = L.succ(it);
      write_coordinates(out, L[it]);
    }
    out << "end{polygon}" << std::endl;
  }
  out << "end{polygonlist}" << std::endl;
}

// ----- Free functions -----

void to_turned_frame(list<location>& L) {
  for (location& a : L) a.to_turned_frame();
}

void from_turned_frame(list<location>& L) {
  for (location& a : L) a.from_turned_frame();
}

line bisector(const location& a, const location& b) {
  const double r = (a - b).norm(2);
  const list<point> meet = circle(a.to_point(), r).intersection(circle(b.to_point(), r));
  return line(meet.head(), meet.tail());
}

constinit thread_local int sort_coordinate = 0;

int compare_coordinate(const location& a, const location& b) {
  const double x = a[sort_coordinate];
  const double y = b[sort_coordinate];
  return x < y ? -1 : x > y ? 1 : 0;
}

}  // namespace planloc
