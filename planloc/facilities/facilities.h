// The existing facilities of a location problem, the result of the last problem solved with them,
// and their names: the class whose members are the location algorithms. A gauge file is read by
// model/gauge_reader.h.
//
//   facilities F;
//   std::ifstream in("plan.loc");
//   F.read_locations(in);
//   for (const location& a : F) ...
//
// The object is the list of its facilities, in input order, with every operation of the list.
// Reports go through MaviError with exit status 1 (see model/reporter.h); the comments give code
// and text. Where the first facility is spoken of, an empty list ends with the list's own report
// ("dlist::head(): empty list") unless stated.
//
// In what follows p is the parameter of a norm, an integer from 1 upward or -1 for the maximum
// norm, and k, c are the numbers of a weight and of a coordinate, from 0.
#ifndef PLANLOC_FACILITIES_FACILITIES_H_
#define PLANLOC_FACILITIES_FACILITIES_H_

#include <istream>
#include <memory>
#include <ostream>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/polygon.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/graph/graph.h"
#include "planloc/foundation/numeric/matrix.h"
#include "planloc/foundation/numeric/vector.h"
#include "planloc/model/loc_vector.h"
#include "planloc/model/location.h"
#include "planloc/model/polygauge.h"

namespace planloc {

// The value of a solution with several new facilities.
struct N_sum {
  double value;  // existing cost + new cost
  double ratio;  // new cost / existing cost
};

class facilities : public virtual list<planloc::location> {
 public:
  // The result of the last problem solved: locations of dimension 2 whose one weight is a label.
  // What it labels is up to the solver: the number of the weight, of the new facility, or of the
  // piece of an efficient set, where neighbours with equal labels form a polygon or a segment.
  list<planloc::location> opt;
  // Kept in step with the facilities only on demand: see `refname`.
  list<string> names;

  facilities() = default;
  facilities(const facilities& other) = default;
  facilities& operator=(const facilities& other) = default;
  ~facilities() = default;

  // ----- Access -----
  //
  // By number: in time linear in the number, as the list is walked; by item: at once. To go through
  // all of them, use a range-for over the object and over `names`.

  // A copy of facility i, from 0; location(2, 1) with all values 0.0 if there is none.
  planloc::location location(int i) const;

  // Whether some facility has exactly the coordinates of l; weights play no part.
  bool contains(const planloc::location& l) const;
  // 0 if the first facility equals l, else size(): no other is looked at. Use `contains` to search.
  int index_of(const planloc::location& l) const;

  // Removes one facility if l equals the first or the last one. Otherwise removes every facility
  // that equals l and empties `opt` and `names`.
  void remove(const planloc::location& l);
  // Removes facility idx; if it is neither the first nor the last one, empties `opt` and `names`.
  // 1305 "facilities::remove(): There is no corresponding location for idx"
  void remove(int idx);

  // ----- Names -----

  // The name of a facility. Names that `names` does not reach yet are made up to this one, empty.
  // 1334 "facilities::refname(): location isn't an item of this object"
  string& refname(list_item item);
  // i == size() is allowed and names a facility that does not exist.
  // 1335 "facilities::refname(): location out of range"
  string& refname(int i);
  void set_name(list_item item, const string& name) { refname(item) = name; }
  void set_name(int i, const string& name) { refname(i) = name; }
  string name(list_item item) { return refname(item); }
  string name(int i) { return refname(i); }

  // ----- Shape -----

  // Dimension and number of weights of the first facility; those of the others are not looked at.
  int dimension() const { return head().dim(); }
  int weight_count() const { return head().nweights(); }

  // The sum of the weight vectors; those of another size than the first are left out.
  Loc_Vector total_weights() const;
  double max_coordinate(int c) const;
  double min_coordinate(int c) const;
  double extent(int c) const { return max_coordinate(c) - min_coordinate(c); }

