#include "planloc/facilities/weighted_circles.h"

#include <cmath>

#include "planloc/facilities/planar_sites.h"

namespace planloc {

double weighted_site::distance(double px, double py) const {
  return detail::euclidean_distance(x, y, px, py);
}

// ----- Covering circles -----

circle_record two_point_circle(const weighted_site& a, const weighted_site& b) {
  const double sum = a.weight + b.weight;
  return {(a.weight * a.x + b.weight * b.x) / sum, (a.weight * a.y + b.weight * b.y) / sum,
          a.weight * b.weight * a.distance(b.x, b.y) / sum};
}

namespace {

circle_record equal_distance_locus(const weighted_site& a, const weighted_site& b) {
  return a.weight != b.weight ? apollonius_circle(a, b) : detail::bisector(a, b);
}

}  // namespace

circle_record three_point_circle(const weighted_site& a, const weighted_site& b,
                                 const weighted_site& c) {
  const circle_record ab = equal_distance_locus(a, b);
  const circle_record ac = equal_distance_locus(a, c);
  const circle_record bc = equal_distance_locus(b, c);
  // Both keep what an intersection does not write: intended, the header tells
  // what.
  weighted_site p;
  weighted_site q;
  const auto value = [&](const weighted_site& s) { return a.weight * s.distance(a.x, a.y); };

  locus_intersection(ab, ac, p, q);
  const bool second = value(p) >= value(q);
  circle_record best{second ? q.x : p.x, second ? q.y : p.y, second ? value(q) : value(p)};
  const auto improve = [&](const weighted_site& s) {
    if (value(s) < best.radius) best = {s.x, s.y, value(s)};
  };
  locus_intersection(ab, bc, p, q);
  improve(p);
  improve(q);
  locus_intersection(ac, bc, p, q);
  improve(p);
  improve(q);
  return best;
}

int is_covered(const weighted_site& a, const circle_record& c) {
  return c.radius + kCoveringTolerance >= a.weight * a.distance(c.x, c.y) ? 1 : 0;
}

location worst_location(const circle_record& c, const list<location>& locations) {
  const location* worst = nullptr;
  double largest = 0.0;
  for (const location& a : locations) {
    const weighted_site site(a);
    const double value = site.weight * site.distance(c.x, c.y);
    if (value - c.radius > kCoveringTolerance && value > largest) {
      worst = &a;
      largest = value;
    }
  }
  return worst ? *worst : location(2, 1);
}

int pair_covers_third(const weighted_site& a, const weighted_site& b, const weighted_site& c) {
  return is_covered(a, two_point_circle(b, c)) || is_covered(b, two_point_circle(a, c)) ||
                 is_covered(c, two_point_circle(a, b))
             ? 1
             : 0;
}

// ----- Loci of equal weighted distance -----

circle_record apollonius_circle(const weighted_site& a, const weighted_site& b) {
  const double k = b.weight / a.weight;
  const double e = 1.0 - k * k;
  return {(a.x - k * k * b.x) / e, (a.y - k * k * b.y) / e,
          std::fabs(a.distance(b.x, b.y) * k / e)};
}

circle_record detail::bisector(const weighted_site& a, const weighted_site& b) {
  if (a.y == b.y) return {kNowhere, (a.x + b.x) / 2.0, 0.0};
  const double t = (b.x * b.x + b.y * b.y - a.x * a.x - a.y * a.y) / (2.0 * (b.y - a.y));
  return {-(b.x - a.x) / (b.y - a.y), t, 0.0};
}

namespace {

struct slope_and_intercept {
  double m;
  double t;

