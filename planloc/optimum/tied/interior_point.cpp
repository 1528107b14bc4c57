#include "planloc/optimum/tied/interior_point.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <unordered_map>

namespace planloc::detail {

namespace {

constexpr std::size_t kBlock = 64;
constexpr double kShareOfStep = 0.9995;
constexpr double kShortStep = 0.1;
constexpr double kNoStep = 1e-4;

// One number a term of a block.
using lanes = std::array<double, kBlock>;

double largest(const lanes& l, std::size_t count) {
  return *std::max_element(l.begin(), l.begin() + static_cast<std::ptrdiff_t>(count));
}

double sum(const lanes& l, std::size_t count) {
  double total = 0;
  for (std::size_t k = 0; k < count; ++k) total += l[k];
  return total;
}

}  // namespace

interior_point::interior_point(near_terms terms, std::vector<xy> places, double gap, double power)
    : terms_(std::move(terms)),
      equations_(terms_.facilities),
      places_(std::move(places)),
      power_(power) {
  make_blocks();
  copy_terms();
  double value = terms_.level;
  for (std::size_t j = 0; j < places_.size(); ++j)
    value += dot({terms_.slopes[2 * j], terms_.slopes[2 * j + 1]}, places_[j]);
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const xy u = offset(k);
    double most = 0;
    for (const near_edge& e : terms_.edges_of(terms_.terms[k]))
      most = std::max(most, dot(e.normal, u));
    value += term(k).weight * most;
  }
  // Positions differ by up to 1: from less, heavy ties would bind light sites too early.
  start(gap * std::max(value, terms_.weight) / aims_);
}

void interior_point::copy_terms() {
  weight_.clear();
  aim_.clear();
  aims_ = 0;
  for (const near_term& t : terms_.terms) {
    weight_.push_back(t.term.weight);
    aim_.push_back(power_ == 1 ? t.term.weight : std::pow(t.term.weight, power_));
    aims_ += aim_.back() * static_cast<double>(t.edge_count);
  }
  pivot_.resize(weight_.size());
  for (auto* v : {&pivot_x_, &pivot_y_, &ratios_, &ratio_x_, &ratio_y_, &complement_})
    v->resize(weight_.size());
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const auto edges = terms_.edges_of(terms_.terms[k]);
    for (std::size_t e = 0; e < edges.size(); ++e) {
      normal_x_[entry(k, e)] = edges[e].normal.x;
      normal_y_[entry(k, e)] = edges[e].normal.y;
    }
  }
}

void interior_point::make_blocks() {
  std::size_t size = 0;
  blocks_.clear();
  block_of_.clear();
  first_.clear();
  for (std::uint32_t k = 0; k < terms_.terms.size(); ++k) {
    const near_term& t = terms_.terms[k];
    const auto belongs = [&](const block& b) {
      const part_term& f = term(b.begin);
      return b.count < kBlock && b.edges == t.edge_count &&
             (t.term.second == kNoFacility ? f.second == kNoFacility && f.first == t.term.first
                                           : f.second != kNoFacility);
    };
    if (blocks_.empty() || !belongs(blocks_.back())) blocks_.push_back({k, 0, t.edge_count, 0});
    ++blocks_.back().count;
  }
  for (std::uint32_t b = 0; b < blocks_.size(); ++b) {
    blocks_[b].at = size;
    for (std::size_t k = 0; k < blocks_[b].count; ++k) {
      first_.push_back(size + k);
      block_of_.push_back(b);
    }
    size += blocks_[b].count * blocks_[b].edges;
  }
  for (auto* v :
       {&normal_x_, &normal_y_, &slack_, &multiplier_, &inverse_, &slack_step_, &multiplier_step_})
    v->resize(size);
}

// Slacks and multipliers whose products are what they aim at, in this unit: each term solves an
// equation for its least slack, by Newton's method from below.
void interior_point::start(double unit) {
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const double weight = weight_[k];
    const double target = unit * aim_[k];
    const auto edges = terms_.edges_of(terms_.terms[k]);
    const xy u = offset(k);
    double most = -std::numeric_limits<double>::infinity();
    for (const near_edge& e : edges) most = std::max(most, dot(e.normal, u));
    double least = target / weight;
    for (int round = 0; round < 8; ++round) {
      double excess = -weight;
      double steepness = 0;
      for (const near_edge& e : edges) {
        const double m = target / (least + (most - dot(e.normal, u)));
        excess += m;
        steepness += m * m;
      }
      if (excess < 0.01 * weight) break;
      least += excess * target / steepness;
    }
    double total = 0;
    for (std::size_t e = 0; e < edges.size(); ++e) {
      const double slack = least + (most - dot(edges[e].normal, u));
      slack_[entry(k, e)] = slack;
      multiplier_[entry(k, e)] = target / slack;
      total += target / slack;
    }
    for (std::size_t e = 0; e < edges.size(); ++e) multiplier_[entry(k, e)] *= weight / total;
  }
  advance({0, 0});
}

