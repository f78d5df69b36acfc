// Local configuration walks and the description of possible extensions.
#include "unfold/local_configuration.h"

#include <cassert>

namespace nurex {

// The collected events double as the stack: each is expanded once, in order.
void PastWalker::drain(const UnfoldState& state, size_t from) {
  for (size_t i = from; i < events_.size(); ++i)
    for (uint32_t p : state.producersOf(events_[i])) visit(p);
}

void PastWalker::walk(const UnfoldState& state, std::span<const uint32_t> conditions) {
  stamp_.next();
  events_.clear();
  for (uint32_t b : conditions) {
    const Event* p = state.conditions[b]->producer;
    if (p) visit(p->index);
  }
  drain(state, 0);
}

void PastWalker::walkFrom(const UnfoldState& state, uint32_t e) {
  stamp_.next();
  events_.clear();
  if (e != NoIndex) visit(e);
  drain(state, 0);
}

void CutIndex::set(const CutMap& cut) {
  held_ = cut;
  listed_ = false;
  lazy_ = !cut.isArray();
  if (lazy_) return;
  flat_.forEachEntry([this](uint32_t p, uint32_t) { onPlace_[p] = CutMap::None; });
  cut.forEachEntry([this](uint32_t p, uint32_t b) { onPlace_[p] = b; });
  flat_ = cut;
}

// Only the co-set closure asks, and it costs the cut's size anyway.
const std::vector<uint32_t>& CutIndex::conditions() const {
  if (!listed_) {
    conditions_.clear();
    held_.forEach([this](uint32_t, uint32_t b) { conditions_.push_back(b); });
    listed_ = true;
  }
  return conditions_;
}

bool MarkingComparer::same(const UnfoldState& state, uint32_t f, const Candidate& candidate) {
  walker_.walkFrom(state, f);
  consumed_.next();
  touched_.next();
  checked_.next();
  touchedList_.clear();
  auto touch = [&](uint32_t p, bool marked) {
    if (touched_.insert(p)) touchedList_.push_back(p);
    marked_[p] = marked;
  };
  for (uint32_t g : walker_.events())
    for (uint32_t b : state.presetOf(g)) consumed_.mark(b);
  for (uint32_t g : walker_.events())
    for (uint32_t b : state.presetOf(g))
      if (state.conditionProducer[b] == NoIndex) touch(state.conditionPlace[b], false);
  for (uint32_t g : walker_.events())
    for (uint32_t b = state.postsetBegin[g]; b < state.postsetBegin[g + 1]; ++b)
      if (!consumed_.has(b)) touch(state.conditionPlace[b], true);

  const CutMap& initial = state.initialCut.map();
  const Transition* t = candidate.transition;
  auto inPostset = [t](uint32_t place) {
    for (const Place* p : t->postset)
      if (p->index == place) return true;
    return false;
  };
  auto eventMarks = [&](uint32_t p, uint32_t initialEntry) {
    return touched_.has(p) ? marked_[p] != 0 : CutMap::marks(initialEntry);
  };
  // The candidate differs from the initial marking only where its cut does or on t's postset.
  bool same = true;
  CutMap::forEachDifference(candidate.cut, initial, [&](uint32_t p, uint32_t x, uint32_t y) {
    checked_.mark(p);
    if (same) same = (CutMap::marks(x) || inPostset(p)) == eventMarks(p, y);
  });
  for (uint32_t p : touchedList_)
    if (same && checked_.insert(p)) {
      uint32_t y = initial.get(p);
      same = (CutMap::marks(y) || inPostset(p)) == (marked_[p] != 0);
    }
  for (const Place* p : t->postset)
    if (same && !checked_.has(p->index)) same = eventMarks(p->index, initial.get(p->index));
  return same;
}

void CandidateDescriber::setBase(const UnfoldState& state, uint32_t size, const CutMap& cut, uint32_t baseEvent) {
  baseSize_ = size;
  baseEvent_ = baseEvent;
  changes_.clear();
  if (baseEvent != NoIndex)
    for (uint32_t b = state.postsetBegin[baseEvent]; b < state.postsetBegin[baseEvent + 1]; ++b)
      changes_.push_back(CutMap::pair(state.conditionPlace[b], b));
  std::sort(changes_.begin(), changes_.end());
  CutMap base = cut;
  base.setMany(changes_);
  baseCut_.set(base);
}

// The cut of ⌈e⌉ is the base's cut and the postsets of the added events, less what the
// added events consume; removing e's preset as well gives the part of Cut([e]) that exists
// before e, and adding e's postset gives Mark([e]). Removals come first: an added event may
// put a condition back on a place whose base condition it consumes. A place left unmarked
// keeps its deepest consumed condition, for the test by depth of the concurrency walks: the
// base's conditions precede the added ones on every place.
Place* CandidateDescriber::describe(const UnfoldState& state, Candidate& candidate) {
  std::span<const uint32_t> preset = candidate.preset();
  uint32_t depth = 0;
  for (uint32_t b : preset) depth = std::max(depth, state.depthOf(state.conditions[b]));
  candidate.depth = depth + 1;
  bool merged = mergePartners(state, candidate);
  if (!merged) {
    walkAdded(state, candidate);
    if (!baseCut_.map().isArray()) ++treeWalks_, treeWalkAdded_ += addedList_.size();
  }
#ifndef NDEBUG
  // Both ways must describe a candidate alike; the weights must count its events.
  if (merged) {
    Candidate walked = candidate;
    walkAdded(state, walked);
    bool same = walked.size == candidate.size && walked.cut.size() == candidate.cut.size() &&
                walked.cut.sum() == candidate.cut.sum() && walked.cut.weightSum() == candidate.cut.weightSum();
    CutMap::forEachDifference(walked.cut, candidate.cut, [&same](uint32_t, uint32_t, uint32_t) { same = false; });
    assert(same);
  }
  if (state.weightsCountEvents) assert(candidate.size == candidate.cut.weightSum() + 1);
#endif
  uint32_t sum = candidate.cut.sum();
  for (Place* p : candidate.transition->postset) {
    uint32_t entry = candidate.cut.get(p->index);
    if (CutMap::marks(entry)) {
      past_.walk(state, preset);
      return p;
    }
    candidate.data.push_back(entry);
    sum += placeWord(p->index);
  }
  candidate.hash = finishHash(sum);
  return nullptr;
}

// Which entry of a place is later on its chain, and whether all entries of one cut node
// are no later than those of another: a node made for a candidate holds entries of its
// configuration's cut, so any node made for an event in the past of the other's is below.
struct LaterEntries {
  const UnfoldState& state;
  int compareOwners(uint32_t x, uint32_t y) const {
    if (x == y) return 0;
    if (x == UnfoldState::InitialOwner) return -1;
    if (y == UnfoldState::InitialOwner) return 1;
    uint32_t f = state.eventOfOwner(x), g = state.eventOfOwner(y);
    if (f == NoIndex || g == NoIndex) return 0;
    if (state.precedes(f, g)) return -1;
    if (state.precedes(g, f)) return 1;
    return 0;
  }
  uint32_t later(uint32_t x, uint32_t y) const {
    uint32_t b = x & ~CutMap::Consumed, c = y & ~CutMap::Consumed;
    if (b == c) return x | y;  // consumed in either: consumed in the union
    return state.chain[b].index > state.chain[c].index ? x : y;
  }
};

// ⌈e⌉ is the union of the base and the configurations of the other producers of e's
// preset, so its cut is the entrywise later of their cuts; merging the kept cuts of those
// producers costs what the owners of their nodes cannot decide, which on long pipelines is
// far less than what the union adds to the base. Needs the base and every other producer's
// cut as trees, and weights that count events for the size.
bool CandidateDescriber::mergePartners(const UnfoldState& state, Candidate& candidate) {
  if (!state.keepCuts || baseCut_.map().isArray()) return false;
  others_.clear();
  for (uint32_t b : candidate.preset()) {
    uint32_t g = state.conditionProducer[b];
    if (g == NoIndex || g == baseEvent_ || std::find(others_.begin(), others_.end(), g) != others_.end()) continue;
    if (!state.keptCut(g)) return false;
    others_.push_back(g);
  }
  CutMap& cut = candidate.cut;
  cut = baseCut_.map();
  cut.setOwner(candidate.owner);
  LaterEntries order{state};
  for (uint32_t g : others_) {
    cut.mergeLater(*state.keptCut(g), order);
    for (uint32_t b = state.postsetBegin[g]; b < state.postsetBegin[g + 1]; ++b) {
      uint32_t place = state.conditionPlace[b], h = cut.get(place);
      if (h == CutMap::None || order.later(h, b) == b) cut.set(place, b);
    }
  }
  for (uint32_t b : candidate.preset()) {
    assert(cut.get(state.conditionPlace[b]) == b);
    cut.set(state.conditionPlace[b], b | CutMap::Consumed);
  }
  candidate.size = cut.weightSum() + 1;
  return true;
}

void CandidateDescriber::walkAdded(const UnfoldState& state, Candidate& candidate) {
  std::span<const uint32_t> preset = candidate.preset();
  added_.next();
  consumed_.next();
  addedList_.clear();
  removed_.clear();
  for (uint32_t b : preset) addProducerOf(state, b);
  for (size_t i = 0; i < addedList_.size(); ++i)
    for (uint32_t b : state.presetOf(addedList_[i])) addProducerOf(state, b);
  candidate.size = baseSize_ + static_cast<uint32_t>(addedList_.size()) + 1;

  CutMap& cut = candidate.cut;
  cut = baseCut_.map();
  cut.setOwner(candidate.owner);
  gather_ = cut.isArray();
  changed_.next();
  changedPlaces_.clear();
  for (uint32_t b : removed_) change(cut, state.conditionPlace[b], b | CutMap::Consumed);
  for (uint32_t g : addedList_)
    for (uint32_t b = state.postsetBegin[g]; b < state.postsetBegin[g + 1]; ++b) {
      uint32_t p = state.conditionPlace[b];
      if (!consumed_.has(b)) {
        change(cut, p, b);
        continue;
      }
      uint32_t h = entry(p);
      if (h == CutMap::None || (!CutMap::marks(h) && state.conditionDepth(h & ~CutMap::Consumed) < state.eventDepth[g]))
        change(cut, p, b | CutMap::Consumed);
    }
  if (gather_) {
    std::sort(changedPlaces_.begin(), changedPlaces_.end());
    changes_.clear();
    for (uint32_t p : changedPlaces_) changes_.push_back(CutMap::pair(p, newEntry_[p]));
    cut.setMany(changes_);
  }
}

}  // namespace nurex
