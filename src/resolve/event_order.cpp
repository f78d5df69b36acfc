// Events are numbered so that producers come first, which lets every set be built in one
// pass from those of the producers.
#include "resolve/event_order.h"

namespace nurex {

EventOrder::EventOrder(const StgPrefix& prefix) {
  size_t n = prefix.events.size();
  past_.assign(n, EventSet(n));
  future_.assign(n, EventSet(n));
  conflict_.assign(n, EventSet(n));
  for (const Event* e : prefix.events) {
    EventSet& p = past_[e->index];
    p.insert(e->index);
    for (const Condition* c : e->preset)
      if (c->producer) p |= past_[c->producer->index];
  }
  for (const Event* e : prefix.events)
    for (const Event* f : prefix.events)
      if (past_[f->index].contains(e->index)) future_[e->index].insert(f->index);
  for (const Event* e : prefix.events) {
    EventSet& x = conflict_[e->index];
    for (const Condition* c : e->preset) {
      if (c->producer) x |= conflict_[c->producer->index];
      for (const Event* h : c->postset)
        if (h != e) x |= future_[h->index];
    }
  }
}

EventSet EventOrder::closure(const std::vector<Event*>& events) const {
  EventSet s(size());
  for (const Event* e : events) s |= past_[e->index];
  return s;
}

EventSet EventOrder::closure(const std::vector<const Event*>& events) const {
  EventSet s(size());
  for (const Event* e : events) s |= past_[e->index];
  return s;
}

EventSet eventSetOf(size_t events, const std::vector<const Event*>& list) {
  EventSet s(events);
  for (const Event* e : list) s.insert(e->index);
  return s;
}

}  // namespace nurex
