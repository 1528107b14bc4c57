#include "planloc/optimum/regions/boundary_search.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"
#include "planloc/optimum/proved_claim.h"
#include "planloc/optimum/regions/boundary.h"
#include "planloc/optimum/regions/cut_pool.h"
#include "planloc/optimum/regions/piece_solver.h"

namespace planloc::detail {

namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();
// Of the value: when a polyhedral piece is solved exactly, and when one of another kind is done.
constexpr double kExactGap = 1e-13;
constexpr double kDoneGap = 2e-13;
constexpr int kMostEvaluations = 100;  // of one part
constexpr int kFirstLook = 3;          // before a part is folded
// Of the value: how far what intervals prove may stay behind the bound in doubles.
constexpr double kProofMargin = 3e-12;

exact_xy place_of(const solution& s) {
  if (s.exact.empty()) return to_exact(s.point);
  return {mpq_class(s.exact.x), mpq_class(s.exact.y)};
}

class boundary_search {
 public:
  boundary_search(const problem& p, const minimise_options& options, const boundary& sides,
                  solution free)
      : problem_(p),
        options_(options),
        sides_(sides),
        free_(std::move(free)),
        outside_(place_of(free_)),
        table_(p),
        cuts_(p, table_),
        solver_(p, table_, cuts_) {}

  solution run();

 private:
  // A side whose permitted parts are not known yet, or one of these parts.
  struct task {
    double bound;
    std::uint32_t side;
    std::optional<std::uint32_t> part;
    cut_pool::known known = {};

    // As a heap has it: the least bound comes out first.
    friend bool operator<(const task& a, const task& b) {
      return a.bound > b.bound || (a.bound == b.bound && a.side > b.side);
    }
  };

  xy relative(const xy& at) const { return {at.x - table_.base.x, at.y - table_.base.y}; }
  xy relative(const exact_xy& at) const {
    return to_nearest(exact_xy{at.x - table_.base.x, at.y - table_.base.y});
  }
  cut_pool::segment segment_of(const task& t) const;
  cut_pool::minimum look(task& t);
  void start();
  void search();
  void push(task t);
  task pop();
  void clip(const task& t);
  void improve(task& t, const cut_pool::minimum& before);
  void solve(const side_part& s, double share);
  void take(found_place found);
  void take_some_place();
  bool as_good_as_free();
  bool must_end(double bound);
  double seconds() const;
  double asked_gap() const;
  double bound() const;
  void prove(solution& s);
  solution finish();

