#include "planloc/engine/cplex_library.h"

#include "planloc/engine/clp_library.h"

namespace planloc {
namespace {

ClpLibrary& clp_library() {
  static ClpLibrary clp;
  return clp;
}

CplexLibrary*& library_in_force() {
  static CplexLibrary* library = &clp_library();
  return library;
}

}  // namespace

CplexLibrary::~CplexLibrary() = default;

CplexLibrary& cplex_library() { return *library_in_force(); }

CplexLibrary* set_cplex_library(CplexLibrary* library) {
  CplexLibrary* const before = library_in_force();
  library_in_force() = library ? library : &clp_library();
  return before;
}

}  // namespace planloc
