#include <gmpxx.h>

#include <algorithm>
#include <cmath>

#include "planloc/optimum/general/recession.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kMostSites = 300;
// For what is computed in doubles and checked in intervals.
constexpr double kCaution = 1 + 0x1p-40;

}  // namespace

std::optional<level_steps> steps_to_level(const problem& p, const distance_table& table) {
  if (table.size() < 2 || table.size() > kMostSites || table.blocks.empty()) return {};
  const gauge& g = p.gauge_of(0);
  if (g.kind() == gauge::shape::polyhedral || !has_one_kind(p)) return {};
  mpq_class tail;
  mpq_class least_tail;
  for (auto r = p.runs().rbegin(); r != p.runs().rend(); ++r) {
    tail += mpq_class(r->weight) * static_cast<unsigned long>(r->count);
    least_tail = std::min(least_tail, tail);
  }
  if (sgn(tail) != 0) return {};
  double most = 0;
  xy from{0, 0};
  xy to{0, 0};
  for (std::size_t k = 0; k < table.size(); ++k) {
    for (std::size_t j = 0; j < k; ++j) {
      const double apart = g({table.x[k] - table.x[j], table.y[k] - table.y[j]});
      if (apart <= most) continue;
      most = apart;
      from = {table.x[j], table.y[j]};
      to = {table.x[k], table.y[k]};
    }
  }
  return level_steps{
      least_tail.get_d() * table.weight[0] * most * kCaution,
      {xy{2 * to.x - from.x, 2 * to.y - from.y}, xy{2 * from.x - to.x, 2 * from.y - to.y}}};
}

}  // namespace planloc::detail
