// The answer to a question of several new facilities, ready for every format.
#ifndef PLANLOC_TOOLS_PLANLOC_DEPOTS_REPORT_H_
#define PLANLOC_TOOLS_PLANLOC_DEPOTS_REPORT_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "planloc/certified.h"
#include "tools/planloc/gauges.h"
#include "tools/planloc/site_plane.h"

namespace planloc::tool {

struct depots_report {
  const site_plane& sites;
  const gauge_choice& gauge;
  bool flows = false;  // between tied depots
  bool tied = false;   // shares and flows between the depots, in place of an assignment

  std::string status = {};        // optimal, within_gap, searched, stopped
  std::vector<xy> points = {};    // the new depots, in the plane
  std::vector<xy> existing = {};  // in the plane
  std::vector<std::string> existing_names = {};
  std::vector<std::uint32_t> assignment = {};  // of each site: new depots first; empty if tied
  double value = 0;
  std::optional<double> lower_bound = {};

  std::size_t depots() const { return points.size() + existing.size(); }
  xy depot(std::size_t k) const {
    return k < points.size() ? points[k] : existing[k - points.size()];
  }
  std::string depot_label(std::size_t k) const;  // "depot 3", or the name of an existing one
  double distance(std::size_t site, std::size_t depot) const;
  std::optional<double> gap() const;  // relative to the value
};

std::string depots_text(const depots_report& r);
std::string depots_json(const depots_report& r);
// A row for each new depot, then one for each site; numbers survive.
std::string depots_csv(const depots_report& r);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_DEPOTS_REPORT_H_
