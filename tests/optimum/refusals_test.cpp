// Why `verify` refuses an answer: each check tells of its own fault, so that none hides behind
// another.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "planloc/optimum/efficient_polyline.h"
#include "planloc/optimum/efficient_set.h"
#include "planloc/optimum/location_allocation.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/tied_facilities.h"
#include "planloc/optimum/verify.h"

namespace planloc {
namespace {

using reason = branch_certificate::reason;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinite = std::numeric_limits<double>::infinity();

const std::vector<site> kSites = {{0, 3}, {3, 0}, {4, 7}, {8, 4}, {4.5, 4.25, 2}};
const gauge kHexagon = gauge::polyhedral({{2, 0}, {1, 2}, {-1, 2}, {-2, 0}, {-1, -2}, {1, -2}});
const regions kLake{{}, {{{{2, 2}, {6, 2}, {6, 5.5}, {2, 5.5}}}}};

template <class Answer>
struct refused {
  const char* reason;
  std::function<void(Answer&)> spoil;
};

template <class Problem, class Answer>
void expect_reasons(const Problem& p, const Answer& good,
                    const std::vector<refused<Answer>>& cases) {
  ASSERT_EQ(verify(p, good).reason, "");
  for (const auto& c : cases) {
    Answer spoiled = good;
    c.spoil(spoiled);
    const auto v = verify(p, spoiled);
    EXPECT_FALSE(v.accepted) << c.reason;
    EXPECT_EQ(v.reason, c.reason);
  }
}

std::vector<affine_piece>& pieces_of(solution& s) {
  if (auto* c = std::get_if<boundary_certificate>(&s.proof)) return c->pieces;
  return std::get<convex_certificate>(s.proof).pieces;
}
branch_certificate& tree_of(solution& s) { return std::get<branch_certificate>(s.proof); }

// ----- One facility -----

TEST(Refusals, OfAnyPlace) {
  const problem p(kSites, {kHexagon}, order_weights::centre());
  expect_reasons<problem, solution>(
      p, minimise(p),
      {
          {"the point is not finite", [](auto& s) { s.point.x = kNan; }},
          {"the point is too large", [](auto& s) { s.point.y = 1e200; }},
          {"the value is not finite", [](auto& s) { s.value = kInfinite; }},
          {"the lower bound is not finite", [](auto& s) { s.lower_bound = kNan; }},
          {"the exact point is not a pair of fractions",
           [](auto& s) {
             s.exact = {"1/0", "2"};
           }},
          {"the exact point is not a pair of fractions",
           [](auto& s) {
             s.exact = {"1", "2.5"};
           }},
          {"the point does not stand for the exact one",
           [](auto& s) {
             s.exact = {"1", "9" + std::string(200, '0')};
           }},
          {"the point does not stand for the exact one",
           [](auto& s) {
             s.exact = {"1", "2"};
           }},
          {"no certificate", [](auto& s) { s.proof = {}; }},
          {"a direction, but not unbounded",
           [](auto& s) {
             s.proof = direction_certificate{{1, 0}};
           }},
          {"called far away, but by no certificate that tells",
           [](auto& s) { s.status = solution_status::far_away; }},
          {"called unbounded, but without a direction",
           [](auto& s) {
             s.status = solution_status::unbounded;
             s.value = s.lower_bound = -kInfinite;
           }},
          {"f does not fall along the direction",
           [](auto& s) {
             s.status = solution_status::unbounded;
             s.value = s.lower_bound = -kInfinite;
             s.proof = direction_certificate{{1, 0}};
           }},
          {"called infeasible or unbounded, but value or bound is not the infinite one",
           [](auto& s) { s.status = solution_status::infeasible; }},
          {"called infeasible, but far away all is permitted",
           [](auto& s) {
             s.status = solution_status::infeasible;
             s.value = s.lower_bound = kInfinite;
           }},
      });
}

TEST(Refusals, OfPolyhedralPieces) {
  const gauge triangle = gauge::polyhedral({{2, 0}, {0, 1}, {-1, -1}});
  const problem p(kSites, {triangle}, order_weights::centre());
  const solution good = minimise(p);
  ASSERT_EQ(std::get<convex_certificate>(good.proof).pieces.size(), 3);
  expect_reasons<problem, solution>(
      p, good,
      {
          {"one to three pieces are needed", [](auto& s) { pieces_of(s).clear(); }},
          {"one to three pieces are needed", [](auto& s) { pieces_of(s).resize(4); }},
          {"piece 1: one edge a site is needed", [](auto& s) { pieces_of(s)[1].edge.pop_back(); }},
          {"piece 2: the gauge of site 3 has no edge 3",
           [](auto& s) { pieces_of(s)[2].edge[3] = 3; }},
          {"piece 0: one rank a site is needed", [](auto& s) { pieces_of(s)[0].rank.pop_back(); }},
          {"piece 0: the ranks are no order: site 4",
           [](auto& s) { pieces_of(s)[0].rank[4] = pieces_of(s)[0].rank[0]; }},
          {"piece 1: no slope for site 5",
           [](auto& s) {
             pieces_of(s)[1].kinks = {{5, {0, 0}}};
           }},
          {"called optimal, but piece 2 is below the value of the place",
           [](auto& s) {
             for (auto& e : pieces_of(s)[2].edge) e = (e + 1) % 3;
           }},
          {"the slope of the only piece is not 0", [](auto& s) { pieces_of(s).resize(1); }},
          {"the slopes of the two pieces are not opposite",
           [](auto& s) { pieces_of(s).resize(2); }},
          {"the slopes of the three pieces do not surround 0",
           [](auto& s) { pieces_of(s)[2] = pieces_of(s)[1]; }},
          {"piece 1: its multiplier is not the one that the slopes determine",
           [](auto& s) { pieces_of(s)[1].multiplier += 1e-3; }},
          {"the value is not that of the point", [](auto& s) { s.value *= 1 + 1e-12; }},
          {"the lower bound is not the one that the certificate proves",
           [](auto& s) { s.lower_bound *= 1 - 1e-12; }},
      });
}

TEST(Refusals, OfSmoothPieces) {
  const problem p(kSites, {gauge::euclidean()}, order_weights::median());
  expect_reasons<problem, solution>(
      p, minimise(p),
      {
          {"a multiplier is negative", [](auto& s) { pieces_of(s)[0].multiplier = -1; }},
          {"all multipliers are 0", [](auto& s) { pieces_of(s)[0].multiplier = 0; }},
          {"the value is not that of the point", [](auto& s) { s.value *= 1 + 1e-12; }},
          {"the lower bound is above the one that the certificate proves",
           [](auto& s) { s.lower_bound = s.value * (1 + 1e-12); }},
          {"the lower bound is above the one that the certificate proves",
           [](auto& s) { pieces_of(s)[0].taken_at.x += 0.5; }},
          {"called optimal, but the gap is larger than that",
           [](auto& s) { s.lower_bound *= 1 - 1e-9; }},
      });
}

TEST(Refusals, OfPiecesWhereFIsNotConvex) {
  const problem p(kSites, {kHexagon}, order_weights::range());
  solution s = minimise(problem(kSites, {kHexagon}, order_weights::median()));
  EXPECT_EQ(verify(p, s).reason, "a certificate of convex problems, but f is not convex");
}

TEST(Refusals, OfTriangles) {
  const problem p(kSites, {kHexagon}, order_weights::trimmed_mean(1, 1));
  const solution good = minimise(p);
  ASSERT_TRUE(std::holds_alternative<branch_certificate>(good.proof));
  expect_reasons<problem, solution>(
      p, good,
      {
          {"no square", [](auto& s) { tree_of(s).half = 0; }},
          {"no square", [](auto& s) { tree_of(s).half = kNan; }},
          {"the base of the square is not finite", [](auto& s) { tree_of(s).base.y = kInfinite; }},
          {"the axes are no two directions",
           [](auto& s) {
             tree_of(s).axes = {{1, 1}, {2, 2}};
           }},
          {"an axis is not finite", [](auto& s) { tree_of(s).axes.across.x = kNan; }},
          {"places far away count in the axes of the plane",
           [](auto& s) {
             tree_of(s).to_infinity = true;
             tree_of(s).axes.along = {2, 0};
           }},
          {"the square has too many digits",
           [](auto& s) {
             tree_of(s).axes = {{1.0 / 3, 1e-9}, {1e-9, 1.0 / 7}};
           }},
          {"a side of the square is no triangle",
           [](auto& s) { tree_of(s).outside.back() = reason::exact; }},
          {"there are more reasons than triangles",
           [](auto& s) { tree_of(s).outside.push_back(reason::bound); }},
          {"there are more reasons than triangles",
           [](auto& s) { tree_of(s).cells.push_back(reason::bound); }},
          {"triangles without a reason", [](auto& s) { tree_of(s).cells.pop_back(); }},
          {"triangles without a reason", [](auto& s) { tree_of(s).outside.pop_back(); }},
          {"f is not negative, but the bound is more",
           [](auto& s) {
             tree_of(s).cells.clear();
             tree_of(s).outside.clear();
           }},
          {"the sites do not lie at one place", [](auto& s) { tree_of(s).cells.clear(); }},
          {"triangle 0: its bound is too low",
           [](auto& s) {
             tree_of(s).cells = {reason::bound, reason::bound};
           }},
          {"triangle 0: no such reason",
           [](auto& s) { tree_of(s).cells[0] = static_cast<reason>(9); }},
          {"triangle 0: not all of it is forbidden",
           [](auto& s) { tree_of(s).cells[0] = reason::forbidden; }},
          {"called optimal, but the gap is not 0", [](auto& s) { s.lower_bound -= 1e-9; }},
          {"the value is not that of the point", [](auto& s) { s.value += 1e-9; }},
          {"called far away, but the place is not",
           [](auto& s) { s.status = solution_status::far_away; }},
      });
}

TEST(Refusals, OfSmoothTriangles) {
  const problem p(kSites, {gauge::euclidean()}, order_weights::trimmed_mean(1, 1));
  expect_reasons<problem, solution>(
      p, minimise(p),
      {
          {"nothing is said of places outside of the square",
           [](auto& s) { tree_of(s).outside.clear(); }},
          {"exact triangles need polyhedral gauges",
           [](auto& s) {
             tree_of(s).cells = {reason::exact, reason::exact};
           }},
          {"called optimal, but the gap is not closed", [](auto& s) { s.lower_bound *= 0.999; }},
      });
}

TEST(Refusals, OfPlacesFarAway) {
  const problem p({{0, 3}, {3, 0}, {4, 7}, {8, 4}, {4.5, 4.25}}, {gauge::euclidean()},
                  order_weights::range());
  const solution good = minimise(p);
  ASSERT_TRUE(std::get<branch_certificate>(good.proof).to_infinity);
  expect_reasons<problem, solution>(
      p, good,
      {
          {"there are more reasons than places outside",
           [](auto& s) { tree_of(s).outside.push_back(reason::bound); }},
          {"places outside without a reason", [](auto& s) { tree_of(s).outside.pop_back(); }},
          {"no such reason outside of the square",
           [](auto& s) { tree_of(s).outside[0] = reason::exact; }},
          {"the square does not hold the sites", [](auto& s) { tree_of(s).half = 1e-3; }},
      });
}

TEST(Refusals, OfBordersOfRegions) {
  for (const gauge& g : {kHexagon, gauge::euclidean()}) {
    const problem p(kSites, {g}, order_weights::median(), kLake);
    const solution good = minimise(p);
    ASSERT_TRUE(std::holds_alternative<boundary_certificate>(good.proof));
    const auto outside = [](solution& s) -> exact_point& {
      return std::get<boundary_certificate>(s.proof).outside;
    };
    expect_reasons<problem, solution>(
        p, good,
        {
            {"no pieces", [](auto& s) { pieces_of(s).clear(); }},
            {"the place outside is permitted",
             [&](auto& s) {
               outside(s) = {"2", "2"};
             }},
            {"the place outside is not a pair of fractions",
             [&](auto& s) {
               outside(s) = {"x", "2"};
             }},
            {"f is above the bound at the place outside",
             [&](auto& s) {
               outside(s) = {"21/10", "21/10"};
             }},
            {"the place is not permitted",
             [](auto& s) {
               s.point = {4, 4};
               s.exact = {};
             }},
            {"the value is not that of the point", [](auto& s) { s.value *= 1 + 1e-9; }},
        });
  }
}

TEST(Refusals, OfNoPermittedPlace) {
  const std::vector<ring> island = {{{3, 3}, {4, 3}, {4, 4}, {3, 4}}};
  const auto within = [&](const region_polygon& lake) {
    return problem(kSites, {kHexagon}, order_weights::median(), regions{region{island}, {lake}});
  };
  const solution none = minimise(within(kLake.forbidden[0]));
  EXPECT_EQ(none.status, solution_status::infeasible);
  EXPECT_EQ(verify(within({{{2, 2}, {3.5, 2}, {3.5, 5}, {2, 5}}}), none).reason,
            "called infeasible, but not all of side 0 of allowed polygon 0 is forbidden");
}

// ----- Several facilities -----

TEST(Refusals, OfTiedFacilities) {
  const std::vector<tied_site> sites = {{0, 3}, {3, 0}, {4, 7}, {8, 4}, {4.5, 4.25}};
  const auto tied = [&](const gauge& g) {
    return tied_problem(2, sites, {g}, {1, 2, 1, 0, 1, 0, 1, 1, 3, 1}, {{0, 1, 0.5}});
  };
  const tied_problem p = tied(kHexagon);
  std::vector<refused<tied_solution>> cases = {
      {"one point a facility is needed", [](auto& s) { s.points.pop_back(); }},
      {"one edge a facility and site is needed", [](auto& s) { s.proof.edge.pop_back(); }},
      {"one slope a tie is needed", [](auto& s) { s.proof.ties.clear(); }},
      {"tie 0: no slope", [](auto& s) { s.proof.ties[0].rounded.x = kNan; }},
      {"facility 2 and site 0 do not exist",
       [](auto& s) {
         s.proof.bends = {{2, 0, {}}};
       }},
      {"facility 0 and site 1: more than one slope",
       [](auto& s) {
         s.proof.bends = {{0, 1, {}}, {0, 1, {}}};
       }},
      {"tied facilities are neither infeasible nor unbounded",
       [](auto& s) { s.status = solution_status::unbounded; }},
  };
  const tied_problem round = tied(gauge::euclidean());
  expect_reasons<tied_problem, tied_solution>(round, minimise(round), cases);
  cases.insert(
      cases.end(),
      {
          {"one exact point a facility is needed", [](auto& s) { s.exact.resize(1); }},
          {"facility 1 and site 2: the gauge has no edge 6", [](auto& s) { s.proof.edge[7] = 6; }},
          {"tie 0: the slope is too steep for the gauge",
           [](auto& s) {
             s.proof.ties[0] = {{9, 9}, {}};
           }},
          {"the slopes of facility 0 do not cancel",
           [](auto& s) {
             s.proof.ties[0] = {{0.0625, 0.0625}, {}};
           }},
          {"the value is not that of the points", [](auto& s) { s.value *= 1 + 1e-12; }},
          {"the lower bound is not the one that the certificate proves",
           [](auto& s) { s.lower_bound *= 1 - 1e-12; }},
      });
  expect_reasons(p, minimise(p), cases);
}

TEST(Refusals, OfAllocations) {
  const allocation_problem p(kSites, {gauge::l1()}, 3, {{9, 9}});
  allocate_options options;
  options.lower_bound = true;
  expect_reasons<allocation_problem, allocation>(
      p, allocate(p, options),
      {
          {"one facility a site is needed", [](auto& a) { a.assignment.pop_back(); }},
          {"one price a site is needed", [](auto& a) { a.prices.pop_back(); }},
          {"the price of site 2 is not finite", [](auto& a) { a.prices[2] = kNan; }},
          {"the price of site 2 is too large", [](auto& a) { a.prices[2] = -1e200; }},
      });
}

// ----- Two criteria -----

const bicriteria_problem kTwice({{0, 8, 3, 0}, {2, 2, 1, 3}, {10, 2, 0, 4}, {14, 8, 1, 1}},
                                {kHexagon});

TEST(Refusals, OfChains) {
  expect_reasons<bicriteria_problem, efficient_chain>(
      kTwice, efficient_set(kTwice),
      {
          {"not a complete chain", [](auto& c) { c.status = efficient_status::stopped; }},
          {"pieces are missing: their number is even", [](auto& c) { c.pieces.pop_back(); }},
          {"piece 2: no corner", [](auto& c) { c.pieces[2].corners.clear(); }},
          {"piece 2: a corner is not where its lines cross",
           [](auto& c) { c.pieces[2].corners[0].at.x += 1e-9; }},
          {"piece 3: a value is not that of the corner",
           [](auto& c) { c.pieces[3].corners[1].value2 *= 1 + 1e-12; }},
          {"piece 1: an edge without length",
           [](auto& c) { c.pieces[1].corners[1] = c.pieces[1].corners[0]; }},
          {"piece 1: t is not that of the values",
           [](auto& c) { c.pieces[1].t_low = c.pieces[1].t_high = 0.25; }},
          {"piece 2: its interval of t is not the one between its neighbours",
           [](auto& c) { c.pieces[2].t_high = 0.5; }},
          {"the curve has not one place a piece with an interval of t",
           [](auto& c) { c.curve.pop_back(); }},
          {"place 1 of the curve is not that of its piece",
           [](auto& c) { c.curve[1].value1 += 1e-9; }},
          {"piece 0: the chain goes on from here",
           [](auto& c) {
             c.pieces.erase(c.pieces.begin(), c.pieces.begin() + 2);
             c.pieces[0].t_low = 0;
           }},
          {"piece 4: the chain goes on from here",
           [](auto& c) {
             c.pieces.resize(c.pieces.size() - 2);
             c.pieces.back().t_high = 1;
           }},
          {"piece 2: the criteria are not constant",
           [](auto& c) { c.pieces[2].corners = c.pieces[1].corners; }},
          {"piece 1: one criterion does not fall as the other rises",
           [](auto& c) { c.pieces[1].corners.resize(1); }},
      });
  const efficient_chain c = efficient_set(kTwice);
  const bicriteria_problem other({kTwice.sites().begin(), kTwice.sites().end()},
                                 {gauge::euclidean()});
  EXPECT_EQ(verify(other, c).reason,
            "a chain of plain sums under polyhedral gauges, but the problem is another");
}

TEST(Refusals, OfPolylines) {
  expect_reasons<bicriteria_problem, efficient_polyline>(
      kTwice, approximate_efficient_set(kTwice, 1e-3),
      {
          {"no point", [](auto& l) { l.points.clear(); }},
          {"no bound", [](auto& l) { l.bounds.clear(); }},
          {"point 1 is not finite", [](auto& l) { l.points[1].at.x = kNan; }},
          {"point 1: a value is not that of the place",
           [](auto& l) { l.points[1].value1 *= 1 + 1e-9; }},
          {"point 1: not more of the first criterion and less of the second",
           [](auto& l) { l.points[1] = l.points[0]; }},
          {"bound 1: factors or bound are not numbers from 0 up",
           [](auto& l) { l.bounds[1].factor1 = -1; }},
          {"bound 1: factors or bound are not numbers from 0 up",
           [](auto& l) { l.bounds[1].bound = kInfinite; }},
          {"bound 1: a cut that does not exist",
           [](auto& l) { l.bounds[1].shares[0].first = 9999; }},
          {"bound 1: a multiplier is negative", [](auto& l) { l.bounds[1].shares[0].second = -1; }},
          {"bound 1: no cut", [](auto& l) { l.bounds[1].shares.clear(); }},
          {"bound 1 is above the one that its cuts prove",
           [](auto& l) { l.bounds[1].bound *= 1.001; }},
          {"bound 1 does not turn towards the second criterion",
           [](auto& l) { l.bounds[1] = l.bounds[0]; }},
          {"the distance is more than the stated one", [](auto& l) { l.distance = 0; }},
      });
}

}  // namespace
}  // namespace planloc
