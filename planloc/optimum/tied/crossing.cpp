#include "planloc/optimum/tied/crossing.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "planloc/optimum/exact/exact_place.h"
#include "planloc/optimum/tied/common_normals.h"
#include "planloc/optimum/tied/exact_equations.h"
#include "planloc/optimum/tied/grid.h"

namespace planloc::detail {

namespace {

constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

// An equation line . (offset of the term) = 0, and at once a direction of the term's slope.
struct break_line {
  std::uint32_t bent;  // which of the bent terms
  xy line;
};

class crossing {
 public:
  crossing(const tied_problem& p, const tied_part& part, const part_terms& terms,
           std::span<const xy> places, std::vector<bent_term> bent)
      : problem_(p), part_(part), terms_(terms), start_(places), bent_(std::move(bent)) {
    std::sort(bent_.begin(), bent_.end(),
              [](const bent_term& a, const bent_term& b) { return a.room > b.room; });
    normals_.resize(terms.normals.size());
  }

  std::optional<double> solve(tied_solution& s) {
    choose_lines();
    if (!find_place() || !find_edges() || !balance() || !inside_polars()) return std::nullopt;
    write(s);
    const double value = terms_.value(problem_, rounded_);
    return terms_.tells(value) ? value : exact_value();
  }

 private:
  std::span<const xy> vertices_of(const part_term& t) const {
    return problem_.gauges()[t.gauge].vertices();
  }

  const exact_xy& normal(std::uint32_t gauge, std::uint32_t edge) {
    std::optional<exact_xy>& n = normals_[terms_.first_edge[gauge] + edge];
    if (!n) {
      const std::span<const xy> v = problem_.gauges()[gauge].vertices();
      const exact_xy a = to_exact(v[edge]);
      const exact_xy b = to_exact(v[(edge + 1) % v.size()]);
      const mpq_class area = cross(a, b);
      n = exact_xy{(b.y - a.y) / area, (a.x - b.x) / area};
    }
    return *n;
  }

  exact_xy offset(const part_term& t) const {
    if (t.second != kNoFacility) {
      return {places_[t.first].x - places_[t.second].x, places_[t.first].y - places_[t.second].y};
    }
    const tied_site& s = problem_.sites()[t.source];
    return {places_[t.first].x - s.x, places_[t.first].y - s.y};
  }

  double weight(const part_term& t) const {
    return t.second == kNoFacility ? problem_.weight(part_.facilities[t.first], t.source)
                                   : problem_.ties()[t.source].weight;
  }

  // ----- Place -----

  // Independent lines, those with the most room first.
  void choose_lines() {
    const std::size_t size = 2 * terms_.facilities;
    std::vector<std::vector<double>> chosen;
    const auto add = [&](std::uint32_t k, const xy& line) {
      if (chosen.size() == size) return;
      const part_term& t = terms_.terms[bent_[k].term];
      std::vector<double> row(size, 0);
      row[2 * t.first] = line.x;
      row[2 * t.first + 1] = line.y;
      if (t.second != kNoFacility) {
        row[2 * t.second] = -line.x;
        row[2 * t.second + 1] = -line.y;
      }
      const double before = make_independent(row, chosen);
      if (before < 1e-7) return;
      chosen.push_back(std::move(row));
      lines_.push_back({k, line});
    };
    for (std::uint32_t k = 0; k < bent_.size(); ++k) {
      if (bent_[k].at_origin) {
        add(k, {1, 0});
        add(k, {0, 1});
      } else {
        const auto v = vertices_of(terms_.terms[bent_[k].term]);
        const xy& ray = v[(bent_[k].edge + 1) % v.size()];
        add(k, {-ray.y, ray.x});
      }
    }
  }

