// What panels say and what their buttons do, on a screen that writes down what it is to show and
// presses a button.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "planloc/foundation/window/screen.h"
#include "planloc/foundation/window/window.h"
#include "planloc/model/reporter.h"

namespace planloc {
namespace {

std::size_t button_to_press = 0;

class written_panel : public detail::screen_window {
 public:
  written_panel(const detail::screen_content& content, std::optional<detail::screen_position> at) {
    std::cerr << content.title;
    if (at) std::cerr << " at " << (at->x == detail::kRightEdge ? "edge" : std::to_string(at->x));
    if (at) std::cerr << ' ' << at->y;
    std::cerr << ", " << content.buttons_per_line << " per line\n";
    for (const panel_item& item : *content.items) {
      const char* const kinds[] = {"text", "plain", "button"};
      std::cerr << kinds[static_cast<int>(item.type)] << '<' << item.label << ">\n";
      if (item.type == panel_item::kind::button) values_.push_back(item.value);
    }
  }
  void update() override {}
  void repaint() override {}
  detail::mouse_press wait() override {
    std::cerr << "pressed\n";
    return {true, values_.at(values_.size() == 1 ? 0 : button_to_press)};
  }

 private:
  std::vector<int> values_;
};

constexpr detail::screen_provider kScreen = {
    [] { return true; },
    [](const detail::screen_content& content,
       std::optional<detail::screen_position> at) -> std::unique_ptr<detail::screen_window> {
      return std::make_unique<written_panel>(content, at);
    },
    [] {}};
const bool provided = (detail::set_screen(&kScreen), true);

constexpr const char* kError =
    "FLNZ EXCEPTION HANDLER, 0 per line\ntext<\\bf\\red Error>\ntext<\\tt list: out of order>\n"
    "button<exit>\nbutton<abort>\nbutton<ignore>\npressed\n";
constexpr const char* kMessage =
    "MAVI-MESSAGE at edge 0, 0 per line\ntext<    >\nplain<\\bf hello>\nbutton<OK>\npressed\n";
constexpr const char* kQuery =
    "MAVI-MESSAGE at 780 150, 2 per line\ntext<    >\nplain<sure?>\nbutton<cancel>\nbutton<ok>\n"
    "pressed\n";

TEST(PanelTest, TextsAndEndings) {
  const auto handler = [](int code) {
    return [=] { window_error_handler(code, "list: out of order"); };
  };
  const auto message = [](int stop) { return [=] { MaviMessage("\\bf hello", stop, true); }; };
  const auto query = [](int stop) { return [=] { MaviQuery("sure?", 3, stop, true); }; };
  constexpr int kReturns = 42;
  const struct {
    std::function<void()> call;
    std::size_t button;
    int status;
    const char* panel;
  } cases[] = {
      {[] { MaviError("Can't open file!", 47, 3, true); }, 0, 3,
       "MAVI-ERROR at edge 0, 0 per line\ntext<    >\nplain<Can't open file!>\n"
       "text<    Errorcode >\ntext<  47>\nbutton<OK>\npressed\n"},
      {message(1), 0, kReturns, kMessage},
      {message(0), 0, 0, kMessage},
      {query(0), 0, 3, kQuery},
      {query(0), 1, 0, kQuery},
      {query(1), 1, kReturns, kQuery},
      {handler(1), 0, 0, kError},
      {handler(-1), 2, kReturns, kError},
      {handler(0), 0, kReturns,
       "FLNZ EXCEPTION HANDLER, 0 per line\ntext<\\bf\\blue Warning>\n"
       "text<\\tt list: out of order>\nbutton<continue>\npressed\n"},
  };
  for (const auto& c : cases) {
    const auto pressed = [&] {
      button_to_press = c.button;
      c.call();
      std::exit(kReturns);
    };
    EXPECT_EXIT(pressed(), ::testing::ExitedWithCode(c.status), ::testing::Eq(c.panel));
  }
  button_to_press = 1;
  EXPECT_EXIT(
      handler(1)(), ::testing::KilledBySignal(SIGABRT),
      "button<ignore>\npressed\nFLNZ Stack Trace, 0 per line\ntext<Exploring Stack \\.\\.\\.>\n"
      "(text<\\\\tt [^\n]*>\n)+button<ok>\npressed\n$");
}

}  // namespace
}  // namespace planloc
