#include "planloc/optimum/exact/exact_place.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "planloc/foundation/numeric/round_quotient.h"
#include "planloc/optimum/exact/exact_sum.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kChunk = 64;
constexpr std::size_t kJumpsToSplit = 12;

double to_nearest(const mpq_class& q) { return round_quotient(q.get_num(), q.get_den()); }

double largest(const xy& v) { return std::max(std::fabs(v.x), std::fabs(v.y)); }

// a - b + rest, for |rest| far below |a|: the rounding of the difference is kept (Knuth 1969).
double difference(double a, double b, double rest) {
  const double d = a - b;
  const double a_part = d + b;
  const double lost = (a - a_part) - (b - (a_part - d));
  return d + (lost + rest);
}

}  // namespace

xy to_nearest(const exact_xy& p) { return {to_nearest(p.x), to_nearest(p.y)}; }

exact_point to_text(const exact_xy& p) { return {p.x.get_str(), p.y.get_str()}; }

exact_xy exact_slope::turned_left() const {
  const mpz_class factor = gcd(x, y);
  exact_xy v{mpq_class(-y / factor), mpq_class(x / factor)};
  const std::size_t bits =
      std::max(mpz_sizeinbase(v.x.get_num_mpz_t(), 2), mpz_sizeinbase(v.y.get_num_mpz_t(), 2));
  mpq_div_2exp(v.x.get_mpq_t(), v.x.get_mpq_t(), bits);
  mpq_div_2exp(v.y.get_mpq_t(), v.y.get_mpq_t(), bits);
  return v;
}

int dot_sign(const exact_slope& s, const exact_xy& v) {
  return sgn(mpz_class(s.x * v.x.get_num() * v.y.get_den() + s.y * v.y.get_num() * v.x.get_den()));
}

const exact_edges::dyadic_edge& exact_edges::dyadic(std::size_t edge) {
  if (!dyadic_[edge]) {
    const auto block =
        std::upper_bound(table_.blocks.begin(), table_.blocks.end(), edge,
                         [](std::size_t e, const gauge_block& b) { return e < b.first_edge; }) -
        1;
    const std::size_t next =
        edge + 1 == block->first_edge + block->edges ? block->first_edge : edge + 1;
    const exact_xy a = to_exact(table_.edges[edge].from);
    const exact_xy b = to_exact(table_.edges[next].from);
    dyadic_[edge] = {b.y - a.y, a.x - b.x, cross(a, b)};
  }
  return *dyadic_[edge];
}

const exact_xy& exact_edges::normal(std::size_t edge) {
  if (!normals_[edge]) {
    const dyadic_edge& e = dyadic(edge);
    normals_[edge] = {e.x / e.area, e.y / e.area};
  }
  return *normals_[edge];
}

// ----- What meets at the place -----

exact_place::exact_place(const problem& p, const distance_table& table, exact_edges& edges,
                         exact_xy at)
    : problem_(p),
      table_(table),
      edges_(edges),
      at_(std::move(at)),
      rounded_(to_nearest(at_)),
      edge_(table.size()),
      distance_(table.size()),
      error_(table.size()) {
  find_edges();
  if (p.runs().size() > 1) find_ranks();
}

const exact_xy& exact_place::normal(std::uint32_t slot, std::uint32_t edge) const {
  return edges_.normal(table_.blocks[table_.block_of[slot]].first_edge + edge);
}

// Certain although u is rounded: each coordinate of u is off by at most 2^-52 |u| + 2^-104 |at|,
// the cross product of a vertex v with it by 2 |v| times this and its own roundings, in maximum
// norms.
bool exact_place::surely_inside(const gauge_block& b, std::uint32_t edge, const xy& u) const {
  const xy& v = table_.edges[b.first_edge + edge].from;
  const xy& w = table_.edges[b.first_edge + (edge + 1 == b.edges ? 0 : edge + 1)].from;
  const double bound = 0x1p-49 * largest(u) + 0x1p-100 * largest(rounded_);
  return v.x * u.y - v.y * u.x > bound * largest(v) && u.x * w.y - u.y * w.x > bound * largest(w);
}

