#include "planloc/foundation/geometry/flat_crossings.h"

#include <algorithm>
#include <limits>

#include "planloc/foundation/geometry/collinear_chains.h"
#include "planloc/foundation/geometry/crossing_search.h"

namespace planloc::detail {
namespace {

xy without_negative_zero(const xy& p) { return {p.x + 0.0, p.y + 0.0}; }

void sort_and_unite(std::vector<xy>& points) {
  std::sort(points.begin(), points.end(), lexicographic);
  points.erase(std::unique(points.begin(), points.end()), points.end());
}

// Distinct points; repetitions go whenever the array would have to grow, so that points where many
// segments meet take little room.
class point_set : public crossing_receiver {
 public:
  void receive(std::span<const crossing> batch) override {
    for (const crossing& c : batch) add(c.p);
  }

  void add(const xy& p) {
    if (points_.size() == limit_) {
      sort_and_unite(points_);
      limit_ = std::max(limit_, 2 * points_.size());
    }
    points_.push_back(without_negative_zero(p));
  }

  std::vector<xy> take() {
    sort_and_unite(points_);
    return std::move(points_);
  }

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

// Along a chain from its lower to its higher end: x, then y as the chain rises or falls. Rounding
// is monotone, so that rounded points keep the order of the exact ones.
struct chain_order {
  bool falls;

  bool operator()(const xy& p, const xy& q) const {
    if (p.x != q.x) return p.x < q.x;
    return falls ? q.y < p.y : p.y < q.y;
  }
};

class arrangement_builder {
 public:
  explicit arrangement_builder(std::span<const xy_segment> segments)
      : segments_(segments), merged_(merge_collinear(segments)) {
    search_crossings(merged_.chains, store_);
  }

  flat_arrangement build() {
    number_nodes();
    collect_stops();
    result_.start.assign(segments_.size() + 1, 0);
    std::vector<std::size_t> first(segments_.size());
    for (std::size_t c = 0; c < merged_.chains.size(); ++c) measure_members(c, first);
    for (std::size_t i = 0; i < segments_.size(); ++i) result_.start[i + 1] += result_.start[i];
    result_.path.resize(result_.start.back());
    for (std::size_t c = 0; c < merged_.chains.size(); ++c) write_members(c, first);
    return std::move(result_);
  }

 private:
  std::uint32_t node_at(const xy& p) const {
    return static_cast<std::uint32_t>(
        std::lower_bound(result_.nodes.begin(), result_.nodes.end(), p, lexicographic) -
        result_.nodes.begin());
  }

  void number_nodes() {
    std::vector<xy>& nodes = result_.nodes;
    nodes.reserve(store_.all.size() + 2 * merged_.members.size());
    for (const std::size_t i : merged_.members) {
      nodes.push_back(without_negative_zero(segments_[i].a));
      nodes.push_back(without_negative_zero(segments_[i].b));
    }
    for (const crossing& c : store_.all) nodes.push_back(c.p);
    sort_and_unite(nodes);
  }

  // The nodes on each chain, in its order.
  void collect_stops() {
    stop_start_.assign(merged_.chains.size() + 1, 0);
    for (std::size_t c = 0; c < merged_.chains.size(); ++c) {
      const chain& k = merged_.chains[c];
      stop_start_[c + 1] = 2 * (k.end_member - k.first_member);
    }
    for (const crossing& c : store_.all) {
      ++stop_start_[c.first + 1];
      ++stop_start_[c.second + 1];
    }
    for (std::size_t c = 0; c < merged_.chains.size(); ++c) stop_start_[c + 1] += stop_start_[c];
    stops_.resize(stop_start_.back());
    stop_end_.assign(stop_start_.begin(), stop_start_.end() - 1);
    for (std::size_t c = 0; c < merged_.chains.size(); ++c) {
      const chain& k = merged_.chains[c];
      for (std::size_t m = k.first_member; m < k.end_member; ++m) {
        stops_[stop_end_[c]++] = node_at(segments_[merged_.members[m]].a);
        stops_[stop_end_[c]++] = node_at(segments_[merged_.members[m]].b);
      }
    }
    for (const crossing& c : store_.all) {
      const std::uint32_t node = node_at(c.p);
      stops_[stop_end_[c.first]++] = node;
      stops_[stop_end_[c.second]++] = node;
    }
    for (std::size_t c = 0; c < merged_.chains.size(); ++c) {
      const auto begin = stops_.begin() + stop_start_[c];
      const auto end = stops_.begin() + stop_end_[c];
      std::sort(begin, end, [this, before = order_of(c)](std::uint32_t v, std::uint32_t w) {
        return before(result_.nodes[v], result_.nodes[w]);
      });
      stop_end_[c] = std::unique(begin, end) - stops_.begin();
    }
  }

  chain_order order_of(std::size_t c) const {
    const xy_segment& hull = merged_.chains[c].hull;
    return {hull.b.y < hull.a.y};
  }

  std::size_t stop_at(std::size_t c, const xy& p) const {
    const auto begin = stops_.begin() + stop_start_[c];
    const auto end = stops_.begin() + stop_end_[c];
    return std::lower_bound(begin, end, p,
                            [this, before = order_of(c)](std::uint32_t v, const xy& q) {
                              return before(result_.nodes[v], q);
                            }) -
           stops_.begin();
  }

  void measure_members(std::size_t c, std::vector<std::size_t>& first) {
    const chain& k = merged_.chains[c];
    for (std::size_t m = k.first_member; m < k.end_member; ++m) {
      const std::size_t i = merged_.members[m];
      const std::size_t from = stop_at(c, segments_[i].a);
      const std::size_t to = stop_at(c, segments_[i].b);
      first[i] = from;
      result_.start[i + 1] = (from < to ? to - from : from - to) + 1;
    }
  }

  void write_members(std::size_t c, const std::vector<std::size_t>& first) {
    const chain& k = merged_.chains[c];
    for (std::size_t m = k.first_member; m < k.end_member; ++m) {
      const std::size_t i = merged_.members[m];
      const bool backwards = lexicographic(segments_[i].b, segments_[i].a);
      std::size_t stop = first[i];
      for (std::size_t n = result_.start[i]; n < result_.start[i + 1]; ++n) {
        result_.path[n] = stops_[stop];
        backwards ? --stop : ++stop;
      }
    }
  }

  std::span<const xy_segment> segments_;
  chain_set merged_;
  crossing_store store_;
  flat_arrangement result_;
  std::vector<std::uint32_t> stops_;
  std::vector<std::size_t> stop_start_;
  std::vector<std::size_t> stop_end_;
};

}  // namespace

std::vector<xy> find_crossings(std::span<const xy_segment> segments) {
  const chain_set merged = merge_collinear(segments);
  point_set points;
  for (const xy& p : merged.contacts) points.add(p);
  search_crossings(merged.chains, points);
  return points.take();
}

flat_arrangement cut_segments(std::span<const xy_segment> segments) {
  return arrangement_builder(segments).build();
}

}  // namespace planloc::detail
