// Enumeration of insertions and their instances in the prefix.
#include "resolve/insertion.h"

#include <algorithm>
#include <map>
#include <set>

namespace nurex {

namespace {

std::string placeSetText(const std::vector<const Place*>& places, size_t whole) {
  if (places.size() == whole) return "";
  std::string text;
  for (const Place* p : places) text += (text.empty() ? "" : ",") + p->name;
  return places.size() == 1 ? text : "{" + text + "}";
}

template <class Fn>
bool lexicographicLess(size_t na, size_t nb, Fn less) {
  for (size_t i = 0; i < na && i < nb; ++i) {
    int c = less(i);
    if (c) return c < 0;
  }
  return na < nb;
}

int compareNames(const std::string& a, const std::string& b) {
  if (a == b) return 0;
  return nameLess(a, b) ? -1 : 1;
}

int compareTransitions(const Transition* a, const Transition* b) { return compareNames(a->name, b->name); }

template <class T>
int compareLists(const std::vector<const T*>& a, const std::vector<const T*>& b) {
  for (size_t i = 0; i < a.size() && i < b.size(); ++i)
    if (int c = compareNames(a[i]->name, b[i]->name)) return c;
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

}  // namespace

std::string insertionText(const Insertion& insertion) {
  if (auto* b = std::get_if<InsertionBefore>(&insertion))
    return placeSetText(b->places, b->t->preset.size()) + "|" + b->t->name;
  if (auto* a = std::get_if<InsertionAfter>(&insertion))
    return a->t->name + "|" + placeSetText(a->places, a->t->postset.size());
  if (auto* c = std::get_if<InsertionConcurrent>(&insertion))
    return c->u->name + (c->marked ? " -||*-> " : " -||-> ") + c->t->name;
  const auto& g = std::get<InsertionGeneral>(insertion);
  std::string text = "{";
  for (size_t i = 0; i < g.sources.size(); ++i)
    text += (i ? "," : "") + g.sources[i]->name + (g.marked[i] ? "*" : "");
  text += "}-$->{";
  for (size_t i = 0; i < g.destinations.size(); ++i) text += (i ? "," : "") + g.destinations[i]->name;
  return text + "}";
}

const Transition* attachedTransition(const Insertion& insertion) {
  if (auto* b = std::get_if<InsertionBefore>(&insertion)) return b->t;
  if (auto* a = std::get_if<InsertionAfter>(&insertion)) return a->t;
  if (auto* c = std::get_if<InsertionConcurrent>(&insertion)) return c->t;
  const auto& g = std::get<InsertionGeneral>(insertion);
  return g.destinations.empty() ? nullptr : g.destinations[0];
}

bool insertionLess(const Insertion& a, const Insertion& b) {
  if (a.index() != b.index()) return a.index() < b.index();
  int c = 0;
  if (auto* x = std::get_if<InsertionBefore>(&a)) {
    auto& y = std::get<InsertionBefore>(b);
    if (!(c = compareTransitions(x->t, y.t))) c = compareLists(x->places, y.places);
  } else if (auto* x = std::get_if<InsertionAfter>(&a)) {
    auto& y = std::get<InsertionAfter>(b);
    if (!(c = compareTransitions(x->t, y.t))) c = compareLists(x->places, y.places);
  } else if (auto* x = std::get_if<InsertionConcurrent>(&a)) {
    auto& y = std::get<InsertionConcurrent>(b);
    if (!(c = compareTransitions(x->t, y.t)) && !(c = compareTransitions(x->u, y.u))) c = int(x->marked) - int(y.marked);
  } else {
    auto& g = std::get<InsertionGeneral>(a);
    auto& h = std::get<InsertionGeneral>(b);
    if (!(c = compareLists(g.sources, h.sources)) && !(c = compareLists(g.destinations, h.destinations)))
      c = g.marked == h.marked ? 0 : (g.marked < h.marked ? -1 : 1);
  }
  return c < 0;
}

std::string InsertionInstance::text(const Insertion& insertion) const {
  auto eventText = [](const Event* e) { return eventName(e) + "(" + e->transition->name + ")"; };
  std::string head = "Instance of " + insertionText(insertion);
  switch (insertion.index()) {
    case 0: {
      std::string text = head + ": conditions:";
      for (const Condition* c : conditions) text += " " + conditionName(c) + "(" + c->place->name + ")";
      return text;
    }
    case 1:
      return head + ": base event: " + eventText(base);
    case 2: {
      const auto& c = std::get<InsertionConcurrent>(insertion);
      return "Instance of " + (base ? eventText(base) : std::string("INITIAL")) +
             (c.marked ? " -||*-> " : " -||-> ") + c.t->name;
    }
    default: {
      std::string text = head + ": source events:";
      for (const Event* e : after) text += " " + eventText(e);
      return text;
    }
  }
}

namespace {

bool byIndex(const Event* a, const Event* b) { return a->index < b->index; }

// The events of the union of the local configurations of the given events.
std::vector<const Event*> closureOf(const std::vector<const Event*>& tops, size_t events) {
  std::vector<bool> seen(events, false);
  std::vector<const Event*> out, work(tops.begin(), tops.end());
  while (!work.empty()) {
    const Event* e = work.back();
    work.pop_back();
    if (seen[e->index]) continue;
    seen[e->index] = true;
    out.push_back(e);
    for (const Condition* c : e->preset)
      if (c->producer) work.push_back(c->producer);
  }
  return out;
}

uint32_t occurrences(const std::vector<const Event*>& configuration, const Transition* t) {
  uint32_t n = 0;
  for (const Event* e : configuration) n += e->transition == t;
  return n;
}


void sortUnique(std::vector<const Event*>& events) {
  std::sort(events.begin(), events.end(), byIndex);
  events.erase(std::unique(events.begin(), events.end()), events.end());
}

bool inPlaces(const std::vector<const Place*>& places, const Place* p) {
  return std::find(places.begin(), places.end(), p) != places.end();
}

}  // namespace

std::vector<InsertionInstance> instancesOf(const StgPrefix& prefix, const Insertion& insertion) {
  std::vector<InsertionInstance> out;
  if (auto* b = std::get_if<InsertionBefore>(&insertion)) {
    // Events of t that take the same conditions of P share one new event.
    std::map<std::vector<uint32_t>, size_t> byConditions;
    for (const Event* e : prefix.events) {
      if (e->transition != b->t) continue;
      std::vector<const Condition*> taken;
      for (const Condition* c : e->preset)
        if (inPlaces(b->places, c->place)) taken.push_back(c);
      std::vector<uint32_t> key;
      for (const Condition* c : taken) key.push_back(c->index);
      auto [it, inserted] = byConditions.try_emplace(key, out.size());
      if (inserted) {
        InsertionInstance instance;
        instance.base = e;
        instance.conditions = taken;
        for (const Condition* c : taken)
          if (c->producer) instance.after.push_back(c->producer);
        sortUnique(instance.after);
        out.push_back(std::move(instance));
      }
      out[it->second].before.push_back(e);
    }
  } else if (auto* a = std::get_if<InsertionAfter>(&insertion)) {
    for (const Event* e : prefix.events) {
      if (e->transition != a->t) continue;
      InsertionInstance instance;
      instance.base = e;
      instance.after.push_back(e);
      for (const Condition* c : e->postset)
        if (inPlaces(a->places, c->place))
          for (const Event* f : c->postset) instance.before.push_back(f);
      sortUnique(instance.before);
      out.push_back(std::move(instance));
    }
  } else if (auto* c = std::get_if<InsertionConcurrent>(&insertion)) {
    // The k-th token on the way is made by the flag or a u-event and taken by the t-event
    // that is the k-th of t in its own past.
    size_t n = prefix.events.size();
    std::vector<const Event*> takers;
    std::vector<uint32_t> taken;
    for (const Event* g : prefix.events)
      if (g->transition == c->t) {
        std::vector<const Event*> past = closureOf({g}, n);
        takers.push_back(g);
        taken.push_back(occurrences(past, c->t));
      }
    auto instanceOf = [&](const Event* source, uint32_t token) {
      InsertionInstance instance;
      instance.base = source;
      if (source) instance.after.push_back(source);
      for (size_t k = 0; k < takers.size(); ++k) {
        if (taken[k] != token) continue;
        std::vector<const Event*> past = closureOf({takers[k]}, n);
        if (!source || std::find(past.begin(), past.end(), source) != past.end()) instance.before.push_back(takers[k]);
      }
      return instance;
    };
    if (c->marked) out.push_back(instanceOf(nullptr, 1));
    for (const Event* e : prefix.events)
      if (e->transition == c->u) out.push_back(instanceOf(e, c->marked + occurrences(closureOf({e}, n), c->u)));
  }
  return out;
}

namespace {

// Direct predecessors: the producers of t's preset places.
std::set<const Transition*> predecessors(const Transition* t) {
  std::set<const Transition*> out;
  for (const Place* p : t->preset) out.insert(p->preset.begin(), p->preset.end());
  return out;
}

// v itself, or for a dummy the signal transitions that follow it through dummies.
std::set<const Transition*> expansion(const Transition* v) {
  std::set<const Transition*> out, seen{v};
  std::vector<const Transition*> work{v};
  while (!work.empty()) {
    const Transition* u = work.back();
    work.pop_back();
    if (u->signal && u->signal->kind != SignalDummy) {
      out.insert(u);
      continue;
    }
    for (const Place* p : u->postset)
      for (const Transition* w : p->postset)
        if (seen.insert(w).second) work.push_back(w);
  }
  return out;
}

}  // namespace

bool isInputDriven(const Transition* t) {
  for (const Transition* u : expansion(t))
    if (u->signal->kind == SignalInput) return true;
  return false;
}

namespace {

// flag + events of u - events of t stays 0 or 1 where u or t occurs, and agrees between each
// cut-off and its correspondent: the two new places stay safe and the prefix stays complete.
bool tokenCountHolds(const StgPrefix& prefix, const std::vector<std::vector<const Event*>>& local,
                     const std::vector<std::vector<const Event*>>& corresponding, const Transition* u,
                     const Transition* t, bool flag) {
  auto f = [&](const std::vector<const Event*>& configuration) {
    return static_cast<int64_t>(flag) + occurrences(configuration, u) - static_cast<int64_t>(occurrences(configuration, t));
  };
  for (const Event* e : prefix.events) {
    if (e->transition != u && e->transition != t && !eventIsCutOff(e)) continue;
    int64_t here = f(local[e->index]);
    if ((e->transition == u || e->transition == t) && here != 0 && here != 1) return false;
    if (eventIsCutOff(e) && !e->correspondent.isUnknown() && here != f(corresponding[e->index])) return false;
  }
  return true;
}

void addConcurrentInsertions(const StgPrefix& prefix, int mode, const std::vector<bool>& occurs,
                             std::vector<Insertion>& out) {
  size_t n = prefix.events.size();
  std::vector<std::vector<const Event*>> local(n), corresponding(n);
  for (const Event* e : prefix.events) {
    local[e->index] = closureOf({e}, n);
    if (eventIsCutOff(e) && !e->correspondent.isUnknown()) {
      std::vector<Event*> list = e->correspondent.correspondents();
      corresponding[e->index] = closureOf(std::vector<const Event*>(list.begin(), list.end()), n);
    }
  }
  for (const Transition* t : prefix.transitions) {
    if (!occurs[t->index] || isInputDriven(t)) continue;
    std::set<const Transition*> sources;
    if (mode == 1) {
      for (const Transition* p : predecessors(t)) {
        std::set<const Transition*> second = predecessors(p);
        sources.insert(second.begin(), second.end());
      }
    } else {
      sources.insert(prefix.transitions.begin(), prefix.transitions.end());
    }
    sources.erase(t);
    for (const Transition* p : predecessors(t)) sources.erase(p);
    for (const Place* p : t->postset)
      for (const Transition* s : p->postset) sources.erase(s);
    std::set<const Transition*> targets = expansion(t);
    for (const Transition* u : sources) {
      if (!occurs[u->index]) continue;
      std::set<const Transition*> from = expansion(u);
      if (std::includes(targets.begin(), targets.end(), from.begin(), from.end())) continue;
      bool flag = false;
      for (const Event* e : prefix.events)
        if (e->transition == u || e->transition == t) {
          flag = e->transition == t;
          break;
        }
      if (tokenCountHolds(prefix, local, corresponding, u, t, flag)) out.push_back(InsertionConcurrent{u, flag, t});
    }
  }
}

}  // namespace

std::vector<Insertion> validInsertions(const StgPrefix& prefix, int concurrentMode) {
  std::vector<bool> occurs(prefix.transitions.size(), false);
  for (const Event* e : prefix.events) occurs[e->transition->index] = true;
  std::vector<Insertion> out;
  for (const Transition* t : prefix.transitions) {
    if (!occurs[t->index]) continue;
    bool dummy = !t->signal || t->signal->kind == SignalDummy;
    size_t n = t->postset.size();
    for (uint64_t mask = 1; n && n < 20 && mask < (uint64_t{1} << n); ++mask) {
      std::vector<const Place*> places;
      for (size_t i = 0; i < n; ++i)
        if (mask >> i & 1) places.push_back(t->postset[i]);
      if (dummy && places.size() == n) continue;
      const Transition* only = nullptr;
      bool plainArcs = true;
      for (const Place* p : places) {
        if (p->tokens || p->preset.size() != 1 || p->postset.size() != 1 || (only && p->postset[0] != only)) {
          plainArcs = false;
          break;
        }
        only = p->postset[0];
      }
      if (plainArcs) continue;  // the same as the consumer's insertion in front
      bool inputFollows = false;
      for (const Place* p : places)
        for (const Transition* d : p->postset) inputFollows |= isInputDriven(d);
      if (!inputFollows) out.push_back(InsertionAfter{t, places});
    }
    if (isInputDriven(t)) continue;
    std::vector<const Place*> single;
    for (const Place* p : t->preset)
      if (p->postset.size() == 1) single.push_back(p);
    size_t m = single.size();
    for (uint64_t mask = 1; m && m < 20 && mask < (uint64_t{1} << m); ++mask) {
      std::vector<const Place*> places;
      for (size_t i = 0; i < m; ++i)
        if (mask >> i & 1) places.push_back(single[i]);
      out.push_back(InsertionBefore{t, places});
    }
    if (!dummy && m != t->preset.size() && !t->preset.empty())
      out.push_back(InsertionBefore{t, std::vector<const Place*>(t->preset.begin(), t->preset.end())});
  }
  if (concurrentMode) addConcurrentInsertions(prefix, concurrentMode, occurs, out);
  std::sort(out.begin(), out.end(), insertionLess);
  return out;
}

bool structurallyExclusive(const Insertion& a, const Insertion& b) {
  auto shares = [](const std::vector<const Place*>& x, const std::vector<const Place*>& y) {
    for (const Place* p : x)
      if (inPlaces(y, p)) return true;
    return false;
  };
  if (a.index() > b.index()) return structurallyExclusive(b, a);
  if (auto* x = std::get_if<InsertionBefore>(&a)) {
    if (auto* y = std::get_if<InsertionBefore>(&b)) return x->t == y->t && shares(x->places, y->places);
    if (auto* y = std::get_if<InsertionAfter>(&b)) return shares(x->places, y->places);
    return false;
  }
  if (auto* x = std::get_if<InsertionAfter>(&a))
    if (auto* y = std::get_if<InsertionAfter>(&b)) return x->t == y->t && shares(x->places, y->places);
  return false;
}

}  // namespace nurex
