#include "planloc/optimum/efficient/ray_arrangement.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "planloc/optimum/exact/exact_sign.h"

namespace planloc::detail {

namespace {

// Of the sites' extent: the most by which a crossing in pairs of doubles may be off.
constexpr double kPairError = 0x1p-60;
// The offset of a line, that of a place and their difference are each off by less than a fourth of
// this, relative to the size of the direction times that of the frame: a position relative to the
// base is rounded once, two products and their difference once each.
constexpr double kOffsetError = 0x1p-49;
constexpr double kStepError = 0x1p-49;

double size_of(const xy& v) { return std::fabs(v.x) + std::fabs(v.y); }
double cross(const xy& a, const xy& b) { return a.x * b.y - a.y * b.x; }

double_double to_pair(const mpq_class& q) {
  const double hi = to_nearest(exact_xy{q, 0}).x;
  return {hi, to_nearest(exact_xy{q - hi, 0}).x};
}

xy position(const bicriteria_problem& p, std::uint32_t site) {
  return {p.sites()[site].x, p.sites()[site].y};
}

xy direction_of(const bicriteria_problem& p, const ray_line& l) {
  return p.gauge_of(l.site).vertices()[l.vertex];
}

// How many lines on either side of a place are put in order at first, where they are spread evenly.
constexpr double kLinesAhead = 8;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

}  // namespace

// ----- Places -----

rung_place::rung_place(const exact_xy& at, const xy& base) { take(at, base); }

rung_place::rung_place(const bicriteria_problem& p, const std::array<ray_line, 2>& lines,
                       const xy& base, double extent)
    : problem_(&p), lines_(lines) {
  if (cross_in_pairs() && error_ <= kPairError * extent) {
    relative_ = {(pair_.x - double_double{base.x, 0}).hi, (pair_.y - double_double{base.y, 0}).hi};
  } else {
    take(exact(), base);
  }
}

void rung_place::take(const exact_xy& at, const xy& base) {
  if (!exact_) exact_ = at;
  pair_ = {to_pair(at.x), to_pair(at.y)};
  error_ = kDoubleDoubleError * (std::fabs(pair_.x.hi) + std::fabs(pair_.y.hi));
  relative_ = to_nearest(exact_xy{at.x - base.x, at.y - base.y});
}

bool rung_place::cross_in_pairs() {
  const xy a = position(*problem_, lines_[0].site);
  const xy b = position(*problem_, lines_[1].site);
  const xy v = direction_of(*problem_, lines_[0]);
  const double_double_xy w = to_double_double(direction_of(*problem_, lines_[1]));
  const double_double_estimate area = cross(to_double_double(v), w);
  if (!(std::fabs(area.value.hi) > 2 * area.error)) return false;
  const double_double_estimate step = quotient(cross(exact_difference(b, a), w), area);
  const double_double along_x = double_double{v.x, 0} * step.value;
  const double_double along_y = double_double{v.y, 0} * step.value;
  pair_ = {double_double{a.x, 0} + along_x, double_double{a.y, 0} + along_y};
  error_ = 1.5 * size_of(v) * step.error +
           8 * kDoubleDoubleError * (size_of(a) + std::fabs(along_x.hi) + std::fabs(along_y.hi));
  return std::isfinite(error_);
}

const exact_xy& rung_place::exact() const {
  if (!exact_) {
    const exact_xy a = to_exact(position(*problem_, lines_[0].site));
    const exact_xy b = to_exact(position(*problem_, lines_[1].site));
    const exact_xy v = to_exact(direction_of(*problem_, lines_[0]));
    const exact_xy w = to_exact(direction_of(*problem_, lines_[1]));
    const mpq_class step = detail::cross({b.x - a.x, b.y - a.y}, w) / detail::cross(v, w);
    exact_ = exact_xy{a.x + v.x * step, a.y + v.y * step};
  }
  return *exact_;
}

xy rung_place::nearest() const {
  if (surely_nearest(pair_.x, error_) && surely_nearest(pair_.y, error_))
    return {pair_.x.hi + 0.0, pair_.y.hi + 0.0};
  return to_nearest(exact());
}

// ----- The lines -----

ray_arrangement::ray_arrangement(const bicriteria_problem& p) : problem_(p) {
  const auto [left, right] = std::minmax_element(
      p.sites().begin(), p.sites().end(), [](const auto& a, const auto& b) { return a.x < b.x; });
  const auto [low, high] = std::minmax_element(
      p.sites().begin(), p.sites().end(), [](const auto& a, const auto& b) { return a.y < b.y; });
  base_ = {left->x + (right->x - left->x) / 2, low->y + (high->y - low->y) / 2};
  relative_.reserve(p.sites().size());
  for (const bicriteria_site& s : p.sites()) {
    relative_.push_back({s.x - base_.x, s.y - base_.y});
    extent_ = std::max({extent_, std::fabs(relative_.back().x), std::fabs(relative_.back().y)});
  }
  for (std::uint32_t g = 0; g < p.gauges().size(); ++g) {
    first_.push_back(rays());
    for (const xy& v : p.gauges()[g].vertices()) {
      direction_.push_back(v);
      gauge_.push_back(g);
    }
  }
  first_.push_back(rays());
  sort_headings();
  make_families();
}

void ray_arrangement::sort_headings() {
  struct spoke {
    xy v;
    std::uint32_t ray;
    bool forward;
  };
  std::vector<spoke> spokes;
  for (std::uint32_t r = 0; r < rays(); ++r) {
    spokes.push_back({direction_[r], r, true});
    spokes.push_back({{-direction_[r].x, -direction_[r].y}, r, false});
  }
  const auto upper = [](const xy& v) { return v.y > 0 || (v.y == 0 && v.x > 0); };
  const auto before = [&](const spoke& a, const spoke& b) {
    if (upper(a.v) != upper(b.v)) return upper(a.v);
    return cross_sign(a.v, b.v) > 0;
  };
  std::sort(spokes.begin(), spokes.end(), before);
  heading_.resize(rays());
  for (std::size_t k = 0; k < spokes.size(); ++k) {
    if (k == 0 || before(spokes[k - 1], spokes[k])) vector_.push_back(spokes[k].v);
    if (spokes[k].forward) heading_[spokes[k].ray] = headings() - 1;
  }
}

std::uint32_t ray_arrangement::edge_towards(std::uint32_t gauge, std::uint32_t heading) const {
  std::uint32_t r = first_[gauge];
  for (; r + 1 < first_[gauge + 1]; ++r) {
    if (between(heading_[r], heading) < between(heading_[r], heading_[r + 1])) break;
  }
  return r;
}

void ray_arrangement::make_families() {
  const std::size_t gauges = first_.size() - 1;
  std::vector<std::uint32_t> end_of(gauges + 1, 0);  // in member_, by gauge plus 1
  for (const bicriteria_site& s : problem_.sites()) ++end_of[s.gauge + 1];
  std::partial_sum(end_of.begin(), end_of.end(), end_of.begin());
  const std::vector<std::uint32_t> first_of = end_of;
  member_.resize(relative_.size());
  std::vector<xy> at(relative_.size());
  for (std::uint32_t i = 0; i < relative_.size(); ++i) {
    const std::uint32_t k = end_of[problem_.sites()[i].gauge]++;
    member_[k] = i;
    at[k] = relative_[i];
  }
  std::size_t total = 0;
  for (std::uint32_t r = 0; r < rays(); ++r) {
    const std::uint32_t first = first_of[gauge_[r]];
    const std::size_t begin = total;
    total += first_of[gauge_[r] + 1] - first;
    family_.push_back({first, begin, total, 0, 0, {}});
  }
  offset_.resize(total);
  for (std::uint32_t r = 0; r < rays(); ++r) {
    const family& f = family_[r];
    const xy v = direction_[r];
    for (std::size_t k = f.begin; k < f.end; ++k)
      offset_[k] = cross(v, at[f.first_member + (k - f.begin)]);
  }
}

// The lines with offsets from `low` on, below `high`, in order.
std::span<const ray_arrangement::ordered_line> ray_arrangement::gather(const family& f, double low,
                                                                       double high) {
  gathered_.resize(f.end - f.begin);
  std::size_t count = 0;
  for (std::size_t k = f.begin; k < f.end; ++k) {
    gathered_[count] = {offset_[k], member_[f.first_member + (k - f.begin)]};
    count += offset_[k] >= low && offset_[k] < high ? 1 : 0;
  }
  const auto end = gathered_.begin() + static_cast<std::ptrdiff_t>(count);
  std::sort(gathered_.begin(), end, [](const ordered_line& a, const ordered_line& b) {
    return a.offset < b.offset || (a.offset == b.offset && a.site < b.site);
  });
  return {gathered_.begin(), end};
}

// Puts the lines of a wider range in order.
void ray_arrangement::widen(family& f, double low, double high) {
  if (low < f.low) {
    const auto before = gather(f, low, f.low);
    f.lines.insert(f.lines.begin(), before.begin(), before.end());
    f.low = low;
  }
  if (high > f.high) {
    const auto after = gather(f, f.high, high);
    f.lines.insert(f.lines.end(), after.begin(), after.end());
    f.high = high;
  }
}

// Puts lines in order so that the range has a place in it.
void ray_arrangement::widen_to(family& f, std::uint32_t ray, double here) {
  if (here >= f.low && here < f.high) return;
  const double around = lines_apart(f, ray) * kLinesAhead;
  if (f.low == f.high) f.low = f.high = here - around;
  widen(f, std::min(f.low, here - around), std::max(f.high, here + around));
}

// To twice the range on one side of a place, or to all that is there.
void ray_arrangement::widen_from(family& f, std::uint32_t ray, double here, bool rising) {
  const double apart = lines_apart(f, ray);
  const double further = std::max(2 * (rising ? f.high - here : here - f.low), apart * kLinesAhead);
  const double border = rising ? here + further : here - further;
  const bool moves = rising ? border > f.high : border < f.low;  // roundings of a far place may win
  if (moves && further < 2 * apart * static_cast<double>(f.end - f.begin)) {
    widen(f, std::min(f.low, border), std::max(f.high, border));
  } else {
    widen(f, rising ? f.low : -kInfinity, rising ? kInfinity : f.high);
  }
}

// Where they are spread evenly.
double ray_arrangement::lines_apart(const family& f, std::uint32_t ray) const {
  return 2 * size_of(direction_[ray]) * extent_ / static_cast<double>(f.end - f.begin);
}

// ----- The walk to the next place -----

double ray_arrangement::rate(std::uint32_t ray, const xy& d) const {
  const xy& v = direction_[ray];
  const double p = v.x * d.y;
  const double q = v.y * d.x;
  const double rounded = p - q;
  if (std::fabs(rounded) > 0x1p-3 * (std::fabs(p) + std::fabs(q)) && std::fabs(rounded) > 0x1p-900)
    return rounded;
  const double_double_estimate e = cross(to_double_double(v), to_double_double(d));
  if (std::fabs(e.value.hi) > 0x1p52 * e.error && std::fabs(e.value.hi) > 0x1p-900)
    return e.value.hi;
  return to_nearest(exact_xy{detail::cross(to_exact(v), to_exact(d)), 0}).x;
}

// With P the offset of `from` and c that of a line, the walk meets the line after (c - P) / rate
// steps, on the side of the ray if the meeting place is ahead of the site.
void ray_arrangement::search(std::uint32_t ray, const rung_place& from, std::uint32_t heading,
                             const std::vector<std::int32_t>& tie) {
  family& f = family_[ray];
  if (f.begin == f.end || side(heading_[ray], heading) == 0) return;
  const xy& d = vector_[heading];
  const double per_unit = rate(ray, d);
  const xy& v = direction_[ray];
  const xy& at = from.relative();
  const double here = cross(v, at);
  const double error =
      kOffsetError * size_of(v) * (extent_ + std::max(std::fabs(at.x), std::fabs(at.y)));
  const double per_step = dot(v, d);
  const double steps_per_offset = 1 / std::fabs(per_unit);
  const std::int32_t own = static_cast<std::int32_t>(ray - first_[gauge_[ray]]);
  const bool rising = per_unit > 0;
  const double first = rising ? here - error : here + error;
  widen_to(f, ray, first);
  const auto less = [](const ordered_line& l, double offset) { return l.offset < offset; };
  const auto more = [](double offset, const ordered_line& l) { return offset < l.offset; };
  auto k =
      rising ? std::lower_bound(f.lines.begin(), f.lines.end(), first, less) - f.lines.begin()
             : std::upper_bound(f.lines.begin(), f.lines.end(), first, more) - f.lines.begin() - 1;
  const auto least_step = [&](double away) {
    return (away - error) * steps_per_offset * (1 - kStepError);
  };
  for (;; k += rising ? 1 : -1) {
    while (rising ? k == std::ssize(f.lines) : k < 0) {
      const double border = rising ? f.high - here : here - f.low;
      if (border == kInfinity || least_step(border) > reach_) return;
      const std::ptrdiff_t known = std::ssize(f.lines);
      widen_from(f, ray, here, rising);
      if (!rising) k += std::ssize(f.lines) - known;
    }
    const ordered_line& l = f.lines[static_cast<std::size_t>(k)];
    const double away = rising ? l.offset - here : here - l.offset;
    const double least = least_step(away);
    if (least > reach_) return;
    const std::uint32_t i = l.site;
    if (tie[i] == own || tie[i] == kAtSite) continue;
    const double step = away * steps_per_offset;
    const double ahead = dot(v, {at.x - relative_[i].x, at.y - relative_[i].y}) + step * per_step;
    const double doubt = error * (1 + 2 * std::fabs(per_step) * steps_per_offset) +
                         2 * kStepError * std::fabs(step * per_step);
    if (ahead < -doubt) continue;
    const bool certain = ahead > doubt && least > 0;
    if (certain) reach_ = std::min(reach_, (away + error) * steps_per_offset * (1 + kStepError));
    candidates_.push_back({ray, i, least, certain});
  }
}

void ray_arrangement::meet(const rung_place& from, std::uint32_t heading,
                           const std::vector<std::int32_t>& tie, std::vector<ray_line>& met) {
  candidates_.clear();
  reach_ = kInfinity;
  for (std::uint32_t r = 0; r < rays(); ++r) search(r, from, heading, tie);
  std::erase_if(candidates_, [this](const candidate& c) { return c.least_step > reach_; });
  met.clear();
  if (candidates_.size() == 1 && candidates_[0].certain) {
    const candidate& c = candidates_[0];
    met.push_back({c.site, c.ray - first_[gauge_[c.ray]]});
    return;
  }
  decide(from, vector_[heading], met);
}

rung_place ray_arrangement::meeting(const rung_place& from, std::uint32_t heading,
                                    const ray_line& line) const {
  const exact_xy& at = from.exact();
  const exact_xy d = to_exact(vector_[heading]);
  const exact_xy v = to_exact(direction_of(problem_, line));
  const exact_xy a = to_exact(position(problem_, line.site));
  const mpq_class step = detail::cross(v, {a.x - at.x, a.y - at.y}) / detail::cross(v, d);
  return {exact_xy{at.x + d.x * step, at.y + d.y * step}, base_};
}

void ray_arrangement::decide(const rung_place& from, const xy& d, std::vector<ray_line>& met) {
  const exact_xy& at = from.exact();
  const exact_xy along = to_exact(d);
  mpq_class best;
  for (const candidate& c : candidates_) {
    const exact_xy v = to_exact(direction_[c.ray]);
    const exact_xy a = to_exact(position(problem_, c.site));
    const exact_xy to_site{a.x - at.x, a.y - at.y};
    const mpq_class step = detail::cross(v, to_site) / detail::cross(v, along);
    if (sgn(step) <= 0 || (!met.empty() && step > best)) continue;
    if (sgn(mpq_class(step * detail::dot(v, along) - detail::dot(v, to_site))) < 0) continue;
    if (!met.empty() && step < best) met.clear();
    best = step;
    met.push_back({c.site, c.ray - first_[gauge_[c.ray]]});
  }
}

}  // namespace planloc::detail
