// The bounds of a triangle in intervals.
#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

#include "planloc/optimum/proof/leaf_walk.h"

namespace planloc::detail {

namespace {

// Whether no sum of the last order weights is negative: without loss where intervals cannot tell.
bool tails_rise(const std::vector<order_run>& runs) {
  interval tail;
  bool surely = true;
  for (auto r = runs.rbegin(); r != runs.rend(); ++r) {
    tail = tail + interval(r->weight) * interval(static_cast<double>(r->count));
    if (tail.high < 0) return false;
    surely = surely && tail.low >= 0;
  }
  if (surely) return true;
  mpq_class sum;
  for (auto r = runs.rbegin(); r != runs.rend(); ++r) {
    sum += mpq_class(r->weight) * static_cast<unsigned long>(r->count);
    if (sgn(sum) < 0) return false;
  }
  return true;
}

}  // namespace

leaf_walk::rows leaf_walk::rest(const triangle_state& t) const {
  rows r;
  for (std::size_t m = 0; m < 3; ++m) {
    const interval linear = t.sum_at_base + dot(t.slope, exactly(t.at[m]));
    for (auto& row : r) row[m] = linear;
  }
  for (std::size_t k = 0; k < decided_.size(); ++k) {
    for (std::size_t j = 0; j < kPoints; ++j) {
      for (std::size_t m = 0; m < 3; ++m) {
        r[j][m] = r[j][m] + least_product(t.decided[k].lambda, decided_[k].tangent[j][m],
                                          decided_[k].value[m]);
      }
    }
  }
  return r;
}

interval leaf_walk::sorted_bounds(const triangle_state& t) const {
  const auto [lower, upper] = limits_of_undecided();
  interval sum;
  std::size_t k = 0;
  for (const order_run& r : t.runs) {
    for (const std::size_t end = k + r.count; k < end; ++k)
      sum = sum + interval(r.weight) * interval(r.weight >= 0 ? lower[k] : upper[k]);
  }
  return sum;
}

// The sorted distances are sums of steps between neighbours, each of which counts with the sum of
// the order weights from there on. Where none of these is negative, neither are the steps' terms.
interval leaf_walk::nearest_bound(const triangle_state& t) const {
  interval total;
  for (const order_run& r : t.runs)
    total = total + interval(r.weight) * interval(static_cast<double>(r.count));
  double nearest = std::numeric_limits<double>::infinity();
  for (const site_on_triangle& v : undecided_) nearest = std::min(nearest, v.lower);
  return interval(std::max(0.0, total.low)) * interval(nearest);
}

// f is a sum of order weights that rise, times sorted distances, less another such sum. Any order
// of the sites gives a minorant of the first; the second is convex, so that its values at the
// corners, where sorted bounds hold, bound it from above.
void leaf_walk::add_steps(const triangle_state& t, rows& r) const {
  std::vector<interval> rising, falling;
  interval up;
  double last = 0;
  for (const order_run& run : t.runs) {
    if (run.weight > last) up = up + (interval(run.weight) - interval(last));
    last = run.weight;
    // Exact steps keep exact sums of equal ends; otherwise the larger end is a valid step for both.
    const interval step(up.high);
    rising.insert(rising.end(), run.count, step);
    falling.insert(falling.end(), run.count, step - interval(run.weight));
    up = step;
  }
  std::vector<std::size_t> order(undecided_.size());
  std::iota(order.begin(), order.end(), 0U);
  for (std::size_t j = 0; j < kPoints; ++j) {
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      return undecided_[a].height[j] < undecided_[b].height[j];
    });
    for (std::size_t k = 0; k < order.size(); ++k) {
      for (std::size_t m = 0; m < 3; ++m)
        r[j][m] = r[j][m] + rising[k] * undecided_[order[k]].tangent[j][m];
    }
  }
  for (std::size_t m = 0; m < 3; ++m) {
    std::vector<double> high;
    for (const site_on_triangle& v : undecided_) high.push_back(v.value[m].high);
    std::sort(high.begin(), high.end());
    interval concave;
    for (std::size_t k = 0; k < high.size(); ++k)
      concave = concave + falling[k] * interval(high[k]);
    for (auto& row : r) row[m] = row[m] - interval(concave.high);
  }
}

