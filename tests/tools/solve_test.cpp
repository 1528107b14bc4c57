// Answers of `planloc solve` against computations that share nothing with it.
#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "tests/tools/tool_run.h"

namespace {

using nlohmann::json;

class SolveTool : public ToolRun {};

struct place {
  double x, y, weight;
};

std::vector<place> random_places(int n, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> coordinate(0, 40);
  std::vector<place> places;
  for (int i = 0; i < n; ++i) {
    places.push_back({double(coordinate(random)), double(coordinate(random)), 1.0 + i % 3});
  }
  return places;
}

std::string csv_of(const std::vector<place>& places) {
  std::string text = "x,y,weight\n";
  for (const place& p : places) {
    text += std::to_string(p.x) + "," + std::to_string(p.y) + "," + std::to_string(p.weight) + "\n";
  }
  return text;
}

// The rectilinear median coordinate by coordinate, by trying each.
double best_l1_coordinate(const std::vector<place>& places, double place::*c) {
  double best = HUGE_VAL;
  for (const place& at : places) {
    double sum = 0;
    for (const place& p : places) sum += p.weight * std::fabs(p.*c - at.*c);
    best = std::min(best, sum);
  }
  return best;
}

TEST_F(SolveTool, TheRectilinearMedianIsThatOfEachCoordinate) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    const std::vector<place> places = random_places(15, seed);
    write("s.csv", csv_of(places));
    const json j = answer("solve s.csv --gauge l1 --format json");
    EXPECT_EQ(j["status"], "optimal");
    EXPECT_EQ(j["exact"], true);
    EXPECT_EQ(j["gap"], 0.0);
    EXPECT_DOUBLE_EQ(j["value"],
                     best_l1_coordinate(places, &place::x) + best_l1_coordinate(places, &place::y));
  }
}

// Every kind of objective by its own formula, in a lattice of places: none is better than the
// answer, and the figures of the sites give its value.
TEST_F(SolveTool, AMillionRows) {
  const result r = shell(
      "awk 'BEGIN { print \"x,y\"; for (i = 0; i < 1000000; ++i) print i % 1000 \",\" int(i / "
      "1000) "
      "}' | " PLANLOC " solve - --gauge l1 | head -n 3");
  EXPECT_NE(r.out.find("Value       500000000, at least 500000000, proved optimal\n"),
            std::string::npos)
      << r.out << r.err;
}

TEST_F(SolveTool, ObjectivesAreWhatTheirNamesSay) {
  struct kind {
    const char* name;
    double (*value)(const std::vector<double>&);  // of the sorted distances
  };
  const auto sum = [](const std::vector<double>& d, std::size_t from, std::size_t to) {
    double s = 0;
    for (std::size_t k = from; k < to; ++k) s += d[k];
    return s;
  };
  static const auto add = sum;
  const kind kinds[] = {
      {"--objective median", [](const std::vector<double>& d) { return add(d, 0, d.size()); }},
      {"--objective centre", [](const std::vector<double>& d) { return d.back(); }},
      {"--objective k-centrum:3",
       [](const std::vector<double>& d) { return add(d, d.size() - 3, d.size()); }},
      {"--objective cent-dian:0.3",
       [](const std::vector<double>& d) {
         return 0.7 * add(d, 0, d.size()) / double(d.size()) + 0.3 * d.back();
       }},
      {"--objective trimmed:2,3",
       [](const std::vector<double>& d) { return add(d, 2, d.size() - 3); }},
      {"--objective anti-centrum:4", [](const std::vector<double>& d) { return add(d, 0, 4); }},
      {"--objective range", [](const std::vector<double>& d) { return d.back() - d.front(); }},
      {"--order-weights=-1,0,0,0,2,0,0,0,1",
       [](const std::vector<double>& d) { return -d[0] + 2 * d[4] + d[8]; }},
  };
  const std::vector<place> places = random_places(9, 7);
  write("s.csv", csv_of(places));
  const double r = std::sqrt(0.5);
  for (const kind& k : kinds) {
    const json j = answer(std::string("solve s.csv --gauge octagon --format json ") + k.name);
    const auto value_at = [&](double x, double y) {
      std::vector<double> d;
      for (const place& p : places) {
        const double dx = std::fabs(x - p.x);
        const double dy = std::fabs(y - p.y);
        // The edge of the octagon between (1, 0) and (r, r), and its mirror images.
        const double slope = (1 - r) / r;
        d.push_back(p.weight * std::max(dx + slope * dy, slope * dx + dy));
      }
      std::sort(d.begin(), d.end());
      return k.value(d);
    };
    const double value = j["value"];
    EXPECT_EQ(j["status"], "optimal") << k.name;
    EXPECT_NEAR(value_at(j["point"][0], j["point"][1]), value, 1e-9 * (1 + std::fabs(value)))
        << k.name;
    for (double x = 0; x <= 40; x += 0.5) {
      for (double y = 0; y <= 40; y += 0.5) {
        EXPECT_GE(value_at(x, y), value - 1e-9) << k.name << ' ' << x << ' ' << y;
      }
    }
    double shares = 0;
    for (const json& s : j["sites"]) {
      shares += s["share"].get<double>();
      EXPECT_NEAR(s["weighted_distance"], s["weight"].get<double>() * s["distance"].get<double>(),
                  1e-9);
    }
    EXPECT_NEAR(shares, value > 1e-6 ? 1 : shares, 1e-9) << k.name;
  }
}