  // Neighbours with exactly the same coordinate c become one, the first of them, with the sum of
  // their weights k; their other coordinates and weights are lost. Sort by coordinate c before.
  // Empty for an empty list.
  facilities merged(int c, int k) const;

  // Every facility on a line.
  void print() const;
  void print(std::ostream& out) const;

  // ----- The turned frame -----

  // Turns every facility (not `opt`) by 45 degrees (`location::to_turned_frame`). The rectilinear
  // distance of two points after `to_turned_frame` is the maximum distance that they had before;
  // their maximum distance after `from_turned_frame` is the rectilinear one that they had.
  void to_turned_frame();
  void from_turned_frame();

  // ----- Results -----

  // The weighted sum of the p-norm distances to x: weight k of each facility times its distance,
  // which is 0.0 for a facility of another dimension than x. 0.0 for a bad p.
  double objective(int p, const planloc::location& x, int k) const;
  // `objective` of the first result. 1303 "Solve a problem first."
  double result_value(int p, int k) const;
  // `objective` of the first result with the label k. 1301 "Solve a problem first.", 1302
  // "Indetermined weight criterion. Check number of weights."
  double labelled_value(int p, int k) const;

  // The results as points and polygons (`location::WriteAsPolygonList`).
  // 1304 "Solve a problem first."
  void write_results() const;
  void write_results(std::ostream& out) const;

  // ----- Files -----

  // Both replace facilities and names by those of the file; `opt` stays. location_files.h
  // has the form of the files.
  // 1503 "Can't open file!" for a failed stream, 1504 with the text of a failure in the file.
  void read_locations(std::istream& in);
  // gauge_of: the gauge numbers in the order of the records. A record may have a name in place of a
  // number, so that there can be fewer numbers than facilities.
  void read_gauge_locations(std::istream& in, list<int>& gauge_of);

  // ----- Sums, one new facility -----
  //
  // The place with the least weighted sum of distances. They work in the plane (coordinates 0 and
  // 1) with weight k of every facility and append one result, of dimension 2, whose label is k.
  // `clear` empties `opt` before. They return `result_value` unless stated, which is the value of
  // the first element of `opt`: an older result, if `clear` is false and there is one.
  //
  // REQUIRES: dimension 2, or `objective` counts nothing. Weights of at least 0.0. The steps are
  // fixed, also where they are weak; each comment says where that is. docs/solvers.md has an
  // example of every solver.

  // Squared Euclidean distances: the centre of gravity, n operations. Returns the sum of squares
  // with weight 0, whatever k is. Total weight 0.0: (nan, nan).
  double l2squared_sum(int k, bool clear);

  // Rectilinear distances: the weighted median of each coordinate (Francis, 1963;
  // weighted_median.h), n log n.
  // Appends every corner of the optimal set: one point, the two ends of a segment, or the four
  // corners of a rectangle in walking order from the lower left one, counterclockwise.
  // The other end of a tie is the next coordinate whose facility has a weight 0 that is not 0.0,
  // also for k != 0 (where several stand there, the one that the sort puts first decides): there it
  // can be beyond the optimal set, and if there is none the call ends with the list's report
  // "dlist::get_item: index out of range".
  // Total weight 0.0: the message "facilities::l1_sum(): All weights are equal zero:The whole plane
  // is optimal", and the process ends with status 0.
  double l1_sum(int k, bool clear);

  // Maximum-norm distances: l1_sum in the turned frame (turned_frame.h). Without `clear` the older
  // results in `opt` are turned as well, by 45 degrees and stretched.
  double linf_sum(int k, bool clear);

