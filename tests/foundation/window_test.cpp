#include "planloc/foundation/window/window.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/window/markup.h"
#include "planloc/foundation/window/raster.h"

namespace planloc {

void PrintTo(const rgb& c, std::ostream* out) {
  *out << '#' << std::hex << (c.red << 16 | c.green << 8 | c.blue) << std::dec;
}

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kMax = std::numeric_limits<double>::max();
constexpr rgb kWhite = rgb_of(white);
constexpr rgb kBlack = rgb_of(black);

// A window leaves its error handler behind; the next test starts with the first one.
class HandlerReset : public ::testing::EmptyTestEventListener {
  void OnTestEnd(const ::testing::TestInfo&) override { set_error_handler(default_error_handler); }
};
const bool handler_reset = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new HandlerReset);
  return true;
}();

// 200 by 100 pixels; x 0..100, y 0..50, two pixels a unit. Displayed.
class WindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    W.init(0, 100, 0);
    W.display(60, 20);
  }

  int inked(int x0, int y0, int x1, int y1) const {
    int n = 0;
    for (int y = y0; y < y1; ++y) {
      for (int x = x0; x < x1; ++x) n += W.pixel(x, y) != kWhite;
    }
    return n;
  }
  int inked() const { return inked(0, 0, W.width(), W.height()); }

  window W{200, 100};
};

// ----- Clipping -----

TEST(ClipTest, EveryInnerPointOfASegmentSurvivesAndNothingElse) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> coordinate(-3, 3);
  const detail::box b{-1, 1.5, -0.5, 1};
  int kept = 0;
  for (int round = 0; round < 2000; ++round) {
    const detail::xy p{coordinate(random), coordinate(random)};
    const detail::xy q{coordinate(random), round % 5 ? coordinate(random) : p.y};
    const double dx = q.x - p.x;
    const double dy = q.y - p.y;
    const double square = dx * dx + dy * dy;
    const auto along = [&](detail::xy r) { return ((r.x - p.x) * dx + (r.y - p.y) * dy) / square; };
    const auto part = detail::clip_segment(b, p, q);
    kept += part.has_value();
    for (int i = 0; i <= 64; ++i) {
      const double t = i / 64.0;
      const detail::xy r{p.x + t * dx, p.y + t * dy};
      const double margin =
          std::min(std::min(r.x - b.xmin, b.xmax - r.x), std::min(r.y - b.ymin, b.ymax - r.y));
      if (std::fabs(margin) < 1e-9) continue;
      const bool in_part = part && along(part->from) <= t && t <= along(part->to);
      ASSERT_EQ(in_part, margin > 0) << "round " << round << ", t " << t;
    }
    if (!part) continue;
    for (const detail::xy r : {part->from, part->to}) {
      ASSERT_NEAR((r.x - p.x) * dy, (r.y - p.y) * dx, 1e-12);
    }
  }
  EXPECT_GT(kept, 200);
}

TEST(ClipTest, EndsInsideTheBoxKeepEveryBit) {
  const detail::box b{0, 1, 0, 1};
  const auto part = detail::clip_segment(b, {0.1, 0.3}, {1e308, 0.3});
  ASSERT_TRUE(part);
  EXPECT_EQ(part->from.x, 0.1);
  EXPECT_EQ(part->to.x, 1);
  EXPECT_EQ(part->to.y, 0.3);
}

// Ends at 1e17 are known to sixteen units only; what is seen must come from the near end.
TEST(ClipTest, TheNearEndDecides) {
  const detail::box b{0, 10, 0, 10};
  const auto part = detail::clip_segment(b, {1e17, 5e16}, {0, 2});
  ASSERT_TRUE(part);
  EXPECT_DOUBLE_EQ(part->from.x, 10);
  EXPECT_DOUBLE_EQ(part->from.y, 7);
  const auto corners = detail::clip_polygon(b, {{0, 2}, {1e17, 5e16}, {0, 1}});
  ASSERT_EQ(corners.size(), 4U);
  EXPECT_DOUBLE_EQ(corners[1].x, 10);
  EXPECT_DOUBLE_EQ(corners[1].y, 7);
  EXPECT_DOUBLE_EQ(corners[2].y, 6);
}

