#include "planloc/facilities/flat_gauged_sites.h"

#include <cmath>
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
// Squares of lengths within these bounds, and products of two of them, are normal numbers.
constexpr double kShortest = 1e-70;
constexpr double kLongest = 1e70;
constexpr double kSmallestPivot = 1e-12;

const point kOrigin(0, 0);

bool is_usual(double length) { return length >= kShortest && length <= kLongest; }

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
    flat_site site{p.xcoord(), p.ycoord(), gauge, solves_.size(), gauges_[gauge].plain};
    append_solves(site);
    if (!site.plain) {
      const plane_xy& t = vertices_[gauges_[gauge].first];
      const plane_xy h{(site.x + t.x) - site.x, (site.y + t.y) - site.y};
      const double scale = std::hypot(h.x, h.y) * std::hypot(t.x, t.y);
      const bool kept = h.x * t.x + h.y * t.y > 0.0 && is_usual(std::hypot(h.x, h.y)) &&
                        std::fabs(cross(h, t)) <= kDirectionLoss * scale;
      site.plain = !kept;
    }
    sites_.push_back(site);
  });
}

std::size_t flat_gauged_sites::flat_number(const polygauge& g, gauge_numbers& known) {
  const auto [entry, is_new] = known.try_emplace(&g, gauges_.size());
  if (!is_new) return entry->second;
  flat_gauge flat{&g, vertices_.size(), static_cast<std::size_t>(g.size()), g.size() == 0};
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
    cone_gradients_.push_back({dx, dy, t.xcoord() * dy - t.ycoord() * dx});
  }
  gauges_.push_back(flat);
  return gauges_.size() - 1;
}

// The elimination as far as it does not depend on the place.
void flat_gauged_sites::append_solves(const flat_site& site) {
  const polygauge& g = *gauges_[site.gauge].source;
  for (int i = 1; i <= g.size(); ++i) {
    const point t = g.vertex(i);
    const point next = g.vertex(i == g.size() ? 1 : i + 1);
    plane_xy e{(site.x + t.xcoord()) - site.x, (site.x + next.xcoord()) - site.x};
    plane_xy f{(site.y + t.ycoord()) - site.y, (site.y + next.ycoord()) - site.y};
    const bool exchanged = std::fabs(f.x) > std::fabs(e.x);
    if (exchanged) std::swap(e, f);
    const double factor = f.x / e.x;
    const double fy = f.y - factor * e.y;
    const bool singular = std::fabs(e.x) < kSmallestPivot || std::fabs(fy) < kSmallestPivot;
    solves_.push_back({factor, fy, e.y, e.x, exchanged, singular});
  }
}

std::span<const plane_xy> flat_gauged_sites::ball(std::size_t gauge) const {
  return std::span(vertices_).subspan(gauges_[gauge].first, gauges_[gauge].cones);
}

int flat_gauged_sites::plain_cone(const flat_site& site, double x, double y) const {
  bool interior = false;
  return gauges_[site.gauge].source->cone_of(point(site.x, site.y), point(x, y), interior);
}

int flat_gauged_sites::cone(std::size_t i, double x, double y) const {
  const flat_site& site = sites_[i];
  const flat_gauge& gauge = gauges_[site.gauge];
  const plane_xy d{x - site.x, y - site.y};
  const double length = std::fabs(d.x) + std::fabs(d.y);
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
  const cone_solve& s = solves_[site.first_cone + static_cast<std::size_t>(cone(i, x, y)) - 1];
  if (s.singular) {
    return gauges_[site.gauge].source->distance(point(site.x, site.y), point(x, y));
  }
  double e = x - site.x;
  double f = y - site.y;
  if (s.exchanged) std::swap(e, f);
  f -= s.factor * e;
  f /= s.fy;
  e -= s.ey * f;
  e /= s.ex;
  return std::fabs(e) + std::fabs(f);
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

}  // namespace planloc::detail
