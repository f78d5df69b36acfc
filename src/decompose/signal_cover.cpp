// Covers of signals from derived equations, over signal variables.
#include "decompose/signal_cover.h"

#include <algorithm>

namespace nurex {

BddCover buildCover(const SignalImplementation& next) {
  if (next.alternatives.empty()) return {};
  BddCover cover = next.alternatives.front().cover;
  cover.sequential = false;
  return cover;
}

BddCover buildCover(const SignalImplementation& set, const SignalImplementation& reset) {
  if (set.alternatives.empty() || reset.alternatives.empty() || !set.signal) {
    BddCover cover;
    cover.sequential = true;
    return cover;
  }
  return buildCover(set.alternatives.front().cover, reset.alternatives.front().cover, set.signal->index);
}

BddCover buildCover(const BddCover& s, const BddCover& r, uint32_t own) {
  BddCover cover;
  cover.sequential = true;
  // Each region fixes the signal's own value (0 in ER+ and QR-, 1 in QR+ and ER-), which a
  // latch has at its feedback; the regions are taken at that value, without the variable.
  bdd z = bddVariable(own);
  bdd quiet = s.off & r.off;
  cover.er_plus = bdd_restrict(s.on, !z);
  cover.er_minus = bdd_restrict(r.on, z);
  cover.qr_plus = bdd_restrict(quiet, z);
  cover.qr_minus = bdd_restrict(quiet, !z);
  for (const BddCover* part : {&s, &r})
    for (uint32_t v : part->support)
      if (v != own && std::find(cover.support.begin(), cover.support.end(), v) == cover.support.end())
        cover.support.push_back(v);
  std::sort(cover.support.begin(), cover.support.end());
  return cover;
}

}  // namespace nurex
