// Differential tests on seeded random nets: the prefix represents exactly the reachable
// markings found by the explicit-state checker, for every order, search method and thread
// count; unsafe nets are rejected with a run that really puts two tokens on the place.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>

#include "model/checks.h"
#include "model/formats/g_reader.h"
#include "support/sanitizer.h"
#include "support/capture.h"
#include "support/net_text.h"
#include "support/random_net.h"
#include "support/state_space.h"
#include "unit/unfold/unfold_test_support.h"
#include "unfold/worker_pool.h"

namespace nurex::test {
namespace {

// The marked places after the configuration made of the given events.
PlaceSet configurationPlaces(const NodeList<Condition>& conditions, const std::vector<Event*>& configuration) {
  std::vector<int> tokens(conditions.size(), 0);
  for (const Condition* c : conditions)
    if (!c->producer) tokens[c->index] = 1;
  for (const Event* e : configuration) {
    for (const Condition* c : e->preset) --tokens[c->index];
    for (const Condition* c : e->postset) ++tokens[c->index];
  }
  PlaceSet places;
  for (const Condition* c : conditions)
    if (tokens[c->index] > 0) places.push_back(c->place->index);
  std::sort(places.begin(), places.end());
  return places;
}

std::vector<Event*> unionOfLocalConfigurations(const std::vector<Event*>& maximal) {
  std::vector<Event*> out;
  for (Event* f : maximal)
    for (Event* g : localConfiguration(f))
      if (std::find(out.begin(), out.end(), g) == out.end()) out.push_back(g);
  return out;
}

// Each cut-off's correspondent reaches the same marking with no larger configuration.
void checkCorrespondents(const NodeList<Condition>& conditions, const NodeList<Event>& events) {
  for (Event* e : events) {
    if (!eventIsCutOff(e)) continue;
    std::vector<Event*> mine = localConfiguration(e);
    std::vector<Event*> theirs = unionOfLocalConfigurations(e->correspondent.correspondents());
    EXPECT_LE(theirs.size(), mine.size());
    EXPECT_EQ(configurationPlaces(conditions, theirs), configurationPlaces(conditions, mine)) << "event " << e->index;
  }
}

struct Variant {
  UnfoldOptions options;
  int group;  // variants of one group (from 0) must give the same prefix; -1 for none
};

// Unfolds the net under every variant: each prefix is well formed, each cut-off's
// correspondent reaches its marking, the prefix represents exactly the reachable markings,
// and the variants of a group agree. The sizes of the prefixes come back.
template <class Make>
std::vector<size_t> unfoldVariants(Make make, const std::vector<Variant>& variants) {
  StateSpace space = exploreStateSpace(*make());
  EXPECT_TRUE(space.safe && space.complete);
  std::vector<size_t> sizes;
  std::map<int, std::string> signatures;
  for (const Variant& v : variants) {
    SCOPED_TRACE("variant " + std::to_string(sizes.size()));
    auto prefix = asPrefix(make());
    captureStderr([&] { EXPECT_TRUE(unfoldNet(*prefix, v.options)); });
    EXPECT_TRUE(checkPrefixStructure(*prefix));
    checkCorrespondents(prefix->conditions, prefix->events);
    std::set<PlaceSet> markings;
    EXPECT_TRUE(prefixPlaceSets(prefix->conditions, prefix->events, markings));
    EXPECT_EQ(markings, space.placeSets());
    sizes.push_back(prefix->events.size());
    if (v.group < 0) continue;
    std::string signature = prefixSignature(prefix->conditions, prefix->events);
    EXPECT_EQ(signatures.emplace(v.group, signature).first->second, signature);
  }
  return sizes;
}

// Orders 0 and 1 give prefixes that grow exponentially with concurrency, hence nets of two
// components for the comparison of orders.
RandomNetOptions smallNets() {
  RandomNetOptions options;
  options.maxComponents = 2;
  options.maxPlacesPerComponent = 4;
  options.maxTransitions = 8;
  return options;
}

TEST(UnfoldRandom, EverySearchThreadCountOrderAndCorrespondentRuleGivesACompletePrefix) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  std::vector<Variant> searches;
  for (auto [search, threads] : {std::pair{Search::Closure, 1}, {Search::Closure, 2}, {Search::Relation, 1},
                                 {Search::Relation, 3}, {Search::Plain, 2}})
    searches.push_back({optionsFor(search, threads), 0});
  for (uint64_t seed = 0; seed < sizedForBuild(200); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    unfoldVariants([&] { return randomSafeNet(seed); }, searches);
  }
  // Order 3 is already total on the configurations of a safe net, so order 4 gives the same
  // prefix; non-local correspondents keep it complete and no larger.
  std::vector<Variant> orders;
  for (int order = 0; order <= 4; ++order) orders.push_back({optionsFor(Search::Closure, 2, order), order >= 3 ? 0 : -1});
  for (int order : {0, 3}) {
    orders.push_back({optionsFor(Search::Closure, 2, order), -1});
    orders.back().options.non_local_correspondents = 1;
  }
  for (uint64_t seed = 300; seed < 300 + sizedForBuild(100); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::vector<size_t> sizes = unfoldVariants([&] { return randomSafeNet(seed, smallNets()); }, orders);
    EXPECT_LE(sizes[5], sizes[0]);
    EXPECT_LE(sizes[6], sizes[3]);
  }
}

// Marked places that no transition touches stay in every cut: past 128 of them the cuts
// are held as trees, which the searches read through the map instead of a flat copy.
TEST(UnfoldRandom, LargeCutsGiveACompletePrefix) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  auto padded = [](uint64_t seed) {
    std::unique_ptr<PetriNet> net = randomSafeNet(seed);
    for (int i = 0; i < 150; ++i) {
      auto* p = net->places.add(new Place);
      p->name = "idle" + std::to_string(i);
      p->tokens = 1;
    }
    return net;
  };
  std::vector<Variant> variants;
  for (Search search : {Search::Closure, Search::Plain, Search::Relation})
    for (int keepCuts : {0, 1}) {
      variants.push_back({optionsFor(search, 2), 0});
      variants.back().options.keep_cuts = keepCuts;
    }
  for (uint64_t seed = 500; seed < 540; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    unfoldVariants([&] { return padded(seed); }, variants);
  }
}

