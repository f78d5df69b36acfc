// Golden cases of the REACH front end: accepted properties with their printed trees, and
// rejected ones with their exact diagnostics and locations; the printer on hand-built trees
// that the parser does not make, copies and release of deep trees, and scopes.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "platform/reporter.h"
#include "reach/reach.h"
#include "reach/reach_scope.h"

namespace nurex {
namespace {

struct Outcome {
  ReachExprPtr tree;
  std::string err;
  uint32_t status;
};

Outcome parse(const std::string& text) {
  resetStatus();
  testing::internal::CaptureStderr();
  ReachExprPtr tree = parseReachText(text);
  std::string err = testing::internal::GetCapturedStderr();
  Outcome outcome{std::move(tree), err, raiseStatus(0)};
  resetStatus();
  return outcome;
}

std::string errorLine(const std::string& message) { return "\nError: " + message + "\n"; }
std::string wrapped(const std::string& message, const std::string& location) {
  return errorLine("incorrect syntax of the expression: " + message + " (located at " + location + ")");
}

struct Accepted {
  std::string property, printed;
};

void expectAccepted(const std::vector<Accepted>& cases) {
  for (const Accepted& c : cases) {
    SCOPED_TRACE(c.property);
    Outcome o = parse(c.property);
    EXPECT_EQ(o.err, "");
    EXPECT_EQ(o.status, 0u);
    ASSERT_TRUE(o.tree);
    EXPECT_EQ(printReach(*o.tree), c.printed);
  }
}

struct Rejected {
  std::string property, message, location;
};

void expectRejected(const std::vector<Rejected>& cases) {
  for (const Rejected& c : cases) {
    SCOPED_TRACE(c.property);
    Outcome o = parse(c.property);
    EXPECT_FALSE(o.tree);
    EXPECT_EQ(o.status, 2u);
    EXPECT_EQ(o.err, wrapped(c.message, c.location));
  }
}

TEST(ReachGolden, PrecedenceAndPrinting) {
  expectAccepted({
      {"true", "true"},
      {"true -> false -> true", "true -> false -> true"},
      {"(true -> false) -> true", "(true -> false) -> true"},
      {"true <-> false <-> true", "true <-> false <-> true"},
      {"true <-> (false <-> true)", "true <-> (false <-> true)"},
      {"true <-> false -> true", "true <-> false -> true"},
      {"(true <-> false) -> true", "(true <-> false) -> true"},
      {"true ? false : true ? false : true", "true ? false : (true ? false : true)"},
      {"(true ? false : true) ? false : true", "true ? false : true ? false : true"},
      {"true ? false & true : false", "true ? false & true : false"},
      {"true ? true ? false : true : false", "true ? (true ? false : true) : false"},
      {"true ? false : true & false", "true ? false : true & false"},
      {"(true ? false : true) & false", "(true ? false : true) & false"},
      {"true & false -> true", "(true & false) -> true"},
      // `->` prints at priority 98, so below `&` it carries no brackets.
      {"(true -> false) & true", "true -> false & true"},
      {"true | false & true", "true | false & true"},
      {"(true | false) & true", "(true | false) & true"},
      {"true ^ false | true", "true ^ false | true"},
      {"true | false ^ true", "true | false ^ true"},
      {"true & (false ^ true)", "true & (false ^ true)"},
      {"true & false & true", "true & false & true"},
      {"true & (false & true)", "true & (false & true)"},
      {"~ true & false", "~ true & false"},
      {"~(true & false)", "~(true & false)"},
      {"~~true", "~ ~ true"},
      {"$ P \"a\" & $ P \"b\"", "$ P \"a\" & $ P \"b\""},
      {"$ P \"a\" -> true", "($ P \"a\") -> true"},
      {"-1*2 = -2", "- 1 * 2 = - 2"},
      {"-(1 * 2) = 0", "-(1 * 2) = 0"},
      {"--1 = 1", "- - 1 = 1"},
      {"1 - 2 - 3 = 1 - (2 - 3)", "1 - 2 - 3 = 1 - (2 - 3)"},
      {"1 + 2 * 3 = (1 + 2) * 3", "1 + 2 * 3 = (1 + 2) * 3"},
      {"6 / 3 % 2 * 1 = 6 / (3 % 2)", "6 / 3 % 2 * 1 = 6 / (3 % 2)"},
      {"card PLACES + 1 > 0", "card PLACES + 1 > 0"},
      {"card (PLACES + PLACES) = 1", "card(PLACES + PLACES) = 1"},
      {"card (PLACES \\ PLACES * PLACES) >= 0", "card(PLACES \\ PLACES * PLACES) >= 0"},
      {"P \"a\" in PLACES = true", "P \"a\" in PLACES = true"},
      {"true = (P \"a\" in PLACES)", "true = P \"a\" in PLACES"},
      {"(1 = 1) = true", "(1 = 1) = true"},
      {"(1 < 2) != false", "(1 < 2) != false"},
      {"name P \"a\" + \"x\" = \"ax\"", "name P \"a\" + \"x\" = \"ax\""},
      // Postfix binds tighter than prefix: name P ("a"[1..2]).
      {"name P \"a\"[1..2] = \"a\"", "name P \"a\"[1..2] = \"a\""},
      {"(name P \"a\")[1..2] = \"a\"", "(name P \"a\")[1..2] = \"a\""},
      {"\"abc\"[1..] = \"bc\"", "\"abc\"[1..] = \"bc\""},
      {"\"abc\"[..1] = \"ab\"", "\"abc\"[..1] = \"ab\""},
      {"\"abc\"[0..2147483647] = \"abc\"", "\"abc\"[..] = \"abc\""},
      {"\"abc\"[1..][..0] = \"b\"", "\"abc\"[1..][..0] = \"b\""},
      {"(S \"x\")'''", "(S \"x\")'''"},
      {"(S \"x\")' & (S \"y\")''", "(S \"x\")' & (S \"y\")''"},
  });
}

TEST(ReachGolden, OperatorsAndBinders) {
  expectAccepted({
      {"P\"a\" = P \"a\"", "P \"a\" = P \"a\""},
      {"$$ P \"p\" & $$$ P \"q\" | @@ T 1", "$$ P \"p\" & $$$ P \"q\" | @@ T 1"},
      {"@ S \"s\" & @ E 1 & $ C 1 & $ E 2 & $ S 1", "@ S \"s\" & @ E 1 & $ C 1 & $ E 2 & $ S 1"},
      {"is_init C 1 & is_cutoff E 1 & is_input S 1 & is_output T 1 & is_internal E 1 & is_dummy S 1 & "
       "is_local T 1 & is_plus E 1 & is_minus T 1",
       "is_init C 1 & is_cutoff E 1 & is_input S 1 & is_output T 1 & is_internal E 1 & is_dummy S 1 & "
       "is_local T 1 & is_plus E 1 & is_minus T 1"},
      {"card pre P 1 + card post T 1 + card cond P 1 + card ev S 1 + card tran S 1 + card trig E 1 + "
       "card PP \"a\" + card TT \"b\" + card SS \"c\" + # sig E 1 + len name P 1 + len string 1 > - 1",
       "card pre P 1 + card post T 1 + card cond P 1 + card ev S 1 + card tran S 1 + card trig E 1 + "
       "card PP \"a\" + card TT \"b\" + card SS \"c\" + # sig E 1 + len name P 1 + len string 1 > - 1"},
      {"card downclose E 1 = card downclose { E 1, E 2 }", "card downlose E 1 = card downlose {E 1, E 2}"},
      {"pls C 1 = P 1 & tran E 1 = T 1 & sig T 1 = S 1", "pls C 1 = P 1 & tran E 1 = T 1 & sig T 1 = S 1"},
      {"pls { C 1 } = PLACES", "pls {C 1} = PLACES"},
      {"C # C 1 = C 1", "C # C 1 = C 1"},
      {"string PLACES = \"x\"", "string PLACES = \"x\""},
      {"card {1, 2, 3} = 3 & {{1}, {2}} != {{3}}", "card {1, 2, 3} = 3 & {{1}, {2}} != {{3}}"},
      {"fail \"oops\"", "fail \"oops\""},
      {"true ? fail \"x\" : $ P \"a\"", "true ? fail \"x\" : $ P \"a\""},
      {"$ P \"a\" ? $ P \"b\" : true", "$ P \"a\" ? $ P \"b\" : true"},
      {"forall x in PLACES { $ x }", "forall x in PLACES { $ x }"},
      {"forall x in PLACES { $ x } & true", "forall x in PLACES { $ x } & true"},
      {"forall x in PLACES, y in PLACES s.t. x != y { $ x | $$ y }",
       "forall x in PLACES { forall y in PLACES s.t. x != y { $ x | $$ y } }"},
      {"forall x in PLACES, t in pre x { @ t }", "forall x in PLACES { forall t in pre x { @ t } }"},
      {"exists t in TRANSITIONS s.t. true { @ t }", "exists t in TRANSITIONS { @ t }"},
      {"xorsum s in SIGNALS s.t. is_input s { $ s }", "xorsum s in SIGNALS s.t. is_input s { $ s }"},
      {"threshold[3] e in EVENTS { $ e }", "threshold[3] e in EVENTS { $ e }"},
      {"threshold e in EVENTS s.t. is_cutoff e { $ e }", "threshold[2] e in EVENTS s.t. is_cutoff e { $ e }"},
      {"threshold($ P \"a\", $ P \"b\", $ P \"c\")", "threshold[2]($ P \"a\", $ P \"b\", $ P \"c\")"},
      {"threshold[1 + 1](true, false)", "threshold[1 + 1](true, false)"},
      {"card gather p in PLACES { name p } > 0", "card gather p in PLACES { name p } > 0"},
      {"let x = $ P \"a\" { x & x }", "let x = $ P \"a\" { x & x }"},
      {"let x = 1 { $ P x }", "let x = 1 { $ P x }"},
      {"let x = 1, y = x + 1 { $ P y }", "let x = 1 { let y = x + 1 { $ P y } }"},
      {"let x = 1 { let x = \"a\" { x = \"a\" } & x = 1 }", "let x = 1 { let x = \"a\" { x = \"a\" } & x = 1 }"},
      {"card CONDITIONS + card EVENTS + card CUTOFFS + card PLACES + card TRANSITIONS + card SIGNALS + "
       "card INPUTS + card OUTPUTS + card INTERNAL + card DUMMY + card LOCAL > 0 & EVENTS = CUTOFFS",
       "card CONDITIONS + card EVENTS + card CUTOFFS + card PLACES + card TRANSITIONS + card SIGNALS + "
       "card INPUTS + card OUTPUTS + card INTERNAL + card DUMMY + card LOCAL > 0 & EVENTS = CUTOFFS"},
  });
}

TEST(ReachGolden, LexicalForms) {
  expectAccepted({
      {"\"a\\\nb\" = \"a\\nb\"", "\"a\\nb\" = \"a\\nb\""},
      {"\"a\\\r\nb\" = \"a\\nb\"", "\"a\\nb\" = \"a\\nb\""},
      {"\"\\377\" = \"\\xff\"", "\"\\377\" = \"\\377\""},
      {"\"\\x4\" = \"\\004\"", "\"\\004\" = \"\\004\""},
      {"\"\\xg\" = \"xg\"", "\"xg\" = \"xg\""},
      {"\"\\q\\\"\\\\\" = \"q\\\"\\\\\"", "\"q\\\"\\\\\" = \"q\\\"\\\\\""},
      {"\"\\a\\b\\f\\n\\r\\t\\v\" = \"\\7\\10\\14\\12\\15\\11\\13\"",
       "\"\\a\\b\\f\\n\\r\\t\\v\" = \"\\a\\b\\f\\n\\r\\t\\v\""},
      {"\"\\101\\x41\" = \"AA\"", "\"AA\" = \"AA\""},
      {"\"\\0\" = \"\"", "\"\\000\" = \"\""},
      {"\"tab\tx\" = \"\"", "\"tab\\tx\" = \"\""},
      {"true // comment", "true"},
      {"/* x */ true /* y */", "true"},
      {"true//", "true"},
      {"true\t&\r\n false", "true & false"},
      {"/* a * b ** / */ true", "true"},
      {"/***/true", "true"},
      {"4294967297 = 1", "1 = 1"},
      {"2147483648 = 0", "-2147483648 = 0"},
  });
}

TEST(ReachGolden, TypeMessagesOfPrefixOperators) {
  const std::string node = "condition, event, place, transition or signal";
  expectRejected({
      {"fail 1", "Type mismatch in the operand of 'fail': expression of type string is expected", "1.6"},
      // A quoted name is located at its closing quote.
      {"$ \"p\"", "Type mismatch in the operand of '$': expression of type condition, event, place or signal is expected",
       "1.5"},
      {"$$ \"p\"",
       "Type mismatch in the operand of '$$': expression of type condition, event, place or signal is expected",
       "1.6"},
      {"$ $ P \"p\"",
       "Type mismatch in the operand of '$': expression of type condition, event, place or signal is expected",
       "1.3-9"},
      {"@@ P \"p\"", "Type mismatch in the operand of '@@': expression of type event, transition or signal is expected",
       "1.4-8"},
      // Postfix binds tighter than prefix, so `$ s'` is `$ (s')`, a Boolean.
      {"$ (S \"x\")'",
       "Type mismatch in the operand of '$': expression of type condition, event, place or signal is expected",
       "1.3-10"},
      {"S \"x\"'''", "Type mismatch in the operand of \"'''\": expression of type signal is expected", "1.5"},
      {"$ C \"a\"", "Type mismatch in the operand of 'C': expression of type numerical is expected", "1.7"},
      {"$ E true", "Type mismatch in the operand of 'E': expression of type numerical is expected", "1.5-8"},
      {"$ P true", "Type mismatch in the operand of 'P': expression of type numerical or string is expected", "1.5-8"},
      {"@ T true", "Type mismatch in the operand of 'T': expression of type numerical or string is expected", "1.5-8"},
      {"$ S true", "Type mismatch in the operand of 'S': expression of type numerical or string is expected", "1.5-8"},
      {"card PP 1 = 0", "Type mismatch in the operand of 'PP': expression of type string is expected", "1.9"},
      {"card TT 1 = 0", "Type mismatch in the operand of 'TT': expression of type string is expected", "1.9"},
      {"card SS 1 = 0", "Type mismatch in the operand of 'SS': expression of type string is expected", "1.9"},
      {"# 1 = 1", "Type mismatch in the operand of '#': expression of type " + node + " is expected", "1.3"},
      {"name C 1 = \"a\"", "Type mismatch in the operand of 'name': expression of type place, transition or signal is expected",
       "1.6-8"},
      {"string fail \"x\" = \"\"",
       "Type mismatch in the operand of 'string': expression of type other than fail is expected", "1.8-15"},
      {"len 1 = 1", "Type mismatch in the operand of 'len': expression of type string is expected", "1.5"},
      {"card downclose C 1 = 1",
       "Type mismatch in the operand of 'downclose': expression of type event or set thereof is expected", "1.16-18"},
      {"card trig { E 1 } = 1", "Type mismatch in the operand of 'trig': expression of type event is expected",
       "1.11-17"},
      {"is_init 1", "Type mismatch in the operand of 'is_init': expression of type " + node + " is expected", "1.9"},
      {"is_cutoff P 1", "Type mismatch in the operand of 'is_cutoff': expression of type event is expected", "1.11-13"},
      {"is_input P 1",
       "Type mismatch in the operand of 'is_input': expression of type signal, transition or event is expected",
       "1.10-12"},
      {"is_output P 1",
       "Type mismatch in the operand of 'is_output': expression of type signal, transition or event is expected",
       "1.11-13"},
      {"is_internal P 1",
       "Type mismatch in the operand of 'is_internal': expression of type signal, transition or event is expected",
       "1.13-15"},
      {"is_dummy P 1",
       "Type mismatch in the operand of 'is_dummy': expression of type signal, transition or event is expected",
       "1.10-12"},
      {"is_local P 1",
       "Type mismatch in the operand of 'is_local': expression of type signal, transition or event is expected",
       "1.10-12"},
      {"is_plus S 1", "Type mismatch in the operand of 'is_plus': expression of type event or transition is expected",
       "1.9-11"},
      {"is_minus C 1", "Type mismatch in the operand of 'is_minus': expression of type event or transition is expected",
       "1.10-12"},
      {"~ 1", "Type mismatch in the operand of '~': expression of type bool is expected", "1.3"},
      {"- true = 1", "Type mismatch in the operand of 'unary -': expression of type numerical is expected", "1.3-6"},
      {"card pre 1 = 0",
       "Type mismatch in the operand of 'pre': expression of type condition, event, place, transition or set thereof "
       "is expected",
       "1.10"},
      {"card post S 1 = 0",
       "Type mismatch in the operand of 'post': expression of type condition, event, place, transition or set thereof "
       "is expected",
       "1.11-13"},
      {"card pre { S 1 } = 0",
       "Type mismatch in the operand of 'pre': expression of type condition, event, place, transition or set thereof "
       "is expected",
       "1.10-16"},
      {"card pre {PLACES} = 0",
       "Type mismatch in the operand of 'pre': expression of type condition, event, place, transition or set thereof "
       "is expected",
       "1.10-17"},
      {"card cond T 1 = 0", "Type mismatch in the operand of 'cond': expression of type place or set thereof is expected",
       "1.11-13"},
      {"card ev P 1 = 0",
       "Type mismatch in the operand of 'ev': expression of type transition, signal or set thereof is expected",
       "1.9-11"},
      {"pls 1 = P 1", "Type mismatch in the operand of 'places': expression of type condition or set thereof is expected",
       "1.5"},
      {"tran P 1 = T 1",
       "Type mismatch in the operand of 'tran': expression of type event, signal or set thereof is expected", "1.6-8"},
      {"sig P 1 = S 1",
       "Type mismatch in the operand of 'sig': expression of type event, transition or set thereof is expected",
       "1.5-7"},
      {"card 1 = 1", "Type mismatch in the operand of 'card': expression of type set is expected", "1.6"},
  });
}

TEST(ReachGolden, TypeMessagesOfBinaryOperators) {
  expectRejected({
      {"1 + \"a\" = 1", "Type mismatch in the operands of '+'", "1.1-7"},
      {"true + false",
       "Type mismatch in the operands of '+': expressions of type numerical, string or set are expected", "1.1-12"},
      {"1 - \"a\" = 1", "Type mismatch in the operands of '-'", "1.1-7"},
      // The whole starts at the closing quote of the first operand.
      {"\"a\" - \"b\" = \"\"", "Type mismatch in the operands of '-': expressions of type numerical are expected",
       "1.3-9"},
      {"1 * \"a\" = 1", "Type mismatch in the operands of '*'", "1.1-7"},
      {"\"a\" * \"b\" = \"\"", "Type mismatch in the operands of '*': expressions of type numerical or set are expected",
       "1.3-9"},
      {"1 / \"a\" = 1", "Type mismatch in the operands of '/'", "1.1-7"},
      {"\"a\" / \"b\" = \"\"", "Type mismatch in the operands of '/': expressions of type numerical are expected",
       "1.3-9"},
      {"1 % \"a\" = 1", "Type mismatch in the operands of '%'", "1.1-7"},
      {"\"a\" % \"b\" = \"\"", "Type mismatch in the operands of '%': expressions of type numerical are expected",
       "1.3-9"},
      {"PLACES \\ 1 = PLACES", "Type mismatch in the operands of '\\'", "1.1-10"},
      {"1 \\ 2 = 1", "Type mismatch in the operands of '\\': expressions of type set are expected", "1.1-5"},
      {"1 = \"a\"", "Type mismatch in the operands of '='", "1.1-7"},
      {"1 != \"a\"", "Type mismatch in the operands of '!='", "1.1-8"},
      {"1 < \"a\"", "Type mismatch in the operands of '<'", "1.1-7"},
      {"1 <= \"a\"", "Type mismatch in the operands of '<='", "1.1-8"},
      {"1 > \"a\"", "Type mismatch in the operands of '>'", "1.1-7"},
      {"1 >= \"a\"", "Type mismatch in the operands of '>='", "1.1-8"},
      {"CONDITIONS = EVENTS", "Type mismatch in the operands of '='", "1.1-19"},
      {"P \"a\" = S \"a\"", "Type mismatch in the operands of '='", "1.1-13"},
      {"1 in 2", "The second operand of 'in' is not a set", "1.6"},
      {"1 in PLACES", "Type mismatch in the operands of 'in'", "1.1-11"},
      {"1 & true", "Type mismatch in the operands of '&': expression of type bool is expected", "1.1"},
      {"true & 1", "Type mismatch in the operands of '&': expression of type bool is expected", "1.8"},
      {"1 | true", "Type mismatch in the operands of '|': expression of type bool is expected", "1.1"},
      {"1 ^ true", "Type mismatch in the operands of '^': expression of type bool is expected", "1.1"},
      {"1 -> true", "Type mismatch in the operands of '->': expression of type bool is expected", "1.1"},
      {"true <-> 1", "Type mismatch in the operands of '<->': expression of type bool is expected", "1.10"},
      // State-dependent operands: the type check comes first, then the constants, then the kind.
      {"$ P \"a\" = $ P \"b\"", "Constant expression expected", "1.1-7"},
      {"true = $ P \"b\"", "Constant expression expected", "1.8-14"},
      {"$ P \"a\" + $ P \"b\"", "Constant expression expected", "1.1-7"},
      {"$ P \"a\" + 1", "Type mismatch in the operands of '+'", "1.1-11"},
      {"true in { $ P 1 }", "Constant expression expected", "1.9-17"},
  });
}

TEST(ReachGolden, TypeMessagesOfCompoundForms) {
  expectRejected({
      {"1[1..2] = \"\"", "Type mismatch in the operand of '[m..n]': expression of type string is expected", "1.1"},
      {"1[1..] = \"\"", "Type mismatch in the operand of '[m..]': expression of type string is expected", "1.1"},
      {"1[..2] = \"\"", "Type mismatch in the operand of '[..n]': expression of type string is expected", "1.1"},
      {"\"a\"[\"b\"..2] = \"\"", "Type mismatch in an index of '[m..n]': expressions of type numerical are expected",
       "1.7"},
      {"\"a\"[1..\"b\"] = \"\"", "Type mismatch in an index of '[m..n]': expressions of type numerical are expected",
       "1.10"},
      {"\"a\"[\"b\"..] = \"\"", "Type mismatch in the index of '[m..]': expression of type numerical is expected",
       "1.7"},
      {"\"a\"[..\"b\"] = \"\"", "Type mismatch in the index of '[..n]': expression of type numerical is expected",
       "1.9"},
      {"1 ? true : false", "Type mismatch in '?:': the condition must be Boolean", "1.1"},
      {"true ? 1 : \"a\"", "Type mismatch in '?:': the 'then' and 'else' expressions must be of the same type",
       "1.1-14"},
      {"($ P \"a\" ? 1 : 2) = 1", "The operands of '?:' must be either Boolean or constant", "1.2-16"},
      {"len ($ P \"a\" ? \"x\" : \"y\") = 1", "The operands of '?:' must be either Boolean or constant", "1.6-24"},
      {"$ P \"a\" ? fail \"x\" : true",
       "The condition of '?:' must be constant if the 'then' or 'else' expressions are of type fail", "1.1-7"},
      {"true ? fail \"x\" : { $ P \"a\" }", "The operands of '?:' must be either Boolean or constant", "1.1-29"},
      {"true ? fail \"x\" : 1", "Type mismatch in the overall specification: a Boolean expression is expected",
       "1.1-19"},
      {"{1, \"a\"} = {1}", "Type mismatch: all expressions in the list must be of the same type", "1.7"},
      {"threshold(1, 2)", "Type mismatch in the operands of 'threshold[*]': the operands must be Boolean", "1.11-14"},
      {"threshold[\"a\"](true)", "Type mismatch in 'threshold[*]': the threshold must be numerical", "1.13"},
      {"forall x in 1 { true }", "Type mismatch: the domain of the variable x must be a set", "1.13"},
      {"forall x in { $ P \"a\", true } { x }", "Constant expression expected", "1.13-29"},
      {"let x = { $ P \"a\" } { true }", "The defining exression must be Boolean or constant", "1.9-19"},
      {"forall x in PLACES s.t. 1 { true }", "Type mismatch in 's.t.': the condition must be a Boolean expression",
       "1.25"},
      {"forall x in PLACES { 1 }", "Type mismatch in 'forall': the body must be a Boolean expression", "1.22"},
      {"exists x in PLACES { 1 }", "Type mismatch in 'exists': the body must be a Boolean expression", "1.22"},
      {"xorsum x in PLACES { 1 }", "Type mismatch in 'xorsum': the body must be a Boolean expression", "1.22"},
      {"threshold x in PLACES { 1 }", "Type mismatch in 'threshold': the body must be a Boolean expression", "1.25"},
      {"card gather x in PLACES { $ x } = 1", "Constant expression expected", "1.27-29"},
      {"card gather x in PLACES s.t. $ x { 1 } = 1", "Constant expression expected", "1.30-32"},
      {"let x = 1 { { $ P x } }", "Type mismatch in 'let': the body must be Boolean or constant", "1.13-21"},
      {"1", "Type mismatch in the overall specification: a Boolean expression is expected", "1.1"},
      {"let x = \"a\" { x }", "Type mismatch in the overall specification: a Boolean expression is expected", "1.1-17"},
      {"Pa", "Undeclared identifier: Pa", "1.1-2"},
      {"truex", "Undeclared identifier: truex", "1.1-5"},
      {"s.t", "Undeclared identifier: s", "1.1"},
      {"forall x in PLACES { $ x } & $ x", "Undeclared identifier: x", "1.32"},
      {"forall x in x { true }", "Undeclared identifier: x", "1.13"},
  });
}

TEST(ReachGolden, SyntaxErrors) {
  expectRejected({
      {"1=1=1", "syntax error, unexpected =", "1.4"},
      {"1<2!=3", "syntax error, unexpected TOK_NEQ", "1.4-5"},
      {"P 1 in PLACES in PLACES", "syntax error, unexpected TOK_IN", "1.15-16"},
      {"1 .. 2", "syntax error, unexpected TOK_DOTDOT", "1.3-4"},
      {"\"x\"[..] = \"\"", "syntax error, unexpected ]", "1.7"},
      {"\"x\"[1] = \"\"", "syntax error, unexpected ]", "1.6"},
      {"{ }", "syntax error, unexpected }", "1.3"},
      {"", "syntax error, unexpected $end", "1.1"},
      {"$", "syntax error, unexpected $end", "1.1"},
      {"true)", "syntax error, unexpected )", "1.5"},
      {".", "syntax error, unexpected $undefined", "1.1"},
      {"12ab", "syntax error, unexpected TOK_ID", "1.3-4"},
      {"true ? false", "syntax error, unexpected $end", "1.8-12"},
      {"forall x PLACES { true }", "syntax error, unexpected TOK_ID, expecting TOK_IN", "1.10-15"},
      {"let x 1 { true }", "syntax error, unexpected TOK_NUM, expecting =", "1.7"},
      {"forall in PLACES { true }", "syntax error, unexpected TOK_IN, expecting TOK_ID", "1.8-9"},
      {"exists", "syntax error, unexpected $end, expecting TOK_ID", "1.1-6"},
      {"threshold 1", "syntax error, unexpected TOK_NUM, expecting TOK_ID or [ or (", "1.11"},
      {"threshold[2] 1", "syntax error, unexpected TOK_NUM, expecting TOK_ID or (", "1.14"},
      {"threshold[2] x", "syntax error, unexpected $end, expecting TOK_IN", "1.14"},
      {"forall x in PLACES, 1 { true }", "syntax error, unexpected TOK_NUM, expecting TOK_ID", "1.21"},
      {"let x = 1, 2 { true }", "syntax error, unexpected TOK_NUM, expecting TOK_ID", "1.12"},
      {"gather x in PLACES, y in PLACES { 1 }", "syntax error, unexpected ,", "1.19"},
  });
}

TEST(ReachGolden, LocationsOverSeveralLines) {
  const std::string dollar =
      "Type mismatch in the operand of '$': expression of type condition, event, place or signal is expected";
  expectRejected({
      {"true &\n  $ \"p\"", dollar, "2.7"},
      {"true &\r\n$ \"p\"", dollar, "2.5"},
      {"true &\r$ \"p\"", dollar, "2.5"},
      {"true &\n\r$ \"p\"", dollar, "3.5"},
      {"true &\r\n\r\n$ \"p\"", dollar, "3.5"},
      {"$ \"a\\\nb\"", dollar, "2.2"},
      {"1 +\n\"a\" = 1", "Type mismatch in the operands of '+'", "1.1-2.4"},
      {"(1 +\n  2) = \"x\"", "Type mismatch in the operands of '='", "1.1-2.11"},
      {"true\n&\n1", "Type mismatch in the operands of '&': expression of type bool is expected", "3.1"},
      {"/* one\ntwo */ true & 12", "Type mismatch in the operands of '&': expression of type bool is expected",
       "2.15-16"},
  });
}

struct LexicalCase {
  std::string property;
  std::vector<std::string> errors;  // whole stderr, one "\nError: ...\n" each
};

TEST(ReachGolden, LexicalErrorsEndTheParse) {
  const std::string atEnd = "syntax error, unexpected $end";
  const std::vector<LexicalCase> cases = {
      {"!", {errorLine("incorrect character: !"), wrapped(atEnd, "1.1")}},
      {"true !", {errorLine("incorrect character: !")}},
      {"true ; false", {errorLine("incorrect character: ;")}},
      {"true & `", {errorLine("incorrect character: `"), wrapped(atEnd, "1.8")}},
      {"true & \x80", {errorLine("incorrect character: \x80"), wrapped(atEnd, "1.8")}},
      {"\"abc", {errorLine("run-away quoted name: "), wrapped(atEnd, "1.2-4")}},
      {"true & \"ab\ncd\"", {errorLine("run-away quoted name: \n"), wrapped(atEnd, "1.11-2.1")}},
      {"\"\\400\"", {errorLine("bad escape sequence in a std::string: \\400"), wrapped(atEnd, "1.2-5")}},
      {"\"\\8\"", {errorLine("bad escape sequence in a std::string: \\8"), wrapped(atEnd, "1.2-3")}},
      {"\"\\1234\"", {errorLine("bad escape sequence in a std::string: \\1234"), wrapped(atEnd, "1.2-6")}},
      {"\"ab\\", {errorLine("run-away quoted name: \\"), wrapped(atEnd, "1.4")}},
      {"/* abc", {errorLine("run-away comment:  abc"), wrapped(atEnd, "1.3-6")}},
      {"/*", {errorLine("run-away comment: /*"), wrapped(atEnd, "1.1-2")}},
      {"/*" + std::string(60, 'x'),
       {errorLine("run-away comment: " + std::string(50, 'x') + "..."), wrapped(atEnd, "1.3-62")}},
      {"true /* a\nb", {errorLine("run-away comment:  a\nb")}},
  };
  for (const LexicalCase& c : cases) {
    SCOPED_TRACE(c.property);
    Outcome o = parse(c.property);
    std::string expected;
    for (const std::string& e : c.errors) expected += e;
    EXPECT_FALSE(o.tree);
    EXPECT_EQ(o.status, 2u);
    EXPECT_EQ(o.err, expected);
  }
}

TEST(ReachGolden, StackExhaustion) {
  Outcome o = parse(std::string(10000, '(') + "true" + std::string(10000, ')'));
  EXPECT_FALSE(o.tree);
  EXPECT_EQ(o.err, wrapped("memory exhausted", "1.9999"));
}

TEST(ReachGolden, LongChainsBuildAndRelease) {
  std::string text = "1";
  for (int i = 0; i < 100000; ++i) text += "+1";
  Outcome o = parse(text + " > 0");
  ASSERT_TRUE(o.tree);
  EXPECT_EQ(o.tree->tag, ReachGreater);
  EXPECT_EQ(printReach(*o.tree).size(), 2 * text.size() + 3);  // "1 + 1 ... + 1 > 0"
}

TEST(ReachProperty, ReadsFileNamedAfterAt) {
  char name[] = "/tmp/reach_property_XXXXXX";
  int fd = mkstemp(name);
  ASSERT_GE(fd, 0);
  FILE* file = fdopen(fd, "w");
  std::fputs("true &\n\n  $ \"p\"", file);
  std::fclose(file);
  resetStatus();
  testing::internal::CaptureStderr();
  ReachExprPtr tree = parseReachProperty(std::string("@") + name);
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_FALSE(tree);
  EXPECT_EQ(err, wrapped("Type mismatch in the operand of '$': expression of type condition, event, place or signal "
                         "is expected",
                         "3.7"));

  file = std::fopen(name, "w");
  std::fputs("$ P \"p\"\n", file);
  std::fclose(file);
  resetStatus();
  tree = parseReachProperty(std::string("@") + name);
  ASSERT_TRUE(tree);
  EXPECT_EQ(printReach(*tree), "$ P \"p\"");
  std::remove(name);

  testing::internal::CaptureStderr();
  EXPECT_FALSE(parseReachProperty("@/nonexistent/property"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), errorLine("cannot open \"/nonexistent/property\" for input"));
  EXPECT_EQ(raiseStatus(0), 2u);
  resetStatus();

  tree = parseReachProperty("true & false");
  ASSERT_TRUE(tree);
  EXPECT_EQ(printReach(*tree), "true & false");
}

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
