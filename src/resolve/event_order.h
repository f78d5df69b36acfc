// Causality and conflict between the events of a prefix as bit sets: the past (local
// configuration) of each event, its future, and the events in conflict with it.
#pragma once

#include <cstdint>
#include <vector>

#include "model/prefix.h"

namespace nurex {

class EventSet {
 public:
  EventSet() = default;
  explicit EventSet(size_t events) : words_((events + 63) / 64, 0) {}
  void insert(uint32_t e) { words_[e >> 6] |= uint64_t{1} << (e & 63); }
  bool contains(uint32_t e) const { return words_[e >> 6] >> (e & 63) & 1; }
  EventSet& operator|=(const EventSet& other) {
    for (size_t i = 0; i < words_.size(); ++i) words_[i] |= other.words_[i];
    return *this;
  }
  bool intersects(const EventSet& other) const {
    for (size_t i = 0; i < words_.size(); ++i)
      if (words_[i] & other.words_[i]) return true;
    return false;
  }
  // Some member is not in `other`.
  bool exceeds(const EventSet& other) const {
    for (size_t i = 0; i < words_.size(); ++i)
      if (words_[i] & ~other.words_[i]) return true;
    return false;
  }
  template <class F>
  void forEach(F&& f) const {
    for (size_t i = 0; i < words_.size(); ++i)
      for (uint64_t w = words_[i]; w; w &= w - 1) f(static_cast<uint32_t>(i * 64 + __builtin_ctzll(w)));
  }
  bool empty() const {
    for (uint64_t w : words_)
      if (w) return false;
    return true;
  }

 private:
  std::vector<uint64_t> words_;
};

class EventOrder {
 public:
  explicit EventOrder(const StgPrefix& prefix);
  const EventSet& past(const Event* e) const { return past_[e->index]; }      // [e], e included
  const EventSet& future(const Event* e) const { return future_[e->index]; }  // e and its successors
  const EventSet& conflict(const Event* e) const { return conflict_[e->index]; }
  size_t size() const { return past_.size(); }
  // The union of the local configurations: the configuration a cut-off corresponds to.
  EventSet closure(const std::vector<Event*>& events) const;
  EventSet closure(const std::vector<const Event*>& events) const;
  // Whether `same` holds of every cut-off with a known correspondent: it is given the local
  // configuration of the cut-off, the configuration it corresponds to, and the cut-off.
  template <class Same>
  bool cutOffsAgree(const StgPrefix& prefix, Same&& same) const {
    for (const Event* e : prefix.events)
      if (eventIsCutOff(e) && !e->correspondent.isUnknown() &&
          !same(past(e), closure(e->correspondent.correspondents()), e))
        return false;
    return true;
  }

 private:
  std::vector<EventSet> past_, future_, conflict_;
};

// The bit set of an event list.
EventSet eventSetOf(size_t events, const std::vector<const Event*>& list);

}  // namespace nurex
