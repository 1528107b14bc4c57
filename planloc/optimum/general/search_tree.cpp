#include "planloc/optimum/general/search_tree.h"

#include <algorithm>

namespace planloc::detail {

namespace {

bool later(const std::unique_ptr<cell>& a, const std::unique_ptr<cell>& b) {
  return a->bound > b->bound || (a->bound == b->bound && a->node > b->node);
}

}  // namespace

void search_tree::add_root(cell& c) {
  c.node = static_cast<std::uint32_t>(nodes_.size());
  roots_.push_back(c.node);
  nodes_.push_back({reason::bound, 0});
}

void search_tree::add_halves(const cell& parent, cell& one, cell& other) {
  const auto first = static_cast<std::uint32_t>(nodes_.size());
  nodes_[parent.node] = {reason::halved, first};
  nodes_.push_back({reason::bound, 0});
  nodes_.push_back({reason::bound, 0});
  one.node = first;
  other.node = first + 1;
}

void search_tree::push(std::unique_ptr<cell> c) {
  open_.push_back(std::move(c));
  std::push_heap(open_.begin(), open_.end(), later);
}

std::unique_ptr<cell> search_tree::pop() {
  std::pop_heap(open_.begin(), open_.end(), later);
  std::unique_ptr<cell> c = std::move(open_.back());
  open_.pop_back();
  return c;
}

std::vector<search_tree::reason> search_tree::reasons() const {
  std::vector<reason> result;
  std::vector<std::uint32_t> left(roots_.rbegin(), roots_.rend());
  while (!left.empty()) {
    const node& n = nodes_[left.back()];
    left.pop_back();
    result.push_back(n.why);
    if (n.first_child == 0) continue;
    left.push_back(n.first_child + 1);
    left.push_back(n.first_child);
  }
  return result;
}

}  // namespace planloc::detail
