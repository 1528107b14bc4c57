#include "planloc/optimum/allocation/candidate_places.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace planloc::detail {

namespace {

// Distances that are computed for the sites around all candidates, and of them kept.
constexpr std::size_t kMostComputed = std::size_t{1} << 22;
constexpr std::size_t kMostKept = std::size_t{1} << 21;
// Most sites have their second within their scale, some a few times as far.
constexpr std::size_t kLength = 5;
constexpr std::size_t kLeastLength = 16;

}  // namespace

candidate_places::candidate_places(const near_sites& sites, std::vector<xy> places)
    : sites_(sites), blocks_(std::move(places)) {
  const std::size_t n = sites.size();
  const std::size_t length = std::min(n, kLength * sites.within_scale + kLeastLength);
  if (sites.scale.empty() || n * size() > kMostComputed || length * size() > kMostKept) return;
  length_ = length;
  kept_.resize(length * size());
  scratch s{std::vector<double>(n), std::vector<double>(n), std::vector<std::uint32_t>(n)};
  for (std::size_t k = 0; k < size(); ++k) keep(k, s);
}

void candidate_places::keep(std::size_t k, scratch& s) {
  std::vector<double>& distance = s.distance;
  std::vector<double>& share = s.share;
  std::vector<std::uint32_t>& order = s.order;
  sites_.table.distances((*this)[k], distance, {});
  for (std::size_t i = 0; i < order.size(); ++i) share[i] = distance[i] / sites_.scale[i];
  std::iota(order.begin(), order.end(), 0U);
  const auto end = order.begin() + static_cast<std::ptrdiff_t>(length_);
  const auto nearer = [&](std::uint32_t a, std::uint32_t b) {
    return share[a] != share[b] ? share[a] < share[b] : a < b;
  };
  if (end != order.end()) std::nth_element(order.begin(), end, order.end(), nearer);
  std::sort(order.begin(), end, nearer);
  for (std::size_t j = 0; j < length_; ++j) kept_[k * length_ + j] = {order[j], distance[order[j]]};
}

}  // namespace planloc::detail
