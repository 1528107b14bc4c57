// ClpLibrary beside GLPK on random programs of all shapes, solved in all ways.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <iterator>
#include <random>
#include <string>

#include "glpk_program.h"

namespace planloc {
namespace {

constexpr double kInf = CPX_INFBOUND;

class RandomPrograms {
 public:
  explicit RandomPrograms(unsigned seed) : random_(seed) {}

  int number(int low, int high) {
    return low + static_cast<int>(random_() % static_cast<unsigned>(high - low + 1));
  }

  // Free, at least, at most, between, fixed.
  Column column() {
    const double cost = number(-4, 5), low = number(-3, 2), width = number(1, 6);
    const Column kinds[] = {{cost, -kInf, kInf}, {cost, low, kInf},        {cost, 0, kInf},
                            {cost, -kInf, low},  {cost, low, low + width}, {cost, low, low}};
    return kinds[number(0, 5)];
  }
  std::vector<Column> columns(int n) {
    std::vector<Column> result;
    for (int j = 0; j < n; ++j) result.push_back(column());
    return result;
  }
  std::vector<Row> rows(int m, std::size_t n, int largest) {
    std::vector<Row> result;
    for (int i = 0; i < m; ++i) {
      Row row{{}, "LLGGE"[number(0, 4)], 1.0 * number(-6, 9)};
      for (std::size_t j = 0; j < n; ++j) {
        row.coefficients.push_back(number(0, 2) ? number(-largest, largest) : 0);
      }
      result.push_back(row);
    }
    return result;
  }

