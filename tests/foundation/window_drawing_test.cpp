// What drawing calls leave in the picture, and in the files that it is saved to.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "planloc/foundation/window/window.h"

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

// How many pixels are not white, and the smallest box around them.
struct ink {
  int count = 0, left = 200, top = 100, right = -1, bottom = -1;
  bool operator==(const ink&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const ink& i) {
    return out << i.count << " in " << i.left << ' ' << i.top << ' ' << i.right << ' ' << i.bottom;
  }
};

// 200 by 100 pixels; x 0..100, y 0..50, two pixels a unit. Displayed.
class DrawingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    W.init(0, 100, 0);
    W.display(60, 20);
  }

  ink inked(int x0 = 0, int y0 = 0, int x1 = 200, int y1 = 100) const {
    ink i;
    for (int y = y0; y < y1; ++y) {
      for (int x = x0; x < x1; ++x) {
        if (W.pixel(x, y) == kWhite) continue;
        i = {i.count + 1, std::min(i.left, x), std::min(i.top, y), std::max(i.right, x),
             std::max(i.bottom, y)};
      }
    }
    return i;
  }

  window W{200, 100};
};

TEST_F(DrawingTest, PlaceAndExtent) {
  const ink all{200 * 100, 0, 0, 199, 99}, none;
  const list<point> square{point(10, 10), point(30, 10), point(30, 30), point(10, 30)};
  const list<point> nowhere{point(), point(9, kNan)}, beyond{point(0, kMax), point(-kInf, kMax)};
  const list<point> everywhere{point(-kInf, -kInf), point(kInf, -kInf), point(0, kMax)};
  const point p(50, 25), q(10, 10);
  const struct {
    const char* name;
    std::function<void()> draw;
    ink expected;
  } cases[] = {
      {"disc of a pixel", [&] { W.draw_disc(50, 25, 0.2); }, {1, 100, 50, 100, 50}},
      {"disc of radius -inf", [&] { W.draw_disc(50, 25, -kInf); }, {1, 100, 50, 100, 50}},
      {"disc of radius inf", [&] { W.draw_disc(50, 25, kInf); }, all},
      {"disc nowhere", [&] { W.draw_disc(50, kNan, 1); }, none},
      {"disc far off", [&] { W.draw_disc(-kInf, 1, 1); }, none},
      {"point", [&] { W.draw_point(p); }, {13, 97, 47, 103, 53}},
      {"segment", [&] { W.draw_segment(10, 25, 40, 25); }, {61, 20, 50, 80, 50}},
      {"segment of no length", [&] { W.draw_segment(segment(q, q)); }, {1, 20, 80, 20, 80}},
      {"segment to inf", [&] { W.draw_segment(50, 25, kInf, 25); }, {100, 100, 50, 199, 50}},
      {"segment across", [&] { W.draw_segment(-kInf, 10, kInf, 10); }, {200, 0, 80, 199, 80}},
      {"segment beyond", [&] { W.draw_segment(kMax, kInf, -kInf, kMax); }, none},
      {"line", [&] { W.draw_line(line(point(3, 10), q)); }, {200, 0, 80, 199, 80}},
      {"ray", [&] { W.draw_ray(ray(p, point(51, 25))); }, {100, 100, 50, 199, 50}},
      {"ray down", [&] { W.draw_ray(ray(p, point(50, -kInf))); }, {50, 100, 50, 100, 99}},
      {"ray elsewhere", [&] { W.draw_ray(ray(point(50, 60), point(50, 61))); }, none},
      {"ray to nowhere", [&] { W.draw_ray(ray(p, point(kInf, kNan))); }, none},
      {"trivial ray", [&] { W.draw_ray(ray(q, q)); }, {1, 20, 80, 20, 80}},
      {"polygon", [&] { W.draw_polygon(square); }, {160, 20, 40, 60, 80}},
      {"filled", [&] { W.draw_filled_polygon(polygon(square)); }, {41 * 41, 20, 40, 60, 80}},
      {"filled nowhere", [&] { W.draw_filled_polygon(nowhere); }, none},
      {"filled beyond", [&] { W.draw_filled_polygon(beyond); }, none},
      {"filled everywhere", [&] { W.draw_filled_polygon(everywhere); }, all},
  };
  for (const auto& c : cases) {
    W.init(0, 100, 0);
    c.draw();
    EXPECT_EQ(inked(), c.expected) << c.name;
  }
  W.init(0, 100, 0);
  W.draw_filled_polygon(square);
  EXPECT_EQ(W.pixel(20, 60), kBlack);  // the boundary belongs to it
}

