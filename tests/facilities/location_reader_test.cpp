// The file readers of facilities.h.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/location_files.h"
#include "tests/model/mutations.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

using namespace std::string_literals;

// What was read goes to the error stream: the scanner itself writes to the other one. One line a
// location, as far as `print` shows it, behind its name.
void write(facilities& F) {
  for (int i = 0; i < F.size(); ++i) std::cerr << F.name(i) << ": " << F.location(i) << '\n';
}

void read_plain(const std::string& file) {
  std::istringstream in(file);
  facilities F;
  F.read_locations(in);
  write(F);
}

void read_gauged(const std::string& file) {
  std::istringstream in(file);
  facilities F;
  list<int> gauge_of = {99};
  F.read_gauge_locations(in, gauge_of);
  write(F);
  std::cerr << "gauges " << gauge_of << '\n';
}

void read_as_graph(const std::string& file) {
  std::istringstream in(file);
  facilities F;
  list<string> names;
  const auto G = read_graph(in, F, names);
  write(F);
  std::cerr << "names " << names << '\n';
  for (node v = G.first_node(); v; v = G.succ_node(v)) std::cerr << "node " << G[v] << '\n';
  for (edge e = G.first_edge(); e; e = G.succ_edge(e)) {
    std::cerr << G.index(G.source(e)) + 1 << '-' << G.index(G.target(e)) + 1 << ' ' << G[e] << '\n';
  }
}

// "..., found "x" instead." behind a given start.
Outcome found(const std::string& what, int line, const std::string& text,
              const std::string& period = ".") {
  return reported(
      1504, what + " line " + std::to_string(line) + ", found \"" + text + "\" instead" + period);
}

Outcome broken(int line, int code = 1504) {
  return reported(code, "Illegal linebreak in location file at line " + std::to_string(line) + ".");
}

const std::string kHeader = "begin {location}[2,1]\n";
const std::string kEnd = "end {location}\n";

const std::string kIn = " expected in location file at";

TEST(LocationReader, ReadsRecordsOfEveryForm) {
  const Outcome one = ended(": 1 2  3 \n");
  expect(read_plain, kHeader,
         {{"0 0 1 [A]\n4\t-1.5 2\r\n2 3 1.5// free\n" + kEnd + "x",
           ended("A: 0 0  1 \n: 4 -1.5  2 \n: 2 3  1.5 \n")},
          {"1 2 L_INF\r\n1 2 l_inf/**/\n", ended(": 1 2  1e+50 \n: 1 2  1e+50 \n")},
          {"1 /* a\n\n b */ 2 3\nendless", one},
          {"1 2 3 [a\0b]\n"s, ended("a: 1 2  3 \n")},
          {"1e999 -1e999 1e-999\n", ended(": inf -inf  0 \n")},
          {std::string(10000, '0') + "7 2. 1." + std::string(10000, '3') + "\n",
           ended(": 7 2  1.33333 \n")},
          {"nc 1\n", ended(": 0 0  1 \n")}});
  expect(read_plain, "begin {location}",
         {{"[3,2]\n1 2 3 4 5\n7 nc 8 9\n", ended(": 1 2 3  4 5 \n: 7 0 0  8 9 \n")},
          {"[2]\n1 2 3\n", one},
          {"[2,1]]\n1 2 3\n", one},
          {"[2,1\n1 2 3\n", one},
          {" /* two */\n1 2 3\n", one},
          {" x2\n1 2 3\n", ended(": 1 2  3 \n", "x2")}});
  expect(read_plain, "a b\n\t",
         {{kHeader + "1 2 3 []\n", ended(": 1 2  3 \n", "ab")},
          {"begin\t{location}[2,1]\n1 2 3\n", ended("", "abbegin{location}[2,1]123")},
          {"BEGIN{  Location }  [ 2 , 1 ] \r\n+1 2. 3e0 [ a b%s ]\r\nEND",
           ended(" a b%s : 1 2  3 \n", "ab")}});
}

