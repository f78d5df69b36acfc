// Test support: seeded random small safe nets and STGs. The same seed and options always
// give the same net, so a failing seed can be kept as a regression case.
#pragma once

#include <cstdint>
#include <memory>

#include "model/net.h"

namespace nurex::test {

struct RandomNetOptions {
  uint32_t maxComponents = 4;  // state machines, each holding at most one token
  uint32_t maxPlacesPerComponent = 5;
  uint32_t maxTransitions = 12;
  uint32_t maxSynchronised = 3;  // components that one transition may join
  // When set, a transition joins only components within this many of one another in their
  // order, so that long nets stay chains of local choices and their prefixes stay small.
  uint32_t window = 0;
  // Chance (in percent) of drawing a net with free random arcs instead, kept only if the
  // explicit-state checker finds it safe within the state limit.
  uint32_t freeArcsPercent = 30;
  uint32_t stateLimit = 500;
  // When false, a free net is returned as drawn, safe or not (for tests of the rejection
  // of unsafe nets); the generator then always draws free nets.
  bool onlySafe = true;
  // With onlySafe false: a composition of state machines instead, with this many arcs added
  // from random transitions to random places. Such nets often become unsafe only after
  // several steps, and in both orders of two concurrent events.
  uint32_t extraArcs = 0;
};

// A safe net (unless options.onlySafe is false) with at least one place. Composition of state machines: each transition
// moves the token of every component it joins from one of its places to another (possibly
// the same), and a component may start without a token. Free nets have arbitrary arcs,
// a random marking, possibly transitions without postset, and are drawn until safe.
std::unique_ptr<PetriNet> randomSafeNet(uint64_t seed, const RandomNetOptions& options = {});

// The same net with transitions labelled by a few signals (inputs, outputs, an internal,
// and dummies), each non-dummy transition with a random sign; the STG need not be
// consistent. Signals are sorted and arcs sorted, as after reading.
std::unique_ptr<Stg> randomSafeStg(uint64_t seed, const RandomNetOptions& options = {});

}  // namespace nurex::test
