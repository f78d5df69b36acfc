// The store of the explicit-state engine: packed states in insertion (breadth-first) order,
// each with its parent link and depth, found again through an open-addressing hash table.
// Internal to src/explore.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nurex {

class StateTable {
 public:
  static constexpr uint32_t NoState = 0xFFFFFFFFu;

  // `words` 64-bit words per state; `budget` bytes for everything the table holds.
  StateTable(uint32_t words, uint64_t budget);

  // The number of the state, stored with its link when new (`added`). NoState once the next
  // growth would pass the budget; the table then stays as it was.
  uint32_t insert(const uint64_t* state, uint32_t parent, uint32_t via, bool& added);

  uint32_t size() const { return static_cast<uint32_t>(depth_.size()); }
  uint32_t words() const { return words_; }
  const uint64_t* state(uint32_t i) const { return &bits_[static_cast<size_t>(i) * words_]; }
  uint32_t parent(uint32_t i) const { return parent_[i]; }
  uint32_t via(uint32_t i) const { return via_[i]; }  // transition fired from the parent
  uint32_t depth(uint32_t i) const { return depth_[i]; }
  // The transitions of the stored path from state 0 to state i.
  std::vector<uint32_t> pathTo(uint32_t i) const;

 private:
  uint64_t hashOf(const uint64_t* state) const;
  bool sameState(uint32_t i, const uint64_t* state) const;
  bool grow();
  uint64_t bytesFor(uint64_t states, uint64_t slots) const;

  uint32_t words_;
  uint64_t budget_;
  std::vector<uint64_t> bits_;
  std::vector<uint32_t> parent_, via_, depth_;
  std::vector<uint32_t> slots_;  // state number + 1, 0 when free; a power of two long
};

}  // namespace nurex