// Records with a comment go another way through the reader than plain ones.
TEST(LocationReader, PlainRecordsReadAsThoseWithAComment) {
  std::mt19937 random(3);
  const auto digits = [&](unsigned most) {
    std::string text;
    for (auto n = random() % most + 1; n > 0; --n) text += static_cast<char>('0' + random() % 10);
    return text;
  };
  std::vector<std::string> numbers;
  const auto number = [&] {
    std::string text = std::array{"", "", "+", "-"}[random() % 4] + digits(random() % 4 ? 7 : 21);
    if (random() % 3) text += "." + (random() % 8 ? digits(random() % 4 ? 4 : 25) : "");
    if (random() % 9 == 0) text += std::array{"e", "E-", "e+"}[random() % 3] + digits(3);
    numbers.push_back(text);
    return text;
  };
  const auto blank = [&] { return std::array{" ", "\t", " \t ", "\t\r"}[random() % 4]; };
  const std::string header = "begin {location}[3,2]\n";
  std::string plain = header, commented = header;
  for (int i = 0; i < 5000; ++i) {
    std::string record;
    for (int k = 0; k < 5; ++k) record += number() + blank();
    record += "{" + digits(2) + " }";
    if (random() % 3) record += "[" + digits(30) + " x]";
    plain += record + (random() % 9 ? "\n" : "// and more\n");
    commented += "/**/" + record + "\n";
  }
  facilities F, G;
  list<int> F_gauges, G_gauges;
  std::istringstream in(plain), same(commented);
  F.read_gauge_locations(in, F_gauges);
  G.read_gauge_locations(same, G_gauges);
  ASSERT_EQ(F.size(), 5000);
  EXPECT_EQ(F_gauges, G_gauges);
  auto at = numbers.begin();
  const auto bits = [](double x) { return std::bit_cast<std::uint64_t>(x); };
  for (int i = 0; i < F.size(); ++i) {
    const location f = F.location(i), g = G.location(i);
    for (int k = 0; k < 5; ++k, ++at) {
      const double value = k < 3 ? f[k] : f.weight(k - 3);
      EXPECT_EQ(bits(value), bits(k < 3 ? g[k] : g.weight(k - 3))) << *at;
      EXPECT_EQ(bits(value), bits(std::strtod(at->c_str(), nullptr))) << *at;
    }
    EXPECT_EQ(F.name(i), G.name(i));
  }
}

TEST(LocationReader, LineBreaksAndTheCommentsThatExcuseThem) {
  const Outcome two = ended(": 1 2  3 \n: 4 5  6 \n");
  expect(read_plain, kHeader,
         {{"1 2 3\n \t\r\n", broken(3)},
          {"/* a */\n", broken(2)},
          {"1 2 \n3\n", broken(2)},
          {"// a\n1 2 3\n  // b\n4 // c\n5 6\n", two},
          // A comment behind a record or above the header excuses the next line break.
          {"1 2 3 // a\n\n4 5 6\n", two},
          {"1 2 3 // a\n\n\n4 5 6\n", broken(4)}});
  expect(read_plain, "// a\n" + kHeader, {{"\n1 2 3\n4 5 6\n", two}});
  expect(read_plain, "begin {location}[",
         {{"\n", broken(1)}, {"2\n", broken(1)}, {"2,\n", broken(1)}});
}

TEST(LocationReader, RefusesWhatDoesNotBelong) {
  const auto too_small = reported(1504, "Dimension too small in location file at line 1.");
  expect(read_plain, "begin {location}",
         {{"[0,1]\n", too_small},
          {"[-99999999999", too_small},
          {"[x,1]\n", found("Dimension" + kIn, 1, "x,1]")},
          {"[2.5,1]\n", found("Weight dimension" + kIn, 1, ".5,1]")},
          {"[2,-1]\n", found("Weight dimension" + kIn, 1, "-1]")},
          {"[2,1) \n", found("Closing bracket" + kIn, 1, ") ")},
          {"[2,3]\n1 2 3 [A]\n", found("Weight #2" + kIn, 2, "[A]", "")},
          {"[2,0]\n1 2 3\n", reported(1209, "Index out of range.")},
          {"[2000000000,1]\n1 2\n", found("Coordinate #2" + kIn, 2, "2")},
          {"[2000000000,1]\nnc 1\n", found("Coordinate #1" + kIn, 2, "nc 1")}});
  expect(read_plain, kHeader,
         {{".5 1 2\n", found("Coordinate #1" + kIn, 2, ".5 1 2")},
          {"1 2 3\nx%d%s%n\n", found("Coordinate #1" + kIn, 3, "x%d%s%n")},
          {"nc 1\n1 x\n", found("Coordinate #2" + kIn, 3, "x")},
          {"1 2 3[A]\n", found("Weight #1" + kIn, 2, "3[A]", "")},
          {"1 2 3 4\n", found("Name of location" + kIn, 2, "4")},
          {"1 2 3 [A\r]\n", found("Name of location" + kIn, 2, "[A\r]")},
          {"1 2 3 [A] {0}\n", found("End of line" + kIn, 2, "{0}")},
          {"5 6 1 [A]\n5 6 1 [%s] [%d%n]",
           reported(1504, "Second name (\"[%d%n]\") found in location file at line 3.")}});
}

