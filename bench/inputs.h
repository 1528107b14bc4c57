// Inputs that several files of rows share.
#ifndef PLANLOC_BENCH_INPUTS_H_
#define PLANLOC_BENCH_INPUTS_H_

#include <cmath>
#include <cstddef>
#include <numbers>
#include <random>
#include <vector>

namespace planloc::bench {

struct weighted_place {
  double x, y, weight;
};

// Uniform over the square [0, 1000]^2, weights over 0.5 to 1.5.
inline std::vector<weighted_place> random_places(std::size_t n, unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<weighted_place> places(n);
  for (weighted_place& p : places) {
    p.x = 1000 * unit(random);
    p.y = 1000 * unit(random);
    p.weight = 0.5 + unit(random);
  }
  return places;
}

// The same around the circle through the corners' midpoints, within a hundredth of its radius.
inline std::vector<weighted_place> places_near_circle(std::size_t n, unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<weighted_place> places(n);
  for (weighted_place& p : places) {
    const double radius = 500 * (0.99 + 0.01 * unit(random));
    const double angle = 2 * std::numbers::pi * unit(random);
    p = {500 + radius * std::cos(angle), 500 + radius * std::sin(angle), 0.5 + unit(random)};
  }
  return places;
}

}  // namespace planloc::bench

#endif  // PLANLOC_BENCH_INPUTS_H_
