// What the maximum solver of gauge_max.h reads and tests in its loops: sites with their gauges side
// by side, and the level sets of their largest weighted distance.
#ifndef PLANLOC_FACILITIES_LEVEL_SETS_H_
#define PLANLOC_FACILITIES_LEVEL_SETS_H_

#include <cstddef>
#include <map>
#include <span>
#include <vector>

#include "planloc/facilities/convex_intersection.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/xy.h"
#include "planloc/model/location.h"
#include "planloc/model/polygauge.h"

namespace planloc::detail {

// A site of any dimension from 2: coordinates 0 and 1, weight 0 and the vertices of its gauge.
struct ball_site {
  double x;
  double y;
  double w;
  std::span<const xy> ball;
};

class ball_sites {
 public:
  // Reports as `for_each_with_gauge`.
  ball_sites(const list<location>& sites, const list<polygauge>& gauges, const list<int>& gauge_of);

  std::size_t size() const { return sites_.size(); }
  const ball_site& operator[](std::size_t i) const { return sites_[i]; }

 private:
  std::map<const polygauge*, std::vector<xy>> balls_;
  std::vector<ball_site> sites_;
};

class level_sets {
 public:
  explicit level_sets(const ball_sites& sites) : sites_(sites) {}

  // The places whose weighted distance from every site is at most z: the corners of the common part
  // of the sites' polygons, cut one by one in order, valid until the next call. No allocation but
  // for the first calls. Reports as `convex_intersection`, and "dlist::head(): empty list" without
  // sites.
  closed_chain intersection(double z);

 private:
  void scale_ball(const ball_site& site, double z);

  const ball_sites& sites_;
  convex_clipper clipper_;
  std::vector<xy> common_;
  std::vector<xy> next_;  // the polygon of a site
  std::vector<xy> corners_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_LEVEL_SETS_H_
