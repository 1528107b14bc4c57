// The smallest circle around n sites: the certified centre, and `l2_max` with equal weights.
#include <memory>
#include <vector>

#include "bench/contest.h"
#include "bench/inputs.h"
#include "planloc/facilities/facilities.h"
#include "planloc/optimum/minimise.h"

namespace planloc::bench {
namespace {

contestant certified_centre(std::size_t n, unsigned seed) {
  std::vector<site> sites;
  for (const weighted_place& p : random_places(n, seed)) sites.push_back({p.x, p.y});
  const problem centre(sites, {gauge::euclidean()}, order_weights::centre());
  return {.call = [centre] { return minimise(centre).value; }};
}

contestant stated_centre(std::size_t n, unsigned seed) {
  const auto sites = std::make_shared<facilities>();
  for (const weighted_place& p : random_places(n, seed))
    sites->append(location(2.0, 1.0, p.x, p.y, 1.0));
  return {.call = [sites] { return sites->l2_max(true); }};
}

}  // namespace

void add_euclidean(contests& all) {
  all["euclidean-centre"].contestants["minimise"] = certified_centre;
  all["l2-max"].contestants["l2_max"] = stated_centre;
}

}  // namespace planloc::bench
