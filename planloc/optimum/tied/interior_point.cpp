#include "planloc/optimum/tied/interior_point.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace planloc::detail {

namespace {

constexpr std::size_t kBlock = 64;
constexpr double kShareOfStep = 0.9995;
constexpr double kShortStep = 0.1;
constexpr double kNoStep = 1e-4;

// One number a term of a block.
using lanes = std::array<double, kBlock>;

double dot(const xy& a, const xy& b) { return a.x * b.x + a.y * b.y; }

double largest(const lanes& l, std::size_t count) {
  return *std::max_element(l.begin(), l.begin() + static_cast<std::ptrdiff_t>(count));
}

double sum(const lanes& l, std::size_t count) {
  double total = 0;
  for (std::size_t k = 0; k < count; ++k) total += l[k];
  return total;
}

}  // namespace

interior_point::interior_point(const part_terms& terms) : interior_point(terms, terms.means(), 1) {}

interior_point::interior_point(const part_terms& terms, std::vector<xy> places, double gap)
    : terms_(terms), equations_(terms.facilities), places_(std::move(places)) {
  make_blocks();
  copy_terms();
  double value = 0;
  double weights = 0;
  for (const part_term& t : terms.terms) {
    const xy u = terms.offset(t, places_);
    double most = 0;
    for (const xy& n : terms.normals_of(t.gauge)) most = std::max(most, dot(n, u));
    value += t.weight * most;
    weights += t.weight;
  }
  // Positions differ by up to 1: from less, heavy ties would bind light sites too early.
  start(gap * std::max(value, weights) / static_cast<double>(slack_.size()));
}

void interior_point::copy_terms() {
  for (const part_term& t : terms_.terms) weight_.push_back(t.weight);
  pivot_.resize(weight_.size());
  for (auto* v : {&pivot_x_, &pivot_y_, &ratios_, &ratio_x_, &ratio_y_, &complement_})
    v->resize(weight_.size());
}

void interior_point::make_blocks() {
  std::size_t size = 0;
  for (std::uint32_t k = 0; k < terms_.terms.size(); ++k) {
    const part_term& t = terms_.terms[k];
    const auto belongs = [&](const block& b) {
      const part_term& f = terms_.terms[b.begin];
      return b.count < kBlock && f.gauge == t.gauge &&
             (t.second == kNoFacility ? f.second == kNoFacility && f.first == t.first
                                      : f.second != kNoFacility);
    };
    if (blocks_.empty() || !belongs(blocks_.back()))
      blocks_.push_back({k, 0, terms_.normals_of(t.gauge), 0});
    ++blocks_.back().count;
  }
  for (std::uint32_t b = 0; b < blocks_.size(); ++b) {
    blocks_[b].at = size;
    for (std::size_t k = 0; k < blocks_[b].count; ++k) {
      first_.push_back(size + k);
      block_of_.push_back(b);
    }
    size += blocks_[b].count * blocks_[b].normals.size();
  }
  for (auto* v : {&slack_, &multiplier_, &inverse_, &slack_step_, &multiplier_step_})
    v->resize(size);
}

// Slacks and multipliers whose products are all the same: each term solves an equation for its
// least slack, by Newton's method from below.
void interior_point::start(double target) {
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const part_term& t = terms_.terms[k];
    const auto normals = terms_.normals_of(t.gauge);
    const xy u = terms_.offset(t, places_);
    double most = 0;
    for (const xy& n : normals) most = std::max(most, dot(n, u));
    double least = target / t.weight;
    for (int round = 0; round < 8; ++round) {
      double excess = -t.weight;
      double steepness = 0;
      for (const xy& n : normals) {
        const double m = target / (least + (most - dot(n, u)));
        excess += m;
        steepness += m * m;
      }
      if (excess < 0.01 * t.weight) break;
      least += excess * target / steepness;
    }
    double total = 0;
    for (std::size_t e = 0; e < normals.size(); ++e) {
      const double slack = least + (most - dot(normals[e], u));
      slack_[entry(k, e)] = slack;
      multiplier_[entry(k, e)] = target / slack;
      total += target / slack;
    }
    for (std::size_t e = 0; e < normals.size(); ++e) multiplier_[entry(k, e)] *= t.weight / total;
  }
  advance({0, 0});
}

// ----- Numbers of places and of terms -----

