#include "planloc/optimum/convex/smooth_sum.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/twin.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kChunk = lp_norm::kChunk;
// From here on Newton's steps do as well without.
constexpr double kEvenPower = 1.5;

using chunk = lp_norm::chunk;

// The terms of a chunk of sites, every second one in the same sum.
struct twin_sums {
  twin value{}, x{}, y{}, xx{}, cross{}, yy{}, bend{};
};

// Each `step`-th of some sites, counted from `base`.
struct every {
  std::span<const site> sites;
  std::size_t step;
  twin base;

  std::size_t count() const { return (sites.size() + step - 1) / step; }
  twin position(std::size_t k) const { return twin{sites[k * step].x, sites[k * step].y} - base; }
  double weight(std::size_t k) const { return sites[k * step].weight; }
};

void add_euclidean(const every& of, std::size_t begin, std::size_t end, const twin& at,
                   twin_sums& s) {
  for (std::size_t k = begin; k < end; k += 2) {
    const bool last = k + 1 == end;  // stands beside itself, with weight 0
    const std::size_t other = last ? k : k + 1;
    const twin first = at - of.position(k);
    const twin second = at - of.position(other);
    const twin x{first[0], second[0]};
    const twin y{first[1], second[1]};
    const twin weight{of.weight(k), last ? 0 : of.weight(other)};
    const twin norm = root(x * x + y * y);
    const twin by = 1 / norm;
    const twin pull = weight * by;
    const twin bend = pull * by;
    const twin turn = bend * by;
    s.value += weight * norm;
    s.x += pull * x;
    s.y += pull * y;
    s.xx += turn * (y * y);
    s.cross -= turn * (x * y);
    s.yy += turn * (x * x);
    s.bend += bend;
  }
}

void add_lp(const lp_norm& norm, const every& of, std::size_t begin, std::size_t end,
            const twin& at, twin_sums& s) {
  chunk ux, uy, value, x, y, xx, cross, yy;
  const std::size_t size = end - begin;
  for (std::size_t k = 0; k < size; ++k) {
    const twin u = at - of.position(begin + k);
    ux[k] = u[0];
    uy[k] = u[1];
  }
  norm.expand({ux.data(), uy.data(), size}, value.data(), {x.data(), y.data()},
              {xx.data(), cross.data(), yy.data()});
  const auto add = [&](const chunk& terms, twin& sum) {
    for (std::size_t k = 0; k < size; ++k) sum[k % 2] += of.weight(begin + k) * terms[k];
  };
  add(value, s.value);
  add(x, s.x);
  add(y, s.y);
  add(xx, s.xx);
  add(cross, s.cross);
  add(yy, s.yy);
  s.bend[0] = std::numeric_limits<double>::infinity();
}

}  // namespace

smooth_sum::smooth_sum(const problem& p) : base_(exact_base(p)) {
  find_blocks(p);
  find_mean();
}

void smooth_sum::find_blocks(const problem& p) {
  const auto add = [&](std::uint32_t g, std::span<const site> sites) {
    const gauge& of = p.gauges()[g];
    const bool euclidean = of.kind() == gauge::shape::euclidean;
    blocks_.push_back({euclidean, euclidean ? lp_norm() : lp_norm(of.p()), of.p(), sites});
  };
  const std::span<const site> sites = p.sites();
  if (p.gauges().size() == 1) return add(0, sites);
  sorted_.assign(sites.begin(), sites.end());
  std::stable_sort(sorted_.begin(), sorted_.end(),
                   [](const site& a, const site& b) { return a.gauge < b.gauge; });
  for (auto begin = sorted_.cbegin(); begin != sorted_.cend();) {
    const auto end =
        std::find_if(begin, sorted_.cend(), [&](const site& s) { return s.gauge != begin->gauge; });
    add(begin->gauge, {begin, end});
    begin = end;
  }
}

void smooth_sum::find_mean() {
  twin sum{};
  lightest_ = std::numeric_limits<double>::infinity();
  for (const block& b : blocks_) {
    const every all{b.sites, 1, twin{base_.x, base_.y}};
    for (std::size_t k = 0; k < b.sites.size(); ++k) {
      sum += all.weight(k) * all.position(k);
      weights_ += all.weight(k);
      lightest_ = std::min(lightest_, all.weight(k));
    }
  }
  mean_ = {sum[0] / weights_, sum[1] / weights_};
}

std::array<smooth_sum::near_axis, 2> smooth_sum::near_axes(const xy& at, std::size_t step) const {
  std::array<near_axis, 2> axes;
  std::array<double, 2> least{std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::infinity()};
  for (const block& b : blocks_) {
    if (b.euclidean || b.p >= kEvenPower) continue;
    std::array<std::size_t, 2> nearest{};
    std::array<bool, 2> nearer{};
    const every of{b.sites, step, twin{base_.x, base_.y}};
    for (std::size_t k = 0; k < of.count(); ++k) {
      const twin u = twin{at.x, at.y} - of.position(k);
      for (std::size_t j = 0; j < 2; ++j) {
        if (!(std::fabs(u[j]) < least[j])) continue;
        least[j] = std::fabs(u[j]);
        nearest[j] = k;
        nearer[j] = true;
      }
    }
    for (std::size_t j = 0; j < 2; ++j) {
      if (!nearer[j]) continue;
      const twin u = twin{at.x, at.y} - of.position(nearest[j]);
      double x = u[0];
      double y = u[1];
      double size = 0;
      b.norm.values({&x, &y, 1}, &size);
      axes[j] = {u[j], b.p - 1, size > 0 ? of.weight(nearest[j]) / std::pow(size, b.p - 1) : 0};
    }
  }
  return axes;
}

expansion smooth_sum::expand(const xy& at, std::size_t step) const {
  expansion e;
  e.at = at;
  long double value = 0;
  long double slope_x = 0;
  long double slope_y = 0;
  for (const block& b : blocks_) {
    const every of{b.sites, step, twin{base_.x, base_.y}};
    for (std::size_t begin = 0; begin < of.count(); begin += kChunk) {
      const std::size_t end = std::min(begin + kChunk, of.count());
      twin_sums s;
      if (b.euclidean) {
        add_euclidean(of, begin, end, twin{at.x, at.y}, s);
      } else {
        add_lp(b.norm, of, begin, end, twin{at.x, at.y}, s);
      }
      value += total(s.value);
      slope_x += total(s.x);
      slope_y += total(s.y);
      e.xx += total(s.xx);
      e.xy_ += total(s.cross);
      e.yy += total(s.yy);
      e.bend += total(s.bend);
    }
  }
  e.value = static_cast<double>(value);
  e.slope = {static_cast<double>(slope_x), static_cast<double>(slope_y)};
  e.steepness = std::sqrt(e.slope.x * e.slope.x + e.slope.y * e.slope.y);
  return e;
}

}  // namespace planloc::detail
