#include "planloc/optimum/general/run_finder.h"

#include <algorithm>
#include <array>
#include <limits>

namespace planloc::detail {

namespace {

// Keys that a pivot is chosen from.
constexpr std::size_t kSample = 8;
constexpr int kMostPivots = 20;
constexpr std::size_t kLanes = 8;

// Without branches, which no processor could predict here; counted in doubles, so that keys go side
// by side.
template <class Wanted>
std::size_t count_keys(std::span<const double> keys, Wanted wanted) {
  std::array<double, kLanes> lane{};
  std::size_t k = 0;
  for (; k + kLanes <= keys.size(); k += kLanes) {
    for (std::size_t j = 0; j < kLanes; ++j) lane[j] += wanted(keys[k + j]) ? 1.0 : 0.0;
  }
  double count = 0;
  for (; k < keys.size(); ++k) count += wanted(keys[k]) ? 1.0 : 0.0;
  for (const double c : lane) count += c;
  return static_cast<std::size_t>(count);
}

template <class Wanted>
std::span<double> keep_keys(std::span<const double> keys, double* to, Wanted wanted) {
  std::size_t kept = 0;
  for (const double k : keys) {
    to[kept] = k;
    kept += wanted(k) ? 1 : 0;
  }
  return {to, kept};
}

// Of up to a sample, by counting for each key those before it.
double key_of_rank(std::span<const double> keys, std::size_t rank) {
  double found = keys[0];
  for (std::size_t i = 0; i < keys.size(); ++i) {
    std::size_t before = 0;
    for (std::size_t j = 0; j < i; ++j) before += keys[j] <= keys[i] ? 1 : 0;
    for (std::size_t j = i + 1; j < keys.size(); ++j) before += keys[j] < keys[i] ? 1 : 0;
    found = before == rank ? keys[i] : found;
  }
  return found;
}

// The key of about that rank.
double likely_key(std::span<const double> keys, std::size_t rank) {
  std::array<double, kSample> sample;
  for (std::size_t k = 0; k < kSample; ++k)
    sample[k] = keys[(2 * k + 1) * keys.size() / (2 * kSample)];
  return key_of_rank(sample, kSample * rank / keys.size());
}

}  // namespace

double key_selector::operator()(std::span<const double> keys, std::size_t rank) {
  left_.resize(std::max(left_.size(), keys.size()));
  for (int pivots = 0; keys.size() > kSample; ++pivots) {
    if (pivots == kMostPivots) {
      std::copy(keys.begin(), keys.end(), left_.begin());
      const auto at = left_.begin() + static_cast<std::ptrdiff_t>(rank);
      std::nth_element(left_.begin(), at, left_.begin() + static_cast<std::ptrdiff_t>(keys.size()));
      return *at;
    }
    const double pivot = likely_key(keys, rank);
    const std::size_t below = count_keys(keys, [pivot](double k) { return k < pivot; });
    if (below > rank) {
      keys = keep_keys(keys, left_.data(), [pivot](double k) { return k < pivot; });
      continue;
    }
    const std::size_t up_to = count_keys(keys, [pivot](double k) { return k <= pivot; });
    if (up_to > rank) return pivot;
    keys = keep_keys(keys, left_.data(), [pivot](double k) { return k > pivot; });
    rank -= up_to;
  }
  return key_of_rank(keys, rank);
}

double run_finder::key_behind(std::span<const double> keys, std::size_t rank) {
  if (jump_.empty()) return select_(keys, rank);
  const double last = jump_.back();
  const std::size_t up_to = count_keys(keys, [last](double k) { return k <= last; });
  if (rank < up_to) return last;
  if (rank > up_to) return select_(keys, rank);
  double next = std::numeric_limits<double>::infinity();
  for (const double k : keys) next = k > last && k < next ? k : next;
  return next;
}

void run_finder::split(std::span<const double> keys, const std::vector<order_run>& runs,
                       side which) {
  jump_.clear();
  equal_before_.clear();
  std::size_t before = 0;
  for (std::size_t r = 0; r + 1 < runs.size(); ++r) {
    before += runs[r].count;
    const double jump = key_behind(keys, which == side::before ? before - 1 : before);
    const std::size_t below = count_keys(keys, [jump](double k) { return k < jump; });
    const bool again = !jump_.empty() && jump_.back() == jump;
    equal_before_.push_back(again ? runs[r].count : before - below);
    jump_.push_back(jump);
  }
}

// The jump behind the run has the key.
std::uint32_t run_finder::share_out(std::uint32_t run) {
  const double key = jump_[run];
  for (; run < jump_.size() && jump_[run] == key; ++run) {
    if (equal_before_[run] == 0) continue;
    --equal_before_[run];
    break;
  }
  return run;
}

}  // namespace planloc::detail
