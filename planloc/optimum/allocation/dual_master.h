// The linear program over the clusters known so far: cover every site, with at most `count`
// clusters, at least cost. Its dual values are the prices of the sites. Where sites are in groups,
// the weight of each group is covered. Internal.
//
// Prices are kept in a box around those that gave the best bound (Marsten, Hogan and Blankenship
// 1975): else they swing wildly while few clusters are known. Revised simplex method with a dense
// inverse, one row a group and one for the count.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_DUAL_MASTER_H_
#define PLANLOC_OPTIMUM_ALLOCATION_DUAL_MASTER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <span>
#include <vector>

#include "planloc/optimum/allocation/price_groups.h"

namespace planloc::detail {

class dual_master {
 public:
  dual_master(std::size_t count, price_groups groups);

  // REQUIRES: slots in order, no cluster that is known.
  void add_cluster(std::vector<std::uint32_t> slots, double cost);
  bool knows(const std::vector<std::uint32_t>& slots) const { return known_.contains(slots); }
  // Prices of groups within `half_width` of `middle` for each slot.
  void set_box(std::span<const double> middle, double half_width);
  // Solves from the basis at hand. False if `expired` ended it.
  bool solve(const std::function<bool()>& expired);

  std::span<const double> prices() const { return std::span(dual_).first(rows_); }  // of groups
  const price_groups& groups() const { return groups_; }
  // The price of a facility: no known cluster gains more than this.
  double facility_price() const { return -dual_[rows_]; }
  // Whether the box holds back some price.
  bool at_box() const;
  // The slots of the clusters with the largest shares in the solution, at most `count`.
  std::vector<std::vector<std::uint32_t>> foremost(std::size_t count) const;
  std::size_t clusters() const { return columns_.size() - fixed_; }
  struct cluster {
    std::vector<std::uint32_t> slots;
    double cost;
  };
  std::vector<cluster> known_clusters() const;

 private:
  struct column {
    std::vector<std::uint32_t> rows;
    std::vector<double> entries;
    double cost;
    std::vector<std::uint32_t> slots;  // of a cluster
  };

  double reduced_cost(const column& c) const;
  static double steepness(const column& c);
  void gather();
  std::size_t entering();
  void transform(const column& c);
  std::size_t leaving() const;
  bool pivot(std::size_t in);
  void exchange(std::size_t row);
  void factorise();
  void compute();
  void drop_idle();

  std::size_t rows_;  // of groups
  price_groups groups_;
  std::size_t fixed_;  // first: a group too little, one too much, a facility unused
  std::vector<column> columns_;
  std::set<std::vector<std::uint32_t>> known_;
  std::vector<std::size_t> basis_;      // of each row
  std::vector<std::size_t> promising_;  // columns that could come in
  double least_gain_ = 0;
  std::vector<char> basic_;      // of each column
  std::vector<double> inverse_;  // by columns
  std::vector<double> right_;
  std::vector<double> level_;  // of each basic column
  std::vector<double> dual_;
  std::vector<double> alpha_;
  std::size_t pivots_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_DUAL_MASTER_H_
