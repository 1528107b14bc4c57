// The steps of `facilities::gauge_max` one by one on lists, polygons and locations, without any
// short cut: what the solver has to yield to the bit.
#ifndef PLANLOC_TESTS_FACILITIES_PLAIN_GAUGE_MAX_H_
#define PLANLOC_TESTS_FACILITIES_PLAIN_GAUGE_MAX_H_

#include <cmath>
#include <numbers>

#include "planloc/foundation/geometry/crossings.h"
#include "planloc/foundation/geometry/exact_orientation.h"
#include "planloc/foundation/geometry/polygon.h"
#include "tests/facilities/gauge_problems.h"

namespace planloc {

inline void plain_sort_around_centre(list<point>& L) {
  if (L.size() < 2) return;
  double x = 0.0;
  double y = 0.0;
  for (const point& p : L) {
    x += p.xcoord();
    y += p.ycoord();
  }
  const point c(x / L.size(), y / L.size());
  list<point> T;
  for (const point& p : L) {
    list_item it = T.first();
    while (it && !(c.angle(p, T[it]) > std::numbers::pi)) it = T.succ(it);
    it ? T.insert(p, it, before) : T.append(p);
  }
  L = T;
}

inline polygon plain_convex_intersection(const polygon& A, const polygon& B) {
  const auto lies_in = [](const polygon& inner, const polygon& outer) {
    for (const point& p : inner.vertices()) {
      if (outer.side_of(p) < 0) return false;
    }
    return true;
  };
  if (lies_in(A, B)) return A;
  if (lies_in(B, A)) return B;
  list<segment> S = A.segments();
  for (const segment& s : B.segments()) S.append(s);
  list<point> V = A.vertices();
  for (const point& p : B.vertices()) V.append(p);
  list<point> I;
  SEGMENT_INTERSECTION(S, I);
  list<point> R;
  for (const point& p : I) {
    if (!V.search(p) || (A.side_of(p) >= 0 && B.side_of(p) >= 0)) R.append(p);
  }
  list<point> below;
  list<point> walk;
  for (const point& p : R) {
    if (detail::exact_orientation(R.head(), R.tail(), p) < 0) {
      below.push(p);
    } else {
      walk.append(p);
    }
  }
  walk.conc(below);
  plain_sort_around_centre(walk);
  return R.empty() ? polygon() : polygon(walk, true, true);
}

inline double plain_median(list<double>& C) {
  const int count = C.size();
  const int k = (count - 1) / 2;
  if (count < 120) {
    C.sort();
  } else {
    int lo = 0;
    int hi = count - 1;
    const auto at = [&](int i) -> double& { return C[C.get_item(i)]; };
    while (hi > lo) {
      const double p = at(hi);
      int i = lo;
      int j = hi;
      double t = 0.0;
      while (j > i) {
        while (at(i) < p && j > i) ++i;
        while (at(j) >= p && j > i) --j;
        t = at(i);
        at(i) = at(j);
        at(j) = t;
      }
      at(j) = at(i);
      at(i) = at(hi);
      at(hi) = t;
      const int stop = i;
      if (stop >= k) hi = stop - 1;
      if (stop <= k) lo = stop + 1;
    }
  }
  if (count % 2 == 1) return C[C.get_item(k)];
  return (C[C.get_item((count - 2) / 2)] + C[C.get_item((count - 2) / 2 + 1)]) / 2.0;
}

class plain_gauge_max {
 public:
  explicit plain_gauge_max(const gauged_sites& P) {
    P.for_each([&](const location& a, const polygauge& g) {
      a_.push_back({a[0], a[1], a.weight(0), {}});
      for (const point& v : g.vertices()) a_.back().V.push_back(v);
    });
  }

  double solve() {
    list<double> C = pairs();
    if (C.size() == 2) C.push(C.head());
    while (C.size() >= 2) reduce(C, false);
    double z = C.head();
    if (level_result(z)) return z;
    triples(C, z);
    if (C.size() == 2) C.push(C.head());
    while (C.size() > 1300) bulk_step(C);
    while (C.size() >= 2) reduce(C, true);
    z = C.head();
    level_result(z);
    return z;
  }

  polygon level_set(double z) const {
    polygon P;
    for (std::size_t i = 0; i < a_.size(); ++i) {
      list<point> corners;
      for (const point& v : a_[i].V) {
        corners.append(
            point(a_[i].x + z / a_[i].w * v.xcoord(), a_[i].y + z / a_[i].w * v.ycoord()));
      }
      const polygon Q(corners, true, true);
      if (i == 0) {
        P = Q;
      } else if (!P.empty()) {
        P = plain_convex_intersection(P, Q);
      }
    }
    return P;
  }

  bool level_reached(double z) const { return !level_set(z - 1e-14).empty(); }

  double bulk_step(list<double>& C) const {
    C.sort();
    const int n = C.size();
    const double m = n % 2 == 1
                         ? C[C.get_item((n - 1) / 2)]
                         : (C[C.get_item((n - 2) / 2)] + C[C.get_item((n - 2) / 2 + 1)]) / 2.0;
    split(C, m, true);
    return m;
  }

  list<location> opt;

