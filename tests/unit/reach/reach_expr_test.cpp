// The REACH tree: node kinds chosen by the parser, value nodes, printer rules on hand-built
// trees, copies, release of deep trees, scopes and types.
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

TEST(ReachTree, ParserChoosesNodeKindsByType) {
  ReachExprPtr t = parseQuietly("\"a\" + \"b\" = \"ab\" & PLACES + PLACES = PLACES * PLACES & 1 + 2 * 3 = 7");
  ASSERT_TRUE(t);
  // ((strings & sets) & numbers), each operand an `=`.
  ASSERT_EQ(t->tag, ReachAnd);
  const ReachExpr& inner = *t->list().items[0];
  ASSERT_EQ(inner.tag, ReachAnd);
  ASSERT_EQ(inner.list().items.size(), 2u);
  EXPECT_EQ(inner.list().items[0]->binary().left->tag, ReachConcat);
  EXPECT_EQ(inner.list().items[1]->binary().left->tag, ReachUnion);
  EXPECT_EQ(inner.list().items[1]->binary().right->tag, ReachIntersection);
  const ReachExpr& numbers = *t->list().items[1]->binary().left;
  EXPECT_EQ(numbers.tag, ReachAdd);
  EXPECT_EQ(numbers.binary().right->tag, ReachMul);

  t = parseQuietly("PLACES \\ PLACES = PLACES & P 1 in PLACES & - 1 < 0");
  ASSERT_TRUE(t);
  EXPECT_EQ(t->list().items[0]->list().items[0]->binary().left->tag, ReachDifference);
  EXPECT_EQ(t->list().items[0]->list().items[1]->tag, ReachIn);
  EXPECT_EQ(t->list().items[1]->binary().left->tag, ReachNegate);
}

TEST(ReachTree, StateOperatorsKeepTheirLevel) {
  ReachExprPtr t = parseQuietly("$$ P \"p\" & @@@ T 1 & (S \"x\")''");
  ASSERT_TRUE(t);
  const ReachExpr& left = *t->list().items[0];
  EXPECT_EQ(left.list().items[0]->tag, ReachState);
  EXPECT_EQ(left.list().items[0]->unary().level, 1u);
  EXPECT_EQ(left.list().items[1]->tag, ReachEnabled);
  EXPECT_EQ(left.list().items[1]->unary().level, 2u);
  EXPECT_EQ(t->list().items[1]->tag, ReachNext);
  EXPECT_EQ(t->list().items[1]->unary().level, 1u);
}

TEST(ReachTree, DefaultsOfSubstringThresholdAndFilter) {
  ReachExprPtr t = parseQuietly("\"abc\"[1..] = \"\" & \"abc\"[..1] = \"\"");
  ASSERT_TRUE(t);
  const ReachTernary& from = t->list().items[0]->binary().left->ternary();
  EXPECT_EQ(from.third->tag, ReachNumConst);
  EXPECT_EQ(from.third->number(), ReachNoUpperBound);
  const ReachTernary& to = t->list().items[1]->binary().left->ternary();
  EXPECT_EQ(to.second->number(), 0);

  t = parseQuietly("threshold(true, false, true)");
  ASSERT_TRUE(t);
  EXPECT_EQ(t->tag, ReachThresholdList);
  EXPECT_EQ(t->list().threshold->number(), 2);
  EXPECT_EQ(t->list().items.size(), 3u);

  t = parseQuietly("forall x in PLACES, y in PLACES s.t. x = y { true }");
  ASSERT_TRUE(t);
  const ReachBinder& outer = t->binder();
  EXPECT_EQ(outer.variable, "x");
  EXPECT_TRUE(outer.filter->tag == ReachBoolConst && outer.filter->boolValue());
  ASSERT_EQ(outer.body->tag, ReachForall);
  EXPECT_EQ(outer.body->binder().variable, "y");
  EXPECT_EQ(outer.body->binder().filter->tag, ReachEq);

  t = parseQuietly("let x = 1, y = 2 { true }");
  ASSERT_TRUE(t);
  EXPECT_EQ(t->tag, ReachLet);
  EXPECT_FALSE(t->binder().filter);
  EXPECT_EQ(t->binder().domain->number(), 1);
  EXPECT_EQ(t->binder().body->binder().variable, "y");

  t = parseQuietly("fail \"why\"");
  ASSERT_TRUE(t);
  EXPECT_EQ(t->tag, ReachFail);
  EXPECT_EQ(t->unary().child->text(), "why");
}

