// The linear programs of several new facilities under rectilinear and maximum-norm distances,
// solved by lp_solve 5.5: for programs of any other form use planloc/engine. `facilities::N_l1_sum`
// and `facilities::N_linf_max` make the arguments from facilities and are what most callers want.
//
// Under both norms the coordinates separate, into two programs with one matrix and two right-hand
// sides; the second solve starts from the basis of the first, and again from none if it ends
// without an optimum. Solves of several threads come one after the other. N is the number of new
// facilities, M that of existing ones, both at least 0. Arrays of programs count from 1, entry 0 is
// 0.0 and not read; x and y receive N coordinates each, from 0. No array is changed but these two.
//
// What lp_solve says of a solve is not told: a program that is infeasible, unbounded or beyond
// its arithmetic returns what was left in its solution, 1e+30 as a rule. From 1e+30 up an entry is
// infinite to it, below 1e-12 a cost is nothing, and x, y end at -9e+14. It prints nothing.
#ifndef PLANLOC_FACILITIES_LPSOLVER_H_
#define PLANLOC_FACILITIES_LPSOLVER_H_

namespace planloc {

// Least sum of c times the parts of the differences x_j - a (positive and negative part apart) and
// x_j - x_k, and the same for y. Returns the sum of both optima. (Wesolowsky and Love, 1971)
//
//   rows     N * M + N * (N - 1) / 2
//   c        N + 2 * rows costs: N of the coordinates themselves, then two parts a difference, for
//            each new facility those to the existing ones in turn, then the pairs
//   bx, by   rows right-hand sides: N times the M coordinates, then 0.0
//
// The row of a pair j < k, both from 1, is N * M + j + k - 2, as its costs are found by j + k. For
// N >= 4 pairs with one sum share a row, and some rows are empty: then it is another program.
double l1_lp_solve(int N, int M, int rows, double* c, double* bx, double* by, double* x, double* y);

// Least z with  x_j + d * z >= a,  -x_j + d * z >= -a  for each existing facility and
// x_j - x_k + d * z >= 0,  x_k - x_j + d * z >= 0  for each pair j < k, and the same for y. Returns
// the larger of both optima. (Wesolowsky, 1972)
//
//   rows     N * (2 * M + N - 1)
//   ax, ay   right-hand sides: for each new facility a and -a in turn, then 0.0
//   d        rows coefficients of z
//
// If there is no memory for its costs, "malloc of %d bytes failed on line 69 of file lpsolver" goes
// to the error stream, and the process ends with status 1.
double linf_lp_solve(int N, int M, int rows, double* ax, double* ay, double* d, double* x,
                     double* y);

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_LPSOLVER_H_
