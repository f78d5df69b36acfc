// Load-time checks: structure, safety, presets, postsets, self-loops, isolated and unproduced places.
#include <gtest/gtest.h>

#include "model/checks.h"
#include "model/net_unit.h"
#include "support/capture.h"
#include "support/prefix_builder.h"

namespace nurex::test {
namespace {

TEST(LoadChecks, EmptyNetPassesSilently) {
  PrefixBuilder<PetriNet> b;
  bool ok = false;
  EXPECT_EQ(captureStderr([&] { ok = runLoadChecks(b.prefix); }), "");
  EXPECT_TRUE(ok);
  EXPECT_EQ(raiseStatus(0), 0u);
}

TEST(LoadChecks, ChainPassesAndEmptyPresetIsFatalWithEventNames) {
  PrefixBuilder<PetriNet> b;
  Place* p = b.place("p");
  Transition* t = b.transition("t");
  Condition* c0 = b.condition(p);
  b.step(t, c0, p);
  EXPECT_EQ(captureStderr([&] { EXPECT_TRUE(runLoadChecks(b.prefix)); }), "");

  Event* orphan = b.event(t, {});
  b.condition(p, orphan);
  std::string err = captureStderr([&] { EXPECT_FALSE(runLoadChecks(b.prefix)); });
  // A source transition also counts as *T<T*: it can flood its postset.
  EXPECT_EQ(err,
            "\nError: the net contains 1 transition(s) with empty preset: e1\n"
            "\nWarning: *T<T* for transition e1; the net may be unbounded\n");
  EXPECT_EQ(raiseStatus(0), 2u);
}

TEST(LoadChecks, EmptyPostsetAndIsolatedPlaceWarn) {
  PrefixBuilder<PetriNet> b;
  Place* p = b.place("p");
  Transition* t = b.transition("t");
  Condition* c0 = b.condition(p);
  b.event(t, {c0});
  b.condition(p);
  b.condition(p);
  std::string err = captureStderr([&] { EXPECT_TRUE(runLoadChecks(b.prefix)); });
  EXPECT_EQ(err,
            "\nWarning: the net contains 1 transition(s) with empty postset: e0\n"
            "\nWarning: the net contains 2 isolated place(s): c1, c2\n");
  EXPECT_EQ(raiseStatus(0), 1u);
}

TEST(LoadChecks, StructureFailuresAreSilent) {
  {
    PrefixBuilder<PetriNet> b;
    Place* p = b.place("p");
    Condition* c0 = b.condition(p);
    b.step(b.transition("t"), c0, p);
    b.prefix.events[0]->index = 5;  // index differs from position
    EXPECT_EQ(captureStderr([&] { EXPECT_FALSE(checkPrefixStructure(b.prefix)); }), "");
    b.prefix.events[0]->index = 0;
  }
  {
    // The condition lists a consumer whose preset does not hold it.
    PrefixBuilder<PetriNet> b;
    Place* p = b.place("p");
    Condition* c0 = b.condition(p);
    Condition* c1 = b.step(b.transition("t"), c0, p);
    c1->postset.push_back(b.prefix.events[0]);
    EXPECT_FALSE(checkPrefixStructure(b.prefix));
  }
  {
    // A producer link without the matching postset arc.
    PrefixBuilder<PetriNet> b;
    Place* p = b.place("p");
    Condition* c0 = b.condition(p);
    b.step(b.transition("t"), c0, p);
    b.prefix.conditions[0]->producer = b.prefix.events[0];
    EXPECT_FALSE(checkPrefixStructure(b.prefix));
  }
}

TEST(LoadChecks, UnlistedPostsetConditionOfCutOffIsAcceptedAndCounted) {
  PrefixBuilder<PetriNet> b;
  Place* p = b.place("p");
  Condition* c0 = b.condition(p);
  Event* e = b.event(b.transition("t"), {c0});
  e->correspondent.setInitialState();
  Condition outside;  // beyond the prefix: in no list
  outside.place = p;
  outside.producer = e;
  e->postset.push_back(&outside);
  EXPECT_TRUE(checkPrefixStructure(b.prefix));
  EXPECT_EQ(formatStatistics(computeStatistics(b.prefix.conditions, b.prefix.events)),
            "\n |B|=2 |E|=1 |C|=1 |BE|=1 |EB|=2");
  e->postset.clear();
}

TEST(LoadChecks, MergedProcessSafetySelfLoopsAndUnproducedPlaces) {
  MergedProcessBuilder<PetriNet> b;
  Place* p = b.place("p");
  Transition* t = b.transition("t");
  MpCondition* c0 = b.condition(p, 2);
  MpCondition* c1 = b.condition(p);
  MpCondition* c2 = b.condition(p);
  b.event(t, {c0}, {c2});
  b.event(t, {c1}, {c1});      // *T=T*
  b.event(t, {c1}, {c1, c2});  // *T<T*
  b.event(t, {c2}, {c0});
  std::string err = captureStderr([&] { EXPECT_FALSE(runLoadChecks(b.process)); });
  EXPECT_EQ(err,
            "\nError: the initial marking is not safe: place(s) c0\n"
            "\nWarning: *T=T* for transition e1; |*T|=1\n"
            "\nWarning: *T<T* for transition e2; the net may be unbounded\n"
            "\nWarning: the net contains 1 unmarked place(s) with no producing arcs: c1\n");
  EXPECT_EQ(raiseStatus(0), 2u);
}

TEST(Statistics, SingleConditionAndCutOffLinkCases) {
  PrefixBuilder<PetriNet> b;
  b.condition(b.place("p"));
  EXPECT_EQ(formatStatistics(computeStatistics(b.prefix.conditions, b.prefix.events)),
            "\n |B|=1 |E|=0 |C|=0 |BE|=0 |EB|=0");

  Event a, c;
  CutOffLink link;
  EXPECT_FALSE(link.isCutOff());
  link.setCorrespondents({});
  EXPECT_TRUE(link.isInitialState());
  link.setCorrespondents({&a});
  EXPECT_EQ(link.event(), &a);
  link.setCorrespondents({&a, &c});
  ASSERT_TRUE(link.isList());
  EXPECT_EQ(link.correspondents(), (CutOffLink::EventList{&a, &c}));
  CutOffLink moved(std::move(link));  // the owned list moves with the word
  EXPECT_FALSE(link.isCutOff());
  EXPECT_TRUE(moved.isList());
  link.setUnknown();
  EXPECT_TRUE(link.isUnknown() && link.isCutOff());
}

struct CountConditions {
  template <class U>
  static uint32_t run(U& u, uint32_t add) { return u.conditions.size() + add; }
};

TEST(NetUnit, WrongAlternativeThrowsBadGet) {
  PrefixBuilder<PetriNet> b;
  b.condition(b.place("p"));
  DeadlockUnit* unit = DeadlockUnit::adoptFrom(std::move(b.prefix));
  EXPECT_EQ(unit->tag(), 0u);
  EXPECT_EQ(unit->get<PetriNetPrefix>().conditions.size(), 1u);
  try {
    unit->get<StgPrefix>();
    ADD_FAILURE() << "no exception";
  } catch (const BadGet& e) {
    EXPECT_STREQ(e.what(), "bad_get");
  }
  static constexpr auto table = DeadlockUnit::tableOf<CountConditions, uint32_t, uint32_t>();
  EXPECT_EQ(unit->visit(table, 10u), 11u);
  delete unit;
}

}  // namespace
}  // namespace nurex::test
