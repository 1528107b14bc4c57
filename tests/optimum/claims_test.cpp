// What an answer claims beside its proof: its status, value and bound. The same table spoils the
// answers of all families.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "message_of.h"
#include "planloc/optimum/efficient_polyline.h"
#include "planloc/optimum/efficient_set.h"
#include "planloc/optimum/location_allocation.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/tied_facilities.h"
#include "planloc/optimum/verify.h"

namespace planloc {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinite = std::numeric_limits<double>::infinity();

const std::vector<site> kSites = {{0, 3}, {3, 0}, {4, 7}, {8, 4}, {4.5, 4.25, 2}};
const regions kLake{{}, {{{{2, 2}, {6, 2}, {6, 5.5}, {2, 5.5}}}}};
const gauge kTriangle = gauge::polyhedral({{2, 0}, {0, 1}, {-1, -1}});

// Of any answer with a status, a value and a bound.
template <class Answer>
struct spoiled_claim {
  const char* name;
  std::function<void(Answer&)> spoil;
};

template <class Answer>
std::vector<spoiled_claim<Answer>> spoiled_numbers() {
  std::vector<spoiled_claim<Answer>> all = {
      {"the bound is far below", [](Answer& s) { s.lower_bound = -1e300; }},
      {"the bound is above", [](Answer& s) { s.lower_bound = 1.001 * s.value; }}};
  for (const double d : {kNan, kInfinite, -kInfinite}) {
    all.push_back({"the value is not finite", [d](Answer& s) { s.value = d; }});
    all.push_back({"the bound is not finite", [d](Answer& s) { s.lower_bound = d; }});
  }
  return all;
}

template <class Answer>
std::vector<spoiled_claim<Answer>> spoiled_claims() {
  std::vector<spoiled_claim<Answer>> all = spoiled_numbers<Answer>();
  for (const solution_status other : {solution_status::unbounded, solution_status::infeasible}) {
    all.push_back({"another status", [other](Answer& s) { s.status = other; }});
    all.push_back({"another status and its value", [other](Answer& s) {
                     s.status = other;
                     s.value = s.lower_bound =
                         other == solution_status::unbounded ? -kInfinite : kInfinite;
                   }});
  }
  return all;
}

template <class Problem, class Answer>
void expect_refused(const Problem& p, const Answer& good,
                    const std::vector<spoiled_claim<Answer>>& claims) {
  ASSERT_EQ(verify(p, good).reason, "");
  for (const auto& c : claims) {
    Answer spoiled = good;
    c.spoil(spoiled);
    EXPECT_FALSE(verify(p, spoiled).accepted) << c.name;
    EXPECT_NE(verify(p, spoiled).reason, "") << c.name;
  }
}

TEST(Claims, OfOneFacility) {
  const struct {
    const char* name;
    gauge g;
    order_weights lambda;
    regions where;
  } families[] = {
      {"polyhedral convex", kTriangle, order_weights::k_centrum(2), {}},
      {"polyhedral convex with a lake", kTriangle, order_weights::k_centrum(4), kLake},
      {"polyhedral general", kTriangle, order_weights::trimmed_mean(1, 1), {}},
      {"polyhedral general with a lake", gauge::l1(), order_weights::order_statistic(3), kLake},
      {"smooth median", gauge::euclidean(), order_weights::median(), {}},
      {"smooth centre", gauge::euclidean(), order_weights::centre(), {}},
      {"smooth convex", gauge::lp(1.5), order_weights::k_centrum(2), {}},
      {"smooth convex with a lake", gauge::euclidean(), order_weights::median(), kLake}};
  for (const auto& f : families) {
    SCOPED_TRACE(f.name);
    const problem p(kSites, {f.g}, f.lambda, f.where);
    const solution good = minimise(p);
    ASSERT_EQ(good.status, solution_status::optimal);
    auto claims = spoiled_claims<solution>();
    claims.push_back({"the point is not finite", [](solution& s) { s.point.y = kNan; }});
    claims.push_back({"a place beside the optimum with its value", [&](solution& s) {
                        s.point.x -= 0.01;
                        s.exact = {};
                        s.value = p.value(s.point);
                      }});
    for (const double d : {1e155, 1.7e308}) {
      claims.push_back({"a place so far away that distances overflow", [d](solution& s) {
                          s.point = {d, d};
                          s.exact = {};
                        }});
      claims.push_back({"a square too large", [d](solution& s) {
                          if (auto* c = std::get_if<branch_certificate>(&s.proof)) {
                            c->half = d;
                          } else {
                            s.point.x = d;
                          }
                        }});
    }
    for (const std::size_t zeros : {150, 400}) {
      if (!std::holds_alternative<boundary_certificate>(good.proof)) continue;
      claims.push_back({"a place outside that is too large", [zeros](solution& s) {
                          std::get<boundary_certificate>(s.proof).outside.x =
                              "1" + std::string(zeros, '0');
                        }});
    }
    expect_refused(p, good, claims);
    solution far_corners = good;
    for (xy& c : far_corners.optima.corners) c = {1e308, -1e308};
    EXPECT_TRUE(verify(p, far_corners).accepted);
    EXPECT_FALSE(verify(p, far_corners).optima_proved);
  }
  const problem falls(kSites, {gauge::l1()}, order_weights({0, 0, 0, 0, -1}), kLake);
  expect_refused(falls, minimise(falls),
                 {{"optimal", [](solution& s) { s.status = solution_status::optimal; }},
                  {"a value", [](solution& s) { s.value = 0; }},
                  {"a bound", [](solution& s) { s.lower_bound = -1e300; }},
                  {"no direction", [](solution& s) { s.proof = {}; }},
                  {"a direction too long", [](solution& s) {
                     s.proof = direction_certificate{{1e308, 1e308}};
                   }}});
  const problem nowhere(kSites, {gauge::l1()}, order_weights::median(),
                        {kLake.forbidden, {{{{0, 0}, {9, 0}, {9, 9}, {0, 9}}}}});
  expect_refused(nowhere, minimise(nowhere), {{"a value", [](solution& s) { s.value = 0; }}});
}

TEST(Claims, OfSeveralFacilities) {
  for (const gauge& g : {gauge::l1(), kTriangle, gauge::euclidean(), gauge::lp(3)}) {
    const tied_problem p(2, {{0, 0}, {4, 0}, {1, 3}}, {g}, {1, 0, 2, 0, 3, 1}, {{}});
    const tied_solution good = minimise(p);
    ASSERT_EQ(good.status, solution_status::optimal);
    auto claims = spoiled_claims<tied_solution>();
    claims.push_back({"another place with its value", [&](tied_solution& s) {
                        s.points[0].x += 0.01;
                        s.exact.clear();
                        s.value = p.value(s.points);
                      }});
    expect_refused(p, good, claims);
  }
  const allocation_problem two({{0, 0}, {1, 0, 1e-3}, {8, 0}, {9, 1}}, {gauge::euclidean()}, 2);
  const allocation pair = allocate(two, {.lower_bound = true});
  auto claims = spoiled_numbers<allocation>();
  claims.erase(claims.begin());  // which is allowed to be far away
  for (const double price : {1e150, 1.7e308}) {
    claims.push_back({"a price so large that no rectangle holds its disc", [price](allocation& a) {
                        a.prices.assign(4, 0);
                        a.prices[1] = price;
                        a.triples.clear();
                        a.cases.clear();
                        a.pairs.reset();
                        a.lower_bound = a.value;
                      }});
  }
  expect_refused(two, pair, claims);
  const allocation_problem one({{0, 0}, {1, 0}, {8, 0}, {9, 1}}, {gauge::euclidean()}, 1);
  expect_refused(one, allocate(one), {{"the facility alone is not optimal", [](allocation& a) {
                                         a.one_facility->status = solution_status::within_gap;
                                       }}});
  allocation deep = pair;
  deep.lower_bound = 1e-9;
  deep.pairs.reset();
  deep.cases.assign(20000, {});
  EXPECT_EQ(verify(two, deep).reason, "a case is cut too often");
  // The optimum is far from any pair of doubles.
  const double far = 1e13;
  const allocation_problem rounded(
      {{far, far}, {far + 1, far + 2}, {far + 3, far + 1, 1.3}, {far + 2, far + 5}},
      {gauge::euclidean()}, 1);
  EXPECT_NE(allocate(rounded).status, allocation_status::optimal);
  EXPECT_EQ(verify(rounded, allocate(rounded)).reason, "");
  // All sites at one place: the value is 0, exactly.
  const tied_problem alike(2, {{1, 2, 0}, {1, 2, 1}}, {gauge::lp(5), gauge::euclidean()},
                           {1, 3, 0, 0}, {{.weight = 2}});
  EXPECT_EQ(minimise(alike).status, solution_status::optimal);
  EXPECT_EQ(minimise(alike).value, 0);
  EXPECT_EQ(verify(alike, minimise(alike)).gap, 0);
}

TEST(Claims, OfPolylines) {
  const bicriteria_problem coarse({{0, 0, 1, 3}, {4, 0, 2, 1}, {1, 3, 5, 2}, {6, 5, 1, 9}},
                                  {gauge::l1()});
  for (const double tolerance : {2.0, 8.0, 20.0, 100.0, kInfinite}) {
    const efficient_polyline line = approximate_efficient_set(coarse, tolerance);
    EXPECT_EQ(line.status, polyline_status::within_tolerance) << tolerance;
    EXPECT_EQ(verify(coarse, line).reason, "") << tolerance;
  }
  const bicriteria_problem p({{0, 0, 1, 3}, {4, 1, 2, 1}, {1, 5, 1, 1}}, {gauge::euclidean()});
  expect_refused<bicriteria_problem, efficient_polyline>(
      p, approximate_efficient_set(p, 1e-2),
      {{"distance", [](auto& l) { l.distance = kNan; }},
       {"base", [](auto& l) { l.base.x = kNan; }},
       {"value", [](auto& l) { l.points[1].value1 = kNan; }},
       {"bound", [](auto& l) { l.bounds[0].bound = kInfinite; }},
       {"multiplier", [](auto& l) { l.bounds[0].shares[0].second = kNan; }}});
  // One place, the optimum of f_2, and of f_1 no more than a tangent there.
  const double far = 1e20;
  const bicriteria_problem light({{0, 0, 1e-17, 1e-17}, {far, 0, 2e-17, 3e-17}, {0, far, 9e-17, 0}},
                                 {gauge::euclidean()});
  expect_refused<bicriteria_problem, efficient_polyline>(
      light, approximate_efficient_set(light, 1e-3),
      {{"a factor so small that its products vanish", [](auto& l) {
          l.points = {l.points.back()};
          l.cuts.push_back(l.cuts[l.bounds.back().shares[0].first]);
          l.bounds = {l.bounds.front(), l.bounds.back()};
          l.bounds[0] = {1e-308,
                         0,
                         1e-308 * l.points[0].value1 * (1 - 1e-6),
                         {{static_cast<std::uint32_t>(l.cuts.size() - 1), 1e300}}};
          l.bounds[1].factor1 = 0;
          l.distance = 100;
        }}});
}

template <class Options>
Options with(double Options::*option, double value) {
  Options o;
  o.*option = value;
  return o;
}

// The options of all searches, by one mechanism.
TEST(Options, ThatAreNoNumbersFromZeroUpAreNamed) {
  const problem convex(kSites, {gauge::l1()}, order_weights::median());
  const problem general(kSites, {gauge::l1()}, order_weights::order_statistic(3));
  const tied_problem tied(1, {{0, 0}, {4, 0}}, {gauge::l1()}, {1, 2}, {});
  const bicriteria_problem both({{0, 0, 1, 3}, {4, 1, 2, 1}}, {gauge::l1()});
  const allocation_problem two(kSites, {gauge::l1()}, 2);
  const struct {
    std::function<void(double)> call;
    const char* name;
  } cases[] = {
      {[&](double d) { minimise(convex, with(&minimise_options::relative_gap, d)); },
       "relative_gap"},
      {[&](double d) { minimise(convex, with(&minimise_options::absolute_gap, d)); },
       "absolute_gap"},
      {[&](double d) { minimise(convex, with(&minimise_options::seconds, d)); }, "seconds"},
      {[&](double d) { minimise(general, with(&minimise_options::relative_gap, d)); },
       "relative_gap"},
      {[&](double d) { minimise(general, with(&minimise_options::seconds, d)); }, "seconds"},
      {[&](double d) { minimise(tied, with(&tied_options::relative_gap, d)); }, "relative_gap"},
      {[&](double d) { minimise(tied, with(&tied_options::absolute_gap, d)); }, "absolute_gap"},
      {[&](double d) { minimise(tied, with(&tied_options::seconds, d)); }, "seconds"},
      {[&](double d) { efficient_set(both, with(&efficient_options::seconds, d)); }, "seconds"},
      {[&](double d) { approximate_efficient_set(both, 0.1, with(&polyline_options::seconds, d)); },
       "seconds"},
      {[&](double d) { allocate(two, {.seconds = d}); }, "seconds"},
      {[&](double d) { allocate(two, {.lower_bound = true, .relative_gap = d}); }, "relative_gap"}};
  for (const auto& c : cases) {
    for (const auto& bad : {std::pair(kNan, "nan"), {-1e-9, "-1e-09"}}) {
      EXPECT_EQ(message_of([&] { c.call(bad.first); }),
                "option " + std::string(c.name) + " is " + bad.second + ": must be 0 or more");
    }
    EXPECT_NO_THROW(c.call(0)) << c.name;
  }
  minimise_options no_threads;
  no_threads.threads = -1;
  EXPECT_THROW(minimise(general, no_threads), bad_problem);
  // A gap that is asked for in the units of the value.
  const tied_problem wide(1, {{0, 0}, {4, 0}, {1, 3}}, {gauge::euclidean()}, {1, 2, 2}, {});
  const tied_solution coarse = minimise(wide, with(&tied_options::absolute_gap, 0.5));
  EXPECT_LE(coarse.gap(), 0.5);
  EXPECT_LT(coarse.counters.rounds, minimise(wide).counters.rounds);
}

}  // namespace
}  // namespace planloc
