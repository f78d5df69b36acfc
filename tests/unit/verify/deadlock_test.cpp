// Deadlock verdicts on every benchmark prefix against the independent checker's table, with
// both methods and both solvers; every trace is replayed in the original net.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "model/loaders.h"
#include "support/capture.h"
#include "support/random_net.h"
#include "support/state_space.h"
#include "support/verdicts.h"
#include "unfold/unfolder.h"
#include "verify/deadlock.h"

namespace nurex::test {
namespace {

struct Row {
  std::string name, prefix;
  bool deadlock;
  size_t shortest;
};

std::vector<Row> verdictRows() {
  std::vector<Row> rows;
  for (VerdictCells& v : readBenchmarkVerdicts()) {
    bool dead = v["deadlock"] == "yes";
    rows.push_back({v["name"], v["prefix"], dead, dead ? std::stoul(v["deadlock_len"]) : 0});
  }
  return rows;
}

// Fires the trace from the initial marking of the original net; the end must enable nothing.
// Legacy files give arcs only to transitions with an event, so the others are left out.
template <class U>
void replayDeadlock(const U& unit, const Trace& trace) {
  std::vector<bool> occurs(unit.transitions.size(), false);
  for (const auto* e : unit.events) occurs[e->transition->index] = true;
  std::vector<uint32_t> tokens(unit.places.size());
  for (const Place* p : unit.places) tokens[p->index] = p->tokens;
  for (const TraceStep& step : trace) {
    const Transition* t = unit.transitions[step.transition->index];
    for (const Place* p : t->preset) {
      ASSERT_GT(tokens[p->index], 0u) << t->name << " is not enabled";
      --tokens[p->index];
    }
    for (const Place* p : t->postset) ++tokens[p->index];
  }
  for (const Transition* t : unit.transitions) {
    if (!occurs[t->index]) continue;
    bool enabled = true;
    for (const Place* p : t->preset) enabled &= tokens[p->index] > 0;
    EXPECT_FALSE(enabled) << t->name << " is enabled at the end of the trace";
  }
}

struct Check {
  OptionMap options;
  bool found = false;
  size_t length = 0;
  template <class U>
  static bool run(U& unit, Check* check) {
    auto mode = makeDeadlockMode(unit, check->options);
    mode->run();
    const ResultList& results = mode->result_list();
    check->found = !results.empty();
    if (check->found) {
      check->length = results[0]->traces[0].size();
      replayDeadlock(unit, results[0]->traces[0]);
    }
    return raiseStatus(0) < StatusError;
  }
};

TEST(DeadlockBenchmarks, VerdictsAndShortestTraces) {
  for (const Row& row : verdictRows())
    for (const std::string& input : {"prefixes/" + row.prefix, "nets/" + row.name + ".g"})
    for (int solver : {0, 1})
      for (int method : {1, 2})
        for (int minimise : {0, 1}) {
          if (minimise && !row.deadlock) continue;
          SCOPED_TRACE(input + " solver " + std::to_string(solver) + " method " + std::to_string(method) +
                       (minimise ? " -f" : ""));
          Check check;
          check.options["solver"] = solver;
          check.options["method"] = method;
          check.options["min_cost"] = minimise;
          bool ok = false;
          captureStderr([&] {
            DeadlockUnit* unit = loadDeadlockUnit(std::string(NUREX_BENCHMARKS) + "/" + input);
            ASSERT_NE(unit, nullptr);
            static constexpr auto table = DeadlockUnit::tableOf<Check, bool, Check*>();
            ok = unit->visit(table, &check);
            delete unit;
          });
          ASSERT_TRUE(ok);
          EXPECT_EQ(check.found, row.deadlock);
          // A minimal configuration reaching a marking has no cut-off under a total adequate order.
          if (minimise) {
            EXPECT_EQ(check.length, row.shortest);
          }
        }
}

}  // namespace
}  // namespace nurex::test

namespace nurex::test {
namespace {

// Seeded random safe nets, unfolded here: -D must agree with the explicit-state checker, every
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
