// Inference of event signs and initial signal values of an STG prefix, and the records of
// the phases in which a signal is 1.
#include <algorithm>
#include <unordered_set>

#include "model/checks.h"
#include "platform/reporter.h"

namespace nurex {

std::string localConfigurationTrace(Event* e) {
  std::string text;
  for (Event* x : localConfiguration(e)) text += (text.empty() ? "" : ", ") + x->transition->name;
  return text;
}

namespace {

void reportInconsistency(const Signal* s, Event* e) {
  reportError("the STG is inconsistent, signal " + s->name + "; trace:\n" + localConfigurationTrace(e));
}

constexpr uint32_t NoSignal = 0xFFFFFFFFu;
constexpr uint32_t NoEvent = 0xFFFFFFFFu;

// The signal whose occurrences decide the event's sign, or NoSignal for dummies.
uint32_t countedSignal(const Event* e) {
  const Signal* s = e->transition->signal;
  return s && s->kind != SignalDummy ? s->index : NoSignal;
}

// The prefix as flat arrays of event numbers: the walks below visit events far apart in
// memory, and chasing condition and event pointers there would cost a cache miss per step.
struct FlatPrefix {
  std::vector<Transition*> transition;               // per event
  std::vector<uint32_t> signal;                      // per event: countedSignal
  std::vector<uint32_t> producerBegin, producers;    // per event: distinct producers
  std::vector<uint32_t> successorBegin, successors;  // per event: consumers, postset by postset
  bool producersFirst = true;                        // every producer numbered below its consumers

  explicit FlatPrefix(const StgPrefix& prefix) {
    uint32_t n = prefix.events.size();
    transition.reserve(n);
    signal.reserve(n);
    producerBegin.reserve(n + 1);
    successorBegin.reserve(n + 1);
    producerBegin.push_back(0);
    successorBegin.push_back(0);
    for (Event* e : prefix.events) {
      transition.push_back(e->transition);
      signal.push_back(countedSignal(e));
      for (Condition* c : e->preset) {
        if (!c->producer) continue;
        uint32_t p = c->producer->index;
        if (p >= e->index) producersFirst = false;
        if (std::find(producers.begin() + producerBegin.back(), producers.end(), p) == producers.end())
          producers.push_back(p);
      }
      producerBegin.push_back(static_cast<uint32_t>(producers.size()));
      for (Condition* c : e->postset)
        for (Event* consumer : c->postset) successors.push_back(consumer->index);
      successorBegin.push_back(static_cast<uint32_t>(successors.size()));
    }
  }
  uint32_t size() const { return static_cast<uint32_t>(transition.size()); }
};

// The walk visits every event once, each time with a configuration C that holds the local
// configuration of the visited event. It follows postsets so that C can grow along chains
// instead of being rebuilt for every event. Its order of visits decides the order of the
// messages, so it is kept even when the counts come from elsewhere (trackConfigurations
// false), and then C is not built.
class InferenceWalk {
 public:
  InferenceWalk(const FlatPrefix& flat, uint32_t signalCount, bool trackConfigurations)
      : flat_(flat), track_(trackConfigurations), visited_(flat.size(), false) {
    if (!track_) return;
    inC_.assign(flat.size(), 0);
    count_.assign(signalCount, 0);
    countStamp_.assign(signalCount, 0);
  }

  // The next event to visit, or NoEvent at the end.
  uint32_t advance() {
    uint32_t next = NoEvent;
    if (current_ != NoEvent)
      for (uint32_t k = flat_.successorBegin[current_]; k < flat_.successorBegin[current_ + 1]; ++k)
        if (!visited_[flat_.successors[k]]) {
          next = flat_.successors[k];
          break;
        }
    if (next == NoEvent) {
      while (cursor_ < visited_.size() && visited_[cursor_]) ++cursor_;
      if (cursor_ == visited_.size()) return NoEvent;
      next = cursor_;
      ++generation_;  // clears C and the counters
    }
    current_ = next;
    if (track_) addLocalConfiguration(current_);
    visited_[current_] = true;
    return current_;
  }

  // Occurrences in C of the transitions of s (only with trackConfigurations).
  uint32_t occurrences(const Signal* s) const { return countStamp_[s->index] == generation_ ? count_[s->index] : 0; }

