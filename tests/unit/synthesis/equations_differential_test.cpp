// -E, -G and -S against an explicit exploration of the states, on the benchmark STGs
// (unfolded from their .g nets), the hand-made STGs of tests/data/synthesis and seeded random
// consistent STGs: every function right at every state, contexts exactly the minimal
// supports, costs minimal; with a CSC conflict, the error for the first conflicting signal.
#include <gtest/gtest.h>

#include <algorithm>

#include "equation_check.h"
#include "support/capture.h"
#include "support/sanitizer.h"
#include "support/state_space.h"
#include "support/verdicts.h"
#include "unit/verify/random_stg.h"
#include "unit/verify/stg_replay.h"

namespace nurex::test {
namespace {

// Explorations beyond this many states make the test slow rather than stronger; the
// sanitized run takes the smaller nets, the release run covers the rest.
constexpr uint32_t StateLimit = underSanitizer ? 400 : 1500;

TEST(EquationBenchmarks, CscFreeNetsAgreeWithTheirStates) {
  EquationTally tally;
  int nets = 0, skipped = 0;
  for (VerdictCells& row : readBenchmarkVerdicts("stg")) {
    if (row["csc"] != "no") continue;
    SCOPED_TRACE(row["name"]);
    std::unique_ptr<StgUnit> unit = loadBenchmarkNet(row["name"]);
    ASSERT_NE(unit, nullptr);
    const StgPrefix& prefix = unit->get<StgPrefix>();
    CountedStates counted = countedStgStates(prefix, StateLimit);
    ASSERT_TRUE(counted.safe);
    if (!counted.complete) {
      ++skipped;
      continue;
    }
    ++nets;
    for (int type : {1, 2, 3}) {
      SCOPED_TRACE("synthesis_type " + std::to_string(type));
      SynthesisRun run = runEquations(prefix, type, (nets + type) % 2);
      expectEquationsAgree(prefix, counted.states, run, type, tally);
    }
  }
  std::printf("benchmarks: %d checked, %d over the state limit; functions %d, alternatives %d, priced %d, "
              "unpriced %d, support sets compared %d\n",
              nets, skipped, tally.functions, tally.alternatives, tally.priced, tally.unpriced,
              tally.supportSetsCompared);
  EXPECT_GE(nets, 25);
  EXPECT_GT(tally.priced, 1000);
  EXPECT_GT(tally.alternatives, tally.functions);  // some functions have several minimal supports
}

// A C-element, a ring without inputs, and an output that never moves (constant functions
// on an empty support).
TEST(EquationBenchmarks, HandMadeStgs) {
  EquationTally tally;
  for (const char* name : {"c_element", "ring", "dead_output"}) {
    SCOPED_TRACE(name);
    std::unique_ptr<StgUnit> unit = loadTestNet(std::string("synthesis/") + name);
    ASSERT_NE(unit, nullptr);
    const StgPrefix& prefix = unit->get<StgPrefix>();
    CountedStates counted = countedStgStates(prefix);
    ASSERT_TRUE(counted.complete && counted.safe);
    for (int type : {1, 2, 3}) {
      SCOPED_TRACE("synthesis_type " + std::to_string(type));
      expectEquationsAgree(prefix, counted.states, runEquations(prefix, type, type % 2), type, tally);
    }
  }
  EXPECT_EQ(tally.priced, tally.alternatives);
}

TEST(EquationBenchmarks, CscConflictStopsAtTheFirstSignal) {
  int nets = 0;
  for (VerdictCells& row : readBenchmarkVerdicts("stg")) {
    if (row["csc"] != "yes") continue;
    SCOPED_TRACE(row["name"]);
    std::unique_ptr<StgUnit> unit = loadBenchmarkNet(row["name"]);
    ASSERT_NE(unit, nullptr);
    const StgPrefix& prefix = unit->get<StgPrefix>();
    CountedStates counted = countedStgStates(prefix, StateLimit);
    ASSERT_TRUE(counted.complete && counted.safe);
    ++nets;
    for (int type : {1, 2, 3}) {
      SCOPED_TRACE("synthesis_type " + std::to_string(type));
      auto conflict = firstConflict(prefix, counted.states, type);
      ASSERT_TRUE(conflict.has_value());
      expectConflictFailure(prefix, counted.states, runEquations(prefix, type, type % 2), type, *conflict);
    }
  }
  EXPECT_GE(nets, 2);
}

struct RandomTally {
  EquationTally equations;
  int cscFree = 0, conflicting = 0, skipped = 0;
};

bool allRepresented(const StgPrefix& prefix, const std::vector<CountedState>& states) {
  std::set<PlaceSet> represented;
  if (!prefixPlaceSets(prefix.conditions, prefix.events, represented, 5000000, true)) return false;
  return std::all_of(states.begin(), states.end(),
                     [&](const CountedState& s) { return represented.count(placesOf(s.marking)); });
}

void checkSeed(uint64_t seed, RandomStgOptions shape, RandomTally& tally) {
  if (seed % 3 == 0) {
    shape.maxDepth = 4;
    shape.maxSignals = 8;
  }
  std::unique_ptr<StgPrefix> prefix;
  captureStderr([&] { prefix = unfoldStg(randomConsistentStg(seed, shape)); });
  ASSERT_NE(prefix, nullptr);
  CountedStates counted = countedStgStates(*prefix, 3000);
  ASSERT_TRUE(counted.safe);
  bool dummies = prefix->dummyCount() > 0;
  // Too many states, nothing to derive, or (in the dummy test) no dummy.
  if (!counted.complete || prefix->dummiesBegin == prefix->outputsBegin || dummies != (shape.dummyPercent > 0)) {
    ++tally.skipped;
    return;
  }
  // The modes see the states of configurations without a maximal dummy event; the unfolder
  // never cuts a signal event off against a configuration that ends with a pending dummy, so
  // every counted state is among them.
  if (dummies) {
    EXPECT_TRUE(allRepresented(*prefix, counted.states)) << "a state held only after a pending dummy";
  }
  // Seeds take turns over the two solvers.
  int solver = static_cast<int>(seed % 2);
  std::optional<std::pair<const Signal*, Role>> conflict = firstConflict(*prefix, counted.states, 1);
  ++(conflict ? tally.conflicting : tally.cscFree);
  for (int type : {1, 2, 3}) {
    SCOPED_TRACE("synthesis_type " + std::to_string(type));
    SynthesisRun run = runEquations(*prefix, type, solver);
    if (auto first = firstConflict(*prefix, counted.states, type))
      expectConflictFailure(*prefix, counted.states, run, type, *first);
    else
      expectEquationsAgree(*prefix, counted.states, run, type, tally.equations);
  }
}

RandomTally checkSeeds(const char* title, uint32_t dummyPercent, uint64_t seeds) {
  RandomTally tally;
  RandomStgOptions shape;
  shape.dummyPercent = dummyPercent;
  for (uint64_t seed = 1; seed <= seeds; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    checkSeed(seed, shape, tally);
  }
  std::printf("%s: %d CSC-free, %d with conflicts, %d skipped; functions %d, alternatives %d, priced %d, "
              "unpriced %d, support sets compared %d\n",
              title, tally.cscFree, tally.conflicting, tally.skipped, tally.equations.functions,
              tally.equations.alternatives, tally.equations.priced, tally.equations.unpriced,
              tally.equations.supportSetsCompared);
  return tally;
}

TEST(EquationRandom, DummyFreeStgs) {
  RandomTally tally = checkSeeds("random dummy-free STGs", 0, sizedForBuild(600));
  EXPECT_GT(tally.cscFree, static_cast<int>(sizedForBuild(250)));
  EXPECT_GT(tally.conflicting, static_cast<int>(sizedForBuild(100)));
}

// A dummy step in a choice nearly always makes a CSC conflict, so these mostly check that
// conflicts behind dummies are found.
TEST(EquationRandom, StgsWithDummies) {
  RandomTally tally = checkSeeds("random STGs with dummies", 30, 400);
  EXPECT_GT(tally.cscFree + tally.conflicting, 35);
}

}  // namespace
}  // namespace nurex::test
