#include "planloc/optimum/problem.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "planloc/optimum/exact/exact_sign.h"
#include "planloc/optimum/input_check.h"
#include "planloc/optimum/regions/ring_check.h"

namespace planloc {

namespace {

using detail::cross_sign;
using detail::number_text;
using detail::turn_sign;

[[noreturn]] void fail(const std::string& text) { throw bad_problem(text); }

// Products of any few numbers within this range, and their squares, are doubles.
constexpr const char* kAtMost = "at most 1e36 in magnitude";

bool too_large(const xy& v) {
  return !(std::fabs(v.x) <= kMostNumber && std::fabs(v.y) <= kMostNumber);
}

bool upper_half(const xy& v) { return v.y > 0 || (v.y == 0 && v.x > 0); }

// Of the line through a and b, in doubles.
double distance_from_origin(const xy& a, const xy& b) {
  const double q = a.y * b.x;
  const double area = std::fma(a.x, b.y, -q) + std::fma(-a.y, b.x, q);
  return area / std::hypot(b.x - a.x, b.y - a.y);
}

// REQUIRES: consecutive vertices turn left around the origin.
std::size_t turns_around_origin(const std::vector<xy>& v) {
  std::size_t turns = 0;
  for (std::size_t j = 0; j < v.size(); ++j) {
    turns += !upper_half(v[j]) && upper_half(v[(j + 1) % v.size()]);
  }
  return turns;
}

std::vector<xy> without_vertices_inside_edges(const std::vector<xy>& v) {
  std::vector<xy> corners;
  for (std::size_t j = 0; j < v.size(); ++j) {
    const xy& before = v[(j + v.size() - 1) % v.size()];
    const xy& after = v[(j + 1) % v.size()];
    const int turn = turn_sign(before, v[j], after);
    if (turn < 0) fail("gauge: not convex at vertex " + std::to_string(j));
    if (turn > 0) corners.push_back(v[j]);
  }
  return corners;
}

}  // namespace

// ----- Gauges -----

gauge gauge::polyhedral(std::span<const xy> vertices) {
  if (vertices.size() < 3) {
    fail("gauge: " + std::to_string(vertices.size()) + " vertices: at least 3 are needed");
  }
  for (std::size_t j = 0; j < vertices.size(); ++j) {
    if (!too_large(vertices[j])) continue;
    const bool finite = std::isfinite(vertices[j].x) && std::isfinite(vertices[j].y);
    fail("gauge: vertex " + std::to_string(j) + " is (" + number_text(vertices[j].x) + ", " +
         number_text(vertices[j].y) + "): must be " + (finite ? kAtMost : "finite"));
  }
  std::vector<xy> v(vertices.begin(), vertices.end());
  const bool clockwise = cross_sign(v[0], v[1]) < 0;
  if (clockwise) std::reverse(v.begin(), v.end());
  for (std::size_t j = 0; j < v.size(); ++j) {
    const xy& next = v[(j + 1) % v.size()];
    const bool inside = cross_sign(v[j], next) > 0;
    if (inside && distance_from_origin(v[j], next) >= kLeastNumber) continue;
    const std::size_t first = clockwise ? v.size() - 1 - j : j;
    const std::size_t second =
        clockwise ? (v.size() + first - 1) % v.size() : (first + 1) % v.size();
    const std::string edge =
        " the edge of the vertices " + std::to_string(first) + " and " + std::to_string(second);
    if (v[j] == next)
      fail("gauge: the vertices " + std::to_string(first) + " and " + std::to_string(second) +
           " are both (" + number_text(next.x) + ", " + number_text(next.y) + ")");
    if (inside) fail("gauge: the origin is within 1e-36 of" + edge);
    fail("gauge: the origin is not strictly inside at" + edge);
  }
  if (turns_around_origin(v) != 1) fail("gauge: the vertices go around the origin more than once");
  gauge g(shape::polyhedral, 0);
  g.vertices_ = std::make_shared<const std::vector<xy>>(without_vertices_inside_edges(v));
  return g;
}

gauge gauge::polyhedral(std::initializer_list<xy> vertices) {
  return polyhedral(std::span<const xy>(vertices.begin(), vertices.size()));
}

gauge gauge::l1() { return polyhedral({{1, 0}, {0, 1}, {-1, 0}, {0, -1}}); }
gauge gauge::linf() { return polyhedral({{1, -1}, {1, 1}, {-1, 1}, {-1, -1}}); }
gauge gauge::euclidean() { return gauge(shape::euclidean, 2); }

gauge gauge::lp(double p) {
  if (!(p >= 1)) fail("gauge: p is " + number_text(p) + ": must be at least 1");
  if (p == 1) return l1();
  if (p == 2) return euclidean();
  if (std::isinf(p)) return linf();
  return gauge(shape::lp, p);
}

std::span<const xy> gauge::vertices() const {
  return vertices_ ? std::span<const xy>(*vertices_) : std::span<const xy>();
}

double gauge::operator()(xy u) const {
  if (kind_ == shape::euclidean) return std::hypot(u.x, u.y);
  if (kind_ == shape::lp) {
    const double large = std::max(std::fabs(u.x), std::fabs(u.y));
    if (large == 0) return 0;
    const double ratio = std::min(std::fabs(u.x), std::fabs(u.y)) / large;
    return large * std::pow(1 + std::pow(ratio, p_), 1 / p_);
  }
  const std::vector<xy>& v = *vertices_;
  double most = 0;
  for (std::size_t j = 0; j < v.size(); ++j) {
    const xy& a = v[j];
    const xy& b = v[j + 1 == v.size() ? 0 : j + 1];
    const xy d{b.x - a.x, b.y - a.y};
    most = std::max(most, (u.x * d.y - u.y * d.x) / (a.x * d.y - a.y * d.x));
  }
  return most;
}

// ----- Order weights -----

namespace {

// Drops runs of length 0 and joins neighbours of the same weight.
std::vector<order_run> joined(const std::vector<order_run>& runs) {
  std::vector<order_run> result;
  for (const order_run& r : runs) {
    if (r.count == 0) continue;
    if (!result.empty() && result.back().weight == r.weight) {
      result.back().count += r.count;
    } else {
      result.push_back(r);
    }
  }
  return result;
}

void check_place(const char* name, std::size_t k, std::size_t n) {
  if (k >= 1 && k <= n) return;
  fail(std::string(name) + ": k is " + std::to_string(k) +
       ": must be from 1 to the number of sites, " + std::to_string(n));
}

}  // namespace

order_weights::order_weights(std::vector<double> lambda) {
  for (std::size_t k = 0; k < lambda.size(); ++k) {
    const double size = std::fabs(lambda[k]);
    if (size == 0 || (size >= kLeastNumber && size <= kMostNumber)) continue;
    fail("order weight " + std::to_string(k) + " is " + number_text(lambda[k]) + ": must be " +
         (std::isfinite(size) ? "0 or from 1e-36 to 1e36 in magnitude" : "finite"));
  }
  runs_ = [all = std::move(lambda)](std::size_t n) {
    if (all.size() != n) {
      fail(std::to_string(all.size()) +
           (all.size() == 1 ? " order weight for " : " order weights for ") + std::to_string(n) +
           (n == 1 ? " site" : " sites"));
    }
    std::vector<order_run> runs;
    for (const double l : all) runs.push_back({l, 1});
    return runs;
  };
}

order_weights order_weights::median() {
  return order_weights([](std::size_t n) { return std::vector<order_run>{{1, n}}; });
}

order_weights order_weights::centre() { return k_centrum(1); }

order_weights order_weights::k_centrum(std::size_t k) {
  return order_weights([k](std::size_t n) {
    check_place("k-centrum", k, n);
    return std::vector<order_run>{{0, n - k}, {1, k}};
  });
}

order_weights order_weights::cent_dian(double alpha) {
  if (!(alpha >= 0 && alpha <= 1))
    fail("cent-dian: alpha is " + number_text(alpha) + ": must be from 0 to 1");
  return order_weights([alpha](std::size_t n) {
    const double each = (1 - alpha) / static_cast<double>(n);
    return std::vector<order_run>{{each, n - 1}, {each + alpha, 1}};
  });
}

order_weights order_weights::anti_centrum(std::size_t k) {
  return order_weights([k](std::size_t n) {
    check_place("anti-centrum", k, n);
    return std::vector<order_run>{{1, k}, {0, n - k}};
  });
}

order_weights order_weights::range() {
  return order_weights([](std::size_t n) {
    if (n == 1) return std::vector<order_run>{{0, 1}};
    return std::vector<order_run>{{-1, 1}, {0, n - 2}, {1, 1}};
  });
}

order_weights order_weights::order_statistic(std::size_t k) {
  return order_weights([k](std::size_t n) {
    check_place("order statistic", k, n);
    return std::vector<order_run>{{0, k - 1}, {1, 1}, {0, n - k}};
  });
}

order_weights order_weights::quantile(double q) {
  if (!(q >= 0 && q <= 1)) fail("quantile: q is " + number_text(q) + ": must be from 0 to 1");
  return order_weights([q](std::size_t n) {
    const auto k = static_cast<std::size_t>(std::ceil(q * static_cast<double>(n)));
    return order_statistic(std::clamp<std::size_t>(k, 1, n)).runs(n);
  });
}

order_weights order_weights::trimmed_mean(std::size_t low, std::size_t high) {
  return order_weights([low, high](std::size_t n) {
    if (low >= n || high >= n - low) {
      fail("trimmed mean: " + std::to_string(low) + " and " + std::to_string(high) + " of " +
           std::to_string(n) + " sites leave none");
    }
    return std::vector<order_run>{{0, low}, {1, n - low - high}, {0, high}};
  });
}

std::vector<order_run> order_weights::runs(std::size_t n) const { return joined(runs_(n)); }

// ----- Problems -----

namespace {

void check_site(std::size_t i, const site& s, std::size_t gauges) {
  const auto bad = [i](const char* what, const std::string& value, const char* rule) {
    fail(std::string(what) + " of site " + std::to_string(i) + " is " + value + ": must be " +
         rule);
  };
  if (!std::isfinite(s.x)) bad("x", number_text(s.x), "finite");
  if (!std::isfinite(s.y)) bad("y", number_text(s.y), "finite");
  if (!std::isfinite(s.weight)) bad("weight", number_text(s.weight), "finite");
  if (!(s.weight > 0)) bad("weight", number_text(s.weight), "positive");
  if (!(std::fabs(s.x) <= kMostNumber)) bad("x", number_text(s.x), kAtMost);
  if (!(std::fabs(s.y) <= kMostNumber)) bad("y", number_text(s.y), kAtMost);
  if (s.weight < kLeastNumber || s.weight > kMostNumber)
    bad("weight", number_text(s.weight), "from 1e-36 to 1e36");
  if (s.gauge < gauges) return;
  bad("gauge", std::to_string(s.gauge),
      ("less than the number of gauges, " + std::to_string(gauges)).c_str());
}

void check_extent(std::span<const site> sites) {
  const auto [left, right] = std::minmax_element(
      sites.begin(), sites.end(), [](const site& a, const site& b) { return a.x < b.x; });
  const auto [low, high] = std::minmax_element(
      sites.begin(), sites.end(), [](const site& a, const site& b) { return a.y < b.y; });
  const double extent = std::max(right->x - left->x, high->y - low->y);
  if (extent == 0 || extent >= kLeastNumber) return;
  fail("the sites lie within " + number_text(extent) +
       " of each other: must be at one place or 1e-36 apart");
}

void check_region(const region& polygons, const char* role) {
  for (std::size_t k = 0; k < polygons.size(); ++k) {
    if (polygons[k].empty())
      fail(std::string(role) + " polygon " + std::to_string(k) + " has no rings");
    for (std::size_t r = 0; r < polygons[k].size(); ++r) {
      const std::string name =
          "ring " + std::to_string(r) + " of " + role + " polygon " + std::to_string(k);
      for (const xy& c : polygons[k][r]) {
        if (!too_large(c)) continue;
        const bool finite = std::isfinite(c.x) && std::isfinite(c.y);
        fail(name + " has a corner at (" + number_text(c.x) + ", " + number_text(c.y) +
             "): must be " + (finite ? kAtMost : "finite"));
      }
      const std::string fault = detail::ring_fault(polygons[k][r]);
      if (!fault.empty()) fail(name + " " + fault);
    }
  }
}

}  // namespace

problem::problem(std::vector<site> sites, std::vector<gauge> gauges, const order_weights& lambda,
                 regions where)
    : sites_(std::move(sites)), gauges_(std::move(gauges)), where_(std::move(where)) {
  if (sites_.empty()) fail("no site");
  for (std::size_t i = 0; i < sites_.size(); ++i) check_site(i, sites_[i], gauges_.size());
  check_extent(sites_);
  if (where_.allowed) check_region(*where_.allowed, "allowed");
  check_region(where_.forbidden, "forbidden");
  runs_ = lambda.runs(sites_.size());
  convex_ = runs_.front().weight >= 0 &&
            std::is_sorted(runs_.begin(), runs_.end(), [](const order_run& a, const order_run& b) {
              return a.weight < b.weight;
            });
  polyhedral_ = std::all_of(sites_.begin(), sites_.end(), [this](const site& s) {
    return gauges_[s.gauge].kind() == gauge::shape::polyhedral;
  });
}

problem problem::without_regions() const {
  problem p = *this;
  p.where_ = {};
  return p;
}

double problem::lambda(std::size_t k) const {
  std::size_t run = 0;
  while (k >= runs_[run].count) k -= runs_[run++].count;
  return runs_[run].weight;
}

double problem::distance(std::size_t i, xy at) const {
  const site& s = sites_[i];
  return s.weight * gauges_[s.gauge]({at.x - s.x, at.y - s.y});
}

double problem::value(xy at) const {
  std::vector<double> d(sites_.size());
  for (std::size_t i = 0; i < d.size(); ++i) d[i] = distance(i, at);
  if (runs_.size() > 1) std::sort(d.begin(), d.end());
  // In extended precision, so that terms of both signs lose little.
  long double sum = 0;
  auto next = d.begin();
  for (const order_run& r : runs_) {
    for (std::size_t k = 0; k < r.count; ++k) sum += static_cast<long double>(r.weight) * *next++;
  }
  return static_cast<double>(sum);
}

}  // namespace planloc
