// The screen by FLTK on X11: one top-level window for each open window, with the strip of texts and
// buttons above the drawing area.
#include <FL/Fl.H>
#include <FL/Fl_Box.H>
#include <FL/Fl_Button.H>
#include <FL/Fl_Double_Window.H>
#include <FL/Fl_Group.H>
#include <FL/fl_draw.H>
#include <FL/x.H>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "planloc/foundation/window/markup.h"
#include "planloc/foundation/window/raster.h"
#include "planloc/foundation/window/screen.h"
#include "planloc/foundation/window/surface.h"

namespace planloc::detail {

namespace {

constexpr int kTextSize = 15;
constexpr int kMargin = 16;         // around a panel
constexpr int kStripMargin = 6;     // around the strip of a window with a drawing area
constexpr int kGap = 8;             // between buttons, and between text and buttons
constexpr int kButtonPadding = 14;  // beside a button's text
constexpr int kButtonHeight = kTextSize + 13;
constexpr int kLeastButton = 72;
constexpr int kLeastPanel = 280;
constexpr int kWidestText = 560;  // a longer line of a panel is wrapped
constexpr int kLeastCanvas = 32;
// How long a new window may take to appear before the run goes on without having been seen.
constexpr std::chrono::seconds kPatience{2};

Fl_Font font_number(text_font font) {
  switch (font) {
    case text_font::bold:
      return FL_HELVETICA_BOLD;
    case text_font::italic:
      return FL_HELVETICA_ITALIC;
    case text_font::typewriter:
      return FL_COURIER;
    default:
      return FL_HELVETICA;
  }
}

int text_width(Fl_Font font, const std::string& text) {
  fl_font(font, kTextSize);
  return static_cast<int>(std::ceil(fl_width(text.c_str(), static_cast<int>(text.size()))));
}

// FLTK takes an @ in a label for the start of a symbol.
std::string as_label(const string& text) {
  std::string label;
  for (const char* c = text.cstring(); *c; ++c) label.append(*c == '@' ? 2 : 1, *c);
  return label;
}

std::vector<text_run> runs_of(const panel_item& text) {
  if (text.type == panel_item::kind::plain_text) return {{text.label.cstring()}};
  return parse_markup(text.label.cstring());
}

// ----- A line of text, wrapped -----

class text_lines : public Fl_Widget {
 public:
  text_lines(const std::vector<text_run>& runs, int widest) : Fl_Widget(0, 0, 0, 0) {
    for (const text_run& run : runs) place(run, widest);
    cut_long_text();
    size(longest_, (line_ + 1) * line_height());
  }

  void draw() override {
    for (const piece& p : pieces_) {
      fl_font(font_number(p.run.font), kTextSize);
      const rgb c = rgb_of(p.run.colour);
      fl_color(c.red, c.green, c.blue);
      fl_draw(p.run.text.c_str(), static_cast<int>(p.run.text.size()), x() + p.x,
              y() + p.line * line_height() + kTextSize + 1);
    }
  }

 private:
  struct piece {
    text_run run;
    int x;
    int line;
  };

  static int line_height() { return kTextSize + 6; }

  static constexpr int kMostLines = 12;
  // Long enough for any line; FLTK measures no text of more than 16 bits of pixels.
  static constexpr std::size_t kLongestPiece = 400;

  // Splits at blanks, which stay with the word before them, and at line ends; a word longer than a
  // line is split where the line ends.
  void place(const text_run& run, int widest) {
    std::size_t at = 0;
    while (at < run.text.size()) {
      if (run.text[at] == '\n') {
        next_line();
        ++at;
        continue;
      }
      const std::size_t end = std::min(run.text.find_first_of(" \n", at), run.text.size());
      std::string word = run.text.substr(at, std::min(end - at, kLongestPiece));
      const Fl_Font font = font_number(run.font);
      if (across_ > 0 && across_ + text_width(font, word) > widest) next_line();
      while (word.size() > 1 && text_width(font, word) > widest) drop_last_character(word);
      at += word.size();
      for (; at >= end && at < run.text.size() && run.text[at] == ' '; ++at) word += ' ';
      put(run, word, text_width(font, word));
    }
  }

  // In UTF-8 the bytes behind the first one of a character begin with the bits 10.
  static void drop_last_character(std::string& word) {
    while (word.size() > 1 && (word.back() & 0xc0) == 0x80) word.pop_back();
    if (word.size() > 1) word.pop_back();
  }

  void cut_long_text() {
    if (line_ < kMostLines) return;
    const text_run like = pieces_.front().run;
    std::erase_if(pieces_, [](const piece& p) { return p.line >= kMostLines; });
    line_ = kMostLines;
    across_ = 0;
    put(like, "...", text_width(font_number(like.font), "..."));
  }

  void put(const text_run& run, const std::string& word, int width) {
    pieces_.push_back({{word, run.font, run.colour}, across_, line_});
    across_ += width;
    longest_ = std::max(longest_, across_);
  }

  void next_line() {
    across_ = 0;
    ++line_;
  }

