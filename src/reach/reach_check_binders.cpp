// Type rules of REACH lists, thresholds, declarations, quantifiers, gather, let and the
// whole property; declarations open scopes that the enclosing construct closes.
#include "reach/reach_build.h"
#include "reach/reach_messages.h"

namespace nurex {

namespace {

bool fail(const ReachLocation& at, const std::string& message) {
  reportReachError(at, message);
  return false;
}

void setOut(ReachAttr& out, ReachExprPtr node, ReachType type, bool constant) {
  out = ReachAttr{node.release(), type, constant};
}

const ReachType boolType = ReachType::ofKind(ReachBoolKind);

const char* quantifierKeyword(ReachTag tag) {
  switch (tag) {
    case ReachForall: return "forall";
    case ReachExists: return "exists";
    default: return "xorsum";
  }
}

// Folds declarations from the last to the first: the innermost node takes `filter` and
// `body`, each enclosing one the constant true and the node inside it.
ReachExprPtr foldDeclarations(ReachTag tag, ReachDeclList& decls, ReachExprPtr filter, ReachExprPtr body) {
  for (size_t i = decls.size(); i-- > 0;) {
    ReachExprPtr ownFilter = tag == ReachLet ? nullptr : filter ? std::move(filter) : makeReachBool(true);
    body = makeReachBinder(tag, std::move(decls[i].name), std::move(decls[i].value), std::move(ownFilter),
                           std::move(body));
  }
  return body;
}

}  // namespace

void reachListStart(ReachOperand item, ReachAttr& out) {
  std::vector<ReachExprPtr> items;
  items.push_back(std::move(item.expr));
  setOut(out, makeReachList(ReachSetLiteral, std::move(items)), item.type.set(), item.constant);
}

bool reachListAppend(ReachOperand list, ReachOperand item, ReachAttr& out) {
  if (!(item.type == list.type.element())) return fail(item.at, reachmsg::listMismatch());
  list.expr->list().items.push_back(std::move(item.expr));
  setOut(out, std::move(list.expr), list.type, list.constant && item.constant);
  return true;
}

bool reachThresholdValue(ReachOperand value, ReachAttr& out) {
  if (!value.type.is(ReachNumericalKind)) return fail(value.at, reachmsg::thresholdValue());
  if (!value.constant) return fail(value.at, reachmsg::constantExpected());
  setOut(out, std::move(value.expr), value.type, true);
  return true;
}

// Without `[k]` a threshold asks for at least two.
void reachDefaultThreshold(ReachAttr& out) {
  setOut(out, makeReachNumber(2), ReachType::ofKind(ReachNumericalKind), true);
}

bool reachThresholdList(ReachOperand threshold, ReachOperand list, ReachAttr& out) {
  if (!list.type.element().is(ReachBoolKind)) return fail(list.at, reachmsg::thresholdOperands());
  std::vector<ReachExprPtr> items = std::move(list.expr->list().items);
  setOut(out, makeReachList(ReachThresholdList, std::move(items), std::move(threshold.expr)), boolType,
         list.constant);
  return true;
}

bool reachDeclIn(ReachSymbolTable& symbols, std::string* name, ReachOperand domain, ReachDecl*& out) {
  std::unique_ptr<std::string> owned(name);
  if (!domain.type.isSet()) return fail(domain.at, reachmsg::domainNotASet(*owned));
  if (!domain.constant) return fail(domain.at, reachmsg::constantExpected());
  symbols.open(*owned, ReachSymbol{domain.type.element(), true});
  out = new ReachDecl{std::move(*owned), std::move(domain.expr)};
  return true;
}

bool reachDeclEq(ReachSymbolTable& symbols, std::string* name, ReachOperand definition, ReachDecl*& out) {
  std::unique_ptr<std::string> owned(name);
  if (!definition.type.is(ReachBoolKind) && !definition.constant)
    return fail(definition.at, reachmsg::definitionNotBooleanOrConstant());
  symbols.open(*owned, ReachSymbol{definition.type, definition.constant});
  out = new ReachDecl{std::move(*owned), std::move(definition.expr)};
  return true;
}

bool reachFilter(ReachOperand filter, ReachAttr& out) {
  if (!filter.type.is(ReachBoolKind)) return fail(filter.at, reachmsg::filterNotBoolean());
  setOut(out, std::move(filter.expr), filter.type, filter.constant);
  return true;
}

void reachNoFilter(ReachAttr& out) { setOut(out, makeReachBool(true), boolType, true); }

bool reachQuantifier(ReachSymbolTable& symbols, ReachTag tag, ReachDeclList* decls, ReachOperand filter,
                     ReachOperand body, ReachAttr& out) {
  std::unique_ptr<ReachDeclList> owned(decls);
  symbols.close(owned->size());
  if (!body.type.is(ReachBoolKind)) return fail(body.at, reachmsg::bodyNotBoolean(quantifierKeyword(tag)));
  bool constant = body.constant && filter.constant;
  setOut(out, foldDeclarations(tag, *owned, std::move(filter.expr), std::move(body.expr)), boolType, constant);
  return true;
}

bool reachThresholdQuantifier(ReachSymbolTable& symbols, ReachOperand threshold, ReachDecl* decl, ReachOperand filter,
                              ReachOperand body, ReachAttr& out) {
  std::unique_ptr<ReachDecl> owned(decl);
  symbols.close(1);
  if (!body.type.is(ReachBoolKind)) return fail(body.at, reachmsg::bodyNotBoolean("threshold"));
  bool constant = body.constant && filter.constant;
  setOut(out,
         makeReachBinder(ReachThresholdQuantifier, std::move(owned->name), std::move(owned->value),
                         std::move(filter.expr), std::move(body.expr), std::move(threshold.expr)),
         boolType, constant);
  return true;
}

bool reachGather(ReachSymbolTable& symbols, ReachDecl* decl, ReachOperand filter, ReachOperand body, ReachAttr& out) {
  std::unique_ptr<ReachDecl> owned(decl);
  symbols.close(1);
  if (!filter.constant) return fail(filter.at, reachmsg::constantExpected());
  if (!body.constant) return fail(body.at, reachmsg::constantExpected());
  setOut(out,
         makeReachBinder(ReachGather, std::move(owned->name), std::move(owned->value), std::move(filter.expr),
                         std::move(body.expr)),
         body.type.set(), true);
  return true;
}

bool reachLet(ReachSymbolTable& symbols, ReachDeclList* decls, ReachOperand body, ReachAttr& out) {
  std::unique_ptr<ReachDeclList> owned(decls);
  symbols.close(owned->size());
  if (!body.type.is(ReachBoolKind) && !body.constant) return fail(body.at, reachmsg::letBody());
  setOut(out, foldDeclarations(ReachLet, *owned, nullptr, std::move(body.expr)), body.type, body.constant);
  return true;
}

bool reachAnswer(ReachOperand root, ReachExprPtr& result) {
  if (!root.type.is(ReachBoolKind) && !root.type.is(ReachFailKind))
    return fail(root.at, reachmsg::overallNotBoolean());
  result = std::move(root.expr);
  return true;
}

}  // namespace nurex
