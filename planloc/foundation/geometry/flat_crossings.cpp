#include "planloc/foundation/geometry/flat_crossings.h"

#include <algorithm>
#include <limits>

#include "planloc/foundation/geometry/collinear_chains.h"
#include "planloc/foundation/geometry/crossing_search.h"
#include "planloc/foundation/geometry/sorted_points.h"

namespace planloc::detail {
namespace {

xy without_negative_zero(const xy& p) { return {p.x + 0.0, p.y + 0.0}; }

// Distinct points; repetitions go whenever the array would have to grow, so that points where many
// segments meet take little room.
class point_set : public crossing_receiver {
 public:
  void receive(std::span<const crossing> batch) override {
    for (const crossing& c : batch) add(c.p);
  }

  void add(const xy& p) {
    if (points_.size() == limit_) {
      points_ = take();
      limit_ = std::max(limit_, 2 * points_.size());
    }
    points_.push_back(without_negative_zero(p));
  }

  std::vector<xy> take() { return sorted_points(std::move(points_)).take(); }

 private:
  std::vector<xy> points_;
  std::size_t limit_ = std::size_t{1} << 20;
};

// Keeps which chains meet in which point.
class crossing_store : public crossing_receiver {
 public:
  void receive(std::span<const crossing> batch) override {
    for (const crossing& c : batch) {
      all.push_back({c.first, c.second, without_negative_zero(c.p)});
    }
  }

  std::vector<crossing> all;
};

std::vector<xy> ends_and_crossings(std::span<const xy_segment> segments, const chain_set& merged,
                                   const std::vector<crossing>& crossings) {
  std::vector<xy> points;
  points.reserve(crossings.size() + 2 * merged.members.size());
  for (const std::size_t i : merged.members) {
    points.push_back(without_negative_zero(segments[i].a));
    points.push_back(without_negative_zero(segments[i].b));
  }
  for (const crossing& c : crossings) points.push_back(c.p);
  return points;
}

// The nodes on each chain: all ends of its segments and all crossings, from its lower end to its
// higher one.
class stop_table {
 public:
  stop_table(std::span<const xy_segment> segments, const chain_set& merged,
             const std::vector<crossing>& crossings, const sorted_points& nodes) {
    const std::vector<chain>& chains = merged.chains;
    start_.assign(chains.size() + 1, 0);
    for (std::size_t c = 0; c < chains.size(); ++c) {
      start_[c + 1] = 2 * (chains[c].end_member - chains[c].first_member);
    }
    for (const crossing& x : crossings) {
      ++start_[x.first + 1];
      ++start_[x.second + 1];
    }
    for (std::size_t c = 0; c < chains.size(); ++c) start_[c + 1] += start_[c];
    stops_.resize(start_.back());
    end_.assign(start_.begin(), start_.end() - 1);
    for (std::size_t c = 0; c < chains.size(); ++c) {
      for (std::size_t m = chains[c].first_member; m < chains[c].end_member; ++m) {
        stops_[end_[c]++] = nodes.rank(segments[merged.members[m]].a);
        stops_[end_[c]++] = nodes.rank(segments[merged.members[m]].b);
      }
    }
    for (const crossing& x : crossings) {
      const std::uint32_t node = nodes.rank(x.p);
      stops_[end_[x.first]++] = node;
      stops_[end_[x.second]++] = node;
    }
    for (std::size_t c = 0; c < chains.size(); ++c) sort_stops(c, chains[c], nodes.points());
  }

  std::span<const std::uint32_t> of(std::size_t c) const {
    return std::span(stops_).subspan(start_[c], end_[c] - start_[c]);
  }

 private:
  // Rounding is monotone, so that rounded points keep the order of the exact ones along the chain:
  // x, then y as the chain rises or falls. Nodes are numbered by x, then y.
  void sort_stops(std::size_t c, const chain& k, const std::vector<xy>& nodes) {
    const auto at = [this](std::size_t i) {
      return stops_.begin() + static_cast<std::ptrdiff_t>(i);
    };
    std::sort(at(start_[c]), at(end_[c]));
    end_[c] = static_cast<std::size_t>(std::unique(at(start_[c]), at(end_[c])) - stops_.begin());
    if (k.hull.a.y <= k.hull.b.y) return;
    for (std::size_t first = start_[c]; first < end_[c];) {
      std::size_t last = first + 1;
      while (last < end_[c] && nodes[stops_[last]].x == nodes[stops_[first]].x) ++last;
      std::reverse(at(first), at(last));
      first = last;
    }
  }

  std::vector<std::uint32_t> stops_;
  std::vector<std::size_t> start_;
  std::vector<std::size_t> end_;
};

// Where the end p stands among the stops of a chain.
std::size_t find_stop(std::span<const std::uint32_t> stops, bool falls,
                      const std::vector<xy>& nodes, const xy& p) {
  const auto before = [&](std::uint32_t v, const xy& q) {
    if (nodes[v].x != q.x) return nodes[v].x < q.x;
    return falls ? q.y < nodes[v].y : nodes[v].y < q.y;
  };
  return static_cast<std::size_t>(std::lower_bound(stops.begin(), stops.end(), p, before) -
                                  stops.begin());
}

}  // namespace

std::vector<xy> find_crossings(std::span<const xy_segment> segments) {
  const chain_set merged = merge_collinear(segments);
  point_set points;
  for (const xy& p : merged.contacts) points.add(p);
  search_crossings(merged.chains, points);
  return points.take();
}

flat_arrangement cut_segments(std::span<const xy_segment> segments) {
  const chain_set merged = merge_collinear(segments);
  crossing_store store;
  search_crossings(merged.chains, store);
  sorted_points nodes(ends_and_crossings(segments, merged, store.all));
  const stop_table table(segments, merged, store.all, nodes);

  flat_arrangement result;
  result.start.assign(segments.size() + 1, 0);
  std::vector<std::span<const std::uint32_t>> paths(segments.size());
  for (std::size_t c = 0; c < merged.chains.size(); ++c) {
    const chain& k = merged.chains[c];
    const bool falls = k.hull.b.y < k.hull.a.y;
    for (std::size_t m = k.first_member; m < k.end_member; ++m) {
      const std::size_t i = merged.members[m];
      const std::size_t from = find_stop(table.of(c), falls, nodes.points(), segments[i].a);
      const std::size_t to = find_stop(table.of(c), falls, nodes.points(), segments[i].b);
      paths[i] =
          table.of(c).subspan(std::min(from, to), std::max(from, to) + 1 - std::min(from, to));
      result.start[i + 1] = paths[i].size();
    }
  }
  for (std::size_t i = 0; i < segments.size(); ++i) result.start[i + 1] += result.start[i];
  result.path.reserve(result.start.back());
  for (std::size_t i = 0; i < segments.size(); ++i) {
    if (lexicographic(segments[i].b, segments[i].a)) {
      result.path.insert(result.path.end(), paths[i].rbegin(), paths[i].rend());
    } else {
      result.path.insert(result.path.end(), paths[i].begin(), paths[i].end());
    }
  }
  result.nodes = nodes.take();
  return result;
}

}  // namespace planloc::detail
