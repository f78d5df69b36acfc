// Internal state of one unfolder run that the workers read during a pass and the main
// thread changes between passes: the prefix built so far and the engine's side tables.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "model/prefix.h"
#include "unfold/concurrency_relation.h"
#include "unfold/unfolder.h"

namespace nurex {

// A possible extension: an event not yet in the prefix, with what its local configuration
// [e] tells about it.
struct Candidate {
  Transition* transition = nullptr;
  std::vector<Condition*> preset;  // sorted by index
  std::vector<Condition*> cut;     // final cut of [e] without e's own postset
  std::vector<uint32_t> marking;   // final marking of [e], place indices ascending
  uint64_t hash = 0;               // of `marking`
  uint32_t size = 0;               // |[e]|
  uint32_t depth = 0;              // causal depth of e (its Foata level), from 1
};

// How a batch event ends up: no cut-off, or a cut-off and its correspondent.
struct CutOffDecision {
  enum Kind : uint8_t { NotCutOff, Initial, Earlier, SameBatch, NonLocal } kind = NotCutOff;
  Event* earlier = nullptr;         // Earlier: an event of an earlier batch
  uint32_t position = 0;            // SameBatch: the position of the correspondent in the batch
  std::vector<Event*> maximal;      // NonLocal: the maximal events of the configuration found
};

// The three ways of finding the conditions concurrent with a new event's postset.
enum class CoMethod { Relation, Closure, Plain };

struct UnfoldState {
  UnfoldState(PetriNet& net, const UnfoldOptions& options) : net(net), options(options) {}

  PetriNet& net;
  const UnfoldOptions& options;
  std::vector<uint8_t> mayBeCutOff;  // per transition: false for dummies of an Stg unless allowed

  NodeList<Condition> conditions;
  NodeList<Event> events;
  std::vector<std::vector<Condition*>> placeConditions;  // per place, by index; no cut-off postsets
  std::vector<Condition*> initialConditions;

  // Side tables per event, by index.
  std::vector<uint32_t> eventDepth;  // causal depth, from 1
  std::vector<uint32_t> eventSize;   // |[e]|

  // The batch being extended: events [batchEventsBegin, events.size()), whose postset
  // conditions start at batchConditionsBegin.
  uint32_t batchEventsBegin = 0;
  uint32_t batchConditionsBegin = 0;
  std::vector<std::vector<Condition*>> batchCuts;  // cut of each batch event, by position
  std::vector<uint32_t> batchExtended;              // positions of the batch's non-cut-offs

  std::unique_ptr<ConcurrencyRelation> relation;

  CoMethod coMethod() const {
    if (relation) return CoMethod::Relation;
    return options.unoptimized_trees ? CoMethod::Plain : CoMethod::Closure;
  }
  uint32_t depthOf(const Condition* c) const { return c->producer ? eventDepth[c->producer->index] : 0; }
};

// "the net is not safe, place " + name + "; trace:\n" + trace.
std::string netNotSafe(const std::string& placeName, const std::string& trace);
// Names of the transitions of the given events by ascending index, then `extra` names.
std::string eventTrace(std::vector<Event*> events, const std::vector<Transition*>& extra = {});

}  // namespace nurex
