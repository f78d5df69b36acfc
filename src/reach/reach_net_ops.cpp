// REACH operators that read the unit: predefined sets, look-ups by number and name, regular
// expressions over names, structure operators, node tests and the checks of state atoms.
#include "reach/reach_net_ops.h"

#include <regex.h>

#include <algorithm>
#include <cstring>

#include "reach/dummy_closure.h"
#include "reach/reach_values.h"
#include "sat/configuration.h"

namespace nurex {

namespace {

std::string validOnlyInStgs(const ReachExpr& node) { return "Valid only in STGs: " + printReach(node); }
std::string onlyInBranchingProcess(const ReachExpr& node) {
  return "Operator can only be applied in a branching process: " + printReach(node);
}

template <class Fn>
void forEachProducer(const Condition* c, Fn&& fn) {
  if (c->producer) fn(c->producer);
}
template <class Fn>
void forEachProducer(const MpCondition* c, Fn&& fn) {
  for (const MpEvent* e : c->preset) fn(e);
}

// A condition whose every producer is a cut-off is never marked after a configuration.
template <class C>
bool producedOnlyByCutOffs(const C* c) {
  if (isInitialCondition(c)) return false;
  bool any = false;
  forEachProducer(c, [&](const auto* e) { any |= !eventIsCutOff(e); });
  return !any;
}

template <class Node>
std::unordered_map<std::string, uint32_t> nameIndex(const NodeList<Node>& nodes) {
  std::unordered_map<std::string, uint32_t> index;
  for (const Node* n : nodes) index.emplace(n->name, n->index);
  return index;
}

bool noLookThrough(const Event*) { return false; }

// Whole-name matching of a POSIX extended expression; the pattern is anchored as a group.
class NameMatcher {
 public:
  explicit NameMatcher(const std::string& pattern) {
    std::string anchored = "^(" + pattern + ")$";
    status_ = regcomp(&regex_, anchored.c_str(), REG_EXTENDED | REG_NOSUB);
  }
  ~NameMatcher() {
    if (status_ == 0) regfree(&regex_);
  }
  NameMatcher(const NameMatcher&) = delete;
  NameMatcher& operator=(const NameMatcher&) = delete;
  bool ok() const { return status_ == 0; }
  std::string error() const {
    char buffer[256];
    regerror(status_, &regex_, buffer, sizeof buffer);
    return buffer;
  }
  bool matches(const std::string& name) const { return regexec(&regex_, name.c_str(), 0, nullptr, 0) == 0; }

