// The places that no other place beats in both of two criteria: the sites have two weights each,
// and a place is efficient if no place has a smaller value in one criterion and no greater one in
// the other.
//
//   const bicriteria_problem p({{.x = 0, .y = 0, .weight1 = 1, .weight2 = 3}, ...}, {gauge::l1()});
//   const efficient_chain c = efficient_set(p);
//   const efficient_verification v = verify(p, c);
//
// For t in (0, 1) let f_t = (1 - t) f_1 + t f_2. For plain sums under polyhedral gauges the
// efficient places are all optima of all f_t, a chain of vertices, edges and polygons of the
// arrangement of the gauges' rays (Wendell, Hurter and Lowe 1977). The chain is found whole,
// exactly, by a walk along it. For other gauges and order weights: efficient_polyline.h.
#ifndef PLANLOC_OPTIMUM_EFFICIENT_SET_H_
#define PLANLOC_OPTIMUM_EFFICIENT_SET_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stop_token>
#include <string>
#include <vector>

#include "planloc/optimum/bicriteria_problem.h"
#include "planloc/optimum/solution.h"

namespace planloc {

// The line through a site along a vertex of its gauge's ball.
struct ray_line {
  std::uint32_t site;
  std::uint32_t vertex;

  friend bool operator==(const ray_line&, const ray_line&) = default;
};

struct efficient_corner {
  xy at{0, 0};  // each coordinate the double nearest to the exact one
  double value1 = 0;
  double value2 = 0;
  // The exact place is where these two lines cross.
  std::array<ray_line, 2> lines{};
};

// All optima of f_t, for t strictly between t_low and t_high or equal to both.
struct efficient_piece {
  // A vertex, an edge or a polygon by their number; a polygon's counterclockwise from one with the
  // least value1.
  std::vector<efficient_corner> corners;
  double t_low = 0;  // each the double nearest to the exact value, up to a few units
  double t_high = 1;
};

// A vertex of the trade-off curve, the values of all efficient places: optimal for t from t_low to
// t_high.
struct trade_off {
  double value1;
  double value2;
  double t_low;
  double t_high;
};

enum class efficient_status : std::uint8_t {
  complete,  // the whole efficient set
  stopped    // a limit or the stop token ended the walk: part of the chain, or nothing
};

struct efficient_chain {
  efficient_status status = efficient_status::stopped;
  // From the optima of f_1 to those of f_2. Pieces with an interval of t, on which both criteria
  // are constant, and pieces with one t take turns; the former are common to their neighbours, and
  // stand first and last. So every t in (0, 1) has one piece.
  std::vector<efficient_piece> pieces;
  // One a piece with an interval of t.
  std::vector<trade_off> curve;
  search_counters counters;
};

struct efficient_options {
  double seconds = std::numeric_limits<double>::infinity();  // throws unless from 0 up
  // At most so many; the chain is `stopped` where it has more. The optimum of f_1 + f_2 is found
  // first and counts as one even for 0.
  std::size_t pieces = std::numeric_limits<std::size_t>::max();
  std::stop_token stop;
};

// Throws `bad_problem` if a gauge that a site uses is not polyhedral or an order weight is not 1.
efficient_chain efficient_set(const bicriteria_problem& p, const efficient_options& options = {});

struct efficient_verification {
  bool accepted = false;
  std::string reason;  // why it was refused
};

// Checks a complete chain in fractions, from the lines of its corners and the problem alone: each
// piece is the whole set of optima of its f_t, neighbours share what they must, and the first and
// the last piece are optimal for f_1 and f_2, so that nothing is left out.
efficient_verification verify(const bicriteria_problem& p, const efficient_chain& c);

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_EFFICIENT_SET_H_
