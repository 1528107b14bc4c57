// For optimum.py: solves convex problems by cutting planes and by CLP, and writes the linear
// program for other solvers.
//
//   optimum_timer kind sites vertices gauges seed [program.txt]
//
// kind: median, centre, k-centrum (the larger half) or cent-dian. Prints the value and the
// milliseconds of minimise, then those of CLP's dual and primal simplex (not asked for without a
// program file). The times leave out the building of the models.
#include <ClpSimplex.hpp>

#include <algorithm>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

#include "bench/optimum_programs.h"

namespace {

using namespace planloc;
using namespace planloc::bench;

double clp_milliseconds(const linear_program& lp, bool dual, double& value) {
  std::vector<int> rows;
  std::vector<int> columns;
  std::vector<double> values;
  for (const entry& e : lp.entries) {
    rows.push_back(e.row);
    columns.push_back(e.column);
    values.push_back(e.value);
  }
  const CoinPackedMatrix matrix(true, rows.data(), columns.data(), values.data(),
                                static_cast<int>(values.size()));
  std::vector<double> low;
  std::vector<double> high;
  std::vector<double> cost;
  for (const column& c : lp.columns) {
    low.push_back(c.low);
    high.push_back(c.high);
    cost.push_back(c.cost);
  }
  const std::vector<double> above(lp.right.size(), COIN_DBL_MAX);
  ClpSimplex clp;
  clp.setLogLevel(0);
  clp.loadProblem(matrix, low.data(), high.data(), cost.data(), lp.right.data(), above.data());
  const double start = cpu_milliseconds();
  if (dual) {
    clp.dual();
  } else {
    clp.primal();
  }
  value = clp.objectiveValue();
  return cpu_milliseconds() - start;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 6) return 1;
  const std::string kind = argv[1];
  const auto n = static_cast<std::size_t>(std::atol(argv[2]));
  const order_weights lambda = kind == "median"      ? order_weights::median()
                               : kind == "centre"    ? order_weights::centre()
                               : kind == "k-centrum" ? order_weights::k_centrum(n / 2)
                                                     : order_weights::cent_dian(0.5);
  const problem p = random_problem(n, std::atoi(argv[3]), std::atoi(argv[4]),
                                   static_cast<unsigned>(std::atoi(argv[5])), lambda);
  solution s;
  std::vector<double> times;
  for (int k = 0; k < 5; ++k) {
    const double start = cpu_milliseconds();
    s = minimise(p);
    times.push_back(cpu_milliseconds() - start);
  }
  std::sort(times.begin(), times.end());
  std::cout << std::setprecision(15) << s.value << ' ' << times[2] << ' '
            << (s.status == solution_status::optimal);
  if (argc > 6) {
    const linear_program lp = convex_program(p, kind);
    write(lp, argv[6]);
    for (const bool dual : {true, false}) {
      double value = 0;
      const double time = clp_milliseconds(lp, dual, value);
      std::cout << ' ' << time << ' ' << value;
    }
  }
  std::cout << '\n';
}
