// An entry of the strip above a window's drawing area, and of a panel (window.h).
#ifndef PLANLOC_FOUNDATION_WINDOW_PANEL_ITEM_H_
#define PLANLOC_FOUNDATION_WINDOW_PANEL_ITEM_H_

#include "planloc/foundation/containers/string.h"

namespace planloc {

// A text is a line with the markup of markup.h, "\bf", "\red" and the like; a plain text stands as
// it is. Neither has a value or a help. The help of a button is shown while the mouse rests on it.
struct panel_item {
  enum class kind { text, plain_text, button };

  kind type;
  string label;
  int value;
  string help;
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_WINDOW_PANEL_ITEM_H_
