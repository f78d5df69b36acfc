// The original nets: places, transitions, signals, PetriNet and Stg, and their sorting.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/node_list.h"
#include "platform/ptr_array.h"

namespace nurex {

constexpr uint32_t NoIndex = 0xFFFFFFFFu;

enum SignalKind : uint8_t { SignalInput = 0, SignalOutput = 1, SignalInternal = 2, SignalDummy = 3 };
enum Sign : uint32_t { SignPlus = 0, SignMinus = 1, SignNone = 2 };
constexpr uint8_t ValueUnknown = 2;

struct Transition;
struct Signal;

struct Place {
  uint32_t index = NoIndex;
  std::string name;
  PtrArray<Transition> preset;   // transitions producing into the place
  uint32_t tokens = 0;           // initial marking
  PtrArray<Transition> postset;  // transitions consuming from the place
};

struct Transition {
  uint32_t index = NoIndex;
  std::string name;  // in an Stg read from a legacy file: without its kind prefix
  PtrArray<Place> preset;
  Signal* signal = nullptr;  // Stg only
  uint32_t sign = SignNone;  // Stg only: declared direction
  PtrArray<Place> postset;
};

struct Signal {
  uint32_t index = NoIndex;
  std::string name;
  uint8_t kind = SignalDummy;           // SignalKind
  uint8_t initialValue = ValueUnknown;  // 0, 1, or 2 while not known
};

struct PetriNet {
  std::string name;  // the model's name from the file, empty if it gave none
  NodeList<Place> places;
  NodeList<Transition> transitions;
  static constexpr bool isStg = false;
};

struct Stg : PetriNet {
  NodeList<Signal> signals;  // inputs, outputs, internals, dummies, in that order
  uint32_t outputsBegin = 0;    // first signal that is not an input
  uint32_t internalsBegin = 0;  // first signal that is neither input nor output
  uint32_t dummiesBegin = 0;    // first dummy
  static constexpr bool isStg = true;

  uint32_t inputCount() const { return outputsBegin; }
  uint32_t outputCount() const { return internalsBegin - outputsBegin; }
  uint32_t internalCount() const { return dummiesBegin - internalsBegin; }
  uint32_t dummyCount() const { return signals.size() - dummiesBegin; }
};

// Arcs: callers keep both sides consistent.
inline void addPlaceArc(Place* place, Transition* transition) {  // place -> transition
  place->postset.push_back(transition);
  transition->preset.push_back(place);
}
inline void addTransitionArc(Transition* transition, Place* place) {  // transition -> place
  transition->postset.push_back(place);
  place->preset.push_back(transition);
}

// Places and transitions by name length, then name bytes; renumbered.
void sortNodes(PetriNet& net);
// Every preset and postset of places and transitions by index.
void sortArcs(PetriNet& net);
// Signals by kind, name length, name; renumbered; boundaries set by walking the list.
void sortSignals(Stg& stg);

// Name order used by the sorts: shorter first, then byte order.
bool nameLess(const std::string& a, const std::string& b);

// `name`, or `name` with "_1", "_2", ... behind it, whichever no place has yet.
std::string unusedPlaceName(const PetriNet& net, const std::string& name);

// A deep copy of the net alone (no prefix), nodes and signals in the same order.
void copyStg(const Stg& from, Stg& to);

}  // namespace nurex
