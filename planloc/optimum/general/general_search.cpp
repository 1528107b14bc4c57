#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>

#include "planloc/optimum/general/exact_close.h"
#include "planloc/optimum/general/recession.h"
#include "planloc/optimum/general/search_tree.h"
#include "planloc/optimum/minimise.h"

namespace planloc {

namespace {

using detail::cell;
using detail::exact_xy;
using detail::growth;
using detail::search_tree;
using reason = branch_certificate::reason;

// Of the value: the gap at which a problem without exact optimum counts as solved, and the one that
// the search aims at, so that intervals prove it.
constexpr double kSmoothGap = 1e-10;
constexpr double kSmoothAim = 5e-11;
// Of a gap that is asked for: what the search aims at, so that roundings do not spoil it.
constexpr double kAimed = 1 - 0x1p-30;
// Halving is exact as long as coordinates have bits left; half of them go to each coordinate.
constexpr int kMostDepth = 100;
// How many break lines are worth an exact close: the deeper the cell, the more of them are there to
// stay, since they meet in one place.
constexpr std::size_t line_limit(int depth) { return depth < 40 ? 20 : depth < 60 ? 64 : 400; }
// Of a cell's size: more than what f can be off by at a crossing in doubles.
constexpr double kPromising = 1e-7;
// Sites that are tried as places before the search.
constexpr std::size_t kSitesTried = 64;
constexpr std::size_t kCellsBetweenChecks = 64;
// Half of the square that is searched when no square is known to hold an optimum, in extents.
constexpr double kNearExtents = 16;

class general_search {
 public:
  general_search(const problem& p, const minimise_options& options)
      : problem_(p),
        options_(options),
        table_(p),
        bounder_(table_),
        closer_(p, table_),
        rounding_(0x1p-53 * (256 + 16 * static_cast<double>(p.sites().size()))),
        doubt_(p.polyhedral() ? 0 : rounding_ * size_of_terms()),
        never_negative_(detail::never_negative(p)) {}

  solution run();

 private:
  struct incumbent {
    exact_xy at{0, 0};  // relative to the base
    double value = std::numeric_limits<double>::infinity();
    std::optional<mpq_class> exact;
  };

  void start(double half);
  void search();
  void take(std::unique_ptr<cell> c);
  bool solve_exactly(const cell& c);
  void offer(const exact_xy& at, double value);
  void try_sites();
  bool least_possible();
  void make_exact();

  double margin(const cell& c) const { return rounding_ * c.size; }
  double tolerance() const;
  bool holds_nothing_better(const cell& c) const {
    return c.bound >= best_.value - tolerance() + margin(c);
  }
  double bound() const;
  bool must_stop();
  double seconds() const;
  double extent() const;
  double size_of_terms() const;
  solution finish(const detail::recession& far);