TEST(ReachTree, ValueNodesPrint) {
  Place place;
  place.name = "p1";
  Transition transition;
  transition.name = "a+/2";
  Signal signal;
  signal.name = "req";
  int dummy = 0;
  EXPECT_EQ(printReach(*makeReachCondition(&dummy, 3)), "C 3");
  EXPECT_EQ(printReach(*makeReachEvent(&dummy, 12)), "E 12");
  EXPECT_EQ(printReach(*makeReachUnary(ReachState, makeReachPlace(&place), 1)), "$$ p1");
  EXPECT_EQ(printReach(*makeReachUnary(ReachEnabled, makeReachTransition(&transition))), "@ a+/2");
  EXPECT_EQ(printReach(*makeReachUnary(ReachNext, makeReachSignal(&signal), 2)), "req'''");
  EXPECT_EQ(printReach(*makeReachFail("There is no node 7")), "fail \"There is no node 7\"");
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

TEST(ReachTree, QuotedStrings) {
  EXPECT_EQ(quoteReachString("plain"), "\"plain\"");
  EXPECT_EQ(quoteReachString("a\"b\\c"), "\"a\\\"b\\\\c\"");
  EXPECT_EQ(quoteReachString(std::string("\n\x01\xc8\x7f", 4)), "\"\\n\\001\\310\\177\"");
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

TEST(ReachScopeTable, PredefinedNames) {
  ReachSymbolTable table;
  declarePredefinedNames(table);
  const std::pair<const char*, ReachKind> expected[] = {
      {"CONDITIONS", ReachConditionKind}, {"EVENTS", ReachEventKind},   {"CUTOFFS", ReachEventKind},
      {"PLACES", ReachPlaceKind},         {"TRANSITIONS", ReachTransitionKind}, {"SIGNALS", ReachSignalKind},
      {"INPUTS", ReachSignalKind},        {"OUTPUTS", ReachSignalKind}, {"INTERNAL", ReachSignalKind},
      {"DUMMY", ReachSignalKind},         {"LOCAL", ReachSignalKind}};
  for (size_t i = 0; i < 11; ++i) {
    EXPECT_STREQ(reachPredefinedNames[i].name, expected[i].first);
    const ReachSymbol* symbol = table.find(expected[i].first);
    ASSERT_TRUE(symbol) << expected[i].first;
    EXPECT_TRUE(symbol->constant);
    EXPECT_TRUE(symbol->type == ReachType::ofKind(expected[i].second).set());
  }
  EXPECT_FALSE(table.find("ALL"));
}

TEST(ReachTypes, DepthOperations) {
  ReachType place = ReachType::ofKind(ReachPlaceKind);
  EXPECT_TRUE(place.is(ReachPlaceKind));
  EXPECT_FALSE(place.isSet());
  ReachType sets = place.set().set();
  EXPECT_TRUE(sets.isSet());
  EXPECT_FALSE(sets.is(ReachPlaceKind));
  EXPECT_TRUE(sets.element().element() == place);
  EXPECT_FALSE(sets.element() == place);
  EXPECT_STREQ(reachKindName(ReachNumericalKind), "numerical");
  EXPECT_STREQ(reachKindName(ReachFailKind), "fail");
  EXPECT_STREQ(reachKindName(ReachBoolKind), "bool");
}

}  // namespace
}  // namespace nurex
