// Euclidean and lp distances: centres, and sums of weighted distances.
#include <cmath>
#include <functional>
#include <iomanip>
#include <memory>
#include <numbers>
#include <ostream>
#include <vector>

#include "bench/contest.h"
#include "bench/inputs.h"
#include "planloc/facilities/facilities.h"
#include "planloc/optimum/minimise.h"

namespace planloc::bench {
namespace {

constexpr double kP = 1.5;  // of the certified lp row
constexpr int kWholeP = 3;  // of lp_sum

std::vector<site> sites_of(const std::vector<weighted_place>& places, bool weighted) {
  std::vector<site> sites;
  for (const weighted_place& p : places) sites.push_back({p.x, p.y, weighted ? p.weight : 1});
  return sites;
}

using instance = std::function<std::vector<weighted_place>(std::size_t, unsigned)>;

maker certified_sum(const gauge& g) {
  return [=](std::size_t n, unsigned seed) -> contestant {
    const problem p(sites_of(random_places(n, seed), true), {g}, order_weights::median());
    return {.call = [p] { return minimise(p).value; }};
  };
}

maker certified_centre(const instance& places) {
  return [=](std::size_t n, unsigned seed) -> contestant {
    const problem p(sites_of(places(n, seed), false), {gauge::euclidean()},
                    order_weights::centre());
    return {.call = [p] { return minimise(p).value; }};
  };
}

std::shared_ptr<facilities> random_facilities(std::size_t n, unsigned seed, bool weighted) {
  const auto F = std::make_shared<facilities>();
  for (const weighted_place& p : random_places(n, seed))
    F->append(location(2.0, 1.0, p.x, p.y, weighted ? p.weight : 1.0));
  return F;
}

maker stated(bool weighted, const std::function<double(facilities&)>& solve) {
  return [=](std::size_t n, unsigned seed) -> contestant {
    const auto F = random_facilities(n, seed, weighted);
    return {.call = [=] { return solve(*F); }};
  };
}

// ----- lp_sum -----

constexpr double kStep = 0.0001;
constexpr double kSmoothing = 0.01;

double lp_sum(facilities& F) { return F.lp_sum(kWholeP, kStep, kSmoothing, 500, 0, true); }

// The powers that the steps of lp_sum state, and nothing else: five a site and step.
contestant powers_alone(std::size_t n, unsigned seed) {
  const auto F = random_facilities(n, seed, true);
  const double value = lp_sum(*F);
  F->l2squared_sum(0, true);
  location x = F->opt.head();
  int steps = 0;
  for (double length = kStep; length >= kStep; ++steps) {
    const location next = F->lp_step(x, kWholeP, kSmoothing, 0);
    length = (next - x).norm(kWholeP);
    x = next;
  }
  std::vector<double> squares;  // of both differences, site by site
  for (const location& a : *F) {
    for (int c = 0; c < 2; ++c) squares.push_back((a[c] - x[c]) * (a[c] - x[c]) + kSmoothing);
  }
  return {.call = [=] {
    double sum = 0.0;
    for (int step = 0; step < steps; ++step) {
      for (std::size_t k = 0; k < squares.size(); k += 2) {
        const double t =
            std::pow(squares[k], kWholeP / 2.0) + std::pow(squares[k + 1], kWholeP / 2.0);
        sum += std::pow(t, 1.0 - 1.0 / kWholeP) + std::pow(squares[k], 1.0 - kWholeP / 2.0) +
               std::pow(squares[k + 1], 1.0 - kWholeP / 2.0);
      }
    }
    return sum > 0.0 ? value : sum;
  }};
}

void write_places(std::size_t n, unsigned seed, std::ostream& out) {
  for (const weighted_place& p : random_places(n, seed))
    out << p.x << ' ' << p.y << ' ' << p.weight << '\n';
}

}  // namespace

void add_euclidean(contests& all) {
  all["euclidean-centre"].contestants["minimise"] = certified_centre(random_places);
  all["euclidean-centre-ring"].contestants["minimise"] = certified_centre(places_near_circle);
  all["l2-max"].contestants["l2_max"] = stated(false, [](facilities& F) { return F.l2_max(true); });

  all["weber"].contestants["minimise"] = certified_sum(gauge::euclidean());
  all["lp-median"].contestants["minimise"] = certified_sum(gauge::lp(kP));
  all["l2-sum"].contestants["l2_sum"] = stated(true, [](facilities& F) { return F.l2_sum(1e-6); });
  all["lp-sum"].contestants = {{"lp_sum", stated(true, lp_sum)}, {"powers alone", powers_alone}};
  for (const char* row : {"weber", "lp-median", "l2-sum", "lp-sum", "tool"})
    all[row].write = write_places;
}

}  // namespace planloc::bench
