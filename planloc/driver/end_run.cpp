#include "planloc/driver/end_run.h"

#include <cstdlib>

namespace planloc {

void end_run(int status) { std::exit(status); }

}  // namespace planloc
