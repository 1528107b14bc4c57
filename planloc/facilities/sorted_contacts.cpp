#include "planloc/facilities/sorted_contacts.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace planloc::detail {
namespace {

// So many pairs of edges are a sample, unless they would be more than a part of all.
constexpr double kSampledPairs = 6000.0;
constexpr std::size_t kLeastStep = 9;
// More likely values than this are not kept.
constexpr double kMostLikely = 8e6;

// Odd, so that the pairs meet each edge of a ball in turn.
std::size_t sample_step(const ball_sites& sites) {
  double edges = 0.0;
  double pairs = 0.0;
  for (std::size_t i = 0; i < sites.size(); ++i) {
    const auto own = static_cast<double>(sites[i].ball.size());
    pairs += edges * own;
    edges += own;
  }
  return static_cast<std::size_t>(pairs / kSampledPairs) | 1U;
}

}  // namespace

// The bits of positive doubles, as integers, have the order of the doubles.
sorted_contacts::sorted_contacts(const ball_sites& sites, double lower, const likely_ranks& likely)
    : sites_(sites),
      lower_(lower),
      origin_(std::bit_cast<std::uint64_t>(lower)),
      is_likely_(kBins) {
  const std::uint64_t range =
      std::bit_cast<std::uint64_t>(std::max(lower, kLargestContact)) - origin_;
  while (range >> shift_ >= kBins) ++shift_;
  const std::size_t step = sample_step(sites);
  if (likely && step >= kLeastStep) {
    count(step);
    if (is_ordered_) expect(likely(*this), static_cast<double>(step));
  }
  count(1);
}

void sorted_contacts::count(std::size_t step) {
  start_.assign(kBins + 1, 0);
  is_ordered_ = true;
  const auto take = [&](double v) {
    const std::size_t b = bin(v);
    ++start_[1 + b];
    if (is_likely_[b] != 0) likely_.push_back(v);
  };
  take(lower_);
  const auto take_all = [&](std::span<const double> batch) {
    for (const double v : batch) {
      if (std::isnan(v)) {
        is_ordered_ = false;
      } else {
        take(v);
      }
    }
  };
  for_each_triple_batch(sites_, lower_, take_all, step);
  for (std::size_t b = 0; b < kBins; ++b) start_[b + 1] += start_[b];
}

// Marks the bins of these ranks, of a sample with one in `step`, as likely, unless they hold too
// many values.
void sorted_contacts::expect(const std::vector<contact_ranks>& ranks, double step) {
  for (const contact_ranks& r : ranks) {
    const auto begin = is_likely_.begin();
    std::fill(begin + static_cast<std::ptrdiff_t>(bin_of_rank(r.first)),
              begin + static_cast<std::ptrdiff_t>(bin_of_rank(r.last)) + 1, char{1});
  }
  std::size_t sampled = 0;
  for (std::size_t b = 0; b < kBins; ++b) {
    if (is_likely_[b] != 0) sampled += start_[b + 1] - start_[b];
  }
  const double values = step * static_cast<double>(sampled);
  if (values > kMostLikely) return is_likely_.assign(kBins, 0);
  constexpr double kRoom = 1.1;
  likely_.reserve(static_cast<std::size_t>(kRoom * values));
}

std::size_t sorted_contacts::bin_of_rank(std::size_t rank) const {
  const auto next = std::upper_bound(start_.begin(), start_.end(), rank);
  return static_cast<std::size_t>(next - start_.begin()) - 1;
}

double sorted_contacts::below(std::size_t rank) const {
  return std::bit_cast<double>(origin_ + (std::uint64_t{bin_of_rank(rank)} << shift_));
}

void sorted_contacts::collect(const std::vector<std::size_t>& ranks) {
  std::vector<std::size_t> missing;
  for (const std::size_t rank : ranks) {
    const std::size_t b = bin_of_rank(rank);
    if (bins_.try_emplace(b).second) missing.push_back(b);
  }
  if (!missing.empty()) fill(missing);
}

void sorted_contacts::fill(const std::vector<std::size_t>& bins) {
  std::vector<char> is_asked_for(kBins);
  for (const std::size_t b : bins) {
    is_asked_for[b] = 1;
    bins_[b].reserve(start_[b + 1] - start_[b]);
  }
  const auto take = [&](double v) {
    const std::size_t b = bin(v);
    if (is_asked_for[b] != 0) bins_[b].push_back(v);
  };
  const auto take_all = [&](std::span<const double> batch) {
    for (const double v : batch) take(v);
  };
  if (std::all_of(bins.begin(), bins.end(), [&](std::size_t b) { return is_likely_[b] != 0; })) {
    take_all(likely_);
  } else {
    take(lower_);
    for_each_triple_batch(sites_, lower_, take_all);
  }
  for (const std::size_t b : bins) std::sort(bins_[b].begin(), bins_[b].end());
}

const std::vector<double>& sorted_contacts::sorted_bin(std::size_t b) {
  const auto [entry, is_new] = bins_.try_emplace(b);
  if (is_new && start_[b] < start_[b + 1]) fill({b});
  return entry->second;
}

double sorted_contacts::operator[](std::size_t rank) {
  const std::size_t b = bin_of_rank(rank);
  return sorted_bin(b)[rank - start_[b]];
}

std::size_t sorted_contacts::count_below(double value) {
  const std::vector<double>& values = sorted_bin(bin(value));
  return start_[bin(value)] +
         static_cast<std::size_t>(std::lower_bound(values.begin(), values.end(), value) -
                                  values.begin());
}

std::size_t sorted_contacts::count_up_to(double value) {
  const std::vector<double>& values = sorted_bin(bin(value));
  return start_[bin(value)] +
         static_cast<std::size_t>(std::upper_bound(values.begin(), values.end(), value) -
                                  values.begin());
}

}  // namespace planloc::detail
