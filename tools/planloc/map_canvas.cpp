#include "tools/planloc/map_canvas.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace planloc::tool {

namespace {

constexpr rgb kWhite{255, 255, 255};
constexpr rgb kFrameLine{120, 120, 120};

surface::position rounded_position(double x, double y) {
  // Far beyond any picture; what lies there is not seen.
  constexpr double kFar = 30000;
  return {static_cast<int>(std::lround(std::clamp(x, -kFar, kFar))),
          static_cast<int>(std::lround(std::clamp(y, -kFar, kFar)))};
}

}  // namespace

double text_width(const std::string& text, int size) {
  constexpr double kPerCharacter = 0.56;
  const auto characters = std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
  });
  return kPerCharacter * size * static_cast<double>(characters);
}

map_canvas::map_canvas(surface& picture, const pixel_box& area, const rectangle& frame)
    : picture_(picture), area_(area) {
  const double width = area.right - area.left;
  const double height = area.bottom - area.top;
  scale_ = std::min(width / frame.width(), height / frame.height());
  origin_ = {(frame.low.x + frame.high.x - width / scale_) / 2,
             (frame.low.y + frame.high.y + height / scale_) / 2};
}

surface::position map_canvas::pixel(const xy& p) const {
  return rounded_position(area_.left + (p.x - origin_.x) * scale_,
                          area_.top + (origin_.y - p.y) * scale_);
}

void map_canvas::line(const xy& from, const xy& to, const surface::pen& pen) {
  picture_.line(pixel(from), pixel(to), pen);
}

void map_canvas::ring(const std::vector<xy>& corners, const surface::pen& pen) {
  for (std::size_t k = 0; k < corners.size(); ++k) {
    line(corners[k], corners[(k + 1) % corners.size()], pen);
  }
}

void map_canvas::fill(const std::vector<xy>& corners, rgb colour) {
  std::vector<surface::position> pixels;
  for (const xy& c : corners) pixels.push_back(pixel(c));
  picture_.fill(pixels, colour);
}

void map_canvas::dot(const xy& at, int radius, rgb colour) {
  const surface::position p = pixel(at);
  if (radius > 2) picture_.disc(p, radius + 1, kWhite);
  picture_.disc(p, radius, colour);
  keep_clear({p.x - radius - 1.0, p.y - radius - 1.0, p.x + radius + 1.0, p.y + radius + 1.0});
}

bool map_canvas::free(const pixel_box& box) const {
  return area_.holds(box) && std::none_of(taken_.begin(), taken_.end(),
                                          [&](const pixel_box& t) { return t.meets(box); });
}

bool map_canvas::label(const xy& at, int radius, const std::string& text, int size, rgb colour) {
  // The surface leaves a gap of its own.
  const int shift = std::max(0, radius + 3 - kTextGap);
  const double width = text_width(text, size);
  const double half = size * 0.6;
  const surface::position p = pixel(at);
  struct side {
    text_place place;
    int dx, dy;
    pixel_box box;
  };
  const double gap = shift + kTextGap;
  const double x = p.x;
  const double y = p.y;
  const std::array<side, 4> sides = {{
      {text_place::right, shift, 0, {x + gap, y - half, x + gap + width, y + half}},
      {text_place::left, -shift, 0, {x - gap - width, y - half, x - gap, y + half}},
      {text_place::above, 0, -shift, {x - width / 2, y - gap - size, x + width / 2, y - gap + 2}},
      {text_place::below, 0, shift, {x - width / 2, y + gap - 2, x + width / 2, y + gap + size}},
  }};
  for (const side& s : sides) {
    if (!free(s.box)) continue;
    picture_.text({p.x + s.dx, p.y + s.dy}, text, {size, s.place, colour});
    keep_clear(s.box);
    return true;
  }
  return false;
}

void map_canvas::finish(int width, int height) {
  const int left = static_cast<int>(area_.left);
  const int top = static_cast<int>(area_.top);
  const int right = static_cast<int>(area_.right);
  const int bottom = static_cast<int>(area_.bottom);
  const auto cover = [&](int x0, int y0, int x1, int y1) {
    picture_.fill({{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}}, kWhite);
  };
  cover(-1, -1, width + 1, top);
  cover(-1, bottom, width + 1, height + 1);
  cover(-1, -1, left, height + 1);
  cover(right, -1, width + 1, height + 1);
  const surface::pen pen{1, solid, kFrameLine};
  picture_.line({left, top}, {right, top}, pen);
  picture_.line({right, top}, {right, bottom}, pen);
  picture_.line({right, bottom}, {left, bottom}, pen);
  picture_.line({left, bottom}, {left, top}, pen);
}

}  // namespace planloc::tool
