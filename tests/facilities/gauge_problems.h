// Location problems with polyhedral gauges to try the solvers on, and what a linear program says of
// them.
#ifndef PLANLOC_TESTS_FACILITIES_GAUGE_PROBLEMS_H_
#define PLANLOC_TESTS_FACILITIES_GAUGE_PROBLEMS_H_

#include <cmath>
#include <functional>
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

// Sites with weight 0 only, those of `F`.
inline facilities with_one_weight(const facilities& F) {
  facilities result;
  for (const location& a : F) result.append(site(a[0], a[1], a.weight(0)));
  return result;
}

// One to three gauges: of the two rectilinear norms and an uneven diamond, or any.
inline list<polygauge> random_gauges(std::mt19937& random, bool whole) {
  list<polygauge> gauges;
  for (unsigned i = 1 + static_cast<unsigned>(random() % 3); i > 0; --i) {
    if (!whole) {
      gauges.append(random_gauge(random, 3 + static_cast<int>(random() % 6)));
    } else if (const auto kind = random() % 3; kind == 2) {
      gauges.append(polygauge({point(2, 0), point(0, 1), point(-1, 0), point(0, -1)}));
    } else {
      gauges.append(kind == 0 ? polygauge::l1_gauge() : polygauge::linf_gauge());
    }
  }
  return gauges;
}

// `times` problems of every family of sites, with positive weights.
inline void for_gauged_problems(int times,
                                const std::function<void(gauged_sites&, const char*)>& check,
                                int largest = 0) {
  std::mt19937 random(17);
  for_random_sites(
      times, false,
      [&](const facilities& F, const site_family& family) {
        gauged_sites problem;
        problem.sites = with_one_weight(F);
        problem.gauges = random_gauges(random, random() % 2 == 0);
        for (int i = 0; i < F.size(); ++i) {
          problem.gauge_of.append(static_cast<int>(random() % problem.gauges.size()));
        }
        check(problem, family.name);
      },
      largest);
}

// The sites with one gauge for all.
inline gauged_sites with_gauge(const facilities& F, const polygauge& g) {
  gauged_sites P{F, {g}, {}};
  for (int i = 0; i < F.size(); ++i) P.gauge_of.append(0);
  return P;
}

// The sites with rectilinear (p = 1) or maximum-norm distances (p = -1).
inline gauged_sites with_norm(const facilities& F, int p) {
  return with_gauge(F, p == 1 ? polygauge::l1_gauge() : polygauge::linf_gauge());
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

// The distances to places x as rows a * x + b * y - c <= distance from a site, relative to the
// first site, so that far coordinates lose no digits.
struct distance_row {
  double a, b, c;
  int site;
  double at(double x, double y) const { return a * x + b * y - c; }
};

// With weight 0, or without.
inline std::vector<distance_row> distance_rows(const gauged_sites& P, bool weighted = true) {
  std::vector<distance_row> rows;
  const location origin = P.sites.head();
  int number = 0;
  P.for_each([&](const location& l, const polygauge& g) {
    for (const gauge_row& r : gauge_rows(weighted ? l : site(l[0], l[1], 1), g)) {
      rows.push_back({r.a, r.b, r.a * (l[0] - origin[0]) + r.b * (l[1] - origin[1]), number});
    }
    ++number;
  });
  return rows;
}

// The least of c[0] * f0 + c[1] * f1 + u * x + v * y over all places (x, y), relative to the first
// site, with f0 <= most[0] and f1 <= most[1]; infinity if there is none. f0 and f1 are the sums of
// the distances with weights 0 and 1, or f0 the largest one.
struct gauge_program {
  bool largest = false;
  double c[2] = {1.0, 0.0};
  double u = 0.0;
  double v = 0.0;
  double most[2] = {IlcInfinity, IlcInfinity};
};

inline double program_value(const gauged_sites& P, const gauge_program& o = {}) {
  IlcInitFloat();
  IlcManager m(1);
  IlcLinOpt lp(m, 0);
  IlcFloatVarArray X(m, 2, -IlcInfinity, IlcInfinity);
  IlcFloatVarArray Z(m, o.largest ? 1 : P.sites.size(), 0.0, IlcInfinity);
  IlcFloatVarArray f(m, 2, 0.0, IlcInfinity);
  for (int q = 0; q < (o.largest ? 1 : P.sites.weight_count()); ++q) {
    IlcFloatExp sum = (o.largest ? 1.0 : P.sites.head().weight(q)) * Z[0];
    for (int i = 1; i < Z.getSize(); ++i) sum = sum + P.sites.location(i).weight(q) * Z[i];
    lp.add(sum - f[q] <= 0.0);
    if (o.most[q] < IlcInfinity) lp.add(f[q] <= o.most[q]);
  }
  lp.setObjMin(o.u * X[0] + o.v * X[1] + o.c[0] * f[0] + o.c[1] * f[1]);
  for (const distance_row& row : distance_rows(P, o.largest)) {
    lp.add(row.a * X[0] + row.b * X[1] - row.c <= Z[o.largest ? 0 : row.site]);
  }
  const double value = lp.dualOpt() == 1 ? lp.getObjValue() : IlcInfinity;
  lp.end();
  m.end();
  return value;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_GAUGE_PROBLEMS_H_