// The gauge is that of (place - site): with a fast way east, the best place is reached by it.
TEST_F(SolveTool, SpeedsAreThoseOfTheWayFromTheSites) {
  write("s.csv", "x,y\n0,0\n");
  write("weights.txt", "1");
  write("two.csv", "x,y,weight\n0,0,1\n8,0,1\n");
  const json j =
      answer("solve two.csv --gauge speed:E=4,N=1,W=1,S=1 --objective centre --format json");
  EXPECT_DOUBLE_EQ(j["value"], 1.6);  // t / 4 = 8 - t
  EXPECT_DOUBLE_EQ(j["point"][0], 6.4);
  EXPECT_DOUBLE_EQ(j["sites"][0]["distance"], 1.6);
}

// Great circles on the sphere are within half a percent of lengths on the ellipsoid.
double kilometres(double lon1, double lat1, double lon2, double lat2) {
  const double d = std::numbers::pi / 180;
  const double h =
      std::pow(std::sin((lat2 - lat1) * d / 2), 2) +
      std::cos(lat1 * d) * std::cos(lat2 * d) * std::pow(std::sin((lon2 - lon1) * d / 2), 2);
  return 2 * 6371.0088 * std::asin(std::sqrt(h));
}

TEST_F(SolveTool, DegreesAreProjectedAndComeBack) {
  const double towns[][2] = {
      {-2.4675, 36.84}, {-6.2833, 36.5333}, {-4.7789, 37.8847}, {-5.9964, 37.3831}};
  std::string text = "lon,lat\n";
  for (const auto& t : towns) text += std::to_string(t[0]) + "," + std::to_string(t[1]) + "\n";
  write("s.csv", text);
  const json j = answer("solve s.csv --format json");
  EXPECT_EQ(j["unit"], "km");
  EXPECT_LT(j["projection"]["largest_distortion"], 1e-3);
  const double lon = j["point"][0];
  const double lat = j["point"][1];
  double sum = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const double d = kilometres(lon, lat, towns[i][0], towns[i][1]);
    sum += d;
    EXPECT_NEAR(j["sites"][i]["distance"], d, 0.006 * d);
  }
  EXPECT_NEAR(j["value"], sum, 0.006 * sum);
  for (const auto& step : {std::pair{0.02, 0.0}, {-0.02, 0.0}, {0.0, 0.02}, {0.0, -0.02}}) {
    double other = 0;
    for (const auto& t : towns)
      other += kilometres(lon + step.first, lat + step.second, t[0], t[1]);
    EXPECT_GT(other, sum);
  }
  // Across the date line, and a place that is a site to the last bit.
  write("s.csv", "lon,lat,weight\n179.9,10,1\n-179.7,10,5\n");
  const json far = answer("solve s.csv --format json");
  EXPECT_EQ(far["point"], json::array({-179.7, 10}));
  EXPECT_NEAR(far["value"], kilometres(179.9, 10, -179.7, 10), 0.3);
}

