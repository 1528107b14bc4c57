#include "planloc/driver/parse_args.h"

namespace planloc {
namespace {

struct option {
  string& name;
  char letter;
  bool pending = false;
};

}  // namespace

void parse_args(int argc, const char* const* argv, string& d_name, string& l_name, string& g_name,
                string& p_name, string& o_name, string& s_name) {
  option options[] = {{d_name, 'd'}, {l_name, 'l'}, {g_name, 'g'},
                      {p_name, 'p'}, {o_name, 'o'}, {s_name, 's'}};
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
