// The adaptor between IlcLinOpt and the linear programming library: one problem object of the
// library, a buffer of rows that go out together, and cached solution arrays. It knows columns and
// rows by index only; variables and constraints are known to IlcLinOpt (ilc_linopt.h).
#ifndef PLANLOC_ENGINE_ILC_CPLEX_H_
#define PLANLOC_ENGINE_ILC_CPLEX_H_

#include <exception>
#include <string>
#include <vector>

#include "planloc/engine/cplex_library.h"
#include "planloc/engine/heap_blocks.h"
#include "planloc/engine/ilc_callback.h"
#include "planloc/engine/manager.h"

namespace planloc {

// A special ordered set: at most one of its columns (type 1) or two neighbours (type 2) are not
// zero; the weights, which differ, give their order. Of columns and weights there are as many.
struct IlcSOS {
  int type;
  std::vector<int> columns;
  std::vector<double> weights;
  int priority = 0;
};

// How IlcCplex::optimize solves.
enum IlcMethod : int {
  kIlcPrimal = 0,
  kIlcDual = 1,
  kIlcNetworkPrimal = 2,
  kIlcNetworkDual = 3,
  kIlcBarrierPrimal = 4,
  kIlcBarrierDual = 5,
};

// The environment of the library is shared by all adaptors of a thread: the first one opens it, the
// last one closes it. Parameters and callbacks belong to it. So an adaptor is made, used and closed
// on one thread.
//
// A library call that returns a code other than 0 is reported through the manager's reporter with
// the code, the name of the operation ("IlcCplex::dualOpt") and the library's text. With
// `closeOnError` problem and environment are released first and the code is 53.
class IlcCplex {
 public:
  // `b` has no effect.
  IlcCplex(IlcManager m, int b, int closeOnError);
  ~IlcCplex();  // releases what close() has not, without a report
  IlcCplex(const IlcCplex&) = delete;
  IlcCplex& operator=(const IlcCplex&) = delete;

  // Releases caches, problem and environment and reports what fails, as "IlcCplex::~IlcCplex". A
  // report may throw, which a destructor must not.
  void close();

  CPXENVptr getEnv() const { return env_; }
  CPXLPptr getLp() const { return lp_; }

  // ----- Columns and rows -----

  // Appends n columns in runs of named and of unnamed ones; an empty name means none. Types other
  // than C reach the library in edit mode only.
  void newCols(int n, const double* lb, const double* ub, const char* types, char** names);
  // Appends one column; a null name means none.
  void newCol(double lb, double ub, char type, const char* name);
  // Sends one row at once.
  void newRow(int n, const int* indices, const double* values, char sense, double rhs);
  // Keeps a row, unnamed, until postToCplex.
  void bufferRow(int n, const int* indices, const double* values, char sense, double rhs);
  int getBufferedRows() const { return static_cast<int>(rows_.rows); }
  // The name must stay until postToCplex.
  void nameLastBufferedRow(const char* name);
  // Sends all buffered rows with one call and frees the buffer.
  void postToCplex();
  void deleteRow(int row);
  void delRows(int first, int last);
  void delCols(int first, int last);
  void setRowName(const char* name);  // of the last row
  void chgRhs(int row, double value);

  // ----- Objective -----

  // Sense 1 minimises, -1 maximises.
  void chgObj(int n, const int* indices, const double* values, int sense);
  void eraseObj();
  bool isMinimize();

  // ----- Bounds; a change clears no cached solution -----

  void chgMin(int column, double value);
  void chgMax(int column, double value);
  // As above, but a bound that is tighter already stays.
  void setMin(int column, double value);
  void setMax(int column, double value);
  // The same for n bounds: side L or U.
  void tighten(int n, const int* columns, const char* sides, const double* values);
  double getMin(int column);
  double getMax(int column);
  // Bounds of all columns. REQUIRES: there is one.
  void getBounds(double* lb, double* ub);

  // ----- Integrality -----

  int getProblemType();
  void setProblemType(int type);  // an IlcCplexProblemType
  void setToLP();
  void copyCtype(const char* types);  // one per column
  // All special ordered sets anew, or one more.
  void setSOS(const std::vector<IlcSOS>& sets);
  void newSOS(const IlcSOS& set);
  // Columns of higher priority are branched on first. `directions`, an IlcCplexBranch each, may be
  // null.
  void setPriOrder(int n, const int* columns, const int* priorities, const int* directions);
  // One value per column, NaN for an unknown one; mipOpt begins from there.
  void setStartingSolution(const double* values);

  // ----- Solve -----

  // Return the status of the library.
  int primalOpt();
  int dualOpt();
  int barrierOpt();
  int barrierPrimalOpt();
  int barrierDualOpt();
  // `extraction` is the value of CPX_PARAM_NETFIND for this solve.
  int netPrimalOpt(int extraction);
  int netDualOpt(int extraction);
  int mipOpt();
  int getSubStatus();

  void setFirstSolveParams();
  // Solves the program as a linear one by the method; whether it is solved. In edit mode nothing is
  // reported; otherwise the manager fails for a program without a solution, and a library call that
  // failed is tried again without presolve and aggregator.
  bool optimize(IlcMethod method, int extraction);

  // ----- Solution -----

