// Test support: an explicit-state judge of a transformed STG (new internal signals inserted,
// places added to order concurrent transitions) against the STG it was made from.
// Accepted when the output is safe and consistent, keeps the signals and their kinds with new
// signals internal, shows the same visible traces once new signals and dummies are hidden
// (or a subset that drops no input), never delays an input by a new transition, adds no
// deadlock and has no CSC conflict.
#pragma once

#include <cstdint>
#include <string>

#include "model/net.h"

namespace nurex::test {

struct JudgeOptions {
  bool reductionsAllowed = false;  // the output may show fewer traces, though no fewer inputs
  bool cscFree = true;             // the output must have no CSC conflict (off: judge one step alone)
  uint32_t stateLimit = 200000;    // per state space and for the pairs of the trace comparison
};

struct Judgement {
  bool decided = true;  // false if a state limit was hit
  std::string failure;  // empty when accepted; else a one-line reason with a witness trace
};

Judgement judgeTransformation(const Stg& input, const Stg& output, const JudgeOptions& options = {});

// The transitions of signals a and b strictly alternate in every run of a safe STG (either may
// come first); false also when the exploration passes `stateLimit`.
bool signalsAlternate(const Stg& stg, const std::string& a, const std::string& b, uint32_t stateLimit = 200000);

}  // namespace nurex::test