TEST(ClipTest, RaysAndLinesOfAnyLength) {
  struct Case {
    bool is_ray;
    detail::xy p, q;
    std::optional<std::array<double, 4>> expected;
  };
  const Case cases[] = {
      {true, {1, 1}, {2, 1}, {{1, 1, 10, 1}}},
      {true, {1, 1}, {1 + 1e-300, 1}, {{1, 1, 1, 1}}},  // the points are equal
      {true, {0, 0}, {1e-320, 1e-320}, {{0, 0, 10, 10}}},
      {true, {1, 1}, {1e308, 1e308}, {{1, 1, 10, 10}}},
      {true, {1, 1}, {kInf, 1}, {{1, 1, 10, 1}}},
      {true, {2, 2}, {-kInf, 2}, {{2, 2, 0, 2}}},
      {true, {2, 2}, {kNan, 2}, std::nullopt},
      {true, {-5, 5}, {-4, 5}, {{0, 5, 10, 5}}},  // enters and leaves
      {true, {-5, 5}, {-6, 5}, std::nullopt},     // looks away
      {true, {-5, 5}, {0, 11}, std::nullopt},     // passes by
      {true, {-1e308, 5}, {1e308, 5}, {{0, 5, 10, 5}}},
      {true, {20, 20}, {20, 20}, std::nullopt},  // trivial, outside
      {false, {4, 3}, {5, 3}, {{0, 3, 10, 3}}},
      {false, {7, 20}, {7, 19}, {{7, 10, 7, 0}}},
      {false, {-1, 0}, {0, 1}, {{0, 1, 9, 10}}},
      {false, {-1e308, 4}, {1e308, 4}, {{0, 4, 10, 4}}},
      {false, {3, 3}, {3, 3}, {{3, 3, 3, 3}}},
      {false, {12, 0}, {12, 1}, std::nullopt},
  };
  const detail::box b{0, 10, 0, 10};
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.p.x << ' ' << c.p.y << " - " << c.q.x << ' ' << c.q.y);
    const auto part = c.is_ray ? detail::clip_ray(b, c.p, c.q) : detail::clip_line(b, c.p, c.q);
    ASSERT_EQ(part.has_value(), c.expected.has_value());
    if (!part) continue;
    const std::array<double, 4> got = {part->from.x, part->from.y, part->to.x, part->to.y};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(got[i], (*c.expected)[i], 1e-12) << i;
  }
}

// ----- State -----

TEST(WindowStateTest, SizesAndTitles) {
  const window plain(650, 500);
  EXPECT_EQ(plain.title(), string("FLNZ Window"));
  const window labelled(10.4F, 10.5F, "walk");
  EXPECT_EQ(labelled.label(), string("walk"));
  EXPECT_EQ(labelled.title(), string("Window: walk"));
  EXPECT_EQ(labelled.width(), 10);
  EXPECT_EQ(labelled.height(), 11);
  const window odd(static_cast<float>(kNan), 1e30F);
  EXPECT_EQ(odd.width(), 1);
  EXPECT_EQ(odd.height(), surface::kMaxSize);
}

TEST(WindowStateTest, ButtonsTakeTheNextFreeNumber) {
  window W(10, 10);
  W.text_item("\\bf a heading");
  EXPECT_EQ(W.button("a"), 0);
  EXPECT_EQ(W.button("b", 2, "help"), 2);
  EXPECT_EQ(W.button("c"), 3);  // 2 is taken
  EXPECT_EQ(W.button("d", -7), -7);
  EXPECT_EQ(W.panel_items().size(), 5);
}

TEST(WindowStateTest, ReadMouseWithoutADisplay) {
  point p(3, 4);
  window none(10, 10);
  none.display();
  EXPECT_EQ(none.read_mouse(p), 0);
  window two(10, 10);
  two.text_item("text");
  two.button("first", 7);
  two.button("Close", 0);
  two.display();
  EXPECT_EQ(two.read_mouse(), 7);
  EXPECT_EQ(two.read_mouse(p), 7);
  EXPECT_EQ(p, point(3, 4));
}

