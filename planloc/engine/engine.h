// All of the modelling engine: IlcInitFloat and IlcManager first, then variables, expressions and
// constraints, then IlcLinOpt to solve.
#ifndef PLANLOC_ENGINE_ENGINE_H_
#define PLANLOC_ENGINE_ENGINE_H_

#include "planloc/engine/arrays.h"
#include "planloc/engine/constraint.h"
#include "planloc/engine/cplex_library.h"
#include "planloc/engine/error_reporter.h"
#include "planloc/engine/float_exp.h"
#include "planloc/engine/heap.h"
#include "planloc/engine/ilc_basis.h"
#include "planloc/engine/ilc_callback.h"
#include "planloc/engine/ilc_cplex.h"
#include "planloc/engine/ilc_linopt.h"
#include "planloc/engine/manager.h"

#endif  // PLANLOC_ENGINE_ENGINE_H_
