// -D on seeded random safe nets against the explicit-state checker (the benchmarks are in
// benchmark_verdicts_test.cpp).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "support/capture.h"
#include "support/random_net.h"
#include "support/state_space.h"
#include "unfold/unfolder.h"
#include "verify/deadlock.h"

namespace nurex::test {
namespace {

// The nets are unfolded here: -D must agree with the explicit-state checker, every
// trace must replay to a dead marking, and -f must find a shortest one.
TEST(DeadlockRandomNets, AgreeWithExplicitStates) {
  int checked = 0;
  for (uint64_t seed = 1; seed <= 300; ++seed) {
    std::unique_ptr<PetriNet> net = randomSafeNet(seed);
    StateSpace space = exploreStateSpace(*net, 20000);
    if (!space.complete || !space.safe) continue;
    size_t shortest = SIZE_MAX;
    for (uint32_t s = 0; s < space.size(); ++s)
      if (space.isDead(s)) shortest = std::min(shortest, space.runTo(s).size());
    PetriNetPrefix prefix;
    static_cast<PetriNet&>(prefix) = std::move(*net);
    std::string err = captureStderr([&] { ASSERT_TRUE(unfoldNet(prefix, UnfoldOptions())); });
    ++checked;
    for (int method : {1, 2})
      for (int minimise : {0, 1}) {
        SCOPED_TRACE("seed " + std::to_string(seed) + " method " + std::to_string(method) + (minimise ? " -f" : ""));
        OptionMap options;
        options["solver"] = static_cast<int32_t>(seed % 2);  // both engines, seed by seed
        options["method"] = method;
        options["min_cost"] = minimise;
        std::unique_ptr<SearchModeBase> mode;
        captureStderr([&] {
          mode = makeDeadlockMode(prefix, options);
          mode->run();
        });
        ASSERT_LT(raiseStatus(0), StatusError);
        const ResultList& results = mode->result_list();
        ASSERT_EQ(!results.empty(), shortest != SIZE_MAX);
        if (results.empty()) continue;
        std::vector<uint32_t> run;
        for (const TraceStep& step : results[0]->traces[0]) run.push_back(step.transition->index);
        TokenVector marking;
        ASSERT_TRUE(replayRun(prefix, run, marking));
        for (const Transition* t : prefix.transitions) EXPECT_FALSE(isEnabled(t, marking)) << t->name;
        if (minimise) {
          EXPECT_EQ(run.size(), shortest);
        }
      }
  }
  EXPECT_GT(checked, 200);
}

}  // namespace
}  // namespace nurex::test