  // Takes off a row's parts along the others, which have length 1, and brings it to length 1.
  // Returns the share of its length that was left.
  static double make_independent(std::vector<double>& row,
                                 const std::vector<std::vector<double>>& others) {
    const auto length = [&] {
      double sum = 0;
      for (const double r : row) sum += r * r;
      return std::sqrt(sum);
    };
    const double whole = length();
    for (const std::vector<double>& o : others) {
      double along = 0;
      for (std::size_t c = 0; c < row.size(); ++c) along += row[c] * o[c];
      if (along == 0) continue;
      for (std::size_t c = 0; c < row.size(); ++c) row[c] -= along * o[c];
    }
    const double left = length();
    if (left > 0)
      for (double& r : row) r /= left;
    return left / whole;
  }

  bool find_place() {
    std::vector<exact_equation<mpq_class>> equations;
    for (const break_line& l : lines_) {
      const part_term& t = terms_.terms[bent_[l.bent].term];
      exact_equation<mpq_class> e;
      const auto add = [&](std::uint32_t facility, int sign) {
        if (l.line.x != 0) e.terms.emplace_back(2 * facility, sign * mpq_class(l.line.x));
        if (l.line.y != 0) e.terms.emplace_back(2 * facility + 1, sign * mpq_class(l.line.y));
      };
      add(t.first, 1);
      if (t.second != kNoFacility) {
        add(t.second, -1);
        std::sort(e.terms.begin(), e.terms.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
      } else {
        const tied_site& s = problem_.sites()[t.source];
        e.right = mpq_class(l.line.x) * s.x + mpq_class(l.line.y) * s.y;
      }
      equations.push_back(std::move(e));
    }
    std::vector<mpq_class> values;
    for (const xy& at : start_) {
      values.emplace_back(at.x * terms_.scale + terms_.base.x);
      values.emplace_back(at.y * terms_.scale + terms_.base.y);
    }
    auto solved = solve_exactly(std::move(equations), std::move(values));
    if (!solved) return false;
    for (std::size_t j = 0; j < terms_.facilities; ++j) {
      places_.push_back({std::move((*solved)[2 * j]), std::move((*solved)[2 * j + 1])});
      rounded_.push_back({mpq_class((places_[j].x - terms_.base.x) / terms_.scale).get_d(),
                          mpq_class((places_[j].y - terms_.base.y) / terms_.scale).get_d()});
    }
    return true;
  }

  // ----- Edges in force -----

  // The edge of each term whose slope is that edge's normal; bent terms that the place does not
  // bear out are among them.
  bool find_edges() {
    std::vector<bent_term> borne_out;
    std::vector<std::uint32_t> number(bent_.size(), kNone);
    edge_.assign(terms_.terms.size(), kNone);
    std::vector<bool> is_bent(terms_.terms.size());
    for (std::uint32_t k = 0; k < bent_.size(); ++k) {
      if (!bears_out(bent_[k])) continue;
      number[k] = static_cast<std::uint32_t>(borne_out.size());
      is_bent[bent_[k].term] = true;
      borne_out.push_back(bent_[k]);
    }
    for (break_line& l : lines_) {
      if (number[l.bent] == kNone) return false;
      l.bent = number[l.bent];
    }
    bent_ = std::move(borne_out);
    for (std::uint32_t k = 0; k < edge_.size(); ++k)
      if (!is_bent[k]) edge_[k] = edge_in_force(terms_.terms[k]);
    return true;
  }

  bool bears_out(const bent_term& b) const {
    const part_term& t = terms_.terms[b.term];
    const exact_xy u = offset(t);
    if (b.at_origin) return sgn(u.x) == 0 && sgn(u.y) == 0;
    const auto v = vertices_of(t);
    const exact_xy ray = to_exact(v[(b.edge + 1) % v.size()]);
    return sgn(cross(ray, u)) == 0 && sgn(dot(ray, u)) >= 0;
  }

  std::uint32_t edge_in_force(const part_term& t) {
    const xy u = terms_.offset(t, rounded_);
    const std::span<const xy> normals = terms_.normals_of(t.gauge);
    std::uint32_t best = 0;
    double most = -std::numeric_limits<double>::infinity();
    double second = most;
    double steepest = 0;
    for (std::uint32_t e = 0; e < normals.size(); ++e) {
      const double d = normals[e].x * u.x + normals[e].y * u.y;
      steepest = std::max(steepest, std::fabs(normals[e].x) + std::fabs(normals[e].y));
      if (d > most) {
        second = most;
        most = d;
        best = e;
      } else {
        second = std::max(second, d);
      }
    }
    // Places and positions are at most about 1, each with a rounding or two of the difference and
    // of the normals.
    if (most - second > 0x1p-48 * steepest * (2 + std::fabs(u.x) + std::fabs(u.y))) return best;
    const exact_xy exact = offset(t);
    best = 0;
    mpq_class exact_most = dot(normal(t.gauge, 0), exact);
    for (std::uint32_t e = 1; e < normals.size(); ++e) {
      mpq_class d = dot(normal(t.gauge, e), exact);
      if (d > exact_most) {
        exact_most = std::move(d);
        best = e;
      }
    }
    return best;
  }

  // ----- Slopes -----

  // Numbers here are numerators over the denominator that all normals have in common.
  // Changes the slopes of the chosen bent terms so that all slopes cancel.
  bool balance() {
    find_numerators();
    line_of_.assign(bent_.size(), {kNone, kNone});
    for (std::uint32_t c = 0; c < lines_.size(); ++c) {
      if (lines_[c].line.x != 0) line_of_[lines_[c].bent].x = c;
      if (lines_[c].line.y != 0) line_of_[lines_[c].bent].y = c;
    }
    std::vector<dyadic> rest = straight_sites();
    const auto add = [&](const part_term& t, const dyadic_xy& slope) {
      const dyadic x = t.weight * slope.x;
      const dyadic y = t.weight * slope.y;
      rest[2 * t.first] = rest[2 * t.first] + x;
      rest[2 * t.first + 1] = rest[2 * t.first + 1] + y;
      if (t.second == kNoFacility) return;
      rest[2 * t.second] = rest[2 * t.second] - x;
      rest[2 * t.second + 1] = rest[2 * t.second + 1] - y;
    };
    for (std::size_t k = 0; k < edge_.size(); ++k) {
      const part_term& t = terms_.terms[k];
      if (t.second != kNoFacility && edge_[k] != kNone) add(t, numerator(t.gauge, edge_[k]));
    }
    std::vector<dyadic_xy> slopes;
    for (std::uint32_t k = 0; k < bent_.size(); ++k) {
      slopes.push_back(first_slope(k));
      add(terms_.terms[bent_[k].term], slopes[k]);
    }
    return absorb(rest, slopes);
  }

  std::size_t row_of(std::uint32_t gauge, std::uint32_t edge) const {
    return terms_.first_edge[gauge] + edge;
  }
  const dyadic_xy& numerator(std::uint32_t gauge, std::uint32_t edge) const {
    return numerators_.normals[row_of(gauge, edge)];
  }
  std::uint32_t next_edge(const bent_term& b) const {
    return (b.edge + 1) % static_cast<std::uint32_t>(vertices_of(terms_.terms[b.term]).size());
  }

  // The normals of the edges in force or next to a ray.
  void find_numerators() {
    std::vector<bool> counts(terms_.normals.size());
    for (std::size_t k = 0; k < edge_.size(); ++k)
      if (edge_[k] != kNone) counts[row_of(terms_.terms[k].gauge, edge_[k])] = true;
    for (const bent_term& b : bent_) {
      if (b.at_origin) continue;
      const std::uint32_t gauge = terms_.terms[b.term].gauge;
      counts[row_of(gauge, b.edge)] = counts[row_of(gauge, next_edge(b))] = true;
    }
    numerators_ = common_normals(problem_.gauges(), counts);
  }

  // To begin with, of the lines' own share nothing.
  dyadic_xy first_slope(std::uint32_t k) const {
    const bent_term& b = bent_[k];
    if (b.at_origin) {
      return {line_of_[k].x == kNone ? b.slope.x * numerators_.denominator : dyadic(0),
              line_of_[k].y == kNone ? b.slope.y * numerators_.denominator : dyadic(0)};
    }
    const std::uint32_t gauge = terms_.terms[b.term].gauge;
    const dyadic_xy& from = numerator(gauge, b.edge);
    if (line_of_[k].x != kNone || line_of_[k].y != kNone) return from;
    const dyadic_xy& to = numerator(gauge, next_edge(b));
    return {from.x + b.share * (to.x - from.x), from.y + b.share * (to.y - from.y)};
  }

  exact_xy unchanged_slope(const bent_term& b) {
    if (b.at_origin) return to_exact(b.slope);
    const std::uint32_t gauge = terms_.terms[b.term].gauge;
    const exact_xy& from = normal(gauge, b.edge);
    const exact_xy& to = normal(gauge, next_edge(b));
    return {from.x + b.share * (to.x - from.x), from.y + b.share * (to.y - from.y)};
  }

  // The sums of the weights of each edge for each facility's sites, in units of 2^unit.
  template <class Number>
  std::vector<mpz_class> weights_by_edge(int unit) const {
    const std::size_t edges = terms_.normals.size();
    std::vector<Number> sums(terms_.facilities * edges, Number(0));
    for (std::size_t k = 0; k < edge_.size(); ++k) {
      const part_term& t = terms_.terms[k];
      if (t.second != kNoFacility || edge_[k] == kNone) continue;
      sums[t.first * edges + row_of(t.gauge, edge_[k])] += in_units<Number>(t.weight, unit);
    }
    std::vector<mpz_class> result;
    for (const Number& n : sums) result.push_back(to_mpz(n));
    return result;
  }

  // Of the sites whose terms are not bent: the slope of each facility.
  std::vector<dyadic> straight_sites() const {
    grid units;
    for (const part_term& t : terms_.terms) units.add(t.weight);
    const std::vector<mpz_class> weights = units.fits_wide()
                                               ? weights_by_edge<wide>(units.unit())
                                               : weights_by_edge<mpz_class>(units.unit());
    const dyadic unit = std::ldexp(1, units.unit());
    std::vector<dyadic> sums(2 * terms_.facilities);
    const std::size_t edges = terms_.normals.size();
    for (std::size_t k = 0; k < weights.size(); ++k) {
      if (sgn(weights[k]) == 0) continue;
      const dyadic weight = dyadic(weights[k]) * unit;
      const std::size_t j = k / edges;
      sums[2 * j] = sums[2 * j] + weight * numerators_.normals[k % edges].x;
      sums[2 * j + 1] = sums[2 * j + 1] + weight * numerators_.normals[k % edges].y;
    }
    return sums;
  }

  bool absorb(const std::vector<dyadic>& rest, const std::vector<dyadic_xy>& slopes) {
    std::vector<exact_equation<long_fraction>> equations(rest.size());
    for (std::size_t c = 0; c < lines_.size(); ++c) {
      const part_term& t = terms_.terms[bent_[lines_[c].bent].term];
      const xy& q = lines_[c].line;
      const auto add = [&](std::uint32_t facility, int sign) {
        if (q.x != 0) equations[2 * facility].terms.emplace_back(c, sign * mpq_class(q.x));
        if (q.y != 0) equations[2 * facility + 1].terms.emplace_back(c, sign * mpq_class(q.y));
      };
      add(t.first, 1);
      if (t.second != kNoFacility) add(t.second, -1);
    }
    for (std::size_t r = 0; r < rest.size(); ++r)
      equations[r].right.numerator = dyadic(0) - rest[r];
    const auto change =
        solve_exactly(std::move(equations), std::vector<long_fraction>(lines_.size()));
    if (!change) return false;
    for (std::uint32_t k = 0; k < bent_.size(); ++k) {
      if (line_of_[k].x == kNone && line_of_[k].y == kNone) {
        slopes_.push_back(unchanged_slope(bent_[k]));
        continue;
      }
      const dyadic w = terms_.terms[bent_[k].term].weight;
      const auto changed = [&](const dyadic& from, std::uint32_t c, double xy::*along) {
        if (c == kNone) return quotient(from, numerators_.denominator);
        const dyadic whole = w * dyadic((*change)[c].denominator);
        return long_quotient(from * whole + (*change)[c].numerator * (lines_[c].line.*along),
                             numerators_.denominator * whole);
      };
      slopes_.push_back({changed(slopes[k].x, line_of_[k].x, &xy::x),
                         changed(slopes[k].y, line_of_[k].y, &xy::y)});
    }
    return true;
  }

  bool inside_polars() const {
    for (std::size_t k = 0; k < bent_.size(); ++k) {
      const xy rounded = to_nearest(slopes_[k]);
      for (const xy& v : vertices_of(terms_.terms[bent_[k].term])) {
        const double size = std::fabs(rounded.x * v.x) + std::fabs(rounded.y * v.y);
        if (rounded.x * v.x + rounded.y * v.y < 1 - 0x1p-48 * (1 + size)) continue;
        if (slopes_[k].x * v.x + slopes_[k].y * v.y > 1) return false;
      }
    }
    return true;
  }

  // ----- Answer -----

  void write(tied_solution& s) {
    for (std::size_t j = 0; j < places_.size(); ++j)
      set_place(s, part_.facilities[j], places_[j].x, places_[j].y);
    const std::size_t n = problem_.sites().size();
    for (std::size_t k = 0; k < edge_.size(); ++k) {
      if (edge_[k] == kNone) continue;
      const part_term& t = terms_.terms[k];
      if (t.second == kNoFacility) {
        s.proof.edge[part_.facilities[t.first] * n + t.source] = edge_[k];
      } else {
        const exact_xy& slope = normal(t.gauge, edge_[k]);
        s.proof.ties[t.source] = detail::slope_of(slope.x, slope.y);
      }
    }
    for (std::size_t k = 0; k < bent_.size(); ++k) {
      const part_term& t = terms_.terms[bent_[k].term];
      const tied_certificate::slope slope = detail::slope_of(slopes_[k].x, slopes_[k].y);
      if (t.second == kNoFacility) {
        s.proof.bends.push_back({part_.facilities[t.first], t.source, slope});
      } else {
        s.proof.ties[t.source] = slope;
      }
    }
  }

  // In the units of the terms.
  double exact_value() {
    mpq_class sum;
    const auto add = [&](const part_term& t, const exact_xy& slope) {
      sum += mpq_class(weight(t)) * dot(slope, offset(t));
    };
    for (std::size_t k = 0; k < edge_.size(); ++k)
      if (edge_[k] != kNone) add(terms_.terms[k], normal(terms_.terms[k].gauge, edge_[k]));
    for (std::size_t k = 0; k < bent_.size(); ++k) add(terms_.terms[bent_[k].term], slopes_[k]);
    sum /= mpq_class(terms_.scale) * terms_.weight_scale;
    return to_nearest({sum, 0}).x;
  }

  const tied_problem& problem_;
  const tied_part& part_;
  const part_terms& terms_;
  std::span<const xy> start_;
  std::vector<bent_term> bent_;
  std::vector<break_line> lines_;
  std::vector<exact_xy> places_;
  std::vector<xy> rounded_;          // in the units of the terms
  std::vector<std::uint32_t> edge_;  // of each term that is not bent
  std::vector<exact_xy> slopes_;     // of each bent term
  std::vector<std::optional<exact_xy>> normals_;
  common_normals numerators_;
  std::vector<exact_pair<std::uint32_t>> line_of_;  // of each bent term: which changes a coordinate
};

}  // namespace

std::optional<double> solve_crossing(const tied_problem& p, const tied_part& part,
                                     const part_terms& terms, std::span<const xy> places,
                                     std::vector<bent_term> bent, tied_solution& s) {
  return crossing(p, part, terms, places, std::move(bent)).solve(s);
}

}  // namespace planloc::detail
