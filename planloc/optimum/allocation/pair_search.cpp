#include "planloc/optimum/allocation/pair_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <queue>
#include <utility>
#include <vector>

#include "planloc/optimum/allocation/assignment.h"
#include "planloc/optimum/allocation/pair_closer.h"
#include "planloc/optimum/allocation/plane_boxes.h"

namespace planloc::detail {

namespace {

using step = allocation_pairs::step;

constexpr std::size_t kMostPairs = 50'000;
constexpr std::size_t kPairsToClose = 20'000;  // to a gap less than the one that is asked for
constexpr double kClosedGap = 4e-10;           // of the value

class pair_search {
 public:
  pair_search(const allocation_ground& ground, allocation& a, double relative_gap,
              const std::function<bool()>& expired)
      : ground_(ground),
        answer_(a),
        relative_gap_(relative_gap),
        expired_(expired),
        whole_(box_of_optima(ground)),
        boxes_(ground, whole_),
        closer_(ground, boxes_.nearest_existing()) {
    take_answer();
  }

  // The pair with the least bound is divided until that closes the gap.
  void run(const std::function<void(double)>& told) {
    add(0, 0);
    double bound = pairs_[0].bound;
    while (!open_.empty() && !done(open_.top().first) && !expired_()) {
      const auto [least, k] = open_.top();
      if (told && least > std::max(0.0, bound)) told(bound = least);
      improve(pairs_[k]);
      divide(k);
    }
    write();
  }

 private:
  struct pair {
    std::uint32_t first, second;  // boxes; the pair of a box with itself stands for both orders
    double bound;
    step how = step::bound;
    std::uint32_t parts = 0;  // the first one; of `places`: which
  };

  bool done(double bound) const {
    return bound >= enough_ || pairs_.size() >= kMostPairs ||
           (pairs_.size() >= kPairsToClose &&
            answer_.value - bound <= relative_gap_ * answer_.value);
  }

  void take_answer() {
    double magnitude = 0;
    for (std::size_t k = 0; k < ground_.table.size(); ++k) magnitude += magnitude_of(k);
    enough_ =
        answer_.value - std::max(kClosedGap * answer_.value, 4 * boxes_.rounding() * magnitude);
  }

  // What the bound's roundings refer to, near the answer.
  double magnitude_of(std::size_t slot) const {
    const distance_table& t = ground_.table;
    const xy slope = piece_of(t, slot, whole_.high).slope;
    double sum = std::fabs(slope.x * t.x[slot]) + std::fabs(slope.y * t.y[slot]);
    for (const xy& at : answer_.points) {
      const xy from{at.x - t.base.x, at.y - t.base.y};
      sum += piece_of(t, slot, from).distance;
    }
    return sum;
  }

  void add(std::uint32_t first, std::uint32_t second) {
    pair p{first, second, boxes_.bound(first, second)};
    if (p.bound < enough_ && boxes_.few_open(first, second)) close(p);
    if (p.bound < enough_) open_.emplace(p.bound, static_cast<std::uint32_t>(pairs_.size()));
    pairs_.push_back(p);
  }

  void close(pair& p) {
    const std::optional<pair_closer::closed> c =
        closer_(boxes_[p.first], boxes_[p.second], boxes_.rounding());
    ++answer_.counters.prices;
    if (!c || !(c->bound > p.bound)) return;
    p.bound = c->bound;
    p.how = step::places;
    p.parts = static_cast<std::uint32_t>(places_.size());
    places_.push_back(c->places);
  }

  // The pair on top.
  void divide(std::uint32_t k) {
    open_.pop();
    const std::uint32_t first = pairs_[k].first;
    const std::uint32_t second = pairs_[k].second;
    pairs_[k].parts = static_cast<std::uint32_t>(pairs_.size());
    if (first == second) {
      pairs_[k].how = step::both;
      const std::uint32_t half = boxes_.halves(first);
      add(half, half);
      add(half, half + 1);
      add(half + 1, half + 1);
    } else if (boxes_.longest_side(first) >= boxes_.longest_side(second)) {
      pairs_[k].how = step::first;
      const std::uint32_t half = boxes_.halves(first);
      add(half, second);
      add(half + 1, second);
    } else {
      pairs_[k].how = step::second;
      const std::uint32_t half = boxes_.halves(second);
      add(first, half);
      add(first, half + 1);
    }
  }

  // Descends from the middles of two boxes if they are better places.
  void improve(const pair& p) {
    if (!(boxes_.value_at_middles(p.first, p.second) < answer_.value)) return;
    allocation there = answer_;
    const xy& base = ground_.table.base;
    const xy x = boxes_.middle(p.first);
    const xy y = boxes_.middle(p.second);
    there.points = {{base.x + x.x, base.y + x.y}, {base.x + y.x, base.y + y.y}};
    assign(ground_.problem, there);
    if (!(there.value < answer_.value)) return;
    alternate_to_optima(ground_.problem, there, expired_);
    answer_ = std::move(there);
    take_answer();
  }

  // In the order of a walk that visits a pair before its parts.
  void write() {
    allocation_pairs& written = answer_.pairs.emplace();
    written.base = ground_.table.base;
    written.low = whole_.low;
    written.high = whole_.high;
    double least = answer_.value;
    std::vector<std::uint32_t> left{0};
    while (!left.empty()) {
      const pair& p = pairs_[left.back()];
      left.pop_back();
      written.steps.push_back(p.how);
      if (p.how == step::places) {
        for (const xy& at : places_[p.parts]) written.places.push_back(at);
      }
      if (p.how == step::bound || p.how == step::places) {
        least = std::min(least, p.bound);
        continue;
      }
      for (std::uint32_t k = p.how == step::both ? 3 : 2; k > 0; --k)
        left.push_back(p.parts + k - 1);
    }
    answer_.lower_bound = std::max(0.0, least);
    answer_.counters.cells += pairs_.size();
  }

  const allocation_ground& ground_;
  allocation& answer_;
  double relative_gap_;
  const std::function<bool()>& expired_;
  xy_box whole_;
  plane_boxes boxes_;
  pair_closer closer_;
  std::vector<std::array<xy, 2>> places_;
  double enough_ = 0;  // a bound that closes the gap as far as roundings allow
  std::vector<pair> pairs_;
  using bound_and_pair = std::pair<double, std::uint32_t>;
  std::priority_queue<bound_and_pair, std::vector<bound_and_pair>, std::greater<>> open_;
};

}  // namespace

void search_pairs(const allocation_ground& ground, allocation& a, double relative_gap,
                  const std::function<bool()>& expired, const std::function<void(double)>& told) {
  pair_search(ground, a, relative_gap, expired).run(told);
}

}  // namespace planloc::detail
