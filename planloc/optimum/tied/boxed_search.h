// The interior-point method in boxes around its places, which become smaller as its steps do, so
// that it soon has to do with few terms. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_BOXED_SEARCH_H_
#define PLANLOC_OPTIMUM_TIED_BOXED_SEARCH_H_

#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "planloc/optimum/tied/interior_point.h"

namespace planloc::detail {

class boxed_search {
 public:
  // Everywhere, from the means of the sites; with more care and without boxes if they are not
  // wanted.
  boxed_search(const part_terms& terms, bool in_boxes);
  // In a box around the places of a search of a sample, which are within `radius` of good ones.
  boxed_search(const part_terms& terms, const interior_point& of_sample, double radius);

  // False if the step was as good as none.
  bool step();
  const interior_point& method() const& { return *method_; }
  interior_point method() && { return std::move(*method_); }
  // Of the gap in the value.
  double share() const { return method_->gap() / method_->value(); }

 private:
  void begin(std::vector<xy> places, double radius, double gap);
  void begin_wider();
  void enter_box(double radius);
  bool outside() const;

  const part_terms& terms_;
  bool in_boxes_ = true;
  std::optional<interior_point> method_;
  // What all boxes since the last beginning have in common.
  std::vector<xy> low_, high_;
  double radius_ = std::numeric_limits<double>::infinity();  // of the last one
  double last_move_ = std::numeric_limits<double>::infinity();
};

// The search of all terms, from where those of samples of the sites that grow have ended; from the
// means where there are so few sites that all are taken at once. `rounds` counts steps.
boxed_search search_from_samples(const part_terms& terms, std::size_t& rounds);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_BOXED_SEARCH_H_
