#include "planloc/engine/cplex_library.h"

#include "planloc/engine/clp_library.h"

namespace planloc {
namespace {

CplexLibrary*& library_in_force() {
  static ClpLibrary clp;
  static CplexLibrary* library = &clp;
  if (!library) library = &clp;
  return library;
}

}  // namespace

CplexLibrary::~CplexLibrary() = default;

CplexLibrary& cplex_library() { return *library_in_force(); }

CplexLibrary* set_cplex_library(CplexLibrary* library) {
  CplexLibrary* const before = library_in_force();
  library_in_force() = library;
  return before;
}

}  // namespace planloc
