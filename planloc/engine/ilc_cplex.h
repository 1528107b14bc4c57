// The adaptor between IlcLinOpt and the linear programming library: one problem object of the
// library, a buffer of rows that go out together, and cached solution arrays. It knows columns and
// rows by index only; variables and constraints are known to IlcLinOpt (ilc_linopt.h).
#ifndef PLANLOC_ENGINE_ILC_CPLEX_H_
#define PLANLOC_ENGINE_ILC_CPLEX_H_

#include <memory>

#include "planloc/engine/cplex_library.h"
#include "planloc/engine/manager.h"

namespace planloc {

// The environment of the library is shared by all adaptors: the first one opens it, the last one
// closes it.
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
  // Sends one row at once.
  void newRow(int n, const int* indices, const double* values, char sense, double rhs);
  // Keeps a row, unnamed, until postToCplex.
  void bufferRow(int n, const int* indices, const double* values, char sense, double rhs);
  int getBufferedRows() const { return rows_.count; }
  void nameLastBufferedRow(const char* name);
  // Sends all buffered rows with one call and frees the buffer.
  void postToCplex();
  void deleteRow(int row);
  void setRowName(const char* name);  // of the last row

  // ----- Objective -----

  // Sense 1 minimises, -1 maximises.
  void chgObj(int n, const int* indices, const double* values, int sense);
  void eraseObj();
  bool isMinimize();

  // ----- Bounds -----

  void chgMin(int column, double value);
  void chgMax(int column, double value);
  // Tightens n bounds: side L or U.
  void tighten(int n, const int* columns, const char* sides, const double* values);
  // Bounds of all columns. REQUIRES: there is one.
  void getBounds(double* lb, double* ub);

  // ----- Solve -----

  // Return the status of the library.
  int primalOpt();
  int dualOpt();

  int getProblemType();
  void setProblemType(int type);
  void setToLP();

  // ----- Solution -----

  // Entries of arrays that are read once after a solve. The index is not tested.
  double getCurrentValue(int column);
  double getReducedCost(int column);
  double getDualValue(int row);
  double getSlackValue(int row);
  double getObjValue();

  // ----- Counts -----

  int getNumRows();
  int getNumCols();
  int getNumNonzeros();
  int getIterations() const { return iterations_; }  // of all solves

  // ----- Parameters -----

  void setIntParam(int number, int value);
  int getIntParam(int number);
  void getInfoIntParam(int number, int* default_value, int* min_value, int* max_value);
  void setFloatParam(int number, double value);
  void setStringParam(int number, const char* value);

 private:
  struct Cache {
    std::unique_ptr<double[]> values;
    int size = 0;
    bool valid = false;
  };

  struct RowBuffer {
    std::unique_ptr<double[]> rhs;
    std::unique_ptr<int[]> starts;
    std::unique_ptr<char[]> senses;
    std::unique_ptr<char*[]> names;
    std::unique_ptr<double[]> values;
    std::unique_ptr<int[]> indices;
    int count = 0;
    int capacity = 0;
    int nonzeros = 0;
    int nonzero_capacity = 0;
  };

  using Read = int (CplexLibrary::*)(CPXENVptr, CPXLPptr, double*, int, int);
  using Solve = int (CplexLibrary::*)(CPXENVptr, CPXLPptr);

  IlcCplex(IlcManager m, int closeOnError);
  void open();
  int release();
  void test(const char* name, int code);
  void invalidateCaches();
  int solve(Solve method, const char* name);
  void fill(Cache& cache, int length, Read read, const char* memory_report, const char* name,
            bool solve_without_solution);
  template <typename T>
  void grow(std::unique_ptr<T[]>& array, int used, int capacity);
  void growRows();
  void growNonzeros(int n);
  void noMoreMemory();

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
  bool close_on_error_;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_CPLEX_H_
