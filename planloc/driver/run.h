// One run of `cellwalk`, from the command line to the closed window.
#ifndef PLANLOC_DRIVER_RUN_H_
#define PLANLOC_DRIVER_RUN_H_

#include "planloc/foundation/containers/string.h"

namespace planloc {

// Solves the problem that the files of the command line describe (parse_args.h), and saves the
// picture of the window in the file `picture`, unless the name is empty; one that can't be saved is
// reported by the window, and the run goes on. Returns 0; every failure of the input ends the
// process instead.
int run(int argc, const char* const* argv, const string& picture);

}  // namespace planloc

#endif  // PLANLOC_DRIVER_RUN_H_
