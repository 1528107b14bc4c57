// What the check of an answer knows of regions, in fractions. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_VERIFY_REGIONS_H_
#define PLANLOC_OPTIMUM_PROOF_VERIFY_REGIONS_H_

#include <gmpxx.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "planloc/optimum/proof/verify_parts.h"

namespace planloc::detail {

class verified_regions {
 public:
  explicit verified_regions(const regions& r);

  struct side {
    xy a, b;
  };
  // Shares of the way along a side, from 0 to 1. Both ends are equal for a place alone.
  struct part {
    mpq_class from, to;
  };

  bool permits(const fraction_pair& at) const;
  const std::vector<side>& sides() const { return sides_; }
  std::string name(std::size_t number) const;
  // Where building is permitted on a side.
  std::vector<part> permitted_parts(std::size_t number) const;

 private:
  struct polygon {
    std::size_t begin, end;  // of its sides
    bool allowed;
    std::size_t number;
  };
  enum class place { inside, border, outside };

  void add(const region& polygons, bool allowed);
  void sort_into_columns();
  std::size_t column(double x) const;
  // The sides that reach the column, in their order.
  std::span<const std::uint32_t> in_column(std::size_t k) const {
    return {in_column_.data() + begin_[k], begin_[k + 1] - begin_[k]};
  }
  place place_in(std::span<const std::uint32_t> sides, const fraction_pair& at) const;

  bool whole_plane_;  // nothing is said of allowed places
  std::vector<side> sides_;
  std::vector<polygon> polygons_;
  // Columns of equal width; a side stands in each one that it reaches.
  double left_ = 0;
  double columns_per_x_ = 0;
  std::vector<std::uint32_t> begin_;  // of each column in in_column_, and the end
  std::vector<std::uint32_t> in_column_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_VERIFY_REGIONS_H_
