// Mode -R: find the conflicts, choose insertions of a new internal signal by SAT, rewrite
// the STG, unfold it again, and start over until no CSC conflict is left.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "resolve/csc_core.h"
#include "resolve/event_order.h"
#include "resolve/sums_tree.h"
#include "resolve/transformation_cost.h"
#include "sat/search_mode.h"

namespace nurex {

// The search of one step over the prefix as it stands: one variable per candidate insertion.
class TransformationSearch : public SearchMode<StgPrefix> {
 public:
  TransformationSearch(const StgPrefix& prefix, const OptionMap& options, const std::vector<CscCore>& cores);

  std::string message_if_found() const override { return "suggested a transformation"; }
  std::string message_if_none() const override { return "cannot make further progress"; }
  void build_instance(int group) override;
  void projection(std::vector<Literal>& out) override;
  bool validate(const Solution&) override { return true; }
  void add_solution() override;
  void cost_vector(BitVector& out, Polarity polarity) override;

  const std::vector<Insertion>& candidates() const { return candidates_; }
  // Added to the lock measure of every solution: with reductions in play the measure is that
  // of the whole modified STG, so that the two kinds compare.
  uint64_t unlockBase = 0;
  // Signs of the chosen insertions of the last model: 0 "+", 1 "-".
  std::vector<uint32_t> signsInModel(const std::vector<size_t>& chosen) const;

 private:
  struct Placed {
    size_t candidate;
    InsertionInstance instance;
    EventSet past;      // events the new event follows, with their pasts
    EventSet excluded;  // events that cannot be in one configuration with it
  };

  void buildCandidates();
  // Pending events of x behind the insertion's instances placed from `first` on agree at
  // every cut-off and its correspondent.
  bool agreesAtCutOffs(const Insertion& insertion, size_t first) const;
  bool precedes(const Placed& a, const Placed& b) const;
  bool concurrent(const Placed& a, const Placed& b) const;
  bool sourceIn(const Placed& a, const EventSet& configuration) const;
  bool countedIn(const Placed& a, const EventSet& configuration) const;
  bool enabledAt(const Placed& a, const EventSet& configuration) const;
  // The variables of the candidates with an odd number of instances counted in the two sets.
  std::vector<Literal> oddCount(const EventSet& x, const EventSet& y) const;
  void exclusionConstraints(int group);
  void signConstraints(int group);
  void cutOffConstraints(int group);
  void coreConstraints(int group);
  // The counters of the conflicts that the new signal leaves: the cores themselves, and the
  // pairs of adjacent cores whose union it may bring back.
  void countUnresolved(int group);
  // The insertion sets behind the delay and logic measures: each set hit by a chosen
  // insertion adds one.
  void measureSets();
  BitVector counterOf(const std::vector<std::vector<size_t>>& sets);
  void lockTerms(std::vector<WeightedLiterals>& terms, uint32_t coefficient);
  uint64_t unlockInModel(std::vector<std::string>& lockedNames) const;

  const std::vector<CscCore>& cores_;
  EventOrder order_;
  std::vector<Insertion> candidates_;
  std::vector<Literal> variables_;
  std::vector<Placed> placed_;
  std::vector<std::vector<size_t>> placedOf_;  // per candidate, into placed_
  SumsTree sums_;
  // Per core: x's excitation tells the two sides apart; x's value does and it is excited at
  // neither side.
  std::vector<Literal> instanceSeparation_, paritySeparation_;
  BitVector cscCounter_, uscCounter_;
  std::vector<Literal> lockedLiterals_;  // per signal: locked with x
  std::vector<WeightedLiterals> lockWeights_;
  std::vector<std::vector<size_t>> delaySets_, logicSets_;
};

class EncodingResolver : public SearchModeBase {
 public:
  EncodingResolver(const StgPrefix& prefix, const OptionMap& options);
  ~EncodingResolver() override;

  bool run() override;
  void describe() override;
  void print_statistics() override;
  const ResultList& result_list() const override { return solutions_; }
  // The transformations that -f applied, in order.
  const ResultList& applied() const { return applied_; }

  // "all conflicts resolved", or "cannot make further progress", with the counts.
  std::string report() const;
  // The STG as it stands after the run.
  const Stg& net() const { return *prefix_; }
  bool resolved() const { return !coresLeft_; }
  size_t insertedSignals() const { return insertedSignals_.size(); }
  uint32_t appliedReductions() const { return appliedReductions_; }
  bool writeFiles = true;  // nurex.g and nurex.pnml at the end of -f
  // Each step resolves at least one core, but new ones can appear where x is excited, so the
  // loop has a bound of its own all the same.
  uint32_t stepLimit = 200;
  // Insertions after which the prefix had to be unfolded again instead of rewritten.
  uint32_t rebuiltPrefixes = 0;

 private:
  // One search over the current prefix; false after an error. Leaves its solutions.
  bool step(bool apply);
  // Rewrites the net for the first solution and unfolds it again; false after an error.
  bool apply(const ResolutionSolution& solution, const std::vector<uint32_t>& signs);
  bool applyReduction(const ConcurrencyReduction& reduction);
  // The valid reductions that leave fewer CSC conflicts than there are, cheapest first.
  std::vector<std::unique_ptr<ResolutionSolution>> usefulReductions();
  bool unfold();
  // The size limit, the signs of events and the consistency of the inserted signals.
  bool checkPrefix();
  void writeStg(const std::string& base) const;

  OptionMap options_;
  std::unique_ptr<StgPrefix> prefix_;
  std::vector<CscCore> cores_;
  ResultList solutions_, applied_;
  std::vector<const Signal*> insertedSignals_;
  uint32_t appliedReductions_ = 0;
  bool coresLeft_ = false;
  bool printedSteps_ = false;
  std::unique_ptr<TransformationSearch> last_;
};

std::unique_ptr<SearchModeBase> makeEncodingResolver(const StgPrefix& prefix, const OptionMap& options);

}  // namespace nurex
