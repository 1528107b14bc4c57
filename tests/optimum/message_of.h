// What a call with bad input says.
#ifndef PLANLOC_TESTS_OPTIMUM_MESSAGE_OF_H_
#define PLANLOC_TESTS_OPTIMUM_MESSAGE_OF_H_

#include <string>

#include "planloc/optimum/problem.h"

namespace planloc {

// Empty if the input is accepted.
template <class Call>
std::string message_of(const Call& call) {
  try {
    call();
  } catch (const bad_problem& e) {
    return e.what();
  }
  return "";
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_OPTIMUM_MESSAGE_OF_H_
