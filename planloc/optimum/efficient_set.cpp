#include "planloc/optimum/efficient_set.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "planloc/optimum/convex/likely_optimum.h"
#include "planloc/optimum/efficient/chain_walk.h"
#include "planloc/optimum/input_check.h"
#include "planloc/optimum/minimise.h"

namespace planloc {

namespace {

using detail::chain_face;
using detail::chain_walk;
using detail::exact_xy;

class chain_search {
 public:
  chain_search(const bicriteria_problem& p, const efficient_options& options)
      : problem_(p), options_(options) {}

  efficient_chain run();

 private:
  using pieces = std::vector<efficient_piece>;

  problem sum(std::vector<site> sites) const;
  minimise_options limits() const;
  std::optional<exact_xy> optimum(const problem& p);
  std::optional<chain_walk> corner_of_sum(detail::ray_arrangement& arrangement);
  // Faces and levels in turns from the walk's corner on, beside so many others; false if it was
  // stopped.
  bool walk(chain_walk& w, std::size_t criterion, std::size_t others, pieces& found);
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }
  bool must_stop(std::size_t wanted) const;
  void join(pieces down, efficient_piece start, pieces up);

  const bicriteria_problem& problem_;
  const efficient_options& options_;
  efficient_chain chain_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

problem chain_search::sum(std::vector<site> sites) const {
  return {std::move(sites),
          {problem_.gauges().begin(), problem_.gauges().end()},
          order_weights::median()};
}

minimise_options chain_search::limits() const {
  minimise_options options;
  options.whole_set = false;
  options.seconds = std::max(0.0, options_.seconds - seconds());
  options.stop = options_.stop;
  return options;
}

// None if it was not found in time.
std::optional<exact_xy> chain_search::optimum(const problem& p) {
  const solution s = minimise(p, limits());
  chain_.counters.evaluations += s.counters.evaluations;
  if (s.status != solution_status::optimal) return std::nullopt;
  if (s.exact.empty()) return detail::to_exact(s.point);
  return exact_xy{mpq_class(s.exact.x), mpq_class(s.exact.y)};
}

// A walk at a corner of the optima of f_1 + f_2. Rounded sums of the two weights of a site mostly
// have one, where the search in doubles ends; else each weight is a site of its own.
std::optional<chain_walk> chain_search::corner_of_sum(detail::ray_arrangement& arrangement) {
  std::vector<site> rounded;
  rounded.reserve(problem_.sites().size());
  bool in_range = true;
  for (const bicriteria_site& s : problem_.sites()) {
    const double weight = s.weight1 + s.weight2;
    in_range = in_range && weight <= kMostNumber;
    rounded.push_back({s.x, s.y, weight, s.gauge});
  }
  if (in_range) {
    const problem p = sum(std::move(rounded));
    const detail::likely_optimum likely = detail::find_likely_optimum(p, limits());
    chain_.counters.evaluations += likely.evaluations;
    if (likely.vertex) {
      chain_walk w(arrangement, *likely.vertex);
      if (w.at_optimum_of_sum()) return w;
    }
    const std::optional<exact_xy> start = optimum(p);
    if (!start) return std::nullopt;
    chain_walk w(arrangement, *start);
    if (w.at_optimum_of_sum()) return w;
  }
  std::vector<site> apart;
  for (const bicriteria_site& s : problem_.sites()) {
    for (const double w : {s.weight1, s.weight2}) {
      if (w > 0) apart.push_back({s.x, s.y, w, s.gauge});
    }
  }
  const std::optional<exact_xy> start = optimum(sum(std::move(apart)));
  if (!start) return std::nullopt;
  return chain_walk(arrangement, *start);
}

bool chain_search::must_stop(std::size_t wanted) const {
  return wanted > options_.pieces || options_.stop.stop_requested() || seconds() > options_.seconds;
}

bool chain_search::walk(chain_walk& w, std::size_t criterion, std::size_t others, pieces& found) {
  while (std::optional<chain_face> face = w.advance(criterion)) {
    if (must_stop(others + found.size() + 2)) return false;
    found.push_back({std::move(face->corners), face->t, face->t});
    found.push_back({w.level_corners(), 0, 1});
  }
  return true;
}

void chain_search::join(pieces down, efficient_piece start, pieces up) {
  for (efficient_piece& p : down) {
    if (p.t_low == p.t_high && p.corners.size() == 2) std::swap(p.corners[0], p.corners[1]);
  }
  chain_.pieces.assign(std::make_move_iterator(down.rbegin()),
                       std::make_move_iterator(down.rend()));
  chain_.pieces.push_back(std::move(start));
  chain_.pieces.insert(chain_.pieces.end(), std::make_move_iterator(up.begin()),
                       std::make_move_iterator(up.end()));
  pieces& all = chain_.pieces;
  for (std::size_t k = 0; k < all.size(); k += 2) {
    if (k > 0) all[k].t_low = all[k - 1].t_high;
    if (k + 1 < all.size()) all[k].t_high = all[k + 1].t_low;
    const efficient_corner& c = all[k].corners[0];
    chain_.curve.push_back({c.value1, c.value2, all[k].t_low, all[k].t_high});
  }
}

efficient_chain chain_search::run() {
  detail::ray_arrangement arrangement(problem_);
  if (std::optional<chain_walk> start = corner_of_sum(arrangement)) {
    chain_walk& up = *start;
    chain_.status = efficient_status::complete;
    // Of a polygon of optima any corner may have been found.
    if (up.between_two_faces()) up.advance(0);
    chain_walk down = up;
    efficient_piece middle{up.level_corners(), 0, 1};
    pieces above;
    pieces below;
    if (!walk(up, 1, 1, above) || !walk(down, 0, 1 + above.size(), below))
      chain_.status = efficient_status::stopped;
    join(std::move(below), std::move(middle), std::move(above));
  }
  chain_.counters.seconds = seconds();
  return std::move(chain_);
}

void check_plain(const bicriteria_problem& p) {
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    if (p.gauge_of(i).kind() != gauge::shape::polyhedral)
      throw bad_problem("efficient set: the gauge of site " + std::to_string(i) +
                        " is not polyhedral");
  }
  for (std::size_t k = 0; k < 2; ++k) {
    for (const order_run& r : p.runs(k)) {
      if (r.weight != 1)
        throw bad_problem("efficient set: an order weight of criterion " + std::to_string(k + 1) +
                          " is " + detail::number_text(r.weight) +
                          ": must be 1, the criteria plain sums");
    }
  }
}

}  // namespace

efficient_chain efficient_set(const bicriteria_problem& p, const efficient_options& options) {
  check_plain(p);
  detail::check_options({{"seconds", options.seconds}});
  return chain_search(p, options).run();
}

}  // namespace planloc