TEST(WindowStateTest, PanelsWithoutADisplayTakeTheFirstButton) {
  ASSERT_FALSE(window::has_screen());
  window panel("MAVI-ERROR");
  EXPECT_EQ(panel.title(), string("MAVI-ERROR"));
  panel.text_item("text");
  EXPECT_EQ(panel.panel_open(), 0);
  panel.button("first", -2);
  panel.button("second", 5);
  EXPECT_EQ(panel.panel_open(window::kRightEdge, 0), -2);
  EXPECT_FALSE(panel.is_open());
}

TEST(WindowStateTest, TheHandlerOfAWindowIsTheStreamOneWithoutADisplay) {
  const window panel("a panel leaves the handler alone");
  EXPECT_EQ(error_handler, &default_error_handler);
  const window W(10, 10);
  EXPECT_EQ(error_handler, &window_error_handler);
  ::testing::internal::CaptureStderr();
  error_handler(0, "odd");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "\nFLNZ WARNING\n\todd\n\n");
  EXPECT_EXIT(error_handler(1, "bad"), ::testing::KilledBySignal(SIGABRT),
              "^\nFLNZ ERROR HANDLER\n\tbad\n\n$");
}

TEST(WindowStateTest, SettersReturnTheOldValue) {
  window W(10, 10);
  EXPECT_EQ(W.set_line_width(0), 1);
  EXPECT_EQ(W.set_line_width(5), 1);
  EXPECT_EQ(W.set_line_width(2), 5);
  EXPECT_EQ(W.set_line_style(dotted), solid);
  EXPECT_EQ(W.set_line_style(dashed), 2);
  EXPECT_EQ(W.set_color(red), black);
  EXPECT_EQ(W.set_color(99), red);
  EXPECT_EQ(W.set_color(blue), red);
}

TEST(WindowStateTest, FrameAndItsInverse) {
  window W(650, 500);
  W.init(-10, 3, 2.5);
  EXPECT_DOUBLE_EQ(W.scale(), 50);
  EXPECT_DOUBLE_EQ(W.ymax(), 12.5);
  EXPECT_EQ(W.pixel_x(-10), 0);
  EXPECT_EQ(W.pixel_x(3), 650);
  EXPECT_EQ(W.pixel_y(2.5), 500);
  EXPECT_EQ(W.pixel_y(12.5), 0);
  EXPECT_EQ(W.pixel_x(-10 + 0.25 / 50), 0);
  EXPECT_EQ(W.pixel_x(-10 + 0.75 / 50), 1);
  EXPECT_EQ(W.pixel_y(2.5 + 0.75 / 50), 499);
  W.init(0, 1300, 0);
  EXPECT_EQ(W.pixel_x(3), 2);  // 1.5: halves away from zero
  EXPECT_EQ(W.pixel_y(1), 500);
  EXPECT_EQ(W.coordinates(0, 500), string("    0.00     0.00"));
  W.init(-10, 3, 2.5);
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
  const auto aborted = ::testing::KilledBySignal(SIGABRT);
  window W(10, 10);
  point p;
  const segment s(point(0, 0), point(1, 1));
  const list<point> L{point(0, 0)};
  EXPECT_EXIT(W.draw_disc(0, 0, kNan, 1), aborted, drawing);
  EXPECT_EXIT(W.draw_segment(s, 1), aborted, drawing);
  EXPECT_EXIT(W.draw_segment(kNan, 0, 1, 1), aborted, drawing);
  EXPECT_EXIT(W.draw_ray(ray(s)), aborted, drawing);
  EXPECT_EXIT(W.draw_line(line(s)), aborted, drawing);
  EXPECT_EXIT(W.draw_point(0, 0), aborted, drawing);
  EXPECT_EXIT(W.draw_polygon(list<point>()), aborted, drawing);
  EXPECT_EXIT(W.draw_filled_polygon(L), aborted, drawing);
  EXPECT_EXIT(W.read_mouse(), aborted, mouse);
  EXPECT_EXIT(W.read_mouse(p), aborted, mouse);
}

