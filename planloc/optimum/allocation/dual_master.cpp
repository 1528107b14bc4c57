#include "planloc/optimum/allocation/dual_master.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>

namespace planloc::detail {

namespace {

constexpr double kTolerance = 1e-10;
constexpr double kLeastPivot = 1e-7;
// The right sides are moved apart by this much, since nearly all steps would be of length 0; with
// no pattern in it, since sums of right sides would be tied.
constexpr double kPerturbation = 1e-6;
constexpr double kNoise = 1e-14;
constexpr double kMostBelow = 1e-5;  // 0, of a level
constexpr std::size_t kPivotsToAsk = 32;
constexpr double kLeastShare = 1e-3;  // of a cluster in a solution
constexpr double kLeastLess = 1e-9;   // of its cost: another place is cheaper
constexpr std::size_t kClustersPerRow = 16;
constexpr std::size_t kFewReached = 3;  // one in so many: the others are passed over

}  // namespace

dual_master::dual_master(std::vector<std::size_t> counts, price_groups groups,
                         std::vector<priced_triple> triples)
    : groups_(std::move(groups)),
      triples_(std::move(triples)),
      rows_(groups_.size.size() + triples_.size()),
      size_(groups_.size),
      low_(groups_.least),
      high_(groups_.most),
      fixed_(2 * rows_ + counts.size()),
      known_(counts.size()) {
  size_.resize(rows_, 1);
  low_.resize(rows_, -std::numeric_limits<double>::infinity());
  high_.resize(rows_, 0);
  const std::size_t rows = rows_ + counts.size();
  of_row_.resize(rows);
  for (const double entry : {1.0, -1.0}) {
    for (std::uint32_t i = 0; i < rows_; ++i) add_column({{i}, {entry}, 0, {}, {0, 0}, 0});
  }
  for (auto c = static_cast<std::uint32_t>(rows_); c < rows; ++c)
    add_column({{c}, {1}, 0, {}, {0, 0}, 0});
  std::mt19937_64 random(1);
  const auto drawn = [&random] { return static_cast<double>(random() >> 11) * 0x1p-53; };
  for (std::size_t i = 0; i < rows; ++i) {
    right_.push_back(i < rows_ ? 1 + kPerturbation * drawn()
                               : static_cast<double>(counts[i - rows_]));
  }
  level_ = right_;
  dual_.assign(rows, 0);
  alpha_.assign(rows, 0);
  inverse_.resize(rows * rows);
  basis_.resize(rows);
  reset();
}

void dual_master::add_cluster(std::vector<std::uint32_t> slots, const xy& at, std::uint32_t cell,
                              double cost) {
  const double least_less = kLeastLess * cost;
  std::vector<std::pair<std::uint32_t, double>> covered;
  for (const std::uint32_t i : slots) {
    covered.emplace_back(groups_.of[i], groups_.share[i]);
    cost -= groups_.base[i];
  }
  const auto [known, added] = known_[cell].emplace(slots, columns_.size());
  if (!added) {
    column& same = columns_[known->second];
    if (!(cost < same.cost - least_less)) return;
    same.cost = cost;
    same.at = at;
    ++finds_;
    return;
  }
  ++finds_;
  std::sort(covered.begin(), covered.end());
  column c{{}, {}, cost, std::move(slots), at, cell};
  for (const auto& [group, part] : covered) {
    if (!c.rows.empty() && c.rows.back() == group) {
      c.entries.back() += part;
    } else {
      c.rows.push_back(group);
      c.entries.push_back(part);
    }
  }
  const auto add_to = [&c](std::size_t row) {
    c.rows.push_back(static_cast<std::uint32_t>(row));
    c.entries.push_back(1);
  };
  for (std::size_t t = 0; t < triples_.size(); ++t)
    if (shared(triples_[t], c.slots) >= 2) add_to(groups_.size.size() + t);
  add_to(rows_ + cell);
  add_column(std::move(c));
}

void dual_master::add_column(column c) {
  const auto number = static_cast<std::uint32_t>(columns_.size());
  for (std::size_t k = 0; k < c.rows.size(); ++k)
    of_row_[c.rows[k]].push_back({number, c.entries[k]});
  gain_.push_back(0);
  steepness_.push_back(1 + static_cast<double>(c.rows.size()));
  basic_.push_back(0);
  row_.push_back(0);
  columns_.push_back(std::move(c));
}

void dual_master::set_box(std::span<const double> middle, double half_width) {
  for (std::size_t i = 0; i < rows_; ++i) {
    const double half = half_width * size_[i];
    columns_[i].cost = std::min(high_[i], middle[i] + half);
    columns_[rows_ + i].cost = -std::min(std::max(middle[i] - half, low_[i]), high_[i]);
  }
}

bool dual_master::at_box() const {
  for (std::size_t row = 0; row < basis_.size(); ++row) {
    const std::size_t k = basis_[row];
    if (k >= 2 * rows_ || level_[row] <= 2 * kPerturbation) continue;
    if (k < rows_ ? columns_[k].cost < high_[k] : -columns_[k].cost > low_[k - rows_]) return true;
  }
  return false;
}

std::vector<priced_triple> dual_master::triples_at(std::span<const double> duals) const {
  std::vector<priced_triple> priced = triples_;
  for (std::size_t t = 0; t < priced.size(); ++t)
    priced[t].price = std::max(0.0, -duals[groups_.size.size() + t]);
  return priced;
}

site_prices dual_master::prices_at(std::span<const double> duals) const {
  return site_prices(groups_.prices_of_slots(duals.first(groups_.size.size())), triples_at(duals));
}

double dual_master::least_known(std::uint32_t cell, std::span<const double> duals) const {
  double least = 0;
  for (std::size_t k = fixed_; k < columns_.size(); ++k) {
    const column& c = columns_[k];
    if (c.cell != cell) continue;
    double sum = c.cost;  // the last entry is of the cell
    for (std::size_t j = 0; j + 1 < c.rows.size(); ++j) sum -= c.entries[j] * duals[c.rows[j]];
    least = std::min(least, sum);
  }
  return least;
}

std::vector<std::vector<std::uint32_t>> dual_master::foremost(std::size_t count) const {
  std::vector<std::size_t> rows;
  for (std::size_t row = 0; row < basis_.size(); ++row) {
    if (basis_[row] >= fixed_ && level_[row] > kLeastShare) rows.push_back(row);
  }
  std::sort(rows.begin(), rows.end(), [this](std::size_t a, std::size_t b) {
    return level_[a] != level_[b] ? level_[a] > level_[b] : basis_[a] < basis_[b];
  });
  if (rows.size() > count) rows.resize(count);
  std::vector<std::vector<std::uint32_t>> result;
  for (const std::size_t row : rows) {
    result.push_back(columns_[basis_[row]].slots);
  }
  return result;
}

std::vector<dual_master::taken_cluster> dual_master::taken() const {
  std::vector<taken_cluster> result;
  for (std::size_t row = 0; row < basis_.size(); ++row) {
    const column& c = columns_[basis_[row]];
    if (basis_[row] >= fixed_ && level_[row] > kLeastShare)
      result.push_back({c.slots, c.at, c.cell, level_[row]});
  }
  return result;
}

std::vector<dual_master::cluster> dual_master::known_clusters() const {
  std::vector<cluster> result;
  for (std::size_t k = fixed_; k < columns_.size(); ++k) {
    double cost = columns_[k].cost;
    for (const std::uint32_t i : columns_[k].slots) cost += groups_.base[i];
    result.push_back({columns_[k].slots, columns_[k].at, columns_[k].cell, cost});
  }
  return result;
}

double dual_master::reduced_cost(const column& c) const {
  double sum = 0;
  for (std::size_t k = 0; k < c.rows.size(); ++k) sum += c.entries[k] * dual_[c.rows[k]];
  return c.cost - sum;
}

// All reduced costs anew.
void dual_master::judge() {
  double scale = 0;
  for (const double y : dual_) scale = std::max(scale, std::fabs(y));
  least_gain_ = -kTolerance * scale;
  for (std::size_t k = 0; k < columns_.size(); ++k)
    gain_[k] = basic_[k] != 0 ? 0 : reduced_cost(columns_[k]);
}

std::size_t dual_master::entering() const {
  std::size_t best = columns_.size();
  double most = 0;
  for (std::size_t k = 0; k < columns_.size(); ++k) {
    if (!(gain_[k] < least_gain_)) continue;
    const double by = gain_[k] * gain_[k];
    if (by <= most * steepness_[k]) continue;
    most = by / steepness_[k];
    best = k;
  }
  return best;
}

// inverse times a column.
void dual_master::transform(const column& c) {
  const std::size_t rows = basis_.size();
  std::fill(alpha_.begin(), alpha_.end(), 0);
  for (std::size_t k = 0; k < c.rows.size(); ++k) {
    const double* from = inverse_.data() + c.rows[k] * rows;
    for (std::size_t i = 0; i < rows; ++i) alpha_[i] += c.entries[k] * from[i];
  }
}

// The inverse after the column of `alpha_` has come into a row.
void dual_master::exchange(std::size_t row) {
  const std::size_t rows = basis_.size();
  const auto changed = [](double entry) { return std::fabs(entry) > kNoise ? entry : 0; };
  reached_.clear();
  for (std::uint32_t i = 0; i < rows; ++i)
    if (alpha_[i] != 0) reached_.push_back(i);
  const bool few = reached_.size() < rows / kFewReached;
  for (std::size_t j = 0; j < rows; ++j) {
    double* entry = inverse_.data() + j * rows;
    const double share = entry[row] / alpha_[row];
    if (share == 0) continue;
    if (few) {
      for (const std::uint32_t i : reached_) entry[i] = changed(entry[i] - share * alpha_[i]);
    } else {
      for (std::size_t i = 0; i < rows; ++i) entry[i] = changed(entry[i] - share * alpha_[i]);
    }
    entry[row] = share;
  }
}

// The row with the largest pivot among those that leave the levels at 0 or more (Harris 1973).
std::size_t dual_master::leaving() const {
  double most = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < level_.size(); ++i) {
    if (alpha_[i] > kLeastPivot) most = std::min(most, (level_[i] + kTolerance) / alpha_[i]);
  }
  std::size_t best = level_.size();
  for (std::size_t i = 0; i < level_.size(); ++i) {
    if (!(alpha_[i] > kLeastPivot) || level_[i] > most * alpha_[i]) continue;
    if (best == level_.size() || alpha_[i] > alpha_[best]) best = i;
  }
  return best;
}