 private:
  std::mt19937 random_;
};

struct ExpectSilence {
  ExpectSilence() {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
  }
  ~ExpectSilence() {
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  }
};

using Solve = std::function<int(Program&)>;

const Solve kSolves[] = {
    [](Program& p) { return p.library.CPXprimopt(p.env, p.lp); },
    [](Program& p) { return p.library.CPXdualopt(p.env, p.lp); },
    [](Program& p) { return p.library.CPXbaropt(p.env, p.lp); },
    [](Program& p) { return p.library.CPXhybbaropt(p.env, p.lp, 'p'); },
    [](Program& p) { return p.library.CPXhybbaropt(p.env, p.lp, 'd'); },
    [](Program& p) { return p.library.CPXhybnetopt(p.env, p.lp, 'p'); },
    [](Program& p) { return p.library.CPXhybnetopt(p.env, p.lp, 'd'); },
};

double dot(const std::vector<double>& a, const std::vector<double>& b) {
  double sum = 0;
  for (std::size_t k = 0; k < a.size(); ++k) sum += a[k] * b[k];
  return sum;
}

// Feasible, the prices belong to the costs, and no price would be paid for a move that is free.
void expect_optimal(Program& p, const std::vector<Column>& columns, const std::vector<Row>& rows,
                    int sense) {
  const std::vector<double> x = p.x(), d = p.reduced_costs(), pi = p.duals(), slack = p.slacks();
  constexpr double kNear = 1e-8;
  for (std::size_t j = 0; j < columns.size(); ++j) {
    const Column& c = columns[j];
    EXPECT_GE(x[j], c.lower - kNear);
    EXPECT_LE(x[j], c.upper + kNear);
    double price = c.cost;
    for (std::size_t i = 0; i < rows.size(); ++i) price -= pi[i] * rows[i].coefficients[j];
    EXPECT_NEAR(d[j], price, kNear);
    if (x[j] > c.lower + kNear) {
      EXPECT_LE(sense * d[j], kNear);
    }
    if (x[j] < c.upper - kNear) {
      EXPECT_GE(sense * d[j], -kNear);
    }
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_NEAR(slack[i], rows[i].rhs - dot(rows[i].coefficients, x), kNear);
    const char s = rows[i].sense;
    if (s != 'G') {
      EXPECT_GE(slack[i], -kNear);
    }
    if (s != 'L') {
      EXPECT_LE(slack[i], kNear);
    }
    // A greater right-hand side of L widens, one of G narrows.
    if (s == 'L') {
      EXPECT_LE(sense * pi[i], kNear);
    }
    if (s == 'G') {
      EXPECT_GE(sense * pi[i], -kNear);
    }
    if (std::fabs(slack[i]) > kNear) {
      EXPECT_NEAR(pi[i], 0, kNear);
    }
  }
}

void expect_near(const std::vector<double>& a, const std::vector<double>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t k = 0; k < a.size(); ++k) EXPECT_NEAR(a[k], b[k], 1e-7) << k;
}

// Also with costs that come close to 1e25, where CLP ends the process.
TEST(ClpPeerTest, LinearProgramsInAllWays) {
  RandomPrograms random(31);
  int seen[4] = {}, unique = 0;
  const ExpectSilence silence;
  for (int round = 0; round < 600; ++round) {
    SCOPED_TRACE(round);
    // Entries of a network in every other program; small right-hand sides make degenerate ones.
    const auto columns = random.columns(random.number(1, 7));
    const auto rows = random.rows(random.number(1, 7), columns.size(), round % 2 ? 1 : 4);
    const int sense = round % 4 < 2 ? 1 : -1;
    const GlpkAnswer peer = glpk_answer(glpk_program(columns, rows, sense));
    ASSERT_NE(peer.status, 0);
    ++seen[peer.status];
    unique += peer.status == 1 && peer.unique;
    for (std::size_t way = 0; way < std::size(kSolves); ++way) {
      SCOPED_TRACE(way);
      const double scale = round % 5 ? 1 : 0x1p80;
      std::vector<Column> costs = columns;  // Program negates them
      for (Column& column : costs) column.cost *= sense * scale;
      Program program(costs, rows, sense);
      program.set(CPX_PARAM_PREIND, round % 3 != 0);
      program.set(CPX_PARAM_NETFIND, 1 + round % 3);
      ASSERT_EQ(kSolves[way](program), 0);
      ASSERT_EQ(program.status(), peer.status);
      if (peer.status != CPX_STAT_OPTIMAL) continue;
      EXPECT_NEAR(program.value() / scale, peer.value, 1e-8);
      if (scale != 1) continue;
      expect_optimal(program, columns, rows, sense);
      if (!peer.unique) continue;
      expect_near(program.x(), peer.x);
      expect_near(program.duals(), peer.dual);
      expect_near(program.reduced_costs(), peer.reduced_cost);
    }
    if (testing::Test::HasFailure()) break;
  }
  for (int status = 1; status <= 3; ++status) EXPECT_GT(seen[status], 60) << status;
  EXPECT_GT(unique, 45);
}

// The rows that hold with equality at the answer determine it; their residuals tell whether it is
// the vertex to double accuracy.
TEST(ClpPeerTest, SolutionsAreVerticesToDoubleAccuracy) {
  std::mt19937 random(4);
  std::uniform_real_distribution<double> coefficient(-3, 3);
  constexpr std::size_t n = 25;
  for (int round = 0; round < 60; ++round) {
    std::vector<Column> columns;
    std::vector<Row> rows;
    std::vector<double> inside;
    for (std::size_t j = 0; j < n; ++j) {
      columns.push_back({std::fabs(coefficient(random)), -CPX_INFBOUND, CPX_INFBOUND});
      inside.push_back(10 * coefficient(random));
      rows.push_back({std::vector<double>(n, 0.0), 'G', -100.0 / 3});
      rows.back().coefficients[j] = 1;
    }
    for (std::size_t i = 0; i < 4 * n; ++i) {
      Row row{{}, 'G', -std::fabs(coefficient(random))};
      for (const double x : inside) {
        row.coefficients.push_back(coefficient(random));
        row.rhs += row.coefficients.back() * x;
      }
      rows.push_back(row);
    }
    Program program(columns, rows, 1);
    ASSERT_EQ(program.solve(true), 1);
    const std::vector<double> x = program.x();
    std::size_t tight = 0;
    for (const Row& row : rows) {
      long double slack = -row.rhs, scale = std::fabs(row.rhs);
      for (std::size_t j = 0; j < n; ++j) {
        slack += static_cast<long double>(row.coefficients[j]) * x[j];
        scale += std::fabs(row.coefficients[j] * x[j]);
      }
      EXPECT_GE(slack, -2e-16L * scale);
      tight += slack <= 2e-16L * scale;
    }
    EXPECT_EQ(tight, n) << "round " << round;
  }
}

// After changes the program is as if it had been made so, and starts from the basis at hand.
TEST(ClpPeerTest, ChangedPrograms) {
  RandomPrograms random(5);
  for (int round = 0; round < 150; ++round) {
    SCOPED_TRACE(round);
    auto columns = random.columns(6);
    auto rows = random.rows(5, 6, 3);
    Program program(columns, rows, 1);
    program.solve(round % 2);
    ClpLibrary& lib = program.library;
    const int first = random.number(0, 3), last = first + random.number(0, 1);
    lib.CPXdelrows(program.env, program.lp, first, last);
    rows.erase(rows.begin() + first, rows.begin() + last + 1);
    const int gone = random.number(0, 4);
    lib.CPXdelcols(program.env, program.lp, gone, gone + 1);
    columns.erase(columns.begin() + gone, columns.begin() + gone + 2);
    for (Row& row : rows) {
      row.coefficients.erase(row.coefficients.begin() + gone, row.coefficients.begin() + gone + 2);
    }
    const int row = random.number(0, 2), column = random.number(0, 3);
    const double rhs = random.number(-5, 9), upper = random.number(3, 9);
    lib.CPXchgrhs(program.env, program.lp, 1, &row, &rhs);
    rows[static_cast<std::size_t>(row)].rhs = rhs;
    lib.CPXchgbds(program.env, program.lp, 1, &column, "U", &upper);
    columns[static_cast<std::size_t>(column)].upper = upper;
    const Row added = random.rows(1, 4, 3)[0];
    program.add_sparse_row({{0, added.coefficients[0]},
                            {1, added.coefficients[1]},
                            {2, added.coefficients[2]},
                            {3, added.coefficients[3]}},
                           added.sense, added.rhs);
    rows.push_back(added);
    const GlpkAnswer peer = glpk_answer(glpk_program(columns, rows, 1));
    ASSERT_EQ(program.solve(round % 3 != 0), peer.status);
    if (peer.status != CPX_STAT_OPTIMAL) continue;
    EXPECT_NEAR(program.value(), peer.value, 1e-8);
    expect_optimal(program, columns, rows, 1);
  }
}

// ----- Mixed integer programs -----

struct Set {
  char type;
  std::vector<int> columns;
};

struct MixedProgram {
  std::vector<Column> columns;
  std::vector<Row> rows;
  std::string types;
  std::vector<Set> sets;
  int sense;
};

void load_sets(Program& program, const std::vector<Set>& sets) {
  std::vector<char> types;
  std::vector<int> starts, indices;
  std::vector<double> weights;
  for (const Set& set : sets) {
    types.push_back(set.type);
    starts.push_back(static_cast<int>(indices.size()));
    for (const int column : set.columns) {
      indices.push_back(column);
      weights.push_back(static_cast<double>(indices.size()));
    }
  }
  ASSERT_EQ(program.library.CPXcopysos(program.env, program.lp, static_cast<int>(sets.size()),
                                       static_cast<int>(indices.size()), types.data(), nullptr,
                                       starts.data(), indices.data(), weights.data()),
            0);
}

// All values of the integer columns and all zeros of the sets, a linear program of GLPK each.
GlpkAnswer enumerated(const MixedProgram& p, std::size_t column = 0, std::size_t set = 0) {
  for (std::size_t j = column; j < p.columns.size(); ++j) {
    if (p.types[j] == 'C') continue;
    GlpkAnswer best;
    best.status = CPX_STAT_INFEASIBLE;
    for (double v = std::ceil(p.columns[j].lower); v <= p.columns[j].upper; ++v) {
      MixedProgram fixed = p;
      fixed.columns[j].lower = fixed.columns[j].upper = v;
      const GlpkAnswer one = enumerated(fixed, j + 1, set);
      const bool better =
          best.status == CPX_STAT_INFEASIBLE || p.sense * one.value < p.sense * best.value;
      if (one.status == CPX_STAT_UNBOUNDED) return one;
      if (one.status == CPX_STAT_OPTIMAL && better) best = one;
    }
    return best;
  }
  if (set == p.sets.size()) return glpk_answer(glpk_program(p.columns, p.rows, p.sense));
  GlpkAnswer best;
  best.status = CPX_STAT_INFEASIBLE;
  const Set& s = p.sets[set];
  const int width = s.type - '0';
  for (int from = 0; from + width <= static_cast<int>(s.columns.size()); ++from) {
    MixedProgram fixed = p;
    bool possible = true;
    for (int k = 0; k < static_cast<int>(s.columns.size()); ++k) {
      if (k >= from && k < from + width) continue;
      Column& c = fixed.columns[static_cast<std::size_t>(s.columns[static_cast<std::size_t>(k)])];
      possible = possible && c.lower <= 0 && c.upper >= 0;
      c.lower = c.upper = 0;
    }
    if (!possible) continue;
    const GlpkAnswer one = enumerated(fixed, p.columns.size(), set + 1);
    if (one.status == CPX_STAT_UNBOUNDED) return one;
    const bool better =
        best.status == CPX_STAT_INFEASIBLE || p.sense * one.value < p.sense * best.value;
    if (one.status == CPX_STAT_OPTIMAL && better) best = one;
  }
  return best;
}

TEST(ClpPeerTest, MixedIntegerProgramsAgainstEnumeration) {
  RandomPrograms random(77);
  int seen[4] = {};
  const ExpectSilence silence;
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    MixedProgram p{{}, {}, "", {}, round % 2 ? 1 : -1};
    const int integers = random.number(0, 4), continuous = random.number(1, 4);
    for (int j = 0; j < integers; ++j) {
      const double low = random.number(-2, 1);
      p.columns.push_back({1.0 * random.number(-5, 5), low, low + random.number(1, 3)});
      p.types += low == 0 && p.columns.back().upper == 1 ? 'B' : 'I';
    }
    for (int j = 0; j < continuous; ++j) {
      p.columns.push_back(random.column());
      p.types += 'C';
    }
    p.rows = random.rows(random.number(1, 5), p.columns.size(), 4);
    if (round % 3 == 0 && continuous > 1) {
      Set set{random.number(0, 1) ? '1' : '2', {}};
      for (int j = integers; j < integers + continuous; ++j) set.columns.push_back(j);
      p.sets.push_back(set);
    }
    const GlpkAnswer peer = enumerated(p);
    ++seen[peer.status];
    std::vector<Column> costs = p.columns;
    for (Column& column : costs) column.cost *= p.sense;
    Program program(costs, p.rows, p.sense);
    ClpLibrary& lib = program.library;
    ASSERT_EQ(lib.CPXcopyctype(program.env, program.lp, p.types.c_str()), 0);
    load_sets(program, p.sets);
    ASSERT_EQ(lib.CPXmipopt(program.env, program.lp), 0);
    const int expected[] = {0, CPXMIP_OPTIMAL, CPXMIP_INFEASIBLE, CPXMIP_UNBOUNDED};
    const int status = program.status() == CPXMIP_OPTIMAL_TOL ? CPXMIP_OPTIMAL : program.status();
    ASSERT_EQ(status, expected[peer.status]);
    if (peer.status != CPX_STAT_OPTIMAL) continue;
    double value = 0, bound = 0;
    std::vector<double> x(p.columns.size());
    const int last = static_cast<int>(x.size()) - 1;
    EXPECT_EQ(lib.CPXgetmipobjval(program.env, program.lp, &value), 0);
    EXPECT_EQ(lib.CPXgetmipx(program.env, program.lp, x.data(), 0, last), 0);
    EXPECT_NEAR(value, peer.value, 1e-8);
    EXPECT_EQ(lib.CPXgetbestobjval(program.env, program.lp, &bound), 0);
    EXPECT_NEAR(bound, value, 1e-4 * (1 + std::fabs(value)));
    for (std::size_t j = 0; j < x.size(); ++j) {
      if (p.types[j] != 'C') {
        EXPECT_EQ(x[j], std::round(x[j]));
      }
    }
    // With the integers fixed there, the linear program has the same value, and duals.
    ASSERT_EQ(lib.CPXchgprobtype(program.env, program.lp, CPXPROB_FIXED), 0);
    ASSERT_EQ(program.solve(true), CPX_STAT_OPTIMAL);
    EXPECT_NEAR(program.value(), value, 1e-8);
    EXPECT_EQ(program.duals().size(), p.rows.size());
    if (testing::Test::HasFailure()) break;
  }
  for (int status = 1; status <= 3; ++status) EXPECT_GT(seen[status], 20) << status;
}

