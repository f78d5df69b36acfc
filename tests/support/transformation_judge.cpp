// Test support: the transformation judge, by breadth-first state spaces of both STGs and a
// subset construction over their visible traces.
#include "support/transformation_judge.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "support/state_space.h"
#include "support/stg_states.h"
#include "verify/signal_encoding.h"

namespace nurex::test {

namespace {

const Signal* signalNamed(const Stg& stg, const std::string& name) {
  for (const Signal* s : stg.signals)
    if (s->kind != SignalDummy && s->name == name) return s;
  return nullptr;
}

using Space = StateSpace;

Space signalSpace(const Stg& stg, uint32_t limit) {
  return exploreStateSpace(stg, {.stateLimit = limit, .stg = &stg, .stopWhenUnsafe = true});
}

std::string labelOf(const Transition* t) {
  return t->signal->name + (t->sign == SignPlus ? "+" : t->sign == SignMinus ? "-" : "~");
}

using StateSet = std::vector<uint32_t>;

// The states reachable from `set` by transitions without a label (-1).
StateSet closure(const Space& space, const std::vector<int>& labels, StateSet set) {
  return space.closure(std::move(set), [&](const Transition* t) { return labels[t->index] < 0; });
}

// Visible traces of both nets in lockstep, with the dead states that each set holds.
std::string compareTraces(const Space& a, const Space& b, const std::set<std::string>& newSignals,
                          const JudgeOptions& options, bool& complete) {
  std::map<std::string, int> ids;
  std::vector<std::string> names;
  std::vector<bool> input;
  auto labels = [&](const Space& space, bool hideNew) {
    std::vector<int> result;
    for (const Transition* t : space.stg->transitions) {
      if (isDummy(t) || (hideNew && newSignals.count(t->signal->name))) {
        result.push_back(-1);
        continue;
      }
      auto [it, added] = ids.emplace(labelOf(t), names.size());
      if (added) names.push_back(it->first), input.push_back(t->signal->kind == SignalInput);
      result.push_back(it->second);
    }
    return result;
  };
  std::vector<int> labelsA = labels(a, false), labelsB = labels(b, true);
  struct Pair {
    StateSet a, b;
    uint32_t parent;
    int label;
  };
  std::vector<Pair> pairs{{closure(a, labelsA, {0}), closure(b, labelsB, {0}), 0, -1}};
  std::map<std::pair<StateSet, StateSet>, uint32_t> seen{{{pairs[0].a, pairs[0].b}, 0}};
  auto trace = [&](uint32_t k, int last) {
    std::vector<int> ls{last};
    for (; k != 0; k = pairs[k].parent) ls.push_back(pairs[k].label);
    std::string text;
    for (auto it = ls.rbegin(); it != ls.rend(); ++it)
      if (*it >= 0) text += (text.empty() ? "" : " ") + names[*it];
    return text.empty() ? "(empty trace)" : text;
  };
  auto moves = [](const Space& space, const std::vector<int>& ls, const StateSet& set) {
    std::map<int, StateSet> result;
    for (uint32_t s : set)
      for (auto [t, j] : space.successors[s])
        if (ls[t->index] >= 0) result[ls[t->index]].push_back(j);
    return result;
  };
  auto dead = [](const Space& space, const StateSet& set) {
    return std::any_of(set.begin(), set.end(), [&](uint32_t s) { return space.successors[s].empty(); });
  };
  for (uint32_t k = 0; k < pairs.size(); ++k) {
    if (dead(b, pairs[k].b) && !dead(a, pairs[k].a))
      return "new deadlock: the output may stop after " + trace(k, -1) + ", the input may not";
    std::map<int, StateSet> movesA = moves(a, labelsA, pairs[k].a), movesB = moves(b, labelsB, pairs[k].b);
    for (auto& [l, to] : movesB)
      if (!movesA.count(l)) return "trace added: " + trace(k, l) + " is visible in the output only";
    for (auto& [l, to] : movesA) {
      if (!movesB.count(l)) {
        if (!options.reductionsAllowed) return "trace lost: " + trace(k, l) + " is missing from the output";
        if (input[l]) return "input dropped: " + trace(k, l) + " is missing from the output";
        continue;
      }
      std::pair<StateSet, StateSet> key{closure(a, labelsA, to), closure(b, labelsB, movesB[l])};
      if (seen.count(key)) continue;
      if (pairs.size() >= options.stateLimit) {
        complete = false;
        return "";
      }
      seen.emplace(key, pairs.size());
      pairs.push_back({key.first, key.second, k, l});
    }
  }
  return "";
}

// Input labels enabled in a state or after dummy transitions from it.
std::set<std::string> inputsNear(const Space& space, uint32_t state) {
  std::set<std::string> inputs;
  for (uint32_t s : space.closure({state}, isDummy))
    for (auto [t, j] : space.successors[s])
      if (!isDummy(t) && t->signal->kind == SignalInput) inputs.insert(labelOf(t));
  return inputs;
}

std::string delayedInput(const Space& b, const std::set<std::string>& newSignals) {
  for (uint32_t i = 0; i < b.successors.size(); ++i)
    for (auto [t, j] : b.successors[i]) {
      if (isDummy(t) || !newSignals.count(t->signal->name)) continue;
      std::set<std::string> before = inputsNear(b, i);
      for (const std::string& l : inputsNear(b, j))
        if (!before.count(l)) return "input delayed: " + l + " waits for " + t->name + " in " + b.runText(i, t);
    }
  return "";
}

// Counted states with equal codes and different excited outputs or internals, shortest first.
std::string cscConflict(const Space& b, uint32_t limit, bool& complete) {
  CountedStates counted = countedStgStates(*b.stg, limit);
  complete = counted.complete;
  if (!complete) return "";
  std::map<std::vector<uint8_t>, std::vector<const CountedState*>> byCode;
  for (const CountedState& c : counted.states) byCode[c.code].push_back(&c);
  const CountedState *first = nullptr, *second = nullptr;
  for (auto& [code, group] : byCode)
    for (size_t x = 0; x < group.size(); ++x)
      for (size_t y = x + 1; y < group.size(); ++y) {
        bool differ = std::any_of(b.stg->signals.begin(), b.stg->signals.end(), [&](const Signal* s) {
          return isLocalSignal(s) && group[x]->excited[s->index] != group[y]->excited[s->index];
        });
        if (differ && (!first || group[x]->distance + group[y]->distance < first->distance + second->distance))
          first = group[x], second = group[y];
      }
  if (!first) return "";
  auto stateOf = [&](const CountedState* c) { return b.find(c->marking, c->code); };
  std::string code;
  for (const Signal* s : b.stg->signals)
    if (s->kind != SignalDummy) code += s->name + "=" + std::to_string(b.value(stateOf(first), s)) + " ";
  return "CSC conflict: " + b.runText(stateOf(first)) + " and " + b.runText(stateOf(second)) + " reach " + code +
         "with different excited outputs or internals";
}

}  // namespace

Judgement judgeTransformation(const Stg& input, const Stg& output, const JudgeOptions& options) {
  std::set<std::string> newSignals;
  for (const Signal* s : output.signals) {
    if (s->kind == SignalDummy) continue;
    const Signal* old = signalNamed(input, s->name);
    if (!old && s->kind != SignalInternal) return {true, "new signal " + s->name + " is not internal"};
    if (old && old->kind != s->kind) return {true, "signal " + s->name + " changes its kind"};
    if (!old) newSignals.insert(s->name);
  }
  for (const Signal* s : input.signals)
    if (s->kind != SignalDummy && !signalNamed(output, s->name)) return {true, "signal " + s->name + " is missing"};

  // Old signals take the input's values, so that both start from the same code.
  std::vector<uint8_t> knownA, knownB, initA, initB;
  for (const Signal* s : input.signals) knownA.push_back(s->initialValue);
  Space a = signalSpace(input, options.stateLimit);
  if (!a.complete) return {false, "state limit reached in the input"};
  if (std::string failure = signalFailure(a, knownA, initA); !failure.empty()) return {true, "input STG " + failure};
  for (const Signal* s : output.signals) {
    const Signal* old = s->kind == SignalDummy ? nullptr : signalNamed(input, s->name);
    knownB.push_back(old ? initA[old->index] : s->initialValue);
  }
  Space b = signalSpace(output, options.stateLimit);
  if (!b.complete) return {false, "state limit reached in the output"};
  if (std::string failure = signalFailure(b, knownB, initB); !failure.empty()) return {true, failure};

  bool complete = true;
  std::string failure = compareTraces(a, b, newSignals, options, complete);
  if (!complete) return {false, "state limit reached in the trace comparison"};
  if (failure.empty()) failure = delayedInput(b, newSignals);
  if (failure.empty() && options.cscFree) failure = cscConflict(b, options.stateLimit, complete);
  return {complete, complete ? failure : "state limit reached in the counted states"};
}

bool signalsAlternate(const Stg& stg, const std::string& a, const std::string& b, uint32_t stateLimit) {
  StateSpace space = exploreStateSpace(stg, {.stateLimit = stateLimit});
  if (!space.complete) return false;
  // Over (state, which of the two fired last: 0 neither yet, 1 a, 2 b).
  auto side = [&](const Transition* t) {
    if (isDummy(t)) return 0;
    return t->signal->name == a ? 1 : t->signal->name == b ? 2 : 0;
  };
  std::set<std::pair<uint32_t, int>> seen{{0, 0}};
  std::vector<std::pair<uint32_t, int>> work{{0, 0}};
  while (!work.empty()) {
    auto [state, last] = work.back();
    work.pop_back();
    for (auto [t, next] : space.successors[state]) {
      int k = side(t);
      if (k && k == last) return false;
      if (seen.insert({next, k ? k : last}).second) work.push_back({next, k ? k : last});
    }
  }
  return true;
}

}  // namespace nurex::test
