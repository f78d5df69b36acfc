// Solver 0: CaDiCaL behind the state word of an incremental engine that re-initialises its
// search between calls. Groups are guard literals; the no-decision mark is only recorded.
#pragma once

#include <memory>
#include <vector>

#include "sat/guarded_solver.h"

namespace CaDiCaL {
class Solver;
}

namespace nurex {

// The adapter's state word.
enum CadicalState : int {
  CadicalFresh = 0,
  CadicalSolved = 1,    // solved, unchanged since
  CadicalChanged = 2,   // clauses or variables added after a solve
  CadicalGroupDeleted = 3,
  CadicalFailed = 4,    // every later solve answers 4 without calling the engine
};

class CadicalSolver : public GuardedSolver {
 public:
  CadicalSolver();
  ~CadicalSolver() override;

  void new_variable(uint32_t& variable, bool no_branch) override;
  void set_frozen(uint32_t, bool) override {}
  void eliminate() override {}
  void delete_group(int id) override;
  void add_clause(uint32_t size, const Literal* literals, int group) override;
  void unit_clauses(std::vector<Literal>& out) override;
  int solve() override;

  int state() const { return state_; }
  // The engine itself, for limits and options.
  CaDiCaL::Solver& cadical() { return *engine_; }

 protected:
  int engine_new_variable(bool decision, bool guard) override;
  void engine_add_clause(const std::vector<int>& literals) override;
  TernaryValue engine_value(int index) override;
  void engine_reset() override;

 private:
  void create_engine();
  int run_engine();

  std::unique_ptr<CaDiCaL::Solver> engine_;
  int state_ = CadicalFresh;
  int max_index_ = 0;           // highest engine index handed out
  bool out_of_memory_ = false;  // an allocation failed while building
};

}  // namespace nurex