// ----- Files -----

struct TestFile {
  explicit TestFile(const char* ending)
      : name(testing::TempDir() + "planloc_peer_" + std::to_string(::getpid()) + ending) {}
  ~TestFile() { std::remove(name.c_str()); }
  const char* path() const { return name.c_str(); }
  std::string name;
};

TEST(ClpPeerTest, WrittenProgramsAreReadByThePeer) {
  RandomPrograms random(9);
  const TestFile mps(".mps"), lp(".lp");
  glp_term_out(GLP_OFF);
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    const auto columns = random.columns(random.number(1, 6));
    auto rows = random.rows(random.number(1, 5), columns.size(), 4);
    rows[0].rhs = 1.0 / 3;
    const int sense = round % 2 ? 1 : -1;
    std::vector<Column> costs = columns;
    for (Column& column : costs) column.cost *= sense;
    Program program(costs, rows, sense);
    if (round % 3 == 0)
      program.library.CPXchgname(program.env, program.lp, 'c', 0, round % 2 ? "y_0" : "Free");
    if (round % 5 == 0) program.library.CPXchgname(program.env, program.lp, 'r', 0, "obj");
    if (round % 4 == 0) {
      const std::string types = std::string(columns.size() - 1, 'C') + 'I';
      program.library.CPXcopyctype(program.env, program.lp, types.c_str());
    }
    const GlpkAnswer expected = glpk_answer(glpk_program(columns, rows, sense));
    for (const bool as_mps : {true, false}) {
      const char* const path = as_mps ? mps.path() : lp.path();
      ASSERT_EQ(program.library.CPXwriteprob(program.env, program.lp, path, nullptr), 0);
      glp_prob* const read = glp_create_prob();
      ASSERT_EQ(as_mps ? glp_read_mps(read, GLP_MPS_FILE, nullptr, path)
                       : glp_read_lp(read, nullptr, path),
                0);
      EXPECT_EQ(glp_get_num_int(read), round % 4 == 0);
      const GlpkAnswer answer = glpk_answer(read);
      ASSERT_EQ(answer.status, expected.status);
      if (expected.status != CPX_STAT_OPTIMAL) continue;
      EXPECT_NEAR(answer.value * (as_mps ? sense : 1), expected.value, 1e-12);
    }
  }
}

