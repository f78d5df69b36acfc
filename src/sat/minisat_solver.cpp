// Solver 1 on MiniSat's SimpSolver. Clauses are held back until the first solve or dump,
// so that a whole instance reaches the preprocessor at once.
#include "sat/minisat_solver.h"

#include <algorithm>
#include <cstdlib>

#include <minisat/simp/SimpSolver.h>

#include "platform/stop_request.h"

namespace nurex {

namespace {
// l_True and friends are macros naming lbool unqualified.
using Minisat::lbool;

Minisat::Lit to_minisat(int literal) { return Minisat::mkLit(std::abs(literal) - 1, literal < 0); }
}  // namespace

MinisatSolver::MinisatSolver() { create_engine(); }

MinisatSolver::~MinisatSolver() = default;

void MinisatSolver::create_engine() {
  engine_ = std::make_unique<Minisat::SimpSolver>();
  engine_->verbosity = 0;
  // More waste is tolerated before a collection: instances grow by small steps.
  engine_->garbage_frac = 0.5;
  held_back_.clear();
  flushed_ = false;
  out_of_memory_ = false;
}

int MinisatSolver::engine_new_variable(bool decision, bool guard) {
  try {
    Minisat::Var v = engine_->newVar(l_Undef, decision);
    // Assumptions need their variables intact through preprocessing.
    if (guard) engine_->setFrozen(v, true);
    return v + 1;
  } catch (const Minisat::OutOfMemoryException&) {
    out_of_memory_ = true;
    return engine_->nVars();  // a valid index; the next solve reports the failure
  }
}

void MinisatSolver::set_frozen(uint32_t variable, bool flag) {
  engine_->setFrozen(engine_index(variable) - 1, flag);
}

void MinisatSolver::engine_add_clause(const std::vector<int>& literals) {
  if (!flushed_) {
    held_back_.insert(held_back_.end(), literals.begin(), literals.end());
    held_back_.push_back(0);
    return;
  }
  Minisat::vec<Minisat::Lit> clause;
  try {
    for (int literal : literals) clause.push(to_minisat(literal));
    engine_->addClause_(clause);
  } catch (const Minisat::OutOfMemoryException&) {
    out_of_memory_ = true;
  }
}

void MinisatSolver::flush() {
  if (flushed_) return;
  flushed_ = true;
  std::vector<int> clause;
  for (int word : held_back_) {
    if (word != 0) {
      clause.push_back(word);
      continue;
    }
    engine_add_clause(clause);
    clause.clear();
  }
  std::vector<int>().swap(held_back_);
}

void MinisatSolver::eliminate() {
  flush();
  try {
    engine_->eliminate(false);
  } catch (const Minisat::OutOfMemoryException&) {
    out_of_memory_ = true;
  }
}

void MinisatSolver::unit_clauses(std::vector<Literal>& out) {
  out.clear();
  for (const auto& [literal, group] : unit_pairs())
    if (group == PermanentGroup) out.push_back(literal);
  std::sort(out.begin(), out.end());
}

void MinisatSolver::dump_clauses(std::vector<uint32_t>& out) {
  flush();
  GuardedSolver::dump_clauses(out);
}

int MinisatSolver::solve() {
  flush();
  if (out_of_memory_) return SolveOutOfMemory;
  Minisat::vec<Minisat::Lit> assumptions;
  for (int literal : guard_assumptions()) assumptions.push(to_minisat(literal));
  try {
    StopHook hook([this] { engine_->interrupt(); });
    Minisat::lbool result = engine_->solveLimited(assumptions, simplify_);
    if (result == l_True) return SolveSatisfiable;
    if (result == l_False) return SolveUnsatisfiable;
    return SolveTimeout;
  } catch (const Minisat::OutOfMemoryException&) {
    return SolveOutOfMemory;
  }
}

TernaryValue MinisatSolver::engine_value(int index) {
  Minisat::Var v = index - 1;
  if (v >= engine_->model.size()) return ValueUndefined;
  Minisat::lbool x = engine_->model[v];
  if (x == l_True) return ValueTrue;
  if (x == l_False) return ValueFalse;
  return ValueUndefined;
}

void MinisatSolver::engine_reset() { create_engine(); }

}  // namespace nurex