// Cuts of candidates merged from the kept cuts of their producers describe them as the
// walks over what they add do (Debug builds check each candidate): the same prefix, on nets
// whose cuts are trees that change all over, with one and two threads. Muller pipelines are
// where merging pays; wide compositions of state machines add conflicts.
TEST(UnfoldRandom, KeptCutsGiveTheSamePrefix) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  auto pipeline = [](int stages) { return parseStgText(mullerPipelineText(stages), "pipeline.g", nullptr); };
  // Long chains of small components with local choices: cuts past the array limit, joins
  // of up to three producers, and prefixes of a few thousand events.
  RandomNetOptions wide;
  wide.maxComponents = 300;
  wide.maxPlacesPerComponent = 2;
  wide.maxTransitions = 400;
  wide.maxSynchronised = 3;
  wide.window = 3;
  wide.freeArcsPercent = 0;
  auto signatureOf = [](auto net, int keepCuts, int threads) {
    auto prefix = asPrefix(std::move(net));
    UnfoldOptions options = optionsFor(Search::Closure, threads);
    options.keep_cuts = keepCuts;
    captureStderr([&] { EXPECT_TRUE(unfoldNet(*prefix, options)); });
    return prefixSignature(prefix->conditions, prefix->events);
  };
  // Cuts are kept from the start (1), or once the walks have shown to cost (-1): on 120
  // stages that happens part-way, with the earlier events' cuts never kept.
  for (int stages : {45, 120}) {
    SCOPED_TRACE(std::to_string(stages) + " stages");
    std::string reference = signatureOf(pipeline(stages), 0, 1);
    EXPECT_EQ(signatureOf(pipeline(stages), 1, 1), reference);
    EXPECT_EQ(signatureOf(pipeline(stages), 1, 2), reference);
    EXPECT_EQ(signatureOf(pipeline(stages), -1, 2), reference);
  }
  for (uint64_t seed = 2000; seed < 2012; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::string reference = signatureOf(randomSafeNet(seed, wide), 0, 1);
    EXPECT_EQ(signatureOf(randomSafeNet(seed, wide), 1, 1), reference);
    EXPECT_EQ(signatureOf(randomSafeNet(seed, wide), 1, 2), reference);
  }
}

// Larger nets, whose relation rows span several words, compared between the methods only.
TEST(UnfoldRandom, LargerNetsGiveTheSamePrefixForEverySearch) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  RandomNetOptions options;
  options.maxComponents = 5;
  options.maxPlacesPerComponent = 6;
  options.maxTransitions = 20;
  options.freeArcsPercent = 0;
  uint64_t events = 0;
  for (uint64_t seed = 1000; seed < 1040; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::string reference;
    for (Search search : {Search::Closure, Search::Relation, Search::Plain}) {
      auto prefix = asPrefix(randomSafeNet(seed, options));
      captureStderr([&] { ASSERT_TRUE(unfoldNet(*prefix, optionsFor(search, 2))); });
      std::string signature = prefixSignature(prefix->conditions, prefix->events);
      if (reference.empty()) {
        reference = signature;
        events += prefix->events.size();
      }
      EXPECT_EQ(signature, reference) << "search " << static_cast<int>(search);
    }
  }
  EXPECT_GT(events, 40u * 100);
}

// The transitions named in a trace.
std::vector<const Transition*> traceTransitions(const PetriNet& net, const std::string& trace) {
  std::vector<const Transition*> run;
  size_t at = 0;
  while (at < trace.size()) {
    size_t end = trace.find(", ", at);
    if (end == std::string::npos) end = trace.size();
    std::string name = trace.substr(at, end - at);
    for (const Transition* t : net.transitions)
      if (t->name == name) run.push_back(t);
    at = end + 2;
  }
  return run;
}

