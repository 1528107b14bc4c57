// Vectors of doubles of any dimension, copied by value. For the coordinates and weights of a
// facility use Loc_Vector (planloc/model/loc_vector.h), which is silent where this class reports;
// for points of the plane geometry/point.h.
//
// Reports go through `error_handler` with code 1.
#ifndef PLANLOC_FOUNDATION_NUMERIC_VECTOR_H_
#define PLANLOC_FOUNDATION_NUMERIC_VECTOR_H_

#include <ostream>
#include <vector>

namespace planloc {

class vector {
 public:
  vector() = default;          // dimension 0
  explicit vector(int d);      // d zeros; "vector: negative dimension."
  vector(double x, double y);  // a literal vector(1, 2) has dimension 2
  vector(double x, double y, double z);

  int dim() const { return static_cast<int>(v_.size()); }

  // "vector: index out of range " outside 0..dim()-1.
  double& operator[](int i) { return v_[checked(i)]; }
  double operator[](int i) const { return v_[checked(i)]; }
  double xcoord() const { return (*this)[0]; }
  double ycoord() const { return (*this)[1]; }

  // Dot product, summed from the last coordinate to the first: the order decides rounding.
  // All operations on two vectors: "vector arguments have different dimensions."
  double operator*(const vector& w) const;
  vector operator+(const vector& w) const;
  vector operator-(const vector& w) const;
  vector operator-() const;
  vector operator*(double f) const;
  vector operator/(double f) const;

  double sqr_length() const { return *this * *this; }
  double length() const;

  // Counterclockwise in the plane. "vector::rotate90: dimension must be two. ",
  // "vector::rotate: dimension must be two. "
  vector rotate90() const;
  vector rotate(double alpha) const;

  // The angle between both, in 0..pi; "angle: zero argument\n" if one of them is zero.
  double angle(const vector& w) const;

  bool operator==(const vector& w) const = default;

 private:
  std::size_t checked(int i) const;
  void check_same_dimension(const vector& w) const;

  std::vector<double> v_;
};

vector operator*(double f, const vector& v);
std::ostream& operator<<(std::ostream& out, const vector& v);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_NUMERIC_VECTOR_H_
