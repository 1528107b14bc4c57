// Programs and bases as files. All return a code of the library. Columns and rows without a name,
// with one that a file cannot hold or that another has, are called x1, x2, ... and c1, c2, ... by
// their places.
#ifndef PLANLOC_ENGINE_CLP_FILES_H_
#define PLANLOC_ENGINE_CLP_FILES_H_

#include "planloc/engine/clp_problem.h"

namespace planloc::detail {

// Free MPS format, with integer columns and special ordered sets; all numbers to the last bit. The
// format has no sense of the objective: costs to be maximised are negated and minimised.
int write_mps_file(const clp_problem& problem, const char* filename);
// LP format, the same.
int write_lp_file(const clp_problem& problem, const char* filename);

// Basis files of MPS. Reading one changes nothing unless it is a basis of the program.
int write_basis_file(const clp_problem& problem, const char* filename);
int read_basis_file(const char* filename, clp_problem& problem);

}  // namespace planloc::detail

#endif  // PLANLOC_ENGINE_CLP_FILES_H_
