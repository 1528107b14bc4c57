// Two weighted sums of gauge distances as a linear program on the engine, for a comparison with the
// solvers that get by without one.
#ifndef PLANLOC_TESTS_FACILITIES_BICRITERIA_PROGRAM_H_
#define PLANLOC_TESTS_FACILITIES_BICRITERIA_PROGRAM_H_

#include "planloc/engine/engine.h"
#include "planloc/facilities/facilities.h"
#include "planloc/model/gauge_distance.h"

namespace planloc {

// The least c0 * f0(x) + c1 * f1(x) over all x with f0(x) <= most0 and f1(x) <= most1; -1 if the
// program has no optimum.
inline double bicriteria_program(const facilities& F, const list<polygauge>& gauges,
                                 const list<int>& gauge_of, double c0, double c1,
                                 double most0 = IlcInfinity, double most1 = IlcInfinity) {
  IlcInitFloat();
  IlcManager m(1);
  IlcLinOpt lp(m, 0);
  IlcFloatVarArray X(m, 2, -IlcInfinity, IlcInfinity);
  IlcFloatVarArray Z(m, F.size(), 0.0, IlcInfinity);  // distances
  IlcFloatExp f0 = F.location(0).weight(0) * Z[0];
  IlcFloatExp f1 = F.location(0).weight(1) * Z[0];
  for (int i = 1; i < F.size(); ++i) {
    f0 = f0 + F.location(i).weight(0) * Z[i];
    f1 = f1 + F.location(i).weight(1) * Z[i];
  }
  lp.setObjMin(c0 * f0 + c1 * f1);
  IlcFloatVarArray zero(m, 1, 0.0, 0.0);
  if (most0 < IlcInfinity) lp.add(f0 - most0 <= zero[0]);
  if (most1 < IlcInfinity) lp.add(f1 - most1 <= zero[0]);
  int i = 0;
  for_each_with_gauge(F, gauges, gauge_of, [&](const location& a, const polygauge& g) {
    for (const point& y : g.dual().vertices()) {
      const double at = y.xcoord() * a[0] + y.ycoord() * a[1];
      lp.add(y.xcoord() * X[0] + y.ycoord() * X[1] - at <= Z[i]);
    }
    ++i;
  });
  const double value = lp.dualOpt() == 1 ? lp.getObjValue() : -1.0;
  lp.end();
  m.end();
  return value;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_BICRITERIA_PROGRAM_H_
