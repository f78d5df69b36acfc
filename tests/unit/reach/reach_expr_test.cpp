// The REACH tree: printer rules on hand-built trees that the parser does not make, copies,
// release of deep trees, and scopes. Node kinds, value nodes, defaults, predefined names and
// types show in the golden parser cases and the normal forms.
#include <gtest/gtest.h>

#include "platform/reporter.h"
#include "reach/reach.h"
#include "reach/reach_scope.h"

namespace nurex {
namespace {

ReachExprPtr parseQuietly(const std::string& text) {
  resetStatus();
  ReachExprPtr tree = parseReachText(text);
  EXPECT_TRUE(tree) << text;
  return tree;
}

std::vector<ReachExprPtr> items(ReachExprPtr a, ReachExprPtr b, ReachExprPtr c) {
  std::vector<ReachExprPtr> v;
  v.push_back(std::move(a));
  v.push_back(std::move(b));
  v.push_back(std::move(c));
  return v;
}

ReachExprPtr var(const char* name) { return makeReachVariable(name); }

TEST(ReachTree, PrinterRulesOnBuiltTrees) {
  std::vector<ReachExprPtr> pair;
  pair.push_back(var("c"));
  pair.push_back(var("d"));
  ReachExprPtr flat = makeReachList(ReachAnd, items(var("a"), var("b"), makeReachList(ReachOr, std::move(pair))));
  EXPECT_EQ(printReach(*flat), "a & b & (c | d)");

  std::vector<ReachExprPtr> inner;
  inner.push_back(var("b"));
  inner.push_back(var("c"));
  ReachExprPtr nested = makeReachList(ReachXor, items(var("a"), makeReachList(ReachXor, std::move(inner)), var("d")));
  EXPECT_EQ(printReach(*nested), "a ^ (b ^ c) ^ d");

  // A lower bound prints unless it is a constant not above 0; an upper one unless it is the maximum.
  ReachExprPtr computed = makeReachTernary(ReachSubstring, makeReachString("abc"),
                                           makeReachUnary(ReachNegate, makeReachNumber(1)), makeReachNumber(-1));
  EXPECT_EQ(printReach(*computed), "\"abc\"[- 1..-1]");
  ReachExprPtr folded = makeReachTernary(ReachSubstring, makeReachString("abc"), makeReachNumber(-5),
                                         makeReachNumber(ReachNoUpperBound));
  EXPECT_EQ(printReach(*folded), "\"abc\"[..]");

  ReachExprPtr implication =
      makeReachBinary(ReachImpl, makeReachUnary(ReachNot, var("a")), makeReachBinary(ReachIff, var("b"), var("c")));
  EXPECT_EQ(printReach(*implication), "(~ a) -> (b <-> c)");
  EXPECT_EQ(reachPriority(ReachImpl), 98);
  EXPECT_EQ(reachPriority(ReachConditional), 88);
}

TEST(ReachTree, CopiesAreDeepAndIndependent) {
  ReachExprPtr original =
      parseQuietly("forall x in PLACES s.t. is_init x { threshold[1]($ x, @ T 1) } & \"ab\"[1..] = string {1}");
  ASSERT_TRUE(original);
  ReachExprPtr copy = cloneReach(*original);
  EXPECT_EQ(printReach(*copy), printReach(*original));
  EXPECT_NE(copy->list().items[0].get(), original->list().items[0].get());
  copy->list().items[0] = makeReachBool(false);
  EXPECT_EQ(printReach(*original).substr(0, 6), "forall");
  EXPECT_EQ(printReach(*copy), "false & \"ab\"[1..] = string {1}");
}

TEST(ReachTree, DeepTreesAreCopiedPrintedAndReleasedWithoutRecursion) {
  ReachExprPtr chain = makeReachBool(true);
  for (int i = 0; i < 300000; ++i) chain = makeReachUnary(ReachNot, std::move(chain));
  ReachExprPtr copy = cloneReach(*chain);
  std::string printed = printReach(*copy);
  EXPECT_EQ(printed.size(), 300000u * 2 + 4);
  EXPECT_EQ(printed.substr(printed.size() - 8), "~ ~ true");
  chain.reset();
  copy.reset();
}

TEST(ReachScopeTable, InnerBindingsHideOuterOnesUntilClosed) {
  ReachScope<int> scope;
  scope.declare("a", 1);
  scope.open("b", 2);
  scope.open("a", 3);
  ASSERT_TRUE(scope.find("a"));
  EXPECT_EQ(*scope.find("a"), 3);
  EXPECT_EQ(scope.depth(), 2u);
  scope.close();
  EXPECT_EQ(*scope.find("a"), 1);
  EXPECT_EQ(*scope.find("b"), 2);
  scope.close(5);
  EXPECT_FALSE(scope.find("b"));
  EXPECT_EQ(*scope.find("a"), 1);
}

}  // namespace
}  // namespace nurex