void interior_point::narrow(double radius) {
  std::vector<std::uint32_t> kept;
  near_terms next = terms_.narrowed(places_, radius, kept);
  if (next.terms.empty()) return;
  std::vector<double> slacks;
  std::vector<double> multipliers;
  std::vector<std::size_t> entry_of(terms_.edges.size());
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const near_term& t = terms_.terms[k];
    for (std::size_t e = 0; e < t.edge_count; ++e) entry_of[t.first_edge + e] = entry(k, e);
  }
  for (const std::uint32_t e : kept) {
    slacks.push_back(slack_[entry_of[e]]);
    multipliers.push_back(multiplier_[entry_of[e]]);
  }
  terms_ = std::move(next);
  make_blocks();
  copy_terms();
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const near_term& t = terms_.terms[k];
    double total = 0;
    for (std::size_t e = 0; e < t.edge_count; ++e) total += multipliers[t.first_edge + e];
    for (std::size_t e = 0; e < t.edge_count; ++e) {
      slack_[entry(k, e)] = slacks[t.first_edge + e];
      multiplier_[entry(k, e)] = multipliers[t.first_edge + e] * (t.term.weight / total);
    }
  }
  std::fill(slack_step_.begin(), slack_step_.end(), 0);
  std::fill(multiplier_step_.begin(), multiplier_step_.end(), 0);
  advance({0, 0});
}

double interior_point::rest() const {
  double most = 0;
  for (const double s : slopes_) most = std::max(most, std::fabs(s));
  return most;
}

void interior_point::take_ties(const interior_point& from) {
  const auto is_tie = [](const near_term& t) { return t.term.second != kNoFacility; };
  std::unordered_map<std::uint32_t, std::size_t> known;
  for (std::size_t k = from.terms_.terms.size(); k-- > 0 && is_tie(from.terms_.terms[k]);)
    known.emplace(from.term(k).source, k);
  for (std::size_t k = terms_.terms.size(); k-- > 0 && is_tie(terms_.terms[k]);) {
    const auto at = known.find(term(k).source);
    if (at == known.end()) continue;
    const auto edges = terms_.edges_of(terms_.terms[k]);
    const auto others = from.terms_.edges_of(from.terms_.terms[at->second]);
    const auto same = [](const near_edge& a, const near_edge& b) { return a.number == b.number; };
    if (!std::equal(edges.begin(), edges.end(), others.begin(), others.end(), same)) continue;
    for (std::size_t e = 0; e < edges.size(); ++e) {
      slack_[entry(k, e)] = from.slack(at->second, e);
      multiplier_[entry(k, e)] = from.multiplier(at->second, e);
    }
  }
  std::fill(slack_step_.begin(), slack_step_.end(), 0);
  std::fill(multiplier_step_.begin(), multiplier_step_.end(), 0);
  advance({0, 0});
}

// ----- Numbers of places and of terms -----

// How far the offsets of a block move.
void interior_point::moves_of(const block& b, std::span<const double> move, double* x,
                              double* y) const {
  const part_term& first = term(b.begin);
  if (first.second == kNoFacility) {
    std::fill(x, x + b.count, move[2 * first.first]);
    std::fill(y, y + b.count, move[2 * first.first + 1]);
    return;
  }
  for (std::size_t k = 0; k < b.count; ++k) {
    const xy u = move_of(term(b.begin + k), move);
    x[k] = u.x;
    y[k] = u.y;
  }
}

