// The hash table of final markings: for each marking reached by a local configuration of a
// non-cut-off event (or by the empty configuration), the events that reach it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "model/prefix.h"
#include "unfold/cut_map.h"

namespace nurex {

// 262144 buckets, each a chain of records. A record keeps the hash and size of its marking
// and, if the marking has few places, the places themselves; a larger marking the caller
// rebuilds from the record's first event when hash and size agree.
class MarkingTable {
 public:
  static constexpr uint32_t BucketCount = 262144;
  static constexpr uint32_t BucketMask = 0x3FFFF;
  static constexpr uint32_t NoRecord = 0xFFFFFFFFu;
  static constexpr uint32_t NoPlaces = 0xFFFFFFFFu;
  // Markings of at most this many places are kept: a few bytes per record spare a walk of
  // [f] for each comparison, while a marking of thousands of places would cost more to keep
  // than the rare walks over its records.
  static constexpr uint32_t KeptPlacesLimit = 64;

  struct Record {
    uint64_t hash = 0;
    uint32_t size = 0;                // marked places
    uint32_t next = NoRecord;         // chain of the bucket
    uint32_t places = NoPlaces;       // where keep() put the marked places, if it did
    uint32_t first = NoIndex;         // the events with the marking, by index, chained by nextEvent
    uint32_t last = NoIndex;
    bool emptyConfiguration = false;  // the initial marking, reached by no event
  };

  MarkingTable() : buckets_(BucketCount, NoRecord) {}

  // The record of a marking with this hash and size for which same(record) holds, or NoRecord.
  template <class Same>
  uint32_t find(uint64_t hash, uint32_t size, Same&& same) const {
    for (uint32_t r = buckets_[hash & BucketMask]; r != NoRecord; r = records_[r].next)
      if (records_[r].hash == hash && records_[r].size == size && same(records_[r])) return r;
    return NoRecord;
  }
  // The record found so, created empty if none. References stay valid only until the next
  // insertion.
  template <class Same>
  Record& insert(uint64_t hash, uint32_t size, Same&& same) {
    uint32_t found = find(hash, size, same);
    return found != NoRecord ? records_[found] : add(hash, size);
  }
  Record& record(uint32_t number) { return records_[number]; }
  void prefetch(uint64_t hash) const { __builtin_prefetch(buckets_.data() + (hash & BucketMask)); }
  // Keeps the marked places of the record's marking, `size` of them by ascending place, if
  // there are few enough.
  void keep(Record& record, std::span<const uint32_t> places);
  // The places kept for the record; empty if none were.
  std::span<const uint32_t> keptPlaces(const Record& record) const {
    if (record.places == NoPlaces) return {};
    return {places_.data() + record.places, record.size};
  }
  uint32_t recordCount() const { return static_cast<uint32_t>(records_.size()); }
  // Adds an event to a record's; events come by ascending index.
  void addEvent(Record& record, uint32_t event) {
    if (nextEvent_.size() <= event) nextEvent_.resize(event + event / 2 + 16, NoIndex);
    if (record.first == NoIndex) record.first = event;
    else nextEvent_[record.last] = event;
    record.last = event;
  }
  // The event after e in its record's list, or NoIndex.
  uint32_t nextEvent(uint32_t e) const { return e == NoIndex ? NoIndex : nextEvent_[e]; }

 private:
  Record& add(uint64_t hash, uint32_t size);

  std::vector<uint32_t> buckets_;
  std::vector<Record> records_;
  std::vector<uint32_t> places_;
  std::vector<uint32_t> nextEvent_;  // by event index: a one-way list per record
};

// Whether the marking of cut a and the postset of ta (null: none) equals that of b and tb.
// Only the places where the cuts differ and those of the postsets are looked at.
bool sameMarking(const CutMap& a, const Transition* ta, const CutMap& b, const Transition* tb);

}  // namespace nurex
