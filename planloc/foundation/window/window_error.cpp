// The error handler of programs with a window.
#include <cstdlib>
#include <memory>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/window/screen.h"
#include "planloc/foundation/window/window.h"

#if __has_include(<execinfo.h>)
#include <execinfo.h>
#endif

namespace planloc {

namespace {

enum answer : int { kExit, kAbort, kIgnore };

void show_stack() {
#if __has_include(<execinfo.h>)
  constexpr int kDeepest = 24;
  void* calls[kDeepest];
  const int depth = backtrace(calls, kDeepest);
  const std::unique_ptr<char*, void (*)(void*)> names(backtrace_symbols(calls, depth), std::free);
  if (!names) return;
  window panel("FLNZ Stack Trace");
  panel.text_item("Exploring Stack ...");
  for (int i = 0; i < depth; ++i) panel.text_item(string("\\tt %s", names.get()[i]));
  panel.button("ok");
  panel.panel_open();
#endif
}

int ask(int code, const char* message) {
  window panel("FLNZ EXCEPTION HANDLER");
  panel.text_item(code == 0 ? "\\bf\\blue Warning" : "\\bf\\red Error");
  panel.text_item(string("\\tt %s", message));
  if (code == 0) {
    panel.button("continue", kIgnore);
  } else {
    panel.button("exit", kExit);
    panel.button("abort", kAbort);
    panel.button("ignore", kIgnore);
  }
  return panel.panel_open();
}

}  // namespace

void window_error_handler(int code, const char* message) {
  if (!BASE_WINDOW::has_screen()) return default_error_handler(code, message);
  switch (ask(code, message)) {
    case kExit:
      detail::clear_screen();
      std::exit(0);
    case kAbort:
      show_stack();
      detail::clear_screen();
      std::abort();
    default:
      return;
  }
}

}  // namespace planloc
