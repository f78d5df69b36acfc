// Bit rows of the concurrency relation and their update for a new event.
#include "unfold/concurrency_relation.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "platform/memory.h"

namespace nurex {

ConcurrencyRelation::ConcurrencyRelation(const NodeList<Condition>& conditions, const NodeList<Event>& events,
                                         uint32_t limit)
    : conditions_(conditions), events_(events), limit_(limit) {}

ConcurrencyRelation::~ConcurrencyRelation() {
  for (Row& row : rows_) std::free(row.words);
  std::free(initialRow_.words);
}

// Rows are padded by one word, so that a walk over whole words may run one past the end.
ConcurrencyRelation::Row ConcurrencyRelation::allocate(uint32_t bits) {
  Row row;
  size_t words = (bits + 31) / 32 + 1;
  row.words = static_cast<uint32_t*>(checkedMalloc(words * sizeof(uint32_t)));
  std::memset(row.words, 0, words * sizeof(uint32_t));
  row.bits = bits;
  return row;
}

void ConcurrencyRelation::setInitialRow(uint32_t initialConditions) {
  std::free(initialRow_.words);
  initialRow_ = allocate(initialConditions);
}

void ConcurrencyRelation::growRows(uint32_t eventCount) {
  if (rows_.size() < eventCount) rows_.resize(eventCount);
}

bool ConcurrencyRelation::concurrent(const Condition* x, const Condition* y) const {
  if (x == y) return false;
  if (x->producer == y->producer) return true;
  const Row& rx = rowOf(x->producer);
  const Row& ry = rowOf(y->producer);
  return rx.bits >= ry.bits ? test(rx, y->index) : test(ry, x->index);
}

// The conditions older than the batch (numbered below `older`) that are concurrent with
// every preset condition of e. Below the shortest row of a producer this is an AND of
// whole words of the producers' rows (each widened by the siblings of its condition);
// above it each bit is asked of the relation, whose rows there are complete.
void ConcurrencyRelation::intersectOlder(Row& row, const Event* e, uint32_t older) const {
  uint32_t shortest = older;
  for (const Condition* b : e->preset) shortest = std::min(shortest, rowOf(b->producer).bits);
  uint32_t words = (shortest + 31) / 32;
  std::vector<uint32_t> kept;
  bool first = true;
  for (const Condition* b : e->preset) {
    const Row& source = rowOf(b->producer);
    const PtrArray<Condition>* siblings = nullptr;
    if (b->producer) siblings = &b->producer->postset;
    kept.clear();
    auto keepSibling = [&](const Condition* y) {
      if (y != b && y->index < shortest && (first || test(row, y->index))) kept.push_back(y->index);
    };
    if (siblings) {
      for (const Condition* y : *siblings) keepSibling(y);
    } else {
      for (uint32_t i = 0; i < initialRow_.bits; ++i) keepSibling(conditions_[i]);
    }
    if (first) std::memcpy(row.words, source.words, words * sizeof(uint32_t));
    else
      for (uint32_t w = 0; w < words; ++w) row.words[w] &= source.words[w];
    for (uint32_t y : kept) set(row, y);
    first = false;
  }
  if (shortest & 31) row.words[words - 1] &= (1u << (shortest & 31)) - 1;
  for (uint32_t i = shortest; i < older; ++i) {
    const Condition* x = conditions_[i];
    if (x->producer && eventIsCutOff(x->producer)) continue;
    bool all = true;
    for (const Condition* b : e->preset)
      if (!concurrent(x, b)) {
        all = false;
        break;
      }
    if (all) set(row, i);
  }
  for (const Condition* b : e->preset)
    if (b->index < older) clear(row, b->index);
}

// Two events of one batch have equal local configuration sizes, so neither causes the
// other; their postsets are concurrent iff the union of their presets is a co-set, that is
// iff the other event's preset lies in the row computed so far.
void ConcurrencyRelation::computeRow(const Event* e, uint32_t batchEventsBegin, uint32_t batchConditionsBegin) {
  Row row = allocate(conditions_.size());
  if (e->preset.empty()) {
    for (uint32_t i = 0; i < initialRow_.bits; ++i) set(row, i);
  } else {
    intersectOlder(row, e, batchConditionsBegin);
  }
  for (uint32_t k = batchEventsBegin; k < events_.size(); ++k) {
    const Event* g = events_[k];
    if (g == e || eventIsCutOff(g)) continue;
    bool inRow = true;
    for (const Condition* b : g->preset)
      if (!test(row, b->index)) {
        inRow = false;
        break;
      }
    if (inRow)
      for (const Condition* y : g->postset) set(row, y->index);
  }
  std::free(rows_[e->index].words);
  rows_[e->index] = row;
}

uint32_t ConcurrencyRelation::nodeCount() const {
  uint32_t n = 0;
  for (const Condition* c : conditions_) n += !c->producer || !eventIsCutOff(c->producer);
  return n;
}

uint64_t ConcurrencyRelation::edgeCount() const {
  auto below = [](const Row& row, uint32_t limit) {
    uint64_t n = 0;
    for (uint32_t w = 0; w < limit / 32; ++w) n += std::popcount(row.words[w]);
    if (limit & 31) n += std::popcount(row.words[limit / 32] & ((1u << (limit & 31)) - 1));
    return n;
  };
  uint64_t initial = initialRow_.bits;
  uint64_t edges = initial * (initial - (initial ? 1 : 0)) / 2;
  for (const Event* e : events_) {
    if (e->index >= rows_.size() || !rows_[e->index].words || e->postset.empty()) continue;
    uint64_t k = e->postset.size();
    edges += k * below(rows_[e->index], e->postset[0]->index) + k * (k - 1) / 2;
  }
  return edges;
}

}  // namespace nurex
