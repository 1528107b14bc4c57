// Solvers with stated steps beside their physical limits and linear programs: sums and the largest
// distance under polyhedral gauges, l1_sum beside two sorts, several new facilities beside the bare
// solves of lp_solve.
#include <ClpSimplex.hpp>
#include <ClpSolve.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/contest.h"
#include "bench/inputs.h"
#include "planloc/facilities/gauged_sites.h"
#include "planloc/foundation/containers/error_handler.h"
#include "tests/facilities/gauge_problems.h"
#include "tests/facilities/plain_programs.h"

namespace planloc::bench {
namespace {

// ----- l1_sum -----

contestant l1_sum(std::size_t n, unsigned seed) {
  const auto F = std::make_shared<facilities>();
  for (const weighted_place& p : random_places(n, seed))
    F->append(location(2.0, 1.0, p.x, p.y, p.weight));
  return {.call = [F] {
    F->l1_sum(0, true);
    return std::nan("");
  }};
}

contestant two_sorts(std::size_t n, unsigned seed) {
  std::vector<double> x;
  std::vector<double> y;
  for (const weighted_place& p : random_places(n, seed)) {
    x.push_back(p.x);
    y.push_back(p.y);
  }
  return {.call = [x, y] {
    std::vector<double> sorted_x = x;
    std::vector<double> sorted_y = y;
    std::sort(sorted_x.begin(), sorted_x.end());
    std::sort(sorted_y.begin(), sorted_y.end());
    return std::nan("");
  }};
}

// ----- gauge_sum -----

// Every site has one of five octagons, turned by any angle; or, on a lattice, all have one with the
// directions of a chess queen.
gauged_sites sum_problem(std::size_t n, unsigned seed, bool lattice) {
  constexpr int kVertices = 8;
  constexpr int kGauges = 5;
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  gauged_sites P;
  if (lattice) {
    P.gauges.append(
        polygauge({point(1, 0), point(0.75, 0.75), point(0, 1), point(-0.75, 0.75), point(-1, 0),
                   point(-0.75, -0.75), point(0, -1), point(0.75, -0.75)}));
  }
  for (int g = 0; g < kGauges && !lattice; ++g) {
    list<point> ball;
    const double turned = u(random);
    for (int i = 0; i < kVertices; ++i) {
      const double angle = turned + 2.0 * std::numbers::pi * i / kVertices;
      ball.append(point(2.0 * std::cos(angle), std::sin(angle)));
    }
    P.gauges.append(polygauge(ball));
  }
  const auto coordinate = [&] { return lattice ? std::floor(30 * u(random)) : 100 * u(random); };
  for (int i = 0; i < static_cast<int>(n); ++i) {
    const double x = coordinate();
    const double y = coordinate();
    P.sites.append(location(2.0, 1.0, x, y, lattice ? 1.0 : 0.5 + u(random)));
    P.gauge_of.append(i % P.gauges.size());
  }
  return P;
}

contestant gauge_sum(std::size_t n, unsigned seed, bool lattice) {
  const auto P = std::make_shared<gauged_sites>(sum_problem(n, seed, lattice));
  return {.call = [P] { return P->sites.gauge_sum(P->gauges, P->gauge_of, true); }};
}

// Columns Z_1 ... Z_n, X_0, X_1.
void load_sum(ClpSimplex& clp, const gauged_sites& P) {
  const int n = P.sites.size();
  const auto columns = static_cast<std::size_t>(n) + 2;
  std::vector<double> lower(columns, 0.0);
  lower[columns - 2] = lower[columns - 1] = -COIN_DBL_MAX;
  std::vector<double> cost(columns, 1.0);
  cost[columns - 2] = cost[columns - 1] = 0.0;
  CoinPackedMatrix matrix(false, 0, 0);
  matrix.setDimensions(0, n + 2);
  std::vector<double> right;
  int f = 0;
  P.for_each([&](const location& a, const polygauge& g) {
    for (const gauge_row& row : gauge_rows(a, g)) {
      const int places[] = {n, n + 1, f};
      const double entries[] = {row.a, row.b, -1.0};
      matrix.appendRow(3, places, entries);
      right.push_back(row.a * a[0] + row.b * a[1]);
    }
    ++f;
  });
  clp.loadProblem(matrix, lower.data(), nullptr, cost.data(), nullptr, right.data());
}

// By the given simplex after a presolve.
contestant sum_program(std::size_t n, unsigned seed, bool lattice, ClpSolve::SolveType type) {
  const auto P = std::make_shared<gauged_sites>(sum_problem(n, seed, lattice));
  const auto clp = std::make_shared<std::unique_ptr<ClpSimplex>>();
  return {.call =
              [clp, type] {
                ClpSolve options;
                options.setSolveType(type);
                options.setPresolveType(ClpSolve::presolveOn);
                (**clp).initialSolve(options);
                return (**clp).objectiveValue();
              },
          .prepare =
              [clp, P] {
                *clp = std::make_unique<ClpSimplex>();
                (**clp).setLogLevel(0);
                load_sum(**clp, *P);
              }};
}

// ----- gauge_max -----

struct ended {};

// The first of a sequence of random problems that gauge_max ends without a report.
gauged_sites max_problem(std::size_t n, unsigned seed) {
  const ErrorHandler previous = set_error_handler([](int, const char*) { throw ended(); });
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  for (;;) {
    gauged_sites P;
    for (int i = 0; i < static_cast<int>(n); ++i) {
      const double x = u(random);
      const double y = u(random);
      P.sites.append(site(x, y, 1.0 + u(random)));
      P.gauges.append(random_gauge(random, 8));
      P.gauge_of.append(i);
    }
    try {
      P.sites.gauge_max(P.gauges, P.gauge_of, true);
    } catch (const ended&) {
      continue;
    }
    set_error_handler(previous);
    return P;
  }
}

contestant gauge_max(std::size_t n, unsigned seed) {
  const auto P = std::make_shared<gauged_sites>(max_problem(n, seed));
  return {.call = [P] { return P->sites.gauge_max(P->gauges, P->gauge_of, true); }};
}

contestant max_program(std::size_t n, unsigned seed) {
  const auto rows = distance_rows(max_problem(n, seed));
  return {.call = [rows] {
    CoinPackedMatrix matrix(false, 0, 0);
    matrix.setDimensions(0, 3);
    std::vector<double> upper;
    const int columns[] = {0, 1, 2};
    for (const distance_row& row : rows) {
      const double entries[] = {row.a, row.b, -1.0};
      matrix.appendRow(3, columns, entries);
      upper.push_back(row.c);
    }
    const double cost[] = {0.0, 0.0, 1.0};
    const double low[] = {-COIN_DBL_MAX, -COIN_DBL_MAX, 0.0};
    ClpSimplex lp;
    lp.setLogLevel(0);
    lp.loadProblem(matrix, low, nullptr, cost, nullptr, upper.data());
    lp.dual();
    return lp.objectiveValue();
  }};
}

// ----- Several new facilities by linear programs -----

constexpr int kNew = 3;

std::shared_ptr<facilities> several_sites(std::size_t n, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> u(0.0, 100.0);
  const auto F = std::make_shared<facilities>();
  for (std::size_t i = 0; i < n; ++i) {
    location a(2, kNew);
    a[0] = u(random);
    a[1] = u(random);
    for (int j = 0; j < kNew; ++j) a.weight(j) = 0.1 + u(random) / 50.0;
    F->append(a);
  }
  return F;
}

// As strong as a quarter of the facilities.
matrix ties_for(std::size_t n) {
  matrix V(kNew, kNew);
  for (int j = 0; j < kNew; ++j) {
    for (int k = j + 1; k < kNew; ++k) V(j, k) = static_cast<double>(n) / 4.0;
  }
  return V;
}

maker several(double (facilities::*solve)(int, const matrix&, bool)) {
  return [solve](std::size_t n, unsigned seed) -> contestant {
    const auto F = several_sites(n, seed);
    return {.call = [=] { return ((*F).*solve)(kNew, ties_for(n), true); }};
  };
}

// The programs of both coordinates, on a model that stands already.
maker bare_solves(plain_program (*program)(const facilities&, int, const matrix&),
                  double (*together)(double, double)) {
  return [=](std::size_t n, unsigned seed) -> contestant {
    const auto P =
        std::make_shared<plain_program>(program(*several_sites(n, seed), kNew, ties_for(n)));
    const auto lp = std::make_shared<std::unique_ptr<lprec, void (*)(lprec*)>>(nullptr, delete_lp);
    return {.call =
                [=] {
                  double value[2];
                  for (const int k : {0, 1}) {
                    set_rh_vec(lp->get(), (k == 0 ? P->bx : P->by).data());
                    solve(lp->get());
                    value[k] = get_objective(lp->get());
                  }
                  return together(value[0], value[1]);
                },
            .prepare = [=] { lp->reset(entered_program(*P)); }};
  };
}

}  // namespace

void add_facilities(contests& all) {
  all["l1-sum"].contestants = {{"l1_sum", l1_sum}, {"std::sort", two_sorts}};
  for (const bool lattice : {false, true}) {
    auto& row = all[lattice ? "gauge-sum-lattice" : "gauge-sum"].contestants;
    row["gauge_sum"] = [=](auto n, auto seed) { return gauge_sum(n, seed, lattice); };
    row["CLP dual"] = [=](auto n, auto seed) {
      return sum_program(n, seed, lattice, ClpSolve::useDual);
    };
    row["CLP primal"] = [=](auto n, auto seed) {
      return sum_program(n, seed, lattice, ClpSolve::usePrimal);
    };
  }
  all["gauge-max"].contestants = {{"gauge_max", gauge_max}, {"CLP dual", max_program}};
  all["n-l1-sum"].contestants = {
      {"N_l1_sum", several(&facilities::N_l1_sum)},
      {"lp_solve", bare_solves(plain_l1, [](double a, double b) { return a + b; })}};
  all["n-linf-max"].contestants = {
      {"N_linf_max", several(&facilities::N_linf_max)},
      {"lp_solve", bare_solves(plain_linf, [](double a, double b) { return std::max(a, b); })}};
}

}  // namespace planloc::bench
