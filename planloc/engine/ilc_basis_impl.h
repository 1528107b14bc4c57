// What stands behind IlcBasis. Users include ilc_basis.h.
#ifndef PLANLOC_ENGINE_ILC_BASIS_IMPL_H_
#define PLANLOC_ENGINE_ILC_BASIS_IMPL_H_

#include "planloc/engine/ilc_basis.h"
#include "planloc/engine/ilc_cplex.h"
#include "planloc/engine/linopt_tables.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {

// Statuses by variable and by constraint, not by index: rows move up when one before them goes.
class IlcBasisI {
 public:
  explicit IlcBasisI(IlcManagerI* manager) : manager_(manager) {}
  IlcManagerI* getManager() const { return manager_; }

  // Takes the basis of the library.
  void fill(IlcCplex& cplex, const IlcColumnTable& columns, const IlcRowTable& rows);
  // Gives the basis to the library. What was no part of it gets the status of something new: a row
  // basic, a column at a bound.
  void apply(IlcCplex& cplex, const IlcColumnTable& columns, const IlcRowTable& rows) const;

  int columnStatus(const void* var) const { return columns_.find(var); }
  int rowStatus(const void* ct) const { return rows_.find(ct); }

 private:
  struct Entry {
    const void* item;
    int status;
  };

  // Ordered by item, on the manager's heap.
  struct Statuses {
    Entry* entries = nullptr;
    int size = 0;
    int capacity = 0;

    void reserve(IlcManagerI* manager, int n);
    void sort();
    int find(const void* item) const;  // -1 for none
  };

  IlcManagerI* manager_;
  Statuses columns_;
  Statuses rows_;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_BASIS_IMPL_H_
