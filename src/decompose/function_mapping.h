// Mapping one function onto library gates: a single gate where one fits, otherwise a tree of
// gates found by splitting the minimised cover (sums apart, products apart, a shared literal
// taken out), each piece mapped again; and a latch fed by set and reset functions.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "decompose/gate_match.h"

namespace nurex {

// One gate of a network; its inputs read signals (variables below the network's first free
// variable) or the outputs of other nodes.
struct GateNode {
  GateMatch match;
  std::vector<int32_t> feeds;  // per match input: the node feeding it, -1 for a signal
  BddCover cover;              // the function the node computes, over signal variables
};

// nodes[0] drives the signal; the others are sub-functions, each fed only by later nodes.
struct GateNetwork {
  std::vector<GateNode> nodes;
  double area = 0;
  bool single() const { return nodes.size() == 1; }
};

struct MappingContext {
  std::vector<const GenlibGate*> combinational;  // the loop's gates without latches
  std::vector<const GenlibGate*> latches;        // empty with -g!
  double inverterArea = 16;
  uint32_t firstFreeVariable = 0;  // variables from here on stand for sub-functions
  uint32_t depthLimit = 6;         // levels of splitting tried below one function
};

// The cheapest network for a combinational cover (ON, OFF over signal variables).
std::optional<GateNetwork> mapCombinational(const BddCover& cover, const MappingContext& context);

// A latch whose set input is S and whose reset input is R (polarities as its pins want):
// high where S holds, low where R holds, holding elsewhere; S and R mapped as networks. The
// covers are combinational covers of the set and the reset function.
std::optional<GateNetwork> mapMonotonic(const BddCover& set, const BddCover& reset, const MappingContext& context);

// Candidate two-part splits of a cover's minimised function: F = G(H1, H2) with the top
// function's cover over two fresh variables; the parts carry the care set of F.
struct CoverSplit {
  std::string kind;  // "OR" or "AND"
  BddCover top;      // over firstFreeVariable and firstFreeVariable + 1
  BddCover parts[2];
};
std::vector<CoverSplit> splitCover(const BddCover& cover, const MappingContext& context);

// A part of a function as a cover over its own variables, on the care set of the whole seen
// through those variables.
BddCover coverOfPart(const SumOfProducts& sop, const bdd& care);

// The cover restricted to its care set for a function h: ON = h & care, OFF = !h & care.
BddCover coverOfFunction(const bdd& h, const bdd& care);

}  // namespace nurex
