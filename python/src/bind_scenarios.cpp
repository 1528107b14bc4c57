// Many variants of one problem in one call, on all cores.
#include <pybind11/stl.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "python/src/bindings.h"
#include "python/src/interruptible.h"

namespace planloc::python {
namespace {

// What differs from the base problem. An empty index means that the base problem's own is kept.
struct variants {
  std::size_t first;  // the number of the first among all, for messages
  std::size_t count;
  const double* weights;  // count rows of one weight a site; nullptr: those of the base problem
  std::span<const order_weights> orders;
  std::span<const std::uint32_t> order_of;  // one a variant
  std::span<const std::vector<gauge>> gauges;
  std::span<const std::uint32_t> gauges_of;  // one a variant
};

struct outcome {
  double* point;  // two each
  double* value;
  double* lower_bound;
  std::uint8_t* status;
};

class scenario_run {
 public:
  scenario_run(const problem& base, const variants& v, const minimise_options& options,
               const outcome& out)
      : base_(base), variants_(v), options_(options), out_(out) {
    for (const order_run& run : base.runs()) lambda_.insert(lambda_.end(), run.count, run.weight);
  }

  void run(std::size_t threads, const std::stop_token& stop) {
    options_.stop = stop;
    std::vector<std::jthread> team;
    for (std::size_t i = 1; i < threads; ++i) team.emplace_back([this] { work(); });
    work();
    team.clear();
    if (!refusal_.empty()) {
      throw bad_problem("scenario " + std::to_string(variants_.first + refused_) + ": " + refusal_);
    }
  }

 private:
  // Takes variants until none is left. Each is independent of the others and of the thread.
  void work() {
    const order_weights own(lambda_);
    std::vector<site> sites(base_.sites().begin(), base_.sites().end());
    while (!options_.stop.stop_requested()) {
      const std::size_t i = next_++;
      if (i >= variants_.count) return;
      try {
        solve(i, sites, own);
      } catch (const bad_problem& e) {
        refuse(i, e.what());
      }
    }
  }

  void solve(std::size_t i, std::vector<site>& sites, const order_weights& own) {
    if (variants_.weights != nullptr) {
      const double* row = variants_.weights + i * sites.size();
      for (std::size_t k = 0; k < sites.size(); ++k) sites[k].weight = row[k];
    }
    const std::vector<gauge> gauges =
        variants_.gauges_of.empty()
            ? std::vector<gauge>(base_.gauges().begin(), base_.gauges().end())
            : variants_.gauges[variants_.gauges_of[i]];
    const order_weights& lambda =
        variants_.order_of.empty() ? own : variants_.orders[variants_.order_of[i]];
    const solution s = minimise(problem(sites, gauges, lambda), options_);
    out_.point[2 * i] = s.point.x;
    out_.point[2 * i + 1] = s.point.y;
    out_.value[i] = s.value;
    out_.lower_bound[i] = s.lower_bound;
    out_.status[i] = static_cast<std::uint8_t>(s.status);
  }

  // Keeps the first of them in order of the variants, whichever thread meets it.
  void refuse(std::size_t i, const char* why) {
    const std::scoped_lock hold(lock_);
    if (i >= refused_) return;
    refused_ = i;
    refusal_ = why;
  }

  const problem& base_;
  variants variants_;
  minimise_options options_;
  outcome out_;
  std::vector<double> lambda_;
  std::atomic<std::size_t> next_{0};
  std::mutex lock_;
  std::size_t refused_ = std::numeric_limits<std::size_t>::max();
  std::string refusal_;
};

std::span<const std::uint32_t> checked(const std::optional<index_array>& index, std::size_t count,
                                       std::size_t choices) {
  if (!index) return {};
  const std::span numbers(index->data(), static_cast<std::size_t>(index->size()));
  if (numbers.size() != count ||
      std::any_of(numbers.begin(), numbers.end(), [=](auto k) { return k >= choices; })) {
    throw py::value_error("an index does not fit the scenarios");
  }
  return numbers;
}

py::tuple solve_many(const problem& base, std::size_t first, std::size_t count,
                     const std::optional<double_array>& weights,
                     const std::vector<order_weights>& orders,
                     const std::optional<index_array>& order_of,
                     const std::vector<std::vector<gauge>>& gauges,
                     const std::optional<index_array>& gauges_of, double gap, double seconds,
                     std::size_t threads) {
  const auto rows = static_cast<py::ssize_t>(count);
  const auto n = static_cast<py::ssize_t>(base.sites().size());
  if (weights && (weights->ndim() != 2 || weights->shape(0) != rows || weights->shape(1) != n)) {
    throw py::value_error("weight has to have a row a scenario, of " + std::to_string(n) +
                          " entries each");
  }
  const variants v{first,
                   count,
                   weights ? weights->data() : nullptr,
                   orders,
                   checked(order_of, count, orders.size()),
                   gauges,
                   checked(gauges_of, count, gauges.size())};
  py::array_t<double> point({rows, py::ssize_t{2}});
  py::array_t<double> value(rows);
  py::array_t<double> lower_bound(rows);
  py::array_t<std::uint8_t> status(rows);
  minimise_options options;
  options.relative_gap = gap;
  options.seconds = seconds;
  options.whole_set = false;
  scenario_run work(base, v, options,
                    {point.mutable_data(), value.mutable_data(), lower_bound.mutable_data(),
                     status.mutable_data()});
  interruptible([&](const std::stop_token& stop) { work.run(threads, stop); }, [] {});
  return py::make_tuple(point, value, lower_bound, status);
}

}  // namespace

void bind_scenarios(py::module_& m) { m.def("solve_many", &solve_many); }

}  // namespace planloc::python
