// The function of a signal as -T matches it: from the equations derived for it, the
// complex-gate cover (ON, OFF) or the set/reset cover (ER+, QR+, ER-, QR-).
#pragma once

#include "synthesis/equations.h"

namespace nurex {

// ON and OFF of the best alternative of a complex-gate (next-state) implementation.
BddCover buildCover(const SignalImplementation& next);

// From the SET and RESET of a standard-C implementation: ER+ where the set function is 1,
// ER- where the reset function is 1, and where neither is, the quiescent regions. Each
// region is taken at the signal's own value in it (0 in ER+ and QR-, 1 in QR+ and ER-),
// which a latch reads at its feedback: the support leaves the signal out.
BddCover buildCover(const SignalImplementation& set, const SignalImplementation& reset);
// The same from the covers of the set and the reset function of the signal with index `own`.
BddCover buildCover(const BddCover& set, const BddCover& reset, uint32_t own);

}  // namespace nurex
