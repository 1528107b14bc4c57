// The least value of a polyhedral problem by brute force, in doubles and by code of its own: f is
// linear in the cells of the arrangement of all lines on which a distance or the order of two
// distances changes, so a bounded f has its least value in a crossing of two of them.
#ifndef PLANLOC_TESTS_OPTIMUM_ARRANGEMENT_H_
#define PLANLOC_TESTS_OPTIMUM_ARRANGEMENT_H_

#include <gmpxx.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

#include "planloc/optimum/solution.h"

namespace planloc {

// f of a place without loss, by all edges of all unit balls.
inline mpq_class exact_value(const problem& p, const mpq_class& x, const mpq_class& y) {
  std::vector<mpq_class> distance;
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const site& s = p.sites()[i];
    const std::span<const xy> v = p.gauge_of(i).vertices();
    mpq_class most = 0;
    for (std::size_t j = 0; j < v.size(); ++j) {
      const mpq_class ax(v[j].x), ay(v[j].y);
      const xy& b = v[(j + 1) % v.size()];
      const mpq_class area = ax * b.y - ay * b.x;
      most = std::max(most, mpq_class(((b.y - ay) * (x - s.x) - (b.x - ax) * (y - s.y)) / area));
    }
    distance.push_back(most * s.weight);
  }
  std::sort(distance.begin(), distance.end());
  mpq_class sum;
  for (std::size_t k = 0; k < distance.size(); ++k) sum += p.lambda(k) * distance[k];
  return sum;
}

inline mpq_class exact_value(const problem& p, const solution& s) {
  if (s.exact.empty()) return exact_value(p, mpq_class(s.point.x), mpq_class(s.point.y));
  return exact_value(p, mpq_class(s.exact.x), mpq_class(s.exact.y));
}

// All of these lines, whole and in absolute coordinates.
struct test_line {
  double a, b, c;  // a x + b y == c
};

inline std::vector<test_line> break_lines(const problem& p) {
  std::vector<test_line> lines;
  struct piece {
    double a, b, c;
  };
  std::vector<std::vector<piece>> pieces;
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const site& s = p.sites()[i];
    const std::span<const xy> v = p.gauge_of(i).vertices();
    auto& own = pieces.emplace_back();
    for (std::size_t j = 0; j < v.size(); ++j) {
      const xy a = v[j];
      const xy b = v[(j + 1) % v.size()];
      lines.push_back({-a.y, a.x, -a.y * s.x + a.x * s.y});
      const double area = a.x * b.y - a.y * b.x;
      const xy n{s.weight * (b.y - a.y) / area, s.weight * (a.x - b.x) / area};
      own.push_back({n.x, n.y, n.x * s.x + n.y * s.y});
    }
  }
  if (p.runs().size() == 1) return lines;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      for (const piece& f : pieces[i]) {
        for (const piece& g : pieces[k]) lines.push_back({f.a - g.a, f.b - g.b, f.c - g.c});
      }
    }
  }
  return lines;
}

class arrangement {
 public:
  struct optima {
    double value = std::numeric_limits<double>::infinity();
    double size = 0;         // of the terms of f at the first of the places
    std::vector<xy> places;  // crossings with this value up to the tie; counted from base()
  };

  explicit arrangement(const problem& p) : base_{p.sites()[0].x, p.sites()[0].y} {
    for (std::size_t i = 0; i < p.sites().size(); ++i) add(p, i);
    for (std::size_t k = 0; k < sites_.size(); ++k) lambda_.push_back(p.lambda(k));
    distance_.resize(sites_.size());
    const bool ordered = p.runs().size() > 1;
    for (std::size_t i = 0; i < sites_.size(); ++i) {
      for (std::size_t e = 0; e < sites_[i].pieces.size(); ++e) {
        add_ray(sites_[i], e);
        for (std::size_t k = 0; ordered && k < i; ++k) {
          for (std::size_t f = 0; f < sites_[k].pieces.size(); ++f)
            add_bisector(sites_[i], e, sites_[k], f);
        }
      }
    }
    join_equal_lines();
  }

