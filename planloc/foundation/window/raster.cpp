#include "planloc/foundation/window/raster.h"

#include <algorithm>
#include <cmath>

#include "planloc/foundation/window/surface.h"

namespace planloc::detail {

namespace {

// A line is covered by squares of about this size.
constexpr double kPiece = 48;
// More changes than this at once are one change of everything.
constexpr std::size_t kMostAreas = 2000;

placement fit(const picture& source, int width, int height) {
  const double scale = std::min(static_cast<double>(width) / source.width(),
                                static_cast<double>(height) / source.height());
  return {scale, static_cast<int>((width - scale * source.width()) / 2),
          static_cast<int>((height - scale * source.height()) / 2)};
}

}  // namespace

raster::raster(const surface& source, int width, int height)
    : raster(*source.picture_, width, height) {}

raster::raster(const picture& source, int width, int height)
    : source_(source),
      width_(width),
      height_(height),
      where_(fit(source, width, height)),
      image_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)) {}

std::vector<area> raster::update() {
  const bool from_start = !is_painted_ || generation_ != source_.generation();
  const std::size_t first = from_start ? 0 : painted_;
  if (!from_start && first == source_.size()) return {};
  const context_handle cr(cairo_create(image_.get()));
  source_.render(cr.get(), first, where_);
  cairo_surface_flush(image_.get());
  generation_ = source_.generation();
  painted_ = source_.size();
  is_painted_ = true;
  if (from_start) return {all()};
  std::vector<area> areas;
  for (std::size_t i = first; i < painted_; ++i) {
    add_areas(i, areas);
    if (areas.size() > kMostAreas) return {all()};
  }
  return areas;
}

const std::uint32_t* raster::row(int y) const {
  const unsigned char* data = cairo_image_surface_get_data(image_.get());
  if (!data) return nullptr;
  data += static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(image_.get());
  return reinterpret_cast<const std::uint32_t*>(data);
}

void raster::add_areas(std::size_t operation_number, std::vector<area>& areas) const {
  const operation& op = source_.at(operation_number);
  const int* at = source_.numbers(operation_number);
  switch (op.kind) {
    case drawing::line: {
      const double dx = at[2] - at[0];
      const double dy = at[3] - at[1];
      const double length = std::max(std::fabs(dx), std::fabs(dy)) * where_.scale;
      const int pieces = static_cast<int>(length / kPiece) + 1;
      for (int i = 0; i < pieces; ++i) {
        const double from = static_cast<double>(i) / pieces;
        const double to = static_cast<double>(i + 1) / pieces;
        add_area(at[0] + from * dx, at[1] + from * dy, at[0] + to * dx, at[1] + to * dy,
                 op.width / 2.0 + 1, areas);
      }
      break;
    }
    case drawing::dot:
      add_area(at[0], at[1], at[0], at[1], 1, areas);
      break;
    case drawing::disc:
      add_area(at[0], at[1], at[0], at[1], at[2] + 1.0, areas);
      break;
    case drawing::fill: {
      int low[2] = {at[0], at[1]};
      int high[2] = {at[0], at[1]};
      for (std::uint32_t i = 0; i < op.count; ++i) {
        low[i % 2] = std::min(low[i % 2], at[i]);
        high[i % 2] = std::max(high[i % 2], at[i]);
      }
      add_area(low[0], low[1], high[0], high[1], 1, areas);
      break;
    }
    case drawing::text: {
      const text_layout ink =
          lay_out(source_.line(operation_number), op.width, source_.place(operation_number));
      add_area(at[0] + ink.left, at[1] + ink.top, at[0] + ink.right, at[1] + ink.bottom, 1, areas);
      break;
    }
  }
}

// Corners in any order, in pixels of the picture; grown by `reach` to all sides, and by two
// of the canvas for rounding and the smoothing of edges.
void raster::add_area(double x0, double y0, double x1, double y1, double reach,
                      std::vector<area>& areas) const {
  const auto inside = [&](double v, double origin, int size) {
    return static_cast<int>(std::clamp(std::floor(v * where_.scale + origin), 0.0, 1.0 * size));
  };
  const double grown = reach + 2 / where_.scale;
  const int left = inside(std::min(x0, x1) - grown, where_.left, width_);
  const int right = inside(std::max(x0, x1) + grown + 1, where_.left + 1, width_);
  const int top = inside(std::min(y0, y1) - grown, where_.top, height_);
  const int bottom = inside(std::max(y0, y1) + grown + 1, where_.top + 1, height_);
  if (left < right && top < bottom) areas.push_back({left, top, right - left, bottom - top});
}

}  // namespace planloc::detail
