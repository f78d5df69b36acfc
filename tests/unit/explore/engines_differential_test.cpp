// Differential test of the two engines: on every benchmark `.g` and on seeded random nets and
// STGs (written as `.g`), the prefix engine and the explicit-state engine each run to
// completion. Where both answer they agree on the verdict and on the length of minimum
// witnesses; where the prefix engine says more than a verdict (an error or a warning), the
// explicit engine must have declined, so that a race never changes the exit status.
#include <gtest/gtest.h>

#include <dirent.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "explore/explore.h"
#include "model/formats/g_reader.h"
#include "model/formats/writers.h"
#include "support/capture.h"
#include "support/process.h"
#include "support/random_net.h"
#include "support/sanitizer.h"
#include "support/state_space.h"
#include "unfold/g_unfolding.h"
#include "unit/verify/random_stg.h"
#include "unit/verify/reach_oracle.h"
#include "verify/conflicts.h"
#include "verify/deadlock.h"
#include "verify/normalcy.h"
#include "verify/reachability.h"

namespace nurex::test {
namespace {

struct PrefixAnswer {
  uint32_t status = 0;
  bool found = false;
  uint64_t cost = 0;
  std::string err;
};

template <class Unit>
std::unique_ptr<SearchModeBase> checkerFor(const Unit& unit, int mode, const OptionMap& options,
                                           const std::string& predicate) {
  if (mode == 1) return makeDeadlockMode(unit, options);
  if (mode == 2 || mode == 3) return makeReachabilityChecker(unit, options, predicate, mode == 3);
  if constexpr (std::is_same_v<Unit, StgPrefix>) {
    if (mode == 4) return makeUscMode(unit, options);
    if (mode == 5) return makeCscMode(unit, options);
    return makeNormalcyMode(unit, options);
  }
  return nullptr;
}

// The prefix engine as the driver runs it on `.g` input.
PrefixAnswer prefixAnswer(const std::string& file, int mode, bool minimal, const std::string& predicate) {
  PrefixAnswer answer;
  answer.err = quietly([&] {
    LoadedUnit loaded;
    UnfoldOptions unfolding = reUnfoldingOptions();
    unfolding.conc_rel_size = 0;
    OptionMap options;
    options["mode"] = mode;
    options["min_cost"] = minimal;
    options["solver"] = 1;
    if (readUnfoldedG(file, mode <= 2, unfolding, true, loaded)) {
      std::unique_ptr<SearchModeBase> checker =
          loaded.petriNetPrefix ? checkerFor(*loaded.petriNetPrefix, mode, options, predicate)
                                : checkerFor(*loaded.stgPrefix, mode, options, predicate);
      checker->run();
      answer.found = !checker->result_list().empty();
      if (answer.found) answer.cost = checker->result_list()[0]->cost();
    }
    answer.status = raiseStatus(0);
  });
  return answer;
}

ExploreResult explicitAnswer(const std::string& file, int mode, bool minimal, const std::string& predicate) {
  ExploreResult result;
  quietly([&] {
    bool hasSignals = false;
    std::unique_ptr<Stg> net = readStgText(file, &hasSignals);
    ASSERT_NE(net, nullptr);
    ExploreParams params;
    params.question = static_cast<ExploreQuestion>(mode - 1);
    params.minimal = minimal;
    params.memoryBudget = uint64_t{64} << 20;
    params.property = predicate;
    result = exploreNet(*net, hasSignals, params);
    // The witness is a run of the net, and a deadlock's ends in a dead marking.
    for (const auto& run : result.traces) {
      std::vector<uint32_t> indices;
      for (const Transition* t : run) indices.push_back(t->index);
      TokenVector marking;
      ASSERT_TRUE(replayRun(*net, indices, marking));
      if (mode == 1) {
        for (const Transition* t : net->transitions) EXPECT_FALSE(isEnabled(t, marking)) << t->name;
      }
    }
  });
  return result;
}

struct Tally {
  int answered = 0, declined = 0, found = 0;
  std::map<std::string, int> why;
};

std::ostream& operator<<(std::ostream& out, const Tally& t) {
  out << t.answered << " answered (" << t.found << " found), " << t.declined << " declined:";
  for (const auto& [why, n] : t.why) out << " " << why << " " << n << ";";
  return out;
}

// `shorterAllowed`: with dummies, a state that only configurations ending in a dummy event
// reach may be out of the prefix engine's reach, whose shortest pair is then longer.
void compareEngines(const std::string& file, int mode, bool minimal, const std::string& predicate, bool shorterAllowed,
                    Tally& tally) {
  SCOPED_TRACE(file + " mode " + std::to_string(mode) + (minimal ? " -f" : "") + " " + predicate);
  PrefixAnswer p = prefixAnswer(file, mode, minimal, predicate);
  ExploreResult x = explicitAnswer(file, mode, minimal, predicate);
  if (x.verdict == ExploreVerdict::Declined) {
    ++tally.declined;
    ++tally.why[x.why];
    return;
  }
  ++tally.answered;
  tally.found += x.verdict == ExploreVerdict::Found;
  ASSERT_EQ(p.status, StatusClean) << "the explicit engine answered where the prefix engine reports:" << p.err;
  EXPECT_EQ(p.found, x.verdict == ExploreVerdict::Found);
  if (!minimal || !p.found || x.verdict != ExploreVerdict::Found) return;
  uint64_t cost = 0;
  for (const auto& run : x.traces) cost += run.size();
  if (shorterAllowed) EXPECT_LE(cost, p.cost);
  else EXPECT_EQ(cost, p.cost);
}

bool hasDummyTransitions(const std::string& file) {
  bool hasSignals = false;
  std::unique_ptr<Stg> net;
  quietly([&] { net = readStgText(file, &hasSignals); });
  if (!net || !hasSignals) return false;
  for (const Transition* t : net->transitions)
    if (!t->signal || t->signal->kind == SignalDummy) return true;
  return false;
}

void compareAllModes(const std::string& file, bool isStg, Tally& tally) {
  bool dummies = hasDummyTransitions(file);
  for (bool minimal : {false, true}) {
    compareEngines(file, 1, minimal, "", false, tally);
    if (!isStg) continue;
    for (int mode : {4, 5}) compareEngines(file, mode, minimal, "", dummies, tally);
  }
  if (isStg) compareEngines(file, 6, false, "", false, tally);
}

std::vector<std::string> gFilesIn(const std::string& dir) {
  std::vector<std::string> files;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* entry = readdir(d)) {
      std::string name = entry->d_name;
      if (name.size() > 2 && name.compare(name.size() - 2, 2, ".g") == 0) files.push_back(dir + "/" + name);
    }
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  return files;
}

TEST(EnginesDifferential, Benchmarks) {
  Tally tally;
  for (const std::string& file : gFilesIn(std::string(NUREX_BENCHMARKS) + "/nets")) {
    bool isStg = false;
    quietly([&] { readStgText(file, &isStg); });
    compareAllModes(file, isStg, tally);
  }
  // The large nets have prefixes of tens of thousands of events: deadlocks only.
  for (const char* name : {"key_4", "mmgt_4"})
    compareEngines(std::string(NUREX_BENCHMARKS) + "/large/" + name + ".g", 1, false, "", false, tally);
  EXPECT_GT(tally.answered, 250) << tally;
  EXPECT_GT(tally.found, 30) << tally;
}

// A Petri net as `.g`: every transition a dummy.
void writePetriNetText(const PetriNet& net, const std::string& file) {
  std::ofstream out(file);
  out << ".dummy";
  for (const Transition* t : net.transitions) out << " " << t->name;
  out << "\n.graph\n";
  for (const Transition* t : net.transitions) {
    for (const Place* p : t->preset) out << p->name << " " << t->name << "\n";
    for (const Place* p : t->postset) out << t->name << " " << p->name << "\n";
  }
  for (const Place* p : net.places)
    if (p->preset.empty() && p->postset.empty()) out << p->name << "\n";
  out << ".marking {";
  for (const Place* p : net.places)
    if (p->tokens) out << " " << p->name;
  out << " }\n.end\n";
}

std::vector<std::string> predicatesFor(const std::string& file, uint64_t seed, bool stg) {
  bool hasSignals = false;
  std::unique_ptr<Stg> net;
  quietly([&] { net = readStgText(file, &hasSignals); });
  NetView view{net.get(), hasSignals ? net.get() : nullptr, std::vector<bool>(net->transitions.size(), true)};
  PredicateGenerator generator(view, seed);
  std::vector<std::string> texts;
  for (int k = 0; k < (stg ? 2 : 3); ++k) texts.push_back(generator.make({}).text);
  return texts;
}

TEST(EnginesDifferential, RandomNetsAndStgs) {
  std::string dir = makeTempDirectory();
  ASSERT_FALSE(dir.empty());
  Tally nets, consistent, loose;
  for (uint64_t seed = 1; seed <= sizedForBuild(120); ++seed) {
    std::string net = dir + "/net" + std::to_string(seed) + ".g";
    writePetriNetText(*randomSafeNet(seed), net);
    for (bool minimal : {false, true}) compareEngines(net, 1, minimal, "", false, nets);
    for (const std::string& p : predicatesFor(net, seed, false)) compareEngines(net, 2, true, p, false, nets);

    RandomStgOptions shape;
    shape.dummyPercent = seed % 3 == 0 ? 0 : 20;
    std::string stg = dir + "/stg" + std::to_string(seed) + ".g";
    ASSERT_TRUE(saveStg(*randomConsistentStg(seed, shape), stg));
    compareAllModes(stg, true, consistent);
    for (const std::string& p : predicatesFor(stg, seed, true)) compareEngines(stg, 3, true, p, true, consistent);

    // Random labels make most of these inconsistent: the explicit engine must decline them.
    std::string labelled = dir + "/labelled" + std::to_string(seed) + ".g";
    ASSERT_TRUE(saveStg(*randomSafeStg(seed), labelled));
    for (int mode : {1, 5}) compareEngines(labelled, mode, false, "", true, loose);
  }
  int seeds = static_cast<int>(sizedForBuild(120));
  EXPECT_GT(nets.found, seeds) << nets;
  EXPECT_GT(consistent.answered, seeds * 5) << consistent;
  EXPECT_GT(loose.declined, seeds / 2) << loose;
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace nurex::test
