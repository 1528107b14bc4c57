#include "planloc/optimum/allocation/lower_bound.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <queue>
#include <utility>
#include <vector>

#include "planloc/optimum/allocation/column_generation.h"

namespace planloc::detail {

namespace {

// Of the sum of prices: what roundings in the bound may come to, and more.
constexpr double kMargin = 1e-10;
constexpr std::size_t kMostSitesOfCases = 4000;  // beyond, prices move in groups
constexpr std::size_t kMostCases = 400;          // with prices of their own
constexpr std::size_t kRoundsOfCase = 100;

// Where the prices of the whole plane leave a gap, it is cut in two: how many facilities lie on
// either side makes the cases, each with prices of its own. The case with the least bound comes
// first, to be given prices, and then to be cut itself.
class case_tree {
 public:
  explicit case_tree(const bound_task& task)
      : task_(task), of_case_{task.ground,  task.answer, task.goal,
                              task.expired, silent_,     task.given_up} {}

  void run() {
    cases_.push_back({.cells = {{price_cell(), task_.answer.points.size()}}});
    {
      column_generation all(task_, cases_[0].cells);
      if (!all.run()) return;
      take(all, cases_[0]);
    }
    bound_ = cases_[0].bound;
    if (cases_[0].prices->size() <= kMostSitesOfCases) divide_until_closed();
    // A better answer may have taken the place of the one that there was.
    task_.answer.lower_bound = bound_;
    task_.answer.prices.clear();
    task_.answer.triples.clear();
    task_.answer.cases.clear();
    if (bound_ > cases_[0].bound) {
      write(cases_[0]);
    } else {
      task_.answer.prices = prices_of(*cases_[0].prices);
      task_.answer.triples = triples_of(*cases_[0].prices);
    }
  }

 private:
  struct priced_case {
    std::vector<peopled_cell> cells;
    std::shared_ptr<const site_prices> prices = {};
    std::vector<double> least = {};  // by cell, with these prices
    double bound = 0;
    std::shared_ptr<const std::vector<dual_master::cluster>> clusters = {};
    bool own_prices = false;  // else they are those of the case that it is part of
    std::optional<cell_cut> cut = {};
    std::vector<std::size_t> parts = {};
  };
  using bound_and_case = std::pair<double, std::size_t>;

  bool closed(double bound) const { return task_.answer.value - bound <= task_.goal; }

  static double bound_of(const priced_case& c) {
    double bound = c.prices->sum();
    for (std::size_t k = 0; k < c.cells.size(); ++k)
      bound += static_cast<double>(c.cells[k].count) * c.least[k];
    return std::max(0.0, bound - kMargin * c.prices->sum_of_slots());
  }

  // By site.
  std::vector<double> prices_of(const site_prices& by_slot) const {
    std::vector<double> result(by_slot.size(), 0);
    for (std::size_t slot = 0; slot < by_slot.size(); ++slot)
      result[task_.ground.table.site[slot]] = by_slot[slot];
    return result;
  }
  std::vector<priced_triple> triples_of(const site_prices& by_slot) const {
    std::vector<priced_triple> result(by_slot.triples().begin(), by_slot.triples().end());
    for (priced_triple& t : result)
      for (std::uint32_t& s : t.sites) s = task_.ground.table.site[s];
    return result;
  }

  static void take(const column_generation& found, priced_case& c) {
    c.prices = std::make_shared<const site_prices>(found.prices());
    c.least = found.least();
    c.bound = bound_of(c);
    c.own_prices = true;
    c.cut = found.fractional_cut();
    c.clusters = std::make_shared<const std::vector<dual_master::cluster>>(found.known_clusters());
  }

  void divide_until_closed() {
    open_.push({bound_, 0});
    while (!closed(bound_) && !task_.expired()) {
      const std::size_t k = open_.top().second;
      if (!(cases_[k].own_prices ? divide(k) : price(k))) return;
      if (open_.top().first <= bound_) continue;
      bound_ = open_.top().first;
      if (task_.told) task_.told(bound_);
    }
  }

  // The case on top; false if enough were tried.
  bool price(std::size_t k) {
    if (++tried_ > kMostCases) return false;
    open_.pop();
    priced_case& c = cases_[k];
    column_generation part(of_case_, c.cells);
    part.run_from(*c.prices, c.least, *c.clusters, kRoundsOfCase);
    take(part, c);
    open_.push({c.bound, k});
    return true;
  }

  // The case on top; false if there is nothing to cut, or not enough time.
  bool divide(std::size_t k) {
    const std::optional<cell_cut> cut = cases_[k].cut;
    if (!cut) return false;
    std::vector<peopled_cell> sides =
        cut_cells({cases_[k].cells[cut->cell]}, {0, cut->by_x, cut->at}, 1);
    sides[1].count = 1;
    const auto least = column_generation(of_case_, std::move(sides)).least_with(*cases_[k].prices);
    if (!least) return false;
    open_.pop();
    for (std::size_t below = 0; below <= cases_[k].cells[cut->cell].count; ++below) {
      priced_case part{.cells = cut_cells(cases_[k].cells, *cut, below),
                       .prices = cases_[k].prices,
                       .least = cases_[k].least,
                       .clusters = cases_[k].clusters};
      const double whole = part.least[cut->cell];
      part.least[cut->cell] = std::max(whole, (*least)[0]);
      part.least.push_back(std::max(whole, (*least)[1]));
      part.bound = bound_of(part);
      open_.push({part.bound, cases_.size()});
      cases_[k].parts.push_back(cases_.size());
      cases_.push_back(std::move(part));
    }
    cases_[k].clusters.reset();
    return true;
  }

  static std::vector<peopled_cell> cut_cells(std::vector<peopled_cell> cells, const cell_cut& cut,
                                             std::size_t below) {
    peopled_cell& low = cells[cut.cell];
    peopled_cell high = low;
    high.count -= below;
    low.count = below;
    (cut.by_x ? low.where.high.x : low.where.high.y) = cut.at;
    (cut.by_x ? high.where.low.x : high.where.low.y) = cut.at;
    cells.push_back(high);
    return cells;
  }

  void write(const priced_case& c) {
    allocation_case written;
    if (c.own_prices) {
      written.prices = prices_of(*c.prices);
      written.triples = triples_of(*c.prices);
    }
    if (c.parts.empty()) {
      written.least = c.least;
    } else {
      const xy& base = task_.ground.table.base;
      written.cell = c.cut->cell;
      written.by_x = c.cut->by_x;
      written.at = (c.cut->by_x ? base.x : base.y) + c.cut->at;
    }
    task_.answer.cases.push_back(std::move(written));
    for (const std::size_t k : c.parts) write(cases_[k]);
  }

  const bound_task& task_;
  const std::function<void(double)> silent_;
  const bound_task of_case_;
  std::vector<priced_case> cases_;
  // The least bound first, of the cases that are not divided.
  std::priority_queue<bound_and_case, std::vector<bound_and_case>, std::greater<>> open_;
  double bound_ = 0;
  std::size_t tried_ = 0;
};

}  // namespace

void bound_below(const allocation_ground& ground, allocation& a, double goal,
                 const std::function<bool()>& expired, const std::function<void(double)>& told) {
  bool given_up = false;
  const std::function<bool()> ended = [&] { return given_up || expired(); };
  case_tree({ground, a, goal, ended, told, given_up}).run();
}

}  // namespace planloc::detail
