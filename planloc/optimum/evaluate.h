// The objective and one subgradient in doubles, fast. Internal: the searches evaluate here; what is
// claimed of a result is decided elsewhere, exactly.
#ifndef PLANLOC_OPTIMUM_EVALUATE_H_
#define PLANLOC_OPTIMUM_EVALUATE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "planloc/optimum/distance_table.h"
#include "planloc/optimum/problem.h"
#include "planloc/optimum/solution.h"

namespace planloc::detail {

// f and a subgradient at `at`.
struct evaluation {
  xy at;
  double value;
  xy slope;
};

// Scratch for evaluations; one a thread.
class evaluator {
 public:
  evaluator(const problem& p, const distance_table& table);

  evaluation operator()(const xy& at);
  // Gives the scratch, up to 40 bytes a site, back until the next evaluation.
  void release();
  std::size_t count() const { return count_; }

  // The piece in force at `at`, by sites. The multiplier is left at 0.
  affine_piece piece_at(const xy& at);

  // Evaluates at `at`, where the gauges are polyhedral, and passes each slot with its order weight
  // and the slope of its distance.
  template <class Use>
  void each_term(const xy& at, Use use) {
    (*this)(at);
    std::size_t k = 0;
    for (const order_run& run : problem_.runs()) {
      for (const std::size_t end = k + run.count; k < end; ++k) {
        const auto slot = order_.empty() ? static_cast<std::uint32_t>(k) : order_[k].slot;
        use(slot, run.weight, slope_of(slot, at));
      }
    }
  }

  // A distance from `at` within which, in either coordinate, all places lie that are no worse.
  double level_radius(const evaluation& e);

 private:
  struct ranked {
    double distance;
    std::uint32_t slot;
  };

  void make_scratch();
  evaluation sum_all(const xy& at, double lambda) const;
  evaluation sum_of(const gauge_block& b, std::size_t begin, std::size_t end, const xy& at) const;
  bool has_edges() const;
  void use_kinks(xy& slope);
  void find_kinks();
  std::vector<affine_piece::kink> given_slopes(const xy& at);
  xy slope_of(std::size_t slot, const xy& at) const;
  void split_at_jumps();

  const problem& problem_;
  const distance_table& table_;
  std::vector<double> distance_;
  std::vector<std::uint32_t> edge_;
  std::vector<double> slope_x_, slope_y_;  // as `edge_`, where there are smooth gauges
  std::vector<ranked> order_;  // by rank class; kept, since the next place is often near
  std::vector<affine_piece::kink> kinks_;  // of the last place, by slot in place of site
  std::size_t count_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EVALUATE_H_
