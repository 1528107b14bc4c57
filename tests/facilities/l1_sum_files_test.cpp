#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "tests/facilities/plain_programs.h"
#include "tests/facilities/site_families.h"

namespace planloc {
namespace {

// A folder of its own for the files of a test.
class SumFiles : public testing::Test {
 protected:
  SumFiles() { std::filesystem::create_directories(folder_); }
  ~SumFiles() override { std::filesystem::remove_all(folder_); }

  std::string path(const char* name) const { return folder_ / name; }
  std::string text(const char* name) const {
    std::ifstream in(path(name));
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  void write(const char* name, const std::string& text) const { std::ofstream(path(name)) << text; }

 private:
  const std::filesystem::path folder_ =
      std::filesystem::path(testing::TempDir()) / ("sum_files_" + std::to_string(getpid()));
};

// Reads what write_mps writes and nothing else: every line matched whole, names counted up in
// order, every row with one type and one right-hand side.
plain_program parsed(const std::string& text) {
  std::istringstream in(text);
  std::string line;
  const auto next = [&]() -> const std::string& {
    if (!std::getline(in, line)) line = "(end)";
    return line;
  };
  const auto expect = [&](const char* what) { EXPECT_EQ(next(), what); };
  std::smatch part;
  const std::string number = "(-?\\d\\.\\d+E[+-]\\d{3})";
  const std::regex row(" ([EGLN])  ROW(\\d+)");
  const std::regex entry("    COL(\\d+) +(OBJ|ROW(\\d+)) *" + number);
  const std::regex side("    RHS1      ROW(\\d+) *" + number);

  plain_program P(0, 0, 0, 'E');
  expect("NAME PROBLEM             FREE");
  expect("ROWS");
  expect(" N  OBJ");
  while (std::regex_match(next(), std::regex(" .*"))) {
    EXPECT_TRUE(std::regex_match(line, part, row)) << line;
    EXPECT_EQ(std::stoi(part[2]), ++P.rows);
    P.types.push_back(part[1].str()[0]);
  }
  EXPECT_EQ(line, "COLUMNS");
  while (std::regex_match(next(), part, entry)) {
    const int j = std::stoi(part[1]);
    EXPECT_TRUE(j == P.columns || j == P.columns + 1) << line;
    P.columns = j;
    P.c.resize(j + 1);
    if (part[2] == "OBJ") {
      P.c[j] = std::stod(part[4]);
    } else {
      P.A.push_back({std::stoi(part[3]), j, std::stod(part[4])});
    }
  }
  EXPECT_EQ(line, "RHS");
  while (std::regex_match(next(), part, side)) {
    EXPECT_EQ(std::stoi(part[1]), static_cast<int>(P.bx.size()));
    P.bx.push_back(std::stod(part[2]));
  }
  EXPECT_EQ(line, "ENDATA");
  EXPECT_EQ(next(), "(end)");
  EXPECT_EQ(P.bx.size(), P.types.size());
  return P;
}

TEST_F(SumFiles, LetterByLetter) {
  facilities F = sites_of({site(3.14159, -20, 1.5, 12)});
  matrix V(2, 2);
  V(0, 1) = 0.05;
  F.N_l1_sum_export(2, V, path("x").c_str(), path("y").c_str());
  const std::string up_to_sides =
      "NAME PROBLEM             FREE\n"
      "ROWS\n"
      " N  OBJ\n"
      " E  ROW1\n"
      " E  ROW2\n"
      " E  ROW3\n"
      " G  ROW4\n"
      " N  ROW5\n"
      "COLUMNS\n"
      "    COL1      ROW1           1.0E+000\n"
      "    COL1      ROW3          -1.0E+000\n"
      "    COL1      ROW5           1.0E+000\n"
      "    COL2      ROW2           1.0E+000\n"
      "    COL2      ROW3           1.0E+000\n"
      "    COL2      ROW5           1.0E+000\n"
      "    COL3      OBJ            1.50000000E+000\n"
      "    COL3      ROW1           1.0E+000\n"
      "    COL3      ROW4           1.0E+000\n"
      "    COL4      OBJ            1.50000000E+000\n"
      "    COL4      ROW1          -1.0E+000\n"
      "    COL4      ROW4           1.0E+000\n"
      "    COL5      OBJ           1.20000000E+001\n"
      "    COL5      ROW2           1.0E+000\n"
      "    COL5      ROW4           1.0E+000\n"
      "    COL6      OBJ           1.20000000E+001\n"
      "    COL6      ROW2          -1.0E+000\n"
      "    COL6      ROW4           1.0E+000\n"
      "    COL7      OBJ             5.00000000E-002\n"
      "    COL7      ROW3           1.0E+000\n"
      "    COL7      ROW4           1.0E+000\n"
      "    COL8      OBJ             5.00000000E-002\n"
      "    COL8      ROW3          -1.0E+000\n"
      "    COL8      ROW4           1.0E+000\n"
      "RHS\n";
  const auto sides = [](const char* a) {
    std::string text;
    for (int i = 1; i <= 2; ++i) text += "    RHS1      ROW" + std::to_string(i) + a + '\n';
    for (int i = 3; i <= 5; ++i) {
      text += "    RHS1      ROW" + std::to_string(i) + "           0.0E+000\n";
    }
    return text + "ENDATA\n";
  };
  EXPECT_EQ(text("x"), up_to_sides + sides("           3.1E+000"));
  EXPECT_EQ(text("y"), up_to_sides + sides("          -2.0E+001"));
}

TEST_F(SumFiles, OddNumbers) {
  // Many columns and rows, and what the library's own programs never hold.
  constexpr int kSize = 1000;
  matrix A(kSize, kSize);
  vector c(kSize);
  vector b(kSize);
  list<char> types;
  for (int i = 0; i < kSize; ++i) types.append(i == 1 ? 'X' : 'L');
  A(9, 99) = -123456.0;
  A(999, 999) = 1e-200;
  c[8] = 0.5;
  c[9] = -5.0;
  c[99] = 1e30;
  c[999] = 1e-5;
  b[7] = -std::numeric_limits<double>::infinity();
  b[8] = -0.0;
  b[9] = -1e150;
  b[99] = 0.25;
  b[999] = std::numeric_limits<double>::infinity();
  facilities::write_mps(c, A, b, types, path("odd").c_str());
  const std::string written = text("odd");
  for (const char* line :
       {" L  ROW1\n L  ROW3\n", "    COL10     OBJ-5.00000000E+000\n",
        "    COL100    OBJ 1.00000000E+030\n", "    COL100    ROW10         -1.2E+005\n",
        "    COL1000   OBJ                 1.00000000E-005\n",
        "    COL1000   ROW1000        1.0E-200\n", "    RHS1      ROW8          -INF\n",
        "    RHS1      ROW9           -0.0E+000\n",
        "    COL9      OBJ             5.00000000E-001\n",
        "    RHS1      ROW10         -1.0E+150\n", "    RHS1      ROW100         2.5E-001\n",
        "    RHS1      ROW1000        INF\nENDATA\n"}) {
    EXPECT_NE(written.find(line), std::string::npos) << line;
  }
}

// Read back and solved, the files have the optimum of the direct route, and for N = 4 that of the
// problem itself. Coordinates have two digits, and none is negative.
TEST_F(SumFiles, HaveTheOptimum) {
  std::mt19937 random(8);
  for (int round = 0; round < 40; ++round) {
    const int N = 1 + round % 4;
    facilities F;
    matrix V(N, N);
    for (int i = 1 + static_cast<int>(random() % 5); i > 0; --i) {
      location a(2, N);
      for (int c = 0; c < 2; ++c) a[c] = static_cast<double>(random() % 99) / 10.0;
      for (int j = 0; j < N; ++j) a.weight(j) = static_cast<double>(1 + random() % 40) / 8.0;
      F.append(a);
    }
    for (int j = 0; j < N; ++j) {
      for (int k = j + 1; k < N; ++k) V(j, k) = static_cast<double>(random() % 40) / 8.0;
    }
    F.N_l1_sum_export(N, V, path("x").c_str(), path("y").c_str());
    EXPECT_TRUE(F.opt.empty());
    const plain_program x = parsed(text("x"));
    const plain_program y = parsed(text("y"));
    ASSERT_EQ(x.columns, N * (2 * F.size() + N));
    const double value = value_by_engine(x, x.bx) + value_by_engine(y, y.bx);
    EXPECT_NEAR(value, least_sum_by_enumeration(F, V), 1e-8 * (1.0 + value)) << "round " << round;
    if (N == 4) continue;
    EXPECT_NEAR(value, F.N_l1_sum(N, V, true), 1e-8 * (1.0 + value)) << "round " << round;
  }
}

TEST_F(SumFiles, ImportReadsPositions) {
  // Digits before and behind the field, which do not count, and numbers that fill it to its end.
  const auto value = [](const std::string& number) {
    return "           VAL 9" + std::string(45 - number.size(), ' ') + number + "4\n";
  };
  const auto column = [](const std::string& number) {
    return "          COL               99" + std::string(15 - number.size(), ' ') + number + "7\n";
  };
  const std::string column_line = "          COL                 ";
  write("x", "a title\n\n" + value("12.5") + column("-3.5") + column("1.5E+000") + column("8"));
  write("y", value("1") + value("2.25") + "         COL                           5\n" +
                 column("8") + "           VAL\n" + value("-4") + column_line);
  facilities F = sites_of({site(0, 0, 1)});
  F.opt.append(site(7, 7, 7));
  EXPECT_EQ(F.N_l1_sum_import(path("x").c_str(), path("y").c_str(), 2), 8.5);
  EXPECT_EQ(results_of(F), (std::vector{site(-3.5, 8, 0), site(1.5, 0, 1)}));

  // A line of 110 characters is read, and a longer one ends the file.
  write("x", column_line + "4" + std::string(79, ' ') + "\n" + column_line + "5" +
                 std::string(80, ' ') + "\n" + column_line + "6\n");
  EXPECT_EQ(F.N_l1_sum_import(path("x").c_str(), path("none").c_str(), 2), 0.0);
  EXPECT_EQ(results_of(F), (std::vector{site(4, 0, 0), site(0, 0, 1)}));
  EXPECT_EQ(F.N_l1_sum_import(path("none").c_str(), path("none").c_str(), -1), 0.0);
  EXPECT_TRUE(F.opt.empty());
}

TEST_F(SumFiles, FilesThatCannotBeWritten) {
  facilities F = sites_of({site(1, 2, 3)});
  F.N_l1_sum_export(1, matrix(1, 1), path("no/folder").c_str(), path("y").c_str());
  EXPECT_EQ(parsed(text("y")).rows, 3);
}

}  // namespace
}  // namespace planloc
