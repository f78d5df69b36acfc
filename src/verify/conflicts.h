// USC and CSC conflict detection (-U, -C): two configurations of an STG prefix with equal
// signal codes whose markings (USC) or excited local signals (CSC) differ. The class is
// shared with normalcy checking and conflict resolution.
#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "sat/search_mode.h"
#include "verify/final_state.h"
#include "verify/signal_encoding.h"

namespace nurex {

// Two configurations of a prefix, each a list of non-cut-off events sorted by index.
struct ConfigurationPair {
  std::vector<const Event*> first, second;
};

// A conflict: the two traces and, for CSC, the signal whose excitation differs.
class ConflictSolution : public Solution {
 public:
  using Solution::Solution;
  void print(FILE* stream, ResultForm form) const override;
  const Signal* signal = nullptr;
};

class ConflictMode : public SearchMode<StgPrefix> {
 public:
  using Base = SearchMode<StgPrefix>;

  // `csc` selects -C, else -U. The dummy cut-off warning is a CSC detector's.
  ConflictMode(const StgPrefix& prefix, const OptionMap& options, bool csc, bool warn_dummy_cutoffs);

  std::string message_if_found() const override;
  std::string message_if_none() const override;
  void build_instance(int group) override;
  void order_configurations(Configuration& first, Configuration& second, int group) override;
  bool validate(const Solution& solution) override;
  void add_solution() override;
  bool solve_first() override;
  bool solve_all() override;
  bool solve_minimum() override;

  // The pair of final states is a conflict of the mode's kind.
  virtual bool is_conflict_of(const FinalState& first, const FinalState& second) const;
  // Some item is in a different state after the two configurations (method 1).
  virtual void difference_constraint(int group);
  virtual void equal_codes(int group);
  // Items of method 2: places for -U, local signals for -C.
  virtual uint32_t first_item() const;
  virtual uint32_t end_item() const;
  // The current item is off after the first configuration and on after the second.
  virtual void item_constraint(int group);

  // Pairs that the search must not find (again): those given before the run, and each
  // core found while enumerating.
  void add_known_core(ConfigurationPair core) { known_cores_.push_back(std::move(core)); }
  // Consulted for each new core while enumerating: a core it rejects is excluded from the
  // search but not recorded; it still counts towards the limit of -a, which bounds the work.
  std::function<bool(const ConfigurationPair& core, const std::vector<ConfigurationPair>& known)> reject_core;
  const std::vector<ConfigurationPair>& known_cores() const { return known_cores_; }

  const bool csc;
  bool conflict_free;
  // Method 2 with -f bounds costs by a counter register of at most this many cells
  // (literals times levels), by the adder tree beyond.
  size_t register_limit = size_t{1} << 21;
  int64_t item = -1;  // place or signal under work; -1 outside method 2
  // Method 2 on solver 1 first tries to refute all items on solver 0 (for -U and -C
  // themselves; the modes built on this class search as they are).
  bool refute_on_solver0 = false;

 protected:
  static constexpr int ItemGroup = 1;     // item constraint and the known cores given at build time
  static constexpr int BlockingGroup = 0;  // cores found while enumerating

  Configuration& first_record() { return configuration(0); }
  Configuration& second_record() { return configuration(1); }
  int32_t method() const { return options["method"]; }
  // Base encoding of each record, then, unless disabled, no dummy event left maximal in it.
  void encode_records(std::initializer_list<Configuration*> records, int group);
  // Makes x the current item: group 1 recreated (after the first) and refilled.
  void select_item(uint32_t x);
  // Clauses that forbid the pair (in both orders) as the two configurations.
  void exclude_core(const ConfigurationPair& core, int group);
  ConfigurationPair model_pair() const;
  // C1 is a subset of C2 (ordered), or one of the two includes the other (unordered).
  void add_inclusion(Configuration& first, Configuration& second, bool ordered, int group);
  // Whether solver 0 refutes every item of method 2 (only tried where it is allowed).
  bool items_refuted_elsewhere();
  // Solves and records until the limit of -a, excluding each core found.
  void collect_cores();
  bool limit_reached() const;
  // Whether the current item has a pair of at most `limit` events; records it.
  bool item_within(uint64_t limit, const BitVector& v, std::vector<bool>& b);
  // Builds the counter register on first use, if it is small enough; whether it can bound
  // the count by `limit`.
  bool register_covers(uint64_t limit);
  // The first local signal whose excitation differs between the two states, or null.
  const Signal* differing_local_signal(const FinalState& first, const FinalState& second) const;

  SignalEncoding signals;
  std::vector<ConfigurationPair> known_cores_;
  size_t cores_at_build_ = 0;
  bool is_probe_ = false;  // a refutation attempt on solver 0, which stays silent
  size_t rejected_cores_ = 0;  // known cores whose clauses live in the item group
  std::vector<Literal> at_least_;  // at_least_[j]: more than j events in the two records
};

VerdictTexts conflictVerdicts(bool csc);

std::unique_ptr<SearchModeBase> makeUscMode(const StgPrefix& prefix, const OptionMap& options);
std::unique_ptr<SearchModeBase> makeCscMode(const StgPrefix& prefix, const OptionMap& options);

}  // namespace nurex
