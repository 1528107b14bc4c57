#include "planloc/driver/kept_memory.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace planloc {

void keep_freed_memory() {
#ifdef __GLIBC__
  mallopt(M_MMAP_THRESHOLD, 1 << 25);
  mallopt(M_TRIM_THRESHOLD, 1 << 26);
#endif
}

}  // namespace planloc
