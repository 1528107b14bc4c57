#include "python/src/pickled.h"

#include <algorithm>

namespace planloc::python {
namespace {

[[noreturn]] void refuse(const std::string& kind, const std::string& why) {
  throw py::value_error(
      kind + " was pickled by a version of planloc that " PLANLOC_VERSION " cannot read: " + why);
}

}  // namespace

py::tuple fields_of(const py::handle& state, const std::string& kind,
                    std::initializer_list<std::size_t> counts) {
  auto fields = state.cast<py::tuple>();
  if (std::find(counts.begin(), counts.end(), fields.size()) == counts.end())
    refuse(kind, "it has " + std::to_string(fields.size()) + " fields");
  return fields;
}

int status_from(const py::handle& state, const std::string& kind, std::size_t statuses) {
  const auto status = state.cast<long long>();
  if (status < 0 || static_cast<std::size_t>(status) >= statuses)
    refuse(kind, "its status is " + std::to_string(status));
  return static_cast<int>(status);
}

}  // namespace planloc::python
