// Gate normalisation: constant folding, deduplication and canonical child order before a
// gate gets an output variable. Pure; no formula involved.
#pragma once

#include <span>
#include <vector>

#include "sat/gate.h"

namespace nurex {

struct NormalGate {
  GateKind kind;
  std::vector<Literal> children;
  bool inverted = false;  // the gate's value is the negation of the normalised function

  NormalGate(GateKind k, std::span<const Literal> c) : kind(k), children(c.begin(), c.end()) {}
  // Valid once kind is GateLiteral: the constant or plain literal the gate reduced to.
  Literal literal() const { return children[0] ^ (inverted ? 1 : 0); }
};

// Rewrites the gate until its kind is stable. Afterwards either kind is GateLiteral with
// one child, or the children are free of constants that fold and of duplicates that fold.
void normalise_gate(NormalGate& gate);

}  // namespace nurex
