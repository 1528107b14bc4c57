// The screen by FLTK on X11: one top-level window for each open window, with the strip of texts and
// buttons (fltk_strip.h) above the drawing area.
#include <FL/Fl.H>
#include <FL/Fl_Double_Window.H>
#include <FL/fl_draw.H>
#include <FL/x.H>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "planloc/foundation/window/fltk_strip.h"
#include "planloc/foundation/window/raster.h"
#include "planloc/foundation/window/screen.h"
#include "planloc/foundation/window/surface.h"

namespace planloc::detail {

namespace {

constexpr int kLeastPanel = 280;
constexpr int kLeastCanvas = 32;
// How long a new window may take to appear before the run goes on without having been seen.
constexpr std::chrono::seconds kPatience{2};

// ----- Drawing area -----

class canvas : public Fl_Widget {
 public:
  canvas(const surface& picture, std::function<void(const mouse_press&)> pressed,
         std::function<void(const mouse_press*)> moved)
      : Fl_Widget(0, 0, 0, 0),
        picture_(picture),
        pressed_(std::move(pressed)),
        moved_(std::move(moved)) {}

  bool is_drawn() const { return pixels_ != nullptr; }

  void show_changes() {
    if (!is_drawn()) return;
    for (const area& a : pixels_->update()) {
      changes_.push_back(a);
      damage(FL_DAMAGE_USER1, x() + a.x, y() + a.y, a.width, a.height);
    }
    Fl::flush();
  }

  void draw() override {
    if (!pixels_ || pixels_->width() != w() || pixels_->height() != h()) {
      pixels_ = std::make_unique<raster>(picture_, w(), h());
    }
    const std::vector<area> fresh = pixels_->update();
    if (damage() == FL_DAMAGE_USER1 && fresh.empty()) {
      for (const area& a : changes_) put(a);
    } else {
      area a{};
      fl_clip_box(x(), y(), w(), h(), a.x, a.y, a.width, a.height);
      put({a.x - x(), a.y - y(), a.width, a.height});
    }
    changes_.clear();
  }

  int handle(int event) override {
    switch (event) {
      case FL_PUSH:
        if (Fl::event_button() <= 3) pressed_(place());
        return 1;
      case FL_ENTER:
      case FL_MOVE:
      case FL_DRAG: {
        const mouse_press at = place();
        moved_(&at);
        return 1;
      }
      case FL_LEAVE:
        moved_(nullptr);
        return 1;
      case FL_RELEASE:
        return 1;
      default:
        return Fl_Widget::handle(event);
    }
  }

 private:
  mouse_press place() const {
    const int px = Fl::event_x() - x();
    const int py = Fl::event_y() - y();
    if (!pixels_) return {false, Fl::event_button(), 1.0 * px, 1.0 * py};
    return {false, Fl::event_button(), pixels_->picture_x(px), pixels_->picture_y(py)};
  }

  void put(const area& a) {
    if (a.width <= 0 || a.height <= 0) return;
    const source from{pixels_.get(), a.x, a.y};
    const auto read = [](void* data, int column, int line, int count, uchar* bytes) {
      const auto* const s = static_cast<const source*>(data);
      const std::uint32_t* pixel = s->pixels->row(s->y + line);
      for (int i = 0; i < count; ++i) {
        const std::uint32_t value = pixel ? pixel[s->x + column + i] : 0xffffff;
        *bytes++ = static_cast<uchar>(value >> 16);
        *bytes++ = static_cast<uchar>(value >> 8);
        *bytes++ = static_cast<uchar>(value);
      }
    };
    fl_draw_image(read, const_cast<source*>(&from), x() + a.x, y() + a.y, a.width, a.height, 3);
  }

  struct source {
    const raster* pixels;
    int x;
    int y;
  };

  const surface& picture_;
  std::function<void(const mouse_press&)> pressed_;
  std::function<void(const mouse_press*)> moved_;
  std::unique_ptr<raster> pixels_;
  std::vector<area> changes_;
};

// ----- Top-level window -----

class top_window : public Fl_Double_Window {
 public:
  explicit top_window(const screen_content& content) : Fl_Double_Window(1, 1), content_(content) {
    strip_ = new strip(content_, [this](int value) { presses_.push_back({true, value}); });
    if (content.picture) {
      canvas_ = new canvas(
          *content.picture, [this](const mouse_press& press) { presses_.push_back(press); },
          [this](const mouse_press* at) { show_coordinates(at); });
    }
    end();
    copy_label(content.title.cstring());
    xclass("planloc");
    callback([](Fl_Widget* widget, void*) { static_cast<top_window*>(widget)->close_asked(); });
    set_size();
  }

