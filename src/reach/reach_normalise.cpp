// The normaliser of REACH trees: variables, the Boolean operators with short-circuit and
// non-static failures, conditionals, thresholds, quantifiers, `gather` and `let`. What reads
// the net is in reach_net_ops.cpp, what reads only values in reach_values.cpp.
#include "reach/reach_normalise.h"

#include <iterator>

#include "reach/reach_values.h"

namespace nurex {

namespace {

ReachExprPtr listOf(ReachTag tag, ReachExprPtr a, ReachExprPtr b) {
  std::vector<ReachExprPtr> items;
  items.push_back(std::move(a));
  items.push_back(std::move(b));
  return makeReachList(tag, std::move(items));
}

ReachExprPtr nonStaticFail(const ReachExpr& operand) {
  return makeReachFail("Non-static fail: " + printReach(operand));
}

// Operands of `&` (unit true) or `|` (unit false), met one at a time: units drop out, the
// other constant decides the whole node, a fail decides it too, plainly while nothing is
// kept and as a non-static fail after that.
class JunctionFold {
 public:
  explicit JunctionFold(ReachTag tag) : tag_(tag), unit_(tag == ReachAnd) {}
  // False once the node is decided; later operands must not be evaluated.
  bool add(ReachExprPtr operand) {
    if (isReachBool(*operand)) {
      if (operand->boolValue() == unit_) return true;
      decided_ = std::move(operand);
      return false;
    }
    if (isReachFail(*operand)) {
      decided_ = kept_.empty() ? std::move(operand) : nonStaticFail(*operand);
      return false;
    }
    kept_.push_back(std::move(operand));
    return true;
  }
  ReachExprPtr finish() {
    if (decided_) return std::move(decided_);
    if (kept_.empty()) return makeReachBool(unit_);
    if (kept_.size() == 1) return std::move(kept_[0]);
    return makeReachList(tag_, std::move(kept_));
  }

 private:
  ReachTag tag_;
  bool unit_;
  std::vector<ReachExprPtr> kept_;
  ReachExprPtr decided_;
};

// Operands of `^`: constants fold into a parity, the first fail decides.
class ParityFold {
 public:
  bool add(ReachExprPtr operand) {
    if (isReachFail(*operand)) {
      failed_ = std::move(operand);
      return false;
    }
    if (isReachBool(*operand)) parity_ ^= operand->boolValue();
    else kept_.push_back(std::move(operand));
    return true;
  }
  ReachExprPtr finish() {
    if (failed_) return std::move(failed_);
    if (kept_.empty()) return makeReachBool(parity_);
    ReachExprPtr result = kept_.size() == 1 ? std::move(kept_[0]) : makeReachList(ReachXor, std::move(kept_));
    return parity_ ? makeReachUnary(ReachNot, std::move(result)) : std::move(result);
  }

 private:
  bool parity_ = false;
  std::vector<ReachExprPtr> kept_;
  ReachExprPtr failed_;
};

// Operands of "at least k of": a true constant lowers k, a false one drops out.
class ThresholdFold {
 public:
  explicit ThresholdFold(int32_t k) : k_(k) {}
  bool add(ReachExprPtr operand) {
    if (isReachFail(*operand)) {
      failed_ = std::move(operand);
      return false;
    }
    if (!isReachBool(*operand)) kept_.push_back(std::move(operand));
    else if (operand->boolValue()) --k_;
    return true;
  }
  ReachExprPtr finish() {
    if (failed_) return std::move(failed_);
    int64_t m = static_cast<int64_t>(kept_.size());
    if (k_ <= 0) return makeReachBool(true);
    if (k_ > m) return makeReachBool(false);
    if (k_ == 1 || k_ == m) {
      JunctionFold fold(k_ == 1 ? ReachOr : ReachAnd);
      for (ReachExprPtr& operand : kept_) fold.add(std::move(operand));
      return fold.finish();
    }
    return makeReachList(ReachThresholdList, std::move(kept_), makeReachNumber(static_cast<int32_t>(k_)));
  }

 private:
  int64_t k_;
  std::vector<ReachExprPtr> kept_;
  ReachExprPtr failed_;
};

// The elements of a `gather`: the first fail decides.
class GatherFold {
 public:
  bool add(ReachExprPtr item) {
    if (isReachFail(*item)) {
      failed_ = std::move(item);
      return false;
    }
    items_.push_back(std::move(item));
    return true;
  }
  ReachExprPtr finish() { return failed_ ? std::move(failed_) : makeReachSet(std::move(items_)); }

