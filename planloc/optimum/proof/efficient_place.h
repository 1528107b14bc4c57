// What a place is to two sums under polyhedral gauges, in fractions: their values, the directions
// along which they can bend there, and how they rise along them. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_EFFICIENT_PLACE_H_
#define PLANLOC_OPTIMUM_PROOF_EFFICIENT_PLACE_H_

#include <gmpxx.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "planloc/optimum/efficient_set.h"
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
  std::array<mpz_class, 2> rise;  // of both criteria, times one positive number
};

struct efficient_place {
  fraction_pair at;
  fractions<2> values;
  std::vector<bend> bends;  // a direction may come more than once
};

// Looks at one place after the other; quickest where neighbours follow each other.
class efficient_places {
 public:
  explicit efficient_places(const bicriteria_problem& p);

  // Refuses lines that do not exist or do not cross.
  fraction_pair crossing(const std::array<ray_line, 2>& lines) const;
  efficient_place look(const fraction_pair& at);

 private:
  struct edge_sum {                         // over the sites that have the edge in force
    std::array<mpq_class, 2> weight, x, y;  // by criterion: of w, w x and w y
    bool changed = false;
  };
  // Of both criteria, as affine functions: slopes in x, slopes in y, values at the origin.
  using affine_sums = fractions<6>;
  struct active_edges {  // neighbours, cyclic
    std::uint32_t first, count;
  };

  struct tied_site {
    std::size_t site;
    active_edges edges;
  };

  // The sites that have no single edge in force.
  std::vector<tied_site> move_to(const fraction_pair& at);
  fractions<2> values_at(const fraction_pair& at, const std::vector<tied_site>& tied) const;
  std::array<mpz_class, 2> rise_along(const xy& direction,
                                      const std::vector<tied_site>& tied) const;
  active_edges edges_at(std::size_t i, const fraction_pair& at, const xy& high,
                        const xy& low) const;
  active_edges exact_edges_at(std::size_t i, const fraction_pair& at) const;
  // Of a tied site, for a step in the direction.
  std::uint32_t edge_towards(std::size_t i, const active_edges& tie, const xy& direction) const;
  void add(std::size_t i, std::uint32_t edge, int sign);
  void update_sums();
  const fraction_pair& normal(std::size_t i, std::uint32_t edge) const {
    return normals_[problem_.sites()[i].gauge][edge];
  }

  const bicriteria_problem& problem_;
  std::vector<std::vector<fraction_pair>> normals_;  // by gauge and edge
  std::vector<std::vector<xy>> rounded_normals_;     // beside it
  std::vector<std::vector<edge_sum>> sums_;          // beside it
  std::vector<affine_sums> tree_;                    // node k is the sum of nodes 2 k and 2 k + 1
  std::vector<std::uint32_t> edge_;                  // by site, as summed; kTied if not
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_EFFICIENT_PLACE_H_