bool dual_master::pivot(std::size_t in) {
  transform(columns_[in]);
  const std::size_t row = leaving();
  if (row == level_.size()) return false;
  const double step = std::max(0.0, level_[row] / alpha_[row]);
  for (std::size_t i = 0; i < level_.size(); ++i) level_[i] -= step * alpha_[i];
  level_[row] = step;
  update(in, row, reduced_cost(columns_[in]) / alpha_[row]);
  exchange(row);
  enter(in, row);
  ++pivots_;
  return true;
}

// Duals, reduced costs and reference weights after an exchange. The weights stand for the squared
// lengths of the directions in which columns move the others.
void dual_master::update(std::size_t in, std::size_t row, double step) {
  const std::size_t rows = basis_.size();
  for (std::size_t j = 0; j < rows; ++j) {
    const double share = inverse_[j * rows + row];
    if (share == 0) continue;
    dual_[j] += step * share;
    for (const auto& [k, value] : of_row_[j]) {
      if (row_[k] == 0) crossed_.push_back(k);
      row_[k] += share * value;
    }
  }
  const double pivot = alpha_[row];
  const double reference = steepness_[in];
  for (const std::uint32_t k : crossed_) {
    const double across = std::exchange(row_[k], 0);
    if (basic_[k] != 0) continue;
    gain_[k] -= step * across;
    const double share = across / pivot;
    steepness_[k] = std::max(steepness_[k], share * share * reference);
  }
  crossed_.clear();
  gain_[in] = 0;
  gain_[basis_[row]] = -step;
  steepness_[basis_[row]] = std::max(1.0, reference / (pivot * pivot));
}

