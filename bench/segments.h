// Families of segments for crossings and arrangements.
#ifndef PLANLOC_BENCH_SEGMENTS_H_
#define PLANLOC_BENCH_SEGMENTS_H_

#include <cmath>
#include <cstddef>
#include <functional>
#include <map>
#include <random>
#include <string>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/segment.h"

namespace planloc::bench {

using segment_maker = std::function<list<segment>(std::size_t, unsigned)>;

// n short segments in all directions, about two crossings for each.
inline list<segment> short_segments(std::size_t n, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> coordinate(0.0, 1000.0);
  std::uniform_real_distribution<double> angle(0.0, 2 * M_PI);
  const double length = 1000.0 * std::sqrt(2.0 * M_PI / static_cast<double>(n));
  list<segment> S;
  for (std::size_t i = 0; i < n; ++i) {
    const double x = coordinate(random);
    const point p(x, coordinate(random));
    S.append(segment(p, angle(random), length));
  }
  return S;
}

// Eight long segments in fixed directions, turned by `turn`, from each of n / 8 sites; at the
// corners of a lattice for a step above 0, so that many lie on one line and many meet in one point.
inline list<segment> fans(std::size_t n, unsigned seed, double step, double turn) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> coordinate(0.0, 1000.0);
  const auto draw = [&] {
    const double x = coordinate(random);
    return step > 0.0 ? step * std::floor(x / step) : x;
  };
  list<segment> S;
  for (std::size_t i = 0; i < n / 8; ++i) {
    const double x = draw();
    const point site(x, draw());
    for (int k = 0; k < 8; ++k) {
      if (turn != 0.0) {
        const double length = k % 2 == 0 ? 700.0 : 700.0 * std::sqrt(2.0);
        S.append(segment(site, turn + k * M_PI / 4, length));
        continue;
      }
      const double dx = 700.0 * std::round(1.4 * std::cos(k * M_PI / 4));
      const double dy = 700.0 * std::round(1.4 * std::sin(k * M_PI / 4));
      S.append(segment(site, site.translate(dx, dy)));
    }
  }
  return S;
}

inline std::map<std::string, segment_maker> segment_kinds() {
  return {{"short", short_segments},
          {"fans", [](std::size_t n, unsigned seed) { return fans(n, seed, 0.0, 0.3); }},
          {"lattice", [](std::size_t n, unsigned seed) { return fans(n, seed, 50.0, 0.0); }}};
}

}  // namespace planloc::bench

#endif  // PLANLOC_BENCH_SEGMENTS_H_
