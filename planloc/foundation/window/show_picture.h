// A finished picture on the screen.
#ifndef PLANLOC_FOUNDATION_WINDOW_SHOW_PICTURE_H_
#define PLANLOC_FOUNDATION_WINDOW_SHOW_PICTURE_H_

#include <string>

#include "planloc/foundation/window/surface.h"

namespace planloc {

// Shows the picture in a window of its size, with the button `Close`, until that is pressed or the
// window is closed. False, at once, without a screen: none is linked (planloc_window), or DISPLAY
// is not set or does not open.
bool show_picture(const surface& picture, const std::string& title);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_WINDOW_SHOW_PICTURE_H_
