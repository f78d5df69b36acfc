// Where the modes meet the driver: the checker of each (mode, unit kind), and the
// evaluation of cost coefficients for STG units.
#pragma once

#include <type_traits>

#include "driver/mode_frame.h"
#include "decompose/logic_decomposer.h"
#include "reach/coefficients.h"
#include "resolve/encoding_resolver.h"
#include "synthesis/equations.h"
#include "verify/conflicts.h"
#include "verify/deadlock.h"
#include "verify/normalcy.h"
#include "verify/reachability.h"

namespace nurex {

// The checker factory of a mode for one kind of unit; null while the mode has none.
template <int Mode, class U>
constexpr ModeFactory<U> checkerFactory() {
  if constexpr (Mode == 1) return &makeDeadlockMode<U>;
  else if constexpr (Mode == 2) return &makeReachabilityMode<U>;
  else if constexpr (Mode == 3 && std::is_same_v<U, StgPrefix>) return &makeStgReachabilityMode;
  else if constexpr (Mode == 4 && std::is_same_v<U, StgPrefix>) return &makeUscMode;
  else if constexpr (Mode == 5 && std::is_same_v<U, StgPrefix>) return &makeCscMode;
  else if constexpr (Mode == 6 && std::is_same_v<U, StgPrefix>) return &makeNormalcyMode;
  else if constexpr (Mode == 7 && std::is_same_v<U, StgPrefix>) return &makeSynthesisMode<ComplexGate>;
  else if constexpr (Mode == 8 && std::is_same_v<U, StgPrefix>) return &makeSynthesisMode<GeneralisedC>;
  else if constexpr (Mode == 9 && std::is_same_v<U, StgPrefix>) return &makeSynthesisMode<StandardC>;
  else if constexpr (Mode == 10 && std::is_same_v<U, StgPrefix>) return &makeEncodingResolver;
  else if constexpr (Mode == 11 && std::is_same_v<U, StgPrefix>) return &makeLogicDecomposer;
  else return nullptr;
}

template <class U>
void evaluateCoefficientsOf(U& unit, OptionMap& options) {
  evaluateCostCoefficients(unit, options);
}

}  // namespace nurex
