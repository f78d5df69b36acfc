// Gate clauses: output variables, the per-kind clause tables with Plaisted-Greenbaum
// polarity, XOR trees and EQUAL through an AND and an OR.
#include <algorithm>
#include <cassert>

#include "sat/gate_normalise.h"
#include "sat/sat_formula.h"

namespace nurex {

namespace {

// Slot codes of a clause shape: 1 to 4 are the children a to d, Y the output; a negative
// code is the negated literal, 0 ends the clause. A clause holding -Y belongs to "output
// implies function" (polarity +1), one holding Y to "function implies output" (-1).
constexpr int8_t Y = 5;
struct ClauseShape {
  int8_t slot[5];
  bool redundant = false;  // consensus clause, given to solver 1 only
};
struct GateShape {
  GateKind kind;
  uint32_t arity;
  std::initializer_list<ClauseShape> clauses;
};

const GateShape gate_shapes[] = {
    {GateXor, 2, {{{-Y, 1, 2}}, {{-Y, -1, -2}}, {{Y, -1, 2}}, {{Y, 1, -2}}}},
    {GateXor, 3, {{{-Y, 1, 2, 3}}, {{-Y, 1, -2, -3}}, {{-Y, -1, 2, -3}}, {{-Y, -1, -2, 3}},
                  {{Y, 1, 2, -3}}, {{Y, 1, -2, 3}}, {{Y, -1, 2, 3}}, {{Y, -1, -2, -3}}}},
    {GateMaj, 3, {{{-Y, 1, 2}}, {{-Y, 1, 3}}, {{-Y, 2, 3}}, {{Y, -1, -2}}, {{Y, -1, -3}}, {{Y, -2, -3}}}},
    {GateOrXor, 3, {{{-Y, 3, 1, 2}}, {{-Y, -3, -1}}, {{-Y, -3, -2}}, {{Y, 3, -1}}, {{Y, 3, -2}}, {{Y, -3, 1, 2}}}},
    {GateIte, 3, {{{-Y, -1, 3}}, {{-Y, 1, 2}}, {{-Y, 2, 3}, true}, {{Y, -1, -3}}, {{Y, 1, -2}}, {{Y, -2, -3}, true}}},
    {GateMajN, 3, {{{-Y, 1, -2}}, {{-Y, 1, 3}}, {{-Y, -2, 3}}, {{Y, -1, 2}}, {{Y, -1, -3}}, {{Y, 2, -3}}}},
    {GateAndEq, 3, {{{-Y, 1}}, {{-Y, -2, 3}}, {{-Y, 2, -3}}, {{Y, -1, -2, -3}}, {{Y, -1, 2, 3}}}},
    {GateQuad, 4, {{{-Y, 4, 1, 2}}, {{-Y, 4, 1, 3}}, {{-Y, 4, 2, 3}},
                   {{-Y, -4, -1, -2}}, {{-Y, -4, -1, -3}}, {{-Y, -4, -2, -3}},
                   {{Y, 4, -1, -2}}, {{Y, 4, -1, -3}}, {{Y, 4, -2, -3}},
                   {{Y, -4, 1, 2}}, {{Y, -4, 1, 3}}, {{Y, -4, 2, 3}}}},
};

const GateShape& shape_of(GateKind kind, size_t arity) {
  for (const GateShape& shape : gate_shapes)
    if (shape.kind == kind && shape.arity == arity) return shape;
  assert(false);
  return gate_shapes[0];
}

// Whether the output variable of a kind is always kept out of decisions (N) or follows
// restrict_branching (R), by arity field (arity 5 and up count as field 7). The split is
// uneven on purpose.
enum : uint8_t { R = 0, N = 1 };
constexpr uint8_t no_branch_table[GateKindCount][8] = {
    {R, R, R, R, R, R, R, R},  // unused
    {R, R, R, R, R, R, R, R},  // literal: no variable
    {R, R, R, R, R, R, R, R},  // XOR
    {R, R, R, N, R, R, R, N},  // AND: arity 3 and unbounded
    {R, R, N, N, N, R, R, R},  // OR: arity 2 to 4
    {R, R, R, N, N, R, R, R},  // EQUAL: arity 3 and 4
    {N, N, N, N, N, N, N, N},  // MAJ
    {N, N, N, N, N, N, N, N},  // ORXOR
    {R, R, R, R, R, R, R, R},  // ITE
    {R, R, R, R, R, R, R, R},  // MAJN
    {N, N, N, N, N, N, N, N},  // ANDEQ
    {N, N, N, N, N, N, N, N},  // QUAD
};

bool keeps_direction(int8_t output_code, Polarity polarity) {
  return output_code < 0 ? polarity != -1 : polarity != 1;
}

}  // namespace

Gate::Gate(GateKind kind, std::span<const Literal> children) {
  uint32_t field = children.size() <= 4 ? static_cast<uint32_t>(children.size()) : GateArrayArity;
  head = kind * 8 + field;
  if (field == GateArrayArity)
    array_children.assign(children.begin(), children.end());
  else
    std::copy(children.begin(), children.end(), inline_children);
}

bool SatFormula::gate_no_branch(GateKind kind, size_t arity) const {
  size_t field = arity <= 4 ? arity : GateArrayArity;
  return no_branch_table[kind][field] == N || restrict_branching_;
}

void SatFormula::note_gate(Literal output, GateKind kind, std::span<const Literal> children) {
  if (definitions_ != nullptr) definitions_->gate_of_variable[variable_of(output)] = Gate(kind, children);
}

Literal SatFormula::make_gate(GateKind kind, std::span<const Literal> children, int group, Polarity polarity) {
  NormalGate gate(kind, children);
  return build_gate(gate, group, polarity);
}

Literal SatFormula::make_gate(CachedLiteral& cached, GateKind kind, std::span<const Literal> children, int group,
                              Polarity polarity) {
  if (cached.literal != LiteralUninit) {
    if (cached.polarity == 0 || cached.polarity == polarity) return cached.literal;
    NormalGate gate(kind, children);
    normalise_gate(gate);
    Polarity missing = -cached.polarity;
    if (gate.kind != GateLiteral)
      emit_gate(gate, cached.literal ^ (gate.inverted ? 1 : 0), group, gate.inverted ? -missing : missing);
    cached.polarity = 0;
    return cached.literal;
  }
  NormalGate gate(kind, children);
  cached.literal = build_gate(gate, group, polarity);
  // A gate that folds to one child keeps the polarity asked for: the child may itself be a
  // gate output built for that direction only, and is completed when the other is asked.
  cached.polarity = polarity;
  return cached.literal;
}

// The inversion bit of normalisation negates both the polarity asked for and the answer.
Literal SatFormula::build_gate(NormalGate& gate, int group, Polarity polarity) {
  normalise_gate(gate);
  if (gate.kind == GateLiteral) return gate.literal();
  Literal output = new_literal(gate_no_branch(gate.kind, gate.children.size()));
  note_gate(output, gate.kind, gate.children);
  emit_gate(gate, output, group, gate.inverted ? -polarity : polarity);
  return output ^ (gate.inverted ? 1 : 0);
}

void SatFormula::emit_gate(NormalGate& gate, Literal output, int group, Polarity polarity) {
  switch (gate.kind) {
    case GateAnd:
    case GateOr: return emit_and_or(gate.kind == GateOr, gate.children, output, group, polarity);
    case GateXor: return emit_xor(gate.children, output, group, polarity);
    case GateEqual: return emit_equal(gate.children, output, group, polarity);
    default: return emit_table(gate.kind, gate.children, output, group, polarity);
  }
}

// OR is AND of the negated children with the output and the polarity negated.
void SatFormula::emit_and_or(bool is_or, std::span<const Literal> children, Literal output, int group,
                             Polarity polarity) {
  Literal flip = is_or ? 1 : 0;
  Literal y = output ^ flip;
  Polarity p = is_or ? -polarity : polarity;
  if (p != -1)
    for (Literal c : children) add_binary(negate(y), c ^ flip, group);
  if (p != 1) {
    std::vector<Literal> clause{y};
    for (Literal c : children) clause.push_back(negate(c ^ flip));
    add_clause(clause, group);
  }
}

void SatFormula::emit_table(GateKind kind, std::span<const Literal> children, Literal output, int group,
                            Polarity polarity) {
  const GateShape& shape = shape_of(kind, children.size());
  Literal clause[5];
  for (const ClauseShape& c : shape.clauses) {
    if (c.redundant && engine_is_solver0_) continue;
    if (!keeps_direction(c.slot[0], polarity)) continue;
    uint32_t size = 0;
    for (; size < 5 && c.slot[size] != 0; ++size) {
      int8_t code = c.slot[size];
      Literal l = code == Y || code == -Y ? output : children[(code < 0 ? -code : code) - 1];
      clause[size] = code < 0 ? negate(l) : l;
    }
    add_clause(std::span<const Literal>(clause, size), group);
  }
}

Literal SatFormula::fresh_xor2(Literal a, Literal b, int group) {
  Literal pair[2] = {a, b};
  Literal t = new_literal(true);
  note_gate(t, GateXor, pair);
  emit_table(GateXor, pair, t, group, 0);
  return t;
}

// Arity 4 pairs off the first two children; above four a balanced tree of pairs, inner
// blocks in both directions, the requested polarity only on the last block.
void SatFormula::emit_xor(std::span<const Literal> children, Literal output, int group, Polarity polarity) {
  if (children.size() <= 3) return emit_table(GateXor, children, output, group, polarity);
  if (children.size() == 4) {
    Literal rest[3] = {fresh_xor2(children[0], children[1], group), children[2], children[3]};
    return emit_table(GateXor, rest, output, group, polarity);
  }
  std::vector<Literal> level(children.begin(), children.end());
  while (level.size() > 2) {
    std::vector<Literal> next;
    for (size_t i = 0; i + 1 < level.size(); i += 2) next.push_back(fresh_xor2(level[i], level[i + 1], group));
    if (level.size() % 2 == 1) next.push_back(level.back());
    level.swap(next);
  }
  emit_table(GateXor, level, output, group, polarity);
}

// y = A or not O, with A the AND and O the OR of the children; O takes the opposite
// polarity since it occurs negated.
void SatFormula::emit_equal(std::span<const Literal> children, Literal output, int group, Polarity polarity) {
  NormalGate all(GateAnd, children);
  NormalGate any(GateOr, children);
  Literal both[2] = {build_gate(all, group, polarity), negate(build_gate(any, group, -polarity))};
  emit_and_or(true, both, output, group, polarity);
}

}  // namespace nurex
