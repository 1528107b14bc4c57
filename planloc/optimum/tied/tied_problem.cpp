#include <algorithm>
#include <cmath>
#include <string>

#include "planloc/optimum/input_check.h"
#include "planloc/optimum/tied_facilities.h"

namespace planloc {

namespace {

using detail::number_text;

[[noreturn]] void refuse(const std::string& what, const std::string& value,
                         const std::string& rule) {
  throw bad_problem(what + " is " + value + ": must be " + rule);
}

void check_weight(const std::string& what, double weight) {
  if (!std::isfinite(weight)) refuse(what, number_text(weight), "finite");
  if (weight < 0) refuse(what, number_text(weight), "0 or positive");
  if (weight == 0 || (weight >= kLeastNumber && weight <= kMostNumber)) return;
  refuse(what, number_text(weight), "0 or from 1e-36 to 1e36");
}

void check_coordinate(const std::string& what, double c) {
  if (!std::isfinite(c)) refuse(what, number_text(c), "finite");
  if (std::fabs(c) > kMostNumber) refuse(what, number_text(c), "at most 1e36 in magnitude");
}

void check_number(const std::string& what, std::size_t k, const std::string& of, std::size_t n) {
  if (k >= n)
    refuse(what, std::to_string(k), "less than the number of " + of + ", " + std::to_string(n));
}

void check_sites(std::span<const tied_site> sites, std::size_t gauges) {
  xy low{sites[0].x, sites[0].y};
  xy high = low;
  for (std::size_t i = 0; i < sites.size(); ++i) {
    const tied_site& s = sites[i];
    const std::string of = " of site " + std::to_string(i);
    check_coordinate("x" + of, s.x);
    check_coordinate("y" + of, s.y);
    check_number("gauge" + of, s.gauge, "gauges", gauges);
    low = {std::min(low.x, s.x), std::min(low.y, s.y)};
    high = {std::max(high.x, s.x), std::max(high.y, s.y)};
  }
  const double extent = std::max(high.x - low.x, high.y - low.y);
  if (extent == 0 || extent >= kLeastNumber) return;
  throw bad_problem("the sites lie within " + number_text(extent) +
                    " of each other: must be at one place or 1e-36 apart");
}

void check_tie(std::size_t t, const tie& b, std::size_t facilities, std::size_t gauges) {
  const std::string of = " of tie " + std::to_string(t);
  check_number("first facility" + of, b.first, "facilities", facilities);
  check_number("second facility" + of, b.second, "facilities", facilities);
  check_number("gauge" + of, b.gauge, "gauges", gauges);
  check_weight("weight" + of, b.weight);
  if (b.first == b.second) {
    throw bad_problem("tie " + std::to_string(t) + " joins facility " + std::to_string(b.first) +
                      " with itself");
  }
}

}  // namespace

tied_problem::tied_problem(std::size_t facilities, std::vector<tied_site> sites,
                           std::vector<gauge> gauges, std::vector<double> weights,
                           std::vector<tie> ties)
    : facilities_(facilities),
      sites_(std::move(sites)),
      gauges_(std::move(gauges)),
      weights_(std::move(weights)),
      ties_(std::move(ties)) {
  if (facilities_ == 0) throw bad_problem("no facility");
  if (sites_.empty()) throw bad_problem("no site");
  check_sites(sites_, gauges_.size());
  const std::size_t n = sites_.size();
  if (weights_.size() % n != 0 || weights_.size() / n != facilities_) {
    throw bad_problem(std::to_string(weights_.size()) + " weights for " +
                      std::to_string(facilities_) + " facilities and " + std::to_string(n) +
                      " sites: must be one a facility and site");
  }
  for (std::size_t k = 0; k < weights_.size(); ++k) {
    if (weights_[k] == 0 || (weights_[k] >= kLeastNumber && weights_[k] <= kMostNumber)) continue;
    check_weight(
        "weight of facility " + std::to_string(k / n) + " and site " + std::to_string(k % n),
        weights_[k]);
  }
  for (std::size_t t = 0; t < ties_.size(); ++t)
    check_tie(t, ties_[t], facilities_, gauges_.size());
  std::vector<bool> counts(gauges_.size());
  for (std::size_t k = 0; k < weights_.size(); ++k)
    if (weights_[k] > 0) counts[sites_[k % n].gauge] = true;
  for (const tie& b : ties_)
    if (b.weight > 0) counts[b.gauge] = true;
  for (std::size_t g = 0; g < gauges_.size(); ++g)
    if (counts[g] && gauges_[g].kind() != gauge::shape::polyhedral) polyhedral_ = false;
}

double tied_problem::value(std::span<const xy> places) const {
  long double sum = 0;
  for (std::size_t j = 0; j < facilities_; ++j) {
    for (std::size_t i = 0; i < sites_.size(); ++i) {
      const double w = weight(j, i);
      if (w == 0) continue;
      const tied_site& s = sites_[i];
      sum += static_cast<long double>(w) * gauges_[s.gauge]({places[j].x - s.x, places[j].y - s.y});
    }
  }
  for (const tie& b : ties_) {
    if (b.weight == 0) continue;
    const xy& from = places[b.second];
    const xy& to = places[b.first];
    sum += static_cast<long double>(b.weight) * gauges_[b.gauge]({to.x - from.x, to.y - from.y});
  }
  return static_cast<double>(sum);
}

}  // namespace planloc
