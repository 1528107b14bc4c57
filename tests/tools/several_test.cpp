// `planloc depots` and `compare` against enumeration.
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/tools/tool_run.h"

namespace {

using nlohmann::json;

class SeveralFacilities : public ToolRun {};

struct place {
  double x, y;
};

const std::vector<place> kTowns = {{0, 0},  {2, 1},   {1, 3},  {9, 8},
                                   {11, 9}, {10, 12}, {20, 1}, {21, 4}};

std::string csv_of(const std::vector<place>& places) {
  std::string text = "x,y,weight,first,second\n";
  for (std::size_t i = 0; i < places.size(); ++i) {
    text += std::to_string(places[i].x) + "," + std::to_string(places[i].y) + "," +
            std::to_string(1 + i % 2) + "," + std::to_string(1 + i % 3) + "," +
            std::to_string((i + 1) % 4) + "\n";
  }
  return text;
}

double l1(const place& a, double x, double y) { return std::fabs(a.x - x) + std::fabs(a.y - y); }

// With l1 distances some best depots have coordinates of sites, so trying all pairs is enough.
TEST_F(SeveralFacilities, TwoDepotsAreTheBestPairOfAll) {
  write("s.csv", csv_of(kTowns));
  write("there.csv", "name,x,y\nOld,9,8\n");
  std::vector<place> candidates;
  for (const place& a : kTowns) {
    for (const place& b : kTowns) candidates.push_back({a.x, b.y});
  }
  const auto cost = [&](const std::vector<place>& depots) {
    double sum = 0;
    for (std::size_t i = 0; i < kTowns.size(); ++i) {
      double least = HUGE_VAL;
      for (const place& d : depots) least = std::min(least, l1(kTowns[i], d.x, d.y));
      sum += static_cast<double>(1 + i % 2) * least;
    }
    return sum;
  };
  double best = HUGE_VAL;
  double best_with_old = HUGE_VAL;
  for (const place& a : candidates) {
    for (const place& b : candidates) best = std::min(best, cost({a, b}));
    best_with_old = std::min(best_with_old, cost({a, {9, 8}}));
  }
  const json two = answer("depots s.csv --new 2 --gauge l1 --format json");
  EXPECT_NEAR(two["value"], best, 1e-9);
  const json old = answer("depots s.csv --new 1 --existing there.csv --gauge l1 --format json");
  EXPECT_NEAR(old["value"], best_with_old, 1e-9);
  ASSERT_EQ(old["points"].size(), 1);
  for (std::size_t i = 0; i < kTowns.size(); ++i) {
    const std::size_t k = old["assignment"][i];
    const double mine =
        k == 0 ? l1(kTowns[i], old["points"][0][0], old["points"][0][1]) : l1(kTowns[i], 9, 8);
    const double other =
        k == 1 ? l1(kTowns[i], old["points"][0][0], old["points"][0][1]) : l1(kTowns[i], 9, 8);
    EXPECT_LE(mine, other + 1e-9);
  }
  write("degrees.csv", "lon,lat\n1,2\n");
  EXPECT_NE(planloc("depots s.csv --new 1 --existing degrees.csv").err.find("the sites are planar"),
            std::string::npos);
  EXPECT_NE(planloc("depots s.csv --new 1 --existing there.csv --gauge l1").out.find("Old"),
            std::string::npos);
  EXPECT_EQ(planloc("depots s.csv --new 3 --time-limit 0.01").status, 0);
  EXPECT_EQ(planloc("depots s.csv").status, 2);
  EXPECT_EQ(planloc("depots s.csv --new 0").status, 2);
}

TEST_F(SeveralFacilities, TiedDepotsAreTheBestOfAllPairs) {
  write("s.csv", csv_of(kTowns));
  write("flow.csv", "0,2.5\n7,0\n");
  double best = HUGE_VAL;
  for (const place& a : kTowns) {
    for (const place& b : kTowns) {
      for (const place& c : kTowns) {
        for (const place& d : kTowns) {
          double sum = 2.5 * l1({a.x, b.y}, c.x, d.y);
          for (std::size_t i = 0; i < kTowns.size(); ++i) {
            sum += static_cast<double>(1 + i % 3) * l1(kTowns[i], a.x, b.y) +
                   static_cast<double>((i + 1) % 4) * l1(kTowns[i], c.x, d.y);
          }
          best = std::min(best, sum);
        }
      }
    }
  }
  const json j =
      answer("depots s.csv --share first,second --flow flow.csv --gauge l1 --format json");
  EXPECT_EQ(j["status"], "optimal");
  EXPECT_NEAR(j["value"], best, 1e-9);
  EXPECT_EQ(j["gap"], 0.0);
  EXPECT_TRUE(j["assignment"].is_null());
  const struct {
    const char* flow;
    const char* options;
    int status;
    const char* message;
  } cases[] = {
      {"0,1,2\n3,0,1\n", "", 1, "flow.csv:1: 3 numbers: expected 2"},
      {"0,1\n", "", 1, "1 rows: expected 2"},
      {"0,x\n0,0\n", "", 1, "flow.csv:1: 'x' is not a flow"},
      {"0,-1\n0,0\n", "", 1, "'-1' is not a flow"},
      {"0,1\n0,0\n", "--new 3", 2, "--share names 2 columns"},
  };
  for (const auto& c : cases) {
    write("flow.csv", c.flow);
    const result r = planloc(
        std::string("depots s.csv --gauge l1 --share first,second --flow flow.csv ") + c.options);
    EXPECT_EQ(r.status, c.status) << c.flow;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
  }
}

TEST_F(SeveralFacilities, NothingBeatsAnEfficientPlace) {
  write("s.csv", csv_of(kTowns));
  const auto values = [](double x, double y, bool round) {
    double first = 0;
    double second = 0;
    for (std::size_t i = 0; i < kTowns.size(); ++i) {
      const double d = round ? std::hypot(kTowns[i].x - x, kTowns[i].y - y) : l1(kTowns[i], x, y);
      first += static_cast<double>(1 + i % 3) * d;
      second += static_cast<double>((i + 1) % 4) * d;
    }
    return std::pair(first, second);
  };
  for (const bool round : {false, true}) {
    const json j =
        answer(std::string("compare s.csv --weights first,second --format json --gauge ") +
               (round ? "euclid --gap 1e-6" : "l1"));
    EXPECT_EQ(j["status"], round ? "within_gap" : "optimal");
    ASSERT_FALSE(j["pieces"].empty());
    const json* before = nullptr;
    for (const json& piece : j["pieces"]) {
      const double t = piece["t"];
      ASSERT_EQ(piece["corners"].size(), piece["values"].size());
      for (std::size_t k = 0; k < piece["corners"].size(); ++k) {
        const json& c = piece["corners"][k];
        const auto [first, second] = values(c[0], c[1], round);
        EXPECT_NEAR(piece["values"][k][0], first, 1e-9 * first);
        EXPECT_NEAR(piece["values"][k][1], second, 1e-9 * second);
        if (round) continue;
        // Each corner is optimal for its weighting: no site's coordinates are better.
        for (const place& a : kTowns) {
          for (const place& b : kTowns) {
            const auto [f, s] = values(a.x, b.y, false);
            EXPECT_GE((1 - t) * f + t * s, (1 - t) * first + t * second - 1e-9);
          }
        }
      }
      if (before != nullptr) {  // neighbours have a corner in common
        bool common = false;
        for (const json& c : piece["corners"]) {
          common = common || std::find((*before)["corners"].begin(), (*before)["corners"].end(),
                                       c) != (*before)["corners"].end();
        }
        EXPECT_TRUE(common);
      }
      before = &piece;
    }
  }
  EXPECT_EQ(planloc("compare s.csv --weights first").status, 2);
  EXPECT_EQ(planloc("compare s.csv --weights first,third").status, 1);
}

}  // namespace
