// What an answer has on a map: sites, new places, sets of optima, balls and level sets. Pictures
// draw it, geographic files store it.
#ifndef PLANLOC_TOOLS_PLANLOC_MAP_FEATURES_H_
#define PLANLOC_TOOLS_PLANLOC_MAP_FEATURES_H_

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/planloc/compare_report.h"
#include "tools/planloc/contours.h"
#include "tools/planloc/depots_report.h"
#include "tools/planloc/report.h"

namespace planloc::tool {

enum class map_layer { site, place, optimum, piece, link, ball, level, allowed, forbidden, ray };

const char* name_of(map_layer layer);

// In the plane. One corner: a point; two: a segment; rings of more: an area, holes among them.
struct map_feature {
  map_layer layer = map_layer::site;
  std::string name = {};
  std::vector<std::vector<xy>> rings = {};
  std::vector<std::pair<const char*, double>> numbers = {};

  const xy& at() const { return rings.front().front(); }
  double number(std::string_view key, double otherwise) const;
};

struct map_scene {
  std::string title;
  std::vector<std::string> lines;  // the answer in words
  rectangle frame;
  std::vector<map_feature> features;  // the lower ones first
  std::string ball_name;              // what the balls are, for the legend; empty without any
};

map_scene scene_of(const solve_report& r);
// The directions of the gauges at each site, as far as the frame goes.
void add_rays(map_scene& scene, const solve_report& r);
map_scene scene_of(const depots_report& r);
map_scene scene_of(const compare_report& r);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_MAP_FEATURES_H_
