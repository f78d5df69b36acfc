// Encoding conflicts as the resolver keeps them: a pair of configurations of the prefix with
// equal codes, and the events that tell them apart.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "model/prefix.h"
#include "platform/options.h"
#include "verify/conflicts.h"

namespace nurex {

using EventList = std::vector<const Event*>;  // sorted by index

struct CscCore {
  // The shorter list comes first; on equal lengths the second argument does.
  CscCore(EventList a, EventList b);

  EventList first, second;
  EventList difference;  // symmetric difference, the core proper
  bool nested = false;   // first is a subset of second
  bool csc = false;      // local excitation differs too, not only the marking

  bool operator==(const CscCore& other) const { return first == other.first && second == other.second; }
  // "{a+,b-}" for a nested core, "{second minus first : first minus second}" otherwise.
  std::string text() const;
};

struct CscCoreHash {
  size_t operator()(const CscCore& core) const;
};

// Both answer false when the codes after the two configurations differ.
bool isUscConflict(const StgPrefix& prefix, const EventList& a, const EventList& b);
bool isCscConflict(const StgPrefix& prefix, const EventList& a, const EventList& b);

// The conflicts of the prefix: up to 100 new CSC cores besides those inherited, then up to
// 100 more whose markings differ, CSC cores first. Empty when there is no CSC conflict left,
// whatever USC conflicts remain.
std::vector<CscCore> collectCores(const StgPrefix& prefix, const OptionMap& options,
                                  std::vector<CscCore> inherited = {});

// The cores of the step before, carried over to the prefix after the insertion of `signal`:
// a pair that the new signal separates gives way to the pairs around the signal's events
// that are still in conflict.
std::vector<CscCore> inheritCores(const StgPrefix& prefix, const std::vector<CscCore>& cores, const Signal* signal);

// A new core is the union of a known one and a rest whose removal leaves a conflict of its
// own (by `conflict`): it brings nothing new.
bool isCompositeCore(const CscCore& core, const std::vector<ConfigurationPair>& known,
                     const std::function<bool(const EventList&, const EventList&)>& conflict);

// The CSC cores of the prefix, counted up to `limit`.
size_t countCscCores(const StgPrefix& prefix, const OptionMap& options, uint32_t limit);

// Transition names of the events, comma separated.
std::string eventListText(const EventList& events);

}  // namespace nurex