  // Euclidean distances: Weiszfeld's iteration (1937) from the centre of gravity until a step is
  // shorter than eps, n operations a step. A facility that comes nearer than 0.1 to an iterate is
  // tested once by l2_optimal, and if that says 1 it is the result, with its other weights, and
  // weight 0 replaced by the label.
  // Collinear facilities can have a segment of optima, of which one point comes back. Without any
  // weight, or any facility, the result is (nan, nan).
  // An eps below what rounding leaves of the coordinates ends when the iterates repeat themselves.
  // 1. An iterate exactly on a facility that is not the result divides by zero: the result is then
  //    (nan, nan). It happens when the centre of gravity is such a facility: (0,0) with weight 1,
  //    (3,0) with 1 and (-1,0) with 3.
  // 2. For k != 0 the test reads weight 0 of the other facilities, and can stop at a wrong one.
  // 3. 0.1 is a length: scale the coordinates so that it is a short one. Where n facilities lie
  //    within it, the tests cost n * n.
  double l2_sum(int k, double eps, bool clear);
  double l2_sum(double eps);  // k = 0, clear

  // 1 if the sum has its minimum at the facility a, else 0: whether weight k of a is at least the
  // pull of the others (Kuhn, 1973), which is made with weight 0. Facilities within 0.001 of a do
  // not count, for or against, so that of two facilities at one place each stands for itself only.
  int l2_optimal(const planloc::location& a, int k) const;
  int l2_optimal(const planloc::location& a) const;  // k = 0

  // lp distances for an integer p >= 2: the first facility for which lp_optimal says 1, else an
  // iteration of lp_step (Eyster, White and Wierwille, 1973) from the centre of gravity until a
  // step's p-norm is below tol, or maxit steps. The tests cost n * n power functions, mostly far
  // fewer: those of planar facilities that surely fail are left out. Customary: tol 0.0001, delta
  // 0.01, maxit 500. At maxit steps the better of the last two points is the result, and its value
  // is returned. A result that is a facility keeps its other weights, as in l2_sum.
  // 1. The result is that of the smoothed distances: delta moves it away from a facility that
  //    lp_optimal misses.
  // 2. p = 1 is not refused, and takes the first facility of weight 1.0 or more: use l1_sum.
  // REQUIRES: p >= 2, maxit >= 1. p = -1 gives a point that means nothing; p = 0 and below -1 end
  // with 1201, as location::norm, if there are two facilities.
  double lp_sum(int p, double tol, double delta, int maxit, int k, bool clear);

  // 1 if the sum has its minimum at the facility of `item`, else 0: whether its weight is at least
  // the dual norm of the pull of the others (Juel and Love, 1981). Two facilities at one place are
  // never optimal: the pull between them is not a number.
  int lp_optimal(list_item item, int p, int k) const;

  // The next iterate behind x, with distances smoothed by delta (|t| becomes sqrt(t * t + delta)).
  // Dimension 2, one weight of 0.0.
  planloc::location lp_step(planloc::location x, int p, double delta, int k) const;

  // ----- Rectilinear maxima -----
  //
  // The places with the least largest weighted distance. All read weight 0. The optimal set is a
  // box, turned by 45 degrees for l1, of which one side is degenerate: `opt` gets its two ends, or
  // its one point.

  // Maximum-norm distances, any weights; returns the least value D, the largest over all pairs of
  // w1 * w2 / (w1 + w2) times their distance (Elzinga and Hearn, 1972, with weights). n * n
  // operations. Labels 1.0.
  // D is 0.0 if at most one place has weight: then its first facility with weight is the result, as
  // it stands. If no facility has weight: the message "facilities::linf_max: No weight is unequal
  // to zero and the whole plane is optimal", and the results are not numbers (without facilities
  // the call ends with the list's report). Two ends nearer than 1e-14 in a coordinate get that of
  // the upper one. Where rounding leaves more between them, the two results are the corners of a
  // thin box, and can lie in either order.
  double linf_max(bool clear);
  // Rectilinear distances: linf_max in the turned frame. Without `clear` the older results are
  // turned too, by 45 degrees and shrunk.
  double l1_max(bool clear);

