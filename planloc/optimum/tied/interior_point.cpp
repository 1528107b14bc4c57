#include "planloc/optimum/tied/interior_point.h"

#include <algorithm>
#include <cmath>

namespace planloc::detail {

namespace {

constexpr double kShareOfStep = 0.9995;
constexpr double kShortStep = 0.1;
constexpr double kNoStep = 1e-4;

double dot(const xy& a, const xy& b) { return a.x * b.x + a.y * b.y; }

}  // namespace

interior_point::interior_point(const part_terms& terms)
    : terms_(terms), equations_(terms.facilities), places_(terms.means()) {
  std::uint32_t edges = 0;
  double sum = 0;
  double weights = 0;
  for (const part_term& t : terms.terms) {
    weights += t.weight;
    first_.push_back(edges);
    const auto normals = terms.normals_of(t.gauge);
    edges += static_cast<std::uint32_t>(normals.size());
    const xy u = terms.offset(t, places_);
    double most = 0;
    for (const xy& n : normals) most = std::max(most, dot(n, u));
    sum += t.weight * most;
  }
  first_.push_back(edges);
  for (auto* v : {&slack_, &multiplier_, &slack_step_, &multiplier_step_}) v->resize(edges);
  pivots_.resize(terms.terms.size());
  // Positions differ by up to 1: from less, heavy ties would bind light sites too early.
  start(std::max(sum, weights) / edges);
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
      least += std::max(0.0, excess) * target / steepness;
    }
    double total = 0;
    for (std::size_t e = 0; e < normals.size(); ++e) {
      slack_[first_[k] + e] = least + (most - dot(normals[e], u));
      multiplier_[first_[k] + e] = target / slack_[first_[k] + e];
      total += multiplier_[first_[k] + e];
    }
    for (std::size_t e = 0; e < normals.size(); ++e) multiplier_[first_[k] + e] *= t.weight / total;
  }
  measure();
}

void interior_point::measure() {
  slopes_.assign(2 * terms_.facilities, 0);
  gap_ = 0;
  value_ = 0;
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const part_term& t = terms_.terms[k];
    const auto normals = terms_.normals_of(t.gauge);
    const xy u = terms_.offset(t, places_);
    xy slope{0, 0};
    double most = 0;
    for (std::size_t e = 0; e < normals.size(); ++e) {
      const double m = multiplier_[first_[k] + e];
      slope.x += m * normals[e].x;
      slope.y += m * normals[e].y;
      gap_ += m * slack_[first_[k] + e];
      most = std::max(most, dot(normals[e], u));
    }
    value_ += t.weight * most;
    add_slope(t, slope, slopes_);
  }
  rest_ = 0;
  for (const double s : slopes_) rest_ = std::max(rest_, std::fabs(s));
}

void interior_point::assemble() {
  equations_.clear();
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const part_term& t = terms_.terms[k];
    const auto normals = terms_.normals_of(t.gauge);
    const double* const m = &multiplier_[first_[k]];
    const double* const s = &slack_[first_[k]];
    pivot p{0, 0, {0, 0}};
    for (std::uint32_t e = 1; e < normals.size(); ++e)
      if (m[e] * s[p.edge] > m[p.edge] * s[e]) p.edge = e;
    symmetric_2x2 h;
    const xy& from = normals[p.edge];
    for (std::size_t e = 0; e < normals.size(); ++e) {
      const double ratio = m[e] / s[e];
      const xy d{normals[e].x - from.x, normals[e].y - from.y};
      p.ratios += ratio;
      p.ratio_slope.x += ratio * d.x;
      p.ratio_slope.y += ratio * d.y;
      h.xx += ratio * d.x * d.x;
      h.xy += ratio * d.x * d.y;
      h.yy += ratio * d.y * d.y;
    }
    const xy& q = p.ratio_slope;
    h.xx -= q.x * q.x / p.ratios;
    h.xy -= q.x * q.y / p.ratios;
    h.yy -= q.y * q.y / p.ratios;
    pivots_[k] = p;
    equations_.add(t, h);
  }
  equations_.factor();
}

