// Configuration encoding: models are exactly the configurations; skip sets of conflicts;
// merged-process backward conflicts, occurrence order and acyclicity; and model enumeration
// over a projection against brute force.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "platform/options.h"
#include "sat/configuration.h"
#include "sat/sat_formula.h"
#include "sat_test_support.h"
#include "support/capture.h"
#include "support/prefix_builder.h"

namespace nurex::test {
namespace {

// All configurations the encoding allows, as sets of event numbers.
template <class Unit>
std::set<std::vector<uint32_t>> configurations(const Unit& unit, bool backward = true, bool incremental = false) {
  SatFormula formula(1, false, false);
  ConfigurationVariables<Unit> record(formula, unit, false);
  record.encode_base(PermanentGroup, backward, incremental);
  for (const auto* e : unit.events) record.event_in(e);  // every event gets its variable
  std::vector<Literal> projection;
  record.projection(projection);
  std::set<std::vector<uint32_t>> found;
  formula.enumerate(projection, 0, [&](const TernaryVector&) {
    std::vector<uint32_t> events;
    for (const auto* e : record.events_in_model()) events.push_back(e->index);
    found.insert(events);
  }, -1);
  return found;
}

using Sets = std::set<std::vector<uint32_t>>;

TEST(ConfigurationEncoding, PrefixModelsAreItsConfigurations) {
  // c0 -> e0 -> c1 -> e1 ; c0 -> e2 (conflict with e0) ; e3 consumes what the cut-off e4 produces.
  PrefixBuilder<PetriNet> b;
  Place* p = b.place("p");
  Transition* t = b.transition("t");
  Condition* c0 = b.condition(p);
  Condition* c1 = b.step(t, c0, p);
  b.step(t, c1, p);
  b.event(t, {c0});
  Condition* c2 = b.condition(p);
  Condition* c3 = b.step(t, c2, p);
  b.prefix.events.back()->correspondent.setInitialState();  // e3 is a cut-off
  b.event(t, {c3});                                          // e4 can never occur
  EXPECT_EQ(configurations(b.prefix), (Sets{{}, {0}, {0, 1}, {2}}));
}

TEST(ConfigurationEncoding, ConflictSkipSets) {
  // Conditions c0 and c1 share the consumers {e0, e1}: only c0 keeps its constraint.
  // c2 has consumers {e2, e3}, c3 has {e2, e3, e4}: c2's constraint is implied by c3's.
  PrefixBuilder<PetriNet> b;
  Place* p = b.place("p");
  Transition* t = b.transition("t");
  Condition* c0 = b.condition(p);
  Condition* c1 = b.condition(p);
  Condition* c2 = b.condition(p);
  Condition* c3 = b.condition(p);
  b.event(t, {c0, c1});
  b.event(t, {c0, c1});
  b.event(t, {c2, c3});
  b.event(t, {c2, c3});
  b.event(t, {c3});
  EXPECT_EQ(conflict_skip_set(b.prefix, false), (std::vector<bool>{false, true, true, false}));

  // The same sets in the opposite numbering reach the same result through the other test.
  PrefixBuilder<PetriNet> r;
  Place* q = r.place("q");
  Condition* d0 = r.condition(q);
  Condition* d1 = r.condition(q);
  r.event(t, {d0, d1});
  r.event(t, {d0, d1});
  r.event(t, {d0});
  EXPECT_EQ(conflict_skip_set(r.prefix, false), (std::vector<bool>{false, true}));

  // Consumers that are cut-offs do not count.
  PrefixBuilder<PetriNet> k;
  Condition* e = k.condition(k.place("p"));
  k.event(t, {e})->correspondent.setUnknown();
  k.event(t, {e})->correspondent.setUnknown();
  EXPECT_EQ(conflict_skip_set(k.prefix, false), (std::vector<bool>{true}));
}

TEST(ConfigurationEncoding, MergedProcessBackwardConflictsAndOccurrenceOrder) {
  // Two producers of one mp-condition never occur together.
  MergedProcessBuilder<PetriNet> b;
  Transition* t = b.transition("t");
  MpCondition* a0 = b.condition(b.place("a0"), 1);
  MpCondition* a1 = b.condition(b.place("a1"), 1);
  MpCondition* c = b.condition(b.place("p"));
  b.event(t, {a0}, {c});
  b.event(t, {a1}, {c});
  EXPECT_EQ(configurations(b.process), (Sets{{}, {0}, {1}}));
  EXPECT_EQ(configurations(b.process, false), (Sets{{}, {0}, {1}, {0, 1}}));

  // A deeper occurrence of a place is never produced without the shallower one.
  MergedProcessBuilder<PetriNet> o;
  Place* p = o.place("p");
  MpCondition* i0 = o.condition(o.place("i0"), 1);
  MpCondition* i1 = o.condition(o.place("i1"), 1);
  MpCondition* shallow = o.condition(p);
  MpCondition* deep = o.condition(p);
  deep->occurrenceDepth = 2;
  o.event(t, {i0}, {shallow});
  o.event(t, {i1}, {deep});
  EXPECT_EQ(configurations(o.process), (Sets{{}, {0}, {0, 1}}));
}

TEST(ConfigurationEncoding, SelfSupportingPairOnlyWithoutAcyclicity) {
  // e0 and e1 produce each other's input: causality alone lets them support each other.
  MergedProcessBuilder<PetriNet> b;
  Transition* t = b.transition("t");
  MpCondition* x = b.condition(b.place("x"));
  MpCondition* y = b.condition(b.place("y"));
  b.event(t, {x}, {y});
  b.event(t, {y}, {x});
  EXPECT_EQ(configurations(b.process), (Sets{{}}));
  EXPECT_EQ(configurations(b.process, true, true), (Sets{{}, {0, 1}}));
}

// Pairs of configurations (C1, C2) of a process with two concurrent events, under an
// inclusion constraint of either form.
std::set<std::pair<std::vector<uint32_t>, std::vector<uint32_t>>> pairs(bool ordered) {
  PrefixBuilder<PetriNet> b;
  Transition* t = b.transition("t");
  b.step(t, b.condition(b.place("p")), b.place("q"));
  b.step(t, b.condition(b.place("r")), b.place("s"));
  SatFormula formula(1, false, false);
  ConfigurationVariables<PetriNetPrefix> c1(formula, b.prefix, false), c2(formula, b.prefix, false);
  c1.encode_base(PermanentGroup, true, false);
  c2.encode_base(PermanentGroup, true, false);
  if (ordered) add_ordered_inclusion(c1, c2, PermanentGroup);
  else add_unordered_inclusion(c1, c2, PermanentGroup);
  std::vector<Literal> projection;
  c1.projection(projection);
  c2.projection(projection);
  std::set<std::pair<std::vector<uint32_t>, std::vector<uint32_t>>> found;
  auto numbers = [](const auto& events) {
    std::vector<uint32_t> out;
    for (const auto* e : events) out.push_back(e->index);
    return out;
  };
  formula.enumerate(projection, 0, [&](const TernaryVector&) {
    found.insert({numbers(c1.events_in_model()), numbers(c2.events_in_model())});
  }, -1);
  return found;
}

TEST(ConfigurationEncoding, InclusionConstraints) {
  auto ordered = pairs(true);
  EXPECT_EQ(ordered.size(), 9u);  // subset pairs of a 2-element set
  for (const auto& [a, b] : ordered) EXPECT_TRUE(std::includes(b.begin(), b.end(), a.begin(), a.end()));
  auto unordered = pairs(false);
  EXPECT_EQ(unordered.size(), 14u);  // comparable pairs: 9 + 9 - 4 equal ones
  for (const auto& [a, b] : unordered)
    EXPECT_TRUE(std::includes(b.begin(), b.end(), a.begin(), a.end()) || std::includes(a.begin(), a.end(), b.begin(), b.end()));
}

TEST(ConfigurationEncoding, ConflictFreeResolvesInclusionConstraints) {
  PrefixBuilder<PetriNet> b;
  Condition* c = b.condition(b.place("p"));
  b.event(b.transition("t"), {c});
  EXPECT_TRUE(is_conflict_free(b.prefix));
  b.event(b.transition("u"), {c});
  EXPECT_FALSE(is_conflict_free(b.prefix));  // two consumers, whether or not ever enabled together

  OptionMap options;
  testing::internal::CaptureStdout();
  resolve_inclusion_constraints(options, true);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nThe net is (dynamically) conflict-free: optimized method is used.");
  EXPECT_EQ(options["inclusion_constraints"], 1);
  OptionMap other;
  other["inclusion_constraints"] = -1;
  resolve_inclusion_constraints(other, false);
  EXPECT_EQ(other["inclusion_constraints"], 0);
}

}  // namespace
}  // namespace nurex::test

