#include "planloc/model/reporter.h"

#include <cstdlib>
#include <iostream>
#include <mutex>

#include "planloc/foundation/window/window.h"

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

constexpr int kCancel = 0;
constexpr int kOk = 1;

bool has_panel(bool use_window) {
  return use_window && window_reports_enabled && BASE_WINDOW::has_screen();
}

// Reports come one at a time. One that ends the process keeps its turn, so that no other thread's
// report interferes with the end; a report from within that end, on the same thread, goes through.
std::unique_lock<std::recursive_mutex> turn() {
  static auto* const reporting = new std::recursive_mutex;
  return std::unique_lock(*reporting);
}

void write_message(const char* message) { std::cout << "MAVI message: " << message << std::endl; }

}  // namespace

void MaviError(const char* message, int code, int exit_status, bool use_window) {
  const auto mine = turn();
  if (has_panel(use_window)) {
    window panel("MAVI-ERROR");
    panel.text_item("    ");
    panel.plain_text_item(message);
    panel.text_item("    Errorcode ");
    panel.text_item(string("%4i", code));
    panel.button("OK", kOk);
    panel.display(window::kRightEdge, 0);
    panel.read_mouse();
    std::exit(exit_status);
  }
  std::cerr << "MAVI error: " << message << " ErrorCode: " << code << std::endl;
  std::exit(exit_status);
}

void MaviError(const string& message, int code, int exit_status, bool use_window) {
  MaviError(message.cstring(), code, exit_status, use_window);
}

void MaviMessage(const char* message, int stop_if_zero, bool use_window) {
  const auto mine = turn();
  if (has_panel(use_window)) {
    window panel("MAVI-MESSAGE");
    panel.text_item("    ");
    panel.plain_text_item(message);
    panel.button("OK", kOk);
    panel.panel_open(window::kRightEdge, 0);
  } else {
    write_message(message);
  }
  if (stop_if_zero == 0) std::exit(0);
}

void MaviMessage(const string& message, int stop_if_zero, bool use_window) {
  MaviMessage(message.cstring(), stop_if_zero, use_window);
}

void MaviQuery(const char* message, int status_on_cancel, int stop_if_zero, bool use_window) {
  const auto mine = turn();
  if (has_panel(use_window)) {
    window panel("MAVI-MESSAGE");
    panel.text_item("    ");
    panel.plain_text_item(message);
    panel.set_buttons_per_line(2);
    panel.button("cancel", kCancel);
    panel.button("ok", kOk);
    if (panel.panel_open(780, 150) == kCancel) std::exit(status_on_cancel);
    if (stop_if_zero == 0) std::exit(0);
    return;
  }
  write_message(message);
  // The second number is tested, not the third: intended, kept as callers know it.
  if (status_on_cancel == 0) std::exit(0);
}

}  // namespace planloc
