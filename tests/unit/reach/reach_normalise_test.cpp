// Normalisation of REACH properties over hand-made processes: short-circuit and failures,
// folding of the Boolean operators, values, sets, structure operators, node tests, and the
// differences between the three kinds of input.
#include <gtest/gtest.h>

#include "unit/reach/reach_test_nets.h"

namespace nurex::test {
namespace {

struct Case {
  std::string property, expected;
};

template <class Unit>
void expectNormalForms(const Unit& unit, const std::vector<Case>& cases) {
  for (const Case& c : cases) EXPECT_EQ(normalised(unit, c.property), c.expected) << c.property;
}

// Properties that fold to true: each line checks several values at once.
template <class Unit>
void expectTrue(const Unit& unit, const std::vector<std::string>& properties) {
  for (const std::string& p : properties) EXPECT_EQ(normalised(unit, p), "true") << p;
}

class ReachNormaliseTest : public testing::Test {
 protected:
  void SetUp() override {
    buildSmallNet(net);
    buildDummyStg(stg);
  }
  PrefixBuilder<PetriNet> net;
  PrefixBuilder<Stg> stg;
};

TEST_F(ReachNormaliseTest, ShortCircuitAndFailuresFlowToTheRoot) {
  expectNormalForms(net.prefix, {
      {"false & (1 / 0 = 1)", "false"},
      {"(1 / 0 = 1) & false", "fail: Division by 0: 1 / 0"},
      {"$ P \"a\" & (1 / 0 = 1)", "fail: Non-static fail: fail \"Division by 0: 1 / 0\""},
      {"$ P \"a\" | true | (true ? fail \"never\" : true)", "true"},
      {"true ? $ P \"a\" : fail \"x\"", "$ a"},
      {"false ? fail \"x\" : true", "true"},
      {"forall x in PLACES s.t. false { 1 / 0 = 1 }", "true"},
      {"exists x in PLACES { true ? fail \"boom\" : true }", "fail: boom"},
      // b is kept, then c fails: a failure behind a kept operand is non-static.
      {"exists x in PLACES { $ x & x = P \"b\" | x = P \"c\" & (true ? fail \"late\" : true) }",
       "fail: Non-static fail: fail \"late\""},
      {"fail (\"a\" + \"b\")", "fail: ab"},
      {"1 % 0 = 0", "fail: Division by 0: 1 % 0"},
      {"let x = fail \"unused\" { true }", "true"},
      {"let x = 1 / 0 { $ P x }", "fail: Division by 0: 1 / 0"},
      {"~(1 / 0 = 1) | true", "fail: Division by 0: 1 / 0"},
  });
}

TEST_F(ReachNormaliseTest, BooleanOperatorsFoldToTheNormalForm) {
  expectNormalForms(net.prefix, {
      {"$ P \"a\" -> $ P \"b\"", "~ $ a | $ b"},
      {"$ P \"a\" <-> true", "$ a"},
      {"$ P \"a\" <-> $ P \"b\"", "~($ a ^ $ b)"},
      {"$ P \"a\" <-> $ P \"b\" <-> $ P \"c\"", "$ a ^ $ b ^ $ c"},
      {"$ P \"a\" ^ true ^ $ P \"b\" ^ true ^ true", "~($ a ^ $ b)"},
      {"true ^ false ^ true", "false"},
      {"~(1 = 1) | $ P \"c\"", "$ c"},
      {"(($ P \"a\" & $ P \"b\") & $ P \"c\") & true", "$ a & $ b & $ c"},
      {"$ P \"a\" ? true : $ P \"b\"", "$ a | $ b"},
      {"$ P \"a\" ? false : $ P \"b\"", "~ $ a & $ b"},
      {"$ P \"a\" ? $ P \"b\" : true", "~ $ a | $ b"},
      {"$ P \"a\" ? $ P \"b\" : false", "$ a & $ b"},
      {"$ P \"a\" ? true : false", "$ a"},
      {"$ P \"a\" ? $ P \"b\" : $ P \"c\"", "$ a ? $ b : $ c"},
      {"threshold[0]($ P \"a\", $ P \"b\")", "true"},
      {"threshold[5]($ P \"a\", $ P \"b\")", "false"},
      {"threshold($ P \"a\", $ P \"b\")", "$ a & $ b"},
      {"threshold($ P \"a\", $ P \"b\", $ P \"c\")", "threshold[2]($ a, $ b, $ c)"},
      {"threshold[2](true, $ P \"a\", false, $ P \"b\", $ P \"c\")", "$ a | $ b | $ c"},
      {"threshold[2] x in PLACES s.t. is_init x { $ x }", "threshold[2]($ a, $ b, $ e)"},
      {"xorsum x in PLACES s.t. ~is_init x { @ T 1 & $ x }", "@ t1 & $ c ^ @ t1 & $ p ^ @ t1 & $ p1"},
      {"xorsum x in PLACES s.t. is_init x { true }", "true"},
      {"forall x in PLACES s.t. is_init x { $ x }", "$ a & $ b & $ e"},
      {"exists x in {P \"a\", P \"c\"} s.t. $ P \"e\" { $ x }", "$ e & $ a | $ e & $ c"},
      {"let x = $ P \"a\" { x & ~x }", "let x = $ a { x & ~ x }"},
      {"let x = $ P \"a\" { x | true }", "true"},
      {"let x = 1 { $ P x }", "$ a"},
  });
}

TEST_F(ReachNormaliseTest, StateAtomsOfCutOffsAreFalse) {
  expectNormalForms(net.prefix, {
      {"$ E 3", "false"},
      {"$ C 5", "false"},
      {"$ C 6", "$ C 6"},
      {"$ E 1 & @ E 3", "$ E 1 & @ E 3"},
      {"$$ P \"a\" | @@ T \"t1\"", "$$ a | @@ t1"},
  });
}

TEST_F(ReachNormaliseTest, NumbersStringsAndSets) {
  expectTrue(net.prefix, {
      "\"abc\"[1..] = \"bc\" & \"abc\"[..1] = \"ab\" & \"abc\"[2..1] = \"\" & \"abc\"[-5..0] = \"a\"",
      "\"abc\"[1..1] = \"b\" & \"abc\"[3..] = \"\" & \"\"[0..0] = \"\" & \"abc\"[..-1] = \"\"",
      "2147483647 + 1 = -2147483648 & 7 / -2 = -3 & -7 % 3 = -1 & (-2147483647 - 1) / -1 = -2147483647 - 1",
      "(-2147483647 - 1) % -1 = 0 & - (-2147483647 - 1) = -2147483647 - 1 & 65536 * 65536 = 0",
      "\"ab\" < \"b\" & \"B\" < \"a\" & -1 < 0 & 2 >= 2 & 1 != 2 & \"x\" + \"y\" = \"xy\" & len \"\\377a\" = 2",
      "string {3, 1, 2, 1} = \"{1, 2, 3}\" & string P \"a\" = \"a\" & string (1 < 2) = \"true\"",
      "{1, 2} + {3} = {3, 2, 1} & {1, 2} * {2, 3} = {2} & {1, 2} \\ {2} = {1} & 2 in {1, 2} & card {1, 1} = 1",
      "card gather p in PLACES { name p } = 6 & gather p in PLACES s.t. is_init p { len name p } = {1}",
      "card gather p in PLACES { len name p } = 2 & {{1}, {2, 3}} = {{3, 2}, {1}}",
      "PP \"p\" = {P \"p\"} & card PP \"p.*\" = 2 & card PP \"\" = 0 & PP \"a|b\" = {P \"b\", P \"a\"}",
      "TT \"t[12]\" = {T \"t1\", T \"t2\"} & card TT \"t\" = 0",
  });
}

TEST_F(ReachNormaliseTest, StructureOperatorsAndNodeTests) {
  expectTrue(net.prefix, {
      "C #C 2 = C 2 & # P \"c\" = 3 & # E 3 = 3 & name T 2 = \"t2\" & P 2 = P \"b\" & T \"t3\" = T 3",
      "pre C 3 = {E 1} & post E 1 = {C 3} & card pre C 1 = 0 & post C 5 = pre C 1",
      "pre P \"c\" = {T \"t1\"} & post P \"c\" = {T \"t3\"} & pre T \"t3\" = {P \"c\", P \"p\"} & post T 1 = {P 3}",
      "pre {C 3, C 4} = {E 1, E 2} & post pre C 5 = {C 5}",
      "cond P \"c\" = {C 3} & ev T \"t3\" = {E 3} & pls C 4 = P \"p\" & tran E 2 = T \"t2\" & pls {C 1, C 2} = {P 1, P 2}",
      "downclose E 3 = EVENTS & downclose {E 1, E 2} = {E 1, E 2} & trig E 3 = {E 1, E 2} & trig E 1 = pre C 1",
      "is_init C 1 & ~is_init C 3 & is_init E 1 & ~is_init E 3 & is_init P \"a\" & ~is_init P \"c\"",
      "is_init T \"t1\" & ~is_init T \"t3\" & is_cutoff E 3 & ~is_cutoff E 1 & CUTOFFS = {E 3}",
      "card CONDITIONS = 6 & card TRANSITIONS = 3 & E 1 in downclose E 3 & ~(C 5 in CONDITIONS \\ {C 5})",
  });
}

TEST_F(ReachNormaliseTest, LookUpFailuresAndSignalsOfPlainNets) {
  expectNormalForms(net.prefix, {
      {"$ C 0", "fail: There is no node 0"},
      {"$ E (2 + 2)", "fail: There is no node 4"},
      {"$ P \"zz\"", "fail: There is no node \"zz\""},
      {"@ T 4", "fail: There is no node 4"},
      {"$ S \"x\"", "fail: Valid only in STGs: S \"x\""},
      {"card SIGNALS = 0", "fail: Can refer to signals only in STGs: SIGNALS"},
      {"exists s in LOCAL { true }", "fail: Can refer to signals only in STGs: LOCAL"},
      {"is_plus E 1", "fail: Valid only in STGs: is_plus E 1"},
      {"is_input T 1", "fail: Valid only in STGs: is_input t1"},
      {"card SS \"x\" = 0", "fail: Valid only in STGs: SS \"x\""},
      {"card sig {E 1} = 1", "fail: Valid only in STGs: sig {E 1}"},
  });
  std::string regex = normalised(net.prefix, "card PP \"(\" = 0");
  EXPECT_EQ(regex.rfind("fail: Error in a regular expression \"(\": ", 0), 0u) << regex;
  EXPECT_GT(regex.size(), std::string("fail: Error in a regular expression \"(\": ").size());
}

TEST_F(ReachNormaliseTest, SignalsAndDummiesOfStgs) {
  expectNormalForms(stg.prefix, {
      {"$ S \"d\"", "fail: Cannot refer to the state of a dummy signal in $\"d\""},
      {"@@ S \"d\"", "fail: Cannot refer to the enabledness status of a dummy signal in @\"d\""},
      {"(S \"d\")'", "fail: Cannot compute the next-state function for a dummy signal in \"d\"'"},
      {"is_init S \"d\"", "fail: Cannot refer to the initial state of a dummy signal: is_init d"},
      {"forall s in SIGNALS { s' }",
       "fail: Non-static fail: fail \"Cannot compute the next-state function for a dummy signal in \\\"d\\\"'\""},
      {"is_init S \"a\"", "false"},
      {"$ S \"a\" & @ S 2 & (S \"b\")''", "$ a & @ b & b''"},
  });
  expectTrue(stg.prefix, {
      "TT \"dum\" = {T \"d.dum\"} & TT \"d.dum\" = {T \"d.dum\"} & card TT \"a.\" = 2 & card TT \"[ab].*\" = 3",
      "trig E 3 = {E 1} & trig E 2 = {E 1} & trig E 4 = {E 3} & downclose E 3 = {E 1, E 2, E 3}",
      "INPUTS = {S \"a\"} & OUTPUTS = {S \"b\"} & DUMMY = {S \"d\"} & LOCAL = {S \"b\"} & card INTERNAL = 0",
      "card SIGNALS = 3 & SS \"[a-c]\" = {S \"a\", S \"b\"} & name S 3 = \"d\"",
      "is_input E 1 & is_output T \"b+\" & is_dummy E 2 & is_local S \"b\" & ~is_local E 1 & ~is_internal S 1",
      "is_plus E 1 & is_minus T \"a-\" & ~is_plus E 2 & sig E 3 = S \"b\" & sig {T 1, T 4} = {S \"a\"}",
      "tran S \"a\" = {T \"a+\", T \"a-\"} & ev S \"a\" = {E 1, E 4} & ev T 2 = {E 2}",
  });
}

TEST_F(ReachNormaliseTest, MergedProcessesHaveNoLocalConfigurations) {
  MergedProcessBuilder<PetriNet> mp;
  Place* p = mp.place("p");
  Place* q = mp.place("q");
  Transition* t = mp.transition("t");
  addPlaceArc(p, t), addTransitionArc(t, q);
  MpCondition* cp = mp.condition(p, 1);
  MpCondition* cq = mp.condition(q);
  mp.event(t, {cp}, {cq});
  expectNormalForms(mp.process, {
      {"card downclose E 1 = 1", "fail: Operator can only be applied in a branching process: downlose E 1"},
      {"card trig E 1 = 0", "fail: Operator can only be applied in a branching process: trig E 1"},
      {"pre C 2 = {E 1} & post C 1 = {E 1} & is_init C 1 & ~is_init C 2", "true"},
      {"$ C 2 | $ P \"q\"", "$ C 2 | $ q"},
      {"S 1 = S 1", "fail: Valid only in STGs: S 1"},
  });
}

// Long chains that the parser nests to the left are walked without deep recursion.
TEST_F(ReachNormaliseTest, LongChainsFold) {
  std::string sum = "1", conjunction = "$ P \"a\"";
  for (int i = 0; i < 20000; ++i) {
    sum += " + 1";
    conjunction += " & $ P \"b\"";
  }
  EXPECT_EQ(normalised(net.prefix, sum + " = 20001"), "true");
  std::string folded = normalised(net.prefix, conjunction);
  EXPECT_EQ(folded.size(), std::string("$ a").size() + 20000 * std::string(" & $ b").size());
}

// Nesting to the right is bounded by the parser's stack; the deepest it accepts must pass.
TEST_F(ReachNormaliseTest, DeepNestingWithinTheParserLimit) {
  std::string negations(9990, '~');
  EXPECT_EQ(normalised(net.prefix, negations + "(1 = 1)"), "true");
  std::string nested = "$ P \"a\"";
  for (int i = 0; i < 3000; ++i) nested = "$ P \"b\" & (" + nested + ")";
  EXPECT_EQ(normalised(net.prefix, nested).rfind("$ b & ($ b & ", 0), 0u);
}

}  // namespace
}  // namespace nurex::test
