#include "planloc/facilities/level_sets.h"

#include <algorithm>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/geometry/closed_chain.h"
#include "planloc/model/gauge_distance.h"

namespace planloc::detail {
namespace {

// What the constructor of `polygon` does with its vertices.
void close_chain(std::vector<xy>& corners) {
  check_chain(corners, true, true);
  if (signed_area(corners) < 0.0) std::reverse(corners.begin(), corners.end());
}

}  // namespace

ball_sites::ball_sites(const list<location>& sites, const list<polygauge>& gauges,
                       const list<int>& gauge_of) {
  for_each_with_gauge(sites, gauges, gauge_of, [&](const location& a, const polygauge& g) {
    std::vector<xy>& ball = balls_[&g];
    if (ball.empty()) {
      for (const point& v : g.vertices()) ball.push_back(to_xy(v));
    }
    sites_.push_back({a[0], a[1], a.weight(0), ball});
  });
}

void level_sets::scale_ball(const ball_site& site, double z) {
  const double f = z / site.w;
  next_.clear();
  for (const xy& v : site.ball) next_.push_back({site.x + f * v.x, site.y + f * v.y});
  close_chain(next_);
}

closed_chain level_sets::intersection(double z) {
  if (sites_.size() == 0) {
    error_handler(1, "dlist::head(): empty list");
    return {};
  }
  scale_ball(sites_[0], z);
  common_.swap(next_);
  for (std::size_t i = 1; i < sites_.size() && !common_.empty(); ++i) {
    scale_ball(sites_[i], z);
    switch (clipper_.clip(common_, next_, true, corners_)) {
      case convex_clipper::result::kFirst:
        break;
      case convex_clipper::result::kSecond:
        common_.swap(next_);
        break;
      case convex_clipper::result::kCorners:
        common_.swap(corners_);
        close_chain(common_);
        break;
    }
  }
  return common_;
}

}  // namespace planloc::detail
