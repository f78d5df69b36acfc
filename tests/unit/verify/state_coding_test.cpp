// USC, CSC and normalcy on small hand-made STGs: verdicts and shortest pairs by both methods
// and solvers, known cores, enumeration, inclusion options, items without conditions, the
// dummy cut-off test; triggers through dummies, mixed triggers without SAT, and the SAT
// reasons of normalcy with their traces (more in tests/e2e/state_coding.cases).
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "model/loaders.h"
#include "reach_oracle.h"
#include "stg_replay.h"
#include "support/capture.h"
#include "support/prefix_builder.h"
#include "support/verdicts.h"
#include "verify/conflicts.h"
#include "verify/normalcy.h"

namespace nurex::test {
namespace {

struct ModeRun {
  std::unique_ptr<ConflictMode> mode;
  std::string out, err;
};

ModeRun runConflict(const StgPrefix& prefix, bool csc, OptionMap options,
                    const std::vector<ConfigurationPair>& known = {}, size_t registerLimit = size_t{1} << 21) {
  ModeRun r;
  testing::internal::CaptureStdout();
  r.err = captureStderr([&] {
    r.mode = std::make_unique<ConflictMode>(prefix, options, csc, csc);
    r.mode->register_limit = registerLimit;
    for (const ConfigurationPair& core : known) r.mode->add_known_core(core);
    r.mode->run();
  });
  r.out = testing::internal::GetCapturedStdout();
  return r;
}

// The two configurations of a solution as sorted event lists, the smaller pair first so
// that the same core found in either order compares equal.
std::pair<std::vector<uint32_t>, std::vector<uint32_t>> unorderedPair(const Solution& s) {
  std::vector<uint32_t> a, b;
  for (const TraceStep& step : s.traces[0]) a.push_back(step.index);
  for (const TraceStep& step : s.traces[1]) b.push_back(step.index);
  std::sort(a.begin(), a.end());
  std::sort(b.begin(), b.end());
  if (b < a) std::swap(a, b);
  return {a, b};
}

ConfigurationPair corePair(const StgPrefix& prefix, const Solution& s) {
  auto [a, b] = unorderedPair(s);
  ConfigurationPair core;
  for (uint32_t i : a) core.first.push_back(prefix.events[i]);
  for (uint32_t i : b) core.second.push_back(prefix.events[i]);
  return core;
}

struct SmallCase {
  const char* name;
  int uscCost, cscCost;  // -1: no conflict
};

// Costs worked out by hand from the state graphs described in the files.
const SmallCase smallCases[] = {
    {"inputs_only", 2, -1},       // no local signal: the difference clause of -m1 is empty
    {"excitation", 2, -1},        // equal codes, only inputs excited differently
    {"csc", 2, 2},                {"mixed_triggers", -1, -1}, {"contradictory", 2, 2},
    {"other_violation", 4, -1},   {"no_trigger", -1, -1},
};

TEST(ConflictModes, VerdictsAndShortestPairsOnSmallNets) {
  for (const SmallCase& c : smallCases) {
    auto unit = loadTestStg(c.name);
    ASSERT_NE(unit, nullptr) << c.name;
    const StgPrefix& prefix = unit->get<StgPrefix>();
    for (bool csc : {false, true})
      for (int method : {1, 2})
        for (int solver : {0, 1})
          for (int minimise : {0, 1}) {
            SCOPED_TRACE(std::string(c.name) + (csc ? " -C" : " -U") + " -m" + std::to_string(method) + " -$" +
                         std::to_string(solver) + (minimise ? " -f" : ""));
            ModeRun r = runConflict(prefix, csc, stateCodingOptions(method, solver, minimise));
            int expected = csc ? c.cscCost : c.uscCost;
            const ResultList& results = r.mode->result_list();
            ASSERT_EQ(results.size(), expected >= 0 ? 1u : 0u);
            if (results.empty()) continue;
            expectConflict(prefix, *results[0], csc);
            if (minimise) {
              EXPECT_EQ(results[0]->cost(), static_cast<uint64_t>(expected));
            }
            const Signal* signal = static_cast<const ConflictSolution&>(*results[0]).signal;
            EXPECT_EQ(signal != nullptr, csc);
            if (csc) {
              EXPECT_EQ(signal->name, "x");
            }
          }
  }
}

// Method 2 bounds the cost of each item by a counter register or, past its size limit, by
// the adder tree of the cost; both must give the table's shortest pairs.
TEST(ConflictModes, ShortestPairsWithAndWithoutTheCounterRegister) {
  for (VerdictCells& row : readBenchmarkVerdicts("stg")) {
    if (row["usc"] != "yes" || row["dummy_rules_agree"] != "-") continue;
    std::unique_ptr<StgUnit> unit;
    captureStderr([&] { unit.reset(loadStgUnit(std::string(NUREX_BENCHMARKS) + "/prefixes/" + row["prefix"])); });
    ASSERT_NE(unit, nullptr);
    for (size_t limit : {size_t{0}, size_t{1} << 21})
      for (bool csc : {false, true}) {
        std::string expected = row[csc ? "csc_cost" : "usc_cost"];
        if (expected == "-") continue;
        SCOPED_TRACE(row["name"] + (csc ? " -C" : " -U") + " register limit " + std::to_string(limit));
        ModeRun r = runConflict(unit->get<StgPrefix>(), csc, stateCodingOptions(2, 1, 1), {}, limit);
        ASSERT_EQ(r.mode->result_list().size(), 1u);
        EXPECT_EQ(r.mode->result_list()[0]->cost(), std::stoull(expected));
      }
  }
}

TEST(ConflictModes, EnumerationGivesDistinctConflictsUpToTheLimit) {
  auto unit = loadTestStg("contradictory");
  const StgPrefix& prefix = unit->get<StgPrefix>();
  for (int method : {1, 2}) {
    ModeRun all = runConflict(prefix, false, stateCodingOptions(method, 1, 0, -1));
    const ResultList& results = all.mode->result_list();
    std::set<std::pair<std::vector<uint32_t>, std::vector<uint32_t>>> distinct;
    for (const auto& s : results) {
      expectConflict(prefix, *s, false);
      distinct.insert(unorderedPair(*s));
    }
    EXPECT_EQ(results.size(), 2u);  // codes 000 and 001 are each held by two markings
    EXPECT_EQ(distinct.size(), results.size());
    EXPECT_EQ(all.mode->known_cores().size(), results.size());
    for (int limit : {1, 2}) {
      ModeRun some = runConflict(prefix, false, stateCodingOptions(method, 0, 0, limit));
      EXPECT_EQ(some.mode->result_list().size(), static_cast<size_t>(limit));
    }
  }
}

TEST(ConflictModes, KnownCoresAreNotFoundAgain) {
  auto unit = loadTestStg("contradictory");
  const StgPrefix& prefix = unit->get<StgPrefix>();
  for (bool csc : {false, true})
    for (int method : {1, 2}) {
      SCOPED_TRACE(std::string(csc ? "-C" : "-U") + " -m" + std::to_string(method));
      ModeRun all = runConflict(prefix, csc, stateCodingOptions(method, 1, 0, -1));
      std::vector<ConfigurationPair> known;
      for (const auto& s : all.mode->result_list()) known.push_back(corePair(prefix, *s));
      ASSERT_EQ(known.size(), csc ? 1u : 2u);
      EXPECT_TRUE(runConflict(prefix, csc, stateCodingOptions(method, 1), known).mode->result_list().empty());
      EXPECT_TRUE(runConflict(prefix, csc, stateCodingOptions(method, 0, 1), known).mode->result_list().empty());
      // With one core left out, that core is the only answer.
      ConfigurationPair left = known.back();
      known.pop_back();
      ModeRun again = runConflict(prefix, csc, stateCodingOptions(method, 1, 0, -1), known);
      ASSERT_EQ(again.mode->result_list().size(), 1u);
      EXPECT_EQ(unorderedPair(*again.mode->result_list()[0]), unorderedPair(*all.mode->result_list().back()));
    }
}

TEST(ConflictModes, InclusionOptions) {
  auto free = loadTestStg("csc");
  auto choice = loadTestStg("contradictory");
  const std::string message = "The net is (dynamically) conflict-free: optimized method is used.";
  const std::string warning = "+l is valid only for (dynamically) conflict-free nets; the result may be incorrect";
  OptionMap options = stateCodingOptions(2, 1);
  ModeRun plain = runConflict(free->get<StgPrefix>(), true, options);
  EXPECT_NE(plain.out.find(message), std::string::npos);
  EXPECT_TRUE(plain.mode->conflict_free);
  options["inclusion_constraints"] = 0;  // -l-: no message, no inclusion
  ModeRun without = runConflict(free->get<StgPrefix>(), true, options);
  EXPECT_EQ(without.out.find(message), std::string::npos);
  EXPECT_EQ(without.mode->result_list().size(), 1u);
  options["inclusion_constraints"] = 1;  // -l+ on a net with a choice: warned, then used
  ModeRun forced = runConflict(choice->get<StgPrefix>(), false, options);
  EXPECT_FALSE(forced.mode->conflict_free);
  EXPECT_NE(forced.err.find(warning), std::string::npos);
  EXPECT_EQ(forced.mode->result_list().size(), 1u);
  EXPECT_EQ(runConflict(choice->get<StgPrefix>(), false, stateCodingOptions(2, 1)).err.find(warning), std::string::npos);
}

TEST(ConflictModes, PlaceWithoutConditionsIsAnUnsatisfiableItem) {
  auto unit = loadTestStg("csc");
  StgPrefix& prefix = unit->get<StgPrefix>();
  prefix.places.add(new Place)->name = "unused";
  for (int minimise : {0, 1}) {
    ModeRun r = runConflict(prefix, false, stateCodingOptions(2, 1, minimise));
    ASSERT_EQ(r.mode->result_list().size(), 1u);
    EXPECT_EQ(r.mode->result_list()[0]->cost(), 2u);
  }
}

// Builds: a+ (e0) then a dummy (e1), e1 a cut-off with the given correspondent; or the
// dummy alone as e0 when `withRise` is false.
struct DummyCutOffPrefix {
  PrefixBuilder<Stg> b;
  Event* rise = nullptr;
  Event* dummy = nullptr;
  explicit DummyCutOffPrefix(bool withRise) {
    Signal* a = b.signal("a", SignalInput, 0);
    Signal* d = b.signal("d", SignalDummy);
    Transition* up = b.transition("a+", a, SignPlus);
    Transition* skip = b.transition("d", d);
    Place *p = b.place("p"), *q = b.place("q"), *r = b.place("r");
    p->tokens = 1;
    Condition* c = b.condition(p);
    if (withRise) {
      rise = b.event(up, {c});
      rise->sign = SignPlus;
      c = b.condition(q, rise);
    }
    dummy = b.event(skip, {c});
    b.condition(r, dummy);
    sortSignals(b.prefix);
  }
};

TEST(DummyCutOffs, CountUnlessThePastsDifferByDummiesOnly) {
  DummyCutOffPrefix alone(false);
  alone.dummy->correspondent.setInitialState();
  EXPECT_FALSE(hasDummyCutOffs(alone.b.prefix));  // its past is the dummy itself
  alone.dummy->correspondent.setUnknown();
  EXPECT_TRUE(hasDummyCutOffs(alone.b.prefix));
  DummyCutOffPrefix after(true);
  after.dummy->correspondent.setInitialState();
  EXPECT_TRUE(hasDummyCutOffs(after.b.prefix));  // a+ does not cancel
  after.dummy->correspondent.setEvent(after.rise);
  EXPECT_FALSE(hasDummyCutOffs(after.b.prefix));  // a+ cancels a+; d is left
  after.rise->correspondent.setInitialState();    // a cut-off of a signal never counts
  after.dummy->correspondent.setNotCutOff();
  EXPECT_FALSE(hasDummyCutOffs(after.b.prefix));
}

TEST(DummyCutOffs, OnlyTheCscDetectorWarns) {
  DummyCutOffPrefix after(true);
  after.dummy->correspondent.setInitialState();
  const std::string warning = "there are dummy cut-offs; the result will not be reliable";
  EXPECT_NE(runConflict(after.b.prefix, true, stateCodingOptions(2, 1)).err.find(warning), std::string::npos);
  EXPECT_EQ(runConflict(after.b.prefix, false, stateCodingOptions(2, 1)).err.find(warning), std::string::npos);
}

struct NormalcyRun {
  std::unique_ptr<NormalcyMode> mode;
  std::string err;
  const NormalcySolution* solution() const {
    const ResultList& results = mode->result_list();
    return results.empty() ? nullptr : static_cast<const NormalcySolution*>(results[0].get());
  }
};

NormalcyRun runNormalcy(const StgPrefix& prefix, int method, int solver = 1, int minimise = 0) {
  OptionMap options = stateCodingOptions(method, solver, minimise);
  NormalcyRun r;
  r.err = quietly([&] {
    r.mode = std::make_unique<NormalcyMode>(prefix, options);
    r.mode->run();
  });
  return r;
}

std::string names(const Trace& trace) { return traceText(trace, false); }

TEST(NormalcyTriggers, NearestSignalEventsThroughDummies) {
  // a+ (e0) feeds b+ (e1), a dummy (e2) and x+ (e3) directly; x+ also takes b+ and the dummy.
  PrefixBuilder<Stg> b;
  Signal* a = b.signal("a", SignalInput, 0);
  Signal* bs = b.signal("b", SignalInput, 0);
  Signal* x = b.signal("x", SignalOutput, 0);
  Signal* d = b.signal("d", SignalDummy);
  Place* p = b.place("p");
  Event* rise = b.event(b.transition("a+", a, SignPlus), {b.condition(p)});
  Condition *toB = b.condition(p, rise), *toDummy = b.condition(p, rise), *toX = b.condition(p, rise);
  Event* other = b.event(b.transition("b+", bs, SignPlus), {toB});
  Event* dummy = b.event(b.transition("d", d), {toDummy});
  Event* target = b.event(b.transition("x+", x, SignPlus), {b.condition(p, other), b.condition(p, dummy), toX});
  // a+ is reached through the dummy and directly, but lies in the past of b+.
  EXPECT_EQ(triggerEvents(b.prefix, target), std::vector<const Event*>{other});
  EXPECT_EQ(triggerEvents(b.prefix, other), std::vector<const Event*>{rise});
  EXPECT_TRUE(triggerEvents(b.prefix, rise).empty());
  // Through the dummy alone, a+ is the trigger.
  Event* late = b.event(b.transition("x-", x, SignMinus), {b.condition(p, dummy)});
  EXPECT_EQ(triggerEvents(b.prefix, late), std::vector<const Event*>{rise});
}

TEST(Normalcy, MixedTriggersWithoutSat) {
  auto unit = loadTestStg("mixed_triggers");
  for (int method : {1, 2}) {
    NormalcyRun r = runNormalcy(unit->get<StgPrefix>(), method);
    const NormalcySolution* s = r.solution();
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->reason, ReasonMixedTriggers);
    EXPECT_EQ(s->signal, "x");
    ASSERT_EQ(s->traces.size(), 1u);
    ASSERT_EQ(s->triggers.size(), 1u);
    EXPECT_EQ(s->traces[0].size(), 3u);  // a+, b-, x+ in some index order
    EXPECT_EQ(names(s->traces[0]).find("x+"), names(s->traces[0]).size() - 3);
    EXPECT_EQ(s->triggers[0].size(), 2u);
    EXPECT_EQ(s->hypothesis, '?');
    EXPECT_EQ(r.mode->formula.engine().num_variables(), 0u);
  }
}

// Replays C1 and C2 in the net: the code of the first is below that of the second.
void expectDominated(const StgPrefix& prefix, const Trace& first, const Trace& second) {
  NetView view{&prefix, &prefix, transitionsWithEvents(prefix)};
  ExplicitState a, b;
  ASSERT_TRUE(replayRun(view, transitionsOf(first), a));
  ASSERT_TRUE(replayRun(view, transitionsOf(second), b));
  for (size_t i = 0; i < a.code.size(); ++i) EXPECT_LE(a.code[i], b.code[i]);
}

TEST(Normalcy, ViolationFoundBySat) {
  auto unit = loadTestStg("other_violation");
  const StgPrefix& prefix = unit->get<StgPrefix>();
  for (int method : {1, 2})
    for (int minimise : {0, 1}) {
      SCOPED_TRACE("-m" + std::to_string(method) + (minimise ? " -f" : ""));
      NormalcyRun r = runNormalcy(prefix, method, 1, minimise);
      const NormalcySolution* s = r.solution();
      ASSERT_NE(s, nullptr);
      EXPECT_EQ(s->reason, ReasonOther);
      EXPECT_EQ(s->signal, "s1");
      EXPECT_TRUE(s->first_trace_violates_n);  // s1 has a positive hypothesis only
      EXPECT_EQ(s->hypothesis, 'p');
      ASSERT_EQ(s->traces.size(), 3u);
      EXPECT_EQ(names(s->traces[0]), "s0+/0, s1+/1\n");
      EXPECT_EQ(s->triggers.size(), 1u);
      expectDominated(prefix, s->traces[1], s->traces[2]);
      if (minimise) {
        EXPECT_EQ(s->cost(), 3u);  // the hypothesis, then the empty configuration and s1+/4
      }
    }
}

TEST(Normalcy, CscConflictWithAndWithoutMinimumCost) {
  auto unit = loadTestStg("csc");
  const StgPrefix& prefix = unit->get<StgPrefix>();
  NormalcyRun searched = runNormalcy(prefix, 2, 1, 1);  // by the CSC detector
  ASSERT_NE(searched.solution(), nullptr);
  EXPECT_EQ(searched.solution()->reason, ReasonCscConflict);
  EXPECT_EQ(searched.solution()->signal, "x");
  EXPECT_EQ(searched.solution()->cost(), 2u);
  EXPECT_EQ(searched.mode->formula.engine().num_variables(), 0u);
  for (int method : {1, 2}) {
    NormalcyRun compared = runNormalcy(prefix, method);  // equal codes in the model
    const NormalcySolution* s = compared.solution();
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->reason, ReasonCscConflict);
    EXPECT_EQ(s->hypothesis, 'n');
    ASSERT_EQ(s->traces.size(), 2u);
    expectDominated(prefix, s->traces[0], s->traces[1]);
    expectDominated(prefix, s->traces[1], s->traces[0]);
  }
}

}  // namespace
}  // namespace nurex::test
