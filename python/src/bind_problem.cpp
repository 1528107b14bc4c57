// Gauges, order weights and problems.
#include <pybind11/stl.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "python/src/bindings.h"
#include "tools/planloc/gauge_file.h"

namespace planloc::python {

std::vector<xy> places_from(const double_array& rows) {
  if (rows.ndim() != 2 || rows.shape(1) != 2) {
    throw py::value_error("an array of shape (k, 2) is needed");
  }
  const auto at = rows.unchecked<2>();
  std::vector<xy> places(static_cast<std::size_t>(rows.shape(0)));
  for (std::size_t i = 0; i < places.size(); ++i) {
    const auto row = static_cast<py::ssize_t>(i);
    places[i] = {at(row, 0), at(row, 1)};
  }
  return places;
}

py::array_t<double> rows_from(std::span<const xy> places) {
  py::array_t<double> rows({static_cast<py::ssize_t>(places.size()), py::ssize_t{2}});
  auto at = rows.mutable_unchecked<2>();
  for (std::size_t i = 0; i < places.size(); ++i) {
    const auto row = static_cast<py::ssize_t>(i);
    at(row, 0) = places[i].x;
    at(row, 1) = places[i].y;
  }
  return rows;
}

namespace {

py::tuple gauge_state(const gauge& g) {
  return py::make_tuple(static_cast<int>(g.kind()), g.p(), rows_from(g.vertices()));
}

gauge gauge_from(const py::tuple& state) {
  switch (static_cast<gauge::shape>(state[0].cast<int>())) {
    case gauge::shape::euclidean:
      return gauge::euclidean();
    case gauge::shape::lp:
      return gauge::lp(state[1].cast<double>());
    case gauge::shape::polyhedral:
      break;
  }
  return gauge::polyhedral(places_from(state[2].cast<double_array>()));
}

void require_length(const py::array& column, py::ssize_t n, const char* name) {
  if (column.ndim() != 1 || column.shape(0) != n) {
    throw py::value_error(std::string(name) + " has to have one entry a site, " +
                          std::to_string(n) + " in all");
  }
}

problem make_problem(const double_array& positions, const double_array& weights,
                     const index_array& gauge_of, std::vector<gauge> gauges,
                     const order_weights& lambda) {
  const std::vector<xy> places = places_from(positions);
  const auto n = static_cast<py::ssize_t>(places.size());
  require_length(weights, n, "weight");
  require_length(gauge_of, n, "gauge_of");
  std::vector<site> sites(places.size());
  for (std::size_t i = 0; i < sites.size(); ++i) {
    const auto row = static_cast<py::ssize_t>(i);
    sites[i] = {places[i].x, places[i].y, weights.at(row), gauge_of.at(row)};
  }
  return {std::move(sites), std::move(gauges), lambda};
}

template <class Entry>
auto column(const problem& p, Entry entry) {
  using value = decltype(entry(p.sites()[0]));
  py::array_t<value> values(static_cast<py::ssize_t>(p.sites().size()));
  auto at = values.template mutable_unchecked<1>();
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    at(static_cast<py::ssize_t>(i)) = entry(p.sites()[i]);
  }
  return values;
}

py::array_t<double> positions_of(const problem& p) {
  std::vector<xy> places;
  places.reserve(p.sites().size());
  for (const site& s : p.sites()) places.push_back({s.x, s.y});
  return rows_from(places);
}

std::vector<double> order_of(const problem& p) {
  std::vector<double> lambda;
  for (const order_run& run : p.runs()) lambda.insert(lambda.end(), run.count, run.weight);
  return lambda;
}

void bind_gauge(py::module_& m) {
  py::class_<gauge>(m, "Gauge")
      .def_static("polyhedral",
                  [](const double_array& v) { return gauge::polyhedral(places_from(v)); })
      .def_static("l1", &gauge::l1)
      .def_static("linf", &gauge::linf)
      .def_static("euclidean", &gauge::euclidean)
      .def_static("lp", &gauge::lp)
      .def_property_readonly("vertices", [](const gauge& g) { return rows_from(g.vertices()); })
      .def_property_readonly("kind",
                             [](const gauge& g) {
                               constexpr const char* names[] = {"polyhedral", "euclidean", "lp"};
                               return names[static_cast<int>(g.kind())];
                             })
      .def_property_readonly("p", &gauge::p)
      .def("__call__",
           [](const gauge& g, double x, double y) {
             return g(xy{x, y});
           })
      .def(py::pickle(&gauge_state, &gauge_from));
}

py::tuple gauges_of_text(const std::string& text) {
  const tool::gauge_file file = tool::read_gauge_text(text);
  py::list balls;
  for (const tool::ball_text& b : file.balls) balls.append(rows_from(b.vertices));
  py::list findings;
  for (const tool::finding& f : file.findings) {
    findings.append(py::make_tuple(f.line, f.column, f.message));
  }
  return py::make_tuple(balls, findings);
}

void bind_order_weights(py::module_& m) {
  py::class_<order_weights>(m, "OrderWeights")
      .def(py::init<std::vector<double>>())
      .def_static("median", &order_weights::median)
      .def_static("centre", &order_weights::centre)
      .def_static("k_centrum", &order_weights::k_centrum)
      .def_static("cent_dian", &order_weights::cent_dian)
      .def_static("anti_centrum", &order_weights::anti_centrum)
      .def_static("range", &order_weights::range)
      .def_static("order_statistic", &order_weights::order_statistic)
      .def_static("quantile", &order_weights::quantile)
      .def_static("trimmed_mean", &order_weights::trimmed_mean);
}

}  // namespace

