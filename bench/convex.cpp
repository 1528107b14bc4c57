// Certified convex optima under polyhedral gauges (8 vertices, 10 random gauges), and the same
// problems as linear programs in CLP.
#include <ClpSimplex.hpp>
#include <memory>
#include <string>
#include <vector>

#include "bench/contest.h"
#include "bench/optimum_programs.h"

namespace planloc::bench {
namespace {

constexpr int kVertices = 8;
constexpr int kGauges = 10;

problem instance(const std::string& kind, std::size_t n, unsigned seed) {
  const order_weights lambda = kind == "median"      ? order_weights::median()
                               : kind == "centre"    ? order_weights::centre()
                               : kind == "k-centrum" ? order_weights::k_centrum(n / 2)
                                                     : order_weights::cent_dian(0.5);
  return random_problem(n, kVertices, kGauges, seed, lambda);
}

double proved(const solution& s) {
  return s.status == solution_status::optimal ? s.value : std::nan("");
}

void load(const linear_program& lp, ClpSimplex& clp) {
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
  clp.setLogLevel(0);
  clp.loadProblem(matrix, low.data(), high.data(), cost.data(), lp.right.data(), above.data());
}

contestant by_clp(const linear_program& lp, int (ClpSimplex::*simplex)(int, int)) {
  const auto program = std::make_shared<linear_program>(lp);
  const auto clp = std::make_shared<std::unique_ptr<ClpSimplex>>();
  return {.call =
              [=] {
                ((**clp).*simplex)(0, 0);
                return (**clp).objectiveValue();
              },
          .prepare =
              [=] {
                *clp = std::make_unique<ClpSimplex>();
                load(*program, **clp);
              }};
}

}  // namespace

void add_convex(contests& all) {
  for (const std::string kind : {"median", "centre", "k-centrum", "cent-dian"}) {
    contest& c = all["convex-" + kind];
    c.contestants["minimise"] = [kind](std::size_t n, unsigned seed) -> contestant {
      const problem p = instance(kind, n, seed);
      return {.call = [p] { return proved(minimise(p)); }};
    };
    c.contestants["CLP dual"] = [kind](std::size_t n, unsigned seed) {
      return by_clp(convex_program(instance(kind, n, seed), kind), &ClpSimplex::dual);
    };
    c.contestants["CLP primal"] = [kind](std::size_t n, unsigned seed) {
      return by_clp(convex_program(instance(kind, n, seed), kind), &ClpSimplex::primal);
    };
    c.write = [kind](std::size_t n, unsigned seed, std::ostream& out) {
      write(convex_program(instance(kind, n, seed), kind), out);
    };
  }
}

}  // namespace planloc::bench
