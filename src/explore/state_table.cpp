// Packed states with parent links in an open-addressing table (linear probing, at most half
// full), kept within a byte budget.
#include "explore/state_table.h"

#include <algorithm>

namespace nurex {

StateTable::StateTable(uint32_t words, uint64_t budget) : words_(std::max<uint32_t>(words, 1)), budget_(budget) {
  slots_.assign(1024, 0);
}

// Bits and the three links per state, vectors that double when full, and the slot array.
uint64_t StateTable::bytesFor(uint64_t states, uint64_t slots) const {
  return states * (8ull * words_ + 12) * 2 + slots * 4;
}

uint64_t StateTable::hashOf(const uint64_t* state) const {
  uint64_t h = 0x9E3779B97F4A7C15ull;
  for (uint32_t w = 0; w < words_; ++w) {
    h ^= state[w];
    h *= 0xBF58476D1CE4E5B9ull;
    h ^= h >> 31;
  }
  return h ^ (h >> 29);
}

bool StateTable::sameState(uint32_t i, const uint64_t* state) const {
  return std::equal(state, state + words_, this->state(i));
}

bool StateTable::grow() {
  uint64_t doubled = slots_.size() * 2;
  if (bytesFor(size(), doubled) > budget_) return false;
  std::vector<uint32_t> slots(doubled, 0);
  uint64_t mask = doubled - 1;
  for (uint32_t i = 0; i < size(); ++i) {
    uint64_t at = hashOf(state(i)) & mask;
    while (slots[at]) at = (at + 1) & mask;
    slots[at] = i + 1;
  }
  slots_.swap(slots);
  return true;
}

uint32_t StateTable::insert(const uint64_t* state, uint32_t parent, uint32_t via, bool& added) {
  added = false;
  uint64_t mask = slots_.size() - 1;
  uint64_t at = hashOf(state) & mask;
  for (; slots_[at]; at = (at + 1) & mask)
    if (sameState(slots_[at] - 1, state)) return slots_[at] - 1;
  if (size() + 1u >= NoState || bytesFor(size() + 1ull, slots_.size()) > budget_) return NoState;
  if (2ull * (size() + 1) > slots_.size()) {
    if (!grow()) return NoState;
    mask = slots_.size() - 1;
    for (at = hashOf(state) & mask; slots_[at];) at = (at + 1) & mask;
  }
  uint32_t number = size();
  slots_[at] = number + 1;
  bits_.insert(bits_.end(), state, state + words_);
  parent_.push_back(parent);
  via_.push_back(via);
  depth_.push_back(parent == NoState ? 0 : depth_[parent] + 1);
  added = true;
  return number;
}

std::vector<uint32_t> StateTable::pathTo(uint32_t i) const {
  std::vector<uint32_t> path;
  for (; parent_[i] != NoState; i = parent_[i]) path.push_back(via_[i]);
  std::reverse(path.begin(), path.end());
  return path;
}

}  // namespace nurex
