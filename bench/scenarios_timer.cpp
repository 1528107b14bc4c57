// For scenarios.py: the loop over scenarios as one writes it in C++.
//
//   scenarios_timer gauge n k threads weights.bin
//
// gauge: octagon or euclid. weights.bin holds the n sites as pairs of doubles and k rows of n
// weights. Prints seconds of the clock and of the processors, and the sum of the values.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <numbers>
#include <string>
#include <thread>
#include <vector>

#include "planloc/certified.h"

using namespace planloc;

namespace {

gauge octagon() {
  const double d = std::sqrt(0.5);
  return gauge::polyhedral({{1, 0}, {d, d}, {0, 1}, {-d, d}, {-1, 0}, {-d, -d}, {0, -1}, {d, -d}});
}

struct answers {
  std::vector<xy> points;
  std::vector<double> values, bounds;
};

answers solve_all(const std::vector<site>& sites, const std::vector<gauge>& gauges,
                  const double* rows, std::size_t k, unsigned threads) {
  answers found{std::vector<xy>(k), std::vector<double>(k), std::vector<double>(k)};
  minimise_options options;
  options.whole_set = false;
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    std::vector<site> own = sites;
    for (std::size_t i = next++; i < k; i = next++) {
      for (std::size_t j = 0; j < own.size(); ++j) own[j].weight = rows[i * own.size() + j];
      const solution s = minimise(problem(own, gauges, order_weights::median()), options);
      found.points[i] = s.point;
      found.values[i] = s.value;
      found.bounds[i] = s.lower_bound;
    }
  };
  std::vector<std::jthread> team;
  for (unsigned t = 1; t < threads; ++t) team.emplace_back(work);
  work();
  return found;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) return 1;
  const auto n = static_cast<std::size_t>(std::atol(argv[2]));
  const auto k = static_cast<std::size_t>(std::atol(argv[3]));
  std::vector<double> numbers(2 * n + k * n);
  std::ifstream file(argv[5], std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(numbers.data()),
                 static_cast<std::streamsize>(numbers.size() * sizeof(double)))) {
    return 1;
  }
  std::vector<site> sites(n);
  for (std::size_t i = 0; i < n; ++i) sites[i] = {numbers[2 * i], numbers[2 * i + 1], 1, 0};
  const std::vector<gauge> gauges = {argv[1] == std::string("octagon") ? octagon()
                                                                       : gauge::euclidean()};

  const auto start = std::chrono::steady_clock::now();
  const std::clock_t processors = std::clock();
  const answers found = solve_all(sites, gauges, numbers.data() + 2 * n, k,
                                  static_cast<unsigned>(std::atoi(argv[4])));
  const double used = static_cast<double>(std::clock() - processors) / CLOCKS_PER_SEC;
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  double sum = 0;
  for (const double value : found.values) sum += value;
  std::cout.precision(17);
  std::cout << passed.count() << ' ' << used << ' ' << sum << '\n';
}
