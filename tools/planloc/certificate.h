// Proofs as files: what was asked, what was answered, and what proves it (docs/tool.md). The sites
// are not in it; who checks it brings them.
#ifndef PLANLOC_TOOLS_PLANLOC_CERTIFICATE_H_
#define PLANLOC_TOOLS_PLANLOC_CERTIFICATE_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "planloc/certified.h"
#include "tools/planloc/sites.h"

namespace planloc::tool {

struct certificate_file {
  site_source source;  // where the columns are; without a path
  std::string objective;
  std::string gauge;
  std::size_t sites = 0;
  std::vector<planloc::gauge> gauges = {};
  std::vector<order_run> lambda = {};
  regions where = {};  // in the plane
  solution answer = {};
};

std::string certificate_text(const certificate_file& c);

// Errors of data name `file` and what is missing or of another kind.
certificate_file read_certificate(const std::string& file, std::string_view text);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_CERTIFICATE_H_