  void open(std::optional<screen_position> at) {
    int left, top, width, height;
    Fl::screen_work_area(left, top, width, height);
    if (at) {
      position(at->x == kRightEdge ? left + width - w() : at->x,
               at->x == kRightEdge ? std::max(at->y, top) : at->y);
      force_position(1);
    } else if (!canvas_) {
      position(left + (width - w()) / 2, top + (height - h()) / 3);
      force_position(1);
    }
    if (!canvas_) set_modal();
    show();
    // What is drawn before the window has appeared would only be seen by the next wait.
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (canvas_ && !canvas_->is_drawn() && std::chrono::steady_clock::now() < limit) {
      Fl::wait(0.05);
    }
    Fl::check();
  }

  void resize(int left, int top, int width, int height) override {
    Fl_Double_Window::resize(left, top, width, height);
    arrange();
  }

  void update() {
    if (canvas_) canvas_->show_changes();
  }

  mouse_press wait() {
    while (presses_.empty()) {
      if (!Fl::wait()) return {true, first_value()};
    }
    const mouse_press press = presses_.front();
    presses_.pop_front();
    return press;
  }

 private:
  // The size asked for, cut down to the screen.
  void set_size() {
    int left, top, width, height;
    Fl::screen_work_area(left, top, width, height);
    const int least = canvas_ ? strip_->widest() : std::max(strip_->widest(), kLeastPanel);
    const int wide = std::min(canvas_ ? std::max(content_.picture->width(), least) : least, width);
    int strip_height = strip_->arrange(wide);
    // Buttons are below the text: a panel must not be higher than the screen.
    while (!canvas_ && strip_height > height && strip_->drop_last_text()) {
      strip_height = strip_->arrange(wide);
    }
    const int high = strip_height + (canvas_ ? content_.picture->height() : 0);
    size(wide, std::min(high, height));
    if (canvas_) size_range(std::min(wide, least), strip_height + kLeastCanvas);
  }

  void arrange() {
    const int strip_height = strip_->arrange(w());
    strip_->Fl_Widget::resize(0, 0, w(), canvas_ ? strip_height : h());
    if (canvas_) canvas_->resize(0, strip_height, w(), std::max(h() - strip_height, 1));
    init_sizes();
  }

  void show_coordinates(const mouse_press* at) {
    strip_->show_coordinates(
        at && content_.coordinates ? content_.coordinates(at->px, at->py).cstring() : "");
  }

  // Escape is no answer.
  void close_asked() {
    if (Fl::event() == FL_SHORTCUT && Fl::event_key() == FL_Escape) return;
    presses_.push_back({true, first_value()});
  }

  int first_value() const {
    for (const panel_item& item : *content_.items) {
      if (item.type == panel_item::kind::button) return item.value;
    }
    return 0;
  }

  const screen_content content_;
  strip* strip_;
  canvas* canvas_ = nullptr;
  std::deque<mouse_press> presses_;
};

class fltk_window : public screen_window {
 public:
  fltk_window(const screen_content& content, std::optional<screen_position> at) : top_(content) {
    top_.open(at);
  }
  ~fltk_window() override {
    top_.hide();
    Fl::flush();
  }

  void update() override { top_.update(); }
  void repaint() override {
    top_.redraw();
    Fl::flush();
  }
  mouse_press wait() override { return top_.wait(); }

 private:
  top_window top_;
};

// ----- Connection -----

// Called inside a request that cannot be answered any more: nothing may touch the display again, so
// the process ends without destructors.
int end_without_display(Display*) {
  std::cout.flush();
  std::fputs("Error: The display has gone away.\n", stderr);
  std::fflush(nullptr);
  std::_Exit(1);
}

// FLTK's own way of opening the display ends the process when there is none.
bool connect() {
  const char* name = std::getenv("DISPLAY");
  if (!name || !*name) return false;
  Display* const connection = XOpenDisplay(nullptr);
  if (!connection) return false;
  XSetIOErrorHandler(end_without_display);
  // A request that the server refuses, for a window that the user has just closed, say, is dropped.
  XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
  fl_open_display(connection);
  Fl::background(238, 238, 238);
  Fl::scheme("gtk+");
  return true;
}

constexpr screen_provider kProvider = {
    [] {
      static const bool found = connect();
      return found;
    },
    [](const screen_content& content, std::optional<screen_position> at)
        -> std::unique_ptr<screen_window> { return std::make_unique<fltk_window>(content, at); },
    [] {
      while (Fl_Window* const shown = fl_display ? Fl::first_window() : nullptr) shown->hide();
      if (fl_display) XSync(fl_display, False);
    }};

}  // namespace
}  // namespace planloc::detail

// Whoever links planloc::window asks the linker for this name, so that a static library hands out
// this file although nothing calls it.
extern "C" {
extern const bool planloc_window_linked;
const bool planloc_window_linked = [] {
  planloc::detail::set_screen(&planloc::detail::kProvider);
  return true;
}();
}
