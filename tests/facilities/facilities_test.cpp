#include "planloc/facilities/facilities.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "tests/model/own_process.h"

namespace planloc {
namespace {

location at(double x, double y, double w) { return location(2.0, 1.0, x, y, w); }

facilities of(const std::vector<location>& locations) {
  facilities F;
  for (const location& a : locations) F.append(a);
  return F;
}

// With a result and a name, to see what becomes of them.
facilities solved(const std::vector<location>& locations) {
  facilities F = of(locations);
  F.opt.append(at(7, 7, 0));
  F.set_name(0, "A");
  return F;
}

std::string shown(const facilities& F) {
  std::ostringstream out;
  F.print(out);
  return out.str();
}

const location kA = at(0, 0, 1);
const location kB = at(4, 0, 2);
const location kC = at(2, 3, 1.5);

TEST(Facilities, AccessByNumber) {
  const facilities F = of({kA, kB, kC});
  EXPECT_EQ(F.location(2), kC);
  for (int i : {-1, 3, 5}) EXPECT_EQ(F.location(i), location(2, 1));
  EXPECT_EQ(facilities().location(0), location(2, 1));
  EXPECT_EQ(shown(F), "0 0  1 \n4 0  2 \n2 3  1.5 \n");
}

TEST(Facilities, IndexOfLooksAtTheFirstOnlyAndContainsAtAllCoordinates) {
  const facilities F = of({kA, kB, kC, kB});
  EXPECT_EQ(F.index_of(kA), 0);
  EXPECT_EQ(F.index_of(kC), 4);
  EXPECT_EQ(F.index_of(at(0, 0, 9)), 4);
  EXPECT_EQ(facilities().index_of(kA), 0);
  EXPECT_TRUE(F.contains(at(2, 3, 99)));
  EXPECT_FALSE(F.contains(at(2, 2, 1.5)));
  EXPECT_FALSE(F.contains(location(3.0, 1.0, 0.0, 0.0, 0.0, 1.0)));
}

TEST(Facilities, RemoveKeepsResultsAtTheEndsOnly) {
  const auto expect_left = [](std::vector<location> before, auto what, std::vector<location> left,
                              int results) {
    facilities F = solved(before);
    F.remove(what);
    EXPECT_EQ(shown(F), shown(of(left)));
    EXPECT_EQ(F.opt.size(), results);
    EXPECT_EQ(F.names.size(), results);
  };
  expect_left({kA, kB, kA, kC}, kA, {kB, kA, kC}, 1);
  expect_left({kA, kB, kC, kB}, kB, {kA, kB, kC}, 1);
  expect_left({kA, kB, kB, kC}, kB, {kA, kC}, 0);
  expect_left({kA, kB, kC}, at(4, 0, 3), {kA, kB, kC}, 0);
  expect_left({kA, kB, kC}, 0, {kB, kC}, 1);
  expect_left({kA, kB, kC}, 2, {kA, kB}, 1);
  expect_left({kA, kB, kC}, 1, {kA, kC}, 0);
  expect_left({kA}, 0, {}, 1);
}

TEST(Facilities, NamesGrowOnDemand) {
  facilities F = of({kA, kB, kC});
  F.set_name(F.get_item(1), "B");
  EXPECT_EQ(F.names, (list<string>{"", "B"}));
  F.set_name(0, "A");
  EXPECT_EQ(F.name(1), string("B"));
  EXPECT_EQ(F.name(F.last()), string(""));
  EXPECT_EQ(F.names, (list<string>{"A", "B", ""}));
  F.refname(3) = "nobody";
  EXPECT_EQ(F.names.size(), 4);
  EXPECT_EQ(F.name(3), string("nobody"));
}

TEST(Facilities, ShapeReadsTheFirstFacility) {
  facilities F = of({location(3.0, 2.0, 3.0, -7.0, 0.0, 1.0, 2.0),
                     location(3.0, 2.0, 1.0, -5.0, 0.0, 10.0, 20.0)});
  EXPECT_EQ(F.dimension(), 3);
  EXPECT_EQ(F.weight_count(), 2);
  EXPECT_EQ(F.total_weights(), Loc_Vector(2.0, 11.0, 22.0));
  EXPECT_EQ(F.max_coordinate(1), -5.0);
  EXPECT_EQ(F.min_coordinate(0), 1.0);
  EXPECT_EQ(F.extent(0), 2.0);
  F.append(at(0, 0, 100));  // another number of weights
  EXPECT_EQ(F.total_weights(), Loc_Vector(2.0, 11.0, 22.0));
}

TEST(Facilities, MergedJoinsNeighbours) {
  const facilities F = of({at(1, 5, 1), at(1, 6, 2), at(2, 7, 4), at(1, 8, 8), at(1, 5, 16)});
  EXPECT_EQ(shown(F.merged(0, 0)), "1 5  3 \n2 7  4 \n1 8  24 \n");
  EXPECT_EQ(shown(F.merged(1, 0)), shown(F));
  EXPECT_TRUE(facilities().merged(0, 0).empty());
}

TEST(Facilities, TurnedFrameExchangesTheNorms) {
  const facilities F = solved({at(3, -8, 1), at(-5, 1, 2)});
  const location d = F.location(0) - F.location(1);
  facilities to = F;
  to.to_turned_frame();
  EXPECT_EQ((to.location(0) - to.location(1)).norm(1), d.norm(-1));
  EXPECT_EQ(to.opt, F.opt);
  facilities from = F;
  from.from_turned_frame();
  EXPECT_EQ((from.location(0) - from.location(1)).norm(-1), d.norm(1));
  to.from_turned_frame();
  EXPECT_EQ(shown(to), shown(F));
}

TEST(Facilities, TurnLocationSetsEveryWeightToTheFirst) {
  location l(3.0, 2.0, 5.0, 2.0, 9.0, 7.0, 8.0);
  turn_location(l);
  EXPECT_EQ(l, location(2.0, 2.0, 3.0, 7.0, 7.0, 7.0));
}

TEST(Facilities, EvaluatesResults) {
  facilities F =
      of({location(2.0, 2.0, 0.0, 0.0, 1.0, 10.0), location(2.0, 2.0, 3.0, 4.0, 2.0, 20.0)});
  const location x = at(0, 0, 0);
  EXPECT_DOUBLE_EQ(F.objective(1, x, 0), 14.0);
  EXPECT_DOUBLE_EQ(F.objective(2, x, 0), 10.0);
  EXPECT_DOUBLE_EQ(F.objective(-1, x, 1), 80.0);
  EXPECT_EQ(F.objective(0, x, 0), 0.0);
  F.opt = {at(0, 0, 0), at(3, 4, 1), at(9, 9, 1)};
  EXPECT_DOUBLE_EQ(F.result_value(2, 0), 10.0);
  EXPECT_DOUBLE_EQ(F.labelled_value(2, 1), 50.0);
  std::ostringstream out;
  F.write_results(out);
  EXPECT_EQ(out.str(),
            "begin{polygonlist}\n0 0 \nbegin{polygon}\n3 4 \n9 9 \nend{polygon}\n"
            "end{polygonlist}\n");
}

TEST(Facilities, Failures) {
  facilities F = of({kA, kB});
  facilities solved_with_label_1 = F;
  solved_with_label_1.opt.append(at(0, 0, 1));
  const facilities other = of({kA});
  const auto no_result = [](int code) { return reported(code, "Solve a problem first."); };
  const Outcome no_number =
      reported(1305, "facilities::remove(): There is no corresponding location for idx");
  EXPECT_EQ(in_own_process([&] { F.labelled_value(2, 0); }), no_result(1301));
  EXPECT_EQ(in_own_process([&] { F.result_value(2, 0); }), no_result(1303));
  EXPECT_EQ(in_own_process([&] { F.write_results(); }), no_result(1304));
  EXPECT_EQ(in_own_process([&] { solved_with_label_1.labelled_value(2, 0); }),
            reported(1302, "Indetermined weight criterion. Check number of weights."));
  EXPECT_EQ(in_own_process([&] { F.remove(-1); }), no_number);
  EXPECT_EQ(in_own_process([&] { F.remove(2); }), no_number);
  for (list_item stranger : {other.first(), list_item()}) {
    EXPECT_EQ(in_own_process([&] { F.refname(stranger); }),
              reported(1334, "facilities::refname(): location isn't an item of this object"));
  }
  EXPECT_EQ(in_own_process([&] { F.refname(3); }),
            reported(1335, "facilities::refname(): location out of range"));
  EXPECT_EQ(in_own_process([&] { facilities().dimension(); }),
            aborted("dlist::head(): empty list"));
}

}  // namespace
}  // namespace planloc
