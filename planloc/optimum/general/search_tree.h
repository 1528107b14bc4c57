// The tree of a branch and bound over triangles, and its open cells by their bounds. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_SEARCH_TREE_H_
#define PLANLOC_OPTIMUM_GENERAL_SEARCH_TREE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "planloc/optimum/general/triangle_cell.h"
#include "planloc/optimum/solution.h"

namespace planloc::detail {

// The reasons of all nodes, as a certificate has them: each followed by those of its two halves.
// `first_child` is 0 in a leaf.
template <class Node>
std::vector<branch_certificate::reason> reasons_from(const std::vector<Node>& nodes,
                                                     const std::vector<std::uint32_t>& roots) {
  std::vector<branch_certificate::reason> result;
  std::vector<std::uint32_t> left(roots.rbegin(), roots.rend());
  while (!left.empty()) {
    const Node& n = nodes[left.back()];
    left.pop_back();
    result.push_back(n.why);
    if (n.first_child == 0) continue;
    left.push_back(n.first_child + 1);
    left.push_back(n.first_child);
  }
  return result;
}

class search_tree {
 public:
  using reason = branch_certificate::reason;

  void add_root(cell& c);
  // Puts two halves below their cell.
  void add_halves(const cell& parent, cell& one, cell& other);
  // Nothing better than what is known lies there.
  void close(const cell& c, reason r);

  // `proved` is the bound less what roundings can do.
  void push(std::unique_ptr<cell> c, double proved);
  // The open cell with the least bound; of equal ones the one that is older in the tree.
  std::unique_ptr<cell> pop();
  bool empty() const { return open_.empty(); }
  const std::vector<std::unique_ptr<cell>>& open_cells() const { return open_; }
  double least_bound() const { return open_.front()->bound; }

  // Halves with a worse bound than their cell had are taken back, so a search that goes on longer
  // proves no less. Returns the least bound of a leaf.
  double prune();
  std::vector<reason> reasons() const { return reasons_from(nodes_, roots_); }

 private:
  struct node {
    double proved;
    reason why;
    std::uint32_t first_child;  // of two; 0 for a leaf
  };

  std::vector<node> nodes_;
  std::vector<std::uint32_t> roots_;
  std::vector<std::unique_ptr<cell>> open_;  // a heap
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_SEARCH_TREE_H_
