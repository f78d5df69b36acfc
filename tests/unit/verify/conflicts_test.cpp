// USC and CSC detection on small hand-made STGs: verdicts and shortest pairs by both methods
// and solvers, known cores, enumeration, inclusion options, items without conditions, and
// the dummy cut-off test.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "model/loaders.h"
#include "stg_replay.h"
#include "support/capture.h"
#include "support/prefix_builder.h"
#include "support/verdicts.h"
#include "verify/conflicts.h"

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

}  // namespace
}  // namespace nurex::test
