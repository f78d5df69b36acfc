// Non-local correspondents: a SAT search, one checker per thread, for a configuration of
// the prefix built so far that reaches the marking of [e] and is below [e] in the order.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "unfold/unfold_state.h"
#include "unfold/worker_pool.h"

namespace nurex {

class CorrespondentChecker;

class CorrespondentSearch {
 public:
  CorrespondentSearch(const UnfoldState& state, unsigned threads);
  ~CorrespondentSearch();
  // Runs the check (command 12) for every batch event that is not yet a cut-off and may be
  // one; those with a correspondent become NonLocal. False on an error of severity 2.
  bool run(WorkerPool& pool, const std::vector<Candidate*>& batch, std::vector<CutOffDecision>& decisions);

 private:
  const UnfoldState& state_;
  std::vector<std::unique_ptr<CorrespondentChecker>> checkers_;
};

}  // namespace nurex