TEST(WindowDeathTest, FrameOfNoWidth) {
  window W(10, 10);
  const auto aborted = ::testing::KilledBySignal(SIGABRT);
  EXPECT_EXIT(W.init(0, 0, 0), aborted,
              "^illegal arguments in W\\.init: x0 \\(0\\.000000\\) >= x1 \\(0\\.000000\\)\n$");
  EXPECT_EXIT(W.init(2, -1.5, 0), aborted, "x0 \\(2\\.000000\\) >= x1 \\(-1\\.500000\\)\n$");
  EXPECT_EXIT(W.init(kNan, 1, 0), aborted, "illegal arguments in W\\.init");
}

// ----- Drawing -----

TEST_F(WindowTest, ThePictureStartsWhiteAndClosingKeepsIt) {
  EXPECT_EQ(inked(), 0);
  W.draw_disc(50, 25, 5, red);
  W.display();
  EXPECT_EQ(W.pixel(100, 50), rgb_of(red));
  W.close();
  EXPECT_FALSE(W.is_open());
  EXPECT_TRUE(W.is_displayed());
  W.draw_disc(10, 25, 1, green);
  W.display();
  EXPECT_EQ(W.pixel(100, 50), rgb_of(red));
  EXPECT_EQ(W.pixel(20, 50), rgb_of(green));
  W.init(0, 200, 0, 0, false);
  EXPECT_EQ(W.pixel(100, 50), rgb_of(red));
  W.init(0, 200, 0);
  EXPECT_EQ(inked(), 0);
}

TEST_F(WindowTest, Discs) {
  W.draw_disc(50, 25, 5, 4);
  EXPECT_EQ(W.pixel(100, 50), rgb_of(blue));
  for (const auto& [dx, dy] : {std::pair(9, 0), {-9, 0}, {0, 9}, {0, -9}, {6, 6}, {-6, -6}}) {
    EXPECT_EQ(W.pixel(100 + dx, 50 + dy), rgb_of(blue)) << dx << ' ' << dy;
  }
  for (const auto& [dx, dy] : {std::pair(11, 0), {-11, 0}, {0, 11}, {0, -11}, {8, 8}}) {
    EXPECT_EQ(W.pixel(100 + dx, 50 + dy), kWhite) << dx << ' ' << dy;
  }
  for (double r : {0.2, 0.0, -3.0, -kInf}) {
    W.init(0, 100, 0);
    W.draw_disc(50, 25, r, 1);
    EXPECT_EQ(inked(), 1) << r;
    EXPECT_EQ(W.pixel(100, 50), kBlack) << r;
  }
  W.draw_disc(50, 25, kInf, 1);
  EXPECT_EQ(inked(), 200 * 100);
}

TEST_F(WindowTest, LinesHaveTheirWidthAndColour) {
  for (int width : {1, 2, 3, 6}) {
    W.init(0, 100, 0);
    W.set_line_width(width);
    W.draw_segment(10, 25, 40, 25, orange);
    W.draw_segment(segment(point(60, 5), point(60, 45)), orange);
    EXPECT_EQ(inked(50, 0, 51, 100), width);
    EXPECT_EQ(inked(100, 50, 200, 51), width);
    EXPECT_EQ(W.pixel(50, 50), rgb_of(orange));
    EXPECT_EQ(W.pixel(120, 50), rgb_of(orange));
  }
  W.init(0, 100, 0);
  W.set_line_width(1);
  W.draw_segment(10, 25, 40, 25);  // the default colour
  EXPECT_EQ(inked(), 80 - 20 + 1);
  EXPECT_EQ(W.pixel(50, 50), kBlack);
  W.set_color(violet);
  W.draw_segment(10, 25, 40, 25);
  EXPECT_EQ(W.pixel(50, 50), rgb_of(violet));
}