// The shares come from doubles; their sum is made up for in intervals.
leaf_walk::mixture leaf_walk::best_mixture(const rows& r) {
  mixture best{-std::numeric_limits<double>::infinity(), 0};
  const auto offer = [&](double least, std::uint32_t planes) {
    if (least > best.least) best = {least, planes};
  };
  const auto mix = [&](const std::array<double, 4>& share) {
    interval total;
    std::array<interval, 3> sum{};
    std::uint32_t taken = 0;
    for (std::size_t j = 0; j < 4; ++j) {
      if (!(share[j] >= 0)) return;
      if (share[j] == 0) continue;
      taken |= 1U << j;
      total = total + interval(share[j]);
      for (std::size_t m = 0; m < 3; ++m) sum[m] = sum[m] + interval(share[j]) * r[j][m];
    }
    if (!(total.low > 0) || !(total.high < 2)) return;
    for (interval& s : sum) s = s / total;
    offer(least_of(sum), taken);
  };
  const auto d = [&](std::size_t j, std::size_t m, std::size_t n) {
    return r[j][m].low - r[j][n].low;
  };
  for (std::size_t i = 0; i < 4; ++i) {
    offer(least_of(r[i]), 1U << i);
    for (std::size_t k = i + 1; k < 4; ++k) {
      for (std::size_t m = 0; m < 3; ++m) {
        std::array<double, 4> share{};
        const std::size_t n = (m + 1) % 3;
        share[i] = d(k, m, n) / (d(k, m, n) - d(i, m, n));
        share[k] = 1 - share[i];
        mix(share);
      }
    }
    // The three other planes than i: shares by Cramer's rule make all corners equal.
    std::array<std::size_t, 3> o{(i + 1) % 4, (i + 2) % 4, (i + 3) % 4};
    std::array<double, 4> share{};
    double total = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      const std::size_t a = o[(k + 1) % 3];
      const std::size_t b = o[(k + 2) % 3];
      share[o[k]] = d(a, 0, 1) * d(b, 0, 2) - d(a, 0, 2) * d(b, 0, 1);
      total += share[o[k]];
    }
    for (double& s : share) s /= total;
    mix(share);
  }
  return best;
}

// The same on the part of the triangle where its sides of a line are not below 0: it has up to four
// corners, so two triangles hold it.
double leaf_walk::least_on_part(const rows& r, const side_values& side) {
  std::vector<std::array<interval, 4>> left;  // the planes at the corners of the part
  for (std::size_t m = 0; m < 3; ++m) {
    const std::size_t n = (m + 1) % 3;
    if (sgn(side[m]) >= 0) left.push_back({r[0][m], r[1][m], r[2][m], r[3][m]});
    if (sgn(side[m]) * sgn(side[n]) >= 0) continue;
    const mpq_class share = side[m] / (side[m] - side[n]);
    const interval of_n = around(share);
    const interval of_m = around(1 - share);
    std::array<interval, 4>& at = left.emplace_back();
    for (std::size_t j = 0; j < 4; ++j) at[j] = of_m * r[j][m] + of_n * r[j][n];
  }
  double least = std::numeric_limits<double>::infinity();
  for (std::size_t k = 1; !left.empty() && (k == 1 || k + 1 < left.size()); ++k) {
    const auto& b = left[std::min(k, left.size() - 1)];
    const auto& c = left[std::min(k + 1, left.size() - 1)];
    rows part;
    for (std::size_t j = 0; j < 4; ++j) part[j] = {left[0][j], b[j], c[j]};
    least = std::min(least, least_of_planes(part));
  }
  return least;
}

bool leaf_walk::bound_proves(const triangle_state& t, rows& planes, const side_values* part) const {
  const auto least = [&] {
    return part == nullptr ? least_of_planes(planes) : least_on_part(planes, *part);
  };
  planes = rest(t);
  const double decided = least();
  if (undecided_.empty()) return reaches(decided);
  if (reaches((interval(decided) + sorted_bounds(t)).low)) return true;
  if (tails_rise(t.runs) && reaches((interval(decided) + nearest_bound(t)).low)) return true;
  add_steps(t, planes);
  return reaches(least());
}

}  // namespace planloc::detail
