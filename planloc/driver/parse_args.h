// The command line of `cellwalk`: six options, each followed by a file name, in any order.
#ifndef PLANLOC_DRIVER_PARSE_ARGS_H_
#define PLANLOC_DRIVER_PARSE_ARGS_H_

#include "planloc/foundation/containers/string.h"

namespace planloc {

// Fills the names of the files that stand behind -d, -l, -g, -p, -o and -s.
//
// 1. An argument that begins with `-` is an option, and only its second character counts. One of
//    the six makes its name wait for an operand; any other does nothing.
// 2. Any other argument is an operand. Every name that waits becomes it; without one it is dropped.
// 3. Until its operand comes, a name that waits is the first character of the argument behind its
//    option (empty behind the last argument). A name that no option asks for stays as it was.
void parse_args(int argc, const char* const* argv, string& d_name, string& l_name, string& g_name,
                string& p_name, string& o_name, string& s_name);

}  // namespace planloc

#endif  // PLANLOC_DRIVER_PARSE_ARGS_H_
