#include "planloc/model/reader_memory.h"

namespace planloc::detail {

reader_memory& readers() {
  static thread_local reader_memory memory;
  return memory;
}

}  // namespace planloc::detail
