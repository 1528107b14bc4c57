#include "planloc/foundation/window/surface.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <numbers>

namespace planloc {

namespace {

struct SurfaceDeleter {
  void operator()(cairo_surface_t* s) const { cairo_surface_destroy(s); }
};
struct ContextDeleter {
  void operator()(cairo_t* cr) const { cairo_destroy(cr); }
};
using SurfaceHandle = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;
using ContextHandle = std::unique_ptr<cairo_t, ContextDeleter>;

enum class Kind : std::uint8_t { line, dot, disc, fill };

// The numbers of an operation stand in one common array from `first` on, so that a line needs no
// allocation of its own.
struct Operation {
  Kind kind;
  rgb colour;
  std::int16_t width;
  std::int16_t style;
  std::uint32_t count;
  std::size_t first;
};

void set_source(cairo_t* cr, rgb c) {
  cairo_set_source_rgb(cr, c.red / 255.0, c.green / 255.0, c.blue / 255.0);
}

void set_pen(cairo_t* cr, int width, int style) {
  const double w = width;
  cairo_set_line_width(cr, w);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_set_line_cap(cr, style == dashed ? CAIRO_LINE_CAP_BUTT : CAIRO_LINE_CAP_ROUND);
  if (style == dashed) {
    const double pattern[] = {4 * w + 2, 2 * w + 2};
    cairo_set_dash(cr, pattern, 2, 0);
  } else if (style == dotted) {
    // Strokes of no length with round ends: each is a disc on the line.
    const double pattern[] = {0, 3 * w};
    cairo_set_dash(cr, pattern, 2, 0);
  } else {
    cairo_set_dash(cr, nullptr, 0, 0);
  }
}

void fill_disc(cairo_t* cr, double x, double y, double radius) {
  cairo_new_path(cr);
  cairo_arc(cr, x, y, radius, 0, 2 * std::numbers::pi);
  cairo_fill(cr);
}

void paint_line(cairo_t* cr, const Operation& op, const int* at) {
  const double middle = op.width % 2 ? 0.5 : 0.0;
  if (at[0] == at[2] && at[1] == at[3]) {
    fill_disc(cr, at[0] + middle, at[1] + middle, op.width / 2.0);
    return;
  }
  set_pen(cr, op.width, op.style);
  cairo_move_to(cr, at[0] + middle, at[1] + middle);
  cairo_line_to(cr, at[2] + middle, at[3] + middle);
  cairo_stroke(cr);
}

void paint_fill(cairo_t* cr, const Operation& op, const int* at) {
  for (std::uint32_t i = 0; i < op.count; i += 2) cairo_line_to(cr, at[i] + 0.5, at[i + 1] + 0.5);
  cairo_close_path(cr);
  cairo_fill_preserve(cr);
  set_pen(cr, 1, solid);
  cairo_stroke(cr);
}

void paint(cairo_t* cr, const Operation& op, const int* at) {
  set_source(cr, op.colour);
  switch (op.kind) {
    case Kind::line:
      paint_line(cr, op, at);
      break;
    case Kind::dot:
      cairo_rectangle(cr, at[0], at[1], 1, 1);
      cairo_fill(cr);
      break;
    case Kind::disc:
      fill_disc(cr, at[0] + 0.5, at[1] + 0.5, at[2]);
      break;
    case Kind::fill:
      paint_fill(cr, op, at);
      break;
  }
}

cairo_status_t append_bytes(void* bytes, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

std::string extension_of(const std::string& file) {
  const std::size_t dot = file.find_last_of("./");
  if (dot == std::string::npos || file[dot] == '/') return "";
  std::string extension = file.substr(dot);
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension;
}

int bounded(int v) { return std::clamp(v, -surface::kPixelLimit, surface::kPixelLimit); }

}  // namespace

class surface::picture {
 public:
  picture(int width, int height) : width_(width), height_(height) {}

  void clear(rgb background) {
    background_ = background;
    operations_.clear();
    numbers_.clear();
    image_.reset();
  }

  void add(Kind kind, rgb colour, std::initializer_list<int> numbers, int width = 1,
           int style = solid) {
    begin(kind, colour, width, style);
    for (int v : numbers) put(v);
  }

  void begin(Kind kind, rgb colour, int width, int style) {
    operations_.push_back({kind, colour, static_cast<std::int16_t>(width),
                           static_cast<std::int16_t>(style), 0, numbers_.size()});
  }
  void put(int v) {
    numbers_.push_back(v);
    ++operations_.back().count;
  }

  rgb background() const { return background_; }

