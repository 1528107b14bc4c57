// Where every check of the location model and of `facilities` ends: errors, messages and questions
// to the user. Failures of the foundation go through `error_handler`
// (planloc/foundation/containers/error_handler.h) instead.
//
// A report whose caller asks for a window with `use_window` is a panel on the screen, which waits
// for one of its buttons; without a screen (`BASE_WINDOW::has_screen`), or for other callers, it is
// one line on a standard stream. Nothing catches a failure: the process ends through std::exit, so
// objects on the stack are not destroyed and file-level ones are.
//
// Reports of several threads come one after the other. An end through std::exit does not wait for
// the other threads: what they still use of file-level objects goes away under them.
//
// Codes are shown and nothing branches on them: 11xx Loc_Vector, 12xx location, 13xx facilities,
// 15xx location files, 16xx gauge files, 17xx gauges, 21xx graph files.
#ifndef PLANLOC_MODEL_REPORTER_H_
#define PLANLOC_MODEL_REPORTER_H_

#include "planloc/foundation/containers/string.h"

namespace planloc {

// Whether a report that asks for a window may have one. True from the start of the process on;
// change it before there are other threads.
extern bool window_reports_enabled;

// Shows the panel "MAVI-ERROR" with message and code until "OK" is pressed, or writes
// "MAVI error: <message> ErrorCode: <code>" to the error stream. Ends the process with
// `exit_status`, the panel still open.
[[noreturn]] void MaviError(const char* message, int code, int exit_status, bool use_window);
[[noreturn]] void MaviError(const string& message, int code, int exit_status, bool use_window);

// Shows the panel "MAVI-MESSAGE" until "OK" is pressed, or writes "MAVI message: <message>" to the
// standard output. Ends the process with status 0 if `stop_if_zero` is 0, else returns.
void MaviMessage(const char* message, int stop_if_zero, bool use_window);
void MaviMessage(const string& message, int stop_if_zero, bool use_window);

// Asks in the panel "MAVI-MESSAGE". "cancel" ends the process with `status_on_cancel`; "ok" ends it
// with status 0 if `stop_if_zero` is 0, else the call returns.
// A stream can't ask: there the line of MaviMessage is written and the process ends with status 0
// if `status_on_cancel` is 0, whatever `stop_if_zero` is.
void MaviQuery(const char* message, int status_on_cancel, int stop_if_zero, bool use_window);

namespace detail {

// One object in each unit that can report; the first to start enables windows.
class reporter_start_up {
 public:
  reporter_start_up();
};
static const reporter_start_up reporter_started;

}  // namespace detail

}  // namespace planloc

#endif  // PLANLOC_MODEL_REPORTER_H_
