// The race of the prefix engine and the explicit-state engine: each holds its output back
// until it claims the answer; the claim stops the other, whose output is dropped.
#include "driver/race.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "explore/explore.h"
#include "model/formats/g_reader.h"
#include "platform/reporter.h"
#include "platform/stop_request.h"
#include "platform/system.h"
#include "verify/conflicts.h"
#include "verify/deadlock.h"
#include "verify/normalcy.h"
#include "verify/reachability.h"

namespace nurex {

namespace {

enum Engine : int { NoEngine = -1, PrefixEngine = 0, ExplicitEngine = 1 };
enum EngineChoice : int32_t { EngineDefault = 0, EnginePrefix = 1, EngineExplicit = 2, EngineRace = 3 };

struct Race {
  std::atomic<int> winner{NoEngine};
  StopRequest stopPrefix;
  std::atomic<bool> stopExplicit{false};
  OutputCapture output[2];
};

thread_local Race* threadRace = nullptr;
thread_local Engine threadEngine = NoEngine;

const char* engineName(Engine engine) { return engine == PrefixEngine ? "prefix" : "explicit-state"; }

bool claimFor(Race& race, Engine engine) {
  int none = NoEngine;
  if (!race.winner.compare_exchange_strong(none, engine)) return race.winner.load() == engine;
  if (engine == ExplicitEngine) race.stopPrefix.raise();
  else race.stopExplicit.store(true);
  captureThreadOutput(nullptr);
  releaseCapture(race.output[engine]);
  if (engine == PrefixEngine && verbosity >= 1) printTo(stdout, "\nThe %s engine answered", engineName(engine));
  return true;
}

bool endsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

ExploreQuestion questionOf(int32_t mode) {
  static const ExploreQuestion questions[] = {ExploreQuestion::Deadlock, ExploreQuestion::Reach,
                                              ExploreQuestion::StgReach, ExploreQuestion::Usc,
                                              ExploreQuestion::Csc,      ExploreQuestion::Normalcy};
  return questions[mode - 1];
}

VerdictTexts verdictsOf(ExploreQuestion question) {
  switch (question) {
    case ExploreQuestion::Deadlock: return deadlockVerdicts();
    case ExploreQuestion::Reach:
    case ExploreQuestion::StgReach: return reachabilityVerdicts();
    case ExploreQuestion::Usc: return conflictVerdicts(false);
    case ExploreQuestion::Csc: return conflictVerdicts(true);
    case ExploreQuestion::Normalcy: break;
  }
  return normalcyVerdicts();
}

// A quarter of the machine's memory: the unfolder runs beside the explorer.
uint64_t explorerBudget() {
  long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGE_SIZE);
  if (pages <= 0 || size <= 0) return uint64_t{1} << 30;
  return static_cast<uint64_t>(pages) * static_cast<uint64_t>(size) / 4;
}

// The verdict through the results writer of the modes, as the prefix engine prints it.
void printAnswer(ExploreQuestion question, const ExploreResult& result, double seconds) {
  ResultList results;
  if (result.verdict == ExploreVerdict::Found) {
    bool conflict = question == ExploreQuestion::Usc || question == ExploreQuestion::Csc;
    std::unique_ptr<Solution> solution = conflict ? std::make_unique<ConflictSolution>() : std::make_unique<Solution>();
    for (const auto& run : result.traces) {
      Trace trace;
      for (const Transition* t : run) trace.push_back({static_cast<uint32_t>(trace.size() + 1), t});
      solution->traces.push_back(std::move(trace));
    }
    if (conflict) static_cast<ConflictSolution&>(*solution).signal = result.signal;
    results.push_back(std::move(solution));
  }
  VerdictTexts texts = verdictsOf(question);
  writeResults(results, texts.found, texts.none);
  printTo(stdout, "\n SAT/Total time: %.2f/%.2f", 0.0, seconds);
}

// The explicit-state engine's run: read, explore, and claim the answer if it has one.
ExploreResult runExplicit(const OptionMap& options, const std::atomic<bool>* stop) {
  ExploreResult declined;
  double start = monotonicSeconds();
  bool hasSignals = false;
  std::unique_ptr<Stg> net = readStgText(runStrings.inputFileName, &hasSignals);
  if (!net || raiseStatus(0) >= StatusError) {
    declined.why = "the net was not read";
    return declined;
  }
  ExploreParams params;
  params.question = questionOf(options["mode"]);
  params.minimal = options["min_cost"] != 0;
  params.memoryBudget = explorerBudget();
  params.stop = stop;
  params.property = runStrings.dataString;
  ExploreResult result = exploreNet(*net, hasSignals, params);
  if (result.verdict == ExploreVerdict::Declined) return result;
  if (threadRace && !claimFor(*threadRace, ExplicitEngine)) return declined;
  if (verbosity >= 1)
    printTo(stdout, "\nThe %s engine answered (%llu states)", engineName(ExplicitEngine),
            static_cast<unsigned long long>(result.states));
  printAnswer(params.question, result, monotonicSeconds() - start);
  return result;
}

}  // namespace

bool explicitEngineApplies(const OptionMap& options) {
  int32_t mode = options["mode"], engine = options["engine"];
  if (mode < 1 || mode > 6 || engine == EnginePrefix || !endsWith(runStrings.inputFileName, ".g")) return false;
  return options["all_solutions"] == 0 && options["output_configurations"] == 0 && options["store_cnf_formula"] == 0 &&
         !endsWith(runStrings.outputFileName, ".xml");
}

bool claimAnswer() {
  return !threadRace || claimFor(*threadRace, threadEngine);
}

void runEngines(const OptionMap& options, void (*prefixPath)(const OptionMap&)) {
  if (options["engine"] == EngineExplicit) {
    ExploreResult result = runExplicit(options, nullptr);
    if (result.verdict == ExploreVerdict::Declined && raiseStatus(0) < StatusError)
      reportError("the explicit-state engine cannot answer: " + result.why);
    return;
  }
  Race race;
  std::thread prefix([&race, &options, prefixPath] {
    threadRace = &race;
    threadEngine = PrefixEngine;
    captureThreadOutput(&race.output[PrefixEngine]);
    setThreadStopRequest(&race.stopPrefix);
    reserveCores(1);  // the explicit engine's
    prefixPath(options);
    reserveCores(0);
    claimAnswer();  // an answer that ended before the checker (a load error) counts all the same
    setThreadStopRequest(nullptr);
    captureThreadOutput(nullptr);
    threadRace = nullptr;
  });
  threadRace = &race;
  threadEngine = ExplicitEngine;
  captureThreadOutput(&race.output[ExplicitEngine]);
  runExplicit(options, &race.stopExplicit);
  captureThreadOutput(nullptr);
  threadRace = nullptr;
  prefix.join();
}

}  // namespace nurex
