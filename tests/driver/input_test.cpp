#include "planloc/driver/input.h"

#include <filesystem>
#include <fstream>

#include "planloc/driver/parse_args.h"
#include "tests/driver/problem_fixture.h"

namespace planloc {
namespace {

TEST(ParseArgs, PendingFlagScan) {
  struct Case {
    std::vector<const char*> arguments;
    const char* names;  // d l g p o s, "." for an untouched one
  };
  const Case cases[] = {
      {{"-d", "D", "-l", "L", "-g", "G", "-p", "P", "-o", "O", "-s", "S"}, "D L G P O S"},
      {{"-g", "b", "-l", "a"}, ". a b . . ."},
      {{"-d", "-l", "f"}, "f f . . . ."},  // one operand for all that wait
      {{"-d", "-l"}, "-  . . . ."},        // nothing behind the last option
      {{"-x", "foo"}, ". . . . . ."},
      {{"-d", "-x", "foo"}, "foo . . . . ."},
      {{"-dfoo", "bar"}, "bar . . . . ."},
      {{"foo", "-d", "a", "b"}, "a . . . . ."},
      {{"-d", "a", "-d", "b"}, "b . . . . ."},
      {{"-", "--picture=x", "-s", "S"}, ". . . . . S"},
      {{"-o", ""}, ". . . .  ."},
  };
  for (const Case& c : cases) {
    std::vector<const char*> argv = {"cellwalk"};
    argv.insert(argv.end(), c.arguments.begin(), c.arguments.end());
    const int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);
    string d("."), l("."), g("."), p("."), o("."), s(".");
    parse_args(argc, argv.data(), d, l, g, p, o, s);
    EXPECT_STREQ(string("%s %s %s %s %s %s", d.cstring(), l.cstring(), g.cstring(), p.cstring(),
                        o.cstring(), s.cstring())
                     .cstring(),
                 c.names);
  }
}

class InputTest : public ProblemTest {
 protected:
  ~InputTest() override { std::filesystem::remove(file_); }

  string file(const char* text) {
    std::ofstream(file_) << text;
    return string(file_.c_str());
  }

  void read_parameters(const string& name) {
    std::ifstream in(name.cstring());
    parameter_reader reader(*manager_, in, name);
    coef_ = reader.read_order_weights();
    reader.read_rows();
  }

  double** coef_ = nullptr;

 private:
  std::filesystem::path file_ =
      std::filesystem::temp_directory_path() / ("planloc_input_test." + std::to_string(getpid()));
};

TEST_F(InputTest, Frame) {
  const frame f = read_frame(file("-8\n 1.5e0\t35.5 2 trailing"));
  EXPECT_EQ(f.xmin, -8);
  EXPECT_EQ(f.xmax, 1.5);
  EXPECT_EQ(f.ymin, 35.5);
  EXPECT_TRUE(f.show_coords);
  EXPECT_FALSE(read_frame(file("0 1 0 0")).show_coords);
}

TEST_F(InputTest, Parameters) {
  add_diamond();
  add_gauge({{1, 0}, {-1, 1}, {-1, -1}});
  add_facility(0, 0, 1, 1);
  add_facility(1, 0, 1, 0);
  read_parameters(file("0.5 2\n1 2 3 4 5 6\n7 8 9 10 11 12 13 14 15"));
  EXPECT_EQ(coef_[0][0], 0.5);
  EXPECT_EQ(coef_[0][1], 2);
  for (int k = 1; k <= 7; ++k) {
    EXPECT_EQ(coef_[k][0], 2 * k - 1);
    EXPECT_EQ(coef_[k][1], 2 * k);
  }
}

using InputDeathTest = InputTest;

TEST_F(InputDeathTest, ShortFilesAreRefused) {
  const auto refused = ::testing::ExitedWithCode(1);
  EXPECT_EXIT(read_frame(string("no/such/file")), refused,
              "cellwalk: option -d, file \"no/such/file\": expected xmin, xmax, ymin and an "
              "integer .*, can't open the file\nusage: cellwalk ");
  EXPECT_EXIT(read_frame(file("")), refused, "found 0\n");
  EXPECT_EXIT(read_frame(file("0 x 1 1")), refused, "found 1\n");
  EXPECT_EXIT(read_frame(file("0 1 1")), refused, "found 3\n");
  EXPECT_EXIT(read_frame(file("0 1 1e999 1")), refused, "found 2\n");
  add_diamond();
  add_facility(0, 0, 1);
  EXPECT_EXIT(read_parameters(string("")), refused, "option -p, file \"\": .*can't open the file");
  EXPECT_EXIT(read_parameters(file("")), refused,
              "expected 1 order weights and 4 rows of two numbers, .*: 9 numbers, found 0\n");
  EXPECT_EXIT(read_parameters(file("1 1 1 1 1 1 1 1 o")), refused, "9 numbers, found 8\n");
}

}  // namespace
}  // namespace planloc
