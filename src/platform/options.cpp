// Option defaults and the process-wide strings.
#include "platform/options.h"

#include <cstdlib>
#include <cstdio>

namespace nurex {

const CoefficientInfo coefficientInfo[CoefficientSlotCount] = {
    {"csc", "coeff_CSC_cores", "#s*8"},       {"usc", "coeff_USC_cores", "#s*4"},
    {"del", "coeff_delay", "#s*2"},           {"trig", "coeff_logic", "#s*1"},
    {"seq", "coeff_seq_insertions", "#s*4"},  {"conc", "coeff_conc_insertions", "#s*8"},
    {"lock", "coeff_non_locked_signals", "50"},
};

OptionMap::OptionMap() {
  static const std::pair<const char*, int32_t> defaults[] = {
      {"mode", 0},
      {"solver", -1},
      {"store_cnf_formula", 0},
      {"restrict_branching", 0},
      {"output_configurations", 0},
      {"all_solutions", 0},
      {"method", 0},
      {"min_cost", 0},
      {"wait_mode", 0},
      {"no_max_dummies", 1},
      {"enable_via_dummies", 1},
      {"inclusion_constraints", -1},
      {"backward_conflict_constraints", 1},
      {"incremental_acyclic_constraint", 0},
      {"concurrent_insertions", 0},
      {"pwr_of_2", 0},
      {"use_concurrency_reduction", 0},
      {"decompose_down_to_trivial", 0},
      {"use_latches", 1},
      {"max_gate_inputs", 2147483647},
      {"verbosity", 0},
      {"synthesis_type", 0},
      {"coeff_CSC_cores", 8},
      {"coeff_USC_cores", 4},
      {"coeff_delay", 2},
      {"coeff_logic", 1},
      {"coeff_seq_insertions", 4},
      {"coeff_conc_insertions", 4},
      {"coeff_non_locked_signals", 50},
      {"engine", 0},  // for .g input: 0 the default race, 1 prefix, 2 explicit, 3 race
  };
  for (const auto& [key, value] : defaults) values_.emplace(key, value);
}

int32_t& OptionMap::operator[](const std::string& key) {
  auto it = values_.find(key);
  if (it == values_.end()) {
    std::fprintf(stderr, "internal error: unknown option key %s\n", key.c_str());
    std::abort();
  }
  return it->second;
}

int32_t OptionMap::operator[](const std::string& key) const {
  return const_cast<OptionMap&>(*this)[key];
}

RunStrings::RunStrings() {
  for (int i = 0; i < CoefficientSlotCount; ++i) coefficientText[i] = coefficientInfo[i].defaultText;
}

RunStrings runStrings;

}  // namespace nurex
