#include "planloc/optimum/allocation/lower_bound.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "planloc/optimum/allocation/column_generation.h"

namespace planloc::detail {

namespace {

// Of the sum of prices: what roundings in the bound may come to, and more.
constexpr double kMargin = 1e-10;
constexpr std::size_t kMostSitesOfCases = 400;
constexpr std::size_t kMostCases = 400;
constexpr std::size_t kRoundsOfCase = 100;

// Cuts the plane where the prices of all of it leave a gap: how many facilities lie on either side
// makes the cases, each with prices of its own.
class case_tree {
 public:
  explicit case_tree(const bound_task& task) : task_(task) {}

  void run() {
    column_generation all(task_, {{price_cell(), task_.answer.points.size()}});
    if (!all.run()) return;
    claim(all.bound(), all);
    if (closed(all.bound()) || all.prices().size() > kMostSitesOfCases) return;
    bound_ = task_.answer.value;
    divide(all);
    if (!cases_.empty() && cases_[0].prices.empty() && bound_ > *task_.answer.lower_bound) {
      task_.answer.lower_bound = bound_;
      task_.answer.prices.clear();
      task_.answer.cases = std::move(cases_);
    }
  }

 private:
  bool closed(double bound) const { return task_.answer.value - bound <= task_.goal; }

  static double safe(double bound, const column_generation& prices) {
    const double sum = std::accumulate(prices.prices().begin(), prices.prices().end(), 0.0);
    return std::max(0.0, bound - kMargin * sum);
  }

  std::vector<double> by_site(const std::vector<double>& by_slot) const {
    std::vector<double> result(by_slot.size(), 0);
    for (std::size_t slot = 0; slot < by_slot.size(); ++slot)
      result[task_.ground.table.site[slot]] = by_slot[slot];
    return result;
  }

  void claim(double bound, const column_generation& prices) {
    task_.answer.lower_bound = safe(bound, prices);
    task_.answer.prices = by_site(prices.prices());
  }

  // Appends the cases that a case falls into, itself if it does not.
  void divide(const column_generation& whole) {
    const bool goes_on = !closed(whole.bound()) && tried_ < kMostCases && !task_.expired();
    const std::optional<cell_cut> cut = goes_on ? whole.fractional_cut() : std::nullopt;
    if (!cut) {
      bound_ = std::min(bound_, safe(whole.bound(), whole));
      cases_.push_back({by_site(whole.prices()), whole.least(), 0, true, 0});
      return;
    }
    const double base = cut->by_x ? task_.ground.table.base.x : task_.ground.table.base.y;
    const double at = base + cut->at;
    cases_.push_back({{}, {}, cut->cell, cut->by_x, at});
    for (std::size_t below = 0; below <= whole.cells()[cut->cell].count; ++below) {
      ++tried_;
      column_generation part(task_, cut_cells(whole.cells(), *cut, at - base, below));
      // Without time the other's prices are what is left: they are a bound of each case.
      if (part.run_from(whole, tried_ < kMostCases ? kRoundsOfCase : 0)) {
        divide(part);
      } else {
        bound_ = std::min(bound_, safe(whole.bound(), whole));
        std::vector<double> least = whole.least();
        least.push_back(least[cut->cell]);
        cases_.push_back({by_site(whole.prices()), std::move(least), 0, true, 0});
      }
    }
  }

  static std::vector<peopled_cell> cut_cells(std::vector<peopled_cell> cells, const cell_cut& cut,
                                             double at, std::size_t below) {
    peopled_cell& low = cells[cut.cell];
    peopled_cell high = low;
    high.count -= below;
    low.count = below;
    (cut.by_x ? low.where.high.x : low.where.high.y) = at;
    (cut.by_x ? high.where.low.x : high.where.low.y) = at;
    cells.push_back(high);
    return cells;
  }

  const bound_task& task_;
  std::vector<allocation_case> cases_;
  double bound_ = 0;  // the least of the cases
  std::size_t tried_ = 0;
};

}  // namespace

void bound_below(const allocation_ground& ground, allocation& a, double goal,
                 const std::function<bool()>& expired, const std::function<void(double)>& told) {
  case_tree({ground, a, goal, expired, told}).run();
}

}  // namespace planloc::detail
