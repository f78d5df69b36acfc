// Test support: replay of conflict traces in the original net, and quiet loading.
#include "stg_replay.h"

#include <gtest/gtest.h>

#include "model/loaders.h"
#include "stg_states.h"
#include "support/capture.h"

namespace nurex::test {

bool replayInNet(const Stg& net, const Trace& trace, NetState& state, std::string& why) {
  state.tokens.assign(net.places.size(), 0);
  for (const Place* p : net.places) state.tokens[p->index] = p->tokens;
  state.code.assign(net.signals.size(), 0);
  for (const Signal* s : net.signals)
    if (s->kind != SignalDummy) state.code[s->index] = s->initialValue == 1;
  for (const TraceStep& step : trace) {
    const Transition* t = net.transitions[step.transition->index];
    for (const Place* p : t->preset) {
      if (state.tokens[p->index] == 0) {
        why = t->name + " is not enabled";
        return false;
      }
      --state.tokens[p->index];
    }
    for (const Place* p : t->postset) ++state.tokens[p->index];
    if (t->signal && t->signal->kind != SignalDummy) state.code[t->signal->index] ^= 1;
  }
  return true;
}

std::vector<uint8_t> excitedSignals(const Stg& net, const std::vector<bool>& occurring, const NetState& state) {
  std::vector<uint8_t> marking(state.tokens.begin(), state.tokens.end());
  return excitedSignals(net, marking, &occurring);
}

void expectConflict(const StgPrefix& prefix, const Solution& solution, bool csc) {
  ASSERT_EQ(solution.traces.size(), 2u);
  NetState a, b;
  std::string why;
  ASSERT_TRUE(replayInNet(prefix, solution.traces[0], a, why)) << why;
  ASSERT_TRUE(replayInNet(prefix, solution.traces[1], b, why)) << why;
  EXPECT_EQ(a.code, b.code) << "the codes differ";
  if (!csc) {
    EXPECT_NE(a.tokens, b.tokens) << "the markings are equal";
    return;
  }
  std::vector<bool> occurring = transitionsWithEvents(prefix);
  std::vector<uint8_t> x = excitedSignals(prefix, occurring, a), y = excitedSignals(prefix, occurring, b);
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
