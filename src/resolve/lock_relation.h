// Which signals lock each other: their transitions strictly alternate in every run, read off
// the prefix without a state graph.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/prefix.h"

namespace nurex {

class LockRelation {
 public:
  // The prefix must be of a consistent STG. A pair is reported locked only if it truly
  // alternates; a pair that alternates is missed only in corner cases (a signal concurrent
  // with the other's first transition at the start).
  explicit LockRelation(const StgPrefix& prefix);

  bool locked(const Signal* a, const Signal* b) const;
  // Each locked pair once, the lower signal number first.
  std::vector<std::pair<const Signal*, const Signal*>> pairs() const;
  // The weights of the locked pairs: 1 for two inputs, 2 for one, 4 for none.
  uint64_t lockingNumber() const;
  // The weight of all pairs of non-dummy signals less the locking number.
  uint64_t unlockNumber() const;

 private:
  const StgPrefix& prefix_;
  std::vector<std::vector<bool>> locked_;  // by signal number
};

uint32_t pairWeight(const Signal* a, const Signal* b);

// Computes the relation, prints "Lock/Unlock numbers" (and at verbosity 4 the pairs under
// `heading`), and returns the unlock number.
uint64_t unlockNumber(const StgPrefix& prefix, const std::string& heading);

}  // namespace nurex
