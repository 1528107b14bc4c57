// The parameters of ClpLibrary: numbers, defaults, least and greatest values, and what becomes of
// each.
#ifndef PLANLOC_ENGINE_CLP_PARAMETERS_H_
#define PLANLOC_ENGINE_CLP_PARAMETERS_H_

#include <map>
#include <string>

#include "planloc/engine/clp_problem.h"

namespace planloc {

template <typename T>
struct clp_parameter {
  int number;
  T default_value;
  T min_value;
  T max_value;
};

// Null for an unknown number.
const clp_parameter<int>* find_int_parameter(int number);
const clp_parameter<double>* find_float_parameter(int number);

inline constexpr char kDefaultWorkDirectory[] = ".";

// Values in force; one per known number.
struct clp_parameters {
  clp_parameters();

  std::map<int, int> ints;
  std::map<int, double> floats;
  std::string work_directory = kDefaultWorkDirectory;

  clp_settings settings() const;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_CLP_PARAMETERS_H_
