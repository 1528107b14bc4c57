#include "planloc/engine/ilc_cplex.h"

#include <algorithm>
#include <new>
#include <utility>

namespace planloc {
namespace {

constexpr std::size_t kMessageSize = 1024;

struct Environment {
  CPXENVptr env = nullptr;
  int users = 0;
};

Environment& environment() {
  static Environment shared;
  return shared;
}

}  // namespace

IlcCplex::IlcCplex(IlcManager m, int closeOnError)
    : manager_(m),
      library_(cplex_library()),
      message_(static_cast<char*>(m.getHeap()->allocate(kMessageSize))),
      close_on_error_(closeOnError != 0) {
  message_[0] = '\0';
}

// Once the delegated constructor is through, a report that throws below runs the destructor.
IlcCplex::IlcCplex(IlcManager m, int, int closeOnError) : IlcCplex(m, closeOnError) {
  open();
  int no_basis_files = 0;
  getInfoIntParam(CPX_PARAM_BASINTERVAL, nullptr, nullptr, &no_basis_files);
  setIntParam(CPX_PARAM_BASINTERVAL, no_basis_files);
  setIntParam(CPX_PARAM_SCRIND, 0);
}

IlcCplex::~IlcCplex() { release(); }

void IlcCplex::close() {
  for (Cache* cache : {&x_, &dj_, &pi_, &slack_}) *cache = Cache();
  test("IlcCplex::~IlcCplex", release());
}

void IlcCplex::open() {
  Environment& shared = environment();
  int status = 0;
  if (shared.users == 0) shared.env = library_.CPXopenCPLEXdevelop(&status);
  ++shared.users;
  holds_environment_ = true;
  env_ = shared.env;
  if (status != 0) {
    if (!library_.CPXgeterrorstring(nullptr, status, message_)) message_[0] = '\0';
    manager_.getErrorReporter()->error(status, "IlcCplex::IlcCplex", message_);
  }
  lp_ = library_.CPXcreateprob(env_, &status, "ilc");
  test("IlcCplex::IlcCplex", status);
}

// Gives problem and environment back; the first code that is not 0.
int IlcCplex::release() {
  int problem_code = 0;
  if (lp_) problem_code = library_.CPXfreeprob(env_, &lp_);
  lp_ = nullptr;
  int environment_code = 0;
  if (holds_environment_) {
    holds_environment_ = false;
    Environment& shared = environment();
    if (--shared.users == 0 && shared.env) {
      environment_code = library_.CPXcloseCPLEX(&shared.env);
      shared.env = nullptr;
    }
  }
  env_ = nullptr;
  return problem_code != 0 ? problem_code : environment_code;
}

void IlcCplex::test(const char* name, int code) {
  if (code == 0) return;
  if (!library_.CPXgeterrorstring(env_, code, message_)) message_[0] = '\0';
  if (close_on_error_) {
    release();
    code = kIlcClosedOnError;
  }
  manager_.getErrorReporter()->error(code, name, message_);
}

void IlcCplex::noMoreMemory() {
  manager_.getErrorReporter()->error(kIlcNoMemory, "Solver", "no more memory");
}

void IlcCplex::invalidateCaches() { x_.valid = pi_.valid = dj_.valid = slack_.valid = false; }

// ----- Columns and rows -----

void IlcCplex::newCols(int n, const double* lb, const double* ub, const char* types, char** names) {
  invalidateCaches();
  const bool typed = manager_.isInEditMode() &&
                     std::any_of(types, types + n, [](char type) { return type != 'C'; });
  for (int begin = 0; begin < n;) {
    const bool named = *names[begin] != '\0';
    int end = begin + 1;
    while (end < n && (*names[end] != '\0') == named) ++end;
    test("IlcCplex::newCols",
         library_.CPXnewcols(env_, lp_, end - begin, nullptr, lb + begin, ub + begin,
                             typed ? types + begin : nullptr, named ? names + begin : nullptr));
    begin = end;
  }
}

void IlcCplex::newRow(int n, const int* indices, const double* values, char sense, double rhs) {
  invalidateCaches();
  const int start = 0;
  test("IlcCplex::newRow", library_.CPXaddrows(env_, lp_, 0, 1, n, &rhs, &sense, &start, indices,
                                               values, nullptr, nullptr));
}

template <typename T>
void IlcCplex::grow(std::unique_ptr<T[]>& array, int used, int capacity) {
  std::unique_ptr<T[]> larger(new (std::nothrow) T[static_cast<std::size_t>(capacity)]);
  if (!larger) return noMoreMemory();
  std::copy_n(array.get(), used, larger.get());
  array = std::move(larger);
}

void IlcCplex::growRows() {
  RowBuffer& b = rows_;
  const int capacity = std::max({b.count + 1, getIntParam(CPX_PARAM_ROWGROWTH), 2 * b.capacity});
  grow(b.rhs, b.count, capacity);
  grow(b.starts, b.count, capacity);
  grow(b.senses, b.count, capacity);
  grow(b.names, b.count, capacity);
  std::fill(b.names.get() + b.count, b.names.get() + capacity, &default_name_[0]);
  b.capacity = capacity;  // last: a report of missing memory may have thrown
}

void IlcCplex::growNonzeros(int n) {
  RowBuffer& b = rows_;
  const int capacity =
      std::max({b.nonzeros + n + 1, getIntParam(CPX_PARAM_NZGROWTH), 2 * b.nonzero_capacity});
  grow(b.values, b.nonzeros, capacity);
  grow(b.indices, b.nonzeros, capacity);
  b.nonzero_capacity = capacity;
}

void IlcCplex::bufferRow(int n, const int* indices, const double* values, char sense, double rhs) {
  RowBuffer& b = rows_;
  if (b.count == b.capacity) growRows();
  if (b.nonzeros + n >= b.nonzero_capacity) growNonzeros(n);
  b.rhs[b.count] = rhs;
  b.senses[b.count] = sense;
  b.starts[b.count] = b.nonzeros;
  std::copy_n(values, n, b.values.get() + b.nonzeros);
  std::copy_n(indices, n, b.indices.get() + b.nonzeros);
  ++b.count;
  b.nonzeros += n;
}

void IlcCplex::nameLastBufferedRow(const char* name) {
  rows_.names[rows_.count - 1] = const_cast<char*>(name);
}

void IlcCplex::postToCplex() {
  // Taken out first, so that the buffer is empty whatever the call reports.
  const RowBuffer b = std::exchange(rows_, RowBuffer());
  if (b.count == 0) return;
  char** const names = b.names.get();
  const bool named = std::any_of(names, names + b.count,
                                 [this](const char* name) { return name != default_name_; });
  invalidateCaches();
  test("IlcCplex::postToCplex",
       library_.CPXaddrows(env_, lp_, 0, b.count, b.nonzeros, b.rhs.get(), b.senses.get(),
                           b.starts.get(), b.indices.get(), b.values.get(), nullptr,
                           named ? names : nullptr));
}

void IlcCplex::deleteRow(int row) {
  invalidateCaches();
  test("IlcCplex::deleteRow", library_.CPXdelrows(env_, lp_, row, row));
}

void IlcCplex::setRowName(const char* name) {
  library_.CPXchgname(env_, lp_, 'r', getNumRows() - 1, name);
}

// ----- Objective -----

void IlcCplex::chgObj(int n, const int* indices, const double* values, int sense) {
  invalidateCaches();
  test("IlcCplex::chgObj", library_.CPXchgobj(env_, lp_, n, indices, values));
  library_.CPXchgobjsen(env_, lp_, sense);
}

void IlcCplex::eraseObj() {
  invalidateCaches();
  const int n = getNumCols();
  if (n == 0) return;
  const auto indices = std::make_unique<int[]>(static_cast<std::size_t>(n));
  const auto zeros = std::make_unique<double[]>(static_cast<std::size_t>(n));
  for (int j = 0; j < n; ++j) indices[static_cast<std::size_t>(j)] = j;
  test("IlcCplex::eraseObj", library_.CPXchgobj(env_, lp_, n, indices.get(), zeros.get()));
}

bool IlcCplex::isMinimize() { return library_.CPXgetobjsen(env_, lp_) == 1; }

// ----- Bounds -----

void IlcCplex::chgMin(int column, double value) {
  test("IlcCplex::chgMin", library_.CPXchgbds(env_, lp_, 1, &column, "L", &value));
}

void IlcCplex::chgMax(int column, double value) {
  test("IlcCplex::chgMax", library_.CPXchgbds(env_, lp_, 1, &column, "U", &value));
}

void IlcCplex::tighten(int n, const int* columns, const char* sides, const double* values) {
  // The name in the report is that of a single upper bound, which is intended.
  test("IlcCplex::setMax", library_.CPXtightenbds(env_, lp_, n, columns, sides, values));
}

void IlcCplex::getBounds(double* lb, double* ub) {
  const int last = getNumCols() - 1;
  test("IlcCplex::getBounds(lb)", library_.CPXgetlb(env_, lp_, lb, 0, last));
  test("IlcCplex::getBounds(ub)", library_.CPXgetub(env_, lp_, ub, 0, last));
}

// ----- Solve -----

int IlcCplex::solve(Solve method, const char* name) {
  invalidateCaches();
  test(name, (library_.*method)(env_, lp_));
  const int status = library_.CPXgetstat(env_, lp_);
  iterations_ += library_.CPXgetitcnt(env_, lp_);
  return status;
}

int IlcCplex::primalOpt() { return solve(&CplexLibrary::CPXprimopt, "IlcCplex::primalOpt"); }

int IlcCplex::dualOpt() { return solve(&CplexLibrary::CPXdualopt, "IlcCplex::dualOpt"); }

int IlcCplex::getProblemType() { return library_.CPXgetprobtype(env_, lp_); }

void IlcCplex::setProblemType(int type) {
  test("IlcCplex::setProblemType", library_.CPXchgprobtype(env_, lp_, type));
}

void IlcCplex::setToLP() {
  if (getProblemType() != CPXPROB_LP) library_.CPXchgprobtype(env_, lp_, CPXPROB_LP);
}

// ----- Solution -----

void IlcCplex::fill(Cache& cache, int length, Read read, const char* memory_report,
                    const char* name, bool solve_without_solution) {
  if (length != cache.size || !cache.values) {
    cache.values.reset(new (std::nothrow) double[static_cast<std::size_t>(length)]);
    if (!cache.values) {
      cache.size = 0;
      return manager_.getErrorReporter()->error(kIlcNoMemory, memory_report);
    }
    cache.size = length;
  }
  double* const values = cache.values.get();
  int code = (library_.*read)(env_, lp_, values, 0, length - 1);
  if (code == CPXERR_NO_SOLN && solve_without_solution) {
    setToLP();
    library_.CPXprimopt(env_, lp_);
    code = (library_.*read)(env_, lp_, values, 0, length - 1);
  }
  test(name, code);
  cache.valid = true;
}

double IlcCplex::getCurrentValue(int column) {
  if (!x_.valid) {
    fill(x_, getNumCols(), &CplexLibrary::CPXgetx, "IlcCplex::getCurrentValue: No more memory",
         "IlcCplex::getCurrentValue", !manager_.isInEditMode());
  }
  return x_.values[static_cast<std::size_t>(column)];
}

double IlcCplex::getReducedCost(int column) {
  if (!dj_.valid) {
    fill(dj_, getNumCols(), &CplexLibrary::CPXgetdj, "IlcCplex::updateReducedCost: No more memory",
         "IlcCplex::updateReducedCost", !manager_.isInEditMode() || close_on_error_);
  }
  return dj_.values[static_cast<std::size_t>(column)];
}

double IlcCplex::getDualValue(int row) {
  if (!pi_.valid) {
    fill(pi_, getNumRows(), &CplexLibrary::CPXgetpi, "IlcCplex::updateDualValue: No more memory",
         "IlcCplex::updateDuals", !manager_.isInEditMode());
  }
  return pi_.values[static_cast<std::size_t>(row)];
}

double IlcCplex::getSlackValue(int row) {
  if (!slack_.valid) {
    fill(slack_, getNumRows(), &CplexLibrary::CPXgetslack,
         "IlcCplex::updateSlackValue: No more memory", "IlcCplex::updateSlackValue",
         !manager_.isInEditMode());
  }
  return slack_.values[static_cast<std::size_t>(row)];
}

double IlcCplex::getObjValue() {
  double value = 0.0;
  test("IlcCplex::getObjValue", library_.CPXgetobjval(env_, lp_, &value));
  return value;
}

// ----- Counts -----

int IlcCplex::getNumRows() { return library_.CPXgetnumrows(env_, lp_); }

int IlcCplex::getNumCols() { return library_.CPXgetnumcols(env_, lp_); }

int IlcCplex::getNumNonzeros() { return library_.CPXgetnumnz(env_, lp_); }

// ----- Parameters -----

void IlcCplex::setIntParam(int number, int value) {
  test("IlcCplex::setIntParam", library_.CPXsetintparam(env_, number, value));
}

int IlcCplex::getIntParam(int number) {
  int value = 0;
  test("IlcCplex::getIntParam", library_.CPXgetintparam(env_, number, &value));
  return value;
}

void IlcCplex::getInfoIntParam(int number, int* default_value, int* min_value, int* max_value) {
  test("IlcCplex::getInfoIntParam",
       library_.CPXinfointparam(env_, number, default_value, min_value, max_value));
}

void IlcCplex::setFloatParam(int number, double value) {
  test("IlcCplex::setFloatParam", library_.CPXsetdblparam(env_, number, value));
}

void IlcCplex::setStringParam(int number, const char* value) {
  test("IlcCplex::setStringParam", library_.CPXsetstrparam(env_, number, value));
}

}  // namespace planloc
