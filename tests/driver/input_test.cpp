#include "planloc/driver/input.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

#include "planloc/driver/parse_args.h"

namespace planloc {
namespace {

TEST(ParseArgs, PendingFlagScan) {
  // The names of d l g p o s, "." for an untouched one.
  const std::pair<std::vector<const char*>, const char*> cases[] = {
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
  for (const auto& [arguments, expected] : cases) {
    std::vector<const char*> argv = {"cellwalk"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    argv.push_back(nullptr);
    string names[6];
    for (string& name : names) name = string(".");
    parse_args(static_cast<int>(argv.size()) - 1, argv.data(), names[0], names[1], names[2],
               names[3], names[4], names[5]);
    std::ostringstream text;
    for (const string& name : names) text << (&name == names ? "" : " ") << name;
    EXPECT_EQ(text.str(), expected);
  }
}

class InputTest : public ::testing::Test {
 protected:
  ~InputTest() override { std::filesystem::remove(file_); }

  string file(const char* text) {
    std::ofstream(file_) << text;
    return string(file_.c_str());
  }

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

using InputDeathTest = InputTest;

TEST_F(InputDeathTest, ShortFramesAreRefused) {
  const auto refused = ::testing::ExitedWithCode(1);
  EXPECT_EXIT(read_frame(string("no/such/file")), refused,
              "cellwalk: option -d, file \"no/such/file\": expected xmin, xmax, ymin and an "
              "integer .*, can't open the file\nusage: cellwalk ");
  EXPECT_EXIT(read_frame(file("")), refused, "found 0\n");
  EXPECT_EXIT(read_frame(file("0 x 1 1")), refused, "found 1\n");
  EXPECT_EXIT(read_frame(file("0 1 1")), refused, "found 3\n");
  EXPECT_EXIT(read_frame(file("0 1 1e999 1")), refused, "found 2\n");
}

}  // namespace
}  // namespace planloc
