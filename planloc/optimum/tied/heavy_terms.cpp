#include "planloc/optimum/tied/heavy_terms.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

namespace {

constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);
// A heavy term holds facilities together that lie apart by u if it grows by more than this many
// times what all light terms together may fall.
constexpr double kOutweighs = 4;
constexpr std::size_t kMostTerms = 10000;

// Of a facility of the problem and a site, or of a tie.
struct whole_term {
  std::uint32_t first, second;  // facilities; kNone for the one of a site
  std::uint32_t source;         // the site or the tie
  std::uint32_t gauge;
  double weight;
  double least, most;  // how fast it grows in any direction
};

exact_xy place_of(const tied_solution& s, std::uint32_t facility) {
  if (s.exact.empty() || s.exact[facility].empty()) return to_exact(s.points[facility]);
  return {mpq_class(s.exact[facility].x), mpq_class(s.exact[facility].y)};
}

exact_xy value_of(const tied_certificate::slope& s) {
  if (s.exact.empty()) return to_exact(s.rounded);
  return {mpq_class(s.exact.x), mpq_class(s.exact.y)};
}

exact_xy normal_of(const gauge& g, std::uint32_t edge) {
  const std::span<const xy> v = g.vertices();
  const exact_xy a = to_exact(v[edge]);
  const exact_xy b = to_exact(v[(edge + 1) % v.size()]);
  const mpq_class area = cross(a, b);
  return {(b.y - a.y) / area, (a.x - b.x) / area};
}

std::uint32_t edge_in_force(const gauge& g, const exact_xy& u) {
  std::uint32_t best = 0;
  mpq_class most = dot(normal_of(g, 0), u);
  for (std::uint32_t e = 1; e < g.vertices().size(); ++e) {
    mpq_class value = dot(normal_of(g, e), u);
    if (value <= most) continue;
    most = std::move(value);
    best = e;
  }
  return best;
}

// gauge(-u).
gauge reflected(const gauge& g) {
  std::vector<xy> v(g.vertices().begin(), g.vertices().end());
  for (xy& c : v) c = {-c.x, -c.y};
  return gauge::polyhedral(std::move(v));
}

class light_terms {
 public:
  light_terms(const tied_problem& p, const tied_part& part)
      : problem_(p), part_(part), root_(p.facilities()), site_(p.facilities(), kNone) {
    collect();
  }

  std::optional<double> solve(const tied_options& options, tied_solution& s) {
    if (terms_.size() > kMostTerms || !choose_heavy()) return {};
    const tied_solution light = solve_rest(options);
    if (light.status != solution_status::optimal) return {};
    place(light, s);
    const double value = add_light_terms(light, s);
    if (!balance(s)) return {};
    return value;
  }

 private:
  xy at_site(std::uint32_t i) const { return {problem_.sites()[i].x, problem_.sites()[i].y}; }

  void collect() {
    struct range {
      double reach = 0, steepest = 0;
    };
    std::vector<range> ranges;  // by gauge
    for (const gauge& g : problem_.gauges()) {
      range& r = ranges.emplace_back();
      for (std::uint32_t e = 0; e < g.vertices().size(); ++e) {
        const xy& v = g.vertices()[e];
        const xy n = to_nearest(normal_of(g, e));
        r.reach = std::max(r.reach, std::hypot(v.x, v.y));
        r.steepest = std::max(r.steepest, std::hypot(n.x, n.y));
      }
    }
    const auto add = [&](std::uint32_t first, std::uint32_t second, std::uint32_t source,
                         std::uint32_t gauge, double weight) {
      const range& r = ranges[gauge];
      terms_.push_back(
          {first, second, source, gauge, weight, weight / r.reach, weight * r.steepest});
    };
    for (const std::uint32_t j : part_.facilities) {
      for (std::uint32_t i = 0; i < problem_.sites().size(); ++i) {
        if (problem_.weight(j, i) > 0)
          add(j, kNone, i, problem_.sites()[i].gauge, problem_.weight(j, i));
      }
    }
    for (const std::uint32_t t : part_.ties) {
      const tie& b = problem_.ties()[t];
      if (b.first != b.second) add(b.first, b.second, t, b.gauge, b.weight);
    }
    std::sort(terms_.begin(), terms_.end(),
              [](const whole_term& a, const whole_term& b) { return a.least > b.least; });
  }

  std::uint32_t find(std::uint32_t j) {
    while (root_[j] != j) j = root_[j] = root_[root_[j]];
    return j;
  }

