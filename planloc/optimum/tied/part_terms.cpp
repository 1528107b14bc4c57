#include "planloc/optimum/tied/part_terms.h"

#include <algorithm>
#include <cmath>

namespace planloc::detail {

namespace {

double power_of_two_above(double d) { return d > 0 ? std::ldexp(1, std::ilogb(d) + 1) : 1; }

void append_normals(const gauge& g, std::vector<xy>& normals) {
  const std::span<const xy> v = g.vertices();
  for (std::size_t e = 0; e < v.size(); ++e) {
    const xy& a = v[e];
    const xy& b = v[(e + 1) % v.size()];
    const double q = a.y * b.x;
    const double area = std::fma(a.x, b.y, -q) + std::fma(-a.y, b.x, q);
    normals.push_back({(b.y - a.y) / area, (a.x - b.x) / area});
  }
}

}  // namespace

part_terms::part_terms(const tied_problem& p, const tied_part& part)
    : facilities(part.facilities.size()), base{p.sites()[0].x, p.sites()[0].y} {
  double extent = 0;
  for (const tied_site& s : p.sites())
    extent = std::max({extent, std::fabs(s.x - base.x), std::fabs(s.y - base.y)});
  scale = power_of_two_above(extent);
  double most = 0;
  std::size_t pairs = 0;
  for (const std::uint32_t j : part.facilities) {
    for (std::size_t i = 0; i < p.sites().size(); ++i) {
      most = std::max(most, p.weight(j, i));
      pairs += p.weight(j, i) > 0 ? 1 : 0;
    }
  }
  terms.reserve(pairs + part.ties.size());
  for (const std::uint32_t t : part.ties) most = std::max(most, p.ties()[t].weight);
  weight_scale = power_of_two_above(most);
  std::vector<std::uint32_t> local(p.facilities());
  for (std::uint32_t j = 0; j < facilities; ++j) {
    local[part.facilities[j]] = j;
    for (std::uint32_t i = 0; i < p.sites().size(); ++i) {
      const double w = p.weight(part.facilities[j], i);
      if (w == 0) continue;
      const tied_site& s = p.sites()[i];
      terms.push_back({j,
                       kNoFacility,
                       s.gauge,
                       i,
                       w / weight_scale,
                       {(s.x - base.x) / scale, (s.y - base.y) / scale}});
    }
  }
  for (const std::uint32_t t : part.ties) {
    const tie& b = p.ties()[t];
    terms.push_back({local[b.first], local[b.second], b.gauge, t, b.weight / weight_scale, {0, 0}});
  }
  // Terms of one facility and gauge side by side.
  const auto before = [](const part_term& a, const part_term& b) {
    const bool a_ties = a.second != kNoFacility;
    const bool b_ties = b.second != kNoFacility;
    if (a_ties != b_ties) return b_ties;
    if (!a_ties && a.first != b.first) return a.first < b.first;
    return a.gauge < b.gauge;
  };
  if (!std::is_sorted(terms.begin(), terms.end(), before))
    std::stable_sort(terms.begin(), terms.end(), before);
  for (const gauge& g : p.gauges()) {
    first_edge.push_back(static_cast<std::uint32_t>(normals.size()));
    append_normals(g, normals);
  }
  first_edge.push_back(static_cast<std::uint32_t>(normals.size()));
  for (const part_term& t : terms) {
    double steepness = 2;
    for (const xy& n : normals_of(t.gauge))
      steepness = std::max(steepness, std::fabs(n.x) + std::fabs(n.y));
    grain += 0x1p-52 * t.weight * steepness;
  }
}

std::uint32_t part_terms::edge_in_force(const part_term& t, std::span<const xy> places) const {
  const xy u = offset(t, places);
  const std::span<const xy> n = normals_of(t.gauge);
  const auto most = std::max_element(n.begin(), n.end(), [&](const xy& a, const xy& b) {
    return a.x * u.x + a.y * u.y < b.x * u.x + b.y * u.y;
  });
  return static_cast<std::uint32_t>(most - n.begin());
}

double part_terms::value(const tied_problem& p, std::span<const xy> places) const {
  long double sum = 0;
  for (const part_term& t : terms) {
    const xy u = offset(t, places);
    double d = 0;
    if (p.gauges()[t.gauge].kind() == gauge::shape::polyhedral) {
      for (const xy& n : normals_of(t.gauge)) d = std::max(d, n.x * u.x + n.y * u.y);
    } else if (p.gauges()[t.gauge].kind() == gauge::shape::euclidean) {
      d = std::sqrt(u.x * u.x + u.y * u.y);
    } else {
      d = p.gauges()[t.gauge](u);
    }
    sum += static_cast<long double>(t.weight) * d;
  }
  return static_cast<double>(sum);
}

part_terms part_terms::sample(std::size_t step) const {
  part_terms result(facilities);
  result.base = base;
  result.scale = scale;
  result.weight_scale = weight_scale;
  result.grain = grain;
  result.normals = normals;
  result.first_edge = first_edge;
  for (std::size_t begin = 0; begin < terms.size();) {
    std::size_t end = begin;
    double whole = 0;
    double taken = 0;
    const auto belongs = [&](const part_term& t) {
      return t.second == kNoFacility && t.first == terms[begin].first;
    };
    for (; end < terms.size() && belongs(terms[end]); ++end) {
      whole += terms[end].weight;
      if ((end - begin) % step == 0) taken += terms[end].weight;
    }
    for (std::size_t k = begin; k < end; k += step) {
      result.terms.push_back(terms[k]);
      result.terms.back().weight *= whole / taken;
    }
    if (end == begin) result.terms.push_back(terms[end++]);  // a tie
    begin = end;
  }
  return result;
}

std::vector<xy> part_terms::means() const {
  std::vector<xy> mean(facilities, {0, 0});
  std::vector<double> weight(facilities, 0);
  xy whole{0, 0};
  double total = 0;
  for (const part_term& t : terms) {
    if (t.second != kNoFacility) continue;
    mean[t.first].x += t.weight * t.at.x;
    mean[t.first].y += t.weight * t.at.y;
    weight[t.first] += t.weight;
    whole.x += t.weight * t.at.x;
    whole.y += t.weight * t.at.y;
    total += t.weight;
  }
  for (std::size_t j = 0; j < facilities; ++j) {
    mean[j] = weight[j] > 0 ? xy{mean[j].x / weight[j], mean[j].y / weight[j]}
                            : xy{whole.x / total, whole.y / total};
  }
  return mean;
}

}  // namespace planloc::detail
