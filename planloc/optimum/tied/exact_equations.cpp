#include "planloc/optimum/tied/exact_equations.h"

#include <algorithm>

namespace planloc::detail {

namespace {

const mpq_class* factor_of(const exact_equation& e, std::size_t unknown) {
  const auto at = std::lower_bound(e.terms.begin(), e.terms.end(), unknown,
                                   [](const auto& term, std::size_t u) { return term.first < u; });
  return at != e.terms.end() && at->first == unknown ? &at->second : nullptr;
}

// e - factor * from.
void subtract(exact_equation& e, const mpq_class& factor, const exact_equation& from) {
  std::vector<std::pair<std::size_t, mpq_class>> terms;
  auto a = e.terms.begin();
  for (const auto& [unknown, value] : from.terms) {
    while (a != e.terms.end() && a->first < unknown) terms.push_back(std::move(*a++));
    mpq_class rest = -factor * value;
    if (a != e.terms.end() && a->first == unknown) rest += (a++)->second;
    if (sgn(rest) != 0) terms.emplace_back(unknown, std::move(rest));
  }
  while (a != e.terms.end()) terms.push_back(std::move(*a++));
  e.terms = std::move(terms);
  e.right -= factor * from.right;
}

std::size_t largest_term(const exact_equation& e) {
  const auto at = std::max_element(
      e.terms.begin(), e.terms.end(),
      [](const auto& a, const auto& b) { return cmp(abs(a.second), abs(b.second)) < 0; });
  return at->first;
}

}  // namespace

std::optional<std::vector<mpq_class>> solve_exactly(std::vector<exact_equation> equations,
                                                    std::vector<mpq_class> values) {
  std::vector<std::size_t> pivots;
  for (std::size_t k = 0; k < equations.size(); ++k) {
    const auto shortest = std::min_element(
        equations.begin() + static_cast<std::ptrdiff_t>(k), equations.end(),
        [](const auto& a, const auto& b) { return a.terms.size() < b.terms.size(); });
    if (shortest->terms.empty()) {
      if (sgn(shortest->right) != 0) return std::nullopt;
      // It says nothing: to the front, where no pivot is looked for.
      std::iter_swap(equations.begin() + static_cast<std::ptrdiff_t>(k), shortest);
      pivots.push_back(values.size());
      continue;
    }
    std::iter_swap(equations.begin() + static_cast<std::ptrdiff_t>(k), shortest);
    const std::size_t unknown = largest_term(equations[k]);
    const mpq_class pivot = *factor_of(equations[k], unknown);
    for (std::size_t l = k + 1; l < equations.size(); ++l) {
      if (const mpq_class* f = factor_of(equations[l], unknown))
        subtract(equations[l], mpq_class(*f / pivot), equations[k]);
    }
    pivots.push_back(unknown);
  }
  for (std::size_t k = equations.size(); k-- > 0;) {
    if (pivots[k] == values.size()) continue;
    mpq_class rest = equations[k].right;
    mpq_class factor;
    for (const auto& [unknown, f] : equations[k].terms) {
      if (unknown == pivots[k]) {
        factor = f;
      } else {
        rest -= f * values[unknown];
      }
    }
    values[pivots[k]] = rest / factor;
  }
  return values;
}

}  // namespace planloc::detail
