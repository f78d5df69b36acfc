// Concurrency tests against an anchored configuration, and the co-set closure.
#include "unfold/co_search.h"

namespace nurex {

void ConfigurationAnchor::anchor(Event* e, const Condition* alsoConsumed) {
  past_.walkFrom(e);
  consumed_.next();
  memo_.next();
  for (Event* g : past_.events())
    for (Condition* b : g->preset) consumed_.mark(b->index);
  if (alsoConsumed) consumed_.mark(alsoConsumed->index);
}

bool ConfigurationAnchor::concurrent(const Condition* y) {
  if (consumed_.has(y->index)) return false;
  Event* p = y->producer;
  if (!p || past_.contains(p)) return true;
  return compatible(p);
}

void ConfigurationAnchor::failStack() {
  for (auto& frame : frames_) memoValue_[frame.first->index] = Incompatible;
  frames_.clear();
}

// Depth-first through the producers of [g] outside the anchor. An event of [g] that
// consumes a condition consumed in the anchor is in conflict with it; then every event on
// the current path contains that conflict in its past.
bool ConfigurationAnchor::compatible(Event* g) {
  if (memo_.has(g->index)) return memoValue_[g->index] == Compatible;
  memo_.mark(g->index);
  memoValue_[g->index] = Visiting;
  frames_.clear();
  frames_.push_back({g, 0});
  while (!frames_.empty()) {
    auto& [event, next] = frames_.back();
    if (next == event->preset.size()) {
      memoValue_[event->index] = Compatible;
      frames_.pop_back();
      continue;
    }
    Condition* b = event->preset[next++];
    if (consumed_.has(b->index)) {
      failStack();
      return false;
    }
    Event* p = b->producer;
    if (!p || past_.contains(p)) continue;
    if (memo_.has(p->index)) {
      if (memoValue_[p->index] == Incompatible) {
        failStack();
        return false;
      }
      continue;
    }
    memo_.mark(p->index);
    memoValue_[p->index] = Visiting;
    frames_.push_back({p, 0});
  }
  return true;
}

void CoClosure::compute(const std::vector<Condition*>& cut) {
  members_.next();
  counted_.next();
  places_.next();
  list_.clear();
  for (Condition* c : cut) add(c);
  for (size_t i = 0; i < list_.size(); ++i) {
    Condition* x = list_[i];
    for (Event* g : x->postset) {
      if (eventIsCutOff(g)) continue;
      uint32_t k = g->index;
      if (counted_.insert(k)) counts_[k] = 0;
      if (++counts_[k] == g->preset.size())
        for (Condition* y : g->postset) add(y);
    }
  }
}

}  // namespace nurex
