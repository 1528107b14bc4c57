// Several facilities that exchange goods.
#include <pybind11/stl.h>

#include <iterator>
#include <limits>
#include <utility>

#include "python/src/bindings.h"
#include "python/src/interruptible.h"
#include "python/src/pickled.h"

namespace planloc::python {
namespace {

constexpr const char* kStatus[] = {"optimal", "within_gap", "unbounded", "infeasible", "stopped"};

// Weights of shape (facilities, sites); flows of shape (facilities, facilities), of which the part
// above the diagonal counts; the tie's gauge is the last.
tied_problem make_problem(const double_array& positions, const index_array& gauge_of,
                          const double_array& share, const double_array& flow,
                          std::vector<gauge> gauges) {
  const std::vector<xy> places = places_from(positions);
  const auto n = static_cast<py::ssize_t>(places.size());
  if (share.ndim() != 2 || share.shape(1) != n) {
    throw py::value_error("share has to have a row a facility, of " + std::to_string(n) +
                          " entries each");
  }
  const py::ssize_t facilities = share.shape(0);
  if (flow.ndim() != 2 || flow.shape(0) != facilities || flow.shape(1) != facilities) {
    throw py::value_error("flow has to have a row and a column a facility, " +
                          std::to_string(facilities) + " in all");
  }
  std::vector<tied_site> sites;
  for (py::ssize_t i = 0; i < n; ++i) {
    const xy at = places[static_cast<std::size_t>(i)];
    sites.push_back({at.x, at.y, gauge_of.at(i)});
  }
  std::vector<tie> ties;
  const auto last = static_cast<std::uint32_t>(gauges.size() - 1);
  for (py::ssize_t j = 0; j < facilities; ++j) {
    for (py::ssize_t k = j + 1; k < facilities; ++k) {
      ties.push_back(
          {static_cast<std::uint32_t>(j), static_cast<std::uint32_t>(k), flow.at(j, k), last});
    }
  }
  return {static_cast<std::size_t>(facilities),
          std::move(sites),
          std::move(gauges),
          {share.data(), share.data() + share.size()},
          std::move(ties)};
}

py::tuple state_of(const tied_certificate::slope& s) {
  return py::make_tuple(s.rounded.x, s.rounded.y, s.exact.x, s.exact.y);
}

tied_certificate::slope slope_from(const py::handle& state) {
  const auto t = state.cast<py::tuple>();
  return {{t[0].cast<double>(), t[1].cast<double>()},
          {t[2].cast<std::string>(), t[3].cast<std::string>()}};
}

py::tuple state_of(const tied_solution& s) {
  py::list exact;
  for (const exact_point& at : s.exact) exact.append(py::make_tuple(at.x, at.y));
  py::list bends;
  for (const auto& b : s.proof.bends) {
    bends.append(py::make_tuple(b.facility, b.site, state_of(b.at)));
  }
  py::list ties;
  for (const auto& t : s.proof.ties) ties.append(state_of(t));
  return py::make_tuple(static_cast<int>(s.status), rows_from(s.points), exact, s.value,
                        s.lower_bound, s.proof.edge, bends, ties);
}

tied_solution solution_from(const py::tuple& from) {
  const py::tuple t = fields_of(from, "a TiedSolution", {8});
  tied_solution s;
  s.status = static_cast<solution_status>(status_from(t[0], "a TiedSolution", std::size(kStatus)));
  s.points = places_from(t[1].cast<double_array>());
  for (const py::handle at : t[2]) {
    auto [x, y] = at.cast<std::pair<std::string, std::string>>();
    s.exact.push_back({std::move(x), std::move(y)});
  }
  s.value = t[3].cast<double>();
  s.lower_bound = t[4].cast<double>();
  s.proof.edge = t[5].cast<std::vector<std::uint32_t>>();
  for (const py::handle state : t[6]) {
    const auto b = state.cast<py::tuple>();
    s.proof.bends.push_back(
        {b[0].cast<std::uint32_t>(), b[1].cast<std::uint32_t>(), slope_from(b[2])});
  }
  for (const py::handle slope : t[7]) s.proof.ties.push_back(slope_from(slope));
  return s;
}

}  // namespace

void bind_tied(py::module_& m) {
  py::class_<tied_problem>(m, "TiedProblem")
      .def(py::init(&make_problem))
      .def("value", [](const tied_problem& p, const double_array& places) {
        const std::vector<xy> at = places_from(places);
        if (at.size() != p.facilities()) throw py::value_error("one place a facility is needed");
        return p.value(at);
      });
  py::class_<tied_solution>(m, "TiedSolution")
      .def_property_readonly(
          "status", [](const tied_solution& s) { return kStatus[static_cast<int>(s.status)]; })
      .def_property_readonly("points",
                             [](const py::object& self) {
                               return view_of(self.cast<const tied_solution&>().points, self);
                             })
      .def_readonly("value", &tied_solution::value)
      .def_readonly("lower_bound", &tied_solution::lower_bound)
      .def(py::pickle([](const tied_solution& s) { return state_of(s); }, &solution_from));
  m.def("minimise_tied", [](const tied_problem& p, double gap, double seconds) {
    tied_options options;
    options.relative_gap = gap;
    options.seconds = seconds;
    return interruptible(
        [&](std::stop_token stop) {
          options.stop = std::move(stop);
          return minimise(p, options);
        },
        [] {});
  });
  m.def(
      "verify_tied",
      [](const tied_problem& p, const tied_solution& s) { return verdict_of(verify(p, s)); },
      py::call_guard<py::gil_scoped_release>());
}

}  // namespace planloc::python
