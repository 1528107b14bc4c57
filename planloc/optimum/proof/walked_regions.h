// Regions as the check of a certificate's triangles asks about them, in fractions. Internal to
// `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_WALKED_REGIONS_H_
#define PLANLOC_OPTIMUM_PROOF_WALKED_REGIONS_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "planloc/optimum/proof/verify_regions.h"

namespace planloc::detail {

// Places are relative to a base.
class walked_regions {
 public:
  walked_regions(const problem& p, const xy& base);

  struct segment {
    fraction_pair a, b;
  };

  bool permits(const fraction_pair& at) const;
  // Whether some place of a triangle is permitted.
  bool some_permitted(const std::array<xy, 3>& t);
  // The sides that meet a triangle, and the corners of polygons in it.
  std::vector<segment> sides_in(const std::array<xy, 3>& t) const;
  std::vector<fraction_pair> corners_in(const std::array<xy, 3>& t) const;
  // Where all sides that meet a triangle lie on one line and nothing beyond it is permitted: how
  // far the corners of the triangle are on this side of the line, in any unit.
  std::optional<std::array<mpq_class, 3>> cut(const std::array<xy, 3>& t) const;
  // Whether all corners of polygons pass a test.
  template <class Test>
  bool all_corners(Test passes) const {
    return std::all_of(sides_.begin(), sides_.end(), [&](const segment& s) { return passes(s.a); });
  }

 private:
  std::vector<std::size_t> numbers_in(const std::array<xy, 3>& t) const;
  const std::vector<segment>& permitted_parts(std::size_t side);

  verified_regions where_;
  fraction_pair base_;
  std::vector<segment> sides_;
  std::vector<std::optional<std::vector<segment>>> parts_;  // of each side, once asked for
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_WALKED_REGIONS_H_
