// The screen that windows are shown on, as the window classes see it. There is none unless the
// program links the library planloc_window as well (fltk_screen.cpp), which then provides it.
// Programs use window.h.
#ifndef PLANLOC_FOUNDATION_WINDOW_SCREEN_H_
#define PLANLOC_FOUNDATION_WINDOW_SCREEN_H_

#include <functional>
#include <limits>
#include <memory>
#include <optional>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "planloc/foundation/window/panel_item.h"

namespace planloc {

class surface;

namespace detail {

// What a window shows. It outlives the screen_window made from it, which reads it when it opens
// (title, items) and whenever it repaints (the rest).
struct screen_content {
  string title;
  const list<panel_item>* items = nullptr;
  int buttons_per_line = 0;          // 0: as many as fit
  const surface* picture = nullptr;  // null: a panel, without a drawing area
  // What to show for the mouse at a place of the picture, in its pixels; may be empty.
  std::function<string(double px, double py)> coordinates;
};

// The left upper corner on the screen. x may be kRightEdge: as far right as the window fits, and
// below what stands along the upper edge of the screen.
inline constexpr int kRightEdge = std::numeric_limits<int>::max();
struct screen_position {
  int x;
  int y;
};

// Where a mouse button was pressed.
struct mouse_press {
  bool on_button;  // of the panel
  int value;       // the value of the panel's button; else 1, 2, 3 for left, middle, right
  double px = 0;   // the place in the picture, in its pixels
  double py = 0;
};

// A window on the screen, until it is destroyed.
class screen_window {
 public:
  virtual ~screen_window() = default;
  // Shows what has been drawn since the last call, at once.
  virtual void update() = 0;
  // Shows everything once more.
  virtual void repaint() = 0;
  // The next press of a mouse button since the window was opened; waits for it. To close the window
  // by other means than its buttons is to press its first button, or one of value 0 if it has none.
  virtual mouse_press wait() = 0;
};

// What provides the screen. `open` is called only after `found` was true.
struct screen_provider {
  bool (*found)();
  std::unique_ptr<screen_window> (*open)(const screen_content& content,
                                         std::optional<screen_position> at);
  void (*clear)();
};

// Before the first window is shown. `provider` must live as long as the process.
void set_screen(const screen_provider* provider);

// Whether there is a screen. Found out by the first call: DISPLAY is set and the connection opens.
bool screen_found();

// A new window, painted; no position is the default place. Null without a screen.
std::unique_ptr<screen_window> open_on_screen(const screen_content& content,
                                              std::optional<screen_position> at);

// Takes all windows from the screen, for a process that is about to end.
void clear_screen();

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_WINDOW_SCREEN_H_
