// A virtual display for tests of what stands on the screen: an X server of its own, a mouse and a
// keyboard that the test moves, and the pixels of what is shown. There is no window manager.
#ifndef PLANLOC_TESTS_SYSTEM_VIRTUAL_SCREEN_H_
#define PLANLOC_TESTS_SYSTEM_VIRTUAL_SCREEN_H_

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace planloc::testing_support {

// Whether `condition` comes true in time.
inline bool soon(const std::function<bool()>& condition, int milliseconds = 10000) {
  for (int passed = 0; passed < milliseconds; passed += 20) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return condition();
}

class virtual_screen {
 public:
  static constexpr int kWidth = 1000;
  static constexpr int kHeight = 700;

  struct shown_window {
    Window id;
    int x, y, width, height;
  };

  virtual_screen() {
    if (std::system("command -v Xvfb >/dev/null && command -v xdotool >/dev/null") != 0) {
      reason_ = "Xvfb and xdotool are needed (Debian packages xvfb and xdotool)";
      return;
    }
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    server_ = fork();
    if (server_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);  // also when the test crashes
      dup2(ends[1], 3);
      const std::string size = std::to_string(kWidth) + "x" + std::to_string(kHeight) + "x24";
      execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", size.c_str(), "-nolisten", "tcp",
             "-noreset", nullptr);
      _exit(127);
    }
    close(ends[1]);
    for (char digit; read(ends[0], &digit, 1) == 1 && digit != '\n';) name_ += digit;
    close(ends[0]);
    display_ = XOpenDisplay(name_.c_str());
    if (!display_) reason_ = "Xvfb does not start";
    // A window that is asked about may just have gone.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
  }

  ~virtual_screen() {
    if (display_) XCloseDisplay(display_);
    stop();
  }
  virtual_screen(const virtual_screen&) = delete;
  virtual_screen& operator=(const virtual_screen&) = delete;

  // Why there is no screen; empty if there is one.
  const std::string& missing() const { return reason_; }
  const std::string& name() const { return name_; }
  Display* display() const { return display_; }

  // The server dies. The connection of the test is of no use any more.
  void stop() {
    if (server_ > 0) {
      kill(server_, SIGKILL);
      waitpid(server_, nullptr, 0);
    }
    server_ = 0;
    display_ = nullptr;
  }

  // The visible window of that title; all zero if there is none.
  shown_window find(const std::string& title) const {
    Window root, parent, *children = nullptr;
    unsigned int count = 0;
    XQueryTree(display_, DefaultRootWindow(display_), &root, &parent, &children, &count);
    shown_window found{};
    for (unsigned int i = 0; i < count; ++i) {
      XWindowAttributes a;
      char* name = nullptr;
      if (!XFetchName(display_, children[i], &name)) continue;
      if (title == name && XGetWindowAttributes(display_, children[i], &a) &&
          a.map_state == IsViewable) {
        found = {children[i], a.x, a.y, a.width, a.height};
      }
      XFree(name);
    }
    XFree(children);
    return found;
  }
  shown_window wait_for(const std::string& title) const {
    soon([&] { return find(title).id != 0; });
    return find(title);
  }

  // 0xrrggbb, row by row.
  std::vector<unsigned long> pixels(int x, int y, int width, int height) const {
    XImage* image =
        XGetImage(display_, DefaultRootWindow(display_), x, y, static_cast<unsigned>(width),
                  static_cast<unsigned>(height), AllPlanes, ZPixmap);
    std::vector<unsigned long> values;
    for (int j = 0; j < height; ++j) {
      for (int i = 0; i < width; ++i) values.push_back(XGetPixel(image, i, j) & 0xffffff);
    }
    XDestroyImage(image);
    return values;
  }
  unsigned long pixel(int x, int y) const { return pixels(x, y, 1, 1).front(); }

  // A window above all others.
  Window cover(int x, int y, unsigned width, unsigned height, unsigned long value) const {
    const Window w = XCreateSimpleWindow(display_, DefaultRootWindow(display_), x, y, width, height,
                                         0, value, value);
    XMapRaised(display_, w);
    return w;
  }
  void resize(const shown_window& w, int width, int height) const {
    XResizeWindow(display_, w.id, static_cast<unsigned>(width), static_cast<unsigned>(height));
  }
  // As the close button of a window manager does.
  void ask_to_close(const shown_window& w) const {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = w.id;
    event.xclient.message_type = XInternAtom(display_, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display_, "WM_DELETE_WINDOW", False));
    XSendEvent(display_, w.id, False, NoEventMask, &event);
    XFlush(display_);
  }
  void click(int x, int y, int button = 1) const {
    input("mousemove " + std::to_string(x) + " " + std::to_string(y) + " click " +
          std::to_string(button));
  }
  void move_mouse(int x, int y) const {
    input("mousemove " + std::to_string(x) + " " + std::to_string(y));
  }
  // Types into a window: names of keys, blanks between them.
  void type(const shown_window& w, const std::string& keys) const {
    XSetInputFocus(display_, w.id, RevertToParent, CurrentTime);
    XSync(display_, False);
    input("key " + keys);
  }

 private:
  void input(const std::string& words) const {
    const std::string line = "DISPLAY=" + name_ + " xdotool " + words + " >/dev/null 2>&1";
    if (std::system(line.c_str()) != 0) std::abort();
  }

  std::string reason_;
  std::string name_ = ":";
  pid_t server_ = 0;
  Display* display_ = nullptr;
};

}  // namespace planloc::testing_support

#endif  // PLANLOC_TESTS_SYSTEM_VIRTUAL_SCREEN_H_
