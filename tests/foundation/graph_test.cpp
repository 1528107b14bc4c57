#include "planloc/foundation/graph/graph.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using Graph = GRAPH<std::string, int>;

// Nodes with their adjacency lists forwards and backwards, then the edge list.
std::string text_of(const Graph& G) {
  std::string text;
  for (node v = G.first_node(); v; v = G.succ_node(v)) {
    text += G[v] + ":";
    edge last = nil;
    for (edge e = G.first_adj_edge(v); e; last = e, e = G.adj_succ(e)) {
      text += " " + std::to_string(G[e]) + ">" + G[G.target(e)];
      EXPECT_EQ(G.source(e), v);
      EXPECT_EQ(G.adj_pred(e), last);
    }
    EXPECT_EQ(G.last_adj_edge(v), last);
    EXPECT_EQ(G.out_edges(v).size(), G.outdeg(v));
    text += "; ";
  }
  int count = 0;
  for (edge e = G.first_edge(); e; e = G.succ_edge(e), ++count) text += std::to_string(G[e]) + " ";
  EXPECT_EQ(G.number_of_edges(), count);
  return text;
}

class GraphTest : public testing::Test {
 protected:
  Graph G;
  node a = G.new_node("a");
  node b = G.new_node("b");
  node c = G.new_node("c");
  edge ab = G.new_edge(a, b, 1);
  edge ba = G.new_edge(b, a, 2);
  edge ac = G.new_edge(a, c, 3);
};

TEST_F(GraphTest, OrdersFollowCreationAndPlace) {
  EXPECT_EQ(text_of(G), "a: 1>b 3>c; b: 2>a; c:; 1 2 3 ");
  G.new_edge(ab, a, 4, after);
  G.new_edge(ac, b, 5, after);
  EXPECT_EQ(text_of(G), "a: 1>b 4>a 3>c 5>b; b: 2>a; c:; 1 2 3 4 5 ");
  EXPECT_EQ(G.cyclic_adj_pred(ab), G.last_adj_edge(a));
  EXPECT_EQ(G.cyclic_adj_succ(G.last_adj_edge(a)), ab);
  EXPECT_EQ(G.cyclic_adj_succ(ba), ba);
  EXPECT_EQ(G.cyclic_adj_pred(ba), ba);
  EXPECT_EQ(G.number_of_nodes() * 10 + G.index(c), 32);
}

TEST_F(GraphTest, ExchangeOfAnEdgeKeepsItsPosition) {
  G.new_edge(ab, c, 7, after);
  G.del_edge(ab);
  EXPECT_EQ(text_of(G), "a: 7>c 3>c; b: 2>a; c:; 2 3 7 ");
  G.del_edge(ba);
  G.del_edge(G.first_edge());
  EXPECT_EQ(text_of(G), "a: 7>c; b:; c:; 7 ");
}

TEST_F(GraphTest, CopiesHaveTheSameOrdersAndNothingInCommon) {
  G.new_edge(ab, a, 4, after);
  const std::string before_copy = text_of(G);
  Graph copy = G;
  Graph assigned;
  assigned.new_node("gone");
  assigned = G;
  Graph& same = assigned;
  assigned = same;
  EXPECT_EQ(text_of(copy), before_copy);
  copy.del_edge(copy.first_edge());
  copy.new_edge(copy.first_node(), copy.first_node(), 9);
  EXPECT_EQ(text_of(G), before_copy);
  EXPECT_EQ(text_of(copy), "a: 4>a 3>c 9>a; b: 2>a; c:; 2 3 4 9 ");
  G.clear();
  EXPECT_EQ(text_of(G), "");
  EXPECT_EQ(text_of(assigned), before_copy);
}

TEST_F(GraphTest, Reports) {
  Graph other = G;
  const node stranger = other.first_node();
  testing_support::expect_reports({
      {[&] { G.new_edge(stranger, a, 0); }, "1: new_edge(v,w): v not in graph"},
      {[&] { G.new_edge(a, stranger, 0); }, "1: new_edge(v,w): w not in graph"},
      {[&] { G.new_edge(ab, stranger, 0); }, "1: new_edge(v,w): w not in graph"},
      {[&] { G.del_edge(other.first_edge()); }, "1: del_edge(e): e is not in G"},
  });
}

}  // namespace
}  // namespace planloc
