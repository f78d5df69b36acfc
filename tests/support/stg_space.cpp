// Test support: the (marking, code) state space of an STG.
#include "support/stg_space.h"

#include <algorithm>

namespace nurex::test {

bool isDummy(const Transition* t) { return !t->signal || t->signal->kind == SignalDummy; }

std::string StgSpace::run(uint32_t state, const Transition* last) const {
  std::vector<std::string> names;
  if (last) names.push_back(last->name);
  for (; state != 0; state = parent[state]) names.push_back(via[state]->name);
  std::string text;
  for (auto it = names.rbegin(); it != names.rend(); ++it) text += (text.empty() ? "" : " ") + *it;
  return text.empty() ? "(empty run)" : text;
}

void exploreStgSpace(const Stg& stg, const std::vector<uint8_t>& known, uint32_t limit, StgSpace& space) {
  space.stg = &stg;
  const size_t places = stg.places.size();
  std::string start;
  for (const Place* p : stg.places) start.push_back(static_cast<char>(p->tokens != 0));
  for (const Signal* s : stg.signals) start.push_back(static_cast<char>(s->initialValue == 1));
  for (const Place* p : stg.places)
    if (p->tokens > 1) space.failure = "unsafe: place " + p->name + " starts with several tokens";
  space.keys = {start};
  space.index = {{start, 0}};
  space.parent = {0};
  space.via = {nullptr};
  std::vector<int> firstSign(stg.signals.size(), -1);
  for (uint32_t i = 0; i < space.keys.size() && space.failure.empty(); ++i) {
    space.successors.emplace_back();
    for (const Transition* t : stg.transitions) {
      const std::string& key = space.keys[i];
      if (!std::all_of(t->preset.begin(), t->preset.end(), [&](const Place* p) { return key[p->index]; })) continue;
      std::string next = key;
      for (const Place* p : t->preset) next[p->index] = 0;
      for (const Place* p : t->postset) {
        if (next[p->index]) {
          space.failure = "unsafe: place " + p->name + " gets a second token by " + space.run(i, t);
          return;
        }
        next[p->index] = 1;
      }
      if (!isDummy(t)) {
        next[places + t->signal->index] ^= 1;
        if (firstSign[t->signal->index] < 0 && t->sign != SignNone) firstSign[t->signal->index] = t->sign;
      }
      auto [it, added] = space.index.emplace(next, space.keys.size());
      if (added) {
        if (space.keys.size() >= limit) {
          space.complete = false;
          return;
        }
        space.keys.push_back(next);
        space.parent.push_back(i);
        space.via.push_back(t);
      }
      space.successors[i].emplace_back(t, it->second);
    }
  }
  for (const Signal* s : stg.signals) {
    uint8_t v = known[s->index] <= 1 ? known[s->index] : firstSign[s->index] == SignMinus;
    space.init.push_back(v);
    space.offset.push_back(static_cast<uint8_t>(v ^ (s->initialValue == 1)));
  }
  for (uint32_t i = 0; i < space.successors.size() && space.failure.empty(); ++i)
    for (auto [t, j] : space.successors[i]) {
      if (isDummy(t) || t->sign == SignNone || space.value(i, t->signal) != (t->sign == SignPlus ? 1 : 0)) continue;
      space.failure = "inconsistent: " + t->name + " fires with " + t->signal->name + "=" +
                      std::to_string(space.value(i, t->signal)) + " by " + space.run(i, t);
      break;
    }
}

}  // namespace nurex::test
