#include "planloc/model/reporter.h"

#include <cstdlib>
#include <iostream>

namespace planloc {

bool window_reports_enabled = false;

namespace detail {
namespace {
int units_started = 0;
}

reporter_start_up::reporter_start_up() {
  if (units_started++ == 0) window_reports_enabled = true;
}

}  // namespace detail

namespace {

void write_message(const char* message) { std::cout << "MAVI message: " << message << std::endl; }

}  // namespace

void MaviError(const char* message, int code, int exit_status, bool /*use_window*/) {
  std::cerr << "MAVI error: " << message << " ErrorCode: " << code << std::endl;
  std::exit(exit_status);
}

void MaviError(const string& message, int code, int exit_status, bool use_window) {
  MaviError(message.cstring(), code, exit_status, use_window);
}

void MaviMessage(const char* message, int stop_if_zero, bool /*use_window*/) {
  write_message(message);
  if (stop_if_zero == 0) std::exit(0);
}

void MaviMessage(const string& message, int stop_if_zero, bool use_window) {
  MaviMessage(message.cstring(), stop_if_zero, use_window);
}

void MaviQuery(const char* message, int status_on_cancel, int /*stop_if_zero*/,
               bool /*use_window*/) {
  write_message(message);
  // The second number is tested, not the third: intended.
  if (status_on_cancel == 0) std::exit(0);
}

}  // namespace planloc
