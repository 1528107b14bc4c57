// Whole runs of cellwalk, as its users start it.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <utility>

namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

class RunTest : public ::testing::Test {
 protected:
  struct Result {
    int status;  // exit status, or 128 + the signal
    std::string out;
    std::string err;
  };

  RunTest() { fs::create_directories(dir_); }
  ~RunTest() override { fs::remove_all(dir_); }

  fs::path file(const std::string& name) const { return dir_ / name; }
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name)) << text;
    return file(name).string();
  }

  Result command(const std::string& line) const {
    const std::string shell =
        "cd '" + dir_.string() + "' && DISPLAY= " + line + " </dev/null >stdout.txt 2>stderr.txt";
    const int raw = std::system(shell.c_str());
    return {WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw), contents(file("stdout.txt")),
            contents(file("stderr.txt"))};
  }

  // Runs the problem of the files that `set_small_problem` wrote, with the options in `options`
  // coming last, so that they override the others.
  Result run(const std::string& options = "") const {
    return command(CELLWALK " -d frame -l sites -g gauges -p parameters -o log -s page " + options);
  }

  // Two facilities at (0, 0) and (3, 0) with the weights 2 and 1 under the l1 norm.
  void set_small_problem(const std::string& order_weights) const {
    write("frame", "-5 5 -4 0");
    write("sites", "begin {location}[2,1]\n0 0 2 {0} [A]\n3 0 1 {0} [B]\nend {location}\n");
    write("gauges", "begin {polygauge}\n1 0\n0 1\n-1 0\n0 -1\nend {polygauge}\n");
    write("parameters", order_weights + " 2 2 -2 2 -2 -2 2 -2 1 1 -1 1 -1 -1 1 -1");
  }

 private:
  fs::path dir_ = fs::temp_directory_path() / ("planloc_run_test." + std::to_string(getpid()));
};

std::string without_times(const std::string& out) {
  return std::regex_replace(out, std::regex("Total Time2=.*"), "Total Time2=");
}

constexpr const char* kPageEnd = "closepath\nstroke\ngrestore\nshowpage\n";

bool ends_with(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

TEST_F(RunTest, ExamplesGiveTheStoredLogsAndPages) {
  struct Case {
    const char *directory, *sites, *gauges, *parameters, *result;
  };
  const Case cases[] = {
      {"andalusia", "capitals.loc", "roads.gauge", "median.par", "median"},
      {"andalusia", "capitals.loc", "roads.gauge", "center.par", "center"},
      {"andalusia", "capitals.loc", "roads.gauge", "k-centrum.par", "k-centrum"},
      {"four-sites", "sites.loc", "sites.gauge", "sum.par", "sum"},
  };
  for (const Case& c : cases) {
    const std::string in = std::string(EXAMPLES "/") + c.directory + "/";
    const Result r = run("-d " + in + "frame.txt -l " + in + c.sites + " -g " + in + c.gauges +
                         " -p " + in + c.parameters);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(contents(file("log")), contents(in + c.result + ".log")) << c.result;
    EXPECT_EQ(contents(file("page")), contents(in + c.result + ".ps")) << c.result;
    EXPECT_EQ(r.err, "");
  }
}

TEST_F(RunTest, ParametersOfTheExamplesComeFromGaugeAndWeight) {
  struct Case {
    const char *files, *order_weights, *parameters;
  };
  const Case cases[] = {
      {"andalusia/capitals.loc " EXAMPLES "/andalusia/roads.gauge", "1 1 1 1 1 1 1 1",
       "andalusia/median.par"},
      {"andalusia/capitals.loc " EXAMPLES "/andalusia/roads.gauge", "0 0 0 0 0 0 0 1",
       "andalusia/center.par"},
      {"andalusia/capitals.loc " EXAMPLES "/andalusia/roads.gauge", "0 0 0 0 0 1 1 1",
       "andalusia/k-centrum.par"},
      {"four-sites/sites.loc " EXAMPLES "/four-sites/sites.gauge", "1 1 1 1", "four-sites/sum.par"},
  };
  for (const Case& c : cases) {
    const Result r =
        command(std::string(MAKE_PARAMETERS " " EXAMPLES "/") + c.files + " " + c.order_weights);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, contents(std::string(EXAMPLES "/") + c.parameters)) << c.parameters;
  }
}

