// Euclidean and lp distances: centres, and sums of weighted distances.
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

maker stated(bool weighted, const std::function<double(facilities&)>& solve) {
  return [=](std::size_t n, unsigned seed) -> contestant {
    const auto F = std::make_shared<facilities>();
    for (const weighted_place& p : random_places(n, seed))
      F->append(location(2.0, 1.0, p.x, p.y, weighted ? p.weight : 1.0));
    return {.call = [=] { return solve(*F); }};
  };
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
  all["lp-sum"].contestants["lp_sum"] =
      stated(true, [](facilities& F) { return F.lp_sum(kWholeP, 0.0001, 0.01, 500, 0, true); });
  for (const char* row : {"weber", "lp-median", "l2-sum", "lp-sum", "tool"})
    all[row].write = write_places;
}

}  // namespace planloc::bench
