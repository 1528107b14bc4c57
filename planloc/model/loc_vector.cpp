#include "planloc/model/loc_vector.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "planloc/model/reporter.h"

namespace planloc {
namespace {

template <class Relation>
bool all_elements(const std::vector<double>& a, const std::vector<double>& b, Relation holds) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), holds);
}

}  // namespace

Loc_Vector::Loc_Vector(int d) : v_(static_cast<std::size_t>(std::max(d, 0)), 0.0) {}

void Loc_Vector::fill(std::initializer_list<double> values) {
  std::copy_n(values.begin(), std::min(values.size(), v_.size()), v_.begin());
}

// ----- Arithmetic -----

Loc_Vector Loc_Vector::operator+(const Loc_Vector& w) const {
  return dim() == w.dim() ? Loc_Vector(*this) += w : Loc_Vector(w.dim());
}

Loc_Vector Loc_Vector::operator-(const Loc_Vector& w) const {
  return dim() == w.dim() ? Loc_Vector(*this) -= w : Loc_Vector(w.dim());
}

Loc_Vector& Loc_Vector::operator+=(const Loc_Vector& w) {
  if (dim() == w.dim()) {
    for (int i = 0; i < dim(); ++i) (*this)[i] += w[i];
  }
  return *this;
}

Loc_Vector& Loc_Vector::operator-=(const Loc_Vector& w) {
  if (dim() == w.dim()) {
    for (int i = 0; i < dim(); ++i) (*this)[i] -= w[i];
  }
  return *this;
}

Loc_Vector& Loc_Vector::operator+=(double x) {
  for (double& element : v_) element += x;
  return *this;
}

Loc_Vector& Loc_Vector::operator-=(double x) {
  for (double& element : v_) element -= x;
  return *this;
}

Loc_Vector& Loc_Vector::operator*=(double x) {
  for (double& element : v_) element *= x;
  return *this;
}

Loc_Vector& Loc_Vector::operator/=(double x) {
  for (double& element : v_) element /= x;
  return *this;
}

Loc_Vector Loc_Vector::operator+(double x) const { return Loc_Vector(*this) += x; }
Loc_Vector Loc_Vector::operator-(double x) const { return Loc_Vector(*this) -= x; }
Loc_Vector Loc_Vector::operator*(double x) const { return Loc_Vector(*this) *= x; }
Loc_Vector Loc_Vector::operator/(double x) const { return Loc_Vector(*this) /= x; }

double Loc_Vector::operator*(const Loc_Vector& w) const {
  double sum = 0.0;
  if (dim() != w.dim()) return sum;
  for (int i = 0; i < dim(); ++i) sum += (*this)[i] * w[i];
  return sum;
}

double Loc_Vector::norm(int p) const {
  double result = 0.0;
  if (p == -1) {
    for (double x : v_) {
      if (std::fabs(x) > result) result = std::fabs(x);
    }
  } else if (p >= 1) {
    for (double x : v_) result += std::pow(std::fabs(x), static_cast<double>(p));
    result = std::pow(result, 1.0 / p);
  }
  return result;
}

void Loc_Vector::abs() {
  for (double& x : v_) x = std::fabs(x);
}

Loc_Vector Loc_Vector::rotate(double alpha) const {
  if (dim() != 2) {
    MaviError("Loc_Vector::rotate():To rotate the dimension must be 2.", 1101, 1, true);
  }
  const double c = std::cos(alpha);
  const double s = std::sin(alpha);
  Loc_Vector turned(2);
  // Clockwise for positive alpha: intended, kept as callers know it.
  turned[0] = c * v_[0] + s * v_[1];
  turned[1] = c * v_[1] - s * v_[0];
  return turned;
}

// ----- Comparison -----

bool Loc_Vector::is_zero() const {
  return std::all_of(v_.begin(), v_.end(), [](double x) { return x == 0.0; });
}

bool Loc_Vector::operator<(const Loc_Vector& w) const {
  return all_elements(v_, w.v_, std::less<>());
}
bool Loc_Vector::operator<=(const Loc_Vector& w) const {
  return all_elements(v_, w.v_, std::less_equal<>());
}
bool Loc_Vector::operator>(const Loc_Vector& w) const {
  return all_elements(v_, w.v_, std::greater<>());
}
bool Loc_Vector::operator>=(const Loc_Vector& w) const {
  return all_elements(v_, w.v_, std::greater_equal<>());
}

std::ostream& operator<<(std::ostream& out, const Loc_Vector& v) {
  out << "( ";
  for (int i = 0; i < v.dim(); ++i) out << v[i] << " ";
  return out << ")";
}

}  // namespace planloc
