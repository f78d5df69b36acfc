// The hash table of final markings: for each marking reached by a local configuration of a
// non-cut-off event (or by the empty configuration), the events that reach it.
#pragma once

#include <cstdint>
#include <vector>

#include "model/prefix.h"

namespace nurex {

class MarkingTable {
 public:
  static constexpr uint32_t BucketCount = 262144;
  static constexpr uint32_t BucketMask = 0x3FFFF;

  struct Record {
    std::vector<uint32_t> marking;  // place indices ascending
    bool emptyConfiguration = false;  // the initial marking: reached by no event at all
    std::vector<Event*> events;       // in insertion order, so by index
  };

  MarkingTable() : buckets_(BucketCount) {}

  Record* find(const std::vector<uint32_t>& marking, uint64_t hash);
  // The record of the marking, created empty if new.
  Record& insert(const std::vector<uint32_t>& marking, uint64_t hash);
  uint32_t recordCount() const { return records_; }

 private:
  std::vector<std::vector<Record>> buckets_;
  uint32_t records_ = 0;
};

}  // namespace nurex