TEST_F(SolveTool, StatusesAndSetsOfOptima) {
  struct row {
    const char* sites;
    const char* options;
    const char* status;
    int exit;
    const char* kind;  // of the optima, "" for none
    std::size_t corners;
  };
  const row rows[] = {
      {"x,y\n0,0\n4,0\n", "--gauge l1", "optimal", 0, "segment", 2},
      {"x,y\n0,0\n4,2\n", "--gauge l1", "optimal", 0, "polygon", 4},
      {"x,y\n0,0\n4,2\n0,3\n", "--gauge l1", "optimal", 0, "point", 1},
      {"x,y\n5,6\n", "", "optimal", 0, "point", 1},
      {"x,y\n0,0\n4,0\n", "--order-weights=0,0 --gauge l1", "optimal", 0, "", 0},
      {"x,y\n0,0\n4,0\n", "--order-weights=0,-1", "unbounded", 0, "", 0},
  };
  for (const row& r : rows) {
    write("s.csv", r.sites);
    const json j = answer(std::string("solve s.csv --format json ") + r.options, r.exit);
    EXPECT_EQ(j["status"], r.status) << r.options;
    EXPECT_EQ(j["point"].is_null(), j["status"] == "unbounded") << r.options;
    EXPECT_EQ(j["direction"].is_array(), j["status"] == "unbounded") << r.options;
    EXPECT_EQ(j["optima_complete"], *r.options != '\0' && j["direction"].is_null());
    ASSERT_EQ(j["optima"].size(), *r.kind == '\0' ? 0 : 1) << r.options;
    if (*r.kind == '\0') continue;
    EXPECT_EQ(j["optima"][0]["kind"], r.kind);
    EXPECT_EQ(j["optima"][0]["corners"].size(), r.corners);
  }
  write("s.csv", csv_of(random_places(200, 3)));
  const json stopped = answer(
      "solve s.csv --gauge euclid --objective trimmed:60,60 --time-limit 0 --format json", 3);
  EXPECT_EQ(stopped["status"], "stopped");
  const json within = answer("solve s.csv --objective trimmed:60,60 --gap 0.2 --format json");
  EXPECT_EQ(within["status"], "within_gap");
  EXPECT_LE(within["gap"], 0.2);
}

TEST_F(SolveTool, GaugeFilesNameTheGaugeOfEachSite) {
  write("two.gauge",
        "begin {polygaugelist}\nbegin {polygauge}\n1 0\n0 1\n-1 0\n0 -1\nend {polygauge}\n"
        "begin {polygauge}\n2 2\n-2 2\n-2 -2\n2 -2\nend {polygauge}\nend {polygaugelist}\n");
  write("s.csv", "x,y,gauge,other\n0,0,0,1\n10,10,1,1\n");
  EXPECT_EQ(answer("solve s.csv --gauge two.gauge --format json")["value"], 5.0);
  EXPECT_EQ(answer("solve s.csv --gauge two.gauge --gauge-column other --format json")["value"],
            5.0);
  EXPECT_EQ(answer("solve s.csv --gauge l1 --format json")["value"], 20.0);
  // The same two gauges as names; of speeds, so what they measure is time.
  ASSERT_EQ(planloc("gauge list l1 speed:NE=2.8284271247461903,NW=2.8284271247461903,"
                    "SW=2.8284271247461903,SE=2.8284271247461903 --output list.gauge")
                .status,
            0);
  EXPECT_NEAR(answer("solve s.csv --gauge list.gauge --format json")["value"], 5, 1e-12);
  EXPECT_NE(planloc("solve s.csv --gauge list.gauge").out.find("weight  time"), std::string::npos);
}

TEST_F(SolveTool, FormatsSayTheSame) {
  write("s.csv", "x,y,name\n0,0,\"A, the first\"\n4,0,B\n1,0.1,C\n");
  const json j = answer("solve - --format json <s.csv");
  EXPECT_EQ(j["point"], json::array({1.0, 0.1}));
  const result csv = planloc("solve s.csv --format csv");
  EXPECT_NE(csv.out.find("\nsite,\"A, the first\",0,0,1,"), std::string::npos) << csv.out;
  EXPECT_NE(csv.out.find("\nanswer,,1,0.1,"), std::string::npos) << csv.out;
  const result text = planloc("solve s.csv");
  EXPECT_NE(text.out.find("Best place  (1, 0.1), at C\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("proved optimal"), std::string::npos) << text.out;
  EXPECT_EQ(planloc("--version").out, "planloc " PROJECT_VERSION "\n");
  EXPECT_NE(planloc("solve --help").out.find("Example:"), std::string::npos);
}

}  // namespace
