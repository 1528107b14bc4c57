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
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "planloc/optimum/tied_facilities.h"

namespace {

using namespace planloc;

double cpu_milliseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) * 1e-6;
}

gauge random_ball(std::mt19937_64& random) {
  std::uniform_real_distribution<double> unit(0, 1);
  const xy stretch{0.5 + unit(random), 0.5 + unit(random)};
  const xy shift{0.2 * unit(random), 0.2 * unit(random)};
  std::vector<xy> v;
  for (int j = 0; j < 8; ++j) {
    const double angle = 2 * std::numbers::pi * (j + 0.5 * unit(random)) / 8;
    v.push_back({shift.x + stretch.x * std::cos(angle), shift.y + stretch.y * std::sin(angle)});
  }
  return gauge::polyhedral(v);
}

// Each facility mostly serves the sites of a half-plane of its own.
tied_problem random_problem(const std::string& kind, std::uint32_t facilities, std::size_t n,
                            unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<gauge> gauges = {kind == "l1" ? gauge::l1() : gauge::euclidean()};
  if (kind == "polyhedral")
    gauges = {random_ball(random), random_ball(random), random_ball(random)};
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

// minimise cost . v subject to rows >= right, v free (bounds of 1e301). Columns: x and y of the
// facilities, then one a term; under l1 one a coordinate of a term, with two rows each.
class linear_program {
 public:
  explicit linear_program(const tied_problem& p) : problem_(p), cost_(2 * p.facilities(), 0) {
    for (std::size_t j = 0; j < p.facilities(); ++j) {
      for (std::size_t i = 0; i < p.sites().size(); ++i) {
        const tied_site& s = p.sites()[i];
        add(p.weight(j, i), s.gauge, j, p.facilities(), {s.x, s.y});
      }
    }
    for (const tie& b : p.ties()) add(b.weight, b.gauge, b.first, b.second, {0, 0});
  }

  void write(const std::string& file) const {
    std::ofstream out(file);
    out << std::setprecision(17) << right_.size() << ' ' << cost_.size() << ' ' << entries_.size()
        << '\n';
    for (const double c : cost_) out << c << " -1e301 1e301 0\n";
    for (const double r : right_) out << r << '\n';
    for (const entry& e : entries_) out << e.row << ' ' << e.column << ' ' << e.value << '\n';
  }

 private:
  struct entry {
    std::size_t row, column;
    double value;
  };

  void add(double weight, std::uint32_t gauge, std::size_t first, std::size_t second,
           const xy& at) {
    if (problem_.gauges()[gauge].vertices()[0] == xy{1, 0}) {
      add_column(weight, {{1, 0}, {-1, 0}}, first, second, at);
      add_column(weight, {{0, 1}, {0, -1}}, first, second, at);
      return;
    }
    const auto v = problem_.gauges()[gauge].vertices();
    std::vector<xy> normals;
    for (std::size_t e = 0; e < v.size(); ++e) {
      const xy& a = v[e];
      const xy& b = v[(e + 1) % v.size()];
      const double area = a.x * b.y - a.y * b.x;
      normals.push_back({(b.y - a.y) / area, (a.x - b.x) / area});
    }
    add_column(weight, normals, first, second, at);
  }

  void add_column(double weight, const std::vector<xy>& normals, std::size_t first,
                  std::size_t second, const xy& at) {
    for (const xy& n : normals) {
      const auto put = [&](std::size_t column, double value) {
        if (value != 0) entries_.push_back({right_.size(), column, value});
      };
      put(cost_.size(), 1);
      put(2 * first, -n.x);
      put(2 * first + 1, -n.y);
      if (second < problem_.facilities()) {
        put(2 * second, n.x);
        put(2 * second + 1, n.y);
      }
      right_.push_back(-(n.x * at.x + n.y * at.y));
    }
    cost_.push_back(weight);
  }

  const tied_problem& problem_;
  std::vector<double> cost_, right_;
  std::vector<entry> entries_;
};

double median_milliseconds(const tied_problem& p, const tied_options& options, tied_solution& s) {
  std::vector<double> times;
  for (int k = 0; k < 5; ++k) {
    const double start = cpu_milliseconds();
    s = minimise(p, options);
    times.push_back(cpu_milliseconds() - start);
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
  const double start = cpu_milliseconds();
  const verification v = verify(p, s);
  const double checked = cpu_milliseconds() - start;
  if (!v.accepted) {
    std::cerr << v.reason << '\n';
    return 1;
  }
  std::cout << std::setprecision(15) << s.value << ' ' << coarse << ' ' << time << ' ' << checked
            << ' ' << v.gap / v.value << ' ' << s.counters.rounds << '\n';
  if (argc > 5 && kind != "euclidean") linear_program(p).write(argv[5]);
}
