#include "planloc/foundation/numeric/vector.h"

#include <algorithm>
#include <cmath>

#include "planloc/foundation/containers/error_handler.h"

namespace planloc {

vector::vector(int d) {
  if (d < 0) {
    error_handler(1, "vector: negative dimension.");
    return;
  }
  v_.resize(static_cast<std::size_t>(d));
}

vector::vector(double x, double y) : v_{x, y} {}

vector::vector(double x, double y, double z) : v_{x, y, z} {}

std::size_t vector::checked(int i) const {
  if (i < 0 || i >= dim()) error_handler(1, "vector: index out of range ");
  return static_cast<std::size_t>(i);
}

void vector::check_same_dimension(const vector& w) const {
  if (dim() != w.dim()) error_handler(1, "vector arguments have different dimensions.");
}

double vector::operator*(const vector& w) const {
  check_same_dimension(w);
  double sum = 0.0;
  for (std::size_t i = v_.size(); i-- > 0;) sum += v_[i] * w.v_[i];
  return sum;
}

vector vector::operator+(const vector& w) const {
  check_same_dimension(w);
  vector result = *this;
  for (std::size_t i = 0; i < v_.size(); ++i) result.v_[i] += w.v_[i];
  return result;
}

vector vector::operator-(const vector& w) const {
  check_same_dimension(w);
  vector result = *this;
  for (std::size_t i = 0; i < v_.size(); ++i) result.v_[i] -= w.v_[i];
  return result;
}

vector vector::operator-() const { return *this * -1.0; }

vector vector::operator*(double f) const {
  vector result = *this;
  for (double& x : result.v_) x *= f;
  return result;
}

vector vector::operator/(double f) const {
  vector result = *this;
  for (double& x : result.v_) x /= f;
  return result;
}

double vector::length() const { return std::sqrt(sqr_length()); }

vector vector::rotate90() const {
  if (dim() != 2) {
    error_handler(1, "vector::rotate90: dimension must be two. ");
    return *this;
  }
  return vector(-v_[1], v_[0]);
}

vector vector::rotate(double alpha) const {
  if (dim() != 2) {
    error_handler(1, "vector::rotate: dimension must be two. ");
    return *this;
  }
  const double c = std::cos(alpha);
  const double s = std::sin(alpha);
  return vector(v_[0] * c - v_[1] * s, v_[0] * s + v_[1] * c);
}

double vector::angle(const vector& w) const {
  const double lengths = length() * w.length();
  if (lengths == 0.0) {
    error_handler(1, "angle: zero argument\n");
    return 0.0;
  }
  return std::acos(std::clamp(*this * w / lengths, -1.0, 1.0));
}

vector operator*(double f, const vector& v) { return v * f; }

std::ostream& operator<<(std::ostream& out, const vector& v) {
  for (int i = 0; i < v.dim(); ++i) out << (i > 0 ? " " : "") << v[i];
  return out;
}

}  // namespace planloc
