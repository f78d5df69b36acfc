// Test support: breadth-first exploration of an STG's states with pending dummy occurrences
// tracked, and the USC, CSC and normalcy facts read off the counted states.
#include "stg_states.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>

namespace nurex::test {

namespace {

struct Extended {
  std::vector<uint8_t> marking, code;
  std::vector<std::vector<uint32_t>> pending;  // postsets of dummy occurrences still intact, sorted

  std::string key() const {
    std::string k(marking.begin(), marking.end());
    k.push_back('|');
    k.append(code.begin(), code.end());
    for (const auto& group : pending) {
      k.push_back('|');
      for (uint32_t p : group) k += std::to_string(p) + ",";
    }
    return k;
  }
};

bool enabled(const Transition* t, const std::vector<uint8_t>& marking) {
  return std::all_of(t->preset.begin(), t->preset.end(), [&](const Place* p) { return marking[p->index] != 0; });
}

bool isLocal(const Signal* s) { return s->kind == SignalOutput || s->kind == SignalInternal; }

// Fires t; false if a place would hold two tokens.
bool fire(const Transition* t, const Extended& from, Extended& to) {
  to = from;
  for (const Place* p : t->preset) to.marking[p->index] = 0;
  auto touched = [&](const std::vector<uint32_t>& group) {
    return std::any_of(t->preset.begin(), t->preset.end(), [&](const Place* p) {
      return std::find(group.begin(), group.end(), p->index) != group.end();
    });
  };
  to.pending.erase(std::remove_if(to.pending.begin(), to.pending.end(), touched), to.pending.end());
  for (const Place* p : t->postset) {
    if (to.marking[p->index]) return false;
    to.marking[p->index] = 1;
  }
  if (t->signal->kind == SignalDummy) {
    std::vector<uint32_t> group;
    for (const Place* p : t->postset) group.push_back(p->index);
    to.pending.push_back(group);
    std::sort(to.pending.begin(), to.pending.end());
  } else {
    to.code[t->signal->index] ^= 1;
  }
  return true;
}

bool isDummy(const Transition* t) { return !t->signal || t->signal->kind == SignalDummy; }

}  // namespace

std::vector<uint8_t> excitedSignals(const Stg& stg, const std::vector<uint8_t>& marking,
                                    const std::vector<bool>* occurring) {
  std::vector<uint8_t> excited(stg.signals.size(), 0);
  enabledThroughDummies(stg, true, marking, occurring, [&](const Transition* t) {
    if (!isDummy(t)) excited[t->signal->index] = 1;
  });
  return excited;
}

namespace {

std::vector<CountedState> countedStates(const Stg& stg, uint32_t limit, bool& complete, bool& safe) {
  Extended start;
  start.marking.assign(stg.places.size(), 0);
  for (const Place* p : stg.places) start.marking[p->index] = p->tokens != 0;
  start.code.assign(stg.signals.size(), 0);
  for (const Signal* s : stg.signals) start.code[s->index] = s->initialValue == 1;
  std::map<std::string, uint32_t> seen{{start.key(), 0}};
  std::vector<Extended> queue{start};
  std::vector<uint32_t> distance{0};
  std::map<std::string, CountedState> counted;
  for (size_t i = 0; i < queue.size(); ++i) {
    if (queue[i].pending.empty()) {
      std::string k(queue[i].marking.begin(), queue[i].marking.end());
      k.append(queue[i].code.begin(), queue[i].code.end());
      if (!counted.count(k)) counted[k] = {queue[i].marking, queue[i].code, {}, distance[i]};
    }
    for (const Transition* t : stg.transitions) {
      if (!enabled(t, queue[i].marking)) continue;
      Extended next;
      if (!fire(t, queue[i], next)) {
        safe = false;
        return {};
      }
      if (seen.emplace(next.key(), queue.size()).second) {
        if (queue.size() >= limit) {
          complete = false;
          return {};
        }
        queue.push_back(next);
        distance.push_back(distance[i] + 1);
      }
    }
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
    if (isLocal(s)) local.push_back(s);
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
