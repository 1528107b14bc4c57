// Places that no other beats in both of two criteria.
#include <pybind11/stl.h>

#include <iterator>
#include <limits>
#include <utility>

#include "python/src/bindings.h"
#include "python/src/interruptible.h"
#include "python/src/pickled.h"

namespace planloc::python {
namespace {

constexpr const char* kStatus[] = {"complete", "stopped"};
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr const char* kPolylineStatus[] = {"within_gap", "above_gap", "stopped"};

bicriteria_problem make_problem(const double_array& positions, const double_array& weights,
                                const index_array& gauge_of, std::vector<gauge> gauges,
                                const order_weights& first, const order_weights& second) {
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
  return {std::move(sites), std::move(gauges), first, second};
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

efficient_chain chain_from(const py::tuple& from) {
  const py::tuple t = fields_of(from, "an EfficientChain", {3});
  efficient_chain c;
  c.status =
      static_cast<efficient_status>(status_from(t[0], "an EfficientChain", std::size(kStatus)));
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

py::tuple state_of(const efficient_polyline& l) {
  py::list points;
  for (const polyline_point& p : l.points) {
    points.append(py::make_tuple(place_state(p.at), p.value1, p.value2));
  }
  py::list bounds;
  for (const polyline_bound& b : l.bounds) {
    bounds.append(py::make_tuple(b.factor1, b.factor2, b.bound, b.shares));
  }
  py::list cuts;
  for (const polyline_cut& c : l.cuts) {
    cuts.append(py::make_tuple(piece_state(c.first), piece_state(c.second)));
  }
  return py::make_tuple(static_cast<int>(l.status), points, l.distance, bounds, cuts,
                        place_state(l.base));
}

efficient_polyline polyline_from(const py::tuple& from) {
  const py::tuple t = fields_of(from, "an EfficientPolyline", {6});
  efficient_polyline l;
  l.status = static_cast<polyline_status>(
      status_from(t[0], "an EfficientPolyline", std::size(kPolylineStatus)));
  for (const py::handle state : t[1]) {
    const auto p = state.cast<py::tuple>();
    l.points.push_back({place_from(p[0]), p[1].cast<double>(), p[2].cast<double>()});
  }
  l.distance = t[2].cast<double>();
  for (const py::handle state : t[3]) {
    const auto b = state.cast<py::tuple>();
    l.bounds.push_back({b[0].cast<double>(), b[1].cast<double>(), b[2].cast<double>(),
                        b[3].cast<std::vector<std::pair<std::uint32_t, double>>>()});
  }
  for (const py::handle state : t[4]) {
    const auto c = state.cast<py::tuple>();
    l.cuts.push_back({piece_from(c[0]), piece_from(c[1])});
  }
  l.base = place_from(t[5]);
  return l;
}

// The places of some corners and their values, as rows.
template <class Corners>
py::tuple rows_of(const Corners& corners) {
  std::vector<xy> places;
  std::vector<xy> values;
  for (const auto& corner : corners) {
    places.push_back(corner.at);
    values.push_back({corner.value1, corner.value2});
  }
  return py::make_tuple(rows_from(places), rows_from(values));
}

// For each piece the corners' places, values as rows, and the ends of its t.
py::list pieces_of(const efficient_chain& c) {
  py::list pieces;
  for (const efficient_piece& piece : c.pieces) {
    const py::tuple rows = rows_of(piece.corners);
    pieces.append(py::make_tuple(rows[0], rows[1], piece.t_low, piece.t_high));
  }
  return pieces;
}

py::array_t<double> curve_of(const efficient_chain& c) {
  std::vector<xy> values;
  for (const trade_off& v : c.curve) values.push_back({v.value1, v.value2});
  return rows_from(values);
}

template <class Options, class Search>
auto limited(double seconds, Search search) {
  Options options;
  options.seconds = seconds;
  return interruptible(
      [&](const std::stop_token& stop) {
        options.stop = stop;
        return search(options);
      },
      [] {});
}

}  // namespace

void bind_efficient(py::module_& m) {
  py::class_<bicriteria_problem>(m, "BicriteriaProblem")
      .def(py::init(&make_problem))
      .def_property_readonly(
          "exact", [](const bicriteria_problem& p) { return p.polyhedral() && p.plain_sums(); });
  py::class_<efficient_chain>(m, "EfficientChain")
      .def_property_readonly(
          "status", [](const efficient_chain& c) { return kStatus[static_cast<int>(c.status)]; })
      .def_property_readonly("pieces", &pieces_of)
      .def_property_readonly("curve", &curve_of)
      .def(py::pickle([](const efficient_chain& c) { return state_of(c); }, &chain_from));
  py::class_<efficient_polyline>(m, "EfficientPolyline")
      .def_property_readonly(
          "status",
          [](const efficient_polyline& l) { return kPolylineStatus[static_cast<int>(l.status)]; })
      .def_property_readonly("rows", [](const efficient_polyline& l) { return rows_of(l.points); })
      .def_readonly("distance", &efficient_polyline::distance)
      .def(py::pickle([](const efficient_polyline& l) { return state_of(l); }, &polyline_from));
  m.def("efficient_set", [](const bicriteria_problem& p, double seconds) {
    return limited<efficient_options>(
        seconds, [&](const efficient_options& options) { return efficient_set(p, options); });
  });
  m.def("efficient_polyline", [](const bicriteria_problem& p, double gap, double seconds) {
    return limited<polyline_options>(seconds, [&](const polyline_options& options) {
      return approximate_efficient_set(p, gap, options);
    });
  });
  m.def(
      "verify_efficient",
      [](const bicriteria_problem& p, const efficient_chain& c) -> verdict {
        const efficient_verification v = verify(p, c);
        return {v.accepted, v.reason, kNone, kNone, 0, v.accepted};
      },
      py::call_guard<py::gil_scoped_release>());
  m.def(
      "verify_efficient",
      [](const bicriteria_problem& p, const efficient_polyline& l) -> verdict {
        const polyline_verification v = verify(p, l);
        return {v.accepted, v.reason, kNone, kNone, v.distance, false};
      },
      py::call_guard<py::gil_scoped_release>());
}

}  // namespace planloc::python
