#include "planloc/driver/run.h"

#include <fstream>

#include "planloc/driver/cell_geometry.h"
#include "planloc/driver/drawing.h"
#include "planloc/driver/input.h"
#include "planloc/driver/page.h"
#include "planloc/driver/parse_args.h"
#include "planloc/driver/problem.h"
#include "planloc/driver/walk.h"

namespace planloc {
namespace {

constexpr int kCloseValue = 0;

void open_window(const frame& f) {
  W.init(f.xmin, f.xmax, f.ymin, 0, true);
  W.button("Close", kCloseValue, nullptr);
  W.set_show_coordinates(f.show_coords);
  W.display(60, 20);
  W.display();
}

void read_problem(const string& l_name, const string& g_name) {
  std::ifstream locations(l_name.cstring());
  std::ifstream gauge_file(g_name.cstring());
  problem.read(locations, gauge_file);
}

void log_order_weights(std::ostream& log_out, const double* weights) {
  for (int i = 0; i < fac.size(); ++i) log_out << "par" << i + 1 << "=" << weights[i] << "; ";
  log_out << std::endl;
}

void wait_for_close() {
  point p;
  while (W.read_mouse(p) != kCloseValue) continue;
}

}  // namespace

int run(int argc, const char* const* argv, const string& picture) {
  IlcInitFloat();
  IlcManager m(1);
  string d_name, l_name, g_name, p_name, o_name, s_name;
  parse_args(argc, argv, d_name, l_name, g_name, p_name, o_name, s_name);

  const frame f = read_frame(d_name);
  ps_out.open(s_name.cstring());
  ps_begin(f.xmin, f.ymin);
  open_window(f);

  read_problem(l_name, g_name);
  std::ofstream log_out(o_name.cstring());
  std::ifstream par_in(p_name.cstring());
  ps_hairlines();
  for_each_facility(draw_facility);

  ps_begin_route();
  const point start_pt(0, 0);
  draw_point(start_pt);
  ps_point(start_pt);
  IlcIntArray sigma;
  cell_of_point(m, start_pt, sigma);
  log_out << "starting point=" << start_pt << std::endl;
  log_permutation(log_out, "sigma=", sigma);

  parameter_reader parameters(m, par_in, p_name);
  double** const coef = parameters.read_order_weights();
  log_order_weights(log_out, coef[0]);
  parameters.read_rows();

  walk(m, sigma, coef, start_pt, log_out);
  ps_end();
  if (picture.length() > 0) W.save(picture);
  wait_for_close();
  return 0;
}

}  // namespace planloc
