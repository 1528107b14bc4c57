#include <gmpxx.h>

#include <algorithm>

#include "planloc/optimum/proof/gauge_interval.h"
#include "planloc/optimum/proof/tied_parts.h"

namespace planloc::detail {

namespace {

mpq_class dot(const fraction_pair& a, const fraction_pair& b) { return a.x * b.x + a.y * b.y; }

// Terms of one facility with the same edge of the same gauge: they share its denominator.
struct load {
  mpq_class weight, x, y;  // the sums of w, of w times the position

  void add(double w, const tied_site& s) {
    const mpq_class exact(w);
    weight += exact;
    x += exact * s.x;
    y += exact * s.y;
  }
};

class tied_fractions {
 public:
  tied_fractions(const tied_problem& p, const tied_solution& s)
      : problem_(p), certificate_(s.proof), places_(exact_places_of(p, s)) {
    normals_ = edge_normals(p.gauges());
    for (const gauge& g : p.gauges()) {
      first_edge_.push_back(edges_);
      edges_ += g.vertices().size();
      for (std::size_t e = 0; e < g.vertices().size(); ++e)
        rounded_normals_.push_back(edge_normal(g, e));
    }
  }

  mpq_class value() const {
    std::vector<mpq_class> terms;
    for (std::size_t j = 0; j < problem_.facilities(); ++j) {
      std::vector<load> loads(edges_);
      for (std::size_t i = 0; i < problem_.sites().size(); ++i) {
        if (problem_.weight(j, i) == 0) continue;
        const tied_site& s = problem_.sites()[i];
        const std::size_t e = longest({places_[j].x - s.x, places_[j].y - s.y}, s.gauge);
        loads[first_edge_[s.gauge] + e].add(problem_.weight(j, i), s);
      }
      for_each_load(loads, [&](const load& l, const fraction_pair& n) {
        terms.emplace_back(n.x * (l.weight * places_[j].x - l.x) +
                           n.y * (l.weight * places_[j].y - l.y));
      });
    }
    for (const tie& b : problem_.ties()) {
      if (b.weight == 0) continue;
      const fraction_pair u{places_[b.first].x - places_[b.second].x,
                            places_[b.first].y - places_[b.second].y};
      terms.emplace_back(b.weight * dot(normals_[b.gauge][longest(u, b.gauge)], u));
    }
    return sum_of(terms);
  }

  mpq_class bound() const {
    const std::size_t n = problem_.sites().size();
    std::vector<const tied_certificate::bend*> bends(problem_.weights().size());
    for (const tied_certificate::bend& b : certificate_.bends) bends[b.facility * n + b.site] = &b;
    std::vector<rest> rests(problem_.facilities());
    std::vector<mpq_class> terms;
    for (std::size_t j = 0; j < problem_.facilities(); ++j) {
      std::vector<load> loads(edges_);
      for (std::size_t i = 0; i < n; ++i) {
        const double w = problem_.weight(j, i);
        if (w == 0) continue;
        const tied_site& s = problem_.sites()[i];
        if (bends[j * n + i] == nullptr) {
          loads[first_edge_[s.gauge] + certificate_.edge[j * n + i]].add(w, s);
          continue;
        }
        const fraction_pair g = slope_of(bends[j * n + i]->at, s.gauge, term_name(j, i));
        rests[j].add(w, g, 1);
        terms.emplace_back(w * (g.x * s.x + g.y * s.y));
      }
      for_each_load(loads, [&](const load& l, const fraction_pair& g) {
        rests[j].add(l.weight, g, 1);
        terms.emplace_back(g.x * l.x + g.y * l.y);
      });
    }
    add_ties(rests);
    for (std::size_t j = 0; j < rests.size(); ++j) {
      if (sgn(sum_of(rests[j].x)) == 0 && sgn(sum_of(rests[j].y)) == 0) continue;
      refuse("the slopes of facility " + std::to_string(j) + " do not cancel");
    }
    return -sum_of(terms);
  }

 private:
  // The slopes of one facility, which are to cancel.
  struct rest {
    std::vector<mpq_class> x, y;

    void add(const mpq_class& w, const fraction_pair& slope, int sign) {
      x.emplace_back(sign * w * slope.x);
      y.emplace_back(sign * w * slope.y);
    }
  };

  template <class Use>
  void for_each_load(const std::vector<load>& loads, const Use& use) const {
    for (std::size_t g = 0; g < normals_.size(); ++g) {
      for (std::size_t e = 0; e < normals_[g].size(); ++e) {
        const load& l = loads[first_edge_[g] + e];
        if (sgn(l.weight) != 0) use(l, normals_[g][e]);
      }
    }
  }

  void add_ties(std::vector<rest>& rests) const {
    for (std::size_t t = 0; t < problem_.ties().size(); ++t) {
      const tie& b = problem_.ties()[t];
      if (b.weight == 0) continue;
      const fraction_pair h = slope_of(certificate_.ties[t], b.gauge, "tie " + std::to_string(t));
      rests[b.first].add(b.weight, h, 1);
      rests[b.second].add(b.weight, h, -1);
    }
  }

  // The edge whose normal gives the most along u: intervals leave few to be compared in fractions.
  std::size_t longest(const fraction_pair& u, std::size_t g) const {
    const interval_pair rounded{enclosed(u.x), enclosed(u.y)};
    std::vector<interval> along;
    double least = -std::numeric_limits<double>::infinity();
    for (std::size_t e = 0; e < normals_[g].size(); ++e) {
      along.push_back(detail::dot(rounded_normals_[first_edge_[g] + e], rounded));
      least = std::max(least, along.back().low);
    }
    std::vector<std::size_t> open;
    for (std::size_t e = 0; e < along.size(); ++e)
      if (along[e].high >= least) open.push_back(e);
    if (open.size() == 1) return open[0];
    return *std::max_element(open.begin(), open.end(), [&](std::size_t a, std::size_t b) {
      return dot(normals_[g][a], u) < dot(normals_[g][b], u);
    });
  }

  // A slope that is inside the polar of its unit ball: along each of its vertices at most 1.
  fraction_pair slope_of(const tied_certificate::slope& s, std::size_t g,
                         const std::string& of) const {
    fraction_pair slope = exact_place_of(s.rounded, s.exact);
    for (const xy& v : problem_.gauges()[g].vertices()) {
      if (slope.x * v.x + slope.y * v.y > 1) refuse(of + ": the slope is too steep for the gauge");
    }
    return slope;
  }

  const tied_problem& problem_;
  const tied_certificate& certificate_;
  std::vector<fraction_pair> places_;
  std::vector<std::vector<fraction_pair>> normals_;
  std::vector<interval_pair> rounded_normals_;  // of all gauges in a row
  std::vector<std::size_t> first_edge_;         // of each gauge in that row
  std::size_t edges_ = 0;
};

}  // namespace

verification verify_tied_fractions(const tied_problem& p, const tied_solution& s) {
  const tied_fractions check(p, s);
  const mpq_class bound = check.bound();
  const mpq_class value = check.value();
  if (!stands_for(s.value, value)) refuse("the value is not that of the points");
  if (!stands_for(s.lower_bound, bound))
    refuse("the lower bound is not the one that the certificate proves");
  if (value != bound) refuse("called optimal, but the gap is not 0");
  verification v;
  v.value = rounded_up(value);
  v.lower_bound = rounded_down(bound);
  v.accepted = true;
  return v;
}

}  // namespace planloc::detail
