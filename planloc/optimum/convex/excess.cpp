#include "planloc/optimum/convex/excess.h"

namespace planloc::detail {

excess::excess(const distance_table& table, evaluator& evaluate, const xy& from)
    : table_(table), evaluate_(evaluate), from_(from), term_(table.size()) {
  (*this)(from);
}

// The piece in force at `at` is taken at `from`, term by term: a term that is in force at both
// places is the same number, so only terms that change leave roundings.
evaluation excess::operator()(const xy& at) {
  const bool first = at == from_;
  long double value = 0;
  long double slope_x = 0;
  long double slope_y = 0;
  evaluate_.each_term(at, [&](std::uint32_t slot, double lambda, const xy& slope) {
    const double term =
        lambda * (slope.x * (from_.x - table_.x[slot]) + slope.y * (from_.y - table_.y[slot]));
    if (first) term_[slot] = term;
    value += term - term_[slot];
    slope_x += lambda * slope.x;
    slope_y += lambda * slope.y;
  });
  const xy slope{static_cast<double>(slope_x), static_cast<double>(slope_y)};
  return {at,
          static_cast<double>(value) + (slope.x * (at.x - from_.x) + slope.y * (at.y - from_.y)),
          slope};
}

}  // namespace planloc::detail
