#include "planloc/facilities/sorted_contacts.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace planloc::detail {

// The bits of positive doubles, as integers, have the order of the doubles.
sorted_contacts::sorted_contacts(const ball_sites& sites, double lower)
    : sites_(sites), lower_(lower), origin_(std::bit_cast<std::uint64_t>(lower)) {
  const std::uint64_t range =
      std::bit_cast<std::uint64_t>(std::max(lower, kLargestContact)) - origin_;
  while (range >> shift_ >= kBins) ++shift_;
  start_.resize(kBins + 1);
  ++start_[1 + bin(lower)];
  for_each_triple_batch(sites, lower, [&](std::span<const double> batch) {
    for (const double v : batch) {
      if (std::isnan(v)) {
        is_ordered_ = false;
      } else {
        ++start_[1 + bin(v)];
      }
    }
  });
  for (std::size_t b = 0; b < kBins; ++b) start_[b + 1] += start_[b];
}

std::size_t sorted_contacts::bin(double value) const {
  return (std::bit_cast<std::uint64_t>(value) - origin_) >> shift_;
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
  take(lower_);
  for_each_triple_batch(sites_, lower_, [&](std::span<const double> batch) {
    for (const double v : batch) take(v);
  });
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
