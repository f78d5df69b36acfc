// The generic search that every checking mode derives from: one solution, all solutions or
// a minimum-cost one, traces from models, and the self-check of every solution.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "model/results.h"
#include "platform/options.h"
#include "sat/bit_vector_encoder.h"
#include "sat/configuration.h"

namespace nurex {

// What the driver sees of a mode: run, report, statistics.
class SearchModeBase {
 public:
  virtual ~SearchModeBase() = default;
  // Hands the solutions and the mode's two verdict texts to the results writer.
  virtual void describe() = 0;
  // True when a solution exists.
  virtual bool run() = 0;
  // After a run that ended in an error: what the mode still owes its reader (by default nothing).
  virtual void describe_failure() {}
  // A newline and the solver's "Original Num Var/Cl/Lit" line.
  virtual void print_statistics() = 0;
  virtual const ResultList& result_list() const = 0;
};

template <class Unit>
class SearchMode : public SearchModeBase {
 public:
  using E = typename Unit::EventType;
  using C = typename Unit::ConditionType;
  using Configuration = ConfigurationVariables<Unit>;

  SearchMode(const Unit& unit, const OptionMap& options);

  void describe() override;
  bool run() override;
  void print_statistics() override;
  const ResultList& result_list() const override { return solutions; }

  virtual void order_configurations(Configuration&, Configuration&, int) {}
  virtual void collect_solution(Solution& solution);
  // Safe run check, and for merged processes the acyclicity and no-gap checks.
  virtual bool validate(const Solution& solution);
  virtual void add_solution();
  virtual void cost_vector(BitVector& out, Polarity polarity);
  virtual void build_instance(int group) = 0;
  virtual bool solve_first();
  virtual void projection(std::vector<Literal>& out);
  virtual bool solve_all();
  virtual bool first_for_minimum(BitVector& v, std::vector<bool>& b);
  virtual bool solve_minimum();
  // Merged processes: forbid a cycle of the last model; true if clauses were added.
  virtual bool reject_cyclic();

  virtual std::string message_if_found() const = 0;
  virtual std::string message_if_none() const = 0;

  bool solve_and_record(const BitVector& v, std::vector<bool>& b);
  // Creates the first configuration record if there is none yet.
  Configuration& configuration(size_t i = 0);
  // The events of a record in breadth-first topological order of the current model.
  Trace trace_of(const Configuration& record) const;

  std::vector<std::unique_ptr<Configuration>> configurations;
  const Unit& unit;
  SatFormula formula;
  int64_t all_solutions;
  ResultList solutions;
  OptionMap options;
  bool backward_conflict_constraints;
  bool incremental_acyclic_constraint;

 protected:
  static constexpr int TemporaryGroup = 2;
  // The events of a trace, from its steps.
  std::vector<E*> events_of(const Trace& trace) const;
  // The final cut of a replayed trace, as one flag per condition; false if the replay fails.
  bool safe_run(const Trace& trace, std::vector<bool>& marked) const;
  bool merged_process_checks(const Trace& trace) const;
  void descend(const BitVector& v, std::vector<bool>& b);
};

// Elements x whose "not enabled" clause is implied by that of another element with a
// subset preset: presets are lists of member numbers, `consumers` maps a member back.
std::vector<bool> preset_skip_set(const std::vector<std::vector<uint32_t>>& presets,
                                  const std::vector<std::vector<uint32_t>>& consumers);

}  // namespace nurex
