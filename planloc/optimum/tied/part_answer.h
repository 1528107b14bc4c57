// What the search of a part ends with, and answers in doubles. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_PART_ANSWER_H_
#define PLANLOC_OPTIMUM_TIED_PART_ANSWER_H_

#include <algorithm>
#include <chrono>
#include <vector>

#include "planloc/optimum/tied/part_terms.h"

namespace planloc::detail {

struct part_answer {
  double value = 0;
  double lower_bound = 0;
  solution_status status = solution_status::optimal;
};

class tied_limits {
 public:
  // The gaps of the parts add up.
  tied_limits(const tied_options& o, std::size_t parts)
      : options_(o), absolute_gap_(o.absolute_gap / static_cast<double>(parts)) {}

  bool stopped() const { return options_.stop.stop_requested() || seconds() >= options_.seconds; }
  double seconds() const { return std::chrono::duration<double>(clock::now() - begin_).count(); }
  // Whether the caller asked for no more than this, of a part and in this unit.
  bool enough(double gap, double value, double unit) const {
    return gap <= std::max(options_.relative_gap * value, absolute_gap_ / unit);
  }

 private:
  using clock = std::chrono::steady_clock;

  const tied_options& options_;
  double absolute_gap_;
  clock::time_point begin_ = clock::now();
};

// Places with a slope of every term, inside its polar but for roundings; `at_site` is the site that
// a facility lies at, or kNoFacility.
struct rounded_answer {
  std::vector<xy> places;
  std::vector<std::uint32_t> at_site;
  std::vector<xy> slopes;  // of each term
  std::vector<bool>
      given;  // whether the certificate has to tell it; `edge` does if not, or the place
  std::vector<std::uint32_t> edge;
};

// The lower bound that the slopes of an answer of a value prove, in the units of the terms: slopes
// that do not cancel are mended as `verify` does it, with room for its roundings.
double proved_bound(const part_terms& terms, const std::vector<double>& radius,
                    const rounded_answer& a, double value);

// The value of an answer in the units of the terms, of the places as they are written.
double careful_value(const tied_problem& p, const part_terms& terms, const rounded_answer& a);

// Writes an answer's places and slopes.
void write_rounded(const tied_problem& p, const tied_part& part, const part_terms& terms,
                   const rounded_answer& a, tied_solution& s);

// Of each gauge: of a disc that holds its unit ball.
std::vector<double> ball_radii(const tied_problem& p);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_PART_ANSWER_H_