  xy base() const { return base_; }
  double extent() const { return extent_; }
  // f grows by no more than this times a change in both coordinates.
  double steepest() const {
    double sum = 0;
    for (const site_pieces& s : sites_) {
      double most = 0;
      for (const piece& q : s.pieces)
        most = std::max(most, std::fabs(q.slope.x) + std::fabs(q.slope.y));
      sum += most;
    }
    double largest = 0;
    for (const double l : lambda_) largest = std::max(largest, std::fabs(l));
    return 1.001 * sum * largest;
  }

  // f at a place that is counted from base(), and the sum of its terms' magnitudes.
  std::pair<double, double> value(const xy& at) {
    for (std::size_t i = 0; i < sites_.size(); ++i) {
      const double x = at.x - sites_[i].at.x;
      const double y = at.y - sites_[i].at.y;
      double most = 0;
      for (const piece& q : sites_[i].pieces) most = std::max(most, q.slope.x * x + q.slope.y * y);
      distance_[i] = most;
    }
    std::sort(distance_.begin(), distance_.end());
    double sum = 0;
    double size = 0;
    for (std::size_t k = 0; k < lambda_.size(); ++k) {
      sum += lambda_[k] * distance_[k];
      size += std::fabs(lambda_[k]) * distance_[k];
    }
    return {sum, size};
  }

