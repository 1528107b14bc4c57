// Windows, panels and whole runs as they stand on a screen.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/window/window.h"
#include "planloc/model/reporter.h"
#include "tests/system/virtual_screen.h"

namespace planloc {
namespace {

namespace fs = std::filesystem;
using testing_support::soon;
using testing_support::virtual_screen;

constexpr unsigned long value_of(color c) {
  const rgb v = rgb_of(c);
  return static_cast<unsigned long>(v.red << 16 | v.green << 8 | v.blue);
}

class ScreenTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!screen_.missing().empty()) GTEST_SKIP() << screen_.missing();
    fs::create_directories(dir_);
  }
  void TearDown() override {
    if (child_ > 0) {
      kill(child_, SIGKILL);
      waitpid(child_, nullptr, 0);
    }
    fs::remove_all(dir_);
  }

  // Runs `body` in a process with the screen as its display; it exits with 42 if it returns.
  void start(const std::function<void()>& body) {
    child_ = fork();
    if (child_ != 0) return;
    setenv("DISPLAY", screen_.name().c_str(), 1);
    [[maybe_unused]] FILE* out = std::freopen(file("out").c_str(), "w", stdout);
    [[maybe_unused]] FILE* err = std::freopen(file("err").c_str(), "w", stderr);
    body();
    std::exit(42);
  }
  void start_run(const std::string& sites = "sites.loc") {
    start([=, this] {
      const std::string in = EXAMPLES "/four-sites/";
      execl(CELLWALK, CELLWALK, "-d", (in + "frame.txt").c_str(), "-l", (in + sites).c_str(), "-g",
            (in + "sites.gauge").c_str(), "-p", (in + "sum.par").c_str(), "-o", file("log").c_str(),
            "-s", file("page").c_str(), nullptr);
    });
  }

  bool has_ended() {
    if (child_ > 0 && waitpid(child_, &status_, WNOHANG) == child_) child_ = 0;
    return child_ == 0;
  }
  // The exit status, or 128 + the signal; -1 if the process goes on.
  int ending() {
    if (!soon([&] { return has_ended(); })) return -1;
    return WIFSIGNALED(status_) ? 128 + WTERMSIG(status_) : WEXITSTATUS(status_);
  }

  std::string file(const std::string& name) const { return (dir_ / name).string(); }
  std::string contents(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(file(name)).rdbuf();
    return text.str();
  }

  // Where the pixel (px, py) of the drawing area of `height` pixels stands on the screen.
  static std::pair<int, int> on_screen(const virtual_screen::shown_window& w, int height, int px,
                                       int py) {
    return {w.x + px, w.y + w.height - height + py};
  }
  bool shows(std::pair<int, int> at, unsigned long value) const {
    return soon([&] { return screen_.pixel(at.first, at.second) == value; }, 3000);
  }

  virtual_screen screen_;
  fs::path dir_ = fs::temp_directory_path() / ("planloc_screen_test." + std::to_string(getpid()));
  pid_t child_ = 0;
  int status_ = 0;
};

// ----- Runs -----

class RunOnScreenTest : public ScreenTest {
 protected:
  // The frame of the example on the 650 by 500 pixels of a run.
  static constexpr double kScale = 650 / 22.0;
  static int px(double x) { return static_cast<int>(std::lround((x + 8) * kScale)); }
  static int py(double y) { return static_cast<int>(std::lround(500 - (y + 7.5) * kScale)); }

  virtual_screen::shown_window shown_run() {
    start_run();
    const auto w = screen_.wait_for("FLNZ Window");
    // The route comes last; it starts with the dot of the origin.
    EXPECT_TRUE(soon([&] { return contents("page").ends_with("showpage\n"); }));
    EXPECT_TRUE(shows(on_screen(w, 500, px(0), py(0)), value_of(blue)));
    return w;
  }
};

