// Small dense vectors of doubles: the coordinates and the weights inside a `location`. Unlike
// `vector` (planloc/foundation/numeric/vector.h) a Loc_Vector reports nothing on operands of
// different sizes: results are zero, comparisons false, and changes in place do not happen. Code
// that needs a check works on `location`.
#ifndef PLANLOC_MODEL_LOC_VECTOR_H_
#define PLANLOC_MODEL_LOC_VECTOR_H_

#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <type_traits>
#include <vector>

namespace planloc {

class Loc_Vector {
 public:
  // d zeros; none if d is negative.
  explicit Loc_Vector(int d);

  // Loc_Vector(2.0, 3.5, 4.5): the size, truncated to int, then the elements, as numbers of any
  // type. Missing ones are 0.0, surplus ones are not read. A single int picks the constructor
  // above.
  template <class... Numbers>
  requires(std::is_arithmetic_v<Numbers>&&...) explicit Loc_Vector(double d, Numbers... values)
      : Loc_Vector(static_cast<int>(d)) {
    fill({static_cast<double>(values)...});
  }

  int dim() const { return static_cast<int>(v_.size()); }

  // Element i, from 0. REQUIRES: 0 <= i < dim().
  double& operator[](int i) { return v_[static_cast<std::size_t>(i)]; }
  double operator[](int i) const { return v_[static_cast<std::size_t>(i)]; }

  // ----- Arithmetic -----

  // Vectors of the argument's size, all zero if the sizes differ.
  Loc_Vector operator+(const Loc_Vector& w) const;
  Loc_Vector operator-(const Loc_Vector& w) const;
  // Nothing happens if the sizes differ.
  Loc_Vector& operator+=(const Loc_Vector& w);
  Loc_Vector& operator-=(const Loc_Vector& w);

  // Element by element; division does not test for 0.
  Loc_Vector& operator+=(double x);
  Loc_Vector& operator-=(double x);
  Loc_Vector& operator*=(double x);
  Loc_Vector& operator/=(double x);
  Loc_Vector operator+(double x) const;
  Loc_Vector operator-(double x) const;
  Loc_Vector operator*(double x) const;
  Loc_Vector operator/(double x) const;

  // Dot product, summed from element 0 upward; 0.0 if the sizes differ.
  double operator*(const Loc_Vector& w) const;

  // p = -1: the largest absolute value, 0.0 for an empty vector. p >= 1: the p-norm, by the power
  // function for every p. Any other p: 0.0.
  double norm(int p) const;

  // Replaces every element by its absolute value.
  void abs();

  // Turned clockwise by alpha (radians), unlike `vector::rotate`.
  // 1101 "Loc_Vector::rotate():To rotate the dimension must be 2."
  Loc_Vector rotate(double alpha) const;

  // ----- Comparison -----

  // Whether the vector is empty or every element is 0.0.
  bool is_zero() const;

  bool operator==(const Loc_Vector& w) const { return v_ == w.v_; }

  // True only if the relation holds for every element; false if the sizes differ.
  bool operator<(const Loc_Vector& w) const;
  bool operator<=(const Loc_Vector& w) const;
  bool operator>(const Loc_Vector& w) const;
  bool operator>=(const Loc_Vector& w) const;

 private:
  void fill(std::initializer_list<double> values);

  std::vector<double> v_;
};

// "( 1 2 )"
std::ostream& operator<<(std::ostream& out, const Loc_Vector& v);

}  // namespace planloc

#endif  // PLANLOC_MODEL_LOC_VECTOR_H_