// How far the offsets of a block move.
void interior_point::moves_of(const block& b, std::span<const double> move, double* x,
                              double* y) const {
  const part_term& first = terms_.terms[b.begin];
  if (first.second == kNoFacility) {
    std::fill(x, x + b.count, move[2 * first.first]);
    std::fill(y, y + b.count, move[2 * first.first + 1]);
    return;
  }
  for (std::size_t k = 0; k < b.count; ++k) {
    const xy u = move_of(terms_.terms[b.begin + k], move);
    x[k] = u.x;
    y[k] = u.y;
  }
}

void interior_point::add_slopes(const block& b, const double* x, const double* y,
                                std::vector<double>& to) const {
  const part_term& t = terms_.terms[b.begin];
  if (t.second == kNoFacility) {
    double sum_x = 0;
    double sum_y = 0;
    for (std::size_t k = 0; k < b.count; ++k) {
      sum_x += x[k];
      sum_y += y[k];
    }
    to[2 * t.first] += sum_x;
    to[2 * t.first + 1] += sum_y;
    return;
  }
  for (std::size_t k = 0; k < b.count; ++k) add_slope(terms_.terms[b.begin + k], {x[k], y[k]}, to);
}

// ----- Steps -----

// The inverse slacks, and the pivot of each term of a block.
void interior_point::find_pivots(const block& b) {
  const std::size_t count = b.count;
  lanes best;
  lanes edge;
  best.fill(-1);
  double* const px = &pivot_x_[b.begin];
  double* const py = &pivot_y_[b.begin];
  for (std::size_t e = 0; e < b.normals.size(); ++e) {
    const xy n = b.normals[e];
    const double* const s = &slack_[b.at + e * count];
    const double* const m = &multiplier_[b.at + e * count];
    double* const inverse = &inverse_[b.at + e * count];
    for (std::size_t k = 0; k < count; ++k) {
      inverse[k] = 1 / s[k];
      const double ratio = m[k] * inverse[k];
      const bool better = ratio > best[k];
      best[k] = better ? ratio : best[k];
      px[k] = better ? n.x : px[k];
      py[k] = better ? n.y : py[k];
      edge[k] = better ? static_cast<double>(e) : edge[k];
    }
  }
  for (std::size_t k = 0; k < count; ++k) pivot_[b.begin + k] = static_cast<std::uint32_t>(edge[k]);
}

// Adds the curvature of a block to the equations, and to the right side of the predictor.
void interior_point::add_curvature(const block& b, std::vector<double>& right) {
  const std::size_t count = b.count;
  lanes xx{}, xy_{}, yy{}, mx{}, my{};
  const double* const px = &pivot_x_[b.begin];
  const double* const py = &pivot_y_[b.begin];
  double* const ratios = &ratios_[b.begin];
  double* const rx = &ratio_x_[b.begin];
  double* const ry = &ratio_y_[b.begin];
  for (double* const sum : {ratios, rx, ry}) std::fill(sum, sum + count, 0);
  for (std::size_t e = 0; e < b.normals.size(); ++e) {
    const xy n = b.normals[e];
    const double* const m = &multiplier_[b.at + e * count];
    const double* const inverse = &inverse_[b.at + e * count];
    for (std::size_t k = 0; k < count; ++k) {
      const double ratio = m[k] * inverse[k];
      const double x = n.x - px[k];
      const double y = n.y - py[k];
      ratios[k] += ratio;
      rx[k] += ratio * x;
      ry[k] += ratio * y;
      xx[k] += ratio * x * x;
      xy_[k] += ratio * x * y;
      yy[k] += ratio * y * y;
      mx[k] += m[k] * x;
      my[k] += m[k] * y;
    }
  }
  for (std::size_t k = 0; k < count; ++k) {
    const double qx = rx[k] / ratios[k];
    const double qy = ry[k] / ratios[k];
    xx[k] -= rx[k] * qx;
    xy_[k] -= rx[k] * qy;
    yy[k] -= ry[k] * qy;
    mx[k] -= weight_[b.begin + k] * qx;
    my[k] -= weight_[b.begin + k] * qy;
  }
  add_slopes(b, mx.data(), my.data(), right);
  const part_term& first = terms_.terms[b.begin];
  if (first.second == kNoFacility) {
    equations_.add(first, {sum(xx, count), sum(xy_, count), sum(yy, count)});
  } else {
    for (std::size_t k = 0; k < count; ++k)
      equations_.add(terms_.terms[b.begin + k], {xx[k], xy_[k], yy[k]});
  }
}

