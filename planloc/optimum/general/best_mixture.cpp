#include "planloc/optimum/general/best_mixture.h"

#include <algorithm>
#include <limits>

namespace planloc::detail {

namespace {

double least(const std::array<double, 3>& a) { return std::min({a[0], a[1], a[2]}); }

// The first of each of the rows that are equal: tangents of a distance often are.
struct distinct_rows {
  std::array<std::size_t, 4> at{};
  std::size_t count = 0;
};
distinct_rows distinct(const planes& rows) {
  distinct_rows d;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    bool again = false;
    for (std::size_t k = 0; k < d.count; ++k) again = again || rows[d.at[k]] == rows[i];
    if (!again) d.at[d.count++] = i;
  }
  return d;
}

// A matrix game with four rows and three columns: some best mixture takes at most three rows and
// makes as many columns equal. Every mixture gives a bound, so that roundings do no harm. Offers
// bounds with the rows that they need as bits.
template <class Offer>
void offer_mixtures(const planes& rows, Offer offer) {
  const distinct_rows d = distinct(rows);
  const auto try_mixture = [&](std::size_t i, double s, std::size_t k, double t, std::size_t l) {
    if (!(s >= 0 && t >= 0 && s + t <= 1)) return;
    const double rest = 1 - s - t;
    const auto& a = rows[i];
    const auto& b = rows[k];
    const auto& c = rows[l];
    offer(least({s * a[0] + t * b[0] + rest * c[0], s * a[1] + t * b[1] + rest * c[1],
                 s * a[2] + t * b[2] + rest * c[2]}),
          1U << i | 1U << k | 1U << l);
  };
  const auto try_pair = [&](std::size_t i, std::size_t k) {
    for (std::size_t m = 0; m < 3; ++m) {
      const std::size_t n = (m + 1) % 3;
      const double a = rows[i][m] - rows[i][n];
      const double b = rows[k][m] - rows[k][n];
      if (a * b < 0) try_mixture(i, b / (b - a), k, a / (a - b), k);
    }
  };
  const auto try_three = [&](std::size_t i, std::size_t k, std::size_t l) {
    const auto across = [&](std::size_t r, std::size_t m) {
      return rows[r][m] - rows[r][0] - (rows[l][m] - rows[l][0]);
    };
    const double right1 = rows[l][0] - rows[l][1];
    const double right2 = rows[l][0] - rows[l][2];
    const double area = across(i, 1) * across(k, 2) - across(i, 2) * across(k, 1);
    if (area == 0) return;
    try_mixture(i, (right1 * across(k, 2) - right2 * across(k, 1)) / area, k,
                (across(i, 1) * right2 - across(i, 2) * right1) / area, l);
  };
  for (std::size_t i = 0; i < d.count; ++i) offer(least(rows[d.at[i]]), 1U << d.at[i]);
  for (std::size_t i = 0; i < d.count; ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      try_pair(d.at[i], d.at[k]);
      for (std::size_t l = 0; l < k; ++l) try_three(d.at[i], d.at[k], d.at[l]);
    }
  }
}

}  // namespace

double best_mixture(const planes& rows) {
  double best = -std::numeric_limits<double>::infinity();
  offer_mixtures(rows, [&](double bound, std::uint32_t) { best = std::max(best, bound); });
  return best;
}

mixture best_mixture_and_rows(const planes& rows) {
  mixture best{-std::numeric_limits<double>::infinity(), 0};
  offer_mixtures(rows, [&](double bound, std::uint32_t needed) {
    if (bound > best.bound) best = {bound, needed};
  });
  return best;
}

// What is left of the triangle has up to four corners, so two triangles hold it.
double least_above(const planes& rows, const corner_values& sides) {
  using column = std::array<double, 4>;  // the planes at a place
  const auto at_corner = [&](std::size_t m) {
    return column{rows[0][m], rows[1][m], rows[2][m], rows[3][m]};
  };
  std::array<column, 4> left{};
  std::size_t count = 0;
  for (std::size_t m = 0; m < 3; ++m) {
    const std::size_t n = (m + 1) % 3;
    if (sides[m] >= 0) left[count++] = at_corner(m);
    if (!((sides[m] < 0 && sides[n] > 0) || (sides[m] > 0 && sides[n] < 0))) continue;
    const double share = sides[m] / (sides[m] - sides[n]);
    for (std::size_t j = 0; j < 4; ++j)
      left[count][j] = rows[j][m] + share * (rows[j][n] - rows[j][m]);
    ++count;
  }
  const auto on_triangle = [&](std::size_t a, std::size_t b, std::size_t c) {
    planes r{};
    for (std::size_t j = 0; j < 4; ++j) r[j] = {left[a][j], left[b][j], left[c][j]};
    return best_mixture(r);
  };
  if (count == 0) return std::numeric_limits<double>::infinity();
  const std::size_t last = count - 1;
  const double first =
      on_triangle(0, std::min<std::size_t>(1, last), std::min<std::size_t>(2, last));
  return count < 4 ? first : std::min(first, on_triangle(0, 2, 3));
}

// It is at a corner, where two planes are equal on a side, or where three are equal.
corner_values lowest_place(const planes& rows) {
  corner_values best{};
  double lowest = std::numeric_limits<double>::infinity();
  const auto offer = [&](corner_values at) {
    double total = 0;
    for (double& share : at) total += share = std::max(share, 0.0);
    if (!(total > 0)) return;
    for (double& share : at) share /= total;
    double highest = -std::numeric_limits<double>::infinity();
    for (const corner_values& row : rows) highest = std::max(highest, value_at(row, at));
    if (!(highest < lowest)) return;
    lowest = highest;
    best = at;
  };
  for (std::size_t m = 0; m < 3; ++m) {
    corner_values corner{};
    corner[m] = 1;
    offer(corner);
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      const corner_values a{rows[i][0] - rows[k][0], rows[i][1] - rows[k][1],
                            rows[i][2] - rows[k][2]};
      for (std::size_t m = 0; m < 3; ++m) {
        const std::size_t n = (m + 1) % 3;
        if (!((a[m] < 0 && a[n] > 0) || (a[m] > 0 && a[n] < 0))) continue;
        corner_values side{};
        side[m] = a[n] / (a[n] - a[m]);
        side[n] = 1 - side[m];
        offer(side);
      }
      for (std::size_t l = 0; l < k; ++l) {
        const corner_values b{rows[i][0] - rows[l][0], rows[i][1] - rows[l][1],
                              rows[i][2] - rows[l][2]};
        const corner_values across{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                                   a[0] * b[1] - a[1] * b[0]};
        const double total = across[0] + across[1] + across[2];
        if (total == 0) continue;
        const corner_values crossing{across[0] / total, across[1] / total, across[2] / total};
        if (least(crossing) >= 0) offer(crossing);
      }
    }
  }
  return best;
}

}  // namespace planloc::detail
