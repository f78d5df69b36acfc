// Cut-off links, statistics and reconstruction of the original net from a prefix.
#include "model/prefix.h"

#include <algorithm>
#include <unordered_set>

#include "platform/reporter.h"

namespace nurex {

void CutOffLink::clear() {
  if (isList()) delete reinterpret_cast<EventList*>(word_ & ~uintptr_t(1));
  word_ = NotCutOff;
}

void CutOffLink::setCorrespondents(const EventList& events) {
  if (events.empty()) setInitialState();
  else if (events.size() == 1) setEvent(events[0]);
  else {
    auto* owned = new EventList(events);
    set(reinterpret_cast<uintptr_t>(owned) | 1);
  }
}

CutOffLink::EventList CutOffLink::correspondents() const {
  if (isEvent()) return {event()};
  if (isList()) return *list();
  return {};
}

PrefixStatistics computeStatistics(const NodeList<Condition>& conditions, const NodeList<Event>& events) {
  PrefixStatistics s;
  s.conditions = conditions.size();
  s.events = events.size();
  for (const Event* e : events) {
    if (eventIsCutOff(e)) ++s.cutOffs;
    s.conditionEventArcs += e->preset.size();
    s.eventConditionArcs += e->postset.size();
    if (eventIsCutOff(e))
      for (const Condition* c : e->postset)
        if (c->index == NoIndex) {
          // An unlisted postset condition of a cut-off counts once more.
          ++s.conditions;
          ++s.eventConditionArcs;
        }
  }
  return s;
}

PrefixStatistics computeStatistics(const NodeList<MpCondition>& conditions, const NodeList<MpEvent>& events) {
  PrefixStatistics s;
  s.conditions = conditions.size();
  s.events = events.size();
  for (const MpEvent* e : events) {
    if (e->isCutOff) ++s.cutOffs;
    s.conditionEventArcs += e->preset.size();
    s.eventConditionArcs += e->postset.size();
  }
  return s;
}

std::string formatStatistics(const PrefixStatistics& s) {
  return "\n |B|=" + std::to_string(s.conditions) + " |E|=" + std::to_string(s.events) +
         " |C|=" + std::to_string(s.cutOffs) + " |BE|=" + std::to_string(s.conditionEventArcs) +
         " |EB|=" + std::to_string(s.eventConditionArcs);
}

void printStatisticsLine(const PrefixStatistics& s) { printTo(stdout, "%s", formatStatistics(s).c_str()); }

namespace {
template <class C, class E>
void buildArcs(PetriNet& net, const NodeList<C>& conditions, const NodeList<E>& events) {
  std::vector<bool> done(net.transitions.size(), false);
  for (const E* e : events) {
    Transition* t = e->transition;
    if (!t || t->index >= done.size() || done[t->index] || !t->preset.empty() || !t->postset.empty()) continue;
    done[t->index] = true;
    for (const C* c : e->preset) addPlaceArc(c->place, t);
    for (const C* c : e->postset) addTransitionArc(t, c->place);
  }
  (void)conditions;
}
}  // namespace

void buildOriginalNet(PetriNet& net, const NodeList<Condition>& conditions, const NodeList<Event>& events) {
  buildArcs(net, conditions, events);
  for (const Condition* c : conditions)
    if (!c->producer) ++c->place->tokens;
}

void buildOriginalNet(PetriNet& net, const NodeList<MpCondition>& conditions, const NodeList<MpEvent>& events) {
  buildArcs(net, conditions, events);
  for (const MpCondition* c : conditions) c->place->tokens += c->tokens;
}

std::vector<Event*> localConfiguration(Event* e) {
  std::vector<Event*> result, stack{e};
  std::unordered_set<Event*> seen{e};
  while (!stack.empty()) {
    Event* x = stack.back();
    stack.pop_back();
    result.push_back(x);
    for (Condition* c : x->preset)
      if (c->producer && seen.insert(c->producer).second) stack.push_back(c->producer);
  }
  std::sort(result.begin(), result.end(), [](Event* a, Event* b) { return a->index < b->index; });
  return result;
}

}  // namespace nurex