void exact_place::find_edges() {
  const xy rest{to_nearest(mpq_class(at_.x - rounded_.x)),
                to_nearest(mpq_class(at_.y - rounded_.y))};
  for (std::uint32_t slot = 0; slot < table_.size(); ++slot) {
    const gauge_block& b = table_.blocks[table_.block_of[slot]];
    const site& s = site_of(slot);
    const xy u{difference(rounded_.x, s.x, rest.x), difference(rounded_.y, s.y, rest.y)};
    edge_[slot] = table_.active_edge(b, u);
    if (!surely_inside(b, edge_[slot], u)) {
      const tied_slot tie = exact_edges_of(slot);
      edge_[slot] = tie.first_edge;
      if (tie.edges > 1) tied_slots_.push_back(tie);
    }
    const xy& n = table_.edges[b.first_edge + edge_[slot]].normal;
    const double w = table_.weight[slot];
    distance_[slot] = w * (n.x * u.x + n.y * u.y);
    error_[slot] = w * (std::fabs(n.x) + std::fabs(n.y)) *
                   (0x1p-49 * largest(u) + 0x1p-100 * largest(rounded_));
  }
}

exact_place::tied_slot exact_place::exact_edges_of(std::uint32_t slot) const {
  const gauge_block& b = table_.blocks[table_.block_of[slot]];
  const exact_xy u{at_.x - site_of(slot).x, at_.y - site_of(slot).y};
  if (sgn(u.x) == 0 && sgn(u.y) == 0) return {slot, 0, b.edges};
  std::vector<bool> holds(b.edges);
  std::vector<int> side(b.edges);  // of u at each ray
  for (std::uint32_t j = 0; j < b.edges; ++j) {
    side[j] = sgn(cross(to_exact(table_.edges[b.first_edge + j].from), u));
  }
  for (std::uint32_t j = 0; j < b.edges; ++j)
    holds[j] = side[j] >= 0 && side[(j + 1) % b.edges] <= 0;
  std::uint32_t first = 0;
  while (!(holds[first] && !holds[(first + b.edges - 1) % b.edges])) ++first;
  return {slot, first, holds[(first + 1) % b.edges] ? 2U : 1U};
}

const exact_edges::dyadic_edge& exact_place::dyadic(std::uint32_t slot) const {
  return edges_.dyadic(table_.blocks[table_.block_of[slot]].first_edge + edge_[slot]);
}

// The distance times the area of the edge and the denominators of the place: without divisions.
const mpq_class& exact_place::level(std::uint32_t slot) {
  const auto [it, is_new] = levels_.try_emplace(slot);
  if (is_new) {
    const site& s = site_of(slot);
    const exact_edges::dyadic_edge& e = dyadic(slot);
    const mpq_class dx(at_.x.get_den());
    const mpq_class dy(at_.y.get_den());
    it->second = s.weight * (e.x * (mpq_class(at_.x.get_num()) - s.x * dx) * dy +
                             e.y * (mpq_class(at_.y.get_num()) - s.y * dy) * dx);
  }
  return it->second;
}

int exact_place::compare(std::uint32_t a, std::uint32_t b) {
  const double difference = distance_[a] - distance_[b];
  const double doubt = 2 * (error_[a] + error_[b]);
  if (difference > doubt) return 1;
  if (difference < -doubt) return -1;
  if (a == b) return 0;
  return sgn(mpq_class(level(a) * dyadic(b).area - level(b) * dyadic(a).area));
}

