#include "planloc/engine/ilc_basis.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "planloc/engine/float_exp_impl.h"
#include "planloc/engine/ilc_basis_impl.h"
#include "planloc/engine/linopt_messages.h"

namespace planloc {

// ----- IlcBasisI -----

void IlcBasisI::Statuses::reserve(IlcManagerI* manager, int n) {
  if (n > capacity) {
    const std::size_t bytes = sizeof(Entry) * static_cast<std::size_t>(n);
    entries = static_cast<Entry*>(manager->getHeap()->allocate(bytes));
    capacity = n;
  }
  size = n;
}

void IlcBasisI::Statuses::sort() {
  std::ranges::sort(entries, entries + size, std::less<>(), &Entry::item);
}

int IlcBasisI::Statuses::find(const void* item) const {
  const Entry* const end = entries + size;
  const Entry* const place =
      std::ranges::lower_bound(entries, end, item, std::less<>(), &Entry::item);
  return place != end && place->item == item ? place->status : -1;
}

void IlcBasisI::fill(IlcCplex& cplex, const IlcColumnTable& columns, const IlcRowTable& rows) {
  std::vector<int> column_statuses(static_cast<std::size_t>(columns.size()));
  std::vector<int> row_statuses(static_cast<std::size_t>(rows.size()));
  cplex.getBasis(column_statuses, row_statuses);
  columns_.reserve(manager_, columns.size());
  for (int j = 0; j < columns.size(); ++j) {
    columns_.entries[j] = {columns.var(j), column_statuses[static_cast<std::size_t>(j)]};
  }
  rows_.reserve(manager_, rows.size());
  for (int i = 0; i < rows.size(); ++i) {
    rows_.entries[i] = {rows.constraint(i), row_statuses[static_cast<std::size_t>(i)]};
  }
  columns_.sort();
  rows_.sort();
}

void IlcBasisI::apply(IlcCplex& cplex, const IlcColumnTable& columns,
                      const IlcRowTable& rows) const {
  std::vector<int> column_statuses(static_cast<std::size_t>(columns.size()));
  std::vector<int> row_statuses(static_cast<std::size_t>(rows.size()));
  for (int j = 0; j < columns.size(); ++j) {
    IlcFloatVarI* const var = columns.var(j);
    int status = columns_.find(var);
    if (status < 0) {
      status = var->getMin() > -CPX_INFBOUND  ? CPX_AT_LOWER
               : var->getMax() < CPX_INFBOUND ? CPX_AT_UPPER
                                              : CPX_FREE_SUPER;
    }
    column_statuses[static_cast<std::size_t>(j)] = status;
  }
  for (int i = 0; i < rows.size(); ++i) {
    const int status = rows_.find(rows.constraint(i));
    row_statuses[static_cast<std::size_t>(i)] = status < 0 ? CPX_BASIC : status;
  }
  cplex.setBasis(column_statuses, row_statuses);
}

// ----- IlcBasis -----

IlcManager IlcBasis::getManager() const {
  if (impl_) return impl_->getManager();
  ilc_reporter().error(kIlcUsageError, linopt_message::kBasisGetManager);
  return IlcManager();
}

int IlcBasis::getStatus(IlcFloatVar var) const { return statusOf(var.getImpl(), false); }

int IlcBasis::getStatus(IlcConstraint ct) const { return statusOf(ct.getImpl(), true); }

int IlcBasis::statusOf(const void* item, bool is_row) const {
  if (impl_ && item) return is_row ? impl_->rowStatus(item) : impl_->columnStatus(item);
  ilc_reporter().error(kIlcUsageError, impl_ ? linopt_message::kBasisGetStatusArgument
                                             : linopt_message::kBasisGetStatus);
  return -1;
}

}  // namespace planloc