  bool vertical() const { return !(m < kNowhere); }
};

slope_and_intercept radical_line(const circle_record& c0, const circle_record& c1) {
  const double x0 = c0.x;
  const double y0 = c0.y;
  const double r0 = c0.radius;
  const double x1 = c1.x;
  const double y1 = c1.y;
  const double r1 = c1.radius;
  if (y0 != y1) {
    return {-(x1 - x0) / (y1 - y0),
            (x1 * x1 + y1 * y1 - x0 * x0 - y0 * y0 - r1 * r1 + r0 * r0) / (2.0 * (y1 - y0))};
  }
  return {kNowhere, (x1 * x1 - x0 * x0 - r1 * r1 + r0 * r0) / (2.0 * (x1 - x0))};
}

void circle_with_line(const circle_record& circle, const slope_and_intercept& line,
                      weighted_site& p, weighted_site& q) {
  const double x0 = circle.x;
  const double y0 = circle.y;
  const double r0 = circle.radius;
  const double m = line.m;
  const double t = line.t;
  double A = 1.0;
  double B = -2.0 * y0;
  double C = t * t + x0 * x0 + y0 * y0 - 2.0 * t * x0 - r0 * r0;
  if (!line.vertical()) {
    A = m * m + 1.0;
    B = 2.0 * (m * t - x0 - y0 * m);
    C = -2.0 * y0 * t - r0 * r0 + t * t + x0 * x0 + y0 * y0;
  }
  double D = B * B - 4.0 * A * C;
  if (D < -kDiscriminantTolerance) {
    // The ordinate of q stays: intended, the header says so.
    p = weighted_site(kNowhere, kNowhere, 0.0);
    q = weighted_site(kNowhere, q.y, 0.0);
    return;
  }
  if (D <= kDiscriminantTolerance) D = 0.0;
  if (!(D >= 0.0)) return;
  const double plus = (-B + std::sqrt(D)) / (2.0 * A);
  const double minus = (-B - std::sqrt(D)) / (2.0 * A);
  if (line.vertical()) {
    p = weighted_site(t, plus, 1.0);
    q = weighted_site(t, minus, 1.0);
  } else {
    p = weighted_site(plus, m * plus + t, 1.0);
    q = weighted_site(minus, m * minus + t, 1.0);
  }
}

void line_with_line(const slope_and_intercept& l1, const slope_and_intercept& l2, weighted_site& p,
                    weighted_site& q) {
  if (l1.m == l2.m) {
    p.x = kNowhere;
  } else if (l1.m == kNowhere) {
    p.x = l1.t;
    p.y = l2.m * p.x + l2.t;
  } else if (l2.m == kNowhere) {
    p.x = l2.t;
    p.y = l1.m * p.x + l1.t;
  } else if (l1.m < kNowhere && l2.m < kNowhere) {
    p.x = (l2.t - l1.t) / (l1.m - l2.m);
    p.y = l1.m * p.x + l1.t;
  }
  q.x = p.x;
  q.y = p.y;
}

}  // namespace

void locus_intersection(const circle_record& l1, const circle_record& l2, weighted_site& p,
                        weighted_site& q) {
  const auto line = [](const circle_record& l) { return slope_and_intercept{l.x, l.y}; };
  if (l1.radius > 0.0 && l2.radius > 0.0) {
    circle_with_line(l1, radical_line(l1, l2), p, q);
  } else if (l1.radius > 0.0 && l2.radius == 0.0) {
    circle_with_line(l1, line(l2), p, q);
  } else if (l1.radius == 0.0 && l2.radius > 0.0) {
    circle_with_line(l2, line(l1), p, q);
  } else if (l1.radius == 0.0 && l2.radius == 0.0) {
    line_with_line(line(l1), line(l2), p, q);
  }
}

void locus_intersection(const circle_record& l1, const circle_record& l2, location& p,
                        location& q) {
  weighted_site sp(p);
  weighted_site sq(q);
  locus_intersection(l1, l2, sp, sq);
  const auto write = [](const weighted_site& from, location& to) {
    to[0] = from.x;
    to[1] = from.y;
    to.weight(0) = from.weight;
  };
  write(sp, p);
  write(sq, q);
}

}  // namespace planloc
