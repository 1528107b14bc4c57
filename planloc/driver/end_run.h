// The one place where the driver ends the process before the end of a run.
#ifndef PLANLOC_DRIVER_END_RUN_H_
#define PLANLOC_DRIVER_END_RUN_H_

namespace planloc {

[[noreturn]] void end_run(int status);

}  // namespace planloc

#endif  // PLANLOC_DRIVER_END_RUN_H_
