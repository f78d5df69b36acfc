// SatFormula: clause building with constant folding, gates with polarity, at-most-one,
// clause groups and solving over one engine. The public face of the SAT layer.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "sat/gate.h"
#include "sat/literal.h"
#include "sat/sat_solver.h"

namespace nurex {

class OptionMap;
struct NormalGate;

// Seconds spent inside SatFormula::solve over the whole run (single-threaded, no lock).
extern double globalSatTime;

// Filled, when attached, for the reachability layer: which gate defines a variable, and
// which variables occur in clauses of which group (group as given to add_clause).
struct DefinitionRecord {
  std::map<uint32_t, Gate> gate_of_variable;
  std::set<std::pair<uint32_t, int>> used_variables;
  void clear() {
    gate_of_variable.clear();
    used_variables.clear();
  }
};

// Two bits per literal of a projection: bit 2i set means true ("01"), bit 2i+1 set means
// undefined or unset ("10"), neither means false ("00").
using TernaryVector = std::vector<bool>;

class SatFormula {
 public:
  // Reads `solver`, `restrict_branching` and `store_cnf_formula`.
  explicit SatFormula(const OptionMap& options);
  // A solver number other than 0 and 1 warns and uses 1.
  SatFormula(int solver, bool restrict_branching, bool store_cnf_formula);
  ~SatFormula();
  SatFormula(const SatFormula&) = delete;
  SatFormula& operator=(const SatFormula&) = delete;

  // A fresh variable, frozen for the preprocessor.
  uint32_t new_variable(bool no_branch);
  Literal new_literal(bool no_branch) { return positive_literal(new_variable(no_branch)); }

  // Clauses; `group` is a slot of the group list or -2 (PermanentGroup).
  void add_clause(std::span<const Literal> literals, int group);
  void add_clause(std::initializer_list<Literal> literals, int group) {
    add_clause(std::span<const Literal>(literals.begin(), literals.size()), group);
  }
  void add_binary(Literal a, Literal b, int group);
  void add_unit(Literal a, int group);
  void add_units(size_t count, const Literal* literals, int group, bool invert);
  void add_empty_clause(int group) { send_clause(0, nullptr, group); }

  // The literal of the gate, built with the clauses that `polarity` asks for. A cached
  // literal of a covered polarity is returned as it is; one of the opposite polarity gets
  // the clauses of the missing direction on its output variable.
  Literal make_gate(CachedLiteral& cached, GateKind kind, std::span<const Literal> children, int group,
                    Polarity polarity);
  Literal make_gate(GateKind kind, std::span<const Literal> children, int group, Polarity polarity);
  Literal make_gate(GateKind kind, std::initializer_list<Literal> children, int group, Polarity polarity) {
    return make_gate(kind, std::span<const Literal>(children.begin(), children.size()), group, polarity);
  }

  void at_most_one(std::span<const Literal> literals, int group);

  // Groups. Slots 0 to 2 exist from creation and after every reset.
  size_t group_count() const { return groups_.size(); }
  // Deletes the group held in the slot and puts a new, empty one there.
  void recreate_group(size_t slot);
  // Opens one more group at the end of the list; `slot` receives (and the call returns)
  // its index.
  int new_group_like(int& slot);

  // Writes formula.cnf under store_cnf_formula, solves, adds the time to globalSatTime;
  // a failure of the engine is reported and answers false.
  bool solve();
  // The value in the last model; read it before adding clauses (solver 0 forgets the model
  // as soon as the instance changes).
  TernaryValue value(Literal l) const;
  bool is_true(Literal l) const { return value(l) == ValueTrue; }

  // Model enumeration over a projection (see the search layer): blocking clauses go to
  // `group`; `limit` -1 means no limit.
  void enumerate(std::span<const Literal> projection, int group,
                 const std::function<void(const TernaryVector&)>& callback, int64_t limit);
  std::vector<TernaryVector> enumerate_maximal(std::span<const Literal> projection, int group);
  std::vector<TernaryVector> enumerate_minimal(std::span<const Literal> projection, int group);

  void reset();

  // DIMACS CNF of the live clauses; false if the file cannot be opened.
  bool write_cnf(const char* file_name);
  // "Original Num Var/Cl/Lit\t\t\t" vars/clauses/literals.
  void print_statistics(FILE* stream);
  // "\nInstance size: cl/vars/lits=..." at verbosity 1 and up.
  void print_instance_size();

  SatSolver& engine() { return *engine_; }
  int solver_number() const { return solver_number_; }
  bool restrict_branching() const { return restrict_branching_; }
  // Extra redundant clauses help solver 1 only.
  bool wants_redundant_clauses() const { return !engine_is_solver0_; }
  void set_definition_record(DefinitionRecord* record) { definitions_ = record; }
  DefinitionRecord* definition_record() const { return definitions_; }

 private:
  void open_groups();
  int engine_group(int group) const;
  void send_clause(uint32_t size, const Literal* literals, int group);
  void note_gate(Literal output, GateKind kind, std::span<const Literal> children);

  // gates.cpp
  Literal build_gate(NormalGate& gate, int group, Polarity polarity);
  void emit_gate(NormalGate& gate, Literal output, int group, Polarity polarity);
  void emit_and_or(bool is_or, std::span<const Literal> children, Literal output, int group, Polarity polarity);
  void emit_table(GateKind kind, std::span<const Literal> children, Literal output, int group, Polarity polarity);
  void emit_xor(std::span<const Literal> children, Literal output, int group, Polarity polarity);
  void emit_equal(std::span<const Literal> children, Literal output, int group, Polarity polarity);
  Literal fresh_xor2(Literal a, Literal b, int group);
  bool gate_no_branch(GateKind kind, size_t arity) const;

  // enumerate.cpp
  std::vector<TernaryVector> enumerate_extremal(std::span<const Literal> projection, int group, bool maximal);

  std::vector<int> groups_;         // slot -> engine group
  Literal pair_[2] = {};            // two-literal clauses
  std::vector<Literal> scratch_;    // clause normalisation
  bool restrict_branching_ = false;
  bool store_cnf_formula_ = false;
  std::unique_ptr<SatSolver> engine_;
  int solver_number_ = 1;
  bool engine_is_solver0_ = false;
  DefinitionRecord* definitions_ = nullptr;
};

}  // namespace nurex
