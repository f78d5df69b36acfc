// Test support: replay of deadlock and conflict traces in the original net, and quiet loading.
#include "stg_replay.h"

#include <gtest/gtest.h>

#include "model/loaders.h"
#include "reach_oracle.h"
#include "support/capture.h"
#include "support/state_space.h"
#include "support/stg_states.h"

namespace nurex::test {

void expectDeadlock(const PetriNet& net, const std::vector<bool>& occurs, const std::vector<const Transition*>& run) {
  TokenVector marking;
  ASSERT_TRUE(replayRun(net, run, marking)) << "the deadlock trace does not replay";
  for (const Transition* t : net.transitions)
    EXPECT_FALSE(occurs[t->index] && isEnabled(t, marking)) << t->name << " is enabled at the end of the trace";
}

void expectConflict(const StgPrefix& prefix, const Solution& solution, bool csc) {
  ASSERT_EQ(solution.traces.size(), 2u);
  NetView view{&prefix, &prefix, transitionsWithEvents(prefix)};
  ExplicitState a, b;
  ASSERT_TRUE(replayRun(view, transitionsOf(solution.traces[0]), a)) << "the first trace does not replay";
  ASSERT_TRUE(replayRun(view, transitionsOf(solution.traces[1]), b)) << "the second trace does not replay";
  EXPECT_EQ(a.code, b.code) << "the codes differ";
  if (!csc) {
    EXPECT_NE(a.marking, b.marking) << "the markings are equal";
    return;
  }
  // A local signal is excited in one state and not in the other, now or after dummies.
  std::vector<uint8_t> x = excitedSignals(prefix, a.marking, &view.occurs);
  std::vector<uint8_t> y = excitedSignals(prefix, b.marking, &view.occurs);
  bool differs = false;
  for (uint32_t i = prefix.outputsBegin; i < prefix.dummiesBegin; ++i) differs |= x[i] != y[i];
  EXPECT_TRUE(differs) << "the excited local signals are equal";
}

OptionMap stateCodingOptions(int method, int solver, int minimise, int all) {
  OptionMap options;
  options["method"] = method;
  options["solver"] = solver;
  options["min_cost"] = minimise;
  options["all_solutions"] = all;
  return options;
}

std::unique_ptr<StgUnit> loadStgQuietly(const std::string& path) {
  std::unique_ptr<StgUnit> unit;
  quietly([&] { unit.reset(loadStgUnit(path)); });
  return unit;
}

std::unique_ptr<StgUnit> loadTestStg(const std::string& name) {
  return loadStgQuietly(std::string(NUREX_SOURCE_DIR) + "/tests/data/verify/" + name + ".g");
}

}  // namespace nurex::test
