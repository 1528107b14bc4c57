#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "planloc/optimum/farthest_point.h"
#include "planloc/optimum/general/best_place.h"
#include "planloc/optimum/general/cell_regions.h"
#include "planloc/optimum/general/exact_close.h"
#include "planloc/optimum/general/recession.h"
#include "planloc/optimum/general/search_goal.h"
#include "planloc/optimum/general/search_tree.h"
#include "planloc/optimum/general/task_pool.h"
#include "planloc/optimum/general/thin_axes.h"
#include "planloc/optimum/input_check.h"
#include "planloc/optimum/minimise.h"

namespace planloc {

namespace {

using detail::cell;
using detail::exact_xy;
using detail::growth;
using detail::search_tree;
using reason = branch_certificate::reason;

// Of what roundings do amid the sites: what more they may do where a least value is.
constexpr double kMostDoubt = 100;
// Of the value: what a cell with sides of regions on several lines may hold better, where nothing
// is solved exactly and more such cells were halved already.
constexpr double kSideGap = 1e-7;
constexpr std::size_t kMostCloseCalls = 2000;
// Halvings of a triangle of the sites' extent: smaller ones are beyond what doubles can tell.
constexpr int kMostDepth = 100;
// Break lines for which a large cell is solved exactly. Where f levels off far from the sites, it
// is crossed by bundles of lines that are nearly parallel and seldom meet; with many lines that
// costs more than halving, unless there is no end of it.
constexpr std::size_t kLines = 20;
constexpr std::size_t kLinesInBundles = 100;
constexpr std::size_t kLinesAtLength = 400;
constexpr std::size_t kCellsAtLength = 2500;
// Of a cell's size: more than what f can be off by at a crossing in doubles.
constexpr double kPromising = 1e-7;
constexpr std::size_t kCellsBetweenReports = 64;
// Cells that are worked on side by side, of how many open ones each, and how many sites they may
// have together. None may depend on the number of threads, since the course of the search depends
// on them.
constexpr std::size_t kBatch = 16;
constexpr std::size_t kOpenPerTask = 8;
constexpr std::size_t kBatchSites = 1 << 18;
// Of the sites of a batch: less is done before other threads wake up.
constexpr std::size_t kSitesForThreads = 500;
// Where f may level off: half of the square that is tried first, and how far away a best place may
// be for a larger square to be made around it; if it is farther, f falls towards its infimum.
constexpr double kLevelExtents = 4;
constexpr double kFarthestExtents = 4096;
// Half of a square, in extents, for which a smaller one is looked for.
constexpr double kWideExtents = 256;
// Half of the square that is searched when no square is known to hold an optimum, in extents.
constexpr double kNearExtents = 16;

std::optional<detail::cell_regions> regions_of(const problem& p, const xy& base) {
  if (p.where().whole_plane()) return {};
  return std::optional<detail::cell_regions>(std::in_place, p.where(), base);
}

class general_search {
 public:
  general_search(const problem& p, const minimise_options& options)
      : problem_(p),
        options_(options),
        table_(p),
        where_(regions_of(p, table_.base)),
        pool_(options.threads),
        axes_(detail::thin_axes(p, table_)),
        extent_(detail::extent_in(axes_, table_)),
        roundings_(detail::roundings_of(p, table_)),
        goal_(p, options_, roundings_),
        best_(p, table_, where_ ? &*where_ : nullptr, roundings_),
        never_negative_(detail::never_negative(p)),
        floor_of_f_(never_negative_ ? 0 : -std::numeric_limits<double>::infinity()) {
    workers_.reserve(pool_.threads());
    add_worker();
    for (const order_run& r : p.runs())
      steepest_ = std::max(steepest_, std::fabs(r.weight) * table_.steepest);
  }

  solution run();

 private:
  // What a thread works with.
  struct worker {
    worker(const problem& p, const detail::distance_table& table)
        : bounder(table), closer(p, table) {}

    detail::cell_bounder bounder;
    detail::exact_closer closer;
  };
  // What becomes of a cell, found without regard to the other cells of the batch.
  struct task {
    enum class end : std::uint8_t { halved, solved, too_deep };
    struct half {
      std::unique_ptr<cell> c;
      detail::evaluation best_seen{{}, std::numeric_limits<double>::infinity(), {}};
    };

