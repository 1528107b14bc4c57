// The maximum solver for polyhedral gauges against its plain steps, and against linear programs.
#include "planloc/facilities/gauge_max.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "planloc/facilities/gauged_sites.h"
#include "planloc/facilities/halving.h"
#include "planloc/facilities/sorted_contacts.h"
#include "planloc/foundation/geometry/hull.h"
#include "tests/facilities/gauge_problems.h"
#include "tests/facilities/plain_gauge_max.h"
#include "tests/facilities/site_families.h"
#include "tests/foundation/reports.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

using testing_support::report_of;
using testing_support::text_of;

constexpr char kEmptyList[] = "1: dlist::head(): empty list";
constexpr char kNotSimple[] = "1: POLYGON: POLYGON is not simple";
constexpr char kZeroVector[] = "1: point::angle:  zero vector input.";

struct outcome {
  std::string report;
  double value = -1.0;
  std::vector<location> opt;

  bool operator==(const outcome&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const outcome& o) {
    out.precision(17);
    out << o.report << " " << o.value << ":";
    for (const location& a : o.opt) out << " (" << a << ")";
    return out;
  }
};

const std::vector<location>& older_results() {
  static const std::vector<location> older = {site(7, 7, 7)};
  return older;
}

outcome solved(gauged_sites& P) {
  outcome result;
  P.sites.opt = sites_of(older_results());
  result.report = report_of([&] { result.value = P.sites.gauge_max(P.gauges, P.gauge_of, true); });
  result.opt = results_of(P.sites);
  return result;
}

outcome plainly_solved(const gauged_sites& P) {
  outcome result;
  plain_gauge_max plain(P);
  plain.opt = sites_of(older_results());
  result.report = report_of([&] { result.value = plain.solve(); });
  result.opt = {plain.opt.begin(), plain.opt.end()};
  return result;
}

// ----- The solver -----

TEST(GaugeMax, SameAsThePlainSteps) {
  std::mt19937 random(5);
  std::set<std::string> reports;
  int kept_older = 0;
  for (int i = 0; i < 300; ++i) {
    gauged_sites P = random_problem(random, i);
    const outcome plain = plainly_solved(P);
    ASSERT_EQ(solved(P), plain) << "problem " << i << "\n" << shown(P);
    reports.insert(plain.report);
    kept_older += static_cast<int>(plain.report == "none" && plain.opt == older_results());
  }
  EXPECT_EQ(reports, (std::set<std::string>{"none", kEmptyList, kNotSimple}));
  EXPECT_GT(kept_older, 0);
}

// What the contract and docs/solvers.md say of the weak places.
TEST(GaugeMax, SmallestWeakPlaces) {
  const polygauge l1 = polygauge::l1_gauge();
  gauged_sites two = with_gauge(sites_of({site(0, 0, 1), site(1, 0, 1)}), l1);
  EXPECT_EQ(solved(two), (outcome{kEmptyList, -1.0, older_results()}));
  two.sites.tail().weight(0) = 2.0;
  EXPECT_NEAR(solved(two).value, 4.0 / 3.0, 1e-13);
  EXPECT_NEAR(program_value(two, {.largest = true}), 2.0 / 3.0, 1e-9);
  gauged_sites one = with_gauge(sites_of({site(3, 4, 1)}), polygauge::linf_gauge());
  EXPECT_EQ(solved(one).report, kEmptyList);
  EXPECT_EQ(in_own_process([&] { one.sites.gauge_max(one.gauges, one.gauge_of, false); }),
            aborted("dlist::head(): empty list"));
  gauged_sites unknown = one;
  unknown.gauge_of.head() = 1;
  EXPECT_EQ(solved(unknown).report, "1: dlist::get_item: index out of range");
}

