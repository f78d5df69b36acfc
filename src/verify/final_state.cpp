// Explicit final states of prefix configurations, and the conflict-free and dummy cut-off
// tests of a prefix.
#include "verify/final_state.h"

#include <algorithm>

#include "reach/dummy_closure.h"

namespace nurex {

FinalState finalStateOf(const StgPrefix& prefix, const Trace& trace, bool viaDummies) {
  std::vector<uint8_t> cut(prefix.conditions.size(), 0);
  for (const Condition* c : prefix.conditions) cut[c->index] = c->producer == nullptr;
  std::vector<bool> in(prefix.events.size(), false);
  FinalState state;
  state.code.assign(prefix.signals.size(), 0);
  for (const Signal* s : prefix.signals)
    if (s->kind != SignalDummy) state.code[s->index] = s->initialValue == 1;
  // Produced minus consumed, so that any order of the events gives the same cut.
  for (const TraceStep& step : trace) {
    const Event* e = prefix.events[step.index];
    in[e->index] = true;
    for (const Condition* c : e->postset)
      if (c->index != NoIndex) cut[c->index] = 1;
    const Signal* s = e->transition->signal;
    if (s && s->kind != SignalDummy) state.code[s->index] ^= 1;  // consistency: every edge toggles
  }
  for (const TraceStep& step : trace)
    for (const Condition* c : prefix.events[step.index]->preset) cut[c->index] = 0;
  state.marking.assign(prefix.places.size(), 0);
  for (const Condition* c : prefix.conditions)
    if (cut[c->index]) ++state.marking[c->place->index];
  state.enabled.assign(prefix.signals.size(), 0);
  std::vector<bool> scratch(prefix.events.size(), false);
  for (const Event* e : prefix.events) {
    const Signal* s = e->transition->signal;
    if (!s || s->kind == SignalDummy || state.enabled[s->index]) continue;
    if (enabledAfter(e, in, viaDummies, scratch)) state.enabled[s->index] = 1;
  }
  return state;
}

bool enabledAfter(const Event* e, const std::vector<bool>& in, bool viaDummies, std::vector<bool>& scratch) {
  if (in[e->index]) return false;
  if (!viaDummies || !hasDummyProducer(e)) {
    for (const Condition* c : e->preset) {
      if (c->producer && !in[c->producer->index]) return false;
      for (const Event* f : c->postset)
        if (in[f->index]) return false;
    }
    return true;
  }
  std::vector<Event*> local = localConfiguration(const_cast<Event*>(e));
  bool ok = true;
  for (const Event* g : local) {
    ok = ok && (g == e || in[g->index] || isDummyEvent(g));
    scratch[g->index] = true;
  }
  for (const Event* g : local)
    for (const Condition* c : g->preset) {
      int consumers = 0;
      for (const Event* x : c->postset) consumers += in[x->index] || scratch[x->index];
      ok = ok && consumers <= 1;
    }
  for (const Event* g : local) scratch[g->index] = false;
  return ok;
}

bool codesEqual(const FinalState& a, const FinalState& b) { return a.code == b.code; }

bool codeDominated(const FinalState& a, const FinalState& b) {
  for (size_t i = 0; i < a.code.size(); ++i)
    if (a.code[i] > b.code[i]) return false;
  return true;
}

bool localExcitationDiffers(const StgPrefix& prefix, const FinalState& a, const FinalState& b) {
  for (uint32_t i = prefix.outputsBegin; i < prefix.dummiesBegin; ++i)
    if (a.enabled[i] != b.enabled[i]) return true;
  return false;
}

namespace {

// Transition counts of the local configuration of e (of nothing when e is null), added
// with the given sign into `counts`.
void addPast(const Event* e, int sign, std::vector<int64_t>& counts, std::vector<uint32_t>& mark, uint32_t generation) {
  if (!e) return;
  std::vector<const Event*> stack{e};
  mark[e->index] = generation;
  while (!stack.empty()) {
    const Event* x = stack.back();
    stack.pop_back();
    counts[x->transition->index] += sign;
    for (const Condition* c : x->preset) {
      const Event* p = c->producer;
      if (p && mark[p->index] != generation) {
        mark[p->index] = generation;
        stack.push_back(p);
      }
    }
  }
}

bool isDummyTransition(const Transition* t) { return !t->signal || t->signal->kind == SignalDummy; }

}  // namespace

bool hasDummyCutOffs(const StgPrefix& prefix) {
  std::vector<uint32_t> mark(prefix.events.size(), 0);
  uint32_t generation = 0;
  std::vector<int64_t> counts(prefix.transitions.size(), 0);
  for (const Event* e : prefix.events) {
    if (!eventIsCutOff(e) || !isDummyTransition(e->transition)) continue;
    if (e->correspondent.isUnknown()) return true;
    std::vector<Event*> correspondents = e->correspondent.correspondents();
    if (correspondents.empty()) correspondents.push_back(nullptr);  // the initial state
    for (const Event* c : correspondents) {
      std::fill(counts.begin(), counts.end(), 0);
      addPast(e, +1, counts, mark, ++generation);
      addPast(c, -1, counts, mark, ++generation);
      for (const Transition* t : prefix.transitions)
        if (counts[t->index] != 0 && !isDummyTransition(t)) return true;
    }
  }
  return false;
}

}  // namespace nurex
