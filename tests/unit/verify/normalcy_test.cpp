// Normalcy checking: triggers through dummies, mixed triggers without SAT under both methods,
// and the SAT reasons with their traces (contradictory hypotheses and the missing-hypothesis
// error are e2e cases in state_coding.cases).
#include <gtest/gtest.h>

#include "reach_oracle.h"
#include "stg_replay.h"
#include "support/capture.h"
#include "support/prefix_builder.h"
#include "verify/normalcy.h"

namespace nurex::test {
namespace {

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
