// Equations of a CSC-free STG (-E, -G, -S): for each output and internal signal, its
// minimal supports found by SAT over pairs of states, and a minimised cover on each.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "kernel/bdd_cover.h"
#include "verify/conflicts.h"

namespace nurex {

// The functions a signal's implementation is made of.
enum SynthesisPhase { PhaseReset = 0, PhaseSet = 1, PhaseNext = 2 };
// Values of the `synthesis_type` option; 0 behaves like 1.
enum SynthesisType { ComplexGate = 1, GeneralisedC = 2, StandardC = 3 };

struct EquationAlternative {
  std::vector<const Signal*> context;  // the support, in signal table order
  BddCover cover;                      // ON and OFF sets as enumerated, over signal indices
  SumOfProducts sop;                   // the minimised cover
  std::string equation;                // `sop` in the netlist syntax
  uint64_t literals = 0;               // the cost of the alternative
};

// The derived function of one signal and phase; the alternatives are sorted by cost.
class SignalImplementation : public Solution {
 public:
  uint64_t cost() const override;  // the literal count of the best alternative
  void print(FILE* stream, ResultForm form) const override;
  XmlNode* toXml(XmlDocument& document) const override;

  const Signal* signal = nullptr;
  std::string name;  // the signal's name, with " SET" or " RESET" for the two latch phases
  SynthesisPhase phase = PhaseNext;
  std::vector<const Signal*> triggers;
  std::vector<EquationAlternative> alternatives;
};

class EquationMode : public ConflictMode {
 public:
  EquationMode(const StgPrefix& prefix, const OptionMap& options);

  std::string message_if_found() const override;
  std::string message_if_none() const override;
  bool run() override;
  // The equations as results, or the netlist when the output name ends in ".v".
  void describe() override;
  // After a failed run: the verdict of failure, or the failed netlist.
  void describe_failure() override;
  // The unmapped netlist of the derived equations.
  void write_netlist(FILE* stream) const;
  std::string netlist_text() const;

  // Derived implementations in signal table order (SET before RESET).
  std::vector<const SignalImplementation*> implementations() const;
  int32_t synthesis_type() const;
  // Sum of the costs of all implementations.
  uint64_t total_cost() const;
  // The codes over `support` (signal indices, ascending) of the reachable states where z's
  // next value is 1 (on) and 0 (off), in a fresh instance; they overlap where the support
  // does not tell them apart. False after an error.
  bool next_state_regions(const Signal* z, const std::vector<uint32_t>& support, BddCover& out);

 protected:
  // Supports, hitting sets and a function per support for the signal in one phase; false
  // after an error (a CSC conflict).
  bool derive(const Signal* z, SynthesisPhase phase, std::string name);
  // The complements of the maximal signal sets on which a separating pair agrees; false
  // after the CSC-conflict error.
  bool agreeing_sets(const Signal* z, std::vector<std::vector<uint32_t>>& complements);
  // ON and OFF over one support in the one-record instance, by enumeration.
  bool regions_on(const Signal* z, const std::vector<uint32_t>& support, BddCover& out);
  // The alternative on one support (signal indices, ascending), in the one-record instance.
  bool alternative_on(const Signal* z, const std::vector<uint32_t>& support, EquationAlternative& out);
  // Clauses putting the record's state where the function of the phase must be 1 (`on`) or 0.
  void region_constraint(Configuration& record, const Signal* z, bool on, int group);
  void fresh_instance();
  std::vector<const Signal*> triggers_of(const Signal* z) const;

  SynthesisPhase phase = PhaseNext;
  std::vector<Literal> support_selectors;  // one per candidate signal, true: equal values in the pair
};

std::unique_ptr<SearchModeBase> makeEquationMode(const StgPrefix& prefix, const OptionMap& options);

// The entries of -E, -G and -S: each only sets the synthesis type.
template <SynthesisType Type>
std::unique_ptr<SearchModeBase> makeSynthesisMode(const StgPrefix& prefix, const OptionMap& options) {
  OptionMap typed = options;
  typed["synthesis_type"] = Type;
  return makeEquationMode(prefix, typed);
}

}  // namespace nurex
