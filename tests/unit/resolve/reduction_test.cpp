// Concurrency reductions and what they lean on, each against an explicit-state answer: every
// valid reduction alone keeps the STG safe and adds no deadlock, a pair reported locked does
// alternate, and removing the places reported implicit leaves the markings as they were.
#include <gtest/gtest.h>

#include "model/formats/g_reader.h"
#include "reach/coefficients.h"
#include "resolve/lock_relation.h"
#include "resolve/reduction.h"
#include "support/capture.h"
#include "support/sanitizer.h"
#include "support/state_space.h"
#include "support/stg_states.h"
#include "support/transformation_judge.h"
#include "unit/verify/random_stg.h"
#include "unit/verify/stg_replay.h"

namespace nurex::test {
namespace {

std::unique_ptr<StgPrefix> randomPrefix(uint64_t seed) {
  std::unique_ptr<StgPrefix> prefix;
  captureStderr([&] { prefix = unfoldStg(randomConsistentStg(seed)); });
  return prefix;
}

std::unique_ptr<StgPrefix> benchmarkPrefix(const std::string& name) {
  std::unique_ptr<StgUnit> unit = loadStgQuietly(std::string(NUREX_SOURCE_DIR) + "/benchmarks/nets/" + name);
  if (!unit || !unit->holds<StgPrefix>()) return nullptr;
  auto stg = std::make_unique<Stg>();
  copyStg(unit->get<StgPrefix>(), *stg);
  std::unique_ptr<StgPrefix> prefix;
  captureStderr([&] { prefix = unfoldStg(std::move(stg)); });
  return prefix;
}

TEST(ConcurrencyReduction, TextsAndPlaceNames) {
  std::unique_ptr<StgPrefix> vme = benchmarkPrefix("vme.g");
  ASSERT_NE(vme, nullptr);
  auto named = [&](const std::string& name) -> const Transition* {
    for (const Transition* t : vme->transitions)
      if (t->name == name) return t;
    return nullptr;
  };
  ConcurrencyReduction one{{named("ldtack-/1")}, false, named("d-/1")};
  ConcurrencyReduction two{{named("lds-/1"), named("ldtack-/1")}, true, named("d-/1")};
  EXPECT_EQ(reductionText(one), "ldtack-/1 --> d-/1");
  EXPECT_EQ(reductionText(two), "{lds-/1,ldtack-/1} -*-> d-/1");
  Stg copy;
  copyStg(*vme, copy);
  EXPECT_EQ(addReductionPlace(copy, one)->name, "<ldtack-/1,d-/1>");
  Place* p = addReductionPlace(copy, two);
  EXPECT_EQ(p->name, "<CR,d-/1>");
  EXPECT_EQ(p->tokens, 1u);
  EXPECT_EQ(p->preset.size(), 2u);
}

// Each reduction is judged alone against the STG it was found for: safe, consistent, visible
// traces a subset, no input dropped, no new deadlock (a conflict may remain).
TEST(ConcurrencyReduction, EveryValidReductionIsSafeAndAddsNoDeadlock) {
  int judged = 0;
  OptionMap options;
  options["mode"] = 10;
  for (uint64_t seed = 1; seed <= sizedForBuild(40); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::unique_ptr<StgPrefix> prefix = randomPrefix(seed);
    ASSERT_NE(prefix, nullptr);
    StgStateFacts facts = exploreStg(*prefix);
    if (!facts.complete || facts.cscCost < 0) continue;
    std::vector<PricedReduction> valid;
    quietly([&] {
      evaluateCostCoefficients(*prefix, options);
      valid = validReductions(*prefix, options, collectCores(*prefix, options));
    });
    for (const PricedReduction& r : valid) {
      Stg reduced;
      copyStg(*prefix, reduced);
      addReductionPlace(reduced, r.reduction);
      JudgeOptions judge;
      judge.reductionsAllowed = true;
      judge.cscFree = false;
      Judgement j = judgeTransformation(*prefix, reduced, judge);
      EXPECT_EQ(j.failure, "") << reductionText(r.reduction);
      ++judged;
    }
  }
  std::printf("valid reductions judged: %d\n", judged);
  EXPECT_GT(judged, 0);
}

// Sound on every pair, and not so cautious that it misses most of the alternating ones.
TEST(LockRelation, LockedPairsAlternate) {
  std::unique_ptr<StgPrefix> vme = benchmarkPrefix("vme.g");
  ASSERT_NE(vme, nullptr);
  LockRelation relation(*vme);
  std::string pairs;
  for (auto [a, b] : relation.pairs()) pairs += "{" + a->name + "," + b->name + "}";
  EXPECT_EQ(pairs, "{dsr,d}{ldtack,lds}");
  // Two input-output pairs locked out of 1 + 2*2*3 in all.
  EXPECT_EQ(relation.lockingNumber(), 4u);
  EXPECT_EQ(relation.unlockNumber(), 9u);

  int reported = 0, alternating = 0;
  for (uint64_t seed = 1; seed <= sizedForBuild(150); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::unique_ptr<StgPrefix> prefix = randomPrefix(seed);
    ASSERT_NE(prefix, nullptr);
    LockRelation locks(*prefix);
    for (const Signal* a : prefix->signals)
      for (const Signal* b : prefix->signals) {
        if (a->index >= b->index || a->kind == SignalDummy || b->kind == SignalDummy) continue;
        bool truth = signalsAlternate(*prefix, a->name, b->name);
        alternating += truth;
        if (!locks.locked(a, b)) continue;
        ++reported;
        EXPECT_TRUE(truth) << a->name << "," << b->name;
      }
  }
  std::printf("alternating pairs: %d, reported locked: %d\n", alternating, reported);
  EXPECT_GE(reported * 2, alternating);
}

// Markings of a net as sets of place names.
std::set<std::set<std::string>> namedMarkings(const Stg& net, const std::set<std::string>& ignored = {}) {
  std::set<std::set<std::string>> out;
  for (const PlaceSet& marking : exploreStateSpace(net).placeSets()) {
    std::set<std::string> names;
    for (uint32_t p : marking)
      if (!ignored.count(net.places[p]->name)) names.insert(net.places[p]->name);
    out.insert(names);
  }
  return out;
}

TEST(ImplicitPlaces, RemovalKeepsTheMarkingsOfTheOtherPlaces) {
  // q repeats p and q1 repeats p1: the first of each pair is found, and the second, now
  // alone, stays.
  std::unique_ptr<StgPrefix> hand;
  captureStderr([&] {
    hand = unfoldStg(parseStgText(".outputs a b\n.graph\np a+\nq a+\na+ p1 q1\np1 b+\nq1 b+\nb+ p2\np2 a-\na- p3\n"
                                  "p3 b-\nb- p q\n.marking {p q}\n.end\n",
                                  "hand.g"));
  });
  ASSERT_NE(hand, nullptr);
  std::vector<std::string> names;
  for (const Place* p : implicitPlaces(*hand)) names.push_back(p->name);
  EXPECT_EQ(names, (std::vector<std::string>{"p", "p1"}));

  int removed = 0;
  for (uint64_t seed = 1; seed <= sizedForBuild(120); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    // A copy of one of the places makes one of the two implicit.
    std::unique_ptr<Stg> stg = randomConsistentStg(seed);
    const Place* original = stg->places[static_cast<uint32_t>(seed % stg->places.size())];
    Place* twin = stg->places.add(new Place);
    twin->name = "twin";
    twin->tokens = original->tokens;
    for (Transition* t : original->preset) addTransitionArc(t, twin);
    for (Transition* t : original->postset) addPlaceArc(twin, t);
    sortArcs(*stg);
    std::unique_ptr<StgPrefix> prefix;
    captureStderr([&] { prefix = unfoldStg(std::move(stg)); });
    ASSERT_NE(prefix, nullptr);
    std::vector<const Place*> implicit = implicitPlaces(*prefix);
    EXPECT_FALSE(implicit.empty());
    if (implicit.empty()) continue;
    std::set<std::string> gone;
    for (const Place* p : implicit) gone.insert(p->name);
    Stg reduced;
    copyStg(*prefix, reduced);
    std::vector<const Place*> same;
    for (const Place* p : implicit) same.push_back(reduced.places[p->index]);
    removePlaces(reduced, same);
    EXPECT_EQ(namedMarkings(reduced), namedMarkings(*prefix, gone));
    removed += static_cast<int>(implicit.size());
  }
  std::printf("implicit places removed: %d\n", removed);
}

}  // namespace
}  // namespace nurex::test