TEST_F(RunTest, StandardOutputOfASmallRun) {
  set_small_problem("1 1");
  const Result r = run();
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(without_times(r.out),
            "The solution is found\nX=(0, 0)\nZ=(0 3 )\nThe objective value is=3\nTotal Time2=\n");
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(contents(file("log")),
            "starting point=(0,0)\nsigma=(1 2 )\npar1=1; par2=1; \n"
            "P_sigma=(1 2 )\nSol=(0,0); Value=3\nsigma=(1 2 )\n");
}

TEST_F(RunTest, AProgramWithoutOptimumClosesThePage) {
  set_small_problem("1 -1");
  const Result r = run();
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "The problem is unbounded\n");
  EXPECT_EQ(contents(file("log")),
            "starting point=(0,0)\nsigma=(1 2 )\npar1=1; par2=-1; \nP_sigma=(1 2 )\n");
  // The origin's dot stands twice, joined by a line of no length.
  EXPECT_TRUE(ends_with(contents(file("page")),
                        "gsave\nnewpath\n0.0 1.0 0.0 setrgbcolor\n"
                        "closepath\nstroke\nnewpath\n0 0 0.1 0 360 arc\nclosepath\nfill\nnewpath\n"
                        "closepath\nstroke\nnewpath\n0 0 0.1 0 360 arc\nclosepath\nfill\nnewpath\n"
                        "0 0 moveto 0 0 lineto\n" +
                            std::string(kPageEnd)));
}

TEST_F(RunTest, BadInput) {
  set_small_problem("1 1");
  const std::string empty_list = write("no_gauges", "begin {polygaugelist}\nend {polygaugelist}\n");
  const std::string no_sites = write("no_sites", "begin {location}[2,1]\nend {location}\n");
  const std::string one_site = write("one_site", "begin {location}\n0 0 1 {0}\nend {location}\n");
  const std::string solid = write("solid", "begin {location}[3,1]\n0 0 0 1 {0}\nend\n");
  const std::string broken = write("broken", "begin {location}[2,1]\n0 zero 1 {0}\n");
  const std::string flat = write("flat", "3 3 0 0");
  const std::string brief = write("brief", "1 1 2 2");
  struct Case {
    std::string options;
    int status;
    const char* message;
  };
  const int aborted = 128 + SIGABRT;
  const Case cases[] = {
      {"-l nothing", 1, "MAVI error: Can't open file! ErrorCode: 1503\n"},
      {"-g nothing", 1, "MAVI error: Can't open file! ErrorCode: 1607\n"},
      {"-l " + broken, 1,
       "Coordinate #2 expected in location file at line 2, found \"zero 1 {0}\""},
      {"-d nothing", 1, "cellwalk: option -d, file \"nothing\": expected xmin, xmax, ymin"},
      {"-d " + flat, aborted, "illegal arguments in W.init: x0 (3.000000) >= x1 (3.000000)\n"},
      {"-p nothing", 1,
       "cellwalk: option -p, file \"nothing\": expected 2 order weights and 8 rows"},
      {"-p " + brief, 1, "18 numbers, found 4\nusage: cellwalk -d frame"},
      {"-g " + empty_list, aborted, "dlist::get_item: index out of range"},
      {"-l " + no_sites, aborted, "getIndexMax() > i"},
      {"-l " + one_site, aborted, "i >= getIndexMin()"},
      {"-l " + solid, 1, "Conversion to only possible for dimension 2. ErrorCode: 1203"},
  };
  for (const Case& c : cases) {
    const Result r = run(c.options);
    EXPECT_EQ(r.status, c.status) << c.options;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << c.options << ": " << r.err;
  }
  // A refused parameter file leaves a whole page behind.
  run("-p " + brief);
  EXPECT_TRUE(ends_with(contents(file("page")), kPageEnd));
}

