// The terms of a part as they are near some places, under polyhedral gauges. Internal.
//
// A term is the largest of the linear functions of its gauge's edges. In a box around the places
// only some edges can be in force: of most terms one, and these add up to one linear function. So
// the sum of all terms is told in the box by few terms with few edges; elsewhere that is a lower
// bound of it.
#ifndef PLANLOC_OPTIMUM_TIED_NEAR_TERMS_H_
#define PLANLOC_OPTIMUM_TIED_NEAR_TERMS_H_

#include <vector>

#include "planloc/optimum/tied/part_terms.h"

namespace planloc::detail {

struct near_edge {
  xy normal;
  std::uint32_t number;  // in the gauge
};

struct near_term {
  part_term term;
  std::uint32_t index;       // among the part's terms
  std::uint32_t first_edge;  // in `edges`
  std::uint32_t edge_count;
};

struct near_terms {
  // With all edges.
  explicit near_terms(const part_terms& all);
  // In the box of places that are nowhere `radius` away in a coordinate.
  near_terms(const part_terms& all, std::span<const xy> places, double radius);

  std::span<const near_edge> edges_of(const near_term& t) const {
    return {edges.data() + t.first_edge, t.edge_count};
  }
  // The same in a box within the box; `kept` are the edges that are left, in their order.
  near_terms narrowed(std::span<const xy> places, double radius,
                      std::vector<std::uint32_t>& kept) const;

  std::size_t facilities;
  double weight = 0;             // of all terms
  std::vector<near_term> terms;  // by facilities, then by the number of edges; ties at the end
  std::vector<near_edge> edges;
  std::vector<double> slopes;  // of the sum of the other terms: two numbers a facility
  double level = 0;            // and its value if all places are 0

 private:
  explicit near_terms(std::size_t count) : facilities(count), slopes(2 * count, 0) {}
  void add_straight(const part_term& t, const xy& normal);
  void order();
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_NEAR_TERMS_H_
