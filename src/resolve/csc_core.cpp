// Core construction and collection through the two conflict detectors.
#include "resolve/csc_core.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>

#include "platform/reporter.h"
#include "verify/conflicts.h"
#include "verify/final_state.h"

namespace nurex {

namespace {

bool byIndex(const Event* a, const Event* b) { return a->index < b->index; }

EventList minus(const EventList& a, const EventList& b) {
  EventList out;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out), byIndex);
  return out;
}

FinalState stateAfter(const StgPrefix& prefix, const EventList& events) {
  Trace trace;
  for (const Event* e : events) trace.push_back({e->index, e->transition});
  return finalStateOf(prefix, trace, true);
}

}  // namespace

CscCore::CscCore(EventList a, EventList b) {
  std::sort(a.begin(), a.end(), byIndex);
  std::sort(b.begin(), b.end(), byIndex);
  if (a.size() < b.size()) {
    first = std::move(a);
    second = std::move(b);
  } else {
    first = std::move(b);
    second = std::move(a);
  }
  std::set_symmetric_difference(first.begin(), first.end(), second.begin(), second.end(),
                                std::back_inserter(difference), byIndex);
  nested = std::includes(second.begin(), second.end(), first.begin(), first.end(), byIndex);
}

std::string eventListText(const EventList& events) {
  std::string text;
  for (const Event* e : events) {
    if (!text.empty()) text += ",";
    text += e->transition->name;
  }
  return text;
}

std::string CscCore::text() const {
  if (nested) return "{" + eventListText(difference) + "}";
  return "{" + eventListText(minus(second, first)) + " : " + eventListText(minus(first, second)) + "}";
}

size_t CscCoreHash::operator()(const CscCore& core) const {
  size_t h = core.first.size() * 0x9E3779B97F4A7C15ull;
  for (const EventList* list : {&core.first, &core.second})
    for (const Event* e : *list) h = (h ^ e->index) * 0x100000001B3ull;
  return h;
}

bool isUscConflict(const StgPrefix& prefix, const EventList& a, const EventList& b) {
  FinalState x = stateAfter(prefix, a), y = stateAfter(prefix, b);
  return codesEqual(x, y) && x.marking != y.marking;
}

bool isCscConflict(const StgPrefix& prefix, const EventList& a, const EventList& b) {
  FinalState x = stateAfter(prefix, a), y = stateAfter(prefix, b);
  return codesEqual(x, y) && localExcitationDiffers(prefix, x, y);
}

namespace {

// The fixed settings of both detectors: every solution up to 100, configurations kept.
OptionMap detectorOptions(const OptionMap& options, uint32_t limit = 100) {
  OptionMap copy = options;
  copy["method"] = 1;  // one enumeration over one formula: its solves stay incremental
  copy["all_solutions"] = static_cast<int32_t>(limit);
  copy["store_cnf_formula"] = 0;
  copy["min_cost"] = 0;
  copy["output_configurations"] = 1;
  copy["inclusion_constraints"] = -1;
  return copy;
}

}  // namespace

std::vector<CscCore> collectCores(const StgPrefix& prefix, const OptionMap& options) {
  std::vector<CscCore> cores;
  ConflictMode cscDetector(prefix, detectorOptions(options), true, true);
  cscDetector.solve_all();
  if (raiseStatus(0) >= StatusError || cscDetector.known_cores().empty()) return cores;
  std::unordered_set<CscCore, CscCoreHash> seen;
  ConflictMode uscDetector(prefix, detectorOptions(options), false, false);
  for (const ConfigurationPair& pair : cscDetector.known_cores()) {
    CscCore core(pair.first, pair.second);
    core.csc = true;
    // Without a marking difference the pair is no state conflict, only a dummy cut-off artefact.
    if (!isUscConflict(prefix, core.first, core.second)) {
      if (verbosity >= 3) printTo(stdout, "\nIgnoring an incorrect due to dummy cut-offs CSC core");
      continue;
    }
    if (seen.insert(core).second) cores.push_back(core);
    uscDetector.add_known_core(pair);
  }
  uscDetector.solve_all();
  if (raiseStatus(0) >= StatusError) return cores;
  for (const ConfigurationPair& pair : uscDetector.known_cores()) {
    CscCore core(pair.first, pair.second);
    if (seen.count(core) || !isUscConflict(prefix, core.first, core.second)) continue;
    core.csc = isCscConflict(prefix, core.first, core.second);
    seen.insert(core);
    cores.push_back(core);
  }
  std::stable_partition(cores.begin(), cores.end(), [](const CscCore& c) { return c.csc; });
  return cores;
}

size_t countCscCores(const StgPrefix& prefix, const OptionMap& options, uint32_t limit) {
  if (limit == 0) return 0;
  ConflictMode detector(prefix, detectorOptions(options, limit), true, true);
  detector.solve_all();
  return std::count_if(detector.known_cores().begin(), detector.known_cores().end(),
                       [&](const ConfigurationPair& pair) { return isUscConflict(prefix, pair.first, pair.second); });
}

}  // namespace nurex
