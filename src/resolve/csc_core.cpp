// Core construction and collection through the two conflict detectors.
#include "resolve/csc_core.h"

#include <algorithm>
#include <functional>
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

EventList sortedList(std::unordered_set<const Event*>& set) {
  EventList out(set.begin(), set.end());
  std::sort(out.begin(), out.end(), byIndex);
  return out;
}

// The events with their causes: an old configuration that now misses new events before its
// own.
EventList closed(const EventList& events) {
  std::unordered_set<const Event*> in(events.begin(), events.end());
  std::vector<const Event*> work(events.begin(), events.end());
  while (!work.empty()) {
    const Event* e = work.back();
    work.pop_back();
    for (const Condition* c : e->preset)
      if (c->producer && in.insert(c->producer).second) work.push_back(c->producer);
  }
  return sortedList(in);
}

bool isMaximalIn(const Event* e, const std::unordered_set<const Event*>& in) {
  for (const Condition* c : e->postset)
    for (const Event* f : c->postset)
      if (in.count(f)) return false;
  return true;
}

EventList withoutMaximalDummies(const EventList& events) {
  std::unordered_set<const Event*> in(events.begin(), events.end());
  for (bool removed = true; removed;) {
    removed = false;
    for (auto it = in.begin(); it != in.end();)
      if (!(*it)->transition->signal || (*it)->transition->signal->kind == SignalDummy) {
        if (isMaximalIn(*it, in)) {
          it = in.erase(it);
          removed = true;
        } else {
          ++it;
        }
      } else {
        ++it;
      }
  }
  return sortedList(in);
}

