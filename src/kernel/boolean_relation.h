// A Boolean relation solver: function vectors f(x) compatible with a relation R(x, y), each
// function a minimised sum of products.
#pragma once

#include <cstdint>
#include <vector>

#include "kernel/bdd_cover.h"
#include "kernel/two_level.h"

namespace nurex {

// R(x, y) over the input variables x and the output variables y1..yn (BDD variable indices,
// disjoint). Only the x where some y satisfies R (the domain) constrain a solution.
struct BooleanRelation {
  bdd relation = bddfalse;
  std::vector<uint32_t> inputs;
  std::vector<uint32_t> outputs;
};

struct RelationSolution {
  std::vector<SumOfProducts> functions;  // f_i over the inputs, one per output, minimised
  std::vector<bdd> bdds;                 // the same functions as BDDs
  uint64_t literals = 0;                 // total literal count
};

struct RelationLimits {
  uint32_t max_solutions = 4;   // K: at most this many vectors are returned
  uint32_t max_orders = 24;     // output orders tried by sequential substitution
  uint32_t max_splits = 256;    // subrelations the best-first search may evaluate
  bool exclude_constant = false;  // drop vectors in which some function is constant
  MinimiserLimits minimiser;
};

// Up to max_solutions distinct compatible vectors, fewest total literals first (ties in the
// order found). Some vector always fits (outside the domain anything goes), so the result is
// empty only when the filter drops every vector found, or after a reported error: a BDD
// error, a relation reading variables outside its inputs and outputs, or a vector failing
// the check by composition that each one passes before it is returned (a fault of the solver).
std::vector<RelationSolution> solveRelation(const BooleanRelation& relation, const RelationLimits& limits = {});

}  // namespace nurex
