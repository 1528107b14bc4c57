#include "planloc/foundation/window/screen.h"

namespace planloc::detail {
namespace {

constinit const screen_provider* provider_in_force = nullptr;

}  // namespace

void set_screen(const screen_provider* provider) { provider_in_force = provider; }

bool screen_found() { return provider_in_force && provider_in_force->found(); }

std::unique_ptr<screen_window> open_on_screen(const screen_content& content,
                                              std::optional<screen_position> at) {
  return screen_found() ? provider_in_force->open(content, at) : nullptr;
}

void clear_screen() {
  if (provider_in_force) provider_in_force->clear();
}

}  // namespace planloc::detail
