// Test support: seeded random consistent STGs, built as a cycle of nested fragments (signal
// pulses and four-phase handshakes, in sequence, in choice, or concurrent between the
// edges of a wrapping signal), optionally with dummy steps and chains of dummies in front of
// signal edges; and their prefixes.
#pragma once

#include <cstdint>
#include <memory>

#include "model/prefix.h"

namespace nurex::test {

struct RandomStgOptions {
  uint32_t maxDepth = 3;
  uint32_t maxSignals = 6;
  uint32_t dummyPercent = 15;  // chance of a dummy step in a sequence or as a choice branch;
                               // half of it, of a chain of dummies in front of a signal edge
};

// Every signal starts at 0 and each fragment returns its signals to 0; concurrent
// fragments never share a signal, so the STG is consistent, and it is safe.
std::unique_ptr<Stg> randomConsistentStg(uint64_t seed, const RandomStgOptions& options = {});

// The complete prefix of the STG (which it takes over as its original net), signals
// inferred and load checks run; null after a reported error.
std::unique_ptr<StgPrefix> unfoldStg(std::unique_ptr<Stg> stg);

}  // namespace nurex::test