TEST(ClpPeerTest, BasesGoOutAndIn) {
  RandomPrograms random(13);
  const TestFile file(".bas");
  int compared = 0;
  for (int round = 0; round < 120; ++round) {
    SCOPED_TRACE(round);
    const auto columns = random.columns(6);
    const auto rows = random.rows(5, 6, 4);
    Program solved(columns, rows, 1);
    if (solved.solve(true) != CPX_STAT_OPTIMAL) continue;
    ++compared;
    std::vector<int> cstat(6), rstat(5), cread(6), rread(5);
    ASSERT_EQ(solved.library.CPXgetbase(solved.env, solved.lp, cstat.data(), rstat.data()), 0);
    const auto basic = std::count(cstat.begin(), cstat.end(), CPX_BASIC) +
                       std::count(rstat.begin(), rstat.end(), CPX_BASIC);
    EXPECT_EQ(basic, 5);
    for (std::size_t j = 0; j < 6; ++j) {
      if (cstat[j] == CPX_AT_LOWER) {
        EXPECT_EQ(solved.x()[j], columns[j].lower);
      }
      if (cstat[j] == CPX_AT_UPPER) {
        EXPECT_EQ(solved.x()[j], columns[j].upper);
      }
    }
    ASSERT_EQ(solved.library.CPXmbasewrite(solved.env, solved.lp, file.path()), 0);
    for (const bool by_file : {false, true}) {
      Program fresh(columns, rows, 1);
      ClpLibrary& lib = fresh.library;
      ASSERT_EQ(lib.CPXgetbase(fresh.env, fresh.lp, cread.data(), rread.data()), CPXERR_NO_BASIS);
      ASSERT_EQ(by_file ? lib.CPXreadcopybase(fresh.env, fresh.lp, file.path())
                        : lib.CPXcopybase(fresh.env, fresh.lp, cstat.data(), rstat.data()),
                0);
      lib.CPXgetbase(fresh.env, fresh.lp, cread.data(), rread.data());
      EXPECT_EQ(cread, cstat);
      ASSERT_EQ(fresh.solve(false), CPX_STAT_OPTIMAL);
      EXPECT_EQ(fresh.iterations(), 0) << by_file;
      EXPECT_EQ(fresh.x(), solved.x());
      lib.CPXgetbase(fresh.env, fresh.lp, cread.data(), rread.data());
      EXPECT_EQ(rread, rstat);
    }
  }
  EXPECT_GT(compared, 20);
}

}  // namespace
}  // namespace planloc
