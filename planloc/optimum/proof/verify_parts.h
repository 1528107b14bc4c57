// What the two ways of checking a convex certificate share. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_VERIFY_PARTS_H_
#define PLANLOC_OPTIMUM_PROOF_VERIFY_PARTS_H_

#include <gmpxx.h>

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "planloc/optimum/verify.h"

namespace planloc::detail {

struct refusal {
  std::string reason;
};

[[noreturn]] inline void refuse(std::string reason) { throw refusal{std::move(reason)}; }

// Refuses what does not compare with fractions.
void check_finite(double value, double lower_bound);

// Refuses places, slopes and directions with which the proof could overflow: the numbers of a
// problem are at most 1e36, so what a search finds lies far below.
inline constexpr double kMostInClaim = 1e120;
void check_place(const xy& at, const std::string& name);

// Of a claim of `optimal` where the gap need not be 0.
void check_gap(double value, double lower_bound, double most);

inline std::string piece_name(std::size_t k) { return "piece " + std::to_string(k); }

// The next double that is not below, not above q.
double rounded_up(const mpq_class& q);
double rounded_down(const mpq_class& q);

struct fraction_pair {
  mpq_class x, y;
};

// Refuses what is no place in fractions.
fraction_pair fractions_of(const exact_point& exact, const std::string& name);

// The place that an answer speaks of, which `point` must be a rounding of.
fraction_pair exact_place_of(const xy& point, const exact_point& exact);
// The same where it may be beyond the doubles.
fraction_pair place_of(const solution& s);

// What the rounding of terms of one sign does to their sum.
inline double rounding_of(double sum) { return 0x1p-44 * sum; }

// Whether a double stands for an exact number up to roundings.
bool stands_for(double d, const mpq_class& q);

// Adjacent terms first: the denominators of different gauges have nothing in common.
mpq_class sum_of(std::span<const mpq_class> terms);

// For u in the cone of edge j of a polyhedral gauge, the gauge is normal . u.
fraction_pair exact_edge_normal(const gauge& g, std::size_t j);
// Of all gauges and their edges. None of a gauge that is not polyhedral.
std::vector<std::vector<fraction_pair>> edge_normals(std::span<const gauge> gauges);

// lambda_1 ... lambda_n.
std::vector<double> listed_weights(const problem& p);

// Refuses pieces of another problem: edges and ranks that are missing or do not exist.
void check_pieces(const problem& p, std::span<const affine_piece> pieces);

// Refuses a place where nothing may be built.
void check_permitted(const problem& p, const fraction_pair& at);

// ----- f and functions below it, without loss: polyhedral gauges -----

struct affine_function {
  fraction_pair slope;
  mpq_class at_origin;
};

// By gauge and edge.
using normal_table = std::vector<std::vector<fraction_pair>>;
mpq_class exact_value(const problem& p, const normal_table& normals, const fraction_pair& at);
affine_function exact_function(const problem& p, const std::vector<double>& lambda,
                               const affine_piece& piece);

// Whether the claimed set is the one of all optima of a convex polyhedral problem, given an optimum
// with its value and a certificate of so many pieces, the first of which has this slope.
bool optima_proved(const problem& p, const optimal_set& claimed, const fraction_pair& optimum,
                   const mpq_class& least, std::size_t pieces, const fraction_pair& slope);

verification verify_fractions(const problem& p, const solution& s, const convex_certificate& c);
verification verify_intervals(const problem& p, const solution& s, const convex_certificate& c);
verification verify_boundary(const problem& p, const solution& s, const boundary_certificate& c);
verification verify_infeasible(const problem& p);
verification verify_leaves(const problem& p, const solution& s, const branch_certificate& c);
// A bound of minus infinity claims nothing; the value is checked.
verification verify_without_bound(const problem& p, const solution& s);
verification verify_direction(const problem& p, const direction_certificate& c);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_VERIFY_PARTS_H_
