#include "planloc/optimum/proof/verify_pairs.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "planloc/optimum/proof/corner_tangents.h"
#include "planloc/optimum/proof/pair_choices.h"

namespace planloc::detail {

namespace {

using step = allocation_pairs::step;

constexpr std::size_t kMostRowBytes = std::size_t{256} << 20;
constexpr double kRounding = 0x1p-52;  // twice that of one operation

class pair_walk {
 public:
  pair_walk(const allocation_problem& p, const allocation_pairs& pairs, double claimed)
      : problem_(p), pairs_(pairs), claimed_(claimed), tangents_(p.single(), pairs.base) {
    for (std::uint32_t i = 0; i < p.sites().size(); ++i) {
      interval nearest(std::numeric_limits<double>::infinity());
      for (const xy& e : p.existing()) {
        const interval d = distance_from(i, e);
        nearest = {std::min(nearest.low, d.low), std::min(nearest.high, d.high)};
      }
      nearest_existing_.push_back(nearest);
    }
  }

  void run() {
    if (problem_.count() != 2) refuse("pairs prove nothing unless there are two new facilities");
    const rectangle whole{pairs_.low.x, pairs_.high.x, pairs_.low.y, pairs_.high.y};
    check_whole(whole);
    boxes_.push_back({whole});
    std::vector<pair> left{{0, 0}};
    for (const step how : pairs_.steps) {
      if (left.empty()) refuse("there are more pairs than the steps make");
      const pair p = left.back();
      left.pop_back();
      if (how == step::bound) {
        check_bound(p);
      } else if (how == step::places) {
        check_choices(p);
      } else {
        divide(p, how, left);
      }
    }
    if (!left.empty()) refuse("a pair is missing");
  }

 private:
  struct pair {
    std::size_t first, second;
  };
  // By site.
  struct row {
    std::vector<rectangle_values> at_corners;
    double magnitude = 0;
  };
  struct box {
    rectangle where;
    std::size_t halves = 0;  // the first one, the other one follows
    row tangents = {};
  };

  interval distance_from(std::uint32_t site, const xy& facility) const {
    const interval_pair at{interval(facility.x) - interval(pairs_.base.x),
                           interval(facility.y) - interval(pairs_.base.y)};
    return tangents_.sites().distance(site, at);
  }

  void check_whole(const rectangle& whole) const {
    for (std::uint32_t i = 0; i < problem_.sites().size(); ++i) {
      const auto& [at, width] = tangents_.position_of(i);
      const interval from_base = tangents_.sites().distance(i, {interval(0), interval(0)}) /
                                 interval(problem_.sites()[i].weight);
      const double reach =
          above(above(from_base.high * half_width(problem_.single().gauge_of(i))) + width);
      if (whole.left <= below(at.x - reach) && whole.right >= above(at.x + reach) &&
          whole.low <= below(at.y - reach) && whole.high >= above(at.y + reach))
        continue;
      refuse("the rectangle might not hold the best places");
    }
  }

  void divide(const pair& p, step how, std::vector<pair>& left) {
    if ((p.first == p.second) != (how == step::both)) refuse("a pair is divided as it cannot be");
    if (how == step::both) {
      const std::size_t half = halves(p.first);
      left.insert(left.end(), {{half + 1, half + 1}, {half, half + 1}, {half, half}});
    } else if (how == step::first) {
      const std::size_t half = halves(p.first);
      left.insert(left.end(), {{half + 1, p.second}, {half, p.second}});
    } else {
      const std::size_t half = halves(p.second);
      left.insert(left.end(), {{p.first, half + 1}, {p.first, half}});
    }
  }

  std::size_t halves(std::size_t k) {
    if (boxes_[k].halves == 0) {
      rectangle first = boxes_[k].where;
      rectangle second = first;
      const xy at = first.middle();
      if (first.right - first.left >= first.high - first.low) {
        first.right = second.left = at.x;
      } else {
        first.high = second.low = at.y;
      }
      boxes_[k].halves = boxes_.size();
      boxes_.push_back({first});
      boxes_.push_back({second});
    }
    return boxes_[k].halves;
  }

  // A sum of n terms is off by n units in the last place of the sum of their magnitudes.
  void check_bound(const pair& p) {
    fill(p.first, p.second);
    fill(p.second, p.first);
    const row& x = boxes_[p.first].tangents;
    const row& y = boxes_[p.second].tangents;
    std::array<double, 16> sums{};
    for (std::size_t i = 0; i < x.at_corners.size(); ++i) {
      const rectangle_values& a = x.at_corners[i];
      const rectangle_values& b = y.at_corners[i];
      for (std::size_t c = 0; c < 4; ++c) {
        for (std::size_t d = 0; d < 4; ++d) sums[4 * c + d] += std::min(a[c], b[d]);
      }
    }
    const double terms = static_cast<double>(x.at_corners.size()) + 4;
    const double least = *std::min_element(sums.begin(), sums.end()) -
                         terms * kRounding * (x.magnitude + y.magnitude);
    if (!(least >= claimed_)) refuse("the pairs do not prove the lower bound");
  }

  void check_choices(const pair& p) {
    if (pairs_.places.size() - places_ < 2) refuse("a place of a pair is missing");
    const xy& x = pairs_.places[places_++];
    const xy& y = pairs_.places[places_++];
    const std::array<facility_range, 2> ranges = {facility_range{boxes_[p.first].where, x},
                                                  {boxes_[p.second].where, y}};
    if (!(least_choice(tangents_, ranges, nearest_existing_) >= claimed_))
      refuse("the pairs do not prove the lower bound");
  }

  void fill(std::size_t k, std::size_t beside) {
    row& r = boxes_[k].tangents;
    if (!r.at_corners.empty()) return;
    const std::size_t bytes = problem_.sites().size() * sizeof(rectangle_values);
    if (filled_.size() > 1 && (filled_.size() + 1) * bytes > kMostRowBytes) forget_rows(beside);
    filled_.push_back(k);
    r.at_corners.reserve(problem_.sites().size());
    for (std::uint32_t i = 0; i < problem_.sites().size(); ++i) {
      auto [value, magnitude] = tangents_.at_corners(i, boxes_[k].where, boxes_[k].where.middle());
      for (double& v : value) v = std::min(v, nearest_existing_[i].low);
      r.at_corners.push_back(value);
      r.magnitude += magnitude;
    }
  }

  void forget_rows(std::size_t except) {
    for (const std::size_t k : filled_)
      if (k != except) boxes_[k].tangents = {};
    std::erase_if(filled_, [&](std::size_t k) { return k != except; });
  }

  const allocation_problem& problem_;
  const allocation_pairs& pairs_;
  double claimed_;
  corner_tangents tangents_;
  std::vector<interval> nearest_existing_;
  std::vector<box> boxes_;
  std::size_t places_ = 0;  // that are used
  std::vector<std::size_t> filled_;
};

}  // namespace

void prove_pairs(const allocation_problem& p, const allocation_pairs& pairs, double claimed) {
  for (const xy& at : {pairs.base, pairs.low, pairs.high}) check_place(at, "a corner of the pairs");
  for (const xy& at : pairs.places) check_place(at, "a place of the pairs");
  pair_walk(p, pairs, claimed).run();
}

}  // namespace planloc::detail
