// Windows, panels and whole runs as they stand on a screen.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/window/window.h"
#include "planloc/model/reporter.h"
#include "tests/system/virtual_screen.h"

namespace planloc {
namespace {

namespace fs = std::filesystem;
using testing_support::soon;
using testing_support::virtual_screen;

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

  // The exit status, or 128 + the signal; -1 if the process goes on.
  int ending(int milliseconds = 10000) {
    int status = 0;
    if (!soon([&] { return waitpid(child_, &status, WNOHANG) == child_; }, milliseconds)) return -1;
    child_ = 0;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  }

  std::string file(const std::string& name) const { return (dir_ / name).string(); }
  std::string contents(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(file(name)).rdbuf();
    return text.str();
  }

  // Whether the pixel (px, py) of the drawing area of `height` pixels comes to show the colour.
  bool shows(const virtual_screen::shown_window& w, int height, int px, int py, color c) const {
    const rgb v = rgb_of(c);
    const auto value = static_cast<unsigned long>(v.red << 16 | v.green << 8 | v.blue);
    const int y = w.y + w.height - height + py;
    return soon([&] { return screen_.pixel(w.x + px, y) == value; }, 3000);
  }

  virtual_screen screen_;
  fs::path dir_ = fs::temp_directory_path() / ("planloc_screen_test." + std::to_string(getpid()));
  pid_t child_ = 0;
};

// ----- A picture of the tool -----

#ifdef PLANLOC
TEST_F(ScreenTest, TheToolShowsItsMapUntilItIsClosed) {
  start([this] {
    std::ofstream(file("sites.csv")) << "x,y\n0,0\n4,0\n1,3\n";
    execl(PLANLOC, PLANLOC, "solve", file("sites.csv").c_str(), "--show", nullptr);
  });
  const auto w = screen_.wait_for("median, gauge euclid");
  EXPECT_GT(w.width, 900);                                               // the map and its legend
  EXPECT_NE(contents("out").find("proved optimal"), std::string::npos);  // said before it is shown
  EXPECT_EQ(ending(300), -1);
  screen_.ask_to_close(w);
  EXPECT_EQ(ending(), 0);
}

TEST(ToolWithoutScreen, SaysSoBehindTheAnswer) {
  const std::string line = "printf 'x,y\\n1,2\\n' | env -u DISPLAY " PLANLOC " solve - --show 2>&1";
  FILE* pipe = popen(line.c_str(), "r");
  std::string text;
  for (int c; (c = fgetc(pipe)) != EOF;) text += static_cast<char>(c);
  EXPECT_EQ(WEXITSTATUS(pclose(pipe)), 1);
  EXPECT_NE(text.find("at site 1"), std::string::npos);
  EXPECT_NE(text.find("--show: no screen"), std::string::npos);
}
#endif

// ----- Runs -----

class RunOnScreenTest : public ScreenTest {
 protected:
  virtual_screen::shown_window shown_run() {
    start_run();
    const auto w = screen_.wait_for("FLNZ Window");
    // The route comes last; it starts with the dot of the origin.
    EXPECT_TRUE(soon([&] { return contents("page").ends_with("showpage\n"); }));
    EXPECT_TRUE(shows(w, 500, 236, 278, blue));
    return w;
  }
};

TEST_F(RunOnScreenTest, ShowsFacilitiesBallsAndRouteAndWaitsForClose) {
  const auto w = shown_run();
  EXPECT_TRUE(w.x == 60 && w.y == 20 && w.width == 650);
  // The frame of the example on the 650 by 500 pixels of a run.
  const auto expect = [&](double x, double y, color c, int aside = 0) {
    const double scale = 650 / 22.0;
    const int px = static_cast<int>(std::lround((x + 8) * scale)) + aside;
    const int py = static_cast<int>(std::lround(500 - (y + 7.5) * scale));
    EXPECT_TRUE(shows(w, 500, px, py, c)) << x << ' ' << y;
  };
  const std::vector<std::pair<double, double>> facilities = {{0, -5}, {6, 5}, {0, 8}};
  for (const auto& [x, y] : facilities) expect(x, y, black);  // the fourth is on the route
  for (double y : {-3.0, -7.0}) expect(0, y, orange);         // edges of the southern ball
  expect(10, -5, black);                                      // directions, to the right and down
  expect(6, -2, black);
  expect(8, -2, white);
  expect(-4, 0, white);
  // The solutions in the log are the dots of the route.
  int dots = 0;
  std::istringstream log(contents("log"));
  for (std::string line; std::getline(log, line);) {
    double x, y;
    if (std::sscanf(line.c_str(), "Sol=(%lf,%lf)", &x, &y) != 2) continue;
    expect(x, y, blue, -1);
    ++dots;
  }
  EXPECT_GE(dots, 3);

  for (int button : {1, 2, 3}) screen_.click(w.x + 300, w.y + 300, button);
  screen_.click(w.x + 400, w.y + 10);  // the strip beside the button
  EXPECT_EQ(ending(500), -1);
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
  const Window cover = screen_.cover(100, 0, 300, 700, 0x123456);
  ASSERT_TRUE(soon([&] { return screen_.pixel(200, 200) == 0x123456; }));
  XDestroyWindow(screen_.display(), cover);
  EXPECT_TRUE(soon([&] { return picture() == before; }));
}

TEST_F(RunOnScreenTest, FillsAWindowOfAnySizeWithOneScale) {
  auto w = shown_run();
  const int strip = w.height - 500;
  // Twice as wide as the picture needs, then twice as high; each time half the size.
  const struct { int width, height, left, top; } sizes[] = {{650, 250, 162, 0}, {325, 500, 0, 125}};
  for (const auto& size : sizes) {
    w.height = size.height + strip;
    screen_.resize(w, size.width, w.height);
    EXPECT_TRUE(shows(w, size.height, size.left + 118, size.top + 139, blue));
    EXPECT_TRUE(shows(w, size.height, size.left + 104, size.top + 184, orange));
    // Directions go on beyond the frame, to both borders of the window.
    for (int px : {0, size.width - 1}) {
      EXPECT_TRUE(shows(w, size.height, px, size.top + 213, black)) << px;
    }
  }
  // The button is in reach in the narrowest window too.
  screen_.resize(w, 100, 200);
  ASSERT_TRUE(soon([&] { return screen_.find("FLNZ Window").width == 100; }));
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
  EXPECT_EQ(ending(500), -1);
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
  std::string text;
  const auto expect = [&](const std::string& line) {
    text += line;
    EXPECT_TRUE(soon([&] { return contents("out") == text; })) << contents("out");
  };
  // Ten pixels a unit.
  const struct {
    int button, px, py;
    const char* line;
  } clicks[] = {
      {1, 100, 250, "-1 (0,0)\n"}, {2, 0, 299, "-2 (-10,-4.9)\n"}, {3, 399, 0, "-3 (29.9,25)\n"}};
  const int top = w.y + w.height - 300;
  for (const auto& c : clicks) {
    screen_.click(w.x + c.px, top + c.py, c.button);
    expect(c.line);
  }
  const auto strip = [&] { return screen_.pixels(w.x + 200, w.y, 200, w.height - 300); };
  const auto readout = strip();
  screen_.move_mouse(w.x + 50, top + 50);
  EXPECT_TRUE(soon([&] { return strip() != readout; }));
  screen_.click(w.x + 120, w.y + 20);
  expect("7 (29.9,25)\n");
  screen_.click(w.x + 40, w.y + 20);
  expect("0 (29.9,25)\n");
  EXPECT_EQ(ending(), 42);
}

// The process stops behind its drawing calls: nothing can be put off to its next wait.
TEST_F(ScreenTest, DrawingIsSeenAtOnce) {
  constexpr color colors[] = {red, green, blue};
  start([&] {
    window W(400, 300, "drawing");
    W.display(50, 40);
    W.set_line_width(5);
    for (color c : colors) {
      W.draw_disc(50, 30, 5, c);
      W.draw_segment(0, 50, 100, 10, c);
      raise(SIGSTOP);
    }
    W.close();
    raise(SIGSTOP);
  });
  const auto w = screen_.wait_for("Window: drawing");
  for (color c : colors) {
    waitpid(child_, nullptr, WUNTRACED);
    for (int x : {20, 200, 380}) {
      EXPECT_TRUE(shows(w, 300, x, 100 + x * 2 / 5, c)) << x;  // the line
      EXPECT_TRUE(shows(w, 300, x, 90 + x * 2 / 5, x == 200 ? c : white)) << x;
    }
    kill(child_, SIGCONT);
  }
  EXPECT_TRUE(soon([&] { return screen_.find("Window: drawing").id == 0; }));
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
  EXPECT_EQ(ending(300), -1);
  screen_.ask_to_close(w);
  EXPECT_EQ(ending(), 5);
}

// ----- Panels -----

TEST_F(ScreenTest, PanelsAnswerByTheirKeys) {
  const auto report = [] {
    const window W(10, 10);
    error_handler(1, "list: out of order");
  };
  const struct {
    std::function<void()> call;
    const char *title, *keys, *next_title;
    int ending;
  } cases[] = {
      {report, "FLNZ EXCEPTION HANDLER", "Tab Tab space", nullptr, 42},
      {report, "FLNZ EXCEPTION HANDLER", "Tab space", "FLNZ Stack Trace", 128 + SIGABRT},
      {[] { MaviMessage("hello", 1, true); }, "MAVI-MESSAGE", "Return", nullptr, 42},
      {[] { MaviQuery("sure?", 3, 0, true); }, "MAVI-MESSAGE", "space", nullptr, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.title) + ": " + c.keys);
    start(c.call);
    screen_.type(screen_.wait_for(c.title), c.keys);
    if (c.next_title) screen_.type(screen_.wait_for(c.next_title), "space");
    EXPECT_EQ(ending(), c.ending);
    EXPECT_EQ(contents("out") + contents("err"), "");
  }
}