 private:
  void addLocalConfiguration(uint32_t e) {
    auto add = [&](uint32_t x) {
      if (inC_[x] == generation_) return;
      inC_[x] = generation_;
      stack_.push_back(x);
      uint32_t s = flat_.signal[x];
      if (s == NoSignal) return;
      if (countStamp_[s] != generation_) {
        countStamp_[s] = generation_;
        count_[s] = 0;
      }
      ++count_[s];
    };
    add(e);
    while (!stack_.empty()) {
      uint32_t x = stack_.back();
      stack_.pop_back();
      for (uint32_t k = flat_.producerBegin[x]; k < flat_.producerBegin[x + 1]; ++k) add(flat_.producers[k]);
    }
  }

  const FlatPrefix& flat_;
  bool track_;
  std::vector<bool> visited_;
  std::vector<uint32_t> inC_;  // generation in which the event joined C
  std::vector<uint32_t> count_, countStamp_;
  uint32_t generation_ = 1;
  uint32_t cursor_ = 0;
  uint32_t current_ = NoEvent;
  std::vector<uint32_t> stack_;
};

// The number of events of its own signal in the local configuration [e] of every signal
// event e, without walking [e]. If the events of signal s in [e] form a chain, the count is
// one more than that of the last s-event below e, so it suffices to know, for every event x
// and signal s, the last s-event of [x]. These "last event" maps are persistent tries over
// signal numbers, shared between events: the map of an event is the pointwise latest of its
// producers' maps, with its own signal set to itself, so it costs about what differs between
// its producers. If the s-events below some s-event are not a chain (autoconcurrency or
// inconsistency), or the maps grow costly, the counts are declined and the caller walks.
class ChainCounts {
 public:
  ChainCounts(const FlatPrefix& flat, uint32_t signalCount) : flat_(flat) {
    while ((uint64_t(1) << (Bits * levels_)) < signalCount) ++levels_;
  }

  // Fills count (by event; 0 for events of dummies) and returns true, or returns false.
  bool compute(std::vector<uint32_t>& count) {
    // Producers must come before their consumers, which the unfolder's and the writers'
    // numbering gives; files numbered otherwise are left to the walk.
    if (!flat_.producersFirst) return false;
    uint32_t n = flat_.size();
    state_.assign(n, {});
    for (uint32_t x = 0; x < n; ++x) state_[x].signal = flat_.signal[x];
    for (uint32_t p : flat_.producers) ++state_[p].pending;
    // Past these bounds, linear in the prefix, the maps would cost more memory or time than
    // the walk; a pipeline of stages needs a few nodes and some tens of steps per event.
    uint64_t size = uint64_t(n) + flat_.producers.size();
    nodeLimit_ = std::max<uint64_t>(uint64_t(1) << 16, 8 * size);
    stepLimit_ = std::max<uint64_t>(uint64_t(1) << 20, 64 * (levels_ + 1) * size);
    for (uint32_t x = 0; x < n; ++x) {
      const uint32_t* first = flat_.producers.data() + flat_.producerBegin[x];
      const uint32_t* last = flat_.producers.data() + flat_.producerBegin[x + 1];
      current_ = x;
      // The producers' maps merged one by one, the event's own signal set by the last merge.
      uint32_t own = state_[x].signal, map = None;
      if (first == last && own != NoSignal) map = mergeMaps(None, None, own);
      for (const uint32_t* p = first; p != last; ++p) {
        uint32_t ownHere = p + 1 == last ? own : NoSignal;
        uint32_t root = state_[*p].root;
        uint32_t m = p == first && ownHere == NoSignal ? retain(root, levels_)
                                                       : mergeMaps(p == first ? root : map, root, ownHere);
        release(map, levels_);
        map = m;
      }
      if (own != NoSignal) {
        if (replaced_ == Failed) {
          release(map, levels_);
          return abandon();
        }
        link(x, replaced_);
      }
      state_[x].root = map;
      // A map serves the consumers of its event only.
      for (const uint32_t* p = first; p != last; ++p)
        if (--state_[*p].pending == 0) drop(*p);
      if (state_[x].pending == 0) drop(x);
      if (live_ > nodeLimit_ || steps_ > stepLimit_) return abandon();
    }
    count.resize(n);
    for (uint32_t x = 0; x < n; ++x) count[x] = state_[x].count;
    return true;
  }

 private:
  static constexpr uint32_t Bits = 2, Fanout = 1u << Bits;  // of a key per level of a trie
  static constexpr uint32_t None = 0xFFFFFFFFu;    // no event, or a subtree without events
  static constexpr uint32_t Failed = 0xFFFFFFFEu;  // the last events are not one event

