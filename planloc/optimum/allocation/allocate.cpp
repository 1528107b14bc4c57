#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "planloc/optimum/allocation/assignment.h"
#include "planloc/optimum/allocation/local_search.h"
#include "planloc/optimum/allocation/lower_bound.h"
#include "planloc/optimum/allocation/pair_search.h"
#include "planloc/optimum/input_check.h"
#include "planloc/optimum/location_allocation.h"
#include "planloc/optimum/minimise.h"

namespace planloc {

namespace {

// Of the value: what the rounding of places may cost for them to be optimal.
constexpr double kRoundingGap = 5e-10;
constexpr std::size_t kFacilitiesOfShakes = 25;  // allocate_options::shakes
constexpr std::size_t kMostSitesOfPairs = 20'000;
constexpr std::size_t kShakesBeforePairs = 4;

// Another stream for every start of every seed (Steele, Lea and Flood 2014).
std::uint64_t seed_of(std::uint64_t seed, std::uint64_t start) {
  std::uint64_t z = seed + (start + 1) * 0x9e3779b97f4a7c15;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
  z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
  return z ^ (z >> 31);
}

// Starts on all threads. The best of all is the same whichever thread makes which start.
class all_starts {
 public:
  all_starts(const detail::allocation_ground& ground, const allocate_options& options,
             std::function<bool()> expired)
      : ground_(ground), options_(options), expired_(std::move(expired)) {}

  // The second time from the best places of each start merged with those of the others, with all of
  // these as candidates; what comes of it is merged once more.
  void run() {
    const std::size_t shakes =
        options_.shakes *
        ((ground_.problem.count() + kFacilitiesOfShakes - 1) / kFacilitiesOfShakes);
    best_.resize(std::max<std::size_t>(options_.starts, 1));
    on_all_threads([this, shakes](std::size_t start, bool caller) {
      detail::local_search search(ground_, ground_.at_sites, seed_of(options_.seed, start),
                                  expired_);
      search.start();
      make(start, search, shakes, caller);
    });
    for (const std::size_t more : {shakes, std::size_t{0}}) {
      if (best_.size() > 1 && !expired_()) merge_all(more);
    }
  }

  const std::vector<xy>& places() const { return places_; }
  const allocation_counters& counters() const { return counters_; }

 private:
  using task = std::function<void(std::size_t start, bool caller)>;

  void merge_all(std::size_t shakes) {
    const std::vector<std::vector<xy>> all = best_;
    std::vector<xy> met;
    for (const std::vector<xy>& b : all) met.insert(met.end(), b.begin(), b.end());
    const detail::candidate_places candidates(ground_.sites, std::move(met));
    on_all_threads([&](std::size_t start, bool caller) {
      detail::local_search search(ground_, candidates, seed_of(options_.seed, all.size() + start),
                                  expired_);
      search.start_from(all[start]);
      for (std::size_t k = 1; k < all.size() && !expired_(); ++k)
        search.merge(all[(start + k) % all.size()]);
      make(start, search, shakes, caller);
    });
  }

  void on_all_threads(const task& t) {
    const std::size_t wanted = options_.threads > 0
                                   ? static_cast<std::size_t>(options_.threads)
                                   : std::max(1U, std::thread::hardware_concurrency());
    next_ = 0;
    {
      std::vector<std::jthread> others;
      for (std::size_t k = 1; k < std::min(wanted, best_.size()); ++k) {
        others.emplace_back([this, &t] { work(t, false); });
      }
      work(t, true);
    }
    if (failure_) std::rethrow_exception(failure_);
  }

  void work(const task& t, bool caller) {
    try {
      for (std::size_t k = next_++; k < best_.size(); k = next_++) {
        if (k > 0 && expired_()) return;
        t(k, caller);
      }
    } catch (...) {
      const std::scoped_lock lock(mutex_);
      failure_ = std::current_exception();
      next_ = best_.size();
    }
  }

