// Per-kind gate normalisation. Each rule may hand the gate to a simpler kind, whose own
// rule then runs, until the kind no longer changes.
#include "sat/gate_normalise.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace nurex {

namespace {

void fold_to(NormalGate& g, Literal l) {
  g.kind = GateLiteral;
  g.children.assign(1, l);
}

void become(NormalGate& g, GateKind kind, std::vector<Literal> children) {
  g.kind = kind;
  g.children = std::move(children);
}

bool sorted_has_complement(const std::vector<Literal>& c) {
  for (size_t i = 1; i < c.size(); ++i)
    if (c[i] == negate(c[i - 1])) return true;
  return false;
}

// AND (absorbing FALSE) and OR (absorbing TRUE) share everything but the constants.
void normalise_and_or(NormalGate& g) {
  Literal absorbing = g.kind == GateAnd ? LiteralFalse : LiteralTrue;
  std::vector<Literal>& c = g.children;
  if (std::find(c.begin(), c.end(), absorbing) != c.end()) return fold_to(g, absorbing);
  std::erase(c, negate(absorbing));
  std::sort(c.begin(), c.end());
  c.erase(std::unique(c.begin(), c.end()), c.end());
  if (sorted_has_complement(c)) return fold_to(g, absorbing);
  if (c.empty()) return fold_to(g, negate(absorbing));
  if (c.size() == 1) return fold_to(g, c[0]);
}

// Constants and signs move into the inversion bit; equal pairs cancel.
void normalise_xor(NormalGate& g) {
  std::vector<Literal> kept;
  for (Literal l : g.children) {
    if (l == LiteralFalse) continue;
    if (l == LiteralTrue || is_negated(l)) g.inverted = !g.inverted;
    if (l != LiteralTrue) kept.push_back(l & ~1u);
  }
  std::sort(kept.begin(), kept.end());
  std::vector<Literal> odd;
  for (size_t i = 0; i < kept.size();) {
    size_t j = i;
    while (j < kept.size() && kept[j] == kept[i]) ++j;
    if ((j - i) % 2 == 1) odd.push_back(kept[i]);
    i = j;
  }
  if (odd.empty()) return fold_to(g, LiteralFalse);
  if (odd.size() == 1) return fold_to(g, odd[0]);
  g.children = std::move(odd);
}

void normalise_equal(NormalGate& g) {
  std::vector<Literal>& c = g.children;
  bool has_true = std::find(c.begin(), c.end(), LiteralTrue) != c.end();
  bool has_false = std::find(c.begin(), c.end(), LiteralFalse) != c.end();
  if (has_true && has_false) return fold_to(g, LiteralFalse);
  std::erase_if(c, is_constant);
  if (has_true) return become(g, GateAnd, c);
  if (has_false) {
    for (Literal& l : c) l = negate(l);
    return become(g, GateAnd, c);
  }
  std::sort(c.begin(), c.end());
  c.erase(std::unique(c.begin(), c.end()), c.end());
  if (sorted_has_complement(c)) return fold_to(g, LiteralFalse);
  if (c.size() <= 1) return fold_to(g, LiteralTrue);
  if (c.size() == 2) {
    g.inverted = !g.inverted;  // XNOR
    g.kind = GateXor;
  }
}

// The folds of MAJ(a, b, c); false if none applies.
bool fold_maj(NormalGate& g, Literal a, Literal b, Literal c) {
  Literal m[3] = {a, b, c};
  for (int i = 0; i < 3; ++i) {
    Literal x = m[(i + 1) % 3], y = m[(i + 2) % 3];
    if (m[i] == LiteralTrue) return become(g, GateOr, {x, y}), true;
    if (m[i] == LiteralFalse) return become(g, GateAnd, {x, y}), true;
    if (x == y) return fold_to(g, x), true;
    if (x == negate(y)) return fold_to(g, m[i]), true;
  }
  return false;
}

void normalise_maj(NormalGate& g) {
  std::vector<Literal>& c = g.children;
  if (fold_maj(g, c[0], c[1], c[2])) return;
  std::sort(c.begin(), c.end());
}

// MAJN(a, b, c) is MAJ(a, not b, c): folding goes through MAJ, otherwise a and c commute.
void normalise_majn(NormalGate& g) {
  std::vector<Literal>& c = g.children;
  if (fold_maj(g, c[0], negate(c[1]), c[2])) return;
  if (c[2] < c[0]) std::swap(c[0], c[2]);
}

bool folds_pairwise(Literal a, Literal b) { return is_constant(a) || is_constant(b) || variable_of(a) == variable_of(b); }

// The literal of OR or EQUAL of two children that fold (folds_pairwise holds).
Literal folded_pair(GateKind kind, Literal a, Literal b) {
  Literal pair[2] = {a, b};
  NormalGate inner(kind, pair);
  normalise_gate(inner);
  assert(inner.kind == GateLiteral);
  return inner.literal();
}

// (a or b) xor c
void normalise_orxor(NormalGate& g) {
  std::vector<Literal>& c = g.children;
  if (is_constant(c[2]) || is_negated(c[2])) {
    g.inverted = g.inverted != (c[2] == LiteralTrue || is_negated(c[2]));
    c[2] = is_constant(c[2]) ? LiteralFalse : negate(c[2]);
  }
  if (c[2] == LiteralFalse) return become(g, GateOr, {c[0], c[1]});
  if (folds_pairwise(c[0], c[1])) return become(g, GateXor, {folded_pair(GateOr, c[0], c[1]), c[2]});
  if (c[1] < c[0]) std::swap(c[0], c[1]);
}

// if a then c else b. The selector is made positive; inside a branch its value is known.
void normalise_ite(NormalGate& g) {
  Literal a = g.children[0], b = g.children[1], c = g.children[2];
  if (is_constant(a)) return fold_to(g, a == LiteralTrue ? c : b);
  if (is_negated(a)) {
    a = negate(a);
    std::swap(b, c);
  }
  if (variable_of(b) == variable_of(a)) b = b == a ? LiteralFalse : LiteralTrue;
  if (variable_of(c) == variable_of(a)) c = c == a ? LiteralTrue : LiteralFalse;
  if (b == c) return fold_to(g, b);
  if (b == negate(c)) return become(g, GateXor, {a, b});
  if (b == LiteralFalse) return become(g, GateAnd, {a, c});
  if (b == LiteralTrue) return become(g, GateOr, {negate(a), c});
  if (c == LiteralFalse) return become(g, GateAnd, {negate(a), b});
  if (c == LiteralTrue) return become(g, GateOr, {a, b});
  g.children = {a, b, c};
}

// a and (b equal c)
void normalise_andeq(NormalGate& g) {
  std::vector<Literal>& c = g.children;
  if (c[0] == LiteralFalse) return fold_to(g, LiteralFalse);
  if (c[0] == LiteralTrue) return become(g, GateEqual, {c[1], c[2]});
  if (folds_pairwise(c[1], c[2])) return become(g, GateAnd, {c[0], folded_pair(GateEqual, c[1], c[2])});
  if (c[2] < c[1]) std::swap(c[1], c[2]);
}

// MAJ(a, b, c) xor d
void normalise_quad(NormalGate& g) {
  std::vector<Literal>& c = g.children;
  if (is_constant(c[3]) || is_negated(c[3])) {
    g.inverted = g.inverted != (c[3] == LiteralTrue || is_negated(c[3]));
    c[3] = is_constant(c[3]) ? LiteralFalse : negate(c[3]);
  }
  if (c[3] == LiteralFalse) return become(g, GateMaj, {c[0], c[1], c[2]});
  NormalGate majority(GateMaj, std::span<const Literal>(c.data(), 3));
  normalise_gate(majority);
  if (majority.kind == GateLiteral) return become(g, GateXor, {majority.literal(), c[3]});
  std::sort(c.begin(), c.begin() + 3);
}

void normalise_literal(NormalGate&) {}

using Normaliser = void (*)(NormalGate&);
constexpr uint32_t fixed_arity[GateKindCount] = {0, 1, 0, 0, 0, 0, 3, 3, 3, 3, 3, 4};
constexpr Normaliser normalisers[GateKindCount] = {
    nullptr,          normalise_literal, normalise_xor,   normalise_and_or,
    normalise_and_or, normalise_equal,   normalise_maj,   normalise_orxor,
    normalise_ite,    normalise_majn,    normalise_andeq, normalise_quad,
};

}  // namespace

void normalise_gate(NormalGate& gate) {
  for (;;) {
    GateKind before = gate.kind;
    assert(before > 0 && before < GateKindCount);
    assert(fixed_arity[before] == 0 || gate.children.size() == fixed_arity[before]);
    normalisers[before](gate);
    if (gate.kind == before) return;
  }
}

}  // namespace nurex
