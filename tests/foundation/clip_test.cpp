#include "planloc/foundation/window/clip.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <optional>

namespace planloc::detail {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(ClipTest, PartsInTheBox) {
  enum kind { segment, ray, line };
  const struct {
    kind type;
    xy p, q;
    std::optional<std::array<double, 4>> expected;
  } cases[] = {
      {segment, {3, 5}, {4, 2}, {{3, 5, 4, 2}}},
      {segment, {-2, 3}, {14, 11}, {{0, 4, 10, 9}}},
      {segment, {12, 4}, {3, -2}, {{10, 8 / 3.0, 6, 0}}},
      {segment, {2, -3}, {2, -1}, std::nullopt},
      {segment, {11, -3}, {11, 20}, std::nullopt},
      {segment, {8, 13}, {13, 8}, std::nullopt},  // passes a corner
      {segment, {0.1, 0.3}, {1e308, 0.3}, {{0.1, 0.3, 10, 0.3}}},
      {segment, {-kInf, 3}, {5, 3}, {{0, 3, 5, 3}}},
      // Ends at 1e17 are known to sixteen units only; what is seen must come from the near end.
      {segment, {1e17, 5e16}, {0, 2}, {{10, 7, 0, 2}}},
      {ray, {1, 1}, {1 + 1e-300, 1}, {{1, 1, 1, 1}}},  // the points are equal
      {ray, {1, 1}, {1e308, 1e308}, {{1, 1, 10, 10}}},
      {ray, {2, 2}, {-kInf, 2}, {{2, 2, 0, 2}}},
      {ray, {2, 2}, {kNan, 2}, std::nullopt},
      {ray, {-5, 5}, {-6, 5}, std::nullopt},  // looks away
      {ray, {-1e308, 5}, {1e308, 5}, {{0, 5, 10, 5}}},
      {ray, {20, 20}, {20, 20}, std::nullopt},  // trivial, outside
      {line, {7, 20}, {7, 19}, {{7, 10, 7, 0}}},
      {line, {-1, 0}, {0, 1}, {{0, 1, 9, 10}}},
      {line, {3, 3}, {3, 3}, {{3, 3, 3, 3}}},
      {line, {12, 0}, {12, 1}, std::nullopt},
  };
  const box b{0, 10, 0, 10};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.p.x << ' ' << c.p.y << " - " << c.q.x << ' ' << c.q.y);
    const auto part = (c.type == segment ? clip_segment
                       : c.type == ray   ? clip_ray
                                         : clip_line)(b, c.p, c.q);
    ASSERT_EQ(part.has_value(), c.expected.has_value());
    if (!part) continue;
    const std::array<double, 4> got = {part->from.x, part->from.y, part->to.x, part->to.y};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(got[i], (*c.expected)[i]) << i;
  }
  EXPECT_EQ(clip_segment(b, {0.1, 0.3}, {1e308, 0.3})->from.x, 0.1);  // to the last bit
  const auto corners = clip_polygon(b, {{0, 2}, {1e17, 5e16}, {0, 1}});
  ASSERT_EQ(corners.size(), 4U);
  EXPECT_DOUBLE_EQ(corners[1].y, 7);
  EXPECT_DOUBLE_EQ(corners[2].y, 6);
}

}  // namespace
}  // namespace planloc::detail
