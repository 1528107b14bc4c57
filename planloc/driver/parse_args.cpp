#include "planloc/driver/parse_args.h"

namespace planloc {
namespace {

struct option {
  char letter;
  string& name;
  bool pending = false;
};

}  // namespace

void parse_args(int argc, const char* const* argv, string& d_name, string& l_name, string& g_name,
                string& p_name, string& o_name, string& s_name) {
  option options[] = {{'d', d_name}, {'l', l_name}, {'g', g_name},
                      {'p', p_name}, {'o', o_name}, {'s', s_name}};
  for (int i = 1; i < argc; ++i) {
    const char* const a = argv[i];
    const bool is_option = a[0] == '-';
    for (option& o : options) {
      if (is_option && a[1] == o.letter) {
        o.pending = true;
        // argv[argc] is null: behind the last argument stands an empty character.
        o.name = string(i + 1 < argc ? argv[i + 1][0] : '\0');
      } else if (!is_option && o.pending) {
        o.pending = false;
        o.name = string(a);
      }
    }
  }
}

}  // namespace planloc
