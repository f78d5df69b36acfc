// Local configuration walks and the description of possible extensions.
#include "unfold/local_configuration.h"

namespace nurex {

// The collected events double as the stack: each is expanded once, in order.
void PastWalker::drain(const UnfoldState& state, size_t from) {
  for (size_t i = from; i < events_.size(); ++i)
    for (uint32_t p : state.producersOf(events_[i])) visit(p);
}

void PastWalker::walk(const UnfoldState& state, std::span<const uint32_t> conditions) {
  stamp_.next();
  events_.clear();
  for (uint32_t b : conditions) {
    const Event* p = state.conditions[b]->producer;
    if (p) visit(p->index);
  }
  drain(state, 0);
}

void PastWalker::walkFrom(const UnfoldState& state, uint32_t e) {
  stamp_.next();
  events_.clear();
  if (e != NoIndex) visit(e);
  drain(state, 0);
}

// A sum of one pseudo-random word per place (Zobrist hashing): the order of the places does
// not matter, so markings need no sorting.
uint64_t placeWord(uint32_t place) {
  uint64_t z = (place + 1) * 0x9E3779B97F4A7C15ull;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

uint64_t hashMarking(std::span<const uint32_t> marking) {
  uint64_t h = 0;
  for (uint32_t p : marking) h += placeWord(p);
  return h ^ (h >> 29);
}

void CandidateDescriber::setBase(const UnfoldState& state, uint32_t size, std::span<const uint32_t> cut,
                                 uint32_t rangeBegin, uint32_t rangeEnd) {
  baseSize_ = size;
  baseList_.assign(cut.begin(), cut.end());
  for (uint32_t b = rangeBegin; b < rangeEnd; ++b) baseList_.push_back(b);
  baseCut_.set(state, baseList_);
}

// The cut of ⌈e⌉ is the base's cut and the postsets of the added events, less what the
// added events consume; removing e's preset as well gives the part of Cut([e]) that exists
// before e, and adding e's postset gives Mark([e]).
Place* CandidateDescriber::describe(const UnfoldState& state, Candidate& candidate) {
  std::span<const uint32_t> preset = candidate.preset();
  added_.next();
  consumed_.next();
  addedList_.clear();
  uint32_t depth = 0;
  for (uint32_t b : preset) {
    depth = std::max(depth, state.depthOf(state.conditions[b]));
    addProducerOf(state, b);
  }
  candidate.depth = depth + 1;
  for (size_t i = 0; i < addedList_.size(); ++i)
    for (uint32_t b : state.presetOf(addedList_[i])) addProducerOf(state, b);
  candidate.size = baseSize_ + static_cast<uint32_t>(addedList_.size()) + 1;

  std::vector<uint32_t>& data = candidate.data;
  data.resize(candidate.presetSize);
  for (uint32_t b : baseList_)
    if (!consumed_.has(b)) data.push_back(b);
  for (uint32_t g : addedList_)
    for (uint32_t b = state.postsetBegin[g]; b < state.postsetBegin[g + 1]; ++b)
      if (!consumed_.has(b)) data.push_back(b);
  candidate.cutSize = static_cast<uint32_t>(data.size()) - candidate.presetSize;

  places_.next();
  for (uint32_t i = candidate.presetSize, end = static_cast<uint32_t>(data.size()); i < end; ++i) {
    uint32_t p = state.conditionPlace[data[i]];
    places_.mark(p);
    data.push_back(p);
  }
  for (Place* p : candidate.transition->postset) {
    if (!places_.insert(p->index)) {
      past_.walk(state, preset);
      return p;
    }
    data.push_back(p->index);
  }
  candidate.hash = hashMarking(candidate.marking());
  return nullptr;
}

}  // namespace nurex
