// Membership by generation counter: starting a new set is one increment, not a clear.
// Stamps of 16 bits halve the scratch that each thread keeps per event and condition; the
// clear they need every 65535 sets costs little beside the sets themselves.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace nurex {

class StampSet {
 public:
  void ensure(size_t n) {
    // A little ahead of the prefix: the vector's own growth keeps resizing rare, and
    // only the stamps in use are resident.
    if (stamps_.size() < n) stamps_.resize(n + n / 8 + 16, 0);
  }
  void next() {
    if (++generation_ == 0) {
      std::fill(stamps_.begin(), stamps_.end(), 0);
      generation_ = 1;
    }
  }
  void mark(uint32_t i) { stamps_[i] = generation_; }
  bool has(uint32_t i) const { return stamps_[i] == generation_; }
  // Marks and tells whether the element was new.
  bool insert(uint32_t i) {
    if (stamps_[i] == generation_) return false;
    stamps_[i] = generation_;
    return true;
  }

 private:
  std::vector<uint16_t> stamps_;
  uint16_t generation_ = 1;
};

}  // namespace nurex
