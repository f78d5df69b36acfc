// The unfolder on small hand-made nets: warnings, errors with their exact texts, dummy
// events, the effect of the order and of no_cutoffs, the concurrency relation's messages and
// size; and the comparisons of the adequate orders on hand-made configuration summaries.
#include <gtest/gtest.h>

#include <cstdio>

#include "model/checks.h"
#include "support/capture.h"
#include "support/prefix_builder.h"
#include "support/random_net.h"
#include "support/state_space.h"
#include "unfold/adequate_order.h"
#include "unfold/worker_pool.h"
#include "unit/unfold/unfold_test_support.h"

namespace nurex::test {
namespace {

template <class Net>
using NetBuilder = PrefixBuilder<Net>;

// Runs the unfolder on the built net; returns stderr.
template <class Net>
std::string unfold(NetBuilder<Net>& b, const UnfoldOptions& options, bool expectDone = true) {
  sortArcs(b.prefix);
  bool done = false;
  std::string err = captureStderr([&] { done = unfoldNet(b.prefix, options); });
  EXPECT_EQ(done, expectDone) << err;
  return err;
}

template <class Net>
std::string statistics(const NetBuilder<Net>& b) {
  return formatStatistics(computeStatistics(b.prefix.conditions, b.prefix.events));
}

UnfoldOptions defaults() { return optionsFor(Search::Closure, 1); }

TEST(UnfoldBehaviour, EmptyInitialMarkingWarnsAndGivesAnEmptyPrefix) {
  NetBuilder<PetriNet> b;
  Place* p = b.place("p");
  b.transition("t", {p}, {p});
  EXPECT_EQ(unfold(b, defaults()), "\nWarning: the initial marking is empty\n");
  EXPECT_EQ(statistics(b), "\n |B|=0 |E|=0 |C|=0 |BE|=0 |EB|=0");
}

TEST(UnfoldBehaviour, OnlyCutOffsWarn) {
  NetBuilder<PetriNet> b;
  Place* p = b.place("p", 1);
  b.transition("t", {p}, {p});
  EXPECT_EQ(unfold(b, defaults()), "\nWarning: the prefix contains no non-cut-off events\n");
  EXPECT_EQ(statistics(b), "\n |B|=2 |E|=1 |C|=1 |BE|=1 |EB|=1");
  EXPECT_TRUE(b.prefix.events[0]->correspondent.isInitialState());
}

TEST(UnfoldBehaviour, UnsafeNetsAreRejectedWithTheRunToTheSecondToken) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  {
    NetBuilder<PetriNet> b;
    b.place("p", 2);
    EXPECT_EQ(unfold(b, defaults(), false), "\nError: the net is not safe, place p; trace:\n\n");
  }
  {
    NetBuilder<PetriNet> b;
    Place* a = b.place("a", 1);
    Place* c = b.place("b", 1);
    b.transition("t", {a}, {c});
    EXPECT_EQ(unfold(b, defaults(), false), "\nError: the net is not safe, place b; trace:\nt\n");
    EXPECT_TRUE(b.prefix.events.empty());
  }
  {
    NetBuilder<PetriNet> b;
    Place* q = b.place("q");
    b.transition("t", {}, {q});
    EXPECT_EQ(unfold(b, defaults(), false),
              "\nWarning: the initial marking is empty\n\nError: the net is not safe, place q; trace:\nt, t\n");
  }
  for (Search search : {Search::Closure, Search::Relation, Search::Plain})
    for (int threads : {1, 2}) {
      SCOPED_TRACE("search " + std::to_string(static_cast<int>(search)) + ", " + std::to_string(threads) + " threads");
      // Two concurrent events each put one token on r: no local configuration sees both.
      {
        NetBuilder<PetriNet> b;
        Place* p = b.place("p", 1);
        Place* q = b.place("q", 1);
        Place* r = b.place("r");
        b.transition("t1", {p}, {r});
        b.transition("t2", {q}, {r});
        EXPECT_EQ(unfold(b, optionsFor(search, threads), false), "\nError: the net is not safe, place r; trace:\nt1, t2\n");
      }
      // t1 takes the token that h put on p and puts one back, while t2, of the same batch,
      // adds another. t2 also sees h's token; t1 comes first in the batch and sees t2's.
      {
        NetBuilder<PetriNet> b;
        Place* a = b.place("a", 1);
        Place* c = b.place("b", 1);
        Place* p = b.place("p");
        Place* d = b.place("d");
        Place* x = b.place("x");
        b.transition("t1", {p}, {p, x});
        b.transition("t2", {d}, {p});
        b.transition("h", {a}, {p});
        b.transition("k", {c}, {d});
        EXPECT_EQ(unfold(b, optionsFor(search, threads), false),
                  "\nError: the net is not safe, place p; trace:\nh, k, t1, t2\n");
      }
      // g takes the initial token of p, f puts one back, e (of a later batch than f, after g)
      // another: the second token lies just deeper than the one consumed in e's past.
      {
        NetBuilder<PetriNet> b;
        Place* p = b.place("p", 1);
        Place* s = b.place("s", 1);
        Place* a = b.place("a", 1);
        Place* q = b.place("q");
        Place* r = b.place("r");
        Place* c = b.place("b");
        b.transition("g", {p, s}, {q, r});
        b.transition("f", {q}, {p});
        b.transition("k", {a}, {c});
        b.transition("e", {r, c}, {p});
        EXPECT_EQ(unfold(b, optionsFor(search, threads), false),
                  "\nError: the net is not safe, place p; trace:\ng, k, f, e\n");
      }
    }
}

// x+ and y+ lead by the dummies d1 and d2 to the same marking with local configurations
// of equal size; {x+, d1} is below {y+, d2} by the Parikh vector.
template <class Net>
NetBuilder<Net> diamondWithDummies() {
  NetBuilder<Net> b;
  Signal *x = nullptr, *y = nullptr, *z = nullptr, *d = nullptr;
  if constexpr (Net::isStg) {
    x = b.signal("x", SignalOutput);
    y = b.signal("y", SignalOutput);
    z = b.signal("z", SignalOutput);
    d = b.signal("d", SignalDummy);
  }
  Place* p0 = b.place("p0", 1);
  Place* p1 = b.place("p1");
  Place* p2 = b.place("p2");
  Place* p3 = b.place("p3");
  b.transition("x+", {p0}, {p1}, x);
  b.transition("y+", {p0}, {p2}, y);
  b.transition("d1", {p1}, {p3}, d);
  b.transition("d2", {p2}, {p3}, d);
  b.transition("z", {p3}, {p0}, z);
  return b;
}

TEST(UnfoldBehaviour, DummyEventsOfStgsAreCutOffsOnlyWhenAllowed) {
  auto stg = diamondWithDummies<Stg>();
  EXPECT_EQ(unfold(stg, defaults()), "");
  EXPECT_EQ(statistics(stg), "\n |B|=7 |E|=6 |C|=2 |BE|=6 |EB|=6");
  for (const Event* e : stg.prefix.events)
    if (eventIsCutOff(e)) {
      EXPECT_EQ(e->transition->name, "z");
    }

  UnfoldOptions allowed = defaults();
  allowed.dummy_cutoffs = 1;
  auto permissive = diamondWithDummies<Stg>();
  EXPECT_EQ(unfold(permissive, allowed), "");
  EXPECT_EQ(statistics(permissive), "\n |B|=6 |E|=5 |C|=2 |BE|=5 |EB|=5");

  // A plain net has no dummy signals: the same net cuts at d2 by default.
  auto net = diamondWithDummies<PetriNet>();
  EXPECT_EQ(unfold(net, defaults()), "");
  EXPECT_EQ(statistics(net), statistics(permissive));
}

TEST(UnfoldBehaviour, ACycleOfDummiesIsAnErrorRatherThanAnEndlessPrefix) {
  NetBuilder<Stg> b;
  Signal* d = b.signal("d", SignalDummy);
  Signal* x = b.signal("x", SignalOutput);
  Place* p = b.place("p", 1);
  Place* q = b.place("q");
  b.transition("x+", {p}, {q}, x);
  b.transition("d", {q}, {q}, d);
  EXPECT_EQ(unfold(b, defaults(), false),
            "\nError: the unfolding is infinite: a cycle of dummy transitions is reachable; trace:\nx+, d\n");
}

// t1 and t2 both lead from p0 to p1.
NetBuilder<PetriNet> twoWays() {
  NetBuilder<PetriNet> b;
  Place* p0 = b.place("p0", 1);
  Place* p1 = b.place("p1");
  b.transition("t1", {p0}, {p1});
  b.transition("t2", {p0}, {p1});
  b.transition("t3", {p1}, {p0});
  return b;
}

TEST(UnfoldBehaviour, EqualSizesNeverCorrespondUnderOrderOne) {
  auto third = twoWays();
  unfold(third, optionsFor(Search::Closure, 1, 3));
  EXPECT_EQ(statistics(third), "\n |B|=4 |E|=3 |C|=2 |BE|=3 |EB|=3");
  const Event* e1 = third.prefix.events[1];
  EXPECT_EQ(e1->transition->name, "t2");
  EXPECT_EQ(e1->correspondent.event(), third.prefix.events[0]);

  auto first = twoWays();
  unfold(first, optionsFor(Search::Closure, 1, 1));
  EXPECT_EQ(statistics(first), "\n |B|=5 |E|=4 |C|=2 |BE|=4 |EB|=4");
  EXPECT_FALSE(eventIsCutOff(first.prefix.events[0]));
  EXPECT_FALSE(eventIsCutOff(first.prefix.events[1]));
}

TEST(UnfoldBehaviour, NoCutOffsDropsThemAndRenumbers) {
  auto b = twoWays();
  UnfoldOptions options = defaults();
  options.no_cutoffs = 1;
  unfold(b, options);
  EXPECT_EQ(statistics(b), "\n |B|=2 |E|=1 |C|=0 |BE|=1 |EB|=1");
  EXPECT_TRUE(checkPrefixStructure(b.prefix));
  EXPECT_EQ(b.prefix.conditions[0]->postset.size(), 1u);
}

TEST(UnfoldBehaviour, UnknownOrderIsAnError) {
  auto b = twoWays();
  EXPECT_EQ(unfold(b, optionsFor(Search::Closure, 1, 5), false), "\nError: unknown adequate order 5\n");
}

// Runs with verbosity 2 and returns what was printed on stdout.
std::string relationOutput(uint64_t seed, int32_t limit, bool statistics) {
  auto prefix = asPrefix(randomSafeNet(seed));
  UnfoldOptions options = optionsFor(Search::Relation, 2);
  options.conc_rel_size = limit;
  options.print_statistics = statistics;
  unsigned saved = verbosity;
  verbosity = 2;
  testing::internal::CaptureStdout();
  captureStderr([&] { EXPECT_TRUE(unfoldNet(*prefix, options)); });
  verbosity = saved;
  return testing::internal::GetCapturedStdout();
}

size_t occurrences(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

TEST(UnfoldBehaviour, TheRelationIsAbandonedOnceWithAMessage) {
  const std::string message = "\n The concurrency relation is abandoned\n";
  EXPECT_EQ(occurrences(relationOutput(7, 0, false), message), 0u);
  EXPECT_EQ(occurrences(relationOutput(7, 40000, false), message), 1u);
  EXPECT_EQ(occurrences(relationOutput(7, 6, false), message), 1u);
}

// The edge count of the relation is the number of concurrent pairs of conditions that
// are not postsets of cut-offs.
TEST(UnfoldBehaviour, RelationSizeCountsEveryConcurrentPair) {
  for (uint64_t seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::string out = relationOutput(seed, 40000, true);
    unsigned nodes = 0;
    unsigned long long edges = 0;
    size_t at = out.find("\nConcurrency relation: ");
    ASSERT_NE(at, std::string::npos) << out;
    ASSERT_EQ(std::sscanf(out.c_str() + at, "\nConcurrency relation: |V|=%u |E|=%llu", &nodes, &edges), 2);
    auto prefix = asPrefix(randomSafeNet(seed));
    captureStderr([&] { unfoldNet(*prefix, optionsFor(Search::Closure, 1)); });
    std::vector<const Condition*> kept;
    for (const Condition* c : prefix->conditions)
      if (!c->producer || !eventIsCutOff(c->producer)) kept.push_back(c);
    EXPECT_EQ(nodes, kept.size());
    unsigned long long pairs = 0;
    for (const Condition* a : kept)
      for (const Condition* c : kept)
        if (a->index < c->index && conditionsConcurrent(a, c)) ++pairs;
    EXPECT_EQ(edges, pairs);
  }
}

// A summary from the transitions of each Foata level, the first level first.
ConfigurationSummary summary(std::vector<std::vector<uint32_t>> levels, std::vector<std::vector<uint32_t>> causal = {}) {
  ConfigurationSummary s;
  for (uint64_t depth = 1; depth <= levels.size(); ++depth)
    for (uint32_t t : levels[depth - 1]) {
      s.parikh.push_back(t);
      s.foata.push_back(depth << 32 | t);
      ++s.size;
    }
  std::sort(s.parikh.begin(), s.parikh.end());
  std::sort(s.foata.begin(), s.foata.end());
  s.causal = std::move(causal);
  return s;
}

// Both directions, so that the result is antisymmetric.
void expectBelow(int order, const ConfigurationSummary& a, const ConfigurationSummary& b) {
  EXPECT_LT(compareConfigurations(order, a, b), 0);
  EXPECT_GT(compareConfigurations(order, b, a), 0);
}

TEST(UnfoldOrders, SizeComesFirstInEveryOrder) {
  ConfigurationSummary small = summary({{9}}), large = summary({{0}, {1}});
  for (int order = 1; order <= 4; ++order) expectBelow(order, small, large);
}

TEST(UnfoldOrders, ParikhVectorsCompareAsSortedSequences) {
  // {t1, t3} against {t2, t2}: the sequence 1 3 is below 2 2.
  ConfigurationSummary a = summary({{1}, {3}}), b = summary({{2}, {2}});
  EXPECT_EQ(compareConfigurations(1, a, b), 0);
  expectBelow(2, a, b);
  expectBelow(3, a, b);
  expectBelow(4, a, b);
  expectBelow(2, summary({{0, 0, 5}}), summary({{0, 1, 1}}));
}

TEST(UnfoldOrders, FoataLevelsBreakParikhTies) {
  // Same multiset {1, 2, 3}; a shorter first level is below a longer one.
  ConfigurationSummary narrow = summary({{1}, {2, 3}}), wide = summary({{1, 2}, {3}});
  EXPECT_EQ(compareConfigurations(2, narrow, wide), 0);
  expectBelow(3, narrow, wide);
  // Levels of equal length compare by their transitions.
  expectBelow(3, summary({{1, 3}, {2}}), summary({{2, 3}, {1}}));
  EXPECT_EQ(compareConfigurations(3, summary({{1, 3}, {2}}), summary({{3, 1}, {2}})), 0);
}

TEST(UnfoldOrders, OrderFourRefinesThreeByCausalStructure) {
  ConfigurationSummary a = summary({{1}, {2}}, {{1, 1}, {2, 2, 0, 2, 1}});
  ConfigurationSummary b = summary({{1}, {2}}, {{1, 1}, {2, 2, 1, 2, 1}});
  EXPECT_EQ(compareConfigurations(3, a, b), 0);
  expectBelow(4, a, b);
  EXPECT_EQ(compareConfigurations(4, a, a), 0);
}

}  // namespace
}  // namespace nurex::test
