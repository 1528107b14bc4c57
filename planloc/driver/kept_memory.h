// The memory of a run with many small programs.
#ifndef PLANLOC_DRIVER_KEPT_MEMORY_H_
#define PLANLOC_DRIVER_KEPT_MEMORY_H_

namespace planloc {

// From now on the process keeps freed memory for its next allocations, up to some 64 megabytes,
// where the C library would give it back to the system: each pass of a walk takes what the one
// before gave back. For programs, not for libraries.
void keep_freed_memory();

}  // namespace planloc

#endif  // PLANLOC_DRIVER_KEPT_MEMORY_H_
