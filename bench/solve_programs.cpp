#include "bench/solve_programs.h"

#include <coin/Cbc_C_Interface.h>

#include <memory>
#include <vector>

namespace planloc::bench {
namespace {

// Column by column, as both libraries take it.
struct packed_program {
  explicit packed_program(const linear_program& lp) : right(lp.right) {
    above.assign(right.size(), kUnbounded);
    std::vector<std::vector<entry>> by_column(lp.columns.size());
    for (const entry& e : lp.entries) by_column[static_cast<std::size_t>(e.column)].push_back(e);
    for (std::size_t c = 0; c < lp.columns.size(); ++c) {
      for (const entry& e : by_column[c]) {
        rows.push_back(e.row);
        values.push_back(e.value);
      }
      starts.push_back(static_cast<CoinBigIndex>(rows.size()));
      low.push_back(lp.columns[c].low);
      high.push_back(lp.columns[c].high);
      cost.push_back(lp.columns[c].cost);
      if (lp.columns[c].integer) integers.push_back(static_cast<int>(c));
    }
  }

  int row_count() const { return static_cast<int>(right.size()); }
  int column_count() const { return static_cast<int>(cost.size()); }

  std::vector<CoinBigIndex> starts{0};
  std::vector<int> rows, integers;
  std::vector<double> values, low, high, cost, right, above;
};

}  // namespace

contestant by_clp(const linear_program& lp, int (ClpSimplex::*simplex)(int, int)) {
  const auto p = std::make_shared<packed_program>(lp);
  const auto clp = std::make_shared<std::unique_ptr<ClpSimplex>>();
  return {.call =
              [=] {
                ((**clp).*simplex)(0, 0);
                return (**clp).objectiveValue();
              },
          .prepare =
              [=] {
                *clp = std::make_unique<ClpSimplex>();
                (**clp).setLogLevel(0);
                (**clp).loadProblem(p->column_count(), p->row_count(), p->starts.data(),
                                    p->rows.data(), p->values.data(), p->low.data(), p->high.data(),
                                    p->cost.data(), p->right.data(), p->above.data());
              }};
}

contestant by_cbc(const linear_program& lp) {
  const auto p = std::make_shared<packed_program>(lp);
  using model = std::unique_ptr<Cbc_Model, void (*)(Cbc_Model*)>;
  const auto cbc = std::make_shared<model>(nullptr, Cbc_deleteModel);
  return {.call =
              [=] {
                Cbc_solve(cbc->get());
                return Cbc_getObjValue(cbc->get());
              },
          .prepare =
              [=] {
                cbc->reset(Cbc_newModel());
                Cbc_loadProblem(cbc->get(), p->column_count(), p->row_count(), p->starts.data(),
                                p->rows.data(), p->values.data(), p->low.data(), p->high.data(),
                                p->cost.data(), p->right.data(), p->above.data());
                for (const int c : p->integers) Cbc_setInteger(cbc->get(), c);
                Cbc_setLogLevel(cbc->get(), 0);
                Cbc_setParameter(cbc->get(), "ratioGap", "1e-9");
              }};
}

}  // namespace planloc::bench
