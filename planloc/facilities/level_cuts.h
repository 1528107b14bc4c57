// Half-planes that surely hold the places where a weighted sum of gauge distances is low: solvers
// look at what lies in all of them and skip the rest without any other result. Cuts of a convex
// function by its supports; the places to cut at are the centres of gravity of what is left
// (A. Ju. Levin, 1965; D. J. Newman, 1965), then its corners (J. E. Kelley, 1960).
#ifndef PLANLOC_FACILITIES_LEVEL_CUTS_H_
#define PLANLOC_FACILITIES_LEVEL_CUTS_H_

#include <cstddef>
#include <span>
#include <vector>

#include "planloc/facilities/flat_gauged_sites.h"

namespace planloc::detail {

// So few segments cost less to cross than another cut.
inline constexpr std::size_t kFewSegments = 12;

// A segment and the part of it, in 0..1 from its source, that is left.
struct clipped_segment {
  xy_segment whole;
  double from = 0.0;
  double to = 1.0;
};

// For f = flat_gauged_sites::value with weight k, as it is computed, and places in the box.
// REQUIRES: weights of at least 0.0 and a finite relative_error().
class level_cuts {
 public:
  level_cuts(const flat_gauged_sites& sites, std::size_t k, const xy_box& box);

  // The least value seen so far.
  double best() const { return best_; }

  // Cuts until at most `few` of the segments are left at the level best(), or no cut helps.
  void narrow(std::span<const xy_segment> segments, std::size_t few = kFewSegments);

  // The segments that may have points with f <= level, in order.
  std::vector<xy_segment> reaching(std::span<const xy_segment> segments, double level) const;

  // Whether f(c) > level for certain. c may be a crossing of segments that was rounded.
  bool surely_above(const plane_xy& c, double level) const;

  // A level that holds the exact minimum if a value v was computed somewhere, and all that may be
  // computed there.
  double safe_level(double v) const;

 private:
  struct cut {
    support_plane support;
    double error;  // of its value, relative
    double slack;
  };
  // All places with f <= level, for which a value is that exact.
  struct lowland {
    double level;
    double error;
    xy_box box;
  };

  // A place with f <= level is not on the far side of the cut.
  double reach(const cut& c, double level) const;
  double error_at(double level) const;
  // False if nothing is left of s.
  bool clip(const cut& c, double level, clipped_segment& s) const;
  void add(const plane_xy& at);
  void clip_region(const cut& c);
  // Bounds the places at the level best() by what is left, and the errors there. False if that
  // makes no difference to speak of; otherwise the segments and the region are cut anew.
  bool sharpen(std::vector<clipped_segment>& left);
  double area() const;
  plane_xy centre() const;

  const flat_gauged_sites& sites_;
  std::size_t k_;
  double error_;  // everywhere
  lowland near_;
  double extent_;       // of the box, as a sum of both sides
  double slope_slack_;  // see flat_gauged_sites::slope_error
  double coordinates_;  // the largest, and extent_
  double best_;
  std::vector<cut> cuts_;
  std::vector<plane_xy> region_;  // corners of what is left, roughly
};

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_LEVEL_CUTS_H_
