// Test oracle for the reachability modes: the explicit states of a small net (marking and
// signal code, enabledness plain and through dummies, whether a run not ending in a dummy
// reaches them), and seeded random REACH predicates with their own evaluator.
#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "model/net.h"
#include "model/results.h"
#include "support/state_space.h"

namespace nurex::test {

struct ExplicitState {
  TokenVector marking;           // safe: 0 or 1 per place
  std::vector<uint8_t> code;     // per signal; dummies stay 0
  std::vector<bool> enabled;     // per transition
  std::vector<bool> viaDummies;  // per transition: enabled after some dummy transitions
  bool visible = false;          // reached by the empty run or one ending in a non-dummy
};

// The nets explored: only the transitions in `occurs` fire (a legacy prefix leaves the
// others without arcs). Signals are read from an Stg; for a PetriNet nothing is dummy.
struct NetView {
  const PetriNet* net;
  const Stg* stg;  // null for a plain net
  std::vector<bool> occurs;
  bool isDummy(const Transition* t) const;
};

// All reachable states, at most `limit`; false when the limit is hit or a marking is unsafe.
bool exploreStates(const NetView& view, std::vector<ExplicitState>& states, uint32_t limit = 20000);
// Every rising edge fires at 0 and every falling one at 1, and the marking decides the code:
// only then does a prefix, whose cut-offs compare markings, show every state.
bool consistentCodes(const NetView& view, const std::vector<ExplicitState>& states);
// The state after firing the run from the initial one; false if a step is not enabled.
bool replayRun(const NetView& view, const std::vector<const Transition*>& run, ExplicitState& state);
std::vector<const Transition*> transitionsOf(const Trace& trace);
// Fills `enabled` and `viaDummies` of one state.
void computeEnabledness(const NetView& view, ExplicitState& state);

// A predicate over one or two states (levels 0 and 1) with `@` read plainly or through dummies.
struct OracleEnv {
  const ExplicitState* level[2];
  bool viaDummies;
  std::vector<uint32_t> bound;  // values of the quantified variables, innermost last
};
struct RandomPredicate {
  std::string text;
  std::function<bool(OracleEnv&)> holds;
};

struct PredicateOptions {
  int depth = 3;
  bool twoLevels = false;
};

// Predicates over places, transitions and (in an STG) non-dummy signals: their state,
// enabledness and next state, Boolean operators, conditionals, thresholds, and quantifiers
// over the predefined sets with static and state-dependent filters.
class PredicateGenerator {
 public:
  PredicateGenerator(const NetView& view, uint64_t seed) : view_(view), random_(seed) {}
  RandomPredicate make(const PredicateOptions& options);

 private:
  struct Variable {
    std::string name;
    int kind;  // 0 place, 1 transition, 2 signal
  };
  RandomPredicate node(int depth);
  RandomPredicate atom();
  RandomPredicate atomOf(int kind, std::string text, std::function<uint32_t(OracleEnv&)> index);
  RandomPredicate quantifier(int depth);
  RandomPredicate list(const char* op, int depth);
  uint32_t pick(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
  int level() { return twoLevels_ ? static_cast<int>(pick(2)) : 0; }

  const NetView& view_;
  std::mt19937_64 random_;
  std::vector<Variable> scope_;
  bool twoLevels_ = false;
  int variables_ = 0;
};

// Some state (pair of states, for two levels) satisfies the predicate; with `stgStates` only
// states reached by a run that does not end in a dummy count.
bool holdsSomewhere(const std::vector<ExplicitState>& states, const RandomPredicate& p, bool stgStates,
                    bool twoLevels = false);
// The witness runs (one per level named; one serves both levels) replay in the net, end in
// states that count, and satisfy the predicate there.
void expectWitness(const NetView& view, const std::vector<std::vector<const Transition*>>& runs,
                   const RandomPredicate& p, bool stgStates, bool twoLevels = false);

// The text of a name inside double quotes.
std::string quotedName(const std::string& name);

}  // namespace nurex::test
