// Several new facilities with given shares of the sites and flows between them.
#ifndef PLANLOC_TOOLS_PLANLOC_TIED_DEPOTS_H_
#define PLANLOC_TOOLS_PLANLOC_TIED_DEPOTS_H_

#include <cstddef>
#include <string>
#include <vector>

#include "planloc/certified.h"

namespace planloc::tool {

// N rows of N numbers separated by commas; only what stands above the diagonal counts, and becomes
// the ties. Errors of data name file and line.
std::vector<tie> read_flows(const std::string& file, std::size_t depots);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_TIED_DEPOTS_H_
