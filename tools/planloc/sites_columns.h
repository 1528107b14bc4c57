// Which columns of a table hold what, and their cells as numbers; no reader is known here.
#ifndef PLANLOC_TOOLS_PLANLOC_SITES_COLUMNS_H_
#define PLANLOC_TOOLS_PLANLOC_SITES_COLUMNS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/planloc/sites.h"

namespace planloc::tool {

// Positions among the columns of the source.
struct site_columns {
  std::optional<std::size_t> x = {}, y = {};  // none: the geometry has them
  std::vector<std::size_t> weights = {};      // none: 1
  std::optional<std::size_t> name = {}, gauge = {};
  bool lonlat = false;
};

// `where` is what messages begin with. `geometry` is whether the source has points of its own.
site_columns find_columns(const std::string& where, const std::vector<std::string>& columns,
                          const site_source& source, bool geometry);

// Cells to numbers. Messages begin with place_of the row that is being read.
class cell_reader {
 public:
  cell_reader(const site_source& source, const std::vector<std::string>& columns)
      : source_(source), columns_(columns) {}

  double number(const std::string& place, std::size_t column, std::string_view cell) const;
  // Nothing if the row is to be left out, as --drop-zero says.
  std::optional<double> weight(const std::string& place, std::size_t column, double value) const;
  std::uint32_t gauge(const std::string& place, std::size_t column, std::string_view cell) const;

 private:
  const site_source& source_;
  const std::vector<std::string>& columns_;
};

// Coordinates in their range, or an error of data.
void check_degrees(const std::string& place, const xy& lonlat);
void check_planar(const std::string& place, const xy& at);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_SITES_COLUMNS_H_
