#include "planloc/optimum/exact/exact_place.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>
#include <utility>

#include "planloc/foundation/numeric/round_quotient.h"
#include "planloc/optimum/exact/exact_sum.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kChunk = 64;
constexpr std::size_t kJumpsToSplit = 12;
// Of the exact distances that are kept while distances are compared.
constexpr std::size_t kMostLevels = 1024;

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

exact_edges::known_edge& exact_edges::known(std::size_t edge) {
  const auto [it, is_new] = edges_.try_emplace(edge);
  if (is_new) {
    const auto block =
        std::upper_bound(table_.blocks.begin(), table_.blocks.end(), edge,
                         [](std::size_t e, const gauge_block& b) { return e < b.first_edge; }) -
        1;
    const std::size_t next =
        edge + 1 == block->first_edge + block->edges ? block->first_edge : edge + 1;
    const xy& v = table_.edges[edge].from;
    const xy& w = table_.edges[next].from;
    const dyadic_xy a{v.x, v.y};
    const dyadic_xy b{w.x, w.y};
    it->second.undivided = {b.y - a.y, a.x - b.x, cross(a, b)};
  }
  return it->second;
}

const exact_edges::dyadic_edge& exact_edges::dyadic_of(std::size_t edge) {
  return known(edge).undivided;
}

const exact_xy& exact_edges::normal(std::size_t edge) {
  known_edge& k = known(edge);
  if (!k.normal)
    k.normal = {quotient(k.undivided.x, k.undivided.area),
                quotient(k.undivided.y, k.undivided.area)};
  return *k.normal;
}

// ----- What meets at the place -----

exact_place::exact_place(const problem& p, const distance_table& table, exact_edges& edges,
                         exact_xy at, std::span<const std::uint32_t> guess)
    : problem_(p),
      table_(table),
      edges_(edges),
      at_(std::move(at)),
      rounded_(to_nearest(at_)),
      rest_{to_nearest(mpq_class(at_.x - rounded_.x)), to_nearest(mpq_class(at_.y - rounded_.y))},
      is_double_(at_ == to_exact(rounded_)),
      edge_(table.size()) {
  find_edges(guess);
  if (p.runs().size() > 1) {
    find_ranks();
  } else {
    long double sum = 0;
    for (std::uint32_t slot = 0; slot < table_.size(); ++slot) sum += distance(slot).value;
    value_ = static_cast<double>(p.runs()[0].weight * sum);
  }
}

// The sign of the cross product of v and the offset u from a site, or 0 where doubles cannot tell:
// each coordinate of u is off by at most 2^-52 |u| + 2^-104 |at|, the product by 2 |v| times this
// and its own roundings, in maximum norms.
int exact_place::sure_side(const xy& v, const xy& u) const {
  const double bound = (0x1p-49 * largest(u) + 0x1p-100 * largest(rounded_)) * largest(v);
  const double cross = v.x * u.y - v.y * u.x;
  if (std::fabs(cross) > bound) return cross > 0 ? 1 : -1;
  return 0;
}

xy exact_place::offset(std::uint32_t slot) const {
  const site& s = site_of(slot);
  return {difference(rounded_.x, s.x, rest_.x), difference(rounded_.y, s.y, rest_.y)};
}

void exact_place::find_edges(std::span<const std::uint32_t> guess) {
  std::size_t tied = 0;
  for (std::uint32_t slot = 0; slot < table_.size(); ++slot) {
    const gauge_block& b = table_.blocks[table_.block_of[slot]];
    const xy u = offset(slot);
    std::uint32_t& edge = edge_[slot];
    edge = guess.empty() ? table_.active_edge(b, u) : table_.active_edge(b, u, guess[slot]);
    const std::uint32_t next = edge + 1 == b.edges ? 0 : edge + 1;
    if (sure_side(table_.edges[b.first_edge + edge].from, u) > 0 &&
        sure_side(table_.edges[b.first_edge + next].from, u) < 0)
      continue;
    const edge_range tie = exact_edges_of(slot);
    edge = tie.first;
    if (tie.count == 1) continue;
    edge |= kTied;
    ++tied;
  }
  tied_slots_.reserve(tied);
  for (std::uint32_t slot = 0; tied_slots_.size() < tied; ++slot) {
    if (is_tied(slot)) tied_slots_.push_back({slot, 0});
  }
}

