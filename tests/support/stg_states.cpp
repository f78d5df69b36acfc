// Test support: the counted states of an STG, from the explorer with pending dummies tracked,
// and the USC, CSC and normalcy facts read off them.
#include "support/stg_states.h"

#include <algorithm>
#include <map>
#include <string>

#include "verify/signal_encoding.h"

namespace nurex::test {

std::vector<uint8_t> excitedSignals(const Stg& stg, const TokenVector& marking,
                                    const std::vector<bool>* occurring) {
  std::vector<uint8_t> excited(stg.signals.size(), 0);
  std::vector<bool> enabled = enabledThroughDummies(stg, true, marking, occurring);
  for (const Transition* t : stg.transitions)
    if (enabled[t->index] && !isDummy(t)) excited[t->signal->index] = 1;
  return excited;
}

namespace {

// The first state of each (marking, code) without a pending dummy is the nearest one.
std::vector<CountedState> countedStates(const Stg& stg, uint32_t limit, bool& complete, bool& safe) {
  StateSpace space =
      exploreStateSpace(stg, {.stateLimit = limit, .stg = &stg, .stopWhenUnsafe = true, .pendingDummies = true});
  complete = space.complete;
  safe = space.safe;
  if (!complete || !safe) return {};
  std::vector<uint32_t> distance(space.size(), 0);
  std::map<std::string, CountedState> counted;
  for (uint32_t i = 0; i < space.size(); ++i) {
    if (i > 0) distance[i] = distance[space.parent[i]] + 1;
    if (!space.pending[i].empty()) continue;
    std::string key(space.markings[i].begin(), space.markings[i].end());
    key.append(space.codes[i].begin(), space.codes[i].end());
    counted.emplace(key, CountedState{space.markings[i], space.codes[i], {}, distance[i]});
  }
  std::vector<CountedState> states;
  for (auto& [k, c] : counted) {
    c.excited = excitedSignals(stg, c.marking);
    states.push_back(c);
  }
  return states;
}

bool dominated(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  for (size_t i = 0; i < a.size(); ++i)
    if (a[i] > b[i]) return false;
  return true;
}

void minimise(int& cost, uint32_t value) {
  if (cost < 0 || static_cast<int>(value) < cost) cost = static_cast<int>(value);
}

}  // namespace

StgStateFacts exploreStg(const Stg& stg, uint32_t stateLimit) {
  StgStateFacts facts;
  std::vector<CountedState> states = countedStates(stg, stateLimit, facts.complete, facts.safe);
  if (!facts.complete || !facts.safe) return facts;
  facts.states = states.size();
  std::vector<const Signal*> local;
  for (const Signal* s : stg.signals)
    if (isLocalSignal(s)) local.push_back(s);
  auto next = [](const CountedState& c, const Signal* s) { return (c.code[s->index] ^ c.excited[s->index]) != 0; };
  std::vector<bool> pNormal(stg.signals.size(), true), nNormal(stg.signals.size(), true);
  for (const CountedState& a : states)
    for (const CountedState& b : states) {
      if (&a != &b && a.code == b.code) {
        if (&a < &b) minimise(facts.uscCost, a.distance + b.distance);
        bool excitation = std::any_of(local.begin(), local.end(), [&](const Signal* s) {
          return a.excited[s->index] != b.excited[s->index];
        });
        if (excitation && &a < &b) minimise(facts.cscCost, a.distance + b.distance);
      }
      if (!dominated(a.code, b.code)) continue;
      for (const Signal* s : local) {
        if (next(a, s) && !next(b, s)) pNormal[s->index] = false;
        if (!next(a, s) && next(b, s)) nNormal[s->index] = false;
      }
    }
  for (const Signal* s : local) facts.normal &= pNormal[s->index] || nNormal[s->index];
  return facts;
}

CountedStates countedStgStates(const Stg& stg, uint32_t stateLimit) {
  CountedStates result;
  result.states = countedStates(stg, stateLimit, result.complete, result.safe);
  return result;
}

}  // namespace nurex::test
