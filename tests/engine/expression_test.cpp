#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <tuple>
#include <type_traits>
#include <utility>

#include "engine_fixture.h"
#include "planloc/engine/ilc_linopt_impl.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

using ExpressionTest = EngineTest;

TEST_F(ExpressionTest, ShortcutsMakeNoNode) {
  const IlcFloatExp x = free_variable(), y = free_variable();
  const IlcFloatExp zero = 0.0 * x;
  EXPECT_EQ(zero.getImpl(), (0.0 * y).getImpl());
  EXPECT_EQ(zero.getValue(), 0.0);
  const IlcHeap::Index index = m.getHeap()->getIndex();
  for (const IlcFloatExp& same :
       {1.0 * x, zero + x, x + zero, x - 0.0, x + 0.0, x - zero, 0 + x, x - 0, x * 1, x / 1}) {
    EXPECT_EQ(same.getImpl(), x.getImpl());
  }
  for (const IlcFloatExp& none : {IlcFloatExp(0), IlcFloatExp(0.0), x - x, x * 0, 0 * x}) {
    EXPECT_EQ(none.getImpl(), zero.getImpl());
  }
  EXPECT_EQ((3.0 * zero).getImpl(), zero.getImpl());
  EXPECT_EQ((-1.0 * zero).getImpl(), zero.getImpl());
  EXPECT_EQ(m.getHeap()->getIndex(), index);
}

TEST_F(ExpressionTest, EqualExpressionsAreOneObject) {
  const IlcFloatExp x = free_variable("x"), y = free_variable("y");
  const auto build = [&] {
    return std::vector<IlcFloatExp>{x + y,   2.0 * x, -2.0 * x, -1.0 * x,
                                    x + 2.0, x - 2.0, x + x,    (2.0 * x + y) - 7.5};
  };
  const auto first = build();
  const IlcHeap::Index index = m.getHeap()->getIndex();
  const auto second = build();
  EXPECT_EQ(m.getHeap()->getIndex(), index);
  for (std::size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(first[i].getImpl(), second[i].getImpl()) << i;
  }
  EXPECT_EQ(first[6].getImpl(), first[1].getImpl()) << "x + x is 2 * x";
  EXPECT_EQ((-(-x)).getImpl(), x.getImpl());
  EXPECT_EQ((-first[1]).getImpl(), first[2].getImpl()) << "the sign goes into the product";
  EXPECT_NE((y + x).getImpl(), first[0].getImpl()) << "operands keep their places";
  EXPECT_NE(first[4].getImpl(), first[5].getImpl());
  for (int i = 0; i < 5000; ++i) EXPECT_EQ((x + i * 0.5).getImpl(), (x + i * 0.5).getImpl());
  EXPECT_EQ((2.0 * x).getImpl(), first[1].getImpl()) << "after the table has grown";
}

TEST_F(ExpressionTest, BoundsFollowThoseOfTheVariables) {
  const IlcFloatVar x(m, -1, 2), y(m, 3, 5);
  const std::tuple<IlcFloatExp, double, double> cases[] = {
      {x + y, 2, 7},   {2.0 * x, -2, 4}, {-3.0 * x, -6, 3},           {-1.0 * x, -2, 1},
      {x + 4.0, 3, 6}, {y - 4.0, -1, 1}, {2.0 * (x + y) - 1.0, 3, 13}};
  for (const auto& [exp, min, max] : cases) {
    EXPECT_EQ(exp.getMin(), min) << exp;
    EXPECT_EQ(exp.getMax(), max) << exp;
  }
  IlcFloatVar(x).setRange(0, 1);
  EXPECT_EQ((x + y).getMin(), 3) << "computed again after a change";
  EXPECT_EQ((x + y).getMax(), 6);
  EXPECT_EQ(free_variable().getMax(), IlcInfinity);
}

TEST_F(ExpressionTest, ChainsAreAsLongAsTheModel) {
  IlcFloatVarArray vars(m, 200000, 0.0, 1.0);
  IlcFloatExp sum = vars[0];
  for (int i = 1; i < vars.getSize(); ++i) sum = sum + vars[i];
  EXPECT_EQ(sum.getMax(), 200000);
  sum.setRange(-1, 0);
  EXPECT_EQ(vars[199999].getMax(), 0);
  EXPECT_EQ(vars[0].getMax(), 0);
}

TEST_F(ExpressionTest, SetRangeKeepsTheCommonPart) {
  IlcFloatVar x(m, 0, 10);
  const std::uint32_t epoch = m.getImpl()->boundsEpoch();
  x.setRange(-5, 20);
  EXPECT_EQ(m.getImpl()->boundsEpoch(), epoch) << "nothing changes, nothing is computed again";
  x.setRange(2, 20);
  x.setRange(-5, 8);
  m.useExceptions(1);
  EXPECT_THROW(x.setRange(5, 4), IlcFailException);
  EXPECT_THROW(x.setRange(9, 12), IlcFailException);
  EXPECT_THROW(x.setRange(0, 1), IlcFailException);
  for (const double infinite : {IlcInfinity, -IlcInfinity}) {
    EXPECT_THROW(free_variable().setRange(infinite, infinite), IlcFailException);
  }
  EXPECT_EQ(x.getMin(), 2);
  EXPECT_EQ(x.getMax(), 8);
  x.setRange(8, 8);
  EXPECT_EQ(x.getValue(), 8);
}

