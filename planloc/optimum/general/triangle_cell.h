// Cells of the branch and bound over triangles: what is decided of the sites on a cell, and a lower
// bound of f on it. Internal.
//
// Places are relative to the base of the distance table. A segment is a triangle whose last two
// corners are equal.
#ifndef PLANLOC_OPTIMUM_GENERAL_TRIANGLE_CELL_H_
#define PLANLOC_OPTIMUM_GENERAL_TRIANGLE_CELL_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/general/best_mixture.h"
#include "planloc/optimum/general/run_finder.h"

namespace planloc::detail {

using triangle = std::array<xy, 3>;

// The two halves of a right isosceles triangle (corner 0 at the right angle), or of a segment.
// Exact while the coordinates have bits left.
std::pair<triangle, triangle> halves(const triangle& t);
bool halves_exactly(const triangle& t);

// A site, and the edges of its gauge that are in force at the corners of a cell. Without meaning
// under a gauge that is not polyhedral.
struct placed_site {
  std::uint32_t slot;
  std::array<std::uint32_t, 3> edge;
};

struct decided_site {
  placed_site site;
  double lambda;  // with those of the sites at the same place that it stands for
  double size;    // the same of the magnitudes
};

// The sum of the sites that are linear on a cell and whose order weight is decided.
struct affine_sum {
  double at_base = 0;
  xy slope{0, 0};
  double size_at_base = 0;  // the same of the terms' magnitudes
  double steepness = 0;
};

struct cell {
  triangle corners;
  // How far the corners are on the side of a line where places count, in any unit.
  std::optional<corner_values> cut;
  std::uint32_t node = 0;  // of the search tree
  int depth = 0;
  double bound = -std::numeric_limits<double>::infinity();
  double size = 0;  // of the terms: what roundings are measured by
  affine_sum folded;
  std::vector<decided_site> decided;  // but not linear on the cell
  std::vector<placed_site> undecided;
  std::vector<order_run> runs;  // for the undecided ones
};

// Scratch for bounds; one a thread.
class cell_bounder {
 public:
  explicit cell_bounder(const distance_table& table);

  // The whole problem on a triangle.
  std::unique_ptr<cell> whole(const problem& p, const triangle& t) const;
  // The halves of a cell, which inherit what is decided there. Of the cell nothing but its place
  // in the search tree is left.
  std::pair<std::unique_ptr<cell>, std::unique_ptr<cell>> split(cell& c) const;

  // Decides what can be decided on the cell, then sets its bound to the larger of
  //   - the least value on it of planes below the convex part of f less what interpolates the
  //     concave part at the corners (d.c. programming, Tuy), and
  //   - the sum of order weights times sorted bounds of the distances, or of the nearest one with
  //     all order weights where no sum of the last ones is negative.
  // The first is taken on the places that count, and only while the second is below `target`.
  // REQUIRES for `refine`: no target.
  void process(cell& c, double target = std::numeric_limits<double>::infinity());

  // Raises the bound of the cell that was processed last by more planes, each taken where the ones
  // so far are lowest (Kelley 1960), until it is `target` or no planes can raise it so far.
  void refine(cell& c, double target);

  // f at the best place seen on the cell that was processed last: its centroid, unless `refine` has
  // found a better one. Infinite where the target was reached before it was looked at.
  const evaluation& best_seen() const { return seen_; }

  // f at a place of the cell, from what is decided on it.
  double value(const cell& c, const xy& at);

 private:
  static constexpr std::size_t kPoints = 4;  // the corners and the centroid
  static_assert(kPoints == std::tuple_size_v<planes>);

  // A distance that is not linear on the cell.
  struct bend {
    planes tangent;  // taken at the points, at the corners
    double centre;
  };
  static constexpr std::uint32_t kFlat = std::numeric_limits<std::uint32_t>::max();

  struct site_view {
    placed_site site;
    std::uint32_t bent;           // in bends_, or kFlat
    bool replaced;                // undecided, and `value` stands for the distance
    std::array<double, 3> value;  // at the corners
    double centre;                // the value at the centroid
    double lower, upper;          // on the cell
    std::uint32_t first_run, last_run;
  };
  struct ranked {
    double key;
    std::uint32_t view;
  };

