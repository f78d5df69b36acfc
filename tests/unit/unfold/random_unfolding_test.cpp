// Differential tests on seeded random nets: the prefix represents exactly the reachable
// markings found by the explicit-state checker, for every order, search method and thread
// count; unsafe nets are rejected with a run that really puts two tokens on the place.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "model/checks.h"
#include "model/formats/g_reader.h"
#include "support/sanitizer.h"
#include "support/capture.h"
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

template <class Net>
std::string unfoldSignature(std::unique_ptr<Net> net, const UnfoldOptions& options, std::set<PlaceSet>* markings) {
  auto prefix = asPrefix(std::move(net));
  EXPECT_TRUE(unfoldNet(*prefix, options));
  EXPECT_TRUE(checkPrefixStructure(*prefix));
  checkCorrespondents(prefix->conditions, prefix->events);
  if (markings) {
    EXPECT_TRUE(prefixPlaceSets(prefix->conditions, prefix->events, *markings));
  }
  return prefixSignature(prefix->conditions, prefix->events);
}

TEST(UnfoldRandom, SameCompletePrefixForEverySearchAndThreadCount) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  struct Variant {
    Search search;
    int threads;
  };
  const Variant variants[] = {
      {Search::Closure, 1}, {Search::Closure, 2}, {Search::Relation, 1}, {Search::Relation, 3}, {Search::Plain, 2}};
  for (uint64_t seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    StateSpace space = exploreStateSpace(*randomSafeNet(seed));
    ASSERT_TRUE(space.safe && space.complete);
    std::string reference;
    for (const Variant& v : variants) {
      std::set<PlaceSet> markings;
      std::string signature;
      std::string err = captureStderr(
          [&] { signature = unfoldSignature(randomSafeNet(seed), optionsFor(v.search, v.threads), &markings); });
      EXPECT_EQ(markings, space.placeSets());
      if (reference.empty()) reference = signature;
      EXPECT_EQ(signature, reference) << "search " << static_cast<int>(v.search) << ", " << v.threads << " threads";
      (void)err;
    }
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
  for (uint64_t seed = 500; seed < 540; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    StateSpace space = exploreStateSpace(*padded(seed));
    ASSERT_TRUE(space.safe && space.complete);
    std::string reference;
    for (Search search : {Search::Closure, Search::Plain, Search::Relation})
      for (int keepCuts : {0, 1}) {
        std::set<PlaceSet> markings;
        std::string signature;
        UnfoldOptions options = optionsFor(search, 2);
        options.keep_cuts = keepCuts;
        captureStderr([&] { signature = unfoldSignature(padded(seed), options, &markings); });
        EXPECT_EQ(markings, space.placeSets()) << "search " << static_cast<int>(search) << " keep " << keepCuts;
        if (reference.empty()) reference = signature;
        EXPECT_EQ(signature, reference) << "search " << static_cast<int>(search) << " keep " << keepCuts;
      }
  }
}

// Cuts of candidates merged from the kept cuts of their producers describe them as the
// walks over what they add do (Debug builds check each candidate): the same prefix, on nets
// whose cuts are trees that change all over, with one and two threads. Muller pipelines are
// where merging pays; wide compositions of state machines add conflicts.
TEST(UnfoldRandom, KeptCutsGiveTheSamePrefix) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  auto pipeline = [](int stages) {
    std::string text = ".inputs c0 c" + std::to_string(stages + 1) + "\n.outputs";
    for (int i = 1; i <= stages; ++i) text += " c" + std::to_string(i);
    text += "\n.graph\n";
    std::string marking;
    for (int i = 1; i <= stages + 1; ++i) {
      std::string p = "c" + std::to_string(i - 1), q = "c" + std::to_string(i);
      text += p + "+ " + q + "+\n" + q + "+ " + p + "-\n" + p + "- " + q + "-\n" + q + "- " + p + "+\n";
      marking += " <" + q + "-," + p + "+>";
    }
    return parseStgText(text + ".marking {" + marking + " }\n.end\n", "pipeline.g", nullptr);
  };
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

