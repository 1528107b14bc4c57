// Many variants of one problem, solved by several threads, without the interpreter. Each is
// independent of the others and of the thread that it falls to.
#ifndef PLANLOC_PYTHON_SCENARIO_RUN_H_
#define PLANLOC_PYTHON_SCENARIO_RUN_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <mutex>
#include <optional>
#include <span>
#include <stop_token>
#include <vector>

#include "planloc/certified.h"

namespace planloc::python {

// Each weight times a factor that is drawn evenly from 1 - spread to 1 + spread.
struct drawn_weights {
  double spread;
  std::uint64_t seed;

  // Those of one scenario, whichever others are drawn.
  void draw(std::span<const site> nominal, std::size_t scenario, double* row) const;
};

// What differs from the base problem. An empty column means that the base problem's own is kept,
// but for order weights, of which the first are taken then.
struct variants {
  std::size_t first = 0;  // the number of the first among all scenarios
  std::size_t count = 0;
  const double* weights = nullptr;  // count rows of one weight a site
  std::optional<drawn_weights> drawn;
  std::span<const order_weights> orders;
  std::span<const std::uint32_t> order_of;  // one a variant
  std::span<const std::vector<gauge>> gauges;
  std::span<const std::uint32_t> gauges_of;   // one a variant
  std::span<const std::uint32_t> facilities;  // new ones; empty: the best place of one
  std::span<const std::uint64_t> seeds;
};

struct run_options {
  double gap = 0;
  double seconds = std::numeric_limits<double>::infinity();
  std::optional<xy> at;  // a place whose value is asked for too
  // With columns of facilities:
  std::vector<xy> existing;
  std::size_t starts = 8;
  bool bound = false;
};

// Where answers go, an entry or row a variant.
struct outcome {
  double* point;       // `places` pairs each; what a variant does not have stays as it is
  std::size_t places;  // no fewer than any variant's facilities
  double* value;
  double* lower_bound;  // minus infinity: none
  std::uint8_t* status;
  double* value_at;  // with run_options::at
};

// The words for outcome::status.
inline constexpr const char* kScenarioStatus[] = {
    "optimal", "within_gap", "unbounded", "infeasible", "stopped", "far_away", "searched"};

class scenario_run {
 public:
  scenario_run(const problem& base, const variants& v, run_options options, const outcome& out);

  // Throws `bad_problem` for the first variant that is one: "scenario 7: weight of site 3 ...".
  void run(std::size_t threads, const std::stop_token& stop);
  // So far; for any thread.
  std::size_t done() const { return done_; }

 private:
  struct workspace;

  void work();
  void solve(std::size_t i, workspace& w) const;
  void place_one(std::size_t i, const problem& p) const;
  void place_several(std::size_t i, const workspace& w, const std::vector<gauge>& gauges) const;
  void refuse(std::size_t i, std::exception_ptr why);

  const problem& base_;
  variants variants_;
  run_options options_;
  outcome out_;
  std::vector<gauge> own_gauges_;
  std::stop_token stop_;
  std::atomic<std::size_t> next_{0};
  std::atomic<std::size_t> done_{0};
  std::mutex lock_;
  std::atomic<std::size_t> refused_{std::numeric_limits<std::size_t>::max()};
  std::exception_ptr refusal_;
};

}  // namespace planloc::python

#endif  // PLANLOC_PYTHON_SCENARIO_RUN_H_
