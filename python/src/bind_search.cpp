// Searches, answers and their check.
#include <pybind11/stl.h>

#include <cmath>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

#include "python/src/bindings.h"
#include "python/src/interruptible.h"
#include "python/src/pickled.h"

namespace planloc::python {
namespace {

constexpr const char* kStatus[] = {"optimal",    "within_gap", "unbounded",
                                   "infeasible", "stopped",    "far_away"};

struct limits {
  double gap;
  double seconds;
  int threads;
  bool whole_set;
};

solution search(const problem& p, const limits& within, const py::object& progress) {
  latest<search_progress> reports;
  minimise_options options;
  options.relative_gap = within.gap;
  options.seconds = within.seconds;
  options.threads = within.threads;
  options.whole_set = within.whole_set;
  if (!progress.is_none()) options.progress = [&](const search_progress& r) { reports.set(r); };
  return interruptible(
      [&](std::stop_token stop) {
        options.stop = std::move(stop);
        return minimise(p, options);
      },
      [&] {
        if (const auto r = reports.take()) progress(r->value, r->lower_bound, r->cells);
      });
}

py::tuple state_of(const solution& s) {
  return py::make_tuple(static_cast<int>(s.status), s.point.x, s.point.y, s.value, s.lower_bound,
                        s.exact.x, s.exact.y, rows_from(s.optima.corners), s.optima.whole_plane,
                        certificate_state(s.proof), s.counters.evaluations, s.counters.cells,
                        s.counters.seconds);
}

solution solution_from(const py::tuple& state) {
  const py::tuple t = fields_of(state, "a Solution", {13});
  const int status = status_from(t[0], "a Solution", std::size(kStatus));
  solution s{.status = static_cast<solution_status>(status),
             .point = {t[1].cast<double>(), t[2].cast<double>()},
             .value = t[3].cast<double>(),
             .lower_bound = t[4].cast<double>(),
             .exact = {t[5].cast<std::string>(), t[6].cast<std::string>()},
             .optima = {places_from(t[7].cast<double_array>()), t[8].cast<bool>()},
             .proof = certificate_from(t[9]),
             .counters = {}};
  s.counters = {t[10].cast<std::size_t>(), t[11].cast<std::size_t>(), t[12].cast<double>()};
  return s;
}

py::object direction_of(const solution& s) {
  const auto* certificate = std::get_if<direction_certificate>(&s.proof);
  if (certificate == nullptr) return py::none();
  return py::make_tuple(certificate->direction.x, certificate->direction.y);
}

// None where no place is permitted.
py::array_t<double> points_of(const py::object& self) {
  const auto& s = self.cast<const solution&>();
  if (s.status == solution_status::infeasible) return rows_from({});
  return view_of({&s.point, 1}, self);
}

}  // namespace

verdict verdict_of(const verification& v) {
  return {v.accepted, v.reason, v.value, v.lower_bound, v.gap, v.optima_proved};
}

void bind_search(py::module_& m) {
  py::class_<solution>(m, "Solution")
      .def_property_readonly("status",
                             [](const solution& s) { return kStatus[static_cast<int>(s.status)]; })
      .def_property_readonly("points", &points_of)
      .def_readonly("value", &solution::value)
      .def_readonly("lower_bound", &solution::lower_bound)
      .def_property_readonly("exact",
                             [](const solution& s) { return py::make_tuple(s.exact.x, s.exact.y); })
      .def_property_readonly("optima",
                             [](const py::object& self) {
                               return view_of(self.cast<const solution&>().optima.corners, self);
                             })
      .def_property_readonly("whole_plane", [](const solution& s) { return s.optima.whole_plane; })
      .def_property_readonly("direction", &direction_of)
      .def_property_readonly("evaluations",
                             [](const solution& s) { return s.counters.evaluations; })
      .def_property_readonly("cells", [](const solution& s) { return s.counters.cells; })
      .def_property_readonly("seconds", [](const solution& s) { return s.counters.seconds; })
      .def(py::pickle(&state_of, &solution_from));

  m.def("minimise", [](const problem& p, double gap, double seconds, int threads, bool whole_set,
                       const py::object& progress) {
    return search(p, {gap, seconds, threads, whole_set}, progress);
  });

  m.def(
      "verify", [](const problem& p, const solution& s) { return verdict_of(verify(p, s)); },
      py::call_guard<py::gil_scoped_release>());
}

}  // namespace planloc::python
