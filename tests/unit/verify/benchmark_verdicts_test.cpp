// -D, -U, -C and -N on every benchmark prefix file against the independent checker's table,
// with both methods and both solvers (one of each in the sanitized run); every trace is
// replayed in the original net, and -f gives the table's shortest length (the .g nets are in
// the engines' differential test).
#include <gtest/gtest.h>

#include "model/loaders.h"
#include "reach_oracle.h"
#include "stg_replay.h"
#include "support/capture.h"
#include "support/sanitizer.h"
#include "support/state_space.h"
#include "support/verdicts.h"
#include "verify/conflicts.h"
#include "verify/deadlock.h"
#include "verify/normalcy.h"

namespace nurex::test {
namespace {

struct Answer {
  bool found = false;
  uint64_t cost = 0;
};

struct DeadlockRun {
  template <class U>
  static Answer run(U& unit, const OptionMap* options) {
    auto mode = makeDeadlockMode(unit, *options);
    mode->run();
    const ResultList& results = mode->result_list();
    if (results.empty()) return {};
    expectDeadlock(unit, transitionsWithEvents(unit), transitionsOf(results[0]->traces[0]));
    return {true, results[0]->traces[0].size()};
  }
};

Answer runStgMode(char mode, const StgPrefix& prefix, const OptionMap& options) {
  auto checker = mode == 'U' ? makeUscMode(prefix, options) : mode == 'C' ? makeCscMode(prefix, options)
                                                                          : makeNormalcyMode(prefix, options);
  checker->run();
  const ResultList& results = checker->result_list();
  if (mode != 'N')
    for (const auto& solution : results) expectConflict(prefix, *solution, mode == 'C');
  return results.empty() ? Answer{} : Answer{true, results[0]->cost()};
}

// The table's answer of a mode: whether something is found and, if so, the shortest cost;
// "-" where the question is not asked (normalcy of STGs with CSC conflicts).
struct Expected {
  std::string found;
  uint64_t cost;
};

Expected expectedOf(char mode, VerdictCells& row) {
  auto cost = [&](const char* column) { return row[column] == "-" ? 0 : std::stoull(row[column]); };
  switch (mode) {
    case 'D': return {row["deadlock"], cost("deadlock_len")};
    case 'U': return {row["usc"], cost("usc_cost")};
    case 'C': return {row["csc"], cost("csc_cost")};
    default: return {row["normal"] == "-" ? "-" : row["normal"] == "yes" ? "no" : "yes", 0};
  }
}

void checkFile(VerdictCells& row, const std::string& input, bool allSettings) {
  bool stg = row["kind"] == "stg";
  std::string path = std::string(NUREX_BENCHMARKS) + "/" + input;
  std::unique_ptr<DeadlockUnit> plain;
  std::unique_ptr<StgUnit> unit;
  std::string err = captureStderr([&] {
    if (stg) unit.reset(loadStgUnit(path));
    else plain.reset(loadDeadlockUnit(path));
  });
  ASSERT_TRUE(unit || plain) << err;
  for (char mode : std::string(stg ? "DUCN" : "D")) {
    Expected expected = expectedOf(mode, row);
    if (expected.found == "-") continue;
    for (int solver : {0, 1})
      for (int method : {1, 2})
        for (int minimise : {0, 1}) {
          if (!allSettings && (solver == 0 || method == 1)) continue;
          if (minimise && (expected.found != "yes" || mode == 'N')) continue;
          SCOPED_TRACE(std::string("-") + mode + " -m" + std::to_string(method) + " -$" + std::to_string(solver) +
                       (minimise ? " -f" : ""));
          OptionMap options = stateCodingOptions(method, solver, minimise);
          Answer answer;
          quietly([&] {
            static constexpr auto table = DeadlockUnit::tableOf<DeadlockRun, Answer, const OptionMap*>();
            if (mode != 'D') answer = runStgMode(mode, unit->get<StgPrefix>(), options);
            else if (stg) answer = DeadlockRun::run(unit->get<StgPrefix>(), &options);
            else answer = plain->visit(table, static_cast<const OptionMap*>(&options));
          });
          EXPECT_LT(raiseStatus(0), StatusError);
          resetStatus();
          EXPECT_EQ(answer.found ? "yes" : "no", expected.found);
          // A minimal configuration reaching a state has no cut-off under a total adequate order.
          if (minimise) {
            EXPECT_EQ(answer.cost, expected.cost);
          }
        }
  }
}

TEST(BenchmarkVerdicts, PrefixFilesAllSettings) {
  for (VerdictCells& row : readBenchmarkVerdicts()) {
    SCOPED_TRACE(row["prefix"]);
    checkFile(row, "prefixes/" + row["prefix"], !underSanitizer);
  }
}

}  // namespace
}  // namespace nurex::test