// The inverse anew, from columns one by one. Those that depend on the ones before are left out;
// rows that none of them takes have a column of their own.
void dual_master::factorise(std::vector<std::size_t> columns) {
  const std::size_t rows = basis_.size();
  std::sort(columns.begin(), columns.end());
  reset();
  std::vector<char> taken(rows, 0);
  for (const std::size_t k : columns) {
    transform(columns_[k]);
    std::size_t row = rows;
    for (std::size_t i = 0; i < rows; ++i) {
      if (taken[i] != 0) continue;
      if (row == rows || std::fabs(alpha_[i]) > std::fabs(alpha_[row])) row = i;
    }
    if (row == rows || !(std::fabs(alpha_[row]) > kLeastPivot)) continue;
    exchange(row);
    taken[row] = 1;
    enter(k, row);
  }
}

// The basis of the columns of the rows.
void dual_master::reset() {
  const std::size_t rows = basis_.size();
  std::fill(inverse_.begin(), inverse_.end(), 0);
  std::fill(basic_.begin(), basic_.end(), 0);
  for (std::size_t i = 0; i < rows; ++i) {
    inverse_[i * rows + i] = 1;
    basis_[i] = i < rows_ ? i : rows_ + i;
    basic_[basis_[i]] = 1;
  }
  pivots_ = 0;
}

void dual_master::enter(std::size_t in, std::size_t row) {
  basic_[basis_[row]] = 0;
  basic_[in] = 1;
  basis_[row] = in;
}

