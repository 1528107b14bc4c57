#include "planloc/foundation/window/text.h"

#include <cstddef>
#include <memory>

namespace planloc::detail {

namespace {

struct font_deleter {
  void operator()(cairo_scaled_font_t* f) const { cairo_scaled_font_destroy(f); }
};
using font_handle = std::unique_ptr<cairo_scaled_font_t, font_deleter>;

// Glyphs are placed and shaped alike at every scale and in every format: nothing is moved to whole
// pixels.
font_handle font_of(int size) {
  cairo_font_face_t* face =
      cairo_toy_font_face_create("sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
  cairo_matrix_t scale;
  cairo_matrix_t identity;
  cairo_matrix_init_scale(&scale, size, size);
  cairo_matrix_init_identity(&identity);
  font_handle font(cairo_scaled_font_create(face, &scale, &identity, options));
  cairo_font_options_destroy(options);
  cairo_font_face_destroy(face);
  return font;
}

cairo_text_extents_t extents(const font_handle& font, const char* text) {
  cairo_text_extents_t e;
  cairo_scaled_font_text_extents(font.get(), text, &e);
  return e;
}

text_layout lay_out(const font_handle& font, const std::string& line, text_place place) {
  const cairo_text_extents_t ink = extents(font, line.c_str());
  // Of a capital, not of the text: names beside each other stand on one line.
  const double capital = extents(font, "H").height;
  double x = -ink.x_advance / 2;
  double y = capital / 2;
  if (place == text_place::right) x = kTextGap;
  if (place == text_place::left) x = -kTextGap - ink.x_advance;
  if (place == text_place::above) y = -kTextGap;
  if (place == text_place::below) y = kTextGap + capital;
  const double left = x + ink.x_bearing;
  const double top = y + ink.y_bearing;
  return {x, y, left, top, left + ink.width, top + ink.height};
}

// The code point that starts at `at` and the number of its bytes; length 0 if they are no UTF-8 or
// stand for what is no character.
struct decoded {
  unsigned code;
  std::size_t length;
};

decoded decode(const std::string& bytes, std::size_t at) {
  const unsigned char first = static_cast<unsigned char>(bytes[at]);
  if (first < 0x80) return {first, 1};
  const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4 || at + length > bytes.size()) return {first, 0};
  unsigned code = first & (0xffU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned char next = static_cast<unsigned char>(bytes[at + i]);
    if ((next & 0xc0) != 0x80) return {first, 0};
    code = code << 6 | (next & 0x3fU);
  }
  const bool too_long = code < (length == 3 ? 0x800U : length == 4 ? 0x10000U : 0x80U);
  const bool surrogate = code >= 0xd800 && code <= 0xdfff;
  const bool no_character = (code >= 0xfdd0 && code <= 0xfdef) || (code & 0xfffe) == 0xfffe;
  if (too_long || surrogate || no_character || code > 0x10ffff) return {first, 0};
  return {code, length};
}

}  // namespace

text_layout lay_out(const std::string& line, int size, text_place place) {
  return lay_out(font_of(size), line, place);
}

void paint_text(cairo_t* cr, double x, double y, double scale, const std::string& line, int size,
                text_place place) {
  const font_handle font = font_of(size);
  const text_layout at = lay_out(font, line, place);
  cairo_save(cr);
  cairo_translate(cr, x, y);
  cairo_scale(cr, scale, scale);
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_scaled_font_get_font_options(font.get(), options);
  cairo_set_font_face(cr, cairo_scaled_font_get_font_face(font.get()));
  cairo_set_font_options(cr, options);
  cairo_set_font_size(cr, size);
  cairo_font_options_destroy(options);
  cairo_move_to(cr, at.x, at.y);
  cairo_show_text(cr, line.c_str());
  cairo_new_path(cr);
  cairo_restore(cr);
}

std::string as_utf8(const std::string& bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size();) {
    const auto [code, length] = decode(bytes, at);
    if (code < 0x20 || (code >= 0x7f && code < 0xa0)) {
      text += ' ';
    } else if (length > 0) {
      text.append(bytes, at, length);
    } else {
      text += static_cast<char>(0xc0 | code >> 6);
      text += static_cast<char>(0x80 | (code & 0x3f));
    }
    at += length > 0 ? length : 1;
  }
  return text;
}

}  // namespace planloc::detail
