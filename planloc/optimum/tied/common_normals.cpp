#include "planloc/optimum/tied/common_normals.h"

#include <algorithm>
#include <cstddef>

namespace planloc::detail {

namespace {

std::vector<dyadic> products_of_others(const std::vector<dyadic>& factors) {
  std::vector<dyadic> products(factors.size(), 1.0);
  dyadic before = 1;
  dyadic after = 1;
  for (std::size_t k = 0; k < factors.size(); ++k) {
    products[k] = products[k] * before;
    before = before * factors[k];
  }
  for (std::size_t k = factors.size(); k-- > 0;) {
    products[k] = products[k] * after;
    after = after * factors[k];
  }
  return products;
}

}  // namespace

common_normals::common_normals(std::span<const gauge> gauges, const std::vector<bool>& counts)
    : normals(counts.size()) {
  std::vector<dyadic> areas;  // those of opposite edges are often the same
  std::vector<std::size_t> area_of(counts.size());
  std::size_t row = 0;
  for (const gauge& g : gauges) {
    const std::span<const xy> v = g.vertices();
    for (std::size_t e = 0; e < v.size(); ++e, ++row) {
      if (!counts[row]) continue;
      const xy& next = v[(e + 1) % v.size()];
      const dyadic_xy a{v[e].x, v[e].y};
      const dyadic_xy b{next.x, next.y};
      normals[row] = {b.y - a.y, a.x - b.x};
      const dyadic area = cross(a, b);
      const auto known = std::find_if(areas.begin(), areas.end(),
                                      [&](const dyadic& other) { return sgn(other - area) == 0; });
      area_of[row] = static_cast<std::size_t>(known - areas.begin());
      if (known == areas.end()) areas.push_back(area);
    }
  }
  const std::vector<dyadic> others = products_of_others(areas);
  if (!areas.empty()) denominator = others[0] * areas[0];
  for (std::size_t r = 0; r < counts.size(); ++r) {
    if (!counts[r]) continue;
    const dyadic& factor = others[area_of[r]];
    normals[r] = {normals[r].x * factor, normals[r].y * factor};
  }
}

}  // namespace planloc::detail
