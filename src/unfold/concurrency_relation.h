// The concurrency relation of the prefix as bit rows, one per non-cut-off event and one for
// the initial conditions, kept while the prefix stays below a node limit. The postsets of
// cut-offs are left out: they are never extended.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "model/prefix.h"
#include "unfold/stamp_set.h"

namespace nurex {

// Scratch of one thread for row updates.
struct RowScratch {
  StampSet counted;
  std::vector<uint32_t> counts;
  std::vector<const Condition*> work;
};

// Bit b of the row of event e is set when condition b is concurrent with e's postset and
// not in it. A row covers the conditions that existed when e's batch was committed, its
// own batch included; concurrency with a condition created later is found in the row of
// that condition's producer. All conditions of one postset share their event's row: an
// older condition is concurrent with one of them iff it is with all of them.
class ConcurrencyRelation {
 public:
  ConcurrencyRelation(const NodeList<Condition>& conditions, const NodeList<Event>& events, uint32_t limit);
  ~ConcurrencyRelation();
  ConcurrencyRelation(const ConcurrencyRelation&) = delete;
  ConcurrencyRelation& operator=(const ConcurrencyRelation&) = delete;

  uint32_t limit() const { return limit_; }
  // Row of the initial conditions, once they exist.
  void setInitialRow(uint32_t initialConditions);
  // Room for the rows of the events up to `eventCount`; main thread, between passes.
  void growRows(uint32_t eventCount);
  // The row of a non-cut-off event e of the batch just committed, from `cut`, the numbers of
  // the conditions of Cut([e]) outside e's postset. Writes e's row alone, reads earlier rows.
  void computeRow(const Event* e, std::span<const uint32_t> cut, RowScratch& scratch);

  // Constant time, for two conditions present in the relation (no cut-off postsets).
  bool concurrent(const Condition* x, const Condition* y) const;
  // The conditions concurrent with e's postset, e's row having been computed.
  template <class F>
  void forEachConcurrent(const Event* e, F&& visit) const;

  // Nodes (conditions other than cut-off postsets) and edges (concurrent pairs) of the
  // relation seen as a graph.
  uint32_t nodeCount() const;
  uint64_t edgeCount() const;

 private:
  struct Row {
    uint32_t* words = nullptr;
    uint32_t bits = 0;  // conditions covered: those numbered below
  };
  const Row& rowOf(const Event* producer) const { return producer ? rows_[producer->index] : initialRow_; }
  static bool test(const Row& row, uint32_t bit) { return (row.words[bit >> 5] >> (bit & 31)) & 1u; }
  static void set(Row& row, uint32_t bit) { row.words[bit >> 5] |= 1u << (bit & 31); }
  static void clear(Row& row, uint32_t bit) { row.words[bit >> 5] &= ~(1u << (bit & 31)); }
  static Row allocate(uint32_t bits);
  uint32_t intersectProducerRows(Row& row, const Event* e) const;
  void closeAbove(Row& row, const Event* e, std::span<const uint32_t> cut, uint32_t shortest,
                  RowScratch& scratch) const;

  const NodeList<Condition>& conditions_;
  const NodeList<Event>& events_;
  uint32_t limit_;
  std::vector<Row> rows_;
  Row initialRow_;
};

template <class F>
void ConcurrencyRelation::forEachConcurrent(const Event* e, F&& visit) const {
  const Row& row = rows_[e->index];
  for (uint32_t w = 0, words = (row.bits + 31) / 32; w < words; ++w)
    for (uint32_t bits = row.words[w]; bits; bits &= bits - 1) visit(conditions_[w * 32 + __builtin_ctz(bits)]);
}

}  // namespace nurex
