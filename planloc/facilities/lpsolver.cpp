#include "planloc/facilities/lpsolver.h"

#include <lpsolve/lp_lib.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <numeric>
#include <utility>
#include <vector>

namespace planloc {
namespace {

constexpr double kFreeBelow = -900000000000000.0;

struct entry {
  int row;
  int column;
  double value;
};

struct free_array {
  void operator()(double* a) const { std::free(a); }
};

// Costs from entry 1 on, all 0.0. The line and the file are part of the message.
std::unique_ptr<double[], free_array> allocate_costs(int count) {
  const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(double);
  auto* const costs = static_cast<double*>(std::calloc(bytes, 1));
  if (!costs) {
    std::fprintf(stderr, "malloc of %d bytes failed on line %d of file %s\n",
                 static_cast<int>(bytes), 69, "lpsolver");
    std::exit(1);
  }
  return std::unique_ptr<double[], free_array>(costs);
}

// lp_solve keeps variables of its factorisation and its table of vector operations for the whole
// process: one thread at a time.
std::mutex& solving() {
  static auto* const lock = new std::mutex;
  return *lock;
}

struct delete_program {
  void operator()(lprec* lp) const {
    const std::lock_guard guard(solving());
    delete_lp(lp);
  }
};

void require(bool memory) {
  if (!memory) throw std::bad_alloc();
}

// A program of lp_solve's: minimise the costs of its columns, of which the first `free_columns` may
// be negative, over rows of one type.
class program {
 public:
  program(int rows, int columns, int free_columns, int row_type, double* costs,
          const std::vector<entry>& entries)
      : rows_(rows) {
    const std::lock_guard guard(solving());
    lp_.reset(make_lp(rows, 0));
    require(lp_ && resize_lp(lp_.get(), rows, columns));
    set_verbose(lp_.get(), NEUTRAL);
    for (int r = 1; r <= rows; ++r) set_constr_type(lp_.get(), r, row_type);
    add_columns(columns, entries);
    set_obj_fn(lp_.get(), costs);
    for (int j = 1; j <= free_columns; ++j) set_lowbo(lp_.get(), j, kFreeBelow);
    // An empty program is not solved at all, and would leave what stood in the memory.
    std::fill_n(solution(), 1 + rows + columns, 0.0);
  }

  // Returns the objective and writes the first `count` columns. A solve starts from the basis of
  // the one before; one that ends badly from there starts again from none.
  double solve(double* right_hand_sides, int count, double* columns) {
    const std::lock_guard guard(solving());
    set_rh_vec(lp_.get(), right_hand_sides);
    if (::solve(lp_.get()) != OPTIMAL && warm_) {
      default_basis(lp_.get());
      ::solve(lp_.get());
    }
    warm_ = true;
    const double* const found = solution();
    std::copy_n(found + rows_ + 1, count, columns);
    return found[0];
  }

 private:
  // Columns are handed over whole, their rows ascending. Set one by one, each entry would move all
  // that stand behind it.
  void add_columns(int columns, const std::vector<entry>& entries) {
    std::vector<std::size_t> ends(static_cast<std::size_t>(columns) + 2);
    for (const entry& e : entries) ++ends[static_cast<std::size_t>(e.column) + 1];
    std::partial_sum(ends.begin(), ends.end(), ends.begin());
    std::vector<std::pair<int, double>> sorted(entries.size());
    for (const entry& e : entries)
      sorted[ends[static_cast<std::size_t>(e.column)]++] = {e.row, e.value};
    std::vector<int> rows;
    std::vector<double> values;
    auto next = sorted.begin();
    for (int j = 1; j <= columns; ++j) {
      const auto end =
          sorted.begin() + static_cast<std::ptrdiff_t>(ends[static_cast<std::size_t>(j)]);
      if (!std::is_sorted(next, end)) std::sort(next, end);
      rows.clear();
      values.clear();
      for (; next != end; ++next) {
        rows.push_back(next->first);
        values.push_back(next->second);
      }
      require(add_columnex(lp_.get(), static_cast<int>(rows.size()), values.data(), rows.data()));
    }
  }

  // The objective, the rows, the columns.
  double* solution() const {
    double* found = nullptr;
    get_ptr_primal_solution(lp_.get(), &found);
    return found;
  }

  std::unique_ptr<lprec, delete_program> lp_;
  int rows_;
  bool warm_ = false;
};

}  // namespace

double l1_lp_solve(int N, int M, int rows, double* c, double* bx, double* by, double* x,
                   double* y) {
  std::vector<entry> entries;
  const auto set = [&](int r, int j, double value) { entries.push_back({r, j, value}); };
  int p = 2 * N * M + N + 1;
  for (int j = 1; j <= N; ++j) {
    for (int i = 1; i <= M; ++i) {
      const int r = i + M * (j - 1);
      const int u = 2 * M * (j - 1) + N + 2 * i - 1;
      set(r, j, 1.0);
      set(r, u, 1.0);
      set(r, u + 1, -1.0);
    }
    for (int k = j + 1; k <= N; ++k) {
      // A sum, not a running number: intended, costs and rows are found by it (see the header).
      const int r = N * M + j + k - 2;
      set(r, j, 1.0);
      set(r, k, -1.0);
      set(r, p, -1.0);
      set(r, p + 1, 1.0);
      p += 2;
    }
  }
  program lp(rows, N + 2 * rows, N, EQ, c, entries);
  const double value = lp.solve(bx, N, x);
  return value + lp.solve(by, N, y);
}

double linf_lp_solve(int N, int M, int rows, double* ax, double* ay, double* d, double* x,
                     double* y) {
  const auto c = allocate_costs(N + 2);
  c[N + 1] = 1.0;
  std::vector<entry> entries;
  int r = 1;
  // The rows of both signs of a difference, which has the coefficient 1.0 for x_j.
  const auto add_rows = [&](int j, int k) {
    for (const double sign : {1.0, -1.0}) {
      entries.push_back({r, j, sign});
      if (k > 0) entries.push_back({r, k, -sign});
      entries.push_back({r, N + 1, d[r]});
      ++r;
    }
  };
  for (int j = 1; j <= N; ++j) {
    for (int i = 1; i <= M; ++i) add_rows(j, 0);
  }
  for (int j = 1; j <= N; ++j) {
    for (int k = j + 1; k <= N; ++k) add_rows(j, k);
  }
  program lp(rows, N + 1, N, GE, c.get(), entries);
  const double zx = lp.solve(ax, N, x);
  const double zy = lp.solve(ay, N, y);
  return zy > zx ? zy : zx;
}

}  // namespace planloc
