#include "planloc/foundation/window/raster.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "planloc/foundation/window/surface.h"

namespace planloc {
namespace {

std::uint32_t at(const detail::raster& r, int x, int y) { return r.row(y)[x] & 0xffffff; }

std::vector<std::uint32_t> values(const detail::raster& r) {
  std::vector<std::uint32_t> v;
  for (int y = 0; y < r.height(); ++y) v.insert(v.end(), r.row(y), r.row(y) + r.width());
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
    std::vector<std::uint32_t> known = values(pixels);
    std::size_t covered = 0;
    for (int round = 0; round < 300; ++round) {
      const surface::position from{any(-50, 250), any(-150, 250)};
      const surface::position to{any(-500, 700), any(-50, 150)};
      const rgb colour = rgb_of(any(1, 12));
      if (round % 5 == 0) {
        picture.text(from, "gj\xc3\x81", {any(1, 40), static_cast<text_place>(any(0, 4)), colour});
      } else if (round % 4 == 0) {
        picture.disc(from, any(0, 20), colour);
      }
      if (round % 4 == 1) picture.fill({from, to, {any(0, 200), any(0, 100)}}, colour);
      if (round % 4 > 1) picture.line(from, to, {any(1, 9), any(0, 2), colour});
      for (const detail::area& a : pixels.update()) {
        for (int y = a.y; y < a.y + a.height; ++y) {
          const auto row = known.begin() + y * width;
          std::copy_n(pixels.row(y) + a.x, a.width, row + a.x);
        }
        covered += static_cast<std::size_t>(a.width * a.height);
      }
      ASSERT_EQ(known, values(pixels)) << "round " << round;
    }
    EXPECT_LT(covered, 300 * known.size() / 2);
    EXPECT_TRUE(pixels.update().empty());
    picture.clear(rgb_of(white));
    EXPECT_EQ(pixels.update().size(), 1U);
    EXPECT_EQ(at(pixels, width / 2, height / 2), 0xffffffU);
  }
}

TEST(RasterTest, KeepsTheShapeAndShowsWhatLiesBesideThePicture) {
  surface picture(200, 100);
  picture.disc({100, 50}, 10, {255, 0, 0});
  picture.line({-1000, 20}, {1000, 20}, {1, solid, {0, 0, 0}});
  detail::raster high(picture, 100, 150);  // half the size, 50 rows above and below
  high.update();
  EXPECT_EQ(at(high, 50, 79), 0xff0000U);
  EXPECT_EQ(at(high, 50, 82), 0xffffffU);
  EXPECT_EQ(at(high, 0, 60), 0U);
  EXPECT_EQ(at(high, 99, 60), 0U);
  EXPECT_EQ(high.picture_x(50), 100);
  EXPECT_EQ(high.picture_y(75), 50);
  detail::raster wide(picture, 400, 100);
  wide.update();
  EXPECT_EQ(at(wide, 200, 50), 0xff0000U);
  EXPECT_EQ(at(wide, 0, 20), 0U);
  EXPECT_EQ(wide.picture_x(0), -100);
}

}  // namespace
}  // namespace planloc
