// Solver 1: MiniSat's simplifying solver, with groups emulated by guard literals.
#pragma once

#include <memory>
#include <vector>

#include "sat/guarded_solver.h"

namespace Minisat {
class SimpSolver;
}

namespace nurex {

class MinisatSolver : public GuardedSolver {
 public:
  MinisatSolver();
  ~MinisatSolver() override;

  void set_frozen(uint32_t variable, bool flag) override;
  void eliminate() override;
  void unit_clauses(std::vector<Literal>& out) override;
  void dump_clauses(std::vector<uint32_t>& out) override;
  int solve() override;
  void allow_simplification(bool allow) override { simplify_ = allow; }

 protected:
  int engine_new_variable(bool decision, bool guard) override;
  void engine_add_clause(const std::vector<int>& literals) override;
  TernaryValue engine_value(int index) override;
  void engine_reset() override;

 private:
  void create_engine();
  // Hands the held-back clauses to the engine; from then on clauses go straight in.
  void flush();

  std::unique_ptr<Minisat::SimpSolver> engine_;
  std::vector<int> held_back_;  // clauses before the first solve or dump, each ended by 0
  bool flushed_ = false;
  bool simplify_ = true;
  bool out_of_memory_ = false;  // the engine ran out of memory while building
};

}  // namespace nurex
