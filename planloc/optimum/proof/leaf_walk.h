// The check of a certificate's triangles: of each its reason is made good again, in intervals or in
// fractions, by nothing but the problem. Internal to verify_leaves.cpp.
#ifndef PLANLOC_OPTIMUM_PROOF_LEAF_WALK_H_
#define PLANLOC_OPTIMUM_PROOF_LEAF_WALK_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "planloc/optimum/proof/verify_leaves.h"
#include "planloc/optimum/proof/walked_regions.h"

namespace planloc::detail {

using reason = branch_certificate::reason;
using corners = std::array<xy, 3>;

struct straight_line {
  mpq_class a, b, c;  // a x + b y == c, the first coefficient that is not 0 is 1

  friend bool operator<(const straight_line& l, const straight_line& m) {
    return std::tie(l.a, l.b, l.c) < std::tie(m.a, m.b, m.c);
  }
};

// A site with a distance that is not linear on a triangle, as seen from the corners, which the
// triangle shares with others.
struct seen_site {
  struct view {
    interval value;
    interval_pair slope;  // of a tangent
  };
  std::uint32_t site;
  interval lambda;  // if decided; with those of the sites at the same place that it stands for
  std::array<view, 3> corner;
};

// What holds on a triangle, inherited by its halves.
struct triangle_state {
  corners at;
  std::vector<seen_site> decided, undecided;
  std::vector<order_run> runs;
  interval sum_at_base;  // of the sites that are linear here and decided
  interval_pair slope;
};

// Below weight times a distance that lies between a tangent and an interpolation.
inline interval least_product(const interval& weight, const interval& tangent,
                              const interval& value) {
  if (weight.low >= 0) return weight * tangent;
  if (weight.high <= 0) return weight * value;
  return weight * interval(tangent.low, value.high);
}

inline double least_of(const std::array<interval, 3>& a) {
  return std::min({a[0].low, a[1].low, a[2].low});
}

// Walks the triangles of a certificate and sees to it that f is nowhere less than `least`.
class leaf_walk {
 public:
  // Places count where `where` permits them; all if there is none.
  leaf_walk(const verified_sites& sites, const std::vector<reason>& reasons, mpq_class least,
            walked_regions* where = nullptr)
      : sites_(sites),
        reasons_(reasons),
        least_(std::move(least)),
        least_in_doubles_(rounded_up(least_)),
        where_(where),
        has_twin_(sites_with_twins(sites.owner())) {}

  void walk(const corners& root);
  void end() const {
    if (next_ != reasons_.size()) refuse("there are more reasons than triangles");
  }

 private:
  static constexpr std::size_t kPoints = 4;
  static constexpr int kMostHalvings = 20;
  // Sites that are not linear or not decided, for crossings in place of a bound.
  static constexpr std::size_t kMostOpen = 32;
  // Where the places of the tangents move to from the corners, and by what part of the way.
  enum class aim : std::uint8_t { nothing, middle, next_corner, last_corner };
  static constexpr double kOff = 0x1p-7;

  struct site_on_triangle {
    seen_site seen;
    std::size_t edge;                                      // at the centroid, if polyhedral
    std::array<interval, 3> value;                         // at the corners
    std::array<std::array<interval, 3>, kPoints> tangent;  // by place where it is taken
    std::array<double, kPoints> height;                    // at those places
    double lower, upper;
    std::uint32_t first_run = 0, last_run = 0;
  };
  struct linear_site {
    std::uint32_t site;
    double lambda;
    std::size_t edge;
  };
  friend class place_check;
  using rows = std::array<std::array<interval, 3>, kPoints>;

  seen_site::view view_from(std::uint32_t site, const xy& at) const;
  std::pair<triangle_state, triangle_state> halves_of(triangle_state t) const;
  void visit(triangle_state t);
  void prove_by_bound(triangle_state t, int halvings);
  void look(triangle_state& t, aim a = aim::nothing);
  bool has_one_slope(std::uint32_t site, const interval_pair& offset) const;
  site_on_triangle look_at(const triangle_state& t, const seen_site& seen, aim a) const;
  struct sorted_limits {
    std::vector<double> lower, upper;
  };
  sorted_limits limits_of_undecided() const;
  void decide(triangle_state& t);
  static void substitute(const triangle_state& t, const sorted_limits& all, site_on_triangle& v);
  void keep(triangle_state& t, const site_on_triangle& v, const interval& lambda);
  static std::vector<bool> sites_with_twins(const problem& p);
  interval share_of_twin(std::uint32_t twin, std::uint32_t of, const interval& weight) const;
  bool are_twins(std::uint32_t a, std::uint32_t b) const;
  bool keep_with_twin(triangle_state& t, std::uint32_t site, const interval& lambda) const;
  bool reaches(double bound) const {
    return bound >= least_in_doubles_ || mpq_class(bound) >= least_;
  }
  // How far the corners of a triangle are on the side of a line where places count.
  using side_values = std::array<mpq_class, 3>;
  // ----- leaf_bounds.cpp -----
  bool bound_proves(const triangle_state& t, rows& planes, const side_values* part = nullptr) const;
  // A lower bound of the least value of the largest of the planes: that of one of their mixtures.
  static double least_of_planes(const rows& r) { return best_mixture(r).least; }
  struct mixture {
    double least;
    std::uint32_t planes;  // that it needs, as bits
  };
  static mixture best_mixture(const rows& r);
  static double least_on_part(const rows& r, const side_values& side);
  rows rest(const triangle_state& t) const;
  interval sorted_bounds(const triangle_state& t) const;
  interval nearest_bound(const triangle_state& t) const;
  void add_steps(const triangle_state& t, rows& r) const;

