#include "planloc/optimum/tied/near_terms.h"

#include <algorithm>
#include <cmath>

namespace planloc::detail {

namespace {

// Calls `keep` with each edge that can be in force where an offset is nowhere `reach` away from u
// in a coordinate. Returns the edge in force at u.
template <class Normal, class Keep>
std::uint32_t edges_near(std::uint32_t count, const Normal& normal, const xy& u, double reach,
                         const Keep& keep) {
  std::uint32_t top = 0;
  double most = dot(normal(0), u);
  for (std::uint32_t e = 1; e < count; ++e) {
    const double d = dot(normal(e), u);
    if (d <= most) continue;
    most = d;
    top = e;
  }
  const xy& n = normal(top);
  for (std::uint32_t e = 0; e < count; ++e) {
    const xy change{normal(e).x - n.x, normal(e).y - n.y};
    if (dot(change, u) + reach * (std::fabs(change.x) + std::fabs(change.y)) >= 0) keep(e);
  }
  return top;
}

double reach_of(const part_term& t, double radius) {
  return t.second == kNoFacility ? radius : 2 * radius;
}

}  // namespace

near_terms::near_terms(const part_terms& all) : near_terms(all.facilities) {
  for (std::uint32_t k = 0; k < all.terms.size(); ++k) {
    const part_term& t = all.terms[k];
    const auto normals = all.normals_of(t.gauge);
    const auto count = static_cast<std::uint32_t>(normals.size());
    terms.push_back({t, k, static_cast<std::uint32_t>(edges.size()), count});
    for (std::uint32_t e = 0; e < count; ++e) edges.push_back({normals[e], e});
    weight += t.weight;
  }
  order();
}

near_terms::near_terms(const part_terms& all, std::span<const xy> places, double radius)
    : near_terms(all.facilities) {
  for (std::uint32_t k = 0; k < all.terms.size(); ++k) {
    const part_term& t = all.terms[k];
    const auto normals = all.normals_of(t.gauge);
    const auto first = static_cast<std::uint32_t>(edges.size());
    const std::uint32_t top = edges_near(
        static_cast<std::uint32_t>(normals.size()),
        [&](std::uint32_t e) -> const xy& { return normals[e]; }, part_terms::offset(t, places),
        reach_of(t, radius),
        [&](std::uint32_t e) {
          edges.push_back({normals[e], e});
        });
    weight += t.weight;
    const auto count = static_cast<std::uint32_t>(edges.size()) - first;
    if (count > 1) {
      terms.push_back({t, k, first, count});
    } else {
      edges.resize(first);
      add_straight(t, normals[top]);
    }
  }
  order();
}

near_terms near_terms::narrowed(std::span<const xy> places, double radius,
                                std::vector<std::uint32_t>& kept) const {
  near_terms result(facilities);
  result.weight = weight;
  result.slopes = slopes;
  result.level = level;
  std::vector<std::uint32_t> from;
  for (const near_term& t : terms) {
    const auto own = edges_of(t);
    const std::size_t first = from.size();
    const std::uint32_t top = edges_near(
        t.edge_count, [&](std::uint32_t e) -> const xy& { return own[e].normal; },
        part_terms::offset(t.term, places), reach_of(t.term, radius),
        [&](std::uint32_t e) { from.push_back(t.first_edge + e); });
    const auto count = static_cast<std::uint32_t>(from.size() - first);
    if (count > 1) {
      result.terms.push_back({t.term, t.index, static_cast<std::uint32_t>(first), count});
    } else {
      from.resize(first);
      result.add_straight(t.term, own[top].normal);
    }
  }
  for (const std::uint32_t e : from) result.edges.push_back(edges[e]);
  result.order();
  // `order` leaves each term's first edge as it is: the edges stand by terms in their former order.
  kept = std::move(from);
  return result;
}

void near_terms::add_straight(const part_term& t, const xy& normal) {
  add_slope(t, {t.weight * normal.x, t.weight * normal.y}, slopes);
  if (t.second == kNoFacility) level -= t.weight * dot(normal, t.at);
}

// By counting, stably.
void near_terms::order() {
  std::uint32_t most = 0;
  for (const near_term& t : terms) most = std::max(most, t.edge_count);
  const auto key = [&](const near_term& t) {
    const std::size_t group = t.term.second == kNoFacility ? t.term.first : facilities;
    return group * (most + 1) + t.edge_count;
  };
  std::vector<std::uint32_t> end((facilities + 1) * (most + 1) + 1, 0);
  for (const near_term& t : terms) ++end[key(t) + 1];
  for (std::size_t k = 1; k < end.size(); ++k) end[k] += end[k - 1];
  std::vector<near_term> ordered(terms.size());
  for (const near_term& t : terms) ordered[end[key(t)]++] = t;
  terms = std::move(ordered);
}

}  // namespace planloc::detail
