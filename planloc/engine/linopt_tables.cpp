#include "planloc/engine/linopt_tables.h"

#include <algorithm>

#include "planloc/engine/float_exp_impl.h"

namespace planloc {

double ilc_clamp_bound(double value) { return std::clamp(value, -CPX_INFBOUND, CPX_INFBOUND); }

// ----- IlcDynamicArrayOfAny -----

IlcDynamicArrayOfAny::IlcDynamicArrayOfAny(int size) {
  if (size < 1) {
    ilc_reporter().error(kIlcUsageError, "IlcDynamicArrayOfAny::IlcDynamicArrayOfAny",
                         "wrong size");
    return;
  }
  entries_.resize(static_cast<std::size_t>(size));
}

void IlcDynamicArrayOfAny::set(int i, IlcAny any, IlcCplex& cplex) {
  if (i >= capacity()) {
    const int growth = std::max(cplex.getIntParam(CPX_PARAM_ROWGROWTH), 2 * capacity());
    entries_.resize(static_cast<std::size_t>(std::max(i + 1, growth)));
  }
  entries_[static_cast<std::size_t>(i)] = any;
}

void IlcDynamicArrayOfAny::erase(int i, int size) {
  std::copy(entries_.begin() + i + 1, entries_.begin() + size, entries_.begin() + i);
}

// ----- IlcColumnTable -----

int IlcColumnTable::find(const IlcFloatVarI* var) const {
  const auto found = index_.find(var);
  return found == index_.end() ? -1 : found->second;
}

void IlcColumnTable::growStaging(int needed, IlcCplex& cplex) {
  if (needed <= staging_capacity_) return;
  staging_capacity_ =
      std::max({needed, cplex.getIntParam(CPX_PARAM_COLGROWTH), 2 * staging_capacity_});
  const auto n = static_cast<std::size_t>(staging_capacity_);
  bounds_.assign(2 * n, 0.0);
  types_.assign(n, 'C');
  names_.assign(n, nullptr);
}

void IlcColumnTable::mapToColumns(const IlcFloatVarArrayI& vars, IlcCplex& cplex,
                                  std::vector<int>& columns) {
  static char no_name[] = "";
  growStaging(vars.size, cplex);
  double* const lower = bounds_.data();
  double* const upper = bounds_.data() + staging_capacity_;
  columns.resize(static_cast<std::size_t>(vars.size));
  int added = 0;
  for (int k = 0; k < vars.size; ++k) {
    IlcFloatVarI* const var = vars.vars[k].getImpl();
    const auto [place, is_new] = index_.try_emplace(var, size());
    columns[static_cast<std::size_t>(k)] = place->second;
    if (!is_new) continue;
    vars_.set(place->second, var, cplex);
    lower[added] = std::max(var->getMin(), -CPX_INFBOUND);
    upper[added] = std::min(var->getMax(), CPX_INFBOUND);
    types_[static_cast<std::size_t>(added)] = 'C';
    names_[static_cast<std::size_t>(added)] =
        var->getName() ? const_cast<char*>(var->getName()) : no_name;
    ++added;
  }
  if (added > 0) cplex.newCols(added, lower, upper, types_.data(), names_.data());
}

// ----- IlcRowTable -----

int IlcRowTable::find(const IlcConstraintI* ct) const {
  const auto found = index_.find(ct);
  return found == index_.end() ? -1 : found->second;
}

void IlcRowTable::append(IlcConstraintI* ct, IlcCplex& cplex) {
  constraints_.set(size_, ct, cplex);
  index_[ct] = size_++;
}

void IlcRowTable::erase(int row) {
  index_.erase(constraint(row));
  constraints_.erase(row, size_);
  --size_;
  for (int i = row; i < size_; ++i) index_[constraint(i)] = i;
}

}  // namespace planloc