  // In front of what C has, each that is not below L.
  void triples(list<double>& C, double L) const {
    const std::size_t n = a_.size();
    const auto vertical = [](const point& p, const point& q) { return p.xcoord() == q.xcoord(); };
    const auto slope = [](const point& p, const point& q) {
      return (p.ycoord() - q.ycoord()) / (p.xcoord() - q.xcoord());
    };
    const auto shift = [](const ball& f, double m) { return f.y - m * f.x; };
    const auto growth = [](const ball& f, const point& p, double m) {
      return (p.ycoord() - p.xcoord() * m) / f.w;
    };
    double z = 0.0;
    for (std::size_t i = 0; i + 2 < n; ++i) {
      const ball& fi = a_[i];
      for (std::size_t ai = 0; ai < fi.V.size(); ++ai) {
        const point& a = fi.V[ai];
        const point& a2 = fi.next(ai);
        for (std::size_t j = i + 1; j + 1 < n; ++j) {
          const ball& fj = a_[j];
          for (std::size_t bi = 0; bi < fj.V.size(); ++bi) {
            const point& b = fj.V[bi];
            const point& b2 = fj.next(bi);
            for (std::size_t k = j + 1; k < n; ++k) {
              const ball& fk = a_[k];
              for (std::size_t ci = 0; ci < fk.V.size(); ++ci) {
                const point& c = fk.V[ci];
                const point& c2 = fk.next(ci);
                const bool va = vertical(a, a2);
                const bool vb = vertical(b, b2);
                const bool vc = vertical(c, c2);
                const double mk = vc ? 0.0 : slope(c, c2);
                const auto third = [&](double s, double A, double P, double B) {
                  const double d = A - mk * s - growth(fk, c, mk);
                  return d != 0.0 ? (mk * P + shift(fk, mk) - B) / d : 0.0;
                };
                if (va && vb) {
                  // z stays
                } else if (va || vb) {
                  const ball& v = va ? fi : fj;
                  const ball& o = va ? fj : fi;
                  const point& p = va ? a : b;
                  const double m = va ? slope(b, b2) : slope(a, a2);
                  const double s = p.xcoord() / v.w;
                  const double A = m * s + growth(o, va ? b : a, m);
                  const double B = m * v.x + shift(o, m);
                  z = vc ? 0.0 : third(s, A, v.x, B);
                } else {
                  const double mi = slope(a, a2);
                  const double mj = slope(b, b2);
                  if (mi == mj) {
                    z = 0.0;
                  } else {
                    const double s = (growth(fj, b, mj) - growth(fi, a, mi)) / (mi - mj);
                    const double A = mi * s + growth(fi, a, mi);
                    const double P = (shift(fj, mj) - shift(fi, mi)) / (mi - mj);
                    const double B = mi * P + shift(fi, mi);
                    if (vc) {
                      const double d = c.xcoord() / fk.w - s;
                      z = d != 0.0 ? (P - fk.x) / d : 0.0;
                    } else {
                      z = third(s, A, P, B);
                    }
                  }
                }
                if (!(z < L) && !(z > 150000000.0)) C.push(z);
              }
            }
          }
        }
      }
    }
  }

 private:
  struct ball {
    double x, y, w;
    std::vector<point> V;
    const point& next(std::size_t i) const { return V[(i + 1) % V.size()]; }
  };

  list<double> pairs() const {
    const std::size_t n = a_.size();
    int cap = 500;
    if (n < 6) cap = 5000;
    if (n > 101) cap = 1000;
    list<double> C;
    ball loaded{0.0, 0.0, 0.0, {}};
    for (std::size_t i = 0; i < n; ++i) {
      for (const point& a : a_[i].V) {
        for (std::size_t j = 0; j < n; ++j) {
          if (j != i) loaded = a_[j];
          for (std::size_t l = 0; l < a_[j].V.size(); ++l) {
            const point& b = a_[j].V[l];
            const point& c = a_[j].next(l);
            const double wi = a_[i].w;
            const double wj = loaded.w;
            double z = 0.0;
            if (b.xcoord() == c.xcoord()) {
              const double d = a.xcoord() / wi - b.xcoord() / wj;
              if (d != 0.0) z = (loaded.x - a_[i].x) / d;
            } else {
              const double m = (b.ycoord() - c.ycoord()) / (b.xcoord() - c.xcoord());
              const double t = loaded.y - m * loaded.x;
              const double u = (b.ycoord() - b.xcoord() * m) / wj;
              const double d = a.ycoord() / wi - m * (a.xcoord() / wi) - u;
              if (d != 0.0) z = (m * a_[i].x + t - a_[i].y) / d;
            }
            if (z > 0.0 && C.size() < cap) C.push(z);
          }
        }
      }
    }
    return C;
  }

  // A median that is not reached stays in front, or goes.
  void split(list<double>& C, double m, bool stays) const {
    const bool reached = level_reached(m);
    list<double> S;
    for (double z : C) {
      if (reached ? z < m : z > m) S.append(z);
    }
    if (reached) S.append(m);
    if (!reached && stays) S.push(m);
    C = S;
  }

  void reduce(list<double>& C, bool second_form) const {
    const double m = plain_median(C);
    split(C, m, second_form);
    if (C.size() != 2) return;
    if (C.head() != m) {
      level_reached(C.head()) ? C.pop() : C.Pop();
    } else {
      level_reached(C.tail()) ? C.Pop() : C.pop();
    }
  }

  bool level_result(double z) {
    const polygon P = level_set(z + 1e-14);
    if (P.empty()) return false;
    list<location> R;
    for (const point& p : P.vertices()) {
      int near = 0;
      for (const location& q : R) {
        if (std::fabs(p.xcoord() - q[0]) <= 1e-12 && std::fabs(p.ycoord() - q[1]) <= 1e-12) ++near;
      }
      if (near == 0) R.append(location::from_point(p));
    }
    opt = R;
    return true;
  }

  std::vector<ball> a_;
};

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_PLAIN_GAUGE_MAX_H_
