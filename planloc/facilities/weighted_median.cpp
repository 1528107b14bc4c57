#include "planloc/facilities/weighted_median.h"

#include <cstdlib>
#include <utility>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/containers/list_sort.h"

namespace planloc {

weighted_median::weighted_median(std::vector<line_site> sites) : sites_(std::move(sites)) {
  const auto less = [](const line_site& a, const line_site& b) {
    return a.coordinate < b.coordinate;
  };
  detail::quicksort(sites_.data(), 0, static_cast<long>(sites_.size()) - 1, less,
                    detail::block_partition<line_site, decltype(less)>);
  std::size_t joined = 0;
  for (const line_site& s : sites_) {
    if (joined > 0 && sites_[joined - 1].coordinate == s.coordinate) {
      sites_[joined - 1].weight += s.weight;
    } else {
      sites_[joined++] = s;
    }
  }
  sites_.resize(joined);
  for (const line_site& s : sites_) total_ += s.weight;
}

void weighted_median::find(double half) {
  reached_ = 0.0;
  for (std::size_t at = 0;; ++at) {
    move_to(at);
    reached_ += site().weight;
    if (half <= reached_) return;
  }
}

void weighted_median::move_to(std::size_t at) {
  if (at >= sites_.size()) {
    error_handler(1, "dlist::get_item: index out of range");
    std::abort();  // there is no site to go on with, should the handler return
  }
  at_ = at;
}

}  // namespace planloc
