#include "planloc/facilities/flat_gauged_sites.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "planloc/model/gauge_distance.h"

namespace planloc::detail {
namespace {

// The cone of a place is decided by the plain steps if the place is nearer than this to a
// direction, as the sine of the angle between them. An angle of the plain steps is the arc cosine
// of a number with an error of at most 7.3e-16 (6.5 roundings), so it is wrong by at most
// sqrt(2 * 7.3e-16) < 3.9e-8; two of them, and what the first direction may have lost on its way to
// the site and back (kDirectionLoss), are less than this.
constexpr double kClear = 1.1e-7;
constexpr double kDirectionLoss = 1e-8;
// Outside of a wedge with this sine about the line of the first direction, two angles are off by
// less than this.
constexpr double kWedge = 2e-4;
constexpr double kClearOutside = 1e-10;
// Squares of lengths within these bounds, and products of two of them, are normal numbers.
constexpr double kShortest = 1e-70;
constexpr double kLongest = 1e70;
// Above it nothing worth knowing is left of a value.
constexpr double kLargestError = 1e-3;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kRounding = std::numeric_limits<double>::epsilon() / 2;

const point kOrigin(0, 0);

bool is_usual(double length) { return length >= kShortest && length <= kLongest; }

double length_1(const plane_xy& v) { return std::fabs(v.x) + std::fabs(v.y); }

double cross(const plane_xy& a, const plane_xy& b) { return a.x * b.y - a.y * b.x; }

}  // namespace

flat_gauged_sites::flat_gauged_sites(const list<location>& sites, const list<polygauge>& gauges,
                                     const list<int>& gauge_of,
                                     const std::vector<int>& weight_numbers) {
  const std::size_t n = static_cast<std::size_t>(sites.size());
  sites_.reserve(n);
  weights_.resize(n * weight_numbers.size());
  gauge_numbers known;
  for_each_with_gauge(sites, gauges, gauge_of, [&](const location& a, const polygauge& g) {
    const point p = a.to_point();
    const std::size_t gauge = flat_number(g, known);
    for (std::size_t k = 0; k < weight_numbers.size(); ++k) {
      weights_[k * n + sites_.size()] = a.weight(weight_numbers[k]);
    }
    flat_site site{p.xcoord(), p.ycoord(), gauge, solves_.size(), 0.0, false};
    site.direction_loss = direction_loss(site);
    site.plain = !(site.direction_loss <= kDirectionLoss);
    append_solves(site);
    sites_.push_back(site);
  });
}

std::size_t flat_gauged_sites::flat_number(const polygauge& g, gauge_numbers& known) {
  const auto [entry, is_new] = known.try_emplace(&g, gauges_.size());
  if (!is_new) return entry->second;
  flat_gauge flat{&g, vertices_.size(), static_cast<std::size_t>(g.size()), g.size() == 0, 0.0,
                  0.0};
  for (const point& v : g.vertices()) vertices_.push_back({v.xcoord(), v.ycoord()});
  for (int i = 1; i <= g.size(); ++i) {
    const point t = g.vertex(i);
    const point next = g.vertex(i == g.size() ? 1 : i + 1);
    const double length = std::hypot(t.xcoord(), t.ycoord());
    // A translated gauge has the angles that it had before.
    const plane_xy& v = vertices_[flat.first + static_cast<std::size_t>(i) - 1];
    if (!is_usual(length) || v.x != t.xcoord() || v.y != t.ycoord()) flat.plain = true;
    directions_.push_back({t.xcoord() / length, t.ycoord() / length});
    const double dx = next.xcoord() - t.xcoord();
    const double dy = next.ycoord() - t.ycoord();
    const double d = t.xcoord() * dy - t.ycoord() * dx;
    cone_gradients_.push_back({dx, dy, d});
    const double size = length_1({t.xcoord(), t.ycoord()});
    const double both = size + length_1({next.xcoord(), next.ycoord()});
    flat.longest = std::max(flat.longest, size);
    flat.steepness = std::max(flat.steepness, d > 0.0 ? both / d : kInfinite);
  }
  gauges_.push_back(flat);
  return gauges_.size() - 1;
}

// How far the first direction turns when it is moved to the site and back, as a sine; infinite if
// the cones of the site cannot be told by signs at all.
double flat_gauged_sites::direction_loss(const flat_site& site) const {
  const flat_gauge& gauge = gauges_[site.gauge];
  if (gauge.plain) return kInfinite;
  const plane_xy& t = vertices_[gauge.first];
  const plane_xy h{(site.x + t.x) - site.x, (site.y + t.y) - site.y};
  const double length = std::hypot(h.x, h.y);
  if (!is_usual(length) || h.x * t.x + h.y * t.y <= 0.0) return kInfinite;
  return std::fabs(cross(h, t)) / (length * std::hypot(t.x, t.y));
}

// The elimination as far as it does not depend on the place.
void flat_gauged_sites::append_solves(const flat_site& site) {
  const polygauge& g = *gauges_[site.gauge].source;
  for (int i = 1; i <= g.size(); ++i) {
    const point t = g.vertex(i);
    const point next = g.vertex(i == g.size() ? 1 : i + 1);
    solves_.emplace_back(
        equation{(site.x + t.xcoord()) - site.x, (site.x + next.xcoord()) - site.x, 0.0},
        equation{(site.y + t.ycoord()) - site.y, (site.y + next.ycoord()) - site.y, 0.0});
  }
}

std::span<const plane_xy> flat_gauged_sites::ball(std::size_t gauge) const {
  return std::span(vertices_).subspan(gauges_[gauge].first, gauges_[gauge].cones);
}

std::vector<xy_segment> flat_gauged_sites::near_segments(double bound) const {
  std::vector<xy_segment> segments;
  for (std::size_t i = 0; i < size(); ++i) {
    const plane_xy a = at(i);
    const double w = weight(i);
    for (const plane_xy& v : ball(gauge(i))) {
      segments.push_back({a, {v.x * bound / w + a.x, v.y * bound / w + a.y}});
    }
  }
  return segments;
}

int flat_gauged_sites::plain_cone(const flat_site& site, double x, double y) const {
  bool interior = false;
  return gauges_[site.gauge].source->cone_of(point(site.x, site.y), point(x, y), interior);
}

int flat_gauged_sites::cone(std::size_t i, double x, double y) const {
  const flat_site& site = sites_[i];
  const flat_gauge& gauge = gauges_[site.gauge];
  const plane_xy d{x - site.x, y - site.y};
  const double length = length_1(d);
  if (site.plain || !is_usual(length)) return plain_cone(site, x, y);
  const double clear = kClear * length;
  const plane_xy* const u = &directions_[gauge.first];
  const double first = cross(u[0], d);
  double before = first;
  for (std::size_t c = 1; c < gauge.cones; ++c) {
    const double side = cross(u[c], d);
    if (before > clear && side < -clear) return static_cast<int>(c);
    before = side;
  }
  if (before > clear && first < -clear) return static_cast<int>(gauge.cones);
  return plain_cone(site, x, y);
}

double flat_gauged_sites::distance(std::size_t i, double x, double y) const {
  const flat_site& site = sites_[i];
  if (x == site.x && y == site.y) return 0.0;
  const two_equations& s = solves_[site.first_cone + static_cast<std::size_t>(cone(i, x, y)) - 1];
  if (s.singular()) {
    return gauges_[site.gauge].source->distance(point(site.x, site.y), point(x, y));
  }
  const auto lambda = s.solve(x - site.x, y - site.y);
  return std::fabs(lambda[0]) + std::fabs(lambda[1]);
}

double flat_gauged_sites::value(double x, double y, std::size_t k) const {
  const double* const w = weights_.data() + k * size();
  double sum = 0.0;
  for (std::size_t i = 0; i < size(); ++i) sum += distance(i, x, y) * w[i];
  return sum;
}

plane_xy flat_gauged_sites::gradient(double x, double y, std::size_t k) const {
  plane_xy g{0.0, 0.0};
  for (std::size_t i = 0; i < size(); ++i) {
    const flat_gauge& gauge = gauges_[sites_[i].gauge];
    const int c = cone(i, x, y);
    if (c == 0) gauge.source->cone_vertices(kOrigin, c);
    const cone_gradient& slope = cone_gradients_[gauge.first + static_cast<std::size_t>(c) - 1];
    const double w = weight(i, k);
    g.x += w * slope.dy / slope.d;
    g.y -= w * slope.dx / slope.d;
  }
  return g;
}

support_plane flat_gauged_sites::support(double x, double y, std::size_t k) const {
  const double* const w = weights_.data() + k * size();
  support_plane plane{{x, y}, value(x, y, k), {0.0, 0.0}};
  for (std::size_t i = 0; i < size(); ++i) {
    // On the site itself the face of any cone is a support.
    const int c = std::max(1, cone(i, x, y));
    const std::size_t first = gauges_[sites_[i].gauge].first;
    const cone_gradient& face = cone_gradients_[first + static_cast<std::size_t>(c) - 1];
    plane.slope.x += w[i] * face.dy / face.d;
    plane.slope.y -= w[i] * face.dx / face.d;
  }
  return plane;
}

// For one term: t, t' are the vertices of the cone, M the matrix of both, d the vector from the
// site, l = |M^-1 d| the exact gauge (all norms are sums of absolute values), T the longest vertex
// and K the steepness. Then |M^-1| <= K and |d| <= T * l.
// 1. Entries of M lose up to u * (A + 3 T) on the way to the site, whose coordinates are at most A,
//    and back; elimination with pivots solves a system with entries off by 16 u T more; d loses u
//    of itself. So the solution is off by at most K * (u T + 2 e) * l with e = u * (A + 20 T), and
//    0.2 of that more as it is taken at the computed solution.
// 2. The cone is the wrong one only if d is within `clear` radians of it. The plane of the edge and
//    the gauge then differ by at most 2 K |d - d'|, where d' is the nearest vector in the cone, and
//    a negative coefficient, of which the absolute value counts, is at most K |d - d'|, with
//    |d - d'| <= 1.5 * clear * T * l: 6 K T * clear * l in all.
// The sum of n terms adds (n + 4) u. Half of what comes out is in reserve.
double flat_gauged_sites::solve_error(const flat_site& site) const {
  const flat_gauge& gauge = gauges_[site.gauge];
  const double A = std::max(std::fabs(site.x), std::fabs(site.y));
  const double e = kRounding * (A + 20.0 * gauge.longest);
  return 1.2 * gauge.steepness * (kRounding * gauge.longest + 2.0 * e);
}

double flat_gauged_sites::cone_error(const flat_site& site, double clear) const {
  const flat_gauge& gauge = gauges_[site.gauge];
  return 6.0 * gauge.steepness * gauge.longest * (clear + 2.0 * site.direction_loss);
}

double flat_gauged_sites::relative_error() const {
  double largest = 0.0;
  for (const flat_site& site : sites_) {
    largest = std::max(largest, solve_error(site) + cone_error(site, kClear));
  }
  const double error = 2.0 * (largest + kRounding * (static_cast<double>(size()) + 4.0));
  const bool singular = std::any_of(solves_.begin(), solves_.end(),
                                    [](const two_equations& s) { return s.singular(); });
  return error < kLargestError && !singular ? error : kInfinite;
}

// Where the sine of an angle is at least s, its cosine's error of 7.3e-16 makes one of 7.3e-16 / s
// in the angle. A place outside of the wedge about the line of the first direction can only be
// taken for one on the wrong side of a direction that is outside of a wedge of half the sine.
double flat_gauged_sites::relative_error_within(const xy_box& box, double least,
                                                std::size_t k) const {
  const auto& [low, high] = box;
  const plane_xy middle{(low.x + high.x) / 2.0, (low.y + high.y) / 2.0};
  // Of the box from there, and a rounding of the middle.
  const double reach = 0.51 * ((high.x - low.x) + (high.y - low.y)) +
                       8.0 * kRounding * (length_1(low) + length_1(high));
  double everywhere = 0.0;
  double in_wedges = 0.0;
  for (std::size_t i = 0; i < size(); ++i) {
    const flat_site& site = sites_[i];
    const flat_gauge& gauge = gauges_[site.gauge];
    everywhere = std::max(everywhere, solve_error(site) + cone_error(site, kClearOutside));
    const plane_xy d{middle.x - site.x, middle.y - site.y};
    const double farthest = length_1(d) + reach;
    const bool outside =
        !site.plain && std::fabs(cross(directions_[gauge.first], d)) - reach > kWedge * farthest;
    if (outside) continue;
    in_wedges += weight(i, k) * gauge.steepness * farthest * cone_error(site, kClear);
  }
  return 2.0 * (everywhere + in_wedges / least + kRounding * (static_cast<double>(size()) + 4.0));
}

// A component of a face's slope is at most K and, as d loses up to 6 u T K of itself, off by
// (6 T K + 3) u K; the sum of n of them and its product with a vector add n + 4 roundings.
double flat_gauged_sites::slope_error(std::size_t k) const {
  double sum = 0.0;
  for (std::size_t i = 0; i < size(); ++i) {
    const flat_gauge& gauge = gauges_[sites_[i].gauge];
    const double K = gauge.steepness;
    sum += weight(i, k) * K * (6.0 * gauge.longest * K + static_cast<double>(size()) + 8.0);
  }
  return 2.0 * kRounding * sum;
}

}  // namespace planloc::detail