  // A node of a trie: below level 1 the children are entries (event numbers, None, Failed).
  // The owner is the event whose map the node was made for; the node then holds that
  // map's entries of its range, which the merge uses to take subtrees whole.
  struct Node {
    uint32_t child[Fanout];
    uint32_t owner;
    uint32_t refs;
  };

  bool abandon() {
    nodes_.clear();
    free_.clear();
    return false;
  }

  void drop(uint32_t e) {
    release(state_[e].root, levels_);
    state_[e].root = None;
  }

  uint32_t cnt(uint32_t e) const { return state_[e].count; }

  // Records e's place in the chain of its signal; jump pointers give the ancestor at any
  // depth in logarithmic time (Myers' skew-binary scheme).
  void link(uint32_t e, uint32_t last) {
    if (last == None) {
      state_[e].count = 1;
      state_[e].jump = e;
      return;
    }
    uint32_t j = state_[last].jump, jj = state_[j].jump;
    state_[e].count = cnt(last) + 1;
    state_[e].previous = last;
    state_[e].jump = cnt(last) - cnt(j) == cnt(j) - cnt(jj) ? jj : last;
  }
  uint32_t ancestorAt(uint32_t e, uint32_t depth) const {
    while (cnt(e) > depth) e = cnt(state_[e].jump) >= depth ? state_[e].jump : state_[e].previous;
    return e;
  }
  // Whether signal event a lies in the chain below b, both of one signal.
  bool inChain(uint32_t a, uint32_t b) const { return cnt(b) >= cnt(a) && ancestorAt(b, cnt(a)) == a; }

  // Whether the signal event y lies in the configuration of a map, given one of its nodes,
  // at `level` over the keys from `base`, and its root. False also means "cannot tell".
  bool contains(uint32_t root, uint32_t node, uint32_t level, uint32_t base, uint32_t y) const {
    uint32_t s = state_[y].signal;
    if (s == NoSignal) return false;
    // A node is made for its owner along the path to the owner's own signal, so that path
    // is usually within reach below the node.
    uint32_t last = within(s, level, base) ? descend(node, level, s) : get(root, s);
    return last < Failed && inChain(y, last);
  }

  uint32_t get(uint32_t root, uint32_t key) const { return descend(root, levels_, key); }
  uint32_t descend(uint32_t ref, uint32_t level, uint32_t key) const {
    for (; level > 0 && ref != None; --level) ref = nodes_[ref].child[digit(key, level)];
    return ref;
  }

  uint32_t newNode(const uint32_t (&children)[Fanout], uint32_t owner) {
    uint32_t i;
    if (!free_.empty()) {
      i = free_.back();
      free_.pop_back();
    } else {
      i = static_cast<uint32_t>(nodes_.size());
      nodes_.emplace_back();
    }
    Node& node = nodes_[i];
    std::copy(std::begin(children), std::end(children), node.child);
    node.owner = owner;
    node.refs = 1;
    ++live_;
    return i;
  }
  uint32_t retain(uint32_t ref, uint32_t level) {
    if (level > 0 && ref != None) ++nodes_[ref].refs;
    return ref;
  }
  void release(uint32_t ref, uint32_t level) {
    if (level == 0 || ref == None || --nodes_[ref].refs > 0) return;
    for (uint32_t child : nodes_[ref].child) release(child, level - 1);
    free_.push_back(ref);
    --live_;
  }

  // Of two entries, the later if one lies below the other; Failed otherwise.
  uint32_t later(uint32_t a, uint32_t b) const {
    if (a == b || b == None) return a;
    if (a == None) return b;
    if (a == Failed || b == Failed || cnt(a) == cnt(b)) return Failed;
    if (cnt(a) < cnt(b)) std::swap(a, b);
    return inChain(b, a) ? a : Failed;
  }

