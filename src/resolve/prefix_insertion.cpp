#include "resolve/prefix_insertion.h"

#include <algorithm>
#include <queue>
#include <unordered_map>
#include <unordered_set>

namespace nurex {

namespace {

template <class T>
void erase(PtrArray<T>& array, const T* item) {
  uint32_t kept = 0;
  for (uint32_t i = 0; i < array.size(); ++i)
    if (array[i] != item) array[kept++] = array[i];
  array.resize(kept);
}

template <class T>
void sortByIndex(PtrArray<T>& array) {
  std::sort(array.begin(), array.end(), [](const T* a, const T* b) { return a->index < b->index; });
}

class Rewriter {
 public:
  explicit Rewriter(StgPrefix& prefix) : prefix_(prefix) {}

  bool apply(const AppliedInsertion& a) {
    for (const InsertionInstance& instance : a.instances) {
      switch (a.insertion.index()) {
        case 0: insertBefore(a, instance); break;
        case 1: insertAfter(a, instance); break;
        case 2: insertConcurrent(a, instance); break;
        default: return false;
      }
    }
    return a.insertion.index() <= 2;
  }

  void renumber();

 private:
  Condition* condition(Place* place, Event* producer) {
    Condition* c = prefix_.conditions.add(new Condition);
    c->place = place;
    c->producer = producer;
    if (producer) producer->postset.push_back(c);
    return c;
  }
  Event* event(Transition* x, int64_t key) {
    Event* e = prefix_.events.add(new Event);
    e->transition = x;
    e->sign = x->sign;
    keys_[e] = key;
    return e;
  }
  static void arc(Condition* c, Event* e) {
    c->postset.push_back(e);
    e->preset.push_back(c);
  }
  static int64_t keyOf(const Event* e) { return 4 * int64_t{e->index} + 2; }

  // x takes the conditions of P from the events of t, which wait for x instead.
  void insertBefore(const AppliedInsertion& a, const InsertionInstance& instance) {
    Event* x = event(a.x, keyOf(instance.base) - 1);
    for (const Condition* cc : instance.conditions) {
      auto* c = const_cast<Condition*>(cc);
      for (const Event* f : instance.before) {
        erase(c->postset, f);
        erase(const_cast<Event*>(f)->preset, cc);
      }
      arc(c, x);
    }
    Condition* link = condition(a.out, x);
    for (const Event* f : instance.before) arc(link, const_cast<Event*>(f));
  }

  // The conditions of P are produced by x, which follows the event of t; after a cut-off
  // nothing is extended, so the token stays on the way to x.
  void insertAfter(const AppliedInsertion& a, const InsertionInstance& instance) {
    auto* t = const_cast<Event*>(instance.base);
    const auto& places = std::get<InsertionAfter>(a.insertion).places;
    std::vector<Condition*> moved;
    for (Condition* c : t->postset)
      if (std::find(places.begin(), places.end(), c->place) != places.end()) moved.push_back(c);
    for (Condition* c : moved) erase(t->postset, static_cast<const Condition*>(c));
    Condition* link = condition(a.into, t);
    if (eventIsCutOff(t)) {
      for (Condition* c : moved) dropped_.insert(c);
      return;
    }
    Event* x = event(a.x, keyOf(t) + 1);
    arc(link, x);
    for (Condition* c : moved) {
      c->producer = x;
      x->postset.push_back(c);
    }
  }

  void insertConcurrent(const AppliedInsertion& a, const InsertionInstance& instance) {
    auto* u = const_cast<Event*>(instance.base);
    Condition* in = condition(a.into, u);
    if (u && eventIsCutOff(u)) return;
    Event* x = event(a.x, u ? keyOf(u) + 1 : 0);
    arc(in, x);
    Condition* out = condition(a.out, x);
    for (const Event* f : instance.before) arc(out, const_cast<Event*>(f));
  }

  StgPrefix& prefix_;
  std::unordered_map<const Event*, int64_t> keys_;  // of the new events
  std::unordered_set<const Condition*> dropped_;
};

// Events in a causal order that keeps the old numbering where it can; conditions in the
// order the unfolder gives them: the initial cut, then each event's postset.
void Rewriter::renumber() {
  std::vector<Event*> events = prefix_.events.release();
  std::unordered_map<const Event*, uint32_t> waiting;
  using Entry = std::pair<int64_t, Event*>;
  std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> ready;
  auto key = [&](const Event* e) {
    auto it = keys_.find(e);
    return it == keys_.end() ? keyOf(e) : it->second;
  };
  for (Event* e : events) {
    uint32_t causes = 0;
    for (const Condition* c : e->preset) causes += c->producer != nullptr;
    if (causes == 0) ready.push({key(e), e});
    else waiting[e] = causes;
  }
  std::vector<Event*> order;
  order.reserve(events.size());
  while (!ready.empty()) {
    Event* e = ready.top().second;
    ready.pop();
    order.push_back(e);
    for (Condition* c : e->postset)
      for (Event* f : c->postset)
        if (--waiting[f] == 0) ready.push({key(f), f});
  }
  // A cycle would leave events behind; they are kept at the end for the check to refuse.
  if (order.size() < events.size()) {
    std::unordered_set<const Event*> placed(order.begin(), order.end());
    for (Event* e : events)
      if (!placed.count(e)) order.push_back(e);
  }
  prefix_.events.reorder(std::move(order));

  std::vector<Condition*> conditions = prefix_.conditions.release(), kept;
  kept.reserve(conditions.size());
  for (Condition* c : conditions)
    if (!c->producer && !dropped_.count(c)) kept.push_back(c);
  for (Event* e : prefix_.events)
    for (Condition* c : e->postset) kept.push_back(c);
  for (const Condition* c : dropped_) delete c;
  prefix_.conditions.reorder(std::move(kept));
  for (Event* e : prefix_.events) {
    sortByIndex(e->preset);
    sortByIndex(e->postset);
  }
  for (Condition* c : prefix_.conditions) sortByIndex(c->postset);
}

std::vector<const Place*> places(const PtrArray<Condition>& conditions) {
  std::vector<const Place*> out;
  for (const Condition* c : conditions) out.push_back(c->place);
  std::sort(out.begin(), out.end());
  return out;
}

std::vector<const Place*> places(const PtrArray<Place>& list) {
  std::vector<const Place*> out(list.begin(), list.end());
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace

bool insertIntoPrefix(StgPrefix& prefix, const std::vector<AppliedInsertion>& applied) {
  Rewriter rewriter(prefix);
  for (const AppliedInsertion& a : applied)
    if (!rewriter.apply(a)) return false;
  rewriter.renumber();
  return prefixMatchesNet(prefix);
}

bool prefixMatchesNet(const StgPrefix& prefix) {
  std::vector<const Place*> initial, marked;
  for (const Place* p : prefix.places)
    for (uint32_t k = 0; k < p->tokens; ++k) marked.push_back(p);
  for (const Condition* c : prefix.conditions) {
    if (!c->producer) initial.push_back(c->place);
    else if (!c->producer->postset.contains(c)) return false;
    for (const Event* e : c->postset)
      if (!e->preset.contains(c)) return false;
  }
  std::sort(initial.begin(), initial.end());
  std::sort(marked.begin(), marked.end());
  if (initial != marked) return false;
  for (const Event* e : prefix.events) {
    for (const Condition* c : e->preset)
      if ((c->producer && c->producer->index >= e->index) || !c->postset.contains(e)) return false;
    if (places(e->preset) != places(e->transition->preset)) return false;
    if (places(e->postset) != places(e->transition->postset)) return false;
  }
  return true;
}

}  // namespace nurex
