#include "fuzz/endings.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "planloc/driver/end_run.h"
#include "planloc/foundation/containers/error_handler.h"
#include "planloc/model/reader_memory.h"
#include "planloc/model/reporter.h"

namespace planloc {

// ----- In the place of model/reporter.cpp and driver/end_run.cpp -----

bool window_reports_enabled = false;

detail::reporter_start_up::reporter_start_up() = default;

void MaviError(const char*, int, int, bool) { throw fuzz::ending(); }
void MaviError(const string&, int, int, bool) { throw fuzz::ending(); }
void MaviMessage(const char*, int, bool) {}
void MaviMessage(const string&, int, bool) {}
void MaviQuery(const char*, int, int, bool) {}
void end_run(int) { throw fuzz::ending(); }

namespace fuzz {

std::vector<std::string> files_of(const std::uint8_t* data, std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  std::vector<std::string> files(1);
  for (std::string line; std::getline(in, line);) {
    if (line == "----") {
      files.emplace_back();
    } else {
      files.back() += line;
      if (!in.eof()) files.back() += '\n';
    }
  }
  return files;
}

void start() {
  std::cout.rdbuf(nullptr);
  std::cerr.rdbuf(nullptr);
  set_error_handler([](int code, const char*) {
    if (code > 0) throw ending();
  });
  detail::readers() = detail::reader_memory();
}

void check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

}  // namespace fuzz
}  // namespace planloc

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace planloc;
  fuzz::start();
  try {
    for (const std::string& file : fuzz::files_of(data, size)) fuzz::read(file);
  } catch (const fuzz::ending&) {
  }
  return 0;
}
