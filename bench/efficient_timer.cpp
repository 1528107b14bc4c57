// For efficient_set.py: the efficient set of two sums, and the same problem for linear programs.
//
//   efficient_timer kind sites vertices gauges seed [program.txt]
//
// kind: independent (both weights at random) or apart (the first grows to the right, the second to
// the left). Prints the number of corners of the trade-off curve, the pieces, the milliseconds of
// efficient_set and of verify (0 where it would take long), whether it is proved, and the corners.
// The program: per site x, y and both weights, then its edges as slopes.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "bench/optimum_programs.h"
#include "planloc/optimum/efficient_set.h"

namespace {

using namespace planloc;

// Pieces times sites.
constexpr std::size_t kLongestProof = 10'000'000;

bicriteria_problem random_problem(const std::string& kind, std::size_t n, int vertices, int gauges,
                                  unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<gauge> balls = bench::random_balls(random, gauges, vertices);
  std::vector<bicriteria_site> sites;
  for (std::size_t i = 0; i < n; ++i) {
    bicriteria_site s;
    s.x = 100 * unit(random);
    s.y = 100 * unit(random);
    s.weight1 = 1 + 9 * unit(random);
    s.weight2 = 1 + 9 * unit(random);
    if (kind == "apart") {
      s.weight1 *= s.x / 10;
      s.weight2 *= 10 - s.x / 10;
    }
    s.gauge = static_cast<std::uint32_t>(random() % balls.size());
    sites.push_back(s);
  }
  return {std::move(sites), std::move(balls)};
}

void write(const bicriteria_problem& p, const char* file) {
  std::ofstream out(file);
  out << std::setprecision(17);
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const bicriteria_site& s = p.sites()[i];
    out << s.x << ' ' << s.y << ' ' << s.weight1 << ' ' << s.weight2;
    for (const xy& slope : bench::slopes_of(p.gauge_of(i), 1))
      out << ' ' << slope.x << ' ' << slope.y;
    out << '\n';
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 6) return 1;
  const bicriteria_problem p =
      random_problem(argv[1], static_cast<std::size_t>(std::atol(argv[2])), std::atoi(argv[3]),
                     std::atoi(argv[4]), static_cast<unsigned>(std::atoi(argv[5])));
  efficient_chain c;
  std::vector<double> times;
  for (int k = 0; k < 5; ++k) {
    const double start = bench::cpu_milliseconds();
    c = efficient_set(p);
    times.push_back(bench::cpu_milliseconds() - start);
  }
  std::sort(times.begin(), times.end());
  const double start = bench::cpu_milliseconds();
  const bool is_long = c.pieces.size() * p.sites().size() > kLongestProof;
  const bool proved = is_long || verify(p, c).accepted;
  std::cout << std::setprecision(15) << c.curve.size() << ' ' << c.pieces.size() << ' ' << times[2]
            << ' ' << bench::cpu_milliseconds() - start << ' ' << proved;
  for (const trade_off& t : c.curve) std::cout << ' ' << t.value1 << ' ' << t.value2;
  std::cout << '\n';
  if (argc > 6) write(p, argv[6]);
}
