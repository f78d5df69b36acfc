// Construction, copying and release of REACH expression nodes.
#include "reach/reach_expr.h"

namespace nurex {

namespace {

template <class... F>
struct Overloaded : F... {
  using F::operator()...;
};
template <class... F>
Overloaded(F...) -> Overloaded<F...>;

void take(ReachExprPtr& child, std::vector<ReachExprPtr>& out) {
  if (child) out.push_back(std::move(child));
}

// Moves every child of a node into `out`.
void detachChildren(ReachExpr& expr, std::vector<ReachExprPtr>& out) {
  std::visit(Overloaded{[&](ReachUnary& u) { take(u.child, out); },
                        [&](ReachBinary& b) {
                          take(b.left, out);
                          take(b.right, out);
                        },
                        [&](ReachTernary& t) {
                          take(t.first, out);
                          take(t.second, out);
                          take(t.third, out);
                        },
                        [&](ReachList& l) {
                          take(l.threshold, out);
                          for (ReachExprPtr& item : l.items) take(item, out);
                          l.items.clear();
                        },
                        [&](ReachBinder& b) {
                          take(b.threshold, out);
                          take(b.domain, out);
                          take(b.filter, out);
                          take(b.body, out);
                        },
                        [](auto&) {}},
             expr.payload);
}

// A copy still to make: the source node and the slot that receives it.
using CopyWork = std::vector<std::pair<const ReachExpr*, ReachExprPtr*>>;

void schedule(const ReachExprPtr& from, ReachExprPtr& to, CopyWork& work) {
  if (from) work.emplace_back(from.get(), &to);
}

// The node without its children, whose copies are scheduled into its slots.
ReachExprPtr copyShallow(const ReachExpr& source, CopyWork& work) {
  ReachExprPtr copy = std::make_unique<ReachExpr>(source.tag, false);
  std::visit(Overloaded{[&](const ReachUnary& u) {
                          copy->payload = ReachUnary{u.level, nullptr};
                          schedule(u.child, copy->unary().child, work);
                        },
                        [&](const ReachBinary& b) {
                          copy->payload = ReachBinary{};
                          schedule(b.left, copy->binary().left, work);
                          schedule(b.right, copy->binary().right, work);
                        },
                        [&](const ReachTernary& t) {
                          copy->payload = ReachTernary{};
                          schedule(t.first, copy->ternary().first, work);
                          schedule(t.second, copy->ternary().second, work);
                          schedule(t.third, copy->ternary().third, work);
                        },
                        [&](const ReachList& l) {
                          copy->payload = ReachList{nullptr, std::vector<ReachExprPtr>(l.items.size())};
                          schedule(l.threshold, copy->list().threshold, work);
                          for (size_t i = 0; i < l.items.size(); ++i) schedule(l.items[i], copy->list().items[i], work);
                        },
                        [&](const ReachBinder& b) {
                          copy->payload = ReachBinder{nullptr, b.variable, nullptr, nullptr, nullptr};
                          schedule(b.threshold, copy->binder().threshold, work);
                          schedule(b.domain, copy->binder().domain, work);
                          schedule(b.filter, copy->binder().filter, work);
                          schedule(b.body, copy->binder().body, work);
                        },
                        [&](const auto& leaf) { copy->payload = leaf; }},
             source.payload);
  return copy;
}

}  // namespace

ReachExpr::~ReachExpr() {
  std::vector<ReachExprPtr> pending;
  detachChildren(*this, pending);
  while (!pending.empty()) {
    ReachExprPtr node = std::move(pending.back());
    pending.pop_back();
    detachChildren(*node, pending);
  }
}

const char* reachKindName(uint32_t kind) {
  static const char* const names[ReachKindCount] = {"fail",       "condition", "event",  "place", "transition",
                                                    "signal",     "numerical", "string", "bool"};
  return kind < ReachKindCount ? names[kind] : "?";
}

ReachExprPtr makeReachBool(bool value) { return std::make_unique<ReachExpr>(ReachBoolConst, value); }
ReachExprPtr makeReachNumber(int32_t value) { return std::make_unique<ReachExpr>(ReachNumConst, value); }
ReachExprPtr makeReachString(std::string text) {
  return std::make_unique<ReachExpr>(ReachStringConst, std::move(text));
}
ReachExprPtr makeReachVariable(std::string name) { return std::make_unique<ReachExpr>(ReachVariable, std::move(name)); }
ReachExprPtr makeReachCondition(const void* condition, uint32_t number) {
  return std::make_unique<ReachExpr>(ReachConditionValue, ReachNodeRef{condition, number});
}
ReachExprPtr makeReachEvent(const void* event, uint32_t number) {
  return std::make_unique<ReachExpr>(ReachEventValue, ReachNodeRef{event, number});
}
ReachExprPtr makeReachPlace(const Place* place) { return std::make_unique<ReachExpr>(ReachPlaceValue, place); }
ReachExprPtr makeReachTransition(const Transition* transition) {
  return std::make_unique<ReachExpr>(ReachTransitionValue, transition);
}
ReachExprPtr makeReachSignal(const Signal* signal) { return std::make_unique<ReachExpr>(ReachSignalValue, signal); }

ReachExprPtr makeReachFail(std::string message) {
  return makeReachUnary(ReachFail, makeReachString(std::move(message)));
}

ReachExprPtr makeReachUnary(ReachTag tag, ReachExprPtr child, uint32_t level) {
  return std::make_unique<ReachExpr>(tag, ReachUnary{level, std::move(child)});
}

ReachExprPtr makeReachBinary(ReachTag tag, ReachExprPtr left, ReachExprPtr right) {
  return std::make_unique<ReachExpr>(tag, ReachBinary{std::move(left), std::move(right)});
}

ReachExprPtr makeReachTernary(ReachTag tag, ReachExprPtr first, ReachExprPtr second, ReachExprPtr third) {
  return std::make_unique<ReachExpr>(tag, ReachTernary{std::move(first), std::move(second), std::move(third)});
}

ReachExprPtr makeReachList(ReachTag tag, std::vector<ReachExprPtr> items, ReachExprPtr threshold) {
  return std::make_unique<ReachExpr>(tag, ReachList{std::move(threshold), std::move(items)});
}

ReachExprPtr makeReachBinder(ReachTag tag, std::string variable, ReachExprPtr domain, ReachExprPtr filter,
                             ReachExprPtr body, ReachExprPtr threshold) {
  return std::make_unique<ReachExpr>(
      tag, ReachBinder{std::move(threshold), std::move(variable), std::move(domain), std::move(filter), std::move(body)});
}

// Copies without recursion, for the same reason as the release.
ReachExprPtr cloneReach(const ReachExpr& expr) {
  ReachExprPtr root;
  CopyWork work{{&expr, &root}};
  while (!work.empty()) {
    auto [source, slot] = work.back();
    work.pop_back();
    *slot = copyShallow(*source, work);
  }
  return root;
}

}  // namespace nurex
