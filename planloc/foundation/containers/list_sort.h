// The quicksort of `list`. Its sequence of exchanges is part of every result that has ties, above
// all of the cell of a point whose distances tie: it must not be replaced by another sort.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_LIST_SORT_H_
#define PLANLOC_FOUNDATION_CONTAINERS_LIST_SORT_H_

#include <utility>

namespace planloc::detail {

// Parts a[l..r] around the pivot a[k] and returns the place where the pivot comes to stand.
//
// REQUIRES: r > l + 2; a[r] does not compare less than a[k], and nothing less than itself. Then
// both scans stop inside the range without a bound check, the upward one at r, the downward one at
// the pivot, and `less` need not be transitive.
template <class Entry, class Less>
long quicksort_partition(Entry* a, long l, long r, long k, const Less& less) {
  std::swap(a[k], a[l + 1]);
  const Entry pivot = a[l + 1];
  long i = l + 1;
  long j = r;
  for (;;) {
    do ++i;
    while (less(a[i], pivot));
    do --j;
    while (less(pivot, a[j]));
    if (i >= j) break;
    std::swap(a[i], a[j]);
  }
  std::swap(a[j], a[l + 1]);
  return j;
}

// Sorts a[l..r], with a median of three as the pivot. The two parts behind a partition are
// independent of each other, so the smaller one is sorted by recursion and the larger one by the
// loop: the depth stays logarithmic.
template <class Entry, class Less>
void quicksort(Entry* a, long l, long r, const Less& less) {
  while (l < r) {
    if (less(a[r], a[l])) std::swap(a[l], a[r]);
    if (r == l + 1) return;
    const long k = (l + r) / 2;
    if (less(a[k], a[l])) {
      std::swap(a[k], a[l]);
    } else if (less(a[r], a[k])) {
      std::swap(a[r], a[k]);
    }
    if (r == l + 2) return;
    const long j = quicksort_partition(a, l, r, k, less);
    if (j - l < r - j) {
      quicksort(a, l, j - 1, less);
      l = j + 1;
    } else {
      quicksort(a, j + 1, r, less);
      r = j - 1;
    }
  }
}

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_CONTAINERS_LIST_SORT_H_
