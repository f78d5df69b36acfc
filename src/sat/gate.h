// Gate kinds and the normalised Gate record (also what the definition record keeps).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "sat/literal.h"

namespace nurex {

enum GateKind : uint32_t {
  GateLiteral = 1,  // a single child, possibly negated
  GateXor = 2,      // odd parity
  GateAnd = 3,
  GateOr = 4,
  GateEqual = 5,    // all children equal
  GateMaj = 6,      // majority of three
  GateOrXor = 7,    // (a or b) xor c
  GateIte = 8,      // if a then c else b
  GateMajN = 9,     // MAJ(a, not b, c)
  GateAndEq = 10,   // a and (b equal c)
  GateQuad = 11,    // MAJ(a, b, c) xor d
};
constexpr uint32_t GateKindCount = 12;

// Arity field 7 marks children kept in the growable array.
constexpr uint32_t GateArrayArity = 7;

struct Gate {
  uint32_t head = 0;                 // kind * 8 + arity field
  Literal inline_children[4] = {};   // arity field up to 4
  std::vector<Literal> array_children;  // arity field 7

  Gate() = default;
  Gate(GateKind kind, std::span<const Literal> children);
  GateKind kind() const { return static_cast<GateKind>(head >> 3); }
  uint32_t arity() const {
    return (head & 7) == GateArrayArity ? static_cast<uint32_t>(array_children.size()) : head & 7;
  }
  std::span<const Literal> children() const {
    if ((head & 7) == GateArrayArity) return array_children;
    return std::span<const Literal>(inline_children, head & 7);
  }
};

}  // namespace nurex
