// Local configuration walks and the description of possible extensions.
#include "unfold/local_configuration.h"

namespace nurex {

void PastWalker::walk(Condition* const* conditions, uint32_t count) {
  stamp_.next();
  events_.clear();
  for (uint32_t i = 0; i < count; ++i)
    if (conditions[i]->producer) visit(conditions[i]->producer);
  drain();
}

void PastWalker::walkFrom(Event* e) {
  stamp_.next();
  events_.clear();
  if (e) visit(e);
  drain();
}

void PastWalker::drain() {
  while (!stack_.empty()) {
    Event* e = stack_.back();
    stack_.pop_back();
    for (Condition* b : e->preset)
      if (b->producer) visit(b->producer);
  }
}

uint64_t hashMarking(const std::vector<uint32_t>& marking) {
  // FNV-1a over the place numbers, then a final mix so that the low bits spread well.
  uint64_t h = 1469598103934665603ull;
  for (uint32_t p : marking) {
    h ^= p;
    h *= 1099511628211ull;
  }
  h ^= h >> 29;
  h *= 0xbf58476d1ce4e5b9ull;
  h ^= h >> 32;
  return h;
}

// The cut of ⌈e⌉ = [e] without e is the set of initial conditions and conditions produced
// in ⌈e⌉ that no event of ⌈e⌉ consumes; removing e's preset gives the part of Cut([e]) that
// exists before e, and adding e's postset gives Mark([e]).
Place* CandidateDescriber::describe(const UnfoldState& state, Candidate& candidate) {
  past_.walk(candidate.preset.data(), static_cast<uint32_t>(candidate.preset.size()));
  const std::vector<Event*>& past = past_.events();
  candidate.size = static_cast<uint32_t>(past.size()) + 1;
  uint32_t depth = 0;
  for (Condition* b : candidate.preset) depth = std::max(depth, state.depthOf(b));
  candidate.depth = depth + 1;

  consumed_.next();
  for (Event* g : past)
    for (Condition* b : g->preset) consumed_.mark(b->index);
  for (Condition* b : candidate.preset) consumed_.mark(b->index);

  candidate.cut.clear();
  for (Condition* b : state.initialConditions)
    if (!consumed_.has(b->index)) candidate.cut.push_back(b);
  for (Event* g : past)
    for (Condition* b : g->postset)
      if (!consumed_.has(b->index)) candidate.cut.push_back(b);

  places_.next();
  candidate.marking.clear();
  for (Condition* b : candidate.cut) {
    places_.mark(b->place->index);
    candidate.marking.push_back(b->place->index);
  }
  for (Place* p : candidate.transition->postset) {
    if (!places_.insert(p->index)) return p;
    candidate.marking.push_back(p->index);
  }
  std::sort(candidate.marking.begin(), candidate.marking.end());
  candidate.hash = hashMarking(candidate.marking);
  return nullptr;
}

}  // namespace nurex
