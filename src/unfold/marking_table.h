// The hash table of final markings: for each marking reached by a local configuration of a
// non-cut-off event (or by the empty configuration), the events that reach it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "model/prefix.h"
#include "unfold/stamp_set.h"

namespace nurex {

// 262144 buckets, each a chain of records. The markings of all records share one array
// of place numbers, so a record costs no allocation of its own. A marking is a list of
// distinct places in any order; two lists are the same marking if they hold the same set.
class MarkingTable {
 public:
  static constexpr uint32_t BucketCount = 262144;
  static constexpr uint32_t BucketMask = 0x3FFFF;
  static constexpr uint32_t NoRecord = 0xFFFFFFFFu;

  struct Record {
    uint32_t markingBegin = 0, markingSize = 0;  // in the shared array of place numbers
    uint32_t next = NoRecord;                    // chain of the bucket
    bool emptyConfiguration = false;             // the initial marking, reached by no event
    std::vector<Event*> events;                  // in insertion order, so by index
  };

  explicit MarkingTable(uint32_t placeCount) : buckets_(BucketCount, NoRecord) { places_.ensure(placeCount); }

  // The record number of the marking, or NoRecord.
  uint32_t find(std::span<const uint32_t> marking, uint64_t hash) const;
  // The record of the marking, created empty if new. References stay valid only until the
  // next insertion.
  Record& insert(std::span<const uint32_t> marking, uint64_t hash);
  Record& record(uint32_t number) { return records_[number]; }
  uint32_t recordCount() const { return static_cast<uint32_t>(records_.size()); }
  // Whether two lists of distinct places hold the same set.
  bool sameMarking(std::span<const uint32_t> a, std::span<const uint32_t> b) const;

 private:
  bool holds(const Record& r, std::span<const uint32_t> marking) const;

  std::vector<uint32_t> buckets_;
  std::vector<Record> records_;
  std::vector<uint32_t> markings_;
  mutable StampSet places_;
};

}  // namespace nurex
