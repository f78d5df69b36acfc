// Test support: the breadth-first explorer of nets and STGs, and configuration enumeration of prefixes.
#include "support/state_space.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace nurex::test {

PlaceSet placesOf(const TokenVector& marking) {
  PlaceSet places;
  for (uint32_t p = 0; p < marking.size(); ++p)
    if (marking[p]) places.push_back(p);
  return places;
}

bool isDummy(const Transition* t) { return !t->signal || t->signal->kind == SignalDummy; }

TokenVector initialMarking(const PetriNet& net) {
  TokenVector m(net.places.size(), 0);
  for (const Place* p : net.places) m[p->index] = p->tokens;
  return m;
}

std::vector<uint8_t> initialCode(const Stg& stg) {
  std::vector<uint8_t> code;
  for (const Signal* s : stg.signals) code.push_back(s->kind != SignalDummy && s->initialValue == 1);
  return code;
}

bool isEnabled(const Transition* t, const TokenVector& marking) {
  for (const Place* p : t->preset)
    if (marking[p->index] == 0) return false;
  return true;
}

void fire(const Transition* t, TokenVector& marking, std::vector<uint8_t>* code) {
  for (const Place* p : t->preset) --marking[p->index];
  for (const Place* p : t->postset) ++marking[p->index];
  if (code && !isDummy(t)) (*code)[t->signal->index] ^= 1;
}

bool replayRun(const PetriNet& net, const std::vector<const Transition*>& run, TokenVector& marking) {
  marking = initialMarking(net);
  for (const Transition* t : run) {
    if (t->index >= net.transitions.size() || !isEnabled(net.transitions[t->index], marking)) return false;
    fire(net.transitions[t->index], marking);
  }
  return true;
}

namespace {

bool unsafe(const TokenVector& m) {
  return std::any_of(m.begin(), m.end(), [](uint32_t k) { return k > 1; });
}

std::string keyOf(const TokenVector& marking, const std::vector<uint8_t>& code, const StateSpace::Pending* pending) {
  std::string key(reinterpret_cast<const char*>(marking.data()), marking.size() * sizeof(uint32_t));
  key.append(code.begin(), code.end());
  if (pending)
    for (const auto& group : *pending) {
      key.push_back('|');
      key.append(reinterpret_cast<const char*>(group.data()), group.size() * sizeof(uint32_t));
    }
  return key;
}

// A dummy occurrence stops pending once a token of its postset is consumed.
void updatePending(const Transition* t, StateSpace::Pending& pending) {
  auto touched = [&](const std::vector<uint32_t>& group) {
    return std::any_of(t->preset.begin(), t->preset.end(), [&](const Place* p) {
      return std::find(group.begin(), group.end(), p->index) != group.end();
    });
  };
  pending.erase(std::remove_if(pending.begin(), pending.end(), touched), pending.end());
  if (!isDummy(t)) return;
  std::vector<uint32_t> group;
  for (const Place* p : t->postset) group.push_back(p->index);
  pending.push_back(group);
  std::sort(pending.begin(), pending.end());
}

}  // namespace

StateSpace exploreStateSpace(const PetriNet& net, const ExploreOptions& o) {
  StateSpace s;
  s.stg = o.stg;
  auto add = [&](TokenVector m, std::vector<uint8_t> code, StateSpace::Pending pending, uint32_t parent,
                 const Transition* via, std::string key) {
    uint32_t state = s.size();
    s.index.emplace(std::move(key), state);
    if (unsafe(m) && s.safe) {
      s.safe = false;
      s.firstUnsafe = state;
    }
    s.markings.push_back(std::move(m));
    if (o.stg) s.codes.push_back(std::move(code));
    if (o.pendingDummies) s.pending.push_back(std::move(pending));
    s.successors.emplace_back();
    s.parent.push_back(parent);
    s.via.push_back(via);
    return state;
  };
  TokenVector start = o.start ? *o.start : initialMarking(net);
  std::vector<uint8_t> startCode = o.stg ? initialCode(*o.stg) : std::vector<uint8_t>{};
  std::string startKey = keyOf(start, startCode, nullptr);
  add(start, startCode, {}, StateSpace::NoState, nullptr, startKey);
  if (!s.safe && o.stopWhenUnsafe) return s;
  for (uint32_t state = 0; state < s.size(); ++state) {
    for (const Transition* t : net.transitions) {
      if ((o.fires && !(*o.fires)[t->index]) || !isEnabled(t, s.markings[state])) continue;
      TokenVector next = s.markings[state];
      std::vector<uint8_t> code = o.stg ? s.codes[state] : std::vector<uint8_t>{};
      fire(t, next, o.stg ? &code : nullptr);
      StateSpace::Pending pending;
      if (o.pendingDummies) updatePending(t, pending = s.pending[state]);
      std::string key = keyOf(next, code, o.pendingDummies ? &pending : nullptr);
      auto found = s.index.find(key);
      uint32_t target = found == s.index.end() ? StateSpace::NoState : found->second;
      bool stop = o.stopWhenUnsafe && unsafe(next);
      if (target == StateSpace::NoState && !stop && s.size() >= o.stateLimit) {
        s.complete = false;
        return s;
      }
      if (target == StateSpace::NoState)
        target = add(std::move(next), std::move(code), std::move(pending), state, t, std::move(key));
      s.successors[state].push_back({t, target});
      if (stop) return s;
    }
  }
  return s;
}

