#include "planloc/driver/cell_program.h"

#include <iostream>

#include "planloc/driver/problem.h"

namespace planloc {
namespace {

// Solution statuses of the library.
constexpr int kOptimal = 1;
constexpr int kInfeasible = 2;
constexpr int kUnbounded = 3;

IlcFloatExp ordered_sum(IlcIntArray& sigma, const double* order_weights, IlcFloatVarArray& Z) {
  IlcFloatExp sum = order_weights[0] * Z[sigma[0] - 1];
  for (int i = 1; i < fac.size(); ++i) sum = sum + order_weights[i] * Z[sigma[i] - 1];
  return sum;
}

void add_distance_rows(IlcLinOpt& lp, double** coef, IlcFloatVarArray& Z, IlcFloatVarArray& X) {
  int f = 0;
  int k = 1;
  for_each_facility([&](const location& a, const polygauge& g) {
    const point p = a.to_point();
    for (int j = 1; j <= g.size(); ++j, ++k) {
      lp.add(coef[k][0] * (X[0] - p.xcoord()) + coef[k][1] * (X[1] - p.ycoord()) <= Z[f], 0);
    }
    ++f;
  });
}

void add_order_rows(IlcLinOpt& lp, IlcIntArray& sigma, IlcFloatVarArray& Z) {
  for (int i = 0; i + 1 < fac.size(); ++i) lp.add(Z[sigma[i] - 1] <= Z[sigma[i + 1] - 1], 0);
}

void set_parameters(IlcLinOpt& lp) {
  lp.setParam(CPX_PARAM_PREIND, 1);
  lp.setParam(CPX_PARAM_CLOCKTYPE, 1);
  lp.setParam(CPX_PARAM_SIMDISPLAY, 0);
  lp.setParam(CPX_PARAM_SCRIND, 1);
}

void report_solution(IlcLinOpt& lp, IlcFloatVarArray& Z, IlcFloatVarArray& X, double elapsed,
                     point& sol, double& value) {
  std::cout << "The solution is found" << std::endl;
  const double x = lp.getCurrentValue(X[0]);
  const double y = lp.getCurrentValue(X[1]);
  std::cout << "X=(" << x << ", " << y << ")" << std::endl;
  sol = point(x, y);
  std::cout << "Z=(";
  for (int f = 0; f < fac.size(); ++f) std::cout << lp.getCurrentValue(Z[f]) << " ";
  std::cout << ")" << std::endl;
  std::cout << "The objective value is=" << lp.getObjValue() << std::endl;
  value = lp.getObjValue();
  std::cout << "Total Time2=" << elapsed << std::endl;
}

}  // namespace

void solve_cell_lp(IlcManager& m, IlcIntArray& sigma, double** coef, bool& feasible, point& sol,
                   double& value) {
  IlcLinOpt lp(m, 0);
  IlcFloatVarArray Z(m, fac.size(), 0.0, IlcInfinity);
  IlcFloatVarArray X(m, 2, -IlcInfinity, IlcInfinity);
  lp.setObjMin(ordered_sum(sigma, coef[0], Z), 0);
  add_distance_rows(lp, coef, Z, X);
  add_order_rows(lp, sigma, Z);
  set_parameters(lp);

  feasible = false;
  const double t0 = m.getTime();
  const int status = lp.dualOpt();
  const double elapsed = m.getTime() - t0;
  switch (status) {
    case kOptimal:
      feasible = true;
      report_solution(lp, Z, X, elapsed, sol, value);
      break;
    case kInfeasible:
      std::cout << "The problem is infeasible" << std::endl;
      break;
    case kUnbounded:
      std::cout << "The problem is unbounded" << std::endl;
      break;
    default:
      break;
  }
  lp.end();
}

}  // namespace planloc
