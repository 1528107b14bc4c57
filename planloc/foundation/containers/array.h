// Bounded arrays with an index range of their own, checked at every access, and arrays of arrays.
// Use list.h for a sequence that grows, numeric/matrix.h for linear algebra.
//
// Entries start as T(). Copies are deep. Reports go through `error_handler` with the code stated.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_ARRAY_H_
#define PLANLOC_FOUNDATION_CONTAINERS_ARRAY_H_

#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/containers/list_sort.h"
#include "planloc/foundation/containers/random_source.h"
#include "planloc/foundation/containers/string.h"

namespace planloc {

// The index range low..high, which may be empty: high >= low - 1.
// "array: bad array bounds [%d..%d]" (code 1) otherwise.
class gen_array {
 public:
  int low() const { return low_; }
  int high() const { return high_; }
  int size() const { return high_ - low_ + 1; }

 protected:
  gen_array(int low, int high) : low_(low), high_(high) {
    if (static_cast<long>(high) < static_cast<long>(low) - 1) {
      error_handler(1, string("array: bad array bounds [%d..%d]", low, high).cstring());
      high_ = low_ - 1;
    }
  }
  bool holds(int i) const { return low_ <= i && i <= high_; }

 private:
  int low_;
  int high_;
};

template <class T>
class array : public gen_array {
 public:
  array() : array(0) {}
  explicit array(int n) : array(0, n - 1) {}  // 0..n-1; a negative n reports
  // "array: out of memory", code 99.
  array(int low, int high) : array(low, high, "array: out of memory") {}

  // "array::entry index out of range", code 2.
  T& operator[](int i) { return entries_[checked(i, "array::entry index out of range")].value; }
  const T& operator[](int i) const {
    return entries_[checked(i, "array::entry index out of range")].value;
  }
  T& entry(int i) { return (*this)[i]; }
  const T& entry(int i) const { return (*this)[i]; }

  // "array::inf index out of range", code 2.
  const T& inf(int i) const { return entries_[checked(i, "array::inf index out of range")].value; }

  // A random permutation of the entries l..h, of all of them without arguments.
  // "array::permute illegal range" (code 1).
  void permute() {
    if (size() > 0) permute(low(), high());
  }
  void permute(int l, int h) {
    if (!holds(l) || !holds(h)) error_handler(1, "array::permute illegal range");
    for (int i = h; i > l; --i) std::swap((*this)[i], (*this)[l + random_below(i - l + 1)]);
  }

  // By cmp(a, b), negative for "a before b", with the exchanges of `list::sort`.
  template <class Compare>
  void sort(Compare cmp) {
    detail::quicksort(entries_.data(), 0, static_cast<long>(size()) - 1,
                      [&](const cell& a, const cell& b) { return cmp(a.value, b.value) < 0; });
  }

 private:
  template <class>
  friend class array2;

  // Keeps an array<bool> one of addressable entries.
  struct cell {
    T value{};
  };

  array(int low, int high, const char* out_of_memory) : gen_array(low, high) {
    try {
      entries_.resize(static_cast<std::size_t>(size()));
    } catch (const std::bad_alloc&) {
      error_handler(99, out_of_memory);
      throw;
    }
  }
  std::size_t checked(int i, const char* report) const {
    if (!holds(i)) error_handler(2, report);
    return static_cast<std::size_t>(i - low());
  }

  std::vector<cell> entries_;
};

// An array of arrays: rows low1..high1, each with the columns low2..high2.
// "array2: out of memory", code 99.
template <class T>
class array2 {
 public:
  array2(int n, int m) : array2(0, n - 1, 0, m - 1) {}
  array2(int low1, int high1, int low2, int high2)
      : columns_(low2, high2), rows_(low1, high1, kOutOfMemory) {
    for (int i = low1; i <= high1; ++i) rows_[i] = array<T>(low2, high2, kOutOfMemory);
  }

  T& operator()(int i, int j) { return rows_[i][j]; }
  const T& operator()(int i, int j) const { return rows_[i][j]; }

  int low1() const { return rows_.low(); }
  int high1() const { return rows_.high(); }
  int low2() const { return columns_.low(); }
  int high2() const { return columns_.high(); }

 private:
  static constexpr const char* kOutOfMemory = "array2: out of memory";
  struct range : gen_array {
    range(int low, int high) : gen_array(low, high) {}
  };
  range columns_;
  array<array<T>> rows_;
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_CONTAINERS_ARRAY_H_
