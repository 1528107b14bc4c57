// A second version of a function for processors with wider vectors, chosen when the program starts.
// Its numbers are the same where each is one root, division, product or sum.
#ifndef PLANLOC_FACILITIES_WIDE_VECTORS_H_
#define PLANLOC_FACILITIES_WIDE_VECTORS_H_

#include <cstddef>  // defines __GLIBC__ where that is the library

#if defined(__x86_64__) && defined(__GLIBC__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define PLANLOC_WIDE_VECTORS __attribute__((target_clones("avx2", "default")))
// A version of its own for processors with AVX2 that multiply and add in one step, and whether this
// is one.
#define PLANLOC_FUSED __attribute__((target("avx2,fma")))
#define PLANLOC_HAS_FUSED (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
#else
#define PLANLOC_WIDE_VECTORS
#endif

#endif  // PLANLOC_FACILITIES_WIDE_VECTORS_H_