TEST_F(RunOnScreenTest, ShowsFacilitiesBallsAndRouteAndWaitsForClose) {
  const auto w = shown_run();
  EXPECT_EQ(w.x, 60);
  EXPECT_EQ(w.y, 20);
  EXPECT_EQ(w.width, 650);
  struct Case {
    double x, y;
    color expected;
  };
  const Case cases[] = {
      {0, -5, black},  {6, 5, black},   {0, 8, black},  // facilities; the fourth is on the route
      {0, -3, orange}, {0, -7, orange},                 // edges of the southern ball
      {10, -5, black}, {6, -2, black},                  // directions, to the right and down
      {0, 0, blue},                                     // start
      {8, -2, white},  {-4, 0, white},
  };
  for (const Case& c : cases) {
    EXPECT_TRUE(shows(on_screen(w, 500, px(c.x), py(c.y)), value_of(c.expected)))
        << c.x << ' ' << c.y;
  }
  // The log's solutions are the dots of the route, dotted lines join them.
  std::istringstream log(contents("log"));
  double from_x = 0, from_y = 0;
  int dots = 0;
  for (std::string line; std::getline(log, line);) {
    double x, y;
    if (std::sscanf(line.c_str(), "Sol=(%lf,%lf)", &x, &y) != 2) continue;
    ++dots;
    EXPECT_TRUE(shows(on_screen(w, 500, px(x) - 1, py(y)), value_of(blue))) << line;
    const double length = std::hypot(x - from_x, y - from_y) * kScale;
    int inked = 0, blank = 0;
    for (double t = 8; t + 8 < length; t += 0.5) {
      const auto [i, j] = on_screen(w, 500, px(from_x + t / length * (x - from_x)),
                                    py(from_y + t / length * (y - from_y)));
      const unsigned long value = screen_.pixel(i, j);
      inked += (value & 0xff) > ((value >> 16) & 0xff) + 60;
      blank += value == value_of(white);
    }
    if (length > 50) {
      EXPECT_GT(inked, length / 4) << line;
      EXPECT_GT(blank, length / 4) << line;
    }
    from_x = x;
    from_y = y;
  }
  EXPECT_GE(dots, 3);

  for (int button : {1, 2, 3}) screen_.click(w.x + 300, w.y + 300, button);
  screen_.click(w.x + 400, w.y + 10);  // the strip beside the button
  EXPECT_FALSE(soon([&] { return has_ended(); }, 500));
  screen_.click(w.x + 40, w.y + 20);
  EXPECT_EQ(ending(), 0);
  EXPECT_EQ(contents("err"), "");
}

TEST_F(RunOnScreenTest, IsWholeAgainAfterBeingCovered) {
  const auto w = shown_run();
  screen_.move_mouse(5, 5);
  const auto picture = [&] { return screen_.pixels(w.x, w.y, w.width, w.height); };
  std::vector<unsigned long> before;
  ASSERT_TRUE(soon([&] { return std::exchange(before, picture()) == before; }));
  XSetWindowAttributes attributes{};
  attributes.override_redirect = True;
  attributes.background_pixel = 0x123456;
  const Window cover = XCreateWindow(screen_.display(), DefaultRootWindow(screen_.display()), 100,
                                     0, 300, 700, 0, CopyFromParent, InputOutput, CopyFromParent,
                                     CWOverrideRedirect | CWBackPixel, &attributes);
  XMapRaised(screen_.display(), cover);
  ASSERT_TRUE(soon([&] { return screen_.pixel(200, 200) == 0x123456; }));
  XDestroyWindow(screen_.display(), cover);
  EXPECT_TRUE(soon([&] { return picture() == before; }));
}

TEST_F(RunOnScreenTest, FillsAWindowOfAnySizeWithOneScale) {
  const auto w = shown_run();
  const int strip = w.height - 500;
  // Twice as wide as the picture needs, then twice as high; each time half the size.
  const struct { int width, height, left, top; } sizes[] = {{650, 250, 162, 0}, {325, 500, 0, 125}};
  for (const auto& size : sizes) {
    XResizeWindow(screen_.display(), w.id, static_cast<unsigned>(size.width),
                  static_cast<unsigned>(size.height + strip));
    const auto at = [&](double x, double y) {
      return std::pair(w.x + size.left + static_cast<int>(std::lround(px(x) * 0.5)),
                       w.y + strip + size.top + static_cast<int>(std::lround(py(y) * 0.5)));
    };
    EXPECT_TRUE(shows(at(0, 0), value_of(blue)));
    EXPECT_TRUE(shows(at(0, -5), value_of(black)));
    EXPECT_TRUE(shows(at(-1, -3), value_of(orange)));
    // Directions go on beyond the frame, to both borders of the window.
    EXPECT_TRUE(shows({w.x, at(0, -5).second}, value_of(black)));
    EXPECT_TRUE(shows({w.x + size.width - 1, at(0, -5).second}, value_of(black)));
  }
  // The button is in reach in the narrowest window too.
  XResizeWindow(screen_.display(), w.id, 100, 200);
  ASSERT_TRUE(soon([&] { return screen_.wait_for("FLNZ Window").width == 100; }));
  screen_.click(w.x + 60, w.y + 20);
  EXPECT_EQ(ending(), 0);
}

