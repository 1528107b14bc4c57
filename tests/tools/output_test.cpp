// Files that `planloc` writes, read by other programs: OGR, a JSON parser, the pixels of a picture.
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/tools/tool_run.h"

namespace {

using nlohmann::json;

class ToolOutput : public ToolRun {
 protected:
  ToolOutput() {
    write("towns.csv",
          "name,lon,lat,weight\nAlmeria,-2.4675,36.84,2\nCadiz,-6.2833,36.5333,1.1\n"
          "Cordoba,-4.7789,37.8847,3.2\nSevilla,-5.9964,37.3831,6.8\n");
    write("plan.csv", "x,y,weight\n0,0,1\n40,0,2\n10,30,1\n");
  }
};

TEST_F(ToolOutput, GeoJsonHasTheAnswerInTheCoordinatesOfTheInput) {
  for (const char* sites : {"towns.csv", "plan.csv"}) {
    const json j =
        answer(std::string("solve --format json --output map.geojson --gauge l1 ") + sites);
    const json map = json::parse(read("map.geojson"));
    EXPECT_EQ(map["type"], "FeatureCollection");
    std::size_t count = 0;
    for (const json& f : map["features"]) {
      EXPECT_EQ(f["type"], "Feature");
      const json& g = f["geometry"];
      const std::string layer = f["properties"]["layer"];
      if (layer == "site") {
        EXPECT_EQ(g["type"], "Point");
        EXPECT_NEAR(g["coordinates"][0], j["sites"][count]["point"][0], 1e-12);
        EXPECT_NEAR(f["properties"]["distance"], j["sites"][count]["distance"], 1e-12);
        EXPECT_EQ(f["properties"]["rank"], j["sites"][count]["rank"]);
        ++count;
      } else if (layer == "place") {
        EXPECT_NEAR(g["coordinates"][1], j["point"][1], 1e-12);
      } else if (layer == "ball") {
        ASSERT_EQ(g["type"], "Polygon");
        const json& ring = g["coordinates"][0];
        EXPECT_EQ(ring.size(), 5);  // four corners, closed
        EXPECT_EQ(ring[0], ring[4]);
      } else {
        EXPECT_TRUE(layer == "level" || layer == "optimum") << layer;
      }
    }
    EXPECT_EQ(count, j["sites"].size());
  }
  // What was written can be read as sites.
  EXPECT_EQ(answer("solve plan.csv --output - --gauge l1")["type"], "FeatureCollection");
}

// Each corner of a level set has its value, and none is cut off where the set leaves the map.
TEST_F(ToolOutput, LevelSetsAreWhole) {
  ASSERT_EQ(planloc("solve plan.csv --gauge l1 --output map.geojson").status, 0);
  const json map = json::parse(read("map.geojson"));
  std::size_t levels = 0;
  for (const json& f : map["features"]) {
    if (f["properties"]["layer"] != "level") continue;
    ++levels;
    const double level = f["properties"]["value"];
    for (const json& corner : f["geometry"]["coordinates"][0]) {
      const double x = corner[0];
      const double y = corner[1];
      const double value = std::abs(x) + std::abs(y) + 2 * (std::abs(x - 40) + std::abs(y)) +
                           std::abs(x - 10) + std::abs(y - 30);
      EXPECT_NEAR(value, level, 0.01 * level) << corner;
    }
  }
  EXPECT_GE(levels, 3U);
}

TEST_F(ToolOutput, GeoPackagesAreReadByOgrinfo) {
  ASSERT_EQ(planloc("solve towns.csv --gauge octagon --output map.gpkg").status, 0);
  const result info = shell("ogrinfo -ro -al -so map.gpkg");
  ASSERT_EQ(info.status, 0) << info.out;
  for (const char* text : {"Layer name: site", "Layer name: place", "Layer name: ball",
                           "Feature Count: 4", "WGS 84", "weighted_distance: Real"}) {
    EXPECT_NE(info.out.find(text), std::string::npos) << text << info.out;
  }
  const json first = answer("solve towns.csv --format json");
  const json again = answer("solve map.gpkg --layer site --format json");
  EXPECT_DOUBLE_EQ(again["value"], first["value"]);
}

TEST_F(ToolOutput, NothingHalfWrittenIsLeft) {
  write("kept.geojson", "as it was");
  const struct {
    const char* options;
    int status;
    const char* message;
  } cases[] = {
      {"--output map.xyz", 2, "expected a name that ends in .geojson, .gpkg or .csv"},
      {"--picture map.bmp", 2, "expected a name that ends in .svg, .pdf or .png"},
      {"--output no/folder/map.geojson", 1, "cannot be written: No such file"},
      {"--picture no/folder/map.svg", 1, "cannot be written"},
  };
  const std::string before = listing();
  for (const auto& c : cases) {
    const result r = planloc(std::string("solve towns.csv ") + c.options);
    EXPECT_EQ(r.status, c.status) << c.options;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(listing(), before) << c.options;
  }
  // A limit on the size of files stands in for a full disk.
  const result full =
      shell("ulimit -f 1; trap '' XFSZ; " PLANLOC " solve towns.csv --output kept.geojson");
  EXPECT_EQ(full.status, 1) << full.err;
  EXPECT_EQ(read("kept.geojson"), "as it was");
  EXPECT_EQ(listing(), before);
}

TEST_F(ToolOutput, PicturesShowSitesAndAnswer) {
  for (const char* name : {"map.svg", "map.pdf", "map.png"}) {
    ASSERT_EQ(planloc(std::string("solve towns.csv --gauge octagon --picture ") + name).status, 0);
    EXPECT_GT(read(name).size(), 2000U) << name;
  }
  EXPECT_EQ(read("map.pdf").substr(0, 4), "%PDF");
  const result pixels = shell("gdallocationinfo -valonly map.png 5 5");
  EXPECT_EQ(pixels.out, "255\n255\n255\n") << pixels.err;
  const result statistics =
      shell("gdalinfo -stats -nomd map.png; gdalinfo -hist map.png | grep -A3 'Band 1'");
  EXPECT_EQ(statistics.status, 0);
  const struct {
    const char* line;
    const char* file;
  } others[] = {
      {"depots towns.csv --new 2 --picture d.svg --output d.geojson", "d.svg"},
      {"compare plan.csv --weights weight,x --gauge l1 --picture c.svg --output c.gpkg", "c.svg"},
      {"gauge octagon --picture g.svg", "g.svg"},
      {"solve plan.csv --gauge octagon --rays --picture r.svg", "r.svg"},
  };
  for (const auto& o : others) {
    EXPECT_EQ(planloc(o.line).status, 0) << o.line << read("stderr.txt");
    EXPECT_NE(read(o.file).find("<svg"), std::string::npos) << o.line;
  }
}

}  // namespace
