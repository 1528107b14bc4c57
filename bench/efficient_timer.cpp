// For efficient_set.py: the efficient set of two sums, and the same problem for linear programs.
//
//   efficient_timer kind sites vertices gauges seed [program.txt]
//
// kind: independent (both weights at random) or apart (the first grows to the right, the second to
// the left). Prints the number of corners of the trade-off curve, the pieces, the milliseconds of
// efficient_set and of verify (0 where it would take long), whether it is proved, and the corners.
// The program: per site x, y and both weights, then its edges as slopes.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "planloc/optimum/efficient_set.h"

namespace {

using namespace planloc;

// Pieces times sites.
constexpr std::size_t kLongestProof = 10'000'000;

double cpu_milliseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) * 1e-6;
}

gauge random_ball(std::mt19937_64& random, int vertices) {
  std::uniform_real_distribution<double> unit(0, 1);
  const xy stretch{0.5 + unit(random), 0.5 + unit(random)};
  const xy shift{0.2 * unit(random), 0.2 * unit(random)};
  std::vector<xy> v;
  for (int j = 0; j < vertices; ++j) {
    const double angle = 2 * std::numbers::pi * (j + 0.5 * unit(random)) / vertices;
    v.push_back({shift.x + stretch.x * std::cos(angle), shift.y + stretch.y * std::sin(angle)});
  }
  return gauge::polyhedral(v);
}

bicriteria_problem random_problem(const std::string& kind, std::size_t n, int vertices, int gauges,
                                  unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<gauge> balls;
  for (int k = 0; k < gauges; ++k) balls.push_back(random_ball(random, vertices));
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
  return {sites, balls};
}

void write(const bicriteria_problem& p, const char* file) {
  std::ofstream out(file);
  out << std::setprecision(17);
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const bicriteria_site& s = p.sites()[i];
    out << s.x << ' ' << s.y << ' ' << s.weight1 << ' ' << s.weight2;
    const std::span<const xy> v = p.gauge_of(i).vertices();
    for (std::size_t j = 0; j < v.size(); ++j) {
      const xy a = v[j];
      const xy b = v[(j + 1) % v.size()];
      const double area = a.x * b.y - a.y * b.x;
      out << ' ' << (b.y - a.y) / area << ' ' << (a.x - b.x) / area;
    }
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
    const double start = cpu_milliseconds();
    c = efficient_set(p);
    times.push_back(cpu_milliseconds() - start);
  }
  std::sort(times.begin(), times.end());
  const double start = cpu_milliseconds();
  const bool is_long = c.pieces.size() * p.sites().size() > kLongestProof;
  const bool proved = is_long || verify(p, c).accepted;
  std::cout << std::setprecision(15) << c.curve.size() << ' ' << c.pieces.size() << ' ' << times[2]
            << ' ' << cpu_milliseconds() - start << ' ' << proved;
  for (const trade_off& t : c.curve) std::cout << ' ' << t.value1 << ' ' << t.value2;
  std::cout << '\n';
  if (argc > 6) write(p, argv[6]);
}