TEST_F(WindowTest, StylesLeaveGaps) {
  const auto runs = [&] {
    int changes = 0;
    for (int x = 21; x < 180; ++x)
      changes += (W.pixel(x, 50) == kWhite) != (W.pixel(x - 1, 50) == kWhite);
    return changes / 2;
  };
  std::array<int, 3> ink{};
  std::array<int, 3> pieces{};
  for (int style : {solid, dashed, dotted}) {
    W.init(0, 100, 0);
    W.set_line_style(style);
    W.draw_segment(10, 25, 90, 25);
    const auto i = static_cast<std::size_t>(style);
    ink[i] = inked();
    pieces[i] = runs();
  }
  EXPECT_EQ(ink[solid], 161);
  EXPECT_EQ(pieces[solid], 0);
  EXPECT_GT(ink[solid], ink[dashed]);
  EXPECT_GT(ink[dashed], ink[dotted]);
  EXPECT_GT(pieces[dashed], 10);
  EXPECT_GT(pieces[dotted], 2 * pieces[dashed]);
  W.init(0, 100, 0);
  W.draw_segment(10, 25, 10, 25);  // dotted and of no length
  EXPECT_EQ(inked(), 1);
}

TEST_F(WindowTest, RaysEndAtTheFrame) {
  W.draw_ray(ray(point(50, 25), point(51, 25)), 1);
  EXPECT_EQ(inked(), 100);
  EXPECT_EQ(inked(100, 50, 200, 51), 100);
  W.draw_ray(ray(point(50, 25), point(50, 1e308)), 1);
  EXPECT_EQ(inked(100, 0, 101, 50), 50);
  W.draw_ray(ray(point(50, 25), point(50, -kInf)), 1);
  EXPECT_EQ(inked(100, 51, 101, 100), 49);
  const int before = inked();
  W.draw_ray(ray(point(50, 60), point(50, 61)), 1);
  W.draw_ray(ray(point(50, 25), point(kInf, kNan)), 1);
  W.draw_ray(ray(point(-10, 70), point(-10, 70)), 1);
  EXPECT_EQ(inked(), before);
  W.draw_ray(ray(point(10, 10), point(10, 10)), 1);
  EXPECT_EQ(inked(), before + 1);
  W.init(0, 100, 0);
  W.draw_ray(ray(point(-1e6, 10), point(-1e6 + 1, 10)), 1);
  W.draw_ray(ray(point(-30, -30), point(0, 0)), 1);
  EXPECT_EQ(W.pixel(0, 80), kBlack);
  EXPECT_EQ(W.pixel(199, 80), kBlack);
  for (int i = 10; i < 90; ++i) ASSERT_NE(W.pixel(i, 100 - i), kWhite) << i;
}

TEST_F(WindowTest, FarEndsKeepTheSlope) {
  W.draw_segment(0, 0, 1e9, 3e8, 1);
  double weight = 0;
  double middle = 0;
  for (int y = 0; y < 100; ++y) {
    const double darkness = 255 - W.pixel(199, y).green;
    weight += darkness;
    middle += darkness * y;
  }
  EXPECT_NEAR(middle / weight, 100 - 0.3 * 199, 0.1);
}

