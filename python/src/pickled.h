// What is read from pickles that another version of the module may have made.
#ifndef PLANLOC_PYTHON_PICKLED_H_
#define PLANLOC_PYTHON_PICKLED_H_

#include <cstddef>
#include <initializer_list>
#include <string>

#include "python/src/bindings.h"

namespace planloc::python {

// The fields of the state of a `kind`. Fields are added at the end, so that fewer are those that an
// earlier version had. Throws ValueError, which names this version, where there are as many as no
// version that this one can read has written.
py::tuple fields_of(const py::handle& state, const std::string& kind,
                    std::initializer_list<std::size_t> counts);

// The number of one of `statuses` names; throws as `fields_of` does.
int status_from(const py::handle& state, const std::string& kind, std::size_t statuses);

}  // namespace planloc::python

#endif  // PLANLOC_PYTHON_PICKLED_H_
