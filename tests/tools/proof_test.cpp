// Certificates, regions, and the solvers with stated steps beside what is proved.
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/tools/tool_run.h"

namespace {

using nlohmann::json;

class ToolProof : public ToolRun {
 protected:
  ToolProof() {
    write("s.csv", "name,x,y,weight\nA,0,0,1\nB,4,0,2\nC,1,3,1\nD,7,8,1.5\n");
    write("degrees.csv", "lon,lat,weight\n-4.4,36.7,5\n-6,37.4,6.8\n-2.5,36.8,2\n");
  }
  // Polygons of one ring each.
  void write_polygons(const std::string& name, const std::vector<std::string>& rings) const {
    std::string text = R"({"type":"FeatureCollection","features":[)";
    for (std::size_t k = 0; k < rings.size(); ++k) {
      text +=
          (k > 0 ? "," : "") +
          (R"({"type":"Feature","properties":{},"geometry":{"type":"Polygon","coordinates":[[)" +
           rings[k] + "]]}}");
    }
    write(name, text + "]}");
  }
};

TEST_F(ToolProof, CertificatesHoldForTheirSitesAlone) {
  const struct {
    const char* sites;
    const char* options;
  } cases[] = {
      {"s.csv", "--gauge octagon"},
      {"s.csv", "--gauge euclid --objective centre"},
      {"s.csv", "--gauge l1 --objective trimmed:1,1"},
      {"s.csv", "--gauge lp:3 --objective range"},
      {"s.csv", "--order-weights=0,0,0,-1"},
      {"degrees.csv", "--gauge speed:E=90,N=60,W=80,S=70"},
  };
  for (const auto& c : cases) {
    const std::string sites = c.sites;
    ASSERT_EQ(planloc("solve " + sites + " --certificate c.json " + c.options).status, 0)
        << c.options;
    const json good = answer("verify " + sites + " c.json --json");
    EXPECT_EQ(good["accepted"], true) << c.options << good;
    EXPECT_NE(planloc("verify " + sites + " c.json").out.find("Accepted"), std::string::npos);
    // A site more, or a better bound than there is.
    write("more.csv", read(sites) + (sites == "s.csv" ? "E,1,1,1\n" : "-4,37,1\n"));
    EXPECT_EQ(planloc("verify more.csv c.json").status, 1) << c.options;
    json changed = json::parse(read("c.json"));
    if (changed["proof"]["kind"] == "direction") continue;
    changed["answer"]["value"] = changed["answer"]["value"].get<double>() - 0.01;
    changed["answer"]["lower_bound"] = changed["answer"]["value"];
    write("changed.json", changed.dump());
    EXPECT_EQ(planloc("verify " + sites + " changed.json").status, 1) << c.options;
  }
  for (const char* text : {"", "{}", "[1,2]", R"({"schema":"planloc.certificate/2"})",
                           R"({"schema":"planloc.certificate/1","question":{}})"}) {
    write("broken.json", text);
    const result r = planloc("verify s.csv broken.json");
    EXPECT_EQ(r.status, 1) << text;
    EXPECT_NE(r.err.find("broken.json: "), std::string::npos) << r.err;
  }
}

TEST_F(ToolProof, SpoiledCertificatesAreToldOrRefused) {
  ASSERT_EQ(planloc("solve s.csv --gauge l1 --objective trimmed:1,1 --certificate c.json").status,
            0);
  const json good = json::parse(read("c.json"));
  const struct {
    const char* at;
    json value;
    const char* message;  // on the error stream, or as the reason of a refusal
  } cases[] = {
      {"/schema", "planloc.certificate/2", "expected planloc.certificate/1"},
      {"/answer/status", "best", "is no certificate of planloc solve: the status is none"},
      {"/answer/status", 7, "is no certificate of planloc solve"},
      {"/answer/value", "low", "is no certificate of planloc solve"},
      {"/answer/value", nullptr, "the value is not finite"},
      {"/answer/point", json::array({1}), "is no certificate of planloc solve"},
      {"/answer/exact", json::array({"1", "b"}), "the exact point is not a pair of fractions"},
      {"/proof/kind", "oath", "no certificate"},
      {"/proof/cells", "hx", "a reason is none of h, b, e, f"},
      {"/proof/cells", "", "the sites do not lie at one place"},
      {"/proof/axes", json::array({json::array({1, 1})}), "is no certificate of planloc solve"},
      {"/proof/half", -1, "no square"},
      {"/question/order_weights", json::array({json::array({1, -1})}), "c.json: "},
      {"/question/order_weights", json::array({json::array({1, 1e15})}), "c.json: "},
      {"/question/order_weights", json::array({json::array({1, 3})}), "3 order weights"},
      {"/question/gauges", json::array(), "must be less than the number of gauges, 0"},
      {"/question/columns", 3, "is no certificate of planloc solve"},
  };
  for (const auto& c : cases) {
    json spoiled = good;
    spoiled[json::json_pointer(c.at)] = c.value;
    write("c.json", spoiled.dump());
    const result r = planloc("verify s.csv c.json");
    EXPECT_EQ(r.status, 1) << c.at << c.value;
    EXPECT_NE((r.out + r.err).find(c.message), std::string::npos)
        << c.at << c.value << r.out << r.err;
  }
}

TEST_F(ToolProof, RegionsKeepTheAnswerOutOrIn) {
  // Around the free optimum, B; its sides are allowed.
  write_polygons("lake.geojson", {"[3,-1],[5,-1],[5,2],[3,2],[3,-1]"});
  const auto value_at = [](double x, double y) {
    const double sites[][3] = {{0, 0, 1}, {4, 0, 2}, {1, 3, 1}, {7, 8, 1.5}};
    double sum = 0;
    for (const auto& s : sites) sum += s[2] * (std::fabs(x - s[0]) + std::fabs(y - s[1]));
    return sum;
  };
  double best = HUGE_VAL;
  for (double x = -1; x <= 9; x += 0.25) {
    for (double y = -1; y <= 9; y += 0.25) {
      if (x > 3 && x < 5 && y > -1 && y < 2) continue;
      best = std::min(best, value_at(x, y));
    }
  }
  const json j = answer(
      "solve s.csv --gauge l1 --forbid lake.geojson --format json --certificate c.json --picture "
      "m.svg");
  EXPECT_EQ(j["status"], "optimal");
  EXPECT_NEAR(j["value"], best, 1e-12);
  EXPECT_EQ(answer("verify s.csv c.json --json")["accepted"], true);

  write_polygons("halves.geojson",
                 {"[0,-5],[4,-5],[4,5],[0,5],[0,-5]", "[4,-5],[8,-5],[8,5],[4,5],[4,-5]"});
  write("b.csv", "x,y\n4,0\n");
  EXPECT_EQ(answer("solve b.csv --gauge l1 --forbid halves.geojson --format json")["point"],
            json::array({4.0, 0.0}))
      << "the seam is allowed";
  write_polygons("yard.geojson", {"[10,0],[12,0],[12,2],[10,2],[10,0]"});
  EXPECT_EQ(answer("solve b.csv --gauge l1 --allow yard.geojson --format json")["point"],
            json::array({10.0, 0.0}));
  write_polygons("whole.geojson", {"[9,-1],[13,-1],[13,3],[9,3],[9,-1]"});
  const json none = answer("solve b.csv --allow yard.geojson --forbid whole.geojson --format json");
  EXPECT_EQ(none["status"], "infeasible");
  EXPECT_TRUE(none["point"].is_null() && none["value"].is_null() && none["optima"].empty());

  const struct {
    const char* text;
    const char* message;
  } broken[] = {
      {R"({"type":"FeatureCollection","features":[]})", "no polygon"},
      {R"({"type":"Feature","properties":{},"geometry":{"type":"Point","coordinates":[1,2]}})",
       "expected polygons"},
      {"nothing", "cannot be read"},
  };
  for (const auto& b : broken) {
    write("broken.geojson", b.text);
    const result r = planloc("solve b.csv --forbid broken.geojson");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find(b.message), std::string::npos) << r.err;
  }
}

