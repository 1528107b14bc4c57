#include "planloc/optimum/tied/part_answer.h"

#include <algorithm>
#include <cmath>

#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

namespace {

// For the roundings here and of `verify`: of the value, and of a slope.
constexpr double kRoundings = 0x1p-42;
constexpr double kSlopeRoundings = 0x1p-46;
constexpr double kPositionRoundings = 0x1p-50;

// The sites' share in the bound of a facility.
struct load {
  double weight = 0;
  xy along{0, 0};    // the sum of weight times offset
  xy rest{0, 0};     // of all slopes
  double doubt = 0;  // of the rest: its roundings
  double steepest = 0;
};

// Facilities with sites first, then those that a tie joins to earlier ones.
struct hanging {
  std::vector<std::uint32_t> order;
  std::vector<const part_term*> up;  // the tie that a facility hangs on
};

hanging hang_on_sites(const part_terms& terms, const std::vector<load>& loads) {
  hanging h;
  h.up.resize(terms.facilities, nullptr);
  std::vector<bool> reached(terms.facilities);
  for (std::uint32_t j = 0; j < terms.facilities; ++j) {
    reached[j] = loads[j].weight > 0;
    if (reached[j]) h.order.push_back(j);
  }
  for (std::size_t k = 0; k < h.order.size(); ++k) {
    for (auto t = terms.terms.rbegin(); t != terms.terms.rend(); ++t) {
      if (t->second == kNoFacility) break;  // the ties stand at the end
      if (t->first != h.order[k] && t->second != h.order[k]) continue;
      const std::uint32_t other = t->first == h.order[k] ? t->second : t->first;
      if (reached[other]) continue;
      reached[other] = true;
      h.up[other] = &*t;
      h.order.push_back(other);
    }
  }
  return h;
}

}  // namespace

std::vector<double> ball_radii(const tied_problem& p) {
  std::vector<double> radius;
  for (const gauge& g : p.gauges()) {
    double most = g.kind() == gauge::shape::lp && g.p() > 2 ? 1.5 : 0;
    if (g.kind() != gauge::shape::polyhedral) most = std::max(most, 1.0);
    for (const xy& v : g.vertices()) most = std::max(most, std::hypot(v.x, v.y));
    radius.push_back(most);
  }
  return radius;
}

double proved_bound(const part_terms& terms, const std::vector<double>& radius,
                    const rounded_answer& a, double value) {
  std::vector<load> loads(terms.facilities);
  double bound = 0;
  for (std::size_t k = 0; k < terms.terms.size(); ++k) {
    const part_term& t = terms.terms[k];
    const xy u = terms.offset(t, a.places);
    const xy pull{t.weight * a.slopes[k].x, t.weight * a.slopes[k].y};
    bound += dot(pull, u) - kPositionRoundings * (std::fabs(pull.x) + std::fabs(pull.y));
    const double doubt = kSlopeRoundings * (std::fabs(pull.x) + std::fabs(pull.y));
    load& first = loads[t.first];
    first.doubt += doubt;
    first.rest = {first.rest.x + pull.x, first.rest.y + pull.y};
    if (t.second == kNoFacility) {
      first.weight += t.weight;
      first.along = {first.along.x + t.weight * u.x, first.along.y + t.weight * u.y};
      first.steepest = std::max(first.steepest, radius[t.gauge]);
    } else {
      load& second = loads[t.second];
      second.doubt += doubt;
      second.rest = {second.rest.x - pull.x, second.rest.y - pull.y};
    }
  }
  const hanging h = hang_on_sites(terms, loads);
  double excess = 0;
  for (auto j = h.order.rbegin(); j != h.order.rend(); ++j) {
    const load& l = loads[*j];
    const double size = std::hypot(l.rest.x, l.rest.y) + l.doubt;
    if (h.up[*j] == nullptr) {
      excess = std::max(excess, size / l.weight * l.steepest);
      bound -= (dot(l.rest, l.along) + l.doubt * std::hypot(l.along.x, l.along.y)) / l.weight;
      continue;
    }
    const part_term& t = *h.up[*j];
    excess = std::max(excess, size / t.weight * radius[t.gauge]);
    const xy u = terms.offset(t, a.places);
    const double along = dot(l.rest, u);
    bound += (t.first == *j ? -along : along) - l.doubt * std::hypot(u.x, u.y);
    load& other = loads[t.first == *j ? t.second : t.first];
    other.rest = {other.rest.x + l.rest.x, other.rest.y + l.rest.y};
    other.doubt += l.doubt;
  }
  return std::max(0.0, bound / (1 + excess) - kRoundings * value);
}

namespace {

exact_xy place_of(const tied_problem& p, const part_terms& terms, const rounded_answer& a,
                  std::size_t j) {
  if (a.at_site[j] != kNoFacility) {
    const tied_site& site = p.sites()[a.at_site[j]];
    return {mpq_class(site.x), mpq_class(site.y)};
  }
  return {mpq_class(terms.base.x) + mpq_class(terms.scale) * a.places[j].x,
          mpq_class(terms.base.y) + mpq_class(terms.scale) * a.places[j].y};
}

}  // namespace

double careful_value(const tied_problem& p, const part_terms& terms, const rounded_answer& a) {
  const double value = terms.value(p, a.places);
  if (terms.tells(value)) return value;
  std::vector<exact_xy> places;
  for (std::size_t j = 0; j < terms.facilities; ++j) places.push_back(place_of(p, terms, a, j));
  long double sum = 0;
  for (const part_term& t : terms.terms) {
    const exact_xy& to = places[t.first];
    const exact_xy from = t.second != kNoFacility ? places[t.second]
                                                  : exact_xy{mpq_class(p.sites()[t.source].x),
                                                             mpq_class(p.sites()[t.source].y)};
    const xy u = to_nearest({(to.x - from.x) / terms.scale, (to.y - from.y) / terms.scale});
    sum += static_cast<long double>(t.weight) * p.gauges()[t.gauge](u);
  }
  return static_cast<double>(sum);
}

void write_rounded(const tied_problem& p, const tied_part& part, const part_terms& terms,
                   const rounded_answer& a, tied_solution& s) {
  for (std::size_t j = 0; j < terms.facilities; ++j) {
    const exact_xy place = place_of(p, terms, a, j);
    set_place(s, part.facilities[j], place.x, place.y);
  }
  s.proof.bends.reserve(s.proof.bends.size() +
                        static_cast<std::size_t>(std::count(a.given.begin(), a.given.end(), true)));
  for (std::size_t k = 0; k < terms.terms.size(); ++k) {
    const part_term& t = terms.terms[k];
    if (t.second != kNoFacility) {
      s.proof.ties[t.source].rounded = a.slopes[k];
    } else if (a.given[k]) {
      s.proof.bends.push_back({part.facilities[t.first], t.source, {a.slopes[k], {}}});
    } else {
      s.proof.edge[part.facilities[t.first] * p.sites().size() + t.source] = a.edge[k];
    }
  }
}

}  // namespace planloc::detail
