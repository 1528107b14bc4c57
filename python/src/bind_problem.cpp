// Gauges, order weights and problems.
#include <pybind11/stl.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "python/src/bindings.h"
#include "tools/planloc/gauge_file.h"

namespace planloc::python {

namespace {

void require_pairs(const double_array& rows) {
  if (rows.ndim() != 2 || rows.shape(1) != 2) {
    throw py::value_error("an array of shape (k, 2) is needed");
  }
}

}  // namespace

std::vector<xy> places_from(const double_array& rows) {
  require_pairs(rows);
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

py::array_t<double> view_of(std::span<const xy> places, const py::object& owner) {
  static_assert(sizeof(xy) == 2 * sizeof(double));
  if (places.empty()) return rows_from(places);
  py::array_t<double> view({static_cast<py::ssize_t>(places.size()), py::ssize_t{2}}, &places[0].x,
                           owner);
  view.attr("setflags")(py::arg("write") = false);
  return view;
}

namespace {

// The members of a site that are shown as rows of an array.
static_assert(offsetof(site, y) == offsetof(site, x) + sizeof(double));

void require_length(const py::array& column, py::ssize_t n, const char* name) {
  if (column.ndim() != 1 || column.shape(0) != n) {
    throw py::value_error(std::string(name) + " has to have one entry a site, " +
                          std::to_string(n) + " in all");
  }
}

using polygon_arrays = std::vector<double_array>;  // its rings
using region_arrays = std::vector<polygon_arrays>;

region region_from(const region_arrays& polygons) {
  region result;
  for (const polygon_arrays& rings : polygons) {
    region_polygon& polygon = result.emplace_back();
    for (const double_array& corners : rings) polygon.push_back(places_from(corners));
  }
  return result;
}

problem make_problem(const double_array& positions, const double_array& weights,
                     const index_array& gauge_of, std::vector<gauge> gauges,
                     const order_weights& lambda, const std::optional<region_arrays>& allowed,
                     const region_arrays& forbidden) {
  require_pairs(positions);
  const py::ssize_t n = positions.shape(0);
  require_length(weights, n, "weight");
  require_length(gauge_of, n, "gauge_column");
  const auto at = positions.unchecked<2>();
  const auto weight = weights.unchecked<1>();
  const auto number = gauge_of.unchecked<1>();
  std::vector<site> sites(static_cast<std::size_t>(n));
  for (py::ssize_t i = 0; i < n; ++i) {
    sites[static_cast<std::size_t>(i)] = {at(i, 0), at(i, 1), weight(i), number(i)};
  }
  regions where;
  if (allowed) where.allowed = region_from(*allowed);
  where.forbidden = region_from(forbidden);
  return {std::move(sites), std::move(gauges), lambda, std::move(where)};
}

// A member of each site, `width` of them side by side: the sites' own memory, which `owner` keeps.
template <class T>
py::array_t<T> members(const py::object& owner, T site::*first, py::ssize_t width) {
  const auto sites = owner.cast<const problem&>().sites();
  py::array_t<T> view({static_cast<py::ssize_t>(sites.size()), width},
                      {py::ssize_t{sizeof(site)}, py::ssize_t{sizeof(T)}}, &(sites[0].*first),
                      owner);
  view.attr("setflags")(py::arg("write") = false);
  return view;
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
      .def("__call__", [](const gauge& g, double x, double y) {
        return g(xy{x, y});
      });
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
      .def_property_readonly("positions",
                             [](const py::object& self) { return members(self, &site::x, 2); })
      .def_property_readonly("weights",
                             [](const py::object& self) { return members(self, &site::weight, 1); })
      .def_property_readonly("gauge_of",
                             [](const py::object& self) { return members(self, &site::gauge, 1); })
      .def_property_readonly("order_weights", &order_of)
      .def_property_readonly("convex", &problem::convex)
      .def_property_readonly("polyhedral", &problem::polyhedral)
      .def("value",
           [](const problem& p, double x, double y) {
             return p.value({x, y});
           })
      .def("distances", [](const problem& p, double x, double y) {
        py::array_t<double> d(static_cast<py::ssize_t>(p.sites().size()));
        auto at = d.mutable_unchecked<1>();
        for (std::size_t i = 0; i < p.sites().size(); ++i) {
          at(static_cast<py::ssize_t>(i)) = p.distance(i, {x, y});
        }
        return d;
      });
}

}  // namespace planloc::python
