#include <exception>
#include <utility>

#include "python/src/bindings.h"

PYBIND11_MODULE(_core, m) {
  m.doc() = "The compiled half of planloc.";
  m.attr("__version__") = PLANLOC_VERSION;
  // A bad problem is a bad value: the text is the library's.
  planloc::python::py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(std::move(p));
    } catch (const planloc::bad_problem& e) {
      PyErr_SetString(PyExc_ValueError, e.what());
    }
  });
  planloc::python::bind_problem(m);
  planloc::python::bind_search(m);
  planloc::python::bind_scenarios(m);
  planloc::python::bind_efficient(m);
  planloc::python::bind_allocation(m);
  planloc::python::bind_tied(m);
}