namespace nurex {
namespace {

using namespace sat_test;

// x0 or x1 or x2, not (x1 and x3), x4 free: a small formula with a known model set.
bool holds(uint64_t a) {
  bool x0 = a & 1, x1 = a & 2, x2 = a & 4, x3 = a & 8;
  return (x0 || x1 || x2) && !(x1 && x3);
}

std::vector<Literal> build(SatFormula& formula) {
  std::vector<Literal> x = fresh_literals(formula, 5);
  formula.add_clause({x[0], x[1], x[2]}, PermanentGroup);
  formula.add_binary(negate(x[1]), negate(x[3]), PermanentGroup);
  return x;
}

uint64_t true_set(const TernaryVector& vector) {
  uint64_t set = 0;
  for (size_t i = 0; i < vector.size(); i += 2) set |= uint64_t{vector[i]} << (i / 2);
  return set;
}

TEST(SatEnumerate, AllModelsOfTheProjection) {
  for (int solver : Solvers) {
    SatFormula formula(solver, false, false);
    std::vector<Literal> x = build(formula);
    std::vector<Literal> projection = {x[0], x[1], x[2], x[3], LiteralUninit};
    std::set<uint64_t> seen;
    formula.enumerate(projection, 0, [&](const TernaryVector& v) {
      EXPECT_TRUE(v[9] && !v[8]);  // the unset slot reads "10"
      EXPECT_TRUE(seen.insert(true_set(v)).second);
    }, -1);
    std::set<uint64_t> expected;
    for (uint64_t a = 0; a < 16; ++a)
      if (holds(a)) expected.insert(a);
    EXPECT_EQ(seen, expected);
  }
}

TEST(SatEnumerate, LimitAndZero) {
  SatFormula formula(1, false, false);
  std::vector<Literal> x = build(formula);
  int calls = 0;
  formula.enumerate(x, 0, [&](const TernaryVector&) { ++calls; }, 0);
  EXPECT_EQ(calls, 0);
  formula.enumerate(x, 0, [&](const TernaryVector&) { ++calls; }, 3);
  EXPECT_EQ(calls, 3);
  // An empty projection blocks everything after one model.
  formula.enumerate(std::vector<Literal>{}, 1, [&](const TernaryVector&) { ++calls; }, -1);
  EXPECT_EQ(calls, 4);
}

TEST(SatEnumerate, MaximalAndMinimalModels) {
  for (int solver : Solvers)
    for (bool maximal : {true, false}) {
      SatFormula formula(solver, false, false);
      std::vector<Literal> x = build(formula);
      std::vector<Literal> projection(x.begin(), x.begin() + 4);
      std::vector<TernaryVector> found =
          maximal ? formula.enumerate_maximal(projection, 0) : formula.enumerate_minimal(projection, 0);
      std::set<uint64_t> sets;
      for (const TernaryVector& v : found) sets.insert(true_set(v));
      std::set<uint64_t> expected;
      for (uint64_t a = 0; a < 16; ++a) {
        if (!holds(a)) continue;
        bool extreme = true;
        for (uint64_t b = 0; b < 16; ++b)
          if (b != a && holds(b) && (maximal ? (a & b) == a : (a & b) == b)) extreme = false;
        if (extreme) expected.insert(a);
      }
      EXPECT_EQ(sets, expected) << "solver " << solver << " maximal " << maximal;
    }
}

}  // namespace
}  // namespace nurex
