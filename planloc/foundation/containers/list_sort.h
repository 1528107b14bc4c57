// The quicksort of `list`. Its sequence of exchanges is part of every result that has ties, above
// all of the cell of a point whose distances tie: it must not be replaced by another sort.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_LIST_SORT_H_
#define PLANLOC_FOUNDATION_CONTAINERS_LIST_SORT_H_

#include <utility>

namespace planloc::detail {

// The scans of a partition from i upward and j downward, and the pivot, at l + 1, into its place.
template <class Entry, class Less>
long partition_between(Entry* a, long l, long i, long j, const Entry& pivot, const Less& less) {
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

// Parts a[l..r] around the pivot a[k] and returns the place where the pivot comes to stand.
//
// REQUIRES: r > l + 2; a[r] does not compare less than a[k], and nothing less than itself. Then
// both scans stop inside the range without a bound check, the upward one at r, the downward one at
// the pivot, and `less` need not be transitive.
template <class Entry, class Less>
long quicksort_partition(Entry* a, long l, long r, long k, const Less& less) {
  std::swap(a[k], a[l + 1]);
  const Entry pivot = a[l + 1];
  return partition_between(a, l, l + 1, r, pivot, less);
}

// The places of a block at which a scan stops, as offsets from its start.
class block_stops {
 public:
  static constexpr long kBlock = 64;

  bool empty() const { return first_ == end_; }
  long front() const { return at_[first_]; }
  long pop() { return at_[first_++]; }

  template <class Stops>
  void collect(Stops stops) {
    long end = 0;
    for (long t = 0; t < kBlock; ++t) {
      at_[end] = static_cast<int>(t);
      end += stops(t) ? 1 : 0;
    }
    first_ = 0;
    end_ = end;
  }

 private:
  int at_[kBlock];
  long first_ = 0;
  long end_ = 0;
};

// As quicksort_partition, without a branch that depends on the entries: for entries whose
// comparison is cheaper than a branch that the processor guesses wrongly.
//
// The scans of the partition stop at the entries from the left that are not less than the pivot,
// and at those from the right that the pivot is not less than, and exchange the first of these with
// the first of those, the second with the second, and so on until they meet. So the stops can be
// collected a block at a time, as long as the blocks from both sides do not overlap; the plain loop
// does the middle. (Edelkamp and Weiss, 2016)
template <class Entry, class Less>
long block_partition(Entry* a, long l, long r, long k, const Less& less) {
  std::swap(a[k], a[l + 1]);
  const Entry pivot = a[l + 1];
  block_stops left;
  block_stops right;
  long i = l + 2;  // start of the left block, or of what is not looked at yet
  long j = r - 1;  // the same from the right
  while (j - i + 1 >= 2 * block_stops::kBlock) {
    if (left.empty()) left.collect([&](long t) { return !less(a[i + t], pivot); });
    if (right.empty()) right.collect([&](long t) { return !less(pivot, a[j - t]); });
    while (!left.empty() && !right.empty()) std::swap(a[i + left.pop()], a[j - right.pop()]);
    if (left.empty()) i += block_stops::kBlock;
    if (right.empty()) j -= block_stops::kBlock;
  }
  // At most one block has stops left: the scan of its side goes on at the first of them.
  if (!left.empty()) i += left.front();
  if (!right.empty()) j -= right.front();
  return partition_between(a, l, i - 1, j + 1, pivot, less);
}

// Sorts a[l..r], with a median of three as the pivot. The two parts behind a partition are
// independent of each other, so the smaller one is sorted by recursion and the larger one by the
// loop: the depth stays logarithmic. `partition` is one of the two above, or makes the same
// exchanges.
template <class Entry, class Less, class Partition>
void quicksort(Entry* a, long l, long r, const Less& less, const Partition& partition) {
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
    const long j = partition(a, l, r, k, less);
    if (j - l < r - j) {
      quicksort(a, l, j - 1, less, partition);
      l = j + 1;
    } else {
      quicksort(a, j + 1, r, less, partition);
      r = j - 1;
    }
  }
}

template <class Entry, class Less>
void quicksort(Entry* a, long l, long r, const Less& less) {
  quicksort(a, l, r, less, quicksort_partition<Entry, Less>);
}

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_CONTAINERS_LIST_SORT_H_
