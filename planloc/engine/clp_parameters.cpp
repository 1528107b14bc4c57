#include "planloc/engine/clp_parameters.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "planloc/engine/cplex_constants.h"

namespace planloc {
namespace {

constexpr int kNoLimit = std::numeric_limits<int>::max();
constexpr int kLongestRun = 2100000000;
constexpr double kHuge = 1e75;

// Used: 1001 (0 solves from scratch, 1 from the last basis), 1006 (the clock of the time limit, 1
// CPU, 2 wall), 1020, 1022, 1030 (presolve of a program without a basis), 2001, 2003, 2005, 2015,
// 2017, 2020, 2031, 2042, 3012, 5001. 1046, 1047 and 1048 are read back by IlcCplex; memory here
// grows by itself. The others are kept without effect: output is off in any case, because standard
// output belongs to the run's own lines; no basis file is ever written unasked; and CLP and CBC
// choose pricing, scaling, factorisation and the order of nodes by themselves.
constexpr clp_parameter<int> kIntParameters[] = {
    {CPX_PARAM_ADVIND, 1, 0, 1},
    {CPX_PARAM_AGGFILL, 10, 0, kLongestRun},
    {CPX_PARAM_AGGIND, -1, -1, kNoLimit},
    {CPX_PARAM_BASINTERVAL, 50000, 1, kLongestRun},
    {CPX_PARAM_CLOCKTYPE, 1, 1, 2},
    {CPX_PARAM_CRAIND, 1, -1, 1},
    {CPX_PARAM_DEPIND, 0, 0, 1},
    {CPX_PARAM_DPRIIND, 0, 0, 5},
    {CPX_PARAM_PRICELIM, 0, 0, kLongestRun},
    {CPX_PARAM_FASTMIP, 0, 0, 1},
    {CPX_PARAM_SIMDISPLAY, 1, 0, 2},
    {CPX_PARAM_ITLIM, kLongestRun, 0, kLongestRun},
    {CPX_PARAM_ROWREADLIM, 30000, 0, kLongestRun},
    {CPX_PARAM_NETFIND, 2, 1, 3},
    {CPX_PARAM_COLREADLIM, 60000, 0, kLongestRun},
    {CPX_PARAM_NZREADLIM, 250000, 0, kLongestRun},
    {CPX_PARAM_PERIND, 0, 0, 1},
    {CPX_PARAM_PERLIM, 0, 0, kLongestRun},
    {CPX_PARAM_PPRIIND, 0, -1, 4},
    {CPX_PARAM_PREIND, 1, 0, 1},
    {CPX_PARAM_REINV, 0, 0, 10000},
    {CPX_PARAM_SCAIND, 0, -1, 1},
    {CPX_PARAM_SCRIND, 0, 0, 1},
    {CPX_PARAM_SINGLIM, 10, 0, kLongestRun},
    {CPX_PARAM_ROWGROWTH, 100, 1, kNoLimit},
    {CPX_PARAM_COLGROWTH, 100, 1, kNoLimit},
    {CPX_PARAM_NZGROWTH, 500, 1, kNoLimit},
    {CPX_PARAM_PREPASS, -1, -1, kLongestRun},
    {CPX_PARAM_BRDIR, 0, -1, 1},
    {CPX_PARAM_CLIQUES, 0, -1, 2},
    {CPX_PARAM_COEREDIND, 1, 0, 2},
    {CPX_PARAM_COVERS, 0, -1, 2},
    {CPX_PARAM_MIPDISPLAY, 2, 0, 5},
    {CPX_PARAM_MIPINTERVAL, 100, 1, kLongestRun},
    {CPX_PARAM_INTSOLLIM, kLongestRun, 1, kLongestRun},
    {CPX_PARAM_NODELIM, kLongestRun, 0, kLongestRun},
    {CPX_PARAM_NODESEL, 1, 0, 3},
    {CPX_PARAM_MIPORDIND, 1, 0, 1},
    {CPX_PARAM_STARTALG, 1, 1, 6},
    {CPX_PARAM_SUBALG, 2, 1, 6},
    {CPX_PARAM_VARSEL, 0, -1, 4},
    {CPX_PARAM_HEURFREQ, 0, -1, kLongestRun},
    {CPX_PARAM_MIPORDTYPE, 0, 0, 3},
    {CPX_PARAM_PROBE, 0, -1, 2},
    {CPX_PARAM_BARALG, 0, 0, 3},
    {CPX_PARAM_BARCOLNZ, 0, 0, kLongestRun},
    {CPX_PARAM_BARDISPLAY, 1, 0, 2},
    {CPX_PARAM_BARITLIM, kLongestRun, 0, kLongestRun},
    {CPX_PARAM_BARMAXCOR, -1, -1, kLongestRun},
    {CPX_PARAM_BARORDER, 0, 0, 3},
    {CPX_PARAM_BARSTARTALG, 1, 1, 4},
    {CPX_PARAM_NETITLIM, kLongestRun, 0, kLongestRun},
    {CPX_PARAM_NETPPRIIND, 0, 0, 3},
    {CPX_PARAM_NETDISPLAY, 2, 0, 2},
};

// Used: 1014 (reduced costs), 1016 (feasibility), 1039 (seconds), 2006 and 2007 (solutions beyond
// are not looked for: below when maximising, above when minimising), 2008, 2009, 2010, 2019.
constexpr clp_parameter<double> kFloatParameters[] = {
    {CPX_PARAM_EPMRK, 0.01, 0.0001, 0.99999},   {CPX_PARAM_EPOPT, 1e-6, 1e-9, 1e-1},
    {CPX_PARAM_EPPER, 1e-6, 1e-8, kHuge},       {CPX_PARAM_EPRHS, 1e-6, 1e-9, 1e-1},
    {CPX_PARAM_OBJLLIM, -kHuge, -kHuge, kHuge}, {CPX_PARAM_OBJULIM, kHuge, -kHuge, kHuge},
    {CPX_PARAM_TILIM, kHuge, 0.0, kHuge},       {CPX_PARAM_BTTOL, 0.01, 0.0, 1.0},
    {CPX_PARAM_CUTLO, -kHuge, -kHuge, kHuge},   {CPX_PARAM_CUTUP, kHuge, -kHuge, kHuge},
    {CPX_PARAM_EPAGAP, 1e-6, 0.0, kHuge},       {CPX_PARAM_EPGAP, 1e-4, 0.0, 1.0},
    {CPX_PARAM_EPINT, 1e-5, 0.0, 0.5},          {CPX_PARAM_OBJDIF, 0.0, -kHuge, kHuge},
    {CPX_PARAM_RELOBJDIF, 0.0, 0.0, 1.0},       {CPX_PARAM_TRELIM, kHuge, 0.0, kHuge},
    {CPX_PARAM_BAREPCOMP, 1e-8, 1e-10, kHuge},  {CPX_PARAM_BARGROWTH, 1e6, 1.0, kHuge},
    {CPX_PARAM_BAROBJRNG, 1e15, 0.0, kHuge},    {CPX_PARAM_NETEPOPT, 1e-6, 1e-11, 1e-1},
    {CPX_PARAM_NETEPRHS, 1e-6, 1e-11, 1e-1},
};

template <typename T, std::size_t n>
const clp_parameter<T>* find(const clp_parameter<T> (&table)[n], int number) {
  const auto* const found = std::find_if(
      table, table + n, [&](const clp_parameter<T>& entry) { return entry.number == number; });
  return found == table + n ? nullptr : found;
}

}  // namespace

const clp_parameter<int>* find_int_parameter(int number) { return find(kIntParameters, number); }

const clp_parameter<double>* find_float_parameter(int number) {
  return find(kFloatParameters, number);
}

clp_parameters::clp_parameters() {
  for (const auto& parameter : kIntParameters) ints[parameter.number] = parameter.default_value;
  for (const auto& parameter : kFloatParameters) floats[parameter.number] = parameter.default_value;
}

clp_settings clp_parameters::settings() const {
  const auto number = [this](int parameter) { return ints.at(parameter); };
  const auto value = [this](int parameter) { return floats.at(parameter); };
  return {.presolve = number(CPX_PARAM_PREIND) != 0,
          .start_from_basis = number(CPX_PARAM_ADVIND) != 0,
          .primal_tolerance = value(CPX_PARAM_EPRHS),
          .dual_tolerance = value(CPX_PARAM_EPOPT),
          .iteration_limit = number(CPX_PARAM_ITLIM),
          .barrier_iteration_limit = number(CPX_PARAM_BARITLIM),
          .network_iteration_limit = number(CPX_PARAM_NETITLIM),
          .network_extraction = number(CPX_PARAM_NETFIND),
          .time_limit = value(CPX_PARAM_TILIM),
          .wall_clock = number(CPX_PARAM_CLOCKTYPE) == 2,
          .node_limit = number(CPX_PARAM_NODELIM),
          .solution_limit = number(CPX_PARAM_INTSOLLIM),
          .integer_tolerance = value(CPX_PARAM_EPINT),
          .absolute_gap = value(CPX_PARAM_EPAGAP),
          .relative_gap = value(CPX_PARAM_EPGAP),
          .lower_cutoff = value(CPX_PARAM_CUTLO),
          .upper_cutoff = value(CPX_PARAM_CUTUP),
          .objective_difference = value(CPX_PARAM_OBJDIF),
          .branch_direction = number(CPX_PARAM_BRDIR),
          .use_order = number(CPX_PARAM_MIPORDIND) != 0,
          .cliques = number(CPX_PARAM_CLIQUES),
          .covers = number(CPX_PARAM_COVERS),
          .probing = number(CPX_PARAM_PROBE),
          .heuristic_frequency = number(CPX_PARAM_HEURFREQ)};
}

}  // namespace planloc