 private:
  regex_t regex_;
  int status_;
};

// The legacy kind prefix of a transition name: one of O, I, i, d, then a point.
bool hasKindPrefix(const std::string& name) {
  return name.size() >= 2 && name[1] == '.' && name[0] != '\0' && std::strchr("OIid", name[0]);
}

}  // namespace

template <class Unit>
ReachNetOps<Unit>::ReachNetOps(const Unit& unit)
    : unit_(unit), placeByName_(nameIndex(unit.places)), transitionByName_(nameIndex(unit.transitions)) {
  std::vector<ReachExprPtr> conditions, events, cutoffs, places, transitions;
  for (const C* c : unit.conditions) conditions.push_back(conditionValue(c));
  for (const E* e : unit.events) {
    events.push_back(eventValue(e));
    if (eventIsCutOff(e)) cutoffs.push_back(eventValue(e));
  }
  for (const Place* p : unit.places) places.push_back(makeReachPlace(p));
  for (const Transition* t : unit.transitions) transitions.push_back(makeReachTransition(t));
  predefined_.emplace_back("CONDITIONS", makeReachSet(std::move(conditions)));
  predefined_.emplace_back("EVENTS", makeReachSet(std::move(events)));
  predefined_.emplace_back("CUTOFFS", makeReachSet(std::move(cutoffs)));
  predefined_.emplace_back("PLACES", makeReachSet(std::move(places)));
  predefined_.emplace_back("TRANSITIONS", makeReachSet(std::move(transitions)));
  const char* signalSets[] = {"SIGNALS", "INPUTS", "OUTPUTS", "INTERNAL", "DUMMY", "LOCAL"};
  if constexpr (isStg) {
    signalByName_ = nameIndex(unit.signals);
    for (int set = 0; set < 6; ++set) {
      std::vector<ReachExprPtr> members;
      for (const Signal* s : unit.signals) {
        bool in = set == 0 || s->kind == set - 1 || (set == 5 && (s->kind == SignalOutput || s->kind == SignalInternal));
        if (in) members.push_back(makeReachSignal(s));
      }
      predefined_.emplace_back(signalSets[set], makeReachSet(std::move(members)));
    }
  } else {
    for (const char* name : signalSets)
      predefined_.emplace_back(name, makeReachFail(std::string("Can refer to signals only in STGs: ") + name));
  }
}

template <class Unit>
const ReachExpr* ReachNetOps<Unit>::predefined(const std::string& name) const {
  for (const auto& [key, value] : predefined_)
    if (key == name) return value.get();
  return nullptr;
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::conditionValue(const C* c) const {
  return makeReachCondition(c, c->index + 1);
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::eventValue(const E* e) const {
  return makeReachEvent(e, e->index + 1);
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::apply(const ReachExpr& node) const {
  ReachTag tag = node.tag;
  bool signalOperator = tag == ReachSignalOf || tag == ReachSignals || tag == ReachSig ||
                        (tag >= ReachIsInput && tag <= ReachIsMinus);
  if (!isStg && signalOperator) return makeReachFail(validOnlyInStgs(node));
  if (!isBranching && (tag == ReachDownclose || tag == ReachTrig)) return makeReachFail(onlyInBranchingProcess(node));
  if (tag >= ReachCondOf && tag <= ReachSignalOf) return lookUp(node);
  if (tag >= ReachPlaces && tag <= ReachSignals) return matchNames(node);
  if (tag == ReachNumberOf || tag == ReachName) return numberOrName(node);
  if (tag == ReachDownclose) return downclose(*node.unary().child);
  if (tag == ReachTrig) return trig(*node.unary().child);
  if (tag >= ReachIsInit && tag <= ReachIsMinus) return nodeTest(node);
  return structure(node);
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::lookUp(const ReachExpr& node) const {
  const ReachExpr& key = *node.unary().child;
  uint32_t count = 0;
  const std::unordered_map<std::string, uint32_t>* names = nullptr;
  switch (node.tag) {
    case ReachCondOf: count = unit_.conditions.size(); break;
    case ReachEventOf: count = unit_.events.size(); break;
    case ReachPlaceOf: count = unit_.places.size(), names = &placeByName_; break;
    case ReachTransitionOf: count = unit_.transitions.size(), names = &transitionByName_; break;
    default:
      if constexpr (isStg) count = unit_.signals.size();
      names = &signalByName_;
      break;
  }
  int64_t position = -1;
  if (key.tag == ReachNumConst && key.number() >= 1 && static_cast<uint32_t>(key.number()) <= count) {
    position = key.number() - 1;
  } else if (key.tag == ReachStringConst && names) {
    auto it = names->find(key.text());
    if (it != names->end()) position = it->second;
  }
  if (position < 0) return makeReachFail("There is no node " + printReach(key));
  uint32_t i = static_cast<uint32_t>(position);
  switch (node.tag) {
    case ReachCondOf: return conditionValue(unit_.conditions[i]);
    case ReachEventOf: return eventValue(unit_.events[i]);
    case ReachPlaceOf: return makeReachPlace(unit_.places[i]);
    case ReachTransitionOf: return makeReachTransition(unit_.transitions[i]);
    default:
      if constexpr (isStg) return makeReachSignal(unit_.signals[i]);
      return nullptr;
  }
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::matchNames(const ReachExpr& node) const {
  const std::string& pattern = node.unary().child->text();
  NameMatcher matcher(pattern);
  if (!matcher.ok()) return makeReachFail("Error in a regular expression \"" + pattern + "\": " + matcher.error());
  std::vector<ReachExprPtr> items;
  if (node.tag == ReachPlaces) {
    for (const Place* p : unit_.places)
      if (matcher.matches(p->name)) items.push_back(makeReachPlace(p));
  } else if (node.tag == ReachTransitions) {
    for (const Transition* t : unit_.transitions) {
      bool kept = matcher.matches(t->name);
      if (!kept && isStg && hasKindPrefix(t->name)) kept = matcher.matches(t->name.substr(2));
      if (kept) items.push_back(makeReachTransition(t));
    }
  } else if constexpr (isStg) {
    for (const Signal* s : unit_.signals)
      if (matcher.matches(s->name)) items.push_back(makeReachSignal(s));
  }
  return makeReachSet(std::move(items));
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::numberOrName(const ReachExpr& node) const {
  const ReachExpr& x = *node.unary().child;
  if (node.tag == ReachName) {
    switch (x.tag) {
      case ReachPlaceValue: return makeReachString(std::get<const Place*>(x.payload)->name);
      case ReachTransitionValue: return makeReachString(std::get<const Transition*>(x.payload)->name);
      default: return makeReachString(std::get<const Signal*>(x.payload)->name);
    }
  }
  switch (x.tag) {
    case ReachPlaceValue: return makeReachNumber(std::get<const Place*>(x.payload)->index + 1);
    case ReachTransitionValue: return makeReachNumber(std::get<const Transition*>(x.payload)->index + 1);
    case ReachSignalValue: return makeReachNumber(std::get<const Signal*>(x.payload)->index + 1);
    default: return makeReachNumber(static_cast<int32_t>(x.nodeRef().number));
  }
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::signalKindTest(ReachTag tag, const Signal* s) const {
  uint8_t kind = s ? s->kind : uint8_t(SignalDummy);
  switch (tag) {
    case ReachIsInput: return makeReachBool(kind == SignalInput);
    case ReachIsOutput: return makeReachBool(kind == SignalOutput);
    case ReachIsInternal: return makeReachBool(kind == SignalInternal);
    case ReachIsDummy: return makeReachBool(kind == SignalDummy);
    default: return makeReachBool(kind == SignalOutput || kind == SignalInternal);  // is_local
  }
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::nodeTest(const ReachExpr& node) const {
  const ReachExpr& x = *node.unary().child;
  const Transition* t = nullptr;
  const E* e = nullptr;
  if (x.tag == ReachEventValue) e = static_cast<const E*>(x.nodeRef().node), t = e->transition;
  if (x.tag == ReachTransitionValue) t = std::get<const Transition*>(x.payload);
  switch (node.tag) {
    case ReachIsInit:
      switch (x.tag) {
        case ReachConditionValue: return makeReachBool(isInitialCondition(static_cast<const C*>(x.nodeRef().node)));
        case ReachEventValue:
          return makeReachBool(std::all_of(e->preset.begin(), e->preset.end(), [](const C* c) { return isInitialCondition(c); }));
        case ReachPlaceValue: return makeReachBool(std::get<const Place*>(x.payload)->tokens > 0);
        case ReachTransitionValue:
          return makeReachBool(std::all_of(t->preset.begin(), t->preset.end(), [](const Place* p) { return p->tokens > 0; }));
        default: {
          const Signal* s = std::get<const Signal*>(x.payload);
          if (isDummySignal(s)) return makeReachFail("Cannot refer to the initial state of a dummy signal: " + printReach(node));
          return makeReachBool(s->initialValue == 1);
        }
      }
    case ReachIsCutoff: return makeReachBool(eventIsCutOff(e));
    case ReachIsPlus:
    case ReachIsMinus: {
      uint32_t sign = e ? e->sign : t->sign;
      return makeReachBool(sign == (node.tag == ReachIsPlus ? SignPlus : SignMinus));
    }
    default:
      return signalKindTest(node.tag, t ? t->signal : std::get<const Signal*>(x.payload));
  }
}

template <class Unit>
void ReachNetOps<Unit>::image(ReachTag tag, const ReachExpr& value, std::vector<ReachExprPtr>& out) const {
  auto conditions = [&](const auto& list) {
    for (const C* c : list)
      if (c->index != NoIndex) out.push_back(conditionValue(c));  // a cut-off's unlisted postset is no node
  };
  auto events = [&](const auto& list) {
    for (const E* e : list) out.push_back(eventValue(e));
  };
  auto places = [&](const PtrArray<Place>& list) {
    for (const Place* p : list) out.push_back(makeReachPlace(p));
  };
  auto transitions = [&](const PtrArray<Transition>& list) {
    for (const Transition* t : list) out.push_back(makeReachTransition(t));
  };
  const Place* p = value.tag == ReachPlaceValue ? std::get<const Place*>(value.payload) : nullptr;
  const Transition* t = value.tag == ReachTransitionValue ? std::get<const Transition*>(value.payload) : nullptr;
  const Signal* s = value.tag == ReachSignalValue ? std::get<const Signal*>(value.payload) : nullptr;
  const C* c = value.tag == ReachConditionValue ? static_cast<const C*>(value.nodeRef().node) : nullptr;
  const E* e = value.tag == ReachEventValue ? static_cast<const E*>(value.nodeRef().node) : nullptr;
  switch (tag) {
    case ReachPre:
    case ReachPost: {
      bool pre = tag == ReachPre;
      if (c && pre) forEachProducer(c, [&](const E* x) { out.push_back(eventValue(x)); });
      if (c && !pre) events(c->postset);
      if (e) conditions(pre ? e->preset : e->postset);
      if (p) transitions(pre ? p->preset : p->postset);
      if (t) places(pre ? t->preset : t->postset);
      break;
    }
    case ReachConds:
      for (const C* x : unit_.conditions)
        if (x->place == p) out.push_back(conditionValue(x));
      break;
    case ReachEvs:
      for (const E* x : unit_.events)
        if (x->transition == t || (s && x->transition->signal == s)) out.push_back(eventValue(x));
      break;
    case ReachPls: out.push_back(makeReachPlace(c->place)); break;
    case ReachTran:
      if (e) out.push_back(makeReachTransition(e->transition));
      for (const Transition* x : unit_.transitions)
        if (s && x->signal == s) out.push_back(makeReachTransition(x));
      break;
    default: {  // sig
      const Signal* label = e ? e->transition->signal : t->signal;
      if (label) out.push_back(makeReachSignal(label));
      break;
    }
  }
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::structure(const ReachExpr& node) const {
  const ReachExpr& operand = *node.unary().child;
  std::vector<ReachExprPtr> items;
  if (operand.tag == ReachSetLiteral) {
    for (const ReachExprPtr& member : operand.list().items) image(node.tag, *member, items);
    return makeReachSet(std::move(items));
  }
  image(node.tag, operand, items);
  bool single = node.tag == ReachPls || node.tag == ReachSig || (node.tag == ReachTran && operand.tag == ReachEventValue);
  if (!single) return makeReachSet(std::move(items));
  if (items.size() != 1) return makeReachFail("There is no node " + printReach(node));
  return std::move(items[0]);
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::downclose(const ReachExpr& operand) const {
  std::vector<ReachExprPtr> items;
  if constexpr (isBranching) {
    std::vector<bool> seen(unit_.events.size(), false);
    std::vector<const Event*> pending;
    auto visit = [&](const ReachExpr& value) { pending.push_back(static_cast<const Event*>(value.nodeRef().node)); };
    if (operand.tag == ReachSetLiteral)
      for (const ReachExprPtr& member : operand.list().items) visit(*member);
    else
      visit(operand);
    while (!pending.empty()) {
      const Event* e = pending.back();
      pending.pop_back();
      if (seen[e->index]) continue;
      seen[e->index] = true;
      items.push_back(eventValue(e));
      for (const Condition* c : e->preset)
        if (c->producer) pending.push_back(c->producer);
    }
  }
  return makeReachSet(std::move(items));
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::trig(const ReachExpr& operand) const {
  std::vector<ReachExprPtr> items;
  if constexpr (isBranching) {
    std::vector<const Event*> triggers, excluded;
    triggerClosure(static_cast<const Event*>(operand.nodeRef().node), isStg ? isDummyEvent : noLookThrough, triggers,
                   excluded);
    for (const Event* e : triggers) items.push_back(eventValue(e));
  }
  return makeReachSet(std::move(items));
}

template <class Unit>
ReachExprPtr ReachNetOps<Unit>::checkStateAtom(const ReachExpr& node) const {
  const ReachExpr& x = *node.unary().child;
  if (x.tag == ReachSignalValue) {
    const Signal* s = std::get<const Signal*>(x.payload);
    if (!isDummySignal(s)) return nullptr;
    switch (node.tag) {
      case ReachState: return makeReachFail("Cannot refer to the state of a dummy signal in $\"" + s->name + "\"");
      case ReachEnabled:
        return makeReachFail("Cannot refer to the enabledness status of a dummy signal in @\"" + s->name + "\"");
      default: return makeReachFail("Cannot compute the next-state function for a dummy signal in \"" + s->name + "\"'");
    }
  }
  if (node.tag != ReachState) return nullptr;
  // A configuration of the search holds no cut-off, and so no condition that only a cut-off produces.
  if (x.tag == ReachEventValue && eventIsCutOff(static_cast<const E*>(x.nodeRef().node))) return makeReachBool(false);
  if (x.tag == ReachConditionValue && producedOnlyByCutOffs(static_cast<const C*>(x.nodeRef().node)))
    return makeReachBool(false);
  return nullptr;
}

template class ReachNetOps<PetriNetPrefix>;
template class ReachNetOps<StgPrefix>;
template class ReachNetOps<PetriNetMergedProcess>;

}  // namespace nurex
