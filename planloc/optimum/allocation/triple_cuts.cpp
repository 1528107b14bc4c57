#include "planloc/optimum/allocation/triple_cuts.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace planloc::detail {

namespace {

constexpr double kNearlyWhole = 0.02;  // of a cluster
constexpr double kLeastViolation = 0.02;

// The sites of the clusters that are taken in part.
class parted_sites {
 public:
  explicit parted_sites(std::span<const dual_master::taken_cluster> clusters) {
    for (const auto& c : clusters) {
      if (c.level < 1 - kNearlyWhole) parted_.push_back(&c);
    }
    for (const auto* c : parted_) sites_.insert(sites_.end(), c->slots.begin(), c->slots.end());
    std::sort(sites_.begin(), sites_.end());
    sites_.erase(std::unique(sites_.begin(), sites_.end()), sites_.end());
    together_.assign(sites_.size() * sites_.size(), 0);
    clusters_of_.resize(sites_.size());
    for (std::size_t k = 0; k < parted_.size(); ++k) {
      for (const std::uint32_t a : parted_[k]->slots) {
        clusters_of_[number(a)].push_back(k);
        for (const std::uint32_t b : parted_[k]->slots)
          together_[number(a) * sites_.size() + number(b)] += parted_[k]->level;
      }
    }
  }

  struct violated {
    double by;
    std::array<std::uint32_t, 3> sites;
  };

  // Most first.
  std::vector<violated> triples() const {
    std::vector<violated> found;
    const std::size_t n = sites_.size();
    for (std::size_t a = 0; a < n; ++a) {
      for (std::size_t b = a + 1; b < n; ++b) {
        if (!partly(a, b)) continue;
        for (std::size_t c = b + 1; c < n; ++c) {
          if (!partly(a, c) || !partly(b, c)) continue;
          const double pairs = together(a, b) + together(a, c) + together(b, c);
          if (pairs <= 1 + kLeastViolation) continue;
          const double by = pairs - 2 * all_together(a, b, c) - 1;
          if (by > kLeastViolation) found.push_back({by, {sites_[a], sites_[b], sites_[c]}});
        }
      }
    }
    std::sort(found.begin(), found.end(), [](const violated& s, const violated& t) {
      return s.by != t.by ? s.by > t.by : s.sites < t.sites;
    });
    return found;
  }

 private:
  std::size_t number(std::uint32_t slot) const {
    return static_cast<std::size_t>(std::lower_bound(sites_.begin(), sites_.end(), slot) -
                                    sites_.begin());
  }
  double together(std::size_t a, std::size_t b) const { return together_[a * sites_.size() + b]; }
  // Triples with other pairs are not violated.
  bool partly(std::size_t a, std::size_t b) const {
    return together(a, b) > kLeastViolation / 2 && together(a, b) < 1 - kLeastViolation / 2;
  }
  double all_together(std::size_t a, std::size_t b, std::size_t c) const {
    double sum = 0;
    for (const std::size_t k : clusters_of_[a]) {
      const auto& slots = parted_[k]->slots;
      if (std::binary_search(slots.begin(), slots.end(), sites_[b]) &&
          std::binary_search(slots.begin(), slots.end(), sites_[c]))
        sum += parted_[k]->level;
    }
    return sum;
  }

  std::vector<const dual_master::taken_cluster*> parted_;
  std::vector<std::uint32_t> sites_;
  std::vector<double> together_;  // of two sites: how much of the clusters with both is taken
  std::vector<std::vector<std::size_t>> clusters_of_;
};

bool knots_stay_small(std::span<const priced_triple> triples) {
  const auto sets = linked_slots(triples);
  return std::all_of(sets.begin(), sets.end(),
                     [](const auto& set) { return set.size() <= kMostInKnot; });
}

}  // namespace

std::vector<priced_triple> with_violated_triples(
    std::span<const dual_master::taken_cluster> clusters, std::vector<priced_triple> known) {
  std::vector<std::uint32_t> used;
  for (const parted_sites::violated& v : parted_sites(clusters).triples()) {
    const bool free = std::none_of(v.sites.begin(), v.sites.end(), [&](std::uint32_t s) {
      return std::find(used.begin(), used.end(), s) != used.end();
    });
    if (!free) continue;
    known.push_back({v.sites, 0});
    if (knots_stay_small(known)) {
      used.insert(used.end(), v.sites.begin(), v.sites.end());
    } else {
      known.pop_back();
    }
  }
  return known;
}

}  // namespace planloc::detail
