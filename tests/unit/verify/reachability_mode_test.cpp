// The reachability modes on hand-made processes: let over states, configuration levels,
// trivial predicates, failures, and the states that -Fs sees through dummy events.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/capture.h"
#include "support/sanitizer.h"
#include "support/prefix_builder.h"
#include "unit/reach/reach_test_nets.h"
#include "verify/reachability.h"

namespace nurex::test {
namespace {

struct Outcome {
  bool found = false;
  std::vector<std::vector<std::string>> traces;  // transition names, per level
  std::string err;
  uint32_t status = 0;
};

OptionMap withSolver(int solver) {
  OptionMap options;
  options["solver"] = solver;
  return options;
}

template <class Unit>
Outcome check(const Unit& unit, const std::string& property, bool stgStates = false,
              OptionMap options = withSolver(1)) {
  Outcome o;
  testing::internal::CaptureStdout();  // the trivial case is announced there
  o.err = captureStderr([&] {
    auto mode = makeReachabilityChecker(unit, options, property, stgStates);
    mode->run();
    o.found = !mode->result_list().empty();
    if (o.found)
      for (const Trace& trace : mode->result_list().back()->traces) {
        o.traces.emplace_back();
        for (const TraceStep& step : trace) o.traces.back().push_back(step.transition->name);
      }
  });
  testing::internal::GetCapturedStdout();
  o.status = raiseStatus(0);
  resetStatus();
  return o;
}

// A property that must be expanded and decided without error.
template <class Unit>
Outcome decide(const Unit& unit, const std::string& property, bool stgStates = false,
               OptionMap options = withSolver(1)) {
  Outcome o = check(unit, property, stgStates, options);
  EXPECT_LT(o.status, 2u) << property << o.err;
  return o;
}

bool has(const std::vector<std::string>& trace, const std::string& name) {
  return std::find(trace.begin(), trace.end(), name) != trace.end();
}

// Three independent places x1, y1, z1, each marked until its transition tx, ty or tz moves
// the token to x0, y0 or z0: every combination of values is reachable.
struct Toggles {
  PrefixBuilder<PetriNet> b;
  Toggles() {
    for (const char* v : {"x", "y", "z"}) {
      Place *one = b.place(std::string(v) + "1", 1), *zero = b.place(std::string(v) + "0");
      b.step(b.transition(std::string("t") + v, {one}, {zero}), b.condition(one), zero);
    }
  }
};

// Conditionals and thresholds are among the random predicates of the differential test;
// a let over a state-dependent value is not.
TEST(ReachabilityMode, LetsOverStates) {
  Toggles net;
  EXPECT_FALSE(decide(net.b.prefix, "let v = $ P \"x1\" ^ $ P \"y1\" { v & ~v }").found);
  Outcome o = decide(net.b.prefix, "let v = $ P \"x1\" ^ $ P \"y1\" { v & ~$ P \"y1\" & (v <-> $ P \"z0\") }");
  ASSERT_TRUE(o.found);
  std::vector<std::string> trace = o.traces[0];
  std::sort(trace.begin(), trace.end());
  EXPECT_EQ(trace, (std::vector<std::string>{"ty", "tz"}));
}

TEST(ReachabilityMode, EachLevelIsAConfigurationOfItsOwn) {
  Toggles net;
  Outcome o = decide(net.b.prefix, "$ P \"x1\" & ~$$ P \"x1\"");
  ASSERT_TRUE(o.found);
  ASSERT_EQ(o.traces.size(), 2u);
  EXPECT_FALSE(has(o.traces[0], "tx"));
  EXPECT_TRUE(has(o.traces[1], "tx"));
  EXPECT_FALSE(decide(net.b.prefix, "$ P \"x1\" & ~$ P \"x1\"").found);
  // Only the levels referred to exist.
  o = decide(net.b.prefix, "$$$ P \"y0\"");
  ASSERT_TRUE(o.found);
  ASSERT_EQ(o.traces.size(), 1u);
  EXPECT_EQ(o.traces[0], std::vector<std::string>{"ty"});
  o = decide(net.b.prefix, "$$ P \"y0\" & @@ T \"tz\" & ~@ T \"tz\"");
  ASSERT_TRUE(o.found);
  ASSERT_EQ(o.traces.size(), 2u);
  EXPECT_TRUE(has(o.traces[0], "tz"));
  EXPECT_FALSE(has(o.traces[1], "tz"));
}

TEST(ReachabilityMode, TrivialPredicatesAndFailures) {
  Toggles net;
  Outcome o = check(net.b.prefix, "1 + 1 = 2");
  ASSERT_TRUE(o.found);
  EXPECT_EQ(o.traces, std::vector<std::vector<std::string>>{{}});
  EXPECT_EQ(o.status, 0u);
  o = check(net.b.prefix, "card PLACES = 5");
  EXPECT_FALSE(o.found);
  EXPECT_EQ(o.status, 0u);
  o = check(net.b.prefix, "$ P \"nope\"");
  EXPECT_FALSE(o.found);
  EXPECT_EQ(o.status, 2u);
  EXPECT_EQ(o.err, "\nError: failed to expand reachability expression:\nThere is no node \"nope\"\n");
  o = check(net.b.prefix, "");
  EXPECT_EQ(o.status, 2u);
  EXPECT_EQ(o.err, "\nError: failed to expand reachability expression:\npredicate is not specified\n");
  o = check(net.b.prefix, "$ P (1");
  EXPECT_EQ(o.status, 2u);
  EXPECT_NE(o.err.find("\nError: failed to expand reachability expression:\nFailed to read the property\n"),
            std::string::npos);
}

// An initial condition that nothing consumes is marked in every state; a cut-off's state never.
TEST(ReachabilityMode, ConditionsOfTheInitialCutAndOfCutOffs) {
  PrefixBuilder<PetriNet> net;
  buildSmallNet(net);
  Outcome o = decide(net.prefix, "$ C 6");
  ASSERT_TRUE(o.found);
  EXPECT_EQ(o.traces, std::vector<std::vector<std::string>>{{}});
  EXPECT_FALSE(decide(net.prefix, "~$ C 6").found);
  EXPECT_FALSE(decide(net.prefix, "$ E 3 | $ C 5").found);
  o = decide(net.prefix, "(@ E 3)");
  ASSERT_TRUE(o.found) << o.err;
  std::vector<std::string> trace = o.traces[0];
  std::sort(trace.begin(), trace.end());
  EXPECT_EQ(trace, (std::vector<std::string>{"t1", "t2"}));
}

TEST(ReachabilityMode, AllSolutionsAndShortest) {
  Toggles net;
  OptionMap all = withSolver(1);
  all["all_solutions"] = -1;
  Outcome o;
  size_t count = 0;
  captureStderr([&] {
    auto mode = makeReachabilityChecker(net.b.prefix, all, "$ P \"x0\" | $ P \"y0\"", false);
    mode->run();
    count = mode->result_list().size();
  });
  EXPECT_EQ(count, 6u);  // 8 markings, less the two with x1 and y1 marked
  OptionMap shortest = withSolver(1);
  shortest["min_cost"] = 1;
  o = decide(net.b.prefix, "($ P \"x0\" | $ P \"y0\") & ($ P \"z0\" | $ P \"x0\")", false, shortest);
  ASSERT_TRUE(o.found);
  EXPECT_EQ(o.traces[0], std::vector<std::string>{"tx"});
}

// p0 -a+-> p1 -d.dum-> p2 -b+-> p3 -a--> p4: -F sees the state after a+ with the dummy
// pending; -Fs does not stop behind a dummy, and sees b+ enabled through it.
TEST(ReachabilityMode, StgStatesSeenFromOutside) {
  PrefixBuilder<Stg> stg;
  buildDummyStg(stg);
  const StgPrefix& unit = stg.prefix;
  EXPECT_TRUE(decide(unit, "$ S \"a\" & ~$ S \"b\" & ~@ S \"b\"").found);
  EXPECT_FALSE(decide(unit, "$ S \"a\" & ~$ S \"b\" & ~@ S \"b\"", true).found);
  EXPECT_TRUE(decide(unit, "$ P \"p2\"").found);
  EXPECT_FALSE(decide(unit, "$ P \"p2\"", true).found);
  Outcome o = decide(unit, "~$ P \"p2\" & @ T \"b+\"", true);
  ASSERT_TRUE(o.found) << o.err;
  EXPECT_EQ(o.traces[0], std::vector<std::string>{"a+"});
  o = decide(unit, "(S \"b\")' & ~$ S \"b\"", true);
  ASSERT_TRUE(o.found);
  EXPECT_EQ(o.traces[0], std::vector<std::string>{"a+"});
  o = decide(unit, "(S \"b\")' & ~$ S \"b\"");
  ASSERT_TRUE(o.found);
  EXPECT_EQ(o.traces[0], (std::vector<std::string>{"a+", "d.dum"}));
  o = decide(unit, "$ S \"b\" & ~(S \"a\")' & $ S \"a\"", true);
  ASSERT_TRUE(o.found);
  EXPECT_EQ(o.traces[0], (std::vector<std::string>{"a+", "d.dum", "b+"}));
  EXPECT_FALSE(decide(unit, "$ S \"b\" & ~$ S \"a\" & @ S \"a\"", true).found);
  o = decide(unit, "$ S \"b\" & ~$ S \"a\"", true);
  ASSERT_TRUE(o.found);
  EXPECT_EQ(o.traces[0].size(), 4u);
}

// p0 -t0-> p1 -t1-> p2: "p1 is marked" is a real gate over both events. Asked for first in
// one direction (inside `|`) and then in the other (under `~`), it must be complete.
TEST(ReachabilityMode, StateAtomsAskedForInBothDirections) {
  PrefixBuilder<PetriNet> chain;
  Place* p[3] = {chain.place("p0", 1), chain.place("p1"), chain.place("p2")};
  Transition* t0 = chain.transition("t0", {p[0]}, {p[1]});
  Transition* t1 = chain.transition("t1", {p[1]}, {p[2]});
  chain.step(t1, chain.step(t0, chain.condition(p[0]), p[1]), p[2]);
  for (int solver : {0, 1}) {
    Outcome o = decide(chain.prefix, "($ P \"p1\" | $ E 1) & ~$ P \"p1\" & $ E 1 & ~$ E 2", false, withSolver(solver));
    EXPECT_FALSE(o.found);
    EXPECT_EQ(o.status, 0u) << o.err;
    o = decide(chain.prefix, "($ P \"p1\" | $ E 1) & ~($ P \"p1\" ^ $ P \"p0\") & $ E 1 & ~$ E 2", false, withSolver(solver));
    EXPECT_FALSE(o.found);
    EXPECT_EQ(o.status, 0u) << o.err;
  }
}

// The normal form keeps what the parser nests to the right; encoding it must not run out of stack.
// Nearly as deep as the parser goes (it stops at 10000 levels). Instrumented frames are
// several times larger, so the sanitized build goes a fifth as deep.
TEST(ReachabilityMode, DeepNormalForms) {
  Toggles net;
  std::string negations(underSanitizer ? 1998 : 9990, '~');
  Outcome o = decide(net.b.prefix, negations + "$ P \"x1\" & $ P \"y0\"");
  EXPECT_TRUE(o.found) << o.err;
  std::string nested = "$ P \"x0\"";
  for (int i = 0; i < (underSanitizer ? 300 : 1500); ++i) nested = "$ P \"y1\" | ($ P \"z0\" & (" + nested + "))";
  o = decide(net.b.prefix, "~$ P \"y1\" & (" + nested + ")");
  EXPECT_TRUE(o.found) << o.err;
}

TEST(ReachabilityMode, MergedProcesses) {
  MergedProcessBuilder<PetriNet> mp;
  Place* p = mp.place("p");
  Place* q = mp.place("q");
  Transition* t = mp.transition("t");
  Transition* u = mp.transition("u");
  addPlaceArc(p, t), addTransitionArc(t, q), addPlaceArc(q, u), addTransitionArc(u, p);
  MpCondition* cp = mp.condition(p, 1);
  MpCondition* cq = mp.condition(q);
  MpCondition* cp2 = mp.condition(p);
  cp2->occurrenceDepth = 2;
  mp.event(t, {cp}, {cq});
  mp.event(u, {cq}, {cp2})->isCutOff = true;
  Outcome o = decide(mp.process, "$ P \"q\" & @ T \"u\"");
  ASSERT_TRUE(o.found);
  EXPECT_EQ(o.traces[0], std::vector<std::string>{"t"});
  EXPECT_FALSE(decide(mp.process, "$ P \"p\" & $ P \"q\"").found);
  EXPECT_FALSE(decide(mp.process, "$ C 3").found);
}

}  // namespace
}  // namespace nurex::test