  void make(std::size_t start, detail::local_search& search, std::size_t shakes, bool caller) {
    offer(start, search);
    for (std::size_t k = 0; k < shakes && !expired_(); ++k) {
      search.shake();
      if (caller && options_.progress) {
        offer(start, search);
        tell();
      }
    }
    offer(start, search);
    const std::scoped_lock lock(mutex_);
    const std::vector<xy> places = search.best_places();
    best_[start].assign(places.begin(),
                        places.begin() + static_cast<std::ptrdiff_t>(ground_.problem.count()));
    const allocation_counters& c = search.counters();
    counters_.starts += expired_() ? 0 : 1;
    counters_.shakes += c.shakes;
    counters_.interchanges += c.interchanges;
    counters_.solves += c.solves;
  }

  void offer(std::size_t start, const detail::local_search& search) {
    const std::scoped_lock lock(mutex_);
    const double value = search.best_value();
    if (!places_.empty() && (value > value_ || (value == value_ && start >= best_start_))) return;
    value_ = value;
    best_start_ = start;
    places_ = search.best_places();
  }

  void tell() {
    const auto [value, starts] = [this] {
      const std::scoped_lock lock(mutex_);
      return std::pair(value_, counters_.starts);
    }();
    options_.progress({value, std::nullopt, starts});
  }

  const detail::allocation_ground& ground_;
  const allocate_options& options_;
  std::function<bool()> expired_;
  std::atomic<std::size_t> next_ = 0;
  std::mutex mutex_;  // of what follows
  std::exception_ptr failure_;
  std::vector<std::vector<xy>> best_;  // of the new facilities, by start
  std::vector<xy> places_;
  double value_ = 0;
  std::size_t best_start_ = 0;
  allocation_counters counters_;
};

class allocator {
 public:
  allocator(const allocation_problem& p, const allocate_options& options)
      : problem_(p), options_(options) {}

  allocation run() {
    if (!all_served() && !place_one()) search();
    result_.counters.seconds = seconds();
    return std::move(result_);
  }

 private:
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }
  allocation_status status_by_gap() const;
  bool by_pairs() const {
    return options_.lower_bound && problem_.count() == 2 &&
           problem_.sites().size() <= kMostSitesOfPairs;
  }
  bool expired() const { return options_.stop.stop_requested() || seconds() > options_.seconds; }
  void accept(std::vector<xy> points, allocation_status status) {
    result_.points = std::move(points);
    result_.status = status;
    detail::assign(problem_, result_);
  }
  bool all_served();
  bool place_one();
  void search();
  void bound(const detail::allocation_ground& ground);

