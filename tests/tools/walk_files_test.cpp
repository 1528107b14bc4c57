// `planloc gauge`, `walk-files` and `check`: the files of cellwalk, written and judged.
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/tools/tool_run.h"

namespace {

class WalkFiles : public ToolRun {
 protected:
  // The numbers of the first ball in a gauge file.
  static std::vector<double> numbers_of(const std::string& text) {
    std::istringstream in(text.substr(text.find("{polygauge}") + 11));
    std::vector<double> numbers;
    for (double d; in >> d;) numbers.push_back(d);
    return numbers;
  }
};

TEST_F(WalkFiles, GaugesAreWhatTheirNamesSay) {
  write("points.csv", "x,y\n3,0\n0,2\n-1,-1\n1,0\n");
  write("two.gauge", "begin {polygauge}\n2 0\n0 1\n-1 -1\nend {polygauge}\n");
  const double r = std::sqrt(0.5);
  const struct {
    const char* words;
    std::vector<double> numbers;
  } cases[] = {
      {"l1", {1, 0, 0, 1, -1, 0, 0, -1}},
      {"regular:4", {1, 0, 0, 1, -1, 0, 0, -1}},
      {"octagon", {1, 0, r, r, 0, 1, -r, r, -1, 0, -r, -r, 0, -1, r, -r}},
      {"speed:E=2,N=1,W=3,S=4", {-3, 0, 0, -4, 2, 0, 0, 1}},
      {"speed:E=2,NE=0.1,N=1,W=3,S=4", {-3, 0, 0, -4, 2, 0, 0, 1}},
      {"polar l1", {1, 1, -1, 1, -1, -1, 1, -1}},
      {"polar two.gauge", {0.5, 1, -2, 1, 0.5, -1.5}},
      {"rotate two.gauge 90", {0, 2, -1, 0, 1, -1}},
      {"merge l1 linf", {1, 0, r, r, 0, 1, -r, r, -1, 0, -r, -r, 0, -1, r, -r}},
      {"hull points.csv", {3, 0, 0, 2, -1, -1}},
  };
  for (const auto& c : cases) {
    const result made = planloc(std::string("gauge ") + c.words);
    ASSERT_EQ(made.status, 0) << c.words << made.err;
    const std::vector<double> numbers = numbers_of(made.out);
    ASSERT_EQ(numbers.size(), c.numbers.size()) << c.words << made.out;
    // The first vertex may be any.
    bool same = false;
    for (std::size_t shift = 0; shift < numbers.size(); shift += 2) {
      bool all = true;
      for (std::size_t k = 0; k < numbers.size(); ++k) {
        all = all && std::fabs(numbers[(k + shift) % numbers.size()] - c.numbers[k]) < 1e-15;
      }
      same = same || all;
    }
    EXPECT_TRUE(same) << c.words << made.out;
  }
  for (const char* words : {"euclid", "lp:3", "rotate l1 north", "merge l1", "l1 l1"}) {
    EXPECT_EQ(planloc(std::string("gauge ") + words).status, 2) << words;
  }
  write("outside.csv", "x,y\n3,0\n4,2\n1,1\n");
  EXPECT_EQ(planloc("gauge hull outside.csv").status, 1);
  EXPECT_EQ(planloc("gauge l1 --output no/such/folder.gauge").status, 1);
}

TEST_F(WalkFiles, CellwalkRunsOnThemAndMeetsTheOptimum) {
  write("s.csv",
        "name,x,y,weight,gauge\nA,0,0,1,0\n\"B [old] town\",4,1,2,1\nC,1,3,1,0\nD,5,5,1.5,1\n");
  write("two.gauge",
        "begin {polygaugelist}\nbegin {polygauge}\n1 0\n0 1\n-1 0\n0 -1\nend {polygauge}\n"
        "begin {polygauge}\n2 1\n-1 1\n-1 -2\nend {polygauge}\nend {polygaugelist}\n");
  for (const char* objective : {"median", "centre", "k-centrum:2"}) {
    const std::string rest = std::string(" --objective ") + objective;
    const result made = planloc("walk-files s.csv two.gauge --save run" + rest);
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(shell(PLANLOC " check run").status, 0) << read("stdout.txt");
    const result walked =
        shell(std::string(CELLWALK) + made.out.substr(std::string("cellwalk").size()));
    ASSERT_EQ(walked.status, 0) << walked.err;
    std::istringstream log(read("run/log.txt"));
    double value = 0;
    for (std::string line; std::getline(log, line);) {
      if (line.starts_with("Sol=")) value = std::stod(line.substr(line.find("Value=") + 6));
    }
    const nlohmann::json j = answer("solve s.csv --gauge two.gauge --format json" + rest);
    EXPECT_NEAR(value, j["value"], 1e-4 * value) << objective;
  }
  EXPECT_EQ(planloc("walk-files s.csv euclid --save run").status, 2);
}

TEST_F(WalkFiles, CheckTellsEverythingAtOnce) {
  const std::string frame = "-5 5 -4 0\n";
  const std::string sites = "begin {location}[2,1]\n0 0 2 {0} [A]\n3 0 1 {0} [B]\nend {location}\n";
  const std::string gauges = "begin {polygauge}\n1 0\n0 1\n-1 0\n0 -1\nend {polygauge}\n";
  const std::string rows = "1 1\n2 2\n-2 2\n-2 -2\n2 -2\n1 1\n-1 1\n-1 -1\n1 -1\n";
  const auto with = [](std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
  };
  const struct {
    std::string frame, sites, gauges, rows;
    std::vector<const char*> findings;
  } cases[] = {
      {frame, sites, gauges, rows, {}},
      {frame,
       sites,
       gauges,
       with(rows, "-2 2", "-2 3"),
       {"p:3:1: row (-2, 3) disagrees with gauge 0 and weight 2 of site 1 [A]"}},
      {frame, sites, gauges, with(rows, "1 1\n", "1 1 1\n"), {"numbers: expected 18"}},
      {frame, sites, gauges, "1 1 2 2 x\n", {"p:1:9: 'x' is not a number"}},
      {frame,
       with(sites, "0 1 {0}", "0 -1 {7}"),
       gauges,
       rows,
       {"s:3:5: the weight is -1: must be positive", "s:3:1: gauge 7 is not there: g has 1"}},
      {frame, with(sites, "2 {0}", "0 {0}"), gauges, rows, {"s:2:5: the weight is 0"}},
      {frame,
       with(sites, "3 0 1 {0}", "3 1 {0}"),
       gauges,
       rows,
       {"s:3:1: 2 numbers: expected x, y"}},
      {frame,
       with(sites, "3 0 1 {0}", "3 ,5 1 {0}"),
       gauges,
       rows,
       {"s:3:3: ',5' is not a number"}},
      {frame,
       with(sites, "3 0 1 {0}", "3 .5 1 {0}"),
       gauges,
       rows,
       {"a number begins with a digit: write 0.5"}},
      {frame,
       with(sites, "3 0 1", "\n3 0 1"),
       gauges,
       rows,
       {"s:3:1: an empty line among the records"}},
      {frame,
       with(sites, "3 0 1", "30 0 1"),
       gauges,
       rows,
       {"s:3:1: the site lies outside of the frame of f"}},
      {frame, "\xEF\xBB\xBF" + sites, gauges, rows, {"s:1:1: a byte order mark"}},
      {frame, sites, with(gauges, "}\n1 0", "}\r\n1 0"), rows, {"g:1:1: a carriage return"}},
      {frame, sites, with(gauges, "-1 0\n", "1 1\n"), rows, {"g:1:1: gauge 0: "}},
      {frame, sites, with(gauges, "0 1\n", "0 1 5\n"), rows, {"a vertex has one number"}},
      {frame,
       sites,
       "begin {polygauge}\n1 0\n0 -1\n-1 0\n0 1\nend {polygauge}\n",
       rows,
       {"clockwise"}},
      {frame,
       sites,
       "begin {polygauge}\n1 0\n3 0\n2 1\nend {polygauge}\n",
       rows,
       {"the origin is not strictly inside"}},
      {"5 -5 -4 0\n", sites, gauges, rows, {"f:1:3: xmax must be above xmin"}},
      {"", sites, gauges, rows, {"f:1:1: the file is empty"}},
      {with(frame, "0", "0,5"),
       with(sites, "0 1 {0}", "0 -1 {7}"),
       with(gauges, "-1 0", "-1 q"),
       rows,
       {"f:1:9: '0,5' is not a number: write it with a decimal point", "weight is -1",
        "s:3:1: gauge 7", "g:4:4: 'q' is not a number"}},
  };
  for (const auto& c : cases) {
    write("f", c.frame);
    write("s", c.sites);
    write("g", c.gauges);
    write("p", c.rows);
    const result r = planloc("check p g s f");
    EXPECT_EQ(r.status, c.findings.empty() ? 0 : 1) << r.out;
    for (const char* f : c.findings)
      EXPECT_NE(r.out.find(f), std::string::npos) << f << "\n" << r.out;
    std::istringstream lines(r.out);
    for (std::string line; !c.findings.empty() && std::getline(lines, line);) {
      int row = 0;
      int column = 0;
      EXPECT_EQ(std::sscanf(line.c_str() + 1, ":%d:%d: ", &row, &column), 2) << line;
    }
  }
  EXPECT_EQ(planloc("check missing").status, 1);
  for (const char* name :
       {"frame.txt", "capitals.loc", "roads.gauge", "median.par", "center.par"}) {
    EXPECT_EQ(planloc(std::string("check " EXAMPLES "/andalusia/") + name).status, 0) << name;
  }
}

}  // namespace