  const problem& problem_;
  const minimise_options& options_;
  detail::distance_table table_;
  detail::cell_bounder bounder_;
  detail::exact_closer closer_;
  double rounding_;  // of sums, in units of a cell's size
  double doubt_;     // in a value near the sites that has no exact one
  bool never_negative_;
  search_tree tree_;
  incumbent best_;
  double floor_ = std::numeric_limits<double>::infinity();  // bounds of cells that were given up
  std::size_t cells_ = 0;
  bool stopped_ = false;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

double general_search::seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

double general_search::tolerance() const {
  const double size = std::fabs(best_.value);
  const double asked = std::max(options_.absolute_gap, options_.relative_gap * size);
  return std::max(kAimed * asked, problem_.polyhedral() ? 0 : std::max(kSmoothAim * size, doubt_));
}

double general_search::bound() const {
  const double open = tree_.empty() ? std::numeric_limits<double>::infinity() : tree_.least_bound();
  const double least = std::min({open, floor_, best_.value - tolerance()});
  return never_negative_ ? std::max(least, 0.0) : least;
}

bool general_search::must_stop() {
  if (options_.progress) options_.progress({best_.value, bound(), tree_.open()});
  return options_.stop.stop_requested() || seconds() > options_.seconds || cells_ >= options_.cells;
}

void general_search::offer(const exact_xy& at, double value) {
  if (value < best_.value) best_ = {at, value, {}};
}

void general_search::make_exact() {
  if (best_.exact) return;
  best_.exact = closer_.value(best_.at);
  best_.value = best_.exact->get_d();
}

void general_search::try_sites() {
  detail::evaluator evaluate(problem_, table_);
  const std::size_t step = (table_.size() + kSitesTried - 1) / kSitesTried;
  for (std::size_t slot = 0; slot < table_.size(); slot += step) {
    const site& s = problem_.sites()[table_.site[slot]];
    const exact_xy at{mpq_class(s.x) - table_.base.x, mpq_class(s.y) - table_.base.y};
    offer(at, evaluate({table_.x[slot], table_.y[slot]}).value);
  }
}

// Whether the best value is 0, as far as can be told, and no other can be less.
bool general_search::least_possible() {
  if (!never_negative_ || !problem_.polyhedral()) return never_negative_ && best_.value <= doubt_;
  if (best_.value > rounding_ * extent()) return false;
  make_exact();
  return sgn(*best_.exact) == 0;
}

double general_search::extent() const {
  double most = 0;
  for (std::size_t k = 0; k < table_.size(); ++k)
    most = std::max({most, std::fabs(table_.x[k]), std::fabs(table_.y[k])});
  return most > 0 ? most : 1;
}

// The sum of all terms' magnitudes amid the sites.
double general_search::size_of_terms() const {
  double steepest = 0;
  for (const order_run& r : problem_.runs()) steepest = std::max(steepest, std::fabs(r.weight));
  double sum = 0;
  for (std::size_t i = 0; i < problem_.sites().size(); ++i)
    sum += steepest * problem_.distance(i, table_.base);
  return sum;
}

void general_search::start(double half) {
  const detail::xy a{-half, -half}, b{half, -half}, c{half, half}, d{-half, half};
  take(tree_.root(problem_, {a, b, d}));
  take(tree_.root(problem_, {c, d, b}));
}

void general_search::take(std::unique_ptr<cell> c) {
  ++cells_;
  bounder_.process(*c);
  const detail::evaluation& e = bounder_.at_centroid();
  if (e.value < best_.value) offer(detail::to_exact(e.at), e.value);
  tree_.push(std::move(c));
}

bool general_search::solve_exactly(const cell& c) {
  if (!problem_.polyhedral()) return false;
  const auto lines = closer_.lines(c, line_limit(c.depth));
  if (!lines) return false;
  const auto promising = [&](const detail::xy& at) {
    return bounder_.value(c, at) <= best_.value + kPromising * c.size;
  };
  for (const exact_xy& at : detail::exact_closer::vertices(c.corners, *lines, promising)) {
    if (bounder_.value(c, to_nearest(at)) > best_.value + margin(c)) continue;
    make_exact();
    mpq_class value = closer_.value(at);
    if (value < *best_.exact) best_ = {at, value.get_d(), std::move(value)};
  }
  return true;
}

void general_search::search() {
  for (std::size_t round = 0; !tree_.empty(); ++round) {
    if (round % kCellsBetweenChecks == 0 && must_stop()) {
      stopped_ = true;
      return;
    }
    if (least_possible()) return;
    std::unique_ptr<cell> c = tree_.pop();
    if (holds_nothing_better(*c)) continue;
    if (solve_exactly(*c)) {
      tree_.close(*c, reason::exact);
      continue;
    }
    if (c->depth >= kMostDepth) {
      floor_ = std::min(floor_, c->bound - margin(*c));
      continue;
    }
    auto [one, other] = tree_.split(std::move(c));
    take(std::move(one));
    take(std::move(other));
  }
}

solution general_search::finish(const detail::recession& far) {
  solution s;
  if (problem_.polyhedral()) make_exact();
  const exact_xy at{best_.at.x + table_.base.x, best_.at.y + table_.base.y};
  s.point = to_nearest(at);
  if (to_exact(s.point) != at) s.exact = to_text(at);
  s.value = best_.value;
  s.counters.cells = cells_;
  s.counters.seconds = seconds();
  const bool square_known = far.kind != growth::undecided;
  const bool zero = least_possible();
  s.lower_bound = zero              ? 0
                  : square_known    ? bound()
                  : never_negative_ ? 0
                                    : -std::numeric_limits<double>::infinity();
  branch_certificate proof;
  if (square_known && !zero && !stopped_) {
    proof = {table_.base, far.half, far.outside, tree_.reasons()};
    s.proof = std::move(proof);
  } else if (zero || never_negative_) {
    s.lower_bound = 0;
    s.proof = std::move(proof);
  }
  const double size = std::fabs(s.value);
  if (zero || (!stopped_ && square_known &&
               s.gap() <= (problem_.polyhedral() ? 0 : std::max(kSmoothGap * size, 2 * doubt_)))) {
    s.status = solution_status::optimal;
  } else if (square_known && !stopped_ && !problem_.polyhedral()) {
    s.status = solution_status::within_gap;  // doubles cannot narrow it further
  } else if (square_known &&
             s.gap() <= std::max(options_.absolute_gap, options_.relative_gap * size)) {
    s.status = solution_status::within_gap;
  }
  return s;
}

solution general_search::run() {
  const detail::recession far = test_recession(problem_, table_);
  if (far.kind == growth::falls) {
    solution s;
    s.status = solution_status::unbounded;
    s.point = table_.base;
    s.value = s.lower_bound = -std::numeric_limits<double>::infinity();
    s.proof = direction_certificate{far.direction};
    s.counters.seconds = seconds();
    return s;
  }
  offer({0, 0}, problem_.value(table_.base));
  try_sites();
  if (!least_possible()) {
    start(far.half > 0 ? far.half : kNearExtents * extent());
    search();
  }
  return finish(far);
}

}  // namespace

solution minimise_general(const problem& p, const minimise_options& options) {
  return general_search(p, options).run();
}

}  // namespace planloc