TEST_F(WindowTest, CoordinatesWithoutBounds) {
  W.draw_segment(50, 25, kInf, 25);
  EXPECT_EQ(inked(), 100);
  W.draw_segment(-kInf, 10, kInf, 10);
  EXPECT_EQ(inked(0, 80, 200, 81), 200);
  const int before = inked();
  for (int style : {solid, dashed, dotted}) {
    W.set_line_style(style);
    W.draw_segment(kInf, kInf, -kInf, kInf);
    W.draw_segment(kNan, 0, 50, 50);
    W.draw_segment(kMax, kMax, kMax, -kMax);
    W.draw_point(kInf, -kInf);
    W.draw_disc(kInf, kNan, 1);
    W.draw_disc(-kInf, 1, 1);
    W.draw_filled_polygon({point(0, 0), point(kNan, 0), point(0, 9)});
    W.draw_filled_polygon({point(0, kMax), point(9, kInf), point(-kInf, kMax)});
  }
  EXPECT_EQ(inked(), before);
  W.draw_filled_polygon(
      {point(-kInf, -kInf), point(kInf, -kInf), point(kInf, 1e308), point(-1e308, kInf)}, green);
  EXPECT_EQ(W.pixel(0, 0), rgb_of(green));
  EXPECT_EQ(inked(), 200 * 100);
  for (const auto& [x0, x1] : {std::pair(-kMax, kMax), {0.0, 1e-320}, {-kInf, 0.0}}) {
    W.init(x0, x1, kMax, 1);
    W.draw_segment(0, 0, 1, 1);
    W.draw_ray(ray(point(0, 0), point(1, 1)));
    W.draw_line(line(point(0, 0), point(1, 1)));
    W.draw_filled_polygon({point(0, 0), point(1, 0), point(0, 1)});
    W.pixel(0, 0);
  }
}

TEST_F(WindowTest, LinesPointsAndPolygons) {
  W.draw_line(line(point(3, 20), point(2, 20)), 1);
  EXPECT_EQ(inked(), 200);
  W.init(0, 100, 0);
  W.draw_point(point(50, 25), 1);
  EXPECT_EQ(inked(), 4 * BASE_WINDOW::kCrossArm + 1);
  EXPECT_EQ(inked(97, 50, 104, 51), 7);
  EXPECT_EQ(inked(100, 47, 101, 54), 7);

  const list<point> square{point(10, 10), point(30, 10), point(30, 30), point(10, 30)};
  W.init(0, 100, 0);
  W.draw_polygon(square, 1);
  EXPECT_EQ(inked(), 4 * 40);
  EXPECT_EQ(W.pixel(40, 60), kWhite);
  for (const auto& [x, y] : {std::pair(20, 60), {60, 60}, {40, 40}, {40, 80}}) {
    EXPECT_EQ(W.pixel(x, y), kBlack) << x << ' ' << y;
  }
  W.init(0, 100, 0);
  W.draw_filled_polygon(polygon(square), 1);
  EXPECT_EQ(inked(), 41 * 41);
  EXPECT_EQ(W.pixel(40, 60), kBlack);
  W.draw_filled_polygon({point(20, 20), point(1e300, 20), point(1e300, 25), point(20, 25)}, red);
  EXPECT_EQ(W.pixel(199, 55), rgb_of(red));
  EXPECT_EQ(W.pixel(41, 55), rgb_of(red));
  EXPECT_EQ(W.pixel(39, 55), kBlack);
}

TEST_F(WindowTest, LaterCallsCoverEarlierOnes) {
  W.draw_disc(50, 25, 5, red);
  EXPECT_EQ(W.pixel(100, 50), rgb_of(red));
  W.draw_segment(40, 25, 60, 25, blue);
  EXPECT_EQ(W.pixel(100, 50), rgb_of(blue));
  W.draw_disc(50, 25, 0, color());
  EXPECT_EQ(W.pixel(100, 50), kBlack);
}

TEST_F(WindowTest, GridStandsAtItsMultiples) {
  W.init(-15, 85, -7, 10);
  EXPECT_EQ(W.grid(), 10);
  for (int x = -10; x <= 80; x += 10) EXPECT_EQ(W.pixel((x + 15) * 2, 1), rgb_of(grey1)) << x;
  for (int y = 0; y <= 40; y += 10) EXPECT_EQ(W.pixel(1, 100 - (y + 7) * 2), rgb_of(grey1)) << y;
  EXPECT_EQ(inked(0, 1, 200, 2), 10);
  EXPECT_EQ(inked(1, 0, 2, 100), 5);

  W.init(1e17, 1e17 + 1600, 1e17, 50);
  EXPECT_GT(inked(0, 1, 200, 2), 20);

  ::testing::internal::CaptureStderr();
  W.init(0, 100, 0, 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "warning: grid distance to small.\n");
  EXPECT_EQ(W.grid(), 0);
  EXPECT_EQ(inked(), 0);
}

// ----- What the screen shows -----