  // As many terms as outweigh the others and are 0 at once. Joins their facilities.
  bool choose_heavy() {
    std::vector<double> rest(terms_.size() + 1, 0);
    for (std::size_t k = terms_.size(); k-- > 0;) rest[k] = rest[k + 1] + terms_[k].most;
    std::iota(root_.begin(), root_.end(), 0U);
    for (std::size_t k = 0; k < terms_.size() && join(terms_[k]); ++k) {
      if (terms_[k].least > kOutweighs * rest[k + 1] && k + 1 < terms_.size()) heavy_ = k + 1;
    }
    if (heavy_ == 0) return false;
    std::iota(root_.begin(), root_.end(), 0U);
    std::fill(site_.begin(), site_.end(), kNone);
    for (std::size_t k = 0; k < heavy_; ++k) join(terms_[k]);
    return true;
  }

  // False if the term cannot be 0 with those before it.
  bool join(const whole_term& t) {
    const std::uint32_t a = find(t.first);
    if (t.second == kNone) {
      if (site_[a] != kNone) return at_site(site_[a]) == at_site(t.source);
      site_[a] = t.source;
      return true;
    }
    const std::uint32_t b = find(t.second);
    if (a == b) return true;
    if (site_[a] != kNone && site_[b] != kNone && at_site(site_[a]) != at_site(site_[b]))
      return false;
    if (site_[b] == kNone) site_[b] = site_[a];
    root_[a] = b;
    return true;
  }

  // ----- The problem of what is left -----

  // Each light term with a facility that is free is a site or a tie of it.
  tied_solution solve_rest(const tied_options& options) {
    number_.assign(problem_.facilities(), kNone);
    std::uint32_t free = 0;
    for (const std::uint32_t j : part_.facilities) {
      const std::uint32_t r = find(j);
      if (site_[r] == kNone && number_[r] == kNone) number_[r] = free++;
    }
    if (free == 0) {
      tied_solution none;
      none.status = solution_status::optimal;
      return none;
    }
    gauges_.assign(problem_.gauges().begin(), problem_.gauges().end());
    for (const gauge& g : problem_.gauges())
      gauges_.push_back(g.kind() == gauge::shape::polyhedral ? reflected(g) : g);
    const auto kinds = static_cast<std::uint32_t>(problem_.gauges().size());
    std::vector<tied_site> sites;
    std::vector<double> site_weight;
    std::vector<tie> ties;
    image_.assign(terms_.size(), {kNone, kNone, false});
    for (std::size_t k = heavy_; k < terms_.size(); ++k) {
      const whole_term& t = terms_[k];
      const std::uint32_t a = find(t.first);
      const std::uint32_t b = t.second == kNone ? kNone : find(t.second);
      if (a == b || (site_[a] != kNone && (b == kNone || site_[b] != kNone))) continue;
      if (b != kNone && site_[a] == kNone && site_[b] == kNone) {
        image_[k].tie = static_cast<std::uint32_t>(ties.size());
        ties.push_back({number_[a], number_[b], t.weight, t.gauge});
        continue;
      }
      const bool back = site_[a] != kNone;
      const xy at = at_site(b == kNone ? t.source : back ? site_[a] : site_[b]);
      image_[k].site = static_cast<std::uint32_t>(sites.size());
      image_[k].back = back;
      sites.push_back({at.x, at.y, back ? kinds + t.gauge : t.gauge});
      owner_.push_back(number_[back ? b : a]);
      site_weight.push_back(t.weight);
    }
    const std::size_t n = sites.size();
    std::vector<double> weights(free * n, 0);
    for (std::size_t i = 0; i < n; ++i) weights[owner_[i] * n + i] = site_weight[i];
    return minimise(
        tied_problem(free, std::move(sites), gauges_, std::move(weights), std::move(ties)),
        options);
  }

  // ----- The answer -----

  void place(const tied_solution& light, tied_solution& s) {
    places_.resize(problem_.facilities());
    rest_.resize(problem_.facilities());
    for (const std::uint32_t j : part_.facilities) {
      const std::uint32_t r = find(j);
      places_[j] = site_[r] != kNone ? to_exact(at_site(site_[r])) : place_of(light, number_[r]);
      set_place(s, j, places_[j].x, places_[j].y);
    }
  }

  exact_xy offset(const whole_term& t) const {
    const exact_xy& from = places_[t.first];
    const exact_xy to = t.second == kNone ? to_exact(at_site(t.source)) : places_[t.second];
    return {from.x - to.x, from.y - to.y};
  }

  // What the light problem's certificate says of a term, if it has it.
  std::optional<exact_xy> slope_in(const tied_solution& light, std::size_t k) const {
    if (image_.empty()) return {};
    const image& m = image_[k];
    if (m.tie != kNone) return value_of(light.proof.ties[m.tie]);
    if (m.site == kNone) return {};
    const std::uint32_t j = owner_[m.site];
    const auto bend =
        std::find_if(light.proof.bends.begin(), light.proof.bends.end(),
                     [&](const auto& b) { return b.facility == j && b.site == m.site; });
    const exact_xy slope =
        bend != light.proof.bends.end()
            ? value_of(bend->at)
            : normal_of(gauges_[terms_[k].gauge + (m.back ? problem_.gauges().size() : 0)],
                        light.proof.edge[j * owner_.size() + m.site]);
    return m.back ? exact_xy{-slope.x, -slope.y} : slope;
  }

