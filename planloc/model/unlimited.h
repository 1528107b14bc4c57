// The number that stands for infinity where a result or a file has to show one.
#ifndef PLANLOC_MODEL_UNLIMITED_H_
#define PLANLOC_MODEL_UNLIMITED_H_

namespace planloc::detail {

inline constexpr double kUnlimited = 1e+50;

}  // namespace planloc::detail

#endif  // PLANLOC_MODEL_UNLIMITED_H_
