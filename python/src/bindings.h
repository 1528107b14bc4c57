// The parts of the compiled half of the Python module, and what they share.
#ifndef PLANLOC_PYTHON_BINDINGS_H_
#define PLANLOC_PYTHON_BINDINGS_H_

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "planloc/certified.h"

namespace planloc::python {

namespace py = pybind11;

// Rows of doubles, as they are where the caller has such an array.
using double_array = py::array_t<double, py::array::c_style | py::array::forcecast>;
using index_array = py::array_t<std::uint32_t, py::array::c_style | py::array::forcecast>;

void bind_problem(py::module_& m);
void bind_search(py::module_& m);
void bind_scenarios(py::module_& m);
void bind_efficient(py::module_& m);
void bind_allocation(py::module_& m);
void bind_tied(py::module_& m);

// Everything that a certificate holds, as plain tuples, bytes and arrays: what is pickled.
py::object certificate_state(const certificate& proof);
certificate certificate_from(const py::object& state);
py::tuple piece_state(const affine_piece& piece);
affine_piece piece_from(const py::handle& state);
py::tuple place_state(xy at);
xy place_from(const py::handle& state);

// The rows of an array of shape (k, 2), and back.
std::vector<xy> places_from(const double_array& rows);
py::array_t<double> rows_from(std::span<const xy> places);

// The same as a view that cannot be written: the memory is the owner's, which it keeps.
py::array_t<double> view_of(std::span<const xy> places, const py::object& owner);

// What every check says: accepted, reason, value, lower bound, gap, whether the set of optima is
// proved.
using verdict = std::tuple<bool, std::string, double, double, double, bool>;
verdict verdict_of(const verification& v);

}  // namespace planloc::python

#endif  // PLANLOC_PYTHON_BINDINGS_H_
