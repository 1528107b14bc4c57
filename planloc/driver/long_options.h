// The options of `cellwalk` that begin with two dashes. What parse_args.h reads is what remains.
#ifndef PLANLOC_DRIVER_LONG_OPTIONS_H_
#define PLANLOC_DRIVER_LONG_OPTIONS_H_

#include <limits>
#include <string>
#include <vector>

#include "planloc/foundation/containers/string.h"

namespace planloc {

inline constexpr const char* kUsage =
    "usage: cellwalk -d frame -l locations -g gauges -p parameters -o log -s page "
    "[--picture=file.png] [--max-passes=N]";

// The page of --help.
extern const char* const kHelp;

struct long_options {
  bool help = false;
  bool version = false;
  string picture;  // where to save the picture; empty: nowhere
  long max_passes = std::numeric_limits<long>::max();
  std::vector<const char*>
      others;  // the arguments that are no long options, the program's name first
  // Why the command line is refused; empty if it is not.
  std::string refusal;
};

// --picture=file and --max-passes=N, or the value as the next argument; --help; --version. Any
// other argument that begins with two dashes is refused, with the option that it resembles.
long_options parse_long_options(int argc, const char* const* argv);

}  // namespace planloc

#endif  // PLANLOC_DRIVER_LONG_OPTIONS_H_
