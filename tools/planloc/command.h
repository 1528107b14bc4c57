// The subcommands. Each adds itself to the command line with its options, and puts into `run` what
// is to be done if it is the one that was called.
#ifndef PLANLOC_TOOLS_PLANLOC_COMMAND_H_
#define PLANLOC_TOOLS_PLANLOC_COMMAND_H_

#include <functional>

#include "tools/planloc/errors.h"

namespace CLI {
class App;
}

namespace planloc::tool {

using command = std::function<exit_status()>;

void add_check(CLI::App& app, command& run);
void add_classic(CLI::App& app, command& run);
void add_compare(CLI::App& app, command& run);
void add_depots(CLI::App& app, command& run);
void add_gauge(CLI::App& app, command& run);
void add_solve(CLI::App& app, command& run);
void add_verify(CLI::App& app, command& run);
void add_walk_files(CLI::App& app, command& run);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_COMMAND_H_
