// What users hand in by mistake: told with file, line, column and remedy, by the stated status.
#include <string>

#include "tests/tools/tool_run.h"

namespace {

struct broken {
  std::string sites;
  std::string options;
  const char* message;  // "" if there is an answer
  int status = 1;
};

const std::string kBom = "\xEF\xBB\xBF";

class BrokenInput : public ToolRun {
 protected:
  void expect(const std::string& file, const broken& b) const {
    write(file, b.sites);
    const result r = planloc("solve " + file + " " + b.options);
    const std::string shown = b.sites.substr(0, 80) + "\n" + b.options + "\n" + r.err;
    EXPECT_EQ(r.status, *b.message == '\0' ? 0 : b.status) << shown;
    EXPECT_NE(r.err.find(b.message), std::string::npos) << b.message << "\n" << shown;
    EXPECT_EQ(r.out.empty(), *b.message != '\0') << shown;
    EXPECT_EQ(r.err.empty(), *b.message == '\0') << shown;
  }
};

TEST_F(BrokenInput, TablesAreToldWithLineAndColumn) {
  const broken cases[] = {
      {"", "", "s.csv: the file is empty"},
      {"\n\n", "", "s.csv: the file is empty"},
      {"x,y\n", "", "no row behind the header"},
      {"x,y\n1,2\n3,4\n", "", ""},
      {"x,y\r\n1,2\r\n", "", ""},
      {"x,y\n1,2", "", ""},
      {"X,Y\n1,2\n", "", ""},
      {"\n\nx,y\n\n1,2\n\n", "", ""},
      {kBom + "x,y\n1,2\n", "", ""},
      {kBom + "x;y\n1;2\n", "", ""},
      {"x;y;name\n1;2;\"a;b\"\n", "", ""},
      {"x\ty\n1\t2\n", "", ""},
      {"\"x\",\"y\"\n\"1\",\"2\"\n", "", ""},
      {"x,y\n 1 , 2 \n", "", ""},
      {"x,y\n1e3,-2.5E-3\n", "", ""},
      {"x,y\n1,2\n1,2\n", "", ""},
      {"x,y,name\n1,2,\"two\nlines\"\n3,4,b\n", "", ""},
      {"x,y,name\n1,2,\"two\nlines\"\nq,4,b\n", "",
       "s.csv:4: column 'x': 'q' is not a finite number"},
      {"x,y\n1,2\n3;4\n", "", "s.csv:3: 1 field, but the header has 2"},
      {"x;y\n1;2\n3,4\n", "", "s.csv:3: 1 field, but the header has 2"},
      {"x;y,z\n1;2,3\n", "", "s.csv:1: the header has more than one kind of separator"},
      {"x;y\n1,5;2\n", "",
       "s.csv:2: column 'x': '1,5' has a comma: write the number with a decimal point"},
      {"x,y\n1,5,2,5\n", "", "s.csv:2: 4 fields, but the header has 2: decimal commas?"},
      {"x,y\n\"1,5\",2\n", "", "'1,5' has a comma"},
      {"x,y\n\"1.234,5\",2\n", "", "'1.234,5' is not a finite number"},
      {"x,y\n1\n", "", "s.csv:2: 1 field"},
      {"x,y\n1,\n", "", "s.csv:2: column 'y': the cell is empty"},
      {"x,y\n1,2\n,\n", "", "s.csv:3: column 'x': the cell is empty"},
      {"x,y\n1,two\n", "", "column 'y': 'two' is not a finite number"},
      {"x,y\n1,nan\n", "", "'nan' is not a finite number"},
      {"x,y\n1,inf\n", "", "'inf' is not a finite number"},
      {"x,y\n1,1e999\n", "", "'1e999' is not a finite number"},
      {"x,y\n1,0x10\n", "", "'0x10' is not a finite number"},
      {"x,y\n1,2 3\n", "", "'2 3' is not a finite number"},
      {"x,y\n1,1e40\n", "", "1e36"},
      {"x,y,name\n1,2,\"open\n3,4,b\n", "", "s.csv:2: a quote is opened and never closed"},
      {"x,y\n1,2\n3,4\r5,6\n", "", "s.csv:3: a carriage return without a line feed"},
      {std::string("x,y\n1,2\n\0,4\n", 12), "", "s.csv:3: a byte 0"},
      {"\xFF\xFEx\0,\0y\0", "", "UTF-16"},
      {"x,y,name\n1,2,Almer\xED"
       "a\n",
       "", "s.csv:2: the name is not UTF-8"},
      {"x,y,poblaci\xF3n\n1,2,3\n", "", ""},
      {"x,y,poblaci\xF3n\n1,2,3\n", "--weight poblaci\xF3n",
       "(--weight) is not UTF-8: convert the file"},
      {"1,2\n3,4\n", "", "the first line must be a header"},
      {"a,b\n1,2\n", "", "s.csv:1: no columns x, y or lon, lat: the columns are a, b"},
      {"a,b\n1,2\n", "--x a --y c", "no column 'c' (--y): the columns are a, b"},
      {"a,b\n1,2\n", "--x a --y b", ""},
      {"x,y\n1,2\n", "--weight people", "no column 'people' (--weight)"},
      {"x,y\n1 000,2\n", "", "column 'x': '1 000' has a separator of thousands"},
      {"x,y\n1,2\n", "--name town", "no column 'town' (--name)"},
      {"x,x,y\n1,2,3\n", "", "more than one column 'x'"},
      {"x,y,lon,lat\n1,2,3,4\n", "", "both x, y and lon, lat"},
      {"x,y,lon,lat\n1,2,3,4\n", "--planar", ""},
      {"x,y,weight\n1,2,0\n", "",
       "s.csv:2: column 'weight': the weight is 0: must be positive; --drop-zero"},
      {"x,y,weight\n1,2,1\n1,2,-3\n", "--drop-zero", "s.csv:3: column 'weight': the weight is -3"},
      {"x,y,weight\n1,2,1\n1,2,1e-40\n", "",
       "s.csv:3: column 'weight': the weight is 1e-40: must be from 1e-36"},
      {"x,y\n1,2\n-1e40,2\n", "", "s.csv:3: x is -1e+40: must be at most 1e36 in magnitude"},
      {"x,y,weight\n1,2,0\n", "--drop-zero", "no site is left"},
      {"x,y,weight\n1,2,1\n1,2,0\n", "--drop-zero", ""},
      {"x,y,weight\n1,2,\n", "", "column 'weight': the cell is empty"},
      {"lon,lat\n1,91\n", "", "s.csv:2: the latitude is 91: must be from -90 to 90"},
      {"lon,lat\n37,-120\n", "", "are longitude and latitude swapped?"},
      {"lon,lat\n361,2\n", "", "s.csv:2: the longitude is 361"},
      {"lon,lat\n1,91\n", "--planar", ""},
      {"x,y\n1,91\n", "--lonlat", "the latitude is 91"},
  };
  for (const broken& b : cases) expect("s.csv", b);
}

TEST_F(BrokenInput, CommandLinesAndFilesHaveTheirStatus) {
  write("short.txt", "1 2");
  write("words.txt", "1 b 3");
  write("right.txt", "0 1\n2\n");
  const std::string ball = "begin {polygauge}\n1 0\n0 1\n-1 -1\nend {polygauge}\n";
  write("three.gauge", ball + ball);
  write("twice.gauge", ball + "end {polygaugelist}\n" + ball);
  write("bow.geojson", R"({"type": "Polygon", "coordinates": [[[0,0],[2,2],[2,0],[0,2],[0,0]]]})");
  write("open.gauge", "begin {polygauge}\n1 0\n0 1\n-1 x\n");
  write("outside.gauge", "begin {polygauge}\n1 0\n2 0\n1 1\nend {polygauge}\n");
  write("one.gauge", "begin {polygauge}\n1 0\n0 1\n-1 -1\nend {polygauge}\n");
  const std::string three = "x,y,gauge\n0,0,0\n4,0,0\n1,3,1\n";
  const broken cases[] = {
      {three, "--wieght 2", "solve has no option '--wieght': did you mean --weight?", 2},
      {three, "--format xml", "--format: 'xml': expected text, json or csv", 2},
      {three, "--gauge twice.gauge", "twice.gauge:7:1: the list of gauges ended above"},
      {three, "--allow bow.geojson", "bow.geojson: ring 0 of allowed polygon 0 crosses itself at"},
      {three, "--gauge lp:0.5", "lp:P with P from 1", 2},
      {three, "--gauge lp:x", "lp:P with P from 1", 2},
      {three, "--gauge regular:2", "regular:N with N from 3", 2},
      {three, "--gauge speed:E=60,Q=3", "expected speed:", 2},
      {three, "--gauge speed:E=60,N=-3", "expected speed:", 2},
      {three, "--gauge speed:E=60,N=40", "no way back", 2},
      {three, "--gauge speed:E=60,N=40,NW=3", "origin", 2},
      {three, "--gauge l1 --gauge-column gauge", "--gauge-column needs a gauge file", 2},
      {three, "--gauge missing.gauge", "no such file, and no name of a gauge"},
      {three, "--gauge open.gauge", "open.gauge:4:4: 'x' is not a number"},
      {three, "--gauge outside.gauge",
       "outside.gauge:1: gauge 0: the origin is not strictly inside"},
      {three, "--gauge one.gauge", "s.csv:4: column 'gauge': '1' is not the number of a gauge"},
      {three, "--objective middle", "expected median, centre", 2},
      {three, "--objective k-centrum", "k-centrum:K", 2},
      {three, "--objective k-centrum:0", "k-centrum:K", 2},
      {three, "--objective k-centrum:99", "does not fit 3 sites"},
      {three, "--objective cent-dian:1.5", "ALPHA from 0", 2},
      {three, "--objective trimmed:2,2", "does not fit 3 sites"},
      {three, "--objective trimmed:2", "trimmed:LOW,HIGH", 2},
      {three, "--objective weights:missing.txt", "missing.txt: cannot be read"},
      {three, "--objective weights:short.txt", "2 order weights for 3 sites"},
      {three, "--objective weights:words.txt", "words.txt:1: 'b' is not a number"},
      {three, "--gauge three.gauge --objective weights:right.txt", ""},
      {three, "--gauge three.gauge --order-weights=-1,0,1", ""},
      {three, "--order-weights 0,1", "2 order weights for 3 sites"},
      {three, "--order-weights 0,b,1", "'b' is not a number", 2},
      {three, "--order-weights 0,0,1 --objective centre", "excludes", 2},
      {three, "--x x", "requires", 2},
      {three, "--gap -1", "--gap", 2},
      {three, "--gap nan", "Value nan not in range 0 to", 2},
      {three, "--time-limit soon", "--time-limit", 2},
      {three, "--lonlat --planar", "excludes", 2},
  };
  for (const broken& b : cases) expect("s.csv", b);
  for (const char* line : {"", "solve", "sovle", "help nonsense"}) {
    EXPECT_EQ(planloc(line).status, 2) << line;
  }
  EXPECT_NE(planloc("sovle").err.find("no subcommand 'sovle': did you mean solve?"),
            std::string::npos);
}

TEST_F(BrokenInput, OtherSourcesAreTold) {
  const std::string head = R"({"type":"FeatureCollection","features":[)";
  const auto feature = [](const std::string& geometry) {
    return R"({"type":"Feature","properties":{"weight":2},"geometry":)" + geometry + "}";
  };
  const std::string point = feature(R"({"type":"Point","coordinates":[3,4]})");
  const broken cases[] = {
      {head + point + "]}", "", ""},
      {head + "]}", "", "no site"},
      {head + point, "", "s.geojson: cannot be read"},
      {"text", "", "s.geojson: cannot be read"},
      {head + feature(R"({"type":"LineString","coordinates":[[3,4],[5,6]]})") + "]}", "",
       "the geometry is a LINESTRING: expected a point"},
      {head + feature("null") + "]}", "", "no geometry: expected a point"},
      {head + feature(R"({"type":"Point","coordinates":[500,4]})") + "]}", "",
       "the longitude is 500"},
      {head + feature(R"({"type":"Point","coordinates":[500,4]})") + "]}", "--planar", ""},
      {head + point + "]}", "--layer nothing", "no layer 'nothing': the layers are"},
  };
  for (const broken& b : cases) expect("s.geojson", b);

  EXPECT_NE(planloc("solve missing.csv").err.find("missing.csv: no such file"), std::string::npos);
  EXPECT_NE(planloc("solve missing.gpkg").err.find("missing.gpkg: no such file"),
            std::string::npos);
  EXPECT_NE(planloc("solve .").err.find("is a directory"), std::string::npos);
}

TEST_F(BrokenInput, OtherCommandsHaveTheirStatus) {
  write("s.csv", "x,y,a,b\n0,0,1,2\n4,0,2,1\n1,3,1,1\n");
  write("degrees.csv", "lon,lat\n-4,37\n-5,38\n");
  write("none.geojson", R"({"type": "FeatureCollection", "features": []})");
  write("point.geojson", R"({"type": "Point", "coordinates": [1, 1]})");
  write("head.csv", "a,b\n0,1\n0,0\n");
  write("short.csv", "0,1\n");
  write("long.csv", "0,1,2\n0,0,1\n");
  write("negative.csv", "0,-1\n0,0\n");
  write("words.csv", "0,one\n0,0\n");
  write("beside.csv", "x,y\n1,0\n2,0\n3,1\n");
  write("empty.txt", "");
  write("commas.txt", "0,5 1 1\n");
  write("two.gauge",
        "begin {polygauge}\n1 0\n0 1\n-1 -1\nend {polygauge}\n"
        "begin {polygauge}\n1 0\n0 1\n-1 -1\nend {polygauge}\n");
  const std::string tied = "depots s.csv --share a,b --flow ";
  const struct {
    std::string line;
    const char* message;
    int status = 1;
  } cases[] = {
      {"compare s.csv", "--weights", 2},
      {"compare s.csv --weights a", "--weights: expected two columns separated by a comma", 2},
      {"compare s.csv --weights a,c", "no column 'c' (--weights): the columns are x, y, a, b"},
      {"depots s.csv", "--new: expected the number of new depots, from 1", 2},
      {"depots s.csv --new 0", "--new: Value 0 not in range 1", 2},
      {"depots s.csv --new 2 --existing degrees.csv",
       "degrees.csv: degrees, and the sites are planar: --lonlat or --planar says what both are"},
      {"depots degrees.csv --new 2 --existing s.csv",
       "s.csv: planar coordinates, and the sites are in degrees"},
      {"depots s.csv --new 3 --share a,b", "--new 3: --share names 2 columns", 2},
      {"depots s.csv --share a,b --existing s.csv", "--existing and --share exclude each other", 2},
      {tied + "head.csv", "head.csv:1: 'a' is not a number: expected rows of flows without a"},
      {tied + "short.csv", "short.csv: 1 rows: expected 2, one for each column of --share"},
      {tied + "long.csv", "long.csv:1: 3 numbers: expected 2, separated by commas"},
      {tied + "negative.csv", "negative.csv:1: '-1' is not a flow: expected a number of at least"},
      {tied + "words.csv", "words.csv:1: 'one' is not a flow"},
      {tied + "missing.csv", "missing.csv"},
      {"classic", "classic: expected a method: --list has all of them", 2},
      {"classic l3_sum s.csv", "classic: no method 'l3_sum'", 2},
      {"classic l2_sum", "classic: expected a file of sites", 2},
      {"classic gauge_sum s.csv --gauge euclid", "gauge_sum takes polygons", 2},
      {"classic l2_sum s.csv --weights a,b", "classic l2_sum: expected one column of weights", 2},
      {"gauge euclid", "gauge 'euclid' is round: a gauge file holds polygons", 2},
      {"gauge rotate l1 right", "gauge rotate: 'right': expected an angle in degrees", 2},
      {"gauge rotate l1", "gauge rotate: expected 2 arguments behind it", 2},
      {"gauge polar", "gauge polar: expected 1 argument behind it", 2},
      {"gauge list", "gauge list: expected gauges or gauge files behind it", 2},
      {"gauge l1 linf", "gauge 'l1': not polar, rotate, merge, hull or list", 2},
      {"gauge merge l1 two.gauge", "two.gauge: 2 gauges: merge takes one of each"},
      {"gauge hull beside.csv",
       "beside.csv: the hull of the points does not hold the origin strictly inside"},
      {"walk-files s.csv euclid --save run", "is round: cellwalk takes polygons", 2},
      {"walk-files s.csv l1 --save s.csv/run", "s.csv/run: cannot be made: Not a directory"},
      {"solve s.csv --output map.shp",
       "--output map.shp: expected a name that ends in .geojson, .gpkg or .csv, or -", 2},
      {"solve s.csv --picture map.gif", "expected a name that ends in .svg, .pdf or .png", 2},
      {"solve s.csv --output no/map.gpkg", "no/map.gpkg: "},
      {"solve s.csv --forbid none.geojson", "none.geojson: no polygon"},
      {"solve s.csv --allow point.geojson", "the geometry is a POINT: expected polygons"},
      {"solve s.csv --forbid missing.geojson", "missing.geojson: no such file"},
      {"solve s.csv --objective weights:empty.txt", "empty.txt: cannot be read, or is empty"},
      {"solve s.csv --objective weights:commas.txt",
       "commas.txt:1: '0,5' is not a number: expected order weights separated by blanks or line "
       "ends, with a point as decimal mark"},
      {"verify s.csv s.csv", "s.csv: is not JSON: expected a certificate of planloc solve"},
      {"verify s.csv missing.json", "missing.json"},
  };
  const std::string before = listing();
  for (const auto& c : cases) {
    const result r = planloc(c.line);
    EXPECT_EQ(r.status, c.status) << c.line << "\n" << r.err;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << c.line << "\n" << r.err;
    EXPECT_EQ(r.out, "") << c.line;
  }
  EXPECT_EQ(listing(), before) << "nothing is left of what failed";
  shell("mv two.gauge a\xF1o.gauge");
  EXPECT_NE(
      planloc("solve s.csv --format json --gauge a\xF1o.gauge").out.find("a\xEF\xBF\xBDo.gauge"),
      std::string::npos);
}

TEST_F(BrokenInput, AFullDiskIsTold) {
  write("s.csv", "x,y\n1,2\n");
  const result r = shell(PLANLOC " solve s.csv >/dev/full");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("standard output: cannot be written: No space left"), std::string::npos)
      << r.err;
}

}  // namespace
