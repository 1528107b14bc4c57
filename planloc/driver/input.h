// The two files of plain numbers that a run reads: the frame (-d) and the parameters (-p).
//
// A file that can't be read or is too short is refused: one line on the error stream names the
// option, the file and what was expected, a second one tells the usage, and the process ends with
// status 1. Nothing is solved with numbers that nobody gave.
#ifndef PLANLOC_DRIVER_INPUT_H_
#define PLANLOC_DRIVER_INPUT_H_

#include <istream>
#include <string>

#include "planloc/engine/engine.h"
#include "planloc/foundation/containers/string.h"

namespace planloc {

// The part of the plane that the window shows, and whether it shows the mouse position.
struct frame {
  double xmin;
  double xmax;
  double ymin;
  bool show_coords;
};

// One line on the error stream, and another with the usage; then the process ends with status 1. A
// page that is open by then is closed as a whole one.
[[noreturn]] void refuse(const char* option, const string& file, const std::string& expected);

// Reads the -d file: xmin, xmax, ymin and an integer, non-zero to show the mouse coordinates.
frame read_frame(const string& d_name);
// The same from `in`, which failed if the file can't be read.
frame read_frame(std::istream& in, const string& d_name);

// The table of numbers of a parameter file, for the facilities and gauges of problem.h: entry 0 is
// the order weights, entry k >= 1 the row (a, b) of a gauge vertex, facility by facility. It lives
// on the heap of the manager.
class parameter_reader {
 public:
  // `in`, which failed if the file can't be read, and `p_name` must outlive the reader.
  parameter_reader(IlcManager& m, std::istream& in, const string& p_name);

  double** read_order_weights();
  void read_rows();

 private:
  double next();
  [[noreturn]] void refuse_parameters() const;

  std::istream& in_;
  bool readable_;
  const string& p_name_;
  int weights_;  // n
  int entries_;  // 1 + all gauge vertices
  int found_ = 0;
  double** coef_;
};

}  // namespace planloc

#endif  // PLANLOC_DRIVER_INPUT_H_