  // Entries of arrays that are read once after a solve. The index is not tested.
  double getCurrentValue(int column);
  double getReducedCost(int column);
  double getDualValue(int row);
  double getSlackValue(int row);
  double getObjValue();     // of the last linear solve
  double getMIPObjValue();  // of the last mipOpt
  double getBestObjValue();
  // The last solve was mipOpt: the entries above are of its solution, and there are no duals.
  bool isSolvedAsMIP() const { return solved_as_mip_; }

  // ----- Basis -----

  // An IlcCplexBasisStatus per column and per row. The vectors must be of these sizes, which is
  // tested, and come back in them.
  void setBasis(const std::vector<int>& columns, const std::vector<int>& rows);
  void getBasis(std::vector<int>& columns, std::vector<int>& rows);
  // The same for arrays that nothing tests.
  void setBase(const int* columns, const int* rows);
  void getBase(int* columns, int* rows);
  // Basis files of MPS.
  void writeBase(const char* file);
  void readBase(const char* file);

  // Format "MPS" or "LP"; null takes the ending of the name.
  void writeProblem(const char* file, const char* format = nullptr);

  // ----- Counts -----

  int getNumRows();
  int getNumCols();
  int getNumNonzeros();
  int getIterations() const { return iterations_; }  // of all solves
  // Of the last solve; docs/engine.md lists those that are always 0.
  int getPhaseOneCount();
  int getNodeCount();
  int getNodeLeftCount();
  int getCliqueCount();
  int getCoverCount();
  int getCrossPPushCount();
  int getCrossPExchCount();
  int getCrossDPushCount();
  int getCrossDExchCount();

  // ----- Parameters -----

  void setIntParam(int number, int value);
  int getIntParam(int number);
  void getInfoIntParam(int number, int* default_value, int* min_value, int* max_value);
  void setFloatParam(int number, double value);
  double getFloatParam(int number);
  void getInfoFloatParam(int number, double* default_value, double* min_value, double* max_value);
  void setDblParam(int number, double value);
  void setStringParam(int number, const char* value);
  std::string getStringParam(int number);
  std::string getStringParamDefault(int number);
  void setParamsDefault();

  // ----- Callbacks; an empty handle takes the callback out -----

  void setLPCallback(IlcCallback callback);
  void unsetLPCallback();
  IlcCallback getLPCallback();
  void setMIPCallback(IlcCallback callback);
  void unsetMIPCallback();
  IlcCallback getMIPCallback();

 private:
  friend class IlcCallbackI;

  struct Cache {
    std::vector<double> values;
    bool valid = false;
  };

  // The capacities follow the growth parameters of the library.
  struct RowBuffer {
    // As large as the capacities below.
    detail::raw_block_vector<double> rhs;
    detail::raw_block_vector<int> starts;
    detail::raw_block_vector<char> senses;
    detail::raw_block_vector<char*> names;
    detail::raw_block_vector<double> values;
    detail::raw_block_vector<int> indices;
    std::size_t rows = 0;
    std::size_t nonzeros = 0;
    std::size_t capacity() const { return rhs.size(); }
    std::size_t nonzeroCapacity() const { return values.size(); }
  };

  // Of the process.
  struct Environment {
    CPXENVptr env = nullptr;
    int users = 0;
    std::exception_ptr thrown;  // by a callback in the solve under way
  };

  // Special ordered sets as the library takes them.
  struct SetList {
    void append(const IlcSOS& set);
    std::vector<char> types;
    std::vector<int> priorities;
    std::vector<int> starts;
    std::vector<int> columns;
    std::vector<double> weights;
  };

  using Read = int (CplexLibrary::*)(CPXENVptr, CPXLPptr, double*, int, int);
  using ReadValue = int (CplexLibrary::*)(CPXENVptr, CPXLPptr, double*);
  using Solve = int (CplexLibrary::*)(CPXENVptr, CPXLPptr);
  using Count = int (CplexLibrary::*)(CPXENVptr, CPXLPptr);

  IlcCplex(IlcManager m, int closeOnError);
  static Environment& environment();
  void open();
  int release();
  void test(const char* name, int code);
  void report(const char* name, int code);
  void invalidateCaches();
  void growRows();
  void growNonzeros(std::size_t n);
  void noMoreMemory();
  void copySets(const char* name, const SetList& sets);

  int finishSolve(const char* name, int code, bool as_mip);
  void countIterations(bool as_mip);
  int solveByNetwork(int extraction, int method);
  int finishBarrier(const char* name, int code);
  int runSimplex(Solve method);
  bool solveByPrimal();
  bool solveByDual();
  bool recover(int code);
  bool failed();

  void fill(Cache& cache, int length, Read linear, Read mip, const char* memory_report,
            const char* name, bool solve_without_solution);
  double readObjValue(ReadValue read, const char* name);
  int count(Count counter) { return (library_.*counter)(env_, lp_); }

  static int call(CPXENVptr env, void* data, int where, void* handle) noexcept;

  IlcManager manager_;
  CplexLibrary& library_;
  CPXENVptr env_ = nullptr;
  CPXLPptr lp_ = nullptr;
  bool holds_environment_ = false;
  int iterations_ = 0;
  char* message_;  // 1024 bytes on the manager's heap
  Cache x_;
  Cache pi_;
  Cache dj_;
  Cache slack_;
  RowBuffer rows_;
  char default_name_[2] = "?";
  bool holds_lp_callback_ = false;
  bool holds_mip_callback_ = false;
  bool solved_as_mip_ = false;
  bool close_on_error_;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_CPLEX_H_
