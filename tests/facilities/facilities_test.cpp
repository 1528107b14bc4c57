#include "planloc/facilities/facilities.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "tests/facilities/site_families.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

const location kA = site(0, 0, 1);
const location kB = site(4, 0, 2);
const location kC = site(2, 3, 1.5);

TEST(Facilities, Access) {
  const facilities F = sites_of({kA, kB, kC, kB});
  EXPECT_EQ(F.location(2), kC);
  for (int i : {-1, 4, 5}) EXPECT_EQ(F.location(i), location(2, 1));
  EXPECT_EQ(facilities().location(0), location(2, 1));
  std::ostringstream out;
  F.print(out);
  EXPECT_EQ(out.str(), "0 0  1 \n4 0  2 \n2 3  1.5 \n4 0  2 \n");
  // The first one only.
  EXPECT_EQ(F.index_of(kA), 0);
  for (const location& a : {kC, site(0, 0, 9)}) EXPECT_EQ(F.index_of(a), 4);
  EXPECT_EQ(facilities().index_of(kA), 0);
  // All coordinates.
  EXPECT_TRUE(F.contains(site(2, 3, 99)));
  EXPECT_FALSE(F.contains(site(2, 2, 1.5)) || F.contains(location(3, 1)));
}

TEST(Facilities, RemoveKeepsResultsAtTheEndsOnly) {
  const auto expect_left = [](const std::vector<location>& before, auto what,
                              const std::vector<location>& left, int results) {
    facilities F = sites_of(before);
    F.opt.append(site(7, 7, 0));
    F.set_name(0, "A");
    F.remove(what);
    EXPECT_EQ(shown(F), shown(sites_of(left)));
    EXPECT_EQ(F.opt.size(), results);
    EXPECT_EQ(F.names.size(), results);
  };
  expect_left({kA, kB, kA, kC}, kA, {kB, kA, kC}, 1);
  expect_left({kA, kB, kC, kB}, kB, {kA, kB, kC}, 1);
  expect_left({kA, kB, kB, kC}, kB, {kA, kC}, 0);
  expect_left({kA, kB, kC}, site(4, 0, 3), {kA, kB, kC}, 0);
  expect_left({kA, kB, kC}, 0, {kB, kC}, 1);
  expect_left({kA, kB, kC}, 2, {kA, kB}, 1);
  expect_left({kA, kB, kC}, 1, {kA, kC}, 0);
  expect_left({kA}, 0, {}, 1);
}

TEST(Facilities, NamesGrowOnDemand) {
  facilities F = sites_of({kA, kB, kC});
  F.set_name(F.get_item(1), "B");
  EXPECT_EQ(F.names, (list<string>{"", "B"}));
  F.set_name(0, "A");
  EXPECT_EQ(F.name(F.last()), string(""));
  EXPECT_EQ(F.names, (list<string>{"A", "B", ""}));
  F.refname(3) = "nobody";
  EXPECT_EQ(F.names, (list<string>{"A", "B", "", "nobody"}));
}

TEST(Facilities, ShapeReadsTheFirstFacility) {
  facilities F = sites_of({location(3.0, 2.0, 3.0, -7.0, 0.0, 1.0, 2.0),
                           location(3.0, 2.0, 1.0, -5.0, 0.0, 10.0, 20.0)});
  EXPECT_EQ(F.dimension(), 3);
  EXPECT_EQ(F.max_coordinate(1), -5.0);
  EXPECT_EQ(F.extent(0), 3.0 - 1.0);
  F.append(site(1, -7, 100));  // another number of weights
  EXPECT_EQ(F.total_weights(), Loc_Vector(2.0, 11.0, 22.0));
}

TEST(Facilities, MergedJoinsNeighbours) {
  const facilities F = sites_of(
      {site(1, 5, 0, 1), site(1, 6, 5, 2), site(2, 7, 0, 4), site(1, 8, 0, 8), site(1, 5, 0, 16)});
  EXPECT_EQ(shown(F.merged(0, 1)),
            shown(sites_of({site(1, 5, 0, 3), site(2, 7, 0, 4), site(1, 8, 0, 24)})));
  EXPECT_EQ(shown(F.merged(1, 0)), shown(F));
  EXPECT_TRUE(facilities().merged(0, 0).empty());
}

TEST(Facilities, TurnedFrame) {
  facilities F = sites_of({site(3, -8, 1)});
  F.opt.append(kB);
  F.to_turned_frame();
  EXPECT_EQ(F.head(), site(-2.5, -5.5, 1));
  F.from_turned_frame();
  EXPECT_EQ(F.head(), site(3, -8, 1));
  EXPECT_EQ(F.opt.head(), kB);
  // Every weight becomes the first.
  location l(3.0, 2.0, 5.0, 2.0, 9.0, 7.0, 8.0);
  turn_location(l);
  EXPECT_EQ(l, site(3, 7, 7, 7));
}

TEST(Facilities, EvaluatesResults) {
  facilities F = sites_of({site(0, 0, 1, 10), site(3, 4, 2, 20)});
  const location x = site(0, 0, 0);
  EXPECT_DOUBLE_EQ(F.objective(1, x, 0), 14.0);
  EXPECT_DOUBLE_EQ(F.objective(-1, x, 1), 80.0);
  EXPECT_EQ(F.objective(0, x, 0), 0.0);
  F.append(location(3.0, 2.0, 5.0, 5.0, 5.0, 5.0, 5.0));  // of another dimension: no distance
  F.opt = {x, site(3, 4, 1), site(9, 9, 1)};
  EXPECT_DOUBLE_EQ(F.result_value(2, 0), 10.0);
  EXPECT_DOUBLE_EQ(F.labelled_value(2, 1), 50.0);
  std::ostringstream out;
  F.write_results(out);
  EXPECT_EQ(out.str(),
            "begin{polygonlist}\n0 0 \nbegin{polygon}\n3 4 \n9 9 \nend{polygon}\n"
            "end{polygonlist}\n");
}

TEST(Facilities, Failures) {
  facilities F = sites_of({kA, kB});
  facilities solved_with_label_1 = F;
  solved_with_label_1.opt.append(site(0, 0, 1));
  const facilities other = sites_of({kA});
  const std::string unsolved = "Solve a problem first.";
  const std::string no_number = "facilities::remove(): There is no corresponding location for idx";
  const std::string stranger = "facilities::refname(): location isn't an item of this object";
  const struct {
    std::function<void()> call;
    Outcome outcome;
  } cases[] = {
      {[&] { F.labelled_value(2, 0); }, reported(1301, unsolved)},
      {[&] { F.result_value(2, 0); }, reported(1303, unsolved)},
      {[&] { F.write_results(); }, reported(1304, unsolved)},
      {[&] { solved_with_label_1.labelled_value(2, 0); },
       reported(1302, "Indetermined weight criterion. Check number of weights.")},
      {[&] { F.remove(-1); }, reported(1305, no_number)},
      {[&] { F.remove(2); }, reported(1305, no_number)},
      {[&] { F.refname(other.first()); }, reported(1334, stranger)},
      {[&] { F.refname(list_item()); }, reported(1334, stranger)},
      {[&] { F.refname(3); }, reported(1335, "facilities::refname(): location out of range")},
      {[&] { facilities().dimension(); }, aborted("dlist::head(): empty list")},
  };
  for (const auto& c : cases) EXPECT_EQ(in_own_process(c.call), c.outcome);
}

}  // namespace
}  // namespace planloc