TEST(LocationReader, TheEndOfTheFileEndsEveryStateWithoutAFailure) {
  for (const char* rest : {"", "1 ", "1 2 ", "1 2 3 ", "1 2 3 [A]", "x", "// x", "/* x\n"}) {
    expect(read_plain, kHeader + "1 2 3\n", {{rest, ended(": 1 2  3 \n")}});
  }
  for (const char* rest : {"", "[", "[2", "[2,", "[2,1]"}) {
    expect(read_plain, "begin {location}", {{rest, ended("")}});
  }
  expect(read_gauged, kHeader, {{"1 2 3\n", ended("gauges \n")}});
}

TEST(LocationReader, GaugeNumbers) {
  const std::string expected = "Number of Gauge expected  at";
  expect(read_gauged, kHeader,
         {{"0 0 1 {0} [A]\n4 0 2 {\t+1 } [B]\n2 3 1.5 {-1}\n" + kEnd,
           ended("A: 0 0  1 \nB: 4 0  2 \n: 2 3  1.5 \ngauges 0 1 -1\n")},
          {"0 0 1 [A]\n0 0 2\n\n{5}\n", ended("A: 0 0  1 \n: 0 0  2 \ngauges 5\n")},
          {"0 0 1 {99999999999}\n0 0 1 {-99999999999}\n",
           ended(": 0 0  1 \n: 0 0  1 \ngauges 2147483647 -2147483648\n")},
          {"0 0 1\n0 0 1 {0}\n", found(expected, 3, "0 0 1 {0}")},
          {"0 0 1 {x}\n", found(expected, 2, "{x}")},
          {"0 0 1 {0}{1}\n", found("Name of location" + kIn, 2, "{1}")}});
}

// ----- Graphs -----

const std::string kGraph = "begin {mavigraph} \n" + kHeader;
const std::string kTwo = kGraph + "0 0 1 [A]\n4 0 2 [B]\n" + kEnd;
const std::string kTwoRead = "A: 0 0  1 \nB: 4 0  2 \nnames A B\nnode 1\nnode 2\n";
const std::string kByNumber = "begin {adjlist} \n";
const std::string kByName = "begin {adjlist_byname} \n";
const std::string kDone = "end {adjlist}\n";

TEST(GraphReader, ReadsEdgesByNumberAndByName) {
  expect(read_as_graph, kTwo + kByNumber,
         {{"1 2 2.5\n+2\t1 -1e1 \t\n" + kDone, ended(kTwoRead + "1-2 2.5\n2-1 -10\n")},
          {"1 2 \n\n 2.5\n" + kDone, ended(kTwoRead + "1-2 2.5\n")},
          {"end // a\n{", ended(kTwoRead)},
          {"1 2 2.5\nend", ended(kTwoRead)}});
  expect(read_as_graph, kTwo + "\n" + kByName,
         {{"A B 2.5 \n%B/**/A 7\n" + kDone + "x", ended(kTwoRead + "1-2 2.5\n2-1 7\n", "%")}});
  expect(read_as_graph, "begin {mavigraph}\nbegin {location}[1,2]\n",
         {{"nc 3 l_inf [A]\n7 1 2 [A]\nend" + kByNumber + "2 1 0\n" + kDone,
           ended("names A A\nnode 3 1e+50\nnode 1 2\n2-1 0\n")},
          {"8 3 4 [A]\n7 1 2 [A]\nend\n" + kByName + "A A 1\nend{",
           ended("A: 8  3 4 \nA: 7  1 2 \nnames A A\nnode 3 4\nnode 1 2\n1-1 1\n")}});
  expect(read_as_graph, kHeader, {{kEnd + kByNumber, ended("names \n")}});
}

TEST(GraphReader, RefusesWhatDoesNotBelong) {
  const auto failed = [](const std::string& text) { return reported(2112, text); };
  expect(read_as_graph, kTwo,
         {{"x\n", failed("'begin {adjlist}' expected in line 6")},
          {"// a\n" + kByName + "\n", broken(8, 2112)},
          {kByName + "C A 1\n", failed("unexpected text 'C' in line 7")},
          {kByName + "A a 1\n", failed("unexpected text 'a' in line 7")}});
  expect(read_as_graph, kTwo + kByNumber,
         {{"1 x\n", failed("unexpected text  in line 7: x")},
          {"1 2 %s\n", failed("unexpected text  in line 7 : %")},
          {"1 \n2 1\n", broken(7, 2112)},
          {"end\n", broken(7, 2112)},
          {"1 3 1\n" + kDone, aborted("new_edge(v,w): w not in graph")},
          {"99999999999 0 1\n" + kDone, aborted("new_edge(v,w): v not in graph")},
          {"1 " + kDone, aborted("dlist: pop on empty list.")}});
}

