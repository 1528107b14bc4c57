#include "planloc/driver/page.h"

#include "planloc/driver/problem.h"

namespace planloc {
namespace {

void lines(std::initializer_list<const char*> texts) {
  for (const char* text : texts) ps_out << text << std::endl;
}

void begin_block(const char* colour) { lines({"gsave", "newpath", colour}); }

void end_block() { lines({"closepath", "stroke", "grestore", ""}); }

}  // namespace

void ps_begin(double xmin, double ymin) {
  lines({"%!", "25 25 scale"});
  ps_out << -xmin << " " << -ymin << " translate" << std::endl;
  lines({"0 setlinewidth", "[/DeviceRGB] setcolorspace", ""});
}

void ps_hairlines() { lines({"0 setlinewidth"}); }

void ps_point(const point& p) {
  lines({"closepath", "stroke", "newpath"});
  ps_out << p.xcoord() << " " << p.ycoord() << " 0.1 0 360 arc" << std::endl;
  lines({"closepath", "fill", "newpath"});
}

void ps_segment(const point& a, const point& b) {
  ps_out << a.xcoord() << " " << a.ycoord() << " moveto " << b.xcoord() << " " << b.ycoord()
         << " lineto" << std::endl;
}

void ps_direction(const point& a, const point& b) {
  ps_segment(a, point(a.xcoord() + 100 * (b.xcoord() - a.xcoord()),
                      a.ycoord() + 100 * (b.ycoord() - a.ycoord())));
}

void ps_ball_edge(const point& a, const point& b) {
  begin_block("0.0 0.0 1.0 setrgbcolor");
  ps_segment(a, b);
  end_block();
}

void ps_fundamental_direction(const point& a, const point& b) {
  begin_block("0.5 0.5 0.5 setrgbcolor");
  ps_direction(a, b);
  end_block();
}

void ps_begin_route() { begin_block("0.0 1.0 0.0 setrgbcolor"); }

void ps_end() {
  lines({"closepath", "stroke", "grestore", "showpage"});
  ps_out.close();
}

}  // namespace planloc