  const problem& problem_;
  const minimise_options& options_;
  const boundary& sides_;
  solution free_;
  exact_xy outside_;
  distance_table table_;
  cut_pool cuts_;
  piece_solver solver_;
  std::vector<task> open_;    // a heap
  std::vector<task> closed_;  // parts that doubles cannot tell more of
  std::vector<side_part> parts_;
  std::optional<found_place> best_;
  double floor_ = kInfinite;  // the least bound of the closed ones
  bool ended_ = false;        // by a limit, or where the gap is small enough for the caller
  bool free_value_ = false;   // the best value is that of the problem without regions
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

double boundary_search::seconds() const {
  return free_.counters.seconds +
         std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

cut_pool::segment boundary_search::segment_of(const task& t) const {
  if (t.part) return {parts_[*t.part].a, parts_[*t.part].b};
  const boundary::side& s = sides_.sides()[t.side];
  return {relative(s.a), relative(s.b)};
}

// Bounds a task by what the pool says now.
cut_pool::minimum boundary_search::look(task& t) {
  const cut_pool::minimum m = cuts_.least(segment_of(t), t.known);
  t.bound = m.bound;
  t.known = {m.falling, m.rising};
  return m;
}

void boundary_search::push(task t) {
  open_.push_back(t);
  std::push_heap(open_.begin(), open_.end());
}

boundary_search::task boundary_search::pop() {
  std::pop_heap(open_.begin(), open_.end());
  const task t = open_.back();
  open_.pop_back();
  return t;
}

void boundary_search::start() {
  const xy at = relative(outside_);
  if (const auto* c = std::get_if<convex_certificate>(&free_.proof)) {
    const xy shift = relative(c->base);
    solver_.expect(c->pieces.front().edge);
    for (affine_piece piece : c->pieces) {
      piece.taken_at = {piece.taken_at.x + shift.x, piece.taken_at.y + shift.y};
      cuts_.add(std::move(piece), at);
    }
  }
  for (std::uint32_t k = 0; k < sides_.sides().size(); ++k) {
    open_.push_back({0, k, {}});
    look(open_.back());
  }
  std::make_heap(open_.begin(), open_.end());
}

double boundary_search::bound() const {
  const double open = open_.empty() ? kInfinite : open_.front().bound;
  const double value = best_ ? best_->value : kInfinite;
  return std::max(std::min({open, floor_, value}), free_.lower_bound);
}

double boundary_search::asked_gap() const {
  return best_ ? std::max(options_.absolute_gap, options_.relative_gap * best_->value) : 0;
}

bool boundary_search::must_end(double bound) {
  const double value = best_ ? best_->value : kInfinite;
  if (options_.progress) options_.progress({value, bound, 0});
  const double asked = asked_gap();
  const bool close_enough = asked > 0 && value - bound + 2 * kProofMargin * value <= asked;
  ended_ = close_enough || options_.stop.stop_requested() || seconds() > options_.seconds;
  return ended_;
}

void boundary_search::clip(const task& t) {
  for (boundary::piece& p : sides_.permitted(sides_.sides()[t.side])) {
    side_part& part = parts_.emplace_back();
    part.a = relative(p.from);
    part.b = relative(p.to);
    part.ends = std::move(p);
    task of_part{0, t.side, static_cast<std::uint32_t>(parts_.size() - 1), t.known};
    look(of_part);
    push(of_part);
  }
}

void boundary_search::take(found_place found) {
  if (!best_ || solver_.better(found, *best_)) best_ = std::move(found);
}

// The end of a permitted part, if there is any.
void boundary_search::take_some_place() {
  for (const boundary::side& s : sides_.sides()) {
    for (boundary::piece& p : sides_.permitted(s)) {
      const double value = problem_.value(to_nearest(p.from));
      return take({std::move(p.from), value, {}, {}});
    }
  }
}

// One more function below f, taken where those so far are least on the part. Polyhedral parts are
// solved exactly once the functions nearly tell f, or where folding tells as much.
void boundary_search::improve(task& t, const cut_pool::minimum& before) {
  side_part& s = parts_[*t.part];
  if (solver_.can_fold() && s.evaluations == kFirstLook)
    return solve(s, solver_.find_least(s, before));
  found_place found = solver_.evaluate(s, before.share);
  const bool last = s.evaluations == kMostEvaluations;
  if (problem_.polyhedral()) {
    if (last || found.value - before.value <= kExactGap * found.value)
      return solve(s, before.share);
    look(t);
    return push(t);
  }
  take(std::move(found));
  const cut_pool::minimum now = look(t);
  if (!last && !(s.value - now.value <= kDoneGap * s.value)) return push(t);
  closed_.push_back(t);
  floor_ = std::min(floor_, t.bound);
}

void boundary_search::solve(const side_part& s, double share) {
  found_place found = solver_.solve(s, share);
  for (const std::size_t k : found.cuts) cuts_.keep(k);
  take(std::move(found));
}

bool boundary_search::as_good_as_free() {
  if (!best_ || free_.status != solution_status::optimal) return false;
  free_value_ = problem_.polyhedral()
                    ? solver_.same_value(*best_, outside_, free_.value)
                    : best_->value - free_.lower_bound <= kOptimalGap * best_->value;
  return free_value_;
}

void boundary_search::search() {
  while (!open_.empty()) {
    if (best_ && open_.front().bound >= best_->value) return;
    if (must_end(bound())) return;
    task t = pop();
    const double before = t.bound;
    const cut_pool::minimum m = look(t);
    if (t.bound > before && !open_.empty() && t.bound > open_.front().bound) {
      push(t);
    } else if (t.part) {
      improve(t, m);
      if (as_good_as_free()) return;
    } else {
      clip(t);
    }
  }
}

// Functions that bound what was not solved exactly, few of them.
void boundary_search::prove(solution& s) {
  const double enough = bound();
  for (const std::vector<task>* tasks : {&open_, &closed_}) {
    for (const task& t : *tasks) {
      if (cuts_.least_of_kept(segment_of(t)).bound >= enough) continue;
      cuts_.keep(t.known.falling);
      cuts_.keep(t.known.rising);
    }
  }
  s.proof = boundary_certificate{to_text(outside_), cuts_.kept(), table_.base};
}

solution boundary_search::finish() {
  solution s;
  s.counters = free_.counters;
  s.counters.evaluations += solver_.evaluations();
  s.counters.seconds = seconds();
  if (!best_ && ended_) take_some_place();
  if (!best_) {
    s.status = solution_status::infeasible;
    s.value = s.lower_bound = kInfinite;
    return s;
  }
  s.point = to_nearest(best_->at);
  if (to_exact(s.point) != best_->at) s.exact = to_text(best_->at);
  s.value = best_->value;
  const bool exact = problem_.polyhedral() && !ended_;
  const double least = exact ? s.value : bound() - kProofMargin * s.value;
  // What is not above the bound must surely not be, for the proof to hold.
  if (free_value_ || (!exact && free_.value > least)) {
    s.lower_bound = exact ? s.value : free_.lower_bound;
    s.proof = std::move(free_.proof);
    if (!exact) claim_what_is_proved(problem_, s);  // at a place that is worse
  } else {
    s.lower_bound = least;
    prove(s);
  }
  const double solved = problem_.polyhedral() ? 0 : kOptimalGap * s.value;
  if (exact || (!problem_.polyhedral() && s.gap() <= solved)) {
    s.status = solution_status::optimal;
  } else if (!ended_ || s.gap() <= asked_gap()) {
    s.status = solution_status::within_gap;
  }
  return s;
}

solution boundary_search::run() {
  start();
  search();
  return finish();
}

}  // namespace

solution minimise_within(const problem& p, const minimise_options& options, solution free) {
  const boundary sides(p.where());
  if (!sides.permits(place_of(free))) {
    return boundary_search(p, options, sides, std::move(free)).run();
  }
  // The others of several optima may be forbidden.
  if (free.optima.whole_plane || free.optima.corners.size() > 1) free.optima = {};
  return free;
}

}  // namespace planloc::detail
