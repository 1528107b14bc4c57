// Prices of the sites that make a lower bound large: column generation. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_COLUMN_GENERATION_H_
#define PLANLOC_OPTIMUM_ALLOCATION_COLUMN_GENERATION_H_

#include <functional>
#include <limits>
#include <optional>
#include <vector>

#include "planloc/optimum/allocation/dual_master.h"
#include "planloc/optimum/allocation/local_search.h"
#include "planloc/optimum/allocation/place_finder.h"
#include "planloc/optimum/allocation/price_search.h"
#include "planloc/optimum/allocation/service.h"
#include "planloc/optimum/allocation/site_prices.h"

namespace planloc::detail {

// What the bounds of an answer share.
struct bound_task {
  const allocation_ground& ground;
  allocation& answer;  // a better one takes its place
  double goal;         // the gap that is small enough
  const std::function<bool()>& expired;
  const std::function<void(double)>& told;
  bool& given_up;  // a search for a least price did not end; `expired` from then on
};

// So many of the new facilities lie in a rectangle.
struct peopled_cell {
  price_cell where;
  std::size_t count;
};

// A line that cuts a cell.
struct cell_cut {
  std::uint32_t cell;
  bool by_x;
  double at;
};

class column_generation {
 public:
  // The cells hold all new facilities.
  column_generation(const bound_task& task, std::vector<peopled_cell> cells);

  // Until the gap is small enough, nothing is left to gain or the time has expired: from the
  // answer's clusters, or for some rounds from the prices and clusters of another one. `run`
  // returns false if there is no bound.
  bool run();
  void run_from(const site_prices& prices, std::vector<double> least,
                const std::vector<dual_master::cluster>& clusters, std::size_t rounds);
  // `least` with other prices; none if the time has expired.
  std::optional<std::vector<double>> least_with(const site_prices& prices);

  double bound() const { return bound_; }
  const site_prices& prices() const { return best_prices_; }
  // The least priced sum in each cell, from below.
  const std::vector<double>& least() const { return least_; }
  std::vector<dual_master::cluster> known_clusters() const {
    return master_ ? master_->known_clusters() : std::vector<dual_master::cluster>();
  }
  // A cut far from the places of the master's solution, with numbers of facilities on either side
  // that are far from whole.
  std::optional<cell_cut> fractional_cut() const;

 private:
  std::vector<xy> places() const;
  std::vector<double> most() const;
  bool start();
  void go_on(std::size_t rounds);
  // Of the box around the best prices.
  double first_width() const;
  void make_master(std::size_t groups, std::vector<priced_triple> triples);
  void add_known(const std::vector<dual_master::cluster>& clusters);
  bool refine();
  bool cut_off();
  bool nearly_all_gained() const;
  std::vector<double> prices_for(double facility_price);
  std::uint32_t cell_of(const xy& at) const;
  void add(std::vector<std::uint32_t> slots, const xy& start);
  placed place_in(std::span<const std::uint32_t> slots, const xy& start, std::uint32_t cell);
  placed on_side(std::span<const std::uint32_t> slots, xy at, bool along_x, double low,
                 double high) const;
  double tolerance(double gap, double sum_of_prices) const;
  double master_value() const;
  void round(std::size_t shakes);
  void descend_from(std::vector<xy> places, std::size_t shakes);
  bool price();
  std::optional<bool> price_at(const std::vector<double>& duals);
  bool search(const site_prices& prices, double gap, const std::vector<double>& known,
              std::vector<double>& least,
              const std::function<void(const price_search::met&, std::uint32_t)>& met);
  double rounded_cut(double at, bool by_x) const;
  bool take(site_prices prices, std::vector<double> least, const std::vector<double>& duals);
  void improve(xy at, std::uint32_t cell, const site_prices& prices);

  const bound_task& task_;
  const allocation_ground& ground_;
  std::vector<peopled_cell> cells_;
  service service_;
  place_finder find_place_;
  price_search search_;
  std::vector<double> most_;
  std::optional<dual_master> master_;
  std::vector<double> middle_;  // of the box: duals of the master
  double half_width_ = 0;
  double bound_ = -std::numeric_limits<double>::infinity();
  site_prices best_prices_{{}};
  std::vector<double> least_;
  bool fine_ = false;
  std::size_t cuts_ = 0;  // rounds of them
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_COLUMN_GENERATION_H_
