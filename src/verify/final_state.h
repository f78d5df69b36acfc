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
  std::vector<uint8_t> enabled;   // per signal: some event of it is enabled (through dummies, if asked)
};

// The state after the events of the trace, in any order. The events are assumed to form a
// configuration (the safe run check comes first). With `viaDummies`, a signal is also
// excited when one of its events is enabled once some dummy events have fired.
FinalState finalStateOf(const StgPrefix& prefix, const Trace& trace, bool viaDummies);

// Whether e is enabled after the configuration `in` (flags by event number). With
// `viaDummies` also when the events of [e] missing from it are all dummies and the two
// together take no condition twice. Read off the local configuration, independently of the
// trigger closure that the encoding uses. `scratch` has an entry per event, all false
// between calls.
bool enabledAfter(const Event* e, const std::vector<bool>& in, bool viaDummies, std::vector<bool>& scratch);

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
