// Evaluation of a normalised REACH predicate on the final states of traces: markings by
// replay, signal values by the edges fired, enabledness from the local configuration.
#include "verify/witness_check.h"

#include "reach/dummy_closure.h"
#include "verify/final_state.h"
#include "reach/reach_scope.h"
#include "sat/configuration.h"

namespace nurex {

namespace {

template <class Unit>
class WitnessEvaluator {
 public:
  using C = typename Unit::ConditionType;
  using E = typename Unit::EventType;

  WitnessEvaluator(const Unit& unit, WitnessSettings settings) : unit_(unit), settings_(settings) {}

  void add_level(uint32_t level, const Trace& trace) {
    if (finals_.size() <= level) finals_.resize(level + 1);
    Final& f = finals_[level];
    f.present = true;
    f.in.assign(unit_.events.size(), false);
    f.marked.assign(unit_.conditions.size(), false);
    for (const C* c : unit_.conditions) f.marked[c->index] = isInitialCondition(c);
    if constexpr (Unit::NetType::isStg) {
      for (const Signal* s : unit_.signals) f.code.push_back(s->initialValue == 1);
    }
    for (const TraceStep& step : trace) {
      const E* e = unit_.events[step.index];
      f.in[e->index] = true;
      for (const C* c : e->preset) f.marked[c->index] = false;
      for (const C* c : e->postset)
        if (c->index != NoIndex) f.marked[c->index] = true;
      if constexpr (Unit::NetType::isStg) {
        const Signal* s = e->transition->signal;
        if (s && !isDummySignal(s)) f.code[s->index] = e->sign == SignNone ? !f.code[s->index] : e->sign == SignPlus;
      }
    }
  }

  bool has_maximal_dummy() const {
    if constexpr (std::is_same_v<Unit, StgPrefix>) {
      for (const Final& f : finals_)
        for (const Event* e : unit_.events) {
          if (!f.present || !f.in[e->index] || !isDummyEvent(e)) continue;
          bool followed = false;
          for (const Condition* c : e->postset)
            for (const Event* g : c->postset) followed |= f.in[g->index];
          if (!followed) return true;
        }
    }
    return false;
  }

  bool holds(const ReachExpr& node) {
    return evaluateNormalised(node, lets_, [this](const ReachExpr& n) { return atom(n); });
  }

 private:
  struct Final {
    bool present = false;
    std::vector<bool> in, marked;
    std::vector<bool> code;  // per signal
  };

  bool atom(const ReachExpr& node) {
    uint32_t level = node.unary().level;
    if (level >= finals_.size() || !finals_[level].present) return false;
    const Final& f = finals_[level];
    const ReachExpr& x = *node.unary().child;
    const Signal* s = x.tag == ReachSignalValue ? std::get<const Signal*>(x.payload) : nullptr;
    if (node.tag == ReachState) {
      switch (x.tag) {
        case ReachEventValue: return f.in[static_cast<const E*>(x.nodeRef().node)->index];
        case ReachConditionValue: return f.marked[static_cast<const C*>(x.nodeRef().node)->index];
        case ReachPlaceValue: {
          const Place* p = std::get<const Place*>(x.payload);
          for (const C* c : unit_.conditions)
            if (c->place == p && f.marked[c->index]) return true;
          return false;
        }
        default: return value(f, s);
      }
    }
    if (node.tag == ReachNext) return value(f, s) != signal_enabled(f, s);
    switch (x.tag) {
      case ReachEventValue: return enabled(f, static_cast<const E*>(x.nodeRef().node));
      case ReachTransitionValue: {
        const Transition* t = std::get<const Transition*>(x.payload);
        for (const E* e : unit_.events)
          if (e->transition == t && enabled(f, e)) return true;
        return false;
      }
      default: return signal_enabled(f, s);
    }
  }

  bool value(const Final& f, const Signal* s) const { return s && s->index < f.code.size() && f.code[s->index]; }

  bool signal_enabled(const Final& f, const Signal* s) {
    for (const E* e : unit_.events)
      if (e->transition->signal == s && enabled(f, e)) return true;
    return false;
  }

  bool enabled(const Final& f, const E* e) {
    if constexpr (std::is_same_v<Unit, StgPrefix>) {
      scratch_.resize(unit_.events.size(), false);
      return enabledAfter(e, f.in, settings_.enable_via_dummies, scratch_);
    }
    for (const C* c : e->preset)
      if (!f.marked[c->index]) return false;
    return true;
  }

  const Unit& unit_;
  WitnessSettings settings_;
  std::vector<Final> finals_;  // by level number
  ReachScope<bool> lets_;
  std::vector<bool> scratch_;  // all false between calls
};

}  // namespace

template <class Unit>
bool witnessSatisfies(const Unit& unit, const ReachExpr& predicate, const std::vector<uint32_t>& levels,
                      const std::vector<Trace>& traces, WitnessSettings settings) {
  WitnessEvaluator<Unit> evaluator(unit, settings);
  for (size_t i = 0; i < traces.size() && i < levels.size(); ++i) evaluator.add_level(levels[i], traces[i]);
  if (settings.no_max_dummies && evaluator.has_maximal_dummy()) return false;
  return evaluator.holds(predicate);
}

template bool witnessSatisfies(const PetriNetPrefix&, const ReachExpr&, const std::vector<uint32_t>&,
                               const std::vector<Trace>&, WitnessSettings);
template bool witnessSatisfies(const StgPrefix&, const ReachExpr&, const std::vector<uint32_t>&,
                               const std::vector<Trace>&, WitnessSettings);
template bool witnessSatisfies(const PetriNetMergedProcess&, const ReachExpr&, const std::vector<uint32_t>&,
                               const std::vector<Trace>&, WitnessSettings);

}  // namespace nurex