std::vector<bool> enabledThroughDummies(const PetriNet& net, bool stg, const TokenVector& marking,
                                        const std::vector<bool>* occurring) {
  std::vector<bool> fires(net.transitions.size(), false), enabled(net.transitions.size(), false);
  for (const Transition* t : net.transitions) fires[t->index] = !occurring || (*occurring)[t->index];
  std::vector<bool> dummies = fires;
  for (const Transition* t : net.transitions) dummies[t->index] = dummies[t->index] && stg && isDummy(t);
  for (const TokenVector& m : exploreStateSpace(net, {.fires = &dummies, .start = &marking}).markings)
    for (const Transition* t : net.transitions)
      if (fires[t->index] && isEnabled(t, m)) enabled[t->index] = true;
  return enabled;
}

std::string signalFailure(StateSpace& space, const std::vector<uint8_t>& known, std::vector<uint8_t>& init) {
  const Stg& stg = *space.stg;
  if (!space.safe) {
    uint32_t state = space.firstUnsafe;
    if (state == 0)
      for (const Place* p : stg.places)
        if (p->tokens > 1) return "unsafe: place " + p->name + " starts with several tokens";
    const Transition* t = space.via[state];
    for (const Place* p : t->postset)
      if (space.markings[state][p->index] > 1)
        return "unsafe: place " + p->name + " gets a second token by " + space.runText(space.parent[state], t);
  }
  std::vector<int> firstSign(stg.signals.size(), -1);
  for (const auto& edges : space.successors)
    for (auto [t, j] : edges)
      if (!isDummy(t) && firstSign[t->signal->index] < 0 && t->sign != SignNone) firstSign[t->signal->index] = t->sign;
  init.clear();
  space.offset.clear();
  for (const Signal* s : stg.signals) {
    uint8_t v = known[s->index] <= 1 ? known[s->index] : firstSign[s->index] == SignMinus;
    init.push_back(v);
    space.offset.push_back(static_cast<uint8_t>(v ^ (s->kind != SignalDummy && s->initialValue == 1)));
  }
  for (uint32_t i = 0; i < space.size(); ++i)
    for (auto [t, j] : space.successors[i]) {
      if (isDummy(t) || t->sign == SignNone || space.value(i, t->signal) != (t->sign == SignPlus ? 1 : 0)) continue;
      return "inconsistent: " + t->name + " fires with " + t->signal->name + "=" +
             std::to_string(space.value(i, t->signal)) + " by " + space.runText(i, t);
    }
  return "";
}

uint32_t StateSpace::find(const TokenVector& marking, const std::vector<uint8_t>& code) const {
  auto it = index.find(keyOf(marking, code, nullptr));
  return it == index.end() ? NoState : it->second;
}

std::vector<const Transition*> StateSpace::runTo(uint32_t state) const {
  std::vector<const Transition*> run;
  for (uint32_t s = state; parent[s] != NoState; s = parent[s]) run.push_back(via[s]);
  std::reverse(run.begin(), run.end());
  return run;
}

std::string StateSpace::runText(uint32_t state, const Transition* last) const {
  std::string text;
  for (const Transition* t : runTo(state)) text += (text.empty() ? "" : " ") + t->name;
  if (last) text += (text.empty() ? "" : " ") + last->name;
  return text.empty() ? "(empty run)" : text;
}

std::vector<uint32_t> StateSpace::closure(std::vector<uint32_t> from,
                                          const std::function<bool(const Transition*)>& follow) const {
  std::set<uint32_t> seen(from.begin(), from.end());
  for (size_t k = 0; k < from.size(); ++k)
    for (auto [t, j] : successors[from[k]])
      if (follow(t) && seen.insert(j).second) from.push_back(j);
  return std::vector<uint32_t>(seen.begin(), seen.end());
}

std::set<PlaceSet> StateSpace::placeSets() const {
  std::set<PlaceSet> out;
  for (const TokenVector& m : markings) out.insert(placesOf(m));
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
