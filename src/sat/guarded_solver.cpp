// Variable map, guard-literal groups and the clause copy shared by both adapters.
#include "sat/guarded_solver.h"

#include <algorithm>
#include <cassert>

namespace nurex {

void GuardedSolver::new_variable(uint32_t& variable, bool no_branch) {
  variable = static_cast<uint32_t>(engine_variable_.size());
  engine_variable_.push_back(engine_new_variable(!no_branch, false));
  no_branch_.push_back(no_branch);
}

void GuardedSolver::new_group(int& id) {
  id = static_cast<int>(groups_.size());
  groups_.push_back(GroupRecord{});
}

// A retired guard is asserted true, which satisfies the group's clauses for good.
void GuardedSolver::delete_group(int id) {
  if (id < 0 || static_cast<size_t>(id) >= groups_.size() || !groups_[id].live) return;
  GroupRecord& record = groups_[id];
  record.live = false;
  store_.delete_group(id);
  std::erase_if(unit_pairs_, [id](const std::pair<Literal, int>& unit) { return unit.second == id; });
  if (record.guard != 0) engine_add_clause({record.guard});
}

void GuardedSolver::add_clause(uint32_t size, const Literal* literals, int group) {
  assert(group == PermanentGroup || (group >= 0 && static_cast<size_t>(group) < groups_.size()));
  if (group >= 0 && !groups_[group].live) return;  // a deleted group holds nothing
  store_.add(literals, size, group);
  if (size == 1) unit_pairs_.emplace_back(literals[0], group);
  scratch_.clear();
  for (uint32_t i = 0; i < size; ++i) {
    assert(variable_of(literals[i]) < engine_variable_.size());
    scratch_.push_back(engine_literal(literals[i]));
  }
  if (group >= 0) {
    GroupRecord& record = groups_[group];
    if (record.guard == 0) record.guard = engine_new_variable(true, true);
    scratch_.push_back(record.guard);
  }
  engine_add_clause(scratch_);
}

std::vector<int> GuardedSolver::guard_assumptions() const {
  std::vector<int> assumptions;
  for (const GroupRecord& record : groups_)
    if (record.live && record.guard != 0) assumptions.push_back(-record.guard);
  return assumptions;
}

std::unique_ptr<LiteralIterator> GuardedSolver::new_literal_iterator() {
  std::vector<Literal> literals;
  for (uint32_t v = 0; v < engine_variable_.size(); ++v) {
    TernaryValue x = value(v);
    if (x != ValueUndefined) literals.push_back(positive_literal(v) | (x == ValueFalse ? 1 : 0));
  }
  return std::make_unique<LiteralIterator>(std::move(literals));
}

std::unique_ptr<ClauseIterator> GuardedSolver::new_clause_iterator() {
  return std::make_unique<ClauseIterator>(store_);
}

void GuardedSolver::dump_clauses(std::vector<uint32_t>& out) {
  out.clear();
  out.reserve(std::max<size_t>(100000, store_.clauses() + store_.literals()));
  store_.for_each([&out](const Literal* literals, uint32_t size) {
    out.push_back(size);
    out.insert(out.end(), literals, literals + size);
  });
}

void GuardedSolver::reset() {
  engine_variable_.clear();
  no_branch_.clear();
  groups_.clear();
  unit_pairs_.clear();
  store_.clear();
  engine_reset();
}

TernaryValue GuardedSolver::value(uint32_t variable) {
  if (variable >= engine_variable_.size()) return ValueUndefined;
  return engine_value(engine_variable_[variable]);
}

}  // namespace nurex
