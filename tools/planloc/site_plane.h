// Sites where the library sees them: planar ones as they are, degrees in a local projection.
#ifndef PLANLOC_TOOLS_PLANLOC_SITE_PLANE_H_
#define PLANLOC_TOOLS_PLANLOC_SITE_PLANE_H_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "planloc/certified.h"
#include "tools/planloc/projection.h"
#include "tools/planloc/sites.h"

namespace planloc::tool {

class site_plane {
 public:
  // Warns where the projection is much distorted at the places.
  explicit site_plane(site_table table);

  const site_table& table() const { return table_; }
  std::size_t size() const { return table_.size(); }
  const std::vector<xy>& places() const { return places_; }                 // in the plane
  const local_projection* projection() const { return projection_.get(); }  // null if planar

  // In the coordinates of the input: that of a site to the last bit where `p` is its place.
  xy to_input(const xy& p) const;
  std::vector<xy> to_input(const std::vector<xy>& points) const;
  std::vector<xy> to_plane(const std::vector<xy>& points) const;

  // The sites of a problem, with the weights of one column. REQUIRES: they are positive.
  std::vector<site> problem_sites(std::size_t weight_column = 0) const;

  std::size_t nearest(const xy& p) const;  // by Euclidean distance
  std::string label(std::size_t i) const;  // its name, or "site 7", counted from 1
  // Of lengths: "km", that of the reference system, or nothing.
  const std::string& unit() const { return unit_; }
  // "12.3 km NE of Antequera", "at Antequera".
  std::string describe(const xy& p) const;

 private:
  site_table table_;
  std::unique_ptr<local_projection> projection_;
  std::vector<xy> places_;
  std::string unit_;
};

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_SITE_PLANE_H_
