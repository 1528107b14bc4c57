// The interior-point method in boxes around its places, which become smaller as its steps do, so
// that it soon has to do with few terms. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_BOXED_SEARCH_H_
#define PLANLOC_OPTIMUM_TIED_BOXED_SEARCH_H_

#include <limits>
#include <optional>
#include <vector>

#include "planloc/optimum/tied/interior_point.h"

namespace planloc::detail {

class boxed_search {
 public:
  // Everywhere, from the means of the sites; without boxes if they are not wanted.
  boxed_search(const part_terms& terms, bool in_boxes);
  // In a box around places that are known to be good.
  boxed_search(const part_terms& terms, std::vector<xy> places, double radius);

  // False if the step was as good as none.
  bool step();
  const interior_point& method() const { return *method_; }
  // Of the gap in the value.
  double share() const { return method_->gap() / method_->value(); }

 private:
  void begin(std::vector<xy> places, double radius, double gap);
  double away() const;

  const part_terms& terms_;
  bool in_boxes_ = true;
  std::optional<interior_point> method_;
  std::vector<xy> middle_;  // of the box
  double radius_ = std::numeric_limits<double>::infinity();
  double last_move_ = std::numeric_limits<double>::infinity();
};

// Places that are good for all terms, found from samples of the sites that grow; none if there are
// so few that all are taken at once. `radius` is how far they may be from the best ones, `rounds`
// counts steps.
struct sampled_places {
  std::vector<xy> places;
  double radius;
};
std::optional<sampled_places> places_from_samples(const part_terms& terms, std::size_t& rounds);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_BOXED_SEARCH_H_