  std::vector<piece> pieces_;
  int across_ = 0;
  int line_ = 0;
  int longest_ = 0;
};

// ----- Texts and buttons -----

class strip : public Fl_Group {
 public:
  strip(const screen_content& content, std::function<void(int)> pressed)
      : Fl_Group(0, 0, 0, 0), content_(content), pressed_(std::move(pressed)) {
    resizable(nullptr);
    for (const panel_item& item : *content.items) {
      if (item.type == panel_item::kind::button) {
        add_button(item);
      } else {
        new text_lines(runs_of(item), kWidestText);
      }
    }
    if (!is_panel()) {
      readout_ = new Fl_Box(0, 0, text_width(FL_COURIER, std::string(19, '0')), kButtonHeight);
      readout_->box(FL_FLAT_BOX);
      readout_->labelfont(FL_COURIER);
      readout_->labelsize(kTextSize);
      readout_->align(FL_ALIGN_INSIDE | FL_ALIGN_RIGHT);
    }
    end();
  }

  void show_coordinates(const std::string& text) {
    if (!readout_ || text == shown_) return;
    shown_ = text;
    readout_->label(shown_.c_str());
    readout_->redraw();
  }

  int widest() const {
    int width = 0;
    for (int i = 0; i < children(); ++i) width = std::max(width, child(i)->w());
    if (content_.buttons_per_line > 0) {
      width = std::max(width, row_width(0, std::min(content_.buttons_per_line, buttons())));
    } else if (is_panel()) {
      width = std::max(width, std::min(row_width(0, buttons()), kWidestText));
    }
    return width + 2 * margin();
  }

  // Sets the place of each item for a strip of this width; returns the height.
  int arrange(int width) {
    const bool with_readout = readout_ && readout_fits(width);
    if (readout_) with_readout ? readout_->show() : readout_->hide();
    const int right = width - margin() - (with_readout ? readout_->w() + kGap : 0);
    int y = margin();
    int i = 0;
    while (i < children()) {
      Fl_Widget* const item = child(i);
      if (item == readout_) break;
      if (!is_button(item)) {
        item->position(margin(), y);
        y += item->h();
        ++i;
        continue;
      }
      if (is_panel() || i > 0) y += i > 0 && is_button(child(i - 1)) ? 0 : kGap;
      int last = i + 1;
      while (last < children() && is_button(child(last)) &&
             row_fits(i, last + 1 - i, right - margin())) {
        ++last;
      }
      int x = is_panel() ? (width - row_width(i, last - i)) / 2 : margin();
      for (; i < last; ++i) {
        child(i)->position(x, y);
        x += child(i)->w() + kGap;
      }
      y += kButtonHeight + (i < children() && is_button(child(i)) ? kGap : 0);
    }
    if (with_readout) {
      const int at = std::max(y - kButtonHeight, margin());
      readout_->position(width - margin() - readout_->w(), at);
      y = std::max(y, at + kButtonHeight);
    }
    return y + margin();
  }

  // Removes the last line of text; false if there is none.
  bool drop_last_text() {
    for (int i = children() - 1; i >= 0; --i) {
      const std::unique_ptr<Fl_Widget> text(dynamic_cast<text_lines*>(child(i)));
      if (!text) continue;
      remove(i);
      return true;
    }
    return false;
  }

 private:
  bool is_panel() const { return !content_.picture; }
  // In a narrow window the buttons come first.
  bool readout_fits(int width) const {
    int widest = 0;
    for (int i = 0; i < children(); ++i) {
      if (is_button(child(i))) widest = std::max(widest, child(i)->w());
    }
    return 2 * margin() + widest + kGap + readout_->w() <= width;
  }
  int margin() const { return is_panel() ? kMargin : kStripMargin; }
  static bool is_button(const Fl_Widget* item) { return dynamic_cast<const Fl_Button*>(item); }

  void add_button(const panel_item& item) {
    const std::string label = as_label(item.label);
    const int width =
        std::max(text_width(FL_HELVETICA, item.label.cstring()) + 2 * kButtonPadding, kLeastButton);
    auto* const button = new Fl_Button(0, 0, width, kButtonHeight);
    button->copy_label(label.c_str());
    button->labelsize(kTextSize);
    if (item.help.length() > 0) button->copy_tooltip(as_label(item.help).c_str());
    if (is_panel() && buttons() == 1) button->shortcut(FL_Enter);
    const auto press = [](Fl_Widget* widget, long value) {
      static_cast<strip*>(widget->parent())->pressed_(static_cast<int>(value));
    };
    button->callback(press, item.value);
  }

  int buttons() const {
    int n = 0;
    for (int i = 0; i < children(); ++i) n += is_button(child(i));
    return n;
  }

  // `count` buttons in a row, from child `first` on; texts between them do not count.
  int row_width(int first, int count) const {
    int width = 0;
    for (int i = first; i < children() && count > 0; ++i) {
      if (!is_button(child(i))) continue;
      width += child(i)->w() + (width > 0 ? kGap : 0);
      --count;
    }
    return width;
  }

  bool row_fits(int first, int count, int width) const {
    if (content_.buttons_per_line > 0) return count <= content_.buttons_per_line;
    return row_width(first, count) <= width;
  }

  const screen_content& content_;
  std::function<void(int)> pressed_;
  Fl_Box* readout_ = nullptr;
  std::string shown_;
};

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

}  // namespace

bool screen_found() {
  static const bool found = connect();
  return found;
}

std::unique_ptr<screen_window> open_on_screen(const screen_content& content,
                                              std::optional<screen_position> at) {
  if (!screen_found()) return nullptr;
  return std::make_unique<fltk_window>(content, at);
}

void clear_screen() {
  while (Fl_Window* const shown = fl_display ? Fl::first_window() : nullptr) shown->hide();
  if (fl_display) XSync(fl_display, False);
}

}  // namespace planloc::detail