// What the multiplier of an edge would change by if its slack stayed.
double interior_point::complement(std::size_t e, double target, bool corrected) const {
  const double product = corrected ? slack_step_[e] * multiplier_step_[e] : 0;
  return (target - product) / slack_[e] - multiplier_[e];
}

std::vector<double> interior_point::right_side(double target, bool corrected) const {
  std::vector<double> right(slopes_);
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const part_term& t = terms_.terms[k];
    const auto normals = terms_.normals_of(t.gauge);
    const pivot& p = pivots_[k];
    const xy& from = normals[p.edge];
    double sum = 0;
    xy slope{0, 0};
    for (std::size_t e = 0; e < normals.size(); ++e) {
      const double c = complement(first_[k] + e, target, corrected);
      sum += c;
      slope.x += c * (normals[e].x - from.x);
      slope.y += c * (normals[e].y - from.y);
    }
    slope.x -= p.ratio_slope.x * sum / p.ratios;
    slope.y -= p.ratio_slope.y * sum / p.ratios;
    add_slope(t, slope, right);
  }
  for (double& r : right) r = -r;
  return right;
}

// The steps of slacks and multipliers for a step of the places.
void interior_point::spread(std::span<const double> move, double target, bool corrected) {
  for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
    const part_term& t = terms_.terms[k];
    const auto normals = terms_.normals_of(t.gauge);
    const pivot& p = pivots_[k];
    const xy& from = normals[p.edge];
    const xy u = move_of(t, move);
    double sum = dot(p.ratio_slope, u);
    for (std::size_t e = 0; e < normals.size(); ++e)
      sum += complement(first_[k] + e, target, corrected);
    const double of_pivot = sum / p.ratios;
    double others = 0;
    for (std::size_t e = 0; e < normals.size(); ++e) {
      const std::size_t at = first_[k] + e;
      const double ds = of_pivot - ((normals[e].x - from.x) * u.x + (normals[e].y - from.y) * u.y);
      const double dm = complement(at, target, corrected) - multiplier_[at] / slack_[at] * ds;
      slack_step_[at] = ds;
      multiplier_step_[at] = dm;
      if (e != p.edge) others += dm;
    }
    multiplier_step_[first_[k] + p.edge] = -others;
  }
}

interior_point::step_lengths interior_point::longest_step() const {
  step_lengths a;
  for (std::size_t e = 0; e < slack_.size(); ++e) {
    if (slack_[e] < -slack_step_[e] * a.slack) a.slack = slack_[e] / -slack_step_[e];
    if (multiplier_[e] < -multiplier_step_[e] * a.multiplier)
      a.multiplier = multiplier_[e] / -multiplier_step_[e];
  }
  return a;
}

double interior_point::gap_after(const step_lengths& a) const {
  double gap = 0;
  for (std::size_t e = 0; e < slack_.size(); ++e) {
    gap += (slack_[e] + a.slack * slack_step_[e]) *
           (multiplier_[e] + a.multiplier * multiplier_step_[e]);
  }
  return gap;
}

bool interior_point::step() {
  const double mean = gap_ / static_cast<double>(slack_.size());
  assemble();
  spread(equations_.solve(right_side(0, false)), 0, false);
  const double ratio = gap_after(longest_step()) / gap_;
  double target = mean * ratio * ratio * ratio;
  std::vector<double> move = equations_.solve(right_side(target, true));
  spread(move, target, true);
  step_lengths a = longest_step();
  if (std::max(a.slack, a.multiplier) < kShortStep) {
    // The products have grown uneven: a step that evens them first.
    target = mean;
    move = equations_.solve(right_side(target, false));
    spread(move, target, false);
    a = longest_step();
  }
  a.slack = std::min(1.0, kShareOfStep * a.slack);
  a.multiplier = std::min(1.0, kShareOfStep * a.multiplier);
  for (std::size_t e = 0; e < slack_.size(); ++e) {
    slack_[e] += a.slack * slack_step_[e];
    multiplier_[e] += a.multiplier * multiplier_step_[e];
  }
  for (std::size_t j = 0; j < places_.size(); ++j) {
    places_[j].x += a.slack * move[2 * j];
    places_[j].y += a.slack * move[2 * j + 1];
  }
  measure();
  return std::max(a.slack, a.multiplier) > kNoStep;
}

}  // namespace planloc::detail
