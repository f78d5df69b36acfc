// Encoding of normalised REACH predicates: Boolean operators as gates with the polarity of
// the call (Plaisted-Greenbaum), `let` literals, and the state atoms of each configuration
// level, each cached in its level's tables.
#include "reach/reach_encode.h"

#include "platform/reporter.h"
#include "reach/dummy_closure.h"
#include "sat/bit_vector_encoder.h"

namespace nurex {

namespace {

// A cached literal serves a request when its clauses cover the direction asked for.
bool covers(const CachedLiteral& cached, Polarity polarity) {
  return cached.literal != LiteralUninit && (cached.polarity == 0 || cached.polarity == polarity);
}

}  // namespace

template <class Unit>
ReachEncoder<Unit>::ReachEncoder(SatFormula& formula, const Unit& unit, bool enable_via_dummies, int group,
                                 LevelFactory make_level)
    : formula_(formula),
      unit_(unit),
      via_dummies_(enable_via_dummies),
      group_(group),
      make_level_(std::move(make_level)) {}

template <class Unit>
void ReachEncoder<Unit>::index_events() {
  if (indexed_) return;
  indexed_ = true;
  events_of_transition_.resize(unit_.transitions.size());
  for (const E* e : unit_.events) events_of_transition_[e->transition->index].push_back(e);
  if constexpr (Unit::NetType::isStg) {
    events_of_signal_.resize(unit_.signals.size());
    for (const E* e : unit_.events)
      if (const Signal* s = e->transition->signal) events_of_signal_[s->index].push_back(e);
    if constexpr (!Unit::isMergedProcess) {
      phases_.resize(unit_.signals.size());
      for (const Signal* s : unit_.signals)
        if (!isDummySignal(s)) buildSignalPhaseRecords(unit_, s, phases_[s->index]);
    }
  }
}

template <class Unit>
typename ReachEncoder<Unit>::Level& ReachEncoder<Unit>::level(uint32_t number) {
  index_events();
  if (levels_.size() <= number) levels_.resize(number + 1);
  if (!levels_[number]) {
    auto made = std::make_unique<Level>();
    made->record = &make_level_(number);
    made->event_enabled.resize(unit_.events.size());
    for (const auto& records : phases_) made->phase.emplace_back(records.size());
    levels_[number] = std::move(made);
  }
  return *levels_[number];
}

template <class Unit>
Literal ReachEncoder<Unit>::encode(const ReachExpr& node, Polarity polarity) {
  switch (node.tag) {
    case ReachBoolConst: return constant_literal(node.boolValue());
    case ReachVariable: {
      const Literal* bound = lets_.find(node.text());
      return bound ? *bound : internal_error(node);
    }
    case ReachNot: return negate(encode(*node.unary().child, -polarity));
    case ReachAnd: return junction(node, GateAnd, polarity, polarity);
    case ReachOr: return junction(node, GateOr, polarity, polarity);
    // Both phases of every operand matter to a parity.
    case ReachXor: return junction(node, GateXor, 0, 0);
    case ReachConditional: {
      const ReachTernary& t = node.ternary();
      Literal c = encode(*t.first, 0);
      Literal a = encode(*t.second, polarity);
      Literal b = encode(*t.third, polarity);
      // The gate reads "if its first child then its third else its second".
      return formula_.make_gate(GateIte, {c, b, a}, group_, polarity);
    }
    case ReachThresholdList: {
      int32_t k = node.list().threshold->number();
      if (k <= 0) return LiteralTrue;
      std::vector<Literal> operands;
      for (const ReachExprPtr& item : node.list().items) operands.push_back(encode(*item, polarity));
      return BitVectorEncoder(formula_, group_).more_than(operands, k - 1, polarity);
    }
    case ReachLet: {
      const ReachBinder& b = node.binder();
      Literal definition = encode(*b.domain, 0);
      lets_.open(b.variable, definition);
      Literal body = encode(*b.body, polarity);
      lets_.close();
      return body;
    }
    case ReachState:
    case ReachEnabled:
    case ReachNext: return atom(node, polarity);
    default: return internal_error(node);
  }
}

template <class Unit>
Literal ReachEncoder<Unit>::junction(const ReachExpr& node, GateKind kind, Polarity operands, Polarity polarity) {
  std::vector<Literal> literals;
  for (const ReachExprPtr& item : node.list().items) literals.push_back(encode(*item, operands));
  return formula_.make_gate(kind, literals, group_, polarity);
}

template <class Unit>
Literal ReachEncoder<Unit>::internal_error(const ReachExpr& node) {
  reportError("unexpected node in a normalised predicate: " + printReach(node));
  return LiteralFalse;
}

template <class Unit>
Literal ReachEncoder<Unit>::atom(const ReachExpr& node, Polarity polarity) {
  Level& at = level(node.unary().level);
  const ReachExpr& value = *node.unary().child;
  if (node.tag == ReachState) return state(at, value, polarity);
  // Normalisation lets signal values through only in STGs.
  const Signal* s = value.tag == ReachSignalValue && Unit::NetType::isStg ? std::get<const Signal*>(value.payload) : nullptr;
  if (node.tag == ReachNext) return s ? signal_next(at, s, polarity) : internal_error(node);
  switch (value.tag) {
    case ReachEventValue: return event_enabled(at, static_cast<const E*>(value.nodeRef().node), polarity);
    case ReachTransitionValue: return transition_enabled(at, std::get<const Transition*>(value.payload), polarity);
    case ReachSignalValue: return s ? signal_enabled(at, s, polarity) : internal_error(node);
    default: return internal_error(node);
  }
}

template <class Unit>
Literal ReachEncoder<Unit>::state(Level& at, const ReachExpr& value, Polarity polarity) {
  switch (value.tag) {
    case ReachEventValue: return at.record->event_in(static_cast<const E*>(value.nodeRef().node));
    case ReachConditionValue: return at.record->marked(static_cast<const C*>(value.nodeRef().node), polarity);
    case ReachPlaceValue: return at.record->place_marked(std::get<const Place*>(value.payload), polarity);
    case ReachSignalValue:
      if (!Unit::NetType::isStg) return internal_error(value);
      return signal_value(at, std::get<const Signal*>(value.payload), polarity);
    default: return internal_error(value);
  }
}

// Plainly, every preset condition is marked. Through dummies (trigger closure), every
// trigger has occurred and no event has taken a token on the way.
template <class Unit>
Literal ReachEncoder<Unit>::event_enabled(Level& at, const E* e, Polarity polarity) {
  CachedLiteral& cached = at.event_enabled[e->index];
  if (covers(cached, polarity)) return cached.literal;
  std::vector<Literal> children;
  if constexpr (std::is_same_v<Unit, StgPrefix>) {
    enablingLiterals(*at.record, e, via_dummies_, polarity, children);
    return formula_.make_gate(cached, GateAnd, children, group_, polarity);
  }
  for (const C* c : e->preset) children.push_back(at.record->marked(c, polarity));
  return formula_.make_gate(cached, GateAnd, children, group_, polarity);
}

template <class Unit>
Literal ReachEncoder<Unit>::transition_enabled(Level& at, const Transition* t, Polarity polarity) {
  return any_enabled(at, at.record->transition_enabled[t->index], events_of_transition_[t->index], polarity);
}

// A transition or signal is enabled when one of its events is.
template <class Unit>
Literal ReachEncoder<Unit>::any_enabled(Level& at, CachedLiteral& cached, const std::vector<const E*>& events,
                                        Polarity polarity) {
  if (covers(cached, polarity)) return cached.literal;
  std::vector<Literal> children;
  for (const E* e : events) children.push_back(event_enabled(at, e, polarity));
  return formula_.make_gate(cached, GateOr, children, group_, polarity);
}

// One phase record per time the signal is 1: its rise happened (if it has one) and none of
// the falls that follow it.
template <class Unit>
Literal ReachEncoder<Unit>::signal_value(Level& at, const Signal* s, Polarity polarity) {
  CachedLiteral& cached = at.record->signal_code[s->index];
  if (covers(cached, polarity)) return cached.literal;
  std::vector<Literal> phases, children;
  if constexpr (std::is_same_v<Unit, StgPrefix>) {
    const std::vector<SignalPhaseRecord>& records = phases_[s->index];
    for (size_t r = 0; r < records.size(); ++r) {
      children.clear();
      if (records[r].head) children.push_back(at.record->event_in(records[r].head));
      for (const Event* f : records[r].followers) children.push_back(negate(at.record->event_in(f)));
      phases.push_back(formula_.make_gate(at.phase[s->index][r], GateAnd, children, group_, polarity));
    }
  }
  return formula_.make_gate(cached, GateOr, phases, group_, polarity);
}

template <class Unit>
Literal ReachEncoder<Unit>::signal_enabled(Level& at, const Signal* s, Polarity polarity) {
  return any_enabled(at, at.record->signal_enabled[s->index], events_of_signal_[s->index], polarity);
}

// The signal is 1 in the next state when it is 1 now and not enabled, or 0 and enabled.
template <class Unit>
Literal ReachEncoder<Unit>::signal_next(Level& at, const Signal* s, Polarity polarity) {
  CachedLiteral& cached = at.record->signal_next[s->index];
  if (covers(cached, polarity)) return cached.literal;
  Literal operands[2] = {signal_value(at, s, 0), signal_enabled(at, s, 0)};
  return formula_.make_gate(cached, GateXor, operands, group_, polarity);
}

template class ReachEncoder<PetriNetPrefix>;
template class ReachEncoder<StgPrefix>;
template class ReachEncoder<PetriNetMergedProcess>;

}  // namespace nurex
