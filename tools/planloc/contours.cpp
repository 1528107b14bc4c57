#include "tools/planloc/contours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <unordered_map>
#include <utility>

namespace planloc::tool {

double rectangle::diagonal() const { return std::hypot(width(), height()); }

rectangle frame_of(const std::vector<xy>& points, double margin) {
  rectangle r{points.front(), points.front()};
  for (const xy& p : points) {
    r.low = {std::min(r.low.x, p.x), std::min(r.low.y, p.y)};
    r.high = {std::max(r.high.x, p.x), std::max(r.high.y, p.y)};
  }
  double wide = margin * std::max(r.width(), r.height());
  if (wide == 0) wide = std::max(1.0, 1e-6 * std::hypot(r.low.x, r.low.y));
  r.low = {r.low.x - wide, r.low.y - wide};
  r.high = {r.high.x + wide, r.high.y + wide};
  return r;
}

sampled_function::sampled_function(const rectangle& frame, std::size_t columns,
                                   const std::function<double(const xy&)>& f)
    : frame_(frame), columns_(static_cast<std::ptrdiff_t>(columns)) {
  const double step = frame.width() / static_cast<double>(columns_ - 1);
  rows_ = std::max<std::ptrdiff_t>(2, std::lround(frame.height() / step) + 1);
  for (std::ptrdiff_t j = 0; j < rows_; ++j) {
    for (std::ptrdiff_t i = 0; i < columns_; ++i) values_.push_back(f(node(i, j)));
  }
}

double sampled_function::quantile(double share) const {
  std::vector<double> sorted = values_;
  const auto k = static_cast<std::ptrdiff_t>(share * static_cast<double>(sorted.size() - 1));
  std::nth_element(sorted.begin(), sorted.begin() + k, sorted.end());
  return sorted[static_cast<std::size_t>(k)];
}

bool sampled_function::goes_on_outside(double level) const {
  const auto across = columns_ - 1;
  for (std::ptrdiff_t j = 0; j < rows_; ++j) {
    const bool edge = j == 0 || j == rows_ - 1;
    for (std::ptrdiff_t i = 0; i < columns_; i += edge ? 1 : across) {
      if (at(i, j) <= level) return true;
    }
  }
  return false;
}

// Nodes one step outside of the grid are above every level, so that all rings close.
double sampled_function::at(std::ptrdiff_t i, std::ptrdiff_t j) const {
  if (i < 0 || j < 0 || i >= columns_ || j >= rows_) {
    return std::numeric_limits<double>::infinity();
  }
  return values_[static_cast<std::size_t>(j * columns_ + i)];
}

xy sampled_function::node(std::ptrdiff_t i, std::ptrdiff_t j) const {
  return {
      frame_.low.x + frame_.width() * static_cast<double>(i) / static_cast<double>(columns_ - 1),
      frame_.low.y + frame_.height() * static_cast<double>(j) / static_cast<double>(rows_ - 1)};
}

xy sampled_function::crossing(std::ptrdiff_t i, std::ptrdiff_t j, bool upwards,
                              double level) const {
  const std::ptrdiff_t k = upwards ? i : i + 1;
  const std::ptrdiff_t l = upwards ? j + 1 : j;
  const double a = at(i, j);
  const double b = at(k, l);
  if (std::isinf(a)) return node(k, l);
  if (std::isinf(b)) return node(i, j);
  const double t = (level - a) / (b - a);
  const xy from = node(i, j);
  const xy to = node(k, l);
  return {from.x + t * (to.x - from.x), from.y + t * (to.y - from.y)};
}

std::vector<std::vector<xy>> sampled_function::rings(double level) const {
  // An edge of the grid by its lower or left node and its direction.
  const auto edge = [&](std::ptrdiff_t i, std::ptrdiff_t j, bool upwards) {
    return 2 * ((j + 1) * (columns_ + 2) + i + 1) + (upwards ? 1 : 0);
  };
  std::unordered_map<std::ptrdiff_t, std::ptrdiff_t> next;
  for (std::ptrdiff_t j = -1; j < rows_; ++j) {
    for (std::ptrdiff_t i = -1; i < columns_; ++i) {
      const std::array<double, 4> corner = {at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)};
      const std::array<std::ptrdiff_t, 4> side = {edge(i, j, false), edge(i + 1, j, true),
                                                  edge(i, j + 1, false), edge(i, j, true)};
      // Around the cell, the set is left at some sides and entered at others; each way out is
      // joined with the way in that keeps the set to the left.
      std::array<int, 2> out{-1, -1};
      std::array<int, 2> in{-1, -1};
      std::size_t ways = 0;
      for (int s = 0; s < 4; ++s) {
        const bool here = corner[static_cast<std::size_t>(s)] <= level;
        const bool there = corner[static_cast<std::size_t>((s + 1) % 4)] <= level;
        if (here && !there) out[ways++] = s;
      }
      const bool joined = ways == 2 && (corner[0] + corner[1] + corner[2] + corner[3]) / 4 <= level;
      for (std::size_t w = 0; w < ways; ++w) {
        // Through the cell to the next way in ahead, or back to the one behind.
        int s = out[w];
        const int turn = ways == 2 && joined ? 1 : 3;
        if (ways == 2) {
          s = (s + turn) % 4;
        } else {
          do {
            s = (s + 1) % 4;
          } while (!(corner[static_cast<std::size_t>(s)] > level &&
                     corner[static_cast<std::size_t>((s + 1) % 4)] <= level));
        }
        in[w] = s;
        next[side[static_cast<std::size_t>(out[w])]] = side[static_cast<std::size_t>(in[w])];
      }
    }
  }
  std::vector<std::vector<xy>> rings;
  while (!next.empty()) {
    std::vector<xy> ring;
    for (auto step = next.begin(); step != next.end();) {
      const std::ptrdiff_t e = step->first;
      const std::ptrdiff_t n = e / 2;
      ring.push_back(crossing(n % (columns_ + 2) - 1, n / (columns_ + 2) - 1, e % 2 == 1, level));
      const std::ptrdiff_t following = step->second;
      next.erase(step);
      step = next.find(following);
    }
    if (ring.size() > 2) rings.push_back(std::move(ring));
  }
  return rings;
}

}  // namespace planloc::tool
