// Tied facilities, every two of them, beside the same problem as one linear program. Polyhedral: 8
// vertices, 3 gauges.
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/contest.h"
#include "bench/optimum_programs.h"
#include "planloc/optimum/tied_facilities.h"

namespace planloc::bench {
namespace {

// Each facility mostly serves the sites of a half-plane of its own.
tied_problem tied_instance(const std::string& kind, std::uint32_t facilities, std::size_t n,
                           unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<gauge> gauges = {kind == "l1" ? gauge::l1() : gauge::euclidean()};
  if (kind == "polyhedral") gauges = random_balls(random, 3, 8);
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

  const linear_program& program() const { return program_; }

 private:
  void add(double weight, const gauge& g, std::size_t first, std::size_t second, const xy& at) {
    if (g.vertices()[0] == xy{1, 0}) {
      add_column(weight, {{1, 0}, {-1, 0}}, first, second, at);
      add_column(weight, {{0, 1}, {0, -1}}, first, second, at);
    } else {
      add_column(weight, slopes_of(g, 1), first, second, at);
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
  linear_program program_;
};

// facilities and sites; the sites; a line of weights a facility; the ties.
void write_weights(const tied_problem& p, std::ostream& out) {
  out << p.facilities() << ' ' << p.sites().size() << '\n';
  for (const tied_site& s : p.sites()) out << s.x << ' ' << s.y << '\n';
  for (std::size_t j = 0; j < p.facilities(); ++j) {
    for (std::size_t i = 0; i < p.sites().size(); ++i) out << p.weight(j, i) << ' ';
    out << '\n';
  }
  for (const tie& b : p.ties()) out << b.first << ' ' << b.second << ' ' << b.weight << '\n';
}

contest tied(const std::string& kind, std::uint32_t facilities, double gap) {
  const auto make = [=](std::size_t n, unsigned seed) {
    return tied_instance(kind, facilities, n, seed);
  };
  contest c;
  c.contestants["minimise"] = [=](std::size_t n, unsigned seed) -> contestant {
    const tied_problem p = make(n, seed);
    tied_options options;
    options.relative_gap = gap;
    return {.call = [=] { return minimise(p, options).value; }};
  };
  c.write = [=](std::size_t n, unsigned seed, std::ostream& out) {
    const tied_problem p = make(n, seed);
    if (kind == "euclidean") {
      write_weights(p, out);
    } else {
      write(tied_program(p).program(), out);
    }
  };
  return c;
}

}  // namespace

void add_tied(contests& all) {
  all["tied-l1"] = tied("l1", 10, 0);
  all["tied-polyhedral"] = tied("polyhedral", 5, 0);
  all["tied-many"] = tied("polyhedral", 20, 0);
  all["tied-euclidean"] = tied("euclidean", 10, 1e-6);
}

}  // namespace planloc::bench
