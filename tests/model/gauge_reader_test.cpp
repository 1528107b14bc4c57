#include "planloc/model/gauge_reader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "tests/model/mutations.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

using namespace std::string_literals;

const std::string kSquare = "begin {polygauge} \n1 0\n0 1\n-1 0\n0 -1\nend {polygauge}\n";
const std::string kTriangle = "begin {polygauge}\n2 0\n0 1\n-1 -1\nend {polygauge}\n";
const std::string kOpen = "begin {polygaugelist}\n";
const std::string kClose = "end {polygaugelist}\n";
const std::string kMixed =
    "begin {mixgaugelist} \nbegin {mixgauge}\n1 0 1\n0 1 0\n-1 0 1\n0 -1 0\nend {mixgauge}\n"
    "end {mixgaugelist}\n";

const std::string kSquareRead = "1,0 0,1 -1,0 0,-1 ;";
const std::string kTriangleRead = "2,0 0,1 -1,-1 ;";
const std::string kMixedRead = kSquareRead + "1010";
const Outcome kBothRead = ended(kSquareRead + kTriangleRead);
const Outcome kTypesFail =
    reported(1717, "mixgauge: must be the same size for points and conetyps");

// The gauges go to the error stream: the scanner itself writes to the other one.
template <class Gauge>
void write(const list<Gauge>& gauges) {
  for (const Gauge& gauge : gauges) {
    for (const point& v : gauge.vertices()) std::cerr << v.xcoord() << ',' << v.ycoord() << ' ';
    std::cerr << ';';
  }
}

void read_polygauges(const std::string& file) {
  std::istringstream in(file);
  write(read_polygauge_list(in));
}

void read_mixgauges(const std::string& file) {
  std::istringstream in(file);
  list<mixgauge> gauges = read_mixgauge_list(in);
  write(gauges);
  for (const mixgauge& gauge : gauges) {
    for (int i = 1; i <= gauge.size(); ++i) std::cerr << gauge.cone_type(i);
  }
}

Outcome between(int line, const std::string& found, const std::string& out = "") {
  return reported(1608,
                  "'begin {polygauge}' or 'end {polygaugelist}' expected in line " +
                      std::to_string(line) + ", found \"" + found + "\" instead.",
                  out);
}

Outcome broken(int line) {
  return reported(1608, "Illegal linebreak in gauge-file at line " + std::to_string(line) + ".");
}

TEST(GaugeReader, ReadsPolygaugesInEveryLayout) {
  expect(read_polygauges, "",
         {{kOpen + kSquare + kTriangle + kClose, kBothRead},
          {"BEGIN{PolyGaugeList} \nbegin  {  polygauge }  \n2 0 0 1\t-1\n-1 End { POLYGAUGE } \n"
           "end {polygaugelist}",
           ended(kTriangleRead)},
          {kSquare + kTriangle, ended(kSquareRead)},  // a bare gauge; the rest is not read
          {kOpen + kClose + "end of it // whatever", ended("")}});
  expect(read_polygauges, "begin {polygauge}\n",
         {{"+2. 0.0\n\n\n\t0e5 1E+0 // tip\n/* the\nlast */ -10.e-1 -1\nend {polygauge}\n",
           ended(kTriangleRead)},
          {"2 0 0\r\n1-1-1end {polygauge}\n", ended(kTriangleRead)}});
  // The last coordinate of an odd count is forgotten.
  expect(read_polygauges, kOpen + "begin {polygauge}\n1 0 0 1 -1 0 0 -1 7\nend {polygauge}\n",
         {{kTriangle + kClose, kBothRead}});
}

TEST(GaugeReader, CommentsAndLineBreaksBetweenGauges) {
  expect(read_polygauges, kOpen + kSquare,
         {{" \t// note\n" + kTriangle + " /* note */" + kClose, kBothRead},
          {"/* a\n\nb */" + kTriangle, kBothRead},
          {"// note\n\n" + kTriangle, broken(9)},
          {"/* note */\n" + kTriangle, broken(8)},
          // Block comments do not nest, and a line comment hides their end.
          {"/* a /* b */" + kTriangle + "\n\n", ended(kSquareRead)},
          {"/* a // b */\n*/" + kTriangle, kBothRead},
          {"/*/ a **/" + kTriangle, kBothRead}});
  // A comment above the list excuses one empty line in it; one inside a gauge excuses none.
  expect(read_polygauges, "// note\n\n" + kOpen,
         {{"\n" + kSquare + kTriangle, kBothRead}, {"\n\n" + kSquare, broken(5)}});
  expect(read_polygauges, kOpen,
         {{"begin {polygauge}\n1 0 // note\n0 1 -1 -1\nend {polygauge}\n\n", broken(6)}});
}

