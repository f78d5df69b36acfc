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

// Cut([e]) of one configuration [e], for constant-time tests: membership of a condition,
// and the condition that marks a place.
class CutIndex {
 public:
  void ensure(const UnfoldState& state) {
    conditions_.ensure(state.conditions.size());
    places_.ensure(state.net.places.size());
    if (onPlace_.size() < state.net.places.size()) onPlace_.resize(state.net.places.size());
  }
  void set(const UnfoldState& state, const std::vector<uint32_t>& cut) {
    conditions_.next();
    places_.next();
    for (uint32_t b : cut) {
      conditions_.mark(b);
      uint32_t p = state.conditionPlace[b];
      places_.mark(p);
      onPlace_[p] = b;
    }
  }
  bool has(uint32_t b) const { return conditions_.has(b); }
  // Whether b, not in the cut, may still be concurrent with it. On a place marked by c, the
  // conditions of a configuration that contains [e] follow each other, each deeper than the
  // one before; a condition no deeper than c is consumed in [e] or in conflict with it.
  bool mayFollow(const UnfoldState& state, uint32_t b) const {
    uint32_t p = state.conditionPlace[b];
    return !places_.has(p) || conditionDepth(state, b) > conditionDepth(state, onPlace_[p]);
  }

 private:
  static uint32_t conditionDepth(const UnfoldState& state, uint32_t b) {
    uint32_t g = state.conditionProducer[b];
    return g == NoIndex ? 0 : state.eventDepth[g];
  }
  StampSet conditions_, places_;
  std::vector<uint32_t> onPlace_;
};

// Scratch of one thread for describing possible extensions. Every candidate described
// after setBase contains the base configuration, [e] of the batch event being extended or
// the empty one, and only [e'] without the base is walked: a condition consumed in [e'] but
// not in the base lies in the base's cut exactly when its producer is in the base, since
// [e'] is conflict-free. So the cost follows what the candidate adds, not |[e']|.
class CandidateDescriber {
 public:
  void ensure(const UnfoldState& state) {
    past_.ensure(state.events.size());
    added_.ensure(state.events.size());
    consumed_.ensure(state.conditions.size());
    baseCut_.ensure(state);
    places_.ensure(state.net.places.size());
  }
  // The base: its size and its cut, given as a list and a range of condition numbers.
  void setBase(const UnfoldState& state, uint32_t size, std::span<const uint32_t> cut, uint32_t rangeBegin,
               uint32_t rangeEnd);
  // Fills size, depth, cut, marking and hash of a candidate whose transition is set and
  // whose data holds the preset. Returns the place that [e] would mark twice, or null.
  Place* describe(const UnfoldState& state, Candidate& candidate);
  // Membership in the base's cut.
  const CutIndex& baseCut() const { return baseCut_; }
  // The events of ⌈e⌉ = [e] without e, after describe has found a place marked twice.
  const std::vector<uint32_t>& pastEvents() const { return past_.events(); }

 private:
  void addProducerOf(const UnfoldState& state, uint32_t b) {
    consumed_.mark(b);
    if (baseCut_.has(b)) return;
    uint32_t g = state.conditionProducer[b];
    if (g != NoIndex && added_.insert(g)) addedList_.push_back(g);
  }
  PastWalker past_;
  StampSet added_, consumed_, places_;
  CutIndex baseCut_;
  uint32_t baseSize_ = 0;
  std::vector<uint32_t> baseList_;
  std::vector<uint32_t> addedList_;
};

// A hash of a marking given as a list of distinct places in any order.
uint64_t hashMarking(std::span<const uint32_t> marking);

}  // namespace nurex
