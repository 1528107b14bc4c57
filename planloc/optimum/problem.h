// A location problem with one new facility: sites in the plane, each with its weight and its
// distance, and the weights that the sorted distances get.
//
//   using namespace planloc;
//   const problem p({{.x = 0, .y = 0}, {.x = 4, .y = 0, .weight = 2}, {.x = 1, .y = 3}},
//                   {gauge::euclidean()}, order_weights::median());
//
// The distance of site i at x is d_i(x) = weight_i * gauge_i(x - position_i). With the distances
// sorted, d_(1) <= ... <= d_(n), the objective is the ordered median
//   f(x) = lambda_1 d_(1)(x) + ... + lambda_n d_(n)(x).
// Every double in a problem means its exact value.
//
// Nothing here ends the process. Bad input throws `bad_problem`, whose text names what is wrong:
// "weight of site 7 is -2: must be positive". Sites, gauges and vertices are counted from 0. A
// problem, a gauge and order weights are constant values; any number of threads may read the same
// one.
#ifndef PLANLOC_OPTIMUM_PROBLEM_H_
#define PLANLOC_OPTIMUM_PROBLEM_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "planloc/foundation/geometry/xy.h"
#include "planloc/optimum/region.h"

namespace planloc {

// Numbers other than 0 in a problem, in magnitude (coordinates may be smaller than the least), so
// that no product of them leaves the range of doubles.
inline constexpr double kLeastNumber = 1e-36;
inline constexpr double kMostNumber = 1e36;

using xy = detail::xy;

class bad_problem : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

// A distance from the origin: gauge(u) = the least r >= 0 for which u lies in r times the unit
// ball.
class gauge {
 public:
  enum class shape : std::uint8_t { polyhedral, euclidean, lp };

  // The unit ball is the convex polygon with these vertices, in either sense of rotation. The
  // origin lies strictly inside; symmetry is not needed. Vertices inside an edge are left out.
  // Decided exactly. Throws if the polygon is not convex, the origin not inside or within 1e-36 of
  // an edge, a coordinate above 1e36 in magnitude.
  static gauge polyhedral(std::span<const xy> vertices);
  static gauge polyhedral(std::initializer_list<xy> vertices);
  static gauge l1();    // polyhedral, with the vertices (1,0) (0,1) (-1,0) (0,-1)
  static gauge linf();  // polyhedral, with the vertices (1,-1) (1,1) (-1,1) (-1,-1)
  static gauge euclidean();
  // p >= 1, infinity included. 1, 2 and infinity give l1, euclidean and linf.
  static gauge lp(double p);

  shape kind() const { return kind_; }
  double p() const { return p_; }  // of lp
  // Counterclockwise; empty unless polyhedral. Edge j runs from vertex j to vertex j + 1, the last
  // one back to vertex 0.
  std::span<const xy> vertices() const;

  // gauge(u) in doubles, to a few units in the last place.
  double operator()(xy u) const;

 private:
  explicit gauge(shape kind, double p) : kind_(kind), p_(p) {}

  shape kind_;
  double p_;
  std::shared_ptr<const std::vector<xy>> vertices_;
};

struct site {
  double x = 0;
  double y = 0;
  double weight = 1;        // positive
  std::uint32_t gauge = 0;  // which of the problem's gauges
};

// `count` neighbouring order weights of the same value.
struct order_run {
  double weight;
  std::size_t count;

  friend bool operator==(const order_run&, const order_run&) = default;
};

// lambda_1 ... lambda_n, the first for the smallest distance. The named ones adapt to any n.
class order_weights {
 public:
  // Each 0 or from 1e-36 to 1e36 in magnitude.
  explicit order_weights(std::vector<double> lambda);

  static order_weights median();                  // 1 ... 1
  static order_weights centre();                  // 0 ... 0 1
  static order_weights k_centrum(std::size_t k);  // 0 ... 0 and k times 1
  static order_weights cent_dian(
      double alpha);  // (1 - alpha) / n everywhere, alpha more on the last
  static order_weights anti_centrum(std::size_t k);     // k times 1 and 0 ... 0
  static order_weights range();                         // -1 0 ... 0 1; for one site 0
  static order_weights order_statistic(std::size_t k);  // 1 for the k-th smallest, k from 1
  static order_weights quantile(double q);              // the smallest k with k >= q n, at least 1
  // 0 for the `low` smallest and the `high` largest, 1 between them.
  static order_weights trimmed_mean(std::size_t low, std::size_t high);

  // For n sites, with neighbouring runs of different weight. Throws if the weights do not fit n.
  std::vector<order_run> runs(std::size_t n) const;

 private:
  using shape = std::function<std::vector<order_run>(std::size_t n)>;

  explicit order_weights(shape runs) : runs_(std::move(runs)) {}

  shape runs_;
};

class problem {
 public:
  // Throws if there is no site, a coordinate is above 1e36 in magnitude, a weight is not from 1e-36
  // to 1e36, the sites are neither at one place nor 1e-36 apart, a site's gauge is not among
  // `gauges`, or the order weights do not fit the number of sites. Throws if a polygon of the
  // regions has no rings, or if a ring crosses itself, or runs along itself, or has fewer than
  // three corners, or a corner above 1e36 in magnitude: "ring 2 of forbidden polygon 3 crosses
  // itself at (4, 1)".
  problem(std::vector<site> sites, std::vector<gauge> gauges, const order_weights& lambda,
          regions where = {});

  std::span<const site> sites() const { return sites_; }
  std::span<const gauge> gauges() const { return gauges_; }
  const gauge& gauge_of(std::size_t i) const { return gauges_[sites_[i].gauge]; }
  std::span<const order_run> runs() const { return runs_; }
  double lambda(std::size_t k) const;  // k from 0
  // The places to choose from; the searches honour them, `value` is that of any place.
  const regions& where() const { return where_; }
  // The same problem over the whole plane.
  problem without_regions() const;

  // Whether f is convex: the order weights rise and none is negative.
  bool convex() const { return convex_; }
  // Whether every gauge that a site uses is polyhedral.
  bool polyhedral() const { return polyhedral_; }

  // d_i(at) and f(at) in doubles, to a few units in the last place of the largest term.
  double distance(std::size_t i, xy at) const;
  double value(xy at) const;

 private:
  std::vector<site> sites_;
  std::vector<gauge> gauges_;
  std::vector<order_run> runs_;
  regions where_;
  bool convex_ = false;
  bool polyhedral_ = false;
};

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_PROBLEM_H_