// The basis of some columns. A row's own column below 0 is exchanged for its opposite; where that
// is not enough, all starts anew.
void dual_master::start_from(std::vector<std::size_t> columns) {
  factorise(std::move(columns));
  compute();
  const std::size_t rows = basis_.size();
  for (std::size_t row = 0; row < rows; ++row) {
    if (level_[row] >= 0 || basis_[row] >= 2 * rows_) continue;
    for (std::size_t j = 0; j < rows; ++j) inverse_[j * rows + row] *= -1;
    enter(basis_[row] < rows_ ? basis_[row] + rows_ : basis_[row] - rows_, row);
  }
  compute();
  if (*std::min_element(level_.begin(), level_.end()) >= -kMostBelow) return;
  reset();
  compute();
}

void dual_master::compute() {
  const std::size_t rows = basis_.size();
  std::fill(level_.begin(), level_.end(), 0);
  for (std::size_t j = 0; j < rows; ++j) {
    const double* entry = inverse_.data() + j * rows;
    double sum = 0;
    for (std::size_t i = 0; i < rows; ++i) {
      sum += columns_[basis_[i]].cost * entry[i];
      level_[i] += right_[j] * entry[i];
    }
    dual_[j] = sum;
  }
}

// Leaves out the clusters that are furthest from coming in, if there are very many.
void dual_master::drop_idle() {
  if (columns_.size() - fixed_ <= kClustersPerRow * basis_.size()) return;
  std::vector<std::pair<double, std::size_t>> idle;
  for (std::size_t k = fixed_; k < columns_.size(); ++k) {
    if (basic_[k] == 0) idle.emplace_back(reduced_cost(columns_[k]), k);
  }
  std::sort(idle.begin(), idle.end());
  std::vector<char> drop(columns_.size(), 0);
  for (std::size_t k = idle.size() / 2; k < idle.size(); ++k) drop[idle[k].second] = 1;
  std::vector<std::size_t> number(columns_.size());
  std::size_t kept = 0;
  for (std::size_t k = 0; k < columns_.size(); ++k) {
    if (drop[k] != 0) {
      known_[columns_[k].cell].erase(columns_[k].slots);
      continue;
    }
    number[k] = kept;
    if (k != kept) columns_[kept] = std::move(columns_[k]);
    steepness_[kept] = steepness_[k];
    basic_[kept++] = basic_[k];
  }
  columns_.resize(kept);
  basic_.resize(kept);
  gain_.resize(kept);
  steepness_.resize(kept);
  row_.resize(kept);
  for (std::vector<crossing>& r : of_row_) {
    std::erase_if(r, [&](const crossing& e) { return drop[e.column] != 0; });
    for (crossing& e : r) e.column = static_cast<std::uint32_t>(number[e.column]);
  }
  for (std::size_t& k : basis_) k = number[k];
  for (auto& of_cell : known_)
    for (auto& [slots, k] : of_cell) k = number[k];
}

void dual_master::continue_from(const dual_master& other) {
  std::vector<std::size_t> columns;
  const std::size_t groups = groups_.size.size();
  for (const std::size_t k : other.basis_) {
    const bool too_much = k >= other.rows_ && k < 2 * other.rows_;
    const std::size_t row = too_much ? k - other.rows_ : k;
    if (k >= 2 * other.rows_) {
      columns.push_back(k - other.fixed_ + fixed_);
    } else if (row < groups) {
      columns.push_back(row + (too_much ? rows_ : 0));
    } else {
      const auto same = std::find_if(triples_.begin(), triples_.end(), [&](const priced_triple& t) {
        return t.sites == other.triples_[row - groups].sites;
      });
      if (same == triples_.end()) continue;
      columns.push_back(groups + static_cast<std::size_t>(same - triples_.begin()) +
                        (too_much ? rows_ : 0));
    }
  }
  // Else clusters would take the rows of new triples, and the solution would not be the same.
  for (std::size_t t = 0; t < triples_.size(); ++t) {
    const bool is_new = std::none_of(
        other.triples_.begin(), other.triples_.end(),
        [&](const priced_triple& before) { return before.sites == triples_[t].sites; });
    if (is_new) columns.push_back(groups + t);
  }
  start_from(std::move(columns));
}

bool dual_master::solve(const std::function<bool()>& expired) {
  compute();
  drop_idle();
  judge();
  bool sure = true;  // that the reduced costs are those of the basis
  for (std::size_t steps = 0;; ++steps) {
    if (steps % kPivotsToAsk == 0 && expired()) return false;
    std::size_t k = entering();
    if (k == columns_.size() && sure) return true;
    if (k == columns_.size() || pivots_ >= 2 * basis_.size() + 100) {
      start_from(basis_);
      judge();
      sure = true;
      continue;
    }
    sure = false;
    if (pivot(k)) continue;
    if (pivots_ == 0) return false;
    start_from(basis_);
    judge();
  }
}

}  // namespace planloc::detail
