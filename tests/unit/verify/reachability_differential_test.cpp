// Differential tests of -F and -Fs: seeded random predicates are decided on every reachable
// state by the oracle and by the SAT search on the prefix, on the small benchmark prefixes
// and on prefixes that the unfolder builds of random nets and STGs. Verdicts must agree and
// every witness trace must replay to a state where the predicate holds.
#include <gtest/gtest.h>


#include "model/checks.h"
#include "model/loaders.h"
#include "support/capture.h"
#include "support/random_net.h"
#include "support/verdicts.h"
#include "unfold/unfolder.h"
#include "unit/verify/reach_oracle.h"
#include "verify/reachability.h"

namespace nurex::test {
namespace {

template <class Unit>
NetView viewOf(const Unit& unit) {
  NetView view{&unit, nullptr, std::vector<bool>(unit.transitions.size(), false)};
  if constexpr (Unit::NetType::isStg) view.stg = &unit;
  for (const auto* e : unit.events) view.occurs[e->transition->index] = true;
  return view;
}

struct Tally {
  int predicates = 0, found = 0;
};

bool hasDummies(const NetView& view) {
  for (const Transition* t : view.net->transitions)
    if (view.occurs[t->index] && view.isDummy(t)) return true;
  return false;
}

// One predicate: the SAT answer against the oracle's, and the witness replayed. In -Fs the
// oracle knows only that a witness is a state reached by a run not ending in a dummy; when
// the net has no dummies the two answers must agree as in -F. A predicate of two levels is
// asked of every pair of states.
template <class Unit>
void checkPredicate(const Unit& unit, const NetView& view, const std::vector<ExplicitState>& states,
                    const RandomPredicate& p, bool stgStates, int solver, Tally& tally, bool twoLevels = false) {
  SCOPED_TRACE(p.text);
  bool expected = holdsSomewhere(states, p, stgStates, twoLevels);
  OptionMap options;
  options["solver"] = solver;
  std::vector<std::vector<const Transition*>> runs;
  std::string err = quietly([&] {
    auto mode = makeReachabilityChecker(unit, options, p.text, stgStates);
    mode->run();
    if (!mode->result_list().empty())
      for (const Trace& trace : mode->result_list().back()->traces) runs.push_back(transitionsOf(trace));
  });
  ASSERT_LT(raiseStatus(0), StatusError) << err;
  resetStatus();
  bool found = !runs.empty();
  ++tally.predicates;
  tally.found += found;
  if (!stgStates || !hasDummies(view)) {
    EXPECT_EQ(found, expected);
  } else if (found) {
    EXPECT_TRUE(expected);
  }
  if (found) expectWitness(view, runs, p, stgStates, twoLevels);
}

template <class Unit>
void differential(const Unit& unit, uint64_t seed, int count, bool stgStates, Tally& tally) {
  NetView view = viewOf(unit);
  std::vector<ExplicitState> states;
  ASSERT_TRUE(exploreStates(view, states));
  ASSERT_TRUE(consistentCodes(view, states));
  PredicateGenerator generator(view, seed);
  for (int i = 0; i < count; ++i) {
    RandomPredicate p = generator.make({1 + i % 3, false});
    checkPredicate(unit, view, states, p, stgStates, i % 2, tally);
  }
}

struct BenchmarkRow {
  std::string name, kind, prefix;
  uint32_t states, events, dummies;
};

std::vector<BenchmarkRow> smallBenchmarks() {
  std::vector<BenchmarkRow> rows;
  for (VerdictCells& v : readBenchmarkVerdicts()) {
    BenchmarkRow row{v["name"], v["kind"], v["prefix"], static_cast<uint32_t>(std::stoul(v["states"])),
                     static_cast<uint32_t>(std::stoul(v["E"])), static_cast<uint32_t>(std::stoul(v["dummies"]))};
    if (row.states <= 400 && row.events <= 250) rows.push_back(row);
  }
  return rows;
}

struct Runner {
  uint64_t seed;
  int count;
  bool stgStates;
  Tally* tally;
  template <class U>
  static bool run(U& unit, Runner* r) {
    differential(unit, r->seed, r->count, r->stgStates, *r->tally);
    return true;
  }
};

template <class UnitKind>
void onBenchmark(UnitKind* (*load)(const std::string&), const BenchmarkRow& row, Runner runner) {
  UnitKind* unit = nullptr;
  captureStderr([&] { unit = load(std::string(NUREX_BENCHMARKS) + "/prefixes/" + row.prefix); });
  ASSERT_NE(unit, nullptr);
  resetStatus();
  static constexpr auto table = UnitKind::template tableOf<Runner, bool, Runner*>();
  unit->visit(table, &runner);
  delete unit;
}

TEST(ReachabilityDifferential, SmallBenchmarkPrefixes) {
  Tally tally;
  std::vector<BenchmarkRow> rows = smallBenchmarks();
  ASSERT_GE(rows.size(), 30u);
  for (size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i].name);
    Runner runner{1000 + i, 8, false, &tally};
    if (rows[i].kind == "stg") onBenchmark(loadStgUnit, rows[i], runner);
    else onBenchmark(loadReachUnit, rows[i], runner);
  }
  // Both answers must occur often enough for the comparison to mean something.
  EXPECT_GT(tally.found, tally.predicates / 5);
  EXPECT_LT(tally.found, tally.predicates * 4 / 5);
}

