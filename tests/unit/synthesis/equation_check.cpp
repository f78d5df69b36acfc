// Test support: the run of an equation mode and its comparison with the counted states.
#include "equation_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "model/loaders.h"
#include "support/capture.h"
#include "unit/verify/stg_replay.h"
#include "verify/signal_encoding.h"

namespace nurex::test {

namespace {

// One function the mode owes: its signal, role and name.
struct Expected {
  const Signal* signal;
  Role role;
  SynthesisPhase phase;
  std::string name;
};

std::vector<Expected> expectedFunctions(const Stg& stg, int type) {
  std::vector<Expected> list;
  for (const Signal* s : stg.signals) {
    if (!isLocalSignal(s)) continue;
    if (type == 1) {
      list.push_back({s, Role::Next, PhaseNext, s->name});
    } else {
      list.push_back({s, Role::Set, PhaseSet, s->name + " SET"});
      list.push_back({s, Role::Reset, PhaseReset, s->name + " RESET"});
    }
  }
  return list;
}

Code nonDummySignals(const Stg& stg) {
  Code all = 0;
  for (const Signal* s : stg.signals)
    if (s->kind != SignalDummy) all |= Code{1} << s->index;
  return all;
}

std::string supportText(const Stg& stg, Code support) {
  std::string text;
  for (const Signal* s : stg.signals)
    if (s->kind != SignalDummy && (support >> s->index & 1)) text += " " + s->name;
  return "{" + text + " }";
}

// One failure per cover and side, naming the first wrong code, so a bad cover does not
// flood the log.
void expectValues(const Stg& stg, const std::vector<OracleCube>& sop, const std::vector<Code>& codes, bool value) {
  size_t wrong = 0;
  Code first = 0;
  for (Code c : codes)
    if (evaluate(sop, c) != value && wrong++ == 0) first = c;
  EXPECT_EQ(wrong, 0u) << "the cover is " << !value << " at " << wrong << " of the codes that require " << value
                       << ", the first being the one with 1s at " << supportText(stg, first);
}

void expectAlternative(const Stg& stg, const Requirement& r, const EquationAlternative& alt, EquationTally& tally) {
  Code context = 0;
  for (size_t i = 0; i < alt.context.size(); ++i) {
    ASSERT_NE(alt.context[i], nullptr);
    ASSERT_NE(alt.context[i]->kind, SignalDummy) << alt.context[i]->name;
    if (i > 0) {
      EXPECT_LT(alt.context[i - 1]->index, alt.context[i]->index) << "context out of table order";
    }
    context |= Code{1} << alt.context[i]->index;
  }
  SCOPED_TRACE("context " + supportText(stg, context) + ", equation " + alt.equation);
  EXPECT_TRUE(validSupport(r, context)) << "some state required 1 and one required 0 share the context's code";
  EXPECT_TRUE(minimalSupport(r, context)) << "a smaller context would do";
  std::vector<OracleCube> sop = oracleCubes(alt.sop);
  Code used = 0;
  for (const OracleCube& c : sop) used |= c.care;
  EXPECT_EQ(used & ~context, 0u) << "the cover reads a signal outside its context";
  EXPECT_EQ(literalCount(alt.sop), alt.literals);
  expectValues(stg, sop, r.on, true);
  expectValues(stg, sop, r.off, false);
  ++tally.alternatives;
  if (alt.context.size() > 6) return;
  std::optional<uint64_t> best = minimumLiterals(r, context);
  if (!best) {
    ++tally.unpriced;
    return;
  }
  ++tally.priced;
  EXPECT_EQ(alt.literals, *best) << "not a minimum cover over its context";
}

void expectFunction(const Stg& stg, const std::vector<CountedState>& states, const Expected& want,
                    const SignalImplementation& impl, int type, EquationTally& tally) {
  SCOPED_TRACE("function " + want.name);
  EXPECT_EQ(impl.signal, want.signal);
  EXPECT_EQ(impl.name, want.name);
  EXPECT_EQ(impl.phase, want.phase);
  ASSERT_FALSE(impl.alternatives.empty());
  ++tally.functions;
  Requirement r = requirementOf(states, *want.signal, want.role, type == 3);
  std::set<Code> contexts;
  for (size_t i = 0; i < impl.alternatives.size(); ++i) {
    const EquationAlternative& alt = impl.alternatives[i];
    if (i > 0) {
      EXPECT_LE(impl.alternatives[i - 1].literals, alt.literals) << "alternatives not sorted by cost";
    }
    Code context = 0;
    for (const Signal* s : alt.context) context |= Code{1} << s->index;
    EXPECT_TRUE(contexts.insert(context).second) << "context " << supportText(stg, context) << " twice";
    expectAlternative(stg, r, alt, tally);
  }
  EXPECT_EQ(impl.cost(), impl.alternatives[0].literals);
  Code candidates = nonDummySignals(stg);
  if (std::popcount(candidates) > 12) return;
  ++tally.supportSetsCompared;
  std::vector<Code> minimal = allMinimalSupports(r, candidates);
  std::set<Code> wanted(minimal.begin(), minimal.end());
  if (contexts == wanted) return;
  std::string have, need;
  for (Code c : contexts) have += supportText(stg, c);
  for (Code c : wanted) need += supportText(stg, c);
  ADD_FAILURE() << "contexts " << have << " but the minimal supports are " << need;
}

}  // namespace


std::unique_ptr<StgUnit> loadBenchmarkNet(const std::string& name) {
  return loadStgQuietly(std::string(NUREX_BENCHMARKS) + "/nets/" + name + ".g");
}

std::unique_ptr<StgUnit> loadTestNet(const std::string& name) {
  return loadStgQuietly(std::string(NUREX_SOURCE_DIR) + "/tests/data/" + name + ".g");
}

std::vector<OracleCube> oracleCubes(const SumOfProducts& sop) {
  std::vector<OracleCube> cubes;
  for (const Cube& cube : sop) {
    OracleCube c;
    for (const CubeLiteral& l : cube) {
      if (l.variable >= 64) {
        ADD_FAILURE() << "variable " << l.variable << " is no signal with a code";
        continue;
      }
      c.care |= Code{1} << l.variable;
      c.value |= Code{l.positive} << l.variable;
    }
    cubes.push_back(c);
  }
  return cubes;
}

SynthesisRun runEquations(const StgPrefix& prefix, int type, int solver) {
  SynthesisRun run;
  OptionMap options;
  options["mode"] = 6 + type;
  options["synthesis_type"] = type;
  options["solver"] = solver;
  testing::internal::CaptureStdout();
  run.err = captureStderr([&] {
    run.holder = makeEquationMode(prefix, options);
    run.mode = dynamic_cast<EquationMode*>(run.holder.get());
    if (run.mode) run.found = run.mode->run();
    run.status = raiseStatus(0);
  });
  run.out = testing::internal::GetCapturedStdout();
  return run;
}

void expectEquationsAgree(const Stg& stg, const std::vector<CountedState>& states, const SynthesisRun& run,
                          int type, EquationTally& tally) {
  ASSERT_NE(run.mode, nullptr);
  ASSERT_LE(stg.dummiesBegin, 64u) << "codes are 64-bit masks";
  EXPECT_LT(run.status, StatusError);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.mode->synthesis_type(), type);
  std::vector<Expected> wanted = expectedFunctions(stg, type);
  std::vector<const SignalImplementation*> impls = run.mode->implementations();
  ASSERT_EQ(impls.size(), wanted.size());
  uint64_t total = 0;
  for (size_t i = 0; i < impls.size(); ++i) {
    expectFunction(stg, states, wanted[i], *impls[i], type, tally);
    total += impls[i]->cost();
  }
  EXPECT_EQ(run.mode->total_cost(), total);
  expectNetlist(stg, run, type);
  if (testing::Test::HasFailure()) ++tally.failures;
}