TEST_F(RunOnScreenTest, EndsWithAMessageWhenTheDisplayGoesAway) {
  shown_run();
  screen_.stop();
  EXPECT_EQ(ending(), 1);
  EXPECT_EQ(contents("err"), "Error: The display has gone away.\n");
}

TEST_F(RunOnScreenTest, AnErrorPanelWaitsForOk) {
  start_run("missing.loc");
  const auto panel = screen_.wait_for("MAVI-ERROR");
  ASSERT_GT(panel.width, 0);
  // In the corner, but for the room that a window manager needs around it.
  EXPECT_NEAR(panel.x + panel.width, virtual_screen::kWidth, 2);
  EXPECT_NEAR(panel.y, 0, 24);
  screen_.click(200, 200);  // the window of the run
  screen_.click(panel.x + 5, panel.y + panel.height / 2);
  EXPECT_FALSE(soon([&] { return has_ended(); }, 500));
  screen_.click(panel.x + panel.width / 2, panel.y + panel.height - 30);
  EXPECT_EQ(ending(), 1);
  EXPECT_EQ(contents("err"), "");
}

// ----- Windows -----

TEST_F(ScreenTest, ClicksAndTheirUserCoordinates) {
  start([] {
    window W(400, 300, "clicks");
    W.init(-10, 30, -5);
    W.button("Close", 0);
    W.button("Seven", 7);
    W.set_show_coordinates(true);
    W.display(50, 40);
    point p(99, 99);
    int button;
    do {
      button = W.read_mouse(p);
      std::cout << button << ' ' << p << std::endl;
    } while (button != 0);
  });
  const auto w = screen_.wait_for("Window: clicks");
  ASSERT_EQ(w.width, 400);
  const auto expect = [&](const std::string& text) {
    EXPECT_TRUE(soon([&] { return contents("out") == text; })) << contents("out");
  };
  std::string text;
  // Ten pixels a unit.
  const struct {
    int button, px, py;
    const char* line;
  } clicks[] = {
      {1, 100, 250, "-1 (0,0)\n"}, {2, 0, 299, "-2 (-10,-4.9)\n"}, {3, 399, 0, "-3 (29.9,25)\n"}};
  for (const auto& c : clicks) {
    const auto [x, y] = on_screen(w, 300, c.px, c.py);
    screen_.click(x, y, c.button);
    expect(text += c.line);
  }
  const auto strip = [&] { return screen_.pixels(w.x + 200, w.y, 200, w.height - 300); };
  const auto readout = strip();
  screen_.move_mouse(on_screen(w, 300, 50, 50).first, on_screen(w, 300, 50, 50).second);
  EXPECT_TRUE(soon([&] { return strip() != readout; }));
  screen_.click(w.x + 120, w.y + 20);
  expect(text += "7 (29.9,25)\n");
  screen_.click(w.x + 40, w.y + 20);
  expect(text += "0 (29.9,25)\n");
  EXPECT_EQ(ending(), 42);
}

TEST_F(ScreenTest, DrawingIsSeenAtOnce) {
  start([] {
    window W(400, 300, "drawing");
    W.display(50, 40);
    for (color c : {red, green, blue}) {
      W.draw_disc(50, 30, 5, c);
      W.draw_segment(0, 50, 100, 10, c);
      sleep(1);
    }
    W.close();
    sleep(60);
  });
  const auto w = screen_.wait_for("Window: drawing");
  for (color c : {red, green, blue}) {
    EXPECT_TRUE(shows(on_screen(w, 300, 200, 180), value_of(c)));
    for (int x : {20, 300, 380}) {
      const auto line = screen_.pixels(on_screen(w, 300, x, 0).first,
                                       on_screen(w, 300, x, 100 + x * 2 / 5).second - 2, 1, 5);
      EXPECT_NE(line, std::vector<unsigned long>(5, value_of(white))) << x;
    }
  }
  EXPECT_TRUE(soon([&] { return !screen_.find("Window: drawing"); }));
}

