// Internal state of one unfolder run that the workers read during a pass and the main
// thread changes between passes: the prefix built so far and the engine's side tables.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "model/prefix.h"
#include "unfold/concurrency_relation.h"
#include "unfold/cut_map.h"
#include "unfold/unfolder.h"

namespace nurex {

// A possible extension: an event not yet in the prefix, with what its local configuration
// [e] tells about it. Its marking is the cut and the postset of its transition.
struct Candidate {
  Transition* transition = nullptr;
  uint64_t hash = 0;       // of the marking
  uint32_t owner = 0;      // tag of the cut nodes made for it (UnfoldState::newOwner)
  uint32_t size = 0;       // |[e]|
  uint32_t depth = 0;      // causal depth of e (its Foata level), from 1
  // The preset's condition numbers, ascending; then, once described, the cut's entry on each
  // postset place, which the new conditions continue (read while the cut is in cache).
  std::vector<uint32_t> data;
  CutMap cut;  // final cut of [e] without e's own postset, by place

  std::span<const uint32_t> preset() const { return {data.data(), transition->preset.size()}; }
  std::span<const uint32_t> postsetEntries() const { return std::span<const uint32_t>(data).subspan(transition->preset.size()); }
  uint32_t markingSize() const { return cut.size() + static_cast<uint32_t>(transition->postset.size()); }
  bool marks(uint32_t place) const {
    if (CutMap::marks(cut.get(place))) return true;
    for (const Place* p : transition->postset)
      if (p->index == place) return true;
    return false;
  }
  // The marked places: the cut's by ascending place, then the postset's.
  std::vector<uint32_t> markingPlaces() const {
    std::vector<uint32_t> places;
    cut.forEach([&](uint32_t p, uint32_t) { places.push_back(p); });
    for (const Place* p : transition->postset) places.push_back(p->index);
    return places;
  }
};

// How a batch event ends up: no cut-off, or a cut-off and its correspondent.
struct CutOffDecision {
  enum Kind : uint8_t { NotCutOff, Initial, Earlier, SameBatch, NonLocal } kind = NotCutOff;
  Event* earlier = nullptr;     // Earlier: an event of an earlier batch
  uint32_t position = 0;        // SameBatch: the position of the correspondent in the batch
  std::vector<Event*> maximal;  // NonLocal: the maximal events of the configuration found
};

// On a place, the conditions of one configuration of a safe net follow each other (two
// concurrent ones would mark it twice): each condition continues the chain of its place's
// conditions in the past of its producer.
struct ChainLink {
  uint32_t index;   // from 1 at the chain's first condition
  uint32_t parent;  // the condition before, or NoIndex
  uint32_t jump;    // an earlier condition of the chain, for look-ups in logarithmic steps
};

// The three ways of finding the conditions concurrent with a new event's postset.
enum class CoMethod { Relation, Closure, Plain };

struct UnfoldState {
  UnfoldState(PetriNet& net, const UnfoldOptions& options) : net(net), options(options) {}

  PetriNet& net;
  const UnfoldOptions& options;
  std::vector<uint8_t> mayBeCutOff;  // per transition: false for dummies of an Stg unless allowed

  NodeList<Condition> conditions;  // the initial conditions come first
  NodeList<Event> events;
  std::vector<std::vector<Condition*>> placeConditions;  // per place, by index; no cut-off postsets
  // Beside each list, the greatest depth of its first k+1 conditions at k: the scans by place
  // find where the conditions deeper than a given one can start by a binary search.
  std::vector<std::vector<uint32_t>> placeDepthMax;
  // Two configurations conflict only over a condition with a consumer in each, so a past in
  // which no event shares a preset condition with another event cannot conflict with any.
  std::vector<uint8_t> consumerCount;  // per condition: its non-cut-off consumers, counted up to 2
  std::vector<uint8_t> conflictFree;   // per event: no event of [e] consumes a condition counted 2
  // The non-cut-off consumers of a condition whose highest-numbered preset condition it is,
  // newest first, linked through the events: the co-set closure enters an event from that
  // condition alone (CoClosure::compute), so the many consumers that a cut-off-heavy prefix
  // hangs on old conditions are never read from them.
  std::vector<uint32_t> pivotFirst;  // per condition: such a consumer, or NoIndex
  std::vector<uint32_t> pivotNext;   // per event: the next one of its pivot, or NoIndex
  uint32_t initialCount = 0;
  PinnedCut initialCut;  // the initial conditions by place; every cut is derived from it

  // Compact copies of the structure for the walks over local configurations, by index.
  // An event's postset conditions are numbered consecutively.
  std::vector<uint32_t> eventDepth;        // causal depth, from 1
  std::vector<uint32_t> eventTransition;   // transition index
  std::vector<uint32_t> producerBegin{0};  // into `producers`, one entry more than events
  std::vector<uint32_t> producers;         // distinct producers of each event's preset
  std::vector<uint32_t> presetBegin{0};    // into `presetConditions`, one entry more than events
  std::vector<uint32_t> presetConditions;
  std::vector<uint32_t> postsetBegin;      // first postset condition, one entry more than events
  std::vector<uint32_t> conditionPlace;
  std::vector<uint32_t> conditionProducer;  // NoIndex for initial conditions

