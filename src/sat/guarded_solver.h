// What both adapters share: the map from our variables to engine variables, clause groups
// emulated by guard literals and assumptions, and the copy of the input clauses.
#pragma once

#include <utility>
#include <vector>

#include "sat/sat_solver.h"

namespace nurex {

// Engine literals are DIMACS integers: +-(engine variable index), index from 1.
class GuardedSolver : public SatSolver {
 public:
  void new_variable(uint32_t& variable, bool no_branch) override;
  void new_group(int& id) override;
  void delete_group(int id) override;
  void add_clause(uint32_t size, const Literal* literals, int group) override;
  std::unique_ptr<LiteralIterator> new_literal_iterator() override;
  std::unique_ptr<ClauseIterator> new_clause_iterator() override;
  void dump_clauses(std::vector<uint32_t>& out) override;
  void reset() override;
  TernaryValue value(uint32_t variable) override;
  uint32_t num_variables() override { return static_cast<uint32_t>(engine_variable_.size()); }
  uint32_t num_clauses() override { return store_.clauses(); }
  uint64_t num_literals() override { return store_.literals(); }

  // The no-branch wish given at creation, whether or not the engine honours it.
  bool no_branch(uint32_t variable) const { return no_branch_[variable]; }

 protected:
  // Engine hooks.
  virtual int engine_new_variable(bool decision, bool guard) = 0;
  virtual void engine_add_clause(const std::vector<int>& literals) = 0;
  virtual TernaryValue engine_value(int index) = 0;
  virtual void engine_reset() = 0;

  int engine_literal(Literal l) const {
    int index = engine_variable_[variable_of(l)];
    return is_negated(l) ? -index : index;
  }
  int engine_index(uint32_t variable) const { return engine_variable_[variable]; }
  // The negations of the guards of live groups: the assumptions of the next search.
  std::vector<int> guard_assumptions() const;
  // Units as (literal, group), deleted groups' pairs removed.
  const std::vector<std::pair<Literal, int>>& unit_pairs() const { return unit_pairs_; }

 private:
  struct GroupRecord {
    int guard = 0;     // engine index, 0 until the group's first clause
    bool live = true;
  };

  std::vector<int> engine_variable_;  // by variable
  std::vector<bool> no_branch_;       // by variable
  std::vector<GroupRecord> groups_;   // by group id
  std::vector<std::pair<Literal, int>> unit_pairs_;
  ClauseStore store_;
  std::vector<int> scratch_;
};

}  // namespace nurex
