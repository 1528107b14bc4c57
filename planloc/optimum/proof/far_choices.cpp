#include "planloc/optimum/proof/far_choices.h"

#include <algorithm>
#include <limits>
#include <map>

namespace planloc::detail {

double far_choices::least(const std::vector<site_group>& groups) {
  groups_ = &groups;
  choices_ = 0;
  least_ = std::numeric_limits<double>::infinity();
  take_group(0, 0);
  return choices_ > kMostChoices ? -std::numeric_limits<double>::infinity() : least_;
}

void far_choices::take_group(std::size_t group, std::size_t rank) {
  if (group == groups_->size()) return weigh();
  members all;
  const site_group& g = (*groups_)[group];
  for (std::size_t k = 0; k < g.sites.size(); ++k) all.push_back({g.sites[k], g.names[k]});
  give_out(group, rank, all);
}

// The next run of equal order weights goes to the nearest of those that are left.
void far_choices::give_out(std::size_t group, std::size_t rank, const members& left) {
  if (left.empty()) return take_group(group + 1, rank);
  std::size_t run = 1;
  while (run < left.size() && lambda_[rank + run] == lambda_[rank]) ++run;
  std::vector<double> low, high;
  for (const member& m : left) {
    low.push_back(excess_[m.site].on_part.low);
    high.push_back(excess_[m.site].on_part.high);
  }
  std::sort(low.begin(), low.end());
  std::sort(high.begin(), high.end());
  members undecided, later;
  std::size_t missing = run;
  for (const member& m : left) {
    const interval& e = excess_[m.site].on_part;
    const auto surely_nearer =
        static_cast<std::size_t>(std::lower_bound(high.begin(), high.end(), e.low) - high.begin());
    const auto surely_farther =
        static_cast<std::size_t>(low.end() - std::upper_bound(low.begin(), low.end(), e.high));
    if (surely_nearer >= run) {
      later.push_back(m);
    } else if (surely_farther >= left.size() - run) {
      lambda_of_[m.site] = lambda_[rank];
      --missing;
    } else {
      undecided.push_back(m);
    }
  }
  std::sort(undecided.begin(), undecided.end(),
            [](const member& a, const member& b) { return a.name < b.name; });
  pick(group, rank + run, lambda_[rank], undecided, 0, missing, std::move(later));
}

// `missing` of the undecided ones from `next` on get the order weight, of those alike the first.
void far_choices::pick(std::size_t group, std::size_t rank, double lambda, const members& undecided,
                       std::size_t next, std::size_t missing, members left) {
  if (choices_ > kMostChoices || missing > undecided.size() - next) return;
  if (next == undecided.size()) return give_out(group, rank, left);
  std::size_t alike = 1;
  while (next + alike < undecided.size() && undecided[next + alike].name == undecided[next].name)
    ++alike;
  for (std::size_t k = 0; k <= std::min(alike, missing); ++k) {
    members rest = left;
    for (std::size_t j = 0; j < alike; ++j) {
      const member& m = undecided[next + j];
      if (j < k) {
        lambda_of_[m.site] = lambda;
      } else {
        rest.push_back(m);
      }
    }
    pick(group, rank, lambda, undecided, next + alike, missing - k, std::move(rest));
  }
}

void far_choices::weigh() {
  if (++choices_ > kMostChoices) return;
  interval sum, by_s, by_t;
  for (const site_group& g : *groups_) {
    std::map<std::uint32_t, std::pair<std::uint32_t, interval>> weights;  // by name
    for (std::size_t k = 0; k < g.sites.size(); ++k) {
      auto& [site, weight] = weights[g.names[k]];
      site = g.sites[k];
      weight = weight + interval(lambda_of_[site]);
    }
    for (const auto& [name, one] : weights) {
      const far_excess& e = excess_[one.first];
      sum = sum + one.second * e.at_place;
      by_s = by_s + one.second * e.by_s;
      by_t = by_t + one.second * e.by_t;
    }
  }
  const interval all = sum + by_s * s_ + by_t * t_;
  least_ = std::min(least_, all.low);
}

}  // namespace planloc::detail
