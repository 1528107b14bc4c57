// State, order of calls and texts of windows and panels, without a display.
#include "planloc/foundation/window/window.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/window/markup.h"

namespace planloc {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
const auto kAborted = ::testing::KilledBySignal(SIGABRT);

TEST(WindowTest, SizesAndTitles) {
  EXPECT_EQ(window(650, 500).title(), string("FLNZ Window"));
  EXPECT_EQ(window("MAVI-ERROR").title(), string("MAVI-ERROR"));
  const window labelled(10.4F, 10.5F, "walk");
  EXPECT_EQ(labelled.label(), string("walk"));
  EXPECT_EQ(labelled.title(), string("Window: walk"));
  EXPECT_EQ(labelled.width() * 100 + labelled.height(), 1011);
  const window odd(static_cast<float>(kNan), 1e30F);
  EXPECT_EQ(odd.width(), 1);
  EXPECT_EQ(odd.height(), surface::kMaxSize);
}

TEST(WindowTest, WithoutADisplayTheFirstButtonAnswers) {
  ASSERT_FALSE(window::has_screen());
  point p(3, 4);
  window W(10, 10);
  W.display();
  EXPECT_EQ(W.read_mouse(p), 0);
  W.text_item("text");
  EXPECT_EQ(W.button("d", -7), -7);
  EXPECT_EQ(W.button("b", 2, "help"), 2);
  EXPECT_EQ(W.button("c"), 3);  // 2 is taken
  EXPECT_EQ(W.button("a", 0), 0);
  EXPECT_EQ(W.read_mouse(), -7);
  EXPECT_EQ(W.read_mouse(p), -7);
  EXPECT_EQ(p, point(3, 4));
  EXPECT_EQ(W.panel_open(window::kRightEdge, 0), -7);
  EXPECT_FALSE(W.is_open());
  EXPECT_EQ(window(10, 10).button("the first"), 0);
}

TEST(WindowTest, TheHandlerOfAWindowIsTheStreamOneWithoutADisplay) {
  set_error_handler(default_error_handler);
  const window panel("a panel leaves the handler alone");
  EXPECT_EQ(error_handler, &default_error_handler);
  const window W(10, 10);
  EXPECT_EQ(set_error_handler(default_error_handler), &window_error_handler);
  const window labelled(10, 10, "walk");
  EXPECT_EQ(error_handler, &window_error_handler);
  EXPECT_EXIT(error_handler(1, "bad"), kAborted, "^\nFLNZ ERROR HANDLER\n\tbad\n\n$");
}

TEST(WindowTest, SettersReturnTheOldValue) {
  window W(10, 10);
  EXPECT_EQ(W.set_line_width(0), 1);
  EXPECT_EQ(W.set_line_width(5), 1);
  EXPECT_EQ(W.set_line_width(2), 5);
  EXPECT_EQ(W.set_line_style(dotted), solid);
  EXPECT_EQ(W.set_line_style(dashed), dotted);
  EXPECT_EQ(W.set_color(red), black);
  EXPECT_EQ(W.set_color(99), red);
  EXPECT_EQ(W.set_color(blue), red);
}

TEST(WindowTest, FrameAndItsInverse) {
  window W(650, 500);
  W.init(0, 1300, 0);
  EXPECT_EQ(W.pixel_x(3), 2);  // 1.5: halves away from zero
  EXPECT_EQ(W.pixel_y(1), 500);
  EXPECT_EQ(W.coordinates(0, 500), string("    0.00     0.00"));
  W.init(-10, 3, 2.5);
  EXPECT_DOUBLE_EQ(W.scale(), 50);
  EXPECT_DOUBLE_EQ(W.ymax(), 12.5);
  EXPECT_EQ(W.pixel_x(-10 + 0.75 / 50), 1);
  EXPECT_EQ(W.pixel_y(2.5 + 0.75 / 50), 499);
  EXPECT_EQ(W.coordinates(25, 500 - 130), string("   -9.50     5.10"));
  for (int px = 0; px <= 650; ++px) ASSERT_EQ(W.pixel_x(W.user_x(px)), px);
  for (int py = 0; py <= 500; ++py) ASSERT_EQ(W.pixel_y(W.user_y(py)), py);
  for (double x : {kInf, -kInf, kNan, 1e308}) {
    EXPECT_EQ(std::abs(W.pixel_x(x)), surface::kPixelLimit) << x;
  }
}

TEST(WindowDeathTest, OrderOfCalls) {
  const std::string drawing = "^Error: Window has to be displayed before drawing\\.\n$";
  const std::string mouse = "^Error: Window has to be displayed before mouse input\\.\n$";
  window W(10, 10);
  point p;
  const segment s(point(0, 0), point(1, 1));
  EXPECT_EXIT(W.draw_disc(0, 0, kNan, 1), kAborted, drawing);
  EXPECT_EXIT(W.draw_segment(s, 1), kAborted, drawing);
  EXPECT_EXIT(W.draw_segment(kNan, 0, 1, 1), kAborted, drawing);
  EXPECT_EXIT(W.draw_ray(ray(s)), kAborted, drawing);
  EXPECT_EXIT(W.draw_line(line(s)), kAborted, drawing);
  EXPECT_EXIT(W.draw_point(0, 0), kAborted, drawing);
  EXPECT_EXIT(W.draw_text(kNan, 0, ""), kAborted, drawing);
  EXPECT_EXIT(W.draw_polygon(list<point>()), kAborted, drawing);
  EXPECT_EXIT(W.draw_filled_polygon(list<point>()), kAborted, drawing);
  EXPECT_EXIT(W.read_mouse(), kAborted, mouse);
  EXPECT_EXIT(W.read_mouse(p), kAborted, mouse);
}

TEST(WindowDeathTest, FrameOfNoWidth) {
  window W(10, 10);
  EXPECT_EXIT(W.init(0, 0, 0), kAborted,
              "^illegal arguments in W\\.init: x0 \\(0\\.000000\\) >= x1 \\(0\\.000000\\)\n$");
  EXPECT_EXIT(W.init(2, -1.5, 0), kAborted, "x0 \\(2\\.000000\\) >= x1 \\(-1\\.500000\\)\n$");
  EXPECT_EXIT(W.init(kNan, 1, 0), kAborted, "illegal arguments in W\\.init");
}

TEST(MarkupTest, CommandsAndText) {
  using detail::text_font;
  using runs = std::vector<detail::text_run>;
  const struct {
    const char* line;
    runs expected;
  } cases[] = {
      {"", {}},
      {"    ", {{"    "}}},
      {"\\bf\\red Error", {{"Error", text_font::bold, red}}},
      {"\\tt  a\\rm b", {{" a", text_font::typewriter}, {"b"}}},
      {"a\\blue2 b \\black\\it c",
       {{"a"}, {"b ", text_font::roman, blue2}, {"c", text_font::italic}}},
      {"C:\\temp\\ \\bfx \\", {{"C:\\temp\\ \\bfx \\"}}},
  };
  for (const auto& c : cases) EXPECT_EQ(detail::parse_markup(c.line), c.expected) << c.line;
}

}  // namespace
}  // namespace planloc
