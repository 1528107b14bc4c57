#include "planloc/optimum/general/search_tree.h"

#include <algorithm>
#include <limits>

namespace planloc::detail {

namespace {

constexpr double kUnknown = -std::numeric_limits<double>::infinity();

bool later(const std::unique_ptr<cell>& a, const std::unique_ptr<cell>& b) {
  return a->bound > b->bound || (a->bound == b->bound && a->node > b->node);
}

}  // namespace

void search_tree::add_root(cell& c) {
  c.node = static_cast<std::uint32_t>(nodes_.size());
  roots_.push_back(c.node);
  nodes_.push_back({kUnknown, reason::bound, 0});
}

void search_tree::add_halves(const cell& parent, cell& one, cell& other) {
  const auto first = static_cast<std::uint32_t>(nodes_.size());
  nodes_[parent.node].why = reason::halved;
  nodes_[parent.node].first_child = first;
  nodes_.push_back({kUnknown, reason::bound, 0});
  nodes_.push_back({kUnknown, reason::bound, 0});
  one.node = first;
  other.node = first + 1;
}

void search_tree::close(const cell& c, reason r) {
  nodes_[c.node].why = r;
  nodes_[c.node].proved = std::numeric_limits<double>::infinity();
}

void search_tree::push(std::unique_ptr<cell> c, double proved) {
  nodes_[c->node].proved = proved;
  open_.push_back(std::move(c));
  std::push_heap(open_.begin(), open_.end(), later);
}

std::unique_ptr<cell> search_tree::pop() {
  std::pop_heap(open_.begin(), open_.end(), later);
  std::unique_ptr<cell> c = std::move(open_.back());
  open_.pop_back();
  return c;
}

double search_tree::prune() {
  for (auto n = nodes_.rbegin(); n != nodes_.rend(); ++n) {  // children stand behind their parent
    if (n->first_child == 0) continue;
    const double least = std::min(nodes_[n->first_child].proved, nodes_[n->first_child + 1].proved);
    if (n->proved >= least) {
      n->why = reason::bound;
      n->first_child = 0;
    } else {
      n->proved = least;
    }
  }
  double least = std::numeric_limits<double>::infinity();
  for (const std::uint32_t root : roots_) least = std::min(least, nodes_[root].proved);
  return least;
}

}  // namespace planloc::detail