TEST_F(ToolProof, ClassicMethodsStandBesideWhatIsProved) {
  write("two.csv", "x,y,weight,second\n0,0,1,2\n1,0,2,1\n3,5,1,1\n");
  write("flow.csv", "0,1\n0,0\n");
  const struct {
    const char* line;
    bool best;  // the method finds the optimum here
  } cases[] = {
      {"l1_sum two.csv", true},
      {"linf_max two.csv", true},
      {"gauge_sum two.csv --gauge octagon", true},
      {"N_l1_sum two.csv --weights weight,second --flow flow.csv", true},
      {"l2_sum two.csv", true},
  };
  for (const auto& c : cases) {
    const json j = answer(std::string("classic --format json ") + c.line);
    EXPECT_EQ(j["status"], "done") << c.line;
    EXPECT_NEAR(j["value"], j["certified"], 2e-3) << c.line;
    EXPECT_FALSE(j["places"].empty());
  }
  // It drops the optimum; it never ends; it ends the process: each is told, and so is the truth.
  write("s2.csv", "x,y,weight\n0,0,1\n1,0,2\n");
  const json dropped = answer("classic gauge_max s2.csv --gauge l1 --format json");
  EXPECT_NEAR(dropped["certified"], 2.0 / 3, 1e-12);
  EXPECT_NEAR(dropped["lost"], 1, 1e-9);
  write("circling.csv", "x,y,weight\n0,1,3\n2,0,1\n1,1,3\n1,3,1\n");
  const json endless = answer("classic l2_max circling.csv --time-limit 0.5 --format json");
  EXPECT_EQ(endless["status"], "failed");
  EXPECT_TRUE(endless["certified"].is_number());
  write("unequal.csv", "x,y,weight\n0,1,3\n2,0,1\n");
  const result ended = planloc("classic l1_max_equal unequal.csv");
  EXPECT_EQ(ended.status, 0);
  EXPECT_NE(ended.out.find("All weights must be equal"), std::string::npos) << ended.out;
  EXPECT_NE(planloc("classic --list").out.find("N_l2squared_sum"), std::string::npos);
  EXPECT_EQ(planloc("classic no_such two.csv").status, 2);
}

}  // namespace
