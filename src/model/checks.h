// Checks run after loading a prefix or merged process, and the inference of signal values.
#pragma once

#include <string>
#include <vector>

#include "model/prefix.h"

namespace nurex {

// Silent arc-consistency test of the condition and event lists.
template <class Unit>
bool checkPrefixStructure(const Unit& unit);
template <class Unit>
bool checkInitialSafety(const Unit& unit);
template <class Unit>
bool checkEmptyPresets(const Unit& unit);
template <class Unit>
void checkEmptyPostsets(const Unit& unit);
template <class Unit>
void checkSelfLoops(const Unit& unit);
template <class Unit>
void checkIsolatedPlaces(const Unit& unit);
template <class Unit>
void checkUnproducedPlaces(const Unit& unit);

// All seven checks in order, each running even after an earlier failure; true iff the
// fatal ones passed. Readers call it last (after inferSignalValues for an StgPrefix).
template <class Unit>
bool runLoadChecks(const Unit& unit);

// Signs of events and initial values of signals; false (with an error) if inconsistent.
bool inferSignalValues(StgPrefix& prefix);
// For tests, which hold the fast counts against the walk: per event, the occurrences of its
// own signal in its local configuration, or false where they are declined; and the
// inference with every count taken from the walk.
bool signalCountsWithoutWalk(const StgPrefix& prefix, std::vector<uint32_t>& count);
bool inferSignalValuesByWalk(StgPrefix& prefix);

// The trace text of a local configuration: transition names by ascending event index.
std::string localConfigurationTrace(Event* e);

// One phase in which a signal is 1: an optional rising head and the falling followers.
struct SignalPhaseRecord {
  Event* head = nullptr;
  std::vector<Event*> followers;
};
// The records of one non-dummy signal; false (with an error) if the prefix is inconsistent.
bool buildSignalPhaseRecords(const StgPrefix& prefix, const Signal* signal, std::vector<SignalPhaseRecord>& records);

}  // namespace nurex