  void write(const whole_term& t, const exact_xy& slope, tied_solution& s) {
    const mpq_class w(t.weight);
    rest_[t.first] = {rest_[t.first].x + w * slope.x, rest_[t.first].y + w * slope.y};
    if (t.second == kNone) {
      s.proof.bends.push_back({t.first, t.source, detail::slope_of(slope.x, slope.y)});
      return;
    }
    rest_[t.second] = {rest_[t.second].x - w * slope.x, rest_[t.second].y - w * slope.y};
    s.proof.ties[t.source] = detail::slope_of(slope.x, slope.y);
  }

  double add_light_terms(const tied_solution& light, tied_solution& s) {
    mpq_class value;
    for (std::size_t k = heavy_; k < terms_.size(); ++k) {
      const whole_term& t = terms_[k];
      const gauge& g = problem_.gauges()[t.gauge];
      const exact_xy u = offset(t);
      const exact_xy in_force = normal_of(g, edge_in_force(g, u));
      const std::optional<exact_xy> known = slope_in(light, k);
      write(t, known ? *known : in_force, s);
      value += mpq_class(t.weight) * dot(in_force, u);
    }
    return to_nearest({value, 0}).x;
  }

  // The heavy terms of a tree, from its leaves to its root, carry what is left.
  bool balance(tied_solution& s) {
    std::vector<std::vector<std::size_t>> at(problem_.facilities());
    for (std::size_t k = 0; k < heavy_; ++k) {
      at[terms_[k].first].push_back(k);
      if (terms_[k].second != kNone) at[terms_[k].second].push_back(k);
    }
    std::vector<bool> reached(problem_.facilities()), used(heavy_);
    std::vector<std::pair<std::uint32_t, std::size_t>> order;  // with the term towards the root
    const auto grow = [&](std::uint32_t from, std::size_t by) {
      reached[from] = true;
      order.emplace_back(from, by);
      for (std::size_t next = order.size() - 1; next < order.size(); ++next) {
        const std::uint32_t j = order[next].first;
        for (const std::size_t k : at[j]) {
          const whole_term& t = terms_[k];
          if (t.second == kNone) continue;
          const std::uint32_t other = t.first == j ? t.second : t.first;
          if (reached[other]) continue;
          reached[other] = true;
          order.emplace_back(other, k);
        }
      }
    };
    for (std::size_t k = 0; k < heavy_; ++k)
      if (terms_[k].second == kNone && !reached[terms_[k].first]) grow(terms_[k].first, k);
    for (const std::uint32_t j : part_.facilities)
      if (!reached[j]) grow(j, heavy_);
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
      const auto [j, k] = *it;
      const exact_xy left = rest_[j];
      if (k == heavy_) {
        if (sgn(left.x) != 0 || sgn(left.y) != 0) return false;
        continue;
      }
      const mpq_class w = (terms_[k].first == j ? -1 : 1) * mpq_class(terms_[k].weight);
      if (!carry(terms_[k], {left.x / w, left.y / w}, s)) return false;
      used[k] = true;
    }
    for (std::size_t k = 0; k < heavy_; ++k)
      if (!used[k]) write(terms_[k], {0, 0}, s);
    return true;
  }

  bool carry(const whole_term& t, const exact_xy& slope, tied_solution& s) {
    for (const xy& v : problem_.gauges()[t.gauge].vertices())
      if (slope.x * v.x + slope.y * v.y > 1) return false;
    write(t, slope, s);
    return true;
  }

  // What stands for a light term in the light problem.
  struct image {
    std::uint32_t site, tie;
    bool back;  // the other way
  };

  const tied_problem& problem_;
  const tied_part& part_;
  std::vector<whole_term> terms_;  // those that grow fastest first
  std::size_t heavy_ = 0;
  std::vector<std::uint32_t> root_, site_;  // by facility; of a root: the site that holds it
  std::vector<std::uint32_t> number_;       // of a root without a site, in the light problem
  std::vector<image> image_;
  std::vector<gauge> gauges_;         // of the light problem: the same, and reflected
  std::vector<std::uint32_t> owner_;  // of each site of the light problem
  std::vector<exact_xy> places_, rest_;
};

}  // namespace

std::optional<double> solve_light_terms(const tied_problem& p, const tied_part& part,
                                        const tied_options& options, tied_solution& s) {
  return light_terms(p, part).solve(options, s);
}

}  // namespace planloc::detail