TEST(ReachabilityDifferential, StgStatesOfBenchmarksWithDummies) {
  Tally tally;
  for (const BenchmarkRow& row : smallBenchmarks()) {
    if (row.kind != "stg") continue;
    SCOPED_TRACE(row.name);
    onBenchmark(loadStgUnit, row, Runner{7 + row.states, row.dummies ? 10 : 3, true, &tally});
  }
  EXPECT_GT(tally.found, tally.predicates / 5);
}

template <class Net>
std::unique_ptr<Prefix<Net>> unfolded(std::unique_ptr<Net> net) {
  auto prefix = std::make_unique<Prefix<Net>>();
  static_cast<Net&>(*prefix) = std::move(*net);
  bool ok = false;
  captureStderr([&] {
    ok = unfoldNet(*prefix, UnfoldOptions{});
    if constexpr (Net::isStg) ok = ok && inferSignalValues(*prefix);
    ok = ok && raiseStatus(0) < StatusError;
  });
  resetStatus();
  return ok ? std::move(prefix) : nullptr;
}

TEST(ReachabilityDifferential, RandomNets) {
  Tally tally;
  for (uint64_t seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    auto prefix = unfolded(randomSafeNet(seed));
    ASSERT_TRUE(prefix);
    differential(*prefix, seed, 5, false, tally);
  }
  EXPECT_GT(tally.found, tally.predicates / 5);
  EXPECT_LT(tally.found, tally.predicates * 4 / 5);
}

TEST(ReachabilityDifferential, RandomConsistentStgs) {
  Tally plain, outside;
  int consistent = 0;
  for (uint64_t seed = 0; seed < 300 && consistent < 40; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    auto prefix = unfolded(randomSafeStg(seed));
    // Most random labellings are inconsistent, and some only beyond the cut-offs.
    if (!prefix) continue;
    NetView view = viewOf(*prefix);
    std::vector<ExplicitState> states;
    if (!exploreStates(view, states) || !consistentCodes(view, states)) continue;
    ++consistent;
    differential(*prefix, seed, 4, false, plain);
    differential(*prefix, seed + 1, 4, true, outside);
  }
  EXPECT_GE(consistent, 20);
  EXPECT_GT(plain.found, plain.predicates / 5);
  EXPECT_GT(outside.found, outside.predicates / 5);
}

// Two levels: the oracle looks at every pair of states.
TEST(ReachabilityDifferential, TwoLevelPredicates) {
  Tally tally;
  for (uint64_t seed = 0; seed < 40; ++seed) {
    auto prefix = unfolded(randomSafeNet(seed));
    ASSERT_TRUE(prefix);
    NetView view = viewOf(*prefix);
    std::vector<ExplicitState> states;
    ASSERT_TRUE(exploreStates(view, states));
    if (states.size() > 60) continue;
    PredicateGenerator generator(view, seed);
    for (int i = 0; i < 3; ++i) checkPredicate(*prefix, view, states, generator.make({2, true}), false, 1, tally, true);
  }
  EXPECT_GE(tally.predicates, 30);
  EXPECT_GT(tally.found, 0);
  EXPECT_LT(tally.found, tally.predicates);
}

}  // namespace
}  // namespace nurex::test