  // The pointwise later of the maps a and b, as a new reference, with the entry of `own`
  // (unless NoSignal) set to current_ and the later of the two it replaces kept in replaced_.
  uint32_t mergeMaps(uint32_t a, uint32_t b, uint32_t own) {
    rootA_ = a;
    rootB_ = b;
    own_ = own;
    replaced_ = None;
    return merge(a, b, levels_, 0);
  }
  static uint32_t digit(uint32_t key, uint32_t level) { return (key >> (Bits * (level - 1))) & (Fanout - 1); }
  // Whether the key lies in the range of a node at `level` over the keys from `base`.
  static bool within(uint32_t key, uint32_t level, uint32_t base) {
    return uint64_t(key) >> (Bits * level) == uint64_t(base) >> (Bits * level);
  }
  uint32_t child(uint32_t ref, uint32_t i) const { return ref == None ? None : nodes_[ref].child[i]; }
  // a and b are nodes at `level` over the keys from `base`; the nodes of a that belong to the
  // map being made are owned by current_. A node of b owned by an event of A's configuration
  // holds nothing later than a, and conversely.
  uint32_t merge(uint32_t a, uint32_t b, uint32_t level, uint32_t base) {
    ++steps_;
    bool onPath = own_ != NoSignal && within(own_, level, base);
    if (level == 0) {
      if (!onPath) return later(a, b);
      replaced_ = later(a, b);
      return current_;
    }
    if (!onPath) {
      if (a == b || b == None) return retain(a, level);
      if (a == None) return retain(b, level);
      uint32_t ownerA = nodes_[a].owner, ownerB = nodes_[b].owner;
      // The older owner is the likelier to lie below the other side.
      bool testB = ownerA == current_ || ownerB < ownerA;
      if (testB && contains(rootA_, a, level, base, ownerB)) return retain(a, level);
      if (ownerA != current_ && contains(rootB_, b, level, base, ownerA)) return retain(b, level);
      if (!testB && contains(rootA_, a, level, base, ownerB)) return retain(a, level);
    }
    uint32_t children[Fanout];
    uint32_t span = uint32_t(1) << (Bits * (level - 1));
    for (uint32_t i = 0; i < Fanout; ++i) children[i] = merge(child(a, i), child(b, i), level - 1, base + i * span);
    if (!onPath)
      for (uint32_t side : {a, b})
        if (std::equal(std::begin(children), std::end(children), nodes_[side].child)) {
          // Keeping the node keeps its owner, which later merges can still use.
          for (uint32_t c : children) release(c, level - 1);
          return retain(side, level);
        }
    return newNode(children, current_);
  }

