// The one road by which the foundation reports a failure.
//
// Containers, numbers, geometry and the window call `error_handler(code, message)`. An application
// may install its own handler; failures of the location model go through the reporter of
// planloc/model/reporter.h instead.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_ERROR_HANDLER_H_
#define PLANLOC_FOUNDATION_CONTAINERS_ERROR_HANDLER_H_

namespace planloc {

using ErrorHandler = void (*)(int code, const char* message);

// The handler in force; initially `default_error_handler`. It is called on the thread that fails,
// by several at once if need be; install one before there are other threads.
extern ErrorHandler error_handler;

// Writes to the error stream an empty line, then "FLNZ ERROR HANDLER" ("FLNZ WARNING" for code 0),
// then the message behind a tab, then an empty line.
// 1. code > 0: the process ends by abort().
// 2. code == 0 (a warning) and code < 0: the call returns.
void default_error_handler(int code, const char* message);

// Installs `handler` and returns the one that it replaces.
ErrorHandler set_error_handler(ErrorHandler handler);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_CONTAINERS_ERROR_HANDLER_H_