// A level z is above the optimum if and only if it is reached, and what the solver returns with
// corners is above it or is it.
TEST(GaugeMax, AgainstLinearPrograms) {
  std::mt19937 random(8);
  int optimal = 0;
  int slivers = 0;
  int directions = 0;
  for (int i = 0; i < 400; ++i) {
    const int number = i % 199;
    gauged_sites P = random_problem(random, number);
    const double optimum = program_value(P, {.largest = true});
    if (P.sites.size() == 1) continue;
    for (const double margin : {-0.3, -1e-4, -1e-9, 1e-9, 1e-4, 0.3}) {
      int reached = -1;
      const std::string report = report_of(
          [&] { reached = P.sites.level_reached(optimum + margin, P.gauge_of, P.gauges); });
      if (report == kNotSimple && margin == 1e-9) {
        ++slivers;
      } else {
        ASSERT_EQ(reached, margin > 0.0 ? 1 : 0) << report << margin << shown(P);
      }
    }
    const outcome result = solved(P);
    if (result.report != "none" || result.opt == older_results()) continue;
    ASSERT_GT(result.value, optimum - 1e-9) << shown(P);
    if (std::fabs(result.value - optimum) < 1e-9) ++optimal;
    const double bound = result.value * (1.0 + 1e-12);
    // The corners reach the value, so does their centroid, and no place beyond them does. The last
    // not on a lattice, where edges of balls lie on one line up to rounding and corners get lost.
    const auto rows = distance_rows(P);
    const location origin = P.sites.head();
    const auto largest = [&](double x, double y) {
      double value = 0.0;
      for (const distance_row& row : rows) value = std::max(value, row.at(x, y));
      return value;
    };
    double cx = 0.0;
    double cy = 0.0;
    for (const location& a : result.opt) {
      ASSERT_LE(largest(a[0] - origin[0], a[1] - origin[1]), bound) << shown(P);
      cx += (a[0] - origin[0]) / static_cast<double>(result.opt.size());
      cy += (a[1] - origin[1]) / static_cast<double>(result.opt.size());
    }
    ASSERT_LE(largest(cx, cy), bound) << shown(P);
    for (int k = 0; k < 16 && number % 3 == 1 && result.value < 1e3; ++k) {
      const double u = std::cos(k * std::numbers::pi / 8.0);
      const double v = std::sin(k * std::numbers::pi / 8.0);
      double least = IlcInfinity;
      for (const location& a : result.opt) {
        least = std::min(least, u * (a[0] - origin[0]) + v * (a[1] - origin[1]));
      }
      const gauge_program towards{true, {0, 0}, u, v, {result.value + 1e-9}};
      ASSERT_NEAR(program_value(P, towards), least, 1e-5) << shown(P);
      ++directions;
    }
  }
  EXPECT_GT(optimal, 60);
  EXPECT_GT(directions, 500);
  EXPECT_LE(slivers, 10);
}

// Values that repeat count in the medians.
TEST(GaugeMax, Contacts) {
  std::mt19937 random(10);
  for (int i = 0; i < 30; ++i) {
    const gauged_sites P = random_problem(random, i, 6);
    list<double> plain;
    plain_gauge_max(P).triples(plain, 0.5);
    std::vector<double> pushed(plain.begin(), plain.end());
    std::reverse(pushed.begin(), pushed.end());
    const detail::ball_sites sites(P.sites, P.gauges, P.gauge_of);
    ASSERT_EQ(detail::triple_contacts(sites, 0.5), pushed) << shown(P);
  }
  const std::pair<int, std::size_t> caps[] = {{5, 5000}, {6, 500}, {101, 500}, {102, 1000}};
  for (const auto& [count, cap] : caps) {
    facilities F;
    for (int i = 0; i < count; ++i) F.append(site(i, i * i % 7, 1 + i % 3));
    const gauged_sites P = with_gauge(F, random_gauge(random, 40));
    const detail::ball_sites sites(P.sites, P.gauges, P.gauge_of);
    EXPECT_EQ(detail::pair_contacts(sites).size(), cap) << count;
  }
}

