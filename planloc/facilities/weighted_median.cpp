#include "planloc/facilities/weighted_median.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/containers/list_sort.h"

namespace planloc {
namespace {

struct weighted_place {
  double coordinate;
  double weight;
};

// Moves the places of [first, last) that are `wanted` to the front, without a branch, and adds up
// their weights; the end of these.
template <class Wanted>
weighted_place* gather(weighted_place* first, weighted_place* last, double& sum, Wanted wanted) {
  for (weighted_place* p = first; p != last; ++p) {
    const weighted_place place = *p;
    const bool is_wanted = wanted(place.coordinate);
    *p = *first;
    *first = place;
    first += is_wanted ? 1 : 0;
    sum += is_wanted ? place.weight : 0.0;
  }
  return first;
}

double middle_of(double a, double b, double c) {
  return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

}  // namespace

// Quickselect (Hoare, 1961) by weight. What it finds is tested at the end with sums of its own: two
// sums of the same n weights, in any order and rounded anyhow, differ by less than n epsilon of the
// total.
std::optional<double> clear_median(const std::vector<double>& coordinates,
                                   const std::vector<double>& weights) {
  std::vector<weighted_place> places(coordinates.size());
  double total = 0.0;
  double extent = 0.0;
  bool negative = false;
  for (std::size_t i = 0; i < places.size(); ++i) {
    places[i] = {coordinates[i], weights[i]};
    total += weights[i];
    extent += std::fabs(coordinates[i]);
    negative |= weights[i] < 0.0;
  }
  if (negative || !(total > 0.0) || !std::isfinite(total) || !std::isfinite(extent)) return {};
  const double half = 0.5 * total;
  const double margin =
      4.0 * static_cast<double>(places.size()) * std::numeric_limits<double>::epsilon() * total;

  double below = 0.0;  // weight of the places before `first`, which are smaller than those behind
  weighted_place* first = places.data();
  weighted_place* last = first + places.size();
  // More rounds than any likely input takes; others are sorted.
  for (int round = 0; round < 100 && first != last; ++round) {
    const double pivot =
        middle_of(first->coordinate, first[(last - first) / 2].coordinate, last[-1].coordinate);
    double sum = 0.0;
    weighted_place* const middle =
        gather(first, last, sum, [pivot](double c) { return c < pivot; });
    if (middle != first) {
      if (below + sum < half) {
        below += sum;
        first = middle;
      } else {
        last = middle;
      }
      continue;
    }
    weighted_place* const behind =
        gather(first, last, sum, [pivot](double c) { return c == pivot; });
    if (below + sum > half) {
      const bool clear = below + margin < half && half + margin < below + sum && pivot != 0.0;
      return clear ? std::optional(pivot) : std::nullopt;
    }
    below += sum;
    first = behind;
  }
  return {};
}

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