std::vector<std::uint32_t> values(const detail::raster& r) {
  std::vector<std::uint32_t> v;
  for (int y = 0; y < r.height(); ++y) v.insert(v.end(), r.row(y), r.row(y) + r.width());
  for (std::uint32_t& value : v) value &= 0xffffff;
  return v;
}

TEST(RasterTest, NothingChangesOutsideTheAreas) {
  std::mt19937 random(11);
  const auto any = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  for (const auto& [width, height] : {std::pair(200, 100), {300, 400}, {90, 35}}) {
    SCOPED_TRACE(width);
    surface picture(200, 100);
    detail::raster pixels(picture, width, height);
    ASSERT_EQ(pixels.update().size(), 1U);
    std::vector<std::uint32_t> before = values(pixels);
    std::size_t covered = 0;
    for (int round = 0; round < 300; ++round) {
      const surface::position from{any(-50, 250), any(-150, 250)};
      const surface::position to{any(-500, 700), any(-50, 150)};
      const rgb colour = rgb_of(any(1, 12));
      switch (round % 4) {
        case 0:
          picture.disc(from, any(0, 20), colour);
          break;
        case 1:
          picture.fill({from, to, {any(0, 200), any(0, 100)}}, colour);
          break;
        default:
          picture.line(from, to, {any(1, 9), any(0, 2), colour});
      }
      std::vector<bool> changes(before.size());
      for (const detail::area& a : pixels.update()) {
        for (int y = a.y; y < a.y + a.height; ++y) {
          for (int x = a.x; x < a.x + a.width; ++x)
            changes.at(static_cast<std::size_t>(y * width + x)) = true;
        }
      }
      const std::vector<std::uint32_t> after = values(pixels);
      for (std::size_t i = 0; i < after.size(); ++i)
        ASSERT_TRUE(changes[i] || before[i] == after[i]) << "round " << round << ", " << i;
      covered += static_cast<std::size_t>(std::count(changes.begin(), changes.end(), true));
      before = after;
    }
    EXPECT_LT(covered, 300 * before.size() / 2);
    EXPECT_TRUE(pixels.update().empty());
    picture.clear(kWhite);
    ASSERT_EQ(pixels.update().size(), 1U);
    EXPECT_EQ(values(pixels), std::vector<std::uint32_t>(before.size(), 0xffffff));
  }
}

std::uint32_t at(const detail::raster& r, int x, int y) { return r.row(y)[x] & 0xffffff; }