  // The same where all weights are equal, from the bounding box in n operations. Labels 0.0; `opt`
  // is emptied whatever `clear` is. Returns the least largest distance itself, not multiplied by
  // the weight.
  // Where both sides of the optimal box are open by rounding there is no result: facilities
  // (0.1, 0.1) and (0.5, 0.5). linf_max with the same facilities has one.
  // 1307 "All weights must be equal!"
  double linf_max_equal(bool clear);
  double l1_max_equal(bool clear);

  // Corners of the set of places within the value D: in each coordinate the largest value less
  // D / weight, and the smallest plus D / weight. Dimension 2, one weight of 1.0. The lower is
  // above the upper one if there is no such place.
  planloc::location linf_lower_corner(double D) const;
  planloc::location linf_upper_corner(double D) const;

  // Does nothing and returns 0.0.
  double reserved_max(int unused);

  // ----- Weighted Euclidean maximum -----

  // The point whose largest weighted distance is smallest, for the Euclidean distance and weight 0.
  // Appends it to `opt` with the label 0.0, after emptying `opt` if `clear`, and returns its
  // largest weighted distance, up to 0.001. The origin and 0.0 without facilities. A weighted
  // Elzinga-Hearn scheme (1972) on active sets of two to four facilities, n operations a pass; its
  // pieces are in weighted_circles.h. For the rectilinear and the maximum norm use `l1_max` and
  // `linf_max`, which always end.
  // 1. When it returns, every facility is within the value + 0.001 of the result, weighted. On
  //    every random instance tried, with coordinates near the origin, the value was the optimum or
  //    up to 0.001 below it. The tolerance is absolute: enlarge a problem of small values.
  // 2. The walk has no bound: it can keep a candidate of an earlier active set, go round the same
  //    sets and never return: (0,1), (2,0), (1,1), (1,3) with the weights 3, 1, 3, 1. Far
  //    coordinates make it likely: move the origin there first (docs/solvers.md).
  // 3. Nothing is reported. Facilities of weight 0.0 are left out, but if both the first and the
  //    last one are such (a single one, too) the result is not a number.
  double l2_max(bool clear);

  // ----- Polyhedral gauges -----
  //
  // Every facility a has its own gauge: number gauge_of[i] of `gauges`, from 0, for facility i
  // (gauged_sites.h keeps the three together). The distance from a to a place is
  // `polygauge::distance`, and q is the number of a weight. "dlist::get_item: index out of range"
  // for a facility without a gauge number, or with one that no gauge has. Dimension 2, else 1203.

  // f(x) = sum over a of weight q of a times the distance from a to x, from 0.0 on in the order of
  // the facilities.
  double gauge_value(const list<polygauge>& gauges, const list<int>& gauge_of, const point& x,
                     int q) const;
  // The gradient of f in the cones that hold x (`polygauge::cone_of`); turned by 90 degrees.
  // On a facility both end with 1706 "polygauge: Conenumber is not correct".
  vector gauge_gradient(const list<polygauge>& gauges, const list<int>& gauge_of, const point& x,
                        int q) const;
  vector gauge_normal(const list<polygauge>& gauges, const list<int>& gauge_of, const point& x,
                      int q) const;

  // For each facility a and each vertex v of its gauge, in order, the segment from a to a + t * v.
  // mode 0: t = bound / weight 0 of a. Any other mode: t = ceil((r * R + P) / |v|), where r is the
  // largest over all weights q of f(x0) / their sum, R the largest radius of a gauge and P the
  // length of the closed tour through the facilities in order; bound plays no part.
  list<segment> fundamental_segments(const list<polygauge>& gauges, const list<int>& gauge_of,
                                     const point& x0, double bound, int mode) const;

  // Of the candidates that do not lie on the ascending side of x0 (`descent_side` with the gradient
  // at x0), those with the least value f, in order; none if it is above `best`. Compares exactly.
  list<point> best_points(const list<polygauge>& gauges, const list<int>& gauge_of,
                          const list<point>& candidates, const point& x0, double best, int q) const;