  // All crossings, counted from base().
  template <class Visitor>
  void visit_crossings(Visitor visit) const {
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      for (std::size_t k = 0; k < i; ++k) {
        const segment& f = lines_[i];
        const segment& g = lines_[k];
        const double sine = f.a * g.b - f.b * g.a;
        if (std::fabs(sine) < 1e-15) continue;
        const xy at{(f.c * g.b - f.b * g.c) / sine, (f.a * g.c - f.c * g.a) / sine};
        if (std::fabs(sine) <= 1e-6 || (f.holds(at) && g.holds(at))) visit(at);
      }
    }
  }

  optima find(double tie = 1e-11) {
    optima best;
    std::vector<std::pair<double, xy>> near;
    visit_crossings([&](const xy& at) {
      const auto [v, size] = value(at);
      if (v > best.value + tie * (size + extent_)) return;
      if (v < best.value) {
        best.value = v;
        best.size = size;
      }
      near.emplace_back(v, at);
    });
    for (const auto& [v, at] : near) {
      if (v <= best.value + tie * (best.size + extent_)) best.places.push_back(at);
    }
    return best;
  }

  // The least value of f's growth far from the sites in all directions, and the size of its terms.
  // It is linear between the directions of lines on which the gauges break or are equal.
  std::pair<double, double> recession() {
    std::vector<site_pieces> kept = sites_;
    for (site_pieces& s : sites_) s.at = {0, 0};
    std::pair<double, double> least{std::numeric_limits<double>::infinity(), 0};
    const auto look = [&](double x, double y) {
      const double length = std::hypot(x, y);
      if (length == 0) return;
      least = std::min({least, value({x / length, y / length}), value({-x / length, -y / length})});
    };
    for (std::size_t i = 0; i < sites_.size(); ++i) {
      for (const piece& q : sites_[i].pieces) {
        look(q.ray.x, q.ray.y);
        for (std::size_t k = 0; k < i; ++k) {
          for (const piece& r : sites_[k].pieces)
            look(q.slope.y - r.slope.y, r.slope.x - q.slope.x);
        }
      }
    }
    sites_ = std::move(kept);
    return least;
  }

 private:
  struct piece {
    xy slope;  // of the weighted distance
    xy ray;    // of length 1, where the piece begins
  };
  struct site_pieces {
    xy at;
    std::vector<piece> pieces;
  };
  // a x + b y == c, with a normal of length 1, between two places along (-b, a).
  struct segment {
    double a, b, c;
    double from = -std::numeric_limits<double>::infinity();
    double to = std::numeric_limits<double>::infinity();

    bool holds(const xy& at) const {
      const double t = a * at.y - b * at.x;
      return t >= from && t <= to;
    }
  };

  void add(const problem& p, std::size_t i) {
    const site& s = p.sites()[i];
    const std::span<const xy> v = p.gauge_of(i).vertices();
    site_pieces own{{s.x - base_.x, s.y - base_.y}, {}};
    extent_ = std::max({extent_, std::fabs(own.at.x), std::fabs(own.at.y)});
    for (std::size_t j = 0; j < v.size(); ++j) {
      const xy& a = v[j];
      const xy& b = v[(j + 1) % v.size()];
      const double area = a.x * b.y - a.y * b.x;
      const double length = std::hypot(a.x, a.y);
      own.pieces.push_back({{s.weight * (b.y - a.y) / area, s.weight * (a.x - b.x) / area},
                            {a.x / length, a.y / length}});
    }
    sites_.push_back(std::move(own));
  }

  double slack() const { return 1e-6 * (extent_ + 1e-300); }

  void add_ray(const site_pieces& s, std::size_t e) {
    const xy& u = s.pieces[e].ray;
    segment l{u.y, -u.x, u.y * s.at.x - u.x * s.at.y};
    l.from = u.x * s.at.x + u.y * s.at.y - slack();
    lines_.push_back(l);
  }

  // The part of the line in the half-plane to the left of the ray from the place (1) or to the
  // right of it (-1).
  void cut(segment& l, const xy& at, const xy& ray, int side) const {
    const double start = side * (ray.x * (l.b * l.c - at.y) - ray.y * (l.a * l.c - at.x));
    const double growth = side * (ray.x * l.a + ray.y * l.b);
    if (std::fabs(growth) < 1e-12) {
      if (start < -slack()) l.to = -std::numeric_limits<double>::infinity();
      return;
    }
    const double border = -start / growth;
    if (growth > 0) {
      l.from = std::max(l.from, border - slack() / growth);
    } else {
      l.to = std::min(l.to, border - slack() / growth);
    }
  }

  void add_bisector(const site_pieces& s, std::size_t e, const site_pieces& t, std::size_t f) {
    const xy& m = s.pieces[e].slope;
    const xy& n = t.pieces[f].slope;
    const xy normal{m.x - n.x, m.y - n.y};
    const double length = std::hypot(normal.x, normal.y);
    if (length <= 1e-15 * (std::hypot(m.x, m.y) + std::hypot(n.x, n.y))) return;
    const double right = m.x * s.at.x + m.y * s.at.y - n.x * t.at.x - n.y * t.at.y;
    segment l{normal.x / length, normal.y / length, right / length};
    cut(l, s.at, s.pieces[e].ray, 1);
    cut(l, s.at, s.pieces[(e + 1) % s.pieces.size()].ray, -1);
    cut(l, t.at, t.pieces[f].ray, 1);
    cut(l, t.at, t.pieces[(f + 1) % t.pieces.size()].ray, -1);
    if (l.from <= l.to) lines_.push_back(l);
  }

  void join_equal_lines() {
    for (segment& l : lines_) {
      if (l.a > 0 || (l.a == 0 && l.b > 0)) continue;
      l = {-l.a, -l.b, -l.c, -l.to, -l.from};
    }
    std::sort(lines_.begin(), lines_.end(), [](const segment& l, const segment& m) {
      return std::tie(l.a, l.b, l.c) < std::tie(m.a, m.b, m.c);
    });
    std::size_t kept = 0;
    for (const segment& l : lines_) {
      if (kept > 0 && lines_[kept - 1].a == l.a && lines_[kept - 1].b == l.b &&
          lines_[kept - 1].c == l.c) {
        lines_[kept - 1].from = std::min(lines_[kept - 1].from, l.from);
        lines_[kept - 1].to = std::max(lines_[kept - 1].to, l.to);
      } else {
        lines_[kept++] = l;
      }
    }
    lines_.resize(kept);
  }

  xy base_;
  double extent_ = 0;
  std::vector<site_pieces> sites_;
  std::vector<double> lambda_;
  std::vector<segment> lines_;
  std::vector<double> distance_;
};

// How far a place lies outside a convex set given by its corners counterclockwise.
inline double outside(const std::vector<xy>& corners, const xy& at) {
  double most = 0;
  for (std::size_t k = 0; k < corners.size(); ++k) {
    const xy& a = corners[k];
    const xy& b = corners[(k + 1) % corners.size()];
    const xy edge{b.x - a.x, b.y - a.y};
    const double length = std::hypot(edge.x, edge.y);
    const xy u{at.x - a.x, at.y - a.y};
    most =
        std::max(most, length == 0 ? std::hypot(u.x, u.y) : (u.x * edge.y - u.y * edge.x) / length);
    if (corners.size() == 2) most = std::max(most, -(u.x * edge.x + u.y * edge.y) / length);
  }
  return most;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_OPTIMUM_ARRANGEMENT_H_
