// The contacts of three sites in ascending order without keeping them all: for problems with so
// many that they would fill the memory. Internal: see contact_values.h.
#ifndef PLANLOC_FACILITIES_SORTED_CONTACTS_H_
#define PLANLOC_FACILITIES_SORTED_CONTACTS_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "planloc/facilities/contact_values.h"

namespace planloc::detail {

// `lower` and the values of triple_contacts(sites, lower), each by its rank, from 0. They are
// counted in bins once, and computed again for the bins that are asked for: a pass over all
// triples for each call of `collect` that finds new ones, or of another member for a rank or value
// that was not collected.
// REQUIRES: lower > 0.0; `sites` lives as long as this object.
class sorted_contacts {
 public:
  sorted_contacts(const ball_sites& sites, double lower);

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

  std::size_t bin(double value) const;
  std::size_t bin_of_rank(std::size_t rank) const;
  const std::vector<double>& sorted_bin(std::size_t b);
  void fill(const std::vector<std::size_t>& bins);

  const ball_sites& sites_;
  double lower_;
  std::uint64_t origin_;
  int shift_ = 0;
  bool is_ordered_ = true;
  std::vector<std::size_t> start_;  // the number of values in all bins before, and in all
  std::map<std::size_t, std::vector<double>> bins_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_SORTED_CONTACTS_H_
