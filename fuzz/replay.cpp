// Gives the files of a folder to a fuzz target, where there is no fuzzer to do it.
// Usage: <target>_replay folder
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/endings.h"

int main(int argc, char** argv) {
  int files = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(entry.path(), std::ios::binary);
      const std::string text((std::istreambuf_iterator<char>(in)), {});
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
      ++files;
    }
  }
  std::printf("%d files\n", files);
  return files > 0 ? 0 : 1;
}
