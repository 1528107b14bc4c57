#include "planloc/driver/page.h"

#include <filesystem>
#include <sstream>

#include "planloc/driver/drawing.h"
#include "tests/driver/problem_fixture.h"

namespace planloc {
namespace {

class PageTest : public ProblemTest {
 protected:
  PageTest() {
    W.init(-10, 10, -10);
    W.display();
    ps_out.open(file_);
  }
  ~PageTest() override {
    ps_out.close();
    std::filesystem::remove(file_);
  }

  // Read while the page is open: every line is flushed.
  std::string page() const {
    std::ostringstream text;
    text << std::ifstream(file_).rdbuf();
    return text.str();
  }

 private:
  std::filesystem::path file_ =
      std::filesystem::temp_directory_path() / ("planloc_page_test." + std::to_string(getpid()));
};

TEST_F(PageTest, HeadAndEnd) {
  ps_begin(-1, 2.5);
  ps_hairlines();
  ps_begin_route();
  ps_point({1, 2});
  ps_segment({0, 0}, {1, 2});
  EXPECT_EQ(page(),
            "%!\n25 25 scale\n1 -2.5 translate\n0 setlinewidth\n[/DeviceRGB] setcolorspace\n\n"
            "0 setlinewidth\n"
            "gsave\nnewpath\n0.0 1.0 0.0 setrgbcolor\n"
            "closepath\nstroke\nnewpath\n1 2 0.1 0 360 arc\nclosepath\nfill\nnewpath\n"
            "0 0 moveto 1 2 lineto\n");
  const std::size_t open = page().size();
  ps_end();
  EXPECT_EQ(page().substr(open), "closepath\nstroke\ngrestore\nshowpage\n");
}

TEST_F(PageTest, ZeroIsNegatedToo) {
  ps_begin(0, 0);
  EXPECT_NE(page().find("\n-0 -0 translate\n"), std::string::npos);
}

// Weight 2 halves the ball; the last edge goes back to the first vertex; a direction is 100 times
// as long as the vertex.
TEST_F(PageTest, Facility) {
  add_gauge({{2, 0}, {-1, 1}, {-1, -1}});
  add_facility(1, 1, 2);
  draw_facility(fac.head(), gauges.head());
  const auto block = [](const std::string& colour, const std::string& line) {
    return "gsave\nnewpath\n" + colour + " setrgbcolor\n" + line +
           "\nclosepath\nstroke\ngrestore\n\n";
  };
  const std::string edge = "0.0 0.0 1.0";
  const std::string direction = "0.5 0.5 0.5";
  EXPECT_EQ(page(), "closepath\nstroke\nnewpath\n1 1 0.1 0 360 arc\nclosepath\nfill\nnewpath\n" +
                        block(edge, "2 1 moveto 0.5 1.5 lineto") +
                        block(direction, "1 1 moveto 101 1 lineto") +
                        block(edge, "0.5 1.5 moveto 0.5 0.5 lineto") +
                        block(direction, "1 1 moveto -49 51 lineto") +
                        block(edge, "0.5 0.5 moveto 2 1 lineto") +
                        block(direction, "1 1 moveto -49 -49 lineto"));
}

}  // namespace
}  // namespace planloc