TEST_F(ExpressionTest, RangesReachTheOperands) {
  IlcFloatVar x(m, 0, 10), y(m, 1, 5);
  const struct {
    IlcFloatExp exp;
    double min, max, x_min, x_max;
  } cases[] = {{x + 2.0, -IlcInfinity, 11, 0, 9},
               {2.0 * x, 1, IlcInfinity, 0.5, 9},
               {-2.0 * x, -16, IlcInfinity, 0.5, 8},
               {-1.0 * x, -IlcInfinity, -1, 1, 8},
               {x + y, -IlcInfinity, 8, 1, 7}};
  for (auto c : cases) {
    c.exp.setRange(c.min, c.max);
    EXPECT_EQ(x.getMin(), c.x_min) << c.exp;
    EXPECT_EQ(x.getMax(), c.x_max) << c.exp;
  }
  IlcFloatExp free_sum = free_variable() + free_variable();
  free_sum.setRange(1, 2);
  y.setRange(2, 2);
  EXPECT_EQ(free_sum.getMax(), 2) << "a range set on a node survives changes elsewhere";
}

TEST_F(ExpressionTest, ConstraintsPrintAsWritten) {
  const IlcFloatVar x = free_variable("x"), y(m, 0, 1);
  std::ostringstream out;
  out << (x <= y) << '\n' << (x >= y) << '\n' << (2.0 * x + y == -1.0 * y - 1.5);
  EXPECT_EQ(out.str(), "x <= [0..1]\nx >= [0..1]\n(2 * x + [0..1]) == (- [0..1] + -1.5)");
  out.str("");
  out << (x >= 4) << '\n' << (0 <= x - y) << '\n' << (2.5 == x);
  EXPECT_EQ(out.str(), "x >= 4\n0 <= (x + - [0..1])\n2.5 == x");
}

TEST_F(ExpressionTest, ValueOfAnUnboundVariableIsReported) {
  EXPECT_EXIT(IlcFloatVar(m, 0, 1, "x").getValue(), kAborted,
              "Solver Error : IlcFloatExpI::getValue : unbound constrained variable : x\n");
  EXPECT_EXIT(IlcFloatVar().getMin(), kAborted, "_impl != 0");
  EXPECT_EXIT(1.0 * IlcFloatExp(), kAborted, "_impl != 0");
}

TEST_F(ExpressionTest, NumbersAreNoHandles) {
  static_assert(!std::is_convertible_v<int, IlcFloatVar> &&
                !std::is_constructible_v<IlcFloatVar, int>);
  static_assert(!std::is_constructible_v<IlcConstraint, int>);
  IlcManager other(1);
  const IlcFloatExp number = 4, x = free_variable();
  EXPECT_EQ(number.getManager().getImpl(), other.getImpl()) << "the current one";
  EXPECT_EQ(number.getValue(), 4);
  EXPECT_EQ((x + 4).getManager().getImpl(), m.getImpl()) << "that of the other operand";
  other.end();
  EXPECT_EXIT(x / 0, kAborted, "Solver Error : divide by zero\n");
}

struct BareConstraintI final : IlcConstraintI {
  using IlcConstraintI::IlcConstraintI;
  void post() override {}
  void propagate() override {}
  void display(std::ostream& out) const override { out << "bare"; }
};

TEST_F(OptimiserTest, NodesWithoutARuleReport) {
  const IlcExpKey key{IlcExpKind::kOther, free_variable().getImpl(), nullptr, 0.0};
  const IlcFloatExp square(new (m.getHeap()) IlcCompoundExpI(m.getImpl(), key));
  IlcConstraint bare(new (m.getHeap()) BareConstraintI(m.getImpl()));
  IlcConstraintI& impl = *bare.getImpl();
  lp.add(bare);
  const IlcFloatArray no_numbers(m, 0, 0.0);
  const IlcFloatVarArray no_vars(m, 0);
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"isAlreadySatisfied not implemented", [&] { lp.dualOpt(); }},
      {"hasAUniqueSolution not implemented", [&] { impl.hasAUniqueSolution(); }},
      {"linPost not implemented", [&] { impl.linPost(*lp.getImpl(), no_numbers, no_vars, 0); }},
      {"Not implemented: IlcLinearSolverI::post()", [&] { m.add(IlcConstraint(lp.getImpl())); }},
      {"Not implemented: IlcLinearSolverI::propagate()", [&] { lp.getImpl()->propagate(); }},
      {"Not a linear expression", [&] { lp.setObjMin(square); }},
      {"access to uninitialised floatvar", [&] { square.getMin(); }},
  };
  for (const auto& [text, call] : cases) EXPECT_EQ(report_of(call).text, text);
}

}  // namespace
}  // namespace planloc