// Free nets are mostly unsafe within a step or two; state machines with an extra arc or two
// become so deeper in the prefix, where the scans by place skip most of their lists.
TEST(UnfoldRandom, UnsafeNetsAreRejectedWithARunToTwoTokens) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  int unsafe = 0, deep = 0;
  for (uint32_t extraArcs : {0u, 1u, 2u}) {
    RandomNetOptions options;
    options.onlySafe = false;
    options.extraArcs = extraArcs;
    for (uint64_t seed = 0; seed < sizedForBuild(300); ++seed) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", extra arcs " + std::to_string(extraArcs));
      auto net = randomSafeNet(seed, options);
      StateSpace space = exploreStateSpace(*net, {.stateLimit = 3000});
      auto prefix = asPrefix(randomSafeNet(seed, options));
      bool done = true;
      std::string err = captureStderr([&] { done = unfoldNet(*prefix, optionsFor(Search::Closure, 2)); });
      if (space.safe) {
        ASSERT_TRUE(done) << err;
        std::set<PlaceSet> markings;
        ASSERT_TRUE(prefixPlaceSets(prefix->conditions, prefix->events, markings));
        EXPECT_EQ(markings, space.placeSets());
        continue;
      }
      ++unsafe;
      ASSERT_FALSE(done);
      // The scan by place skips conditions and stops its walks early by depth; it must find
      // the same second token, as must the relation, whatever the number of threads.
      for (Search search : {Search::Closure, Search::Relation, Search::Plain})
        for (int threads : {1, 2}) {
          auto again = asPrefix(randomSafeNet(seed, options));
          EXPECT_EQ(captureStderr([&] { unfoldNet(*again, optionsFor(search, threads)); }), err)
              << "search " << static_cast<int>(search) << ", " << threads << " threads";
        }
      const std::string head = "\nError: the net is not safe, place ";
      ASSERT_EQ(err.compare(0, head.size(), head), 0) << err;
      size_t semicolon = err.find("; trace:\n");
      ASSERT_NE(semicolon, std::string::npos);
      std::string place = err.substr(head.size(), semicolon - head.size());
      std::string trace = err.substr(semicolon + 9, err.size() - semicolon - 10);
      std::vector<const Transition*> run = traceTransitions(*net, trace);
      deep += run.size() >= 4;
      TokenVector marking;
      ASSERT_TRUE(replayRun(*net, run, marking)) << trace;
      bool twice = false;
      for (const Place* p : net->places)
        if (p->name == place) twice = marking[p->index] >= 2;
      EXPECT_TRUE(twice) << err;
    }
  }
  EXPECT_GT(unsafe, static_cast<int>(sizedForBuild(400)));
  EXPECT_GT(deep, static_cast<int>(sizedForBuild(120)));
}

// Whether some reachable marking lies on a cycle of dummy transitions.
bool reachableDummyCycle(const StateSpace& space) {
  auto dummy = [](const Transition* t) { return t->signal && t->signal->kind == SignalDummy; };
  for (uint32_t start = 0; start < space.size(); ++start)
    for (auto [t, next] : space.successors[start]) {
      if (!dummy(t)) continue;
      std::vector<uint32_t> back = space.closure({next}, dummy);
      if (std::binary_search(back.begin(), back.end(), start)) return true;
    }
  return false;
}

TEST(UnfoldRandom, DummiesOfStgsAreNoCutOffsUnlessAllowed) {
  int cycles = 0;
  for (uint64_t seed = 0; seed < 150; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    auto stg = randomSafeStg(seed);
    StateSpace space = exploreStateSpace(*stg);
    bool cycle = reachableDummyCycle(space);
    cycles += cycle;
    UnfoldOptions options = optionsFor(Search::Closure, 1);
    auto prefix = asPrefix(randomSafeStg(seed));
    bool done = false;
    std::string err = captureStderr([&] { done = unfoldNet(*prefix, options); });
    EXPECT_EQ(done, !cycle) << err;
    if (cycle) {
      EXPECT_NE(err.find("a cycle of dummy transitions is reachable; trace:\n"), std::string::npos) << err;
    }
    if (done) {
      for (const Event* e : prefix->events)
        if (eventIsCutOff(e)) {
          EXPECT_NE(e->transition->signal->kind, SignalDummy);
        }
      std::set<PlaceSet> markings;
      ASSERT_TRUE(prefixPlaceSets(prefix->conditions, prefix->events, markings));
      EXPECT_EQ(markings, space.placeSets());
    }
    options.dummy_cutoffs = 1;
    unfoldVariants([&] { return randomSafeStg(seed); }, {{options, -1}});
  }
  EXPECT_GT(cycles, 5);
}

}  // namespace
}  // namespace nurex::test
