#include "planloc/optimum/general/triangle_cell.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace planloc::detail {

namespace {

xy minus(const xy& a, const xy& b) { return {a.x - b.x, a.y - b.y}; }

double largest_coordinate(const triangle& t) {
  double most = 0;
  for (const xy& c : t) most = std::max({most, std::fabs(c.x), std::fabs(c.y)});
  return most;
}

double least(const std::array<double, 3>& a) { return std::min({a[0], a[1], a[2]}); }

// Above this many runs a sort is faster than one selection a run.
constexpr std::size_t kRunsToSelect = 6;

bool few(const std::vector<order_run>& runs) { return runs.size() <= kRunsToSelect; }

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

// Of the largest value of a distance on a cell: less is worth a closer look where balls are thin or
// sites are few. Along a thin ball each tangent falls far below the distance somewhere, but not all
// of them at one place.
constexpr double kSteep = 1.0 / 64;
constexpr std::size_t kFewSites = 16;

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

cell_bounder::cell_bounder(const distance_table& table)
    : table_(table),
      round_polygons_(!table.has_thin_ball() &&
                      std::all_of(table.blocks.begin(), table.blocks.end(),
                                  [](const gauge_block& b) { return b.edges > 0; })) {
  std::map<std::tuple<std::uint32_t, double, double>, std::uint32_t> first;
  std::vector<std::uint32_t> stands_at(table.size());
  for (std::uint32_t slot = 0; slot < table.size(); ++slot) {
    const std::uint32_t block = table.block_of[slot];
    stands_at[slot] = slot;
    if (table.blocks[block].kind == gauge::shape::polyhedral) continue;
    stands_at[slot] = first.try_emplace({block, table.x[slot], table.y[slot]}, slot).first->second;
    if (stands_at[slot] == slot) continue;
    kept_at_.assign(table.size(), 0);
  }
  if (kept_at_.empty()) return;
  stands_at_ = std::move(stands_at);
  joined_at_.assign(table.size(), 0);
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
      between = edge_at(middle, to_first.slot, b, e[one_end], e[2]);
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
    half->cut.reset();
    // Not that of the parent: a certificate names no other bound than the cell's own.
    half->bound = -std::numeric_limits<double>::infinity();
  }
  return {std::move(first), std::move(second)};
}

// ----- Sites on a cell -----

// One of the two likely edges as a rule; then it is the one with the larger value, which is found
// without a branch that no processor could predict.
std::uint32_t cell_bounder::edge_at(const xy& at, std::uint32_t slot, const gauge_block& b,
                                    std::uint32_t one, std::uint32_t other) const {
  const xy u = minus(at, {table_.x[slot], table_.y[slot]});
  const ball_edge* edges = table_.edges.data() + b.first_edge;
  const std::uint32_t best = dot(edges[other].normal, u) > dot(edges[one].normal, u) ? other : one;
  return table_.in_cone(b, best, u) ? best : table_.active_edge(b, u);
}

// At the centroid one of the corners' edges as a rule; then it is the one with the largest value.
void cell_bounder::bend_linear_pieces(const placed_site& s, const gauge_block& b,
                                      bend& result) const {
  const double w = table_.weight[s.slot];
  const ball_edge* edges = table_.edges.data() + b.first_edge;
  std::array<double, kPoints> x;
  std::array<double, kPoints> y;
  for (std::size_t m = 0; m < kPoints; ++m) {
    x[m] = points_[m].x - table_.x[s.slot];
    y[m] = points_[m].y - table_.y[s.slot];
  }
  const auto piece_of = [&](const xy& n, std::size_t m) { return w * (n.x * x[m] + n.y * y[m]); };
  std::size_t best = 0;
  double most = -std::numeric_limits<double>::infinity();
  for (std::size_t j = 0; j < 3; ++j) {
    const xy& n = edges[s.edge[j]].normal;
    for (std::size_t m = 0; m < 3; ++m) result.tangent[j][m] = piece_of(n, m);
    const double centre = piece_of(n, 3);
    best = centre > most ? j : best;
    most = centre > most ? centre : most;
  }
  result.tangent[3] = result.tangent[best];
  result.centre = most;
  const xy u{x[3], y[3]};
  if (table_.in_cone(b, s.edge[best], u)) return;
  const xy& n = edges[table_.active_edge(b, u)].normal;
  for (std::size_t m = 0; m < 3; ++m) result.tangent[3][m] = piece_of(n, m);
  result.centre = piece_of(n, 3);
}

