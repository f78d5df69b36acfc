// The REACH expression tree: value types, the 77 node kinds with their payloads, and
// the table-driven visits over them (printing, copying).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "model/net.h"

namespace nurex {

enum ReachKind : uint32_t {
  ReachFailKind = 0,
  ReachConditionKind = 1,
  ReachEventKind = 2,
  ReachPlaceKind = 3,
  ReachTransitionKind = 4,
  ReachSignalKind = 5,
  ReachNumericalKind = 6,
  ReachStringKind = 7,
  ReachBoolKind = 8,
  ReachKindCount = 9
};

// "fail", "condition", ..., "bool".
const char* reachKindName(uint32_t kind);

// A value kind with a set depth. Kept trivial, since parser stacks copy it bytewise.
struct ReachType {
  uint32_t kind;   // ReachKind
  uint32_t depth;  // 0 a plain value, 1 a set of such values, 2 a set of sets, ...

  static constexpr ReachType ofKind(uint32_t k) { return {k, 0}; }
  constexpr bool is(uint32_t k) const { return depth == 0 && kind == k; }
  constexpr bool isSet() const { return depth > 0; }
  constexpr ReachType element() const { return {kind, depth - 1}; }
  constexpr ReachType set() const { return {kind, depth + 1}; }
  friend constexpr bool operator==(ReachType a, ReachType b) { return a.kind == b.kind && a.depth == b.depth; }
};

// The node kinds, in the order of their tags.
enum ReachTag : uint8_t {
  ReachBoolConst, ReachNumConst, ReachStringConst,
  ReachConditionValue, ReachEventValue, ReachPlaceValue, ReachTransitionValue, ReachSignalValue,
  ReachVariable,
  ReachFail, ReachState, ReachEnabled, ReachNext,
  ReachCondOf, ReachEventOf, ReachPlaceOf, ReachTransitionOf, ReachSignalOf,  // C E P T S
  ReachPlaces, ReachTransitions, ReachSignals,                               // PP TT SS
  ReachNumberOf, ReachName, ReachToString, ReachLen, ReachDownclose, ReachTrig,
  ReachIsInit, ReachIsCutoff, ReachIsInput, ReachIsOutput, ReachIsInternal, ReachIsDummy,
  ReachIsLocal, ReachIsPlus, ReachIsMinus,
  ReachNot, ReachNegate, ReachPre, ReachPost,
  ReachConds, ReachEvs, ReachPls, ReachTran, ReachSig, ReachCard,
  ReachImpl, ReachIff,
  ReachAdd, ReachSub, ReachMul, ReachDiv, ReachMod,
  ReachEq, ReachNeq, ReachLess, ReachLeq, ReachGreater, ReachGeq,
  ReachConcat, ReachUnion, ReachIntersection, ReachDifference, ReachIn,
  ReachSubstring, ReachConditional,
  ReachAnd, ReachOr, ReachXor,
  ReachThresholdList, ReachSetLiteral,
  ReachForall, ReachExists, ReachXorsum, ReachThresholdQuantifier, ReachGather, ReachLet,
  ReachTagCount
};
static_assert(ReachTagCount == 77);

// The upper bound that `x[m..]` stands for.
constexpr int32_t ReachNoUpperBound = 2147483647;

struct ReachExpr;
using ReachExprPtr = std::unique_ptr<ReachExpr>;

// A condition or an event of the unit's prefix; the expander knows which node class.
struct ReachNodeRef {
  const void* node;
  uint32_t number;  // printed after "C " or "E "
};
// Tags 9 to 45: one operand.
struct ReachUnary {
  uint32_t level = 0;  // tags 10 to 12: the token's count minus 1
  ReachExprPtr child;
};
// Tags 46 to 63.
struct ReachBinary {
  ReachExprPtr left, right;
};
// Substring (string, from, to) and conditional (condition, then, else).
struct ReachTernary {
  ReachExprPtr first, second, third;
};
// `&`, `|`, `^`, set literal, and threshold over a list (which alone has a threshold).
struct ReachList {
  ReachExprPtr threshold;
  std::vector<ReachExprPtr> items;
};
// Quantifiers and `gather` (domain and filter), threshold quantifier (also threshold),
// and `let` (the definition in `domain`, no filter).
struct ReachBinder {
  ReachExprPtr threshold;
  std::string variable;
  ReachExprPtr domain, filter, body;
};

// One node: the tag names the kind, the payload holds the shape that the kind uses.
struct ReachExpr {
  using Payload = std::variant<bool, int32_t, std::string, ReachNodeRef, const Place*, const Transition*,
                               const Signal*, ReachUnary, ReachBinary, ReachTernary, ReachList, ReachBinder>;
  ReachTag tag;
  Payload payload;

