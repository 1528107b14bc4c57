#include "planloc/facilities/level_cuts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace planloc::detail {
namespace {

constexpr int kMostPasses = 100;
// A pass that leaves more than this of the area has met the flat bottom of the function, or its
// rounding.
constexpr double kStalled = 0.9;
// Fewer segments are crossed sooner than known better, and so is a smaller gain of exactness.
constexpr std::size_t kMany = 32;
constexpr double kSharper = 0.8;
// Values within the level are taken to be at least this part of it: where they are not, errors are
// counted in full.
constexpr double kLeast = 0.5;
constexpr double kRounding = std::numeric_limits<double>::epsilon() / 2;

plane_xy difference(const plane_xy& a, const plane_xy& b) { return {a.x - b.x, a.y - b.y}; }
std::vector<plane_xy> corners_of(const xy_box& b) {
  return {b.low, {b.high.x, b.low.y}, b.high, {b.low.x, b.high.y}};
}

}  // namespace

level_cuts::level_cuts(const flat_gauged_sites& sites, std::size_t k, const xy_box& box)
    : sites_(sites),
      k_(k),
      error_(sites.relative_error()),
      near_{-std::numeric_limits<double>::infinity(), error_, box},
      best_(std::numeric_limits<double>::infinity()),
      region_(corners_of(box)) {
  const auto& [low, high] = box;
  extent_ = (high.x - low.x) + (high.y - low.y);
  slope_slack_ = sites.slope_error(k) * extent_;
  coordinates_ = extent_ + std::max({std::fabs(low.x), std::fabs(low.y), std::fabs(high.x),
                                     std::fabs(high.y)});
}

double level_cuts::error_at(double level) const {
  return level <= near_.level && level >= kLeast * near_.level ? near_.error : error_;
}

double level_cuts::safe_level(double v) const {
  const double level = v * (1.0 + 4.0 * near_.error);
  return error_at(level) == near_.error ? level : v * (1.0 + 4.0 * error_);
}

// With S = support.slope and y = support.at: f(c) <= level means that the exact sum at c is at most
// level * (1 + e), and at least support.value * (1 - e') + S * (c - y) less what the slope loses,
// with the errors e at c and e' at y. Taken twice, they cover the roundings of this line. The last
// term covers those of S * (c - y), 4 roundings, of clipping a segment, 8, and of a crossing that
// was rounded, 1.
double level_cuts::reach(const cut& c, double level) const {
  const double errors = error_at(level) * level + c.error * c.support.value;
  return level - c.support.value + 2.0 * errors + c.slack;
}

void level_cuts::add(const plane_xy& at) {
  const support_plane support = sites_.support(at.x, at.y, k_);
  best_ = std::min(best_, support.value);
  const double steepness = std::fabs(support.slope.x) + std::fabs(support.slope.y);
  const bool is_near = near_.box.holds(at) && support.value >= kLeast * near_.level;
  cuts_.push_back({support, is_near ? near_.error : error_,
                   slope_slack_ + 64.0 * kRounding * steepness * coordinates_});
  clip_region(cuts_.back());
}

void level_cuts::clip_region(const cut& c) {
  const plane_xy& at = c.support.at;
  const double limit = reach(c, safe_level(best_));
  std::vector<plane_xy> rest;
  for (std::size_t i = 0; i < region_.size(); ++i) {
    const plane_xy& p = region_[i];
    const plane_xy& q = region_[i + 1 == region_.size() ? 0 : i + 1];
    const double over_p = dot(c.support.slope, difference(p, at)) - limit;
    const double over_q = dot(c.support.slope, difference(q, at)) - limit;
    if (over_p <= 0.0) rest.push_back(p);
    if ((over_p < 0.0 && over_q > 0.0) || (over_p > 0.0 && over_q < 0.0)) {
      const double t = over_p / (over_p - over_q);
      rest.push_back({p.x + t * (q.x - p.x), p.y + t * (q.y - p.y)});
    }
  }
  region_ = std::move(rest);
}

