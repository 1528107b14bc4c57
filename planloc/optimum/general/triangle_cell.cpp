#include "planloc/optimum/general/triangle_cell.h"

#include <algorithm>
#include <cmath>
#include <iterator>

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
// Steps a site of an insertion sort before it is given up.
constexpr std::size_t kStepsToSort = 8;

// Fast where little is out of order, as from a cell to its halves.
template <class Ranked>
void sort_nearly_sorted(std::vector<Ranked>& v) {
  std::size_t left = kStepsToSort * v.size();
  for (std::size_t k = 1; k < v.size(); ++k) {
    const Ranked moved = v[k];
    std::size_t to = k;
    for (; to > 0 && moved.key < v[to - 1].key; --to) v[to] = v[to - 1];
    v[to] = moved;
    if (k - to > left)
      return std::sort(v.begin(), v.end(),
                       [](const Ranked& a, const Ranked& b) { return a.key < b.key; });
    left -= k - to;
  }
}

// Of what is moved by a selection, in parts of the whole: from there on a heap is slower.
constexpr std::ptrdiff_t kShareOfHeap = 16;

// No key before `jump` is above one behind it. Fast where few have to change sides, as from a cell
// to its halves.
template <class Iterator>
void split_at(Iterator begin, Iterator jump, Iterator end) {
  const auto less = [](const auto& a, const auto& b) { return a.key < b.key; };
  const double guess = jump->key;
  const Iterator middle =
      std::partition(begin, end, [guess](const auto& r) { return r.key < guess; });
  if (middle <= jump) {
    if (jump - middle <= (end - middle) / kShareOfHeap) {
      std::partial_sort(middle, jump, end, less);
    } else {
      std::nth_element(middle, jump, end, less);
    }
  } else if (middle - jump <= (middle - begin) / kShareOfHeap) {
    const auto from_back = [](Iterator i) { return std::make_reverse_iterator(i); };
    std::partial_sort(from_back(middle), from_back(jump), from_back(begin),
                      [](const auto& a, const auto& b) { return a.key > b.key; });
  } else {
    std::nth_element(begin, jump, middle, less);
  }
}