void cell_bounder::find_bend(const placed_site& s, const gauge_block& b, bend& result) const {
  if (b.kind == gauge::shape::polyhedral) return bend_linear_pieces(s, b, result);
  for (std::size_t j = 0; j < kPoints; ++j) {
    distance_table::linear_piece piece = table_.piece(s.slot, points_[j]);
    // At a smooth site any slope in the polar of its ball will do: that towards the cell does best.
    if (piece.slope == xy{0, 0}) piece.slope = table_.piece(s.slot, points_[3]).slope;
    if (j == 3) result.centre = piece.distance;
    for (std::size_t m = 0; m < 3; ++m)
      result.tangent[j][m] = piece.distance + dot(piece.slope, minus(points_[m], points_[j]));
  }
}

void cell_bounder::look(const placed_site& s, site_view& v) {
  v.site = s;
  v.replaced = false;
  v.first_run = v.last_run = 0;
  const gauge_block& b = table_.blocks[table_.block_of[s.slot]];
  if (b.kind == gauge::shape::polyhedral && s.edge[0] == s.edge[1] && s.edge[1] == s.edge[2]) {
    v.bent = kFlat;
    const xy& n = table_.edges[b.first_edge + s.edge[0]].normal;
    for (std::size_t m = 0; m < 3; ++m) {
      const xy u = minus(points_[m], {table_.x[s.slot], table_.y[s.slot]});
      v.value[m] = table_.weight[s.slot] * dot(n, u);
    }
    v.centre = (v.value[0] + v.value[1] + v.value[2]) / 3;
    v.lower = std::max(least(v.value), 0.0);
  } else {
    v.bent = static_cast<std::uint32_t>(bends_.size());
    bend& of_site = bends_.emplace_back();
    find_bend(s, b, of_site);
    for (std::size_t m = 0; m < 3; ++m) v.value[m] = of_site.tangent[m][m];
    v.centre = of_site.centre;
    v.lower = 0;
    for (const auto& row : of_site.tangent) v.lower = std::max(v.lower, least(row));
  }
  v.upper = std::max({v.value[0], v.value[1], v.value[2]});
  if (looks_closely_ && v.bent != kFlat && v.lower < kSteep * v.upper)
    v.lower = std::max(v.lower, best_mixture(bends_[v.bent].tangent));
  v.lower = std::min(v.lower, v.upper);
}

// The runs behind the first b ranks: as many sites are surely reached by the b-th smallest upper
// bound, and all others are surely no nearer than the lower bound of rank b + 1.
void cell_bounder::find_limits(const std::vector<order_run>& runs) {
  reached_.clear();
  left_behind_.clear();
  if (few(runs)) {
    lower_runs_.split(lower_keys_, runs, run_finder::side::behind);
    upper_runs_.split(upper_keys_, runs, run_finder::side::before);
    left_behind_ = lower_runs_.jumps();
    reached_ = upper_runs_.jumps();
    return;
  }
  lowers_.clear();
  uppers_.clear();
  for (std::uint32_t k = 0; k < undecided_.size(); ++k) {
    lowers_.push_back({undecided_[k].lower, k});
    uppers_.push_back({undecided_[k].upper, k});
  }
  sort_nearly_sorted(lowers_);
  sort_nearly_sorted(uppers_);
  std::size_t k = 0;
  for (std::size_t r = 0; r + 1 < runs.size(); ++r) {
    k += runs[r].count;
    reached_.push_back(uppers_[k - 1].key);
    left_behind_.push_back(lowers_[k].key);
  }
}

// A site is beyond a jump of the order weights if all sites that are surely reached there are
// nearer, and before it if all that are left behind are farther.
void cell_bounder::find_runs(site_view& v) const {
  for (std::size_t r = 0; r < reached_.size(); ++r) {
    v.first_run += reached_[r] < v.lower ? 1 : 0;
    v.last_run += left_behind_[r] <= v.upper ? 1 : 0;
  }
}