// The list of the triple phase is the same whether its values are kept or computed in passes.
TEST(GaugeMax, TriplesInPasses) {
  std::mt19937 random(9);
  for (int i = 0; i < 60; ++i) {
    const gauged_sites P = random_problem(random, i);
    if (P.sites.size() < 4) continue;
    const detail::ball_sites sites(P.sites, P.gauges, P.gauge_of);
    detail::level_sets levels(sites);
    const double optimum = program_value(P, {.largest = true});
    for (const double lower : {1e-3, optimum - 1e-2}) {
      ASSERT_EQ(detail::far_contacts(sites, lower, levels, 0),
                detail::far_contacts(sites, lower, levels))
          << shown(P);
    }
    detail::sorted_contacts sorted(sites, optimum);
    detail::candidates all = detail::triple_contacts(sites, optimum);
    all.push_back(optimum);
    std::sort(all.begin(), all.end());
    ASSERT_EQ(sorted.size(), all.size());
    for (const std::size_t k : {std::size_t{0}, all.size() / 3, all.size() - 1}) {
      const auto [first, last] = std::equal_range(all.begin(), all.end(), all[k]);
      ASSERT_EQ(sorted[k], all[k]);
      ASSERT_LE(sorted.below(k), all[k]);
      ASSERT_EQ(sorted.count_below(all[k]), first - all.begin());
      ASSERT_EQ(sorted.count_up_to(all[k]), last - all.begin());
    }
  }
}

// So many that a sample tells which of them are kept.
TEST(GaugeMax, TriplesOfManyEdges) {
  constexpr std::size_t kAll = std::size_t{1} << 30;
  std::mt19937 random(4);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  for (int i = 0; i < 4; ++i) {
    gauged_sites P;
    for (int k = 0; k < 45; ++k) {
      const double x = u(random);
      P.sites.append(site(x, u(random), 1.0 + u(random)));
      P.gauges.append(i % 2 == 0 || k == 0 ? random_gauge(random, 8) : P.gauges.head());
      P.gauge_of.append(k);
    }
    const detail::ball_sites sites(P.sites, P.gauges, P.gauge_of);
    detail::level_sets levels(sites);
    const double lower = i < 2 ? 0.3 : 3.0;
    ASSERT_EQ(detail::far_contacts(sites, lower, levels),
              detail::far_contacts(sites, lower, levels, kAll));
  }
}

// ----- The pieces -----

TEST(GaugeMax, LevelSets) {
  gauged_sites P = with_gauge(sites_of({site(0, 0, 1), site(2, 0, 2)}), polygauge::linf_gauge());
  polygon level;
  EXPECT_EQ(text_of(P.sites.gauge_level_set(level, 1.5, P.gauge_of, P.gauges).vertices()),
            "(1.5,0.75) (1.25,0.75) (1.25,-0.75) (1.5,-0.75)");
  EXPECT_TRUE(P.sites.gauge_level_set(level, 1.25, P.gauge_of, P.gauges).empty());
  double z = 1.5;
  EXPECT_EQ(P.sites.level_reached(z, P.gauge_of, P.gauges, &z), 1);
  int empty = 7;
  list<point> out = {point(9, 9)};
  P.sites.opt = sites_of(older_results());
  z = 1.25;
  EXPECT_EQ(P.sites.level_result(z, P.gauge_of, P.gauges, empty, out), 1.25);
  EXPECT_EQ(empty, 1);
  EXPECT_EQ(text_of(out), "(9,9)");
  EXPECT_EQ(results_of(P.sites), older_results());
  z = 1.5;
  EXPECT_EQ(P.sites.level_result(z, P.gauge_of, P.gauges, empty, out), 1.5);
  EXPECT_EQ(empty, 0);
  EXPECT_EQ(out.size(), 4);
  EXPECT_EQ(P.sites.opt.size(), 4);
  EXPECT_EQ(report_of([&] { facilities().level_reached(1.0, P.gauge_of, P.gauges); }), kEmptyList);
}

TEST(GaugeMax, KeepsDistinctPoints) {
  facilities F;
  F.keep_distinct({point(1, 1), point(1 + 9e-13, 1 - 9e-13), point(1 + 3e-12, 1), point(1, 1)});
  EXPECT_EQ(results_of(F), (std::vector<location>{site(1, 1, 1), site(1 + 3e-12, 1, 1)}));
}

