// A failure ends the process. A fuzz target has to survive it, so endings.cpp takes the place of
// what ends the process (the reporter of the model, the driver's end_run, the foundation's handler)
// and throws instead; the archive that the target links has the real ones, which are then not
// taken.
#ifndef PLANLOC_FUZZ_ENDINGS_H_
#define PLANLOC_FUZZ_ENDINGS_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace planloc::fuzz {

// Thrown in the place of an end of the process.
struct ending {};

// The input as text, cut at each line "----": files that are read one after the other.
std::vector<std::string> files_of(const std::uint8_t* data, std::size_t size);

// Before each input: forgets what the readers remember, throws away what goes to standard output.
void start();

// What a target does with one file of its input. An ending leaves it, and the input.
void read(const std::string& file);

// Ends the run of the fuzzer with a report.
void check(bool holds, const char* what);

}  // namespace planloc::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

#endif  // PLANLOC_FUZZ_ENDINGS_H_
