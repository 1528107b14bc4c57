// Whether the functions of a certificate touch a convex polyhedral f at a place, decided site by
// site: then a mixture of them whose slopes cancel proves that f is least there, and no sum has to
// be taken without loss. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_PLACE_OF_CONTACT_H_
#define PLANLOC_OPTIMUM_PROOF_PLACE_OF_CONTACT_H_

#include <span>
#include <vector>

#include "planloc/optimum/proof/gauge_interval.h"
#include "planloc/optimum/proof/verify_parts.h"

namespace planloc::detail {

// REQUIRES: polyhedral gauges, pieces that `check_pieces` has passed.
class place_of_contact {
 public:
  place_of_contact(const problem& p, const fraction_pair& at);

  // Exact: whether the edge of each site that counts is in force at the place, and the ranks are an
  // order of the distances there, but for sites of one order weight. If not, the piece is below f.
  bool touched_by(const affine_piece& piece) const;

  // ----- Of a piece that touches -----

  // Whether it has so few edges that sums in fractions are fast: the denominators of different
  // edges have nothing in common.
  bool has_few_edges(const affine_piece& piece) const;
  interval value(const affine_piece& piece) const;  // of f
  interval_pair slope(const affine_piece& piece) const;

 private:
  const gauge& gauge_of(std::size_t i) const { return problem_.gauge_of(i); }
  double lambda(const affine_piece& piece, std::size_t i) const {
    return lambda_[piece.rank.empty() ? 0 : piece.rank[i]];
  }
  interval_pair offset(std::size_t i) const;
  fraction_pair exact_offset(std::size_t i) const;
  bool in_cone(std::size_t i, std::uint32_t edge) const;
  std::uint32_t edge_in_force(std::size_t i) const;
  bool in_order(std::span<const std::uint32_t> rank, std::span<const std::uint32_t> edge) const;
  bool no_farther(std::span<const std::uint32_t> near, std::span<const std::uint32_t> far,
                  std::span<const std::uint32_t> edge) const;
  interval distance(std::size_t i, std::uint32_t edge) const;
  mpq_class exact_distance(std::size_t i, std::uint32_t edge) const;

  const problem& problem_;
  fraction_pair at_;
  xy rounded_;
  interval_pair rest_;  // what that lacks
  std::vector<double> lambda_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_PLACE_OF_CONTACT_H_
