// One run of `cellwalk`, from the command line to the closed window.
#ifndef PLANLOC_DRIVER_RUN_H_
#define PLANLOC_DRIVER_RUN_H_

#include <limits>

#include "planloc/foundation/containers/string.h"

namespace planloc {

// Solves the problem that the files of the command line describe (parse_args.h), and saves the
// picture of the window in the file `picture`, unless the name is empty; one that can't be saved is
// reported by the window, and the run goes on. An output file that can't be written is told on the
// error stream, and changes nothing else. Returns 0, or 3 if the walk was given up after
// `max_passes` programs; every failure of the input ends the process instead. Locations whose
// gauges have more than `kMostVertices` vertices together are refused before the page grows beyond
// all use.
inline constexpr int kMostVertices = 2'000'000;
int run(int argc, const char* const* argv, const string& picture,
        long max_passes = std::numeric_limits<long>::max());

}  // namespace planloc

#endif  // PLANLOC_DRIVER_RUN_H_