exact_place::rounded_distance exact_place::distance(std::uint32_t slot) const {
  const xy u = offset(slot);
  const xy& n = table_.edges[first_edge_of(slot) + edge(slot)].normal;
  const double w = table_.weight[slot];
  return {w * (n.x * u.x + n.y * u.y), w * (std::fabs(n.x) + std::fabs(n.y)) *
                                           (0x1p-49 * largest(u) + 0x1p-100 * largest(rounded_))};
}

double exact_place::size_of_terms(std::uint32_t slot) const {
  const xy u = offset(slot);
  const xy& n = table_.edges[first_edge_of(slot) + edge(slot)].normal;
  return table_.weight[slot] * (std::fabs(n.x * u.x) + std::fabs(n.y * u.y));
}

// A term of a distance is off by two or three units in its last place.
bool exact_place::cancels() const {
  constexpr double kMostCancellation = 3;
  double size = 0;
  std::uint32_t k = 0;
  for (const order_run& r : problem_.runs()) {
    const std::uint32_t end = k + static_cast<std::uint32_t>(r.count);
    if (r.weight == 0) k = end;
    for (; k < end; ++k)
      size += std::fabs(r.weight) * size_of_terms(order_.empty() ? k : order_[k]);
  }
  return size > kMostCancellation * std::fabs(value_);
}

bool exact_place::is_site(std::uint32_t slot) const {
  const site& s = site_of(slot);
  return is_double_ && s.x == rounded_.x && s.y == rounded_.y;
}

exact_place::edge_range exact_place::exact_edges_of(std::uint32_t slot) const {
  const gauge_block& b = table_.blocks[table_.block_of[slot]];
  if (is_site(slot)) return {0, b.edges};
  const exact_xy u{at_.x - site_of(slot).x, at_.y - site_of(slot).y};
  const xy rounded = offset(slot);
  std::vector<bool> holds(b.edges);
  std::vector<int> side(b.edges);  // of u at each ray
  for (std::uint32_t j = 0; j < b.edges; ++j) {
    const xy& ray = table_.edges[b.first_edge + j].from;
    side[j] = sure_side(ray, rounded);
    if (side[j] == 0) side[j] = sgn(cross(to_exact(ray), u));
  }
  for (std::uint32_t j = 0; j < b.edges; ++j)
    holds[j] = side[j] >= 0 && side[(j + 1) % b.edges] <= 0;
  std::uint32_t first = 0;
  while (!(holds[first] && !holds[(first + b.edges - 1) % b.edges])) ++first;
  return {first, holds[(first + 1) % b.edges] ? 2U : 1U};
}

// All edges at the site, else two.
exact_place::edge_range exact_place::tied_edges_of(std::uint32_t slot) const {
  return {edge(slot), is_site(slot) ? table_.blocks[table_.block_of[slot]].edges : 2U};
}

// The distance times the area of the edge and the denominators of the place: without divisions.
dyadic exact_place::level(std::uint32_t slot) const {
  const site& s = site_of(slot);
  const exact_edges::dyadic_edge& e = edges_.dyadic_of(first_edge_of(slot) + edge(slot));
  const dyadic dx(at_.x.get_den());
  const dyadic dy(at_.y.get_den());
  return s.weight * (e.x * (dyadic(at_.x.get_num()) - s.x * dx) * dy +
                     e.y * (dyadic(at_.y.get_num()) - s.y * dy) * dx);
}

// Compares the distances of slots.
class exact_place::distance_order {
 public:
  explicit distance_order(const exact_place& place) : place_(place) {
    rounded_.reserve(place.table_.size());
    for (std::uint32_t slot = 0; slot < place.table_.size(); ++slot) {
      const rounded_distance d = place.distance(slot);
      rounded_.push_back(d.value);
      widest_error_ = std::max(widest_error_, d.error);
    }
  }

  double rounded(std::uint32_t slot) const { return rounded_[slot]; }