void bind_problem(py::module_& m) {
  bind_gauge(m);
  m.def("read_gauge_text", &gauges_of_text);
  bind_order_weights(m);
  py::class_<problem>(m, "Problem")
      .def(py::init(&make_problem))
      .def("__len__", [](const problem& p) { return p.sites().size(); })
      .def_property_readonly("positions", &positions_of)
      .def_property_readonly(
          "weights",
          [](const problem& p) { return column(p, [](const site& s) { return s.weight; }); })
      .def_property_readonly(
          "gauge_of",
          [](const problem& p) { return column(p, [](const site& s) { return s.gauge; }); })
      .def_property_readonly(
          "gauges",
          [](const problem& p) { return std::vector<gauge>(p.gauges().begin(), p.gauges().end()); })
      .def_property_readonly("order_weights", &order_of)
      .def_property_readonly("convex", &problem::convex)
      .def_property_readonly("polyhedral", &problem::polyhedral)
      .def("value",
           [](const problem& p, double x, double y) {
             return p.value({x, y});
           })
      .def("distances",
           [](const problem& p, double x, double y) {
             py::array_t<double> d(static_cast<py::ssize_t>(p.sites().size()));
             auto at = d.mutable_unchecked<1>();
             for (std::size_t i = 0; i < p.sites().size(); ++i) {
               at(static_cast<py::ssize_t>(i)) = p.distance(i, {x, y});
             }
             return d;
           })
      .def(py::pickle(
          [](const problem& p) {
            const auto weights = column(p, [](const site& s) { return s.weight; });
            const auto gauge_of = column(p, [](const site& s) { return s.gauge; });
            return py::make_tuple(positions_of(p), weights, gauge_of,
                                  std::vector<gauge>(p.gauges().begin(), p.gauges().end()),
                                  order_of(p));
          },
          [](const py::tuple& state) {
            return make_problem(state[0].cast<double_array>(), state[1].cast<double_array>(),
                                state[2].cast<index_array>(), state[3].cast<std::vector<gauge>>(),
                                order_weights(state[4].cast<std::vector<double>>()));
          }));
}

}  // namespace planloc::python
