// Walks over local configurations: generation-stamped membership sets, the past of a set
// of conditions, and the description (size, depth, cut, marking) of a possible extension.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "unfold/unfold_state.h"

namespace nurex {

// Membership by generation counter: starting a new set is one increment, not a clear.
class StampSet {
 public:
  void ensure(size_t n) {
    if (stamps_.size() < n) stamps_.resize(n + n / 2 + 16, 0);
  }
  void next() {
    if (++generation_ == 0) {
      std::fill(stamps_.begin(), stamps_.end(), 0);
      generation_ = 1;
    }
  }
  void mark(uint32_t i) { stamps_[i] = generation_; }
  bool has(uint32_t i) const { return stamps_[i] == generation_; }
  // Marks and tells whether the element was new.
  bool insert(uint32_t i) {
    if (stamps_[i] == generation_) return false;
    stamps_[i] = generation_;
    return true;
  }

 private:
  std::vector<uint32_t> stamps_;
  uint32_t generation_ = 1;
};

// The union of the local configurations of the producers of some conditions.
class PastWalker {
 public:
  void ensure(uint32_t eventCount) { stamp_.ensure(eventCount); }
  void walk(Condition* const* conditions, uint32_t count);
  // [e] itself, e included; e may be null (the empty configuration).
  void walkFrom(Event* e);
  bool contains(const Event* e) const { return stamp_.has(e->index); }
  const std::vector<Event*>& events() const { return events_; }

 private:
  void visit(Event* e) {
    if (stamp_.insert(e->index)) {
      events_.push_back(e);
      stack_.push_back(e);
    }
  }
  void drain();
  StampSet stamp_;
  std::vector<Event*> events_, stack_;
};

// Scratch of one thread for describing possible extensions.
class CandidateDescriber {
 public:
  void ensure(const UnfoldState& state) {
    past_.ensure(state.events.size());
    consumed_.ensure(state.conditions.size());
    places_.ensure(state.net.places.size());
  }
  // Fills size, depth, cut, marking and hash from transition and preset. Returns the place
  // that [e] would mark twice, or null when the marking is safe.
  Place* describe(const UnfoldState& state, Candidate& candidate);
  // The events of the last described ⌈e⌉ = [e] without e.
  const std::vector<Event*>& pastEvents() const { return past_.events(); }

 private:
  PastWalker past_;
  StampSet consumed_, places_;
};

// A hash of a sorted marking.
uint64_t hashMarking(const std::vector<uint32_t>& marking);

}  // namespace nurex
