// The contacts of three sites in ascending order without keeping them all: for problems with so
// many that they would fill the memory. Internal: see contact_values.h.
#ifndef PLANLOC_FACILITIES_SORTED_CONTACTS_H_
#define PLANLOC_FACILITIES_SORTED_CONTACTS_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "planloc/facilities/contact_values.h"

namespace planloc::detail {

// Ranks among the contacts, closed.
struct contact_ranks {
  std::size_t first;
  std::size_t last;
};

// `lower` and the values of triple_contacts(sites, lower), each by its rank, from 0. One pass over
// all triples counts them in bins and keeps those of bins that are likely to be asked for, as a
// sample tells. Other bins are computed again when they are: a pass for each call of `collect` that
// finds new ones, or of another member for a rank or value that was not collected.
// REQUIRES: lower > 0.0; `sites` lives as long as this object.
class sorted_contacts {
 public:
  // The ranks in the sample whose bins are likely to be asked for.
  using likely_ranks = std::function<std::vector<contact_ranks>(const sorted_contacts& sample)>;

  sorted_contacts(const ball_sites& sites, double lower, const likely_ranks& likely = {});

  std::size_t size() const { return start_.back(); }
  // Whether there is no NaN among them; the other members are for that case only.
  bool is_ordered() const { return is_ordered_; }

  // Makes the bins of these ranks ready.
  void collect(const std::vector<std::size_t>& ranks);
  // A value that is at most the one with this rank, without a pass.
  double below(std::size_t rank) const;

  double operator[](std::size_t rank);
  std::size_t count_below(double value);
  std::size_t count_up_to(double value);

 private:
  // Few enough for the processor's cache, which each value asks for its bin.
  static constexpr std::size_t kBins = std::size_t{1} << 16;

  std::size_t bin(double value) const {
    return (std::bit_cast<std::uint64_t>(value) - origin_) >> shift_;
  }
  std::size_t bin_of_rank(std::size_t rank) const;
  const std::vector<double>& sorted_bin(std::size_t b);
  void count(std::size_t step);
  void expect(const std::vector<contact_ranks>& ranks, double step);
  void fill(const std::vector<std::size_t>& bins);

  const ball_sites& sites_;
  double lower_;
  std::uint64_t origin_;
  int shift_ = 0;
  bool is_ordered_ = true;
  std::vector<std::size_t> start_;  // the number of values in all bins before, and in all
  std::vector<char> is_likely_;     // a bin
  std::vector<double> likely_;      // the values in these bins
  std::map<std::size_t, std::vector<double>> bins_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_SORTED_CONTACTS_H_