  // The pixels with every operation so far.
  cairo_surface_t* image() {
    if (!image_) {
      image_.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width_, height_));
      painted_ = 0;
    }
    if (painted_ == operations_.size() && painted_ > 0) return image_.get();
    const ContextHandle cr(cairo_create(image_.get()));
    render(cr.get(), painted_);
    painted_ = operations_.size();
    cairo_surface_flush(image_.get());
    return image_.get();
  }

  // The operations from number `first` on; from 0, the background too.
  void render(cairo_t* cr, std::size_t first) const {
    if (first == 0) {
      set_source(cr, background_);
      cairo_paint(cr);
    }
    for (std::size_t i = first; i < operations_.size(); ++i) {
      paint(cr, operations_[i], numbers_.data() + operations_[i].first);
    }
  }

  // The bytes of a file with the given extension; a Cairo status other than success leaves them
  // without meaning.
  cairo_status_t encode(const std::string& extension, std::string& bytes) {
    if (extension == ".png")
      return cairo_surface_write_to_png_stream(image(), append_bytes, &bytes);
    SurfaceHandle target;
    if (extension == ".svg") {
      target.reset(cairo_svg_surface_create_for_stream(append_bytes, &bytes, width_, height_));
      cairo_svg_surface_set_document_unit(target.get(), CAIRO_SVG_UNIT_PX);
    } else {
      target.reset(cairo_pdf_surface_create_for_stream(append_bytes, &bytes, width_, height_));
    }
    const ContextHandle cr(cairo_create(target.get()));
    render(cr.get(), 0);
    cairo_show_page(cr.get());
    const cairo_status_t drawn = cairo_status(cr.get());
    cairo_surface_finish(target.get());
    return drawn != CAIRO_STATUS_SUCCESS ? drawn : cairo_surface_status(target.get());
  }

 private:
  int width_;
  int height_;
  rgb background_ = rgb_of(white);
  std::vector<Operation> operations_;
  std::vector<int> numbers_;
  SurfaceHandle image_;
  std::size_t painted_ = 0;
};

surface::surface(int width, int height)
    : width_(std::clamp(width, 1, kMaxSize)),
      height_(std::clamp(height, 1, kMaxSize)),
      picture_(std::make_unique<picture>(width_, height_)) {}

surface::~surface() = default;

// ----- Drawing -----

void surface::clear(rgb background) { picture_->clear(background); }

void surface::line(position from, position to, const pen& p) {
  const int style = p.style == dashed || p.style == dotted ? p.style : solid;
  picture_->add(Kind::line, p.colour,
                {bounded(from.x), bounded(from.y), bounded(to.x), bounded(to.y)},
                std::clamp(p.width, 1, kMaxLineWidth), style);
}

void surface::dot(position at, rgb colour) {
  picture_->add(Kind::dot, colour, {bounded(at.x), bounded(at.y)});
}

void surface::disc(position centre, int radius, rgb colour) {
  if (radius < 1) {
    dot(centre, colour);
    return;
  }
  picture_->add(Kind::disc, colour, {bounded(centre.x), bounded(centre.y), bounded(radius)});
}

void surface::fill(const std::vector<position>& vertices, rgb colour) {
  if (vertices.empty()) return;
  picture_->begin(Kind::fill, colour, 1, solid);
  for (const position& v : vertices) {
    picture_->put(bounded(v.x));
    picture_->put(bounded(v.y));
  }
}

// ----- Reading -----

rgb surface::pixel(int x, int y) const {
  if (x < 0 || x >= width_ || y < 0 || y >= height_) return picture_->background();
  cairo_surface_t* image = picture_->image();
  const unsigned char* row = cairo_image_surface_get_data(image);
  if (!row) return picture_->background();
  row += static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(image);
  std::uint32_t value;  // 0x00rrggbb in the byte order of the machine
  std::memcpy(&value, row + 4 * static_cast<std::ptrdiff_t>(x), sizeof value);
  return {static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
          static_cast<std::uint8_t>(value)};
}

std::string surface::save(const std::string& file) const {
  const std::string extension = extension_of(file);
  if (extension != ".png" && extension != ".svg" && extension != ".pdf") {
    return "the name must end in .png, .svg or .pdf";
  }
  // The whole file is made in memory first: Cairo's own file writers miss a full disk.
  std::string bytes;
  const cairo_status_t status = picture_->encode(extension, bytes);
  if (status != CAIRO_STATUS_SUCCESS) return cairo_status_to_string(status);
  errno = 0;
  std::ofstream out(file, std::ios::binary);
  out << bytes << std::flush;
  out.close();
  if (out) return "";
  return errno ? std::strerror(errno) : "the file cannot be written";
}

}  // namespace planloc
