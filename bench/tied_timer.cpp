// For tied.py: places tied facilities, and writes the linear program for other solvers.
//
//   tied_timer kind facilities sites seed [program.txt]
//
// kind: l1, polyhedral (8 vertices, 3 gauges) or euclidean; every two facilities are tied. Prints
// the value, the milliseconds of minimise (of euclidean: to a gap of 1e-6, then to the end) and of
// verify, and the proved gap. The times leave out the building of the models.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/optimum_programs.h"
#include "planloc/optimum/tied_facilities.h"

namespace {

using namespace planloc;

// Each facility mostly serves the sites of a half-plane of its own.
tied_problem random_problem(const std::string& kind, std::uint32_t facilities, std::size_t n,
                            unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<gauge> gauges = {kind == "l1" ? gauge::l1() : gauge::euclidean()};
  if (kind == "polyhedral") gauges = bench::random_balls(random, 3, 8);
  std::vector<tied_site> sites;
  for (std::size_t i = 0; i < n; ++i) {
    const double x = 100 * unit(random);
    sites.push_back({x, 100 * unit(random), static_cast<std::uint32_t>(random() % gauges.size())});
  }
  std::vector<double> weights;
  std::vector<tie> ties;
  for (std::uint32_t j = 0; j < facilities; ++j) {
    const double turn = 2 * std::numbers::pi * unit(random);
    for (const tied_site& s : sites) {
      const double side = (s.x - 50) * std::cos(turn) + (s.y - 50) * std::sin(turn);
      weights.push_back((side > 0 ? 1 : 0.1) * (0.1 + unit(random)));
    }
    for (std::uint32_t k = 0; k < j; ++k) {
      const double share = unit(random) / facilities;
      ties.push_back({k, j, share * static_cast<double>(n),
                      static_cast<std::uint32_t>(random() % gauges.size())});
    }
  }
  return {facilities, sites, gauges, weights, ties};
}

// Columns: x and y of the facilities, then one a term; under l1 one a coordinate of a term, with
// two rows each.
class tied_program {
 public:
  explicit tied_program(const tied_problem& p) : problem_(p) {
    program_.columns.resize(2 * p.facilities());
    for (std::size_t j = 0; j < p.facilities(); ++j) {
      for (std::size_t i = 0; i < p.sites().size(); ++i) {
        const tied_site& s = p.sites()[i];
        add(p.weight(j, i), p.gauges()[s.gauge], j, p.facilities(), {s.x, s.y});
      }
    }
    for (const tie& b : p.ties()) add(b.weight, p.gauges()[b.gauge], b.first, b.second, {0, 0});
  }

  const bench::linear_program& program() const { return program_; }

 private:
  void add(double weight, const gauge& g, std::size_t first, std::size_t second, const xy& at) {
    if (g.vertices()[0] == xy{1, 0}) {
      add_column(weight, {{1, 0}, {-1, 0}}, first, second, at);
      add_column(weight, {{0, 1}, {0, -1}}, first, second, at);
    } else {
      add_column(weight, bench::slopes_of(g, 1), first, second, at);
    }
  }

  void add_column(double weight, const std::vector<xy>& slopes, std::size_t first,
                  std::size_t second, const xy& at) {
    const int column = program_.add_column({weight});
    const int of_first = 2 * static_cast<int>(first);
    const int of_second = 2 * static_cast<int>(second);
    for (const xy& n : slopes) {
      const double right = -(n.x * at.x + n.y * at.y);
      if (second < problem_.facilities()) {
        program_.add(right, {{column, 1},
                             {of_first, -n.x},
                             {of_first + 1, -n.y},
                             {of_second, n.x},
                             {of_second + 1, n.y}});
      } else {
        program_.add(right, {{column, 1}, {of_first, -n.x}, {of_first + 1, -n.y}});
      }
    }
  }

  const tied_problem& problem_;
  bench::linear_program program_;
};

double median_milliseconds(const tied_problem& p, const tied_options& options, tied_solution& s) {
  std::vector<double> times;
  for (int k = 0; k < 5; ++k) {
    const double start = bench::cpu_milliseconds();
    s = minimise(p, options);
    times.push_back(bench::cpu_milliseconds() - start);
  }
  std::sort(times.begin(), times.end());
  return times[2];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) return 1;
  const std::string kind = argv[1];
  const tied_problem p = random_problem(kind, static_cast<std::uint32_t>(std::atoi(argv[2])),
                                        static_cast<std::size_t>(std::atol(argv[3])),
                                        static_cast<unsigned>(std::atoi(argv[4])));
  tied_solution s;
  tied_options to_a_millionth;
  to_a_millionth.relative_gap = 1e-6;
  const double coarse = kind == "euclidean" ? median_milliseconds(p, to_a_millionth, s) : 0;
  const double time = median_milliseconds(p, {}, s);
  const double start = bench::cpu_milliseconds();
  const verification v = verify(p, s);
  const double checked = bench::cpu_milliseconds() - start;
  if (!v.accepted) {
    std::cerr << v.reason << '\n';
    return 1;
  }
  std::cout << std::setprecision(15) << s.value << ' ' << coarse << ' ' << time << ' ' << checked
            << ' ' << v.gap / v.value << ' ' << s.counters.rounds << '\n';
  if (argc > 5 && kind != "euclidean") bench::write(tied_program(p).program(), argv[5]);
}
