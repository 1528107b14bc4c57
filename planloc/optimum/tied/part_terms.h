// The terms of a part in doubles, as the searches use them. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_PART_TERMS_H_
#define PLANLOC_OPTIMUM_TIED_PART_TERMS_H_

#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/tied/tied_part.h"

namespace planloc::detail {

// weight * gauge(x_first - x_second - at), without x_second where it is kNoFacility. Facilities
// are counted within the part.
struct part_term {
  std::uint32_t first;
  std::uint32_t second;
  std::uint32_t gauge;
  std::uint32_t source;  // the site or the tie that it stands for
  double weight;
  xy at;
};

constexpr std::uint32_t kNoFacility = static_cast<std::uint32_t>(-1);

// Positions count from `base` in units of `scale`, weights in units of `weight_scale`: both are of
// the size of 1 at most. Units are powers of 2.
struct part_terms {
  part_terms(const tied_problem& p, const tied_part& part);

  std::span<const xy> normals_of(std::uint32_t gauge) const {
    return {normals.data() + first_edge[gauge], first_edge[gauge + 1] - first_edge[gauge]};
  }
  static xy offset(const part_term& t, std::span<const xy> places) {
    const xy& to = places[t.first];
    if (t.second == kNoFacility) return {to.x - t.at.x, to.y - t.at.y};
    return {to.x - places[t.second].x, to.y - places[t.second].y};
  }
  // The edge whose linear function is the largest, in doubles.
  std::uint32_t edge_in_force(const part_term& t, std::span<const xy> places) const;
  // The sum of all terms, in their units.
  double value(const tied_problem& p, std::span<const xy> places) const;
  // Whether the roundings of positions are lost in those of a value.
  bool tells(double value) const { return grain <= 0x1p-44 * value; }
  // The same with one in `step` of each facility's sites, as heavy together as all of them.
  part_terms sample(std::size_t step) const;
  // The weighted mean of each facility's sites, and that of all for those without.
  std::vector<xy> means() const;

  std::size_t facilities;
  xy base;
  double scale = 1;
  double weight_scale = 1;
  double grain = 0;              // at most what roundings of positions add to the sum of all terms
  std::vector<part_term> terms;  // the sites' by facilities, then the ties'
  std::vector<xy> normals;       // of the edges of polyhedral gauges, gauge after gauge
  std::vector<std::uint32_t> first_edge;

 private:
  explicit part_terms(std::size_t count) : facilities(count), base{0, 0} {}
};

// Adds to the first facility's numbers what is taken from the second's.
inline void add_slope(const part_term& t, const xy& slope, std::vector<double>& to) {
  to[2 * t.first] += slope.x;
  to[2 * t.first + 1] += slope.y;
  if (t.second == kNoFacility) return;
  to[2 * t.second] -= slope.x;
  to[2 * t.second + 1] -= slope.y;
}

// How far the offset of a term moves.
inline xy move_of(const part_term& t, std::span<const double> move) {
  xy u{move[2 * t.first], move[2 * t.first + 1]};
  if (t.second != kNoFacility) {
    u.x -= move[2 * t.second];
    u.y -= move[2 * t.second + 1];
  }
  return u;
}

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_PART_TERMS_H_
