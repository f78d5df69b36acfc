// REACH values that do not depend on the net: their order, set values, and the operators
// over numbers, strings and sets.
#include "reach/reach_values.h"

#include <algorithm>

namespace nurex {

namespace {

template <class T>
int threeWay(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}

uint32_t nodeNumber(const ReachExpr& e) {
  switch (e.tag) {
    case ReachPlaceValue: return std::get<const Place*>(e.payload)->index;
    case ReachTransitionValue: return std::get<const Transition*>(e.payload)->index;
    case ReachSignalValue: return std::get<const Signal*>(e.payload)->index;
    default: return e.nodeRef().number;
  }
}

int compareSets(const ReachExpr& a, const ReachExpr& b) {
  const auto& x = a.list().items;
  const auto& y = b.list().items;
  for (size_t i = 0; i < x.size() && i < y.size(); ++i)
    if (int c = compareReachValues(*x[i], *y[i])) return c;
  return threeWay(x.size(), y.size());
}

bool contains(const ReachExpr& set, const ReachExpr& item) {
  const auto& items = set.list().items;
  auto it = std::lower_bound(items.begin(), items.end(), item,
                             [](const ReachExprPtr& a, const ReachExpr& b) { return compareReachValues(*a, b) < 0; });
  return it != items.end() && compareReachValues(**it, item) == 0;
}

// Union, intersection or difference of two set values, both sorted.
ReachExprPtr combineSets(ReachTag tag, const ReachExpr& a, const ReachExpr& b) {
  std::vector<ReachExprPtr> items;
  for (const ReachExprPtr& x : a.list().items) {
    bool inB = contains(b, *x);
    if (tag == ReachUnion || (tag == ReachIntersection) == inB) items.push_back(cloneReach(*x));
  }
  if (tag == ReachUnion)
    for (const ReachExprPtr& y : b.list().items) items.push_back(cloneReach(*y));
  return makeReachSet(std::move(items));
}

ReachExprPtr arithmetic(const ReachExpr& node, int32_t a, int32_t b) {
  // 32-bit signed arithmetic that wraps: computed on unsigned words.
  uint32_t x = static_cast<uint32_t>(a), y = static_cast<uint32_t>(b);
  switch (node.tag) {
    case ReachAdd: return makeReachNumber(static_cast<int32_t>(x + y));
    case ReachSub: return makeReachNumber(static_cast<int32_t>(x - y));
    case ReachMul: return makeReachNumber(static_cast<int32_t>(x * y));
    default: break;
  }
  if (b == 0) return makeReachFail("Division by 0: " + printReach(node));
  // The one quotient that does not fit wraps to itself, and its remainder is 0.
  if (a == INT32_MIN && b == -1) return makeReachNumber(node.tag == ReachDiv ? INT32_MIN : 0);
  return makeReachNumber(node.tag == ReachDiv ? a / b : a % b);
}

bool ordered(ReachTag tag, int order) {
  switch (tag) {
    case ReachEq: return order == 0;
    case ReachNeq: return order != 0;
    case ReachLess: return order < 0;
    case ReachLeq: return order <= 0;
    case ReachGreater: return order > 0;
    default: return order >= 0;
  }
}

}  // namespace

bool isReachValue(const ReachExpr& e) {
  if (e.tag <= ReachSignalValue) return true;
  if (e.tag != ReachSetLiteral) return false;
  for (const ReachExprPtr& item : e.list().items)
    if (!isReachValue(*item)) return false;
  return true;
}

const std::string& reachFailMessage(const ReachExpr& fail) { return fail.unary().child->text(); }

int compareReachValues(const ReachExpr& a, const ReachExpr& b) {
  if (a.tag != b.tag) return threeWay(a.tag, b.tag);
  switch (a.tag) {
    case ReachBoolConst: return threeWay(a.boolValue(), b.boolValue());
    case ReachNumConst: return threeWay(a.number(), b.number());
    case ReachStringConst: return threeWay(a.text().compare(b.text()), 0);  // bytewise, as unsigned
    case ReachConditionValue:
    case ReachEventValue:
    case ReachPlaceValue:
    case ReachTransitionValue:
    case ReachSignalValue: return threeWay(nodeNumber(a), nodeNumber(b));
    case ReachSetLiteral: return compareSets(a, b);
    default: return threeWay(printReach(a), printReach(b));
  }
}

ReachExprPtr makeReachSet(std::vector<ReachExprPtr> items) {
  auto less = [](const ReachExprPtr& a, const ReachExprPtr& b) { return compareReachValues(*a, *b) < 0; };
  std::stable_sort(items.begin(), items.end(), less);
  auto same = [](const ReachExprPtr& a, const ReachExprPtr& b) { return compareReachValues(*a, *b) == 0; };
  items.erase(std::unique(items.begin(), items.end(), same), items.end());
  return makeReachList(ReachSetLiteral, std::move(items));
}

std::string reachSubstring(const std::string& text, int32_t from, int32_t to) {
  int64_t length = static_cast<int64_t>(text.size());
  int64_t first = std::max<int64_t>(from, 0), last = std::min<int64_t>(to, length - 1);
  if (text.empty() || last < 0 || first > last || first >= length) return "";
  return text.substr(static_cast<size_t>(first), static_cast<size_t>(last - first + 1));
}

ReachExprPtr foldReachUnaryValue(const ReachExpr& node) {
  const ReachExpr& operand = *node.unary().child;
  switch (node.tag) {
    case ReachToString: return makeReachString(printReach(operand));
    case ReachLen: return makeReachNumber(static_cast<int32_t>(operand.text().size()));
    case ReachNegate: return makeReachNumber(static_cast<int32_t>(0u - static_cast<uint32_t>(operand.number())));
    default: return makeReachNumber(static_cast<int32_t>(operand.list().items.size()));  // card
  }
}

ReachExprPtr foldReachBinaryValue(const ReachExpr& node) {
  const ReachExpr& a = *node.binary().left;
  const ReachExpr& b = *node.binary().right;
  switch (node.tag) {
    case ReachAdd:
    case ReachSub:
    case ReachMul:
    case ReachDiv:
    case ReachMod: return arithmetic(node, a.number(), b.number());
    case ReachConcat: return makeReachString(a.text() + b.text());
    case ReachUnion:
    case ReachIntersection:
    case ReachDifference: return combineSets(node.tag, a, b);
    case ReachIn: return makeReachBool(contains(b, a));
    default: return makeReachBool(ordered(node.tag, compareReachValues(a, b)));
  }
}

ReachExprPtr foldReachSubstring(const ReachExpr& node) {
  const ReachTernary& t = node.ternary();
  return makeReachString(reachSubstring(t.first->text(), t.second->number(), t.third->number()));
}

}  // namespace nurex
