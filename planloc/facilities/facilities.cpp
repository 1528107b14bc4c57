#include "planloc/facilities/facilities.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>

#include "planloc/facilities/bulk_powers.h"
#include "planloc/model/reporter.h"

namespace planloc {

// ----- Access -----

location facilities::location(int i) const {
  if (i < 0 || i >= size()) return planloc::location(2, 1);
  return contents(get_item(i));
}

bool facilities::contains(const planloc::location& l) const {
  const Loc_Vector coordinates = l.coords();
  return std::any_of(begin(), end(),
                     [&](const planloc::location& a) { return a.coords() == coordinates; });
}

// Looks at the first facility only: intended, kept as callers know it.
int facilities::index_of(const planloc::location& l) const {
  return !empty() && head() == l ? 0 : size();
}

// That one of several equal facilities goes at the ends, and all of them elsewhere, is intended, as
// is the loss of results and names in the second case only: the ends are taken off the list, an
// inner one makes a new collection.
void facilities::remove(const planloc::location& l) {
  if (!empty() && head() == l) {
    pop();
  } else if (!empty() && tail() == l) {
    Pop();
  } else {
    facilities rest;
    for (const planloc::location& a : *this) {
      if (!(a == l)) rest.append(a);
    }
    *this = rest;
  }
}

// Results and names are lost for the inner facilities only: intended, see above.
void facilities::remove(int idx) {
  if (idx < 0 || idx >= size()) {
    MaviError("facilities::remove(): There is no corresponding location for idx", 1305, 1, true);
  }
  if (idx == 0) {
    pop();
  } else if (idx == size() - 1) {
    Pop();
  } else {
    facilities rest;
    for (int i = 0; const planloc::location& a : *this) {
      if (i++ != idx) rest.append(a);
    }
    *this = rest;
  }
}

// ----- Names -----

namespace {

// The name behind `it`, made if there is none yet; null stands before the first one.
list_item next_name(list<string>& names, list_item it) {
  const list_item next = it ? names.succ(it) : names.first();
  return next ? next : names.append(string());
}

}  // namespace

string& facilities::refname(list_item item) {
  list_item name = nullptr;
  for (list_item it = first(); it; it = succ(it)) {
    name = next_name(names, name);
    if (it == item) return names[name];
  }
  MaviError("facilities::refname(): location isn't an item of this object", 1334, 1, true);
}

// That i == size() passes is intended: kept as callers know it.
string& facilities::refname(int i) {
  if (i > size()) MaviError("facilities::refname(): location out of range", 1335, 1, true);
  list_item name = next_name(names, nullptr);
  for (int step = 0; step < i; ++step) name = next_name(names, name);
  return names[name];
}

// ----- Shape -----

Loc_Vector facilities::total_weights() const {
  Loc_Vector total(weight_count());
  for (const planloc::location& a : *this) total += a.weights();
  return total;
}

double facilities::max_coordinate(int c) const {
  double largest = head()[c];
  for (const planloc::location& a : *this) largest = std::max(largest, a[c]);
  return largest;
}

double facilities::min_coordinate(int c) const {
  double smallest = head()[c];
  for (const planloc::location& a : *this) smallest = std::min(smallest, a[c]);
  return smallest;
}

// Neighbours only, so that an unsorted list keeps its doubles: intended, kept as callers know it.
facilities facilities::merged(int c, int k) const {
  facilities result;
  for (const planloc::location& a : *this) {
    if (!result.empty() && result.tail()[c] == a[c]) {
      result.tail().weight(k) += a.weight(k);
    } else {
      result.append(a);
    }
  }
  return result;
}

void facilities::print() const { print(std::cout); }

void facilities::print(std::ostream& out) const {
  for (const planloc::location& a : *this) out << a << '\n';
}

// ----- The turned frame -----

void facilities::to_turned_frame() { planloc::to_turned_frame(*this); }

void facilities::from_turned_frame() { planloc::from_turned_frame(*this); }

void turn_location(location& l) {
  location turned(2, l.nweights());
  turned[0] = l[0] - l[1];
  turned[1] = l[0] + l[1];
  for (int i = 0; i < l.nweights(); ++i) turned.weight(i) = l.weight(0);
  l = turned;
}

// ----- Results -----

namespace {

// norm(1) without the power function, which leaves every number as it is for the exponent 1.
double sum_of_sizes(const Loc_Vector& v) {
  double sum = 0.0;
  for (int i = 0; i < v.dim(); ++i) sum += std::fabs(v[i]);
  return sum;
}

// The weighted sum of l1 distances in the plane, without vectors of differences.
double planar_l1_objective(const list<location>& facilities, const location& x, int k) {
  const double x0 = x[0];
  const double x1 = x[1];
  double sum = 0.0;
  for (const location& a : facilities) {
    const double d = a.dim() == 2 ? std::fabs(a[0] - x0) + std::fabs(a[1] - x1) : 0.0;
    sum += a.weight(k) * d;
  }
  return sum;
}

// The same for the power 2 or 3, whose powers are found for some facilities at a time.
double planar_objective(const list<location>& facilities, const location& x, int p, int k) {
  using enum detail::bulk_exponent;
  constexpr std::size_t kBlock = 128;
  std::array<double, 2 * kBlock> sizes;  // of the differences in both coordinates
  std::array<double, 2 * kBlock> powers;
  std::array<double, kBlock> weights;
  double sum = 0.0;
  for (list_item it = facilities.first(); it;) {
    std::size_t n = 0;
    for (; it && n < kBlock; it = facilities.succ(it), ++n) {
      const location& a = facilities.contents(it);
      const bool counts = a.dim() == 2;
      sizes[2 * n] = counts ? std::fabs(a[0] - x[0]) : 0.0;
      sizes[2 * n + 1] = counts ? std::fabs(a[1] - x[1]) : 0.0;
      weights[n] = a.weight(k);
    }
    detail::bulk_powers(p == 2 ? kTwo : kThree, 2 * n, sizes.data(), powers.data());
    for (std::size_t i = 0; i < n; ++i) sizes[i] = powers[2 * i] + powers[2 * i + 1];
    detail::bulk_powers(p == 2 ? kHalf : kThird, n, sizes.data(), powers.data());
    for (std::size_t i = 0; i < n; ++i) sum += weights[i] * powers[i];
  }
  return sum;
}

}  // namespace

double facilities::objective(int p, const planloc::location& x, int k) const {
  if (p == 1 && x.dim() == 2) return planar_l1_objective(*this, x, k);
  if ((p == 2 || p == 3) && x.dim() == 2) return planar_objective(*this, x, p, k);
  // Facilities of another dimension than x count with the distance 0.0.
  const Loc_Vector none(x.dim());
  Loc_Vector difference(x.dim());
  double sum = 0.0;
  for (const planloc::location& a : *this) {
    if (a.dim() == x.dim()) {
      for (int c = 0; c < x.dim(); ++c) difference[c] = a[c] - x[c];
    }
    const Loc_Vector& d = a.dim() == x.dim() ? difference : none;
    sum += a.weight(k) * (p == 1 ? sum_of_sizes(d) : d.norm(p));
  }
  return sum;
}

double facilities::result_value(int p, int k) const {
  if (opt.empty()) MaviError("Solve a problem first.", 1303, 1, true);
  return objective(p, opt.head(), k);
}

double facilities::labelled_value(int p, int k) const {
  if (opt.empty()) MaviError("Solve a problem first.", 1301, 1, true);
  for (const planloc::location& x : opt) {
    if (x.weight(0) == k) return objective(p, x, k);
  }
  MaviError("Indetermined weight criterion. Check number of weights.", 1302, 1, true);
}

void facilities::write_results() const { write_results(std::cout); }

void facilities::write_results(std::ostream& out) const {
  if (opt.empty()) MaviError("Solve a problem first.", 1304, 1, true);
  planloc::location::WriteAsPolygonList(out, opt);
}

}  // namespace planloc
