#include <pybind11/stl.h>

#include <string>
#include <utility>
#include <variant>

#include "python/src/bindings.h"
#include "python/src/pickled.h"

namespace planloc::python {
namespace {

using reason = branch_certificate::reason;

py::array_t<std::uint32_t> array_of(const std::vector<std::uint32_t>& values) {
  return py::array_t<std::uint32_t>(static_cast<py::ssize_t>(values.size()), values.data());
}

std::vector<std::uint32_t> numbers_from(const py::handle& state) {
  const auto values = state.cast<index_array>();
  return {values.data(), values.data() + values.size()};
}

py::bytes bytes_of(const std::vector<reason>& reasons) {
  return py::bytes(reinterpret_cast<const char*>(reasons.data()), reasons.size());
}

std::vector<reason> reasons_from(const py::handle& state) {
  std::vector<reason> reasons;
  for (const char c : state.cast<std::string>()) reasons.push_back(static_cast<reason>(c));
  return reasons;
}

// Without the last fields: as it was when all searches had the axes of the plane and none went to
// infinity.
branch_certificate branch_from(const py::tuple& fields) {
  branch_certificate c{.base = place_from(fields[1]),
                       .half = fields[2].cast<double>(),
                       .axes = {},
                       .outside = reasons_from(fields[3]),
                       .to_infinity = fields.size() > 5 && fields[5].cast<bool>(),
                       .cells = reasons_from(fields[4])};
  if (fields.size() == 8) c.axes = {place_from(fields[6]), place_from(fields[7])};
  return c;
}

struct to_state {
  py::object operator()(std::monostate) const { return py::none(); }
  py::object operator()(const convex_certificate& c) const {
    py::list pieces;
    for (const affine_piece& piece : c.pieces) pieces.append(piece_state(piece));
    return py::make_tuple("convex", place_state(c.base), pieces);
  }
  py::object operator()(const branch_certificate& c) const {
    return py::make_tuple("branch", place_state(c.base), c.half, bytes_of(c.outside),
                          bytes_of(c.cells), c.to_infinity, place_state(c.axes.along),
                          place_state(c.axes.across));
  }
  py::object operator()(const direction_certificate& c) const {
    return py::make_tuple("direction", place_state(c.direction));
  }
  py::object operator()(const boundary_certificate& c) const {
    py::list pieces;
    for (const affine_piece& piece : c.pieces) pieces.append(piece_state(piece));
    return py::make_tuple("boundary", place_state(c.base), pieces, c.outside.x, c.outside.y);
  }
};

}  // namespace

py::tuple place_state(xy at) { return py::make_tuple(at.x, at.y); }

xy place_from(const py::handle& state) {
  const auto [x, y] = state.cast<std::pair<double, double>>();
  return {x, y};
}

py::tuple piece_state(const affine_piece& piece) {
  py::list kinks;
  for (const auto& k : piece.kinks) kinks.append(py::make_tuple(k.site, place_state(k.slope)));
  return py::make_tuple(piece.multiplier, place_state(piece.taken_at), array_of(piece.edge),
                        array_of(piece.rank), kinks);
}

affine_piece piece_from(const py::handle& from) {
  const auto state = from.cast<py::tuple>();
  affine_piece piece{.multiplier = state[0].cast<double>(),
                     .taken_at = place_from(state[1]),
                     .edge = numbers_from(state[2]),
                     .rank = numbers_from(state[3]),
                     .kinks = {}};
  for (const py::handle k : state[4]) {
    const auto kink = k.cast<py::tuple>();
    piece.kinks.push_back({kink[0].cast<std::uint32_t>(), place_from(kink[1])});
  }
  return piece;
}

py::object certificate_state(const certificate& proof) { return std::visit(to_state(), proof); }

certificate certificate_from(const py::object& state) {
  if (state.is_none()) return {};
  const auto of_any_kind = state.cast<py::tuple>();
  const auto kind = of_any_kind[0].cast<std::string>();
  const std::string name = "a " + kind + " certificate";
  if (kind == "branch") return branch_from(fields_of(state, name, {5, 6, 8}));
  if (kind == "direction") return direction_certificate{place_from(fields_of(state, name, {2})[1])};
  const bool boundary = kind == "boundary";
  const py::tuple fields = fields_of(state, name, {boundary ? 5U : 3U});
  convex_certificate c{.pieces = {}, .base = place_from(fields[1])};
  for (const py::handle piece : fields[2]) c.pieces.push_back(piece_from(piece));
  if (!boundary) return c;
  return boundary_certificate{
      .outside = {fields[3].cast<std::string>(), fields[4].cast<std::string>()},
      .pieces = std::move(c.pieces),
      .base = c.base};
}

}  // namespace planloc::python
