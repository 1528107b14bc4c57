#include "planloc/facilities/contact_values.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

#include "planloc/facilities/wide_vectors.h"

#ifdef PLANLOC_FUSED
#include <immintrin.h>
#endif

namespace planloc::detail {
namespace {

// An edge of a ball of radius z / w about (x, y), as a line that moves with z: vertical at
// x + z * s, or through the points y = m * x + t + z * u.
struct moving_line {
  moving_line(const ball_site& place, const xy& b, const xy& c)
      : is_vertical(b.x == c.x), s(b.x / place.w), x(place.x) {
    if (is_vertical) return;
    m = (b.y - c.y) / (b.x - c.x);
    t = place.y - m * place.x;
    u = (b.y - b.x * m) / place.w;
  }

  bool is_vertical;
  double s;
  double x;
  double m = 0.0;
  double t = 0.0;
  double u = 0.0;
};

std::vector<moving_line> edges_of(std::span<const xy> ball, const ball_site& place) {
  std::vector<moving_line> edges;
  for (std::size_t i = 0; i < ball.size(); ++i) {
    edges.emplace_back(place, ball[i], ball[behind(ball, i)]);
  }
  return edges;
}

double quotient(double numerator, double d) { return d != 0.0 ? numerator / d : 0.0; }

// Where the vertex v of the ball about a reaches the line.
double contact(const ball_site& a, const xy& v, const moving_line& line) {
  if (line.is_vertical) return quotient(line.x - a.x, v.x / a.w - line.s);
  return quotient(line.m * a.x + line.t - a.y, v.y / a.w - line.m * (v.x / a.w) - line.u);
}

std::size_t largest_number(std::size_t sites) {
  if (sites < 6) return 5000;
  return sites > 101 ? 1000 : 500;
}

// The crossing of two moving lines, which moves along a line itself: (P, B) + z * (s, A).
struct moving_crossing {
  enum class kind { kNone, kNeverMeet, kOnVertical, kOnSlopes };

  moving_crossing(const moving_line& a, const moving_line& b) {
    if (a.is_vertical && b.is_vertical) {
      type = kind::kNone;
    } else if (a.is_vertical || b.is_vertical) {
      type = kind::kOnVertical;
      const moving_line& vertical = a.is_vertical ? a : b;
      const moving_line& other = a.is_vertical ? b : a;
      s = vertical.s;
      A = other.m * s + other.u;
      P = vertical.x;
      B = other.m * P + other.t;
    } else if (a.m == b.m) {
      type = kind::kNeverMeet;
    } else {
      type = kind::kOnSlopes;
      s = (b.u - a.u) / (a.m - b.m);
      A = a.m * s + a.u;
      P = (b.t - a.t) / (a.m - b.m);
      B = a.m * P + a.t;
    }
  }

  kind type;
  double s = 0.0;
  double A = 0.0;
  double P = 0.0;
  double B = 0.0;
};

// The values with the lines y = m * x + t + z * u.
PLANLOC_WIDE_VECTORS
void meet_slopes(const moving_crossing& c, std::size_t n, const double* m, const double* t,
                 const double* u, double* z) {
  for (std::size_t k = 0; k < n; ++k) {
    const double d = c.A - m[k] * c.s - u[k];
    const double q = (m[k] * c.P + t[k] - c.B) / d;
    z[k] = d != 0.0 ? q : 0.0;
  }
}

// The edges of all sites side by side: what the loop over the third edge reads.
class third_edges {
 public:
  explicit third_edges(const ball_sites& sites) {
    for (std::size_t i = 0; i < sites.size(); ++i) {
      begin_.push_back(lines_.size());
      for (const moving_line& line : edges_of(sites[i].ball, sites[i])) {
        if (line.is_vertical) vertical_.push_back(lines_.size());
        lines_.push_back(line);
        m_.push_back(line.m);
        t_.push_back(line.t);
        u_.push_back(line.u);
      }
    }
    begin_.push_back(lines_.size());
    z_.resize(lines_.size());
  }

  std::size_t begin(std::size_t site) const { return begin_[site]; }
  const moving_line& operator[](std::size_t edge) const { return lines_[edge]; }

  // The values with each edge from `first` on. REQUIRES: the crossing moves.
  std::span<double> contacts(const moving_crossing& c, std::size_t first) {
    meet_slopes(c, z_.size() - first, m_.data() + first, t_.data() + first, u_.data() + first,
                z_.data() + first);
    for (auto k = std::lower_bound(vertical_.begin(), vertical_.end(), first); k != vertical_.end();
         ++k) {
      z_[*k] = c.type == moving_crossing::kind::kOnSlopes
                   ? quotient(c.P - lines_[*k].x, lines_[*k].s - c.s)
                   : 0.0;
    }
    return std::span(z_).subspan(first);
  }

  // The same with one value for all.
  std::span<double> constant(double z, std::size_t first) {
    std::fill(z_.begin() + static_cast<std::ptrdiff_t>(first), z_.end(), z);
    return std::span(z_).subspan(first);
  }