  int compare(std::uint32_t a, std::uint32_t b) {
    const double difference = rounded_[a] - rounded_[b];
    if (std::fabs(difference) > 4 * widest_error_) return difference > 0 ? 1 : -1;
    const double doubt = 2 * (place_.distance(a).error + place_.distance(b).error);
    if (std::fabs(difference) > doubt) return difference > 0 ? 1 : -1;
    if (a == b || same_distance(a, b)) return 0;
    if (levels_.size() >= kMostLevels) levels_.clear();
    return sgn(level(a) * area(b) - level(b) * area(a));
  }

 private:
  // As sites at one place often have.
  bool same_distance(std::uint32_t a, std::uint32_t b) const {
    const site& p = place_.site_of(a);
    const site& q = place_.site_of(b);
    if (p.x != q.x || p.y != q.y) return false;
    return place_.is_site(a) ||
           (p.weight == q.weight && p.gauge == q.gauge && place_.edge_[a] == place_.edge_[b]);
  }
  const dyadic& level(std::uint32_t slot) {
    const site& s = place_.site_of(slot);
    const term t{s.x, s.y, s.weight, place_.first_edge_of(slot) + place_.edge(slot)};
    const auto it = levels_.find(t);
    return it != levels_.end() ? it->second : levels_.emplace(t, place_.level(slot)).first->second;
  }
  const dyadic& area(std::uint32_t slot) const {
    return place_.edges_.dyadic_of(place_.first_edge_of(slot) + place_.edge(slot)).area;
  }

  // Many sites may share one: a position, its weight, and the edge in force.
  using term = std::tuple<double, double, double, std::uint32_t>;

  const exact_place& place_;
  std::vector<double> rounded_;
  double widest_error_ = 0;
  std::map<term, dyadic> levels_;
};

void exact_place::find_ranks() {
  distance_order by_distance(*this);
  order_.resize(table_.size());
  for (std::uint32_t slot = 0; slot < order_.size(); ++slot) order_[slot] = slot;
  jumps_.push_back(0);
  for (const order_run& r : problem_.runs())
    jumps_.push_back(jumps_.back() + static_cast<std::uint32_t>(r.count));
  const auto nearer = [&](std::uint32_t a, std::uint32_t b) {
    return by_distance.compare(a, b) < 0;
  };
  if (problem_.runs().size() > kJumpsToSplit) {
    std::sort(order_.begin(), order_.end(), nearer);
  } else {
    for (std::size_t r = problem_.runs().size() - 1; r > 0; --r) {
      std::nth_element(order_.begin(), order_.begin() + jumps_[r], order_.begin() + jumps_[r + 1],
                       nearer);
    }
  }
  find_tied_ranks(by_distance);
  long double sum = 0;
  for (std::size_t r = 0; r + 1 < jumps_.size(); ++r) {
    const double lambda = problem_.runs()[r].weight;
    for (std::uint32_t k = lambda == 0 ? jumps_[r + 1] : jumps_[r]; k < jumps_[r + 1]; ++k)
      sum += static_cast<long double>(lambda) * by_distance.rounded(order_[k]);
  }
  value_ = static_cast<double>(sum);
}

// The slots at the distance of a jump come to stand next to it.
void exact_place::find_tied_ranks(distance_order& by_distance) {
  for (std::size_t r = 1; r + 1 < jumps_.size(); ++r) {
    const std::uint32_t boundary = order_[jumps_[r]];
    const auto tied = [&](std::uint32_t slot) { return by_distance.compare(slot, boundary) == 0; };
    const auto begin = std::partition(order_.begin() + jumps_[r - 1], order_.begin() + jumps_[r],
                                      [&](std::uint32_t slot) { return !tied(slot); });
    const auto end =
        std::partition(order_.begin() + jumps_[r], order_.begin() + jumps_[r + 1], tied);
    const tied_ranks t{static_cast<std::uint32_t>(begin - order_.begin()),
                       static_cast<std::uint32_t>(end - order_.begin())};
    if (t.begin == jumps_[r]) continue;
    if (!tied_ranks_.empty() && tied_ranks_.back().end > t.begin) {
      tied_ranks_.back().end = std::max(t.end, tied_ranks_.back().end);
    } else {
      tied_ranks_.push_back(t);
    }
  }
  if (tied_slots_.empty()) return;
  for (std::uint32_t k = 0; k < order_.size(); ++k) {
    if (is_tied(order_[k])) tied_slots_[tie_of(order_[k])].rank = k;
  }
}

// ----- Pieces -----

