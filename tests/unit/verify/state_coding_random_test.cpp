// Differential test of -U, -C and -N on seeded random consistent STGs (with dummies): the SAT
// verdicts and shortest pairs must agree with an explicit exploration of the STG's states,
// and every conflict is replayed in the net.
#include <gtest/gtest.h>

#include "random_stg.h"
#include "stg_replay.h"
#include "stg_states.h"
#include "support/capture.h"
#include "verify/conflicts.h"
#include "verify/normalcy.h"

namespace nurex::test {
namespace {

struct Answer {
  bool found = false;
  uint64_t cost = 0;
  bool error = false;
  bool bySat = false;  // -N went past the trigger analysis
};

Answer run(const StgPrefix& prefix, int mode, int method, int solver, bool minimise) {
  OptionMap options = stateCodingOptions(method, solver, minimise);
  Answer answer;
  quietly([&] {
    auto checker = mode == 4 ? makeUscMode(prefix, options) : mode == 5 ? makeCscMode(prefix, options)
                                                                        : makeNormalcyMode(prefix, options);
    checker->run();
    answer.error = raiseStatus(0) >= StatusError;
    const ResultList& results = checker->result_list();
    answer.found = !results.empty();
    if (answer.found) answer.cost = results[0]->cost();
    if (mode != 6)
      for (const auto& s : results) expectConflict(prefix, *s, mode == 5);
    else
      answer.bySat = static_cast<NormalcyMode&>(*checker).analysis.reason == ReasonNone;
  });
  return answer;
}

struct Tally {
  int nets = 0, usc = 0, csc = 0, normal = 0, noTriggers = 0, normalcyBySat = 0, longer = 0;
};

void checkSeed(uint64_t seed, const RandomStgOptions& shape, Tally& tally) {
  std::unique_ptr<StgPrefix> prefix;
  captureStderr([&] { prefix = unfoldStg(randomConsistentStg(seed, shape)); });
  ASSERT_NE(prefix, nullptr);
  StgStateFacts facts = exploreStg(*prefix);
  ASSERT_TRUE(facts.safe);
  if (!facts.complete) return;  // too many states to compare with
  ++tally.nets;
  bool dummyFree = prefix->dummyCount() == 0;
  tally.usc += facts.uscCost >= 0;
  tally.csc += facts.cscCost >= 0;
  // Seeds take turns over the methods and the solvers.
  int method = 1 + static_cast<int>(seed / 2 % 2), solver = static_cast<int>(seed % 2);
  for (int mode : {4, 5}) {
    int expected = mode == 4 ? facts.uscCost : facts.cscCost;
    for (bool minimise : {false, true}) {
      SCOPED_TRACE("mode " + std::to_string(mode) + " -m" + std::to_string(method) + (minimise ? " -f" : ""));
      Answer a = run(*prefix, mode, method, solver, minimise);
      ASSERT_FALSE(a.error);
      EXPECT_EQ(a.found, expected >= 0);
      // A state whose only representatives in the prefix end with a dummy event is out of
      // reach of the search, so with dummies the shortest pair found may be longer.
      if (minimise && a.found && dummyFree) {
        EXPECT_EQ(a.cost, static_cast<uint64_t>(expected));
      } else if (minimise && a.found) {
        EXPECT_GE(a.cost, static_cast<uint64_t>(expected));
        tally.longer += a.cost > static_cast<uint64_t>(expected);
      }
    }
  }
  if (facts.cscCost >= 0) return;  // normalcy is asked of CSC-free STGs only
  tally.normal += facts.normal;
  SCOPED_TRACE("-N -m" + std::to_string(method));
  Answer a = run(*prefix, 6, method, solver, false);
  if (a.error) {
    ++tally.noTriggers;  // a local signal without triggers: the mode refuses
    return;
  }
  EXPECT_EQ(a.found, !facts.normal);
  tally.normalcyBySat += a.bySat;
}

TEST(StateCodingRandom, AgreesWithExplicitStates) {
  Tally tally;
  RandomStgOptions small, deep;
  deep.maxDepth = 4;
  deep.maxSignals = 8;
  for (uint64_t seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    checkSeed(seed, seed % 3 == 0 ? deep : small, tally);
  }
  // The generator must produce both answers for every question, or the test proves little.
  EXPECT_GT(tally.nets, 280);
  EXPECT_GT(tally.usc, 10);
  EXPECT_LT(tally.usc, tally.nets);
  EXPECT_GT(tally.csc, 10);
  EXPECT_LT(tally.csc, tally.nets);
  std::printf("random STGs: %d, with USC conflicts %d, with CSC conflicts %d, normal %d, refused by -N %d, "
              "-N by SAT %d, longer shortest pairs (dummies) %d\n",
              tally.nets, tally.usc, tally.csc, tally.normal, tally.noTriggers, tally.normalcyBySat, tally.longer);
}

}  // namespace
}  // namespace nurex::test
