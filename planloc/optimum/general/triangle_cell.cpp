#include "planloc/optimum/general/triangle_cell.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

namespace planloc::detail {

namespace {

double dot(const xy& a, const xy& b) { return a.x * b.x + a.y * b.y; }
xy minus(const xy& a, const xy& b) { return {a.x - b.x, a.y - b.y}; }

double largest_coordinate(const triangle& t) {
  double most = 0;
  for (const xy& c : t) most = std::max({most, std::fabs(c.x), std::fabs(c.y)});
  return most;
}

double least(const std::array<double, 3>& a) { return std::min({a[0], a[1], a[2]}); }

// Above this many runs a sort is faster than one selection a run.
constexpr std::size_t kRunsToSelect = 6;

// Sorts as far as the runs can tell: what lies in one run stays in any order.
template <class Iterator, class Less>
void sort_into_runs(Iterator begin, Iterator end, const std::vector<order_run>& runs, Less less) {
  if (runs.size() > kRunsToSelect) return std::sort(begin, end, less);
  for (std::size_t r = runs.size(); r-- > 1;) {
    const Iterator jump = end - static_cast<std::ptrdiff_t>(runs[r].count);
    std::nth_element(begin, jump, end, less);
    end = jump;
  }
}

// Runs of equal weight that have come to be neighbours, and runs that are given out, vanish.
void join(std::vector<order_run>& runs) {
  std::vector<order_run> joined;
  for (const order_run& r : runs) {
    if (r.count == 0) continue;
    if (!joined.empty() && joined.back().weight == r.weight) {
      joined.back().count += r.count;
    } else {
      joined.push_back(r);
    }
  }
  runs = std::move(joined);
}

}  // namespace

std::pair<triangle, triangle> halves(const triangle& t) {
  if (t[1] == t[2]) {
    const xy middle{t[0].x + (t[1].x - t[0].x) / 2, t[0].y + (t[1].y - t[0].y) / 2};
    return {{t[0], middle, middle}, {t[1], middle, middle}};
  }
  const xy middle{t[1].x + (t[2].x - t[1].x) / 2, t[1].y + (t[2].y - t[1].y) / 2};
  return {{middle, t[0], t[1]}, {middle, t[2], t[0]}};
}

// ----- Sites on a cell -----

cell_bounder::site_view cell_bounder::look(std::uint32_t slot) const {
  site_view v{};
  v.slot = slot;
  std::array<std::uint32_t, kPoints> edge{};
  for (std::size_t j = 0; j < kPoints; ++j) {
    const distance_table::linear_piece piece = table_.piece(slot, points_[j]);
    v.value[j] = piece.distance;
    edge[j] = piece.edge;
    if (j == 0) v.slope = piece.slope;
    for (std::size_t m = 0; m < 3; ++m) {
      v.tangent[j][m] = piece.distance + dot(piece.slope, minus(points_[m + 1], points_[j]));
    }
  }
  v.upper = std::max({v.value[1], v.value[2], v.value[3]});
  v.lower = 0;
  for (const auto& row : v.tangent) v.lower = std::max(v.lower, least(row));
  v.lower = std::min(v.lower, v.upper);
  const bool polyhedral = table_.blocks[table_.block_of[slot]].kind == gauge::shape::polyhedral;
  v.linear = polyhedral && edge[1] == edge[2] && edge[2] == edge[3];
  return v;
}

// The runs behind the first b ranks: as many sites are surely reached by the b-th smallest upper
// bound, and all others are surely no nearer than the lower bound of rank b + 1.
void cell_bounder::find_limits(const std::vector<order_run>& runs) {
  sort_into_runs(lowers_.begin(), lowers_.end(), runs, std::less<>());
  sort_into_runs(uppers_.begin(), uppers_.end(), runs, std::less<>());
  reached_.clear();
  left_behind_.clear();
  auto lower = lowers_.begin();
  auto upper = uppers_.begin();
  for (std::size_t r = 0; r + 1 < runs.size(); ++r) {
    const auto count = static_cast<std::ptrdiff_t>(runs[r].count);
    const auto next = static_cast<std::ptrdiff_t>(runs[r + 1].count);
    reached_.push_back(*std::max_element(upper, upper + count));
    left_behind_.push_back(*std::min_element(lower + count, lower + count + next));
    lower += count;
    upper += count;
  }
}

// A site is beyond a jump of the order weights if all sites that are surely reached there are
// nearer, and before it if all that are left behind are farther.
void cell_bounder::decide(cell& c) {
  lowers_.clear();
  uppers_.clear();
  for (const site_view& v : undecided_) {
    lowers_.push_back(v.lower);
    uppers_.push_back(v.upper);
  }
  find_limits(c.runs);
  std::vector<order_run> left = c.runs;
  c.undecided.clear();
  std::size_t kept = 0;
  for (site_view& v : undecided_) {
    v.first_run = static_cast<std::uint32_t>(
        std::lower_bound(reached_.begin(), reached_.end(), v.lower) - reached_.begin());
    v.last_run = static_cast<std::uint32_t>(
        std::upper_bound(left_behind_.begin(), left_behind_.end(), v.upper) - left_behind_.begin());
    if (v.first_run == v.last_run) {
      --left[v.first_run].count;
      keep(c, v, c.runs[v.first_run].weight);
    } else {
      c.undecided.push_back(v.slot);
      undecided_[kept++] = v;
    }
  }
  undecided_.resize(kept);
  // `first_run` and `last_run` keep counting in the old runs, whose weights they stand for.
  substitute(c);
  c.runs = std::move(left);
  join(c.runs);
}

void cell_bounder::keep(cell& c, const site_view& v, double lambda) {
  if (lambda == 0) return;
  if (!v.linear) {
    c.decided.push_back({v.slot, lambda});
    decided_.push_back(v);
    return;
  }
  const xy at{table_.x[v.slot], table_.y[v.slot]};
  // The slope at the corners: the centroid may be on another edge by a rounding.
  const xy slope = table_.piece(v.slot, points_[1]).slope;
  c.folded.at_base -= lambda * dot(slope, at);
  c.folded.slope.x += lambda * slope.x;
  c.folded.slope.y += lambda * slope.y;
  const double steepness = std::fabs(lambda) * (std::fabs(slope.x) + std::fabs(slope.y));
  c.folded.steepness += steepness;
  c.folded.size_at_base += steepness * std::max(std::fabs(at.x), std::fabs(at.y));
}

// f rises with a distance whose possible order weights are not negative, so that the tangent may
// stand for it; falls with one whose order weights are not positive, and the interpolation may.
void cell_bounder::substitute(const cell& c) {
  for (site_view& v : undecided_) {
    bool rises = true;
    bool falls = true;
    for (std::uint32_t r = v.first_run; r <= v.last_run; ++r) {
      rises = rises && c.runs[r].weight >= 0;
      falls = falls && c.runs[r].weight <= 0;
    }
    if (!rises && !falls) continue;
    const std::array<double, 3> at_corner =
        rises ? v.tangent[0] : std::array<double, 3>{v.value[1], v.value[2], v.value[3]};
    for (std::size_t m = 0; m < 3; ++m) v.value[m + 1] = at_corner[m];
    v.value[0] = (at_corner[0] + at_corner[1] + at_corner[2]) / 3;
    v.tangent.fill(at_corner);
  }
}

// ----- Bounds -----

// What the decided sites add to each plane: tangents where the order weight is positive, the
// interpolation of the corners where it is negative.
void cell_bounder::add_rest(const cell& c) {
  for (std::size_t m = 0; m < 3; ++m) {
    const double folded = c.folded.at_base + dot(c.folded.slope, c.corners[m]);
    for (auto& row : rows_) row[m] = folded;
  }
  for (std::size_t k = 0; k < decided_.size(); ++k) {
    const double lambda = c.decided[k].lambda;
    const site_view& v = decided_[k];
    for (std::size_t j = 0; j < kPoints; ++j) {
      for (std::size_t m = 0; m < 3; ++m)
        rows_[j][m] += lambda * (lambda > 0 ? v.tangent[j][m] : v.value[m + 1]);
    }
  }
}

double cell_bounder::interval_sum(const cell& c) {
  lowers_.clear();
  uppers_.clear();
  for (const site_view& v : undecided_) {
    lowers_.push_back(v.lower);
    uppers_.push_back(v.upper);
  }
  sort_into_runs(lowers_.begin(), lowers_.end(), c.runs, std::less<>());
  sort_into_runs(uppers_.begin(), uppers_.end(), c.runs, std::less<>());
  double sum = 0;
  std::size_t k = 0;
  for (const order_run& r : c.runs) {
    for (const std::size_t end = k + r.count; k < end; ++k)
      sum += r.weight * (r.weight >= 0 ? lowers_[k] : uppers_[k]);
  }
  return sum;
}

// The rising steps of the order weights make a convex function, of which each plane takes the piece
// in force at its point; the falling steps make a concave one.
void cell_bounder::add_undecided(const cell& c) {
  rising_.clear();
  falling_.clear();
  double last = 0;
  double up = 0;
  for (const order_run& r : c.runs) {
    up += std::max(r.weight - last, 0.0);
    last = r.weight;
    rising_.insert(rising_.end(), r.count, up);
    falling_.insert(falling_.end(), r.count, up - r.weight);
  }
  order_.resize(undecided_.size());
  std::iota(order_.begin(), order_.end(), 0U);
  for (std::size_t j = 0; j < kPoints; ++j) {
    sort_into_runs(order_.begin(), order_.end(), c.runs, [&](std::uint32_t a, std::uint32_t b) {
      return undecided_[a].value[j] < undecided_[b].value[j];
    });
    for (std::size_t k = 0; k < order_.size(); ++k) {
      const site_view& v = undecided_[order_[k]];
      for (std::size_t m = 0; m < 3; ++m) rows_[j][m] += rising_[k] * v.tangent[j][m];
      if (j == 0) continue;
      for (auto& row : rows_) row[j - 1] -= falling_[k] * v.value[j];
    }
  }
}

void cell_bounder::process(cell& c) {
  const triangle& t = c.corners;
  points_ = {xy{(t[0].x + t[1].x + t[2].x) / 3, (t[0].y + t[1].y + t[2].y) / 3}, t[0], t[1], t[2]};
  undecided_.clear();
  decided_.clear();
  for (const std::uint32_t slot : c.undecided) undecided_.push_back(look(slot));
  const std::vector<decided_site> before = std::move(c.decided);
  c.decided.clear();
  for (const decided_site& d : before) keep(c, look(d.slot), d.lambda);
  if (!undecided_.empty()) decide(c);
  c.size = c.folded.size_at_base + c.folded.steepness * largest_coordinate(t);
  for (std::size_t k = 0; k < decided_.size(); ++k)
    c.size += std::fabs(c.decided[k].lambda) * decided_[k].upper;
  double steepest = 0;
  for (const order_run& r : c.runs) steepest = std::max(steepest, std::fabs(r.weight));
  for (const site_view& v : undecided_) c.size += 3 * steepest * v.upper;
  add_rest(c);
  // Not that of the parent: a certificate names no other bound than the cell's own.
  c.bound = -std::numeric_limits<double>::infinity();
  if (!undecided_.empty()) {
    c.bound = best_mixture(rows_) + interval_sum(c);
    add_undecided(c);
  }
  c.bound = std::max(c.bound, best_mixture(rows_));
  centroid_ = {points_[0], value(c, points_[0]), {0, 0}};
}

double cell_bounder::value(const cell& c, const xy& at) {
  double sum = c.folded.at_base + dot(c.folded.slope, at);
  for (const decided_site& d : c.decided) sum += d.lambda * table_.piece(d.slot, at).distance;
  lowers_.clear();
  for (const std::uint32_t slot : c.undecided) lowers_.push_back(table_.piece(slot, at).distance);
  sort_into_runs(lowers_.begin(), lowers_.end(), c.runs, std::less<>());
  std::size_t k = 0;
  for (const order_run& r : c.runs) {
    for (const std::size_t end = k + r.count; k < end; ++k) sum += r.weight * lowers_[k];
  }
  return sum;
}

// A matrix game with four rows and three columns: some best mixture takes at most three rows and
// makes as many columns equal. Every mixture gives a bound, so that roundings do no harm.
double best_mixture(const std::array<std::array<double, 3>, 4>& rows) {
  double best = -std::numeric_limits<double>::infinity();
  for (const auto& row : rows) best = std::max(best, least(row));
  if (std::all_of(rows.begin(), rows.end(), [&](const auto& row) { return row == rows[0]; }))
    return best;
  const auto try_mixture = [&](const auto& a, double s, const auto& b, double t, const auto& c) {
    if (!(s >= 0 && t >= 0 && s + t <= 1)) return;
    const double rest = 1 - s - t;
    best =
        std::max(best, least({s * a[0] + t * b[0] + rest * c[0], s * a[1] + t * b[1] + rest * c[1],
                              s * a[2] + t * b[2] + rest * c[2]}));
  };
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      for (std::size_t m = 0; m < 3; ++m) {
        const std::size_t n = (m + 1) % 3;
        const double a = rows[i][m] - rows[i][n];
        const double b = rows[k][m] - rows[k][n];
        if (a * b < 0) try_mixture(rows[i], b / (b - a), rows[k], a / (a - b), rows[k]);
      }
      for (std::size_t l = 0; l < k; ++l) {
        const auto across = [&](std::size_t r, std::size_t m) {
          return rows[r][m] - rows[r][0] - (rows[l][m] - rows[l][0]);
        };
        const double right1 = rows[l][0] - rows[l][1];
        const double right2 = rows[l][0] - rows[l][2];
        const double area = across(i, 1) * across(k, 2) - across(i, 2) * across(k, 1);
        if (area == 0) continue;
        try_mixture(rows[i], (right1 * across(k, 2) - right2 * across(k, 1)) / area, rows[k],
                    (across(i, 1) * right2 - across(i, 2) * right1) / area, rows[l]);
      }
    }
  }
  return best;
}

}  // namespace planloc::detail
