// Several new facilities at once, by linear programs: rectilinear sums and maxima.
#include <algorithm>
#include <iostream>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/lpsolver.h"
#include "planloc/facilities/planar_sites.h"
#include "planloc/facilities/turned_frame.h"
#include "planloc/model/reporter.h"

namespace planloc {
namespace {

void append_results(facilities& F, const std::vector<double>& x, const std::vector<double>& y) {
  for (std::size_t j = 0; j < x.size(); ++j) {
    F.opt.append(detail::labelled({x[j], y[j]}, static_cast<double>(j)));
  }
}

// The right-hand sides and coefficients of linf_lp_solve, row by row from entry 1 on.
struct maximum_rows {
  std::vector<double> ax = {0.0};
  std::vector<double> ay = {0.0};
  std::vector<double> d = {0.0};

  void add(double x, double y, double weight) {
    for (const double sign : {1.0, -1.0}) {
      ax.push_back(sign * x);
      ay.push_back(sign * y);
      d.push_back(1 / weight);
    }
  }
};

}  // namespace

// ----- Sums -----

double facilities::N_l1_sum(int N, const matrix& V, bool clear) {
  if (V.rows() != V.cols()) MaviError("Unequal matrix dimensions.", 1331, 1, true);
  if (V.rows() != N) {
    MaviError("Matrix dimensions and number of new locations do not fit.", 1332, 1, true);
  }
  if (weight_count() != N) {
    MaviError("Weight dimensions and number of new location do not fit.", 1333, 1, true);
  }
  if (clear) opt.clear();
  const int M = size();
  const int rows = N * M + N * (N - 1) / 2;
  std::vector<double> c(N + 2 * rows + 1);
  std::vector<double> bx(rows + 1);
  std::vector<double> by(rows + 1);
  for (int j = 0; j < N; ++j) {
    int i = 0;
    for (const planloc::location& a : *this) {
      const int t = N + 2 * j * M + 2 * i;
      c[t + 1] = c[t + 2] = a.weight(j);
      bx[j * M + i + 1] = a[0];
      by[j * M + i + 1] = a[1];
      ++i;
    }
    for (int k = j + 1; k < N; ++k) {
      // A sum, not a running number: intended, lpsolver.h finds rows and costs by it.
      const int t = N + 2 * N * M + 2 * (j + k);
      c[t - 1] = c[t] = V(j, k);
    }
  }
  std::vector<double> x(N);
  std::vector<double> y(N);
  const double value = l1_lp_solve(N, M, rows, c.data(), bx.data(), by.data(), x.data(), y.data());
  append_results(*this, x, y);
  return value;
}

// ----- Maxima -----

double facilities::N_linf_max(int N, const matrix& V, bool /*clear*/) {
  N = std::max(N, 0);
  maximum_rows rows;
  for (int j = 0; j < N; ++j) {
    for (const planloc::location& a : *this) {
      const double w = a.weight(j);
      if (w == 0.0) {
        MaviError("facilities::N_linf_max(): Every weight must be unequal to zero", 1336, 1, true);
      }
      rows.add(a[0], a[1], w);
    }
  }
  for (int j = 0; j < N; ++j) {
    for (int k = j + 1; k < N; ++k) {
      if (V(j, k) == 0.0) {
        MaviError(
            "facilities::N_linf_max(): The entries of the dependency matrix must be unequal to "
            "zero",
            1337, 1, true);
      }
      rows.add(0.0, 0.0, V(j, k));
    }
  }
  std::vector<double> x(N);
  std::vector<double> y(N);
  const double value = linf_lp_solve(N, size(), static_cast<int>(rows.d.size()) - 1, rows.ax.data(),
                                     rows.ay.data(), rows.d.data(), x.data(), y.data());
  append_results(*this, x, y);
  return value;
}

double facilities::N_linf_max_substitute(int N, const matrix& V, bool /*clear*/) {
  std::cout << "This is a substitute function for the original CPLEX" << std::endl
            << "based algorithm, because there is no CPLEX on this system." << std::endl;
  return N_linf_max(N, V, true);
}

double facilities::N_l1_max(int N, const matrix& V, bool clear) {
  if (clear) opt.clear();
  return solve_rectilinear_as_maximum(
      *this, [&](facilities& turned) { return turned.N_linf_max(N, V, true); });
}

double facilities::N_l1_max_substitute(int N, const matrix& V, bool clear) {
  if (clear) opt.clear();
  return solve_rectilinear_as_maximum(
      *this, [&](facilities& turned) { return turned.N_linf_max_substitute(N, V, true); });
}

}  // namespace planloc
