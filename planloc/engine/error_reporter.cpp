#include "planloc/engine/error_reporter.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>

#include "planloc/engine/float_exp_impl.h"

namespace planloc {
namespace {

std::string to_text(const IlcFloatExpI& exp) {
  std::ostringstream out;
  exp.display(out);
  return out.str();
}

std::string to_text(double value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

}  // namespace

IlcErrorReporter::~IlcErrorReporter() = default;

// A reporter may serve managers of several threads, and has one text: reports come one at a time.
// A report that is made while another one is told, by the same thread, goes through.
std::unique_lock<std::recursive_mutex> IlcErrorReporter::turn() {
  static std::recursive_mutex reporting;
  return std::unique_lock(reporting);
}

void IlcErrorReporter::error(int code, const char* label, const char* what, double value) {
  const auto mine = turn();
  write(label, what, to_text(value).c_str());
  finish(code);
}

void IlcErrorReporter::error(int code, const char* label, const char* what, int low, int high) {
  const auto mine = turn();
  write(label, what, (std::to_string(low) + ".." + std::to_string(high)).c_str());
  finish(code);
}

void IlcErrorReporter::error(int code, const char* label, const char* what, int value) {
  const auto mine = turn();
  write(label, what, std::to_string(value).c_str());
  finish(code);
}

void IlcErrorReporter::error(int code, const char* label, const char* what,
                             const IlcFloatExpI* exp) {
  const auto mine = turn();
  write(label, what, exp ? to_text(*exp).c_str() : nullptr);
  finish(code);
}

void IlcErrorReporter::error(int code, const char* label, const char* what,
                             const IlcFloatExpI* exp1, const IlcFloatExpI* exp2) {
  if (!exp1 || !exp2) return error(code, label, what, exp1 ? exp1 : exp2);
  const auto mine = turn();
  write(label, what, (to_text(*exp1) + ", " + to_text(*exp2)).c_str());
  finish(code);
}

void IlcErrorReporter::warning(const char* label, const char* what) {
  const auto mine = turn();
  write(label, what, nullptr);
  std::cerr << "Solver Warning"
            << " : " << text_ << std::endl;
}

void IlcErrorReporter::abort(int) { std::abort(); }

void IlcErrorReporter::show() {
  std::cerr << "Solver Error"
            << " : " << text_ << std::endl;
}

void IlcErrorReporter::write(const char* label, const char* what, const char* value) {
  std::string text = label;
  if (what) text.append(" : ").append(what);
  if (value) text.append(" : ").append(value);
  std::snprintf(text_, sizeof text_, "%s", text.c_str());
}

void IlcErrorReporter::finish(int code) {
  show();
  abort(code);
}

IlcErrorReporter* ilc_default_reporter() {
  static IlcErrorReporter reporter;
  return &reporter;
}

}  // namespace planloc
