// Differential test of the verification modes on `.g` input: the prefix engine, the
// explicit-state engine and an independent answer (the verdict table on the benchmarks, the
// test's explicit-state oracle on seeded random nets and STGs) for -D, -F, -Fs, -U, -C, -N.
// Where both engines answer they agree on the verdict and on the length of minimum witnesses;
// where the prefix engine says more than a verdict (an error or a warning), the explicit
// engine must have declined, so that a race never changes the exit status. Every witness of
// either engine is replayed in the net.
#include <gtest/gtest.h>

#include <dirent.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

#include "explore/explore.h"
#include "model/formats/g_reader.h"
#include "model/formats/writers.h"
#include "support/capture.h"
#include "support/process.h"
#include "support/random_net.h"
#include "support/sanitizer.h"
#include "support/state_space.h"
#include "support/stg_states.h"
#include "support/verdicts.h"
#include "unfold/g_unfolding.h"
#include "unit/verify/random_stg.h"
#include "unit/verify/reach_oracle.h"
#include "unit/verify/stg_replay.h"
#include "verify/conflicts.h"
#include "verify/deadlock.h"
#include "verify/normalcy.h"
#include "verify/reachability.h"

namespace nurex::test {
namespace {

enum Mode { Deadlock = 1, Reach, StgReach, Usc, Csc, Normalcy };

// One `.g` file as the engines and the oracle see it: read, and unfolded once as the driver
// loads it; the oracle's facts only where the caller asks for them.
struct Subject {
  std::string file;
  bool isStg = false, dummies = false;
  std::unique_ptr<Stg> net;
  LoadedUnit loaded;
  uint32_t loadStatus = 0;
  std::string loadErr;
  bool oracle = false;
  StateSpace space;            // the net's markings (-D)
  NetView view{};              // the net's states (-F)
  std::vector<ExplicitState> states;
  bool statesComplete = false;
  StgStateFacts facts;         // counted states of a consistent STG (-U, -C, -N)
  bool factsKnown = false;
  const VerdictCells* row = nullptr;  // a benchmark's verdicts, checked independently
};

std::unique_ptr<Subject> subjectOf(const std::string& file, bool oracle = false) {
  auto s = std::make_unique<Subject>();
  s->file = file;
  s->oracle = oracle;
  quietly([&] { s->net = readStgText(file, &s->isStg); });
  EXPECT_NE(s->net, nullptr) << file;
  if (!s->net) return s;
  for (const Transition* t : s->net->transitions) s->dummies |= s->isStg && (!t->signal || t->signal->kind == SignalDummy);
  s->loadErr = quietly([&] {
    UnfoldOptions unfolding = reUnfoldingOptions();
    unfolding.conc_rel_size = 0;
    readUnfoldedG(file, !s->isStg, unfolding, true, s->loaded);
    s->loadStatus = raiseStatus(0);
  });
  resetStatus();
  if (!oracle) return s;
  s->space = exploreStateSpace(*s->net, {.stateLimit = 20000});
  s->view = NetView{s->net.get(), s->isStg ? s->net.get() : nullptr, std::vector<bool>(s->net->transitions.size(), true)};
  if (!s->isStg) s->statesComplete = exploreStates(s->view, s->states);
  if (s->loaded.stgPrefix && s->loadStatus < StatusError) {
    s->facts = exploreStg(*s->loaded.stgPrefix);
    s->factsKnown = s->facts.complete && s->facts.safe;
  }
  return s;
}

template <class Unit>
std::unique_ptr<SearchModeBase> checkerFor(const Unit& unit, int mode, const OptionMap& options,
                                           const std::string& predicate) {
  if (mode == Deadlock) return makeDeadlockMode(unit, options);
  if (mode == Reach || mode == StgReach) return makeReachabilityChecker(unit, options, predicate, mode == StgReach);
  if constexpr (std::is_same_v<Unit, StgPrefix>) {
    if (mode == Usc) return makeUscMode(unit, options);
    if (mode == Csc) return makeCscMode(unit, options);
    return makeNormalcyMode(unit, options);
  }
  return nullptr;
}

struct Answer {
  uint32_t status = 0;
  bool found = false;
  uint64_t cost = 0;
  std::string err;
  std::vector<std::vector<const Transition*>> runs;
};

template <class Unit>
Answer prefixAnswer(const Unit& unit, const Subject& s, int mode, bool minimal, const std::string& predicate,
                    int method, int solver) {
  Answer answer;
  OptionMap options = stateCodingOptions(method, solver, minimal);
  options["mode"] = mode;
  std::unique_ptr<SearchModeBase> checker;
  answer.err = s.loadErr + quietly([&] {
    checker = checkerFor(unit, mode, options, predicate);
    if (checker) checker->run();
    answer.status = std::max(checker ? raiseStatus(0) : uint32_t{StatusError}, s.loadStatus);
  });
  resetStatus();
  if (!checker || checker->result_list().empty()) return answer;
  const Solution& solution = *checker->result_list()[0];
  answer.found = true;
  answer.cost = solution.cost();
  for (const Trace& trace : solution.traces) answer.runs.push_back(transitionsOf(trace));
  if (mode == Deadlock) expectDeadlock(unit, transitionsWithEvents(unit), answer.runs[0]);
  if constexpr (std::is_same_v<Unit, StgPrefix>)
    if (mode == Usc || mode == Csc) expectConflict(unit, solution, mode == Csc);
  return answer;
}

Answer prefixAnswer(const Subject& s, int mode, bool minimal, const std::string& predicate, int method, int solver) {
  if (s.loaded.petriNetPrefix) return prefixAnswer(*s.loaded.petriNetPrefix, s, mode, minimal, predicate, method, solver);
  if (s.loaded.stgPrefix) return prefixAnswer(*s.loaded.stgPrefix, s, mode, minimal, predicate, method, solver);
  Answer failed;
  failed.status = s.loadStatus;
  failed.err = s.loadErr;
  return failed;
}

ExploreResult explicitAnswer(const Subject& s, int mode, bool minimal, const std::string& predicate) {
  ExploreResult result;
  ExploreParams params;
  params.question = static_cast<ExploreQuestion>(mode - 1);
  params.minimal = minimal;
  params.memoryBudget = uint64_t{64} << 20;
  params.property = predicate;
  quietly([&] { result = exploreNet(*s.net, s.isStg, params); });
  resetStatus();
  // The witness is a run of the net, and a deadlock's ends in a dead marking.
  std::vector<bool> all(s.net->transitions.size(), true);
  TokenVector marking;
  for (const auto& run : result.traces) {
    if (mode == Deadlock) {
      expectDeadlock(*s.net, all, run);
    } else {
      EXPECT_TRUE(replayRun(*s.net, run, marking)) << "the explicit engine's witness does not replay";
    }
  }
  return result;
}

struct Tally {
  int answered = 0, declined = 0, found = 0, oracleFound = 0, oracleAsked = 0;
  std::map<std::string, int> why;
};

std::ostream& operator<<(std::ostream& out, const Tally& t) {
  out << t.answered << " answered (" << t.found << " found), " << t.declined << " declined, oracle found "
      << t.oracleFound << " of " << t.oracleAsked << ":";
  for (const auto& [why, n] : t.why) out << " " << why << " " << n << ";";
  return out;
}

// The oracle's or the verdict table's answer and shortest witness, where they know them.
struct Expected {
  bool known = false, found = false;
  int64_t cost = -1;
  bool table = false;  // the table's costs are those of the prefix engine, exactly
};

Expected tableAnswer(const VerdictCells& row, int mode) {
  Expected e;
  e.table = true;
  static const std::map<int, std::pair<std::string, std::string>> columns = {
      {Deadlock, {"deadlock", "deadlock_len"}}, {Usc, {"usc", "usc_cost"}}, {Csc, {"csc", "csc_cost"}}};
  if (mode == Normalcy) {
    e.known = row.at("normal") != "-";
    e.found = row.at("normal") == "no";
  } else if (auto c = columns.find(mode); c != columns.end()) {
    e.known = true;
    e.found = row.at(c->second.first) == "yes";
    if (e.found) e.cost = std::stoll(row.at(c->second.second));
  }
  return e;
}

Expected oracleAnswer(const Subject& s, int mode, const RandomPredicate* p) {
  if (s.row) return tableAnswer(*s.row, mode);
  Expected e;
  if (!s.oracle) return e;
  if (mode == Deadlock && s.space.complete && s.space.safe) {
    e.known = true;
    for (uint32_t state = 0; state < s.space.size(); ++state)
      if (s.space.isDead(state)) {
        int64_t length = static_cast<int64_t>(s.space.runTo(state).size());
        if (e.cost < 0 || length < e.cost) e.cost = length;
      }
  } else if (mode == Reach && p && s.statesComplete) {
    e.known = true;
    e.found = holdsSomewhere(s.states, *p, false);
    return e;
  } else if ((mode == Usc || mode == Csc) && s.factsKnown) {
    e.known = true;
    e.cost = mode == Usc ? s.facts.uscCost : s.facts.cscCost;
  } else if (mode == Normalcy && s.factsKnown && s.facts.cscCost < 0) {
    e.known = true;
    e.found = !s.facts.normal;
    return e;
  }
  e.found = e.cost >= 0;
  return e;
}

// `shorterAllowed`: with dummies, a state that only configurations ending in a dummy event
// reach may be out of the prefix engine's reach, whose shortest pair is then longer.
void compareEngines(const Subject& s, int mode, bool minimal, const RandomPredicate* p, bool shorterAllowed,
                    Tally& tally, int method = 0, int solver = 1) {
  std::string predicate = p ? p->text : "";
  SCOPED_TRACE(s.file + " mode " + std::to_string(mode) + (minimal ? " -f" : "") + " -m" + std::to_string(method) +
               " -$" + std::to_string(solver) + " " + predicate);
  Answer a = prefixAnswer(s, mode, minimal, predicate, method, solver);
  ExploreResult x = explicitAnswer(s, mode, minimal, predicate);
  uint64_t xCost = 0;
  for (const auto& run : x.traces) xCost += run.size();
  Expected e = oracleAnswer(s, mode, p);
  if (e.table) {
    EXPECT_LT(a.status, StatusError) << a.err;
  }
  if (e.known && a.status < StatusError) {
    ++tally.oracleAsked;
    tally.oracleFound += e.found;
    // With dummies the prefix engine may miss the oracle's shortest pair, and the explicit
    // engine may find one shorter than the table's.
    bool dummyPairs = s.dummies && (mode == Usc || mode == Csc);
    EXPECT_EQ(a.found, e.found) << "the prefix engine against the oracle";
    if (minimal && a.found && e.cost >= 0) {
      EXPECT_TRUE(dummyPairs && !e.table ? a.cost >= uint64_t(e.cost) : a.cost == uint64_t(e.cost))
          << a.cost << " against " << e.cost;
    }
    if (x.verdict != ExploreVerdict::Declined) {
      EXPECT_EQ(x.verdict == ExploreVerdict::Found, e.found) << "the explicit engine against the oracle";
      if (minimal && e.found && e.cost >= 0) {
        EXPECT_TRUE(dummyPairs && e.table ? xCost <= uint64_t(e.cost) : xCost == uint64_t(e.cost))
            << xCost << " against " << e.cost;
      }
    }
    if (mode == Reach && a.found) expectWitness(s.view, a.runs, *p, false);
    if (mode == Reach && x.verdict == ExploreVerdict::Found) expectWitness(s.view, x.traces, *p, false);
  }
  if (x.verdict == ExploreVerdict::Declined) {
    ++tally.declined;
    ++tally.why[x.why];
    return;
  }
  ++tally.answered;
  tally.found += x.verdict == ExploreVerdict::Found;
  ASSERT_EQ(a.status, StatusClean) << "the explicit engine answered where the prefix engine reports:" << a.err;
  EXPECT_EQ(a.found, x.verdict == ExploreVerdict::Found);
  if (!minimal || !a.found || x.verdict != ExploreVerdict::Found) return;
  if (shorterAllowed) EXPECT_LE(xCost, a.cost);
  else EXPECT_EQ(xCost, a.cost);
}

void compareAllModes(const Subject& s, Tally& tally, int method = 0, int solver = 1) {
  for (bool minimal : {false, true}) {
    compareEngines(s, Deadlock, minimal, nullptr, false, tally, method, solver);
    if (!s.isStg) continue;
    for (int mode : {Usc, Csc}) compareEngines(s, mode, minimal, nullptr, s.dummies, tally, method, solver);
  }
  if (s.isStg) compareEngines(s, Normalcy, false, nullptr, false, tally, method, solver);
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

// The benchmark nets, and where the verdict table has a row, its answers.
TEST(EnginesDifferential, Benchmarks) {
  Tally tally;
  std::map<std::string, VerdictCells> rows;
  for (VerdictCells& row : readBenchmarkVerdicts()) rows[std::string(NUREX_BENCHMARKS) + "/nets/" + row["name"] + ".g"] = row;
  for (const std::string& file : gFilesIn(std::string(NUREX_BENCHMARKS) + "/nets")) {
    auto s = subjectOf(file);
    if (rows.count(file)) s->row = &rows[file];
    compareAllModes(*s, tally);
  }
  EXPECT_GT(tally.oracleAsked, 150) << tally;
  // The large nets have prefixes of tens of thousands of events: deadlocks only, and in the
  // release run only.
  for (const char* name : {"key_4", "mmgt_4"})
    if (!underSanitizer)
    compareEngines(*subjectOf(std::string(NUREX_BENCHMARKS) + "/large/" + name + ".g"), Deadlock, false, nullptr, false,
                   tally);
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

// Seeds take turns over the methods and the solvers of the prefix engine.
TEST(EnginesDifferential, RandomNetsAndStgs) {
  std::string dir = makeTempDirectory();
  ASSERT_FALSE(dir.empty());
  Tally nets, consistent, loose;
  int usc = 0, csc = 0, normal = 0, stgs = 0;
  uint64_t seeds = sizedForBuild(150);
  for (uint64_t seed = 1; seed <= seeds; ++seed) {
    int method = 1 + static_cast<int>(seed / 2 % 2), solver = static_cast<int>(seed % 2);
    std::string file = dir + "/net" + std::to_string(seed) + ".g";
    writePetriNetText(*randomSafeNet(seed), file);
    auto net = subjectOf(file, true);
    for (bool minimal : {false, true}) compareEngines(*net, Deadlock, minimal, nullptr, false, nets, method, solver);
    PredicateGenerator predicates(net->view, seed);
    for (int k = 0; k < 3; ++k) {
      RandomPredicate p = predicates.make({});
      compareEngines(*net, Reach, true, &p, false, nets, 0, solver);
    }

    RandomStgOptions shape;
    shape.dummyPercent = seed % 2 ? 20 : 0;
    if (seed % 3 == 0) shape.maxDepth = 4, shape.maxSignals = 8;
    file = dir + "/stg" + std::to_string(seed) + ".g";
    ASSERT_TRUE(saveStg(*randomConsistentStg(seed, shape), file));
    auto stg = subjectOf(file, true);
    ASSERT_LT(stg->loadStatus, StatusError) << stg->loadErr;
    compareAllModes(*stg, consistent, method, solver);
    if (stg->factsKnown) {
      ++stgs;
      usc += stg->facts.uscCost >= 0;
      csc += stg->facts.cscCost >= 0;
      normal += stg->facts.cscCost < 0 && stg->facts.normal;
    }
    NetView view{stg->net.get(), stg->net.get(), std::vector<bool>(stg->net->transitions.size(), true)};
    PredicateGenerator stgPredicates(view, seed);
    for (int k = 0; k < 2; ++k) {
      RandomPredicate p = stgPredicates.make({});
      compareEngines(*stg, StgReach, true, &p, true, consistent);
    }

    // Random labels make most of these inconsistent: the explicit engine must decline them.
    file = dir + "/labelled" + std::to_string(seed) + ".g";
    ASSERT_TRUE(saveStg(*randomSafeStg(seed), file));
    auto labelled = subjectOf(file);
    for (int mode : {Deadlock, Csc}) compareEngines(*labelled, mode, false, nullptr, true, loose);
  }
  int n = static_cast<int>(seeds);
  EXPECT_GT(nets.found, n) << nets;
  EXPECT_GT(nets.oracleFound, n) << nets;
  EXPECT_LT(nets.oracleFound, nets.oracleAsked * 4 / 5) << nets;
  EXPECT_GT(consistent.answered, n * 5) << consistent;
  EXPECT_GT(loose.declined, n / 2) << loose;
  // The generator must give both answers to every question, or the comparison proves little.
  EXPECT_GT(stgs, n * 9 / 10);
  EXPECT_GT(usc, n / 20);
  EXPECT_LT(usc, stgs);
  EXPECT_GT(csc, n / 20);
  EXPECT_LT(csc, stgs);
  EXPECT_GT(normal, 0);
  std::cout << "random nets: " << nets << "\nconsistent STGs, " << usc << " with USC conflicts, " << csc
            << " with CSC conflicts, " << normal << " normal of " << stgs << ": " << consistent << "\n";
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace nurex::test
