// The index tables of IlcLinOpt: variables to columns, constraints to rows, and back.
#ifndef PLANLOC_ENGINE_LINOPT_TABLES_H_
#define PLANLOC_ENGINE_LINOPT_TABLES_H_

#include <memory>
#include <unordered_map>
#include <vector>

#include "planloc/engine/arrays.h"
#include "planloc/engine/constraint.h"
#include "planloc/engine/ilc_cplex.h"

namespace planloc {

using IlcAny = void*;

// An array of pointers that grows when an entry beyond its end is set.
class IlcDynamicArrayOfAny {
 public:
  // A size below 1 reports "IlcDynamicArrayOfAny::IlcDynamicArrayOfAny : wrong size".
  explicit IlcDynamicArrayOfAny(int size);

  int capacity() const { return static_cast<int>(entries_.size()); }
  IlcAny operator[](int i) const { return entries_[static_cast<std::size_t>(i)]; }
  // Grows to max(i + 1, row growth parameter, twice the capacity), keeping the content.
  void set(int i, IlcAny any, IlcCplex& cplex);
  // Takes entry i out of the first `size`; those behind it move up.
  void erase(int i, int size);

 private:
  std::vector<IlcAny> entries_;
};

// Variables and their columns.
class IlcColumnTable {
 public:
  IlcColumnTable() : vars_(1) {}

  int size() const { return static_cast<int>(index_.size()); }
  // -1 for a variable without a column.
  int find(const IlcFloatVarI* var) const;
  IlcFloatVarI* var(int column) const { return static_cast<IlcFloatVarI*>(vars_[column]); }

  // Writes the column of each variable to `columns`. Variables without one get one now, in order,
  // in one batch. A column that the library refuses is none.
  template <typename Var>
  void mapToColumns(const IlcArray<Var>& vars, IlcCplex& cplex, std::vector<int>& columns);

 private:
  void growStaging(int needed, IlcCplex& cplex);
  void stage(IlcFloatVarI* var, int place);
  void forget(int first);

  std::unordered_map<const IlcFloatVarI*, int> index_;
  IlcDynamicArrayOfAny vars_;
  // The batch of new columns; lower bounds in the first half of `bounds_`, upper in the second.
  int staging_capacity_ = 0;
  std::vector<double> bounds_;
  std::vector<char> types_;
  std::vector<char*> names_;
};

// Constraints and their rows.
class IlcRowTable {
 public:
  IlcRowTable() : constraints_(1) {}

  int size() const { return size_; }
  int find(const IlcConstraintI* ct) const;  // -1 for a constraint without a row
  IlcConstraintI* constraint(int row) const {
    return static_cast<IlcConstraintI*>(constraints_[row]);
  }
  void append(IlcConstraintI* ct, IlcCplex& cplex);
  void erase(int row);      // later rows move up by one
  void truncate(int rows);  // forgets the rows behind

 private:
  std::unordered_map<const IlcConstraintI*, int> index_;
  IlcDynamicArrayOfAny constraints_;
  int size_ = 0;
};

// Bounds at or beyond 1e20 are infinite to the library.
double ilc_clamp_bound(double value);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_LINOPT_TABLES_H_