  // ----- leaf_cuts.cpp -----
  struct drop {  // of the order weights
    std::size_t first_rank;
    interval size;
  };
  using choice =
      std::vector<std::uint32_t>;  // by drop the farthest of the undecided sites, as bits
  bool list_choices(const triangle_state& t, std::vector<drop>& drops,
                    std::vector<choice>& choices) const;
  bool may_be_farthest(std::uint32_t set) const;
  // Where a plane is taken: as shares of the corners, and as doubles, which may be as far off the
  // triangle as roundings bring them.
  struct cut_place {
    std::array<double, 3> shares;
    xy at;
    double off;

    bool on_side() const { return shares[0] == 0 || shares[1] == 0 || shares[2] == 0; }
  };
  static cut_place place_of(const corners& t, std::array<double, 3> shares);
  struct weighed_site {
    const site_on_triangle* of;
    interval weight;
    interval_pair slope;  // at the place
  };
  enum class orders : std::uint8_t { in_force, mixed, mixed_on_side };
  std::vector<weighed_site> weighed_at(const triangle_state& t, const cut_place& place,
                                       const std::vector<drop>& drops, const choice& c,
                                       orders o) const;
  static std::vector<interval> rising_weights(const triangle_state& t);
  void mix_orders(const triangle_state& t, const cut_place& place, bool on_side,
                  std::vector<weighed_site>& all) const;
  void join_twins(std::vector<weighed_site>& all) const;
  struct bent_site {  // its second derivative on the triangle: factor * v v^T, v = (-u.y, u.x)
    interval factor;
    interval_pair offset;               // u on the triangle
    std::array<interval_pair, 4> from;  // u at the corners and at the place
  };
  std::optional<bent_site> bent_on(const triangle_state& t, const cut_place& place,
                                   const weighed_site& s) const;
  std::array<interval, 3> taken_together(const triangle_state& t, const cut_place& place,
                                         const std::vector<weighed_site>& all) const;
  std::array<interval, 3> plane_at(const triangle_state& t, const cut_place& place,
                                   const std::vector<weighed_site>& all) const;
  bool cuts_prove(const triangle_state& t, const rows& first) const;

  void check_exactly(const triangle_state& t);
  bool surely_less(const triangle_state& t) const;
  bool exceeds_at_crossings(const triangle_state& t, bool strictly);
  void spend(std::size_t steps);
  [[noreturn]] void refuse_many_lines() const;
  void add_sides(const corners& t, std::set<straight_line>& lines) const;
  struct edge_plane {  // a site's distance where one edge is in force
    std::uint32_t site;
    std::size_t edge;
    std::array<interval, 3> value;  // at the corners
  };
  std::vector<std::size_t> rays_on(const triangle_state& t, std::uint32_t site) const;
  std::vector<edge_plane> planes_on(const triangle_state& t, std::uint32_t site,
                                    const std::vector<std::size_t>& rays) const;
  straight_line line_of_ray(std::uint32_t site, std::size_t ray) const;
  std::optional<straight_line> line_between(const edge_plane& p, const edge_plane& q) const;
  std::set<straight_line> lines_on(const triangle_state& t);

  const verified_sites& sites_;
  const std::vector<reason>& reasons_;
  mpq_class least_;
  double least_in_doubles_;  // no less than it
  walked_regions* where_;
  std::vector<bool> has_twin_;  // by site: another one with its smooth gauge stands at its place
  std::size_t spent_ = 0;       // on triangles that are proved at their crossings
  std::size_t halved_ = 0;      // triangles whose bound did not do
  std::size_t next_ = 0;
  std::size_t name_ = 0;             // of the triangle at hand
  std::vector<linear_site> linear_;  // along the walk from the root
  // Of the triangle at hand.
  std::array<xy, kPoints> points_{};
  std::vector<site_on_triangle> undecided_, decided_;
};

inline interval_pair exactly(const xy& at) { return {interval(at.x), interval(at.y)}; }
inline fraction_pair in_fractions(const xy& at) { return {mpq_class(at.x), mpq_class(at.y)}; }

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_LEAF_WALK_H_
