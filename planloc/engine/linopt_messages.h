// Every text that IlcLinOpt and IlcBasis report, operation by operation. The signs around "empty
// handle" differ from one to the next and are kept.
#ifndef PLANLOC_ENGINE_LINOPT_MESSAGES_H_
#define PLANLOC_ENGINE_LINOPT_MESSAGES_H_

namespace planloc::linopt_message {

// ----- Empty handles -----

inline constexpr char kSetParam[] = "IlcLinOpt::setParam empty handle";
inline constexpr char kGetParam[] = "IlcLinOpt::getParam empty handle";
inline constexpr char kGetParamDefault[] = "IlcLinOpt::getParamDefault empty handle";
inline constexpr char kGetParamMin[] = "IlcLinOpt::getParamMin empty handle";
inline constexpr char kGetParamMax[] = "IlcLinOpt::getParamMax empty handle";
inline constexpr char kSetParamsDefault[] = "IlcLinOpt::setParamsDefault empty handle";
inline constexpr char kPrimalOpt[] = "IlcLinOpt::primalOpt empty handle";
inline constexpr char kDualOpt[] = "IlcLinOpt::dualOpt empty handle";
inline constexpr char kNetworkPrimalOpt[] = "IlcLinOpt::networkPrimalOpt empty handle";
inline constexpr char kNetworkDualOpt[] = "IlcLinOpt::networkDualOpt empty handle";
inline constexpr char kBarrierOpt[] = "IlcLinOpt::barrierOpt empty handle";
inline constexpr char kBarrierPrimalOpt[] = "IlcLinOpt::barrierPrimalOpt empty handle";
inline constexpr char kBarrierDualOpt[] = "IlcLinOpt::barrierDualOpt empty handle";
inline constexpr char kMipOpt[] = "IlcLinOpt::mipOpt empty handle";
inline constexpr char kGetSubproblemStatus[] = "IlcLinOpt::getSubproblemStatus empty handle";
inline constexpr char kGetObjValue[] = "IlcLinOpt::getObjValue empty handle";
inline constexpr char kWriteProblem[] = "IlcLinOpt::writeProblem empty handle";
inline constexpr char kSetLPCallback[] = "IlcLinOpt::setLPCallback empty handle";
inline constexpr char kSetMIPCallback[] = "IlcLinOpt::setMIPCallback empty handle";
inline constexpr char kGetMIPCallback[] = "IlcLinOpt::getMIPCallback empty handle";
inline constexpr char kGetBasis[] = "IlcLinOpt::getBasis empty handle";
inline constexpr char kSetBasis[] = "IlcLinOpt::setBasis empty handle";
inline constexpr char kFillBasis[] = "IlcLinOpt::fillBasis empty handle";
inline constexpr char kWriteBasis[] = "IlcLinOpt::writeBasis empty handle";
inline constexpr char kReadBasis[] = "IlcLinOpt::readBasis empty handle";
inline constexpr char kSetPriOrder[] = "IlcLinOpt::setPriOrder empty handle";
inline constexpr char kGetPhaseOneCount[] = "IlcLinOpt::getPhaseOneCount empty handle";
inline constexpr char kGetNodeCount[] = "IlcLinOpt::getNodeCount empty handle";
inline constexpr char kGetBestObjValue[] = "IlcLinOpt::getBestObjValue empty handle";
inline constexpr char kGetNodeLeftCount[] = "IlcLinOpt:::getNodeLeftCount empty handle";
inline constexpr char kGetCrossPPushCount[] = "IlcLinOpt::getCrossPPushCount empty handle";
inline constexpr char kGetCrossPExchCount[] = "IlcLinOpt::getCrossPExchCount empty handle";
inline constexpr char kGetCrossDPushCount[] = "IlcLinOpt::getCrossDPushCount empty handle";
inline constexpr char kGetCrossDExchCount[] = "IlcLinOpt::getCrossDExchCount empty handle";
inline constexpr char kGetCliqueCount[] = "IlcLinOpt::getCliqueCount empty handle";
inline constexpr char kGetCoverCount[] = "IlcLinOpt::getCoverCount empty handle";
inline constexpr char kUseExceptions[] = "IlcLinOpt::useExceptions empty handle";
inline constexpr char kUnsetLPCallback[] = "IlcLinOpt::unsetLPCallback empty handle";
inline constexpr char kUnsetMIPCallback[] = "IlcLinOpt::unsetMIPCallback empty handle";
inline constexpr char kOptimize[] = "IlcLinOpt::optimize empty handle";
inline constexpr char kAddSOS[] = "IlcLinOpt::addSOS empty handle";

inline constexpr char kGetCPXENVptr[] = "IlcLinOpt::getCPXENVptr: empty handle";
inline constexpr char kGetCPXLPptr[] = "IlcLinOpt::getCPXLPptr: empty handle";
inline constexpr char kGetVar[] = "IlcLinOpt::getVar: empty handle";
inline constexpr char kGetVarIndex[] = "IlcLinOpt::getVarIndex: empty handle";
inline constexpr char kGetConstraintIndex[] = "IlcLinOpt::getConstraintIndex: empty handle";
inline constexpr char kChgBounds[] = "IlcLinOpt::chgBounds: empty handle";
inline constexpr char kChgLowerBound[] = "IlcLinOpt::chgLowerBound: empty handle";
inline constexpr char kChgUpperBound[] = "IlcLinOpt::chgUpperBound: empty handle";
inline constexpr char kRemove[] = "IlcLinOpt::remove: empty handle";
inline constexpr char kSetCurrentValue[] = "IlcLinOpt::setCurrentValue: empty handle";
inline constexpr char kSetSearchMethod[] = "IlcLinOpt::setSearchMethod: empty handle";
inline constexpr char kSetFirstMethod[] = "IlcLinOpt::setFirstMethod: empty handle";
inline constexpr char kGetDualValue[] = "IlcLinOpt::getDualValue: empty handle";
inline constexpr char kGetSlackValue[] = "IlcLinOpt::getSlackValue: empty handle";
inline constexpr char kGenerateGoal[] = "IlcLinOpt::getPiecewiseLinearGenerateGoal: empty handle";
inline constexpr char kGenerateGoalCut[] =
    "IlcLinOpt::getPiecewiseLinearGenerateGoalCut: empty handle";
inline constexpr char kGetLPCallback[] = "IlcLinOpt:getLPCallback: empty handle";

// ----- Other failures -----

inline constexpr char kFloatNotStarted[] = "IlcInitFloat has not been called";
inline constexpr char kNoMemory[] = "no more memory";

// What the three changes of bounds report, in the order of their tests.
struct BoundChange {
  const char* empty_variable;
  const char* no_edit;
  const char* inconsistent;
};
inline constexpr BoundChange kBounds = {"IlcLinOptI::chgBounds: empty variable",
                                        "IlcLinOptI::chgBounds: manager in IlcNoEdit mode",
                                        "IlcLinOptI::chgBounds: inconsistent bounds"};
inline constexpr BoundChange kLowerBound = {"IlcLinOptI::chgLowerBound: empty variable",
                                            "IlcLinOptI::chgLowerBound: manager in IlcNoEdit mode",
                                            "IlcLinOptI::chgLowerBound: inconsistent bounds"};
inline constexpr BoundChange kUpperBound = {"IlcLinOptI::chgUpperBound: empty variable",
                                            "IlcLinOptI::chgUpperBound: manager in IlcNoEdit mode",
                                            "IlcLinOptI::chgUpperBound: inconsistent bounds"};

inline constexpr char kRemoveNoEdit[] = "IlcLinOptI::remove : manager in IlcNoEdit mode";
inline constexpr char kMipOptNoEdit[] = "IlcLinOptI::mipOpt manager in IlcNoEdit mode";
inline constexpr char kUnknownConstraint[] = "IlcLinOptI::getSlackValue : unknown constraint";
inline constexpr char kBadArraySizes[] = "IlcLinOpt::setCurrentValue: Bad array sizes";
inline constexpr char kBadSearchMethod[] = "IlcLinOpt::setSearchMethod: Bad method";
inline constexpr char kBadFirstMethod[] = "IlcLinOpt::setFirstMethod: Bad method";

inline constexpr char kPriOrderTooSmall[] = "IlcLinOptI::setPriOrder : array too small";
inline constexpr char kPriOrderNoArray[] = "IlcLinOptI::setPriOrder : empty array of variables";
inline constexpr char kPriOrderSizes[] = "IlcLinOptI::setPriOrder : sizes of arrays are different";
inline constexpr char kSOSSizes[] = "IlcLinOptI::addSOS : different sizes for arrays";
inline constexpr char kSOSNoArray[] = "IlcLinOptI::addSOS : empty array of variables";
inline constexpr char kSOSNoReferenceRow[] = "IlcLinOptI::addSOS : empty reference row";
inline constexpr char kNoMoreMemory[] = "No more memory";  // of both
inline constexpr char kNoObjective[] = "optimize: no objective function was defined";

inline constexpr char kSetBasisArgument[] = "IlcLinOpt::setBasis : empty handle for argument";
inline constexpr char kFillBasisArgument[] = "IlcLinOpt::fillBasis : empty handle";
inline constexpr char kSetLPCallbackArgument[] = "IlcLinOpt::setLPCallback : empty handle";
inline constexpr char kSetMIPCallbackArgument[] =
    "IlcLinOpt::setMIPCallback : empty handle for argument";
inline constexpr char kSetMIPCallbackNoEdit[] =
    "IlcLinOpt::setMIPCallback : manager in IlcNoEdit mode";
inline constexpr char kGetMIPCallbackNoEdit[] =
    "IlcLinOpt::getMIPCallback : manager in IlcNoEdit mode";
inline constexpr char kSubproblemStatusNoEdit[] =
    "IlcLinOpt::getSubproblemStatus : manager in IlcNoEdit mode";

inline constexpr char kBasisGetManager[] = "IlcBasis::getManager : empty handle";
inline constexpr char kBasisGetStatus[] = "IlcBasis::getStatus : empty handle";
inline constexpr char kBasisGetStatusArgument[] = "IlcBasis::getStatus : empty handle for argument";

}  // namespace planloc::linopt_message

#endif  // PLANLOC_ENGINE_LINOPT_MESSAGES_H_