std::optional<std::pair<const Signal*, Role>> firstConflict(const Stg& stg, const std::vector<CountedState>& states,
                                                            int type) {
  for (const Expected& e : expectedFunctions(stg, type))
    if (!validSupport(requirementOf(states, *e.signal, e.role, type == 3), nonDummySignals(stg)))
      return std::make_pair(e.signal, e.role);
  return std::nullopt;
}

void expectConflictFailure(const Stg& stg, const std::vector<CountedState>& states, const SynthesisRun& run, int type,
                           std::pair<const Signal*, Role> conflict) {
  ASSERT_NE(run.mode, nullptr);
  EXPECT_FALSE(run.found);
  EXPECT_EQ(run.status, StatusError);
  std::string message = "\nError: CSC conflict for output signal " + conflict.first->name + ": cannot derive equation\n";
  EXPECT_EQ(run.err, message);
  // What was derived before the conflict must still be right; nothing comes after it.
  std::vector<Expected> wanted = expectedFunctions(stg, type);
  std::vector<const SignalImplementation*> impls = run.mode->implementations();
  size_t stop = 0;
  while (wanted[stop].signal != conflict.first || wanted[stop].role != conflict.second) ++stop;
  ASSERT_LE(impls.size(), stop);
  if (impls.empty()) {
    EXPECT_EQ(netlistOf(*run.mode), "\nFailed to synthesise the specification\n");
  }
  EquationTally ignored;
  for (size_t i = 0; i < impls.size(); ++i) expectFunction(stg, states, wanted[i], *impls[i], type, ignored);
}

}  // namespace nurex::test
