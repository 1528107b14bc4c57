#include "planloc/driver/input.h"

#include <fstream>
#include <iostream>
#include <string>

#include "planloc/driver/end_run.h"
#include "planloc/driver/long_options.h"
#include "planloc/driver/page.h"
#include "planloc/driver/problem.h"

namespace planloc {
namespace {

std::string found_or_unreadable(bool readable, int found) {
  return readable ? "found " + std::to_string(found) : "can't open the file";
}

}  // namespace

void refuse(const char* option, const string& file, const std::string& expected) {
  if (ps_out.is_open()) ps_end();
  std::cerr << "cellwalk: option " << option << ", file \"" << file << "\": " << expected << '\n'
            << kUsage << std::endl;
  end_run(1);
}

frame read_frame(const string& d_name) {
  std::ifstream in(d_name.cstring());
  return read_frame(in, d_name);
}

frame read_frame(std::istream& in, const string& d_name) {
  const bool readable = !in.fail();
  double xmin = 0.0;
  double xmax = 0.0;
  double ymin = 0.0;
  int show_coords = 0;
  const int found = !(in >> xmin) ? 0 : !(in >> xmax) ? 1 : !(in >> ymin) ? 2 : 3;
  if (found < 3 || !(in >> show_coords)) {
    refuse("-d", d_name,
           "expected xmin, xmax, ymin and an integer (non-zero shows the mouse position), " +
               found_or_unreadable(readable, found));
  }
  return {xmin, xmax, ymin, show_coords != 0};
}

parameter_reader::parameter_reader(IlcManager& m, std::istream& in, const string& p_name)
    : in_(in), readable_(!in.fail()), p_name_(p_name), weights_(fac.size()), entries_(1) {
  for_each_facility([&](const location&, const polygauge& g) { entries_ += g.size(); });
  if (!readable_) refuse_parameters();
  IlcHeap* const heap = m.getHeap();
  coef_ = static_cast<double**>(heap->allocate(sizeof(double*) * entries_));
  for (int k = 0; k < entries_; ++k) {
    const int numbers = k == 0 ? weights_ : 2;
    coef_[k] = static_cast<double*>(heap->allocate(sizeof(double) * numbers));
  }
}

double** parameter_reader::read_order_weights() {
  for (int i = 0; i < weights_; ++i) coef_[0][i] = next();
  return coef_;
}

void parameter_reader::read_rows() {
  for (int k = 1; k < entries_; ++k) {
    coef_[k][0] = next();
    coef_[k][1] = next();
  }
}

double parameter_reader::next() {
  double number = 0.0;
  if (in_ >> number) {
    ++found_;
    return number;
  }
  refuse_parameters();
}

void parameter_reader::refuse_parameters() const {
  const int rows = entries_ - 1;
  refuse("-p", p_name_,
         "expected " + std::to_string(weights_) + " order weights and " + std::to_string(rows) +
             " rows of two numbers, one for each gauge vertex of each facility: " +
             std::to_string(weights_ + 2 * rows) + " numbers, " +
             found_or_unreadable(readable_, found_));
}

}  // namespace planloc
