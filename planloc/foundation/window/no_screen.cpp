// The screen of a build without a windowing library: there is none.
#include "planloc/foundation/window/screen.h"

namespace planloc::detail {

bool screen_found() { return false; }

std::unique_ptr<screen_window> open_on_screen(const screen_content&,
                                              std::optional<screen_position>) {
  return nullptr;
}

void clear_screen() {}

}  // namespace planloc::detail
