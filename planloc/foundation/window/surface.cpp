#include "planloc/foundation/window/surface.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>

#include "planloc/foundation/window/picture.h"
#include "planloc/foundation/window/raster.h"
#include "planloc/foundation/window/text.h"

namespace planloc {

namespace {

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

// The bytes of a file with the given extension; a Cairo status other than success leaves them
// without meaning.
cairo_status_t encode(const detail::picture& p, const std::string& extension, std::string& bytes) {
  detail::surface_handle target;
  if (extension == ".png") {
    target.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24, p.width(), p.height()));
  } else if (extension == ".svg") {
    target.reset(cairo_svg_surface_create_for_stream(append_bytes, &bytes, p.width(), p.height()));
    cairo_svg_surface_set_document_unit(target.get(), CAIRO_SVG_UNIT_PX);
  } else {
    target.reset(cairo_pdf_surface_create_for_stream(append_bytes, &bytes, p.width(), p.height()));
  }
  const detail::context_handle cr(cairo_create(target.get()));
  p.render(cr.get(), 0);
  if (extension == ".png") {
    return cairo_surface_write_to_png_stream(target.get(), append_bytes, &bytes);
  }
  cairo_show_page(cr.get());
  const cairo_status_t drawn = cairo_status(cr.get());
  cairo_surface_finish(target.get());
  return drawn != CAIRO_STATUS_SUCCESS ? drawn : cairo_surface_status(target.get());
}

int bounded(int v) { return std::clamp(v, -surface::kPixelLimit, surface::kPixelLimit); }

}  // namespace

surface::surface(int width, int height)
    : width_(std::clamp(width, 1, kMaxSize)),
      height_(std::clamp(height, 1, kMaxSize)),
      picture_(std::make_unique<detail::picture>(width_, height_)) {}

surface::~surface() = default;

// ----- Drawing -----

void surface::clear(rgb background) { picture_->clear(background); }

void surface::line(position from, position to, const pen& p) {
  const int style = p.style == dashed || p.style == dotted ? p.style : solid;
  picture_->add(detail::drawing::line, p.colour,
                {bounded(from.x), bounded(from.y), bounded(to.x), bounded(to.y)},
                std::clamp(p.width, 1, kMaxLineWidth), style);
}

void surface::dot(position at, rgb colour) {
  picture_->add(detail::drawing::dot, colour, {bounded(at.x), bounded(at.y)});
}

void surface::disc(position centre, int radius, rgb colour) {
  if (radius < 1) {
    dot(centre, colour);
    return;
  }
  picture_->add(detail::drawing::disc, colour,
                {bounded(centre.x), bounded(centre.y), bounded(radius)});
}

void surface::fill(const std::vector<position>& vertices, rgb colour) {
  if (vertices.empty()) return;
  picture_->begin(detail::drawing::fill, colour, 1, solid);
  for (const position& v : vertices) {
    picture_->put(bounded(v.x));
    picture_->put(bounded(v.y));
  }
}

void surface::text(position at, const std::string& line, const lettering& l) {
  picture_->add_text(detail::as_utf8(line), bounded(at.x), bounded(at.y),
                     std::clamp(l.size, 1, kMaxTextSize), l.place, l.colour);
}

// ----- Reading -----

rgb surface::pixel(int x, int y) const {
  if (x < 0 || x >= width_ || y < 0 || y >= height_) return picture_->background();
  if (!pixels_) pixels_ = std::make_unique<detail::raster>(*picture_, width_, height_);
  pixels_->update();
  const std::uint32_t* row = pixels_->row(y);
  if (!row) return picture_->background();
  const std::uint32_t value = row[x];
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
  const cairo_status_t status = encode(*picture_, extension, bytes);
  if (status != CAIRO_STATUS_SUCCESS) return cairo_status_to_string(status);
  errno = 0;
  std::ofstream out(file, std::ios::binary);
  out << bytes << std::flush;
  out.close();
  if (out) return "";
  return errno ? std::strerror(errno) : "the file cannot be written";
}

}  // namespace planloc