TEST_F(ScreenTest, LongTextsLeaveTheButtonsInReach) {
  std::string commands;
  for (int i = 0; i < 60; ++i) commands += "\\bf ";
  const std::string token(20000, 'x');
  const std::string found = "found " + token + " instead";
  const auto tall = [] {
    window panel("MAVI-MESSAGE");
    for (int i = 0; i < 100; ++i) panel.text_item("a line");
    panel.button("ok", 0);
    std::exit(panel.panel_open());
  };
  const std::pair<std::function<void()>, int> cases[] = {
      {[&] { MaviMessage(commands.c_str(), 0, true); }, 500},  // a quoted text is no markup
      {[&] { MaviMessage(found.c_str(), 0, true); }, 500},
      {tall, 100},
  };
  for (const auto& [call, least_width] : cases) {
    start(call);
    const auto panel = screen_.wait_for("MAVI-MESSAGE");
    EXPECT_GT(panel.width, least_width);
    EXPECT_LE(panel.width, virtual_screen::kWidth - 100);
    EXPECT_LE(panel.y + panel.height, virtual_screen::kHeight);
    screen_.click(panel.x + panel.width / 2, panel.y + panel.height - 30);
    EXPECT_EQ(ending(), 0);
  }
}

}  // namespace
}  // namespace planloc
