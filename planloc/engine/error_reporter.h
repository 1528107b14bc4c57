// The engine's way to report failures of use and of the library. The manager holds the reporter in
// force (IlcManager::setErrorReporter); IlcLinOpt::useExceptions installs one that throws.
#ifndef PLANLOC_ENGINE_ERROR_REPORTER_H_
#define PLANLOC_ENGINE_ERROR_REPORTER_H_

#include <mutex>

namespace planloc {

class IlcFloatExpI;

// Codes of the engine's own reports. A failed library call is reported with the library's code.
enum IlcErrorCode : int {
  kIlcUsageError = 1,
  kIlcNoMemory = 2,
  kIlcHeapError = 3,
  kIlcFailure = 4,
  kIlcBadArraySize = 5,
  kIlcNotLinear = 6,
  kIlcUnboundValue = 7,
  kIlcNoManager = 38,
  kIlcEmptyManager = 39,
  kIlcClosedOnError = 53,
};

// The default reporter. Each form of `error` builds a text of at most 256 characters: the label,
// " : ", what happened, and " : " with the further value if there is one; a null `what` leaves the
// label alone. Then the text goes out, "Solver Error : <text>" on the error stream, and the final
// action `abort` ends the process abnormally. Reports of several threads come one after the other.
class IlcErrorReporter {
 public:
  static constexpr int kTextSize = 256;

  virtual ~IlcErrorReporter();

  virtual void error(int code, const char* label, const char* what, double value);
  virtual void error(int code, const char* label, const char* what, int low, int high);
  virtual void error(int code, const char* label, const char* what, int value);
  virtual void error(int code, const char* label, const char* what, const IlcFloatExpI* exp);
  virtual void error(int code, const char* label, const char* what, const IlcFloatExpI* exp1,
                     const IlcFloatExpI* exp2);
  // "Solver Warning : <label> : <what>" on the error stream.
  virtual void warning(const char* label, const char* what);
  virtual void abort(int code);

  void error(int code, const char* label, const char* what = nullptr) {
    error(code, label, what, static_cast<const IlcFloatExpI*>(nullptr));
  }

  // The text of the report under way.
  const char* getText() const { return text_; }

 protected:
  // Shows the text; a reporter that carries it elsewhere overrides this.
  virtual void show();

 private:
  static std::unique_lock<std::recursive_mutex> turn();
  void write(const char* label, const char* what, const char* value);
  void finish(int code);

  char text_[kTextSize + 1] = "";
};

// The default reporter, one per process.
IlcErrorReporter* ilc_default_reporter();

// The reporter in force: that of the current manager, the default one where there is none.
IlcErrorReporter& ilc_reporter();

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ERROR_REPORTER_H_