std::size_t exact_place::tie_of(std::uint32_t slot) const {
  const auto it = std::lower_bound(tied_slots_.begin(), tied_slots_.end(), slot,
                                   [](const tied_slot& t, std::uint32_t s) { return t.slot < s; });
  return static_cast<std::size_t>(it - tied_slots_.begin());
}

std::uint32_t exact_place::edge_of(std::uint32_t slot, const piece_choice& c) const {
  return is_tied(slot) ? c.edge[tie_of(slot)] : edge_[slot];
}

double exact_place::lambda_at(std::uint32_t rank) const {
  const auto run = std::upper_bound(jumps_.begin(), jumps_.end(), rank) - jumps_.begin() - 1;
  return problem_.runs()[static_cast<std::size_t>(run)].weight;
}

// Rises in one direction in doubles, within a bound of their errors: a normal is off by 2^-50 of
// each coordinate, the direction by less.
struct exact_place::rounded_rise {
  double value, error;
  std::uint32_t of;

  rounded_rise(const xy& n, const xy& u, double weight, std::uint32_t number)
      : value(weight * (n.x * u.x + n.y * u.y)),
        error(0x1p-48 * weight * (std::fabs(n.x * u.x) + std::fabs(n.y * u.y))),
        of(number) {}
  double low() const { return value - error; }
  double high() const { return value + error; }
};

// Within its gauge; the first one of several.
std::uint32_t exact_place::steepest_edge(const gauge_block& b, edge_range tied,
                                         const exact_xy& u) const {
  const xy rounded = to_nearest(u);
  std::vector<rounded_rise> rises;
  rises.reserve(tied.count);
  double least = -std::numeric_limits<double>::infinity();  // of the largest rise
  for (std::uint32_t k = 0; k < tied.count; ++k) {
    const std::uint32_t e = (tied.first + k) % b.edges;
    rises.emplace_back(table_.edges[b.first_edge + e].normal, rounded, 1, e);
    least = std::max(least, rises.back().low());
  }
  std::erase_if(rises, [least](const rounded_rise& r) { return r.high() < least; });
  std::uint32_t best = rises[0].of;
  if (rises.size() == 1) return best;
  mpq_class most = dot(edges_.normal(b.first_edge + best), u);
  for (const rounded_rise& r : std::span(rises).subspan(1)) {
    mpq_class rise = dot(edges_.normal(b.first_edge + r.of), u);
    if (rise <= most) continue;
    most = std::move(rise);
    best = r.of;
  }
  return best;
}

// Equal rises by the slot. With little memory, since all sites may be tied.
void exact_place::sort_by_rise(std::span<std::uint32_t> slots, const piece_choice& c,
                               const exact_xy& u) const {
  struct sorted {
    std::uint32_t slot, edge;
  };
  std::vector<sorted> order;
  order.reserve(slots.size());
  for (const std::uint32_t slot : slots)
    order.push_back({slot, first_edge_of(slot) + edge_of(slot, c)});
  const xy rounded = to_nearest(u);
  const auto rise = [&](const sorted& s) {
    return rounded_rise(table_.edges[s.edge].normal, rounded, table_.weight[s.slot], s.slot);
  };
  std::map<std::pair<std::uint32_t, double>, mpq_class> known;  // by edge and weight
  const auto exact = [&](const sorted& s) -> const mpq_class& {
    const double w = table_.weight[s.slot];
    const auto [it, is_new] = known.try_emplace({s.edge, w});
    if (is_new) it->second = dot(edges_.normal(s.edge), u) * w;
    return it->second;
  };
  std::sort(order.begin(), order.end(), [&](const sorted& a, const sorted& b) {
    const rounded_rise of_a = rise(a);
    const rounded_rise of_b = rise(b);
    if (of_a.high() < of_b.low()) return true;
    if (of_b.high() < of_a.low()) return false;
    if (a.edge == b.edge && table_.weight[a.slot] == table_.weight[b.slot]) return a.slot < b.slot;
    const int sign = cmp(exact(a), exact(b));
    return sign != 0 ? sign < 0 : a.slot < b.slot;
  });
  std::transform(order.begin(), order.end(), slots.begin(), [](const sorted& s) { return s.slot; });
}

