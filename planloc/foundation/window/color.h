// Colours of the drawing window: small integers with a fixed table. The numbers are what drawing
// calls take; `rgb` is what the surface of surface.h paints with.
#ifndef PLANLOC_FOUNDATION_WINDOW_COLOR_H_
#define PLANLOC_FOUNDATION_WINDOW_COLOR_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace planloc {

struct rgb {
  std::uint8_t red;
  std::uint8_t green;
  std::uint8_t blue;

  bool operator==(const rgb&) const = default;
};

// A colour number. Converts from and to int, so that a drawing call may name either.
class color {
 public:
  // Stands for the default colour of the window that is drawn on (`BASE_WINDOW::set_color`).
  static constexpr int kDefault = -16;

  constexpr color(int number = kDefault)
      : number_(number) {}                            // NOLINT(google-explicit-constructor)
  constexpr operator int() const { return number_; }  // NOLINT(google-explicit-constructor)

 private:
  int number_;
};

inline constexpr color white = 0;
inline constexpr color black = 1;
inline constexpr color red = 2;
inline constexpr color green = 3;
inline constexpr color blue = 4;
inline constexpr color yellow = 5;
inline constexpr color violet = 6;
inline constexpr color orange = 7;
inline constexpr color cyan = 8;
inline constexpr color brown = 9;
inline constexpr color pink = 10;
inline constexpr color green2 = 11;
inline constexpr color blue2 = 12;
inline constexpr color grey1 = 13;  // the lightest of the three
inline constexpr color grey2 = 14;
inline constexpr color grey3 = 15;

namespace detail {

inline constexpr std::array<rgb, 16> kColorTable = {{
    {255, 255, 255},  // white
    {0, 0, 0},        // black
    {214, 39, 40},    // red
    {44, 160, 44},    // green
    {31, 87, 196},    // blue
    {240, 200, 30},   // yellow
    {136, 64, 176},   // violet
    {255, 127, 14},   // orange
    {23, 176, 200},   // cyan
    {140, 86, 50},    // brown
    {227, 119, 194},  // pink
    {126, 200, 110},  // green2
    {116, 170, 232},  // blue2
    {224, 224, 224},  // grey1
    {168, 168, 168},  // grey2
    {96, 96, 96},     // grey3
}};

}  // namespace detail

// Whether the table has an entry for c; it has none for `color::kDefault`.
constexpr bool is_table_color(color c) {
  return c >= 0 && static_cast<std::size_t>(c) < detail::kColorTable.size();
}

// The entry of the table. REQUIRES: is_table_color(c).
constexpr rgb rgb_of(color c) { return detail::kColorTable[static_cast<std::size_t>(c)]; }

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_WINDOW_COLOR_H_
