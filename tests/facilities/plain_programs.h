// The linear programs of several new facilities as their rows and columns are laid down, written
// out once more, and other ways to solve them: lp_solve fed entry by entry, another library, and
// for sums the enumeration of all places.
#ifndef PLANLOC_TESTS_FACILITIES_PLAIN_PROGRAMS_H_
#define PLANLOC_TESTS_FACILITIES_PLAIN_PROGRAMS_H_

#include <lpsolve/lp_lib.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "planloc/engine/engine.h"
#include "planloc/facilities/facilities.h"

namespace planloc {

struct plain_entry {
  int row;
  int column;
  double value;
};

// Minimise c x with rows A x (type) b, x >= 0 but for the first columns. All count from 1.
struct plain_program {
  int rows;
  int columns;
  int free_columns;
  std::vector<double> c;
  std::vector<plain_entry> A;
  std::vector<char> types;  // E, G, L, or N for a row that does not restrict
  std::vector<double> bx;
  std::vector<double> by;

  plain_program(int rows_, int columns_, int free_columns_, char type)
      : rows(rows_),
        columns(columns_),
        free_columns(free_columns_),
        c(columns_ + 1),
        types(rows_ + 1, type),
        bx(rows_ + 1),
        by(rows_ + 1) {}
};

inline plain_program plain_l1(const facilities& F, int N, const matrix& V) {
  const int M = F.size();
  const int rows = N * M + N * (N - 1) / 2;
  plain_program P(rows, N + 2 * rows, N, 'E');
  for (int j = 0; j < N; ++j) {
    for (int i = 0; i < M; ++i) {
      P.c[N + 2 * j * M + 2 * i + 1] = P.c[N + 2 * j * M + 2 * i + 2] = F.location(i).weight(j);
      P.bx[j * M + i + 1] = F.location(i)[0];
      P.by[j * M + i + 1] = F.location(i)[1];
    }
    for (int k = j + 1; k < N; ++k) {
      P.c[N + 2 * N * M + 2 * (j + k) - 1] = P.c[N + 2 * N * M + 2 * (j + k)] = V(j, k);
    }
  }
  int p = 2 * N * M + N + 1;
  for (int j = 1; j <= N; ++j) {
    for (int i = 1; i <= M; ++i) {
      const int r = i + M * (j - 1);
      const int u = 2 * M * (j - 1) + N + 2 * i - 1;
      for (const plain_entry& e : {plain_entry{r, j, 1}, {r, u, 1}, {r, u + 1, -1}}) {
        P.A.push_back(e);
      }
    }
    for (int k = j + 1; k <= N; ++k, p += 2) {
      const int r = N * M + j + k - 2;
      for (const plain_entry& e : {plain_entry{r, j, 1}, {r, k, -1}, {r, p, -1}, {r, p + 1, 1}}) {
        P.A.push_back(e);
      }
    }
  }
  return P;
}

inline plain_program plain_linf(const facilities& F, int N, const matrix& V) {
  plain_program P(N * (2 * F.size() + N - 1), N + 1, N, 'G');
  P.c[N + 1] = 1.0;
  int r = 1;
  for (int j = 1; j <= N; ++j) {
    for (const location& a : F) {
      for (const double sign : {1.0, -1.0}) {
        P.bx[r] = sign * a[0];
        P.by[r] = sign * a[1];
        P.A.push_back({r, j, sign});
        P.A.push_back({r++, N + 1, 1 / a.weight(j - 1)});
      }
    }
  }
  for (int j = 1; j <= N; ++j) {
    for (int k = j + 1; k <= N; ++k) {
      for (const double sign : {1.0, -1.0}) {
        P.A.push_back({r, j, sign});
        P.A.push_back({r, k, -sign});
        P.A.push_back({r++, N + 1, 1 / V(j - 1, k - 1)});
      }
    }
  }
  return P;
}

// Objectives and the first columns of both coordinates, as lp_solve leaves them behind each other.
struct both_solutions {
  double value_x, value_y;
  std::vector<double> x, y;
};

// Without right-hand sides; the caller deletes it.
inline lprec* entered_program(plain_program P) {
  lprec* lp = make_lp(P.rows, P.columns);
  set_verbose(lp, NEUTRAL);
  set_obj_fn(lp, P.c.data());
  for (const plain_entry& e : P.A) set_mat(lp, e.row, e.column, e.value);
  for (int r = 1; r <= P.rows; ++r) set_constr_type(lp, r, P.types[r] == 'E' ? EQ : GE);
  for (int j = 1; j <= P.free_columns; ++j) set_lowbo(lp, j, -900000000000000.0);
  return lp;
}

inline both_solutions solved_entry_by_entry(plain_program P) {
  lprec* lp = entered_program(P);
  both_solutions found;
  double* solution = nullptr;
  const auto columns = [&] {
    get_ptr_primal_solution(lp, &solution);
    return std::vector<double>(solution + P.rows + 1, solution + P.rows + 1 + P.free_columns);
  };
  set_rh_vec(lp, P.bx.data());
  solve(lp);
  found.x = columns();
  found.value_x = solution[0];
  set_rh_vec(lp, P.by.data());
  solve(lp);
  found.y = columns();
  found.value_y = solution[0];
  delete_lp(lp);
  return found;
}

// The least sum: in each coordinate some optimum has every new facility at an existing one's.
inline double least_sum_by_enumeration(const facilities& F, const matrix& V) {
  const int N = V.rows();
  double total = 0.0;
  for (int c = 0; c < 2; ++c) {
    double least = std::numeric_limits<double>::infinity();
    std::vector<int> at(N, 0);
    for (int j = 0; j < N;) {
      double sum = 0.0;
      for (j = 0; j < N; ++j) {
        const double x = F.location(at[j])[c];
        for (const location& a : F) sum += a.weight(j) * std::fabs(a[c] - x);
        for (int k = j + 1; k < N; ++k) sum += V(j, k) * std::fabs(x - F.location(at[k])[c]);
      }
      least = std::min(least, sum);
      for (j = 0; j < N && ++at[j] == F.size(); ++j) at[j] = 0;
    }
    total += least;
  }
  return total;
}

// The optimum by the engine, NaN if it has none.
inline double value_by_engine(const plain_program& P, const std::vector<double>& b) {
  IlcInitFloat();
  IlcManager m(1);
  IlcLinOpt lp(m, 0);
  IlcFloatVarArray X(m, P.columns + 1, 0.0, IlcInfinity);
  for (int j = 1; j <= P.free_columns; ++j) X[j] = IlcFloatVar(m, -IlcInfinity, IlcInfinity);
  const IlcFloatExp zero = 0.0 * X[0];
  IlcFloatExp costs = zero;
  for (int j = 1; j <= P.columns; ++j) costs = costs + P.c[j] * X[j];
  lp.setObjMin(costs);
  std::vector<IlcFloatExp> sums(P.rows + 1, zero);
  for (const plain_entry& e : P.A) sums[e.row] = sums[e.row] + e.value * X[e.column];
  for (int r = 1; r <= P.rows; ++r) {
    if (P.types[r] == 'E') lp.add(sums[r] - b[r] == zero);
    if (P.types[r] == 'G') lp.add(sums[r] - b[r] >= zero);
    if (P.types[r] == 'L') lp.add(sums[r] - b[r] <= zero);
  }
  const double value = lp.dualOpt() == 1 ? lp.getObjValue() : std::nan("");
  lp.end();
  m.end();
  return value;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_PLAIN_PROGRAMS_H_
