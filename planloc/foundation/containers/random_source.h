// The random source, one for each thread. The seed is fixed and the same for all of them, so that
// what a thread computes is repeatable and does not depend on the others.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_RANDOM_SOURCE_H_
#define PLANLOC_FOUNDATION_CONTAINERS_RANDOM_SOURCE_H_

namespace planloc {

// The next number of the source in 0..n-1, the same sequence on every platform. REQUIRES: n > 0.
int random_below(int n);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_CONTAINERS_RANDOM_SOURCE_H_
