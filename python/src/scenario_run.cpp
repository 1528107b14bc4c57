#include "python/src/scenario_run.h"

#include <string>
#include <thread>
#include <utility>

namespace planloc::python {
namespace {

// SplitMix64 (Steele, Lea and Flood 2014).
constexpr std::uint64_t kStep = 0x9e3779b97f4a7c15;

std::uint64_t mixed(std::uint64_t z) {
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
  z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
  return z ^ (z >> 31);
}

std::uint8_t code_of(allocation_status s) {
  constexpr std::uint8_t codes[] = {0, 1, 6, 4};  // optimal, within_gap, searched, stopped
  return codes[static_cast<int>(s)];
}

}  // namespace

void drawn_weights::draw(std::span<const site> nominal, std::size_t scenario, double* row) const {
  std::uint64_t state = mixed(mixed(seed) + scenario);
  for (std::size_t i = 0; i < nominal.size(); ++i) {
    state += kStep;
    const double unit = static_cast<double>(mixed(state) >> 11) * 0x1p-53;
    row[i] = nominal[i].weight * (1 + spread * (2 * unit - 1));
  }
}

// What a thread keeps from variant to variant.
struct scenario_run::workspace {
  std::vector<site> sites;
  std::vector<double> row;
};

scenario_run::scenario_run(const problem& base, const variants& v, run_options options,
                           const outcome& out)
    : base_(base),
      variants_(v),
      options_(std::move(options)),
      out_(out),
      own_gauges_(base.gauges().begin(), base.gauges().end()) {}

void scenario_run::run(std::size_t threads, const std::stop_token& stop) {
  stop_ = stop;
  std::vector<std::jthread> team;
  for (std::size_t i = 1; i < threads; ++i) team.emplace_back([this] { work(); });
  work();
  team.clear();
  if (!refusal_) return;
  try {
    std::rethrow_exception(refusal_);
  } catch (const bad_problem& e) {
    throw bad_problem("scenario " + std::to_string(variants_.first + refused_) + ": " + e.what());
  }
}

void scenario_run::work() {
  workspace w{.sites = {base_.sites().begin(), base_.sites().end()},
              .row = std::vector<double>(base_.sites().size())};
  while (!stop_.stop_requested()) {
    const std::size_t i = next_++;
    if (i >= variants_.count || i >= refused_) return;
    try {
      solve(i, w);
    } catch (...) {
      refuse(i, std::current_exception());
    }
    ++done_;
  }
}

void scenario_run::solve(std::size_t i, workspace& w) const {
  const double* row = nullptr;
  if (variants_.weights != nullptr) row = variants_.weights + i * w.sites.size();
  if (variants_.drawn) {
    variants_.drawn->draw(base_.sites(), variants_.first + i, w.row.data());
    row = w.row.data();
  }
  for (std::size_t k = 0; row != nullptr && k < w.sites.size(); ++k) w.sites[k].weight = row[k];
  const std::vector<gauge>& gauges =
      variants_.gauges_of.empty() ? own_gauges_ : variants_.gauges[variants_.gauges_of[i]];
  if (!variants_.facilities.empty()) {
    place_several(i, w, gauges);
    return;
  }
  const std::size_t order = variants_.order_of.empty() ? 0 : variants_.order_of[i];
  place_one(i, problem(w.sites, gauges, variants_.orders[order], base_.where()));
}

void scenario_run::place_one(std::size_t i, const problem& p) const {
  minimise_options options;
  options.relative_gap = options_.gap;
  options.seconds = options_.seconds;
  options.whole_set = false;
  options.stop = stop_;
  const solution s = minimise(p, options);
  if (s.status != solution_status::infeasible) {
    out_.point[2 * i] = s.point.x;
    out_.point[2 * i + 1] = s.point.y;
  }
  out_.value[i] = s.value;
  out_.lower_bound[i] = s.lower_bound;
  out_.status[i] = static_cast<std::uint8_t>(s.status);
  if (options_.at) out_.value_at[i] = p.value(*options_.at);
}

void scenario_run::place_several(std::size_t i, const workspace& w,
                                 const std::vector<gauge>& gauges) const {
  allocate_options options;
  if (!variants_.seeds.empty()) options.seed = variants_.seeds[i];
  options.starts = options_.starts;
  options.seconds = options_.seconds;
  options.threads = 1;
  options.lower_bound = options_.bound;
  options.relative_gap = options_.gap;
  options.stop = stop_;
  const allocation a =
      allocate({w.sites, gauges, variants_.facilities[i], options_.existing}, options);
  for (std::size_t k = 0; k < a.points.size(); ++k) {
    out_.point[2 * (i * out_.places + k)] = a.points[k].x;
    out_.point[2 * (i * out_.places + k) + 1] = a.points[k].y;
  }
  out_.value[i] = a.value;
  out_.lower_bound[i] = a.lower_bound.value_or(-std::numeric_limits<double>::infinity());
  out_.status[i] = code_of(a.status);
}

// Keeps the first of them in order of the variants, whichever thread meets it; later ones are not
// begun any more.
void scenario_run::refuse(std::size_t i, std::exception_ptr why) {
  const std::scoped_lock hold(lock_);
  if (i >= refused_) return;
  refused_ = i;
  refusal_ = std::move(why);
}

}  // namespace planloc::python
