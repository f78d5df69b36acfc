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

// Below the shortest row of a producer of e's preset, a condition is concurrent with e's
// postset iff it is with every preset condition: the AND of the producers' rows, each
// widened by the siblings of its condition, without the preset. Returns that bound.
uint32_t ConcurrencyRelation::intersectProducerRows(Row& row, const Event* e) const {
  if (e->preset.empty()) return 0;
  uint32_t shortest = row.bits;
  for (const Condition* b : e->preset) shortest = std::min(shortest, rowOf(b->producer).bits);
  uint32_t words = (shortest + 31) / 32;
  std::vector<uint32_t> kept;
  bool first = true;
  for (const Condition* b : e->preset) {
    const Row& source = rowOf(b->producer);
    kept.clear();
    auto keepSibling = [&](const Condition* y) {
      if (y != b && y->index < shortest && (first || test(row, y->index))) kept.push_back(y->index);
    };
    if (b->producer) {
      for (const Condition* y : b->producer->postset) keepSibling(y);
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
  for (const Condition* b : e->preset)
    if (b->index < shortest) clear(row, b->index);
  return shortest;
}

// Above the bound, the row is the forward closure of what is known: a condition there is
// in Cut([e]) or is produced by an event whose whole preset is concurrent with e's
// postset (pairwise concurrent conditions form a co-set). Only events with a postset
// condition above the bound matter; a consumer list is sorted by event number, so they
// are its tail.
void ConcurrencyRelation::closeAbove(Row& row, const Event* e, std::span<const uint32_t> cut, uint32_t shortest,
                                     RowScratch& scratch) const {
  scratch.counted.ensure(events_.size());
  if (scratch.counts.size() < events_.size()) scratch.counts.resize(events_.size() + events_.size() / 8 + 16);
  scratch.counted.next();
  scratch.work.clear();
  auto add = [&](const Condition* y) {
    if (!test(row, y->index)) {
      set(row, y->index);
      scratch.work.push_back(y);
    }
  };
  auto countConsumers = [&](const Condition* x) {
    for (auto it = x->postset.end(); it != x->postset.begin();) {
      const Event* g = *--it;
      if (g->postset.empty()) continue;
      if (g->postset.back()->index < shortest) break;
      if (g == e || eventIsCutOff(g)) continue;
      if (scratch.counted.insert(g->index)) scratch.counts[g->index] = 0;
      if (++scratch.counts[g->index] == g->preset.size())
        for (const Condition* y : g->postset) add(y);
    }
  };
  // The members below the bound; the last word may also hold bits set above it meanwhile.
  for (uint32_t w = 0; w < (shortest + 31) / 32; ++w) {
    uint32_t bits = row.words[w];
    if (w == shortest / 32) bits &= (1u << (shortest & 31)) - 1;
    for (; bits; bits &= bits - 1) countConsumers(conditions_[w * 32 + __builtin_ctz(bits)]);
  }
  for (uint32_t c : cut)
    if (c >= shortest) add(conditions_[c]);
  for (size_t i = 0; i < scratch.work.size(); ++i) countConsumers(scratch.work[i]);
}

void ConcurrencyRelation::computeRow(const Event* e, std::span<const uint32_t> cut, RowScratch& scratch) {
  Row row = allocate(conditions_.size());
  uint32_t shortest = intersectProducerRows(row, e);
  closeAbove(row, e, cut, shortest, scratch);
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