  // A configuration's cut, with each unmarked place holding the last condition consumed on
  // it, ends every place chain of the configuration. A condition weighs 1 when it is the
  // first postset condition of its producer, and the chain's weights add up in
  // conditionWeight: so the weights of a cut's entries add up to the number of events of
  // the configuration, when every transition has a postset (weightsCountEvents).
  std::vector<ChainLink> chain;
  std::vector<uint32_t> conditionWeight;
  bool weightsCountEvents = false;
  // Per event, once keepCuts is set: the candidate's cut (Candidate::cut) of non-cut-offs
  // whose cut is a tree, from which the cuts of later candidates are merged; else an empty
  // map. Kept only where walking what candidates add has shown to cost more than merging.
  bool keepCuts = false;
  std::vector<CutMap> eventCut;
  const CutMap* keptCut(uint32_t g) const {
    return g < eventCut.size() && !eventCut[g].isArray() ? &eventCut[g] : nullptr;
  }
  // Cut nodes carry the owner tag of the candidate that made them; once the candidate is an
  // event with a kept cut, ownerEvent maps the tag to it. Tags of the initial cut: InitialOwner.
  static constexpr uint32_t InitialOwner = CutMap::NoOwner - 1;
  mutable std::atomic<uint32_t> owners{0};
  std::vector<uint32_t> ownerEvent;
  uint32_t newOwner() const { return owners.fetch_add(1, std::memory_order_relaxed); }
  uint32_t eventOfOwner(uint32_t owner) const { return owner < ownerEvent.size() ? ownerEvent[owner] : NoIndex; }
  // Whether b lies on the chain that ends with c.
  bool chainHolds(uint32_t c, uint32_t b) const {
    uint32_t target = chain[b].index;
    if (chain[c].index < target) return false;
    while (chain[c].index > target) {
      uint32_t j = chain[c].jump;
      c = chain[j].index >= target ? j : chain[c].parent;
    }
    return c == b;
  }
  // Whether f lies in the past of g, f ≠ g, told by the chain of f's first postset condition
  // in the stored cut of g; false when g has none (conservative: callers only lose time).
  bool precedes(uint32_t f, uint32_t g) const {
    const CutMap* cut = keptCut(g);
    if (!cut || eventDepth[f] >= eventDepth[g] || postsetBegin[f] == postsetBegin[f + 1]) return false;
    uint32_t b = postsetBegin[f];
    uint32_t c = cut->get(conditionPlace[b]);
    return c != CutMap::None && chainHolds(c & ~CutMap::Consumed, b);
  }

  // The batch being extended: events [batchEventsBegin, events.size()), made from the
  // candidates of `batch` in that order; their postset conditions start at batchConditionsBegin.
  uint32_t batchEventsBegin = 0;
  uint32_t batchConditionsBegin = 0;
  const std::vector<Candidate*>* batch = nullptr;
  std::vector<uint32_t> batchExtended;  // positions of the batch's non-cut-offs

  std::unique_ptr<ConcurrencyRelation> relation;

  void addPlaceCondition(Condition* c) {
    uint32_t p = c->place->index;
    uint32_t depth = depthOf(c);
    if (!placeDepthMax[p].empty()) depth = std::max(depth, placeDepthMax[p].back());
    placeConditions[p].push_back(c);
    placeDepthMax[p].push_back(depth);
  }
  // The first position of the place's list from which a condition deeper than `depth` may
  // appear: all conditions before it are no deeper.
  uint32_t firstDeeper(uint32_t place, uint32_t depth) const {
    const std::vector<uint32_t>& max = placeDepthMax[place];
    return static_cast<uint32_t>(std::upper_bound(max.begin(), max.end(), depth) - max.begin());
  }

  CoMethod coMethod() const {
    if (relation) return CoMethod::Relation;
    return options.unoptimized_trees ? CoMethod::Plain : CoMethod::Closure;
  }
  uint32_t depthOf(const Condition* c) const { return c->producer ? eventDepth[c->producer->index] : 0; }
  uint32_t conditionDepth(uint32_t b) const {
    uint32_t g = conditionProducer[b];
    return g == NoIndex ? 0 : eventDepth[g];
  }
  std::span<const uint32_t> producersOf(uint32_t e) const {
    return {producers.data() + producerBegin[e], producerBegin[e + 1] - producerBegin[e]};
  }
  std::span<const uint32_t> presetOf(uint32_t e) const {
    return {presetConditions.data() + presetBegin[e], presetBegin[e + 1] - presetBegin[e]};
  }
};

// "the net is not safe, place " + name + "; trace:\n" + trace.
std::string netNotSafe(const std::string& placeName, const std::string& trace);
// Names of the transitions of the given events by ascending index, then `extra` names.
std::string eventTrace(std::vector<Event*> events, const std::vector<Transition*>& extra = {});
std::string eventTrace(const UnfoldState& state, std::vector<uint32_t> events, const std::vector<Transition*>& extra);

}  // namespace nurex