TEST(GaugeReader, RefusesWhatDoesNotBelong) {
  expect(read_polygauges, kOpen,
         {{kSquare + "xyz\n" + kClose, between(8, "xyz")},
          {"\t xyz \n", between(2, "xyz ")},
          {"x\n", between(2, "x")},
          {"x//y\n", between(2, "x//y")},
          {"x/*\n", between(2, "x/*")},
          {"100 %s %n %d%%s\n", between(2, "100 %s %n %d%%s")},
          {"%%s%%s\n", between(2, "%%s%%s")},
          {"ab\0c\n"s, between(2, "ab")},
          {"begin {mixgauge}\n", between(2, "begin {mixgauge}")},
          {"begin {polygauge}\r\n", between(2, "begin {polygauge}\r")},
          {"begin {polygauge}\n1 0\n.5 1\n", reported(1608, "unexpected  text in line 4")}});

  expect(read_polygauges, "",
         {{kMixed, reported(1608, "Wrong file!")},
          {"begin {polygauge}\nend {polygauge}\n", aborted("dlist::head(): empty list")},
          {"begin {polygauge}\n1e999 0\n0 1\n-1 -1\nend {polygauge}\n",
           reported(1702, "polygauge: alpha > PI")}});
}

TEST(GaugeReader, TextOutsideIsCopiedToTheOutput) {
  expect(read_polygauges, "",
         {{"a b\n c.\t" + kSquare, ended(kSquareRead, "abc.")},
          {"begin\t{polygaugelist}\nx", ended("", "begin{polygaugelist}x")},
          {"begin {polygaugelist}\r\n1 0\r\n", ended("", "begin{polygaugelist}10")},
          {"begin {polygaugelist}", ended("", "begin{polygaugelist}")},
          {"\0\xff%"s, ended("", "\0\xff%"s)},
          {"x" + kOpen + "y\n", between(2, "y", "x")}});
}

TEST(GaugeReader, TheEndOfTheFileEndsEveryStateWithoutAFailure) {
  for (const char* rest : {"", "begin {polygauge}\n1 0\n0", "x", "/* x", "// x"}) {
    expect(read_polygauges, kOpen + kSquare, {{rest, ended(kSquareRead)}});
  }
  expect(read_polygauges, "", {{"", ended("")}});
  expect(read_mixgauges, "", {{"begin {mixgaugelist}\nbegin {mixgauge}\n1 0", ended("")}});
}

TEST(GaugeReader, ReadsOneMixedGauge) {
  const std::string gauge = "begin {mixgauge}\n1 0 1\n0 1 0\n-1 0 1\n0 -1 0\nend {mixgauge}\n";
  expect(read_mixgauges, "begin {mixgaugelist}\n",
         {{gauge + "end {mixgaugelist}", ended(kMixedRead)},
          {"\n\n/* a */\n" + gauge + "\n\nend {mixgaugelist}", ended(kMixedRead)},
          {"begin {mixgauge} \n1 0 x21 0 1\n.0 // y\n -1 0\n1 0 -1 0 end {mixgauge} \n",
           ended(kMixedRead, "x2.")},
          {gauge + gauge, kTypesFail},
          {"x\n", reported(1610,
                           "'begin {mixgauge}' or 'end {mixgaugelist}' expected in line 2, found "
                           "\"x\" instead.")}});
  expect(read_mixgauges, "",
         {{kOpen + "begin", reported(1610, "Wrong file!")},
          {kSquare, ended("")},   // goes to the other list
          {gauge, kTypesFail}});  // a bare gauge reads no types
}

TEST(GaugeReader, WhatAReadLeavesForTheNextOne) {
  expect_in_a_row({
      {read_polygauges, "begin {polygauge}\n1 0\n0 1\n9", read_polygauges,
       "begin {polygauge}\n-1 0 0 -1\nend {polygauge}\n", "|" + kSquareRead},
      {read_polygauges, kOpen + "// note", read_polygauges, kOpen + "\n" + kTriangle,
       "|" + kTriangleRead},
      {read_mixgauges, kSquare, read_polygauges, kTriangle, "|" + kTriangleRead},
      {read_mixgauges, kMixed, read_mixgauges, kMixed, kMixedRead + "|" + kTypesFail.err},
  });
}

TEST(GaugeReader, FilesThatCannotBeOpened) {
  std::ifstream none("no/such/file");
  EXPECT_EQ(in_own_process([&] { read_polygauge_list(none); }), reported(1607, "Can't open file!"));
  EXPECT_EQ(in_own_process([&] { read_mixgauge_list(none); }), reported(1609, "Can't open file!"));
}

// Quadratic time would meet the time limit of the process.
TEST(GaugeReader, LongLinesTakeTimeInProportion) {
  const std::string line(5'000'000, 'x');
  const Outcome o = in_own_process(
      [&] { read_polygauges("//" + line + "\n/*" + line + "*/" + kOpen + line + "\n"); });
  EXPECT_TRUE(o == between(3, line)) << o.status;
}

TEST(GaugeReader, EveryBrokenFileEndsInAControlledWay) {
  for (const Reader read : {read_polygauges, read_mixgauges}) {
    expect_controlled_endings({kOpen + kSquare + kTriangle + kClose, kMixed, kSquare},
                              {kSquare, kOpen, kClose, "begin {mixgauge}\n", "end {mixgauge}\n"},
                              600, read);
  }
}

}  // namespace
}  // namespace planloc
