// The explicit-state engine: breadth-first exploration of the reachable states of a safe net
// or STG read from `.g`, answering the questions of -D, -F, -Fs, -U, -C and -N.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "model/net.h"
#include "reach/reach_expr.h"

namespace nurex {

enum class ExploreQuestion : uint8_t { Deadlock, Reach, StgReach, Usc, Csc, Normalcy };

struct ExploreParams {
  ExploreQuestion question = ExploreQuestion::Deadlock;
  bool minimal = false;                      // -f: a witness of least length (a pair: least total)
  uint64_t memoryBudget = uint64_t{1} << 30;  // bytes for states, links and the hash table
  const std::atomic<bool>* stop = nullptr;   // polled; when it rises the engine declines
  // -F and -Fs: the -d text ("@name" reads a file), brought to normal form over the net as
  // the prefix engine sees it (signal values inferred) before states are tested.
  std::string property;
};

enum class ExploreVerdict : uint8_t { Found, None, Declined };

struct ExploreResult {
  ExploreVerdict verdict = ExploreVerdict::Declined;
  std::vector<std::vector<const Transition*>> traces;  // the witness runs, from the initial state
  const Signal* signal = nullptr;  // -C: the first local signal whose excitation differs
  uint64_t states = 0;             // states stored
  std::string why;                 // when declined: the reason, for the verbose line
};

// The engine declines (leaving the answer to the prefix engine) wherever that engine would
// say more than a verdict: an unsafe or inconsistent net, a load-time warning, a reachable
// cycle of dummies, a predicate over conditions or events, or an exhausted budget.
ExploreResult exploreNet(const Stg& net, bool hasSignals, const ExploreParams& params);

}  // namespace nurex
