// Branching processes (Prefix) and merged processes (MergedProcess) over a PetriNet or an Stg.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/net.h"

namespace nurex {

struct Event;

struct Condition {
  uint32_t index = NoIndex;  // all bits set while the condition is in no list
  Event* producer = nullptr;  // null for the initial cut
  Place* place = nullptr;
  PtrArray<Event> postset;  // consumers, by index
};

// One word telling whether an event is a cut-off and of what: 0 not a cut-off; 1 the
// correspondent is the initial state; 2 unknown; an Event pointer; or an owned list of
// Event pointers tagged by the low bit.
class CutOffLink {
 public:
  enum : uintptr_t { NotCutOff = 0, InitialState = 1, Unknown = 2 };
  using EventList = std::vector<Event*>;

  CutOffLink() = default;
  CutOffLink(const CutOffLink&) = delete;
  CutOffLink& operator=(const CutOffLink&) = delete;
  CutOffLink(CutOffLink&& other) noexcept : word_(other.word_) { other.word_ = NotCutOff; }
  CutOffLink& operator=(CutOffLink&& other) noexcept {
    if (this != &other) {
      clear();
      word_ = other.word_;
      other.word_ = NotCutOff;
    }
    return *this;
  }
  ~CutOffLink() { clear(); }

  bool isCutOff() const { return word_ != NotCutOff; }
  bool isInitialState() const { return word_ == InitialState; }
  bool isUnknown() const { return word_ == Unknown; }
  bool isEvent() const { return word_ > Unknown && !(word_ & 1); }
  bool isList() const { return word_ & 1 && word_ > Unknown; }
  uintptr_t word() const { return word_; }
  Event* event() const { return isEvent() ? reinterpret_cast<Event*>(word_) : nullptr; }
  const EventList* list() const { return isList() ? reinterpret_cast<const EventList*>(word_ & ~uintptr_t(1)) : nullptr; }
  // The correspondents as a list: empty for the initial state or unknown.
  EventList correspondents() const;

  void setNotCutOff() { clear(); }
  void setInitialState() { set(InitialState); }
  void setUnknown() { set(Unknown); }
  void setEvent(Event* e) { set(reinterpret_cast<uintptr_t>(e)); }
  // Length 0 gives the initial state, 1 the event itself, more an owned list.
  void setCorrespondents(const EventList& events);

 private:
  void set(uintptr_t w) {
    clear();
    word_ = w;
  }
  void clear();
  uintptr_t word_ = NotCutOff;
};

struct Event {
  uint32_t index = NoIndex;
  uint32_t sign = SignNone;  // Stg only: 0 plus, 1 minus, 2 none
  PtrArray<Condition> preset;  // by index
  Transition* transition = nullptr;
  CutOffLink correspondent;
  PtrArray<Condition> postset;  // by index
};

struct MpEvent;

struct MpCondition {
  uint32_t index = NoIndex;
  PtrArray<MpEvent> preset;  // producers, several allowed
  Place* place = nullptr;
  uint32_t occurrenceDepth = NoIndex;  // from 1
  uint32_t tokens = 0;
  PtrArray<MpEvent> postset;
};

struct MpEvent {
  uint32_t index = NoIndex;
  PtrArray<MpCondition> preset;
  Transition* transition = nullptr;
  bool isCutOff = false;
  PtrArray<MpCondition> postset;
  uint32_t sign = SignNone;  // kept for symmetry with Event; merged processes do not infer it
};

template <class Net>
struct Prefix : Net {
  using NetType = Net;
  using ConditionType = Condition;
  using EventType = Event;
  static constexpr bool isMergedProcess = false;
  NodeList<Condition> conditions;
  NodeList<Event> events;
  bool unfoldedHere = false;  // built in memory from a net: no cut-off was discarded
};

template <class Net>
struct MergedProcess : Net {
  using NetType = Net;
  using ConditionType = MpCondition;
  using EventType = MpEvent;
  static constexpr bool isMergedProcess = true;
  NodeList<MpCondition> conditions;
  NodeList<MpEvent> events;
};

using PetriNetPrefix = Prefix<PetriNet>;
using StgPrefix = Prefix<Stg>;
using PetriNetMergedProcess = MergedProcess<PetriNet>;
using StgMergedProcess = MergedProcess<Stg>;

inline bool eventIsCutOff(const Event* e) { return e->correspondent.isCutOff(); }
inline bool eventIsCutOff(const MpEvent* e) { return e->isCutOff; }
inline void setCorrespondents(Event* e, const CutOffLink::EventList& list) { e->correspondent.setCorrespondents(list); }

// "c" / "e" with the decimal index.
inline std::string conditionName(uint32_t index) { return "c" + std::to_string(index); }
inline std::string eventName(uint32_t index) { return "e" + std::to_string(index); }
template <class C>
std::string conditionName(const C* c) { return conditionName(c->index); }
template <class E>
std::string eventName(const E* e) { return eventName(e->index); }

// The counts of the statistics line.
struct PrefixStatistics {
  uint64_t conditions = 0, events = 0, cutOffs = 0, conditionEventArcs = 0, eventConditionArcs = 0;
};
PrefixStatistics computeStatistics(const NodeList<Condition>& conditions, const NodeList<Event>& events);
PrefixStatistics computeStatistics(const NodeList<MpCondition>& conditions, const NodeList<MpEvent>& events);
std::string formatStatistics(const PrefixStatistics& s);

// "\n |B|=.. |E|=.. |C|=.. |BE|=.. |EB|=.." on stdout, flushed.
template <class Unit>
void printStatistics(const Unit& unit);
void printStatisticsLine(const PrefixStatistics& s);
template <class Unit>
void printStatistics(const Unit& unit) {
  printStatisticsLine(computeStatistics(unit.conditions, unit.events));
}

// Takes the arcs of the original net and its initial marking from the prefix, for
// formats that store no arcs of the net.
void buildOriginalNet(PetriNet& net, const NodeList<Condition>& conditions, const NodeList<Event>& events);
void buildOriginalNet(PetriNet& net, const NodeList<MpCondition>& conditions, const NodeList<MpEvent>& events);

// Local configuration of an event (the event included), sorted by index.
std::vector<Event*> localConfiguration(Event* e);

}  // namespace nurex
