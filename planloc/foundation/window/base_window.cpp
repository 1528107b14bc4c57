#include "planloc/foundation/window/base_window.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "planloc/foundation/window/screen.h"

namespace planloc {

namespace {

// What lies further outside the frame than this many pixels is cut off before it is drawn. Far
// enough that rounding the cut end to a pixel turns a line by less than a tenth of a pixel over a
// frame of some hundred pixels, near enough that a dashed line stays cheap.
constexpr double kReachPixels = 8192;

constexpr color kGridColor = grey1;

int size_of(float pixels) {
  if (!(pixels >= 1)) return 1;
  return static_cast<int>(std::lround(std::min(pixels, static_cast<float>(surface::kMaxSize))));
}

int rounded(double pixels) {
  constexpr double limit = surface::kPixelLimit;
  if (!(pixels > -limit)) return -surface::kPixelLimit;
  return static_cast<int>(std::lround(std::min(pixels, limit)));
}

[[noreturn]] void end_with(const char* message) {
  std::cerr << message << std::flush;
  detail::clear_screen();
  std::abort();
}

}  // namespace

const int BASE_WINDOW::kRightEdge = detail::kRightEdge;

BASE_WINDOW::BASE_WINDOW(float width, float height)
    : BASE_WINDOW(size_of(width), size_of(height), "FLNZ Window", "FLNZ Window", false) {}

BASE_WINDOW::BASE_WINDOW(float width, float height, const string& label)
    : BASE_WINDOW(size_of(width), size_of(height), label, string("Window: %s", label.cstring()),
                  false) {}

BASE_WINDOW::BASE_WINDOW(const string& label) : BASE_WINDOW(1, 1, label, label, true) {}

BASE_WINDOW::BASE_WINDOW(int width, int height, const string& label, const string& title,
                         bool is_panel)
    : picture_(width, height), label_(label), title_(title), is_panel_(is_panel) {
  init(0, 100, 0);
}

BASE_WINDOW::~BASE_WINDOW() = default;

// ----- Frame and panel -----

void BASE_WINDOW::init(double x0, double x1, double y0, int grid, bool erase_picture) {
  if (!(x0 < x1)) {
    end_with(string("illegal arguments in W.init: x0 (%f) >= x1 (%f)\n", x0, x1).cstring());
  }
  xmin_ = x0;
  xmax_ = x1;
  ymin_ = y0;
  scale_ = width() / (x1 - x0);
  ymax_ = y0 + height() / scale_;
  grid_ = std::max(grid, 0);
  if (grid_ > 0 && !(grid_ * scale_ >= kMinGridPixels)) {
    std::cerr << "warning: grid distance to small.\n" << std::flush;
    grid_ = 0;
  }
  if (displayed_ && erase_picture) erase();
}

int BASE_WINDOW::button(const string& label, int value, const char* help) {
  const auto is_taken = [&](int number) {
    return std::any_of(panel_items_.begin(), panel_items_.end(), [&](const panel_item& item) {
      return item.type == panel_item::kind::button && item.value == number;
    });
  };
  if (value == -1) {
    value = static_cast<int>(
        std::count_if(panel_items_.begin(), panel_items_.end(),
                      [](const panel_item& i) { return i.type == panel_item::kind::button; }));
    while (is_taken(value)) ++value;
  }
  panel_items_.append({panel_item::kind::button, label, value, help ? string(help) : string()});
  return value;
}

void BASE_WINDOW::text_item(const string& text) {
  panel_items_.append({panel_item::kind::text, text, 0, string()});
}

void BASE_WINDOW::plain_text_item(const string& text) {
  panel_items_.append({panel_item::kind::plain_text, text, 0, string()});
}

// The grid goes on for a frame's size beyond the frame, which a window of another shape shows. The
// first multiple comes from a division, the others by counting: far from the origin, adding the
// distance up would not move at all.
void BASE_WINDOW::erase() {
  picture_.clear(rgb_of(white));
  if (grid_ > 0) {
    const surface::pen pen{1, solid, rgb_of(kGridColor)};
    const int most = 3 * (width() + height());
    const double column = std::ceil(user_x(-width()) / grid_);
    for (int i = 0; i <= most && (column + i) * grid_ <= user_x(2 * width()); ++i) {
      const int px = pixel_x((column + i) * grid_);
      picture_.line({px, -height()}, {px, 2 * height()}, pen);
    }
    const double row = std::ceil(user_y(2 * height()) / grid_);
    for (int i = 0; i <= most && (row + i) * grid_ <= user_y(-height()); ++i) {
      const int py = pixel_y((row + i) * grid_);
      picture_.line({-width(), py}, {2 * width(), py}, pen);
    }
  }
  show_changes();
}

// ----- Appearance -----

int BASE_WINDOW::set_line_width(int pixels) {
  const int old = line_width_;
  line_width_ = std::max(pixels, 1);
  return old;
}

int BASE_WINDOW::set_line_style(int style) {
  const int old = line_style_;
  line_style_ = style;
  return old;
}

int BASE_WINDOW::set_text_size(int pixels) {
  const int old = text_size_;
  text_size_ = std::clamp(pixels, 1, surface::kMaxTextSize);
  return old;
}

color BASE_WINDOW::set_color(color c) {
  const color old = default_color_;
  if (is_table_color(c)) default_color_ = c;
  return old;
}

rgb BASE_WINDOW::table_entry(color c) const {
  return rgb_of(is_table_color(c) ? c : default_color_);
}

// ----- Display -----

bool BASE_WINDOW::has_screen() { return detail::screen_found(); }

void BASE_WINDOW::display(int x, int y) { show(detail::screen_position{x, y}); }

void BASE_WINDOW::display() { show(std::nullopt); }

void BASE_WINDOW::show(std::optional<detail::screen_position> at) {
  open_ = true;
  if (!displayed_) {
    displayed_ = true;
    erase();
  }
  if (screen_) {
    screen_->repaint();
    return;
  }
  detail::screen_content content;
  content.title = title_;
  content.items = &panel_items_;
  content.buttons_per_line = buttons_per_line_;
  content.picture = is_panel_ ? nullptr : &picture_;
  content.coordinates = [this](double px, double py) {
    return show_coordinates_ ? coordinates(px, py) : string();
  };
  screen_ = detail::open_on_screen(content, at);
}

void BASE_WINDOW::close() {
  open_ = false;
  screen_.reset();
}

int BASE_WINDOW::read_mouse() { return answer(next_press()); }

detail::mouse_press BASE_WINDOW::next_press() {
  if (!displayed_) end_with("Error: Window has to be displayed before mouse input.\n");
  if (screen_) return screen_->wait();
  for (const panel_item& item : panel_items_) {
    if (item.type == panel_item::kind::button) return {true, item.value};
  }
  return {true, 0};
}

int BASE_WINDOW::answer(const detail::mouse_press& press) {
  return press.on_button ? press.value : -press.value;
}

int BASE_WINDOW::panel_open(int x, int y) { return ask(detail::screen_position{x, y}); }

int BASE_WINDOW::panel_open() { return ask(std::nullopt); }

int BASE_WINDOW::ask(std::optional<detail::screen_position> at) {
  show(at);
  detail::mouse_press press = next_press();
  while (!press.on_button) press = next_press();
  close();
  return press.value;
}

// ----- Drawing -----

void BASE_WINDOW::check_drawing() const {
  if (!displayed_) end_with("Error: Window has to be displayed before drawing.\n");
}

detail::box BASE_WINDOW::reach() const {
  const double margin = kReachPixels / scale_;
  return {xmin_ - margin, xmax_ + margin, ymin_ - margin, ymax_ + margin};
}

void BASE_WINDOW::show_changes() {
  if (screen_) screen_->update();
}

void BASE_WINDOW::draw_span(const detail::span& s, color c) {
  picture_.line(pixel_of(s.from), pixel_of(s.to), {line_width_, line_style_, table_entry(c)});
  show_changes();
}

void BASE_WINDOW::fill_polygon(const std::vector<detail::xy>& vertices, color c) {
  std::vector<surface::position> pixels;
  pixels.reserve(vertices.size());
  for (const detail::xy& p : vertices) pixels.push_back(pixel_of(p));
  picture_.fill(pixels, table_entry(c));
  show_changes();
}

void BASE_WINDOW::draw_disc(double x, double y, double r, color c) {
  check_drawing();
  if (std::isnan(x) || std::isnan(y) || std::isnan(r)) return;
  picture_.disc(pixel_of({x, y}), rounded(r * scale_), table_entry(c));
  show_changes();
}

void BASE_WINDOW::draw_segment(double x1, double y1, double x2, double y2, color c) {
  check_drawing();
  if (const auto visible = detail::clip_segment(reach(), {x1, y1}, {x2, y2}))
    draw_span(*visible, c);
}

void BASE_WINDOW::draw_point(double x, double y, color c) {
  check_drawing();
  if (std::isnan(x) || std::isnan(y)) return;
  const auto [px, py] = pixel_of({x, y});
  const surface::pen pen{line_width_, solid, table_entry(c)};
  picture_.line({px - kCrossArm, py}, {px + kCrossArm, py}, pen);
  picture_.line({px, py - kCrossArm}, {px, py + kCrossArm}, pen);
  show_changes();
}

void BASE_WINDOW::draw_text(double x, double y, const string& text, color c, text_place place) {
  check_drawing();
  if (std::isnan(x) || std::isnan(y)) return;
  picture_.text(pixel_of({x, y}), text.cstring(), {text_size_, place, table_entry(c)});
  show_changes();
}

bool BASE_WINDOW::save(const string& file) const {
  const std::string reason = picture_.save(file.cstring());
  if (reason.empty()) return true;
  std::cerr << "Error: Window cannot be saved as " << file << ": " << reason << '\n' << std::flush;
  return false;
}

// ----- Coordinates -----

int BASE_WINDOW::pixel_x(double x) const { return rounded((x - xmin_) * scale_); }

int BASE_WINDOW::pixel_y(double y) const { return rounded(height() - (y - ymin_) * scale_); }

string BASE_WINDOW::coordinates(double px, double py) const {
  return string("%8.2f %8.2f", user_x(px), user_y(py));
}

}  // namespace planloc
