#include "planloc/driver/run.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

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
constexpr int kGivenUp = 3;  // exit status

void open_window(const frame& f) {
  W.init(f.xmin, f.xmax, f.ymin, 0, true);
  W.button("Close", kCloseValue, nullptr);
  W.set_show_coordinates(f.show_coords);
  W.display(60, 20);
  W.display();
}

// Which files are being read, for a report on the error stream that ends the process without their
// names.
const string* files_under_way = nullptr;

void name_files_under_way() {
  if (!files_under_way || BASE_WINDOW::has_screen()) return;
  std::cerr << "cellwalk: while reading -l \"" << files_under_way[0] << "\" and -g \""
            << files_under_way[1] << "\"" << std::endl;
}

void refuse_vast_problem(const string& l_name) {
  constexpr int kFewestVertices = 3;
  if (fac.size() <= kMostVertices / kFewestVertices) return;
  long vertices = 0;
  for_each_facility([&](const location&, const polygauge& g) { vertices += g.size(); });
  if (vertices <= kMostVertices) return;
  refuse("-l", l_name,
         std::to_string(fac.size()) + " facilities, whose gauges have " + std::to_string(vertices) +
             " vertices together; expected at most " + std::to_string(kMostVertices) +
             ", since the page draws every one");
}

void read_problem(const string& l_name, const string& g_name) {
  static string names[2];
  names[0] = l_name;
  names[1] = g_name;
  files_under_way = names;
  std::atexit(name_files_under_way);
  std::ifstream locations(l_name.cstring());
  std::ifstream gauge_file(g_name.cstring());
  run_problem.read(locations, gauge_file);
  files_under_way = nullptr;
  refuse_vast_problem(l_name);
}

void tell_unwritten(const std::ofstream& out, const char* option, const string& name) {
  if (!out.fail()) return;
  std::cerr << "cellwalk: option " << option << ", file \"" << name << "\": can't write the file"
            << std::endl;
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

int run(int argc, const char* const* argv, const string& picture, long max_passes) {
  IlcInitFloat();
  IlcManager m(1);
  string d_name, l_name, g_name, p_name, o_name, s_name;
  parse_args(argc, argv, d_name, l_name, g_name, p_name, o_name, s_name);

  const frame f = read_frame(d_name);
  ps_out.open(s_name.cstring());
  const bool page_opened = ps_out.is_open();
  tell_unwritten(ps_out, "-s", s_name);
  ps_begin(f.xmin, f.ymin);
  open_window(f);

  read_problem(l_name, g_name);
  std::ofstream log_out(o_name.cstring());
  tell_unwritten(log_out, "-o", o_name);
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

  const bool ended = walk(m, sigma, coef, start_pt, log_out, max_passes);
  ps_end();
  // Files that could be opened, on a disk that is full.
  if (page_opened) tell_unwritten(ps_out, "-s", s_name);
  if (log_out.is_open()) tell_unwritten(log_out, "-o", o_name);
  if (!ended) {
    std::cerr << "cellwalk: the walk was not through after " << max_passes
              << " programs (--max-passes)" << std::endl;
  }
  if (picture.length() > 0) W.save(picture);
  wait_for_close();
  return ended ? 0 : kGivenUp;
}

}  // namespace planloc