TEST_F(DrawingTest, ThePictureOutlivesTheWindow) {
  W.draw_disc(50, 25, 5, red);
  W.display();
  W.close();
  EXPECT_TRUE(W.is_displayed() && !W.is_open());
  W.draw_disc(10, 25, 1, green);
  W.display();
  W.init(0, 200, 0, 0, false);
  EXPECT_EQ(W.pixel(100, 50), rgb_of(red));
  EXPECT_EQ(W.pixel(20, 50), rgb_of(green));
  W.init(0, 200, 0);
  EXPECT_EQ(inked(), ink());
}

TEST_F(DrawingTest, DiscsAreRound) {
  W.draw_disc(50, 25, 5, blue);
  for (const auto& [dx, dy, c] : {std::tuple(0, 0, blue),
                                  {-9, 0, blue},
                                  {0, 9, blue},
                                  {6, 6, blue},
                                  {-11, 0, white},
                                  {0, 11, white},
                                  {8, 8, white}}) {
    EXPECT_EQ(W.pixel(100 + dx, 50 + dy), rgb_of(c)) << dx << ' ' << dy;
    EXPECT_EQ(W.pixel(100 - dx, 50 - dy), rgb_of(c)) << -dx << ' ' << -dy;
  }
}

TEST_F(DrawingTest, WidthsAndColoursOfLines) {
  for (int width : {1, 2, 3, 6}) {
    W.init(0, 100, 0);
    W.set_line_width(width);
    W.draw_segment(10, 25, 40, 25, orange);
    W.draw_segment(segment(point(60, 5), point(60, 45)), orange);
    EXPECT_EQ(inked(50, 0, 51, 100).count, width);
    EXPECT_EQ(inked(100, 50, 200, 51).count, width);
    EXPECT_EQ(W.pixel(50, 50), rgb_of(orange));
  }
  W.draw_segment(10, 25, 40, 25);  // covers the first one in the default colour
  EXPECT_EQ(W.pixel(50, 50), kBlack);
  W.set_color(violet);
  W.draw_segment(10, 25, 40, 25, color(99));
  EXPECT_EQ(W.pixel(50, 50), rgb_of(violet));
}

TEST_F(DrawingTest, StylesLeaveGaps) {
  std::map<int, int> count, gaps;
  for (int style : {solid, dashed, dotted}) {
    W.init(0, 100, 0);
    W.set_line_style(style);
    W.draw_segment(10, 25, 90, 25);
    count[style] = inked().count;
    for (int x = 20; x < 180; ++x)
      gaps[style] += W.pixel(x, 50) != kWhite && W.pixel(x + 1, 50) == kWhite;
  }
  EXPECT_EQ(count[solid], 161);
  EXPECT_GT(count[dashed], count[dotted]);
  EXPECT_GT(gaps[dashed], 10);
  EXPECT_GT(gaps[dotted], 2 * gaps[dashed]);
  W.init(0, 100, 0);
  W.draw_point(50, 25);  // is solid in any style
  EXPECT_EQ(inked().count, 13);
}

TEST_F(DrawingTest, FarEndsKeepTheSlope) {
  const segment s(point(0, 0), point(1e9, 3.02e8));
  for (bool as_ray : {false, true}) {
    W.init(0, 100, 0);
    as_ray ? W.draw_ray(ray(s)) : W.draw_segment(s);
    double weight = 0;
    double middle = 0;
    for (int y = 0; y < 100; ++y) {
      const double darkness = 255 - W.pixel(199, y).green;
      weight += darkness;
      middle += darkness * y;
    }
    EXPECT_NEAR(middle / weight, 100 - 0.302 * 199, 0.1);
  }
}

