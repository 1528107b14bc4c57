#include <algorithm>
#include <cstddef>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/planar_sites.h"
#include "planloc/facilities/weighted_circles.h"

namespace planloc {
namespace {

// A pass over the facilities is all that the solver costs.
class site_arrays {
 public:
  explicit site_arrays(const list<location>& locations) : sites_(locations, 0) {}

  bool empty() const { return sites_.size() == 0; }
  weighted_site front() const { return at(0); }
  weighted_site back() const { return at(sites_.size() - 1); }

  // As `worst_location`, to the bit.
  weighted_site worst(const circle_record& c) const {
    weighted_site worst;
    double largest = 0.0;
    for (std::size_t begin = 0; begin < sites_.size(); begin += kBlock) {
      const std::size_t end = std::min(begin + kBlock, sites_.size());
      // What a site has to exceed; nothing that counts on relative errors for a negative radius.
      const double bar = c.radius >= 0.0 ? std::max(largest, c.radius + kCoveringTolerance) : 0.0;
      const double limit = bar * bar * kMargin;
      const double top = largest_square(c, begin, end);
      if (top < limit) continue;
      // A site whose square is clearly not the largest is not the worst.
      const double least = bar > 0.0 ? std::max(limit, top * kMargin) : 0.0;
      for (std::size_t i = begin; i < end; ++i) {
        if (square(c, i) < least) continue;
        const weighted_site site = at(i);
        const double value = site.weight * site.distance(c.x, c.y);
        if (value - c.radius > kCoveringTolerance && value > largest) {
          worst = site;
          largest = value;
        }
      }
    }
    return worst;
  }

 private:
  static constexpr std::size_t kBlock = 128;
  static constexpr std::size_t kLanes = 8;
  static constexpr double kMargin = 1.0 - 0x1p-47;  // 64u

  weighted_site at(std::size_t i) const { return {sites_.x[i], sites_.y[i], sites_.w[i]}; }

  // The square of the weighted distance, by which sites are told apart without a root.
  //
  // With u = 2^-53 and s the rounded dx^2 + dy^2, which both computations share, the weighted
  // distance is w sqrt(s) (1 + 2u) and the square w^2 s (1 + 2u), at most. The bar is a rounded sum
  // that stands for the rounded difference value - radius, 2u. So a site beyond the bar has a
  // square above bar^2 (1 - 10u), and the limit, with two roundings of its own, is below that. The
  // products are taken in an order that cannot underflow for a bar from kCoveringTolerance up;
  // overflow gives infinity, which is below nothing. A bar of 0.0 rules nothing out. In the same
  // way a site whose square is below (1 - 64u) times that of another has the smaller distance.
  double square(const circle_record& c, std::size_t i) const {
    const double dx = sites_.x[i] - c.x;
    const double dy = sites_.y[i] - c.y;
    return sites_.w[i] * (dx * dx + dy * dy) * sites_.w[i];
  }

  double largest_square(const circle_record& c, std::size_t begin, std::size_t end) const {
    double largest[kLanes] = {};
    const auto look = [&](std::size_t i, double& best) {
      const double s = square(c, i);
      best = s > best ? s : best;
    };
    std::size_t i = begin;
    for (; i + kLanes <= end; i += kLanes) {
      for (std::size_t lane = 0; lane < kLanes; ++lane) look(i + lane, largest[lane]);
    }
    for (; i < end; ++i) look(i, largest[0]);
    return *std::max_element(largest, largest + kLanes);
  }

  detail::planar_sites sites_;
};

// The walk over active sets of two, three and four sites. It may go round without end.
class active_set {
 public:
  explicit active_set(const site_arrays& sites) : sites_(sites) {
    // Without facilities the optimum is taken to be the origin.
    P_ = sites.empty() ? weighted_site(0.0, 0.0, 1.0) : sites.front();
    Q_ = sites.empty() ? weighted_site(0.0, 0.0, 1.0) : sites.back();
  }

