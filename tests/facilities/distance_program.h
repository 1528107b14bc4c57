// Location problems with l1 and l-infinity distances as linear programs on the engine, for a
// comparison with the solvers that get by without one.
#ifndef PLANLOC_TESTS_FACILITIES_DISTANCE_PROGRAM_H_
#define PLANLOC_TESTS_FACILITIES_DISTANCE_PROGRAM_H_

#include <utility>
#include <vector>

#include "planloc/engine/engine.h"
#include "planloc/facilities/facilities.h"

namespace planloc {

// Least sum (or largest, if `maximum`) of weight k times the distance with norm p, 1 or -1.
inline double program_value(const facilities& F, int p, int k, bool maximum) {
  IlcInitFloat();
  IlcManager m(1);
  IlcLinOpt lp(m, 0);
  IlcFloatVarArray X(m, 2, -IlcInfinity, IlcInfinity);
  IlcFloatVarArray Z(m, maximum ? 1 : F.size(), 0.0, IlcInfinity);
  IlcFloatExp sum = 1.0 * Z[0];
  for (int i = 1; i < F.size() && !maximum; ++i) sum = sum + Z[i];
  lp.setObjMin(sum);
  const std::vector<std::pair<double, double>> faces =
      p == 1 ? std::vector<std::pair<double, double>>{{1, 1}, {1, -1}, {-1, 1}, {-1, -1}}
             : std::vector<std::pair<double, double>>{{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
  // Coordinates relative to the first facility, so that far ones lose no digits.
  const location origin = F.location(0);
  for (int i = 0; i < F.size(); ++i) {
    const location a = F.location(i);
    const double w = a.weight(k);
    if (w == 0.0) continue;
    for (const auto& [u, v] : faces) {
      const double at = u * (a[0] - origin[0]) + v * (a[1] - origin[1]);
      lp.add((w * u) * X[0] + (w * v) * X[1] - w * at <= Z[maximum ? 0 : i]);
    }
  }
  const double value = lp.dualOpt() == 1 ? lp.getObjValue() : -1.0;
  lp.end();
  m.end();
  return value;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_DISTANCE_PROGRAM_H_