piece_choice exact_place::any_choice() const {
  piece_choice c;
  for (const tied_slot& t : tied_slots_) c.edge.push_back(edge(t.slot));
  for (const tied_ranks& t : tied_ranks_)
    c.slot.insert(c.slot.end(), order_.begin() + t.begin, order_.begin() + t.end);
  return c;
}

piece_choice exact_place::choose(const exact_xy& u) const {
  piece_choice c;
  c.edge.reserve(tied_slots_.size());
  std::size_t tied = 0;
  for (const tied_ranks& t : tied_ranks_) tied += t.end - t.begin;
  c.slot.reserve(tied);
  // Many sites have the same ties, those in a line for one.
  std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> known;  // by first and count
  for (const tied_slot& t : tied_slots_) {
    const gauge_block& b = table_.blocks[table_.block_of[t.slot]];
    const edge_range edges = tied_edges_of(t.slot);
    const auto [it, is_new] = known.try_emplace({b.first_edge + edges.first, edges.count});
    if (is_new) it->second = steepest_edge(b, edges, u);
    c.edge.push_back(it->second);
  }
  for (const tied_ranks& t : tied_ranks_) {
    const std::size_t first = c.slot.size();
    c.slot.insert(c.slot.end(), order_.begin() + t.begin, order_.begin() + t.end);
    sort_by_rise(std::span(c.slot).subspan(first), c, u);
  }
  return c;
}

affine_piece exact_place::piece(const piece_choice& c) const {
  affine_piece result;
  result.edge.resize(table_.size());
  for (std::size_t slot = 0; slot < table_.size(); ++slot)
    result.edge[table_.site[slot]] = edge(static_cast<std::uint32_t>(slot));
  for (std::size_t t = 0; t < tied_slots_.size(); ++t)
    result.edge[table_.site[tied_slots_[t].slot]] = c.edge[t];
  if (order_.empty()) return result;
  result.rank.resize(order_.size());
  for (std::uint32_t k = 0; k < order_.size(); ++k) result.rank[table_.site[order_[k]]] = k;
  auto next = c.slot.begin();
  for (const tied_ranks& t : tied_ranks_) {
    for (std::uint32_t k = t.begin; k < t.end; ++k) result.rank[table_.site[*next++]] = k;
  }
  return result;
}

// ----- Values and slopes -----

// The terms that all choices have in common, but for those with order weight 0.
template <class Use>
void exact_place::each_untied_term(Use use) const {
  const auto use_slot = [&](std::uint32_t slot, double lambda) {
    if (!is_tied(slot)) use(term{slot, first_edge_of(slot) + edge_[slot], lambda});
  };
  if (order_.empty()) {
    for (std::uint32_t slot = 0; slot < table_.size(); ++slot)
      use_slot(slot, problem_.runs()[0].weight);
    return;
  }
  auto tied = tied_ranks_.begin();
  for (std::size_t r = 0; r + 1 < jumps_.size(); ++r) {
    const double lambda = problem_.runs()[r].weight;
    if (lambda == 0) continue;
    for (std::uint32_t k = jumps_[r]; k < jumps_[r + 1]; ++k) {
      while (tied != tied_ranks_.end() && tied->end <= k) ++tied;
      if (tied == tied_ranks_.end() || k < tied->begin) use_slot(order_[k], lambda);
    }
  }
}

template <class Use>
void exact_place::each_tied_term(const piece_choice& c, Use use) const {
  auto next = c.slot.begin();
  for (const tied_ranks& t : tied_ranks_) {
    for (std::uint32_t k = t.begin; k < t.end; ++k, ++next)
      use(term{*next, first_edge_of(*next) + edge_of(*next, c), lambda_at(k)});
  }
  for (std::size_t k = 0; k < tied_slots_.size(); ++k) {
    const tied_slot& s = tied_slots_[k];
    const auto holds_rank = [&](const tied_ranks& t) {
      return t.begin <= s.rank && s.rank < t.end;
    };
    if (std::any_of(tied_ranks_.begin(), tied_ranks_.end(), holds_rank)) continue;
    const double lambda = order_.empty() ? problem_.runs()[0].weight : lambda_at(s.rank);
    use(term{s.slot, first_edge_of(s.slot) + c.edge[k], lambda});
  }
}