void exact_place::find_ranks() {
  order_.resize(table_.size());
  for (std::uint32_t slot = 0; slot < order_.size(); ++slot) order_[slot] = slot;
  const auto nearer = [this](std::uint32_t a, std::uint32_t b) { return compare(a, b) < 0; };
  const std::span<const order_run> runs = problem_.runs();
  std::vector<std::uint32_t> jumps{0};
  for (const order_run& r : runs)
    jumps.push_back(jumps.back() + static_cast<std::uint32_t>(r.count));
  if (runs.size() > kJumpsToSplit) {
    std::sort(order_.begin(), order_.end(), nearer);
  } else {
    for (std::size_t r = runs.size() - 1; r > 0; --r) {
      std::nth_element(order_.begin(), order_.begin() + jumps[r], order_.begin() + jumps[r + 1],
                       nearer);
    }
  }
  // The slots at the distance of a jump come to stand next to it.
  for (std::size_t r = 1; r + 1 < jumps.size(); ++r) {
    const std::uint32_t boundary = order_[jumps[r]];
    const auto tied = [&](std::uint32_t slot) { return compare(slot, boundary) == 0; };
    const auto begin = std::partition(order_.begin() + jumps[r - 1], order_.begin() + jumps[r],
                                      [&](std::uint32_t slot) { return !tied(slot); });
    const auto end = std::partition(order_.begin() + jumps[r], order_.begin() + jumps[r + 1], tied);
    const tied_ranks t{static_cast<std::uint32_t>(begin - order_.begin()),
                       static_cast<std::uint32_t>(end - order_.begin())};
    if (t.begin == jumps[r]) continue;
    if (!tied_ranks_.empty() && tied_ranks_.back().end > t.begin) {
      tied_ranks_.back().end = std::max(t.end, tied_ranks_.back().end);
    } else {
      tied_ranks_.push_back(t);
    }
  }
}

// ----- Values and slopes -----

double exact_place::value() const {
  if (order_.empty()) {
    long double sum = 0;
    for (const double d : distance_) sum += d;
    return static_cast<double>(problem_.runs()[0].weight * sum);
  }
  long double sum = 0;
  std::size_t k = 0;
  for (const order_run& r : problem_.runs()) {
    if (r.weight == 0) {
      k += r.count;
      continue;
    }
    for (const std::size_t end = k + r.count; k < end; ++k) {
      sum += static_cast<long double>(r.weight) * distance_[order_[k]];
    }
  }
  return static_cast<double>(sum);
}

mpq_class exact_place::exact_value() const {
  // By edges, whose denominators have nothing in common.
  struct load {
    dyadic_sum weight, x, y;
  };
  std::vector<load> loads(table_.edges.size());
  std::size_t k = 0;
  for (const order_run& r : problem_.runs()) {
    if (r.weight == 0) {
      k += r.count;
      continue;
    }
    for (const std::size_t end = k + r.count; k < end; ++k) {
      const std::size_t slot = order_.empty() ? k : order_[k];
      const site& s = problem_.sites()[table_.site[slot]];
      load& l = loads[table_.blocks[table_.block_of[slot]].first_edge + edge_[slot]];
      l.weight.add(r.weight, s.weight);
      l.x.add(r.weight, s.weight, s.x);
      l.y.add(r.weight, s.weight, s.y);
    }
  }
  mpq_class value;
  for (std::size_t e = 0; e < loads.size(); ++e) {
    const mpq_class weight = loads[e].weight.value();
    const mpq_class x = loads[e].x.value();
    const mpq_class y = loads[e].y.value();
    if (sgn(weight) == 0 && sgn(x) == 0 && sgn(y) == 0) continue;
    value += dot(edges_.normal(e), {weight * at_.x - x, weight * at_.y - y});
  }
  return value;
}

