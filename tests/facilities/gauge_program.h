// Location problems with polyhedral gauges as linear programs on the engine, for a comparison with
// the solvers that get by without one.
#ifndef PLANLOC_TESTS_FACILITIES_GAUGE_PROGRAM_H_
#define PLANLOC_TESTS_FACILITIES_GAUGE_PROGRAM_H_

#include "planloc/engine/engine.h"
#include "planloc/facilities/gauged_sites.h"

namespace planloc {

class gauge_program {
 public:
  explicit gauge_program(const gauged_sites& problem) : problem_(problem) {}

  // The least sum of weight 0 times distance.
  double value() {
    double result = -1.0;
    solve([](IlcLinOpt& lp, IlcFloatVarArray&, const IlcFloatExp& sum) { lp.setObjMin(sum); },
          [&](IlcLinOpt& lp) { result = lp.getObjValue(); });
    return result;
  }

  // The farthest that a place with a sum of at most `level` lies in the direction (u, v).
  double farthest(double u, double v, double level) {
    double result = -1e300;
    const location origin = problem_.sites.location(0);
    solve(
        [&](IlcLinOpt& lp, IlcFloatVarArray& X, const IlcFloatExp& sum) {
          lp.add(sum <= IlcFloatVar(sum.getManager(), level, level));
          lp.setObjMin((-u) * X[0] + (-v) * X[1]);
        },
        [&](IlcLinOpt& lp) { result = u * origin[0] + v * origin[1] - lp.getObjValue(); });
    return result;
  }

 private:
  // Coordinates X relative to the first site, so that far ones lose no digits.
  template <class Goal, class Reader>
  void solve(Goal goal, Reader read) {
    IlcInitFloat();
    IlcManager m(1);
    IlcLinOpt lp(m, 0);
    const int n = problem_.sites.size();
    IlcFloatVarArray X(m, 2, -IlcInfinity, IlcInfinity);
    IlcFloatVarArray Z(m, n, 0.0, IlcInfinity);
    IlcFloatExp sum = 1.0 * Z[0];
    for (int i = 1; i < n; ++i) sum = sum + Z[i];
    goal(lp, X, sum);
    const location origin = problem_.sites.location(0);
    int i = 0;
    problem_.for_each([&](const location& a, const polygauge& g) {
      for (const gauge_row& row : gauge_rows(a, g)) {
        const double at = row.a * (a[0] - origin[0]) + row.b * (a[1] - origin[1]);
        lp.add(row.a * X[0] + row.b * X[1] - at <= Z[i]);
      }
      ++i;
    });
    if (lp.dualOpt() == 1) read(lp);
    lp.end();
    m.end();
  }

  const gauged_sites& problem_;
};

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_GAUGE_PROGRAM_H_
