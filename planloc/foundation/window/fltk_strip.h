// Texts and buttons of a window on the screen by FLTK (fltk_screen.cpp): a whole panel, or the
// strip above a drawing area. Not installed; programs use window.h.
#ifndef PLANLOC_FOUNDATION_WINDOW_FLTK_STRIP_H_
#define PLANLOC_FOUNDATION_WINDOW_FLTK_STRIP_H_

#include <FL/Fl_Box.H>
#include <FL/Fl_Group.H>

#include <functional>
#include <string>

#include "planloc/foundation/window/panel_item.h"
#include "planloc/foundation/window/screen.h"

namespace planloc::detail {

class strip : public Fl_Group {
 public:
  // `pressed` is called with the value of each button pressed.
  strip(const screen_content& content, std::function<void(int)> pressed);

  // The text beside the buttons of a window with a drawing area.
  void show_coordinates(const std::string& text);

  // The width in which the texts, and the buttons as far as they ask for one row, have place.
  int widest() const;

  // Sets the place of each item for a strip of this width; returns the height.
  int arrange(int width);

  // Removes the last line of text; false if there is none.
  bool drop_last_text();

 private:
  bool is_panel() const { return !content_.picture; }
  // In a narrow window the buttons come first.
  bool readout_fits(int width) const;
  int margin() const;
  void add_button(const panel_item& item);
  int buttons() const;
  // `count` buttons in a row, from child `first` on; texts between them do not count.
  int row_width(int first, int count) const;
  bool row_fits(int first, int count, int width) const;

  const screen_content& content_;
  std::function<void(int)> pressed_;
  Fl_Box* readout_ = nullptr;
  std::string shown_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_WINDOW_FLTK_STRIP_H_
