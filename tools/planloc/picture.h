// Pictures of answers for reports: the map with names, scale bar and legend; beside it a curve of
// trade-offs, if there is one.
#ifndef PLANLOC_TOOLS_PLANLOC_PICTURE_H_
#define PLANLOC_TOOLS_PLANLOC_PICTURE_H_

#include <memory>
#include <string>
#include <vector>

#include "planloc/foundation/window/surface.h"
#include "tools/planloc/map_features.h"

namespace planloc {
class surface;
}

namespace planloc::tool {

struct trade_off_curve {
  std::string first = {}, second = {};  // names of the axes
  std::vector<xy> corners = {};         // values, from the best first to the best second one
};

// `unit` is that of lengths, for the scale bar.
std::unique_ptr<surface> draw_map(const map_scene& scene, const std::string& unit,
                                  const trade_off_curve& curve = {});

// A unit ball and its polar side by side.
std::unique_ptr<surface> draw_balls(const std::vector<std::vector<xy>>& balls,
                                    const std::string& title);

// To .svg, .pdf or .png by the ending; written beside and renamed. Errors of usage for another
// ending, of data if it cannot be written.
void save_picture(const std::string& file, const surface& picture);

// On the screen until it is closed; an error of data if there is no screen.
void put_on_screen(const surface& picture, const std::string& title);

// An error of usage if the ending is none of the three.
void check_picture_name(const std::string& file);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_PICTURE_H_