    std::unique_ptr<cell> c;
    end outcome = end::halved;
    std::optional<std::pair<exact_xy, mpq_class>> best;  // of a cell that is solved
    std::array<half, 2> halves;
  };

  void add_worker() { workers_.push_back(std::make_unique<worker>(problem_, table_)); }
  bool find_permitted();
  detail::recession far_away() const;
  void start(double half);
  void search();
  bool next_batch();
  void work_on_batch();
  void work_on(task& t, worker& w) const;
  bool solve_exactly(task& t, worker& w) const;
  void settle(task& t);
  void settle_best(task& t);
  void take(std::unique_ptr<cell> c, const detail::evaluation& best_seen);
  void offer_places_on_sides(const cell& c);
  void use_steps();
  bool least_possible();
  void step_to_zero();
  void make_exact() { best_.make_exact(workers_[0]->closer); }

  // With what the rounding of a place on the cell can do, which next to a heavy site is more than
  // the roundings of the terms.
  double margin(const cell& c) const {
    double far = 0;
    for (const detail::xy& at : c.corners) far = std::max({far, std::fabs(at.x), std::fabs(at.y)});
    return roundings_.of_sums * c.size + 0x1p-50 * steepest_ * far;
  }
  double tolerance() const { return goal_.tolerance(best_.value(), cells_); }
  // The bound of a cell that holds nothing better.
  double enough(const cell& c) const { return best_.value() - tolerance() + margin(c); }
  std::size_t lines_far_away() const {
    return !levels_ ? kLines : cells_ < kCellsAtLength ? kLinesInBundles : kLinesAtLength;
  }
  double half_of_square(const detail::recession& far) const;
  double value_near(const xy& point) const;
  void bound_far_places(detail::recession& far);
  void use_smaller_square(detail::recession& far);
  bool give_up(const cell& c);
  double bound() const;
  double proved_bound();
  bool must_stop();
  bool holds_all_sites(const detail::triangle& t) const;
  solution finish(const detail::recession& far);