  const allocation_problem& problem_;
  const allocate_options& options_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  allocation result_;
};

// A facility for each place that has none, if there are enough; the others join the first site.
bool allocator::all_served() {
  std::vector<xy> places;
  for (const site& s : problem_.sites()) places.push_back({s.x, s.y});
  std::sort(places.begin(), places.end(), detail::lexicographic);
  places.erase(std::unique(places.begin(), places.end()), places.end());
  std::erase_if(places, [this](const xy& at) {
    return std::find(problem_.existing().begin(), problem_.existing().end(), at) !=
           problem_.existing().end();
  });
  if (places.size() > problem_.count() && problem_.count() > 0) return false;
  if (problem_.count() > 0) {
    const site& first = problem_.sites()[0];
    places.resize(problem_.count(), {first.x, first.y});
    std::sort(places.begin(), places.end(), detail::lexicographic);
  } else {
    places.clear();
  }
  accept(std::move(places), allocation_status::optimal);
  result_.lower_bound = result_.value;
  return true;
}

bool allocator::place_one() {
  if (problem_.count() != 1 || !problem_.existing().empty()) return false;
  minimise_options options;
  options.seconds = options_.seconds;
  options.stop = options_.stop;
  options.whole_set = false;
  if (options_.progress) {
    options.progress = [this](const search_progress& now) {
      options_.progress({now.value, now.lower_bound, 0});
    };
  }
  solution s = minimise(problem_.single(), options);
  accept({s.point}, allocation_status::optimal);
  result_.lower_bound = std::min(s.lower_bound, result_.value);
  // The exact place may be optimal where the point, its rounding, is not.
  if (s.status != solution_status::optimal || result_.gap() > kRoundingGap * result_.value)
    result_.status = status_by_gap();
  result_.one_facility = std::move(s);
  return true;
}

void allocator::search() {
  const detail::allocation_ground ground(problem_);
  allocate_options options = options_;
  if (by_pairs()) {  // they find the best places, too
    options.starts = std::min<std::size_t>(options.starts, 1);
    options.shakes = std::min(options.shakes, kShakesBeforePairs);
  }
  all_starts starts(ground, options, [this] { return expired(); });
  starts.run();
  result_.counters = starts.counters();
  for (std::size_t k = 0; k < problem_.count(); ++k) {
    result_.points.push_back(ground.absolute(starts.places()[k]));
  }
  detail::alternate_to_optima(problem_, result_, [this] { return expired(); });
  if (result_.value == 0) {
    result_.lower_bound = 0;
  } else if (options_.lower_bound) {
    bound(ground);
  }
  result_.status = status_by_gap();
}

allocation_status allocator::status_by_gap() const {
  if (result_.pairs && result_.gap() <= kRoundingGap * result_.value)
    return allocation_status::optimal;
  if (result_.lower_bound && result_.gap() <= options_.relative_gap * result_.value)
    return allocation_status::within_gap;
  return expired() ? allocation_status::stopped : allocation_status::searched;
}

void allocator::bound(const detail::allocation_ground& ground) {
  const auto expired_now = [this] { return expired(); };
  const auto tell = [this](double bound) {
    if (!options_.progress) return;
    options_.progress({result_.value, bound, result_.counters.starts});
  };
  std::optional<allocation> paired;
  if (by_pairs()) {
    detail::search_pairs(ground, result_, options_.relative_gap, expired_now, tell);
    const bool enough = result_.gap() <= options_.relative_gap * result_.value;
    if (enough || expired()) return;
    if (result_.lower_bound) paired = result_;
    result_.pairs.reset();
    result_.lower_bound.reset();
  }
  detail::bound_below(ground, result_, options_.relative_gap * result_.value, expired_now, tell);
  if (!paired || result_.lower_bound > paired->lower_bound) return;
  result_.lower_bound = std::min(*paired->lower_bound, result_.value);
  result_.pairs = std::move(paired->pairs);
  result_.prices.clear();
  result_.triples.clear();
  result_.cases.clear();
}

}  // namespace

allocation_problem::allocation_problem(std::vector<site> sites, std::vector<gauge> gauges,
                                       std::size_t count, std::vector<xy> existing)
    : single_(std::move(sites), std::move(gauges), order_weights::median()),
      count_(count),
      existing_(std::move(existing)) {
  if (count_ == 0 && existing_.empty()) throw bad_problem("no facility, new or existing");
  constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
  if (existing_.size() > kMost || count_ > kMost - existing_.size()) {
    throw bad_problem(std::to_string(count_) + " new facilities and " +
                      std::to_string(existing_.size()) + " existing: must be at most " +
                      std::to_string(kMost));
  }
  for (std::size_t k = 0; k < existing_.size(); ++k) {
    for (const auto& [name, c] : {std::pair("x", existing_[k].x), {"y", existing_[k].y}}) {
      if (std::fabs(c) <= kMostNumber) continue;
      throw bad_problem(std::string(name) + " of existing facility " + std::to_string(k) + " is " +
                        detail::number_text(c) + ": must be " +
                        (std::isfinite(c) ? "at most 1e36 in magnitude" : "finite"));
    }
  }
}

allocation allocate(const allocation_problem& p, const allocate_options& options) {
  detail::check_options({{"seconds", options.seconds},
                         {"relative_gap", options.relative_gap},
                         {"threads", options.threads}});
  return allocator(p, options).run();
}

}  // namespace planloc
