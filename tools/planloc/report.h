// The answer to a question of one new facility, ready for every format.
#ifndef PLANLOC_TOOLS_PLANLOC_REPORT_H_
#define PLANLOC_TOOLS_PLANLOC_REPORT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "planloc/certified.h"
#include "tools/planloc/gauges.h"
#include "tools/planloc/site_plane.h"

namespace planloc::tool {

// Of one site, at the answer.
struct site_figures {
  double distance = 0;           // gauge(place - site)
  double weighted_distance = 0;  // times the weight
  std::size_t rank = 0;          // by weighted distance, from 1; ties in file order
  double share = 0;              // of the value: order weight times weighted distance
};

// The places with the least value, or a part of them.
struct optimum_piece {
  std::vector<xy> corners;  // one: a point; two: a segment; more: a polygon, counterclockwise

  const char* kind() const;
};

struct solve_report {
  const site_plane& sites;
  const problem& question;
  std::string objective;
  const gauge_choice& gauge;

  std::string status = {};  // of solution_status, as docs/tool.md has it
  bool exact = false;
  std::optional<xy> point = {};  // in the plane
  std::optional<double> value = {};
  std::optional<double> lower_bound = {};
  std::optional<double> gap = {};          // relative to the value
  std::vector<optimum_piece> optima = {};  // in the plane
  bool whole_plane = false;
  bool optima_complete = false;  // whether they are all optima there are
  std::optional<xy> direction = {};
  std::vector<site_figures> figures = {};  // empty without a point
};

solve_report make_report(const site_plane& sites, const problem& question, const solution& s,
                         const std::string& objective, const gauge_choice& gauge);

std::vector<site_figures> figures_at(const problem& question, const xy& at);

std::string report_text(const solve_report& r);
std::string report_json(const solve_report& r);
// A row for the answer and one for each site; numbers survive.
std::string report_csv(const solve_report& r);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_REPORT_H_
