#include "planloc/driver/drawing.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "planloc/driver/page.h"
#include "planloc/driver/run.h"
#include "planloc/foundation/window/color.h"
#include "tests/driver/problem_fixture.h"

namespace planloc {
namespace {

const rgb kWhite = detail::kColorTable[0];
const rgb kBlack = detail::kColorTable[1];
const rgb kBlue = detail::kColorTable[4];
const rgb kOrange = detail::kColorTable[7];

// The picture of the window, by user coordinates and an offset in pixels.
rgb at(double x, double y, int dx = 0, int dy = 0) {
  return W.pixel(W.pixel_x(x) + dx, W.pixel_y(y) + dy);
}

// Thin lines are smoothed: a pixel counts as coloured from a third of the colour upwards.
double share(const rgb& pixel, const rgb& colour) {
  const auto distance = [](const rgb& a, const rgb& b) {
    return std::hypot(a.red - b.red, a.green - b.green, a.blue - b.blue);
  };
  return 1.0 - distance(pixel, colour) / distance(kWhite, colour);
}
bool is_like(const rgb& pixel, const rgb& colour) { return share(pixel, colour) > 0.33; }

class DrawingTest : public ProblemTest {
 protected:
  // 32.5 pixels to a unit.
  DrawingTest() {
    W.init(-10, 10, -10);
    W.display();
    W.set_line_style(0);
  }
};

TEST_F(DrawingTest, Facility) {
  add_gauge({{8, 0}, {0, 8}, {-8, 0}, {0, -8}});
  add_facility(0, 0, 2);  // the ball has the radius 4
  draw_facility(fac.head(), gauges.head());
  EXPECT_EQ(at(0, 0), kBlack);
  EXPECT_TRUE(is_like(at(0, 0, 1, 1), kBlack));
  EXPECT_EQ(at(0, 0, 5, 5), kWhite);
  for (const double sign : {-1.0, 1.0}) {
    EXPECT_TRUE(is_like(at(sign * 2, 2), kOrange));
    EXPECT_TRUE(is_like(at(sign * 2, -2), kOrange));
    EXPECT_EQ(at(sign * 2.2, 2.2), kWhite);
    // The directions go on beyond the ball, one pixel wide.
    EXPECT_EQ(at(sign * 8, 0), kBlack);
    EXPECT_EQ(at(sign * 8, 0, 0, 1), kWhite);
    EXPECT_EQ(at(sign * 8, 0, 0, -1), kWhite);
  }
  // A column cuts the edges, two pixels wide and at 45 degrees, over twice the square root of 2.
  double coloured = 0;
  for (int dy = -6; dy <= 6; ++dy) coloured += std::max(0.0, share(at(2, 2, 0, dy), kOrange));
  EXPECT_NEAR(coloured, 2 * std::sqrt(2.0), 0.6);
}

TEST_F(DrawingTest, Route) {
  draw_point({3, 5});
  EXPECT_EQ(at(3, 5), kBlue);
  EXPECT_EQ(at(3, 5, 2, 0), kBlue);
  EXPECT_EQ(at(3, 5, 5, 0), kWhite);
  draw_facility_point({-3, 5});
  EXPECT_EQ(at(-3, 5), kBlack);
  EXPECT_EQ(at(-3, 5, 3, 0), kWhite);
  draw_route_segment({-5, 2}, {5, 2});
  int blue = 0;
  int white = 0;
  int length = 0;
  for (int px = W.pixel_x(-5) + 5; px < W.pixel_x(5) - 5; ++px) {
    const rgb colour = W.pixel(px, W.pixel_y(2));
    length = is_like(colour, kBlue) ? length + 1 : 0;
    EXPECT_LE(length, 3);  // dots, no dashes
    blue += length > 0;
    white += colour == kWhite;
  }
  EXPECT_GT(blue, 50);
  EXPECT_GT(white, 50);
}

// A whole run in this process: what the window was told, and the marks on it.
class WholeRunTest : public ProblemTest {
 protected:
  WholeRunTest() { W.set_line_style(0); }
  ~WholeRunTest() override { std::filesystem::remove_all(dir_); }

  std::string file(const char* name, const char* text) {
    std::filesystem::create_directories(dir_);
    std::ofstream(dir_ / name) << text;
    return dir_ / name;
  }

 private:
  std::filesystem::path dir_ =
      std::filesystem::temp_directory_path() / ("planloc_drawing_test." + std::to_string(getpid()));
};

// The rest of the page is compared letter by letter by the runs of the examples.
TEST_F(WholeRunTest, ThePageNegatesZeroTooAndIsFlushed) {
  const std::string s = file("s", "");
  ps_out.open(s);
  ps_begin(0, 0);
  std::ostringstream page;
  page << std::ifstream(s).rdbuf();
  EXPECT_EQ(page.str(),
            "%!\n25 25 scale\n-0 -0 translate\n0 setlinewidth\n[/DeviceRGB] setcolorspace\n\n");
  ps_out.close();
}

TEST_F(WholeRunTest, WindowOfARun) {
  const std::string d = file("d", "-4 9 -3.5 1");
  const std::string l = file("l", "begin {location}\n3 2 1 {0}\n6 2 1 {0}\nend\n");
  const std::string g = file("g", "begin {polygauge}\n1 0\n0 1\n-1 0\n0 -1\nend {polygauge}\n");
  const std::string p = file("p", "2 1  1 1 -1 1 -1 -1 1 -1  1 1 -1 1 -1 -1 1 -1");
  const char* const argv[] = {"cellwalk", "-d",      d.c_str(), "-l",      l.c_str(),
                              "-g",       g.c_str(), "-p",      p.c_str(), nullptr};
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(run(9, argv, string()), 0);
  ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(W.xmin(), -4);
  EXPECT_EQ(W.xmax(), 9);
  EXPECT_EQ(W.ymin(), -3.5);
  EXPECT_EQ(W.grid(), 0);
  EXPECT_TRUE(W.show_coordinates());
  ASSERT_EQ(W.panel_items().size(), 1);
  EXPECT_STREQ(W.panel_items().head().label.cstring(), "Close");
  EXPECT_EQ(W.panel_items().head().value, 0);
  EXPECT_EQ(at(0, 0), kBlue);   // the start
  EXPECT_EQ(at(3, 2), kBlue);   // the solution, drawn over its facility
  EXPECT_EQ(at(6, 2), kBlack);  // the other facility
  EXPECT_TRUE(is_like(at(3.5, 2.5), kOrange));
  // The route, from the start to the solution.
  int blue = 0;
  for (double t = 0.2; t < 0.8; t += 0.01) blue += is_like(at(3 * t, 2 * t), kBlue);
  EXPECT_GT(blue, 5);
}

}  // namespace
}  // namespace planloc
