#include <algorithm>
#include <cmath>
#include <map>

#include "planloc/optimum/general/exact_close.h"
#include "planloc/optimum/general/recession.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kMostLines = 30000;
constexpr double kCaution = 1 + 0x1p-20;

// Of lines with one normal: x + slope y, or y, which comes last.
struct normal_order {
  bool operator()(const exact_xy& a, const exact_xy& b) const {
    return a.x != b.x ? a.x > b.x : a.y < b.y;
  }
};

// The largest distance of a line from the base, by normal.
using line_table = std::map<exact_xy, double, normal_order>;

void add_line(line_table& lines, const exact_xy& normal, const mpq_class& right) {
  if (sgn(normal.x) == 0 && sgn(normal.y) == 0) return;
  const mpq_class lead = sgn(normal.x) != 0 ? normal.x : normal.y;
  const exact_xy unit{normal.x / lead, normal.y / lead};
  const xy rounded = to_nearest(unit);
  const double distance =
      std::fabs(mpq_class(right / lead).get_d()) / std::hypot(rounded.x, rounded.y);
  double& most = lines.try_emplace(unit, 0).first->second;
  most = std::max(most, distance);
}

struct plane {
  exact_xy slope;
  mpq_class right;
};

line_table all_lines(const problem& p, const distance_table& table) {
  exact_edges edges(table);
  line_table lines;
  std::vector<std::vector<plane>> planes;
  for (std::uint32_t slot = 0; slot < table.size(); ++slot) {
    const site& s = p.sites()[table.site[slot]];
    const exact_xy at{mpq_class(s.x) - table.base.x, mpq_class(s.y) - table.base.y};
    const gauge_block& b = table.blocks[table.block_of[slot]];
    std::vector<plane> own;
    for (std::uint32_t e = b.first_edge; e < b.first_edge + b.edges; ++e) {
      const xy& ray = table.edges[e].from;
      const exact_xy across{mpq_class(-ray.y), mpq_class(ray.x)};
      add_line(lines, across, dot(across, at));
      const exact_xy& n = edges.normal(e);
      const exact_xy slope{n.x * s.weight, n.y * s.weight};
      own.push_back({slope, dot(slope, at)});
    }
    for (const std::vector<plane>& others : planes) {
      for (const plane& q : others) {
        for (const plane& r : own)
          add_line(lines, {r.slope.x - q.slope.x, r.slope.y - q.slope.y}, r.right - q.right);
      }
    }
    planes.push_back(std::move(own));
  }
  return lines;
}

std::size_t count_of_lines(const distance_table& table) {
  std::size_t planes = 0;
  for (std::size_t slot = 0; slot < table.size(); ++slot)
    planes += table.blocks[table.block_of[slot]].edges;
  return planes * planes / 2;
}

double sine(const exact_xy& a, const exact_xy& b) {
  const xy u = to_nearest(a);
  const xy v = to_nearest(b);
  return std::fabs(mpq_class(cross(a, b)).get_d()) / std::hypot(u.x, u.y) / std::hypot(v.x, v.y);
}

}  // namespace

recession test_all_lines(const problem& p, const distance_table& table) {
  recession result;
  if (!p.polyhedral() || count_of_lines(table) > kMostLines) return result;
  const line_table lines = all_lines(p, table);
  const problem origin = recession_problem(p);
  const distance_table gauges(origin);
  exact_closer exact(origin, gauges);
  double far = 0;
  double least_sine = 1;
  const exact_xy* last = &lines.rbegin()->first;
  for (const auto& [normal, distance] : lines) {
    far = std::max(far, distance);
    least_sine = std::min(least_sine, sine(*last, normal));
    last = &normal;
    for (const int sign : {1, -1}) {
      const exact_xy u{-normal.y * sign, normal.x * sign};
      if (sgn(exact.value(u)) >= 0) continue;
      result.direction = to_nearest(u);
      if (surely_falls(origin, gauges, result.direction)) result.kind = growth::falls;
      return result;
    }
  }
  result.kind = growth::levels;
  result.half = far > 0 ? 2 * kCaution * far / least_sine : 1;
  return result;
}

}  // namespace planloc::detail
