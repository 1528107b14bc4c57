#include "planloc/optimum/tied/tied_part.h"

#include <cmath>
#include <numeric>

#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

std::vector<tied_part> held_parts(const tied_problem& p) {
  const std::size_t count = p.facilities();
  std::vector<std::uint32_t> root(count);
  std::iota(root.begin(), root.end(), 0U);
  const auto find = [&](std::uint32_t j) {
    while (root[j] != j) j = root[j] = root[root[j]];
    return j;
  };
  for (const tie& b : p.ties())
    if (b.weight > 0) root[find(b.first)] = find(b.second);
  std::vector<bool> held(count);
  for (std::uint32_t j = 0; j < count; ++j) {
    for (std::size_t i = 0; i < p.sites().size() && !held[find(j)]; ++i)
      held[find(j)] = p.weight(j, i) > 0;
  }
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::vector<std::size_t> number(count, kNone);
  std::vector<tied_part> parts;
  for (std::uint32_t j = 0; j < count; ++j) {
    const std::uint32_t r = find(j);
    if (!held[r]) continue;
    if (number[r] == kNone) {
      number[r] = parts.size();
      parts.emplace_back();
    }
    parts[number[r]].facilities.push_back(j);
  }
  for (std::uint32_t t = 0; t < p.ties().size(); ++t) {
    const std::uint32_t r = find(p.ties()[t].first);
    if (p.ties()[t].weight > 0 && held[r]) parts[number[r]].ties.push_back(t);
  }
  return parts;
}

tied_certificate::slope slope_of(const mpq_class& x, const mpq_class& y) {
  const exact_xy exact{x, y};
  tied_certificate::slope s{to_nearest(exact), {}};
  if (mpq_class(s.rounded.x) != x || mpq_class(s.rounded.y) != y) s.exact = to_text(exact);
  return s;
}

void set_place(tied_solution& s, std::uint32_t facility, const mpq_class& x, const mpq_class& y) {
  const tied_certificate::slope place = slope_of(x, y);
  s.points[facility] = place.rounded;
  if (place.exact.empty() && s.exact.empty()) return;
  s.exact.resize(s.points.size());
  s.exact[facility] = place.exact;
}

}  // namespace planloc::detail
