// The linear program over the clusters known so far: cover every site, with at most `count`
// clusters, at least cost. Its dual values are the prices of the sites. Where sites are in groups,
// the weight of each group is covered. Triples of sites cut off solutions that are not whole (the
// subset rows of Jepsen, Petersen, Spoorendonk and Pisinger 2008). Internal.
//
// Prices are kept in a box around those that gave the best bound (Marsten, Hogan and Blankenship
// 1975): else they swing wildly while few clusters are known. Revised simplex method with a dense
// inverse, one row a group and one a cell of the plane.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_DUAL_MASTER_H_
#define PLANLOC_OPTIMUM_ALLOCATION_DUAL_MASTER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <vector>

#include "planloc/optimum/allocation/price_groups.h"
#include "planloc/optimum/allocation/site_prices.h"

namespace planloc::detail {

class dual_master {
 public:
  // `counts` facilities in each cell of the plane. Of each triple at most one cluster has two slots
  // or all.
  dual_master(std::vector<std::size_t> counts, price_groups groups,
              std::vector<priced_triple> triples);

  // Slots that a facility at a place serves; of a cluster that is known, the lower cost is kept.
  // REQUIRES: slots in order.
  void add_cluster(std::vector<std::uint32_t> slots, const xy& at, std::uint32_t cell, double cost);
  // Prices of groups within `half_width` of `middle` for each slot, and so for triples.
  void set_box(std::span<const double> middle, double half_width);
  // The basis of one with the same groups, cells and clusters, and some of these triples.
  void continue_from(const dual_master& other);
  // Solves from the basis at hand. False if `expired` ended it.
  bool solve(const std::function<bool()>& expired);

  std::span<const double> duals() const { return std::span(dual_).first(rows_); }
  // Such duals as prices.
  site_prices prices_at(std::span<const double> duals) const;
  site_prices prices() const { return prices_at(duals()); }
  // What is known of the least priced sum in a cell at such duals: that of a known cluster.
  double least_known(std::uint32_t cell, std::span<const double> duals) const;
  std::vector<priced_triple> priced_triples() const { return triples_at(duals()); }
  const price_groups& groups() const { return groups_; }
  // The price of a facility in a cell: no known cluster gains more than this.
  double facility_price(std::uint32_t cell) const { return -dual_[rows_ + cell]; }
  // Whether the box holds back some price.
  bool at_box() const;
  // The slots of the clusters with the largest shares in the solution, at most `count`.
  std::vector<std::vector<std::uint32_t>> foremost(std::size_t count) const;
  // What the solution takes of the clusters at a place.
  struct taken_cluster {
    std::span<const std::uint32_t> slots;
    xy at;
    std::uint32_t cell;
    double level;
  };
  std::vector<taken_cluster> taken() const;
  // Clusters that came to be known, or known for less.
  std::size_t finds() const { return finds_; }
  struct cluster {
    std::vector<std::uint32_t> slots;
    xy at;
    std::uint32_t cell;
    double cost;
  };
  std::vector<cluster> known_clusters() const;

 private:
  struct column {
    std::vector<std::uint32_t> rows;
    std::vector<double> entries;
    double cost;
    std::vector<std::uint32_t> slots;  // of a cluster
    xy at{0, 0};
    std::uint32_t cell = 0;
  };

  std::vector<priced_triple> triples_at(std::span<const double> duals) const;
  double reduced_cost(const column& c) const;
  void add_column(column c);
  void judge();
  std::size_t entering() const;
  void transform(const column& c);
  std::size_t leaving() const;
  bool pivot(std::size_t in);
  void update(std::size_t in, std::size_t row, double step);
  void exchange(std::size_t row);
  void factorise(std::vector<std::size_t> columns);
  void reset();
  void enter(std::size_t in, std::size_t row);
  void start_from(std::vector<std::size_t> columns);
  void compute();
  void drop_idle();

  price_groups groups_;
  std::vector<priced_triple> triples_;
  std::size_t rows_;                       // of groups, then triples
  std::vector<double> size_, low_, high_;  // of these rows
  std::size_t fixed_;  // first: a group too little, one too much, facilities unused
  std::vector<column> columns_;
  std::vector<std::map<std::vector<std::uint32_t>, std::size_t>> known_;  // by cell: columns
  std::size_t finds_ = 0;
  std::vector<std::size_t> basis_;  // of each row
  struct crossing {
    std::uint32_t column;
    double value;
  };
  std::vector<std::vector<crossing>> of_row_;
  std::vector<double> gain_;       // of each column: its reduced cost
  std::vector<double> steepness_;  // of each column: see update()
  double least_gain_ = 0;
  std::vector<char> basic_;      // of each column
  std::vector<double> inverse_;  // by columns
  std::vector<double> right_;
  std::vector<double> level_;  // of each basic column
  std::vector<double> dual_;
  std::vector<double> alpha_;
  std::vector<std::uint32_t> reached_;  // where it is not 0
  std::vector<double> row_;             // of the exchange, of each column
  std::vector<std::uint32_t> crossed_;  // columns where it may not be 0
  std::size_t pivots_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_DUAL_MASTER_H_
