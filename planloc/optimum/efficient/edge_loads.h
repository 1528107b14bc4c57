// The slopes of both criteria around a place, from the sum of the weights of the sites that have
// each edge in force: kept up to date while the walk crosses rays one by one. Internal.
#ifndef PLANLOC_OPTIMUM_EFFICIENT_EDGE_LOADS_H_
#define PLANLOC_OPTIMUM_EFFICIENT_EDGE_LOADS_H_

#include <gmpxx.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "planloc/optimum/efficient/ray_arrangement.h"

namespace planloc::detail {

// A number in pairs of doubles that is off by at most `error`.
struct bounded {
  double_double value{0, 0};
  double error = 0;

  // The sign, or nothing if it cannot be told.
  std::optional<int> sign() const {
    if (value.hi > error) return 1;
    if (value.hi < -error) return -1;
    return std::nullopt;
  }
};

class edge_loads {
 public:
  explicit edge_loads(const ray_arrangement& arrangement);

  // Site i has an edge in force, or no longer.
  void add(std::uint32_t site, std::uint32_t edge) { change(site, edge, 1); }
  void remove(std::uint32_t site, std::uint32_t edge) { change(site, edge, -1); }

  // What the sites that were added make a criterion rise along a vector.
  bounded rise(std::size_t criterion, const xy& v) const;
  mpq_class exact_rise(std::size_t criterion, const exact_xy& v);
  // What one more site adds to it.
  double_double rise_of(std::size_t criterion, std::uint32_t site, std::uint32_t edge,
                        const xy& v) const;
  mpq_class exact_rise_of(std::size_t criterion, std::uint32_t site, std::uint32_t edge,
                          const exact_xy& v);
  // The value of the criterion at a place, of the sites that were added, and of one more.
  bounded value(std::size_t criterion, const rung_place& at) const;
  double_double value_of(std::size_t criterion, std::uint32_t site, std::uint32_t edge,
                         const rung_place& at) const;
  const exact_xy& normal(std::uint32_t edge);

 private:
  void change(std::uint32_t site, std::uint32_t edge, int sign);
  void add_up();
  double_double_xy from_base(const rung_place& at) const;

  struct changed {
    std::uint32_t site, edge;
    int sign;
  };
  struct side {                   // of one criterion
    std::vector<mpz_class> load;  // by edge, in units of 2^exponent, without `late_`
    double_double_xy slope{{0, 0}, {0, 0}};
    double_double at_base{0, 0};
    double steepness = 0;  // no slope of all sites is greater in either coordinate
    std::optional<exact_xy> exact_slope;
  };

  const ray_arrangement& arrangement_;
  std::vector<double_double_xy> normal_;  // by edge
  std::vector<std::optional<exact_xy>> exact_normal_;
  std::array<side, 2> sides_;
  std::vector<changed> late_;  // changes that the loads lack, until they are asked for
  int exponent_ = 0;
  double changes_ = 1;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EFFICIENT_EDGE_LOADS_H_