void interior_point::add_slopes(const block& b, const double* x, const double* y,
                                std::vector<double>& to) const {
  const part_term& t = term(b.begin);
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
  for (std::size_t k = 0; k < b.count; ++k) add_slope(term(b.begin + k), {x[k], y[k]}, to);
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
  for (std::size_t e = 0; e < b.edges; ++e) {
    const double* const nx = &normal_x_[b.at + e * count];
    const double* const ny = &normal_y_[b.at + e * count];
    const double* const s = &slack_[b.at + e * count];
    const double* const m = &multiplier_[b.at + e * count];
    double* const inverse = &inverse_[b.at + e * count];
    for (std::size_t k = 0; k < count; ++k) {
      inverse[k] = 1 / s[k];
      const double ratio = m[k] * inverse[k];
      const bool better = ratio > best[k];
      best[k] = better ? ratio : best[k];
      px[k] = better ? nx[k] : px[k];
      py[k] = better ? ny[k] : py[k];
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
  for (std::size_t e = 0; e < b.edges; ++e) {
    const double* const nx = &normal_x_[b.at + e * count];
    const double* const ny = &normal_y_[b.at + e * count];
    const double* const m = &multiplier_[b.at + e * count];
    const double* const inverse = &inverse_[b.at + e * count];
    for (std::size_t k = 0; k < count; ++k) {
      const double ratio = m[k] * inverse[k];
      const double x = nx[k] - px[k];
      const double y = ny[k] - py[k];
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
  const part_term& first = term(b.begin);
  if (first.second == kNoFacility) {
    equations_.add(first, {sum(xx, count), sum(xy_, count), sum(yy, count)});
  } else {
    for (std::size_t k = 0; k < count; ++k)
      equations_.add(term(b.begin + k), {xx[k], xy_[k], yy[k]});
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
    for (std::size_t e = 0; e < b.edges; ++e) {
      const double* const nx = &normal_x_[b.at + e * count];
      const double* const ny = &normal_y_[b.at + e * count];
      const double* const s = &slack_[b.at + e * count];
      const double* const m = &multiplier_[b.at + e * count];
      const double* const inverse = &inverse_[b.at + e * count];
      double* const products = &slack_step_[b.at + e * count];
      for (std::size_t k = 0; k < count; ++k) {
        const double ds = of_pivot[k] - ((nx[k] - px[k]) * ux[k] + (ny[k] - py[k]) * uy[k]);
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

// Of the step that makes products of slack and multiplier what they aim at, in this unit, with what
// `slack_step_` holds as the products of their steps.
std::vector<double> interior_point::right_side(double target) {
  std::vector<double> right(2 * terms_.facilities, 0);
  for (const block& b : blocks_) {
    const std::size_t count = b.count;
    lanes total{}, x{}, y{};
    const double* const aim = &aim_[b.begin];
    const double* const px = &pivot_x_[b.begin];
    const double* const py = &pivot_y_[b.begin];
    for (std::size_t e = 0; e < b.edges; ++e) {
      const double* const nx = &normal_x_[b.at + e * count];
      const double* const ny = &normal_y_[b.at + e * count];
      const double* const m = &multiplier_[b.at + e * count];
      const double* const inverse = &inverse_[b.at + e * count];
      const double* const products = &slack_step_[b.at + e * count];
      for (std::size_t k = 0; k < count; ++k) {
        const double c = (target * aim[k] - products[k]) * inverse[k] - m[k];
        total[k] += c;
        x[k] += c * (nx[k] - px[k]);
        y[k] += c * (ny[k] - py[k]);
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
    const double* const aim = &aim_[b.begin];
    moves_of(b, move, ux.data(), uy.data());
    for (std::size_t k = 0; k < count; ++k) {
      const std::size_t t = b.begin + k;
      of_pivot[k] = (ratio_x_[t] * ux[k] + ratio_y_[t] * uy[k] + complement_[t]) / ratios_[t];
    }
    const double* const px = &pivot_x_[b.begin];
    const double* const py = &pivot_y_[b.begin];
    for (std::size_t e = 0; e < b.edges; ++e) {
      const double* const nx = &normal_x_[b.at + e * count];
      const double* const ny = &normal_y_[b.at + e * count];
      const double* const m = &multiplier_[b.at + e * count];
      const double* const inverse = &inverse_[b.at + e * count];
      double* const slack_step = &slack_step_[b.at + e * count];
      double* const multiplier_step = &multiplier_step_[b.at + e * count];
      for (std::size_t k = 0; k < count; ++k) {
        const double ds = of_pivot[k] - ((nx[k] - px[k]) * ux[k] + (ny[k] - py[k]) * uy[k]);
        const double share = ds * inverse[k];
        const double dm = (target * aim[k] - slack_step[k]) * inverse[k] - m[k] - m[k] * share;
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
  slopes_ = terms_.slopes;
  gap_ = 0;
  value_ = terms_.level;
  for (std::size_t j = 0; j < places_.size(); ++j)
    value_ += dot({slopes_[2 * j], slopes_[2 * j + 1]}, places_[j]);
  for (const block& b : blocks_) {
    const std::size_t count = b.count;
    lanes x{}, y{}, gap{};
    for (std::size_t e = 0; e < b.edges; ++e) {
      const double* const nx = &normal_x_[b.at + e * count];
      const double* const ny = &normal_y_[b.at + e * count];
      double* const s = &slack_[b.at + e * count];
      double* const m = &multiplier_[b.at + e * count];
      const double* const slack_step = &slack_step_[b.at + e * count];
      const double* const multiplier_step = &multiplier_step_[b.at + e * count];
      for (std::size_t k = 0; k < count; ++k) {
        s[k] += a.slack * slack_step[k];
        m[k] += a.multiplier * multiplier_step[k];
        gap[k] += s[k] * m[k];
        x[k] += m[k] * nx[k];
        y[k] += m[k] * ny[k];
      }
    }
    gap_ += sum(gap, count);
    for (std::size_t k = 0; k < count; ++k) {
      value_ += dot({x[k], y[k]}, offset(b.begin + k));
    }
    add_slopes(b, x.data(), y.data(), slopes_);
  }
}

bool interior_point::step() {
  const double mean = gap_ / aims_;
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
  if (!std::all_of(move.begin(), move.end(), [](double m) { return std::isfinite(m); }))
    return false;
  a.slack = std::min(1.0, kShareOfStep * a.slack);
  a.multiplier = std::min(1.0, kShareOfStep * a.multiplier);
  moved_ = 0;
  for (const double m : move) moved_ = std::max(moved_, a.slack * std::fabs(m));
  for (std::size_t j = 0; j < places_.size(); ++j) {
    places_[j].x += a.slack * move[2 * j];
    places_[j].y += a.slack * move[2 * j + 1];
  }
  advance(a);
  return std::max(a.slack, a.multiplier) > kNoStep;
}

}  // namespace planloc::detail
