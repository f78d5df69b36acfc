// SatFormula: clause normalisation, at-most-one, groups, solving, the CNF file and the
// statistics line.
#include "sat/sat_formula.h"

#include <algorithm>
#include <cassert>
#include <string>

#include "platform/options.h"
#include "platform/reporter.h"
#include "platform/system.h"

namespace nurex {

double globalSatTime = 0;

namespace {
constexpr const char* CnfFileName = "formula.cnf";
constexpr int OpenedGroups = 3;

// Texts of SatFormula::solve for the engine's failures 2, 3 and 4.
const char* solveFailureText(int result) {
  switch (result) {
    case SolveTimeout: return "SAT solver timeout";
    case SolveOutOfMemory: return "memory overflow";
    default: return "error while solving a SAT instance";
  }
}

int resolveSolverNumber(int number) {
  if (number == 0 || number == 1) return number;
  reportWarning(noSuchSatSolver(number));
  return 1;
}
}  // namespace

SatFormula::SatFormula(const OptionMap& options)
    : SatFormula(options["solver"], options["restrict_branching"] != 0, options["store_cnf_formula"] != 0) {}

SatFormula::SatFormula(int solver, bool restrict_branching, bool store_cnf_formula)
    : restrict_branching_(restrict_branching), store_cnf_formula_(store_cnf_formula) {
  solver_number_ = resolveSolverNumber(solver);
  engine_is_solver0_ = solver_number_ == 0;
  engine_ = create_sat_solver(solver_number_);
  open_groups();
}

SatFormula::~SatFormula() = default;

void SatFormula::open_groups() {
  for (int i = 0; i < OpenedGroups; ++i) {
    int id;
    engine_->new_group(id);
    groups_.push_back(id);
  }
}

uint32_t SatFormula::new_variable(bool no_branch) {
  uint32_t variable;
  engine_->new_variable(variable, no_branch);
  engine_->set_frozen(variable, true);
  return variable;
}

int SatFormula::engine_group(int group) const {
  if (group == PermanentGroup) return PermanentGroup;
  assert(group >= 0 && static_cast<size_t>(group) < groups_.size());
  return groups_[group];
}

void SatFormula::send_clause(uint32_t size, const Literal* literals, int group) {
  if (definitions_ != nullptr)
    for (uint32_t i = 0; i < size; ++i) definitions_->used_variables.emplace(variable_of(literals[i]), group);
  engine_->add_clause(size, literals, engine_group(group));
}

void SatFormula::add_unit(Literal a, int group) {
  assert(a != LiteralUninit);
  if (a == LiteralTrue) return;
  send_clause(a == LiteralFalse ? 0 : 1, &a, group);
}

void SatFormula::add_binary(Literal a, Literal b, int group) {
  assert(a != LiteralUninit && b != LiteralUninit);
  if (a == LiteralTrue || b == LiteralTrue || a == negate(b)) return;
  if (a == LiteralFalse || a == b) return add_unit(b, group);
  if (b == LiteralFalse) return add_unit(a, group);
  pair_[0] = a;
  pair_[1] = b;
  send_clause(2, pair_, group);
}

// Sorting puts the constants last (FALSE before TRUE) and a literal next to its negation.
void SatFormula::add_clause(std::span<const Literal> literals, int group) {
  if (literals.size() == 1) return add_unit(literals[0], group);
  if (literals.size() == 2) return add_binary(literals[0], literals[1], group);
  scratch_.assign(literals.begin(), literals.end());
  std::sort(scratch_.begin(), scratch_.end());
  assert(scratch_.empty() || scratch_.back() != LiteralUninit);
  if (!scratch_.empty() && scratch_.back() == LiteralTrue) return;
  scratch_.erase(std::unique(scratch_.begin(), scratch_.end()), scratch_.end());
  while (!scratch_.empty() && scratch_.back() == LiteralFalse) scratch_.pop_back();
  for (size_t i = 1; i < scratch_.size(); ++i)
    if (scratch_[i] == negate(scratch_[i - 1])) return;
  send_clause(static_cast<uint32_t>(scratch_.size()), scratch_.data(), group);
}

void SatFormula::add_units(size_t count, const Literal* literals, int group, bool invert) {
  for (size_t i = 0; i < count; ++i) add_unit(invert ? negate(literals[i]) : literals[i], group);
}

// Repeated literals must be false, a variable in both signs supplies one certainly true
// member; what remains are the singles, constrained pairwise up to six and by a ladder of
// auxiliary variables (sequential counter) from seven.
void SatFormula::at_most_one(std::span<const Literal> literals, int group) {
  std::vector<Literal> sorted(literals.begin(), literals.end());
  std::sort(sorted.begin(), sorted.end());
  size_t true_count = std::count(sorted.begin(), sorted.end(), LiteralTrue);
  while (!sorted.empty() && is_constant(sorted.back())) sorted.pop_back();
  if (true_count >= 2) return add_empty_clause(group);

  std::vector<Literal> singles, forced;
  size_t certain = 0;
  for (size_t i = 0; i < sorted.size();) {
    uint32_t variable = variable_of(sorted[i]);
    size_t positive = 0, negative = 0;
    for (; i < sorted.size() && variable_of(sorted[i]) == variable; ++i) (is_negated(sorted[i]) ? negative : positive)++;
    Literal x = positive_literal(variable);
    if (positive > 1 && negative > 1) return add_empty_clause(group);
    if (positive + negative == 1) {
      singles.push_back(positive ? x : negate(x));
      continue;
    }
    if (positive > 0 && negative > 0) ++certain;
    if (positive > 1) forced.push_back(x);
    if (negative > 1) forced.push_back(negate(x));
  }
  size_t total = true_count + certain;
  if (total > 1) return add_empty_clause(group);
  for (Literal f : forced) add_unit(negate(f), group);
  if (total == 1) {
    for (Literal s : singles) add_unit(negate(s), group);
    return;
  }
  size_t n = singles.size();
  if (n < 2) return;
  if (n <= 6) {
    for (size_t a = 0; a < n; ++a)
      for (size_t b = a + 1; b < n; ++b) add_binary(negate(singles[a]), negate(singles[b]), group);
    return;
  }
  Literal previous = new_literal(true);
  add_binary(negate(singles[0]), previous, group);
  for (size_t i = 1; i + 1 < n; ++i) {
    Literal s = new_literal(true);
    add_binary(negate(singles[i]), s, group);
    add_binary(negate(previous), s, group);
    add_binary(negate(previous), negate(singles[i]), group);
    previous = s;
  }
  add_binary(negate(previous), negate(singles[n - 1]), group);
}

void SatFormula::recreate_group(size_t slot) {
  assert(slot < groups_.size());
  engine_->delete_group(groups_[slot]);
  engine_->new_group(groups_[slot]);
}

int SatFormula::new_group_like(int& slot) {
  int id;
  engine_->new_group(id);
  slot = static_cast<int>(groups_.size());
  groups_.push_back(id);
  return slot;
}

bool SatFormula::solve() {
  if (store_cnf_formula_) write_cnf(CnfFileName);
  double start = monotonicSeconds();
  int result = engine_->solve();
  globalSatTime += monotonicSeconds() - start;
  if (result == SolveSatisfiable) return true;
  if (result != SolveUnsatisfiable) reportError(solveFailureText(result));
  return false;
}

TernaryValue SatFormula::value(Literal l) const {
  if (l == LiteralTrue) return ValueTrue;
  if (l == LiteralFalse) return ValueFalse;
  if (l == LiteralUninit) return ValueUndefined;
  TernaryValue x = engine_->value(variable_of(l));
  if (x == ValueUndefined || !is_negated(l)) return x;
  return x == ValueTrue ? ValueFalse : ValueTrue;
}

void SatFormula::reset() {
  if (definitions_ != nullptr) definitions_->clear();
  groups_.clear();
  engine_->reset();
  open_groups();
}

bool SatFormula::write_cnf(const char* file_name) {
  FILE* file = std::fopen(file_name, "w");
  if (file == nullptr) {
    reportWarning(cannotOpenForOutput(file_name));
    return false;
  }
  std::fprintf(file, "p cnf %d %d\n", static_cast<int>(engine_->num_variables()),
               static_cast<int>(engine_->num_clauses()));
  std::string line;
  auto iterator = engine_->new_clause_iterator();
  const Literal* literals;
  uint32_t size;
  while (iterator->next(literals, size)) {
    line.clear();
    for (uint32_t i = 0; i < size; ++i) {
      if (i > 0) line += ' ';
      if (is_negated(literals[i])) line += '-';
      line += std::to_string(variable_of(literals[i]) + 1);
    }
    line += " 0\n";
    std::fputs(line.c_str(), file);
  }
  if (closeWrittenFile(file)) return true;
  reportWarning(cannotWriteFile());
  return false;
}

void SatFormula::print_statistics(FILE* stream) {
  printTo(stream, "Original Num Var/Cl/Lit\t\t\t%u/%u/%llu", engine_->num_variables(), engine_->num_clauses(),
          static_cast<unsigned long long>(engine_->num_literals()));
}

void SatFormula::print_instance_size() {
  if (verbosity < 1) return;
  printTo(stdout, "\nInstance size: cl/vars/lits=%u/%u/%u...", engine_->num_clauses(), engine_->num_variables(),
          static_cast<unsigned>(engine_->num_literals()));
}

}  // namespace nurex
