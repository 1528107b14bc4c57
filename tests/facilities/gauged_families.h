// Problems with polyhedral gauges to try a solver on: random ones, and fans of parallel directions.
#ifndef PLANLOC_TESTS_FACILITIES_GAUGED_FAMILIES_H_
#define PLANLOC_TESTS_FACILITIES_GAUGED_FAMILIES_H_

#include <functional>
#include <random>

#include "planloc/facilities/gauged_sites.h"
#include "tests/facilities/gauge_problems.h"

namespace planloc {

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

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_GAUGED_FAMILIES_H_