// Sorts by keys as far as the runs can tell: what lies in one run stays in any order.
template <class Ranked>
void sort_into_runs(std::vector<Ranked>& v, const std::vector<order_run>& runs) {
  if (runs.size() > kRunsToSelect) return sort_nearly_sorted(v);
  auto end = v.end();
  for (std::size_t r = runs.size(); r-- > 1;) {
    const auto jump = end - static_cast<std::ptrdiff_t>(runs[r].count);
    split_at(v.begin(), jump, end);
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

bool halves_exactly(const triangle& t) {
  const xy& a = t[1];
  const xy& b = t[1] == t[2] ? t[0] : t[2];
  // The rounding error of a sum (Knuth 1969).
  const auto exact = [](double c, double d) {
    const double sum = c + d;
    const double part = sum - c;
    return (c - (sum - part)) + (d - part) == 0;
  };
  return exact(a.x, b.x) && exact(a.y, b.y);
}

std::unique_ptr<cell> cell_bounder::whole(const problem& p, const triangle& t) const {
  auto c = std::make_unique<cell>();
  c->corners = t;
  c->runs.assign(p.runs().begin(), p.runs().end());
  for (std::uint32_t slot = 0; slot < table_.size(); ++slot) {
    placed_site s{slot, {}};
    const gauge_block& b = table_.blocks[table_.block_of[slot]];
    if (b.kind == gauge::shape::polyhedral) {
      for (std::size_t m = 0; m < 3; ++m)
        s.edge[m] = table_.active_edge(b, minus(t[m], {table_.x[slot], table_.y[slot]}));
    }
    c->undecided.push_back(s);
  }
  return c;
}

// A cone that holds two corners holds the place between them.
std::pair<std::unique_ptr<cell>, std::unique_ptr<cell>> cell_bounder::split(cell& c) const {
  const bool segment = c.corners[1] == c.corners[2];
  const std::size_t one_end = segment ? 0 : 1;
  const auto [one, other] = halves(c.corners);
  const xy middle = segment ? one[1] : one[0];
  auto first = std::make_unique<cell>(c);
  auto second = std::make_unique<cell>(std::move(c));
  const auto share_out = [&](placed_site& to_first, placed_site& to_second) {
    const std::array<std::uint32_t, 3> e = to_second.edge;
    std::uint32_t between = e[one_end];
    const gauge_block& b = table_.blocks[table_.block_of[to_first.slot]];
    if (e[one_end] != e[2] && b.kind == gauge::shape::polyhedral) {
      between =
          table_.active_edge(b, minus(middle, {table_.x[to_first.slot], table_.y[to_first.slot]}));
    }
    to_first.edge = segment ? std::array{e[0], between, between} : std::array{between, e[0], e[1]};
    to_second.edge = segment ? std::array{e[1], between, between} : std::array{between, e[2], e[0]};
  };
  for (std::size_t k = 0; k < first->undecided.size(); ++k)
    share_out(first->undecided[k], second->undecided[k]);
  for (std::size_t k = 0; k < first->decided.size(); ++k)
    share_out(first->decided[k].site, second->decided[k].site);
  first->corners = one;
  second->corners = other;
  for (cell* half : {first.get(), second.get()}) {
    ++half->depth;
    // Not that of the parent: a certificate names no other bound than the cell's own.
    half->bound = -std::numeric_limits<double>::infinity();
  }
  return {std::move(first), std::move(second)};
}

// ----- Sites on a cell -----

std::uint32_t cell_bounder::edge_at_centroid(const placed_site& s, const gauge_block& b) const {
  const xy u = minus(points_[3], {table_.x[s.slot], table_.y[s.slot]});
  for (const std::uint32_t e : s.edge) {
    if (table_.in_cone(b, e, u)) return e;
  }
  return table_.active_edge(b, u);
}

cell_bounder::bend cell_bounder::bend_of(const placed_site& s, const gauge_block& b) const {
  bend result{};
  for (std::size_t j = 0; j < kPoints; ++j) {
    distance_table::linear_piece piece =
        b.kind != gauge::shape::polyhedral
            ? table_.piece(s.slot, points_[j])
            : table_.piece_of_edge(s.slot, points_[j], j < 3 ? s.edge[j] : edge_at_centroid(s, b));
    // At a smooth site any slope in the polar of its ball will do: that towards the cell does best.
    if (piece.slope == xy{0, 0}) piece.slope = table_.piece(s.slot, points_[3]).slope;
    if (j == 3) result.centre = piece.distance;
    for (std::size_t m = 0; m < 3; ++m)
      result.tangent[j][m] = piece.distance + dot(piece.slope, minus(points_[m], points_[j]));
  }
  return result;
}

cell_bounder::site_view cell_bounder::look(const placed_site& s) {
  site_view v{};
  v.site = s;
  const gauge_block& b = table_.blocks[table_.block_of[s.slot]];
  if (b.kind == gauge::shape::polyhedral && s.edge[0] == s.edge[1] && s.edge[1] == s.edge[2]) {
    v.bent = kFlat;
    for (std::size_t m = 0; m < 3; ++m)
      v.value[m] = table_.piece_of_edge(s.slot, points_[m], s.edge[m]).distance;
    v.centre = (v.value[0] + v.value[1] + v.value[2]) / 3;
    v.lower = std::max(least(v.value), 0.0);
  } else {
    v.bent = static_cast<std::uint32_t>(bends_.size());
    const bend& of_site = bends_.emplace_back(bend_of(s, b));
    for (std::size_t m = 0; m < 3; ++m) v.value[m] = of_site.tangent[m][m];
    v.centre = of_site.centre;
    for (const auto& row : of_site.tangent) v.lower = std::max(v.lower, least(row));
  }
  v.upper = std::max({v.value[0], v.value[1], v.value[2]});
  v.lower = std::min(v.lower, v.upper);
  return v;
}

// The runs behind the first b ranks: as many sites are surely reached by the b-th smallest upper
// bound, and all others are surely no nearer than the lower bound of rank b + 1.
void cell_bounder::find_limits(const std::vector<order_run>& runs) {
  sort_into_runs(lowers_, runs);
  sort_into_runs(uppers_, runs);
  reached_.clear();
  left_behind_.clear();
  const auto nearer = [](const ranked& a, const ranked& b) { return a.key < b.key; };
  auto lower = lowers_.begin();
  auto upper = uppers_.begin();
  for (std::size_t r = 0; r + 1 < runs.size(); ++r) {
    const auto count = static_cast<std::ptrdiff_t>(runs[r].count);
    const auto next = static_cast<std::ptrdiff_t>(runs[r + 1].count);
    reached_.push_back(std::max_element(upper, upper + count, nearer)->key);
    left_behind_.push_back(std::min_element(lower + count, lower + count + next, nearer)->key);
    lower += count;
    upper += count;
  }
}

// A site is beyond a jump of the order weights if all sites that are surely reached there are
// nearer, and before it if all that are left behind are farther.
void cell_bounder::find_runs(std::size_t runs) {
  if (runs > kRunsToSelect) {  // all is sorted
    std::uint32_t run = 0;
    for (const ranked& l : lowers_) {
      while (run + 1 < runs && reached_[run] < l.key) ++run;
      undecided_[l.view].first_run = run;
    }
    run = 0;
    for (const ranked& u : uppers_) {
      while (run + 1 < runs && left_behind_[run] <= u.key) ++run;
      undecided_[u.view].last_run = run;
    }
    return;
  }
  for (site_view& v : undecided_) {
    for (std::size_t r = 0; r + 1 < runs; ++r) {
      v.first_run += reached_[r] < v.lower ? 1 : 0;
      v.last_run += left_behind_[r] <= v.upper ? 1 : 0;
    }
  }
}

// Of the undecided sites. A site that is decided has its rank in its run among the lower bounds and
// among the upper bounds too, so that the others are sorted into the rest of the runs.
double cell_bounder::interval_sum(const std::vector<order_run>& runs) const {
  double sum = 0;
  std::size_t k = 0;
  for (const order_run& r : runs) {
    const std::vector<ranked>& bounds = r.weight >= 0 ? lowers_ : uppers_;
    for (const std::size_t end = k + r.count; k < end; ++k) {
      const site_view& v = undecided_[bounds[k].view];
      if (v.first_run != v.last_run) sum += r.weight * bounds[k].key;
    }
  }
  return sum;
}

void cell_bounder::decide(cell& c) {
  lowers_.clear();
  uppers_.clear();
  for (std::uint32_t k = 0; k < undecided_.size(); ++k) {
    lowers_.push_back({undecided_[k].lower, k});
    uppers_.push_back({undecided_[k].upper, k});
  }
  find_limits(c.runs);
  find_runs(c.runs.size());
  c.bound = interval_sum(c.runs);
  std::vector<order_run> left = c.runs;
  c.undecided.clear();
  std::size_t kept = 0;
  for (const site_view& v : undecided_) {
    if (v.first_run == v.last_run) {
      --left[v.first_run].count;
      keep(c, v, c.runs[v.first_run].weight);
    } else {
      c.undecided.push_back(v.site);
      undecided_[kept++] = v;
    }
  }
  undecided_.resize(kept);
  // `first_run` and `last_run` keep counting in the old runs, whose weights they stand for.
  substitute(c.runs);
  c.runs = std::move(left);
  join(c.runs);
}

void cell_bounder::keep(cell& c, const site_view& v, double lambda) {
  if (lambda == 0) return;
  if (v.bent != kFlat) {
    c.decided.push_back({v.site, lambda});
    decided_.push_back(v);
    return;
  }
  const std::uint32_t slot = v.site.slot;
  const xy at{table_.x[slot], table_.y[slot]};
  const xy slope = table_.piece_of_edge(slot, at, v.site.edge[0]).slope;
  c.folded.at_base -= lambda * dot(slope, at);
  c.folded.slope.x += lambda * slope.x;
  c.folded.slope.y += lambda * slope.y;
  const double steepness = std::fabs(lambda) * (std::fabs(slope.x) + std::fabs(slope.y));
  c.folded.steepness += steepness;
  c.folded.size_at_base += steepness * std::max(std::fabs(at.x), std::fabs(at.y));
}

// f rises with a distance whose possible order weights are not negative, so that the tangent may
// stand for it; falls with one whose order weights are not positive, and the interpolation may.
void cell_bounder::substitute(const std::vector<order_run>& runs) {
  for (site_view& v : undecided_) {
    if (v.bent == kFlat) continue;
    bool rises = true;
    bool falls = true;
    for (std::uint32_t r = v.first_run; r <= v.last_run; ++r) {
      rises = rises && runs[r].weight >= 0;
      falls = falls && runs[r].weight <= 0;
    }
    if (rises) v.value = bends_[v.bent].tangent[3];
    if (rises || falls) v.bent = kFlat;
  }
}

// ----- Bounds -----

// What the decided sites add to the value at the centroid and to each plane: tangents where the
// order weight is positive, the interpolation of the corners where it is negative.
void cell_bounder::add_rest(const cell& c) {
  for (std::size_t m = 0; m < 3; ++m) {
    const double folded = c.folded.at_base + dot(c.folded.slope, c.corners[m]);
    for (auto& row : rows_) row[m] = folded;
  }
  centroid_ = {points_[3], c.folded.at_base + dot(c.folded.slope, points_[3]), {0, 0}};
  for (std::size_t k = 0; k < decided_.size(); ++k) {
    const double lambda = c.decided[k].lambda;
    const site_view& v = decided_[k];
    centroid_.value += lambda * v.centre;
    const planes& tangent = bends_[v.bent].tangent;
    for (std::size_t j = 0; j < kPoints; ++j) {
      for (std::size_t m = 0; m < 3; ++m)
        rows_[j][m] += lambda * (lambda > 0 ? tangent[j][m] : v.value[m]);
    }
  }
}

// Brings the order, that of the point before as a rule, up to date.
void cell_bounder::rank_at(std::size_t point, const std::vector<order_run>& runs) {
  for (ranked& o : order_) {
    const site_view& v = undecided_[o.view];
    o.key = point < 3 ? v.value[point] : v.centre;
  }
  sort_into_runs(order_, runs);
}

// The rising steps of the order weights make a convex function, of which each plane takes the piece
// in force at its point; the falling steps make a concave one.
void cell_bounder::add_undecided(cell& c) {
  rising_.clear();
  falling_.clear();
  double last = 0;
  double up = 0;
  for (const order_run& r : c.runs) {
    up += std::max(r.weight - last, 0.0);
    last = r.weight;
    rising_.push_back(up);
    falling_.push_back(up - r.weight);
  }
  order_.clear();
  for (std::uint32_t k = 0; k < undecided_.size(); ++k) order_.push_back({0, k});
  std::array<double, 3> concave{};
  for (std::size_t j = 0; j < kPoints; ++j) {
    rank_at(j, c.runs);
    std::size_t k = 0;
    for (std::size_t r = 0; r < c.runs.size(); ++r) {
      const std::size_t end = k + c.runs[r].count;
      if (rising_[r] == 0 && falling_[r] == 0) k = end;
      for (; k < end; ++k) {
        const site_view& v = undecided_[order_[k].view];
        const auto& plane = v.bent == kFlat ? v.value : bends_[v.bent].tangent[j];
        for (std::size_t m = 0; m < 3; ++m) rows_[j][m] += rising_[r] * plane[m];
        if (j < 3) {
          concave[j] += falling_[r] * v.value[j];
        } else {
          centroid_.value += c.runs[r].weight * v.centre;
        }
      }
    }
  }
  // The halves start from the order at the centroid.
  reordered_.clear();
  for (const ranked& o : order_) reordered_.push_back(undecided_[o.view].site);
  std::swap(c.undecided, reordered_);
  for (auto& row : rows_) {
    for (std::size_t m = 0; m < 3; ++m) row[m] -= concave[m];
  }
}

double cell_bounder::size_of_terms(const cell& c) const {
  double size = c.folded.size_at_base + c.folded.steepness * largest_coordinate(c.corners);
  for (std::size_t k = 0; k < decided_.size(); ++k)
    size += std::fabs(c.decided[k].lambda) * decided_[k].upper;
  double steepest = 0;
  for (const order_run& r : c.runs) steepest = std::max(steepest, std::fabs(r.weight));
  for (const site_view& v : undecided_) size += 3 * steepest * v.upper;
  return size;
}

void cell_bounder::process(cell& c) {
  const triangle& t = c.corners;
  points_ = {t[0], t[1], t[2], {(t[0].x + t[1].x + t[2].x) / 3, (t[0].y + t[1].y + t[2].y) / 3}};
  bends_.clear();
  undecided_.clear();
  decided_.clear();
  for (const placed_site& s : c.undecided) undecided_.push_back(look(s));
  const std::vector<decided_site> before = std::move(c.decided);
  c.decided.clear();
  for (const decided_site& d : before) keep(c, look(d.site), d.lambda);
  if (!undecided_.empty()) decide(c);
  c.size = size_of_terms(c);
  add_rest(c);
  if (undecided_.empty()) {
    c.bound = best_mixture(rows_);
    return;
  }
  c.bound += best_mixture(rows_);
  add_undecided(c);
  c.bound = std::max(c.bound, best_mixture(rows_));
}

double cell_bounder::value(const cell& c, const xy& at) {
  double sum = c.folded.at_base + dot(c.folded.slope, at);
  for (const decided_site& d : c.decided) sum += d.lambda * table_.piece(d.site.slot, at).distance;
  lowers_.clear();
  for (const placed_site& s : c.undecided)
    lowers_.push_back({table_.piece(s.slot, at).distance, 0});
  sort_into_runs(lowers_, c.runs);
  std::size_t k = 0;
  for (const order_run& r : c.runs) {
    for (const std::size_t end = k + r.count; k < end; ++k) sum += r.weight * lowers_[k].key;
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
