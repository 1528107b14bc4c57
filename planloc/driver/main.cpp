// The program `cellwalk`.
#include <iostream>

#include "planloc/driver/kept_memory.h"
#include "planloc/driver/long_options.h"
#include "planloc/driver/run.h"

int main(int argc, char** argv) {
  planloc::long_options options = planloc::parse_long_options(argc, argv);
  if (!options.refusal.empty()) {
    std::cerr << "cellwalk: " << options.refusal << '\n' << planloc::kUsage << '\n';
    return 1;
  }
  if (options.help) {
    std::cout << planloc::kHelp;
    return 0;
  }
  if (options.version) {
    std::cout << "cellwalk " PLANLOC_VERSION "\n";
    return 0;
  }
  planloc::keep_freed_memory();
  const int others = static_cast<int>(options.others.size());
  options.others.push_back(nullptr);
  return planloc::run(others, options.others.data(), options.picture, options.max_passes);
}
