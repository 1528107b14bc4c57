#include "planloc/engine/error_reporter.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
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

void IlcErrorReporter::error(int code, const char* label, const char* what, double value) {
  write(label, what, to_text(value).c_str());
  finish(code);
}

void IlcErrorReporter::error(int code, const char* label, const char* what, int low, int high) {
  write(label, what, (std::to_string(low) + ".." + std::to_string(high)).c_str());
  finish(code);
}

void IlcErrorReporter::error(int code, const char* label, const char* what, int value) {
  write(label, what, std::to_string(value).c_str());
  finish(code);
}

void IlcErrorReporter::error(int code, const char* label, const char* what,
                             const IlcFloatExpI* exp) {
  write(label, what, exp ? to_text(*exp).c_str() : nullptr);
  finish(code);
}

void IlcErrorReporter::error(int code, const char* label, const char* what,
                             const IlcFloatExpI* exp1, const IlcFloatExpI* exp2) {
  if (!exp1 || !exp2) return error(code, label, what, exp1 ? exp1 : exp2);
  write(label, what, (to_text(*exp1) + ", " + to_text(*exp2)).c_str());
  finish(code);
}

void IlcErrorReporter::warning(const char* label, const char* what) {
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
