// The least ordered sum of distances on a part of the places far away, where not all of the order
// is known: the least of the sums with each order that is possible there. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_FAR_CHOICES_H_
#define PLANLOC_OPTIMUM_PROOF_FAR_CHOICES_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/proof/interval.h"

namespace planloc::detail {

// By how much a distance exceeds that of the base: on the part, at one place of it, and what it
// changes by with the coordinates of places.
struct far_excess {
  interval on_part, at_place, by_s, by_t;
};

class far_choices {
 public:
  // Sites of which all are farther than those of the groups before. Those with one name are alike.
  struct site_group {
    std::vector<std::uint32_t> sites;
    std::vector<std::uint32_t> names;
  };

  // All kept by reference. `s` and `t` hold how far the part reaches from the place.
  far_choices(std::span<const double> lambda, std::span<const far_excess> excess, const interval& s,
              const interval& t)
      : lambda_(lambda), excess_(excess), s_(s), t_(t), lambda_of_(excess.size()) {}

  // Minus infinity if there are too many orders.
  double least(const std::vector<site_group>& groups);

 private:
  static constexpr std::size_t kMostChoices = 64;

  struct member {
    std::uint32_t site, name;
  };
  using members = std::vector<member>;

  void give_out(std::size_t group, std::size_t rank, const members& left);
  void pick(std::size_t group, std::size_t rank, double lambda, const members& undecided,
            std::size_t next, std::size_t missing, members left);
  void take_group(std::size_t group, std::size_t rank);
  void weigh();

  std::span<const double> lambda_;
  std::span<const far_excess> excess_;
  interval s_, t_;
  const std::vector<site_group>* groups_ = nullptr;
  std::vector<double> lambda_of_;  // by site
  std::size_t choices_ = 0;
  double least_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_FAR_CHOICES_H_
