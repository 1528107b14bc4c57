// What the checks of problems and options share. Internal.
#ifndef PLANLOC_OPTIMUM_INPUT_CHECK_H_
#define PLANLOC_OPTIMUM_INPUT_CHECK_H_

#include <initializer_list>
#include <string>
#include <utility>

namespace planloc {

struct minimise_options;

namespace detail {

// The shortest text that reads as the number.
std::string number_text(double d);

// Throws `bad_problem` if an option of a search is not a number from 0 up; infinity is one.
void check_options(std::initializer_list<std::pair<const char*, double>> options);
void check_options(const minimise_options& options);

}  // namespace detail

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_INPUT_CHECK_H_