// The equations, factored, and the right side of the predictor.
std::vector<double> interior_point::assemble() {
  equations_.clear();
  std::vector<double> right(2 * terms_.facilities, 0);
  for (const block& b : blocks_) {
    find_pivots(b);
    add_curvature(b, right);
  }
  equations_.factor();
  for (std::size_t r = 0; r < right.size(); ++r) right[r] -= slopes_[r];
  return right;
}

// By what the products would shrink along a move that aims at 0. Keeps the products of the steps.
double interior_point::gap_ratio_of_predictor(std::span<const double> move) {
  double slack_part = 0;
  double multiplier_part = 0;
  double product = 0;
  step_lengths a{1, 1};
  for (const block& b : blocks_) {
    const std::size_t count = b.count;
    lanes ux, uy, of_pivot, most_slack{}, most_multiplier{}, sm{}, ms{}, both{};
    moves_of(b, move, ux.data(), uy.data());
    for (std::size_t k = 0; k < count; ++k) {
      const std::size_t t = b.begin + k;
      of_pivot[k] = (ratio_x_[t] * ux[k] + ratio_y_[t] * uy[k] - weight_[t]) / ratios_[t];
    }
    const double* const px = &pivot_x_[b.begin];
    const double* const py = &pivot_y_[b.begin];
    for (std::size_t e = 0; e < b.normals.size(); ++e) {
      const xy n = b.normals[e];
      const double* const s = &slack_[b.at + e * count];
      const double* const m = &multiplier_[b.at + e * count];
      const double* const inverse = &inverse_[b.at + e * count];
      double* const products = &slack_step_[b.at + e * count];
      for (std::size_t k = 0; k < count; ++k) {
        const double ds = of_pivot[k] - ((n.x - px[k]) * ux[k] + (n.y - py[k]) * uy[k]);
        const double share = ds * inverse[k];
        const double dm = -m[k] * (1 + share);
        most_slack[k] = -share > most_slack[k] ? -share : most_slack[k];
        most_multiplier[k] = 1 + share > most_multiplier[k] ? 1 + share : most_multiplier[k];
        products[k] = ds * dm;
        sm[k] += m[k] * ds;
        ms[k] += s[k] * dm;
        both[k] += ds * dm;
      }
    }
    a.slack = std::min(a.slack, 1 / largest(most_slack, count));
    a.multiplier = std::min(a.multiplier, 1 / largest(most_multiplier, count));
    slack_part += sum(sm, count);
    multiplier_part += sum(ms, count);
    product += sum(both, count);
  }
  const double after = gap_ + a.slack * slack_part + a.multiplier * multiplier_part +
                       a.slack * a.multiplier * product;
  return after / gap_;
}

// Of the step that makes products of slack and multiplier `target`, with what `slack_step_` holds
// as the products of their steps.
std::vector<double> interior_point::right_side(double target) {
  std::vector<double> right(2 * terms_.facilities, 0);
  for (const block& b : blocks_) {
    const std::size_t count = b.count;
    lanes total{}, x{}, y{};
    const double* const px = &pivot_x_[b.begin];
    const double* const py = &pivot_y_[b.begin];
    for (std::size_t e = 0; e < b.normals.size(); ++e) {
      const xy n = b.normals[e];
      const double* const m = &multiplier_[b.at + e * count];
      const double* const inverse = &inverse_[b.at + e * count];
      const double* const products = &slack_step_[b.at + e * count];
      for (std::size_t k = 0; k < count; ++k) {
        const double c = (target - products[k]) * inverse[k] - m[k];
        total[k] += c;
        x[k] += c * (n.x - px[k]);
        y[k] += c * (n.y - py[k]);
      }
    }
    for (std::size_t k = 0; k < count; ++k) {
      const std::size_t t = b.begin + k;
      complement_[t] = total[k];
      x[k] -= ratio_x_[t] * total[k] / ratios_[t];
      y[k] -= ratio_y_[t] * total[k] / ratios_[t];
    }
    add_slopes(b, x.data(), y.data(), right);
  }
  for (std::size_t r = 0; r < right.size(); ++r) right[r] = -right[r] - slopes_[r];
  return right;
}

