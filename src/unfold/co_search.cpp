// Concurrency tests against an anchored configuration, and the co-set closure.
#include "unfold/co_search.h"

#include <algorithm>
#include <functional>

namespace nurex {

void ConfigurationAnchor::anchor(const UnfoldState& state, const Event* e, const Condition* alsoConsumed) {
  cut_ = nullptr;
  past_.walkFrom(state, e ? e->index : NoIndex);
  consumed_.next();
  memo_.next();
  for (uint32_t g : past_.events())
    for (uint32_t b : state.presetOf(g)) consumed_.mark(b);
  if (alsoConsumed) consumed_.mark(alsoConsumed->index);
}

bool ConfigurationAnchor::concurrent(const UnfoldState& state, const Condition* y) {
  if (cut_) {
    if (cut_->has(state, y->index)) return true;
    return aboveCut(state, y->index) && compatible(state, y->producer->index, true);
  }
  if (consumed_.has(y->index)) return false;
  const Event* p = y->producer;
  if (!p || past_.contains(p)) return true;
  return compatible(state, p->index, false);
}

void ConfigurationAnchor::failStack() {
  for (auto& frame : frames_) memoValue_[frame.first] = Incompatible;
  frames_.clear();
}

// An event outside the anchor that consumes a condition consumed in the anchor is in
// conflict with it. Anchored on a cut, a preset condition outside the cut is either
// consumed in [e] (a conflict, or g is in [e]) or produced outside [e]; the walk goes on
// through its producer and tells the two apart by depth on a place that the cut marks, or
// at the latest at the initial conditions: one outside the cut is consumed in [e].
// False when g is in conflict.
bool ConfigurationAnchor::enter(const UnfoldState& state, uint32_t g) {
  memo_.mark(g);
  memoValue_[g] = Visiting;
  frames_.push_back({g, 0});
  for (uint32_t b : state.presetOf(g))
    if (cut_ ? !aboveCut(state, b) : consumed_.has(b)) return false;
  return true;
}

// The event to walk next behind preset condition b, or NoIndex where the anchor is met.
uint32_t ConfigurationAnchor::causeBehind(const UnfoldState& state, uint32_t b) const {
  if (cut_) return cut_->has(state, b) ? NoIndex : state.conditionProducer[b];
  uint32_t p = state.conditionProducer[b];
  return p == NoIndex || past_.contains(p) ? NoIndex : p;
}

// Depth-first through the producers of [g] outside the anchor; a conflict found on the way
// lies in the past of every event on the current path.
bool ConfigurationAnchor::compatible(const UnfoldState& state, uint32_t g, bool trustFree) {
  if (trustFree && state.conflictFree[g]) return true;
  if (memo_.has(g)) return memoValue_[g] == Compatible;
  frames_.clear();
  if (!enter(state, g)) {
    failStack();
    return false;
  }
  while (!frames_.empty()) {
    auto [event, next] = frames_.back();
    std::span<const uint32_t> preset = state.presetOf(event);
    if (next == preset.size()) {
      memoValue_[event] = Compatible;
      frames_.pop_back();
      continue;
    }
    ++frames_.back().second;
    uint32_t p = causeBehind(state, preset[next]);
    if (p == NoIndex || (trustFree && state.conflictFree[p])) continue;
    if (memo_.has(p)) {
      if (memoValue_[p] == Incompatible) {
        failStack();
        return false;
      }
      continue;
    }
    if (!enter(state, p)) {
      failStack();
      return false;
    }
  }
  return true;
}

// A condition's second consumer makes the futures of both consumers conflict-prone; that
// spreads forward from the older ones, and stops at events already marked.
void noteConsumers(UnfoldState& state) {
  state.consumerCount.resize(state.conditions.size(), 0);
  state.conflictFree.resize(state.events.size(), 0);
  std::vector<uint32_t> stack;
  for (uint32_t i : state.batchExtended)
    for (uint32_t b : state.presetOf(state.batchEventsBegin + i)) {
      if (state.consumerCount[b] == 2 || ++state.consumerCount[b] < 2) continue;
      for (const Event* h : state.conditions[b]->postset)
        if (h->index < state.batchEventsBegin && !eventIsCutOff(h)) stack.push_back(h->index);
    }
  while (!stack.empty()) {
    uint32_t h = stack.back();
    stack.pop_back();
    if (!state.conflictFree[h]) continue;
    state.conflictFree[h] = 0;
    for (const Condition* b : state.events[h]->postset)
      for (const Event* k : b->postset) stack.push_back(k->index);
  }
  for (uint32_t i : state.batchExtended) {
    uint32_t g = state.batchEventsBegin + i;
    bool free = true;
    for (uint32_t b : state.presetOf(g)) free = free && state.consumerCount[b] < 2;
    for (uint32_t p : state.producersOf(g)) free = free && state.conflictFree[p];
    state.conflictFree[g] = free;
  }
}

// Conditions are taken in ascending order, so when an event's highest-numbered preset
// condition is taken, the rest of its preset is numbered lower and, if ever a member, is one
// already: by induction, a member's producer had its whole preset in the set when its own
// highest-numbered preset condition was taken. So each event is looked at once, from there.
uint64_t CoClosure::compute(const UnfoldState& state, const std::vector<uint32_t>& cut, uint32_t e) {
  uint64_t steps = 0;
  members_.next();
  places_.next();
  list_.clear();
  pending_.clear();
  auto push = [&](uint32_t c) {
    if (!members_.insert(c)) return;
    pending_.push_back(c);
    std::push_heap(pending_.begin(), pending_.end(), std::greater<uint32_t>());
  };
  for (uint32_t c : cut)
    if (state.conditionProducer[c] != e) push(c);
  while (!pending_.empty()) {
    std::pop_heap(pending_.begin(), pending_.end(), std::greater<uint32_t>());
    uint32_t x = pending_.back();
    pending_.pop_back();
    Condition* member = state.conditions[x];
    list_.push_back(member);
    places_.mark(member->place->index);
    ++steps;
    for (uint32_t g = state.pivotFirst[x]; g != NoIndex; g = state.pivotNext[g]) {
      ++steps;
      std::span<const uint32_t> preset = state.presetOf(g);
      bool enabled = true;
      for (size_t k = 0; k + 1 < preset.size() && enabled; ++k) enabled = members_.has(preset[k]);
      if (enabled)
        for (uint32_t y = state.postsetBegin[g]; y < state.postsetBegin[g + 1]; ++y) push(y);
    }
  }
  return steps;
}

}  // namespace nurex

namespace nurex {

void CoClosure::read(const UnfoldState& state, const Event* e) {
  members_.next();
  places_.next();
  list_.clear();
  state.relation->forEachConcurrent(e, [this](const Condition* c) { add(const_cast<Condition*>(c)); });
}

}  // namespace nurex
