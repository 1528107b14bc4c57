// For optimum.py: solves problems with order weights of any kind by branch and bound and, as
// mixed-integer programs, by CBC, and writes the programs for other solvers.
//
//   ordered_timer kind sites vertices gauges seed seconds program.txt
//
// kind: trimmed-mean (a quarter left out at each end), anti-centrum (half of the sites),
// order-statistic (the middle one), range, random (order weights in (0, 1)). Prints value,
// milliseconds and whether it is optimal for minimise, then CBC's milliseconds, value, bound and
// whether it is optimal. `seconds` is CBC's limit. The times leave out the building of the models.
#include <coin/Cbc_C_Interface.h>

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

#include "bench/optimum_programs.h"

namespace {

using namespace planloc;
using namespace planloc::bench;

order_weights order_of(const std::string& kind, std::size_t n, unsigned seed) {
  if (kind == "trimmed-mean") return order_weights::trimmed_mean(n / 4, n / 4);
  if (kind == "anti-centrum") return order_weights::anti_centrum(n / 2);
  if (kind == "order-statistic") return order_weights::order_statistic(n / 2);
  if (kind == "range") return order_weights::range();
  std::mt19937_64 random(seed + 1000);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<double> lambda;
  for (std::size_t k = 0; k < n; ++k) lambda.push_back(unit(random));
  return order_weights(lambda);
}

struct cbc_answer {
  double milliseconds;
  double value;
  double bound;
  bool optimal;
};

cbc_answer solve_by_cbc(const linear_program& lp, const std::string& seconds) {
  std::vector<std::vector<entry>> by_column(lp.columns.size());
  for (const entry& e : lp.entries) by_column[static_cast<std::size_t>(e.column)].push_back(e);
  std::vector<CoinBigIndex> start{0};
  std::vector<int> rows;
  std::vector<double> values, low, high, cost;
  for (std::size_t c = 0; c < lp.columns.size(); ++c) {
    for (const entry& e : by_column[c]) {
      rows.push_back(e.row);
      values.push_back(e.value);
    }
    start.push_back(static_cast<CoinBigIndex>(rows.size()));
    low.push_back(lp.columns[c].low);
    high.push_back(lp.columns[c].high);
    cost.push_back(lp.columns[c].cost);
  }
  const std::vector<double> above(lp.right.size(), kUnbounded);
  Cbc_Model* model = Cbc_newModel();
  Cbc_loadProblem(model, static_cast<int>(low.size()), static_cast<int>(lp.right.size()),
                  start.data(), rows.data(), values.data(), low.data(), high.data(), cost.data(),
                  lp.right.data(), above.data());
  for (std::size_t c = 0; c < lp.columns.size(); ++c)
    if (lp.columns[c].integer) Cbc_setInteger(model, static_cast<int>(c));
  Cbc_setLogLevel(model, 0);
  Cbc_setParameter(model, "seconds", seconds.c_str());
  Cbc_setParameter(model, "ratioGap", "1e-9");
  const double from = cpu_milliseconds();
  Cbc_solve(model);
  cbc_answer a{cpu_milliseconds() - from, Cbc_getObjValue(model),
               Cbc_getBestPossibleObjValue(model), Cbc_isProvenOptimal(model) != 0};
  Cbc_deleteModel(model);
  return a;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 8) return 1;
  const std::string kind = argv[1];
  const auto n = static_cast<std::size_t>(std::atol(argv[2]));
  const auto seed = static_cast<unsigned>(std::atoi(argv[5]));
  const problem p =
      random_problem(n, std::atoi(argv[3]), std::atoi(argv[4]), seed, order_of(kind, n, seed));
  const double from = cpu_milliseconds();
  const solution s = minimise(p);
  const double own = cpu_milliseconds() - from;
  const linear_program lp = kind == "range" ? range_program(p) : sorted_program(p);
  write(lp, argv[7]);
  const cbc_answer cbc = solve_by_cbc(lp, argv[6]);
  std::cout << std::setprecision(15) << s.value << ' ' << own << ' '
            << (s.status == solution_status::optimal) << ' ' << cbc.milliseconds << ' ' << cbc.value
            << ' ' << cbc.bound << ' ' << cbc.optimal << '\n';
}