// The same of all sites, which are sorted.
void cell_bounder::find_sorted_runs() {
  const std::size_t jumps = reached_.size();
  std::uint32_t run = 0;
  for (const ranked& l : lowers_) {
    while (run < jumps && reached_[run] < l.key) ++run;
    undecided_[l.view].first_run = run;
  }
  run = 0;
  for (const ranked& u : uppers_) {
    while (run < jumps && left_behind_[run] <= u.key) ++run;
    undecided_[u.view].last_run = run;
  }
}

// Of the sites that stay undecided. A site that is decided has its rank in its run among the lower
// bounds and among the upper bounds too, so that the others are sorted into the rest of the runs.
double cell_bounder::sorted_interval_sum(const std::vector<order_run>& runs) const {
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

// One pass over the sites, which are too many to be near the processor.
void cell_bounder::decide(cell& c) {
  find_limits(c.runs);
  const bool sorted = !few(c.runs);
  if (sorted) find_sorted_runs();
  c.bound = sorted ? sorted_interval_sum(c.runs) : 0;
  std::array<double, kRunsToSelect> of_lower{};
  std::array<double, kRunsToSelect> of_upper{};
  for (std::size_t r = 0; !sorted && r < c.runs.size(); ++r) {
    of_lower[r] = std::max(c.runs[r].weight, 0.0);
    of_upper[r] = std::min(c.runs[r].weight, 0.0);
  }
  const bool all_rise =
      std::all_of(c.runs.begin(), c.runs.end(), [](const order_run& r) { return r.weight >= 0; });
  std::vector<order_run> left = c.runs;
  c.undecided.clear();
  std::size_t kept = 0;
  for (site_view& v : undecided_) {
    if (!sorted) {
      find_runs(v);
      const double bound =
          of_lower[lower_runs_(v.lower)] * v.lower + of_upper[upper_runs_(v.upper)] * v.upper;
      c.bound += v.first_run == v.last_run ? 0.0 : bound;
    }
    if (v.first_run == v.last_run) {
      --left[v.first_run].count;
      const double lambda = c.runs[v.first_run].weight;
      keep(c, v, lambda, std::fabs(lambda));
    } else {
      c.undecided.push_back(v.site);
      substitute(v, c.runs, all_rise);
      for (std::size_t j = 0; j < kPoints; ++j) keys_at_[j][kept] = j < 3 ? v.value[j] : v.centre;
      undecided_[kept++] = v;
    }
  }
  undecided_.resize(kept);
  for (std::vector<double>& keys : keys_at_) keys.resize(kept);
  // `first_run` and `last_run` keep counting in the old runs, whose weights they stand for.
  c.runs = std::move(left);
  join(c.runs);
  c.bound = std::max(c.bound, least_by_tails(c.runs));
}

// The sorted distances are sums of steps between neighbours, each of which counts with the sum of
// the order weights from there on.
double cell_bounder::least_by_tails(const std::vector<order_run>& runs) const {
  double tail = 0;
  for (auto r = runs.rbegin(); r != runs.rend(); ++r) {
    tail += r->weight * static_cast<double>(r->count);
    if (tail < 0) return -std::numeric_limits<double>::infinity();
  }
  double nearest = std::numeric_limits<double>::infinity();
  if (tail == 0 || undecided_.empty()) return 0;
  for (const site_view& v : undecided_) nearest = std::min(nearest, v.lower);
  return tail * nearest;
}

// Sites at one place with one smooth gauge count as one, whose curvature is that of their sum.
void cell_bounder::keep_bent(cell& c, const site_view& v, double lambda, double size) {
  const std::uint32_t first = stands_at(v.site.slot);
  if (stands_at_.empty()) {
    c.decided.push_back({v.site, lambda, size});
    decided_.push_back(v);
    return;
  }
  const double share = table_.weight[v.site.slot] / table_.weight[first];
  std::uint32_t& k = kept_at_[first];
  if (k < c.decided.size() && c.decided[k].site.slot == first) {
    c.decided[k].lambda += share * lambda;
    c.decided[k].size += share * size;
    return;
  }
  k = static_cast<std::uint32_t>(c.decided.size());
  placed_site s = v.site;
  s.slot = first;
  c.decided.push_back({s, share * lambda, share * size});
  if (first == v.site.slot) {
    decided_.push_back(v);
  } else {
    look(s, decided_.emplace_back());
  }
}

void cell_bounder::keep(cell& c, const site_view& v, double lambda, double size) {
  if (lambda == 0) return;
  if (v.bent != kFlat) return keep_bent(c, v, lambda, size);
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

// Whether a lower bound that is less, too, is beyond the jumps of the order weights that the site's
// is beyond, and counts there among those that are left behind.
bool cell_bounder::keeps_ranks(const site_view& v, double low, std::size_t runs) const {
  if (low >= v.lower) return true;
  if (runs > kRunsToSelect) return false;
  for (std::size_t r = 0; r + 1 < runs; ++r) {
    if (v.lower > reached_[r] && low <= reached_[r]) return false;
    if (v.lower >= left_behind_[r] && low < left_behind_[r]) return false;
  }
  return true;
}

// f rises with a distance whose possible order weights are not negative, so that the tangent may
// stand for it; falls with one whose order weights are not positive, and the interpolation may.
// What stands for the distances must leave the possible order weights of all of them as they are,
// unless none is negative.
void cell_bounder::substitute(site_view& v, const std::vector<order_run>& runs, bool all_rise) {
  if (v.bent == kFlat) return;
  const planes& tangent = bends_[v.bent].tangent;
  bool rises = all_rise || keeps_ranks(v, least(tangent[3]), runs.size());
  bool falls = true;
  for (std::uint32_t r = v.first_run; r <= v.last_run; ++r) {
    rises = rises && runs[r].weight >= 0;
    falls = falls && runs[r].weight <= 0;
  }
  if (rises) v.value = tangent[3];
  v.replaced = rises || falls;
}

// ----- Bounds -----

// What the decided sites add to the value at the centroid and to each plane: tangents where the
// order weight is positive, the interpolation of the corners where it is negative.
void cell_bounder::add_rest(const cell& c) {
  for (std::size_t m = 0; m < 3; ++m) {
    const double folded = c.folded.at_base + dot(c.folded.slope, c.corners[m]);
    for (auto& row : rows_) row[m] = folded;
  }
  seen_ = {points_[3], c.folded.at_base + dot(c.folded.slope, points_[3]), {0, 0}};
  for (std::size_t k = 0; k < decided_.size(); ++k) {
    const double lambda = c.decided[k].lambda;
    const site_view& v = decided_[k];
    seen_.value += lambda * v.centre;
    const planes& tangent = bends_[v.bent].tangent;
    for (std::size_t j = 0; j < kPoints; ++j) {
      for (std::size_t m = 0; m < 3; ++m)
        rows_[j][m] += lambda * (lambda > 0 ? tangent[j][m] : v.value[m]);
    }
  }
}

// Takes the piece that is in force at a point to the planes.
void cell_bounder::add_at(std::size_t point, const site_view& v, std::size_t run, double weight,
                          corner_values& concave) {
  const auto& plane = v.bent == kFlat || v.replaced ? v.value : bends_[v.bent].tangent[point];
  for (std::size_t m = 0; m < 3; ++m) rows_[point][m] += rising_[run] * plane[m];
  if (point < 3) {
    concave[point] += falling_[run] * v.value[point];
  } else {
    seen_.value += weight * v.centre;
  }
}

void cell_bounder::add_by_runs(const std::vector<order_run>& runs, corner_values& concave) {
  for (std::size_t j = 0; j < kPoints; ++j)
    point_runs_[j].split(keys_at_[j], runs, run_finder::side::behind);
  for (std::size_t k = 0; k < undecided_.size(); ++k) {
    for (std::size_t j = 0; j < kPoints; ++j) {
      const std::uint32_t run = point_runs_[j](keys_at_[j][k]);
      add_at(j, undecided_[k], run, runs[run].weight, concave);
    }
  }
}

void cell_bounder::add_in_order(std::size_t point, const std::vector<order_run>& runs,
                                corner_values& concave) {
  for (ranked& o : order_) o.key = keys_at_[point][o.view];
  sort_nearly_sorted(order_);
  std::size_t k = 0;
  for (std::size_t r = 0; r < runs.size(); ++r) {
    const std::size_t end = k + runs[r].count;
    if (rising_[r] == 0 && falling_[r] == 0) k = end;
    for (; k < end; ++k) add_at(point, undecided_[order_[k].view], r, runs[r].weight, concave);
  }
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
  corner_values concave{};
  if (few(c.runs)) {
    add_by_runs(c.runs, concave);
  } else {
    order_.clear();
    for (std::uint32_t k = 0; k < undecided_.size(); ++k) order_.push_back({0, k});
    for (std::size_t j = 0; j < kPoints; ++j) add_in_order(j, c.runs, concave);
    // The halves start from the order at the centroid.
    reordered_.clear();
    for (const ranked& o : order_) reordered_.push_back(undecided_[o.view].site);
    std::swap(c.undecided, reordered_);
  }
  for (auto& row : rows_) {
    for (std::size_t m = 0; m < 3; ++m) row[m] -= concave[m];
  }
}

double cell_bounder::size_of_terms(const cell& c) const {
  double size = c.folded.size_at_base + c.folded.steepness * largest_coordinate(c.corners);
  for (std::size_t k = 0; k < decided_.size(); ++k) size += c.decided[k].size * decided_[k].upper;
  double steepest = 0;
  for (const order_run& r : c.runs) steepest = std::max(steepest, std::fabs(r.weight));
  for (const site_view& v : undecided_) size += 3 * steepest * v.upper;
  return size;
}

void cell_bounder::process(cell& c, double target) {
  const triangle& t = c.corners;
  points_ = {t[0], t[1], t[2], {(t[0].x + t[1].x + t[2].x) / 3, (t[0].y + t[1].y + t[2].y) / 3}};
  bends_.clear();
  decided_.clear();
  const std::size_t n = c.undecided.size();
  looks_closely_ = !round_polygons_ || n + c.decided.size() <= kFewSites;
  undecided_.resize(n);
  lower_keys_.resize(n);
  upper_keys_.resize(n);
  for (std::vector<double>& keys : keys_at_) keys.resize(n);
  for (std::size_t k = 0; k < n; ++k) {
    look(c.undecided[k], undecided_[k]);
    lower_keys_[k] = undecided_[k].lower;
    upper_keys_[k] = undecided_[k].upper;
  }
  const std::vector<decided_site> before = std::move(c.decided);
  c.decided.clear();
  site_view v;
  for (const decided_site& d : before) {
    look(d.site, v);
    keep(c, v, d.lambda, d.size);
  }
  if (!undecided_.empty()) decide(c);
  c.size = size_of_terms(c);
  const auto least_of_planes = [&] {
    return c.cut ? least_above(rows_, *c.cut) : best_mixture(rows_);
  };
  add_rest(c);
  if (undecided_.empty()) {
    c.bound = least_of_planes();
    return;
  }
  c.bound += least_of_planes();
  if (c.bound >= target) {
    seen_.value = std::numeric_limits<double>::infinity();
    return;
  }
  add_undecided(c);
  c.bound = std::max(c.bound, least_of_planes());
}

double cell_bounder::value(const cell& c, const xy& at) {
  double sum = c.folded.at_base + dot(c.folded.slope, at);
  for (const decided_site& d : c.decided) sum += d.lambda * table_.piece(d.site.slot, at).distance;
  keys_.clear();
  for (const placed_site& s : c.undecided) keys_.push_back(table_.piece(s.slot, at).distance);
  if (!few(c.runs)) {
    std::sort(keys_.begin(), keys_.end());
  } else if (!keys_.empty()) {
    lower_runs_.split(keys_, c.runs, run_finder::side::behind);
    for (const double key : keys_) sum += c.runs[lower_runs_(key)].weight * key;
    return sum;
  }
  auto key = keys_.begin();
  for (const order_run& r : c.runs) {
    for (std::size_t k = 0; k < r.count; ++k) sum += r.weight * *key++;
  }
  return sum;
}

}  // namespace planloc::detail
