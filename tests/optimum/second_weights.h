// Problems with two criteria.
#ifndef PLANLOC_TESTS_OPTIMUM_SECOND_WEIGHTS_H_
#define PLANLOC_TESTS_OPTIMUM_SECOND_WEIGHTS_H_

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#include "instances.h"
#include "planloc/optimum/bicriteria_problem.h"

namespace planloc {

// How the second weights come from the first.
enum class relation { equal, proportional, independent, opposite, apart, zeros };
inline constexpr std::array kRelations{relation::equal,       relation::proportional,
                                       relation::independent, relation::opposite,
                                       relation::apart,       relation::zeros};

inline bicriteria_problem with_second_weights(instance_source& source,
                                              const std::vector<site>& sites,
                                              const std::vector<gauge>& gauges, relation r) {
  std::vector<bicriteria_site> result;
  for (const site& s : sites) {
    bicriteria_site b{s.x, s.y, s.weight, s.weight, s.gauge};
    const bool second = source.below(2) == 0;
    if (r == relation::proportional) b.weight2 *= 3;
    if (r == relation::independent) b.weight2 = source.uniform(0.5, 4);
    if (r == relation::opposite) b.weight2 = 1 / s.weight;
    if (r == relation::apart) (second ? b.weight1 : b.weight2) = 0;
    if (r == relation::zeros && source.below(3) == 0) (second ? b.weight1 : b.weight2) = 0;
    result.push_back(b);
  }
  return {result, gauges};
}

// A regular polygon around a place off the origin, pressed together.
inline gauge pressed_polygon(int vertices, double thickness) {
  std::vector<xy> v;
  for (int k = 0; k < vertices; ++k) {
    const double angle = 0.3 + 2 * std::numbers::pi * k / vertices;
    v.push_back({std::cos(angle) - 0.2, thickness * (std::sin(angle) + 0.1)});
  }
  return gauge::polyhedral(v);
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_OPTIMUM_SECOND_WEIGHTS_H_
