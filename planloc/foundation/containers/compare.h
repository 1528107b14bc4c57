// The order of entries in a list: `list::sort()`, `min` and `max` use it when no comparison is
// given, `search` and `rank` for entries without an operator==.
//
// A class with an order of its own declares an overload of `compare` beside it.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_COMPARE_H_
#define PLANLOC_FOUNDATION_CONTAINERS_COMPARE_H_

#include <concepts>

namespace planloc {

// -1 if a < b, 1 if b < a, else 0: values that are not ordered (a NaN) count as equal.
template <class T>
int compare(const T& a, const T& b) {
  if (a < b) return -1;
  return b < a ? 1 : 0;
}

namespace detail {

template <class T>
bool same_entry(const T& a, const T& b) {
  if constexpr (std::equality_comparable<T>) {
    return a == b;
  } else {
    return compare(a, b) == 0;
  }
}

}  // namespace detail

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_CONTAINERS_COMPARE_H_