// A capital is as wide as its ink: the boxes of all places follow from one of them.
TEST_F(DrawingTest, TextStandsAtItsPlace) {
  const auto box = [this](const char* line, text_place place) {
    W.init(0, 100, 0);
    W.draw_text(point(50, 25), line, blue, place);
    return inked();
  };
  W.set_text_size(20);
  const ink right = box("H", text_place::right);
  const ink left = box("H", text_place::left);
  const ink above = box("H", text_place::above);
  const ink below = box("H", text_place::below);
  const ink centre = box("H", text_place::centre);
  const int height = right.bottom - right.top;
  EXPECT_NEAR(height, 14, 2);
  EXPECT_NEAR(right.left, 100 + kTextGap + 2, 2);
  EXPECT_NEAR(left.right, 100 - kTextGap - 2, 2);
  EXPECT_NEAR(above.bottom, 50 - kTextGap, 1);
  EXPECT_NEAR(below.top, 50 + kTextGap, 1);
  for (const ink& i : {left, right, centre}) EXPECT_NEAR(i.top + i.bottom, 100, 2);
  for (const ink& i : {above, below, centre}) EXPECT_NEAR(i.left + i.right, 200, 2);
  // Names in a row keep one line, whatever letters they have.
  EXPECT_EQ(box("HgH", text_place::right).top, right.top);
  EXPECT_GT(box("HgH", text_place::right).bottom, right.bottom + 2);
  EXPECT_GT(box("HHH", text_place::right).count, 2 * right.count);

  EXPECT_EQ(W.set_text_size(40), 20);
  const ink twice = box("H", text_place::centre);
  EXPECT_NEAR(twice.bottom - twice.top, 2 * height, 2);
  EXPECT_EQ(W.set_text_size(-3), 40);
  EXPECT_EQ(W.text_size(), 1);
  W.init(0, 100, 0);
  W.draw_text(kNan, 1, "H");
  W.draw_text(kInf, -kInf, "H");
  W.draw_text(50, 25, "");
  EXPECT_EQ(inked(), ink());
}

// Names come from files: one whose bytes are no text must not spoil what is drawn behind it.
TEST_F(DrawingTest, TextTakesAnyBytes) {
  const auto pixels = [this](const std::string& line) {
    W.init(0, 100, 0);
    W.set_text_size(20);
    W.draw_text(20, 25, string(line));
    std::vector<int> greens;
    for (int i = 0; i < 200 * 100; ++i) greens.push_back(W.pixel(i % 200, i / 200).green);
    return greens;
  };
  EXPECT_EQ(pixels("C\xe1"
                   "diz"),
            pixels("C\xc3\xa1"
                   "diz"));  // Latin-1 and UTF-8
  EXPECT_EQ(pixels("a\n\x7f\xc2\x85z"), pixels("a   z"));
  EXPECT_NE(pixels("\xf0\x90\x80\x80"), pixels("\xf0\x80\x80\x80"));  // the second is too long
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round) {
    std::string line;
    for (int i = 0; i < 8; ++i)
      line += static_cast<char>(random() % 2 ? 0xc0 + random() % 64 : random());
    W.init(0, 100, 0);
    W.draw_text(20, 25, string(line));
    W.draw_disc(90, 40, 3, red);
    ASSERT_EQ(W.pixel(180, 20), rgb_of(red)) << round;
  }
}

