// Certified optima under polyhedral gauges (8 vertices), and the same problems as linear programs
// (convex order weights) and mixed-integer programs (the others).
#include <functional>
#include <string>
#include <vector>

#include "bench/contest.h"
#include "bench/optimum_programs.h"
#include "bench/solve_programs.h"

namespace planloc::bench {
namespace {

constexpr int kVertices = 8;

double proved(const solution& s) {
  return s.status == solution_status::optimal ? s.value : std::nan("");
}

using instance = std::function<problem(std::size_t, unsigned)>;
using program = std::function<linear_program(const problem&)>;

contest certified(const instance& make, const program& rewrite) {
  contest c;
  c.contestants["minimise"] = [=](std::size_t n, unsigned seed) -> contestant {
    const problem p = make(n, seed);
    return {.call = [p] { return proved(minimise(p)); }};
  };
  c.write = [=](std::size_t n, unsigned seed, std::ostream& out) {
    write(rewrite(make(n, seed)), out);
  };
  return c;
}

problem convex_instance(const std::string& kind, std::size_t n, unsigned seed) {
  const order_weights lambda = kind == "median"      ? order_weights::median()
                               : kind == "centre"    ? order_weights::centre()
                               : kind == "k-centrum" ? order_weights::k_centrum(n / 2)
                                                     : order_weights::cent_dian(0.5);
  return random_problem(n, kVertices, 10, seed, lambda);
}

}  // namespace

void add_certified(contests& all) {
  for (const std::string kind : {"median", "centre", "k-centrum", "cent-dian"}) {
    const instance make = [kind](auto n, auto seed) { return convex_instance(kind, n, seed); };
    const program rewrite = [kind](const problem& p) { return convex_program(p, kind); };
    contest& c = all["convex-" + kind] = certified(make, rewrite);
    c.contestants["CLP dual"] = [=](std::size_t n, unsigned seed) {
      return by_clp(rewrite(make(n, seed)), &ClpSimplex::dual);
    };
    c.contestants["CLP primal"] = [=](std::size_t n, unsigned seed) {
      return by_clp(rewrite(make(n, seed)), &ClpSimplex::primal);
    };
  }
  for (const std::string kind : kGeneralKinds) {
    const instance make = [kind](auto n, auto seed) {
      return random_problem(n, kVertices, 3, seed, general_order(kind, n, seed));
    };
    const program rewrite = [kind](const problem& p) { return general_program(p, kind); };
    contest& c = all["general-" + kind] = certified(make, rewrite);
    c.contestants["CBC"] = [=](std::size_t n, unsigned seed) {
      return by_cbc(rewrite(make(n, seed)));
    };
  }
}

}  // namespace planloc::bench
