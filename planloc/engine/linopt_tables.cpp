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

void IlcDynamicArrayOfAny::grow(int i, IlcCplex& cplex) {
  const int growth = std::max(cplex.getIntParam(CPX_PARAM_ROWGROWTH), 2 * capacity());
  entries_.resize(static_cast<std::size_t>(std::max(i + 1, growth)));
}

void IlcDynamicArrayOfAny::erase(int i, int size) {
  std::copy(entries_.begin() + i + 1, entries_.begin() + size, entries_.begin() + i);
}

// ----- IlcNumbering -----

int IlcNumbering::find(IlcAny object) const {
  for (; mapped_ < size_; ++mapped_) numbers_[objects_[mapped_]] = mapped_;
  const auto found = numbers_.find(object);
  return found == numbers_.end() ? -1 : found->second;
}

void IlcNumbering::erase(int i) {
  forgetMap(i);
  objects_.erase(i, size_--);
}

void IlcNumbering::truncate(int size) {
  forgetMap(size);
  size_ = std::min(size_, size);
}

void IlcNumbering::forgetMap(int from) {
  if (from >= mapped_) return;
  numbers_.clear();
  mapped_ = 0;
}

// ----- IlcColumnTable -----

int IlcColumnTable::find(IlcFloatVarI* var) const {
  const int hint = var->columnHint();
  if (hint < 0 || vars_.has(hint, var)) return hint;
  return vars_.find(var);
}

void IlcColumnTable::growStaging(int needed, IlcCplex& cplex) {
  const int capacity =
      std::max({needed, cplex.getIntParam(CPX_PARAM_COLGROWTH), 2 * staging_capacity_});
  const auto n = static_cast<std::size_t>(capacity);
  bounds_.assign(2 * n, 0.0);
  types_.assign(n, 'C');
  names_.assign(n, nullptr);
  staging_capacity_ = capacity;
}

void IlcColumnTable::stage(IlcFloatVarI* var, int place) {
  static char no_name[] = "";
  const auto k = static_cast<std::size_t>(place);
  const double lower = var->getMin();
  const double upper = var->getMax();
  bounds_[k] = std::max(lower, -CPX_INFBOUND);
  bounds_[k + static_cast<std::size_t>(staging_capacity_)] = std::min(upper, CPX_INFBOUND);
  types_[k] = !var->isInteger() ? 'C' : lower == 0.0 && upper == 1.0 ? 'B' : 'I';
  names_[k] = var->getName() ? const_cast<char*>(var->getName()) : no_name;
}

// Writes the columns where all variables have one and their hints are right, as they are in most
// rows; otherwise `columns` holds nothing of worth.
template <typename Var>
bool IlcColumnTable::areAllHinted(const IlcArrayI<Var>& vars, int* columns) const {
  for (int k = 0; k < vars.size; ++k) {
    IlcFloatVarI* const var = vars.values[k].getImpl();
    detail::ilc_assert(var != nullptr, "var.getImpl() != 0");
    columns[k] = var->columnHint();
    if (!vars_.has(columns[k], var)) return false;
  }
  return true;
}

template <typename Var>
void IlcColumnTable::mapToColumns(const IlcArray<Var>& handle, IlcCplex& cplex,
                                  std::vector<int>& columns) {
  const int n = handle.getSize();
  const IlcArrayI<Var>& vars = *handle.getImpl();
  if (n > staging_capacity_) growStaging(n, cplex);
  columns.resize(static_cast<std::size_t>(n));
  if (!areAllHinted(vars, columns.data())) addColumns(vars, cplex, columns.data());
}

template <typename Var>
void IlcColumnTable::addColumns(const IlcArrayI<Var>& vars, IlcCplex& cplex, int* columns) {
  const struct Settle {
    ~Settle() {
      if (table.size() > first) table.vars_.truncate(std::max(first, cplex.getNumCols()));
    }
    IlcColumnTable& table;
    IlcCplex& cplex;
    int first;
  } settle{*this, cplex, size()};
  int added = 0;
  for (int k = 0; k < vars.size; ++k) {
    IlcFloatVarI* const var = vars.values[k].getImpl();
    detail::ilc_assert(var != nullptr, "var.getImpl() != 0");
    columns[k] = find(var);
    if (columns[k] < 0) {
      columns[k] = size();
      vars_.append(var, cplex);
      stage(var, added++);
    }
    var->setColumnHint(columns[k]);
  }
  if (added == 0) return;
  cplex.newCols(added, bounds_.data(), bounds_.data() + staging_capacity_, types_.data(),
                names_.data());
}

template void IlcColumnTable::mapToColumns(const IlcArray<IlcFloatVar>&, IlcCplex&,
                                           std::vector<int>&);
template void IlcColumnTable::mapToColumns(const IlcArray<IlcIntVar>&, IlcCplex&,
                                           std::vector<int>&);

}  // namespace planloc
