#include "planloc/optimum/bicriteria_problem.h"

#include <algorithm>
#include <string>
#include <utility>

#include "planloc/optimum/input_check.h"

namespace planloc {

namespace {

void check_weight(std::size_t i, int which, double w) {
  if (w == 0 || (w >= kLeastNumber && w <= kMostNumber)) return;
  throw bad_problem("weight " + std::to_string(which) + " of site " + std::to_string(i) + " is " +
                    detail::number_text(w) + ": must be 0 or from 1e-36 to 1e36");
}

void check_rise(std::size_t criterion, std::span<const order_run> runs) {
  std::size_t place = 0;
  double least = 0;
  for (const order_run& r : runs) {
    if (r.weight < least)
      throw bad_problem("order weight " + std::to_string(place) + " of criterion " +
                        std::to_string(criterion + 1) + " is " + detail::number_text(r.weight) +
                        ": must be at least " + detail::number_text(least) +
                        ", since they rise from 0 or more");
    least = r.weight;
    place += r.count;
  }
}

}  // namespace

bicriteria_problem::bicriteria_problem(std::vector<bicriteria_site> sites,
                                       std::vector<gauge> gauges, const order_weights& first,
                                       const order_weights& second)
    : sites_(std::move(sites)), gauges_(std::move(gauges)) {
  std::vector<site> plain;  // each site with its greater weight
  for (std::size_t i = 0; i < sites_.size(); ++i) {
    const bicriteria_site& s = sites_[i];
    check_weight(i, 1, s.weight1);
    check_weight(i, 2, s.weight2);
    if (s.weight1 == 0 && s.weight2 == 0)
      throw bad_problem("both weights of site " + std::to_string(i) + " are 0");
    plain.push_back({s.x, s.y, std::max(s.weight1, s.weight2), s.gauge});
  }
  polyhedral_ = problem(std::move(plain), gauges_, order_weights::median()).polyhedral();
  for (std::size_t k = 0; k < 2; ++k) {
    runs_[k] = (k == 0 ? first : second).runs(sites_.size());
    check_rise(k, runs_[k]);
  }
}

bool bicriteria_problem::plain_sums() const {
  return std::all_of(runs_.begin(), runs_.end(), [](const std::vector<order_run>& r) {
    return r.size() == 1 && r[0].weight == 1;
  });
}

problem bicriteria_problem::criterion(std::size_t k) const {
  if (k > 1) throw bad_problem("there is no criterion " + std::to_string(k) + ": 0 or 1");
  std::vector<site> known;
  for (std::size_t i = 0; i < sites_.size(); ++i) {
    const bicriteria_site& s = sites_[i];
    if (weight(k, i) > 0) known.push_back({s.x, s.y, weight(k, i), s.gauge});
  }
  if (known.empty()) throw bad_problem("criterion " + std::to_string(k + 1) + " knows no site");
  std::vector<double> lambda;
  for (const order_run& r : runs_[k]) lambda.insert(lambda.end(), r.count, r.weight);
  lambda.erase(lambda.begin(), lambda.end() - static_cast<std::ptrdiff_t>(known.size()));
  return {std::move(known), gauges_, order_weights(std::move(lambda))};
}

std::array<double, 2> bicriteria_problem::values(xy at) const {
  std::array<std::vector<double>, 2> distances;
  for (const bicriteria_site& s : sites_) {
    const double d = gauges_[s.gauge]({at.x - s.x, at.y - s.y});
    distances[0].push_back(s.weight1 * d);
    distances[1].push_back(s.weight2 * d);
  }
  std::array<double, 2> result{};
  for (std::size_t k = 0; k < 2; ++k) {
    std::sort(distances[k].begin(), distances[k].end());
    long double sum = 0;
    auto next = distances[k].begin();
    for (const order_run& r : runs_[k]) {
      for (std::size_t j = 0; j < r.count; ++j) sum += static_cast<long double>(r.weight) * *next++;
    }
    result[k] = static_cast<double>(sum);
  }
  return result;
}

}  // namespace planloc
