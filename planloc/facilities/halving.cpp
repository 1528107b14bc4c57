#include "planloc/facilities/halving.h"

#include <algorithm>
#include <cmath>

#include "planloc/facilities/gauge_max.h"
#include "planloc/facilities/sorted_contacts.h"
#include "planloc/foundation/containers/list_sort.h"

namespace planloc::detail {
namespace {

constexpr std::size_t kBulkLimit = 1300;

// How far the rank k in a sample of so many values may be off: twice its deviation, as if there
// were 6400 independent values.
std::size_t doubt(std::size_t k, std::size_t size) {
  const auto n = static_cast<double>(size);
  const double share = static_cast<double>(k) / n;
  return static_cast<std::size_t>(0.025 * std::sqrt(share * (1.0 - share)) * n);
}

// Adds the ranks of the sample near those that a halving of the part from `first` to `last` looks
// at. Values from the rank `reached` on are reached; where that is in doubt both halves are likely.
void add_likely(std::vector<contact_ranks>& ranks, std::size_t size, std::size_t reached,
                std::size_t first, std::size_t last) {
  const std::size_t k = first + (last - first) / 2;
  const std::size_t off = doubt(k, size);
  ranks.push_back({k - std::min(k, off), std::min(k + off, size - 1)});
  if (last - first <= std::max(off, std::size_t{1})) return;
  if (k + off >= reached) add_likely(ranks, size, reached, first, k);
  if (k <= reached + off) add_likely(ranks, size, reached, k, last);
}

// The ranks of a sample whose bins the halving will probably look at.
std::vector<contact_ranks> likely_path(const sorted_contacts& sample, level_sets& levels) {
  std::size_t first = 0;
  std::size_t last = sample.size();
  while (last - first > 1) {
    const std::size_t k = first + (last - first) / 2;
    (is_reached(levels, sample.below(k)) ? last : first) = k;
  }
  std::vector<contact_ranks> ranks;
  add_likely(ranks, sample.size(), last, 0, sample.size());
  return ranks;
}

// Collects what the halving of all contacts will probably look at, from tests at values nearby.
void collect_path(sorted_contacts& all, level_sets& levels) {
  std::vector<std::size_t> path;
  std::size_t first = 0;
  std::size_t last = all.size();
  while (last - first > kBulkLimit) {
    const std::size_t k = first + (last - first - 1) / 2;
    path.insert(path.end(), {k, k + 1});
    (is_reached(levels, all.below(k)) ? last : first) = k;
  }
  for (std::size_t k = first; k < last; ++k) path.push_back(k);
  all.collect(path);
}

// The halving of all contacts down to the limit: what is left, sorted. The list is always that of
// the contacts with ranks from `first` to `last`, between the last medians on both sides of them.
candidates halve_all(sorted_contacts& all, level_sets& levels) {
  collect_path(all, levels);
  std::size_t first = 0;
  std::size_t last = all.size();
  candidates low;
  candidates high;
  for (;;) {
    const std::size_t count = low.size() + (last - first) + high.size();
    if (count <= kBulkLimit) break;
    const std::size_t k = first + (count - 1) / 2 - low.size();
    const double m = count % 2 == 1 ? all[k] : (all[k] + all[k + 1]) / 2.0;
    if (is_reached(levels, m)) {
      last = all.count_below(m);
      high = {m};
    } else {
      first = all.count_up_to(m);
      low = {m};
    }
  }
  for (std::size_t k = first; k < last; ++k) low.push_back(all[k]);
  low.insert(low.end(), high.begin(), high.end());
  return low;
}

}  // namespace

void sort_candidates(candidates& C) {
  quicksort(C.data(), 0, static_cast<long>(C.size()) - 1, [](double a, double b) { return a < b; });
}

double middle(const candidates& C) {
  const std::size_t k = (C.size() - 1) / 2;
  return C.size() % 2 == 1 ? C[k] : (C[k] + C[k + 1]) / 2.0;
}

bool is_reached(level_sets& levels, double z) {
  return !levels.intersection(z - kLevelOffset).empty();
}

void keep_below(candidates& C, double m) {
  std::erase_if(C, [m](double z) { return !(z < m); });
}

void keep_above(candidates& C, double m) {
  std::erase_if(C, [m](double z) { return !(z > m); });
}

double halve(candidates& C, level_sets& levels) {
  const bool ordered = std::none_of(C.begin(), C.end(), [](double z) { return std::isnan(z); });
  const auto lower = C.begin() + static_cast<std::ptrdiff_t>((C.size() - 1) / 2);
  if (ordered) {
    std::nth_element(C.begin(), lower, C.end());
    if (C.size() % 2 == 0) std::iter_swap(lower + 1, std::min_element(lower + 1, C.end()));
  } else {
    sort_candidates(C);
  }
  const double m = middle(C);
  is_reached(levels, m) ? keep_below(C, m) : keep_above(C, m);
  C.push_back(m);
  return m;
}

void double_front(candidates& C) {
  if (C.size() == 2) C.insert(C.begin(), C.front());
}

candidates far_contacts(const ball_sites& sites, double lower, level_sets& levels,
                        std::size_t most_kept) {
  if (triple_count(sites) > static_cast<double>(most_kept)) {
    sorted_contacts all(sites, lower,
                        [&](const sorted_contacts& sample) { return likely_path(sample, levels); });
    if (all.is_ordered() && all.size() > kBulkLimit) return halve_all(all, levels);
  }
  candidates C = triple_contacts(sites, lower);
  std::reverse(C.begin(), C.end());
  C.push_back(lower);
  double_front(C);
  if (C.size() > kBulkLimit) {
    while (C.size() > kBulkLimit) halve(C, levels);
    sort_candidates(C);
  }
  return C;
}

}  // namespace planloc::detail