std::vector<exact_place::term> exact_place::terms_by_edge(const piece_choice& c) const {
  std::vector<term> terms;
  terms.reserve(table_.size());
  each_tied_term(c, [&](const term& t) { terms.push_back(t); });
  each_untied_term([&](const term& t) { terms.push_back(t); });
  std::sort(terms.begin(), terms.end(),
            [](const term& a, const term& b) { return a.edge < b.edge; });
  return terms;
}

// By edges, whose denominators have nothing in common.
mpq_class exact_place::exact_value() const {
  const std::vector<term> terms = terms_by_edge(any_choice());
  const dyadic_xy numerator{dyadic(at_.x.get_num()), dyadic(at_.y.get_num())};
  const dyadic_xy denominator{dyadic(at_.x.get_den()), dyadic(at_.y.get_den())};
  fraction_sum<dyadic> sum;
  for (auto next = terms.begin(); next != terms.end();) {
    const std::uint32_t edge = next->edge;
    dyadic_sum weight;
    dyadic_sum x;
    dyadic_sum y;
    for (; next != terms.end() && next->edge == edge; ++next) {
      const site& s = site_of(next->slot);
      weight.add(next->lambda, s.weight);
      x.add(next->lambda, s.weight, s.x);
      y.add(next->lambda, s.weight, s.y);
    }
    const exact_edges::dyadic_edge& e = edges_.dyadic_of(edge);
    const dyadic w = weight.total();
    const dyadic across = e.x * (w * numerator.x - x.total() * denominator.x);
    const dyadic up = e.y * (w * numerator.y - y.total() * denominator.y);
    sum.add(across * denominator.y + up * denominator.x, e.area);
  }
  const fraction_sum<dyadic>::quotient f = sum.value();
  return quotient(f.numerator, f.denominator * denominator.x * denominator.y);
}

exact_slope exact_place::slope(const piece_choice& c) const {
  const std::vector<term> terms = terms_by_edge(c);
  product_sum x;
  product_sum y;
  for (auto next = terms.begin(); next != terms.end();) {
    const std::uint32_t edge = next->edge;
    dyadic_sum load;
    for (; next != terms.end() && next->edge == edge; ++next)
      load.add(next->lambda, table_.weight[next->slot]);
    const mpq_class l = load.value();
    if (sgn(l) == 0) continue;
    x.add(l, edges_.normal(edge).x);
    y.add(l, edges_.normal(edge).y);
  }
  const product_sum::quotient fx = x.value();
  const product_sum::quotient fy = y.value();
  return {fx.numerator * fy.denominator, fy.numerator * fx.denominator,
          fx.denominator * fy.denominator};
}

// A normal is off by 2^-50 of itself; a product adds two roundings, a sum of k terms k - 1, in
// units of 2^-53 of the sum of the magnitudes: with chunks of 64 terms less than 2^-46 of it in
// all.
class exact_place::slope_adder {
 public:
  slope_adder(const distance_table& t, slope_sum& sum) : table_(t), sum_(sum) {}
  ~slope_adder() { flush(); }

  void operator()(const term& k) {
    const double l = k.lambda * table_.weight[k.slot];
    const xy& n = table_.edges[k.edge].normal;
    x_ += l * n.x;
    y_ += l * n.y;
    size_ += l * (std::fabs(n.x) + std::fabs(n.y));
    if (++terms_ == kChunk) flush();
  }

 private:
  void flush() {
    sum_.x += x_;
    sum_.y += y_;
    sum_.size += size_;
    x_ = y_ = size_ = 0;
    terms_ = 0;
  }

  const distance_table& table_;
  slope_sum& sum_;
  double x_ = 0;
  double y_ = 0;
  double size_ = 0;
  std::size_t terms_ = 0;
};

exact_place::rounded_slope exact_place::slope_in_doubles(const piece_choice& c) const {
  if (!untied_) {
    untied_ = slope_sum{};
    slope_adder add(table_, *untied_);
    each_untied_term([&](const term& t) { add(t); });
  }
  slope_sum sum = *untied_;
  {
    slope_adder add(table_, sum);
    each_tied_term(c, [&](const term& t) { add(t); });
  }
  return {{static_cast<double>(sum.x), static_cast<double>(sum.y)}, 0x1p-45 * sum.size};
}

}  // namespace planloc::detail