  // The places with the least sum f, for weight 0, and their value: gauge_sum.h has the contract.
  // Replaces `opt`, whatever `clear` is, by the corners of the best set, labels 1.0.
  double gauge_sum(const list<polygauge>& gauges, const list<int>& gauge_of, bool clear);

  // ----- Efficient sets -----
  //
  // A place is efficient for several objectives if no other is at least as good in all of them and
  // better in one. `opt` is emptied whatever `clear` is.

  // The efficient places of the sums f0 and f1 of gauge distances with weights 0 and 1, as a chain
  // of segments and cells: efficient_set.h has the contract. Returns the label of the last result.
  double gauge_bicriteria(const list<polygauge>& gauges, const list<int>& gauge_of, bool clear);
  // The same with rectilinear and with maximum-norm distances.
  double l1_bicriteria(bool clear);
  double linf_bicriteria(bool clear);

  // The nodes of the map (efficient_set.h) with the least sum for weight q1, and of those with the
  // least one for weight q2, in node order; none if all are worse than x0. Nodes on the ascending
  // side of x0 (`descent_side`, weight q1) are left out.
  list<point> lexicographic_points(const list<polygauge>& gauges, const list<int>& gauge_of,
                                   const point& x0, int q1, int q2,
                                   const GRAPH<point, segment>& map) const;

  // The chain of `gauge_bicriteria` from the first point of `start` until it reaches a point of
  // `goal`. REQUIRES: a map by `prepare_map`, and `start` at a node. It does not end if no step of
  // it leads to a goal, or if no edge leads back to where it came from.
  // "facilities::efficient_walk(): no edge leaves a corner of the map", by `error_handler`
  list<planloc::location> efficient_walk(const list<polygauge>& gauges, const list<int>& gauge_of,
                                         const list<point>& start, const list<point>& goal,
                                         const GRAPH<point, segment>& map) const;

  // The efficient places of the sums of squared Euclidean distances with each of the weights: the
  // convex hull of the centres of gravity, whose corners `opt` gets counterclockwise with the label
  // 1.0. Returns 0.0. A weight of total 0.0 has no centre and no part in the hull.
  double l2squared_multicriteria(bool clear);

  // ----- Polyhedral gauges, largest weighted distance -----
  //
  // gauge_max.h has the contract: the method, where it is weak, and what is reported. All read
  // weight 0, which has to be above 0.0; facility i has the gauge number gauge_of[i] of `gauges`,
  // from 0.

  // The least largest weighted distance, as far as the steps find it, and in `opt`, label 1.0, the
  // corners of the set of places that reach it, counterclockwise. `opt` is replaced; if the search
  // ends with a value that no place reaches, it stays. `keep` is not looked at.
  double gauge_max(const list<polygauge>& gauges, const list<int>& gauge_of, bool keep);

  // The level set at z, in `out`; returns out. For one facility it is its polygon, for none the
  // call ends with the list's report.
  polygon& gauge_level_set(polygon& out, const double& z, const list<int>& gauge_of,
                           const list<polygauge>& gauges) const;
  // 1 if the level set at z - kLevelOffset has a point, that is, if z is above the optimum by about
  // that; else 0. `upper` is not looked at.
  int level_reached(const double& z, const list<int>& gauge_of,
                    const list<polygauge>& gauges) const;
  int level_reached(const double& z, const list<int>& gauge_of, const list<polygauge>& gauges,
                    double* upper) const;
  // The level set at z + kLevelOffset: `empty` becomes 1 if it has no point, with `out` and `opt`
  // as they were, else 0 with its corners in `out`, and in `opt` by keep_distinct. Returns z.
  double level_result(double& z, const list<int>& gauge_of, const list<polygauge>& gauges,
                      int& empty, list<point>& out);