  void look(const placed_site& s, site_view& v);
  std::uint32_t edge_at(const xy& at, std::uint32_t slot, const gauge_block& b, std::uint32_t one,
                        std::uint32_t other) const;
  void bend_linear_pieces(const placed_site& s, const gauge_block& b, bend& result) const;
  void find_bend(const placed_site& s, const gauge_block& b, bend& result) const;
  void find_limits(const std::vector<order_run>& runs);
  void find_runs(site_view& v) const;
  void find_sorted_runs();
  double sorted_interval_sum(const std::vector<order_run>& runs) const;
  void decide(cell& c);
  double least_by_tails(const std::vector<order_run>& runs) const;
  void keep(cell& c, const site_view& v, double lambda, double size);
  void keep_bent(cell& c, const site_view& v, double lambda, double size);
  void substitute(site_view& v, const std::vector<order_run>& runs, bool all_rise);
  bool keeps_ranks(const site_view& v, double low, std::size_t runs) const;
  double size_of_terms(const cell& c) const;
  void add_rest(const cell& c);
  void add_undecided(cell& c);
  void add_at(std::size_t point, const site_view& v, std::size_t run, double weight,
              corner_values& concave);
  void add_by_runs(const std::vector<order_run>& runs, corner_values& concave);
  void add_in_order(std::size_t point, const std::vector<order_run>& runs, corner_values& concave);

  // ----- refine_cell.cpp -----
  // What the undecided sites weigh in the concave part of f.
  using selection = std::vector<double>;
  struct weighed_site {
    const site_view* view;
    double weight;          // the order weight, less what is selected
    corner_values tangent;  // at the place of the plane
    bool bends;             // with a second derivative in `bending_`
  };
  struct range {
    double low = 0;
    double high = 0;
  };
  // factor * weight * v v^T, where v is the offset from the site turned by a quarter.
  struct second_derivative {
    std::uint32_t slot;
    double weight;
    range factor;  // on the cell
  };
  xy place_of(const corner_values& shares) const;
  corner_values tangent_at(const placed_site& s, const xy& at) const;
  corner_values interpolation(const site_view& v) const;
  bool weigh(const cell& c, const corner_values& shares, const selection& selected, bool mixed);
  bool mix_orders(const cell& c, const corner_values& shares);
  void join_twins();
  bool find_bending();
  std::optional<double> lift(const xy& along) const;
  xy least_bent_direction(const xy& at) const;
  corner_values plane_at(const cell& c, const corner_values& shares);
  double raise(const cell& c, planes rows, double target, const selection& selected);
  std::vector<std::uint32_t> farthest_sets(std::size_t count) const;
  std::vector<selection> selections(const cell& c) const;
  std::uint32_t stands_at(std::uint32_t slot) const {
    return stands_at_.empty() ? slot : stands_at_[slot];
  }

  const distance_table& table_;
  bool round_polygons_;         // all unit balls
  bool looks_closely_ = false;  // at distances on the cell at hand
  // Of each slot the first one at the same place with the same smooth gauge; empty if all are
  // apart.
  std::vector<std::uint32_t> stands_at_;
  std::vector<std::uint32_t> kept_at_;  // of each such slot its place in cell::decided
  std::vector<std::size_t> joined_at_;  // and in weighed_
  std::array<xy, kPoints> points_{};
  std::vector<bend> bends_;
  std::vector<site_view> undecided_;
  std::vector<site_view> decided_;               // beside cell::decided
  std::vector<double> keys_;                     // of `value`
  std::vector<double> lower_keys_, upper_keys_;  // of the undecided sites, beside each other
  std::array<std::vector<double>, kPoints> keys_at_;
  run_finder lower_runs_, upper_runs_;  // where the runs are few
  std::array<run_finder, kPoints> point_runs_;
  std::vector<ranked> lowers_, uppers_, order_;  // where they are many
  std::vector<double> reached_, left_behind_;    // by jump of the order weights
  std::vector<double> rising_, falling_;         // by run: of the convex and the concave part
  std::vector<placed_site> reordered_;
  struct taken_plane {
    double height;  // where it is taken
    corner_values plane;
    std::uint32_t view;
  };
  std::vector<taken_plane> taken_;  // of the undecided sites
  std::vector<double> risen_;       // what they weigh in the convex part of f
  std::vector<weighed_site> weighed_;
  std::vector<second_derivative> bending_;  // of those that have one on the cell
  planes rows_{};
  corner_values lowest_{};  // shares of the place that `raise` came to last
  evaluation seen_{};
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_TRIANGLE_CELL_H_
