// Normalcy checking (-N): every output and internal signal must be p-normal or n-normal,
// decided first from the triggers of its events and then by SAT over two configurations
// whose codes are ordered bit by bit.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "verify/conflicts.h"
#include "verify/normalcy_triggers.h"

namespace nurex {

inline VerdictTexts normalcyVerdicts() { return {"normalcy is violated", "there are no normalcy violations"}; }

enum NormalcyReason : uint32_t {
  ReasonNone = 0,
  ReasonMixedTriggers = 1,
  ReasonContradictoryHypotheses = 2,
  ReasonCscConflict = 3,
  ReasonOther = 4,
};

class NormalcySolution : public Solution {
 public:
  using Solution::Solution;
  void print(FILE* stream, ResultForm form) const override;
  XmlNode* toXml(XmlDocument& document) const override;

  uint32_t reason = ReasonNone;
  bool first_trace_violates_n = false;
  std::string signal;
  const Signal* offending = nullptr;  // the signal named, for the self-check
  char hypothesis = '?';        // the XML report's normalcy_type_hypothesis
  std::vector<Trace> triggers;  // of the first traces, by position; may be shorter than traces
};

class NormalcyMode : public ConflictMode {
 public:
  NormalcyMode(const StgPrefix& prefix, const OptionMap& options);

  std::string message_if_found() const override { return normalcyVerdicts().found; }
  std::string message_if_none() const override { return normalcyVerdicts().none; }
  void order_configurations(Configuration& first, Configuration& second, int group) override;
  // Code(C1) <= Code(C2) replaces equal codes.
  void equal_codes(int group) override;
  void difference_constraint(int group) override;
  void item_constraint(int group) override;
  bool validate(const Solution& solution) override;
  void add_solution() override;
  bool solve_first() override;
  bool solve_all() override;
  bool solve_minimum() override;

  TriggerAnalysis analysis;
  uint32_t reason = ReasonNone;
  const Signal* offending_signal = nullptr;

 private:
  // The signal's next state breaks its hypothesis (n if it has one, else p) from C1 to C2.
  Literal violation(const Signal* z);
  bool violated(const Signal* z, const FinalState& first, const FinalState& second) const;
  bool has_n_hypothesis(const Signal* z) const { return analysis.n_hypotheses[z->index].has_value(); }
  // Reason, signal and traces of the solution for the current reason.
  void fill(NormalcySolution& solution, const Trace* first, const Trace* second) const;
  bool structural_answer();

  std::vector<Literal> violation_;  // by signal, LiteralUninit until built
};

std::unique_ptr<SearchModeBase> makeNormalcyMode(const StgPrefix& prefix, const OptionMap& options);

}  // namespace nurex
