#include "planloc/optimum/efficient_polyline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include "message_of.h"
#include "planloc/optimum/efficient_set.h"
#include "planloc/optimum/minimise.h"
#include "second_weights.h"

namespace planloc {
namespace {

bicriteria_problem mixed_problem(instance_source& source, layout l, int n, relation r) {
  auto gauges = source.gauges(l, 2, 5);
  gauges.push_back(gauge::euclidean());
  gauges.push_back(gauge::lp(source.uniform(1.1, 4)));
  const bicriteria_problem plain = with_second_weights(source, source.sites(l, n, 4), gauges, r);
  return {{plain.sites().begin(), plain.sites().end()},
          gauges,
          source.convex_order(n),
          source.convex_order(n)};
}

bool knows_sites(const bicriteria_problem& p) {
  const auto sites = p.sites();
  return std::any_of(sites.begin(), sites.end(), [](const auto& s) { return s.weight1 > 0; }) &&
         std::any_of(sites.begin(), sites.end(), [](const auto& s) { return s.weight2 > 0; });
}

// By how many ranges both criteria can be less than on the polyline, at the values of a place.
double beyond(const efficient_polyline& l, const std::array<double, 2>& f) {
  const polyline_point& first = l.points.front();
  const polyline_point& last = l.points.back();
  const auto range = [](double a, double b) {
    const double r = std::max(std::fabs(b - a), 1e-4 * std::min(a, b));
    return r == 0 ? 1 : r;
  };
  const double range1 = range(first.value1, last.value1);
  const double range2 = range(first.value2, last.value2);
  double most = std::max((first.value1 - f[0]) / range1, (last.value2 - f[1]) / range2);
  for (std::size_t k = 0; k + 1 < l.points.size(); ++k) {
    const polyline_point& a = l.points[k];
    const polyline_point& b = l.points[k + 1];
    const double fall = a.value2 - b.value2;
    const double rise = b.value1 - a.value1;
    most = std::max(most, (fall * (a.value1 - f[0]) + rise * (a.value2 - f[1])) /
                              (fall * range1 + rise * range2));
  }
  return most;
}

TEST(EfficientPolyline, NoPlaceIsFurtherThanTheProvedDistance) {
  instance_source source(25);
  for (const layout l : {layout::scattered, layout::lattice, layout::line, layout::one_place,
                         layout::far_away, layout::uneven}) {
    for (int trial = 0; trial < 12; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      const bicriteria_problem p =
          mixed_problem(source, l, 1 + source.below(12),
                        kRelations[static_cast<std::size_t>(trial) % kRelations.size()]);
      if (!knows_sites(p)) continue;
      const double tolerance = trial % 2 == 0 ? 1e-2 : 1e-4;
      const efficient_polyline line = approximate_efficient_set(p, tolerance);
      EXPECT_EQ(line.status, polyline_status::within_tolerance) << line.distance;
      const polyline_verification v = verify(p, line);
      EXPECT_TRUE(v.accepted) << v.reason;
      EXPECT_LE(v.distance, tolerance);
      // Independently of the proof: the points themselves, optima of either criterion, any places.
      for (const polyline_point& q : line.points)
        EXPECT_NEAR(p.values(q.at)[0], q.value1, 1e-11 * q.value1);
      EXPECT_LE(beyond(line, p.values(minimise(p.criterion(0)).point)), tolerance * 1.001);
      EXPECT_LE(beyond(line, p.values(minimise(p.criterion(1)).point)), tolerance * 1.001);
      for (int k = 0; k < 50; ++k) {
        const bicriteria_site& s =
            p.sites()[static_cast<std::size_t>(source.below(static_cast<int>(p.sites().size())))];
        const bicriteria_site& t =
            p.sites()[static_cast<std::size_t>(source.below(static_cast<int>(p.sites().size())))];
        const double share = source.uniform(0, 1);
        const xy at{s.x + share * (t.x - s.x), s.y + share * (t.y - s.y)};
        EXPECT_LE(beyond(line, p.values(at)), tolerance * 1.001);
      }
    }
  }
}

TEST(EfficientPolyline, ClaimsWhatIsProvedUnderThinBallsAndWhereACriterionIs0) {
  const std::vector<bicriteria_site> sites = {
      {0, 0, 1, 2}, {1, 6, 1, 1, 1}, {5, 5, 0, 3}, {4, 1, 2, 0}};
  for (const gauge& other : {gauge::linf(), gauge::euclidean(), gauge::lp(3)}) {
    for (const double thickness : {1e-3, 1e-6, 1e-8}) {
      const bicriteria_problem p(sites, {pressed_polygon(7, thickness), other});
      EXPECT_EQ(verify(p, approximate_efficient_set(p, 1e-3)).reason, "") << thickness;
    }
  }
  const bicriteria_problem at_site({{0, 2, 1.985902481093881, 0}, {0, 1, 2.7982351144850632, 2.8}},
                                   {gauge::linf()});
  EXPECT_EQ(verify(at_site, approximate_efficient_set(at_site, 3e-3)).reason, "");
}

// An end where a criterion is 0, or that is nearly as good as another place; ranges that are small
// once such places are left out.
TEST(EfficientPolyline, EndsThatRoundingsBlur) {
  const order_weights sum = order_weights::median();
  const order_weights worst = order_weights::centre();
  const gauge octagon = gauge::polyhedral({{1, 0.25},
                                           {0.5, 0.875},
                                           {-0.125, 1},
                                           {-0.875, 0.375},
                                           {-1, -0.375},
                                           {-0.625, -0.75},
                                           {0.375, -1},
                                           {0.875, -0.5}});
  const gauge other = gauge::polyhedral({{1, 0},
                                         {0.5, 0.875},
                                         {-0.125, 1},
                                         {-0.875, 0.625},
                                         {-1, 0},
                                         {-0.625, -0.75},
                                         {0.25, -1},
                                         {0.75, -0.75}});
  const struct {
    std::vector<bicriteria_site> sites;
    gauge distance;
    order_weights first, second;
  } cases[] = {
      {{{0, 4, 2, 0}, {0, 3, 3, 3}}, octagon, sum, sum},
      {{{3, 1, 0, 1}, {1, 2, 1, 1}, {4, 3, 1, 2}, {1, 3, 3, 1}, {0, 2, 1, 2}, {0, 2, 2, 1}},
       gauge::l1(),
       worst,
       order_weights::cent_dian(0.3)},
      {{{3, 0, 0, 1}, {3, 4, 2, 1}, {0, 4, 1, 0}, {0, 1, 2, 3}, {4, 3, 1, 2}}, other, sum, sum},
      {{{3, 2, 2, 3}, {3, 0, 2, 3}, {4, 4, 2, 3}}, gauge::lp(50), worst, sum}};
  for (const auto& c : cases) {
    const bicriteria_problem p(c.sites, {c.distance}, c.first, c.second);
    const efficient_polyline l = approximate_efficient_set(p, 1e-2);
    EXPECT_EQ(l.status, polyline_status::within_tolerance) << &c - cases;
    EXPECT_EQ(verify(p, l).reason, "") << &c - cases;
  }
}

// Both ways on the same problems.
TEST(EfficientPolyline, CloseToTheExactChain) {
  instance_source source(26);
  for (int trial = 0; trial < 20; ++trial) {
    const layout l = trial % 2 == 0 ? layout::scattered : layout::lattice;
    const bicriteria_problem p = with_second_weights(source, source.sites(l, 30, 2),
                                                     source.gauges(l, 2, 6), relation::independent);
    const efficient_polyline line = approximate_efficient_set(p, 1e-3);
    const efficient_chain chain = efficient_set(p);
    for (const trade_off& t : chain.curve) EXPECT_LE(beyond(line, {t.value1, t.value2}), 1.001e-3);
    // The ends differ by little, and no point is below the curve.
    const double range = chain.curve.back().value1 - chain.curve.front().value1;
    EXPECT_LE(line.points.front().value1, chain.curve.front().value1 + 1.001e-3 * range + 1e-9);
    for (const polyline_point& q : line.points) {
      for (const trade_off& t : chain.curve) {
        for (const double s : {t.t_low, t.t_high}) {
          EXPECT_GE((1 - s) * (q.value1 - t.value1) + s * (q.value2 - t.value2), -1e-9);
        }
      }
    }
  }
}

TEST(EfficientPolyline, VerifyRefusesWhatWasSpoiled) {
  instance_source source(27);
  const bicriteria_problem p = mixed_problem(source, layout::scattered, 20, relation::apart);
  const efficient_polyline good = approximate_efficient_set(p, 1e-2);
  ASSERT_TRUE(verify(p, good).accepted);
  ASSERT_GT(good.points.size(), 4);
  const struct {
    const char* name;
    std::function<void(efficient_polyline&)> spoil;
  } cases[] = {
      {"no point", [](auto& l) { l.points.clear(); }},
      {"first point left out", [](auto& l) { l.points.erase(l.points.begin()); }},
      {"last point left out", [](auto& l) { l.points.pop_back(); }},
      {"points left out amid the line",
       [](auto& l) { l.points.erase(l.points.begin() + 1, l.points.end() - 1); }},
      {"order", [](auto& l) { std::swap(l.points[1], l.points[2]); }},
      {"a value", [](auto& l) { l.points[1].value2 *= 1 + 1e-12; }},
      {"a place", [](auto& l) { l.points[1].at.x += 0.5; }},
      {"a smaller distance", [](auto& l) { l.distance *= 0.99; }},
      {"a greater bound", [](auto& l) { l.bounds[1].bound *= 1.0001; }},
      {"a factor", [](auto& l) { l.bounds[1].factor1 *= 0.9; }},
      {"a negative factor", [](auto& l) { l.bounds[1].factor1 *= -1; }},
      {"a multiplier", [](auto& l) { l.bounds[1].shares[0].second *= 1.5; }},
      {"a negative multiplier", [](auto& l) { l.bounds[1].shares[0].second *= -1; }},
      {"a cut that is not there", [](auto& l) { l.bounds[1].shares[0].first = 9999; }},
      {"an edge of a cut",
       [](auto& l) {
         for (auto& c : l.cuts) {
           for (auto& e : c.first.edge) e = 7;
         }
       }},
      {"no bound", [](auto& l) { l.bounds.clear(); }},
      {"order of bounds", [](auto& l) { std::swap(l.bounds[0], l.bounds[1]); }},
  };
  for (const auto& c : cases) {
    efficient_polyline spoiled = good;
    c.spoil(spoiled);
    const polyline_verification v = verify(p, spoiled);
    EXPECT_FALSE(v.accepted) << c.name;
    EXPECT_FALSE(v.reason.empty()) << c.name;
  }
}

TEST(EfficientPolyline, LimitsAndBadInput) {
  instance_source source(28);
  const bicriteria_problem p = mixed_problem(source, layout::scattered, 50, relation::apart);
  for (const std::size_t most : {0, 1, 2, 5, 25}) {
    polyline_options few;
    few.evaluations = most;
    const efficient_polyline early = approximate_efficient_set(p, 1e-6, few);
    EXPECT_EQ(early.status, polyline_status::stopped);
    EXPECT_EQ(early.counters.evaluations, std::max<std::size_t>(most, 1));
    EXPECT_GT(early.distance, 1e-6);
    EXPECT_TRUE(verify(p, early).accepted) << verify(p, early).reason;
  }
  const std::vector<bicriteria_site> two{{0, 0, 1, 1}, {1, 0, 1, 1}};
  const struct {
    std::function<void()> call;
    const char* text;
  } cases[] = {
      {[&] { approximate_efficient_set(p, -1e-9); }, "tolerance is -1e-09: must be positive"},
      {[&] {
         approximate_efficient_set({{{0, 0, 0, 1}}, {gauge::l1()}}, 0.1);
       },
       "criterion 1 knows no site"},
      {[&] { p.criterion(7); }, "there is no criterion 7: 0 or 1"},
      {[&] {
         bicriteria_problem(two, {gauge::l1()}, order_weights::median(), order_weights::range());
       },
       "order weight 0 of criterion 2 is -1: must be at least 0, since they rise from 0 or more"},
      {[&] { efficient_set(bicriteria_problem(two, {gauge::l1()}, order_weights::centre())); },
       "efficient set: an order weight of criterion 1 is 0: must be 1, the criteria plain sums"},
  };
  for (const auto& c : cases) EXPECT_EQ(message_of(c.call), c.text);
}

}  // namespace
}  // namespace planloc