TEST_F(RunTest, OutputsThatCannotBeCreatedAreDropped) {
  set_small_problem("1 1");
  const Result r = run("-o no/such/log -s no/such/page");
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("The objective value is=3\n"), std::string::npos);
  EXPECT_EQ(r.err,
            "cellwalk: option -s, file \"no/such/page\": can't write the file\n"
            "cellwalk: option -o, file \"no/such/log\": can't write the file\n");
  // A disk that is full.
  EXPECT_EQ(run("-o /dev/full").err,
            "cellwalk: option -o, file \"/dev/full\": can't write the file\n");
}

TEST_F(RunTest, AVastProblemIsRefusedBeforeItsPage) {
  set_small_problem("1 1");
  std::string sites = "begin {location}[2,1]\n";
  for (int i = 0; i < 700'000; ++i) sites += "0 0 1 {0}\n";
  write("sites", sites);
  const Result r = run();
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("700000 facilities, whose gauges have 2800000 vertices"), std::string::npos)
      << r.err;
  EXPECT_LT(fs::file_size(file("page")), 1000U);
}

TEST_F(RunTest, AWalkCanBeGivenUp) {
  const std::string in = EXAMPLES "/andalusia/";
  const std::string files = "-d " + in + "frame.txt -l " + in + "capitals.loc -g " + in +
                            "roads.gauge -p " + in + "k-centrum.par --max-passes=";
  const Result cut = run(files + "2");
  EXPECT_EQ(cut.status, 3);
  EXPECT_EQ(cut.err, "cellwalk: the walk was not through after 2 programs (--max-passes)\n");
  EXPECT_TRUE(ends_with(contents(file("page")), kPageEnd));
  const std::string log = contents(file("log"));
  EXPECT_EQ(contents(in + "k-centrum.log").rfind(log, 0), 0U) << log;
  EXPECT_EQ(run(files + "100").status, 0);
}

TEST_F(RunTest, LongOptions) {
  EXPECT_EQ(command(CELLWALK " --version").out, "cellwalk " PROJECT_VERSION "\n");
  EXPECT_EQ(command(CELLWALK " --help").out.rfind("usage: cellwalk -d ", 0), 0U);
  set_small_problem("1 1");
  for (const char* const sign : {"=", " "}) {
    EXPECT_EQ(run("--picture" + (sign + std::string("picture.png"))).status, 0);
    EXPECT_EQ(contents(file("picture.png")).substr(0, 8), "\x89PNG\r\n\x1a\n");
    fs::remove(file("picture.png"));
  }
  const std::pair<const char*, const char*> refused[] = {
      {"--pictur=x.png", "unknown option --pictur (is it --picture?)"},
      {"--maxpasses=3", "unknown option --maxpasses (is it --max-passes?)"},
      {"--elsewhere", "unknown option --elsewhere\n"},
      {"--picture", "--picture expects a value"},
      {"--max-passes=x", "--max-passes expects a number from 1 on, found x"},
      {"--max-passes 0", "--max-passes expects a number from 1 on, found 0"},
  };
  for (const auto& [option, text] : refused) {
    const Result refusal = run(option);
    EXPECT_EQ(refusal.status, 1);
    EXPECT_EQ(refusal.err.rfind("cellwalk: " + std::string(text), 0), 0U) << refusal.err;
  }
  const Result r = run("--picture=no/such/picture.png");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err.rfind("Error: Window cannot be saved as no/such/picture.png: ", 0), 0U) << r.err;
}

}  // namespace
