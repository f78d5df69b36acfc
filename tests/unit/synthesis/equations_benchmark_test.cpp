// -E, -G and -S on the benchmark STGs (unfolded from their .g nets) against an explicit
// exploration: every function right at every state, contexts exactly the minimal supports,
// costs minimal; and on the STGs with CSC conflicts the error for the first signal. The
// hand-made STGs of tests/data/synthesis go through the same checks.
#include <gtest/gtest.h>

#include "equation_check.h"
#include "support/capture.h"
#include "support/verdicts.h"
#include "unit/verify/stg_replay.h"

namespace nurex::test {
namespace {

// Explorations beyond this many states make the test slow rather than stronger.
constexpr uint32_t StateLimit = 1500;

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

}  // namespace
}  // namespace nurex::test
