// The state after a configuration of an STG prefix, computed explicitly from its events:
// the self-check of every conflict and normalcy answer, and facts of the prefix that the
// state-coding modes need.
#pragma once

#include <cstdint>
#include <vector>

#include "model/results.h"

namespace nurex {

struct FinalState {
  std::vector<uint32_t> marking;  // tokens per place
  std::vector<uint8_t> code;      // value per signal; dummies stay 0
  std::vector<uint8_t> enabled;   // per signal: some event of it is enabled in the final cut
};

// The state after the events of the trace, in any order. The events are assumed to form a
// configuration (the safe run check comes first).
FinalState finalStateOf(const StgPrefix& prefix, const Trace& trace);

bool codesEqual(const FinalState& a, const FinalState& b);
// Code(a) <= Code(b), bit by bit.
bool codeDominated(const FinalState& a, const FinalState& b);
// The local signals excited in the two states differ.
bool localExcitationDiffers(const StgPrefix& prefix, const FinalState& a, const FinalState& b);
// Code exclusive-or excitation.
inline bool nextValue(const FinalState& s, uint32_t signal) { return (s.code[signal] ^ s.enabled[signal]) != 0; }

// A cut-off of a dummy transition counts unless its correspondent is known and the two
// local configurations differ by dummy transitions only: their transition multisets are
// compared and what does not cancel must be dummy. An unknown correspondent counts at once;
// the initial state as correspondent has the empty past.
bool hasDummyCutOffs(const StgPrefix& prefix);

}  // namespace nurex
