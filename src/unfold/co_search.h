// Concurrency of conditions without a stored relation: a test against a fixed configuration
// with memoised compatibility, and the forward closure of a cut.
#pragma once

#include <cstdint>
#include <vector>

#include "unfold/local_configuration.h"

namespace nurex {

// Two conditions are concurrent iff the union of the local configurations of their
// producers is conflict-free and neither condition is consumed in it. The anchor fixes one
// side, [e] for the postset of e or [producer(x)] for a condition x, and answers for the
// other; whether an event's local configuration is compatible with the anchor is memoised
// for the anchor's lifetime, so a scan over many conditions walks each event once.
class ConfigurationAnchor {
 public:
  void ensure(const UnfoldState& state) {
    past_.ensure(state.events.size());
    memo_.ensure(state.events.size());
    memoValue_.resize(std::max<size_t>(memoValue_.size(), state.events.size() + state.events.size() / 8 + 16));
    consumed_.ensure(state.conditions.size());
  }
  // Anchors on [e] (null: the empty configuration); `alsoConsumed`, if given, is treated as
  // consumed by the anchor, which makes it and everything after it non-concurrent.
  void anchor(const UnfoldState& state, const Event* e, const Condition* alsoConsumed);
  // Anchors on the condition x itself: [producer(x)] with x held as consumed.
  void anchorCondition(const UnfoldState& state, const Condition* x) { anchor(state, x->producer, x); }
  // Anchors on [e] given by Cut([e]) alone, which must stay unchanged while anchored. A
  // walk back from y that meets only conditions outside the cut cannot leave [e] once it
  // is inside: there every preset is consumed, down to initial conditions outside the cut.
  // So [e] itself is never walked.
  // A walk also stops at a condition that cannot follow the cut on its place, which needs
  // the configurations met to be safe there. Stopping early only ever answers "not
  // concurrent", so a witness found is genuine. For the test for a second token on a place
  // this is exact as well when the conditions of the place are tested in index order: the
  // walk back from the lowest witness meets, on that place, only lower conditions, none of
  // them concurrent with the new one (it would be a lower witness), and there the stop is sound.
  void anchorCut(const CutIndex& cut) {
    cut_ = &cut;
    memo_.next();
  }
  // Whether y stays in a cut together with the anchor's cut (y is not the anchor condition).
  bool concurrent(const UnfoldState& state, const Condition* y);
  // The same for y on the place of a new condition of the anchored cut, with no stop by
  // depth at y itself, which would assume the safety that this tests.
  bool concurrentOnOwnPlace(const UnfoldState& state, const Condition* y) {
    if (cut_->has(state, y->index)) return true;
    return y->producer && compatible(state, y->producer->index, false);
  }

 private:
  // With `trustFree`, an event reached above the cut with a conflict-free past is taken as
  // compatible without a walk: exact once the new postset is known to be safe.
  bool compatible(const UnfoldState& state, uint32_t g, bool trustFree);
  bool enter(const UnfoldState& state, uint32_t g);
  uint32_t causeBehind(const UnfoldState& state, uint32_t b) const;
  bool aboveCut(const UnfoldState& state, uint32_t b) const {
    if (cut_->has(state, b)) return true;
    if (state.conditionProducer[b] == NoIndex) return false;
    return cut_->mayFollow(state, b);
  }
  const CutIndex* cut_ = nullptr;  // set by anchorCut, cleared by anchor
  void failStack();
  enum : uint8_t { Visiting = 1, Compatible = 2, Incompatible = 3 };
  PastWalker past_;
  StampSet consumed_, memo_;
  std::vector<uint8_t> memoValue_;
  std::vector<std::pair<uint32_t, uint32_t>> frames_;  // event, next producer to look at
};

// Brings consumerCount and conflictFree up to date with the batch just committed.
void noteConsumers(UnfoldState& state);

// The conditions concurrent with the postset of a new event e: the forward closure of the
// rest of Cut([e]) under the non-cut-off events of the prefix whose whole preset lies in
// the set.
// Pairwise concurrent conditions form a co-set, so the closure holds every condition that
// some configuration containing [e] leaves in its cut beside e's postset, and nothing more.
class CoClosure {
 public:
  void ensure(const UnfoldState& state) {
    members_.ensure(state.conditions.size());
    places_.ensure(state.net.places.size());
  }
  // The closure of Cut([e]) given with e's postset, which is left out. Returns the number of
  // steps taken (members and consumers looked at).
  uint64_t compute(const UnfoldState& state, const std::vector<uint32_t>& cut, uint32_t e);
  // The same set read from the row of e in the concurrency relation.
  void read(const UnfoldState& state, const Event* e);
  const std::vector<Condition*>& members() const { return list_; }
  bool contains(const Condition* c) const { return members_.has(c->index); }
  // Whether some member lies on the place.
  bool coversPlace(const Place* p) const { return places_.has(p->index); }

 private:
  void add(Condition* c) {
    if (members_.insert(c->index)) {
      list_.push_back(c);
      places_.mark(c->place->index);
    }
  }
  StampSet members_, places_;
  std::vector<uint32_t> pending_;  // members not yet taken, a heap with the lowest on top
  std::vector<Condition*> list_;
};

}  // namespace nurex
