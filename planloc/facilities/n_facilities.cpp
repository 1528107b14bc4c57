// Several new facilities at once: independent, alternating, and by linear equations.
#include <memory>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/planar_sites.h"
#include "planloc/facilities/turned_frame.h"
#include "planloc/foundation/containers/string.h"
#include "planloc/foundation/numeric/vector.h"
#include "planloc/model/reporter.h"

namespace planloc {
namespace {

constexpr double kTolerance = 0.0001;
constexpr double kSmoothing = 0.01;
constexpr int kIterations = 500;
constexpr int kRounds = 20;

double squared_distance(const location& a, const location& b) {
  const double dx = a[0] - b[0];
  const double dy = a[1] - b[1];
  return dx * dx + dy * dy;
}

// The entry above the diagonal.
double tie(const matrix& V, int j, int k) { return j < k ? V(j, k) : V(k, j); }

// The first of each run of equal labels. "dlist::head(): empty list"
list<location> first_of_each_label(const list<location>& results) {
  list<location> firsts;
  double last = results.head().weight(0);
  firsts.append(results.head());
  for (const location& x : results) {
    if (x.weight(0) == last) continue;
    firsts.append(x);
    last = x.weight(0);
  }
  return firsts;
}

void check_counts(int N, int weights, const matrix& V) {
  const string text(
      "facilities::N_lp_sum_v1(): Matrix of interdependencies is non-quadratic: We are taking the "
      "upperleft submatrix of dimension %i in account",
      weights);
  int rows = V.rows();
  if (rows != V.cols()) MaviMessage(text, 1, true);
  if (rows > V.cols()) rows = V.cols();
  if (N > weights || N > rows || rows > weights) {
    MaviError("Cannot compute more optima than there is provided data.", 1306, 1, true);
  }
}

void solve_single(facilities& F, int p, int j, bool clear) {
  if (p == 1) {
    F.l1_sum(j, clear);
  } else if (p == 2) {
    F.l2_sum(j, kTolerance, clear);
  } else {
    F.lp_sum(p, kTolerance, kSmoothing, kIterations, j, clear);
  }
}

}  // namespace

// ----- The objective -----

double facilities::N_existing_cost(int j, int p) const {
  return objective(p, opt[opt.get_item(j)], j);
}

double facilities::N_existing_cost(int p) const {
  double sum = 0.0;
  for (int j = 0; const planloc::location& x : opt) sum += objective(p, x, j++);
  return sum;
}

double facilities::N_new_cost(const matrix& V, int p) const {
  double sum = 0.0;
  int j = 0;
  for (list_item one = opt.first(); one; one = opt.succ(one), ++j) {
    const Loc_Vector x = opt[one].coords();
    int k = j + 1;
    for (list_item other = opt.succ(one); other; other = opt.succ(other), ++k) {
      sum += V(j, k) * (x - opt[other].coords()).norm(p);
    }
  }
  return sum;
}

// ----- Independent and alternating -----

std::unique_ptr<N_sum> facilities::N_lp_sum_v1(int N, int p, const matrix& V, bool clear) {
  check_counts(N, weight_count(), V);
  if (clear) opt.clear();
  if (p == -1) {
    solve_maximum_as_rectilinear(*this, [&](facilities& turned) {
      turned.opt.clear();
      for (int j = 0; j < N; ++j) turned.l1_sum(j, false);
    });
  } else {
    for (int j = 0; j < N; ++j) solve_single(*this, p, j, false);
  }

  const list<planloc::location> results = opt;
  opt = first_of_each_label(results);
  const double existing = N_existing_cost(p);
  const double between = N_new_cost(V, p);
  opt = results;
  return std::make_unique<N_sum>(N_sum{between + existing, between / existing});
}

std::unique_ptr<N_sum> facilities::N_lp_sum(int N, int p, const matrix& V, double eps, bool clear) {
  const facilities base = *this;
  facilities working = *this;
  if (clear) opt.clear();
  std::unique_ptr<N_sum> record = N_lp_sum_v1(N, p, V, false);
  const double first_new_cost = N_new_cost(V, p);
  const double ratio = first_new_cost / N_existing_cost(p);

  // One for all rounds: weight j of it stays what it was when x_j is solved for. Intended,
  // as the rounds' results depend on it.
  planloc::location fixed(dimension(), weight_count());
  // The ratio stays, so that it decides once. Intended, a round does not compute it anew.
  for (int round = 1; !(ratio < eps); ++round) {
    const list<planloc::location> previous = opt;
    opt.clear();
    for (int j = 0; j < N; ++j) {
      working = base;
      for (const planloc::location& x : previous) {
        if (x.weight(0) == j) continue;
        for (int c = 0; c < 2; ++c) fixed[c] = x[c];
        for (int k = 0; k < weight_count(); ++k) {
          if (k != j) fixed.weight(k) = V(k, j);
        }
        working.append(fixed);
      }
      if (p == -1) {
        working.linf_sum(j, true);
      } else if (p == 0) {
        working.l2squared_sum(j, true);
      } else {
        solve_single(working, p, j, true);
      }
      opt.append(working.opt.head());
    }
    if (opt.size() == previous.size()) {
      bool settled = true;
      for (const planloc::location& x : opt) {
        // One past the end, which the list reports: intended, the header tells how the call ends.
        if (x != previous[previous.get_item(previous.size())]) settled = false;
      }
      if (settled) return record;
    }
    if (round >= kRounds) return nullptr;
  }
  const double between = N_new_cost(V, p);
  record->value = between + N_existing_cost(p);
  record->ratio = ratio;
  return record;
}

double facilities::N_linf_sum_v1(int N, const matrix& V, bool /*clear*/) {
  return N_lp_sum_v1(N, -1, V, true)->value;
}

// ----- Squared Euclidean distances -----

double facilities::diagonal_entry(int N, int j, const matrix& V) const {
  double sum = 0.0;
  for (const planloc::location& a : *this) sum += a.weight(j);
  for (int k = 0; k < N; ++k) {
    if (k != j) sum += tie(V, j, k);
  }
  return sum;
}

double facilities::N_l2squared_sum(int N, const matrix& V, bool clear) {
  matrix A(N, N);
  vector bx(N);
  vector by(N);
  for (int j = 0; j < N; ++j) {
    for (int k = 0; k < N; ++k) A(j, k) = j == k ? diagonal_entry(N, j, V) : -tie(V, j, k);
    for (const planloc::location& a : *this) {
      bx[j] += a.weight(j) * a[0];
      by[j] += a.weight(j) * a[1];
    }
  }
  const vector X = A.solve(bx);
  const vector Y = A.solve(by);

  if (clear) opt.clear();
  for (int j = 0; j < N; ++j) opt.append(detail::labelled({X[j], Y[j]}, j));

  double value = 0.0;
  for (const planloc::location& a : *this) {
    list_item x = opt.first();
    for (int m = 0; m < N; ++m, x = opt.succ(x)) value += squared_distance(a, opt[x]) * a.weight(m);
  }
  list_item one = opt.first();
  for (int j = 0; j < N; ++j, one = opt.succ(one)) {
    list_item other = opt.succ(one);
    for (int k = j + 1; k < N; ++k, other = opt.succ(other)) {
      value += V(j, k) * squared_distance(opt[one], opt[other]);
    }
  }
  return value;
}

}  // namespace planloc