// ----- More than one file -----

TEST(LocationReader, WhatAReadLeavesForTheNextOne) {
  const std::string file = kHeader + "1 2 3\n" + kEnd;
  expect_in_a_row({
      // The kind of the file stays in force.
      {read_gauged, "", read_plain, file,
       "gauges \n|" + found("Number of Gauge expected  at", 3, "end {location}").err},
      {read_as_graph, "begin {mavigraph}\n", read_plain, file + "x\n",
       "names \n|" + reported(1504, "'begin {adjlist}' expected in line 4").err},
      {read_as_graph, kTwo + kByName, read_plain, file + "x\n", kTwoRead + "|: 1 2  3 \n"},
      {read_as_graph, kTwo + kByNumber + "1 2 5\n" + kDone, read_as_graph,
       kTwo + kByNumber + "2 1 6\n" + kDone, kTwoRead + "1-2 5\n|" + kTwoRead + "2-1 6\n"},
      {read_gauged, kHeader + "1 2 3 {7}\n", read_gauged, kHeader + "1 2 3 {8}\n",
       ": 1 2  3 \ngauges 7\n|: 1 2  3 \ngauges 8\n"},
      // So does the weight of an edge that was not made.
      {read_as_graph, kTwo + kByName + "B A 5\n", read_as_graph,
       kGraph + "0 0 1 [B]\n4 0 2 [A]\n" + kEnd + kByName + "B A 6\n" + kDone,
       kTwoRead + "|B: 0 0  1 \nA: 4 0  2 \nnames B A\nnode 1\nnode 2\n1-2 5\n"},
      // So do the numbers of a record that the file ended in, and a comment.
      {read_plain, kHeader + "8", read_plain, file, "|: 1 2  3 \n"},
      {read_plain, kHeader + "8 ", read_plain, file,
       "|" + reported(1207, "Index out of range.").err},
      {read_plain, kHeader + "8 9 1 ", read_plain, kHeader + "nc 5\n",
       "|" + reported(1209, "Index out of range.").err},
      {read_plain, kHeader + "// a", read_plain, kHeader + "\n1 2 3\n", "|: 1 2  3 \n"},
  });
}

TEST(LocationReader, ReplacesFacilitiesAndNamesAndAGraphTheResultsToo) {
  facilities F;
  F.append(location(2, 1));
  F.opt.append(location(2, 1));
  F.names = {"old"};
  list<string> names = {"old"};
  const list<string> read = {"A", "B"};
  std::istringstream in(kHeader + "1 2 3 [A]\n4 5 6 [B]\n"), graph(kTwo);
  F.read_locations(in);
  EXPECT_TRUE(F.size() == 2 && F.names == read && F.opt.size() == 1);
  read_graph(graph, F, names);
  EXPECT_TRUE(F.size() == 2 && F.names == read && names == read && F.opt.empty());
}

TEST(LocationReader, FilesThatCannotBeRead) {
  facilities F;
  list<int> gauge_of;
  list<string> names;
  std::ifstream none("no/such/file"), directory("/");
  const Outcome failed = reported(1503, "Can't open file!");
  EXPECT_EQ(in_own_process([&] { F.read_locations(none); }), failed);
  EXPECT_EQ(in_own_process([&] { F.read_gauge_locations(none, gauge_of); }), failed);
  EXPECT_EQ(in_own_process([&] { read_graph(none, F, names); }),
            reported(2111, "Can't open file!"));
  EXPECT_EQ(in_own_process([&] { F.read_locations(directory); }),
            (Outcome{2, "", "input in flex scanner failed\n"}));
}

TEST(LocationReader, EveryBrokenFileEndsInAControlledWay) {
  const std::string gauged = kHeader + "0 0 1 {0} [A]\n4 0 2 {0} [B]\n2 3 l_inf {1} [C]\n" + kEnd;
  for (const Reader read : {read_plain, read_gauged, read_as_graph}) {
    expect_controlled_endings({gauged, kTwo + kByNumber + "1 2 2.5\n2 1 1\n" + kDone,
                               kTwo + kByName + "A B 2.5\nB A 1\n" + kDone},
                              {kHeader, "begin {location}\n", kEnd, kByNumber, kByName, kGraph,
                               "nc ", "l_inf ", "[A]", "{7}", "1 2 3\n"},
                              700, read);
  }
}

}  // namespace
}  // namespace planloc
