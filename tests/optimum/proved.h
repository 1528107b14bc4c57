// Problems of one facility that are solved to the end, or not at all.
#ifndef PLANLOC_TESTS_OPTIMUM_PROVED_H_
#define PLANLOC_TESTS_OPTIMUM_PROVED_H_

#include <gtest/gtest.h>

#include <cmath>
#include <stop_token>

#include "planloc/optimum/minimise.h"
#include "planloc/optimum/verify.h"

namespace planloc {

// How large a proved gap may be: nothing, or so much of the value and so much besides.
struct open_gap {
  double relative = 0;
  double absolute = 0;
};

// Of a search that has to end as soon as it begins.
inline minimise_options stopped_at_once() {
  std::stop_source stop;
  stop.request_stop();
  minimise_options options;
  options.stop = stop.get_token();
  return options;
}

// The answer, which has to be optimal and proved so.
inline solution expect_solved(const problem& p, const open_gap& most = {},
                              const minimise_options& options = {}) {
  solution s = minimise(p, options);
  EXPECT_EQ(s.status, solution_status::optimal);
  const verification v = verify(p, s);
  EXPECT_TRUE(v.accepted) << v.reason;
  EXPECT_LE(v.gap, most.relative * std::fabs(s.value) + most.absolute);
  return s;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_OPTIMUM_PROVED_H_