piece_choice exact_place::choose(const exact_xy& u) const {
  piece_choice c{edge_, {}};
  for (const tied_slot& t : tied_slots_) {
    const std::uint32_t edges = table_.blocks[table_.block_of[t.slot]].edges;
    mpq_class most = dot(normal(t.slot, t.first_edge), u);
    for (std::uint32_t k = 1; k < t.edges; ++k) {
      const std::uint32_t e = (t.first_edge + k) % edges;
      const mpq_class rise = dot(normal(t.slot, e), u);
      if (rise <= most) continue;
      most = rise;
      c.edge[t.slot] = e;
    }
  }
  if (order_.empty()) return c;
  c.rank.resize(order_.size());
  for (std::uint32_t k = 0; k < order_.size(); ++k) c.rank[order_[k]] = k;
  for (const tied_ranks& t : tied_ranks_) {
    std::vector<std::pair<mpq_class, std::uint32_t>> rises;
    for (std::uint32_t k = t.begin; k < t.end; ++k) {
      const std::uint32_t slot = order_[k];
      rises.emplace_back(dot(normal(slot, c.edge[slot]), u) * table_.weight[slot], slot);
    }
    std::sort(rises.begin(), rises.end());
    for (std::uint32_t k = t.begin; k < t.end; ++k) c.rank[rises[k - t.begin].second] = k;
  }
  return c;
}

namespace {

// The order weight of each slot under a choice of ranks.
class slot_weights {
 public:
  slot_weights(const problem& p, const piece_choice& c) : choice_(c), only_(p.runs()[0].weight) {
    if (c.rank.empty()) return;
    for (const order_run& r : p.runs()) by_rank_.insert(by_rank_.end(), r.count, r.weight);
  }
  double operator()(std::size_t slot) const {
    return choice_.rank.empty() ? only_ : by_rank_[choice_.rank[slot]];
  }

 private:
  const piece_choice& choice_;
  double only_;
  std::vector<double> by_rank_;
};

}  // namespace

exact_slope exact_place::slope(const piece_choice& c) const {
  std::vector<dyadic_sum> load(table_.edges.size());
  const slot_weights lambda(problem_, c);
  for (std::size_t slot = 0; slot < table_.size(); ++slot) {
    load[table_.blocks[table_.block_of[slot]].first_edge + c.edge[slot]].add(lambda(slot),
                                                                             table_.weight[slot]);
  }
  fraction_sum x;
  fraction_sum y;
  for (std::size_t e = 0; e < load.size(); ++e) {
    const mpq_class l = load[e].value();
    if (sgn(l) == 0) continue;
    x.add(l, edges_.normal(e).x);
    y.add(l, edges_.normal(e).y);
  }
  const fraction_sum::quotient fx = x.value();
  const fraction_sum::quotient fy = y.value();
  return {fx.numerator * fy.denominator, fy.numerator * fx.denominator,
          fx.denominator * fy.denominator};
}

// A normal is off by 2^-50 of itself; a product adds two roundings, a sum of k terms k - 1, in
// units of 2^-53 of the sum of the magnitudes: with chunks of 64 terms less than 2^-46 of it in
// all.
exact_place::rounded_slope exact_place::slope_in_doubles(const piece_choice& c) const {
  const slot_weights lambda(problem_, c);
  long double x = 0;
  long double y = 0;
  double size = 0;
  for (std::size_t begin = 0; begin < table_.size(); begin += kChunk) {
    double part_x = 0;
    double part_y = 0;
    double part_size = 0;
    for (std::size_t slot = begin; slot < std::min(begin + kChunk, table_.size()); ++slot) {
      const double l = lambda(slot) * table_.weight[slot];
      const xy& n =
          table_.edges[table_.blocks[table_.block_of[slot]].first_edge + c.edge[slot]].normal;
      part_x += l * n.x;
      part_y += l * n.y;
      part_size += l * (std::fabs(n.x) + std::fabs(n.y));
    }
    x += part_x;
    y += part_y;
    size += part_size;
  }
  return {{static_cast<double>(x), static_cast<double>(y)}, 0x1p-45 * size};
}

}  // namespace planloc::detail