TEST_F(ScreenTest, ClosingByTheWindowSystemPressesTheFirstButton) {
  start([] {
    window W(400, 300);
    W.button("five", 5);
    W.button("zero", 0);
    W.display();
    std::exit(W.read_mouse());
  });
  const auto w = screen_.wait_for("FLNZ Window");
  screen_.type(w, "Escape");
  EXPECT_FALSE(soon([&] { return has_ended(); }, 300));
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = w.id;
  event.xclient.message_type = XInternAtom(screen_.display(), "WM_PROTOCOLS", False);
  event.xclient.format = 32;
  event.xclient.data.l[0] =
      static_cast<long>(XInternAtom(screen_.display(), "WM_DELETE_WINDOW", False));
  XSendEvent(screen_.display(), w.id, False, NoEventMask, &event);
  XFlush(screen_.display());
  EXPECT_EQ(ending(), 5);
}

// ----- Panels -----

TEST_F(ScreenTest, PanelsAnswerByTheirButtons) {
  const auto with_handler = [](int code) {
    return [code] {
      const window W(10, 10);
      error_handler(code, "list: out of order");
    };
  };
  const auto query = [](int stop) { return [stop] { MaviQuery("sure?", 3, stop, true); }; };
  const auto message = [](int stop) { return [stop] { MaviMessage("hello", stop, true); }; };
  const int aborted = 128 + SIGABRT;
  struct Case {
    std::function<void()> call;
    const char* title;
    const char* keys;
    const char* next_title;
    int ending;
  };
  const char* const handler = "FLNZ EXCEPTION HANDLER";
  const Case cases[] = {
      {with_handler(1), handler, "space", nullptr, 0},
      {with_handler(1), handler, "Tab space", "FLNZ Stack Trace", aborted},
      {with_handler(-1), handler, "Tab Tab space", nullptr, 42},
      {with_handler(0), handler, "space", nullptr, 42},
      {message(1), "MAVI-MESSAGE", "Return", nullptr, 42},
      {message(0), "MAVI-MESSAGE", "space", nullptr, 0},
      {query(0), "MAVI-MESSAGE", "space", nullptr, 3},
      {query(0), "MAVI-MESSAGE", "Tab space", nullptr, 0},
      {query(1), "MAVI-MESSAGE", "Tab space", nullptr, 42},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.title) + ": " + c.keys);
    start(c.call);
    screen_.type(screen_.wait_for(c.title), c.keys);
    if (c.next_title) screen_.type(screen_.wait_for(c.next_title), "space");
    EXPECT_EQ(ending(), c.ending);
    EXPECT_EQ(contents("out") + contents("err"), "");
  }
}

// Taken as markup, nothing of it would be left to show.
TEST_F(ScreenTest, AQuotedTextIsNoMarkup) {
  std::string quoted;
  for (int i = 0; i < 60; ++i) quoted += "\\bf ";
  start([&] { MaviMessage(quoted.c_str(), 0, true); });
  const auto panel = screen_.wait_for("MAVI-MESSAGE");
  EXPECT_GT(panel.width, 500);
  screen_.type(panel, "Return");
  EXPECT_EQ(ending(), 0);
}

TEST_F(ScreenTest, LongTextsLeaveTheButtonsInReach) {
  const std::string token(20000, 'x');
  const std::function<void()> panels[] = {
      [&] { MaviMessage(("found " + token + " instead").c_str(), 0, true); },
      [] {
        window panel("MAVI-MESSAGE");
        for (int i = 0; i < 100; ++i) panel.text_item("a line");
        panel.button("ok", 0);
        std::exit(panel.panel_open());
      }};
  for (const auto& call : panels) {
    start(call);
    const auto panel = screen_.wait_for("MAVI-MESSAGE");
    EXPECT_LE(panel.width, virtual_screen::kWidth - 100);
    EXPECT_LE(panel.y + panel.height, virtual_screen::kHeight);
    screen_.click(panel.x + panel.width / 2, panel.y + panel.height - 30);
    EXPECT_EQ(ending(), 0);
  }
}

}  // namespace
}  // namespace planloc
