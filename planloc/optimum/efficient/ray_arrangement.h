// The rays of all sites: where two of them cross, and which ones a walk in a direction meets first.
// Internal.
//
// A ray is told by a number, its gauge's first plus the vertex; edge j of a gauge lies between ray
// j and the next one, and has the number of ray j. The directions of all rays and their opposites,
// each once and counterclockwise, are the headings of the walk: which side one lies of another is
// told from their numbers.
#ifndef PLANLOC_OPTIMUM_EFFICIENT_RAY_ARRANGEMENT_H_
#define PLANLOC_OPTIMUM_EFFICIENT_RAY_ARRANGEMENT_H_

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "planloc/foundation/geometry/double_double_xy.h"
#include "planloc/optimum/efficient_set.h"
#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

// A place in rising exactness: counted from the arrangement's base in doubles; in pairs of doubles;
// in fractions, once they are asked for.
class rung_place {
 public:
  rung_place(const exact_xy& at, const xy& base);
  // The crossing of two lines that are not parallel; `extent` is the size of the sites' frame.
  rung_place(const bicriteria_problem& p, const std::array<ray_line, 2>& lines, const xy& base,
             double extent);

  const xy& relative() const { return relative_; }
  const double_double_xy& pair() const { return pair_; }
  double error() const { return error_; }  // of each coordinate of `pair`
  const exact_xy& exact() const;
  xy nearest() const;  // each coordinate the nearest double
  const std::array<ray_line, 2>& lines() const { return lines_; }

 private:
  bool cross_in_pairs();
  void take(const exact_xy& at, const xy& base);

  const bicriteria_problem* problem_ = nullptr;
  std::array<ray_line, 2> lines_{};
  double_double_xy pair_{};
  double error_ = 0;
  xy relative_{0, 0};
  mutable std::optional<exact_xy> exact_;
};

// What a site has at a place: nothing, one ray through it, or the place itself.
inline constexpr std::int32_t kNoTie = -1;
inline constexpr std::int32_t kAtSite = -2;

class ray_arrangement {
 public:
  explicit ray_arrangement(const bicriteria_problem& p);

  const bicriteria_problem& problem() const { return problem_; }
  const xy& base() const { return base_; }
  double extent() const { return extent_; }
  std::uint32_t rays() const { return static_cast<std::uint32_t>(direction_.size()); }
  std::uint32_t first_ray(std::uint32_t gauge) const { return first_[gauge]; }
  const xy& direction(std::uint32_t ray) const { return direction_[ray]; }
  std::uint32_t gauge_of_ray(std::uint32_t ray) const { return gauge_[ray]; }
  std::uint32_t gauge_of(std::uint32_t site) const { return problem_.sites()[site].gauge; }

  std::uint32_t headings() const { return static_cast<std::uint32_t>(vector_.size()); }
  const xy& vector(std::uint32_t heading) const { return vector_[heading]; }
  std::uint32_t heading(std::uint32_t ray) const { return heading_[ray]; }
  std::uint32_t opposite(std::uint32_t heading) const { return turned(heading, headings() / 2); }
  // How far `to` lies counterclockwise of `from`, in headings.
  std::uint32_t between(std::uint32_t from, std::uint32_t to) const {
    return to >= from ? to - from : to + headings() - from;
  }
  // 1, 0 or -1: `to` lies to the left of `from`, on its line, to the right.
  int side(std::uint32_t from, std::uint32_t to) const {
    const std::uint32_t d = between(from, to);
    const std::uint32_t half = headings() / 2;
    return d == 0 || d == half ? 0 : d < half ? 1 : -1;
  }
  // The edge of a gauge whose cone holds a heading; the one to the left if it is a ray.
  std::uint32_t edge_towards(std::uint32_t gauge, std::uint32_t heading) const;
  // The ray clockwise of a ray, of the same gauge.
  std::uint32_t ray_before(std::uint32_t ray) const {
    const std::uint32_t g = gauge_[ray];
    return ray == first_[g] ? first_[g + 1] - 1 : ray - 1;
  }

  rung_place crossing(const std::array<ray_line, 2>& lines) const {
    return {problem_, lines, base_, extent_};
  }
  // Where the line is met on the way from `from`.
  rung_place meeting(const rung_place& from, std::uint32_t heading, const ray_line& line) const;

  // The rays that are not parallel to a heading and that the walk from `from` along it meets
  // first, all at one place: a site there is told by several rays. `tie` has, for each site, what
  // passes through `from`. REQUIRES: the walk meets a ray.
  void meet(const rung_place& from, std::uint32_t heading, const std::vector<std::int32_t>& tie,
            std::vector<ray_line>& met);

 private:
  struct ordered_line {
    double offset;  // cross(direction, site)
    std::uint32_t site;
  };
  // The lines of one ray of one gauge. Those in a range of offsets are in order, which grows as the
  // walk goes on.
  struct family {
    std::uint32_t first_member = 0;  // in member_
    std::size_t begin = 0;           // in offset_
    std::size_t end = 0;
    double low = 0;  // of the range; `high` is not in it
    double high = 0;
    std::vector<ordered_line> lines;
  };
  struct candidate {
    std::uint32_t ray, site;
    double least_step;
    bool certain;
  };

  std::uint32_t turned(std::uint32_t heading, std::uint32_t by) const {
    const std::uint32_t h = heading + by;
    return h >= headings() ? h - headings() : h;
  }
  void sort_headings();
  void make_families();
  std::span<const ordered_line> gather(const family& f, double low, double high);
  void widen(family& f, double low, double high);
  void widen_to(family& f, std::uint32_t ray, double here);
  void widen_from(family& f, std::uint32_t ray, double here, bool rising);
  double lines_apart(const family& f, std::uint32_t ray) const;
  // cross(direction(ray), d), within a few units in the last place.
  double rate(std::uint32_t ray, const xy& d) const;
  void search(std::uint32_t ray, const rung_place& from, std::uint32_t heading,
              const std::vector<std::int32_t>& tie);
  void decide(const rung_place& from, const xy& d, std::vector<ray_line>& met);

  const bicriteria_problem& problem_;
  xy base_{0, 0};
  double extent_ = 0;
  std::vector<std::uint32_t> first_;    // by gauge, and the end
  std::vector<std::uint32_t> gauge_;    // by ray
  std::vector<xy> direction_;           // by ray
  std::vector<xy> vector_;              // by heading
  std::vector<std::uint32_t> heading_;  // by ray
  std::vector<xy> relative_;            // by site
  std::vector<family> family_;          // by ray
  std::vector<std::uint32_t> member_;   // sites by gauge
  std::vector<double> offset_;          // of all lines, by ray and member
  std::vector<ordered_line> gathered_;
  std::vector<candidate> candidates_;
  double reach_ = 0;  // no first meeting is farther, in lengths of the heading's vector
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EFFICIENT_RAY_ARRANGEMENT_H_
