#include "planloc/optimum/tied/exact_equations.h"

#include <algorithm>

namespace planloc::detail {

namespace {

constexpr std::size_t kShort = 2048;  // bits

int sgn(const long_fraction& a) { return sgn(a.numerator); }

// a - factor * b
void subtract_product(mpq_class& a, const mpq_class& factor, const mpq_class& b) {
  a -= factor * b;
}

void subtract_product(long_fraction& a, const mpq_class& factor, const long_fraction& b) {
  if (sgn(b) == 0) return;
  const mpz_class of_b = factor.get_den() * b.denominator;
  const mpz_class common = lcm(a.denominator, of_b);
  a.numerator = a.numerator * dyadic(mpz_class(common / a.denominator)) -
                b.numerator * dyadic(mpz_class(factor.get_num() * (common / of_b)));
  a.denominator = common;
  if (mpz_sizeinbase(common.get_mpz_t(), 2) > kShort) a.denominator = a.numerator.reduce(common);
}

void divide(mpq_class& a, const mpq_class& by) { a /= by; }

void divide(long_fraction& a, const mpq_class& by) {
  a.numerator = a.numerator * dyadic(mpz_class(sgn(by) * by.get_den()));
  a.denominator *= abs(by.get_num());
}

template <class Value>
const mpq_class* factor_of(const exact_equation<Value>& e, std::size_t unknown) {
  const auto at = std::lower_bound(e.terms.begin(), e.terms.end(), unknown,
                                   [](const auto& term, std::size_t u) { return term.first < u; });
  return at != e.terms.end() && at->first == unknown ? &at->second : nullptr;
}

// e - factor * from.
template <class Value>
void subtract(exact_equation<Value>& e, const mpq_class& factor,
              const exact_equation<Value>& from) {
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
  subtract_product(e.right, factor, from.right);
}

template <class Value>
std::size_t largest_term(const exact_equation<Value>& e) {
  const auto at = std::max_element(
      e.terms.begin(), e.terms.end(),
      [](const auto& a, const auto& b) { return cmp(abs(a.second), abs(b.second)) < 0; });
  return at->first;
}

}  // namespace

template <class Value>
std::optional<std::vector<Value>> solve_exactly(std::vector<exact_equation<Value>> equations,
                                                std::vector<Value> values) {
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
    Value rest = equations[k].right;
    mpq_class factor;
    for (const auto& [unknown, f] : equations[k].terms) {
      if (unknown == pivots[k]) {
        factor = f;
      } else {
        subtract_product(rest, f, values[unknown]);
      }
    }
    divide(rest, factor);
    values[pivots[k]] = std::move(rest);
  }
  return values;
}

template std::optional<std::vector<mpq_class>> solve_exactly(
    std::vector<exact_equation<mpq_class>> equations, std::vector<mpq_class> values);
template std::optional<std::vector<long_fraction>> solve_exactly(
    std::vector<exact_equation<long_fraction>> equations, std::vector<long_fraction> values);

}  // namespace planloc::detail
