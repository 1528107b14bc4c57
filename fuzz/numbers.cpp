// The files of plain numbers: the frame, and the parameters of two facilities with one gauge.
#include <cmath>
#include <sstream>

#include "fuzz/endings.h"
#include "planloc/driver/input.h"
#include "planloc/driver/problem.h"

namespace planloc::fuzz {
namespace {

void set_problem() {
  if (!fac.empty()) return;
  gauges.append(polygauge::l1_gauge());
  for (const double x : {0.0, 4.0}) {
    fac.append(location(2.0, 1.0, x, 0.0, 1.0));
    gauge_of.append(0);
  }
}

void read_parameters(std::istream& in) {
  IlcInitFloat();
  IlcManager m(IlcEdit);
  struct end_of_manager {
    IlcManager& m;
    ~end_of_manager() { m.end(); }
  } const at_end{m};
  const string name("parameters");
  parameter_reader reader(m, in, name);
  double** const coef = reader.read_order_weights();
  reader.read_rows();
  for (int k = 0; k <= 8; ++k) {
    check(!std::isnan(coef[k][0]) && !std::isnan(coef[k][1]), "every number was read");
  }
}

void read_frame_of(std::istream& in) {
  const frame f = read_frame(in, "frame");
  check(!std::isnan(f.xmin + 0 * f.xmax) || std::isinf(f.xmax), "a frame of numbers");
}

}  // namespace

// A file that is no frame may be parameters.
void read(const std::string& file) {
  set_problem();
  std::istringstream frame_file(file);
  try {
    read_frame_of(frame_file);
  } catch (const ending&) {
  }
  std::istringstream parameter_file(file);
  read_parameters(parameter_file);
}

}  // namespace planloc::fuzz
