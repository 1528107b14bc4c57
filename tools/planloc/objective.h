// Objectives by their names on the command line.
#ifndef PLANLOC_TOOLS_PLANLOC_OBJECTIVE_H_
#define PLANLOC_TOOLS_PLANLOC_OBJECTIVE_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "planloc/certified.h"

namespace planloc::tool {

struct objective {
  std::string name;  // as it was given
  order_weights lambda;
};

// median, centre, k-centrum:K, cent-dian:ALPHA, trimmed:LOW,HIGH, anti-centrum:K, range,
// order-statistic:K, quantile:Q, weights:FILE. A name or number that no data could make right is an
// error of usage; a file that cannot be read is one of data.
objective parse_objective(std::string_view text);

// Numbers separated by commas.
objective parse_order_weights(std::string_view text);

// Ends with an error of data if the objective does not fit so many sites.
void check_fits(const objective& o, std::size_t sites);

inline constexpr const char* kObjectiveNames =
    "median, centre, k-centrum:K, cent-dian:ALPHA, trimmed:LOW,HIGH, anti-centrum:K, range, "
    "order-statistic:K, quantile:Q or weights:FILE";

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_OBJECTIVE_H_
