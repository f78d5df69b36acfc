// USC and CSC verdicts on every benchmark STG against the independent checker's table, with
// both methods and both solvers, on the prefix files and on the .g nets (unfolded on load);
// every conflict is replayed in the original net, and -f gives the table's shortest pair.
#include <gtest/gtest.h>

#include "model/loaders.h"
#include "stg_replay.h"
#include "support/capture.h"
#include "verify/conflicts.h"

namespace nurex::test {
namespace {

struct Outcome {
  bool found = false;
  uint64_t cost = 0;
};

Outcome runConflictMode(const StgPrefix& prefix, bool csc, const OptionMap& options) {
  auto mode = csc ? makeCscMode(prefix, options) : makeUscMode(prefix, options);
  mode->run();
  Outcome outcome;
  const ResultList& results = mode->result_list();
  outcome.found = !results.empty();
  for (const auto& solution : results) expectConflict(prefix, *solution, csc);
  if (outcome.found) outcome.cost = results[0]->cost();
  return outcome;
}

void checkFile(const VerdictRow& row, const std::string& file, bool allSettings) {
  StgUnit* unit = nullptr;
  std::string err = captureStderr([&] { unit = loadStgUnit(file); });
  ASSERT_NE(unit, nullptr) << err;
  const StgPrefix& prefix = unit->get<StgPrefix>();
  for (bool csc : {false, true}) {
    const std::string& expected = csc ? row.csc : row.usc;
    int expectedCost = csc ? row.cscCost : row.uscCost;
    for (int solver : {0, 1})
      for (int method : {1, 2})
        for (int minimise : {0, 1}) {
          if (!allSettings && (solver == 0 || method == 1)) continue;
          if (minimise && expected != "yes") continue;
          SCOPED_TRACE(std::string(csc ? "-C" : "-U") + " -m" + std::to_string(method) + " -$" +
                       std::to_string(solver) + (minimise ? " -f" : ""));
          OptionMap options = stateCodingOptions(method, solver, minimise);
          Outcome outcome;
          quietly([&] { outcome = runConflictMode(prefix, csc, options); });
          EXPECT_LT(raiseStatus(0), StatusError);
          EXPECT_EQ(outcome.found ? "yes" : "no", expected);
          if (minimise) {
            EXPECT_EQ(outcome.cost, static_cast<uint64_t>(expectedCost));
          }
        }
  }
  delete unit;
}

TEST(ConflictBenchmarks, PrefixFilesAllSettings) {
  for (const VerdictRow& row : stgVerdictRows()) {
    SCOPED_TRACE(row.name);
    checkFile(row, std::string(NUREX_BENCHMARKS) + "/prefixes/" + row.prefix, true);
  }
}

TEST(ConflictBenchmarks, UnfoldedNets) {
  for (const VerdictRow& row : stgVerdictRows()) {
    SCOPED_TRACE(row.name + ".g");
    checkFile(row, std::string(NUREX_BENCHMARKS) + "/nets/" + row.name + ".g", false);
  }
}

}  // namespace
}  // namespace nurex::test
