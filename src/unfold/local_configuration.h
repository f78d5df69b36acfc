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

// Scratch of one thread for describing possible extensions.
class CandidateDescriber {
 public:
  void ensure(const UnfoldState& state) {
    past_.ensure(state.events.size());
    consumed_.ensure(state.conditions.size());
    places_.ensure(state.net.places.size());
  }
  // Fills size, depth, cut, marking and hash of a candidate whose transition is set and
  // whose data holds the preset. Returns the place that [e] would mark twice, or null.
  Place* describe(const UnfoldState& state, Candidate& candidate);
  // The events of the last described ⌈e⌉ = [e] without e.
  const std::vector<uint32_t>& pastEvents() const { return past_.events(); }

 private:
  PastWalker past_;
  StampSet consumed_, places_;
};

// A hash of a marking given as a list of distinct places in any order.
uint64_t hashMarking(std::span<const uint32_t> marking);

}  // namespace nurex
