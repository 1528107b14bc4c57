#include "planloc/engine/ilc_cplex.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <utility>

namespace planloc {
namespace {

constexpr std::size_t kMessageSize = 1024;

// Strings of parameters have up to 510 characters.
constexpr std::size_t kTextSize = 512;

}  // namespace

// One for each thread: the library keeps its parameters in it.
IlcCplex::Environment& IlcCplex::environment() {
  static thread_local Environment shared;
  return shared;
}

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

// Gives callbacks, problem and environment back; the first code that is not 0.
int IlcCplex::release() {
  if (holds_lp_callback_) library_.CPXsetlpcallbackfunc(env_, nullptr, nullptr);
  if (holds_mip_callback_) library_.CPXsetmipcallbackfunc(env_, nullptr, nullptr);
  holds_lp_callback_ = holds_mip_callback_ = false;
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
  if (close_on_error_) release();
  report(name, code);
}

void IlcCplex::report(const char* name, int code) {
  manager_.getErrorReporter()->error(close_on_error_ ? kIlcClosedOnError : code, name, message_);
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

void IlcCplex::newCol(double lb, double ub, char type, const char* name) {
  invalidateCaches();
  const bool typed = manager_.isInEditMode() && type != 'C';
  char* names[] = {const_cast<char*>(name)};
  test("IlcCplex::newCol", library_.CPXnewcols(env_, lp_, 1, nullptr, &lb, &ub,
                                               typed ? &type : nullptr, name ? names : nullptr));
}

void IlcCplex::newRow(int n, const int* indices, const double* values, char sense, double rhs) {
  invalidateCaches();
  const int start = 0;
  test("IlcCplex::newRow", library_.CPXaddrows(env_, lp_, 0, 1, n, &rhs, &sense, &start, indices,
                                               values, nullptr, nullptr));
}

void IlcCplex::growRows() {
  RowBuffer& b = rows_;
  const std::size_t growth = static_cast<std::size_t>(getIntParam(CPX_PARAM_ROWGROWTH));
  const std::size_t capacity = std::max({b.rows + 1, growth, 2 * b.capacity()});
  try {
    b.starts.resize(capacity);
    b.senses.resize(capacity);
    b.names.resize(capacity);
    b.rhs.resize(capacity);
  } catch (const std::bad_alloc&) {
    noMoreMemory();
    throw;  // a reporter that returns leaves no room for the row
  }
}

void IlcCplex::growNonzeros(std::size_t n) {
  RowBuffer& b = rows_;
  const std::size_t growth = static_cast<std::size_t>(getIntParam(CPX_PARAM_NZGROWTH));
  const std::size_t capacity = std::max({b.nonzeros + n + 1, growth, 2 * b.nonzeroCapacity()});
  try {
    b.indices.resize(capacity);
    b.values.resize(capacity);
  } catch (const std::bad_alloc&) {
    noMoreMemory();
    throw;  // a reporter that returns leaves no room for the row
  }
}

void IlcCplex::bufferRow(int n, const int* indices, const double* values, char sense, double rhs) {
  RowBuffer& b = rows_;
  const auto length = static_cast<std::size_t>(n);
  if (b.rows == b.capacity()) growRows();
  if (b.nonzeros + length >= b.nonzeroCapacity()) growNonzeros(length);
  b.rhs[b.rows] = rhs;
  b.senses[b.rows] = sense;
  b.starts[b.rows] = static_cast<int>(b.nonzeros);
  b.names[b.rows] = default_name_;
  ++b.rows;
  for (std::size_t k = 0; k < length; ++k) {
    b.values[b.nonzeros + k] = values[k];
    b.indices[b.nonzeros + k] = indices[k];
  }
  b.nonzeros += length;
}

void IlcCplex::nameLastBufferedRow(const char* name) {
  rows_.names[rows_.rows - 1] = const_cast<char*>(name);
}

void IlcCplex::postToCplex() {
  // Taken out first, so that the buffer is empty whatever the call reports.
  RowBuffer b = std::exchange(rows_, RowBuffer());
  if (b.rows == 0) return;
  const bool named = std::any_of(b.names.data(), b.names.data() + b.rows,
                                 [this](const char* name) { return name != default_name_; });
  invalidateCaches();
  test("IlcCplex::postToCplex",
       library_.CPXaddrows(env_, lp_, 0, static_cast<int>(b.rows), static_cast<int>(b.nonzeros),
                           b.rhs.data(), b.senses.data(), b.starts.data(), b.indices.data(),
                           b.values.data(), nullptr, named ? b.names.data() : nullptr));
}

void IlcCplex::deleteRow(int row) {
  invalidateCaches();
  test("IlcCplex::deleteRow", library_.CPXdelrows(env_, lp_, row, row));
}

void IlcCplex::delRows(int first, int last) {
  invalidateCaches();
  test("IlcCplex::delRows", library_.CPXdelrows(env_, lp_, first, last));
}

void IlcCplex::delCols(int first, int last) {
  invalidateCaches();
  test("IlcCplex::delCols", library_.CPXdelcols(env_, lp_, first, last));
}

void IlcCplex::chgRhs(int row, double value) {
  invalidateCaches();
  test("IlcCplex::chgRhs", library_.CPXchgrhs(env_, lp_, 1, &row, &value));
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
  std::vector<int> indices(static_cast<std::size_t>(n));
  std::iota(indices.begin(), indices.end(), 0);
  const std::vector<double> zeros(indices.size(), 0.0);
  test("IlcCplex::eraseObj", library_.CPXchgobj(env_, lp_, n, indices.data(), zeros.data()));
}

bool IlcCplex::isMinimize() { return library_.CPXgetobjsen(env_, lp_) == 1; }

// ----- Bounds -----

void IlcCplex::chgMin(int column, double value) {
  test("IlcCplex::chgMin", library_.CPXchgbds(env_, lp_, 1, &column, "L", &value));
}

void IlcCplex::chgMax(int column, double value) {
  test("IlcCplex::chgMax", library_.CPXchgbds(env_, lp_, 1, &column, "U", &value));
}

void IlcCplex::setMin(int column, double value) {
  test("IlcCplex::setMin", library_.CPXtightenbds(env_, lp_, 1, &column, "L", &value));
}

void IlcCplex::setMax(int column, double value) {
  test("IlcCplex::setMax", library_.CPXtightenbds(env_, lp_, 1, &column, "U", &value));
}

void IlcCplex::tighten(int n, const int* columns, const char* sides, const double* values) {
  // The name in the report is that of a single upper bound: intended, it is the one that users
  // know.
  test("IlcCplex::setMax", library_.CPXtightenbds(env_, lp_, n, columns, sides, values));
}

double IlcCplex::getMin(int column) {
  double value = 0.0;
  test("IlcCplex::getMin", library_.CPXgetlb(env_, lp_, &value, column, column));
  return value;
}

double IlcCplex::getMax(int column) {
  double value = 0.0;
  test("IlcCplex::getMax", library_.CPXgetub(env_, lp_, &value, column, column));
  return value;
}

void IlcCplex::getBounds(double* lb, double* ub) {
  const int last = getNumCols() - 1;
  test("IlcCplex::getBounds(lb)", library_.CPXgetlb(env_, lp_, lb, 0, last));
  test("IlcCplex::getBounds(ub)", library_.CPXgetub(env_, lp_, ub, 0, last));
}

// ----- Integrality -----

int IlcCplex::getProblemType() { return library_.CPXgetprobtype(env_, lp_); }

void IlcCplex::setProblemType(int type) {
  test("IlcCplex::setProblemType", library_.CPXchgprobtype(env_, lp_, type));
}

void IlcCplex::setToLP() {
  if (getProblemType() != CPXPROB_LP) library_.CPXchgprobtype(env_, lp_, CPXPROB_LP);
}

void IlcCplex::copyCtype(const char* types) {
  test("IlcCplex::copyCtype", library_.CPXcopyctype(env_, lp_, types));
}

void IlcCplex::setPriOrder(int n, const int* columns, const int* priorities,
                           const int* directions) {
  test("IlcCplex::setPriOrder",
       library_.CPXcopyorder(env_, lp_, n, columns, priorities, directions));
}

void IlcCplex::setStartingSolution(const double* values) {
  test("IlcCplex::setStartingSolution",
       library_.CPXcopystart(env_, lp_, nullptr, nullptr, values, nullptr, nullptr, nullptr));
}

// ----- Special ordered sets -----

void IlcCplex::SetList::append(const IlcSOS& set) {
  types.push_back(set.type == 1 ? '1' : set.type == 2 ? '2' : '\0');
  priorities.push_back(set.priority);
  starts.push_back(static_cast<int>(columns.size()));
  columns.insert(columns.end(), set.columns.begin(), set.columns.end());
  weights.insert(weights.end(), set.weights.begin(), set.weights.end());
}

void IlcCplex::copySets(const char* name, const SetList& sets) {
  const bool matched = sets.columns.size() == sets.weights.size();
  test(name, matched ? library_.CPXcopysos(env_, lp_, static_cast<int>(sets.types.size()),
                                           static_cast<int>(sets.columns.size()), sets.types.data(),
                                           sets.priorities.data(), sets.starts.data(),
                                           sets.columns.data(), sets.weights.data())
                     : CPXERR_BAD_ARGUMENT);
}

void IlcCplex::setSOS(const std::vector<IlcSOS>& sets) {
  SetList list;
  for (const IlcSOS& set : sets) list.append(set);
  copySets("IlcCplex::setSOS", list);
}

void IlcCplex::newSOS(const IlcSOS& set) {
  if (getProblemType() != CPXPROB_MIP) {
    test("IlcCplex::newSOS", library_.CPXchgprobtype(env_, lp_, CPXPROB_MIP));
  }
  SetList list;
  if (const int n = library_.CPXgetnumsos(env_, lp_); n > 0) {
    int entries = 0;
    int surplus = 0;
    // The first call tells how much there is.
    library_.CPXgetsos(env_, lp_, &entries, nullptr, nullptr, nullptr, nullptr, nullptr, 0,
                       &surplus, 0, n - 1);
    list.types.resize(static_cast<std::size_t>(n));
    list.priorities.resize(static_cast<std::size_t>(n));
    list.starts.resize(static_cast<std::size_t>(n));
    list.columns.resize(static_cast<std::size_t>(-surplus));
    list.weights.resize(static_cast<std::size_t>(-surplus));
    test("IlcCplex::newSOS",
         library_.CPXgetsos(env_, lp_, &entries, list.types.data(), list.priorities.data(),
                            list.starts.data(), list.columns.data(), list.weights.data(), -surplus,
                            &surplus, 0, n - 1));
  }
  list.append(set);
  copySets("IlcCplex::newSOS", list);
}

// ----- Basis -----

void IlcCplex::setBasis(const std::vector<int>& columns, const std::vector<int>& rows) {
  const bool matched = static_cast<int>(columns.size()) == getNumCols() &&
                       static_cast<int>(rows.size()) == getNumRows();
  test("IlcCplex::setBasis", matched ? library_.CPXcopybase(env_, lp_, columns.data(), rows.data())
                                     : CPXERR_BAD_ARGUMENT);
}

void IlcCplex::getBasis(std::vector<int>& columns, std::vector<int>& rows) {
  columns.assign(static_cast<std::size_t>(getNumCols()), CPX_AT_LOWER);
  rows.assign(static_cast<std::size_t>(getNumRows()), CPX_BASIC);
  test("IlcCplex::getBasis", library_.CPXgetbase(env_, lp_, columns.data(), rows.data()));
}

void IlcCplex::setBase(const int* columns, const int* rows) {
  test("IlcCplex::setBase", library_.CPXcopybase(env_, lp_, columns, rows));
}

void IlcCplex::getBase(int* columns, int* rows) {
  test("IlcCplex::getBase", library_.CPXgetbase(env_, lp_, columns, rows));
}

void IlcCplex::writeBase(const char* file) {
  test("IlcCplex::writeBase", library_.CPXmbasewrite(env_, lp_, file));
}

void IlcCplex::readBase(const char* file) {
  test("IlcCplex::readBase", library_.CPXreadcopybase(env_, lp_, file));
}

void IlcCplex::writeProblem(const char* file, const char* format) {
  test("IlcCplex::writeProblem", library_.CPXwriteprob(env_, lp_, file, format));
}

// ----- Counts -----

int IlcCplex::getNumRows() { return library_.CPXgetnumrows(env_, lp_); }

int IlcCplex::getNumCols() { return library_.CPXgetnumcols(env_, lp_); }

int IlcCplex::getNumNonzeros() { return library_.CPXgetnumnz(env_, lp_); }

int IlcCplex::getPhaseOneCount() { return count(&CplexLibrary::CPXgetphase1cnt); }

int IlcCplex::getNodeCount() { return count(&CplexLibrary::CPXgetnodecnt); }

int IlcCplex::getNodeLeftCount() { return count(&CplexLibrary::CPXgetnodeleftcnt); }

int IlcCplex::getCliqueCount() { return count(&CplexLibrary::CPXgetclqcnt); }

int IlcCplex::getCoverCount() { return count(&CplexLibrary::CPXgetcovcnt); }

int IlcCplex::getCrossPPushCount() { return count(&CplexLibrary::CPXgetcrossppushcnt); }

int IlcCplex::getCrossPExchCount() { return count(&CplexLibrary::CPXgetcrosspexchcnt); }

int IlcCplex::getCrossDPushCount() { return count(&CplexLibrary::CPXgetcrossdpushcnt); }

int IlcCplex::getCrossDExchCount() { return count(&CplexLibrary::CPXgetcrossdexchcnt); }

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

double IlcCplex::getFloatParam(int number) {
  double value = 0.0;
  test("IlcCplex::getFloatParam", library_.CPXgetdblparam(env_, number, &value));
  return value;
}

void IlcCplex::getInfoFloatParam(int number, double* default_value, double* min_value,
                                 double* max_value) {
  test("IlcCplex::getInfoFloatParam",
       library_.CPXinfodblparam(env_, number, default_value, min_value, max_value));
}

void IlcCplex::setDblParam(int number, double value) {
  test("IlcCplex::setDblParam", library_.CPXsetdblparam(env_, number, value));
}

void IlcCplex::setStringParam(int number, const char* value) {
  test("IlcCplex::setStringParam", library_.CPXsetstrparam(env_, number, value));
}

std::string IlcCplex::getStringParam(int number) {
  char text[kTextSize] = "";
  test("IlcCplex::getStringParam", library_.CPXgetstrparam(env_, number, text));
  return text;
}

std::string IlcCplex::getStringParamDefault(int number) {
  char text[kTextSize] = "";
  test("IlcCplex::getStringParamDefault", library_.CPXinfostrparam(env_, number, text));
  return text;
}

void IlcCplex::setParamsDefault() {
  test("IlcCplex::setParamsDefault", library_.CPXsetdefaults(env_));
}

}  // namespace planloc