  const FlatPrefix& flat_;
  uint32_t levels_ = 0;
  // What the merges read of an event, in one place since they read it at random.
  struct EventState {
    uint32_t signal = NoSignal;
    uint32_t root = None;  // its map while consumers still need it
    uint32_t pending = 0;  // consumers not yet processed
    // Of a signal event: the count, the last event of its signal below it, a jump pointer.
    uint32_t count = 0, previous = None, jump = None;
  };
  std::vector<EventState> state_;
  std::vector<Node> nodes_;
  std::vector<uint32_t> free_;
  uint64_t live_ = 0, nodeLimit_ = 0, steps_ = 0, stepLimit_ = 0;
  // The merge in progress: the roots of its two sides, and the event whose map it makes.
  uint32_t rootA_ = None, rootB_ = None, current_ = None, own_ = NoSignal, replaced_ = None;
};

}  // namespace

bool signalCountsWithoutWalk(const StgPrefix& prefix, std::vector<uint32_t>& count) {
  return ChainCounts(FlatPrefix(prefix), prefix.signals.size()).compute(count);
}

namespace {

bool infer(StgPrefix& prefix, bool tryChains) {
  for (uint32_t i = prefix.dummiesBegin; i < prefix.signals.size(); ++i) {
    Signal* s = prefix.signals[i];
    if (s->initialValue != ValueUnknown) {
      reportWarning("dummy signal " + s->name + " has an initial value distinct from '?'");
      s->initialValue = ValueUnknown;
    }
  }
  // Events whose sign rests on an assumed initial value, per signal; flipped together if the
  // assumption turns out wrong.
  std::vector<std::vector<uint32_t>> assumptions(prefix.signals.size());
  std::vector<bool> assumed(prefix.signals.size(), false);

  FlatPrefix flat(prefix);
  std::vector<uint32_t> counts;
  bool counted = tryChains && ChainCounts(flat, prefix.signals.size()).compute(counts);
  InferenceWalk walk(flat, prefix.signals.size(), !counted);
  // Signs go to the events at the end, in the order of the list rather than of the walk.
  constexpr uint8_t Unset = 0xFF;
  std::vector<uint8_t> sign(flat.size(), Unset);
  auto finish = [&](bool ok) {
    for (uint32_t x = 0; x < flat.size(); ++x)
      if (sign[x] != Unset) prefix.events[x]->sign = sign[x];
    return ok;
  };
  auto flip = [](uint8_t& d) { d = d == SignPlus ? SignMinus : SignPlus; };
  for (uint32_t x; (x = walk.advance()) != NoEvent;) {
    Transition* t = flat.transition[x];
    Signal* s = t->signal;
    if (!s || s->kind == SignalDummy) {
      if (t->sign != SignNone) {
        reportWarning("dummy transition " + t->name + " cannot have sign");
        t->sign = SignNone;
      }
      continue;
    }
    uint32_t p = (counted ? counts[x] : walk.occurrences(s)) & 1;
    uint32_t d = t->sign;
    bool vKnown = s->initialValue != ValueUnknown;
    if (!vKnown && d == SignNone) {
      sign[x] = p == 1 ? SignPlus : SignMinus;
      assumptions[s->index].push_back(x);
      assumed[s->index] = true;
      s->initialValue = 0;
    } else if (!vKnown) {
      sign[x] = d;
      s->initialValue = static_cast<uint8_t>(d == SignMinus ? p : 1 - p);
    } else if (d == SignNone) {
      sign[x] = s->initialValue != p ? SignPlus : SignMinus;
      // A sign derived from an assumed value must flip with the assumption.
      if (assumed[s->index]) assumptions[s->index].push_back(x);
    } else {
      sign[x] = d;
      uint32_t after = s->initialValue ^ p;
      if (after == (d == SignPlus ? 1u : 0u)) continue;
      if (!assumed[s->index]) {
        reportInconsistency(s, prefix.events[x]);
        return finish(false);
      }
      s->initialValue ^= 1;
      for (uint32_t y : assumptions[s->index]) flip(sign[y]);
      assumptions[s->index].clear();
      assumed[s->index] = false;
    }
  }
  for (Signal* s : prefix.signals)
    if (s->kind != SignalDummy && assumed[s->index]) reportWarning("signal " + s->name + " is assigned initial value 0");
  for (Signal* s : prefix.signals)
    if (s->kind != SignalDummy && s->initialValue == ValueUnknown) {
      s->initialValue = 0;
      reportWarning("signal " + s->name + " is dead");
      reportWarning("signal " + s->name + " is assigned initial value 0");
    }
  return finish(true);
}

}  // namespace

bool inferSignalValues(StgPrefix& prefix) { return infer(prefix, true); }
bool inferSignalValuesByWalk(StgPrefix& prefix) { return infer(prefix, false); }

// The phase records in one pass over the events in prefix order (producers come first):
// for every event x, the last event of the signal in [x] and the number of the signal's
// events in [x]. In a consistent STG the signal's events in a configuration form a chain,
// so the last one below a falling event is the latest, by count, of its producers' last
// ones; two different ones with the same count are concurrent, which only an inconsistent
// STG allows. Linear in the prefix, where walking the past of every falling event was not.
bool buildSignalPhaseRecords(const StgPrefix& prefix, const Signal* signal, std::vector<SignalPhaseRecord>& records) {
  records.clear();
  if (signal->kind == SignalDummy) return true;
  std::vector<int64_t> recordOfHead(prefix.events.size(), -1);
  int64_t noHead = -1;
  if (signal->initialValue == 1) {
    noHead = 0;
    records.emplace_back();
  }
  for (Event* e : prefix.events)
    if (e->transition->signal == signal && !eventIsCutOff(e) && e->sign == SignPlus) {
      recordOfHead[e->index] = static_cast<int64_t>(records.size());
      records.push_back({e, {}});
    }
  std::vector<Event*> last(prefix.events.size(), nullptr);
  std::vector<uint32_t> count(prefix.events.size(), 0);
  for (Event* e : prefix.events) {
    Event* below = nullptr;
    uint32_t belowCount = 0;
    bool concurrent = false;
    for (const Condition* c : e->preset) {
      const Event* p = c->producer;
      if (!p || !last[p->index]) continue;
      Event* candidate = last[p->index];
      uint32_t n = count[p->index];
      if (n > belowCount) {
        below = candidate;
        belowCount = n;
        concurrent = false;
      } else if (n == belowCount && candidate != below) {
        concurrent = true;
      }
    }
    bool own = e->transition->signal == signal;
    last[e->index] = own ? e : below;
    count[e->index] = belowCount + (own ? 1 : 0);
    if (!own || eventIsCutOff(e) || e->sign != SignMinus) continue;
    int64_t record = below ? recordOfHead[below->index] : noHead;
    if (record < 0 || concurrent) {
      reportInconsistency(signal, e);
      return false;
    }
    records[record].followers.push_back(e);
  }
  return true;
}

}  // namespace nurex