TEST(RasterTest, KeepsTheShapeAndShowsWhatLiesBesideThePicture) {
  surface picture(200, 100);
  picture.disc({100, 50}, 10, rgb_of(red));
  picture.line({-1000, 20}, {1000, 20}, {1, solid, kBlack});
  detail::raster pixels(picture, 100, 150);  // half the size, 50 rows above and below
  pixels.update();
  EXPECT_EQ(at(pixels, 50, 75), 0xd62728U);
  EXPECT_EQ(at(pixels, 50, 79), 0xd62728U);
  EXPECT_EQ(at(pixels, 50, 82), 0xffffffU);
  EXPECT_EQ(at(pixels, 0, 60), 0U);
  EXPECT_EQ(at(pixels, 99, 60), 0U);
  EXPECT_EQ(pixels.picture_x(50), 100);
  EXPECT_EQ(pixels.picture_y(75), 50);
  detail::raster wide(picture, 400, 100);
  wide.update();
  EXPECT_EQ(at(wide, 200, 50), 0xd62728U);
  EXPECT_EQ(at(wide, 0, 20), 0U);
  EXPECT_EQ(wide.picture_x(0), -100);
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

// ----- Files -----

class SavedWindowTest : public WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    std::string name = (std::filesystem::temp_directory_path() / "planloc-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    folder_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  string in_folder(const std::string& name) const { return string((folder_ / name).string()); }
  std::string saved(const std::string& name) {
    EXPECT_TRUE(W.save(in_folder(name)));
    std::ifstream in(folder_ / name, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
  }
  void draw() {
    W.draw_disc(50, 25, 5, red);
    W.set_line_style(dotted);
    W.draw_segment(3, 4, 77, 40, blue);
    W.draw_ray(ray(point(50, 25), point(-kInf, 30)), grey2);
    W.draw_filled_polygon({point(80, 10), point(95, 12), point(85, 40)}, green2);
  }

  std::filesystem::path folder_;
};

TEST_F(SavedWindowTest, PngHoldsThePixels) {
  draw();
  saved("walk.PNG");
  cairo_surface_t* image = cairo_image_surface_create_from_png(in_folder("walk.PNG").cstring());
  ASSERT_EQ(cairo_surface_status(image), CAIRO_STATUS_SUCCESS);
  ASSERT_EQ(cairo_image_surface_get_width(image), 200);
  ASSERT_EQ(cairo_image_surface_get_height(image), 100);
  const unsigned char* data = cairo_image_surface_get_data(image);
  const int stride = cairo_image_surface_get_stride(image);
  for (int y = 0; y < 100; ++y) {
    for (int x = 0; x < 200; ++x) {
      std::uint32_t value;
      std::memcpy(&value, data + y * stride + 4 * x, sizeof value);
      const rgb c = W.pixel(x, y);
      ASSERT_EQ(value & 0xffffff, static_cast<std::uint32_t>(c.red << 16 | c.green << 8 | c.blue));
    }
  }
  cairo_surface_destroy(image);
}

TEST_F(SavedWindowTest, SvgAndPdfHoldTheObjectsAsPaths) {
  const auto count = [](const std::string& text, const std::string& word) {
    int n = 0;
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; ++at) ++n;
    return n;
  };
  const std::string blank_svg = saved("blank.svg");
  const std::string blank_pdf = saved("blank.pdf");
  draw();
  const std::string svg = saved("walk.svg");
  EXPECT_EQ(svg.rfind("<?xml", 0), 0U);
  EXPECT_NE(svg.find("width=\"200px\" height=\"100px\""), std::string::npos);
  EXPECT_EQ(count(blank_svg, "<path"), 0);
  EXPECT_EQ(count(svg, "<path"), 4);
  EXPECT_EQ(count(svg, "stroke-dasharray"), 2);
  EXPECT_EQ(count(svg, "<image"), 0);
  EXPECT_NE(svg.find("</svg>"), std::string::npos);

  const std::string pdf = saved("walk.pdf");
  EXPECT_EQ(pdf.rfind("%PDF-", 0), 0U);
  EXPECT_NE(pdf.find("/MediaBox [ 0 0 200 100 ]"), std::string::npos);
  EXPECT_NE(pdf.find("%%EOF"), std::string::npos);
  EXPECT_NE(pdf.find("/Count 1\n"), std::string::npos);  // pages
  EXPECT_EQ(count(pdf, "/Subtype /Image"), 0);
  EXPECT_GT(pdf.size(), blank_pdf.size() + 150);
}

TEST_F(SavedWindowTest, FailuresNameTheFileAndTheReason) {
  std::filesystem::create_directory(folder_ / "folder.png");
  std::error_code no_full_device;
  const bool full = std::filesystem::exists("/dev/full", no_full_device);
  if (full) std::filesystem::create_symlink("/dev/full", folder_ / "full.pdf");
  struct Case {
    const char* name;
    const char* reason;
  };
  std::vector<Case> cases = {{"walk.gif", "the name must end in .png, .svg or .pdf"},
                             {"png", "the name must end in .png, .svg or .pdf"},
                             {"none/walk.svg", "No such file or directory"},
                             {"folder.png", "Is a directory"}};
  if (full) cases.push_back({"full.pdf", "No space left on device"});
  for (const Case& c : cases) {
    const string file = in_folder(c.name);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(W.save(file)) << c.name;
    EXPECT_EQ(
        ::testing::internal::GetCapturedStderr(),
        std::string("Error: Window cannot be saved as ") + file.cstring() + ": " + c.reason + "\n");
  }
}

}  // namespace
}  // namespace planloc
