#include "planloc/optimum/region.h"

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "planloc/optimum/minimise.h"
#include "planloc/optimum/verify.h"
#include "tests/optimum/arrangement.h"
#include "tests/optimum/instances.h"
#include "tests/optimum/message_of.h"
#include "tests/optimum/proved.h"

namespace planloc {
namespace {

struct fractions {
  mpq_class x, y;
};

fractions exactly(const xy& p) { return {mpq_class(p.x), mpq_class(p.y)}; }

fractions place_of(const solution& s) {
  if (s.exact.empty()) return exactly(s.point);
  return {mpq_class(s.exact.x), mpq_class(s.exact.y)};
}

// By winding through the quadrants around the place: -1 outside, 0 on a ring, 1 inside.
int place_in(const region_polygon& polygon, const fractions& at) {
  int crossed = 0;
  for (const ring& r : polygon) {
    for (std::size_t k = 0; k < r.size(); ++k) {
      const fractions a = exactly(r[k]);
      const fractions b = exactly(r[(k + 1) % r.size()]);
      const mpq_class turn = (b.x - a.x) * (at.y - a.y) - (b.y - a.y) * (at.x - a.x);
      const mpq_class dot = (a.x - at.x) * (b.x - at.x) + (a.y - at.y) * (b.y - at.y);
      if (sgn(turn) == 0 && sgn(dot) <= 0) return 0;
      if (a.y <= at.y && b.y > at.y && sgn(turn) > 0) ++crossed;
      if (b.y <= at.y && a.y > at.y && sgn(turn) < 0) ++crossed;
    }
  }
  return crossed % 2 == 0 ? -1 : 1;
}

bool permitted(const regions& w, const fractions& at) {
  const auto holds = [&](int least) {
    return [&, least](const region_polygon& p) { return place_in(p, at) >= least; };
  };
  return (!w.allowed || std::any_of(w.allowed->begin(), w.allowed->end(), holds(0))) &&
         std::none_of(w.forbidden.begin(), w.forbidden.end(), holds(1));
}

ring rectangle(double left, double low, double right, double high) {
  return {{left, low}, {right, low}, {right, high}, {left, high}};
}

// Polygons of whole numbers where `whole`, so that they touch and share sides.
region_polygon random_polygon(instance_source& source, bool whole, double extent) {
  region_polygon p;
  const xy middle = whole ? xy{1.0 * source.below(6), 1.0 * source.below(6)}
                          : xy{source.uniform(0, extent), source.uniform(0, extent)};
  ring r;
  if (whole) {
    const double a = 2 * (1 + source.below(2));
    const double b = 2 * (1 + source.below(2));
    r = source.below(2) == 0 ? rectangle(middle.x - a, middle.y - b, middle.x + a, middle.y + b)
                             : ring{{middle.x - a, middle.y},
                                    {middle.x, middle.y - b},
                                    {middle.x + a, middle.y},
                                    {middle.x, middle.y + b}};
  } else {
    const int corners = 3 + source.below(6);
    for (int k = 0; k < corners; ++k) {
      const double angle = 2 * std::numbers::pi * k / corners;
      const double radius = extent * source.uniform(0.05, 0.5);
      r.push_back({middle.x + radius * std::cos(angle), middle.y + radius * std::sin(angle)});
    }
  }
  if (source.below(2) == 0) std::reverse(r.begin(), r.end());
  if (source.below(2) == 0) r.push_back(r.front());
  if (source.below(3) == 0) {
    ring hole;
    for (const xy& c : r)
      hole.push_back({middle.x + (c.x - middle.x) / 2, middle.y + (c.y - middle.y) / 2});
    p.push_back(std::move(hole));
  }
  p.push_back(std::move(r));
  return p;
}

regions random_regions(instance_source& source, bool whole, double extent) {
  regions w;
  for (int k = source.below(5); k > 0; --k)
    w.forbidden.push_back(random_polygon(source, whole, extent));
  if (source.below(2) == 0) return w;
  w.allowed.emplace();
  for (int k = source.below(4); k > 0; --k)
    w.allowed->push_back(random_polygon(source, whole, extent));
  return w;
}

template <class Visit>
void for_each_side(const regions& w, Visit visit) {
  region all = w.forbidden;
  if (w.allowed) all.insert(all.end(), w.allowed->begin(), w.allowed->end());
  for (const region_polygon& p : all) {
    for (const ring& r : p) {
      for (std::size_t k = 0; k < r.size(); ++k) visit(r[k], r[(k + 1) % r.size()]);
    }
  }
}

// Whether some permitted place has less than `most`: dense samples of sides and of the plane, and,
// for polyhedral gauges, all crossings of the lines on which f can break and of the sides' lines.
bool some_place_below(const problem& p, double most, double extent) {
  bool found = false;
  const auto look = [&](const fractions& at) {
    if (found || p.value({at.x.get_d(), at.y.get_d()}) >= most) return;
    found = permitted(p.where(), at);
  };
  std::vector<test_line> lines = p.polyhedral() ? break_lines(p) : std::vector<test_line>();
  const std::size_t breaks = lines.size();
  for_each_side(p.where(), [&](const xy& a, const xy& b) {
    const fractions from = exactly(a);
    const fractions u{mpq_class(b.x) - a.x, mpq_class(b.y) - a.y};
    for (int k = 0; k <= 32; ++k) look({from.x + u.x * k / 32, from.y + u.y * k / 32});
    if (a != b) lines.push_back({a.y - b.y, b.x - a.x, (a.y - b.y) * a.x + (b.x - a.x) * a.y});
  });
  for (int x = -8; x <= 24; ++x) {
    for (int y = -8; y <= 24; ++y) look(exactly({extent * x / 16, extent * y / 16}));
  }
  for (std::size_t i = 0; i < lines.size(); ++i) {
    for (std::size_t k = std::max(p.convex() ? breaks : 0, i + 1); k < lines.size(); ++k) {
      const test_line& f = lines[i];
      const test_line& g = lines[k];
      const double area = f.a * g.b - f.b * g.a;
      if (area == 0) continue;
      look(exactly({(f.c * g.b - f.b * g.c) / area, (f.a * g.c - f.c * g.a) / area}));
    }
  }
  return found;
}

void check(const problem& p, double extent, const std::string& name) {
  const solution s = minimise(p);
  const verification v = verify(p, s);
  EXPECT_TRUE(v.accepted) << name << ": " << v.reason;
  if (s.status == solution_status::infeasible) {
    EXPECT_FALSE(some_place_below(p, std::numeric_limits<double>::infinity(), extent)) << name;
    return;
  }
  if (s.status == solution_status::unbounded) return;
  EXPECT_EQ(s.status, solution_status::optimal) << name;
  EXPECT_TRUE(v.gap == 0 || !p.polyhedral()) << name << " " << v.gap;
  const bool to_the_end = p.polyhedral() || p.convex();
  EXPECT_LE(s.gap(), (to_the_end ? 1e-11 : 2e-10) * (1 + std::fabs(s.value))) << name;
  EXPECT_TRUE(permitted(p.where(), place_of(s))) << name;
  const double off = 1e-9 * (1 + std::fabs(s.value));
  EXPECT_FALSE(some_place_below(p, s.value - off, extent)) << name;
}

order_weights any_order(instance_source& source, int n) {
  switch (source.below(4)) {
    case 0:
      return order_weights::range();
    case 1:
      return order_weights::anti_centrum(static_cast<std::size_t>(1 + source.below(n)));
    case 2:
      return order_weights::order_statistic(static_cast<std::size_t>(1 + source.below(n)));
    default:
      std::vector<double> lambda;
      for (int k = 0; k < n; ++k) lambda.push_back(source.below(4) - 1);
      return order_weights(lambda);
  }
}

void by_brute_force(unsigned trials, bool convex) {
  for (unsigned trial = 0; trial < trials; ++trial) {
    instance_source source(trial);
    const bool smooth = trial % 3 == 0;
    const bool whole = trial % 2 == 0;
    const layout l = whole ? layout::lattice : layout::scattered;
    const int n = 1 + source.below(convex ? 6 : 4);
    const std::vector<gauge> gauges =
        smooth ? std::vector<gauge>{gauge::euclidean(), gauge::lp(3)} : source.gauges(l, 2, 5);
    const double extent = whole ? 5 : 100;
    const problem p(source.sites(l, n, 2), gauges,
                    convex ? source.convex_order(n) : any_order(source, n),
                    random_regions(source, whole, extent));
    check(p, extent, "trial " + std::to_string(trial));
  }
}

TEST(Regions, ConvexProblemsByBruteForce) { by_brute_force(120, true); }
TEST(Regions, GeneralProblemsByBruteForce) { by_brute_force(45, false); }

// So many that sites that are linear along a side count together; the proof knows nothing of that.
TEST(Regions, ManySites) {
  for (unsigned trial = 0; trial < 24; ++trial) {
    instance_source source(trial);
    const bool whole = trial % 2 == 0;
    const layout l = whole ? layout::lattice : trial % 3 == 0 ? layout::scattered : layout::uneven;
    const double extent = l == layout::scattered ? 100 : 4;
    const problem p(source.sites(l, 300, 3), source.gauges(l, 3, 6), order_weights::median(),
                    random_regions(source, whole, extent));
    const solution s = minimise(p);
    const verification v = verify(p, s);
    EXPECT_TRUE(v.accepted) << trial << ": " << v.reason;
    if (s.status == solution_status::infeasible) continue;
    EXPECT_EQ(s.status, solution_status::optimal) << trial;
    EXPECT_EQ(v.gap, 0) << trial;
  }
}

// The median of the corners of a square of side 8 is any place in it under l1.
TEST(Regions, WhatIsLeftMayBeASegmentOrAPoint) {
  const std::vector<site> sites{{0, 0}, {8, 0}, {0, 8}, {8, 8}};
  const ring all = rectangle(-9, -9, 20, 20);
  const struct {
    const char* name;
    regions where;
    double value;
    xy point;
  } cases[] = {
      {"seam of two lakes",
       {{}, {{rectangle(-50, -50, 4, 50)}, {rectangle(4, -50, 50, 50)}}},
       4,
       {4, 4}},
      {"seam within one lake",
       {{}, {{rectangle(-50, -50, 4, 50), rectangle(4, -50, 50, 50)}}},
       4,
       {4, 4}},
      {"rim of an island covered by a lake",
       {region{{rectangle(3, 3, 5, 5)}}, {{rectangle(3, 3, 5, 5)}}},
       5,
       {3, 4}},
      {"where three lakes meet",
       {{}, {{rectangle(-90, -90, 90, 1)}, {rectangle(-90, 1, 4, 90)}, {rectangle(4, 1, 90, 90)}}},
       4,
       {4, 4}},
      {"one place",
       {region{{rectangle(2, 4, 4, 9)}},
        {{rectangle(1, 0, 3, 9)},
         {rectangle(3, 0, 5, 9)},
         {rectangle(1, 5, 5, 10)},
         {rectangle(1, 3, 5, 5)}}},
       5,
       {3, 5}},
      {"an island in a lake",
       {{}, {{rectangle(-9, -9, 20, 20), rectangle(6, 3, 7, 5)}}},
       6,
       {6, 4}},
      {"repeated corners",
       {{}, {{{{2, 2}, {2, 2}, {6, 2}, {6, 6}, {6, 6}, {2, 6}, {2, 2}}}}},
       6,
       {4, 2}}};
  for (const auto& c : cases) {
    const problem p(sites, {gauge::linf()}, order_weights::centre(), c.where);
    const solution s = minimise(p);
    EXPECT_TRUE(verify(p, s).accepted) << c.name << ": " << verify(p, s).reason;
    EXPECT_EQ(s.status, solution_status::optimal) << c.name;
    EXPECT_EQ(s.value, c.value) << c.name;
    EXPECT_TRUE(c.where.permit(s.point)) << c.name;
    EXPECT_EQ(p.value(s.point), p.value(c.point)) << c.name;
  }
  for (const regions& nowhere :
       {regions{region{}, {}}, regions{region{{all}}, {{rectangle(-99, -99, 99, 99)}}}}) {
    const problem p(sites, {gauge::l1()}, order_weights::median(), nowhere);
    solution s = minimise(p);
    EXPECT_EQ(s.status, solution_status::infeasible);
    EXPECT_TRUE(verify(p, s).accepted);
    const problem free(sites, {gauge::l1()}, order_weights::median(), {region{{all}}, {}});
    EXPECT_FALSE(verify(free, s).accepted);
  }
}

// A round lake about one site: every side has functions of its own in the proof, and none may cost
// more than its share of evaluations.
TEST(Regions, ShoresWhoseSidesAllTie) {
  constexpr std::size_t kSides = 700;
  ring shore;
  for (std::size_t k = 0; k < kSides; ++k) {
    const double angle = 2 * M_PI * static_cast<double>(k) / kSides;
    shore.push_back({5 + 3 * std::cos(angle), 7 + 3 * std::sin(angle)});
  }
  const problem p({{5, 7, 2}}, {gauge::euclidean()}, order_weights::median(), {{}, {{shore}}});
  const solution s = expect_solved(p, {1e-10});
  EXPECT_NEAR(s.value, 6 * std::cos(M_PI / kSides), 1e-12);
  EXPECT_LE(s.counters.evaluations, 16 * kSides);
  solution spoiled = s;
  std::vector<affine_piece>& pieces = std::get<boundary_certificate>(spoiled.proof).pieces;
  EXPECT_LE(pieces.size(), 2 * kSides);
  pieces.resize(pieces.size() / 2);
  EXPECT_FALSE(verify(p, spoiled).accepted);
}

// A town on the shore: the optimum is the town, where every gauge has a kink.
TEST(Regions, SitesOnSidesUnderSmoothGauges) {
  for (const gauge& g : {gauge::euclidean(), gauge::lp(1.5)}) {
    for (const xy& town : {xy{4, 1}, xy{2, 1}}) {
      const problem p({{town.x, town.y, 3}, {0, 9}, {9, 8, 2}}, {g}, order_weights::median(),
                      {{}, {{rectangle(2, 1, 8, 30)}, {rectangle(-9, 2, 3, 30)}}});
      const solution s = minimise(p);
      EXPECT_EQ(s.status, solution_status::optimal);
      EXPECT_TRUE(verify(p, s).accepted) << verify(p, s).reason;
      check(p, 10, "town");
    }
  }
}

TEST(Regions, BadRingsAreRefusedByName) {
  const ring square = rectangle(0, 0, 4, 4);
  const struct {
    ring r;
    const char* fault;
  } cases[] = {{{{0, 0}, {4, 4}, {4, 0}, {0, 4}}, "crosses itself at (2, 2)"},
               {{{0, 0}, {4, 0}, {4, 4}, {2, -1}, {0, 4}}, "crosses itself at"},
               {{{0, 0}, {4, 0}, {2, 2}, {4, 4}, {0, 4}, {2, 2}, {2, 2}}, ""},  // touches itself
               {{{0, 0}, {2, 2}, {4, 0}, {4, 4}, {2, 2}, {0, 4}}, ""},
               {{{0, 0}, {2, 2}, {4, 4}, {4, 0}, {2, 2}, {0, 4}}, "crosses itself at (2, 2)"},
               {{{0, 0}, {8, 0}, {8, 8}, {4, 0}, {0, 8}}, ""},  // a corner on a side
               {{{0, 0}, {8, 0}, {8, 8}, {4, 0}, {4, -2}, {0, 8}}, "crosses itself at"},
               {{{0, 0}, {4, 0}, {4, 4}, {4, 0}}, "runs along itself at (0, 0)"},
               {{{0, 0}, {4, 0}, {6, 0}, {3, 0}, {3, 5}}, "runs along itself at (3, 0)"},
               {{{1, 1}, {2, 2}, {1, 1}}, "has 2 different corners: at least 3 are needed"},
               {{}, "has 0 different corners: at least 3 are needed"},
               {{{0, 0}, {NAN, 0}, {1, 1}}, "has a corner at (nan, 0): must be finite"},
               {{{0, 0}, {1e40, 0}, {1, 1}},
                "has a corner at (1e+40, 0): must be at most 1e36 in magnitude"}};
  const auto said_of = [](const regions& where) {
    return message_of([&] { problem({{0, 0}}, {gauge::l1()}, order_weights::median(), where); });
  };
  for (const auto& c : cases) {
    for (const bool turned : {false, true}) {
      ring r = c.r;
      if (turned && std::string(c.fault).find("corner") == std::string::npos)
        std::reverse(r.begin(), r.end());
      const std::string said =
          said_of({region{{square}}, {{square}, {square, rectangle(1, 1, 2, 2), r}}});
      if (std::string(c.fault).empty()) {
        EXPECT_EQ(said, "");
      } else {
        EXPECT_EQ(said.find("ring 2 of forbidden polygon 1 " + std::string(c.fault)), 0U) << said;
      }
    }
  }
  EXPECT_EQ(said_of({region{{square}, {}}, {}}), "allowed polygon 1 has no rings");
}

// Rings whose check goes row by row, against all pairs of sides.
TEST(Regions, CrossingsInLongRings) {
  instance_source source(61);
  int crossed = 0;
  for (int trial = 0; trial < 100; ++trial) {
    SCOPED_TRACE(trial);
    const int corners = 20 + source.below(200);
    const double wide = trial % 3 == 0 ? 1000 : 1;
    const double far = trial % 4 == 0 ? 1e9 : 0;
    const double rough = source.uniform(0, 0.9);
    ring r;
    for (int k = 0; k < corners; ++k) {
      const double turn = 6.283185 * k / corners;
      const double out = 1 + source.uniform(-rough, rough);
      r.push_back({far + wide * out * std::cos(turn), out * std::sin(turn) - far});
    }
    if (trial % 2 == 0) std::swap(r[static_cast<std::size_t>(source.below(corners))], r[0]);
    const auto turn = [](const xy& a, const xy& b, const xy& c) {
      const fractions p = exactly(a);
      return sgn(mpq_class((b.x - p.x) * (c.y - p.y) - (b.y - p.y) * (c.x - p.x)));
    };
    bool crosses = false;
    for (std::size_t i = 0; i < r.size() && !crosses; ++i) {
      const xy& a = r[i];
      const xy& b = r[(i + 1) % r.size()];
      for (std::size_t k = i + 2; k < r.size() && !crosses; ++k) {
        const xy& c = r[k];
        const xy& d = r[(k + 1) % r.size()];
        const bool apart =
            std::max(a.x, b.x) < std::min(c.x, d.x) || std::max(c.x, d.x) < std::min(a.x, b.x);
        crosses = !apart && turn(a, b, c) * turn(a, b, d) < 0 && turn(c, d, a) * turn(c, d, b) < 0;
      }
    }
    const std::string said = message_of([&] {
      problem({{0, 0}}, {gauge::l1()}, order_weights::median(), regions{{}, {{r}}});
    });
    EXPECT_EQ(said.find("ring 0 of forbidden polygon 0 crosses itself") == 0, crosses) << said;
    crossed += crosses ? 1 : 0;
  }
  EXPECT_GT(crossed, 20);
  EXPECT_LT(crossed, 80);
}

TEST(Regions, AllSitesAtOneForbiddenPlace) {
  const regions lake{{}, {{{{0, 0}, {3, -1}, {7, 1}, {3, 4}}}}};
  for (const gauge& g : {gauge::l1(), gauge::euclidean(), gauge::lp(3)}) {
    const problem p({{3, 1, 2}, {3, 1, 2}}, {g}, order_weights::range(), lake);
    EXPECT_EQ(minimise(p).value, 0);
    EXPECT_EQ(verify(p, minimise(p)).reason, "");
  }
}

TEST(Regions, PlacesThatAreNotFiniteAreNotPermitted) {
  const regions lake{{}, {{rectangle(2, 2, 6, 5.5)}}};
  EXPECT_TRUE(lake.permit({0, 0}));
  for (const double d : {NAN, INFINITY, -INFINITY}) {
    for (const xy& at : {xy{d, 0}, xy{0, d}}) {
      EXPECT_FALSE(lake.permit(at));
      EXPECT_FALSE(regions{}.permit(at));
    }
  }
}

TEST(Regions, SearchesThatAreStoppedHaveAPermittedPlace) {
  const std::vector<site> sites = {{0, 3}, {3, 0}, {4, 7}, {8, 4}, {4.5, 4.25, 2}};
  const regions lake{{}, {{rectangle(2, 2, 6, 5.5)}}};
  const regions far_box{{{{rectangle(20, 20, 21, 23)}}}, {}};
  for (const gauge& g : {gauge::l1(), gauge::euclidean()}) {
    for (const regions& where : {lake, far_box}) {
      for (const order_weights& lambda : {order_weights::median(), order_weights::range()}) {
        const problem p(sites, {g}, lambda, where);
        minimise_options options;
        options.seconds = 0;
        double least = INFINITY;
        options.progress = [&least](const search_progress& now) {
          EXPECT_LE(now.value, least);
          least = now.value;
        };
        const solution s = minimise(p, options);
        EXPECT_EQ(s.status, solution_status::stopped);
        EXPECT_TRUE(permitted(where, place_of(s)));
        EXPECT_NEAR(s.value, p.value(s.point), 1e-12 * s.value);
        EXPECT_LE(s.lower_bound, minimise(p).value);
        EXPECT_EQ(verify(p, s).reason, "");
      }
    }
  }
  // The bound of the plane is proved for places that are no worse than its own.
  instance_source source(91);
  for (int trial = 0; trial < 20; ++trial) {
    const problem p(source.sites(layout::scattered, 9, 1), {gauge::euclidean()},
                    order_weights::k_centrum(2), far_box);
    EXPECT_EQ(verify(p, minimise(p, stopped_at_once())).reason, "") << trial;
  }
}

TEST(Regions, SpoiledProofsAreRefused) {
  const auto proof = [](solution& s) -> boundary_certificate& {
    return std::get<boundary_certificate>(s.proof);
  };
  const struct {
    const char* name;
    std::function<void(solution&)> spoil;
  } cases[] = {{"place", [](solution& s) { s.point.x += 0.5, s.exact = {}; }},
               {"forbidden place",
                [](solution& s) {
                  s.point = {4, 4}, s.exact = {};
                }},
               {"value", [](solution& s) { s.value *= 1 - 1e-9; }},
               {"bound", [](solution& s) { s.lower_bound *= 1 + 1e-9; }},
               {"outside is permitted",
                [&](solution& s) {
                  proof(s).outside = {"100", "100"};
                }},
               {"outside is worse",
                [&](solution& s) {
                  proof(s).outside = {"11/2", "5"};
                }},
               {"outside is nothing",
                [&](solution& s) {
                  proof(s).outside = {"x", "0"};
                }},
               {"piece left out", [&](solution& s) { proof(s).pieces.resize(1); }},
               {"no pieces", [&](solution& s) { proof(s).pieces.clear(); }},
               {"called infeasible", [](solution& s) { s.status = solution_status::infeasible; }}};
  for (const gauge& g : {gauge::euclidean(), gauge::l1()}) {
    const problem p({{0, 3}, {3, 0}, {4, 7}, {8, 4}, {4.5, 4.25, 2}}, {g}, order_weights::median(),
                    {{}, {{rectangle(2, 2, 6, 5.5)}, {rectangle(3, 1, 5, 3)}}});
    const solution good = minimise(p);
    ASSERT_TRUE(verify(p, good).accepted) << verify(p, good).reason;
    ASSERT_TRUE(std::holds_alternative<boundary_certificate>(good.proof));
    for (const auto& c : cases) {
      solution spoiled = good;
      c.spoil(spoiled);
      EXPECT_FALSE(verify(p, spoiled).accepted) << c.name;
    }
    // With one more gap in the lakes the place is no optimum any more.
    const problem other({{0, 3}, {3, 0}, {4, 7}, {8, 4}, {4.5, 4.25, 2}}, {g},
                        order_weights::median(),
                        {{}, {{rectangle(2, 2, 6, 5.5), rectangle(4, 4, 5, 5)}}});
    EXPECT_FALSE(verify(other, good).accepted);
  }
}

// Triangles that a shore crosses have their bounds on the dry part alone.
TEST(Regions, ShoresUnderSmoothGaugesAreCheckedAgain) {
  const std::vector<site> sites{{0, 3}, {3, 0}, {4, 7}, {8, 4}, {4.5, 4.25, 2}};
  const regions lake{{}, {{rectangle(2, 2, 6, 5.5)}, {rectangle(3, 1, 5, 3)}}};
  const problem p(sites, {gauge::euclidean()}, order_weights::trimmed_mean(1, 1), lake);
  const solution good = minimise(p);
  EXPECT_EQ(good.status, solution_status::optimal);
  EXPECT_LE(good.gap(), 1e-10 * good.value);
  EXPECT_EQ(verify(p, good).reason, "");
  EXPECT_FALSE(verify(p.without_regions(), good).accepted);
  int better_ones = 0;
  for (const xy& dry : {xy{2, 4}, xy{6, 4}, xy{4, 5.5}, xy{4, 1}}) {
    regions other = lake;
    other.forbidden[0].push_back(rectangle(dry.x - 0.5, dry.y - 0.5, dry.x + 0.5, dry.y + 0.5));
    const problem q(sites, {gauge::euclidean()}, order_weights::trimmed_mean(1, 1), other);
    const solution better = minimise(q);
    EXPECT_EQ(verify(q, good).accepted, better.value >= good.lower_bound) << dry.x << " " << dry.y;
    better_ones += better.value < good.lower_bound ? 1 : 0;
  }
  EXPECT_GT(better_ones, 0);
  solution spoiled = good;
  spoiled.lower_bound += 1e-9 * good.value;
  EXPECT_FALSE(verify(p, spoiled).accepted);
}

TEST(Regions, ForbiddenTrianglesAreCheckedAgain) {
  using reason = branch_certificate::reason;
  const std::vector<site> sites{{0, 3}, {3, 0}, {4, 7}, {8, 4}, {4, 4}};
  const regions lake{{}, {{rectangle(1, 1, 6, 7)}}};
  const regions county{region{{rectangle(-3, -2, 11, 9)}}, lake.forbidden};
  std::ptrdiff_t forbidden = 0;
  for (const regions& where : {lake, county}) {
    const problem p(sites, {gauge::l1()}, order_weights::order_statistic(3), where);
    const solution good = minimise(p);
    ASSERT_EQ(verify(p, good).reason, "");
    EXPECT_EQ(verify(p, good).gap, 0);
    const auto& reasons = std::get<branch_certificate>(good.proof).cells;
    forbidden += std::count(reasons.begin(), reasons.end(), reason::forbidden);
    for (std::size_t k = 0; k < reasons.size(); ++k) {
      if (reasons[k] == reason::halved) continue;
      solution spoiled = good;
      std::get<branch_certificate>(spoiled.proof).cells[k] = reason::forbidden;
      EXPECT_EQ(verify(p, spoiled).accepted, reasons[k] == reason::forbidden) << k;
    }
    solution spoiled = good;
    std::get<branch_certificate>(spoiled.proof).half /= 4;
    EXPECT_FALSE(verify(p, spoiled).accepted);
    // Without the lake there are better places.
    EXPECT_FALSE(verify(p.without_regions(), good).accepted);
  }
  EXPECT_GT(forbidden, 0);
  const problem falls(sites, {gauge::l1()}, order_weights({0, 0, 0, 0, -1}), lake);
  EXPECT_EQ(minimise(falls).status, solution_status::unbounded);
  const problem held(sites, {gauge::l1()}, order_weights({0, 0, 0, 0, -1}), county);
  EXPECT_EQ(minimise(held).status, solution_status::optimal);
  EXPECT_FALSE(verify(held, minimise(falls)).accepted);
}

}  // namespace
}  // namespace planloc
