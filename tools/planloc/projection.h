// Longitude and latitude in a plane: an azimuthal equidistant projection centred on the data, in
// kilometres.
#ifndef PLANLOC_TOOLS_PLANLOC_PROJECTION_H_
#define PLANLOC_TOOLS_PLANLOC_PROJECTION_H_

#include <memory>
#include <string>
#include <vector>

#include "planloc/certified.h"

namespace planloc::tool {

class local_projection {
 public:
  // Centred on the mean of the places (on the sphere), rounded to a ten-thousandth of a degree.
  // `reference_system` is that of the data; empty: WGS 84.
  local_projection(const std::vector<xy>& lonlat, const std::string& reference_system);
  ~local_projection();
  local_projection(const local_projection&) = delete;
  local_projection& operator=(const local_projection&) = delete;

  xy centre() const { return centre_; }
  // The largest relative error of a short length at any of the places.
  double distortion() const { return distortion_; }
  // "azimuthal equidistant about 4.25 W 37.28 N".
  std::string description() const;

  // Errors of data where there is no image.
  std::vector<xy> to_plane(const std::vector<xy>& lonlat) const;
  std::vector<xy> to_degrees(const std::vector<xy>& plane) const;
  xy to_degrees(const xy& plane) const;

 private:
  struct transformations;
  double distortion_at(const xy& lonlat) const;

  xy centre_;
  double distortion_ = 0;
  std::unique_ptr<transformations> transform_;
};

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_PROJECTION_H_