  ReachExpr(ReachTag t, Payload p) : tag(t), payload(std::move(p)) {}
  ReachExpr(const ReachExpr&) = delete;
  ReachExpr& operator=(const ReachExpr&) = delete;
  // Releases the subtree without recursion, so that long operator chains cannot exhaust the stack.
  ~ReachExpr();

  bool boolValue() const { return std::get<bool>(payload); }
  int32_t number() const { return std::get<int32_t>(payload); }
  const std::string& text() const { return std::get<std::string>(payload); }
  const ReachNodeRef& nodeRef() const { return std::get<ReachNodeRef>(payload); }
  ReachUnary& unary() { return std::get<ReachUnary>(payload); }
  const ReachUnary& unary() const { return std::get<ReachUnary>(payload); }
  ReachBinary& binary() { return std::get<ReachBinary>(payload); }
  const ReachBinary& binary() const { return std::get<ReachBinary>(payload); }
  ReachTernary& ternary() { return std::get<ReachTernary>(payload); }
  const ReachTernary& ternary() const { return std::get<ReachTernary>(payload); }
  ReachList& list() { return std::get<ReachList>(payload); }
  const ReachList& list() const { return std::get<ReachList>(payload); }
  ReachBinder& binder() { return std::get<ReachBinder>(payload); }
  const ReachBinder& binder() const { return std::get<ReachBinder>(payload); }
};

ReachExprPtr makeReachBool(bool value);
ReachExprPtr makeReachNumber(int32_t value);
ReachExprPtr makeReachString(std::string text);
ReachExprPtr makeReachVariable(std::string name);
ReachExprPtr makeReachCondition(const void* condition, uint32_t number);
ReachExprPtr makeReachEvent(const void* event, uint32_t number);
ReachExprPtr makeReachPlace(const Place* place);
ReachExprPtr makeReachTransition(const Transition* transition);
ReachExprPtr makeReachSignal(const Signal* signal);
// A `fail` node over the string constant `message`.
ReachExprPtr makeReachFail(std::string message);
ReachExprPtr makeReachUnary(ReachTag tag, ReachExprPtr child, uint32_t level = 0);
ReachExprPtr makeReachBinary(ReachTag tag, ReachExprPtr left, ReachExprPtr right);
ReachExprPtr makeReachTernary(ReachTag tag, ReachExprPtr first, ReachExprPtr second, ReachExprPtr third);
ReachExprPtr makeReachList(ReachTag tag, std::vector<ReachExprPtr> items, ReachExprPtr threshold = nullptr);
// Quantifiers, gather and threshold quantifier; `let` passes its definition as domain and no filter.
ReachExprPtr makeReachBinder(ReachTag tag, std::string variable, ReachExprPtr domain, ReachExprPtr filter,
                             ReachExprPtr body, ReachExprPtr threshold = nullptr);

// A deep copy.
ReachExprPtr cloneReach(const ReachExpr& expr);

// Print priority of a node kind (100 binds tightest).
int reachPriority(ReachTag tag);
// The text form of a tree, with brackets by priority and associativity.
std::string printReach(const ReachExpr& expr);
// A string constant as printed: in double quotes, with escapes that the scanner reads back.
std::string quoteReachString(const std::string& text);

}  // namespace nurex
