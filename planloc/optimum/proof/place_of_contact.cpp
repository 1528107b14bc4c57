#include "planloc/optimum/proof/place_of_contact.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <unordered_set>
#include <utility>

namespace planloc::detail {

namespace {

constexpr std::size_t kFewEdges = 256;

}  // namespace

place_of_contact::place_of_contact(const problem& p, const fraction_pair& at)
    : problem_(p),
      at_(at),
      rounded_{at.x.get_d(), at.y.get_d()},
      rest_{enclosed(at.x - rounded_.x), enclosed(at.y - rounded_.y)},
      lambda_(listed_weights(p)) {}

bool place_of_contact::touched_by(const affine_piece& piece) const {
  std::vector<std::uint32_t> edge = piece.edge;
  for (std::size_t i = 0; i < edge.size(); ++i) {
    if (in_cone(i, edge[i])) continue;
    edge[i] = edge_in_force(i);
    // Edges in one line have one distance.
    if (lambda(piece, i) != 0 && exact_distance(i, piece.edge[i]) < exact_distance(i, edge[i]))
      return false;
  }
  return problem_.runs().size() == 1 || in_order(piece.rank, edge);
}

// By halves of the vertices in the order of their angles from the first one, in doubles; all edges
// where these are wrong.
std::uint32_t place_of_contact::edge_in_force(std::size_t i) const {
  const std::span<const xy> v = gauge_of(i).vertices();
  const interval_pair near = offset(i);
  const xy u{near.x.low, near.y.low};
  const auto cross = [](const xy& a, const xy& b) { return a.x * b.y - a.y * b.x; };
  const auto in_first_half = [&](const xy& a) { return cross(v[0], a) >= 0; };
  const bool first = in_first_half(u);
  const auto not_beyond = [&](const xy& a) {
    return in_first_half(a) == first ? cross(a, u) >= 0 : !first;
  };
  const auto next = std::partition_point(v.begin() + 1, v.end(), not_beyond);
  const auto found = static_cast<std::uint32_t>(next - v.begin() - 1);
  if (in_cone(i, found)) return found;
  std::uint32_t edge = 0;
  while (!in_cone(i, edge)) ++edge;
  return edge;
}

// The rounded place less the site loses little, however far from the origin both are.
interval_pair place_of_contact::offset(std::size_t i) const {
  const site& s = problem_.sites()[i];
  return {interval(rounded_.x) - interval(s.x) + rest_.x,
          interval(rounded_.y) - interval(s.y) + rest_.y};
}

fraction_pair place_of_contact::exact_offset(std::size_t i) const {
  const site& s = problem_.sites()[i];
  return {at_.x - s.x, at_.y - s.y};
}

bool place_of_contact::in_cone(std::size_t i, std::uint32_t edge) const {
  return detail::in_cone(gauge_of(i), edge, offset(i), [&] { return exact_offset(i); });
}

interval place_of_contact::distance(std::size_t i, std::uint32_t edge) const {
  return interval(problem_.sites()[i].weight) * dot(edge_normal(gauge_of(i), edge), offset(i));
}

mpq_class place_of_contact::exact_distance(std::size_t i, std::uint32_t edge) const {
  const fraction_pair n = exact_edge_normal(gauge_of(i), edge);
  const fraction_pair u = exact_offset(i);
  return problem_.sites()[i].weight * mpq_class(n.x * u.x + n.y * u.y);
}

// Sites of one order weight may stand in any order among themselves.
bool place_of_contact::in_order(std::span<const std::uint32_t> rank,
                                std::span<const std::uint32_t> edge) const {
  const std::span<const order_run> runs = problem_.runs();
  std::vector<std::uint32_t> order(rank.size());
  for (std::uint32_t i = 0; i < order.size(); ++i) order[rank[i]] = i;
  const std::span<const std::uint32_t> all(order);
  std::size_t begin = 0;
  for (std::size_t r = 0; r + 1 < runs.size(); ++r) {
    const std::size_t end = begin + runs[r].count;
    if (!no_farther(all.subspan(begin, runs[r].count), all.subspan(end, runs[r + 1].count), edge))
      return false;
    begin = end;
  }
  return true;
}

bool place_of_contact::no_farther(std::span<const std::uint32_t> near,
                                  std::span<const std::uint32_t> far,
                                  std::span<const std::uint32_t> edge) const {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  double most = -kInfinity;
  double least = kInfinity;
  for (const std::uint32_t i : near) most = std::max(most, distance(i, edge[i]).high);
  for (const std::uint32_t i : far) least = std::min(least, distance(i, edge[i]).low);
  if (most <= least) return true;
  std::optional<mpq_class> farthest;
  for (const std::uint32_t i : near) {
    if (!(distance(i, edge[i]).high > least)) continue;
    mpq_class d = exact_distance(i, edge[i]);
    if (!farthest || d > *farthest) farthest = std::move(d);
  }
  return std::all_of(far.begin(), far.end(), [&](std::uint32_t i) {
    return distance(i, edge[i]).low >= most || exact_distance(i, edge[i]) >= *farthest;
  });
}

bool place_of_contact::has_few_edges(const affine_piece& piece) const {
  std::unordered_set<std::uint64_t> edges;
  for (std::size_t i = 0; i < piece.edge.size() && edges.size() <= kFewEdges; ++i) {
    if (lambda(piece, i) != 0)
      edges.insert(std::uint64_t{problem_.sites()[i].gauge} << 32 | piece.edge[i]);
  }
  return edges.size() <= kFewEdges;
}

interval place_of_contact::value(const affine_piece& piece) const {
  std::vector<interval> terms;
  for (std::size_t i = 0; i < piece.edge.size(); ++i) {
    if (const double l = lambda(piece, i); l != 0)
      terms.push_back(interval(l) * distance(i, piece.edge[i]));
  }
  return sum_of(terms);
}

interval_pair place_of_contact::slope(const affine_piece& piece) const {
  std::vector<interval> x;
  std::vector<interval> y;
  for (std::size_t i = 0; i < piece.edge.size(); ++i) {
    const double l = lambda(piece, i);
    if (l == 0) continue;
    const interval w = interval(l) * interval(problem_.sites()[i].weight);
    const interval_pair n = edge_normal(gauge_of(i), piece.edge[i]);
    x.push_back(w * n.x);
    y.push_back(w * n.y);
  }
  return {sum_of(x), sum_of(y)};
}

}  // namespace planloc::detail
