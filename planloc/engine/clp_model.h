// Programs as CLP takes them, and a message handler that keeps CLP and CBC quiet.
#ifndef PLANLOC_ENGINE_CLP_MODEL_H_
#define PLANLOC_ENGINE_CLP_MODEL_H_

#include <limits>

#include <CoinMessageHandler.hpp>

#include "planloc/engine/clp_problem.h"

class ClpSimplex;

namespace planloc::detail {

inline constexpr double kClpInfinite = std::numeric_limits<double>::max();

// Bounds as CLP has them.
double lower_bound_of(double value);
double upper_bound_of(double value);
// An inequality whose right-hand side is infinite on its open side restricts nothing.
double row_lower_bound(const clp_row& row);
double row_upper_bound(const clp_row& row);

// Ratio of the program's costs to those of CLP, which are minimised: the sense times a power of two
// that keeps CLP's costs far below the 1e25 at which it ends the process.
double cost_scale_of(const clp_problem& problem);

// Bounds, costs divided by the scale, rows and nonzeros.
void load_clp_model(const clp_problem& problem, double cost_scale, ClpSimplex& model);
void load_clp_basis(const clp_problem& problem, ClpSimplex& model);
// The model's basis into the program.
void store_clp_basis(const ClpSimplex& model, clp_problem& problem);

void fix_column(clp_column& column, double value);

class SilentHandler : public CoinMessageHandler {
 public:
  SilentHandler() { setLogLevel(0); }
  int print() override { return 0; }
  CoinMessageHandler* clone() const override { return new SilentHandler(*this); }
};

// Seconds of the process or of the wall.
double clock_seconds(bool wall);

}  // namespace planloc::detail

#endif  // PLANLOC_ENGINE_CLP_MODEL_H_
