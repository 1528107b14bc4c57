// Distances by their names on the command line.
#ifndef PLANLOC_TOOLS_PLANLOC_GAUGES_H_
#define PLANLOC_TOOLS_PLANLOC_GAUGES_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "planloc/certified.h"

namespace planloc::tool {

struct gauge_choice {
  std::string name = {};  // as it was given
  std::vector<gauge> gauges = {};
  bool from_file = false;
  bool travel_time = false;  // the ball is what one unit of time reaches

  // "distance (km)" where coordinates are kilometres, "time", or, for a ball of the user's, just
  // "distance": in what units only the user knows.
  std::string measured(const std::string& unit) const;
};

// What the first line of a file of `planloc gauge` begins with, before the words of its command.
inline constexpr const char* kMadeBy = "// planloc gauge";

inline constexpr const char* kGaugeNames =
    "l1, linf, euclid, lp:P, octagon, regular:N, speed:E=60,NE=90,..., or a gauge file";

// A name with a number that can't be right is an error of usage; a file that cannot be read, or
// does not hold gauges, one of data.
gauge_choice parse_gauges(std::string_view text);

bool all_polyhedral(const gauge_choice& choice);

// The balls of a gauge file; the first thing that is wrong ends the tool.
std::vector<std::vector<xy>> read_gauge_file(const std::string& file);

// The k-th of n directions of length 1, counterclockwise from east; symmetric about axes and
// diagonals to the last bit.
xy unit_direction(std::size_t k, std::size_t n);

std::vector<xy> regular_ball(std::size_t n);  // n from 3

// E=60,NE=90,...: the hull of the places that are reached along the directions.
std::vector<xy> speed_ball(std::string_view text);

// The corners of the convex hull, counterclockwise.
std::vector<xy> hull_of(const std::vector<xy>& points);

// The vertices of the polar ball: for the edge from vertex j to the next one, number j.
std::vector<xy> polar_of(const std::vector<xy>& ball);

// The polygon for drawing: the ball itself, or one of many corners inside a round one.
std::vector<xy> ball_outline(const gauge& g);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_GAUGES_H_
