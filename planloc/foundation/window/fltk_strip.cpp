#include "planloc/foundation/window/fltk_strip.h"

#include <FL/Fl_Button.H>
#include <FL/fl_draw.H>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "planloc/foundation/window/markup.h"

namespace planloc::detail {

namespace {

constexpr int kTextSize = 15;
constexpr int kMargin = 16;         // around a panel
constexpr int kStripMargin = 6;     // around the strip of a window with a drawing area
constexpr int kGap = 8;             // between buttons, and between text and buttons
constexpr int kButtonPadding = 14;  // beside a button's text
constexpr int kButtonHeight = kTextSize + 13;
constexpr int kLeastButton = 72;
constexpr int kWidestText = 560;  // a longer line of a panel is wrapped

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
bool is_button(const Fl_Widget& item) { return dynamic_cast<const Fl_Button*>(&item); }

}  // namespace

// ----- Texts and buttons -----

strip::strip(const screen_content& content, std::function<void(int)> pressed)
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

void strip::show_coordinates(const std::string& text) {
  if (!readout_ || text == shown_) return;
  shown_ = text;
  readout_->label(shown_.c_str());
  readout_->redraw();
}

int strip::widest() const {
  int width = 0;
  for (int i = 0; i < children(); ++i) width = std::max(width, child(i)->w());
  if (content_.buttons_per_line > 0) {
    width = std::max(width, row_width(0, std::min(content_.buttons_per_line, buttons())));
  } else if (is_panel()) {
    width = std::max(width, std::min(row_width(0, buttons()), kWidestText));
  }
  return width + 2 * margin();
}

int strip::arrange(int width) {
  const bool with_readout = readout_ && readout_fits(width);
  if (readout_) with_readout ? readout_->show() : readout_->hide();
  const int right = width - margin() - (with_readout ? readout_->w() + kGap : 0);
  int y = margin();
  int i = 0;
  while (i < children()) {
    Fl_Widget* const item = child(i);
    if (item == readout_) break;
    if (!is_button(*item)) {
      item->position(margin(), y);
      y += item->h();
      ++i;
      continue;
    }
    if (is_panel() || i > 0) y += i > 0 && is_button(*child(i - 1)) ? 0 : kGap;
    int last = i + 1;
    while (last < children() && is_button(*child(last)) &&
           row_fits(i, last + 1 - i, right - margin())) {
      ++last;
    }
    int x = is_panel() ? (width - row_width(i, last - i)) / 2 : margin();
    for (; i < last; ++i) {
      child(i)->position(x, y);
      x += child(i)->w() + kGap;
    }
    y += kButtonHeight + (i < children() && is_button(*child(i)) ? kGap : 0);
  }
  if (with_readout) {
    const int at = std::max(y - kButtonHeight, margin());
    readout_->position(width - margin() - readout_->w(), at);
    y = std::max(y, at + kButtonHeight);
  }
  return y + margin();
}

bool strip::drop_last_text() {
  for (int i = children() - 1; i >= 0; --i) {
    const std::unique_ptr<Fl_Widget> text(dynamic_cast<text_lines*>(child(i)));
    if (!text) continue;
    remove(i);
    return true;
  }
  return false;
}

bool strip::readout_fits(int width) const {
  int widest = 0;
  for (int i = 0; i < children(); ++i) {
    if (is_button(*child(i))) widest = std::max(widest, child(i)->w());
  }
  return 2 * margin() + widest + kGap + readout_->w() <= width;
}

int strip::margin() const { return is_panel() ? kMargin : kStripMargin; }

void strip::add_button(const panel_item& item) {
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

int strip::buttons() const {
  int n = 0;
  for (int i = 0; i < children(); ++i) n += is_button(*child(i));
  return n;
}

int strip::row_width(int first, int count) const {
  int width = 0;
  for (int i = first; i < children() && count > 0; ++i) {
    if (!is_button(*child(i))) continue;
    width += child(i)->w() + (width > 0 ? kGap : 0);
    --count;
  }
  return width;
}

bool strip::row_fits(int first, int count, int width) const {
  if (content_.buttons_per_line > 0) return count <= content_.buttons_per_line;
  return row_width(first, count) <= width;
}

}  // namespace planloc::detail
