// Several facilities, each site served by its nearest.
#include <pybind11/stl.h>

#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "python/src/bindings.h"
#include "python/src/interruptible.h"
#include "python/src/pickled.h"

namespace planloc::python {
namespace {

constexpr const char* kStatus[] = {"optimal", "within_gap", "searched", "stopped"};

// No bound is one that says nothing.
double bound_of(const std::optional<double>& bound) {
  return bound.value_or(-std::numeric_limits<double>::infinity());
}

allocation_problem make_problem(const problem& single, std::size_t count,
                                const double_array& existing) {
  return {{single.sites().begin(), single.sites().end()},
          {single.gauges().begin(), single.gauges().end()},
          count,
          places_from(existing)};
}

allocation search(const allocation_problem& p, std::uint64_t seed, std::size_t starts,
                  double seconds, int threads, bool lower_bound, double gap,
                  const py::object& progress) {
  latest<allocation_progress> reports;
  allocate_options options;
  options.seed = seed;
  options.starts = starts;
  options.seconds = seconds;
  options.threads = threads;
  options.lower_bound = lower_bound;
  options.relative_gap = gap;
  if (!progress.is_none()) options.progress = [&](const allocation_progress& r) { reports.set(r); };
  return interruptible(
      [&](std::stop_token stop) {
        options.stop = std::move(stop);
        return allocate(p, options);
      },
      [&] {
        if (const auto r = reports.take()) progress(r->value, bound_of(r->lower_bound), r->starts);
      });
}

py::array_t<std::uint32_t> assignment_of(const allocation& a) {
  return py::array_t<std::uint32_t>(static_cast<py::ssize_t>(a.assignment.size()),
                                    a.assignment.data());
}

py::list states_of(const std::vector<priced_triple>& triples) {
  py::list l;
  for (const auto& [sites, price] : triples)
    l.append(py::make_tuple(sites[0], sites[1], sites[2], price));
  return l;
}

std::vector<priced_triple> triples_from(const py::handle& l) {
  std::vector<priced_triple> triples;
  for (const py::handle& h : l) {
    const auto t = h.cast<py::tuple>();
    const auto site = [&](std::size_t k) { return t[k].cast<std::uint32_t>(); };
    triples.push_back({{site(0), site(1), site(2)}, t[3].cast<double>()});
  }
  return triples;
}

py::list states_of(const std::vector<allocation_case>& cases) {
  py::list l;
  for (const allocation_case& c : cases)
    l.append(py::make_tuple(c.prices, states_of(c.triples), c.least, c.cell, c.by_x, c.at));
  return l;
}

std::vector<allocation_case> cases_from(const py::list& l) {
  std::vector<allocation_case> cases;
  for (const py::handle& h : l) {
    const auto t = h.cast<py::tuple>();
    cases.push_back({t[0].cast<std::vector<double>>(), triples_from(t[1]),
                     t[2].cast<std::vector<double>>(), t[3].cast<std::uint32_t>(),
                     t[4].cast<bool>(), t[5].cast<double>()});
  }
  return cases;
}

py::object state_of_pairs(const std::optional<allocation_pairs>& pairs) {
  if (!pairs) return py::none();
  std::vector<xy> places = {pairs->base, pairs->low, pairs->high};
  places.insert(places.end(), pairs->places.begin(), pairs->places.end());
  std::string steps;
  for (const allocation_pairs::step s : pairs->steps) steps += static_cast<char>(s);
  return py::make_tuple(rows_from(places), py::bytes(steps));
}

std::optional<allocation_pairs> pairs_from(const py::handle& state) {
  if (state.is_none()) return std::nullopt;
  const py::tuple t = py::cast<py::tuple>(state);
  const std::vector<xy> places = places_from(t[0].cast<double_array>());
  allocation_pairs pairs;
  pairs.base = places.at(0);
  pairs.low = places.at(1);
  pairs.high = places.at(2);
  pairs.places.assign(places.begin() + 3, places.end());
  for (const char c : t[1].cast<std::string>())
    pairs.steps.push_back(static_cast<allocation_pairs::step>(c));
  return pairs;
}

py::tuple state_of(const allocation& a) {
  return py::make_tuple(static_cast<int>(a.status), rows_from(a.points), a.assignment, a.value,
                        a.lower_bound, a.one_facility ? py::cast(*a.one_facility) : py::none(),
                        a.prices, states_of(a.triples), states_of(a.cases),
                        state_of_pairs(a.pairs));
}

// Without the last fields: as it was when prices of sites, or of triples too, were the only proof.
allocation allocation_from(const py::tuple& state) {
  const py::tuple t = fields_of(state, "an Allocation", {7, 9, 10});
  allocation a;
  a.status = static_cast<allocation_status>(status_from(t[0], "an Allocation", std::size(kStatus)));
  a.points = places_from(t[1].cast<double_array>());
  a.assignment = t[2].cast<std::vector<std::uint32_t>>();
  a.value = t[3].cast<double>();
  a.lower_bound = t[4].cast<std::optional<double>>();
  if (!t[5].is_none()) a.one_facility = t[5].cast<solution>();
  a.prices = t[6].cast<std::vector<double>>();
  if (t.size() > 7) {
    a.triples = triples_from(t[7]);
    a.cases = cases_from(t[8].cast<py::list>());
  }
  if (t.size() > 9) a.pairs = pairs_from(t[9]);
  return a;
}

}  // namespace

void bind_allocation(py::module_& m) {
  py::class_<allocation>(m, "Allocation")
      .def_property_readonly(
          "status", [](const allocation& a) { return kStatus[static_cast<int>(a.status)]; })
      .def_property_readonly("points",
                             [](const py::object& self) {
                               return view_of(self.cast<const allocation&>().points, self);
                             })
      .def_property_readonly("assignment", &assignment_of)
      .def_readonly("value", &allocation::value)
      .def_property_readonly("lower_bound",
                             [](const allocation& a) { return bound_of(a.lower_bound); })
      .def(py::pickle(&state_of, &allocation_from));
  m.def("allocate", [](const problem& single, std::size_t count, const double_array& existing,
                       std::uint64_t seed, std::size_t starts, double seconds, int threads,
                       bool lower_bound, double gap, const py::object& progress) {
    return search(make_problem(single, count, existing), seed, starts, seconds, threads,
                  lower_bound, gap, progress);
  });
  m.def("verify_allocation",
        [](const problem& single, std::size_t count, const double_array& existing,
           const allocation& a) -> verdict {
          const allocation_problem p = make_problem(single, count, existing);
          const py::gil_scoped_release unlocked;
          const allocation_check c = verify(p, a);
          const double bound = bound_of(c.lower_bound);
          return {c.accepted, c.reason, c.value, bound, c.value - bound, false};
        });
}

}  // namespace planloc::python