  // Replaces C, a list of candidates, by those below its middle and the middle at the end, if
  // level_reached(middle), else by the middle and those above it. C comes out sorted. Returns the
  // middle: of an even number of candidates the mean of two. `lower` and `upper` are not looked at.
  // REQUIRES: C is not empty.
  double bulk_step(list<double>& C, const list<int>& gauge_of, const list<polygauge>& gauges,
                   double lower, double upper) const;
  // Replaces `opt` by the points of L, label 1.0, without those that are within kResultTolerance
  // of an earlier one in both coordinates.
  void keep_distinct(const list<point>& L);

  // ----- Sums, several new facilities -----
  //
  // N new facilities x_0 ... x_{N-1} at once. Weight j of a facility ties it to x_j, and V[j][k]
  // ties x_j to x_k; of V only the part above the diagonal counts, unless stated. The objective is
  //
  //   existing cost   sum over j and facilities a of  weight j of a * |a - x_j|
  //   + new cost      sum over j < k of               V[j][k] * |x_j - x_k|
  //
  // Results have the label j. A V that is too small for N ends with the reports of `matrix`, unless
  // others are stated.
  // p: 1, 2, ... or -1 as everywhere.

  // The parts of the objective, with element number j of `opt` as x_j whatever its label is. All
  // elements count: with two results for one x_j, or older ones, the numbers shift, and the weights
  // or V can be too few ("Index out of range." 1210, "matrix: col index out of range").
  // "dlist::get_item: index out of range" if there is no element j.
  double N_existing_cost(int j, int p) const;
  double N_existing_cost(int p) const;  // for all elements
  double N_new_cost(const matrix& V, int p) const;

  // N independent problems that leave V out: `l1_sum`, `linf_sum` (p = -1), `l2_sum` to 0.0001, or
  // `lp_sum` with its customary values, for each weight in turn; their comments say what they
  // append and where they are weak. All results stay in `opt`, several for one x_j if it ties. The
  // record counts the first one of each x_j. It is the optimum if V is zero, and otherwise tells by
  // its ratio how much was left out: not a number if the existing cost is 0.0 as well.
  // 1. Without `clear` older results come first, and are counted in the record like new ones. For
  //    p = -1 older results go.
  // 2. The message "facilities::N_lp_sum_v1(): Matrix of interdependencies is non-quadratic: We are
  //    taking the upperleft submatrix of dimension q in account", q the number of weights.
  // 3. 1306 "Cannot compute more optima than there is provided data." if N is above the number of
  //    weights or the rows of V, or the rows of V (at most its columns) above the number of
  //    weights.
  // 4. N = 0 ends with "dlist::head(): empty list" if there are no older results.
  std::unique_ptr<N_sum> N_lp_sum_v1(int N, int p, const matrix& V, bool clear);

  // `N_lp_sum_v1`, and if its ratio of new to existing cost is below eps, that is the result, with
  // all elements of `opt` in both costs. Otherwise x_0, x_1, ... are solved for one by one with the
  // others as facilities, and the call then ends with the list's report "dlist::get_item: index out
  // of range": after the first round, or the second one if some x_j tied. So give an eps above the
  // ratio of `N_lp_sum_v1`; two facilities (0,0) and (1,0) with the weights (2,1) and (1,2),
  // V[0][1] = 1 and eps up to 0.5 end so, and a single facility with any eps: a ratio that is not a
  // number is not below it. Null would come after twenty rounds. A column of V is read whole, below
  // the diagonal too. p = 0, squared Euclidean distances, is known to the rounds but not to
  // `N_lp_sum_v1`: 1201.
  std::unique_ptr<N_sum> N_lp_sum(int N, int p, const matrix& V, double eps, bool clear);

  // `N_lp_sum_v1` for the maximum norm, and its value. `opt` is emptied whatever `clear` is.
  double N_linf_sum_v1(int N, const matrix& V, bool clear);

