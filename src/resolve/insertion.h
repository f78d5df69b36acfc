// Candidate signal insertions: what they are as data and text, where their new transition
// occurs in the prefix (instances), and the valid ones of an STG.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "model/prefix.h"

namespace nurex {

// x in front of t, on the places P (a subset of t's preset).
struct InsertionBefore {
  const Transition* t = nullptr;
  std::vector<const Place*> places;
};
// x behind t, on the places P (a subset of t's postset).
struct InsertionAfter {
  const Transition* t = nullptr;
  std::vector<const Place*> places;
};
// x in parallel, after u and before t; with `marked` a token stands on the way from the start.
struct InsertionConcurrent {
  const Transition* u = nullptr;
  bool marked = false;
  const Transition* t = nullptr;
};
// x fed by all sources and feeding all destinations (built by logic decomposition).
struct InsertionGeneral {
  std::vector<const Transition*> sources;
  std::vector<bool> marked;  // per source
  std::vector<const Transition*> destinations;
};

using Insertion = std::variant<InsertionBefore, InsertionAfter, InsertionConcurrent, InsertionGeneral>;

std::string insertionText(const Insertion& insertion);
// Tag first, then transition names, then place names: the same between steps of a run.
bool insertionLess(const Insertion& a, const Insertion& b);
// InsertionBefore and InsertionAfter put x in sequence; the others in parallel.
inline bool isSequential(const Insertion& i) { return i.index() <= 1; }
// The transition the insertion is attached to (t, or the first destination).
const Transition* attachedTransition(const Insertion& insertion);

// One occurrence of the insertion's new transition in the prefix.
struct InsertionInstance {
  const Event* base = nullptr;               // the event of t (of u for a concurrent one; null: initial)
  std::vector<const Condition*> conditions;  // conditions the new event takes from others (P of a Before)
  std::vector<const Event*> after;           // events the new event follows
  std::vector<const Event*> before;          // events that follow the new event
  std::string text(const Insertion& insertion) const;
};

std::vector<InsertionInstance> instancesOf(const StgPrefix& prefix, const Insertion& insertion);

// t is an input, or a dummy from which an input follows through dummies.
bool isInputDriven(const Transition* t);

// The valid insertions of the STG whose prefix is given, sorted. `concurrentMode` is 0, 1 or
// 2: no parallel insertions, sources two steps back, or any source.
std::vector<Insertion> validInsertions(const StgPrefix& prefix, int concurrentMode);

// Two insertions that re-route the same arcs cannot both be applied.
bool structurallyExclusive(const Insertion& a, const Insertion& b);

}  // namespace nurex