  circle_record solve() {
    for (size_ = two; size_ != done;) {
      if (size_ == two) {
        solve_two();
      } else if (size_ == three) {
        solve_three();
      } else {
        solve_four();
      }
    }
    return C_;
  }

 private:
  enum state { two, three, four, done };

  void solve_two() {
    C_ = two_point_circle(P_, Q_);
    R_ = sites_.worst(C_);
    if (R_.weight == 0.0) {
      size_ = done;
    } else if (!R_.same_place(P_) && !R_.same_place(Q_)) {
      size_ = three;
      sort_pair(P_, Q_, R_);
    } else {
      if (R_.same_place(P_)) P_.weight = R_.weight;
      if (R_.same_place(Q_)) Q_.weight = R_.weight;
    }
  }

  void solve_three() {
    sort_pair(P_, Q_, R_);
    C_ = two_point_circle(P_, R_);
    if (is_covered(Q_, C_)) {
      Q_ = R_;
      size_ = two;
      return;
    }
    C_ = three_point_circle(P_, Q_, R_);
    F_ = sites_.worst(C_);
    if (F_.weight == 0.0) {
      size_ = done;
    } else if (!F_.same_place(P_) && !F_.same_place(Q_) && !F_.same_place(R_)) {
      size_ = four;
      sort_triple(P_, Q_, R_, F_);
    } else {
      // Each sort stands between the tests, and may exchange what the next one looks at: intended,
      // as the walk from set to set is that of the method.
      for (weighted_site* active : {&P_, &Q_, &R_}) {
        if (!F_.same_place(*active)) continue;
        active->weight = F_.weight;
        sort_pair(P_, Q_, R_);
      }
    }
  }

  void solve_four() {
    sort_triple(P_, Q_, R_, F_);
    C_ = two_point_circle(P_, F_);
    const bool covers_q = is_covered(Q_, C_);
    const bool covers_r = is_covered(R_, C_);
    if (covers_q && covers_r) {
      Q_ = F_;
      size_ = two;
      return;
    }
    find_candidates(covers_q, covers_r);
    if (without_r_.radius > without_q_.radius && without_p_.radius > without_q_.radius) Q_ = F_;
    if (without_q_.radius > without_r_.radius && without_p_.radius > without_r_.radius) R_ = F_;
    if (without_r_.radius > without_p_.radius && without_q_.radius > without_p_.radius) P_ = F_;
    size_ = three;
  }

  // The circles of F with two of the others that cover the third one.
  void find_candidates(bool covers_q, bool covers_r) {
    // Only the first one is reset, to the place of the last one; the other two keep what an earlier
    // pass found, for other sites perhaps: intended, such a candidate fails the covering test.
    without_q_ = {without_p_.x, without_p_.y, kNowhere};
    if (!covers_r && !pair_covers_third(P_, R_, F_)) {
      const circle_record c = three_point_circle(P_, R_, F_);
      if (is_covered(Q_, c)) without_q_ = c;
    }
    if (!covers_q && !pair_covers_third(P_, Q_, F_)) {
      const circle_record c = three_point_circle(P_, Q_, F_);
      if (is_covered(R_, c)) without_r_ = c;
    }
    if (!pair_covers_third(Q_, R_, F_)) {
      const circle_record c = three_point_circle(Q_, R_, F_);
      if (is_covered(P_, c)) without_p_ = c;
    }
  }

  const site_arrays& sites_;
  state size_ = two;
  weighted_site P_;
  weighted_site Q_;
  weighted_site R_;
  weighted_site F_;
  circle_record C_;
  // None yet. A radius of 0.0 in their place would beat every circle that a pass computes.
  circle_record without_q_{0.0, 0.0, kNowhere};
  circle_record without_r_{0.0, 0.0, kNowhere};
  circle_record without_p_{0.0, 0.0, kNowhere};
};

}  // namespace

double facilities::l2_max(bool clear) {
  if (clear) opt.clear();
  const site_arrays sites(*this);
  const circle_record best = active_set(sites).solve();
  opt.append(planloc::location(2.0, 1.0, best.x, best.y, 0.0));
  return best.radius;
}

}  // namespace planloc
