// The grammar actions of the REACH parser: each checks its operands and builds its node,
// or reports the message at its location and fails. Internal to src/reach.
#pragma once

#include <string>
#include <vector>

#include "reach/reach_expr.h"
#include "reach/reach_scope.h"

namespace nurex {

// First line, first column, last line, last column; the last column is one past the token.
struct ReachLocation {
  int first_line;
  int first_column;
  int last_line;
  int last_column;
};

// The parser's semantic value of an expression. Trivial, since parser stacks are copied
// bytewise; it owns `expr` until an action hands it on.
struct ReachAttr {
  ReachExpr* expr;
  ReachType type;
  bool constant;  // the value does not depend on the reached state
};

// An attributed expression with its location, owning its node while a check runs.
struct ReachOperand {
  ReachExprPtr expr;
  ReachType type;
  bool constant;
  ReachLocation at;
  ReachOperand(ReachAttr attr, const ReachLocation& location)
      : expr(attr.expr), type(attr.type), constant(attr.constant), at(location) {}
};

// One declaration `x in e` or `x = e`, after its check.
struct ReachDecl {
  std::string name;
  ReachExprPtr value;
};
using ReachDeclList = std::vector<ReachDecl>;

// "L.C", "L.C-E" or "L.C-L2.E".
std::string formatReachLocation(const ReachLocation& at);
// Wraps a message of the parser with "incorrect syntax of the expression: " and the location.
void reportReachError(const ReachLocation& at, const std::string& message);

// Every function below takes ownership of its operands and of `name`; on failure it has
// reported the error and released them, and `out` is untouched.
bool reachLiteral(ReachExprPtr node, ReachType type, ReachAttr& out);
bool reachIdentifier(const ReachSymbolTable& symbols, std::string* name, const ReachLocation& at, ReachAttr& out);
// Prefix operators (tags 9 to 45) and the postfix next state (tag 12); `count` is the
// length of a `$`, `@` or apostrophe token.
bool reachPrefix(ReachTag tag, uint32_t count, ReachOperand operand, ReachAttr& out);
// Binary operators by the tag of their numerical (or only) form: ReachAdd stands for every
// `+`, ReachMul for every `*`; `&`, `|`, `^` give two-operand lists.
bool reachBinary(ReachTag tag, ReachOperand left, ReachOperand right, const ReachLocation& whole, ReachAttr& out);
// `x[m..n]`, `x[m..]`, `x[..n]`: a missing bound is null.
bool reachSubstring(ReachOperand string, ReachOperand* from, ReachOperand* to, ReachAttr& out);
bool reachConditional(ReachOperand condition, ReachOperand then, ReachOperand otherwise, const ReachLocation& whole,
                      ReachAttr& out);

// Lists are set literals while they are built.
void reachListStart(ReachOperand item, ReachAttr& out);
bool reachListAppend(ReachOperand list, ReachOperand item, ReachAttr& out);
bool reachThresholdValue(ReachOperand value, ReachAttr& out);
void reachDefaultThreshold(ReachAttr& out);
bool reachThresholdList(ReachOperand threshold, ReachOperand list, ReachAttr& out);

// Declarations open a scope each; the construct that holds them closes them.
bool reachDeclIn(ReachSymbolTable& symbols, std::string* name, ReachOperand domain, ReachDecl*& out);
bool reachDeclEq(ReachSymbolTable& symbols, std::string* name, ReachOperand definition, ReachDecl*& out);
bool reachFilter(ReachOperand filter, ReachAttr& out);
void reachNoFilter(ReachAttr& out);
// forall, exists, xorsum over a list of declarations.
bool reachQuantifier(ReachSymbolTable& symbols, ReachTag tag, ReachDeclList* decls, ReachOperand filter,
                     ReachOperand body, ReachAttr& out);
bool reachThresholdQuantifier(ReachSymbolTable& symbols, ReachOperand threshold, ReachDecl* decl, ReachOperand filter,
                              ReachOperand body, ReachAttr& out);
bool reachGather(ReachSymbolTable& symbols, ReachDecl* decl, ReachOperand filter, ReachOperand body, ReachAttr& out);
bool reachLet(ReachSymbolTable& symbols, ReachDeclList* decls, ReachOperand body, ReachAttr& out);
// The whole property: Boolean, or fail.
bool reachAnswer(ReachOperand root, ReachExprPtr& result);

// Releases a semantic value that the parser discards.
inline void releaseReachAttr(ReachAttr& attr) {
  delete attr.expr;
  attr.expr = nullptr;
}

}  // namespace nurex
