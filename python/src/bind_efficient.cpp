// Places that no other beats in both of two criteria.
#include <pybind11/stl.h>

#include <utility>

#include "python/src/bindings.h"
#include "python/src/interruptible.h"

namespace planloc::python {
namespace {

constexpr const char* kStatus[] = {"complete", "stopped"};

bicriteria_problem make_problem(const double_array& positions, const double_array& weights,
                                const index_array& gauge_of, std::vector<gauge> gauges) {
  const std::vector<xy> places = places_from(positions);
  const auto n = static_cast<py::ssize_t>(places.size());
  if (weights.ndim() != 2 || weights.shape(0) != 2 || weights.shape(1) != n) {
    throw py::value_error("weights has to have two rows, of " + std::to_string(n) +
                          " entries each");
  }
  std::vector<bicriteria_site> sites;
  for (py::ssize_t i = 0; i < n; ++i) {
    const xy at = places[static_cast<std::size_t>(i)];
    sites.push_back({at.x, at.y, weights.at(0, i), weights.at(1, i), gauge_of.at(i)});
  }
  return {std::move(sites), std::move(gauges)};
}

py::tuple state_of(const efficient_corner& c) {
  return py::make_tuple(c.at.x, c.at.y, c.value1, c.value2, c.lines[0].site, c.lines[0].vertex,
                        c.lines[1].site, c.lines[1].vertex);
}

efficient_corner corner_from(const py::handle& state) {
  const auto t = state.cast<py::tuple>();
  const auto number = [&](std::size_t k) { return t[k].cast<std::uint32_t>(); };
  return {{t[0].cast<double>(), t[1].cast<double>()},
          t[2].cast<double>(),
          t[3].cast<double>(),
          {{{number(4), number(5)}, {number(6), number(7)}}}};
}

py::tuple state_of(const efficient_chain& c) {
  py::list pieces;
  for (const efficient_piece& piece : c.pieces) {
    py::list corners;
    for (const efficient_corner& corner : piece.corners) corners.append(state_of(corner));
    pieces.append(py::make_tuple(piece.t_low, piece.t_high, corners));
  }
  py::list curve;
  for (const trade_off& v : c.curve) {
    curve.append(py::make_tuple(v.value1, v.value2, v.t_low, v.t_high));
  }
  return py::make_tuple(static_cast<int>(c.status), pieces, curve);
}

efficient_chain chain_from(const py::tuple& t) {
  efficient_chain c;
  c.status = static_cast<efficient_status>(t[0].cast<int>());
  for (const py::handle state : t[1]) {
    const auto p = state.cast<py::tuple>();
    efficient_piece piece;
    piece.t_low = p[0].cast<double>();
    piece.t_high = p[1].cast<double>();
    for (const py::handle corner : p[2]) piece.corners.push_back(corner_from(corner));
    c.pieces.push_back(std::move(piece));
  }
  for (const py::handle v : t[2]) {
    const auto [value1, value2, low, high] = v.cast<std::tuple<double, double, double, double>>();
    c.curve.push_back({value1, value2, low, high});
  }
  return c;
}

// For each piece the corners' places, values as rows, and the ends of its t.
py::list pieces_of(const efficient_chain& c) {
  py::list pieces;
  for (const efficient_piece& piece : c.pieces) {
    std::vector<xy> places;
    std::vector<xy> values;
    for (const efficient_corner& corner : piece.corners) {
      places.push_back(corner.at);
      values.push_back({corner.value1, corner.value2});
    }
    pieces.append(py::make_tuple(rows_from(places), rows_from(values), piece.t_low, piece.t_high));
  }
  return pieces;
}

}  // namespace

void bind_efficient(py::module_& m) {
  py::class_<bicriteria_problem>(m, "BicriteriaProblem").def(py::init(&make_problem));
  py::class_<efficient_chain>(m, "EfficientChain")
      .def_property_readonly(
          "status", [](const efficient_chain& c) { return kStatus[static_cast<int>(c.status)]; })
      .def_property_readonly("pieces", &pieces_of)
      .def(py::pickle([](const efficient_chain& c) { return state_of(c); }, &chain_from));
  m.def("efficient_set", [](const bicriteria_problem& p, double seconds) {
    efficient_options options;
    options.seconds = seconds;
    return interruptible(
        [&](std::stop_token stop) {
          options.stop = std::move(stop);
          return efficient_set(p, options);
        },
        [] {});
  });
  py::class_<efficient_verification>(m, "EfficientVerification")
      .def_readonly("accepted", &efficient_verification::accepted)
      .def_readonly("reason", &efficient_verification::reason)
      .def("__bool__", [](const efficient_verification& v) { return v.accepted; });
  m.def(
      "verify_efficient",
      [](const bicriteria_problem& p, const efficient_chain& c) { return verify(p, c); },
      py::call_guard<py::gil_scoped_release>());
}

}  // namespace planloc::python
