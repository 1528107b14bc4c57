#include "tools/planloc/site_plane.h"

#include <array>
#include <cmath>
#include <limits>
#include <numbers>

#include "tools/planloc/errors.h"
#include "tools/planloc/numbers.h"

namespace planloc::tool {

site_plane::site_plane(site_table table) : table_(std::move(table)), unit_(table_.unit) {
  if (!table_.lonlat) {
    places_ = table_.places;
    return;
  }
  constexpr double kMuch = 0.02;
  unit_ = "km";
  projection_ = std::make_unique<local_projection>(table_.places, table_.reference_system);
  places_ = projection_->to_plane(table_.places);
  if (projection_->distortion() > kMuch) {
    warn("the sites lie far apart: the projection (" + projection_->description() +
         ") distorts lengths by up to " + rounded(100 * projection_->distortion(), 3) + " %");
  }
}

xy site_plane::to_input(const xy& p) const {
  if (!projection_) return p;
  const std::size_t i = nearest(p);
  return places_[i] == p ? table_.places[i] : projection_->to_degrees(p);
}

std::vector<xy> site_plane::to_input(const std::vector<xy>& points) const {
  std::vector<xy> result;
  for (const xy& p : points) result.push_back(to_input(p));
  return result;
}

std::vector<xy> site_plane::to_plane(const std::vector<xy>& points) const {
  return projection_ ? projection_->to_plane(points) : points;
}

std::vector<site> site_plane::problem_sites(std::size_t weight_column) const {
  std::vector<site> sites;
  sites.reserve(size());
  for (std::size_t i = 0; i < size(); ++i) {
    sites.push_back(
        {places_[i].x, places_[i].y, table_.weights[weight_column][i], table_.gauge[i]});
  }
  return sites;
}

std::size_t site_plane::nearest(const xy& p) const {
  std::size_t best = 0;
  double least = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < places_.size(); ++i) {
    const double d = std::hypot(places_[i].x - p.x, places_[i].y - p.y);
    if (d < least) {
      least = d;
      best = i;
    }
  }
  return best;
}

std::string site_plane::label(std::size_t i) const {
  if (table_.named && !table_.names[i].empty()) return table_.names[i];
  return "site " + std::to_string(i + 1);
}

std::string site_plane::describe(const xy& p) const {
  constexpr std::array<const char*, 8> kSides = {"E", "NE", "N", "NW", "W", "SW", "S", "SE"};
  const std::size_t i = nearest(p);
  const xy d{p.x - places_[i].x, p.y - places_[i].y};
  const double length = std::hypot(d.x, d.y);
  const double size = std::hypot(places_[i].x, places_[i].y);
  if (length <= 1e-12 * size) return "at " + label(i);
  const double eighths = std::atan2(d.y, d.x) / (std::numbers::pi / 4);
  const auto side = static_cast<std::size_t>(std::lround(eighths) + 8) % 8;
  return rounded(length, 4) + (unit_.empty() ? "" : " " + unit_) +
         (projection_ ? std::string(" ") + kSides[side] + " of " : " from ") + label(i);
}

}  // namespace planloc::tool
