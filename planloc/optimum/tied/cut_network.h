// Minimum cuts and flows in small dense networks, in any exact type of number. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_CUT_NETWORK_H_
#define PLANLOC_OPTIMUM_TIED_CUT_NETWORK_H_

#include <algorithm>
#include <cstddef>
#include <vector>

namespace planloc::detail {

// Nodes 0 ... m - 1, a source and a sink. Layered networks and blocking flows (Dinic 1970).
template <class Number>
class cut_network {
 public:
  explicit cut_network(std::size_t nodes)
      : arc(nodes * nodes, Number(0)),
        source(nodes, Number(0)),
        sink(nodes, Number(0)),
        nodes_(nodes),
        level_(nodes),
        next_(nodes) {}

  // What is left of the capacities.
  std::vector<Number> arc;  // from node to node, row by row
  std::vector<Number> source;
  std::vector<Number> sink;

  // Sends as much as can be sent, on top of what was sent before.
  void send() {
    while (find_levels()) {
      std::fill(next_.begin(), next_.end(), 0);
      for (std::size_t j = 0; j < nodes_; ++j) {
        while (source[j] > 0) {
          const Number sent = push(j, source[j]);
          if (sent == 0) break;
          source[j] -= sent;
        }
      }
    }
  }

  // After `send`: whether a node is on the source's side of a minimum cut.
  bool above(std::size_t j) const { return level_[j] != kUnreached; }

 private:
  static constexpr std::size_t kUnreached = static_cast<std::size_t>(-1);

  bool find_levels() {
    std::fill(level_.begin(), level_.end(), kUnreached);
    queue_.clear();
    bool sink_reached = false;
    const auto reach = [&](std::size_t j, std::size_t level) {
      level_[j] = level;
      queue_.push_back(j);
      if (sink[j] > 0) sink_reached = true;
    };
    for (std::size_t j = 0; j < nodes_; ++j)
      if (source[j] > 0) reach(j, 0);
    for (std::size_t k = 0; k < queue_.size(); ++k) {
      const std::size_t j = queue_[k];
      for (std::size_t i = 0; i < nodes_; ++i)
        if (level_[i] == kUnreached && arc[j * nodes_ + i] > 0) reach(i, level_[j] + 1);
    }
    return sink_reached;
  }

  Number push(std::size_t j, const Number& most) {
    if (sink[j] > 0) {
      const Number sent = std::min(most, sink[j]);
      sink[j] -= sent;
      return sent;
    }
    for (std::size_t& i = next_[j]; i < nodes_; ++i) {
      Number& forth = arc[j * nodes_ + i];
      if (level_[i] != level_[j] + 1 || !(forth > 0)) continue;
      const Number sent = push(i, std::min(most, forth));
      if (sent == 0) continue;
      forth -= sent;
      arc[i * nodes_ + j] += sent;
      return sent;
    }
    return Number(0);
  }

  std::size_t nodes_;
  std::vector<std::size_t> level_, next_, queue_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_CUT_NETWORK_H_
