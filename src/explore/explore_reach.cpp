// REACH predicates for the explicit-state engine: normalised over a copy of the net shaped as
// the prefix engine's unit (without conditions and events), then bound to the net's own nodes.
#include <memory>

#include "explore/explorer.h"
#include "model/formats/g_reader.h"
#include "platform/reporter.h"
#include "reach/reach.h"
#include "reach/reach_normalise.h"

namespace nurex {

namespace {

// Kinds that speak of the prefix's conditions and events, which a copy without them would
// silently answer differently.
bool mentionsPrefixNodes(const ReachExpr& node) {
  switch (node.tag) {
    case ReachConditionValue:
    case ReachEventValue:
    case ReachCondOf:
    case ReachEventOf:
    case ReachConds:
    case ReachEvs:
    case ReachIsCutoff:
    case ReachDownclose:
    case ReachTrig: return true;
    default: break;
  }
  auto any = [](const auto&... children) { return ((children && mentionsPrefixNodes(*children)) || ...); };
  if (const auto* u = std::get_if<ReachUnary>(&node.payload)) return any(u->child);
  if (const auto* b = std::get_if<ReachBinary>(&node.payload)) return any(b->left, b->right);
  if (const auto* t = std::get_if<ReachTernary>(&node.payload)) return any(t->first, t->second, t->third);
  if (const auto* l = std::get_if<ReachList>(&node.payload)) {
    for (const ReachExprPtr& item : l->items)
      if (mentionsPrefixNodes(*item)) return true;
    return any(l->threshold);
  }
  if (const auto* b = std::get_if<ReachBinder>(&node.payload)) return any(b->threshold, b->domain, b->filter, b->body);
  return false;
}

// Whether the normal form is one the engine evaluates (state atoms of level 0 over places,
// transitions and signals), rebinding its nodes to those of `net` on the way.
bool bindNormalForm(ReachExpr& node, const Stg& net) {
  switch (node.tag) {
    case ReachBoolConst:
    case ReachVariable: return true;
    case ReachNot: return bindNormalForm(*node.unary().child, net);
    case ReachAnd:
    case ReachOr:
    case ReachXor:
    case ReachThresholdList:
      for (ReachExprPtr& item : node.list().items)
        if (!bindNormalForm(*item, net)) return false;
      return node.tag != ReachThresholdList || node.list().threshold->tag == ReachNumConst;
    case ReachConditional: {
      ReachTernary& t = node.ternary();
      return bindNormalForm(*t.first, net) && bindNormalForm(*t.second, net) && bindNormalForm(*t.third, net);
    }
    case ReachLet: return bindNormalForm(*node.binder().domain, net) && bindNormalForm(*node.binder().body, net);
    case ReachState:
    case ReachEnabled:
    case ReachNext: {
      if (node.unary().level != 0) return false;
      ReachExpr& x = *node.unary().child;
      if (x.tag == ReachPlaceValue) x.payload = static_cast<const Place*>(net.places[std::get<const Place*>(x.payload)->index]);
      else if (x.tag == ReachTransitionValue)
        x.payload = static_cast<const Transition*>(net.transitions[std::get<const Transition*>(x.payload)->index]);
      else if (x.tag == ReachSignalValue)
        x.payload = static_cast<const Signal*>(net.signals[std::get<const Signal*>(x.payload)->index]);
      else return false;
      return true;
    }
    default: return false;
  }
}

// The normal form names nodes of the copy, which must outlive the binding.
template <class Unit>
bool normaliseAndBind(const Unit& unit, ReachExprPtr& tree, const Stg& net) {
  normaliseReach(unit, tree);
  return bindNormalForm(*tree, net);
}

}  // namespace

ReachExprPtr normaliseExplorePredicate(const Stg& net, bool hasSignals, const std::vector<uint8_t>& values,
                                       const std::string& property, bool stgStates, std::string& why) {
  why.clear();
  ReachExprPtr tree = property.empty() ? nullptr : parseReachProperty(property);
  if (!tree || raiseStatus(0) >= StatusError) {
    why = "the predicate was not read";
    return nullptr;
  }
  if (mentionsPrefixNodes(*tree)) {
    why = "the predicate speaks of the prefix";
    return nullptr;
  }
  bool bound;
  if (hasSignals) {
    StgPrefix unit;
    copyStg(net, unit);
    for (Signal* s : unit.signals) s->initialValue = values[s->index];
    bound = normaliseAndBind(unit, tree, net);
  } else if (!stgStates) {
    auto copy = std::make_unique<Stg>();
    copyStg(net, *copy);
    PetriNetPrefix unit;
    static_cast<PetriNet&>(unit) = std::move(*withoutSignals(std::move(copy)));
    bound = normaliseAndBind(unit, tree, net);
  } else {
    why = "the mode needs an STG";
    return nullptr;
  }
  if (!bound) {
    why = "the predicate has no normal form over states";
    return nullptr;
  }
  return tree;
}

}  // namespace nurex