bool level_cuts::clip(const cut& c, double level, clipped_segment& s) const {
  const double limit = reach(c, level);
  const double a = dot(c.support.slope, difference(s.whole.a, c.support.at));
  const double b = dot(c.support.slope, difference(s.whole.b, c.support.at));
  if (a > limit && b > limit) return false;
  if (a > limit) s.from = std::max(s.from, (a - limit) / (a - b));
  if (b > limit) s.to = std::min(s.to, (limit - a) / (b - a));
  return s.from <= s.to;
}

double level_cuts::area() const {
  double twice = 0.0;
  for (std::size_t i = 2; i < region_.size(); ++i) {
    const plane_xy a = difference(region_[i - 1], region_[0]);
    const plane_xy b = difference(region_[i], region_[0]);
    twice += a.x * b.y - a.y * b.x;
  }
  return twice / 2.0;
}

plane_xy level_cuts::centre() const {
  plane_xy sum{0.0, 0.0};
  for (std::size_t i = 2; i < region_.size(); ++i) {
    const plane_xy a = difference(region_[i - 1], region_[0]);
    const plane_xy b = difference(region_[i], region_[0]);
    const double twice = a.x * b.y - a.y * b.x;
    sum.x += twice * (a.x + b.x);
    sum.y += twice * (a.y + b.y);
  }
  const double six = 6.0 * area();
  return {region_[0].x + sum.x / six, region_[0].y + sum.y / six};
}

void level_cuts::narrow(std::span<const xy_segment> segments, std::size_t few) {
  std::vector<clipped_segment> left;
  for (const xy_segment& s : segments) left.push_back({s});
  const auto cut_at = [&](const plane_xy& at) {
    add(at);
    const double level = safe_level(best_);
    std::erase_if(left, [&](clipped_segment& s) { return !clip(cuts_.back(), level, s); });
  };
  for (int pass = 0; pass < kMostPasses && left.size() > few; ++pass) {
    const double before = area();
    if (!(before > 0.0) || !std::isfinite(before)) return;
    cut_at(centre());
    if (area() <= kStalled * before) continue;
    for (const plane_xy& corner : std::vector<plane_xy>(region_)) cut_at(corner);
    if (area() > kStalled * before && !sharpen(left)) return;
  }
}

bool level_cuts::sharpen(std::vector<clipped_segment>& left) {
  if (left.size() < kMany) return false;
  const double level = safe_level(best_);
  std::optional<xy_box> box;
  for (const clipped_segment& s : left) {
    const plane_xy d = difference(s.whole.b, s.whole.a);
    for (const double t : {s.from, s.to}) {
      const plane_xy p{s.whole.a.x + t * d.x, s.whole.a.y + t * d.y};
      if (!box) box = xy_box(p);
      box->extend(p);
    }
  }
  const double pad = 64.0 * kRounding * coordinates_;
  const xy_box padded({box->low.x - pad, box->low.y - pad}, {box->high.x + pad, box->high.y + pad});
  const double error = sites_.relative_error_within(padded, kLeast * level, k_);
  if (!(error < kSharper * near_.error)) return false;

  near_ = {level, error, padded};
  region_ = corners_of(padded);
  const double lower = safe_level(best_);
  for (const cut& c : cuts_) {
    clip_region(c);
    std::erase_if(left, [&](clipped_segment& s) { return !clip(c, lower, s); });
  }
  return true;
}

std::vector<xy_segment> level_cuts::reaching(std::span<const xy_segment> segments,
                                             double level) const {
  std::vector<xy_segment> result;
  for (const xy_segment& s : segments) {
    clipped_segment rest{s};
    const bool left =
        std::all_of(cuts_.begin(), cuts_.end(), [&](const cut& c) { return clip(c, level, rest); });
    if (left) result.push_back(s);
  }
  return result;
}

bool level_cuts::surely_above(const plane_xy& c, double level) const {
  return std::any_of(cuts_.begin(), cuts_.end(), [&](const cut& k) {
    return dot(k.support.slope, difference(c, k.support.at)) > reach(k, level);
  });
}

}  // namespace planloc::detail