// The steps of slacks and multipliers for a move of the places, after `right_side`; returns how far
// they can go.
interior_point::step_lengths interior_point::spread(std::span<const double> move, double target) {
  step_lengths a{1, 1};
  for (const block& b : blocks_) {
    const std::size_t count = b.count;
    lanes ux, uy, of_pivot, most_slack{}, most_multiplier{}, total{};
    moves_of(b, move, ux.data(), uy.data());
    for (std::size_t k = 0; k < count; ++k) {
      const std::size_t t = b.begin + k;
      of_pivot[k] = (ratio_x_[t] * ux[k] + ratio_y_[t] * uy[k] + complement_[t]) / ratios_[t];
    }
    const double* const px = &pivot_x_[b.begin];
    const double* const py = &pivot_y_[b.begin];
    for (std::size_t e = 0; e < b.normals.size(); ++e) {
      const xy n = b.normals[e];
      const double* const m = &multiplier_[b.at + e * count];
      const double* const inverse = &inverse_[b.at + e * count];
      double* const slack_step = &slack_step_[b.at + e * count];
      double* const multiplier_step = &multiplier_step_[b.at + e * count];
      for (std::size_t k = 0; k < count; ++k) {
        const double ds = of_pivot[k] - ((n.x - px[k]) * ux[k] + (n.y - py[k]) * uy[k]);
        const double share = ds * inverse[k];
        const double dm = (target - slack_step[k]) * inverse[k] - m[k] - m[k] * share;
        const double fall = -dm / m[k];
        most_slack[k] = -share > most_slack[k] ? -share : most_slack[k];
        most_multiplier[k] = fall > most_multiplier[k] ? fall : most_multiplier[k];
        total[k] += dm;
        slack_step[k] = ds;
        multiplier_step[k] = dm;
      }
    }
    // The multipliers of a term keep their sum.
    for (std::size_t k = 0; k < count; ++k)
      multiplier_step_[b.at + pivot_[b.begin + k] * count + k] -= total[k];
    a.slack = std::min(a.slack, 1 / largest(most_slack, count));
    a.multiplier = std::min(a.multiplier, 1 / largest(most_multiplier, count));
  }
  return a;
}

// Takes the steps of slacks and multipliers, and sums up where they lead to.
void interior_point::advance(const step_lengths& a) {
  slopes_.assign(2 * terms_.facilities, 0);
  gap_ = 0;
  value_ = 0;
  for (const block& b : blocks_) {
    const std::size_t count = b.count;
    lanes x{}, y{}, gap{};
    for (std::size_t e = 0; e < b.normals.size(); ++e) {
      const xy n = b.normals[e];
      double* const s = &slack_[b.at + e * count];
      double* const m = &multiplier_[b.at + e * count];
      const double* const slack_step = &slack_step_[b.at + e * count];
      const double* const multiplier_step = &multiplier_step_[b.at + e * count];
      for (std::size_t k = 0; k < count; ++k) {
        s[k] += a.slack * slack_step[k];
        m[k] += a.multiplier * multiplier_step[k];
        gap[k] += s[k] * m[k];
        x[k] += m[k] * n.x;
        y[k] += m[k] * n.y;
      }
    }
    gap_ += sum(gap, count);
    for (std::size_t k = 0; k < count; ++k) {
      value_ += dot({x[k], y[k]}, terms_.offset(terms_.terms[b.begin + k], places_));
    }
    add_slopes(b, x.data(), y.data(), slopes_);
  }
  rest_ = 0;
  for (const double s : slopes_) rest_ = std::max(rest_, std::fabs(s));
}

bool interior_point::step() {
  const double mean = gap_ / static_cast<double>(slack_.size());
  const double ratio = gap_ratio_of_predictor(equations_.solve(assemble()));
  double target = mean * ratio * ratio * ratio;
  std::vector<double> move = equations_.solve(right_side(target));
  step_lengths a = spread(move, target);
  if (std::max(a.slack, a.multiplier) < kShortStep) {
    // The products have grown uneven: a step that evens them first.
    target = mean;
    std::fill(slack_step_.begin(), slack_step_.end(), 0);
    move = equations_.solve(right_side(target));
    a = spread(move, target);
  }
  a.slack = std::min(1.0, kShareOfStep * a.slack);
  a.multiplier = std::min(1.0, kShareOfStep * a.multiplier);
  for (std::size_t j = 0; j < places_.size(); ++j) {
    places_[j].x += a.slack * move[2 * j];
    places_[j].y += a.slack * move[2 * j + 1];
  }
  advance(a);
  return std::max(a.slack, a.multiplier) > kNoStep;
}

}  // namespace planloc::detail