TEST_F(DrawingTest, GridStandsAtItsMultiples) {
  W.init(-15, 85, -7, 10);
  EXPECT_EQ(W.grid(), 10);
  for (int x = -10; x <= 80; x += 10) EXPECT_EQ(W.pixel((x + 15) * 2, 1), rgb_of(grey1)) << x;
  for (int y = 0; y <= 40; y += 10) EXPECT_EQ(W.pixel(1, 100 - (y + 7) * 2), rgb_of(grey1)) << y;
  EXPECT_EQ(inked(0, 1, 200, 2).count, 10);
  EXPECT_EQ(inked(1, 0, 2, 100).count, 5);
  W.init(1e17, 1e17 + 1600, 1e17, 50);
  EXPECT_GT(inked(0, 1, 200, 2).count, 20);

  ::testing::internal::CaptureStderr();
  W.init(0, 100, 0, 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "warning: grid distance to small.\n");
  EXPECT_EQ(W.grid(), 0);
  EXPECT_EQ(inked(), ink());
}

// ----- Files -----

class SavedDrawingTest : public DrawingTest {
 protected:
  void SetUp() override {
    DrawingTest::SetUp();
    std::string name = (std::filesystem::temp_directory_path() / "planloc-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    folder_ = name;
    W.draw_disc(50, 25, 5, red);
    W.set_line_style(dotted);
    W.draw_segment(3, 4, 77, 40, blue);
    W.draw_ray(ray(point(50, 25), point(-kInf, 30)), grey2);
    W.draw_filled_polygon({point(80, 10), point(95, 12), point(85, 40)}, green2);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  string in_folder(const std::string& name) const { return string((folder_ / name).string()); }
  std::string saved(const std::string& name) {
    EXPECT_TRUE(W.save(in_folder(name)));
    std::ostringstream bytes;
    bytes << std::ifstream(folder_ / name, std::ios::binary).rdbuf();
    return bytes.str();
  }

  std::filesystem::path folder_;
};

TEST_F(SavedDrawingTest, FilesHoldTheObjects) {
  const struct {
    const char* file;
    std::string word;
    int count;
  } cases[] = {
      {"walk.PNG", {"\x89PNG\r\n\x1a\n", 8}, 1},
      {"walk.PNG", {"IHDR\0\0\0\xc8\0\0\0\x64", 12}, 1},  // 200 by 100
      {"walk.svg", "width=\"200px\" height=\"100px\"", 1},
      {"walk.svg", "<path", 4},
      {"walk.svg", "stroke-dasharray", 2},
      {"walk.svg", "<image", 0},
      {"walk.svg", "</svg>", 1},
      {"walk.pdf", "%PDF-", 1},
      {"walk.pdf", "/MediaBox [ 0 0 200 100 ]", 1},
      {"walk.pdf", "/Count 1\n", 1},  // pages
      {"walk.pdf", "/Subtype /Image", 0},
      {"walk.pdf", "%%EOF", 1},
  };
  const auto expect = [&](const char* file, const std::string& word, int expected) {
    const std::string text = saved(file);
    int count = 0;
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; ++at) ++count;
    EXPECT_EQ(count, expected) << file << ' ' << word;
  };
  for (const auto& c : cases) expect(c.file, c.word, c.count);
  // A text brings its letters with it: no font is looked for when the file is read.
  W.draw_text(10, 40, "HEH");
  expect("walk.svg", "<use ", 3);
  expect("walk.svg", "<text", 0);
  expect("walk.pdf", "/FontFile", 1);
}

TEST_F(SavedDrawingTest, FailuresNameTheFileAndTheReason) {
  W.init(0, 100, 0);  // the disk is found full only when a small file is closed
  std::filesystem::create_directory(folder_ / "folder.png");
  std::filesystem::create_symlink("/dev/full", folder_ / "full.pdf");
  const std::pair<const char*, const char*> cases[] = {
      {"walk.gif", "the name must end in .png, .svg or .pdf"},
      {"png", "the name must end in .png, .svg or .pdf"},
      {"none/walk.svg", "No such file or directory"},
      {"folder.png", "Is a directory"},
      {"full.pdf", "No space left on device"}};
  for (const auto& [name, reason] : cases) {
    const string error("Error: Window cannot be saved as %s: %s\n", in_folder(name).cstring(),
                       reason);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(W.save(in_folder(name)));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), error.cstring());
  }
}

}  // namespace
}  // namespace planloc
