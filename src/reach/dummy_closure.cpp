// The trigger closure of an event through dummy events, and the clauses that keep dummy
// events from being maximal in a configuration.
#include "reach/dummy_closure.h"

#include <algorithm>

namespace nurex {

namespace {

void sortUnique(std::vector<const Event*>& events) {
  std::sort(events.begin(), events.end(), [](const Event* a, const Event* b) { return a->index < b->index; });
  events.erase(std::unique(events.begin(), events.end()), events.end());
}

bool contains(const std::vector<const Event*>& events, const Event* e) {
  return std::find(events.begin(), events.end(), e) != events.end();
}

}  // namespace

void triggerClosure(const Event* e, bool (*lookThrough)(const Event*), std::vector<const Event*>& triggers,
                    std::vector<const Event*>& excluded) {
  triggers.clear();
  excluded.clear();
  std::vector<const Event*> through, pending{e};
  std::vector<const Condition*> conditions;
  while (!pending.empty()) {
    const Event* x = pending.back();
    pending.pop_back();
    for (const Condition* c : x->preset) {
      conditions.push_back(c);
      const Event* p = c->producer;
      if (!p) continue;
      if (!lookThrough(p)) {
        triggers.push_back(p);
      } else if (!contains(through, p)) {
        through.push_back(p);
        pending.push_back(p);
      }
    }
  }
  for (const Condition* c : conditions)
    for (const Event* f : c->postset)
      if (!contains(through, f)) excluded.push_back(f);
  sortUnique(triggers);
  sortUnique(excluded);
}

bool hasDummyProducer(const Event* e) {
  for (const Condition* c : e->preset)
    if (c->producer && isDummyEvent(c->producer)) return true;
  return false;
}

void enablingLiterals(ConfigurationVariables<StgPrefix>& record, const Event* e, bool viaDummies, Polarity polarity,
                      std::vector<Literal>& out) {
  out.clear();
  if (!viaDummies || !hasDummyProducer(e)) {
    for (const Condition* c : e->preset) out.push_back(record.marked(c, polarity));
    return;
  }
  std::vector<const Event*> triggers, excluded;
  triggerClosure(e, isDummyEvent, triggers, excluded);
  for (const Event* x : triggers) out.push_back(record.event_in(x));
  for (const Event* x : excluded) out.push_back(negate(record.event_in(x)));
}

void encodeNoMaximalDummies(ConfigurationVariables<StgPrefix>& record, int group) {
  std::vector<Literal> clause;
  for (const Event* d : record.unit.events) {
    if (eventIsCutOff(d) || !isDummyEvent(d)) continue;
    clause.assign(1, negate(record.event_in(d)));
    for (const Condition* c : d->postset)
      for (const Event* f : c->postset)
        if (!eventIsCutOff(f)) clause.push_back(record.event_in(f));
    record.formula.add_clause(clause, group);
  }
}

}  // namespace nurex
