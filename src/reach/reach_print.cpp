// The printer of REACH trees: one handler per node kind, brackets by priority and associativity.
#include <cstdio>

#include "reach/reach_expr.h"

namespace nurex {

namespace {

enum Assoc : uint8_t { AssocNone, AssocLeft, AssocRight };

struct TagStyle {
  const char* text;  // operator or keyword as printed
  uint8_t priority;
  Assoc assoc;
};

// `->` prints at priority 98 although it binds loosely in the grammar; its printed form is
// kept as it has always been, brackets and all. Likewise `downclose` prints as "downlose".
constexpr TagStyle styles[ReachTagCount] = {
    {"", 100, AssocNone}, {"", 100, AssocNone}, {"", 100, AssocNone}, {"C ", 100, AssocNone},
    {"E ", 100, AssocNone}, {"", 100, AssocNone}, {"", 100, AssocNone}, {"", 100, AssocNone},
    {"", 100, AssocNone},                                                       // variable
    {"fail", 98, AssocNone}, {"$", 98, AssocNone}, {"@", 98, AssocNone}, {"'", 99, AssocNone},
    {"C", 98, AssocNone}, {"E", 98, AssocNone}, {"P", 98, AssocNone}, {"T", 98, AssocNone}, {"S", 98, AssocNone},
    {"PP", 98, AssocNone}, {"TT", 98, AssocNone}, {"SS", 98, AssocNone},
    {"#", 98, AssocNone}, {"name", 98, AssocNone}, {"string", 98, AssocNone}, {"len", 98, AssocNone},
    {"downlose", 98, AssocNone}, {"trig", 98, AssocNone},
    {"is_init", 98, AssocNone}, {"is_cutoff", 98, AssocNone}, {"is_input", 98, AssocNone},
    {"is_output", 98, AssocNone}, {"is_internal", 98, AssocNone}, {"is_dummy", 98, AssocNone},
    {"is_local", 98, AssocNone}, {"is_plus", 98, AssocNone}, {"is_minus", 98, AssocNone},
    {"~", 98, AssocNone}, {"-", 98, AssocNone}, {"pre", 98, AssocNone}, {"post", 98, AssocNone},
    {"cond", 98, AssocNone}, {"ev", 98, AssocNone}, {"pls", 98, AssocNone}, {"tran", 98, AssocNone},
    {"sig", 98, AssocNone}, {"card", 98, AssocNone},
    {"->", 98, AssocRight}, {"<->", 89, AssocLeft},
    {"+", 96, AssocLeft}, {"-", 96, AssocLeft}, {"*", 97, AssocLeft}, {"/", 97, AssocLeft}, {"%", 97, AssocLeft},
    {"=", 94, AssocNone}, {"!=", 94, AssocNone}, {"<", 94, AssocNone}, {"<=", 94, AssocNone},
    {">", 94, AssocNone}, {">=", 94, AssocNone},
    {"+", 96, AssocLeft}, {"+", 96, AssocLeft}, {"*", 97, AssocLeft}, {"\\", 96, AssocLeft}, {"in", 95, AssocNone},
    {"", 99, AssocLeft},                                                        // substring
    {"", 88, AssocLeft},                                                        // conditional
    {"&", 93, AssocLeft}, {"|", 91, AssocLeft}, {"^", 92, AssocLeft},
    {"threshold", 100, AssocNone}, {"", 100, AssocNone},
    {"forall", 100, AssocNone}, {"exists", 100, AssocNone}, {"xorsum", 100, AssocNone},
    {"threshold", 100, AssocNone}, {"gather", 100, AssocNone}, {"let", 100, AssocNone},
};

static_assert(styles[ReachIn].priority == 95 && styles[ReachSubstring].priority == 99 &&
              styles[ReachLet].text[0] == 'l', "one style per node kind, in tag order");

enum Side { LeftSide, RightSide };

// What is left to print of one node, in reading order: texts, and children not yet
// printed. The printer keeps a stack of these rather than recursing, so that the depth of a
// tree (a long chain of `+` or `&` nests deeply) cannot exhaust the call stack.
struct Part {
  const ReachExpr* node;  // null for a text
  std::string text;
};
using Parts = std::vector<Part>;

void text(Parts& parts, std::string t) { parts.push_back({nullptr, std::move(t)}); }
void node(Parts& parts, const ReachExpr& child) { parts.push_back({&child, {}}); }

// A child of an operator: bracketed when it binds more loosely, or equally without the
// associativity of its side.
void operand(Parts& parts, const ReachExpr& child, ReachTag parent, Side side) {
  int own = styles[child.tag].priority, outer = styles[parent].priority;
  Assoc needed = side == LeftSide ? AssocLeft : AssocRight;
  bool brackets = own < outer || (own == outer && styles[parent].assoc != needed);
  if (brackets) text(parts, "(");
  node(parts, child);
  if (brackets) text(parts, ")");
}

void printBool(const ReachExpr& e, Parts& p) { text(p, e.boolValue() ? "true" : "false"); }
void printNumber(const ReachExpr& e, Parts& p) { text(p, std::to_string(e.number())); }
void printStringConst(const ReachExpr& e, Parts& p) { text(p, quoteReachString(e.text())); }
void printNodeRef(const ReachExpr& e, Parts& p) { text(p, styles[e.tag].text + std::to_string(e.nodeRef().number)); }
void printPlace(const ReachExpr& e, Parts& p) { text(p, std::get<const Place*>(e.payload)->name); }
void printTransition(const ReachExpr& e, Parts& p) { text(p, std::get<const Transition*>(e.payload)->name); }
void printSignal(const ReachExpr& e, Parts& p) { text(p, std::get<const Signal*>(e.payload)->name); }
void printVariable(const ReachExpr& e, Parts& p) { text(p, e.text()); }

// The operand of a prefix operator: in brackets right behind it when it binds more loosely,
// else after a blank.
void prefixOperand(Parts& p, const ReachExpr& child) {
  bool brackets = styles[child.tag].priority < 98;
  text(p, brackets ? "(" : " ");
  node(p, child);
  if (brackets) text(p, ")");
}

void printPrefix(const ReachExpr& e, Parts& p) {
  text(p, styles[e.tag].text);
  prefixOperand(p, *e.unary().child);
}

// `$` and `@` repeat their sign once per configuration level.
void printStateOperator(const ReachExpr& e, Parts& p) {
  text(p, std::string(e.unary().level + 1, styles[e.tag].text[0]));
  prefixOperand(p, *e.unary().child);
}

void printNext(const ReachExpr& e, Parts& p) {
  operand(p, *e.unary().child, e.tag, LeftSide);
  text(p, std::string(e.unary().level + 1, '\''));
}

void printBinary(const ReachExpr& e, Parts& p) {
  operand(p, *e.binary().left, e.tag, LeftSide);
  text(p, std::string(" ") + styles[e.tag].text + " ");
  operand(p, *e.binary().right, e.tag, RightSide);
}

bool isNumber(const ReachExpr& e, bool (*test)(int32_t)) { return e.tag == ReachNumConst && test(e.number()); }

void printSubstring(const ReachExpr& e, Parts& p) {
  const ReachTernary& t = e.ternary();
  operand(p, *t.first, e.tag, LeftSide);
  text(p, "[");
  if (!isNumber(*t.second, [](int32_t v) { return v <= 0; })) node(p, *t.second);
  text(p, "..");
  if (!isNumber(*t.third, [](int32_t v) { return v == ReachNoUpperBound; })) node(p, *t.third);
  text(p, "]");
}

void printConditional(const ReachExpr& e, Parts& p) {
  const ReachTernary& t = e.ternary();
  operand(p, *t.first, e.tag, LeftSide);
  text(p, " ? ");
  operand(p, *t.second, e.tag, RightSide);
  text(p, " : ");
  operand(p, *t.third, e.tag, RightSide);
}

void printJunction(const ReachExpr& e, Parts& p) {
  const std::vector<ReachExprPtr>& items = e.list().items;
  for (size_t i = 0; i < items.size(); ++i) {
    if (i) text(p, std::string(" ") + styles[e.tag].text + " ");
    operand(p, *items[i], e.tag, i ? RightSide : LeftSide);
  }
}

void printItems(const std::vector<ReachExprPtr>& items, Parts& p) {
  for (size_t i = 0; i < items.size(); ++i) {
    if (i) text(p, ", ");
    node(p, *items[i]);
  }
}

void printThresholdValue(const ReachExpr& threshold, Parts& p) {
  text(p, "threshold[");
  node(p, threshold);
  text(p, "]");
}

void printThresholdList(const ReachExpr& e, Parts& p) {
  printThresholdValue(*e.list().threshold, p);
  text(p, "(");
  printItems(e.list().items, p);
  text(p, ")");
}

void printSet(const ReachExpr& e, Parts& p) {
  text(p, "{");
  printItems(e.list().items, p);
  text(p, "}");
}

// Everything behind the keyword of a quantifier: variable, domain, filter unless true, body.
void printBinding(const ReachBinder& b, Parts& p) {
  text(p, " " + b.variable + " in ");
  node(p, *b.domain);
  if (!(b.filter->tag == ReachBoolConst && b.filter->boolValue())) {
    text(p, " s.t. ");
    node(p, *b.filter);
  }
  text(p, " { ");
  node(p, *b.body);
  text(p, " }");
}

void printQuantifier(const ReachExpr& e, Parts& p) {
  text(p, styles[e.tag].text);
  printBinding(e.binder(), p);
}

void printThresholdQuantifier(const ReachExpr& e, Parts& p) {
  printThresholdValue(*e.binder().threshold, p);
  printBinding(e.binder(), p);
}

void printLet(const ReachExpr& e, Parts& p) {
  const ReachBinder& b = e.binder();
  text(p, "let " + b.variable + " = ");
  node(p, *b.domain);
  text(p, " { ");
  node(p, *b.body);
  text(p, " }");
}

using PrintHandler = void (*)(const ReachExpr&, Parts&);

constexpr PrintHandler P = printPrefix;
constexpr PrintHandler B = printBinary;
constexpr PrintHandler printHandlers[ReachTagCount] = {
    printBool, printNumber, printStringConst, printNodeRef, printNodeRef, printPlace, printTransition, printSignal,
    printVariable,
    P, printStateOperator, printStateOperator, printNext,
    P, P, P, P, P, P, P, P,           // C E P T S PP TT SS
    P, P, P, P, P, P,                 // # name string len downclose trig
    P, P, P, P, P, P, P, P, P,        // is_*
    P, P, P, P, P, P, P, P, P, P,     // ~ - pre post cond ev pls tran sig card
    B, B, B, B, B, B, B,              // -> <-> + - * / %
    B, B, B, B, B, B,                 // comparisons
    B, B, B, B, B,                    // string +, set +, set *, \, in
    printSubstring, printConditional,
    printJunction, printJunction, printJunction,
    printThresholdList, printSet,
    printQuantifier, printQuantifier, printQuantifier, printThresholdQuantifier, printQuantifier, printLet,
};

constexpr bool allHandlersSet() {
  for (PrintHandler h : printHandlers)
    if (!h) return false;
  return true;
}
static_assert(allHandlersSet(), "every node kind needs a print handler");

}  // namespace

int reachPriority(ReachTag tag) { return styles[tag].priority; }

std::string printReach(const ReachExpr& expr) {
  std::string out;
  Parts pending{{&expr, {}}}, parts;
  while (!pending.empty()) {
    Part top = std::move(pending.back());
    pending.pop_back();
    if (!top.node) {
      out += top.text;
      continue;
    }
    parts.clear();
    printHandlers[top.node->tag](*top.node, parts);
    for (auto it = parts.rbegin(); it != parts.rend(); ++it) pending.push_back(std::move(*it));
  }
  return out;
}

std::string quoteReachString(const std::string& text) {
  static const char named[] = "\a\b\f\n\r\t\v";
  static const char letters[] = "abfnrtv";
  std::string out = "\"";
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c != 0 && std::char_traits<char>::find(named, 7, static_cast<char>(c))) {
      out += '\\';
      out += letters[std::char_traits<char>::find(named, 7, static_cast<char>(c)) - named];
    } else if (c < 32 || c >= 127) {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\%03o", c);
      out += buffer;
    } else {
      out += static_cast<char>(c);
    }
  }
  out += '"';
  return out;
}

}  // namespace nurex
