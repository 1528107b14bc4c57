// The least value of a convex f on a permitted part of a side. Internal.
#ifndef PLANLOC_OPTIMUM_REGIONS_PIECE_SOLVER_H_
#define PLANLOC_OPTIMUM_REGIONS_PIECE_SOLVER_H_

#include <gmpxx.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"
#include "planloc/optimum/regions/boundary.h"
#include "planloc/optimum/regions/cut_pool.h"

namespace planloc::detail {

// A place on a part, and the functions that prove that no other one of the part is better.
struct found_place {
  exact_xy at;
  double value;
  std::vector<std::size_t> cuts;
  std::optional<mpq_class> exact;  // the value, once it was needed
};

// A permitted part of a side, with its ends in doubles relative to the table's base.
struct side_part {
  boundary::piece ends;
  xy a, b;
  int evaluations = 0;
  double value = std::numeric_limits<double>::infinity();  // the least one that was found
  std::optional<std::size_t> site;  // the slot of a site on it that was evaluated
};

class piece_solver {
 public:
  piece_solver(const problem& p, const distance_table& table, cut_pool& cuts);

  // Edges that may be in force where f is evaluated first, by sites.
  void expect(std::span<const std::uint32_t> edges);
  // Adds what f is like at a share of the way to the pool.
  found_place evaluate(side_part& s, double share);

  // Whether `find_least` costs little beside some evaluations.
  bool can_fold() const;
  // The share of the way at which f is least, as far as doubles can tell, from what the pool says
  // of the part. Sites that are linear where it can be count together. REQUIRES: `can_fold`.
  double find_least(const side_part& s, const cut_pool::minimum& m);

  // The optimum of the part, which lies near a share of the way. REQUIRES: polyhedral gauges.
  found_place solve(const side_part& s, double share);

  // Without loss for polyhedral gauges.
  bool better(found_place& a, found_place& b);
  bool same_value(found_place& a, const exact_xy& at, double value);

  std::size_t evaluations() const { return evaluations_ + evaluate_.count(); }

 private:
  struct test {
    bool falls_ahead, falls_back;
    found_place found;  // if neither
  };

  std::size_t add_sum_at(const xy& at);
  test try_place(const side_part& s, const exact_xy& at);
  found_place solve_in_fractions(const side_part& s);
  mpq_class exact_value(const exact_xy& at);
  std::optional<std::size_t> site_near(const side_part& s, const xy& at) const;
  void add_kinks(const affine_piece& piece, const xy& at, const xy& u, found_place& found);

  const problem& problem_;
  const distance_table& table_;
  cut_pool& cuts_;
  evaluator evaluate_;
  exact_edges edges_;
  double extent_;
  std::vector<std::uint32_t> edge_;  // of each slot, in force at the last place
  std::size_t evaluations_ = 0;      // that the evaluator does not count
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_REGIONS_PIECE_SOLVER_H_
