#include "planloc/foundation/window/show_picture.h"

#include "planloc/foundation/window/screen.h"

namespace planloc {

bool show_picture(const surface& picture, const std::string& title) {
  list<panel_item> items;
  items.append({panel_item::kind::button, "Close", 0, {}});
  detail::screen_content content;
  content.title = title.c_str();
  content.items = &items;
  content.picture = &picture;
  const auto window = detail::open_on_screen(content, std::nullopt);
  if (!window) return false;
  while (!window->wait().on_button) {
  }
  return true;
}

}  // namespace planloc
