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
  void set(int i, IlcAny any, IlcCplex& cplex) {
    if (i >= capacity()) grow(i, cplex);
    entries_[static_cast<std::size_t>(i)] = any;
  }
  // Takes entry i out of the first `size`; those behind it move up.
  void erase(int i, int size);

 private:
  void grow(int i, IlcCplex& cplex);

  detail::block_vector<IlcAny> entries_;
};

// Objects with their numbers from 0 in order. Most programs never ask for the number of an object,
// so the map behind find is filled when it is asked.
class IlcNumbering {
 public:
  IlcNumbering() : objects_(1) {}

  int size() const { return size_; }
  IlcAny operator[](int i) const { return objects_[i]; }
  int find(IlcAny object) const;  // the last number of an object, -1 without one
  // Whether `i` is a number of the object.
  bool has(int i, IlcAny object) const { return i >= 0 && i < size_ && objects_[i] == object; }
  void append(IlcAny object, IlcCplex& cplex) { objects_.set(size_++, object, cplex); }
  void erase(int i);        // later objects move up by one
  void truncate(int size);  // forgets the objects behind

 private:
  void forgetMap(int from);

  IlcDynamicArrayOfAny objects_;
  int size_ = 0;
  mutable std::unordered_map<IlcAny, int> numbers_;
  mutable int mapped_ = 0;  // how many objects the map knows
};

// Variables and their columns.
class IlcColumnTable {
 public:
  int size() const { return vars_.size(); }
  // -1 for a variable without a column.
  int find(IlcFloatVarI* var) const;
  IlcFloatVarI* var(int column) const { return static_cast<IlcFloatVarI*>(vars_[column]); }

  // Writes the column of each variable to `columns`. Variables without one get one now, in order,
  // in one batch. A column that the library refuses is none.
  template <typename Var>
  void mapToColumns(const IlcArray<Var>& vars, IlcCplex& cplex, std::vector<int>& columns);

 private:
  template <typename Var>
  bool areAllHinted(const IlcArrayI<Var>& vars, int* columns) const;
  template <typename Var>
  void addColumns(const IlcArrayI<Var>& vars, IlcCplex& cplex, int* columns);
  void growStaging(int needed, IlcCplex& cplex);
  void stage(IlcFloatVarI* var, int place);

  IlcNumbering vars_;
  // The batch of new columns; lower bounds in the first half of `bounds_`, upper in the second.
  int staging_capacity_ = 0;
  std::vector<double> bounds_;
  std::vector<char> types_;
  std::vector<char*> names_;
};

// Constraints and their rows.
class IlcRowTable {
 public:
  int size() const { return constraints_.size(); }
  // -1 for a constraint without a row, the last row of one that was added twice.
  int find(IlcConstraintI* ct) const { return constraints_.find(ct); }
  IlcConstraintI* constraint(int row) const {
    return static_cast<IlcConstraintI*>(constraints_[row]);
  }
  void append(IlcConstraintI* ct, IlcCplex& cplex) { constraints_.append(ct, cplex); }
  void erase(int row) { constraints_.erase(row); }
  void truncate(int rows) { constraints_.truncate(rows); }

 private:
  IlcNumbering constraints_;
};

// Bounds at or beyond 1e20 are infinite to the library.
double ilc_clamp_bound(double value);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_LINOPT_TABLES_H_
