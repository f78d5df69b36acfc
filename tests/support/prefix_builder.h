// Test support: builds small nets, prefixes and merged processes by hand, node by node.
#pragma once

#include <string>

#include "model/prefix.h"

namespace nurex::test {

template <class Net>
struct PrefixBuilder {
  Prefix<Net> prefix;

  Place* place(const std::string& name, uint32_t tokens = 0) {
    auto* p = prefix.places.add(new Place);
    p->name = name;
    p->tokens = tokens;
    return p;
  }
  Transition* transition(const std::string& name, Signal* signal = nullptr, uint32_t sign = SignNone) {
    auto* t = prefix.transitions.add(new Transition);
    t->name = name;
    t->signal = signal;
    t->sign = sign;
    return t;
  }
  // A transition of the net with its arcs, for the unfolder to work on.
  Transition* transition(const std::string& name, std::initializer_list<Place*> pre, std::initializer_list<Place*> post,
                         Signal* signal = nullptr) {
    Transition* t = transition(name, signal);
    for (Place* p : pre) addPlaceArc(p, t);
    for (Place* p : post) addTransitionArc(t, p);
    return t;
  }
  Signal* signal(const std::string& name, uint8_t kind, uint8_t initialValue = ValueUnknown) {
    auto* s = prefix.signals.add(new Signal);
    s->name = name;
    s->kind = kind;
    s->initialValue = initialValue;
    return s;
  }
  Condition* condition(Place* place, Event* producer = nullptr) {
    auto* c = prefix.conditions.add(new Condition);
    c->place = place;
    c->producer = producer;
    if (producer) producer->postset.push_back(c);
    return c;
  }
  Event* event(Transition* t, std::initializer_list<Condition*> preset) {
    auto* e = prefix.events.add(new Event);
    e->transition = t;
    for (Condition* c : preset) {
      e->preset.push_back(c);
      c->postset.push_back(e);
    }
    return e;
  }
  // A chain event: consumes `from`, produces one condition of `to`, which it returns.
  Condition* step(Transition* t, Condition* from, Place* to) { return condition(to, event(t, {from})); }
};

template <class Net>
struct MergedProcessBuilder {
  MergedProcess<Net> process;

  MpCondition* condition(Place* place, uint32_t tokens = 0) {
    auto* c = process.conditions.add(new MpCondition);
    c->place = place;
    c->tokens = tokens;
    c->occurrenceDepth = 1;
    return c;
  }
  MpEvent* event(Transition* t, std::initializer_list<MpCondition*> preset, std::initializer_list<MpCondition*> postset) {
    auto* e = process.events.add(new MpEvent);
    e->transition = t;
    for (MpCondition* c : preset) {
      e->preset.push_back(c);
      c->postset.push_back(e);
    }
    for (MpCondition* c : postset) {
      e->postset.push_back(c);
      c->preset.push_back(e);
    }
    return e;
  }
  Place* place(const std::string& name) {
    auto* p = process.places.add(new Place);
    p->name = name;
    return p;
  }
  Transition* transition(const std::string& name) {
    auto* t = process.transitions.add(new Transition);
    t->name = name;
    return t;
  }
};

}  // namespace nurex::test
