#include "planloc/optimum/distance_table.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

#include "planloc/optimum/twin.h"

namespace planloc::detail {

namespace {

// Below this many edges, and from this many sites a gauge on, the largest of all edges' values is
// faster than a search: it has no branches, and the sites of a block go side by side.
constexpr std::uint32_t kEdgesToScan = 24;
constexpr std::uint32_t kSitesToScan = 4;
constexpr std::size_t kChunk = lp_norm::kChunk;

bool upper_half(const xy& v) { return v.y > 0 || (v.y == 0 && v.x > 0); }

// Within 2 units in the last place, however thin the cone (Kahan).
double cross_product(const xy& a, const xy& b) {
  const double q = a.y * b.x;
  const double lost = std::fma(-a.y, b.x, q);
  return std::fma(a.x, b.y, -q) + lost;
}

double coarse(double d, double grain) { return grain > 0 ? std::nearbyint(d / grain) * grain : d; }

// Amid the sites, on a grid that is fine beside their extent and coarse beside their last bits:
// positions with few digits stay exact when they are counted from here.
xy mean_position(std::span<const site> sites) {
  // Around the first site, so that equal positions have themselves as mean.
  const xy base{sites[0].x, sites[0].y};
  double x = 0;
  double y = 0;
  double extent = 0;
  for (const site& s : sites) {
    x += s.x - base.x;
    y += s.y - base.y;
    extent = std::max(extent, std::max(std::fabs(s.x - base.x), std::fabs(s.y - base.y)));
  }
  const double grain = extent > 0 ? std::ldexp(1, std::ilogb(extent) - 6) : 0;
  const auto n = static_cast<double>(sites.size());
  return {coarse(base.x + x / n, grain), coarse(base.y + y / n, grain)};
}

// Whether all differences to `from` are doubles: the rounding error of a sum (Knuth 1969).
template <class Coordinate>
bool exactly_from(std::span<const site> sites, double from, Coordinate of) {
  return std::all_of(sites.begin(), sites.end(), [&](const site& s) {
    const double difference = of(s) - from;
    const double part = difference - of(s);
    return (of(s) - (difference - part)) + (-from - part) == 0;
  });
}

}  // namespace

xy exact_base(const problem& p) {
  xy base = mean_position(p.sites());
  if (!exactly_from(p.sites(), base.x, [](const site& s) { return s.x; })) base.x = 0;
  if (!exactly_from(p.sites(), base.y, [](const site& s) { return s.y; })) base.y = 0;
  return base;
}

// ----- Table -----

distance_table::distance_table(const problem& p)
    : base(p.polyhedral() ? mean_position(p.sites()) : exact_base(p)) {
  const std::span<const planloc::site> sites = p.sites();
  const std::size_t n = sites.size();
  std::vector<std::uint32_t> next(p.gauges().size() + 1);  // slot of each gauge
  for (const planloc::site& s : sites) ++next[s.gauge + 1];
  std::partial_sum(next.begin(), next.end(), next.begin());
  std::size_t vertices = 0;
  for (std::uint32_t g = 0; g < p.gauges().size(); ++g)
    vertices += next[g] < next[g + 1] ? p.gauges()[g].vertices().size() : 0;
  std::vector<ball_edge> all;
  all.reserve(vertices);
  std::vector<std::uint32_t> block(p.gauges().size());
  for (std::uint32_t g = 0; g < block.size(); ++g) {
    block[g] = static_cast<std::uint32_t>(blocks.size());
    if (next[g] < next[g + 1]) add_block(p.gauges()[g], next[g], next[g + 1], all);
  }
  edges = ball_edges(std::move(all));
  x.resize(n);
  y.resize(n);
  weight.resize(n);
  site.resize(n);
  block_of.resize(n);
  for (std::uint32_t i = 0; i < n; ++i) {
    const planloc::site& s = sites[i];
    const std::uint32_t slot = next[s.gauge]++;
    x[slot] = s.x - base.x;
    y[slot] = s.y - base.y;
    weight[slot] = s.weight;
    site[slot] = i;
    block_of[slot] = block[s.gauge];
  }
  for (const gauge_block& b : blocks) {
    double steep = 0;
    for (std::uint32_t e = b.first_edge; e < b.first_edge + b.edges; ++e)
      steep = std::max(steep, std::fabs(edges[e].normal.x) + std::fabs(edges[e].normal.y));
    steepest = std::max(
        steepest, steep * *std::max_element(weight.begin() + b.begin, weight.begin() + b.end));
  }
}

void distance_table::add_block(const gauge& g, std::uint32_t begin, std::uint32_t end,
                               std::vector<ball_edge>& all) {
  const std::span<const xy> v = g.vertices();
  gauge_block b{g.kind(),
                g.p(),
                begin,
                end,
                static_cast<std::uint32_t>(all.size()),
                static_cast<std::uint32_t>(v.size()),
                0,
                0,
                g.kind() == gauge::shape::lp ? lp_norm(g.p()) : lp_norm()};
  for (std::uint32_t j = 0; j < v.size(); ++j) {
    const xy& from = v[j];
    const xy& to = v[(j + 1) % v.size()];
    const double area = cross_product(from, to);
    all.push_back({from, {(to.y - from.y) / area, (from.x - to.x) / area}});
    const bool upper_before = upper_half(v[(j + v.size() - 1) % v.size()]);
    const bool upper = upper_half(from);
    if (upper_before && !upper) b.first_lower = j;
    if (!upper_before && upper) b.first_upper = j;
  }
  blocks.push_back(b);
}

distance_table distance_table::only(std::span<const std::uint32_t> slots) const {
  distance_table t;
  t.base = base;
  t.steepest = steepest;
  t.blocks = blocks;
  t.edges = edges;
  const auto take = [&](const auto& from, auto& to) {
    to.reserve(slots.size());
    for (const std::uint32_t slot : slots) to.push_back(from[slot]);
  };
  take(x, t.x);
  take(y, t.y);
  take(weight, t.weight);
  take(site, t.site);
  take(block_of, t.block_of);
  for (gauge_block& b : t.blocks) {
    const auto place = [&](std::uint32_t slot) {
      return static_cast<std::uint32_t>(std::lower_bound(slots.begin(), slots.end(), slot) -
                                        slots.begin());
    };
    b.begin = place(b.begin);
    b.end = place(b.end);
  }
  return t;
}

void distance_table::count_from(const problem& p, const xy& new_base) {
  base = new_base;
  for (std::size_t slot = 0; slot < x.size(); ++slot) {
    const planloc::site& s = p.sites()[site[slot]];
    x[slot] = s.x - base.x;
    y[slot] = s.y - base.y;
  }
}

double distance_table::extent() const {
  double most = 0;
  for (std::size_t k = 0; k < size(); ++k)
    most = std::max({most, std::fabs(x[k]), std::fabs(y[k])});
  return most;
}

bool distance_table::has_thin_ball() const {
  constexpr double kMostCancellation = 64;
  return std::any_of(blocks.begin(), blocks.end(), [this](const gauge_block& b) {
    double steepest_edge = 0;
    double farthest = 0;
    for (std::uint32_t e = b.first_edge; e < b.first_edge + b.edges; ++e) {
      const xy& n = edges[e].normal;
      const xy& v = edges[e].from;
      steepest_edge = std::max(steepest_edge, std::fabs(n.x) + std::fabs(n.y));
      farthest = std::max(farthest, std::fabs(v.x) + std::fabs(v.y));
    }
    return steepest_edge * farthest > kMostCancellation;
  });
}

std::size_t distance_table::nearest(const xy& at) const {
  std::size_t best = 0;
  double least = std::numeric_limits<double>::infinity();
  for (std::size_t slot = 0; slot < x.size(); ++slot) {
    const double distance = std::max(std::fabs(x[slot] - at.x), std::fabs(y[slot] - at.y));
    if (distance >= least) continue;
    least = distance;
    best = slot;
  }
  return best;
}

std::uint32_t distance_table::active_edge(const gauge_block& b, const xy& u) const {
  // The rays of one half-plane are within half a turn of each other, where the sign of a cross
  // product orders directions. Both half-planes hold rays, since the origin is strictly inside.
  const bool upper = upper_half(u);
  const ball_edge* e = edges.data() + b.first_edge;
  const std::uint32_t start = upper ? b.first_upper : b.first_lower;
  const std::uint32_t stop = upper ? b.first_lower : b.first_upper;
  std::uint32_t count = stop > start ? stop - start : stop + b.edges - start;
  const auto at = [&](std::uint32_t k) {
    return start + k < b.edges ? start + k : start + k - b.edges;
  };
  std::uint32_t low = 0;  // rays before `low` are not beyond u
  while (count > 0) {
    const std::uint32_t half = count / 2;
    const xy& v = e[at(low + half)].from;
    if (v.x * u.y - v.y * u.x >= 0) {
      low += half + 1;
      count -= half + 1;
    } else {
      count = half;
    }
  }
  return low == 0 ? (start == 0 ? b.edges - 1 : start - 1) : at(low - 1);
}

namespace {

void smooth_norms(const gauge_block& b, const lp_norm::vectors& u, double* norm) {
  if (b.kind == gauge::shape::lp) return b.norm.values(u, norm);
  for (std::size_t k = 0; k < u.size; ++k) norm[k] = std::sqrt(u.x[k] * u.x[k] + u.y[k] * u.y[k]);
}

void smooth_slopes(const gauge_block& b, const lp_norm::vectors& u, double* norm,
                   const lp_norm::gradients& g) {
  if (b.kind == gauge::shape::lp) return b.norm.slopes(u, norm, g);
  for (std::size_t k = 0; k < u.size; ++k) {
    norm[k] = std::sqrt(u.x[k] * u.x[k] + u.y[k] * u.y[k]);
    g.x[k] = norm[k] > 0 ? u.x[k] / norm[k] : 0;
    g.y[k] = norm[k] > 0 ? u.y[k] / norm[k] : 0;
  }
}

}  // namespace

distance_table::linear_piece distance_table::piece(std::size_t slot, const xy& at) const {
  const gauge_block& b = blocks[block_of[slot]];
  const double w = weight[slot];
  const xy u{at.x - x[slot], at.y - y[slot]};
  if (b.kind == gauge::shape::polyhedral) return piece_of_edge(slot, at, active_edge(b, u));
  double norm = 0;
  xy g{0, 0};
  smooth_slopes(b, {&u.x, &u.y, 1}, &norm, {&g.x, &g.y});
  return {w * norm, {w * g.x, w * g.y}, 0};
}

namespace {

struct site_chunk {
  std::size_t begin, size;
};

void offsets(const distance_table& t, const xy& at, site_chunk c, double* ux, double* uy) {
  for (std::size_t k = 0; k < c.size; ++k) {
    ux[k] = at.x - t.x[c.begin + k];
    uy[k] = at.y - t.y[c.begin + k];
  }
}

// The largest of all edges' values for a chunk of sites.
void scan_values(const distance_table& t, const gauge_block& b, const xy& at, site_chunk c,
                 double* distance) {
  std::array<double, kChunk> ux, uy, most;
  offsets(t, at, c, ux.data(), uy.data());
  const ball_edge* e = t.edges.data() + b.first_edge;
  for (std::size_t k = 0; k < c.size; ++k) {
    most[k] = e[0].normal.x * ux[k] + e[0].normal.y * uy[k];
  }
  for (std::uint32_t j = 1; j < b.edges; ++j) {
    const xy n = e[j].normal;
    for (std::size_t k = 0; k < c.size; ++k) {
      const double value = n.x * ux[k] + n.y * uy[k];
      most[k] = value > most[k] ? value : most[k];
    }
  }
  for (std::size_t k = 0; k < c.size; ++k) distance[c.begin + k] = t.weight[c.begin + k] * most[k];
}

// The same, and which edge it was, the first of several.
void scan_edges(const distance_table& t, const gauge_block& b, const xy& at, site_chunk c,
                double* distance, std::uint32_t* edge) {
  constexpr std::size_t kTwins = 3;  // so many pairs of sites at once fit into registers
  const ball_edge* e = t.edges.data() + b.first_edge;
  const std::size_t last = c.begin + c.size - 1;  // stands in for sites that are not there
  for (std::size_t begin = c.begin; begin <= last; begin += 2 * kTwins) {
    std::array<twin, kTwins> x, y, most, which;
    for (std::size_t k = 0; k < kTwins; ++k) {
      const std::size_t one = std::min(begin + 2 * k, last);
      const std::size_t other = std::min(one + 1, last);
      x[k] = at.x - twin{t.x[one], t.x[other]};
      y[k] = at.y - twin{t.y[one], t.y[other]};
      most[k] = e[0].normal.x * x[k] + e[0].normal.y * y[k];
      which[k] = twin{};
    }
    for (std::uint32_t j = 1; j < b.edges; ++j) {
      const xy n = e[j].normal;
      const twin number = twin{} + j;
      for (std::size_t k = 0; k < kTwins; ++k) {
        const twin value = n.x * x[k] + n.y * y[k];
        const auto more = value > most[k];
        which[k] = more ? number : which[k];
        most[k] = more ? value : most[k];
      }
    }
    for (std::size_t i = begin; i <= std::min(begin + 2 * kTwins - 1, last); ++i) {
      const std::size_t k = (i - begin) / 2;
      distance[i] = t.weight[i] * most[k][i % 2 == begin % 2 ? 0 : 1];
      edge[i] = static_cast<std::uint32_t>(which[k][i % 2 == begin % 2 ? 0 : 1]);
    }
  }
}

// Of a gauge that is not polyhedral.
void smooth_values(const distance_table& t, const gauge_block& b, const xy& at, site_chunk c,
                   double* distance, const distance_table::slope_spans& slope) {
  std::array<double, kChunk> ux, uy;
  offsets(t, at, c, ux.data(), uy.data());
  const lp_norm::vectors u{ux.data(), uy.data(), c.size};
  const double* w = t.weight.data() + c.begin;
  distance += c.begin;
  if (slope.x.empty()) {
    smooth_norms(b, u, distance);
    for (std::size_t k = 0; k < c.size; ++k) distance[k] *= w[k];
    return;
  }
  const lp_norm::gradients g{slope.x.data() + c.begin, slope.y.data() + c.begin};
  smooth_slopes(b, u, distance, g);
  for (std::size_t k = 0; k < c.size; ++k) {
    distance[k] *= w[k];
    g.x[k] *= w[k];
    g.y[k] *= w[k];
  }
}

}  // namespace

void distance_table::distances(const xy& at, std::span<double> distance,
                               std::span<std::uint32_t> edge, const slope_spans& slope) const {
  for (const gauge_block& b : blocks) {
    if (b.kind == gauge::shape::polyhedral && b.edges <= kEdgesToScan &&
        b.end - b.begin >= kSitesToScan) {
      for (std::size_t k = b.begin; k < b.end; k += kChunk) {
        const site_chunk chunk{k, std::min<std::size_t>(kChunk, b.end - k)};
        if (edge.empty()) {
          scan_values(*this, b, at, chunk, distance.data());
        } else {
          scan_edges(*this, b, at, chunk, distance.data(), edge.data());
        }
      }
    } else if (b.kind == gauge::shape::polyhedral) {
      for (std::size_t k = b.begin; k < b.end; ++k) {
        const xy u{at.x - x[k], at.y - y[k]};
        const std::uint32_t j = active_edge(b, u);
        distance[k] = weight[k] * dot(edges[b.first_edge + j].normal, u);
        if (!edge.empty()) edge[k] = j;
      }
    } else {
      for (std::size_t k = b.begin; k < b.end; k += kChunk) {
        smooth_values(*this, b, at, {k, std::min<std::size_t>(kChunk, b.end - k)}, distance.data(),
                      slope);
      }
    }
  }
}

}  // namespace planloc::detail