TEST(GaugeMax, MediansAndBulkSteps) {
  std::mt19937 random(3);
  for (const int size : {1, 2, 5, 119, 120, 121, 122, 700, 1301}) {
    for (const unsigned values : {3U, 1000000U}) {
      list<double> C;
      for (int i = 0; i < size; ++i) C.append(static_cast<double>(random() % values));
      list<double> plain = C;
      EXPECT_EQ(median_of(C), plain_median(plain));
      EXPECT_EQ(C, plain) << size;
      // Levels on both sides of the optimum 500000.
      gauged_sites P =
          with_gauge(sites_of({site(0, 0, 1), site(1e6, 0, 1)}), polygauge::l1_gauge());
      EXPECT_EQ(P.sites.bulk_step(C, P.gauge_of, P.gauges, 0.0, 1.0),
                plain_gauge_max(P).bulk_step(plain));
      EXPECT_EQ(C, plain) << size;
    }
  }
}

TEST(GaugeMax, SortAroundCentre) {
  // By their angles the third point belongs between the first two.
  list<point> uneven = {point(2, 0), point(-2, 1), point(0, 2), point(0, -3)};
  sort_around_centre(uneven);
  EXPECT_EQ(text_of(uneven), "(0,-3) (-2,1) (0,2) (2,0)");
  list<point> centred = {point(0, 0), point(1, 1), point(2, 2)};
  EXPECT_EQ(report_of([&] { sort_around_centre(centred); }), kZeroVector);
  std::mt19937 random(4);
  const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  for (int i = 0; i < 2000; ++i) {
    list<point> L;
    for (int k = 2 + below(9); k > 0; --k) L.append(point(below(7), below(7) + 0x1p-50 * below(3)));
    list<point> plain = L;
    ASSERT_EQ(report_of([&] { sort_around_centre(L); }),
              report_of([&] { plain_sort_around_centre(plain); }));
    ASSERT_EQ(L, plain);
  }
}

TEST(ConvexIntersection, IsThePlainStepsOnLattices) {
  std::mt19937 random(6);
  const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  int empty = 0;
  for (int i = 0; i < 2000; ++i) {
    const auto random_polygon = [&] {
      list<point> points;
      for (int k = 3 + below(6); k > 0; --k) points.append(point(below(8), below(8)));
      return polygon(CONVEX_HULL(points), true, true);
    };
    const polygon A = random_polygon();
    const polygon B = random_polygon();
    const polygon common = convex_intersection(A, B);
    ASSERT_EQ(common.vertices(), plain_convex_intersection(A, B).vertices())
        << A.vertices() << " | " << B.vertices();
    empty += static_cast<int>(common.empty());
  }
  EXPECT_GT(empty, 100);
}

// Chains that cross themselves, with one point, and with coordinates that are not finite.
TEST(ConvexIntersection, AnyChains) {
  const double inf = IlcInfinity;
  const polygon square({point(0, 0), point(4, 0), point(4, 4), point(0, 4)});
  const polygon chains[] = {
      polygon({point(-1, 1), point(5, 3), point(-1, 3), point(5, 1)}, false),
      polygon({point(1, 1)}),
      polygon({point(9, 1)}),
      polygon({point(-1, 1), point(5, 2)}),
      polygon({point(1, 1), point(inf, 2), point(3, 5)}),
      polygon({point(1, std::nan("")), point(2, 2), point(3, 5)}),
      polygon(),
  };
  for (const polygon& P : chains) {
    polygon common;
    polygon plain;
    EXPECT_EQ(report_of([&] { common = convex_intersection(square, P); }),
              report_of([&] { plain = plain_convex_intersection(square, P); }));
    EXPECT_EQ(text_of(common.vertices()), text_of(plain.vertices())) << P.vertices();
  }
}

}  // namespace
}  // namespace planloc
