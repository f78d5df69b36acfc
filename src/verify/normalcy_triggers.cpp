// Triggers of local signal events and the hypotheses about the normalcy type of each local
// signal, decided before any SAT work.
#include "verify/normalcy_triggers.h"

#include <algorithm>

#include "platform/reporter.h"
#include "verify/signal_encoding.h"

namespace nurex {

namespace {

bool isDummyEvent(const Event* e) { return !e->transition->signal || e->transition->signal->kind == SignalDummy; }

}  // namespace

std::vector<const Event*> triggerEvents(const StgPrefix& prefix, const Event* e) {
  std::vector<uint8_t> seen(prefix.events.size(), 0);
  std::vector<const Event*> candidates, stack{e};
  while (!stack.empty()) {
    const Event* x = stack.back();
    stack.pop_back();
    for (const Condition* c : x->preset) {
      const Event* p = c->producer;
      if (!p || seen[p->index]) continue;
      seen[p->index] = 1;
      (isDummyEvent(p) ? stack : candidates).push_back(p);
    }
  }
  // A candidate in the strict past of another is not among the nearest.
  std::vector<uint8_t> below(prefix.events.size(), 0);
  for (const Event* k : candidates) stack.push_back(k);
  while (!stack.empty()) {
    const Event* x = stack.back();
    stack.pop_back();
    for (const Condition* c : x->preset) {
      const Event* p = c->producer;
      if (p && !below[p->index]) {
        below[p->index] = 1;
        stack.push_back(p);
      }
    }
  }
  std::vector<const Event*> triggers;
  for (const Event* k : candidates)
    if (!below[k->index]) triggers.push_back(k);
  std::sort(triggers.begin(), triggers.end(), [](const Event* a, const Event* b) { return a->index < b->index; });
  return triggers;
}

Trace triggerTrace(const std::vector<const Event*>& triggers) {
  Trace trace;
  for (const Event* t : triggers) trace.push_back({t->index, t->transition});
  return trace;
}

namespace {

using RecordMap = std::vector<std::optional<TriggerRecord>>;

// Keeps the first of the shortest records of each signal.
void offer(RecordMap& map, uint32_t signal, Trace& trace, std::vector<const Event*>& triggers) {
  std::optional<TriggerRecord>& slot = map[signal];
  if (slot && slot->trace.size() <= trace.size()) return;
  slot = TriggerRecord{std::move(trace), std::move(triggers)};
}

void decideReason(const StgPrefix& prefix, TriggerAnalysis& a) {
  size_t best = 0;
  for (uint32_t z = prefix.outputsBegin; z < prefix.dummiesBegin; ++z)
    if (a.mixed_events[z] && (!a.offending_signal || a.mixed_events[z]->trace.size() < best)) {
      a.offending_signal = prefix.signals[z];
      best = a.mixed_events[z]->trace.size();
    }
  if (a.offending_signal) {
    a.reason = 1;
    return;
  }
  for (uint32_t z = prefix.outputsBegin; z < prefix.dummiesBegin; ++z) {
    if (!a.p_hypotheses[z] || !a.n_hypotheses[z]) continue;
    size_t weight = a.p_hypotheses[z]->triggers.size() + a.n_hypotheses[z]->triggers.size();
    if (!a.offending_signal || weight < best) {
      a.offending_signal = prefix.signals[z];
      best = weight;
    }
  }
  if (a.offending_signal) a.reason = 2;
}

}  // namespace

TriggerAnalysis analyseTriggers(const StgPrefix& prefix) {
  TriggerAnalysis a;
  a.mixed_events.resize(prefix.signals.size());
  a.p_hypotheses.resize(prefix.signals.size());
  a.n_hypotheses.resize(prefix.signals.size());
  for (Event* e : prefix.events) {
    const Signal* z = e->transition->signal;
    if (eventIsCutOff(e) || !z || !isLocalSignal(z)) continue;
    std::vector<const Event*> triggers = triggerEvents(prefix, e);
    if (triggers.empty()) continue;
    Trace trace = localConfigurationAsTrace(e);
    if (a.mixed_events[z->index] && a.mixed_events[z->index]->trace.size() <= trace.size()) continue;
    bool mixed = std::any_of(triggers.begin(), triggers.end(),
                             [&](const Event* t) { return t->sign != triggers.front()->sign; });
    RecordMap& map = mixed ? a.mixed_events : triggers.front()->sign == e->sign ? a.p_hypotheses : a.n_hypotheses;
    offer(map, z->index, trace, triggers);
  }
  for (uint32_t z = prefix.outputsBegin; z < prefix.dummiesBegin; ++z)
    if (!a.mixed_events[z] && !a.p_hypotheses[z] && !a.n_hypotheses[z]) {
      reportError("cannot make a hyphothesis about the normalcy type of " + prefix.signals[z]->name);
      a.ok = false;
      return a;
    }
  decideReason(prefix, a);
  return a;
}

}  // namespace nurex
