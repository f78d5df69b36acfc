// Signal code, excitation and next-state literals of an STG prefix configuration. All gates
// are permanent and exact: their literals are cached in the record and outlive any
// temporary group.
#include "verify/signal_encoding.h"

#include "reach/dummy_closure.h"

namespace nurex {

SignalEncoding::SignalEncoding(const StgPrefix& prefix, bool via_dummies)
    : via_dummies(via_dummies),
      prefix_(prefix), phases_(prefix.signals.size()), events_(prefix.signals.size()) {
  for (const Event* e : prefix.events)
    if (e->transition->signal) events_[e->transition->signal->index].push_back(e);
  for (const Signal* s : prefix.signals) {
    if (s->kind == SignalDummy) continue;
    if (!buildSignalPhaseRecords(prefix, s, phases_[s->index])) {
      ok_ = false;
      return;
    }
  }
}

// Consistency makes the phases of one signal mutually exclusive, so their OR is the value.
Literal SignalEncoding::code(StgConfiguration& record, const Signal* s) {
  if (s->kind == SignalDummy) return LiteralFalse;
  CachedLiteral& cached = record.signal_code[s->index];
  if (cached.literal != LiteralUninit) return cached.literal;
  std::vector<Literal> phases, terms;
  for (const SignalPhaseRecord& phase : phases_[s->index]) {
    terms.clear();
    if (phase.head) terms.push_back(record.event_in(phase.head));
    for (const Event* f : phase.followers) terms.push_back(negate(record.event_in(f)));
    phases.push_back(record.formula.make_gate(GateAnd, terms, PermanentGroup, 0));
  }
  return record.formula.make_gate(cached, GateOr, phases, PermanentGroup, 0);
}

Literal SignalEncoding::event_enabled(StgConfiguration& record, const Event* e) {
  std::vector<Literal> children;
  enablingLiterals(record, e, via_dummies, 0, children);
  return record.formula.make_gate(GateAnd, children, PermanentGroup, 0);
}

Literal SignalEncoding::enabled(StgConfiguration& record, const Signal* s) {
  CachedLiteral& cached = record.signal_enabled[s->index];
  if (cached.literal != LiteralUninit) return cached.literal;
  std::vector<Literal> events;
  for (const Event* e : events_[s->index]) events.push_back(event_enabled(record, e));
  return record.formula.make_gate(cached, GateOr, events, PermanentGroup, 0);
}

Literal SignalEncoding::next(StgConfiguration& record, const Signal* s) {
  CachedLiteral& cached = record.signal_next[s->index];
  if (cached.literal != LiteralUninit) return cached.literal;
  Literal children[2] = {code(record, s), enabled(record, s)};
  return record.formula.make_gate(cached, GateXor, children, PermanentGroup, 0);
}

}  // namespace nurex
