// The resolution loop: detect, choose, rewrite the net and its prefix, and start over. An
// insertion rewrites the prefix in place, so that the conflicts found so far carry over; a
// concurrency reduction changes what is reachable and has the net unfolded again.
#include "resolve/encoding_resolver.h"

#include <algorithm>

#include "model/checks.h"
#include "model/formats/writers.h"
#include "resolve/lock_relation.h"
#include "resolve/prefix_insertion.h"
#include "platform/reporter.h"
#include "unfold/unfolder.h"

namespace nurex {

namespace {

constexpr size_t MaxEvents = 30000;

}  // namespace

EncodingResolver::EncodingResolver(const StgPrefix& prefix, const OptionMap& options)
    : options_(options), prefix_(std::make_unique<StgPrefix>()) {
  copyStg(prefix, *prefix_);
}

EncodingResolver::~EncodingResolver() = default;

bool EncodingResolver::unfold() {
  last_.reset();
  return unfoldAgain(prefix_) && checkPrefix();
}

bool EncodingResolver::checkPrefix() {
  // The causal relations are kept as one bit set per event, quadratic in the prefix.
  if (prefix_->events.size() > MaxEvents) {
    reportError("the prefix has " + std::to_string(prefix_->events.size()) + " events; -R handles at most " +
                std::to_string(MaxEvents));
    return false;
  }
  if (insertedSignals_.empty()) return inferSignalValues(*prefix_);
  EventOrder order(*prefix_);
  for (const Signal* s : insertedSignals_)
    if (!signalConsistent(*prefix_, order, s)) {
      reportError("internal error: the inserted signal " + s->name + " is not consistent");
      return false;
    }
  return inferSignalValues(*prefix_);
}

std::vector<std::unique_ptr<ResolutionSolution>> EncodingResolver::usefulReductions() {
  std::vector<std::unique_ptr<ResolutionSolution>> out;
  for (PricedReduction& priced : validReductions(*prefix_, options_, cores_)) {
    auto solution = std::make_unique<ResolutionSolution>(options_);
    solution->reduction = priced.reduction;
    solution->freezeTexts();
    solution->delay = options_["coeff_delay"] ? priced.delay : 0;
    solution->logic = options_["coeff_logic"] ? priced.logic : 0;
    solution->unlock = options_["coeff_non_locked_signals"] ? priced.unlock : 0;
    solution->cscCores = options_["coeff_CSC_cores"] ? priced.cscCores : 0;
    solution->uscCores = options_["coeff_USC_cores"] ? priced.uscCores : 0;
    out.push_back(std::move(solution));
  }
  std::stable_sort(out.begin(), out.end(), [](const auto& a, const auto& b) { return a->cost() < b->cost(); });
  return out;
}

bool EncodingResolver::step(bool applyIt) {
  // Cores survive only an insertion: it rewrote the prefix without renaming its events.
  std::vector<CscCore> inherited;
  if (!cores_.empty() && !insertedSignals_.empty()) inherited = inheritCores(*prefix_, cores_, insertedSignals_.back());
  cores_ = collectCores(*prefix_, options_, std::move(inherited));
  if (raiseStatus(0) >= StatusError) return false;
  printTo(stdout, "\n Encoding conflicts detected: %zu core(s)\n", cores_.size());
  if (verbosity >= 4)
    for (const CscCore& core : cores_) printTo(stdout, "%s%s\n", core.text().c_str(), core.csc ? "" : " [usc]");
  coresLeft_ = !cores_.empty();
  if (cores_.empty()) return true;
  bool allSolutions = options_["all_solutions"] != 0;
  std::vector<std::unique_ptr<ResolutionSolution>> reductions;
  uint64_t unlockBase = 0;
  if (options_["use_concurrency_reduction"]) {
    reductions = usefulReductions();
    if (raiseStatus(0) >= StatusError) return false;
    // A suggestion prefers a reduction to any insertion; the enumeration lists them first.
    int32_t wanted = options_["all_solutions"];
    if (!applyIt && !reductions.empty()) {
      for (auto& r : reductions) {
        if (allSolutions && wanted > 0 && static_cast<int32_t>(solutions_.size()) >= wanted) return true;
        solutions_.push_back(std::move(r));
        if (!allSolutions) return true;
      }
    }
    if (options_["coeff_non_locked_signals"]) unlockBase = unlockNumber(*prefix_, "\nLocked signals of the STG:\n");
  }
  // The enumeration lists no more than asked for in all.
  OptionMap searchOptions = options_;
  if (allSolutions && searchOptions["all_solutions"] > 0) {
    searchOptions["all_solutions"] -= static_cast<int32_t>(solutions_.size());
    if (searchOptions["all_solutions"] <= 0) return true;
  }
  last_ = std::make_unique<TransformationSearch>(*prefix_, searchOptions, cores_);
  last_->unlockBase = unlockBase;
  bool found;
  if (allSolutions) found = last_->solve_all();
  else if (applyIt) found = last_->solve_minimum();
  else found = last_->solve_first();
  if (raiseStatus(0) >= StatusError) return false;
  if (!applyIt) {
    for (auto& s : last_->solutions) solutions_.push_back(std::move(s));
    return true;
  }
  // The cheapest reduction stands unless an insertion is strictly cheaper.
  // Each step's transformation is reported before it is applied; the final result carries
  // only the verdict.
  if (!reductions.empty() && (!found || reductions[0]->cost() <= last_->solutions.front()->cost())) {
    solutions_.push_back(std::move(reductions[0]));
    writeResults(solutions_, "suggested a transformation", "no transformation computed");
    if (!applyReduction(*static_cast<ResolutionSolution&>(*solutions_.back()).reduction)) return false;
  } else if (found) {
    solutions_.push_back(std::move(last_->solutions.front()));
    writeResults(solutions_, "suggested a transformation", "no transformation computed");
    auto& solution = static_cast<ResolutionSolution&>(*solutions_.back());
    if (!apply(solution, solution.signs)) return false;
  } else {
    return true;
  }
  if (verbosity >= 3 && writeFiles) writeStg("nurex" + std::to_string(insertedSignals_.size() + appliedReductions_));
  return true;
}

bool EncodingResolver::applyReduction(const ConcurrencyReduction& reduction) {
  addReductionPlace(*prefix_, reduction);
  if (verbosity >= 1) printTo(stdout, "\n applied concurrency reduction %s", reductionText(reduction).c_str());
  if (verbosity >= 2) printTo(stdout, "\n re-unfolding the STG");
  if (!unfold()) return false;
  ++appliedReductions_;
  std::vector<const Place*> implicit = implicitPlaces(*prefix_);
  if (!implicit.empty()) {
    removePlaces(*prefix_, implicit);
    if (!unfold()) return false;
  }
  // The cores named events of the prefix that is gone.
  cores_.clear();
  return true;
}

bool EncodingResolver::apply(const ResolutionSolution& solution, const std::vector<uint32_t>& signs) {
  std::vector<AppliedInsertion> applied;
  for (const Insertion& insertion : solution.transformation)
    applied.push_back({insertion, instancesOf(*prefix_, insertion)});
  Signal* signal = addInsertedSignal(*prefix_, "csc", false, applied, signs);
  insertedSignals_.push_back(signal);
  if (verbosity >= 1)
    printTo(stdout, "\n inserted signal %s: %s", signal->name.c_str(), solution.transformationText().c_str());
  last_.reset();
  if (!insertIntoPrefix(*prefix_, applied)) {
    // The rewrite is checked against the net; a prefix that does not match is built anew.
    ++rebuiltPrefixes;
    cores_.clear();
    return unfold();
  }
  return checkPrefix();
}

bool EncodingResolver::run() {
  if (!unfold()) return false;
  bool iterate = options_["all_solutions"] == 0 && options_["min_cost"] != 0;
  if (!iterate) return step(false) && !solutions_.empty();
  for (uint32_t k = 0; k < stepLimit; ++k) {
    if (!step(true)) return false;
    if (!coresLeft_ || solutions_.empty()) break;
    for (auto& s : solutions_) applied_.push_back(std::move(s));
    solutions_.clear();
  }
  if (!coresLeft_) {
    if (writeFiles) writeStg("nurex");
    return true;
  }
  reportWarning("failed to resolve some of the encoding conflicts");
  return false;
}

void EncodingResolver::writeStg(const std::string& base) const {
  if (!saveStg(*prefix_, base + ".g")) return;
  writeNetPnml(static_cast<const Stg&>(*prefix_), base + ".pnml");
}

std::string EncodingResolver::report() const {
  return std::string(coresLeft_ ? "cannot make further progress" : "all conflicts resolved") + " (" +
         std::to_string(insertedSignals_.size()) + " signal insertion(s) and " + std::to_string(appliedReductions_) +
         " concurrency reduction(s) applied)";
}

void EncodingResolver::describe() {
  bool iterate = options_["all_solutions"] == 0 && options_["min_cost"] != 0;
  if (iterate) writeResults(solutions_, report(), report());
  else writeResults(solutions_, "suggested a transformation", report());
}

void EncodingResolver::print_statistics() {
  printTo(stdout, "\n");
  if (last_) last_->formula.print_statistics(stdout);
}

std::unique_ptr<SearchModeBase> makeEncodingResolver(const StgPrefix& prefix, const OptionMap& options) {
  return std::make_unique<EncodingResolver>(prefix, options);
}

}  // namespace nurex
