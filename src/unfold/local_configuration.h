// Walks over local configurations: the past of a set of conditions, and the description
// (size, depth, cut, marking) of a possible extension.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "unfold/stamp_set.h"
#include "unfold/unfold_state.h"

namespace nurex {

// The union of the local configurations of the producers of some conditions, over the
// compact tables of the state; events are numbers.
class PastWalker {
 public:
  void ensure(uint32_t eventCount) { stamp_.ensure(eventCount); }
  // The past of the conditions (by number): ⋃ [producer].
  void walk(const UnfoldState& state, std::span<const uint32_t> conditions);
  // [e] itself, e included; NoIndex gives the empty configuration.
  void walkFrom(const UnfoldState& state, uint32_t e);
  bool contains(uint32_t e) const { return stamp_.has(e); }
  bool contains(const Event* e) const { return stamp_.has(e->index); }
  const std::vector<uint32_t>& events() const { return events_; }

 private:
  void visit(uint32_t e) {
    if (stamp_.insert(e)) events_.push_back(e);
  }
  void drain(const UnfoldState& state, size_t from);
  StampSet stamp_;
  std::vector<uint32_t> events_;
};

// Cut([e]) of one configuration [e], for quick tests: membership of a condition, and the
// condition that marks a place. A small cut (a map held as an array) is copied flat, so a
// test is one look-up; a large one is read through its map, because the cuts of two events
// extended one after the other may differ almost everywhere and a flat copy would be
// rewritten almost whole each time.
class CutIndex {
 public:
  void ensure(const UnfoldState& state) {
    if (onPlace_.size() < state.net.places.size()) {
      onPlace_.assign(state.net.places.size(), CutMap::None);
      held_ = flat_ = CutMap(static_cast<uint32_t>(state.net.places.size()));
      lazy_ = false;
    }
  }
  void set(const CutMap& cut);
  const CutMap& map() const { return held_; }
  // The conditions of the cut, by ascending place.
  const std::vector<uint32_t>& conditions() const;
  bool has(const UnfoldState& state, uint32_t b) const { return entry(state.conditionPlace[b]) == b; }
  // The map's entry of the place.
  uint32_t entry(uint32_t place) const { return lazy_ ? held_.get(place) : onPlace_[place]; }
  // Whether b, not in the cut, may still be concurrent with it. On a place, the conditions
  // of a configuration that contains [e] follow each other, each deeper than the one before;
  // so a condition no deeper than one of [e] on its place, c in the cut or one consumed in
  // [e], is consumed in [e] or in conflict with it.
  bool mayFollow(const UnfoldState& state, uint32_t b) const {
    uint32_t c = entry(state.conditionPlace[b]);
    return c == CutMap::None || state.conditionDepth(b) > state.conditionDepth(c & ~CutMap::Consumed);
  }

 private:
  CutMap held_;
  bool lazy_ = false;  // held_ is a tree, read through the map
  CutMap flat_;        // the last array copied into onPlace_
  std::vector<uint32_t> onPlace_;
  mutable std::vector<uint32_t> conditions_;  // listed on demand
  mutable bool listed_ = false;
};

// Scratch of one thread for describing possible extensions. Every candidate described
// after setBase contains the base configuration, [e] of the batch event being extended or
// the empty one, and only [e'] without the base is walked: a condition consumed in [e'] but
// not in the base lies in the base's cut exactly when its producer is in the base, since
// [e'] is conflict-free. The candidate's cut is the base's with the changes of what it
// adds, so the cost follows what the candidate adds, neither |[e']| nor the cut's size.
class CandidateDescriber {
 public:
  void ensure(const UnfoldState& state) {
    past_.ensure(state.events.size());
    added_.ensure(state.events.size());
    consumed_.ensure(state.conditions.size());
    baseCut_.ensure(state);
    changed_.ensure(state.net.places.size());
    if (newEntry_.size() < state.net.places.size()) newEntry_.resize(state.net.places.size());
  }
  // The base: its size and the cut of its configuration without the base event's postset,
  // which is added; NoIndex for the empty configuration, given by the initial cut.
  void setBase(const UnfoldState& state, uint32_t size, const CutMap& cut, uint32_t baseEvent);
  // Fills size, depth, cut and hash of a candidate whose transition is set and whose data
  // holds the preset. Returns the place that [e] would mark twice, or null.
  Place* describe(const UnfoldState& state, Candidate& candidate);
  // Walks over what candidates add to a base held as a tree, and the events they added.
  uint64_t treeWalks() const { return treeWalks_; }
  uint64_t treeWalkAdded() const { return treeWalkAdded_; }
  // Membership in the base's cut.
  const CutIndex& baseCut() const { return baseCut_; }
  // The events of ⌈e⌉ = [e] without e, after describe has found a place marked twice.
  const std::vector<uint32_t>& pastEvents() const { return past_.events(); }

 private:
  void addProducerOf(const UnfoldState& state, uint32_t b) {
    consumed_.mark(b);
    if (baseCut_.has(state, b)) {
      removed_.push_back(b);
      return;
    }
    uint32_t g = state.conditionProducer[b];
    if (g != NoIndex && added_.insert(g)) addedList_.push_back(g);
  }
  // The candidate's cut as changes to the base's by place: an array takes them at once, in
  // one copy, a tree one by one, each copying a path.
  void change(CutMap& cut, uint32_t place, uint32_t entry) {
    if (changed_.insert(place)) changedPlaces_.push_back(place);
    newEntry_[place] = entry;
    if (!gather_) cut.set(place, entry);
  }
  uint32_t entry(uint32_t place) const { return changed_.has(place) ? newEntry_[place] : baseCut_.entry(place); }
  bool mergePartners(const UnfoldState& state, Candidate& candidate);
  void walkAdded(const UnfoldState& state, Candidate& candidate);
  PastWalker past_;
  StampSet added_, consumed_, changed_;
  CutIndex baseCut_;
  uint32_t baseSize_ = 0;
  uint32_t baseEvent_ = NoIndex;
  std::vector<uint32_t> others_;  // producers of a preset besides the base event
  uint64_t treeWalks_ = 0, treeWalkAdded_ = 0;
  bool gather_ = false;
  std::vector<uint32_t> addedList_, removed_, changedPlaces_, newEntry_;
  std::vector<uint64_t> changes_;
};

// Whether Mark([f]) of an event equals a candidate's marking, without building it: both
// are the initial marking changed at some places, and only those places are looked at.
class MarkingComparer {
 public:
  void ensure(const UnfoldState& state) {
    walker_.ensure(state.events.size());
    consumed_.ensure(state.conditions.size());
    touched_.ensure(state.net.places.size());
    checked_.ensure(state.net.places.size());
    if (marked_.size() < state.net.places.size()) marked_.resize(state.net.places.size());
  }
  // f may be NoIndex, for the initial marking.
  bool same(const UnfoldState& state, uint32_t f, const Candidate& candidate);

 private:
  PastWalker walker_;
  StampSet consumed_, touched_, checked_;
  std::vector<uint8_t> marked_;  // Mark([f]) on the places that [f] touches
  std::vector<uint32_t> touchedList_;
};

// The hash of a marking from the sum of its places' words (Zobrist hashing: any order of
// the places gives it, and a change of the marking changes the sum by the places concerned).
// Words of 32 bits keep cut nodes small; the table compares markings whose hashes meet.
inline uint64_t finishHash(uint32_t sum) {
  uint64_t h = sum * 0x9E3779B97F4A7C15ull;
  return h ^ (h >> 32);
}


}  // namespace nurex
