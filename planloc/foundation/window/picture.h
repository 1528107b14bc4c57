// The list of operations behind a surface, and how each is painted. Draw through surface.h.
#ifndef PLANLOC_FOUNDATION_WINDOW_PICTURE_H_
#define PLANLOC_FOUNDATION_WINDOW_PICTURE_H_

#include <cairo.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "planloc/foundation/window/color.h"
#include "planloc/foundation/window/text.h"

namespace planloc::detail {

struct surface_deleter {
  void operator()(cairo_surface_t* s) const { cairo_surface_destroy(s); }
};
struct context_deleter {
  void operator()(cairo_t* cr) const { cairo_destroy(cr); }
};
using surface_handle = std::unique_ptr<cairo_surface_t, surface_deleter>;
using context_handle = std::unique_ptr<cairo_t, context_deleter>;

enum class drawing : std::uint8_t { line, dot, disc, fill, text };

// The numbers of an operation stand in one common array from `first` on, so that a line needs no
// allocation of its own. Those of a text are its point, the number of its line and its place, and
// `width` is its size.
struct operation {
  drawing kind;
  rgb colour;
  std::int16_t width;
  std::int16_t style;
  std::uint32_t count;
  std::size_t first;
};

// Where a picture is painted: (0, 0) comes to (left, top).
struct placement {
  double scale = 1;
  int left = 0;
  int top = 0;
};

class picture {
 public:
  picture(int width, int height) : width_(width), height_(height) {}

  void clear(rgb background);
  void add(drawing kind, rgb colour, std::initializer_list<int> numbers, int width = 1,
           int style = 0);
  // Starts an operation whose numbers `put` appends one by one.
  void begin(drawing kind, rgb colour, int width, int style);
  void put(int v);
  // REQUIRES: the line comes from `as_utf8`.
  void add_text(const std::string& line, int x, int y, int size, text_place place, rgb colour);

  int width() const { return width_; }
  int height() const { return height_; }
  rgb background() const { return background_; }
  // Number of clear() calls: a rendering made before the last of them is no part of the picture.
  std::size_t generation() const { return generation_; }
  std::size_t size() const { return operations_.size(); }
  const operation& at(std::size_t i) const { return operations_[i]; }
  const int* numbers(std::size_t i) const { return numbers_.data() + operations_[i].first; }
  // REQUIRES, of both: operation i is a text.
  const std::string& line(std::size_t i) const {
    return lines_[static_cast<std::size_t>(numbers(i)[2])];
  }
  text_place place(std::size_t i) const { return static_cast<text_place>(numbers(i)[3]); }

  // Paints the operations from number `first` on; from 0, the background too.
  void render(cairo_t* cr, std::size_t first, const placement& where = {}) const;

 private:
  int width_;
  int height_;
  rgb background_ = rgb_of(white);
  std::size_t generation_ = 0;
  std::vector<operation> operations_;
  std::vector<int> numbers_;
  std::vector<std::string> lines_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_WINDOW_PICTURE_H_