 private:
  std::vector<ReachExprPtr> items_;
  ReachExprPtr failed_;
};

// Operators whose first operand is evaluated first and may head a long left-nested chain
// (`1 + 2 + 3 ...`, `s[..][..]`): they are walked without recursion down that chain.
bool isLeftChainTag(ReachTag tag) { return tag >= ReachAdd && tag <= ReachSubstring; }

ReachExprPtr& firstOperand(ReachExpr& node) {
  return node.tag == ReachSubstring ? node.ternary().first : node.binary().left;
}

// `(a & b) & c` as the one list `a & b & c`: the parser nests chains to the left, and
// evaluation in order gives the same result either way.
void flattenLeft(ReachExpr& node) {
  std::vector<ReachExpr*> spine{&node};
  while (!spine.back()->list().items.empty() && spine.back()->list().items[0]->tag == node.tag)
    spine.push_back(spine.back()->list().items[0].get());
  if (spine.size() == 1) return;
  std::vector<ReachExprPtr> flat;
  for (size_t i = spine.size(); i-- > 0;) {
    auto& items = spine[i]->list().items;
    flat.insert(flat.end(), std::make_move_iterator(items.begin() + (i + 1 < spine.size() ? 1 : 0)),
                std::make_move_iterator(items.end()));
  }
  node.list().items = std::move(flat);
}

}  // namespace

template <class Unit>
void ReachNormaliser<Unit>::normalise(ReachExprPtr& node) {
  using N = ReachNormaliser;
  static constexpr Handler K = &N::keep, V = &N::valueOperator, O = &N::netOperator, L = &N::leftChain;
  static constexpr Handler A = &N::stateAtom, Q = &N::quantifier;
  static constexpr Handler handlers[ReachTagCount] = {
      K, K, K, K, K, K, K, K,                      // constants and node values
      &N::variable, &N::failNode, A, A, A,         // variable, fail, $, @, next state
      O, O, O, O, O, O, O, O, O, O,                // C E P T S PP TT SS # name
      V, V, O, O,                                  // string len downclose trig
      O, O, O, O, O, O, O, O, O,                   // is_*
      &N::negation, V, O, O, O, O, O, O, O, V,     // ~ - pre post cond ev pls tran sig card
      &N::implication, &N::equivalence,            // -> <->
      L, L, L, L, L, L, L, L, L, L, L,             // + - * / % = != < <= > >=
      L, L, L, L, L, L,                            // string +, set + * \, in, substring
      &N::conditional, &N::junction, &N::junction, &N::parity, &N::thresholdList, &N::setLiteral,
      Q, Q, Q, Q, Q, &N::let,
  };
  (this->*handlers[node->tag])(node);
}

template <class Unit>
bool ReachNormaliser<Unit>::childSucceeds(ReachExprPtr& node) {
  ReachExprPtr& child = node->unary().child;
  normalise(child);
  if (!isReachFail(*child)) return true;
  node = std::move(child);
  return false;
}

template <class Unit>
void ReachNormaliser<Unit>::variable(ReachExprPtr& node) {
  const std::string& name = node->text();
  if (const ReachExpr* const* bound = scope_.find(name)) {
    if (*bound) node = cloneReach(**bound);
    return;
  }
  if (const ReachExpr* value = ops_.predefined(name)) node = cloneReach(*value);
  else node = makeReachFail("Undeclared identifier: " + name);
}

template <class Unit>
void ReachNormaliser<Unit>::failNode(ReachExprPtr& node) {
  childSucceeds(node);
}

template <class Unit>
void ReachNormaliser<Unit>::stateAtom(ReachExprPtr& node) {
  if (!childSucceeds(node)) return;
  if (ReachExprPtr replacement = ops_.checkStateAtom(*node)) node = std::move(replacement);
}

template <class Unit>
void ReachNormaliser<Unit>::netOperator(ReachExprPtr& node) {
  if (childSucceeds(node)) node = ops_.apply(*node);
}

template <class Unit>
void ReachNormaliser<Unit>::valueOperator(ReachExprPtr& node) {
  if (childSucceeds(node)) node = foldReachUnaryValue(*node);
}

template <class Unit>
void ReachNormaliser<Unit>::negation(ReachExprPtr& node) {
  if (!childSucceeds(node)) return;
  const ReachExpr& child = *node->unary().child;
  if (isReachBool(child)) node = makeReachBool(!child.boolValue());
}

template <class Unit>
void ReachNormaliser<Unit>::implication(ReachExprPtr& node) {
  ReachBinary& b = node->binary();
  node = listOf(ReachOr, makeReachUnary(ReachNot, std::move(b.left)), std::move(b.right));
  normalise(node);
}

// `a <-> b` is `~(a ^ b)`, here `a ^ b ^ true`; a left chain of n operands is their `^`,
// with one `true` more when n is even.
template <class Unit>
void ReachNormaliser<Unit>::equivalence(ReachExprPtr& node) {
  std::vector<ReachExprPtr> rights;
  ReachExprPtr chain = std::move(node);
  while (chain->tag == ReachIff) {
    rights.push_back(std::move(chain->binary().right));
    chain = std::move(chain->binary().left);
  }
  std::vector<ReachExprPtr> operands;
  operands.push_back(std::move(chain));
  for (size_t i = rights.size(); i-- > 0;) operands.push_back(std::move(rights[i]));
  if (rights.size() % 2) operands.push_back(makeReachBool(true));
  node = makeReachList(ReachXor, std::move(operands));
  normalise(node);
}

template <class Unit>
void ReachNormaliser<Unit>::leftChain(ReachExprPtr& node) {
  std::vector<ReachExprPtr*> chain{&node};
  while (isLeftChainTag(firstOperand(**chain.back())->tag)) chain.push_back(&firstOperand(**chain.back()));
  normalise(firstOperand(**chain.back()));
  for (size_t i = chain.size(); i-- > 0;) finishLeftChainNode(*chain[i]);
}

// The first operand is normalised already; the others follow in order, then the fold.
template <class Unit>
void ReachNormaliser<Unit>::finishLeftChainNode(ReachExprPtr& node) {
  ReachExprPtr* rest[2] = {nullptr, nullptr};
  if (node->tag == ReachSubstring) rest[0] = &node->ternary().second, rest[1] = &node->ternary().third;
  else rest[0] = &node->binary().right;
  ReachExprPtr& first = firstOperand(*node);
  if (isReachFail(*first)) {
    node = std::move(first);
    return;
  }
  for (ReachExprPtr* operand : rest) {
    if (!operand) continue;
    normalise(*operand);
    if (isReachFail(**operand)) {
      node = std::move(*operand);
      return;
    }
  }
  node = node->tag == ReachSubstring ? foldReachSubstring(*node) : foldReachBinaryValue(*node);
}

template <class Unit>
void ReachNormaliser<Unit>::conditional(ReachExprPtr& node) {
  ReachTernary& t = node->ternary();
  normalise(t.first);
  if (isReachFail(*t.first)) {
    node = std::move(t.first);
    return;
  }
  if (isReachBool(*t.first)) {
    ReachExprPtr branch = std::move(t.first->boolValue() ? t.second : t.third);
    normalise(branch);
    node = std::move(branch);
    return;
  }
  for (ReachExprPtr* branch : {&t.second, &t.third}) {
    normalise(*branch);
    if (isReachFail(**branch)) {
      node = std::move(*branch);
      return;
    }
  }
  ReachExprPtr c = std::move(t.first), a = std::move(t.second), b = std::move(t.third);
  if (!isReachBool(*a) && !isReachBool(*b)) {
    node = makeReachTernary(ReachConditional, std::move(c), std::move(a), std::move(b));
    return;
  }
  // A constant branch turns the conditional into plain logic.
  bool constantThen = isReachBool(*a);
  bool value = constantThen ? a->boolValue() : b->boolValue();
  ReachExprPtr other = std::move(constantThen ? b : a);
  bool negated = constantThen == !value;  // then-false and else-true take ~c
  if (negated) c = makeReachUnary(ReachNot, std::move(c));
  JunctionFold fold(value ? ReachOr : ReachAnd);
  fold.add(std::move(c));
  fold.add(std::move(other));
  node = fold.finish();
}

// The operands in order, each normalised only when its turn comes, until the fold is decided.
template <class Unit>
template <class Fold>
void ReachNormaliser<Unit>::foldOperands(std::vector<ReachExprPtr>& operands, Fold& fold) {
  for (ReachExprPtr& operand : operands) {
    normalise(operand);
    if (!fold.add(std::move(operand))) break;
  }
}

template <class Unit>
void ReachNormaliser<Unit>::junction(ReachExprPtr& node) {
  flattenLeft(*node);
  JunctionFold fold(node->tag);
  foldOperands(node->list().items, fold);
  node = fold.finish();
}

template <class Unit>
void ReachNormaliser<Unit>::parity(ReachExprPtr& node) {
  flattenLeft(*node);
  ParityFold fold;
  foldOperands(node->list().items, fold);
  node = fold.finish();
}

template <class Unit>
void ReachNormaliser<Unit>::thresholdList(ReachExprPtr& node) {
  ReachList& list = node->list();
  normalise(list.threshold);
  if (isReachFail(*list.threshold)) {
    node = std::move(list.threshold);
    return;
  }
  ThresholdFold fold(list.threshold->number());
  foldOperands(list.items, fold);
  node = fold.finish();
}

template <class Unit>
void ReachNormaliser<Unit>::setLiteral(ReachExprPtr& node) {
  for (ReachExprPtr& item : node->list().items) {
    normalise(item);
    if (isReachFail(*item)) {
      node = std::move(item);
      return;
    }
  }
  node = makeReachSet(std::move(node->list().items));
}

// Each element of the domain, in order, is bound in a scope of its own, and a copy of the
// filter and body is normalised there. `forall` and `exists` fold their `f -> e` and `f & e`
// as `&` and `|` do; the others evaluate the filter first and skip an element it rejects.
template <class Unit>
void ReachNormaliser<Unit>::quantifier(ReachExprPtr& node) {
  ReachBinder& b = node->binder();
  for (ReachExprPtr* part : {&b.threshold, &b.domain}) {
    if (!*part) continue;
    normalise(*part);
    if (isReachFail(**part)) {
      node = std::move(*part);
      return;
    }
  }
  switch (node->tag) {
    case ReachForall:
    case ReachExists: {
      JunctionFold fold(node->tag == ReachForall ? ReachAnd : ReachOr);
      node = collect(b, node->tag, fold);
      break;
    }
    case ReachXorsum: {
      ParityFold fold;
      node = collect(b, node->tag, fold);
      break;
    }
    case ReachThresholdQuantifier: {
      ThresholdFold fold(b.threshold->number());
      node = collect(b, node->tag, fold);
      break;
    }
    default: {
      GatherFold fold;
      node = collect(b, node->tag, fold);
      break;
    }
  }
}

template <class Unit>
template <class Fold>
ReachExprPtr ReachNormaliser<Unit>::collect(const ReachBinder& b, ReachTag tag, Fold& fold) {
  for (const ReachExprPtr& element : b.domain->list().items) {
    scope_.open(b.variable, element.get());
    ReachExprPtr made = instance(b, tag);
    scope_.close();
    if (made && !fold.add(std::move(made))) break;
  }
  return fold.finish();
}

// The operand that one element contributes, normalised in the element's scope; null when the
// filter rejects the element.
template <class Unit>
ReachExprPtr ReachNormaliser<Unit>::instance(const ReachBinder& b, ReachTag tag) {
  ReachExprPtr filter = cloneReach(*b.filter), made;
  if (tag == ReachForall || tag == ReachExists) {
    if (tag == ReachForall) filter = makeReachUnary(ReachNot, std::move(filter));
    made = listOf(tag == ReachForall ? ReachOr : ReachAnd, std::move(filter), cloneReach(*b.body));
  } else {
    normalise(filter);
    if (isReachFail(*filter)) return filter;
    if (!isReachBool(*filter)) made = listOf(ReachAnd, std::move(filter), cloneReach(*b.body));
    else if (filter->boolValue()) made = cloneReach(*b.body);
    else return nullptr;
  }
  normalise(made);
  return made;
}

// A constant or failed definition is bound by value; any other stays in the `let` node and
// its name stays in the body, for the encoder to compute once.
template <class Unit>
void ReachNormaliser<Unit>::let(ReachExprPtr& node) {
  ReachBinder& b = node->binder();
  normalise(b.domain);
  bool byValue = isReachValue(*b.domain) || isReachFail(*b.domain);
  scope_.open(b.variable, byValue ? b.domain.get() : nullptr);
  normalise(b.body);
  scope_.close();
  if (byValue || isReachValue(*b.body) || isReachFail(*b.body)) node = std::move(b.body);
}

template class ReachNormaliser<PetriNetPrefix>;
template class ReachNormaliser<StgPrefix>;
template class ReachNormaliser<PetriNetMergedProcess>;

}  // namespace nurex