 private:
  std::vector<moving_line> lines_;
  std::vector<std::size_t> begin_;
  std::vector<std::size_t> vertical_;
  std::vector<double> m_;
  std::vector<double> t_;
  std::vector<double> u_;
  std::vector<double> z_;
};

#ifdef PLANLOC_FUSED
// For each set of four numbers, how to bring them to the front: as pairs of 32 bits.
constexpr std::array<std::array<int, 8>, 16> kToFront = [] {
  std::array<std::array<int, 8>, 16> result{};
  for (std::size_t set = 0; set < result.size(); ++set) {
    std::size_t to = 0;
    for (int i = 0; i < 4; ++i) {
      if (((set >> i) & 1U) == 0) continue;
      result[set][to++] = 2 * i;
      result[set][to++] = 2 * i + 1;
    }
  }
  return result;
}();

// As keep_within, for the first numbers, as many as are a multiple of four: the end of those kept.
PLANLOC_FUSED
double* keep_fours_within(std::span<double> z, double lower) {
  const __m256d low = _mm256_set1_pd(lower);
  const __m256d high = _mm256_set1_pd(kLargestContact);
  double* end = z.data();
  for (std::size_t k = 0; k + 4 <= z.size(); k += 4) {
    const __m256d v = _mm256_loadu_pd(&z[k]);
    const __m256d within =
        _mm256_and_pd(_mm256_cmp_pd(v, low, _CMP_NLT_UQ), _mm256_cmp_pd(v, high, _CMP_NGT_UQ));
    const auto set = static_cast<unsigned>(_mm256_movemask_pd(within));
    const __m256i order = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(&kToFront[set]));
    const __m256i front = _mm256_permutevar8x32_epi32(_mm256_castpd_si256(v), order);
    _mm256_storeu_pd(end, _mm256_castsi256_pd(front));
    end += std::popcount(set);
  }
  return end;
}
#endif

// Those within the bounds, moved to the front; a NaN counts as within.
std::span<const double> keep_within(std::span<double> z, double lower) {
  double* end = z.data();
  std::size_t k = 0;
#ifdef PLANLOC_FUSED
  if (PLANLOC_HAS_FUSED) {
    end = keep_fours_within(z, lower);
    k = z.size() / 4 * 4;
  }
#endif
  for (; k < z.size(); ++k) {
    const double v = z[k];
    *end = v;
    end += static_cast<std::ptrdiff_t>(!(v < lower) && !(v > kLargestContact));
  }
  return {z.data(), end};
}

}  // namespace

std::vector<double> pair_contacts(const ball_sites& sites) {
  const std::size_t n = sites.size();
  const std::size_t cap = largest_number(n);
  std::vector<std::vector<moving_line>> edges;
  for (std::size_t i = 0; i < n; ++i) edges.push_back(edges_of(sites[i].ball, sites[i]));
  ball_site loaded{0.0, 0.0, 0.0, {}};
  std::vector<double> values;
  for (std::size_t i = 0; i < n; ++i) {
    for (const xy& v : sites[i].ball) {
      for (std::size_t j = 0; j < n; ++j) {
        if (j != i) loaded = sites[j];
        const auto take = [&](const std::vector<moving_line>& lines) {
          for (const moving_line& line : lines) {
            const double z = contact(sites[i], v, line);
            if (z > 0.0 && values.size() < cap) values.push_back(z);
          }
        };
        j == i ? take(edges_of(sites[i].ball, loaded)) : take(edges[j]);
        if (values.size() == cap) return values;
      }
    }
  }
  return values;
}

std::vector<double> triple_contacts(const ball_sites& sites, double lower) {
  std::vector<double> values;
  for_each_triple_batch(sites, lower, [&](std::span<const double> batch) {
    values.insert(values.end(), batch.begin(), batch.end());
  });
  return values;
}

void for_each_triple_batch(const ball_sites& sites, double lower, const contact_visitor& visit,
                           std::size_t step) {
  using kind = moving_crossing::kind;
  third_edges edges(sites);
  double z = 0.0;
  std::size_t pair = 0;
  const std::size_t n = sites.size();
  for (std::size_t i = 0; i + 2 < n; ++i) {
    for (std::size_t a = edges.begin(i); a < edges.begin(i + 1); ++a) {
      for (std::size_t j = i + 1; j + 1 < n; ++j) {
        const std::size_t first = edges.begin(j + 1);
        for (std::size_t b = edges.begin(j); b < first; ++b) {
          if (pair++ % step != 0) continue;
          const moving_crossing c(edges[a], edges[b]);
          const std::span<double> found = c.type == kind::kNone        ? edges.constant(z, first)
                                          : c.type == kind::kNeverMeet ? edges.constant(0.0, first)
                                                                       : edges.contacts(c, first);
          if (!found.empty()) z = found.back();
          visit(keep_within(found, lower));
        }
      }
    }
  }
}

double triple_count(const ball_sites& sites) {
  // Sums over the sites so far of edges, pairs and triples of edges.
  double ones = 0.0;
  double twos = 0.0;
  double threes = 0.0;
  for (std::size_t i = 0; i < sites.size(); ++i) {
    const double s = static_cast<double>(sites[i].ball.size());
    threes += twos * s;
    twos += ones * s;
    ones += s;
  }
  return threes;
}

}  // namespace planloc::detail