// Closed under causes and free of conflicts.
bool isConfiguration(const EventList& events) {
  std::unordered_set<const Event*> in(events.begin(), events.end());
  std::unordered_set<const Condition*> taken;
  for (const Event* e : events)
    for (const Condition* c : e->preset)
      if ((c->producer && !in.count(c->producer)) || !taken.insert(c).second) return false;
  return true;
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

std::vector<CscCore> inheritCores(const StgPrefix& prefix, const std::vector<CscCore>& cores, const Signal* signal) {
  std::vector<CscCore> out;
  // The configuration without its last event of the signal if that one is maximal, else
  // with each event of the signal that can follow it; then the configuration itself.
  auto alternatives = [&](const EventList& configuration) {
    std::vector<EventList> list;
    std::unordered_set<const Event*> in(configuration.begin(), configuration.end());
    auto last = std::find_if(configuration.rbegin(), configuration.rend(),
                             [&](const Event* e) { return e->transition->signal == signal; });
    if (last != configuration.rend() && isMaximalIn(*last, in)) {
      EventList shorter;
      for (const Event* e : configuration)
        if (e != *last) shorter.push_back(e);
      list.push_back(withoutMaximalDummies(shorter));
    } else {
      for (const Event* e : prefix.events) {
        if (e->transition->signal != signal || in.count(e) || eventIsCutOff(e)) continue;
        EventList longer = configuration;
        longer.insert(std::upper_bound(longer.begin(), longer.end(), e, byIndex), e);
        if (isConfiguration(longer)) list.push_back(longer);
      }
    }
    list.push_back(configuration);
    return list;
  };
  for (const CscCore& core : cores) {
    EventList first = closed(core.first), second = closed(core.second);
    if (isUscConflict(prefix, first, second)) {
      out.emplace_back(first, second);
      continue;
    }
    std::vector<EventList> a = alternatives(first), b = alternatives(second);
    for (size_t i = 0; i < a.size(); ++i)
      for (size_t j = 0; j < b.size(); ++j)
        if ((i + 1 < a.size() || j + 1 < b.size()) && isUscConflict(prefix, a[i], b[j])) out.emplace_back(a[i], b[j]);
  }
  return out;
}

bool isCompositeCore(const CscCore& core, const std::vector<ConfigurationPair>& known,
                     const std::function<bool(const EventList&, const EventList&)>& conflict) {
  for (const ConfigurationPair& pair : known) {
    CscCore part(pair.first, pair.second);
    if (!std::includes(core.difference.begin(), core.difference.end(), part.difference.begin(), part.difference.end(),
                       byIndex))
      continue;
    EventList rest = minus(core.difference, part.difference);
    // A rest of dummies alone tells no states apart: the core stays.
    if (std::all_of(rest.begin(), rest.end(), [](const Event* e) {
          return !e->transition->signal || e->transition->signal->kind == SignalDummy;
        }))
      continue;
    if (verbosity >= 6)
      printTo(stdout, "\nChecking if the core\n%s\nis composite due to\n%s", core.text().c_str(), part.text().c_str());
    EventList first = withoutMaximalDummies(minus(core.first, rest));
    EventList second = withoutMaximalDummies(minus(core.second, rest));
    if (isConfiguration(first) && isConfiguration(second) && conflict(first, second)) return true;
  }
  return false;
}

std::vector<CscCore> collectCores(const StgPrefix& prefix, const OptionMap& options, std::vector<CscCore> inherited) {
  for (CscCore& core : inherited) core.csc = isCscConflict(prefix, core.first, core.second);
  std::stable_partition(inherited.begin(), inherited.end(), [](const CscCore& c) { return c.csc; });
  auto rejectComposites = [&](ConflictMode& detector) {
    detector.reject_core = [&prefix, &detector](const ConfigurationPair& pair, const std::vector<ConfigurationPair>& known) {
      return isCompositeCore(CscCore(pair.first, pair.second), known, [&](const EventList& a, const EventList& b) {
        return detector.is_conflict_of(stateAfter(prefix, a), stateAfter(prefix, b));
      });
    };
  };
  std::vector<CscCore> cores;
  // The inherited cores count towards the 100 of a detection, so that the list does not grow
  // from step to step.
  auto room = [](size_t known) { return static_cast<uint32_t>(known < 99 ? 100 - known : 1); };
  size_t inheritedCsc = std::count_if(inherited.begin(), inherited.end(), [](const CscCore& c) { return c.csc; });
  ConflictMode cscDetector(prefix, detectorOptions(options, room(inheritedCsc)), true, true);
  rejectComposites(cscDetector);
  for (const CscCore& core : inherited)
    if (core.csc) cscDetector.add_known_core({core.first, core.second});
  cscDetector.solve_all();
  if (raiseStatus(0) >= StatusError || cscDetector.known_cores().empty()) return cores;
  std::unordered_set<CscCore, CscCoreHash> seen;
  std::vector<CscCore> listed;
  for (const ConfigurationPair& pair : cscDetector.known_cores())
    if (seen.insert(CscCore(pair.first, pair.second)).second) listed.emplace_back(pair.first, pair.second);
  for (const CscCore& core : inherited)
    if (!core.csc && seen.insert(core).second) listed.push_back(core);
  ConflictMode uscDetector(prefix, detectorOptions(options, room(listed.size() - cscDetector.known_cores().size())), false, false);
  rejectComposites(uscDetector);
  for (const CscCore& core : listed) {
    // Without a marking difference the pair is no state conflict, only a dummy cut-off artefact.
    if (!isUscConflict(prefix, core.first, core.second)) {
      if (verbosity >= 3) printTo(stdout, "\nIgnoring an incorrect due to dummy cut-offs CSC core");
      continue;
    }
    uscDetector.add_known_core({core.first, core.second});
  }
  uscDetector.solve_all();
  if (raiseStatus(0) >= StatusError) return cores;
  seen.clear();
  for (const ConfigurationPair& pair : uscDetector.known_cores()) {
    CscCore core(pair.first, pair.second);
    if (!seen.insert(core).second || !isUscConflict(prefix, core.first, core.second)) continue;
    core.csc = isCscConflict(prefix, core.first, core.second);
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
