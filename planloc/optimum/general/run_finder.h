// Which run of the order weights a key belongs to, without sorting the keys. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_RUN_FINDER_H_
#define PLANLOC_OPTIMUM_GENERAL_RUN_FINDER_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/problem.h"

namespace planloc::detail {

// Finds the key of a rank, from 0, as a sort would. Scratch for it.
class key_selector {
 public:
  double operator()(std::span<const double> keys, std::size_t rank);

 private:
  std::vector<double> left_;
};

// Between two runs stands a key: smaller ones are in the runs before, larger ones behind.
class run_finder {
 public:
  enum class side : std::uint8_t { before, behind };

  // The counts of the runs add up to the number of the keys. Between two runs the last key before
  // the jump is found, or the first one behind.
  void split(std::span<const double> keys, const std::vector<order_run>& runs, side which);
  const std::vector<double>& jumps() const { return jump_; }

  // The run of a key. To be asked once for each, since equal keys are shared out as they come.
  std::uint32_t operator()(double key) {
    std::uint32_t run = 0;
    bool equal = false;
    for (const double jump : jump_) {
      run += jump < key ? 1 : 0;
      equal |= jump == key;
    }
    return equal ? share_out(run) : run;
  }

 private:
  double key_behind(std::span<const double> keys, std::size_t rank);
  std::uint32_t share_out(std::uint32_t run);

  key_selector select_;
  std::vector<double> jump_;
  std::vector<std::size_t> equal_before_;  // keys equal to the jump's that are left to come before
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_RUN_FINDER_H_