  // Squared Euclidean distances, V included: the optimum, by one system of N equations for each
  // coordinate (the objective's gradient is linear), N^3 + n N operations. Returns the value of the
  // first N elements of `opt`, older ones if `clear` is false.
  // REQUIRES: weights and V of at least 0.0.
  // "matrix::solve: matrix has not full rank." if some x_j are tied to no facility, not even
  // through others, or by less than 1e-12 in all: scale the weights.
  double N_l2squared_sum(int N, const matrix& V, bool clear);
  // What holds x_j: the sum of weight j and of V[j][k] for all other k below N, each read above the
  // diagonal. It is the diagonal of those equations.
  double diagonal_entry(int N, int j, const matrix& V) const;

  // ----- Linear programs, several new facilities -----
  //
  // The objective above with rectilinear distances, and the largest of its terms, V included. For
  // each coordinate lp_solve solves a linear program (lpsolver.h). Results are of dimension 2, in
  // the order x_0, x_1, ...
  //
  // lp_solve's verdict is not told. What it cannot solve returns the value 1e+30 or a multiple
  // of it, or one that says nothing, with the points that were left.
  // 1. Keep the facilities near the origin, and positive coordinates if they are far. What is
  //    lost otherwise is measured in docs/solvers.md.
  // 2. Weights and V of at least 0.0 are meant: with negative ones a program can be unbounded. The
  //    weight `l_inf` holds x_j at its facility, but makes N_l1_sum put the others at the origin,
  //    with the value 0.0; so does a V of that size. Use 1e6 times the largest weight.
  // 3. An extent of some 1e-9 counts as one place.

  // The least sum: N * M + N * (N - 1) / 2 rows for M facilities, and twice as many columns.
  // 1331 "Unequal matrix dimensions." 1332 "Matrix dimensions and number of new locations do not
  // fit." 1333 "Weight dimensions and number of new location do not fit."
  // N >= 4: the pairs with one sum j + k share a row of the program, and columns and costs of pairs
  // do not match, so that the result is not the optimum unless V is zero. N_l1_sum_export has no
  // such fault.
  double N_l1_sum(int N, const matrix& V, bool clear);

  // The largest of the terms (weight j of a times the maximum-norm distance of a and x_j, V[j][k]
  // times that of x_j and x_k), at its least. `opt` is not emptied, whatever `clear` is. No
  // facilities, or N < 1, have the value 0.0.
  // 1336 "facilities::N_linf_max(): Every weight must be unequal to zero"
  // 1337 "facilities::N_linf_max(): The entries of the dependency matrix must be unequal to zero":
  // of those above the diagonal
  double N_linf_max(int N, const matrix& V, bool clear);
  // Says on standard output that it stands in for another solver, and calls N_linf_max.
  double N_linf_max_substitute(int N, const matrix& V, bool clear);

  // The same for rectilinear distances: N_linf_max in the turned frame (turned_frame.h). Without
  // `clear` the older results are turned too, by 45 degrees and shrunk.
  double N_l1_max(int N, const matrix& V, bool clear);
  double N_l1_max_substitute(int N, const matrix& V, bool clear);

  // The programs of N_l1_sum for x and for y as files for an outside solver, and the way back from
  // the solution that it prints. docs/file-formats.md describes both. Nothing is said of a file
  // that cannot be written or read; what a solution does not tell is 0.0.
  // The export makes a dense matrix of the rows and columns above: 8 * 2 * (N * M)^2 bytes. It
  // writes coordinates with two digits and leaves out that they may be negative: scale them.
  void N_l1_sum_export(int N, const matrix& V, const char* file_x, const char* file_y) const;
  // Replaces `opt`; returns the sum of both objective values.
  double N_l1_sum_import(const char* file_x, const char* file_y, int N);
  // Any program in the same form: minimise c x with rows A x (type) b, where types holds 'E', 'G',
  // 'L' or 'N' (not restricted) for each row.
  static void write_mps(const vector& c, const matrix& A, const vector& b, const list<char>& types,
                        const char* file);
};

// Turns one location from the turned frame. It becomes planar, and every weight of it becomes its
// weight 0. Use `location::from_turned_frame` to keep the weights.
void turn_location(location& l);

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_FACILITIES_H_
