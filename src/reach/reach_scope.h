// Scoped symbol tables of REACH: a name maps to a binding; inner scopes hide outer ones
// and die with the construct that opened them.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "reach/reach_expr.h"

namespace nurex {

template <class Binding>
class ReachScope {
 public:
  // Binds `name` in a new innermost scope.
  void open(const std::string& name, Binding binding) {
    marks_.push_back(entries_.size());
    entries_.emplace_back(name, std::move(binding));
  }
  // Binds `name` in the innermost scope, or in the outermost one when none is open.
  void declare(const std::string& name, Binding binding) { entries_.emplace_back(name, std::move(binding)); }
  // Closes the `count` innermost scopes.
  void close(size_t count = 1) {
    for (; count > 0 && !marks_.empty(); --count) {
      entries_.resize(marks_.back());
      marks_.pop_back();
    }
  }
  size_t depth() const { return marks_.size(); }
  // The innermost binding of `name`, or null.
  const Binding* find(const std::string& name) const {
    for (size_t i = entries_.size(); i-- > 0;)
      if (entries_[i].first == name) return &entries_[i].second;
    return nullptr;
  }

 private:
  std::vector<std::pair<std::string, Binding>> entries_;
  std::vector<size_t> marks_;  // first entry of each open scope
};

// What the type checker knows of a name.
struct ReachSymbol {
  ReachType type;
  bool constant;
};
using ReachSymbolTable = ReachScope<ReachSymbol>;

// The eleven names that every property may use.
struct ReachPredefinedName {
  const char* name;
  ReachKind elementKind;
};
inline constexpr ReachPredefinedName reachPredefinedNames[11] = {
    {"CONDITIONS", ReachConditionKind}, {"EVENTS", ReachEventKind},   {"CUTOFFS", ReachEventKind},
    {"PLACES", ReachPlaceKind},         {"TRANSITIONS", ReachTransitionKind}, {"SIGNALS", ReachSignalKind},
    {"INPUTS", ReachSignalKind},        {"OUTPUTS", ReachSignalKind}, {"INTERNAL", ReachSignalKind},
    {"DUMMY", ReachSignalKind},         {"LOCAL", ReachSignalKind},
};

// Declares the eleven names in the outermost scope, as constant sets, in their order.
inline void declarePredefinedNames(ReachSymbolTable& table) {
  for (const ReachPredefinedName& p : reachPredefinedNames)
    table.declare(p.name, ReachSymbol{ReachType::ofKind(p.elementKind).set(), true});
}

// The truth of a normalised predicate over one state or final configuration: the Boolean
// structure and `let` here, the atoms (state and next-state tests) by the caller.
template <class Atom>
bool evaluateNormalised(const ReachExpr& node, ReachScope<bool>& lets, Atom&& atom) {
  auto holds = [&](const ReachExpr& n) { return evaluateNormalised(n, lets, atom); };
  switch (node.tag) {
    case ReachBoolConst: return node.boolValue();
    case ReachVariable: {
      const bool* bound = lets.find(node.text());
      return bound && *bound;
    }
    case ReachNot: return !holds(*node.unary().child);
    case ReachAnd:
    case ReachOr:
    case ReachXor:
    case ReachThresholdList: {
      int64_t count = 0;
      for (const ReachExprPtr& item : node.list().items) count += holds(*item);
      int64_t size = static_cast<int64_t>(node.list().items.size());
      if (node.tag == ReachAnd) return count == size;
      if (node.tag == ReachOr) return count > 0;
      if (node.tag == ReachXor) return count % 2 == 1;
      return count >= node.list().threshold->number();
    }
    case ReachConditional: {
      const ReachTernary& t = node.ternary();
      return holds(*t.first) ? holds(*t.second) : holds(*t.third);
    }
    case ReachLet: {
      const ReachBinder& b = node.binder();
      lets.open(b.variable, holds(*b.domain));
      bool body = holds(*b.body);
      lets.close();
      return body;
    }
    default: return atom(node);
  }
}

}  // namespace nurex
