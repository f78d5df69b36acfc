// Type rules of the REACH operators: leaves, prefix and postfix operators, binary
// operators, substrings and the conditional.
#include "platform/reporter.h"
#include "reach/reach_build.h"
#include "reach/reach_messages.h"

namespace nurex {

namespace {

constexpr uint32_t bit(uint32_t kind) { return 1u << kind; }
constexpr uint32_t NodeKinds = bit(ReachConditionKind) | bit(ReachEventKind) | bit(ReachPlaceKind) |
                               bit(ReachTransitionKind) | bit(ReachSignalKind);

enum PrefixRule : uint8_t {
  FixedResult,  // the result type of the row
  AnyButFail,   // `string`: everything but a plain fail
  AnySet,       // `card`: any set
  StructureOf,  // pre, post: set of the neighbour kind
  ImageOf,      // pls, tran, sig: a single node for a single node where the row allows it
};

struct PrefixRow {
  const char* name;      // as quoted in the message
  const char* expected;  // the kinds, as worded in the message
  uint32_t plainKinds;   // accepted kinds at depth 0
  uint32_t setKinds;     // accepted element kinds of a set at depth 1
  PrefixRule rule;
  ReachType result;  // FixedResult, and the kind of ImageOf
  bool stateful;     // $, @, next state: the result depends on the state
  bool anyOperand;   // the operand may depend on the state (~)
};

constexpr ReachType plain(ReachKind k) { return ReachType::ofKind(k); }
constexpr ReachType setOf(ReachKind k) { return ReachType::ofKind(k).set(); }

constexpr uint32_t Sig = bit(ReachSignalKind), Ev = bit(ReachEventKind), Tr = bit(ReachTransitionKind);
constexpr uint32_t Pl = bit(ReachPlaceKind), Co = bit(ReachConditionKind), Num = bit(ReachNumericalKind);
constexpr uint32_t Str = bit(ReachStringKind);

// Rows for the tags from ReachFail (9) to ReachCard (45).
constexpr PrefixRow prefixRows[] = {
    {"fail", "string", Str, 0, FixedResult, plain(ReachFailKind), false, false},
    {"$", "condition, event, place or signal", Co | Ev | Pl | Sig, 0, FixedResult, plain(ReachBoolKind), true, false},
    {"@", "event, transition or signal", Ev | Tr | Sig, 0, FixedResult, plain(ReachBoolKind), true, false},
    {"'", "signal", Sig, 0, FixedResult, plain(ReachBoolKind), true, false},
    {"C", "numerical", Num, 0, FixedResult, plain(ReachConditionKind), false, false},
    {"E", "numerical", Num, 0, FixedResult, plain(ReachEventKind), false, false},
    {"P", "numerical or string", Num | Str, 0, FixedResult, plain(ReachPlaceKind), false, false},
    {"T", "numerical or string", Num | Str, 0, FixedResult, plain(ReachTransitionKind), false, false},
    {"S", "numerical or string", Num | Str, 0, FixedResult, plain(ReachSignalKind), false, false},
    {"PP", "string", Str, 0, FixedResult, setOf(ReachPlaceKind), false, false},
    {"TT", "string", Str, 0, FixedResult, setOf(ReachTransitionKind), false, false},
    {"SS", "string", Str, 0, FixedResult, setOf(ReachSignalKind), false, false},
    {"#", "condition, event, place, transition or signal", NodeKinds, 0, FixedResult, plain(ReachNumericalKind),
     false, false},
    {"name", "place, transition or signal", Pl | Tr | Sig, 0, FixedResult, plain(ReachStringKind), false, false},
    {"string", "other than fail", 0, 0, AnyButFail, plain(ReachStringKind), false, false},
    {"len", "string", Str, 0, FixedResult, plain(ReachNumericalKind), false, false},
    {"downclose", "event or set thereof", Ev, Ev, FixedResult, setOf(ReachEventKind), false, false},
    {"trig", "event", Ev, 0, FixedResult, setOf(ReachEventKind), false, false},
    {"is_init", "condition, event, place, transition or signal", NodeKinds, 0, FixedResult, plain(ReachBoolKind),
     false, false},
    {"is_cutoff", "event", Ev, 0, FixedResult, plain(ReachBoolKind), false, false},
    {"is_input", "signal, transition or event", Sig | Tr | Ev, 0, FixedResult, plain(ReachBoolKind), false, false},
    {"is_output", "signal, transition or event", Sig | Tr | Ev, 0, FixedResult, plain(ReachBoolKind), false, false},
    {"is_internal", "signal, transition or event", Sig | Tr | Ev, 0, FixedResult, plain(ReachBoolKind), false,
     false},
    {"is_dummy", "signal, transition or event", Sig | Tr | Ev, 0, FixedResult, plain(ReachBoolKind), false, false},
    {"is_local", "signal, transition or event", Sig | Tr | Ev, 0, FixedResult, plain(ReachBoolKind), false, false},
    {"is_plus", "event or transition", Ev | Tr, 0, FixedResult, plain(ReachBoolKind), false, false},
    {"is_minus", "event or transition", Ev | Tr, 0, FixedResult, plain(ReachBoolKind), false, false},
    {"~", "bool", bit(ReachBoolKind), 0, FixedResult, plain(ReachBoolKind), false, true},
    {"unary -", "numerical", Num, 0, FixedResult, plain(ReachNumericalKind), false, false},
    {"pre", "condition, event, place, transition or set thereof", Co | Ev | Pl | Tr, Co | Ev | Pl | Tr, StructureOf,
     plain(ReachFailKind), false, false},
    {"post", "condition, event, place, transition or set thereof", Co | Ev | Pl | Tr, Co | Ev | Pl | Tr,
     StructureOf, plain(ReachFailKind), false, false},
    {"cond", "place or set thereof", Pl, Pl, FixedResult, setOf(ReachConditionKind), false, false},
    {"ev", "transition, signal or set thereof", Tr | Sig, Tr | Sig, FixedResult, setOf(ReachEventKind), false,
     false},
    {"places", "condition or set thereof", Co, Co, ImageOf, plain(ReachPlaceKind), false, false},
    {"tran", "event, signal or set thereof", Ev | Sig, Ev | Sig, ImageOf, plain(ReachTransitionKind), false, false},
    {"sig", "event, transition or set thereof", Ev | Tr, Ev | Tr, ImageOf, plain(ReachSignalKind), false, false},
    {"card", "set", 0, 0, AnySet, plain(ReachNumericalKind), false, false},
};
static_assert(sizeof prefixRows / sizeof prefixRows[0] == ReachCard - ReachFail + 1);

bool accepts(const PrefixRow& row, ReachType type) {
  switch (row.rule) {
    case AnyButFail:
      return !type.is(ReachFailKind);
    case AnySet:
      return type.isSet();
    default:
      if (type.depth == 0) return row.plainKinds & bit(type.kind);
      return type.depth == 1 && (row.setKinds & bit(type.kind));
  }
}

// The neighbours that `pre` and `post` lead to.
ReachKind structureNeighbour(uint32_t kind) {
  switch (kind) {
    case ReachConditionKind:
      return ReachEventKind;
    case ReachEventKind:
      return ReachConditionKind;
    case ReachPlaceKind:
      return ReachTransitionKind;
    default:
      return ReachPlaceKind;
  }
}

ReachType prefixResult(const PrefixRow& row, ReachType operand) {
  switch (row.rule) {
    case StructureOf:
      return setOf(structureNeighbour(operand.kind));
    case ImageOf: {
      // A signal labels many transitions, so `tran` of a signal is a set.
      bool single = operand.depth == 0 && !(row.result.kind == ReachTransitionKind && operand.kind == ReachSignalKind);
      return single ? row.result : row.result.set();
    }
    default:
      return row.result;
  }
}

std::string prefixMismatch(const PrefixRow& row, ReachTag tag, uint32_t count) {
  if (tag == ReachNext) return reachmsg::nextStateMismatch(count);
  std::string name = tag == ReachState || tag == ReachEnabled ? std::string(count, row.name[0]) : row.name;
  return reachmsg::operandMismatch(name, row.expected);
}

bool fail(const ReachLocation& at, const std::string& message) {
  reportReachError(at, message);
  return false;
}

void setOut(ReachAttr& out, ReachExprPtr node, ReachType type, bool constant) {
  out = ReachAttr{node.release(), type, constant};
}

bool isBool(const ReachOperand& o) { return o.type.is(ReachBoolKind); }

const char* binaryName(ReachTag tag) {
  switch (tag) {
    case ReachImpl: return "->";
    case ReachIff: return "<->";
    case ReachAdd: return "+";
    case ReachSub: return "-";
    case ReachMul: return "*";
    case ReachDiv: return "/";
    case ReachMod: return "%";
    case ReachEq: return "=";
    case ReachNeq: return "!=";
    case ReachLess: return "<";
    case ReachLeq: return "<=";
    case ReachGreater: return ">";
    case ReachGeq: return ">=";
    case ReachDifference: return "\\";
    case ReachIn: return "in";
    case ReachAnd: return "&";
    case ReachOr: return "|";
    default: return "^";
  }
}

bool isLogical(ReachTag tag) {
  return tag == ReachImpl || tag == ReachIff || tag == ReachAnd || tag == ReachOr || tag == ReachXor;
}

// The node kind that the operand type selects, or ReachTagCount when the type is not
// allowed; `expected` then holds the wording of the long message.
ReachTag arithmeticTag(ReachTag tag, ReachType type, const char*& expected) {
  bool numerical = type.is(ReachNumericalKind);
  switch (tag) {
    case ReachAdd:
      expected = "numerical, string or set";
      if (numerical) return ReachAdd;
      if (type.is(ReachStringKind)) return ReachConcat;
      return type.isSet() ? ReachUnion : ReachTagCount;
    case ReachMul:
      expected = "numerical or set";
      if (numerical) return ReachMul;
      return type.isSet() ? ReachIntersection : ReachTagCount;
    case ReachDifference:
      expected = "set";
      return type.isSet() ? ReachDifference : ReachTagCount;
    case ReachSub:
    case ReachDiv:
    case ReachMod:
      expected = "numerical";
      return numerical ? tag : ReachTagCount;
    default:  // comparisons take any type
      return tag;
  }
}

bool logicalBinary(ReachTag tag, ReachOperand& left, ReachOperand& right, ReachAttr& out) {
  for (ReachOperand* o : {&left, &right})
    if (!isBool(*o)) return fail(o->at, reachmsg::logicalMismatch(binaryName(tag)));
  bool constant = left.constant && right.constant;
  ReachExprPtr node;
  if (tag == ReachImpl || tag == ReachIff) {
    node = makeReachBinary(tag, std::move(left.expr), std::move(right.expr));
  } else {
    std::vector<ReachExprPtr> items;
    items.push_back(std::move(left.expr));
    items.push_back(std::move(right.expr));
    node = makeReachList(tag, std::move(items));
  }
  setOut(out, std::move(node), ReachType::ofKind(ReachBoolKind), constant);
  return true;
}

bool bothConstant(const ReachOperand& left, const ReachOperand& right) {
  if (!left.constant) return fail(left.at, reachmsg::constantExpected());
  if (!right.constant) return fail(right.at, reachmsg::constantExpected());
  return true;
}

}  // namespace

std::string formatReachLocation(const ReachLocation& at) {
  std::string text = std::to_string(at.first_line) + "." + std::to_string(at.first_column);
  if (at.first_line != at.last_line)
    return text + "-" + std::to_string(at.last_line) + "." + std::to_string(at.last_column);
  if (at.first_column >= at.last_column - 1) return text;
  return text + "-" + std::to_string(at.last_column - 1);
}

void reportReachError(const ReachLocation& at, const std::string& message) {
  reportError(reachmsg::incorrectSyntax(message, formatReachLocation(at)));
}

bool reachLiteral(ReachExprPtr node, ReachType type, ReachAttr& out) {
  setOut(out, std::move(node), type, true);
  return true;
}

bool reachIdentifier(const ReachSymbolTable& symbols, std::string* name, const ReachLocation& at, ReachAttr& out) {
  std::unique_ptr<std::string> owned(name);
  const ReachSymbol* symbol = symbols.find(*owned);
  if (!symbol) return fail(at, reachmsg::undeclaredIdentifier(*owned));
  setOut(out, makeReachVariable(std::move(*owned)), symbol->type, symbol->constant);
  return true;
}

bool reachPrefix(ReachTag tag, uint32_t count, ReachOperand operand, ReachAttr& out) {
  const PrefixRow& row = prefixRows[tag - ReachFail];
  if (!accepts(row, operand.type)) return fail(operand.at, prefixMismatch(row, tag, count));
  if (!row.anyOperand && !operand.constant) return fail(operand.at, reachmsg::constantExpected());
  ReachType result = prefixResult(row, operand.type);
  bool constant = !row.stateful && operand.constant;
  uint32_t level = row.stateful ? count - 1 : 0;
  setOut(out, makeReachUnary(tag, std::move(operand.expr), level), result, constant);
  return true;
}

bool reachBinary(ReachTag tag, ReachOperand left, ReachOperand right, const ReachLocation& whole, ReachAttr& out) {
  if (isLogical(tag)) return logicalBinary(tag, left, right, out);
  const char* name = binaryName(tag);
  if (tag == ReachIn) {
    if (!right.type.isSet()) return fail(right.at, reachmsg::inNotASet());
    if (!(left.type == right.type.element())) return fail(whole, reachmsg::operandsMismatch(name));
    if (!bothConstant(left, right)) return false;
    setOut(out, makeReachBinary(tag, std::move(left.expr), std::move(right.expr)), ReachType::ofKind(ReachBoolKind),
           true);
    return true;
  }
  if (!(left.type == right.type)) return fail(whole, reachmsg::operandsMismatch(name));
  if (!bothConstant(left, right)) return false;
  const char* expected = nullptr;
  ReachTag resolved = arithmeticTag(tag, left.type, expected);
  if (resolved == ReachTagCount) return fail(whole, reachmsg::operandsMismatch(name, expected));
  bool comparison = resolved >= ReachEq && resolved <= ReachGeq;
  ReachType type = comparison ? ReachType::ofKind(ReachBoolKind) : left.type;
  setOut(out, makeReachBinary(resolved, std::move(left.expr), std::move(right.expr)), type, true);
  return true;
}

bool reachSubstring(ReachOperand string, ReachOperand* from, ReachOperand* to, ReachAttr& out) {
  const char* form = from && to ? "[m..n]" : from ? "[m..]" : "[..n]";
  if (!string.type.is(ReachStringKind)) return fail(string.at, reachmsg::operandMismatch(form, "string"));
  if (!string.constant) return fail(string.at, reachmsg::constantExpected());
  for (ReachOperand* index : {from, to})
    if (index && !index->type.is(ReachNumericalKind)) return fail(index->at, reachmsg::indexMismatch(form));
  for (ReachOperand* index : {from, to})
    if (index && !index->constant) return fail(index->at, reachmsg::constantExpected());
  ReachExprPtr lower = from ? std::move(from->expr) : makeReachNumber(0);
  ReachExprPtr upper = to ? std::move(to->expr) : makeReachNumber(ReachNoUpperBound);
  setOut(out, makeReachTernary(ReachSubstring, std::move(string.expr), std::move(lower), std::move(upper)),
         ReachType::ofKind(ReachStringKind), true);
  return true;
}

bool reachConditional(ReachOperand condition, ReachOperand then, ReachOperand otherwise, const ReachLocation& whole,
                      ReachAttr& out) {
  if (!isBool(condition)) return fail(condition.at, reachmsg::conditionNotBoolean());
  ReachType type = then.type;
  bool allConstant = condition.constant && then.constant && otherwise.constant;
  if (then.type.is(ReachFailKind) || otherwise.type.is(ReachFailKind)) {
    if (!condition.constant) return fail(condition.at, reachmsg::failBranchNeedsConstantCondition());
    if (!isBool(then) && !isBool(otherwise) && !(then.constant && otherwise.constant))
      return fail(whole, reachmsg::conditionalOperands());
    if (then.type.is(ReachFailKind)) type = otherwise.type;
  } else {
    if (!(then.type == otherwise.type)) return fail(whole, reachmsg::branchesDiffer());
    if (!type.is(ReachBoolKind) && !allConstant) return fail(whole, reachmsg::conditionalOperands());
  }
  setOut(out,
         makeReachTernary(ReachConditional, std::move(condition.expr), std::move(then.expr),
                          std::move(otherwise.expr)),
         type, allConstant);
  return true;
}

}  // namespace nurex
