// Solver 0 on CaDiCaL.
#include "sat/cadical_solver.h"

#include <algorithm>
#include <new>

#include <cadical.hpp>

#include "platform/reporter.h"
#include "platform/stop_request.h"

namespace nurex {

CadicalSolver::CadicalSolver() { create_engine(); }

CadicalSolver::~CadicalSolver() = default;

void CadicalSolver::create_engine() {
  engine_ = std::make_unique<CaDiCaL::Solver>();
  engine_->set("quiet", 1);  // it would otherwise report root-level conflicts on stdout
  state_ = CadicalFresh;
  max_index_ = 0;
  out_of_memory_ = false;
}

void CadicalSolver::new_variable(uint32_t& variable, bool no_branch) {
  GuardedSolver::new_variable(variable, no_branch);
  if (state_ == CadicalSolved) state_ = CadicalChanged;
}

// CaDiCaL creates variables on first use and has no per-variable decision flag.
int CadicalSolver::engine_new_variable(bool, bool) { return ++max_index_; }

void CadicalSolver::delete_group(int id) {
  GuardedSolver::delete_group(id);
  if (state_ < CadicalGroupDeleted) state_ = CadicalGroupDeleted;
}

void CadicalSolver::add_clause(uint32_t size, const Literal* literals, int group) {
  GuardedSolver::add_clause(size, literals, group);
  if (state_ == CadicalSolved) state_ = CadicalChanged;
}

void CadicalSolver::engine_add_clause(const std::vector<int>& literals) {
  try {
    for (int literal : literals) engine_->add(literal);
    engine_->add(0);
  } catch (const std::bad_alloc&) {
    out_of_memory_ = true;
  }
}

void CadicalSolver::unit_clauses(std::vector<Literal>& out) {
  out.clear();
  for (const auto& unit : unit_pairs()) out.push_back(unit.first);
  std::sort(out.begin(), out.end());
}

int CadicalSolver::solve() {
  if (state_ == CadicalFailed) return SolveFailure;
  if (state_ == CadicalSolved && verbosity >= 1) printTo(stdout, "\nSolving the same SAT instance");
  int result = out_of_memory_ ? SolveOutOfMemory : run_engine();
  state_ = result <= SolveSatisfiable ? CadicalSolved : CadicalFailed;
  return result;
}

// Every variable gets a value in a model, so the whole index range is reserved first.
int CadicalSolver::run_engine() {
  try {
    if (max_index_ > 0) engine_->reserve(max_index_);
    for (int literal : guard_assumptions()) engine_->assume(literal);
    StopHook hook([this] { engine_->terminate(); });
    switch (engine_->solve()) {
      case 10: return SolveSatisfiable;
      case 20: return SolveUnsatisfiable;
      default: return SolveTimeout;  // terminated or out of its limits
    }
  } catch (const std::bad_alloc&) {
    return SolveOutOfMemory;
  }
}

TernaryValue CadicalSolver::engine_value(int index) {
  if (engine_->state() != CaDiCaL::SATISFIED || index > engine_->vars()) return ValueUndefined;
  return engine_->val(index) > 0 ? ValueTrue : ValueFalse;
}

void CadicalSolver::engine_reset() { create_engine(); }

}  // namespace nurex
