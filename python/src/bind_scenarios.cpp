// Many variants of one problem in one call.
#include <pybind11/stl.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "python/src/bindings.h"
#include "python/src/interruptible.h"
#include "python/src/scenario_run.h"

namespace planloc::python {
namespace {

template <class T>
using column = py::array_t<T, py::array::c_style | py::array::forcecast>;

// The entries of a column, one a variant; none if there is no column.
template <class T>
std::span<const T> entries(const std::optional<column<T>>& given, std::size_t count) {
  if (!given) return {};
  if (given->ndim() != 1 || static_cast<std::size_t>(given->size()) != count) {
    throw py::value_error("a column does not have one entry a scenario");
  }
  return {given->data(), count};
}

// The same, each entry one of so many choices.
std::span<const std::uint32_t> choices(const std::optional<index_array>& given, std::size_t count,
                                       std::size_t known) {
  const auto numbers = entries(given, count);
  if (std::any_of(numbers.begin(), numbers.end(), [=](auto k) { return k >= known; })) {
    throw py::value_error("a choice of a scenario does not exist");
  }
  return numbers;
}

py::array_t<double> unknown(std::vector<py::ssize_t> shape) {
  py::array_t<double> values(std::move(shape));
  std::fill_n(values.mutable_data(), values.size(), std::numeric_limits<double>::quiet_NaN());
  return values;
}

struct columns {
  std::optional<double_array> weights;
  std::optional<drawn_weights> drawn;
  std::vector<order_weights> orders;
  std::optional<index_array> order_of;
  std::vector<std::vector<gauge>> gauges;
  std::optional<index_array> gauges_of;
  std::optional<index_array> facilities;
  std::optional<column<std::uint64_t>> seeds;
};

variants variants_of(const columns& c, const problem& base, std::size_t first, std::size_t count) {
  const auto n = static_cast<py::ssize_t>(base.sites().size());
  if (c.weights && (c.weights->ndim() != 2 || c.weights->shape(1) != n ||
                    static_cast<std::size_t>(c.weights->shape(0)) != count)) {
    throw py::value_error("weight has to have a row a scenario, of " + std::to_string(n) +
                          " entries each");
  }
  return {.first = first,
          .count = count,
          .weights = c.weights ? c.weights->data() : nullptr,
          .drawn = c.drawn,
          .orders = c.orders,
          .order_of = choices(c.order_of, count, c.orders.size()),
          .gauges = c.gauges,
          .gauges_of = choices(c.gauges_of, count, c.gauges.size()),
          .facilities = entries(c.facilities, count),
          .seeds = entries(c.seeds, count)};
}

py::tuple solve_many(const problem& base, std::size_t first, std::size_t count, const columns& c,
                     const run_options& options, std::size_t threads, const py::object& progress) {
  if (c.orders.empty()) throw py::value_error("order weights are missing");
  const variants v = variants_of(c, base, first, count);
  const std::size_t places =
      v.facilities.empty() ? 1 : *std::max_element(v.facilities.begin(), v.facilities.end());
  const auto k = static_cast<py::ssize_t>(count);
  py::array_t<double> point = unknown({k, static_cast<py::ssize_t>(places), 2});
  py::array_t<double> value = unknown({k});
  py::array_t<double> lower_bound = unknown({k});
  py::array_t<double> value_at = unknown({options.at ? k : 0});
  py::array_t<std::uint8_t> status(k);
  scenario_run work(base, v, options,
                    {point.mutable_data(), places, value.mutable_data(), lower_bound.mutable_data(),
                     status.mutable_data(), value_at.mutable_data()});
  interruptible([&](const std::stop_token& stop) { work.run(threads, stop); },
                [&] {
                  if (!progress.is_none()) progress(work.done());
                });
  return py::make_tuple(point, value, lower_bound, status, value_at);
}

py::array_t<double> draw(const problem& base, double spread, std::uint64_t seed, std::size_t first,
                         std::size_t count) {
  const std::size_t n = base.sites().size();
  py::array_t<double> rows({static_cast<py::ssize_t>(count), static_cast<py::ssize_t>(n)});
  for (std::size_t i = 0; i < count; ++i) {
    drawn_weights{spread, seed}.draw(base.sites(), first + i, rows.mutable_data() + i * n);
  }
  return rows;
}

}  // namespace

void bind_scenarios(py::module_& m) {
  py::list statuses;
  for (const char* word : kScenarioStatus) statuses.append(word);
  m.attr("SCENARIO_STATUSES") = py::tuple(statuses);
  py::class_<columns>(m, "Columns")
      .def(py::init<>())
      .def_readwrite("weights", &columns::weights)
      .def_readwrite("orders", &columns::orders)
      .def_readwrite("order_of", &columns::order_of)
      .def_readwrite("gauges", &columns::gauges)
      .def_readwrite("gauges_of", &columns::gauges_of)
      .def_readwrite("facilities", &columns::facilities)
      .def_readwrite("seeds", &columns::seeds)
      .def("draw", [](columns& c, double spread, std::uint64_t seed) {
        c.drawn = drawn_weights{spread, seed};
      });
  m.def(
      "solve_many",
      [](const problem& base, std::size_t first, std::size_t count, const columns& c, double gap,
         double seconds, const std::optional<std::pair<double, double>>& at,
         const double_array& existing, std::size_t starts, bool bound, std::size_t threads,
         const py::object& progress) {
        run_options options{.gap = gap,
                            .seconds = seconds,
                            .at = {},
                            .existing = places_from(existing),
                            .starts = starts,
                            .bound = bound};
        if (at) options.at = xy{at->first, at->second};
        return solve_many(base, first, count, c, options, threads, progress);
      },
      py::arg("problem"), py::arg("first"), py::arg("count"), py::arg("columns"), py::kw_only(),
      py::arg("gap"), py::arg("seconds"), py::arg("at"), py::arg("existing"), py::arg("starts"),
      py::arg("bound"), py::arg("threads"), py::arg("progress"));
  m.def("draw_weights", &draw);
}

}  // namespace planloc::python