  const problem& problem_;
  const minimise_options& options_;
  detail::distance_table table_;
  std::optional<detail::cell_regions> where_;  // unless all of the plane is permitted
  detail::task_pool pool_;
  std::vector<std::unique_ptr<worker>> workers_;  // by thread; made when they are needed
  double steepest_ = 0;                           // of the slopes of the terms
  skewed_axes axes_;
  double extent_;  // of the sites in the axes
  detail::value_roundings roundings_;
  detail::search_goal goal_;
  detail::best_place best_;
  bool never_negative_;
  double floor_of_f_;  // f is nowhere less, as far as is known without a search
  bool growth_is_floor_ = false;
  search_tree tree_;
  int most_depth_ = kMostDepth;
  bool levels_ = false;  // far from the sites
  // f is nowhere less outside of the square, where that was searched too.
  double outside_ = std::numeric_limits<double>::infinity();
  double floor_ = std::numeric_limits<double>::infinity();  // bounds of cells that were given up
  std::vector<task> batch_;
  std::size_t close_calls_ = 0;  // cells with sides on several lines and a small gap
  std::size_t cells_ = 0;
  std::size_t cells_to_report_ = 0;  // at which the next report is due
  double reported_bound_ = -std::numeric_limits<double>::infinity();
  bool stopped_ = false;
};

double general_search::bound() const {
  const double open = tree_.empty() ? std::numeric_limits<double>::infinity() : tree_.least_bound();
  const double least = std::min({open, floor_, outside_, best_.value() - tolerance()});
  return std::max(least, floor_of_f_);
}

double general_search::proved_bound() {
  return std::min({tree_.prune(), outside_, best_.value() - tolerance()});
}

bool general_search::must_stop() {
  if (options_.progress && cells_ >= cells_to_report_) {
    reported_bound_ = std::max(reported_bound_, bound());
    options_.progress({best_.value(), reported_bound_, tree_.open_cells().size()});
    cells_to_report_ = cells_ + kCellsBetweenReports;
  }
  return goal_.time_is_up() || cells_ >= options_.cells;
}

// Where f may come near its least value only far away, a bound without triangles.
void general_search::use_steps() {
  const std::optional<detail::level_steps> steps = detail::steps_to_level(problem_, table_);
  if (!steps) return;
  floor_of_f_ = std::max(floor_of_f_, steps->bound);
  detail::evaluator evaluate(problem_, table_);
  for (const xy& at : steps->places) best_.offer(detail::to_exact(at), evaluate(at).value);
}

// Whether the best value is one that no other can be less than, as far as can be told.
bool general_search::least_possible() {
  if (!std::isfinite(floor_of_f_)) return false;
  if (!problem_.polyhedral()) {
    const double more = best_.doubt();
    const double doubt = best_.far_away() ? goal_.left_open() : 2 * roundings_.of_value + more;
    return more <= kMostDoubt * roundings_.of_value &&
           best_.value() <= floor_of_f_ + std::max(doubt, goal_.smooth_aim(floor_of_f_));
  }
  if (best_.value() > roundings_.of_sums * roundings_.extent) return false;
  make_exact();
  return sgn(*best_.exact()) == 0;
}

void general_search::step_to_zero() {
  if (never_negative_ && !problem_.polyhedral())
    best_.step_to_zero([this] { return least_possible() || goal_.time_is_up(); });
}

// Whether the square of the extent lies in the triangle.
bool general_search::holds_all_sites(const detail::triangle& t) const {
  const double turn = (t[1].x - t[0].x) * (t[2].y - t[0].y) - (t[1].y - t[0].y) * (t[2].x - t[0].x);
  for (std::size_t m = 0; m < 3; ++m) {
    const detail::xy& a = t[m];
    const double x = std::copysign(1, turn) * (t[(m + 1) % 3].x - a.x);
    const double y = std::copysign(1, turn) * (t[(m + 1) % 3].y - a.y);
    if (x * -a.y - y * -a.x < roundings_.extent * (std::fabs(x) + std::fabs(y))) return false;
  }
  return true;
}

// A power of two, so that many halvings are exact.
double general_search::half_of_square(const detail::recession& far) const {
  const double least = far.half > 0 ? far.half : kNearExtents * extent_;
  return std::ldexp(1, std::ilogb(least / branch_certificate::kInside) + 1);
}

// A square outside of which nothing is better than the best place, or hardly.
void general_search::bound_far_places(detail::recession& far) {
  const double half = detail::half_for_far_boxes(problem_, table_);
  if (half == 0 || least_possible()) return;
  const auto ended = [this] { return goal_.time_is_up(); };
  const double near = kLevelExtents * roundings_.extent / 2;
  best_.try_grid(near, ended);
  step_to_zero();
  if (!least_possible()) best_.walk_down(near, ended);
  step_to_zero();
  if (least_possible()) return;
  detail::evaluator evaluate(problem_, table_);
  const detail::far_calls calls{[&](const xy& at) {
                                  best_.offer(detail::to_exact(at), evaluate(at).value);
                                  return best_.value() - tolerance();
                                },
                                [&](double value) {
                                  return value -
                                         std::max(goal_.tolerance(value, 0), goal_.left_open() / 2);
                                },
                                ended};
  far.half = std::max(far.half, half);
  far.kind = growth::levels;
  for (;;) {
    const double reach = half_of_square(far) * branch_certificate::kInside;
    detail::far_level level =
        detail::search_far_boxes(problem_, table_, reach, best_.value() - tolerance(), calls);
    if (level.value < best_.value() - tolerance()) best_.offer_far(level.at, level.value);
    outside_ = level.bound;
    far.outside = std::move(level.outside);
    const xy at = to_nearest(best_.at());
    const double away = std::max(std::fabs(at.x), std::fabs(at.y));
    if (2 * away <= reach || away > kFarthestExtents * roundings_.extent || ended()) return;
    far.half = 4 * away;
  }
}

// Where f grows slowly, so that the square is wide: under polyhedral gauges one may do that would
// if f levelled off.
void general_search::use_smaller_square(detail::recession& far) {
  detail::recession smaller;
  if (problem_.polyhedral()) {
    smaller = detail::test_sectors(problem_, table_, axes_);
    if (smaller.kind != growth::levels || smaller.half >= far.half) return;
    far = std::move(smaller);
    levels_ = true;
    return;
  }
  bound_far_places(smaller);
  if (smaller.kind == growth::levels && outside_ >= best_.value() - tolerance()) {
    far = std::move(smaller);
  } else {
    outside_ = std::numeric_limits<double>::infinity();
  }
}

void general_search::start(double half) {
  const auto corner = [&](int along, int across) {
    return detail::place_in(axes_, {half * (branch_certificate::kShiftX + along),
                                    half * (branch_certificate::kShiftY + across)});
  };
  most_depth_ += 2 * std::max(0, std::ilogb(half / extent_));
  const xy a = corner(-1, -1), b = corner(1, -1), c = corner(1, 1), d = corner(-1, 1);
  for (const detail::triangle& t : {detail::triangle{a, b, d}, detail::triangle{c, d, b}}) {
    std::unique_ptr<cell> root = workers_[0]->bounder.whole(problem_, t);
    tree_.add_root(*root);
    workers_[0]->bounder.process(*root);
    take(std::move(root), workers_[0]->bounder.best_seen());
  }
}

void general_search::take(std::unique_ptr<cell> c, const detail::evaluation& best_seen) {
  ++cells_;
  if (best_seen.value < best_.value()) best_.offer(detail::to_exact(best_seen.at), best_seen.value);
  if (where_ && where_->nothing_permitted(c->corners)) return tree_.close(*c, reason::forbidden);
  const double proved = c->bound - margin(*c);
  if (where_ && !problem_.polyhedral() && proved < best_.value() - tolerance())
    offer_places_on_sides(*c);
  tree_.push(std::move(c), proved);
}

// The best place is often on a side, where no centroid is.
void general_search::offer_places_on_sides(const cell& c) {
  for (const exact_xy& at : where_->places_on_sides(c.corners))
    best_.offer(at, workers_[0]->bounder.value(c, to_nearest(at)));
}

// Without exact solutions the cells on several sides of regions need not end: few do where two
// sides meet, many do along a seam. Nor do those that are short of their aim by no more than
// roundings that are larger than the aim.
bool general_search::give_up(const cell& c) {
  if (problem_.polyhedral()) return false;
  const double proved = c.bound - margin(c);
  const bool on_sides = where_ && !c.cut && where_->crossed(c.corners) &&
                        proved >= best_.value() - kSideGap * std::fabs(best_.value()) &&
                        ++close_calls_ > kMostCloseCalls;
  const bool rounded = margin(c) > tolerance() / 4 && c.bound >= best_.value() - tolerance();
  if (!on_sides && !rounded) return false;
  floor_ = std::min(floor_, proved);
  return true;
}

// Moves the most promising cells to the batch; false if none is left.
bool general_search::next_batch() {
  batch_.clear();
  std::size_t sites = 0;
  const std::size_t most = std::min(kBatch, 1 + tree_.open_cells().size() / kOpenPerTask);
  while (!tree_.empty() && batch_.size() < most && sites <= kBatchSites) {
    std::unique_ptr<cell> c = tree_.pop();
    if (c->bound >= enough(*c) || give_up(*c)) continue;
    sites += c->decided.size() + c->undecided.size();
    batch_.emplace_back().c = std::move(c);
  }
  return !batch_.empty();
}

void general_search::work_on_batch() {
  std::size_t sites = 0;
  for (const task& t : batch_) sites += t.c->decided.size() + t.c->undecided.size();
  if (pool_.threads() == 1 || batch_.size() == 1 || sites < kSitesForThreads) {
    for (task& t : batch_) work_on(t, *workers_[0]);
    return;
  }
  while (workers_.size() < pool_.threads()) add_worker();
  pool_.run(batch_.size(),
            [this](std::size_t k, std::size_t thread) { work_on(batch_[k], *workers_[thread]); });
}

void general_search::work_on(task& t, worker& w) const {
  if (solve_exactly(t, w)) {
    t.outcome = task::end::solved;
    return;
  }
  if (t.c->depth >= most_depth_ || !detail::halves_exactly(t.c->corners)) {
    t.outcome = task::end::too_deep;
    return;
  }
  const double target =
      problem_.polyhedral() ? enough(*t.c) : std::numeric_limits<double>::infinity();
  auto [one, other] = w.bounder.split(*t.c);
  t.halves[0].c = std::move(one);
  t.halves[1].c = std::move(other);
  for (task::half& h : t.halves) {
    if (holds_all_sites(h.c->corners)) continue;  // nothing is decided there
    if (where_ && !problem_.polyhedral()) h.c->cut = where_->cut(h.c->corners);
    w.bounder.process(*h.c, target);
    if (!problem_.polyhedral()) {
      w.bounder.refine(*h.c, enough(*h.c));
      // Where roundings are larger than the aim, that will do: see give_up.
      if (goal_.at_length(cells_)) w.bounder.refine(*h.c, best_.value() - tolerance());
    }
    h.best_seen = w.bounder.best_seen();
  }
}

bool general_search::solve_exactly(task& t, worker& w) const {
  if (!problem_.polyhedral()) return false;
  const cell& c = *t.c;
  const std::size_t limit =
      detail::lines_worth_a_close(detail::side_in(axes_, c.corners), extent_, lines_far_away());
  auto lines = w.closer.lines(c, limit);
  if (!lines) return false;
  if (where_) {
    auto sides = where_->lines(c.corners, limit);
    if (!sides) return false;
    for (detail::exact_line& l : *sides) lines->emplace_back(std::move(l));
  }
  const auto promising = [&](const detail::xy& at) {
    return w.bounder.value(c, at) <= best_.value() + kPromising * c.size + 0x1p10 * margin(c);
  };
  std::vector<std::pair<double, exact_xy>> places;
  double least = best_.value();
  std::vector<exact_xy> vertices = w.closer.vertices(c.corners, std::move(*lines), promising);
  if (where_) where_->add_corners(c.corners, vertices);
  for (exact_xy& at : vertices) {
    const double value = w.bounder.value(c, to_nearest(at));
    if (value > least + margin(c) || (where_ && !where_->permits(at))) continue;
    least = std::min(least, value);
    places.emplace_back(value, std::move(at));
  }
  for (auto& [rounded, at] : places) {
    if (rounded > least + margin(c) || (best_.exact() && at == best_.at())) continue;
    mpq_class value = w.closer.value(at);
    if (!t.best || value < t.best->second) t.best = {std::move(at), std::move(value)};
  }
  return true;
}

// In the order of the batch, so that the threads' timing does not show.
void general_search::settle(task& t) {
  switch (t.outcome) {
    case task::end::solved:
      tree_.close(*t.c, reason::exact);
      if (t.best) settle_best(t);
      return;
    case task::end::too_deep:
      floor_ = std::min(floor_, t.c->bound - margin(*t.c));
      return;
    case task::end::halved:
      tree_.add_halves(*t.c, *t.halves[0].c, *t.halves[1].c);
      for (task::half& h : t.halves) take(std::move(h.c), h.best_seen);
  }
}

void general_search::settle_best(task& t) {
  auto& [at, value] = *t.best;
  const double rounded = value.get_d();
  const bool surely = !best_.exact() && rounded < best_.value() - margin(*t.c);
  if (!surely) make_exact();
  if (surely || value < *best_.exact()) best_.take(std::move(at), std::move(value));
}

void general_search::search() {
  while (!tree_.empty()) {
    if (must_stop()) {
      stopped_ = true;
      return;
    }
    if (least_possible()) return;
    if (!next_batch()) return;
    work_on_batch();
    for (task& t : batch_) settle(t);
    step_to_zero();
  }
}

// The best value with places counted from there: next to heavy sites the roundings of sites that
// are counted from elsewhere are more than those of the value.
double general_search::value_near(const xy& point) const {
  detail::distance_table near = table_;
  near.count_from(problem_, point);
  const exact_xy rest{best_.at().x + table_.base.x - point.x,
                      best_.at().y + table_.base.y - point.y};
  return detail::evaluator(problem_, near)(to_nearest(rest)).value;
}

solution general_search::finish(const detail::recession& far) {
  solution s;
  if (problem_.polyhedral()) make_exact();
  const exact_xy at{best_.at().x + table_.base.x, best_.at().y + table_.base.y};
  s.point = to_nearest(at);
  if (best_.far_away()) {
    for (double* const d : {&s.point.x, &s.point.y})
      *d = std::clamp(*d, -detail::kFarthestPoint, detail::kFarthestPoint);
  }
  if (to_exact(s.point) != at) s.exact = to_text(at);
  s.value = problem_.polyhedral() || best_.far_away() ? best_.value() : value_near(s.point);
  s.counters.cells = cells_;
  s.counters.seconds = goal_.seconds();
  const bool square_known = far.kind != growth::undecided;
  const bool floor_known = std::isfinite(floor_of_f_);
  const bool least = least_possible();
  s.lower_bound = square_known && !least ? std::min(proved_bound(), s.value)
                                         : -std::numeric_limits<double>::infinity();
  // The value is rounded towards 0, which is up where it is negative.
  if (stopped_ && best_.exact() && mpq_class(s.value) > *best_.exact())
    s.lower_bound =
        std::min(s.lower_bound, std::nextafter(s.value, -std::numeric_limits<double>::infinity()));
  if (least || (floor_known && s.lower_bound <= floor_of_f_)) {
    s.lower_bound = std::min(floor_of_f_, s.value);
    branch_certificate c;
    if (growth_is_floor_) c.outside = far.outside;
    s.proof = std::move(c);
  } else if (std::isfinite(s.lower_bound)) {
    s.proof = branch_certificate{table_.base, half_of_square(far),     axes_,
                                 far.outside, std::isfinite(outside_), tree_.reasons()};
  }
  const bool rounded =
      square_known && !stopped_ && !problem_.polyhedral() && s.lower_bound < outside_;
  if (least || (!stopped_ && square_known && goal_.solved(s, rounded || best_.far_away()))) {
    s.status = best_.far_away() ? solution_status::far_away : solution_status::optimal;
  } else if (rounded) {
    s.status = solution_status::within_gap;  // doubles cannot narrow it further
  } else if ((square_known || floor_known) && goal_.within_options(s)) {
    s.status = solution_status::within_gap;
  }
  return s;
}

// Some permitted place to compare with; false if there is none.
bool general_search::find_permitted() {
  const std::optional<exact_xy> first = where_->some_place();
  if (!first) return !problem_.where().allowed;
  const exact_xy at{first->x + table_.base.x, first->y + table_.base.y};
  best_.offer(*first, problem_.value(to_nearest(at)));
  return true;
}

// With regions the square holds their corners. Places farther away are not allowed, or no better
// than the place known so far, or as good as one on the border of the square.
detail::recession general_search::far_away() const {
  const auto ended = [this] { return goal_.time_is_up(); };
  if (!where_) return test_recession(problem_, table_, axes_, ended);
  detail::recession far;
  if (problem_.where().allowed) {
    far.kind = growth::grows;
  } else {
    far = test_recession(problem_, table_, axes_, ended, best_.value());
  }
  far.half = std::max(far.half, where_->farthest(axes_));
  return far;
}

solution general_search::run() {
  if (where_ && !find_permitted()) {
    solution s;
    s.status = solution_status::infeasible;
    s.value = s.lower_bound = std::numeric_limits<double>::infinity();
    s.counters.seconds = goal_.seconds();
    return s;
  }
  detail::recession far = far_away();
  if (far.kind == growth::falls) {
    solution s;
    s.status = solution_status::unbounded;
    s.point = table_.base;
    s.value = s.lower_bound = -std::numeric_limits<double>::infinity();
    s.proof = direction_certificate{far.direction};
    s.counters.seconds = goal_.seconds();
    return s;
  }
  levels_ = far.kind == growth::levels;
  best_.offer({0, 0}, problem_.value(table_.base));
  if (far.kind == growth::undecided) use_steps();
  if (!never_negative_ && !far.outside.empty() && detail::has_one_place(problem_)) {
    growth_is_floor_ = true;
    floor_of_f_ = 0;
  }
  if (far.kind == growth::undecided && detail::is_level_everywhere(problem_)) floor_of_f_ = 0;
  best_.try_sites();
  if (far.kind == growth::undecided) {
    bound_far_places(far);
  } else if (far.kind == growth::grows && !where_ && far.half > kWideExtents * extent_) {
    use_smaller_square(far);
  }
  if (!least_possible()) {
    start(half_of_square(far));
    search();
  }
  return finish(far);
}

}  // namespace

solution minimise_general(const problem& p, const minimise_options& options) {
  detail::check_options(options);
  return general_search(p, options).run();
}

}  // namespace planloc
