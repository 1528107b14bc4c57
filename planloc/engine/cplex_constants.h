// The numbers of the linear programming library: parameters, return codes, statuses, types of
// programs, places and values of callbacks.
#ifndef PLANLOC_ENGINE_CPLEX_CONSTANTS_H_
#define PLANLOC_ENGINE_CPLEX_CONSTANTS_H_

namespace planloc {

inline constexpr double CPX_INFBOUND = 1e20;

// ----- Parameter numbers, by type of value; clp_parameters.cpp tells what becomes of each -----

enum IlcCplexIntParam : int {
  CPX_PARAM_ADVIND = 1001,
  CPX_PARAM_AGGFILL = 1002,
  CPX_PARAM_AGGIND = 1003,
  CPX_PARAM_BASINTERVAL = 1004,
  CPX_PARAM_CLOCKTYPE = 1006,
  CPX_PARAM_CRAIND = 1007,
  CPX_PARAM_DPRIIND = 1009,
  CPX_PARAM_PRICELIM = 1010,
  CPX_PARAM_FASTMIP = 1017,
  CPX_PARAM_SIMDISPLAY = 1019,
  CPX_PARAM_ITLIM = 1020,
  CPX_PARAM_ROWREADLIM = 1021,
  CPX_PARAM_NETFIND = 1022,
  CPX_PARAM_COLREADLIM = 1023,
  CPX_PARAM_NZREADLIM = 1024,
  CPX_PARAM_PERLIM = 1028,
  CPX_PARAM_PPRIIND = 1029,
  CPX_PARAM_REINV = 1031,
  CPX_PARAM_SCAIND = 1034,
  CPX_PARAM_SINGLIM = 1037,
  CPX_PARAM_ROWGROWTH = 1046,
  CPX_PARAM_COLGROWTH = 1047,
  CPX_PARAM_NZGROWTH = 1048,
  CPX_PARAM_PREPASS = 1052,
  CPX_PARAM_BRDIR = 2001,
  CPX_PARAM_CLIQUES = 2003,
  CPX_PARAM_COEREDIND = 2004,
  CPX_PARAM_COVERS = 2005,
  CPX_PARAM_MIPDISPLAY = 2012,
  CPX_PARAM_MIPINTERVAL = 2013,
  CPX_PARAM_INTSOLLIM = 2015,
  CPX_PARAM_NODELIM = 2017,
  CPX_PARAM_NODESEL = 2018,
  CPX_PARAM_STARTALG = 2025,
  CPX_PARAM_SUBALG = 2026,
  CPX_PARAM_VARSEL = 2028,
  CPX_PARAM_HEURFREQ = 2031,
  CPX_PARAM_MIPORDTYPE = 2032,
  CPX_PARAM_PROBE = 2042,
  CPX_PARAM_BARALG = 3007,
  CPX_PARAM_BARCOLNZ = 3009,
  CPX_PARAM_BARDISPLAY = 3010,
  CPX_PARAM_BARITLIM = 3012,
  CPX_PARAM_BARMAXCOR = 3013,
  CPX_PARAM_BARORDER = 3014,
  CPX_PARAM_BARSTARTALG = 3017,
  CPX_PARAM_NETITLIM = 5001,
  CPX_PARAM_NETPPRIIND = 5004,
  CPX_PARAM_NETDISPLAY = 5005,
};

// Integer parameters that are switches.
enum IlcCplexBoolParam : int {
  CPX_PARAM_DEPIND = 1008,
  CPX_PARAM_PERIND = 1027,
  CPX_PARAM_PREIND = 1030,
  CPX_PARAM_SCRIND = 1035,
  CPX_PARAM_MIPORDIND = 2020,
};

enum IlcCplexFloatParam : int {
  CPX_PARAM_EPMRK = 1013,
  CPX_PARAM_EPOPT = 1014,
  CPX_PARAM_EPPER = 1015,
  CPX_PARAM_EPRHS = 1016,
  CPX_PARAM_OBJLLIM = 1025,
  CPX_PARAM_OBJULIM = 1026,
  CPX_PARAM_TILIM = 1039,
  CPX_PARAM_BTTOL = 2002,
  CPX_PARAM_CUTLO = 2006,
  CPX_PARAM_CUTUP = 2007,
  CPX_PARAM_EPAGAP = 2008,
  CPX_PARAM_EPGAP = 2009,
  CPX_PARAM_EPINT = 2010,
  CPX_PARAM_OBJDIF = 2019,
  CPX_PARAM_RELOBJDIF = 2022,
  CPX_PARAM_TRELIM = 2027,
  CPX_PARAM_BAREPCOMP = 3002,
  CPX_PARAM_BARGROWTH = 3003,
  CPX_PARAM_BAROBJRNG = 3004,
  CPX_PARAM_NETEPOPT = 5002,
  CPX_PARAM_NETEPRHS = 5003,
};

enum IlcCplexStringParam : int {
  CPX_PARAM_WORKDIR = 1064,
};

// ----- Return codes -----

inline constexpr int CPXERR_NO_MEMORY = 1001;
inline constexpr int CPXERR_NO_ENVIRONMENT = 1002;
inline constexpr int CPXERR_BAD_ARGUMENT = 1003;
inline constexpr int CPXERR_NULL_POINTER = 1004;
inline constexpr int CPXERR_CALLBACK = 1006;
inline constexpr int CPXERR_NO_PROBLEM = 1009;
inline constexpr int CPXERR_BAD_PARAM_NUM = 1013;
inline constexpr int CPXERR_PARAM_TOO_SMALL = 1014;
inline constexpr int CPXERR_PARAM_TOO_BIG = 1015;
inline constexpr int CPXERR_NOT_FOR_MIP = 1017;
inline constexpr int CPXERR_PRESOLVE = 1101;  // presolve came to no end
inline constexpr int CPXERR_INDEX_RANGE = 1200;
inline constexpr int CPXERR_COL_INDEX_RANGE = 1201;
inline constexpr int CPXERR_ROW_INDEX_RANGE = 1203;
inline constexpr int CPXERR_NEGATIVE_SURPLUS = 1207;
inline constexpr int CPXERR_BAD_SENSE = 1215;
inline constexpr int CPXERR_NO_SOLN = 1217;
inline constexpr int CPXERR_DUP_ENTRY = 1222;
inline constexpr int CPXERR_BAD_NUMBER = 1225;
inline constexpr int CPXERR_NO_BASIS = 1262;
inline constexpr int CPXERR_FAIL_OPEN_WRITE = 1422;
inline constexpr int CPXERR_FAIL_OPEN_READ = 1423;
inline constexpr int CPXERR_BAD_FILETYPE = 1424;
inline constexpr int CPXERR_BAD_BASIS_FILE = 1553;
inline constexpr int CPXERR_NOT_MIP = 3003;
inline constexpr int CPXERR_BAD_PRIORITY = 3006;
inline constexpr int CPXERR_BAD_SOS_TYPE = 3013;
inline constexpr int CPXERR_SOS_BAD_WEIGHT = 3015;
inline constexpr int CPXERR_BAD_CTYPE = 3021;
inline constexpr int CPXERR_NO_INT_SOLN = 3023;

// ----- Solution statuses -----
// FEAS and INFEAS tell whether what a stopped solve has reached is feasible.

enum IlcCplexStatus : int {
  CPX_STAT_NONE = 0,
  CPX_STAT_OPTIMAL = 1,
  CPX_STAT_INFEASIBLE = 2,
  CPX_STAT_UNBOUNDED = 3,
  CPX_STAT_IT_LIM_FEAS = 5,
  CPX_STAT_IT_LIM_INFEAS = 6,
  CPX_STAT_TIME_LIM_FEAS = 7,
  CPX_STAT_TIME_LIM_INFEAS = 8,
  CPX_STAT_NUM_BEST_FEAS = 9,  // given up on numerical difficulties
  CPX_STAT_NUM_BEST_INFEAS = 10,
  CPX_STAT_OPTIMAL_INFEAS = 11,  // optimal, with infeasibilities after unscaling
  CPX_STAT_ABORT_FEAS = 12,      // stopped by a callback
  CPX_STAT_ABORT_INFEAS = 13,
  CPXMIP_OPTIMAL = 101,
  CPXMIP_OPTIMAL_TOL = 102,  // within the gap
  CPXMIP_INFEASIBLE = 103,
  CPXMIP_SOL_LIM = 104,
  CPXMIP_NODE_LIM_FEAS = 105,
  CPXMIP_NODE_LIM_INFEAS = 106,
  CPXMIP_TIME_LIM_FEAS = 107,
  CPXMIP_TIME_LIM_INFEAS = 108,
  CPXMIP_FAIL_FEAS = 109,
  CPXMIP_FAIL_INFEAS = 110,
  CPXMIP_ABORT_FEAS = 113,
  CPXMIP_ABORT_INFEAS = 114,
  CPXMIP_OPTIMAL_INFEAS = 115,
  CPXMIP_UNBOUNDED = 118,
};

enum IlcCplexProblemType : int {
  CPXPROB_LP = 0,
  CPXPROB_MIP = 1,
  CPXPROB_RELAXED = 2,
  CPXPROB_FIXED = 3,
};

// Basis status of a column, and of a row by its slack (0 or 1 only).
enum IlcCplexBasisStatus : int {
  CPX_AT_LOWER = 0,
  CPX_BASIC = 1,
  CPX_AT_UPPER = 2,
  CPX_FREE_SUPER = 3,
};

// Branching directions of a priority order.
enum IlcCplexBranch : int {
  CPX_BRANCH_GLOBAL = 0,
  CPX_BRANCH_DOWN = -1,
  CPX_BRANCH_UP = 1,
};

// ----- Callbacks -----

// Where a callback is called from.
enum IlcCplexCallbackPlace : int {
  CPX_CALLBACK_PRIMAL = 1,
  CPX_CALLBACK_DUAL = 2,
  CPX_CALLBACK_NETWORK = 3,
  CPX_CALLBACK_BARRIER = 6,
  CPX_CALLBACK_MIP = 101,
};

// What it may ask for; (int) or (double) is the type of the result.
enum IlcCplexCallbackInfo : int {
  CPX_CALLBACK_INFO_PRIMAL_OBJ = 1,        // (double)
  CPX_CALLBACK_INFO_DUAL_OBJ = 2,          // (double)
  CPX_CALLBACK_INFO_PRIMAL_INFMEAS = 3,    // (double)
  CPX_CALLBACK_INFO_DUAL_INFMEAS = 4,      // (double)
  CPX_CALLBACK_INFO_PRIMAL_FEAS = 5,       // (int)
  CPX_CALLBACK_INFO_DUAL_FEAS = 6,         // (int)
  CPX_CALLBACK_INFO_ITCOUNT = 7,           // (int)
  CPX_CALLBACK_INFO_BEST_INTEGER = 101,    // (double), the rest of a mixed integer program
  CPX_CALLBACK_INFO_BEST_REMAINING = 102,  // (double)
  CPX_CALLBACK_INFO_NODE_COUNT = 103,      // (int)
  CPX_CALLBACK_INFO_NODES_LEFT = 104,      // (int)
  CPX_CALLBACK_INFO_MIP_ITERATIONS = 105,  // (int)
  CPX_CALLBACK_INFO_CUTOFF = 106,          // (double)
  CPX_CALLBACK_INFO_MIP_FEAS = 109,        // (int)
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_CPLEX_CONSTANTS_H_
