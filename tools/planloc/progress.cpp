#include "tools/planloc/progress.h"

#include <unistd.h>

#include <cmath>
#include <iostream>

#include "tools/planloc/numbers.h"

namespace planloc::tool {

progress_line::progress_line()
    : terminal_(::isatty(STDERR_FILENO) == 1), next_(clock::now() + std::chrono::seconds(1)) {}

progress_line::~progress_line() {
  if (shown_) std::cerr << "\r\033[K" << std::flush;
}

void progress_line::show(const search_progress& now) {
  std::string text = "value " + rounded(now.value, 8) + ", at least " + rounded(now.lower_bound, 8);
  if (now.value != 0 && std::isfinite(now.lower_bound)) {
    text +=
        ", gap " + rounded(100 * (now.value - now.lower_bound) / std::fabs(now.value), 3) + " %";
  }
  if (now.cells > 0) text += ", " + std::to_string(now.cells) + " cells open";
  show(text);
}

void progress_line::show(const std::string& text) {
  if (!terminal_ || clock::now() < next_) return;
  next_ = clock::now() + std::chrono::milliseconds(200);
  shown_ = true;
  std::cerr << '\r' << text << "\033[K" << std::flush;
}

}  // namespace planloc::tool
