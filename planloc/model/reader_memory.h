// What the readers of files remember from one call to the next: all that outlives a call stands
// here. It is part of what they read, as gauge_reader.h and location_reader.cpp tell.
#ifndef PLANLOC_MODEL_READER_MEMORY_H_
#define PLANLOC_MODEL_READER_MEMORY_H_

#include "planloc/model/gauge_scanner.h"
#include "planloc/model/location_scanner.h"

namespace planloc::detail {

struct reader_memory {
  gauge_scan gauges;  // vertices and cone types of a gauge in which a file ended
  location_scan
      locations;  // the kind of the last file, and the numbers of a record in which it ended
};

// That of the calling thread. Assigning `reader_memory()` to it forgets everything.
reader_memory& readers();

}  // namespace planloc::detail

#endif  // PLANLOC_MODEL_READER_MEMORY_H_
