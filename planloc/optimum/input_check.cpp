#include "planloc/optimum/input_check.h"

#include <array>
#include <charconv>

#include "planloc/optimum/minimise.h"

namespace planloc::detail {

std::string number_text(double d) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), d).ptr};
}

void check_options(std::initializer_list<std::pair<const char*, double>> options) {
  for (const auto& [name, value] : options) {
    if (value >= 0) continue;
    throw bad_problem(std::string("option ") + name + " is " + number_text(value) +
                      ": must be 0 or more");
  }
}

void check_options(const minimise_options& options) {
  check_options({{"relative_gap", options.relative_gap},
                 {"absolute_gap", options.absolute_gap},
                 {"seconds", options.seconds},
                 {"threads", options.threads}});
}

}  // namespace planloc::detail
