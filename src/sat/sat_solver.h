// SatSolver: the abstract engine interface behind SatFormula, and the factory of its two
// adapters (solver 0 on CaDiCaL, solver 1 on MiniSat's simplifying solver).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sat/clause_store.h"
#include "sat/literal.h"

namespace nurex {

// Answers of SatSolver::solve.
enum SolveResult : int {
  SolveUnsatisfiable = 0,
  SolveSatisfiable = 1,
  SolveTimeout = 2,
  SolveOutOfMemory = 3,
  SolveFailure = 4,
};

class SatSolver {
 public:
  virtual ~SatSolver() = default;
  // Variables are numbered densely from 0. With `no_branch` the engine should never
  // decide on the variable (solver 0 only records the wish).
  virtual void new_variable(uint32_t& variable, bool no_branch) = 0;
  // Keeps the variable through preprocessing.
  virtual void set_frozen(uint32_t variable, bool flag) = 0;
  virtual void eliminate() = 0;
  virtual void new_group(int& id) = 0;
  // Removes every clause of the group; group ids are never reused or renumbered.
  virtual void delete_group(int id) = 0;
  // Group -2 (PermanentGroup) makes the clause permanent.
  virtual void add_clause(uint32_t size, const Literal* literals, int group) = 0;
  virtual std::unique_ptr<LiteralIterator> new_literal_iterator() = 0;
  virtual std::unique_ptr<ClauseIterator> new_clause_iterator() = 0;
  // The stored unit clauses, sorted.
  virtual void unit_clauses(std::vector<Literal>& out) = 0;
  // Every live clause flattened as size, literals...
  virtual void dump_clauses(std::vector<uint32_t>& out) = 0;
  // Discards the engine and starts an empty one with the same parameters.
  virtual void reset() = 0;
  // A SolveResult.
  virtual int solve() = 0;
  // Whether the next solves may run the engine's preprocessor (default yes). An enumeration
  // that only adds blocking clauses turns it off after its first call.
  virtual void allow_simplification(bool) {}
  virtual TernaryValue value(uint32_t variable) = 0;
  virtual uint32_t num_variables() = 0;
  virtual uint32_t num_clauses() = 0;
  virtual uint64_t num_literals() = 0;
};

// 0 or 1; any other number is the caller's to resolve.
std::unique_ptr<SatSolver> create_sat_solver(int number);

}  // namespace nurex
