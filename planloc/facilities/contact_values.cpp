#include "planloc/facilities/contact_values.h"

#include <algorithm>
#include <cstddef>

#ifdef __SSE2__
#include <emmintrin.h>
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
    for (std::size_t k = first; k < z_.size(); ++k) {
      const double d = c.A - m_[k] * c.s - u_[k];
      const double q = (m_[k] * c.P + t_[k] - c.B) / d;
      z_[k] = d != 0.0 ? q : 0.0;
    }
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

// Those within the bounds, moved to the front; a NaN counts as within.
std::span<const double> keep_within(std::span<double> z, double lower) {
  double* end = z.data();
  std::size_t k = 0;
#ifdef __SSE2__
  // Two at a time, with the same comparisons.
  const __m128d low = _mm_set1_pd(lower);
  const __m128d high = _mm_set1_pd(kLargestContact);
  for (; k + 2 <= z.size(); k += 2) {
    const __m128d v = _mm_loadu_pd(&z[k]);
    const int within = _mm_movemask_pd(_mm_and_pd(_mm_cmpnlt_pd(v, low), _mm_cmpngt_pd(v, high)));
    _mm_storel_pd(end, v);
    end += within & 1;
    _mm_storeh_pd(end, v);
    end += within >> 1;
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

void for_each_triple_batch(const ball_sites& sites, double lower, const contact_visitor& visit) {
  using kind = moving_crossing::kind;
  third_edges edges(sites);
  double z = 0.0;
  const std::size_t n = sites.size();
  for (std::size_t i = 0; i + 2 < n; ++i) {
    for (std::size_t a = edges.begin(i); a < edges.begin(i + 1); ++a) {
      for (std::size_t j = i + 1; j + 1 < n; ++j) {
        const std::size_t first = edges.begin(j + 1);
        for (std::size_t b = edges.begin(j); b < first; ++b) {
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
