// Location problems with polyhedral gauges to try the solvers on, and what a linear program says of
// them.
#ifndef PLANLOC_TESTS_FACILITIES_GAUGE_PROBLEMS_H_
#define PLANLOC_TESTS_FACILITIES_GAUGE_PROBLEMS_H_

#include <cmath>
#include <numbers>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "planloc/engine/engine.h"
#include "planloc/facilities/gauged_sites.h"
#include "planloc/model/polygauge.h"
#include "tests/facilities/site_families.h"

namespace planloc {

inline std::string shown(const gauged_sites& P) {
  std::ostringstream out;
  out.precision(17);
  P.sites.print(out);
  for (const polygauge& g : P.gauges) out << g;
  out << P.gauge_of << "\n";
  return out.str();
}

// A ball of 3 to 16 vertices with the origin inside, in general not symmetric.
inline polygauge random_gauge(std::mt19937& random, int vertices) {
  std::uniform_real_distribution<double> part(0.1, 0.9);
  const double radius = 0.5 + part(random);
  const double dx = 0.3 * radius * (part(random) - 0.5);
  const double dy = 0.3 * radius * (part(random) - 0.5);
  list<point> ball;
  for (int i = 0; i < vertices; ++i) {
    const double angle =
        2.0 * std::numbers::pi * (i + (vertices > 3 ? 0.8 * part(random) : 0.0)) / vertices;
    ball.append(point(dx + radius * std::cos(angle), dy + radius * std::sin(angle)));
  }
  return polygauge(ball);
}

// By `number`: sites on a lattice or anywhere, equal, small or any weights, one or several gauges,
// block norms or any; at times as many sites as a cap of candidates is for, with the l1 gauge.
inline gauged_sites random_problem(std::mt19937& random, int number, int largest = 12) {
  std::uniform_real_distribution<double> u(0.0, 10.0);
  gauged_sites P;
  const bool many = number % 200 == 199;
  const int size = many ? 110 : 1 + static_cast<int>(random() % static_cast<unsigned>(largest));
  const bool lattice = number % 3 == 0;
  const int weights = number / 3 % 3;
  const int kinds = many ? 1 : 1 + static_cast<int>(random() % 3);
  for (int i = 0; i < kinds; ++i) {
    const int kind = many ? 0 : static_cast<int>(random() % 5);
    // Small balls for many sites, for the sake of the plain steps.
    const unsigned spread = size > 6 ? 4 : 14;
    P.gauges.append(kind == 0   ? polygauge::l1_gauge()
                    : kind == 1 ? polygauge::linf_gauge()
                                : random_gauge(random, 3 + static_cast<int>(random() % spread)));
  }
  for (int i = 0; i < size; ++i) {
    const double x = lattice ? static_cast<double>(random() % 6) : u(random);
    const double y = lattice ? static_cast<double>(random() % 6) : u(random);
    const double w = weights == 0   ? 1.0
                     : weights == 1 ? static_cast<double>(1 + random() % 3)
                                    : 0.5 + u(random) / 5.0;
    P.sites.append(site(x, y, w));
    P.gauge_of.append(static_cast<int>(random() % static_cast<unsigned>(kinds)));
  }
  return P;
}

// The weighted distances to places x as rows a * x + b * y - c <= Z, relative to the first site, so
// that far coordinates lose no digits.
struct distance_row {
  double a, b, c;
  int site;
  double at(double x, double y) const { return a * x + b * y - c; }
};

inline std::vector<distance_row> distance_rows(const gauged_sites& P) {
  std::vector<distance_row> rows;
  const location origin = P.sites.head();
  int number = 0;
  P.for_each([&](const location& l, const polygauge& g) {
    for (const gauge_row& r : gauge_rows(l, g)) {
      rows.push_back({r.a, r.b, r.a * (l[0] - origin[0]) + r.b * (l[1] - origin[1]), number});
    }
    ++number;
  });
  return rows;
}

// The least value of the largest Z (or of their sum) by a linear program; with a `bound`, the least
// u * x + v * y of places with that value at most, relative to the first site, and infinity if
// there is none.
inline double program_value(const gauged_sites& P, double u = 0.0, double v = 0.0,
                            double bound = IlcInfinity, bool of_sum = false) {
  IlcInitFloat();
  IlcManager m(1);
  IlcLinOpt lp(m, 0);
  const int n = of_sum ? P.sites.size() : 1;
  IlcFloatVarArray X(m, 2, -IlcInfinity, IlcInfinity);
  IlcFloatVarArray Z(m, n, 0.0, IlcInfinity);
  IlcFloatVar total(m, 0.0, bound);
  IlcFloatExp sum = Z[0];
  for (int i = 1; i < n; ++i) sum = sum + Z[i];
  lp.add(sum <= total);
  lp.setObjMin(u * X[0] + v * X[1] + (bound == IlcInfinity ? 1.0 : 0.0) * total);
  for (const distance_row& row : distance_rows(P)) {
    lp.add(row.a * X[0] + row.b * X[1] - row.c <= Z[of_sum ? row.site : 0]);
  }
  const double value = lp.dualOpt() == 1 ? lp.getObjValue() : IlcInfinity;
  lp.end();
  m.end();
  return value;
}
inline double sum_program(const gauged_sites& P, double u = 0.0, double v = 0.0,
                          double bound = IlcInfinity) {
  return program_value(P, u, v, bound, /*of_sum=*/true);
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_GAUGE_PROBLEMS_H_
