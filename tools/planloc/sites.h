// Sites from any source that OGR reads: CSV, GeoJSON, GeoPackage, Shapefile, a database.
#ifndef PLANLOC_TOOLS_PLANLOC_SITES_H_
#define PLANLOC_TOOLS_PLANLOC_SITES_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "planloc/certified.h"

namespace planloc::tool {

// What to read, and from which columns; an empty name is the usual one, if there is such a column.
struct site_source {
  std::string path;   // `-` is the standard input
  std::string layer;  // empty: the only one
  std::string x, y;
  std::vector<std::string> weights;  // none: `weight`, or 1
  const char* weights_option = "--weight";
  std::string name;
  std::string gauge;
  bool lonlat = false;
  bool planar = false;
  bool drop_zero = false;
  bool zero_weights = false;   // 0 is allowed, if another weight of the site is positive
  bool unweighted = false;     // whatever columns there are
  bool gauge_numbers = false;  // whether the gauges come from a file, so that sites name theirs
  std::size_t gauges = 1;
};

struct site_table {
  std::string source;  // for messages
  bool lonlat = false;
  bool named = false;
  std::string unit;              // of planar coordinates; empty if it is not known
  std::string reference_system;  // as WKT; empty if it is not known
  std::vector<std::string> names;
  std::vector<xy> places;                    // as they stand in the source
  std::vector<std::vector<double>> weights;  // one vector for each of the columns
  std::vector<std::uint32_t> gauge;
  std::vector<std::size_t> rows;  // line of a CSV, counting the header, else the feature
  bool rows_are_lines = false;

  std::size_t size() const { return places.size(); }
  // "towns.csv:7" or "towns.gpkg: feature 7".
  std::string place_of(std::size_t site) const;
};

// Errors of data name the source, the row, the column, what was expected and what to do.
site_table read_sites(const site_source& source);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_SITES_H_