// Orders 0 and 1 give prefixes that grow exponentially with concurrency, hence nets of two
// components.
RandomNetOptions smallNets() {
  RandomNetOptions options;
  options.maxComponents = 2;
  options.maxPlacesPerComponent = 4;
  options.maxTransitions = 8;
  return options;
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

TEST(UnfoldRandom, EveryOrderGivesACompletePrefix) {
  WorkerPool::EagerSharing eager;  // the threads take part even on small nets
  for (uint64_t seed = 300; seed < 400; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    StateSpace space = exploreStateSpace(*randomSafeNet(seed, smallNets()));
    std::string third;
    for (int order = 0; order <= 4; ++order) {
      std::set<PlaceSet> markings;
      std::string signature;
      captureStderr([&] {
        signature = unfoldSignature(randomSafeNet(seed, smallNets()), optionsFor(Search::Closure, 2, order), &markings);
      });
      EXPECT_EQ(markings, space.placeSets()) << "order " << order;
      // Order 3 is already total on the configurations of a safe net.
      if (order == 3) third = signature;
      if (order == 4) {
        EXPECT_EQ(signature, third);
      }
    }
  }
}

// The transitions named in a trace, by index.
std::vector<uint32_t> traceTransitions(const PetriNet& net, const std::string& trace) {
  std::vector<uint32_t> run;
  size_t at = 0;
  while (at < trace.size()) {
    size_t end = trace.find(", ", at);
    if (end == std::string::npos) end = trace.size();
    std::string name = trace.substr(at, end - at);
    for (const Transition* t : net.transitions)
      if (t->name == name) run.push_back(t->index);
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
      StateSpace space = exploreStateSpace(*net, 3000);
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
      std::vector<uint32_t> run = traceTransitions(*net, trace);
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
bool reachableDummyCycle(const Stg& stg, const StateSpace& space) {
  auto isDummy = [&](uint32_t t) {
    const Signal* s = stg.transitions[t]->signal;
    return s && s->kind == SignalDummy;
  };
  for (uint32_t start = 0; start < space.size(); ++start) {
    std::vector<bool> seen(space.size(), false);
    std::vector<uint32_t> stack{start};
    while (!stack.empty()) {
      uint32_t s = stack.back();
      stack.pop_back();
      for (auto [t, next] : space.successors[s]) {
        if (!isDummy(t)) continue;
        if (next == start) return true;
        if (!seen[next]) {
          seen[next] = true;
          stack.push_back(next);
        }
      }
    }
  }
  return false;
}

TEST(UnfoldRandom, DummiesOfStgsAreNoCutOffsUnlessAllowed) {
  int cycles = 0;
  for (uint64_t seed = 0; seed < 150; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    auto stg = randomSafeStg(seed);
    StateSpace space = exploreStateSpace(*stg);
    bool cycle = reachableDummyCycle(*stg, space);
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
    std::set<PlaceSet> markings;
    captureStderr([&] { unfoldSignature(randomSafeStg(seed), options, &markings); });
    EXPECT_EQ(markings, space.placeSets());
  }
  EXPECT_GT(cycles, 5);
}

TEST(UnfoldRandom, NonLocalCorrespondentsKeepThePrefixCompleteAndNoLarger) {
  for (uint64_t seed = 500; seed < 580; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    StateSpace space = exploreStateSpace(*randomSafeNet(seed, smallNets()));
    for (int order : {0, 3}) {
      UnfoldOptions options = optionsFor(Search::Closure, 2, order);
      auto local = asPrefix(randomSafeNet(seed, smallNets()));
      captureStderr([&] { ASSERT_TRUE(unfoldNet(*local, options)); });
      options.non_local_correspondents = 1;
      auto global = asPrefix(randomSafeNet(seed, smallNets()));
      captureStderr([&] { ASSERT_TRUE(unfoldNet(*global, options)); });
      checkCorrespondents(global->conditions, global->events);
      EXPECT_LE(global->events.size(), local->events.size());
      std::set<PlaceSet> markings;
      ASSERT_TRUE(prefixPlaceSets(global->conditions, global->events, markings));
      EXPECT_EQ(markings, space.placeSets()) << "order " << order;
    }
  }
}

}  // namespace
}  // namespace nurex::test
