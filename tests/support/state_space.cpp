// Test support: breadth-first marking exploration and configuration enumeration of prefixes.
#include "support/state_space.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace nurex::test {

TokenVector initialMarking(const PetriNet& net) {
  TokenVector m(net.places.size(), 0);
  for (const Place* p : net.places) m[p->index] = p->tokens;
  return m;
}

bool isEnabled(const Transition* t, const TokenVector& marking) {
  for (const Place* p : t->preset)
    if (marking[p->index] == 0) return false;
  return true;
}

namespace {

TokenVector fire(const Transition* t, TokenVector m) {
  for (const Place* p : t->preset) --m[p->index];
  for (const Place* p : t->postset) ++m[p->index];
  return m;
}

}  // namespace

bool replayRun(const PetriNet& net, const std::vector<uint32_t>& transitions, TokenVector& marking) {
  marking = initialMarking(net);
  for (uint32_t index : transitions) {
    if (index >= net.transitions.size() || !isEnabled(net.transitions[index], marking)) return false;
    marking = fire(net.transitions[index], marking);
  }
  return true;
}

namespace {

struct TokenHash {
  size_t operator()(const TokenVector& m) const {
    uint64_t h = 1469598103934665603ull;
    for (uint32_t k : m) h = (h ^ k) * 1099511628211ull;
    return static_cast<size_t>(h);
  }
};

}  // namespace

StateSpace exploreStateSpace(const PetriNet& net, uint32_t stateLimit) {
  StateSpace s;
  std::unordered_map<TokenVector, uint32_t, TokenHash> index;
  auto add = [&](TokenVector m, uint32_t parent, uint32_t transition) {
    auto [it, fresh] = index.emplace(std::move(m), s.size());
    if (!fresh) return it->second;
    s.markings.push_back(it->first);
    s.successors.emplace_back();
    s.parent.push_back(parent);
    s.parentTransition.push_back(transition);
    bool unsafe = std::any_of(it->first.begin(), it->first.end(), [](uint32_t k) { return k > 1; });
    if (unsafe && s.safe) {
      s.safe = false;
      s.firstUnsafe = it->second;
    }
    return it->second;
  };
  add(initialMarking(net), StateSpace::NoState, StateSpace::NoState);
  for (uint32_t state = 0; state < s.size(); ++state) {
    for (const Transition* t : net.transitions) {
      if (!isEnabled(t, s.markings[state])) continue;
      TokenVector next = fire(t, s.markings[state]);
      if (!index.count(next) && s.size() >= stateLimit) {
        s.complete = false;
        return s;
      }
      uint32_t target = add(std::move(next), state, t->index);
      s.successors[state].push_back({t->index, target});
    }
  }
  return s;
}

uint32_t StateSpace::find(const TokenVector& marking) const {
  for (uint32_t i = 0; i < size(); ++i)
    if (markings[i] == marking) return i;
  return NoState;
}

std::vector<uint32_t> StateSpace::runTo(uint32_t state) const {
  std::vector<uint32_t> run;
  for (uint32_t s = state; parent[s] != NoState; s = parent[s]) run.push_back(parentTransition[s]);
  std::reverse(run.begin(), run.end());
  return run;
}

std::set<PlaceSet> StateSpace::placeSets() const {
  std::set<PlaceSet> out;
  for (const TokenVector& m : markings) {
    PlaceSet places;
    for (uint32_t p = 0; p < m.size(); ++p)
      if (m[p]) places.push_back(p);
    out.insert(places);
  }
  return out;
}

namespace {

// Each configuration is generated once: its events are added in ascending index order,
// which is a firing order since a cause always has a lower index than its effects.
class ConfigurationEnumerator {
 public:
  ConfigurationEnumerator(const NodeList<Condition>& conditions, uint64_t limit, std::set<PlaceSet>& out,
                          bool noMaximalDummies)
      : inCut_(conditions.size(), 0), limit_(limit), out_(out), noMaximalDummies_(noMaximalDummies) {
    for (const Condition* c : conditions)
      if (!c->producer) add(c);
  }
  bool run() {
    visit(-1);
    return count_ <= limit_;
  }

 private:
  void add(const Condition* c) {
    inCut_[c->index] = 1;
    cut_.push_back(c);
  }
  bool isDummy(const Event* e) const {
    const Signal* s = e->transition->signal;
    return s && s->kind == SignalDummy;
  }
  // A dummy event whose postset is still entirely in the cut is maximal.
  bool hasMaximalDummy() const {
    return std::any_of(path_.begin(), path_.end(), [&](const Event* e) {
      return isDummy(e) && std::all_of(e->postset.begin(), e->postset.end(), [&](Condition* b) { return inCut_[b->index]; });
    });
  }
  void record() {
    if (noMaximalDummies_ && hasMaximalDummy()) return;
    PlaceSet places;
    for (const Condition* c : cut_)
      if (inCut_[c->index]) places.push_back(c->place->index);
    std::sort(places.begin(), places.end());
    out_.insert(places);
  }
  void visit(int64_t last) {
    if (++count_ > limit_) return;
    record();
    std::vector<Event*> enabled;
    for (const Condition* c : cut_) {
      if (!inCut_[c->index]) continue;
      for (Event* e : c->postset) {
        if (static_cast<int64_t>(e->index) <= last || eventIsCutOff(e)) continue;
        bool all = std::all_of(e->preset.begin(), e->preset.end(), [&](Condition* b) { return inCut_[b->index]; });
        if (all) enabled.push_back(e);
      }
    }
    std::sort(enabled.begin(), enabled.end());
    enabled.erase(std::unique(enabled.begin(), enabled.end()), enabled.end());
    for (Event* e : enabled) {
      size_t mark = cut_.size();
      for (Condition* b : e->preset) inCut_[b->index] = 0;
      for (Condition* b : e->postset) add(b);
      path_.push_back(e);
      visit(e->index);
      path_.pop_back();
      for (Condition* b : e->postset) inCut_[b->index] = 0;
      cut_.resize(mark);
      for (Condition* b : e->preset) inCut_[b->index] = 1;
      if (count_ > limit_) return;
    }
  }

  std::vector<uint8_t> inCut_;
  std::vector<const Condition*> cut_;  // conditions ever added on the current path; inCut_ says which remain
  std::vector<const Event*> path_;
  uint64_t count_ = 0, limit_;
  std::set<PlaceSet>& out_;
  bool noMaximalDummies_;
};

}  // namespace

bool prefixPlaceSets(const NodeList<Condition>& conditions, const NodeList<Event>& events, std::set<PlaceSet>& out,
                     uint64_t configurationLimit, bool noMaximalDummies) {
  (void)events;
  ConfigurationEnumerator enumerator(conditions, configurationLimit, out, noMaximalDummies);
  return enumerator.run();
}

bool conditionsConcurrent(const Condition* a, const Condition* b) {
  if (a == b) return false;
  std::vector<Event*> joint;
  if (a->producer) joint = localConfiguration(a->producer);
  if (b->producer)
    for (Event* e : localConfiguration(b->producer))
      if (std::find(joint.begin(), joint.end(), e) == joint.end()) joint.push_back(e);
  std::map<const Condition*, int> consumers;
  for (Event* e : joint)
    for (Condition* c : e->preset)
      if (++consumers[c] > 1) return false;
  return !consumers.count(a) && !consumers.count(b);
}

}  // namespace nurex::test
