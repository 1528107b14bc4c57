// What a place is to two sums under polyhedral gauges: their values, the directions along which
// they can bend there, and how they rise along them; in intervals, and in fractions where these do
// not tell. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_EFFICIENT_PLACE_H_
#define PLANLOC_OPTIMUM_PROOF_EFFICIENT_PLACE_H_

#include <gmpxx.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "planloc/optimum/efficient_set.h"
#include "planloc/optimum/proof/interval.h"
#include "planloc/optimum/proof/verify_parts.h"

namespace planloc::detail {

// Numerators over one denominator, which is positive; not in lowest terms.
template <std::size_t N>
struct fractions {
  std::array<mpz_class, N> numerator;
  mpz_class denominator = 1;
};

struct bend {
  xy direction;
  std::array<interval, 2> rise;  // of both criteria
};

struct efficient_place {
  fraction_pair at;
  std::array<interval, 2> values;
  std::vector<bend> bends;  // a direction may come more than once
};

struct exact_efficient_place {
  fractions<2> values;
  std::vector<std::array<mpz_class, 2>> rises;  // by bend, times one positive number each
};

// Looks at one place after the other; quickest where neighbours follow each other.
class efficient_places {
 public:
  explicit efficient_places(const bicriteria_problem& p);

  // Refuses lines that do not exist, or do not cross at a place that doubles can tell.
  fraction_pair crossing(const std::array<ray_line, 2>& lines) const;
  efficient_place look(const fraction_pair& at);
  exact_efficient_place look_exactly(const efficient_place& place);
  // Whether each site has an edge in force at both places, so that both criteria are linear
  // between.
  bool linear_between(const fraction_pair& a, const fraction_pair& b) const;

 private:
  // Over the sites that have the edge in force.
  struct edge_sum {
    std::array<mpq_class, 2> weight, x, y;  // by criterion: of w, w x and w y, from `base_`
    bool changed = false;                   // since `near_tree_` was brought up to date
    bool exact_changed = false;             // and `exact_tree_`
  };
  // Of both criteria, as affine functions of x - base: slopes in x, slopes in y, values at 0.
  using near_sums = std::array<interval, 6>;
  using affine_sums = fractions<6>;
  struct active_edges {  // neighbours, cyclic
    std::uint32_t first, count;
  };

  struct tied_site {
    std::size_t site;
    active_edges edges;
  };

  // A place, and its double with what that leaves over.
  struct rounded_place {
    explicit rounded_place(const fraction_pair& exact);
    xy high, low;
  };

  // The sites that have no single edge in force.
  std::vector<tied_site> move_to(const fraction_pair& at);
  std::array<interval, 2> values_at(const fraction_pair& at,
                                    const std::vector<tied_site>& tied) const;
  std::array<interval, 2> rise_along(const xy& direction, const std::vector<tied_site>& tied) const;
  fractions<2> exact_values_at(const fraction_pair& at, const std::vector<tied_site>& tied) const;
  std::array<mpz_class, 2> exact_rise_along(const xy& direction,
                                            const std::vector<tied_site>& tied) const;
  active_edges edges_at(std::size_t i, const fraction_pair& at, const rounded_place& rounded) const;
  active_edges exact_edges_at(std::size_t i, const fraction_pair& at) const;
  // Of a tied site, for a step in the direction.
  std::uint32_t edge_towards(std::size_t i, const active_edges& tie, const xy& direction) const;
  void add(std::size_t i, std::uint32_t edge, int sign);
  std::array<mpq_class, 6> term_of(std::size_t gauge, std::size_t edge) const;
  template <class Sums, class Term>
  void update_tree(std::vector<Sums>& tree, bool edge_sum::*is_changed, const Term& term);
  void update_near_sums();
  void update_exact_sums();
  const fraction_pair& normal(std::size_t i, std::uint32_t edge) const {
    return normals_[problem_.sites()[i].gauge][edge];
  }

  const bicriteria_problem& problem_;
  std::vector<std::vector<fraction_pair>> normals_;  // by gauge and edge
  std::vector<std::vector<xy>> rounded_normals_;     // beside it
  std::vector<std::vector<edge_sum>> sums_;          // beside it
  fraction_pair base_;                               // the first site
  // Node k is the sum of nodes 2 k and 2 k + 1.
  std::vector<near_sums> near_tree_;
  std::vector<affine_sums> exact_tree_;
  std::vector<std::uint32_t> edge_;  // by site, as summed; kTied if not
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_EFFICIENT_PLACE_H_
