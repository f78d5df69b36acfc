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

void print(const ReachExpr& expr, std::string& out);

// A child of an operator: bracketed when it binds more loosely, or equally without the
// associativity of its side.
void printOperand(const ReachExpr& child, ReachTag parent, Side side, std::string& out) {
  int own = styles[child.tag].priority, outer = styles[parent].priority;
  Assoc needed = side == LeftSide ? AssocLeft : AssocRight;
  bool brackets = own < outer || (own == outer && styles[parent].assoc != needed);
  if (brackets) out += '(';
  print(child, out);
  if (brackets) out += ')';
}

void printBool(const ReachExpr& e, std::string& out) { out += e.boolValue() ? "true" : "false"; }
void printNumber(const ReachExpr& e, std::string& out) { out += std::to_string(e.number()); }
void printStringConst(const ReachExpr& e, std::string& out) { out += quoteReachString(e.text()); }
void printNodeRef(const ReachExpr& e, std::string& out) {
  out += styles[e.tag].text;
  out += std::to_string(e.nodeRef().number);
}
void printPlace(const ReachExpr& e, std::string& out) { out += std::get<const Place*>(e.payload)->name; }
void printTransition(const ReachExpr& e, std::string& out) { out += std::get<const Transition*>(e.payload)->name; }
void printSignal(const ReachExpr& e, std::string& out) { out += std::get<const Signal*>(e.payload)->name; }
void printVariable(const ReachExpr& e, std::string& out) { out += e.text(); }

void printPrefixOperand(const ReachExpr& child, std::string& out) {
  if (styles[child.tag].priority < 98) {
    out += '(';
    print(child, out);
    out += ')';
  } else {
    out += ' ';
    print(child, out);
  }
}

void printPrefix(const ReachExpr& e, std::string& out) {
  out += styles[e.tag].text;
  printPrefixOperand(*e.unary().child, out);
}

// `$` and `@` repeat their sign once per configuration level.
void printStateOperator(const ReachExpr& e, std::string& out) {
  out.append(e.unary().level + 1, styles[e.tag].text[0]);
  printPrefixOperand(*e.unary().child, out);
}

void printNext(const ReachExpr& e, std::string& out) {
  printOperand(*e.unary().child, e.tag, LeftSide, out);
  out.append(e.unary().level + 1, '\'');
}

void printBinary(const ReachExpr& e, std::string& out) {
  printOperand(*e.binary().left, e.tag, LeftSide, out);
  out += ' ';
  out += styles[e.tag].text;
  out += ' ';
  printOperand(*e.binary().right, e.tag, RightSide, out);
}

bool isNumber(const ReachExpr& e, bool (*test)(int32_t)) { return e.tag == ReachNumConst && test(e.number()); }

void printSubstring(const ReachExpr& e, std::string& out) {
  const ReachTernary& t = e.ternary();
  printOperand(*t.first, e.tag, LeftSide, out);
  out += '[';
  if (!isNumber(*t.second, [](int32_t v) { return v <= 0; })) print(*t.second, out);
  out += "..";
  if (!isNumber(*t.third, [](int32_t v) { return v == ReachNoUpperBound; })) print(*t.third, out);
  out += ']';
}

void printConditional(const ReachExpr& e, std::string& out) {
  const ReachTernary& t = e.ternary();
  printOperand(*t.first, e.tag, LeftSide, out);
  out += " ? ";
  printOperand(*t.second, e.tag, RightSide, out);
  out += " : ";
  printOperand(*t.third, e.tag, RightSide, out);
}

void printJunction(const ReachExpr& e, std::string& out) {
  const std::vector<ReachExprPtr>& items = e.list().items;
  for (size_t i = 0; i < items.size(); ++i) {
    if (i) {
      out += ' ';
      out += styles[e.tag].text;
      out += ' ';
    }
    printOperand(*items[i], e.tag, i ? RightSide : LeftSide, out);
  }
}

void printItems(const std::vector<ReachExprPtr>& items, std::string& out) {
  for (size_t i = 0; i < items.size(); ++i) {
    if (i) out += ", ";
    print(*items[i], out);
  }
}

void printThresholdValue(const ReachExpr& threshold, std::string& out) {
  out += "threshold[";
  print(threshold, out);
  out += ']';
}

void printThresholdList(const ReachExpr& e, std::string& out) {
  printThresholdValue(*e.list().threshold, out);
  out += '(';
  printItems(e.list().items, out);
  out += ')';
}

void printSet(const ReachExpr& e, std::string& out) {
  out += '{';
  printItems(e.list().items, out);
  out += '}';
}

// Everything behind the keyword of a quantifier: variable, domain, filter unless true, body.
void printBinding(const ReachBinder& b, std::string& out) {
  out += ' ';
  out += b.variable;
  out += " in ";
  print(*b.domain, out);
  if (!(b.filter->tag == ReachBoolConst && b.filter->boolValue())) {
    out += " s.t. ";
    print(*b.filter, out);
  }
  out += " { ";
  print(*b.body, out);
  out += " }";
}

void printQuantifier(const ReachExpr& e, std::string& out) {
  out += styles[e.tag].text;
  printBinding(e.binder(), out);
}

void printThresholdQuantifier(const ReachExpr& e, std::string& out) {
  printThresholdValue(*e.binder().threshold, out);
  printBinding(e.binder(), out);
}

void printLet(const ReachExpr& e, std::string& out) {
  const ReachBinder& b = e.binder();
  out += "let ";
  out += b.variable;
  out += " = ";
  print(*b.domain, out);
  out += " { ";
  print(*b.body, out);
  out += " }";
}

using PrintHandler = void (*)(const ReachExpr&, std::string&);

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

void print(const ReachExpr& expr, std::string& out) { printHandlers[expr.tag](expr, out); }

}  // namespace

int reachPriority(ReachTag tag) { return styles[tag].priority; }

std::string printReach(const ReachExpr& expr) {
  std::string out;
  print(expr, out);
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
